#include "ov_app_gpon_onu_history.h"

#include <iterator>

#include "app_follow_rows.h"
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

constexpr FollowRows<ov_sOnuTable_attr_t, History> FOLLOWS_ONU = {
    .key = [](const ov_sOnuTable_attr_t& onu) { return onu_key<History>(onu); },
    .appid = &gpon_onu_history_appid,
    .add_error = "add onuhistory table error",
    .remove_error = "del onuhistory table error",
    .add_failed = "add onuhistiry table fail",
    .remove_failed = "delete onuhistiry table fail",
};

} // namespace

void ov_app_gpon_onu_state_historytable_update(ov_gpon_trap_onu_state_attr_t* state) {
    auto history = onu_key_of_ifindex<History>(state->onuIfindex);
    if (!mib_access(MIB_GET_S, history) || !apply(history, state->states))
        return;
    if (!mib_access(MIB_SET_S, history, mibDefFlags, gpon_onu_history_appid))
        OV_LOG_ERROR("MMG", "set onu history error");
}

char ov_onuhistroy_table_add(const ov_sOnuTable_attr_t* onu) {
    return follow_all(FOLLOWS_ONU, *onu, true) ? 1 : 0;
}

char ov_onuhistory_table_del(const ov_sOnuTable_attr_t* onu) {
    return follow_all(FOLLOWS_ONU, *onu, false) ? 1 : 0;
}

int ov_onuhistory_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_ONU, did, row, column_flag);
}

void ov_app_gpon_onu_history_init() {
    gpon_onu_history_appid = AssignAppId();
    const CallbackRegistration app = {"app_onu_history", gpon_onu_history_appid,
                                      "app_onu_history register onutable set call back error"};
    app.add(SONU, CALLBACK_SET, ov_onuhistory_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
