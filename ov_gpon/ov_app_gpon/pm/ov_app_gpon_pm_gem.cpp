#include "ov_app_gpon_pm_gem.h"

#include "app_key.h"
#include "ov_app_gpon_pm_thr.h"
#include "pm_pass.h"

int gpon_pmgem_appid = 0;

namespace {

using Row = ov_gemPmTable_attr_t;
using Owner = ov_sGemTable_attr_t;
using Counters = pkt_sta_data_gem;
static_assert(offsetof(ov_gpon_gem_pkt_sta_attr_t, gemdata) == PM_RECORD_HEAD);
static_assert(sizeof(ov_gpon_gem_pkt_sta_attr_t) <= sizeof(PmRecord));

constexpr PmCounter COUNTERS[] = {
    PM_COUNTER(gpmRxPackets, rx_packets),
    PM_COUNTER(gpmRxBytes, rx_bytes),
    PM_COUNTER(gpmTxPackets, tx_packets),
    PM_COUNTER(gpmTxBytes, tx_bytes),
};

ov_ifindex_t ifindex_of(const void* row) {
    const Row& gem = *static_cast<const Row*>(row);
    return gemport_ifindex(gem, gem.gemID);
}

int check_alarm(void* row) {
    return check_alarm_for_gem_pm(static_cast<Row*>(row));
}

PmPass& pass() {
    static PmPass the_pass(GEM_PM);
    return the_pass;
}

} // namespace

constinit const PmFamily GEM_PM = {
    .application = "app_pmgem",
    .appid = &gpon_pmgem_appid,
    .table = SGEMPM,
    .module = &table_of<Row>::module,
    .save = mib_save_gemPmTable_backdoor,
    .closing = PM_CLOSING(gpmThrProfileId, gpmStartTimeStamp, gpmStopTimeStamp, gpmDataValid, gpmRowStatus),
    .reading = {.source = &PM_CARD_RECORDS,
                .message = OV_HAL_MSG_GPON_PM_GEM,
                .ifindex = ifindex_of,
                .counters = COUNTERS},
    .interval_start = PmIntervalStart::PASS,
    .check_alarm = check_alarm,
    .read_failure = "get pm data for gem port error",
    .owner = {.table = SGEM,
              .enable_column = sGemTable_column::sGemTablePmEnable,
              .enable = offsetof(Owner, sGemTablePmEnable),
              .status_column = sGemTable_column::sGemTableRowStatus},
    .add = MIB_SET,
    .add_failure = nullptr,
    .get = pmgem_table_self_get,
    .set = pmgem_table_gem_set,
    .get_failure = "app_pmgem register get callback for gempmtable fail",
    .set_failure = "app_pmgem register set callback for gemtable fail",
    .pass = pass,
};

int get_gem_pm_data_from_hal(MIBDID /*did*/, Row* row, int ifReadClean, int ifCheckAlarm) {
    return pm_read(GEM_PM, row, ifReadClean != 0, ifCheckAlarm != 0);
}

int ov_get_gem_pm_data_from_hal(Row* pmib, int ifReadClean) {
    return pm_read_counters(GEM_PM.reading, pmib, ifReadClean != 0);
}

void get_gem_pm_data_task() {
    pass().begin();
}

int pmgem_table_self_get(MIBDID /*did*/, void* row, MIB_Flags_t /*flags*/) {
    return pm_get_callback(GEM_PM, row);
}

int pmgem_table_gem_set(MIBDID did, void* row, MIB_Flags_t flags) {
    return pm_owner_callback(GEM_PM, did, row, flags);
}

int ov_app_gpon_pm_gem_edit(ov_sGemTable_attr_t* attr, MIB_Flags_t column_flag, char isAdd) {
    if (attr == nullptr)
        return OV_GPON_RET_FAIL;
    if (attr->sGemTablePmEnable != 1 || !mib_flag_is_set(column_flag, sGemTable_column::sGemTablePmEnable))
        return OV_GPON_RET_OK;
    const bool done = isAdd != 0 ? pm_add_row(GEM_PM, attr) : pm_remove_row(GEM_PM, attr);
    return done ? OV_GPON_RET_OK : OV_GPON_RET_FAIL;
}

void ov_app_gpon_pm_gem_init() {
    pm_family_init(GEM_PM);
}
