#include "ov_app_gpon_onusrv_batch_config.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <string>
#include <utility>

#include "app_loop.h"
#include "kavo_frr.h"
#include "ov_app_gpon_onusrv_batch_copy.h"
#include "ov_clock.h"
#include "ov_loop_thread.h"

namespace {

// How long a step holds the loop, and a row more: the real time, since it is spent waiting for cards.
constexpr std::chrono::milliseconds STEP{10};

struct Started {
    BatchCopy copy;
    ov_batch_cfg_done_t done;
};

// The first one is under way.
std::deque<Started>& started() {
    static std::deque<Started> copies;
    return copies;
}

std::string g_refusal; // of the copy that ends, or of the last one in one go

void end_first() {
    const Started ended = std::move(started().front());
    started().pop_front();
    g_refusal = ended.copy.first_refusal();
    ended.done(ended.copy.result());
    g_refusal.clear();
}

struct thread* g_next_step = nullptr;

int on_step(struct thread* /*timer*/);

void arm_next_step() {
    if (g_next_step == nullptr && !started().empty())
        kavo_add_timer_msec(app_loop(), on_step, nullptr, 0, &g_next_step);
}

int on_step(struct thread* /*timer*/) {
    ov_gpon_multi_onu_service_config_go_on();
    return 0;
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
    ov_assert_on_loop();
    started().push_back({BatchCopy(ifindex, onuId, profileId), std::move(done)});
    arm_next_step();
}

const char* ov_gpon_multi_onu_service_config_refusal() {
    return g_refusal.c_str();
}

void ov_gpon_multi_onu_service_config_go_on() {
    const ov_mono_time_t end = ov_wait_now() + STEP;
    while (!started().empty() && ov_wait_now() < end)
        if (!started().front().copy.step())
            end_first();
    arm_next_step();
}
