#include "ov_app_gpon_rmmulticast.h"

#include "ov_app_gpon_rm_owner.h"
#include "ov_app_gpon_rm_uni.h"
#include "sRmUniStatusTable.h"

int gpon_rmmulticast_appid = 0;

namespace {

using Row = ov_sRmMulticastTable_attr_t;
using Record = ov_gpon_rmuni_mcast_attr_t;
using Status = ov_sRmUniStatusTable_attr_t;
namespace column = sRmMulticastTable_column;

// A row is there because multicast is on.
int32_t is_on(const Row& /*row*/) {
    return 1;
}

constexpr MapLine MULTICAST_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_INTO(uniPos, (fill_uni_place<Row, Record>)),
    WIRE_ONLY(enabled, is_on),
    MAP(sRmMulticastTableIgmpVersion, igmpVer, OV_GPON_RMUNI_MCAST_ATTR_INDEX_igmpVer),
    MAP(sRmMulticastTableIgmpMode, mode, OV_GPON_RMUNI_MCAST_ATTR_INDEX_mode),
    MAP(sRmMulticastTableFastLeave, fastLeave, OV_GPON_RMUNI_MCAST_ATTR_INDEX_fastLeave),
    MAP(sRmMulticastTableMaxGroupNum, maxGrpNum, OV_GPON_RMUNI_MCAST_ATTR_INDEX_maxGrpNum),
    MAP(sRmMulticastTableUpVlan, usVlan, OV_GPON_RMUNI_MCAST_ATTR_INDEX_usVlan),
    MAP(sRmMulticastTableUpPonVlan, usPonVlan, OV_GPON_RMUNI_MCAST_ATTR_INDEX_usPonVlan),
    MAP(sRmMulticastTableUpVlanAction, usVlanAct, OV_GPON_RMUNI_MCAST_ATTR_INDEX_usVlanAct),
    MAP(sRmMulticastTableDownVlan, dsVlan, OV_GPON_RMUNI_MCAST_ATTR_INDEX_dsVlan),
    MAP(sRmMulticastTableDownUniVlan, dsUniVlan, OV_GPON_RMUNI_MCAST_ATTR_INDEX_dsUniVlan),
    MAP(sRmMulticastTableDownVlanAction, dsVlanAct, OV_GPON_RMUNI_MCAST_ATTR_INDEX_dsVlanAct),
};

// ---- the rows' life ---------------------------------------------------------------------------------------

constexpr FollowSwitch<Status> MCAST_ENABLE = {
    .column = sRmUniStatusTable_column::sRmUniStatusTableMcastEnable,
    .value = &Status::sRmUniStatusTableMcastEnable,
    .before = &Status::old_sRmUniStatusTableMcastEnable,
};

// A UNI that goes takes its multicast along on the card, which may have dropped the ONU by then: the removal
// stays in the table.
constexpr FollowRows<Status, Row> follows_enable(int remove) {
    return {
        .key = uni_key<Row, Status>,
        .by_switch = &MCAST_ENABLE,
        .remove = remove,
        .looks_first = false,
        .appid = &gpon_rmmulticast_appid,
        .add_failed = "can't create multicasttable data",
        .remove_failed = "can't delete multicasttable data",
    };
}

constexpr UniRows<Row> ROWS = {
    .kinds = {},
    .appid = &gpon_rmmulticast_appid,
    .no_type = "can't get onutype id",
    .left = "iterate delete multicast fail",
};

constexpr RmOwnerRules OWNER = {.bound_refuses = Writes::EDITS, .comes_with_owner = true};
constexpr RmDoors<Row> DOORS = {.table = "rm_multicast", .appid = &gpon_rmmulticast_appid};

} // namespace

constinit const MessageMap<ov_sRmMulticastTable_attr_t, ov_gpon_rmuni_mcast_attr_t>
    rmmulticast_map(MULTICAST_LINES, {.last = column::sRmMulticastTableRowStatus,
                                      .no_attribute = OV_GPON_RMUNI_MCAST_ATTR_INDEX_MAX});
RESTORE(rm_mcast, SRMMULTICAST, OV_HAL_MSG_GPON_RM_UNI_MCAST, rmmulticast_map, CREATED_AND_SET)

int ov_app_gpon_rmmulticast_edit(ov_sRmMulticastTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

char ov_multicast_table_iterate_add(const ov_sOnuTable_attr_t* onu, int port_type, mib_long ports,
                                    mib_long cards) {
    const UniKind kind = {static_cast<ov_gpon_rmuni_type_t>(port_type), nullptr, nullptr, nullptr};
    for (mib_long port = 1; port <= ports; ++port)
        for (mib_long card = 1; card <= cards; ++card)
            if (!add_uni(ROWS, kind, *onu, card, port))
                return 0;
    return 1;
}

char ov_multicast_table_iterate_del(const ov_sOnuTable_attr_t* onu) {
    return remove_unis(ROWS, *onu) ? 1 : 0;
}

ov_bmp_t ov_rmuni_mcast_table_attr_mask_get(const void* row) {
    return rmmulticast_map.replay_mask(row);
}

int ov_multicast_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_UNI_MCAST,
        .map = &rmmulticast_map,
        .sent = SentChanges::OF_ONUS,
        .check = rm_owner_admits<OWNER>,
        .dumps = true,
        .follow = rm_follow_on_pair<SYNC_RMONU_ONUMCAST>,
        .not_supported = NotSupported::FOLLOW,
        .failure = "set rm multicast to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_multicast_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_edit_on_protecting_port<Row>(did, row, __func__);
}

int ov_multicast_unistatustable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr auto ON_SWITCH = follows_enable(MIB_DEL);
    static constexpr auto WITH_UNI = follows_enable(MIB_DEL_S);
    const bool uni_goes = MibRowStatusGet(did, row) == MODE_DEL;
    const int answer = follow_rows(uni_goes ? WITH_UNI : ON_SWITCH, did, row, column_flag);
    if (answer != SET_ACCEPTED) {
        auto multicast = uni_key<Row>(*static_cast<const Status*>(row));
        sRmMulticastTable_Dump(&multicast);
    }
    return answer;
}

void ov_app_gpon_rmmulticast_init() {
    gpon_rmmulticast_appid = AssignAppId();
    const CallbackRegistration app = {"app_multicast", gpon_rmmulticast_appid,
                                      "app_multicast register set call back error"};
    app.add(SRMMULTICAST, CALLBACK_SET, ov_multicast_table_set_callback, mibDefFlags);
    app.add(SRMMULTICAST, CALLBACK_CHECK, ov_multicast_table_set_check_callback, mibDefFlags);
    app.add(SRMUNISTATUS, CALLBACK_SET, ov_multicast_unistatustable_set_callback,
            columns_of(sRmUniStatusTable_column::sRmUniStatusTableMcastEnable,
                       sRmUniStatusTable_column::sRmUniStatusTableRowStatus));
}
