#include "ov_app_gpon_rm_voip_line_status.h"

#include "app_get_callback.h"
#include "app_set_callback.h"
#include "ov_app_gpon_rm_pots.h"

template <>
struct UniIndex<ov_sRmVoipLineStatusTable_attr_t> {
    static constexpr auto CARD = &ov_sRmVoipLineStatusTable_attr_t::sRmVoipLineStatusCardID;
    static constexpr auto KIND = &ov_sRmVoipLineStatusTable_attr_t::sRmVoipLineStatusCardType;
    static constexpr auto PORT = &ov_sRmVoipLineStatusTable_attr_t::sRmVoipLineStatusPortID;
};

int gpon_rm_voip_line_status_appid = 0;

namespace {

using Row = ov_sRmVoipLineStatusTable_attr_t;
using Record = ov_rm_voip_line_status_attr_t;
namespace column = sRmVoipLineStatusTable_column;

constexpr MapLine LINE_STATUS_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_INTO(uniPos, (fill_uni_place<Row, Record>)),
    MAP(sRmVoipLineStatusVoipCodecUsed, voipCodecUsed, OV_RM_VOIP_LINE_STATUS_INDEX_voipCodecUsed),
    MAP(sRmVoipLineStatusVoipVoiceSerStatus, voipVoiceSerStatus,
        OV_RM_VOIP_LINE_STATUS_INDEX_voipVoiceSerStatus),
    MAP(sRmVoipLineStatusVoipPortSessionType, voipPortSessionType,
        OV_RM_VOIP_LINE_STATUS_INDEX_voipPortSessionType),
    MAP(sRmVoipLineStatusVoipCall1PktPeriod, voipCall1PktPeriod,
        OV_RM_VOIP_LINE_STATUS_INDEX_voipCall1PktPeriod),
    MAP(sRmVoipLineStatusVoipCall2PktPeriod, voipCall2PktPeriod,
        OV_RM_VOIP_LINE_STATUS_INDEX_voipCall2PktPeriod),
    MAP(sRmVoipLineStatusVoipCall1DstAddr, voipCall1DstAddr, OV_RM_VOIP_LINE_STATUS_INDEX_voipCall1DstAddr),
    MAP(sRmVoipLineStatusVoipCall2DstAddr, voipCall2DstAddr, OV_RM_VOIP_LINE_STATUS_INDEX_voipCall2DstAddr),
};

constexpr GetCallback<Row, Record> READS = {
    .message = OV_HAL_MSG_GPON_RMONU_VOIP_LINE_STATUS,
    .map = &rm_voip_line_status_map,
    .columns =
        columns_of(column::sRmVoipLineStatusVoipCodecUsed, column::sRmVoipLineStatusVoipVoiceSerStatus,
                   column::sRmVoipLineStatusVoipPortSessionType, column::sRmVoipLineStatusVoipCall1PktPeriod,
                   column::sRmVoipLineStatusVoipCall2PktPeriod, column::sRmVoipLineStatusVoipCall1DstAddr,
                   column::sRmVoipLineStatusVoipCall2DstAddr),
    .asked = ov_app_gpon_asked_of_uni<Row>,
    .failure = "get rm voip line status from low level error",
};

constexpr UniRows<Row> ROWS = {
    .kinds = POTS_KINDS,
    .appid = &gpon_rm_voip_line_status_appid,
    .no_type = "can't get onutype id",
    .left = "iterate delete voip line status fail",
};

} // namespace

constinit const MessageMap<ov_sRmVoipLineStatusTable_attr_t, ov_rm_voip_line_status_attr_t>
    rm_voip_line_status_map(LINE_STATUS_LINES);

int ov_rm_voip_line_status_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    return run_get_callback(READS, row, column_flag);
}

int ov_app_gpon_rm_voip_line_status_onutable_set_callback(MIBDID did, void* row,
                                                          MIB_Flags_t /*column_flag*/) {
    return unis_follow_onu(ROWS, did, row);
}

void ov_app_gpon_rm_voip_line_status_init() {
    gpon_rm_voip_line_status_appid = AssignAppId();
    const CallbackRegistration app = {"app_rm_voip_line_status", gpon_rm_voip_line_status_appid,
                                      "app_rm_voip_line_status register set call back error"};
    app.add(SRMVOIPLINESTATUS, CALLBACK_GET, ov_rm_voip_line_status_table_get_callback, READS.columns);
    app.add(SONU, CALLBACK_SET, ov_app_gpon_rm_voip_line_status_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
