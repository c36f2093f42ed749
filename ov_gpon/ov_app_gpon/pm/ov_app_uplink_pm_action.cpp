#include "ov_app_uplink_pm_action.h"

#include "app_set_callback.h"
#include "app_write_row.h"

namespace {
int appid = 0;
} // namespace

// The row of counters comes with an edit. A port that appears again, or a GE and an XE port at one place,
// find their row: it keeps what it says.
int ov_app_uplink_pm_action_add(ov_uplinkPmActTable_attr_t* attr, MIB_Flags_t* flag) {
    if (attr != nullptr && flag != nullptr) {
        if (find_stored_row(*attr) != nullptr)
            return OV_GPON_RET_OK;
        attr->uplinkPmActRowStatus = OVRA_CREATEANDGO;
        mib_flag_set(*flag, uplinkPmActTable_column::uplinkPmAction);
        mib_flag_set(*flag, uplinkPmActTable_column::uplinkPmActRowStatus);
    }
    return write_row(MIB_SET_S, attr, flag, appid, "add uplink pm action table error");
}

int ov_app_uplink_pm_action_edit(ov_uplinkPmActTable_attr_t* attr, MIB_Flags_t* flag) {
    return write_row(MIB_SET, attr, flag, appid, "set uplink pm action table error");
}

int ov_app_uplink_pm_action_del(ov_uplinkPmActTable_attr_t* attr) {
    return write_row(MIB_DEL, attr, &mibDefFlags, appid, "del uplink pm action table error");
}

int ov_uplink_pm_action_table_set_callback(MIBDID /*did*/, void* /*row*/, MIB_Flags_t /*flags*/) {
    return SET_ACCEPTED;
}

void ov_app_uplink_pm_action_init() {
    appid = AssignAppId();
    CallbackRegistration{"uplink_pm_action", appid, "uplink_pm_action register set call back error"}.add(
        SUPLINKPMACT, CALLBACK_SET, ov_uplink_pm_action_table_set_callback, mibDefFlags);
}
