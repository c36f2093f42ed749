#include "ov_app_gpon_onu_history.h"

#include <iterator>

#include "app_rows.h"
#include "app_set_callback.h"
#include "ov_app_gpon_onu.h"
#include "ov_local_time.h"
#include "ov_product_log.h"

int gpon_onu_history_appid = 0;

namespace {

using History = ov_sOnuHistoryTable_attr_t;

// The newest period becomes the second, and the fifth is forgotten.
void shift_periods(History& history) {
    for (size_t n = std::size(ONU_PERIODS) - 1; n > 0; --n) {
        history.*ONU_PERIODS[n].auth = history.*ONU_PERIODS[n - 1].auth;
        history.*ONU_PERIODS[n].off = history.*ONU_PERIODS[n - 1].off;
    }
}

// An ONU that reports once more without having gone off has its period begin anew.
void begin_period(History& history) {
    if (history.sOnuHistoryOffTime1 != 0)
        shift_periods(history);
    history.sOnuHistoryAuthTime1 = get_local_time();
    history.sOnuHistoryOffTime1 = 0;
}

// Whether the state says anything about periods.
bool apply(History& history, unsigned state) {
    if (state == SONUTABLEONUSTATE_OPERATIONAL) {
        begin_period(history);
        return true;
    }
    if (state != SONUTABLEONUSTATE_ADDED || history.sOnuHistoryAuthTime1 == 0)
        return false;
    history.sOnuHistoryOffTime1 = get_local_time();
    return true;
}

} // namespace

void ov_app_gpon_onu_state_historytable_update(ov_gpon_trap_onu_state_attr_t* state) {
    auto history = onu_key_of_ifindex<History>(state->onuIfindex);
    if (!mib_access(MIB_GET_S, history) || !apply(history, state->states))
        return;
    if (!mib_access(MIB_SET_S, history, mibDefFlags, gpon_onu_history_appid))
        OV_LOG_ERROR("MMG", "set onu history error");
}

char ov_onuhistroy_table_add(const ov_sOnuTable_attr_t* onu) {
    auto history = onu_key<History>(*onu);
    if (find_stored_row(history) != nullptr ||
        mib_access(MIB_CREATEGO, history, mibDefFlags, gpon_onu_history_appid))
        return 1;
    OV_LOG_ERROR("MMG", "add onuhistory table error");
    return 0;
}

char ov_onuhistory_table_del(const ov_sOnuTable_attr_t* onu) {
    auto history = onu_key<History>(*onu);
    if (find_stored_row(history) == nullptr ||
        mib_access(MIB_DEL, history, mibDefFlags, gpon_onu_history_appid))
        return 1;
    OV_LOG_ERROR("MMG", "del onuhistory table error");
    return 0;
}

int ov_onuhistory_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    const auto* onu = static_cast<const ov_sOnuTable_attr_t*>(row);
    const int mode = MibRowStatusGet(did, row);
    if (mode == MODE_CRE && ov_onuhistroy_table_add(onu) != 1) {
        OV_LOG_ERROR("MMG", "add onuhistiry table fail");
        return SET_REFUSED;
    }
    if (mode == MODE_DEL && ov_onuhistory_table_del(onu) != 1) {
        OV_LOG_ERROR("MMG", "delete onuhistiry table fail");
        return SET_REFUSED;
    }
    return SET_ACCEPTED;
}

void ov_app_gpon_onu_history_init() {
    gpon_onu_history_appid = AssignAppId();
    const CallbackRegistration app = {"app_onu_history", gpon_onu_history_appid,
                                      "app_onu_history register onutable set call back error"};
    app.add(SONU, CALLBACK_SET, ov_onuhistory_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
