#include "ov_app_gpon_pm_ui.h"

#include "pm_pass.h"
#include "uplinkPmActTable.h"

int uplink_pm_appid = 0;

namespace {

using Row = ov_uplinkPmTable_attr_t;
using Owner = ov_uplinkPmActTable_attr_t;
// What is behind the head of a port's statistics.
struct Counters {
    big_uint64_at counter[HAL_STAT_COUNTERS];
};

constexpr PmCounter COUNTERS[] = {
    PM_COUNTER(rxPackets, counter[0]),
    PM_COUNTER(txPackets, counter[1]),
    PM_COUNTER(rxBytes, counter[2]),
    PM_COUNTER(txBytes, counter[3]),
    PM_COUNTER(rxErrors, counter[4]),
    PM_COUNTER(txErrors, counter[5]),
    PM_COUNTER(rxDropped, counter[6]),
    PM_COUNTER(txDropped, counter[7]),
    PM_COUNTER(rxBroadcast, counter[8]),
    PM_COUNTER(txBroadcast, counter[9]),
    PM_COUNTER(rxMulticastpkts, counter[10]),
    PM_COUNTER(txMulticastpkts, counter[11]),
    PM_COUNTER(rxPause, counter[12]),
    PM_COUNTER(txPause, counter[13]),
    PM_COUNTER(inFcsErrors, counter[14]),
    PM_COUNTER(inJabber, counter[15]),
    PM_COUNTER(outSqettest, counter[16]),
    PM_COUNTER(outLate, counter[17]),
    PM_COUNTER(rxPkts64Octets, counter[18]),
    PM_COUNTER(rxPkts65to127Octets, counter[19]),
    PM_COUNTER(rxPkts128to255Octets, counter[20]),
    PM_COUNTER(rxPkts256to511Octets, counter[21]),
    PM_COUNTER(rxPkts512to1023Octets, counter[22]),
    PM_COUNTER(rxPkts1024to1518Octets, counter[23]),
    PM_COUNTER(rxPkts1519to2047Octets, counter[24]),
    PM_COUNTER(rxPkts2048to4095Octets, counter[25]),
    PM_COUNTER(rxPkts4095to9216Octets, counter[26]),
    PM_COUNTER(txPkts64Octets, counter[27]),
    PM_COUNTER(txPkts65to127Octets, counter[28]),
    PM_COUNTER(txPkts128to255Octets, counter[29]),
    PM_COUNTER(txPkts256to511Octets, counter[30]),
    PM_COUNTER(txPkts512to1023Octets, counter[31]),
    PM_COUNTER(txPkts1024to1518Octets, counter[32]),
    PM_COUNTER(txPkts1519to2047Octets, counter[33]),
    PM_COUNTER(txPkts2048to4095Octets, counter[34]),
    PM_COUNTER(txPkts4095to9216Octets, counter[35]),
};

int check_alarm(void* row) {
    return check_alarm_for_ui_pm(static_cast<Row*>(row));
}

PmPass& pass() {
    static PmPass the_pass(UPLINK_PM);
    return the_pass;
}

} // namespace

constinit const PmFamily UPLINK_PM = {
    .application = "app_uplink_pm",
    .appid = &uplink_pm_appid,
    .table = SUPLINKPM,
    .module = &table_of<Row>::module,
    .save = mib_save_uplinkPmTable_backdoor,
    .closing = PM_CLOSING(uplinkPmThrProfileId, uplinkPmStartStamp, uplinkPmStopStamp, uplinkPmDataValid,
                          uplinkPmRowStatus),
    .reading = {.source = &PM_PORT_STATISTICS, .message = 0, .ifindex = nullptr, .counters = COUNTERS},
    .interval_start = PmIntervalStart::PASS,
    .check_alarm = check_alarm,
    .read_failure = "get pm data for uplink error",
    .owner = {.table = SUPLINKPMACT,
              .enable_column = uplinkPmActTable_column::uplinkPmAction,
              .enable = offsetof(Owner, uplinkPmAction),
              .status_column = uplinkPmActTable_column::uplinkPmActRowStatus},
    .add = MIB_SET_S,
    .add_failure = "add uplink pm table error",
    .get = pm_uplink_table_self_get,
    .set = uplink_pm_table_action_table_set,
    .get_failure = "app_uplink_pm register get callback for uplinkpmtable fail",
    .set_failure = "app_uplink_pm register set callback for uplinkpmacttable fail",
    .pass = pass,
};

int get_ui_pm_data_from_hal(MIBDID /*did*/, Row* row, int ifReadClean, int ifCheckAlarm) {
    return pm_read(UPLINK_PM, row, ifReadClean != 0, ifCheckAlarm != 0);
}

void get_ui_pm_data_task() {
    pass().begin();
}

int check_alarm_for_ui_pm(Row* /*uiPm*/) {
    return 0;
}

int pm_uplink_table_self_get(MIBDID /*did*/, void* row, MIB_Flags_t /*flags*/) {
    return pm_get_callback(UPLINK_PM, row);
}

int uplink_pm_table_action_table_set(MIBDID did, void* row, MIB_Flags_t flags) {
    return pm_owner_callback(UPLINK_PM, did, row, flags);
}

void ov_app_gpon_pm_ui_init() {
    pm_family_init(UPLINK_PM);
}
