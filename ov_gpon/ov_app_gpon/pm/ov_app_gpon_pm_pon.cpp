#include "ov_app_gpon_pm_pon.h"

#include "app_key.h"
#include "ov_app_gpon_pm_cycle.h"
#include "ov_app_gpon_pm_thr.h"
#include "pm_pass.h"
#include "sPonTable.h"

int gpon_pmpon_appid = 0;

namespace {

using Row = ov_ponPmTable_attr_t;
using Owner = ov_sPonTable_attr_t;
using Counters = pkt_sta_data_port;
static_assert(offsetof(ov_gpon_port_pkt_sta_attr_t, pondata) == PM_RECORD_HEAD);
static_assert(sizeof(ov_gpon_port_pkt_sta_attr_t) <= sizeof(PmRecord));

constexpr PmCounter COUNTERS[] = {
    PM_COUNTER(ppmFecCodeWords, fec_codewords),
    PM_COUNTER(ppmFecCodeWordsUncorrect, fec_codewords_uncorrected),
    PM_COUNTER(ppmBip8Bytes, bip8_bytes),
    PM_COUNTER(ppmBip8Errors, bip8_errors),
    PM_COUNTER(ppmRxGemDropped, rx_gem_dropped),
    PM_COUNTER(ppmRxGemIdle, rx_gem_idle),
    PM_COUNTER(ppmRxGemCorrtected, rx_gem_corrected),
    PM_COUNTER(ppmRxGemIllegal, rx_gem_illegal),
    PM_COUNTER(ppmRxAllocationsValid, rx_allocations_valid),
    PM_COUNTER(ppmRxAllocationsInvalid, rx_allocations_invalid),
    PM_COUNTER(ppmRxAllocationsDisabled, rx_allocations_disabled),
    PM_COUNTER(ppmRxPloams, rx_ploams),
    PM_COUNTER(ppmRxPloamsNonIdle, rx_ploams_non_idle),
    PM_COUNTER(ppmRxPloamsError, rx_ploams_error),
    PM_COUNTER(ppmRxPloamsDropped, rx_ploams_dropped),
    PM_COUNTER(ppmRxCpu, rx_cpu),
    PM_COUNTER(ppmRxOmci, rx_omci),
    PM_COUNTER(ppmRxDroppedTooShort, rx_dropped_too_short),
    PM_COUNTER(ppmRxDroppedTooLong, rx_dropped_too_long),
    PM_COUNTER(ppmRxCrcErrors, rx_crc_errors),
    PM_COUNTER(ppmRxKeyErrors, rx_key_errors),
    PM_COUNTER(ppmRxFragmentsErrors, rx_fragments_errors),
    PM_COUNTER(ppmRxPacketsDropped, rx_packets_dropped),
    PM_COUNTER(ppmTxGem, tx_gem),
    PM_COUNTER(ppmTxPloams, tx_ploams),
    PM_COUNTER(ppmTxCpu, tx_cpu),
    PM_COUNTER(ppmTxOmci, tx_omci),
    PM_COUNTER(ppmTxDroppedIllegalLength, tx_dropped_illegal_length),
    PM_COUNTER(ppmTxDroppedTpidMiss, tx_dropped_tpid_miss),
    PM_COUNTER(ppmTxDroppedVidMiss, tx_dropped_vid_miss),
};

ov_ifindex_t ifindex_of(const void* row) {
    return port_ifindex_of(*static_cast<const Row*>(row));
}

int check_alarm(void* row) {
    return check_alarm_for_pon_pm(static_cast<Row*>(row));
}

PmPass& pass() {
    static PmPass the_pass(PON_PM);
    return the_pass;
}

} // namespace

constinit const PmFamily PON_PM = {
    .application = "app_pmpon",
    .appid = &gpon_pmpon_appid,
    .table = SPONPM,
    .module = &table_of<Row>::module,
    .save = mib_save_ponPmTable_backdoor,
    .closing = PM_CLOSING(ppmThrProfileId, ppmStartTimeStamp, ppmStopTimeStamp, ppmDataValid, ppmRowStatus),
    .reading = {.source = &PM_CARD_RECORDS,
                .message = OV_HAL_MSG_GPON_PM_PON,
                .ifindex = ifindex_of,
                .counters = COUNTERS},
    .interval_start = PmIntervalStart::PASS,
    .check_alarm = check_alarm,
    .read_failure = "get pm data for pon port error",
    .owner = {.table = SPON,
              .enable_column = sPonTable_column::sPonTablePmEnable,
              .enable = offsetof(Owner, sPonTablePmEnable),
              .status_column = sPonTable_column::sPonTableRowStatus},
    .add = MIB_SET,
    .add_failure = nullptr,
    .get = pmpon_table_self_get,
    .set = pmpon_table_pon_set,
    .get_failure = "app_pmpon register get callback for ponpmtable fail",
    .set_failure = "app_pmpon register set callback for pontable fail",
    .pass = pass,
};

int get_pon_pm_data_from_hal(MIBDID /*did*/, Row* row, int ifReadClean, int ifCheckAlarm) {
    return pm_read(PON_PM, row, ifReadClean != 0, ifCheckAlarm != 0);
}

int ov_get_pon_pm_data_from_hal(Row* pmib, int ifReadClean) {
    return pm_read_counters(PON_PM.reading, pmib, ifReadClean != 0);
}

void get_pon_pm_data_task() {
    pass().begin();
}

int pmpon_table_self_get(MIBDID /*did*/, void* row, MIB_Flags_t /*flags*/) {
    return pm_get_callback(PON_PM, row);
}

int pmpon_table_pon_set(MIBDID did, void* row, MIB_Flags_t flags) {
    return pm_owner_callback(PON_PM, did, row, flags);
}

void ov_app_gpon_pm_pon_init() {
    pm_family_init(PON_PM);
    ov_app_gpon_pm_cycle_init();
}
