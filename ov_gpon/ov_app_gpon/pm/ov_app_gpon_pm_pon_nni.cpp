#include "ov_app_gpon_pm_pon_nni.h"

#include "app_key.h"
#include "pm_pass.h"
#include "sPonTable.h"

int gpon_pmnni_appid = 0;

namespace {

using Row = ov_ponnniPmTable_attr_t;
using Owner = ov_sPonTable_attr_t;
using Counters = pkt_sta_data_nni;
static_assert(offsetof(ov_gpon_nni_pkt_sta_attr_t, nnidata) == PM_RECORD_HEAD);
static_assert(sizeof(ov_gpon_nni_pkt_sta_attr_t) <= sizeof(PmRecord));

constexpr PmCounter COUNTERS[] = {
    PM_COUNTER(ppmRxframes64, rx_frames_64),
    PM_COUNTER(ppmRxframes65to127, rx_frames_65_127),
    PM_COUNTER(ppmRxframe128to255, rx_frames_128_255),
    PM_COUNTER(ppmRxframe256to511, rx_frames_256_511),
    PM_COUNTER(ppmRxframe512to1023, rx_frames_512_1023),
    PM_COUNTER(ppmRxframe1024to1518, rx_frames_1024_1518),
    PM_COUNTER(ppmRxframe1519o2047, rx_frames_1519_2047),
    PM_COUNTER(ppmRxframe2048to4095, rx_frames_2048_4095),
    PM_COUNTER(ppmRxframe4096to9216, rx_frames_4096_9216),
    PM_COUNTER(ppmRxframe9217to16638, rx_frames_9217_16383),
    PM_COUNTER(ppmRxframes, rx_frames),
    PM_COUNTER(ppmRxBytes, rx_bytes),
    PM_COUNTER(ppmRxGoodframes, rx_good_frames),
    PM_COUNTER(ppmRxUcastframes, rx_unicast_frames),
    PM_COUNTER(ppmRxMcastframes, rx_multicast_frames),
    PM_COUNTER(ppmRxBcastframes, rx_broadcast_frames),
    PM_COUNTER(ppmRxFcsError, rx_fcs_errors),
    PM_COUNTER(ppmRxCtrlframes, rx_control_frames),
    PM_COUNTER(ppmRxPauseFrames, rx_pause_frames),
    PM_COUNTER(ppmRxPfcframes, rx_pfc_frames),
    PM_COUNTER(ppmRxUnsupportOpcode, rx_unsupported_opcode),
    PM_COUNTER(ppmRxUnsupportDa, rx_unsupported_da),
    PM_COUNTER(ppmRxAlignError, rx_alignment_errors),
    PM_COUNTER(ppmRxLenOutofrange, rx_length_out_of_range),
    PM_COUNTER(ppmRxCodeErrors, rx_code_errors),
    PM_COUNTER(ppmRxOversizeFrame, rx_oversized_frames),
    PM_COUNTER(ppmRxJabberFrame, rx_jabber_frames),
    PM_COUNTER(ppmRxMtuCheckerror, rx_mtu_check_errors),
    PM_COUNTER(ppmRxPromiscuousFrame, rx_promiscuous_frames),
    PM_COUNTER(ppmRxVlanFrames, rx_vlan_frames),
    PM_COUNTER(ppmRxDoubleVlanFrames, rx_double_vlan_frames),
    PM_COUNTER(ppmRxtruncatedframes, rx_truncated_frames),
    PM_COUNTER(ppmRxUndersizeframes, rx_undersize_frames),
    PM_COUNTER(ppmRxFragmentframes, rx_fragmented_frames),
    PM_COUNTER(ppmRxRuntframes, rx_runt_frames),
    PM_COUNTER(ppmTxFrame64, tx_frames_64),
    PM_COUNTER(ppmTxFrame65to127, tx_frames_65_127),
    PM_COUNTER(ppmTxFrame128to255, tx_frames_128_255),
    PM_COUNTER(ppmTxFrame256to511, tx_frames_256_511),
    PM_COUNTER(ppmTxFrame512to1023, tx_frames_512_1023),
    PM_COUNTER(ppmTxFrame1024to1518, tx_frames_1024_1518),
    PM_COUNTER(ppmTxFrame1519to2047, tx_frames_1519_2047),
    PM_COUNTER(ppmTxFrame2048to4095, tx_frames_2048_4095),
    PM_COUNTER(ppmTxFrame4096to9216, tx_frames_4096_9216),
    PM_COUNTER(ppmTxFrame9217to16638, tx_frames_9217_16383),
    PM_COUNTER(ppmTxFrames, tx_frames),
    PM_COUNTER(ppmTxBytes, tx_bytes),
    PM_COUNTER(ppmTxGoodFrames, tx_good_frames),
    PM_COUNTER(ppmTxUcastFrames, tx_unicast_frames),
    PM_COUNTER(ppmTxMcastFrames, tx_multicast_frames),
    PM_COUNTER(ppmTxBcastFrames, tx_broadcast_frames),
    PM_COUNTER(ppmTxPauseFrames, tx_pause_frames),
    PM_COUNTER(ppmTxPfcFrames, tx_pfc_frames),
    PM_COUNTER(ppmTxJabberFrames, tx_jabber_frames),
    PM_COUNTER(ppmTxFcsErrors, tx_fcs_errors),
    PM_COUNTER(ppmTxCtrlFrames, tx_control_frames),
    PM_COUNTER(ppmTxOversizeFrames, tx_oversize_frames),
    PM_COUNTER(ppmTxFragmentedFrames, tx_fragmented_frames),
    PM_COUNTER(ppmTxErrorFrames, tx_error_frames),
    PM_COUNTER(ppmTxVlanFrames, tx_vlan_frames),
    PM_COUNTER(ppmTxDoubleVlanFrames, tx_double_vlan_frames),
    PM_COUNTER(ppmTxRuntFrames, tx_runt_frames),
    PM_COUNTER(ppmTxUnderrunFrames, tx_underrun_frames),
};

ov_ifindex_t ifindex_of(const void* row) {
    return port_ifindex_of(*static_cast<const Row*>(row));
}

int check_alarm(void* row) {
    return check_alarm_for_pon_nni_pm(static_cast<Row*>(row));
}

PmPass& pass() {
    static PmPass the_pass(NNI_PM);
    return the_pass;
}

} // namespace

constinit const PmFamily NNI_PM = {
    .application = "app_pmnni",
    .appid = &gpon_pmnni_appid,
    .table = SPONNNIPM,
    .module = &table_of<Row>::module,
    .save = mib_save_ponnniPmTable_backdoor,
    .closing = PM_CLOSING(npmThrProfileId, npmStartTimeStamp, npmStopTimeStamp, npmDataValid, npmRowStatus),
    .reading = {.source = &PM_CARD_RECORDS,
                .message = OV_HAL_MSG_GPON_PM_NNI,
                .ifindex = ifindex_of,
                .counters = COUNTERS},
    .interval_start = PmIntervalStart::PASS,
    .check_alarm = check_alarm,
    .read_failure = "get pm data for pon port error",
    .owner = {.table = SPON,
              .enable_column = sPonTable_column::sPonTableNniPmEnable,
              .enable = offsetof(Owner, sPonTableNniPmEnable),
              .status_column = sPonTable_column::sPonTableRowStatus},
    .add = MIB_SET,
    .add_failure = nullptr,
    .get = pmnni_table_self_get,
    .set = pmnni_table_pon_set,
    .get_failure = "app_pmnni register get callback for ponnnipmtable fail",
    .set_failure = "app_pmnni register set callback for pontable fail",
    .pass = pass,
};

int get_pon_nni_pm_data_from_hal(MIBDID /*did*/, Row* row, int ifReadClean, int ifCheckAlarm) {
    return pm_read(NNI_PM, row, ifReadClean != 0, ifCheckAlarm != 0);
}

int ov_get_pon_nni_pm_data_from_hal(Row* pmib, int ifReadClean) {
    return pm_read_counters(NNI_PM.reading, pmib, ifReadClean != 0);
}

void get_pon_nni_pm_data_task() {
    pass().begin();
}

int check_alarm_for_pon_nni_pm(Row* /*nnipm*/) {
    return 0;
}

int pmnni_table_self_get(MIBDID /*did*/, void* row, MIB_Flags_t /*flags*/) {
    return pm_get_callback(NNI_PM, row);
}

int pmnni_table_pon_set(MIBDID did, void* row, MIB_Flags_t flags) {
    return pm_owner_callback(NNI_PM, did, row, flags);
}

void ov_app_gpon_pm_pon_nni_init() {
    pm_family_init(NNI_PM);
}
