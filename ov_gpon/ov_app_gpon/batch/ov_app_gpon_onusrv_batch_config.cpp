#include "ov_app_gpon_onusrv_batch_config.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "app_step_queue.h"
#include "ov_app_gpon_onusrv_batch_copy.h"
#include "ov_loop_thread.h"

namespace {

StepQueue& copies() {
    static StepQueue queue;
    return queue;
}

std::string g_refusal; // of the copy that ends, or of the last one in one go

void end(const BatchCopy& copy, const ov_batch_cfg_done_t& done) {
    g_refusal = copy.first_refusal();
    done(copy.result());
    g_refusal.clear();
}

} // namespace

ov_batch_cfg_rtn_t ov_gpon_multi_onu_service_config(ov_ifindex_t ifindex, ov_batch_onu_flags_t onuId,
                                                    mib_ulong profileId) {
    ov_assert_on_loop();
    BatchCopy copy(ifindex, onuId, profileId);
    while (copy.step()) {
    }
    std::copy(copy.onus().begin(), copy.onus().end(), onuId.begin());
    g_refusal = copy.first_refusal();
    return copy.result();
}

void ov_gpon_multi_onu_service_config_start(ov_ifindex_t ifindex, ov_batch_onu_flags_in_t onuId,
                                            mib_ulong profileId, ov_batch_cfg_done_t done) {
    const auto copy = std::make_shared<BatchCopy>(ifindex, onuId, profileId);
    copies().start([copy] { return copy->step(); }, [copy, done = std::move(done)] { end(*copy, done); });
}

const char* ov_gpon_multi_onu_service_config_refusal() {
    return g_refusal.c_str();
}

void ov_gpon_multi_onu_service_config_go_on() {
    copies().go_on();
}
