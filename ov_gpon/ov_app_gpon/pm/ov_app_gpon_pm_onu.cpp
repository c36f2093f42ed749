#include "ov_app_gpon_pm_onu.h"

#include "app_key.h"
#include "ov_app_gpon_pm_thr.h"
#include "pm_pass.h"
#include "sOnuTable.h"

int gpon_pmonu_appid = 0;

namespace {

using Row = ov_onuPmTable_attr_t;
using Owner = ov_sOnuTable_attr_t;
using Counters = pkt_sta_data_onu;
static_assert(offsetof(ov_gpon_onu_pkt_sta_attr_t, onudata) == PM_RECORD_HEAD);
static_assert(sizeof(ov_gpon_onu_pkt_sta_attr_t) <= sizeof(PmRecord));

constexpr PmCounter COUNTERS[] = {
    PM_COUNTER(opmFecCodeWords, fec_codewords),
    PM_COUNTER(opmFecBytesCorrected, fec_bytes_corrected),
    PM_COUNTER(opmFecCodeWordsCorrected, fec_codewords_corrected),
    PM_COUNTER(opmFecCodeWordsUncorrected, fec_codewords_uncorrected),
    PM_COUNTER(opmBip8Bytes, bip8_bytes),
    PM_COUNTER(opmBip8Errors, bip8_errors),
    PM_COUNTER(opmRxPloamsCrcError, rx_ploams_crc_error),
    PM_COUNTER(opmRxPloamsNonIdle, rx_ploams_non_idle),
    PM_COUNTER(opmPositiveDrift, positive_drift),
    PM_COUNTER(opmNegativeDrift, negative_drift),
    PM_COUNTER(opmRxOmciPacketsCrcError, rx_omci_packets_crc_error),
    PM_COUNTER(opmBerReported, ber_reported),
    PM_COUNTER(opmUnreceivedBurst, unreceived_burst),
    PM_COUNTER(opmLcdgErrors, lcdg_errors),
    PM_COUNTER(opmRdiErrors, rdi_errors),
    PM_COUNTER(opmRxBytes, rx_bytes),
    PM_COUNTER(opmRxPackets, rx_packets),
    PM_COUNTER(opmTxBytes, tx_bytes),
    PM_COUNTER(opmTxPackets, tx_packets),
};

ov_ifindex_t ifindex_of(const void* row) {
    return onu_ifindex_of(*static_cast<const Row*>(row));
}

int check_alarm(void* row) {
    return check_alarm_for_onu_pm(static_cast<Row*>(row));
}

PmPass& pass() {
    static PmPass the_pass(ONU_PM);
    return the_pass;
}

} // namespace

constinit const PmFamily ONU_PM = {
    .application = "app_pmonu",
    .appid = &gpon_pmonu_appid,
    .table = SONUPM,
    .module = &table_of<Row>::module,
    .save = mib_save_onuPmTable_backdoor,
    .closing = PM_CLOSING(opmThrProfileId, opmStartTimeStamp, opmStopTimeStamp, opmDataValid, opmRowStatus),
    .reading = {.source = &PM_CARD_RECORDS,
                .message = OV_HAL_MSG_GPON_PM_ONU,
                .ifindex = ifindex_of,
                .counters = COUNTERS},
    .interval_start = PmIntervalStart::STAMP,
    .check_alarm = check_alarm,
    .read_failure = "get pm data for onu error",
    .owner = {.table = SONU,
              .enable_column = sOnuTable_column::sOnuTablePmEnable,
              .enable = offsetof(Owner, sOnuTablePmEnable),
              .status_column = sOnuTable_column::sOnuTableRowStatus},
    .add = MIB_SET,
    .add_failure = nullptr,
    .get = pmonu_table_self_get,
    .set = pmonu_table_onu_set,
    .get_failure = "app_pmonu register get callback for onupmtable fail",
    .set_failure = "app_pmonu register set callback for onutable fail",
    .pass = pass,
};

int get_onu_pm_data_from_hal(MIBDID /*did*/, Row* row, int ifReadClean, int ifCheckAlarm) {
    return pm_read(ONU_PM, row, ifReadClean != 0, ifCheckAlarm != 0);
}

int ov_get_onu_pm_data_from_hal(Row* pmib, int ifReadClean) {
    return pm_read_counters(ONU_PM.reading, pmib, ifReadClean != 0);
}

void get_onu_pm_data_task() {
    pass().begin();
}

int pmonu_table_self_get(MIBDID /*did*/, void* row, MIB_Flags_t /*flags*/) {
    return pm_get_callback(ONU_PM, row);
}

int pmonu_table_onu_set(MIBDID did, void* row, MIB_Flags_t flags) {
    return pm_owner_callback(ONU_PM, did, row, flags);
}

void ov_app_gpon_pm_onu_init() {
    pm_family_init(ONU_PM);
}
