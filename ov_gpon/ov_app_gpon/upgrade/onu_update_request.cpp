#include "onu_update_request.h"

#include <memory>
#include <utility>

#include "ov_app_gpon_onu_update.h"
#include "ov_hal_gpon_msg.h"
#include "ov_refusal.h"

namespace {

void on_reply(void* context, unsigned result, const hal_nlmsghdr* /*reply*/) {
    const std::unique_ptr<OnuUpdateTaker> take(static_cast<OnuUpdateTaker*>(context));
    OvRefusal* const door = OvRefusal::current();
    (*take)(static_cast<int>(result), door != nullptr ? door->notes().reason.data() : "");
}

} // namespace

HalRequest onu_update_request(const ov_sOnuUpdateTable_attr_t& row, OnuUpdateTaker take) {
    ov_gpon_onu_update_attr_t record = {};
    onu_update_map.encode(&row, &record);
    auto own = std::make_unique<OnuUpdateTaker>(std::move(take));
    const HalRequest sent = ov_hal_gpon_msg_request(OV_HAL_MSG_GPON_RMONU_UPDATE, OV_HAL_GPON_MSG_ACTION_SET,
                                                    &record, 0, on_reply, own.get());
    if (sent == HalRequest::SENT)
        own.release(); // NOLINT(bugprone-unused-return-value): the reply's from here on
    return sent;
}
