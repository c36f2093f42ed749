#include "ov_app_gpon_stat_onu.h"

#include "app_key.h"
#include "app_set_callback.h"
#include "ov_hal_gpon_msg.h"
#include "pm_counters.h"
#include "sOnuTable.h"

namespace {

using Row = ov_onuStatTable_attr_t;
using Onu = ov_sOnuTable_attr_t;
using Counters = pkt_sta_data_onu;

int appid = 0;

constexpr PmCounter COUNTERS[] = {
    PM_COUNTER(onuStatRxBytes, rx_bytes),
    PM_COUNTER(onuStatRxPackets, rx_packets),
    PM_COUNTER(onuStatTxBytes, tx_bytes),
    PM_COUNTER(onuStatTxPackets, tx_packets),
    PM_COUNTER(onuStatFecCodeWords, fec_codewords),
    PM_COUNTER(onuStatFecBytesCorrected, fec_bytes_corrected),
    PM_COUNTER(onuStatFecCodeWordsCorrected, fec_codewords_corrected),
    PM_COUNTER(onuStatFecCodeWordsUncorrected, fec_codewords_uncorrected),
    PM_COUNTER(onuStatBip8Bytes, bip8_bytes),
    PM_COUNTER(onuStatBip8Errors, bip8_errors),
    PM_COUNTER(onuStatRxPloamsCrcError, rx_ploams_crc_error),
    PM_COUNTER(onuStatRxPloamsNonIdle, rx_ploams_non_idle),
    PM_COUNTER(onuStatPositiveDrift, positive_drift),
    PM_COUNTER(onuStatNegativeDrift, negative_drift),
    PM_COUNTER(onuStatRxOmciPacketsCrcError, rx_omci_packets_crc_error),
    PM_COUNTER(onuStatBerReported, ber_reported),
    PM_COUNTER(onuStatUnreceivedBurst, unreceived_burst),
    PM_COUNTER(onuStatLcdgErrors, lcdg_errors),
    PM_COUNTER(onuStatRdiErrors, rdi_errors),
};

ov_ifindex_t ifindex_of(const void* row) {
    return onu_ifindex_of(*static_cast<const Row*>(row));
}

constexpr PmReading READING = {.source = &PM_CARD_RECORDS,
                               .message = OV_HAL_MSG_GPON_PM_ONU,
                               .ifindex = ifindex_of,
                               .counters = COUNTERS};

constexpr MIB_Flags_t COUNTER_COLUMNS = [] {
    MIB_Flags_t columns = {};
    for (unsigned column = 1; column <= std::size(COUNTERS); ++column)
        mib_flag_set(columns, column);
    return columns;
}();

void add_row(const Onu& onu) {
    auto row = onu_key<Row>(onu);
    if (!mib_access(MIB_CREATEGO_S_N, row, mibDefFlags, appid))
        OV_LOG_ERROR("MMG", "add onu stat table error");
}

void remove_row(const Onu& onu) {
    auto row = onu_key<Row>(onu);
    if (find_stored_row(row) == nullptr)
        OV_LOG_INFO("MMG", "there is no onu stat table,just return MIB OK");
    else if (!mib_access(MIB_DEL_S_N, row, mibDefFlags, appid))
        OV_LOG_ERROR("MMG", "del onu stat table error");
}

} // namespace

int onu_stat_table_onu_set_callback(MIBDID did, void* row, MIB_Flags_t /*flags*/) {
    const Onu& onu = *static_cast<const Onu*>(row);
    const int mode = MibRowStatusGet(did, row);
    if (mode == MODE_CRE)
        add_row(onu);
    else if (mode == MODE_DEL)
        remove_row(onu);
    return SET_ACCEPTED;
}

int onu_stat_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*flags*/) {
    const bool clean = static_cast<const Row*>(row)->onuStatReadClearOperation == 1;
    const int result = pm_read_counters(READING, row, clean);
    if (card_answer(result, NotSupported::ACCEPT, "MMG", "get which not support") == CardAnswer::FAILED)
        OV_LOG_ERROR("MMG", "get onu stat data for onu error");
    return SET_ACCEPTED;
}

void ov_app_gpon_stat_onu_init() {
    appid = AssignAppId();
    CallbackRegistration{"app_onustat", appid, "app_onustat register get callback for onustattable fail"}.add(
        SONUSTAT, CALLBACK_GET, onu_stat_table_get_callback, COUNTER_COLUMNS);
    CallbackRegistration{"app_onustat", appid, "app_onustat register set callback for onutable fail"}.add(
        SONU, CALLBACK_SET, onu_stat_table_onu_set_callback,
        columns_of(sOnuTable_column::sOnuTableRowStatus));
}
