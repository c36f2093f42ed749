// What cards are told of upgrades beside the actions of a port.
#include "ov_app_gpon_onu_update.h"

#include "ov_hal_gpon_msg.h"
#include "ov_product_log.h"
#include "ov_types.h"

int g_onu_upgrade_cfg_auto_commit = 0;
int g_onu_upgrade_cfg_auto_active = 0;

namespace {

constexpr int WITHOUT_WAITING = 0;

// Switches of OV_HAL_MSG_GPON_DEBUG.
enum class Switch : uint8_t { DEBUG = 1, AUTO_COMMIT = 2, AUTO_ACTIVE = 3 };

struct SwitchRecord {
    big_int32_at which;
    big_int32_at value;
};

int set_switch(Switch which, int value) {
    SwitchRecord record = {};
    record.which = static_cast<int32_t>(which);
    record.value = value;
    return ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_DEBUG, OV_HAL_GPON_MSG_ACTION_SET, &record, 0,
                                WITHOUT_WAITING);
}

template <typename Record>
int tell(int message, Record* record) {
    if (record != nullptr)
        return ov_hal_gpon_msg_send(message, OV_HAL_GPON_MSG_ACTION_SET, record, 0, WITHOUT_WAITING);
    OV_LOG_ERROR("MMG", "null pointer");
    return OV_GPON_RET_BAD_PARAM;
}

} // namespace

int ov_app_gpon_onu_version_delete(ov_gpon_onu_update_attr_t* shal_attr) {
    return tell(OV_HAL_MSG_GPON_ONUVER_ACTION, shal_attr);
}

int ov_app_gpon_onu_network_upgrade_set(ov_gpon_onu_network_upgrade_attr_t* attr) {
    return tell(OV_HAL_MSG_GPON_ONU_NET_UPGRADE, attr);
}

int ov_app_gpon_onu_upgrade_debug_set(int dbg_flag) {
    return set_switch(Switch::DEBUG, dbg_flag);
}

int ov_app_gpon_onu_upgrade_auto_commit_set(int auto_commit) {
    return set_switch(Switch::AUTO_COMMIT, auto_commit);
}

int ov_app_gpon_onu_upgrade_auto_active_set(int auto_acive) {
    return set_switch(Switch::AUTO_ACTIVE, auto_acive);
}
