#include "ov_app_gpon_rmunivlan.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <boost/endian/conversion.hpp>

#include "ov_app_gpon_rm_owner.h"
#include "ov_app_gpon_rm_uni.h"

int gpon_univlan_appid = 0;

namespace {

using Row = ov_sRmUniVlanTable_attr_t;
using Record = ov_gpon_rmuni_vlan_attr_t;
using Change = RowChange<Row>;
namespace column = sRmUniVlanTable_column;

// ---- lists of VLAN ids ------------------------------------------------------------------------------------

using VlanIds = std::array<uint16_t, OV_GPON_RMUNI_VLAN_LIST_MAX>; // 0: no id at this place

VlanIds ids_in(const unsigned char* list) {
    VlanIds ids;
    for (size_t n = 0; n < ids.size(); ++n)
        ids[n] = boost::endian::load_big_u16(list + n * sizeof ids[n]);
    return ids;
}

// Each id is a range of its own; places without one are left out.
void fill_list(const unsigned char* list, ov_gpon_vlan_list_t& filled) {
    int32_t ranges = 0;
    for (const uint16_t id : ids_in(list)) {
        if (id == 0)
            continue;
        filled.vlanGrp[ranges].startVlan = id;
        filled.vlanGrp[ranges].endVlan = id;
        ++ranges;
    }
    filled.numVlanGrp = ranges;
}

void fill_ids(const Row& row, Record& record) {
    fill_list(row.sRmUniVlanTableVlanIdList, record.vlanList);
}
void fill_translated_ids(const Row& row, Record& record) {
    fill_list(row.sRmUniVlanTableTranslateVlanIdList, record.xlateList);
}

// ---- to the card ------------------------------------------------------------------------------------------

constexpr MapLine UNIVLAN_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_INTO(uniPos, (fill_uni_place<Row, Record>)),
    MAP(sRmUniVlanTableVlanMode, vlanMode, OV_GPON_RMUNI_VLAN_ATTR_INDEX_vlanMode),
    MAP(sRmUniVlanTablePvid, pvid, OV_GPON_RMUNI_VLAN_ATTR_INDEX_pvid),
    MAP_INTO(sRmUniVlanTableVlanIdList, vlanList, OV_GPON_RMUNI_VLAN_ATTR_INDEX_vlanList, fill_ids),
    MAP_INTO(sRmUniVlanTableTranslateVlanIdList, xlateList, OV_GPON_RMUNI_VLAN_ATTR_INDEX_xlateList,
             fill_translated_ids),
    MAP(sRmUniVlanTablePriority, priority, OV_GPON_RMUNI_VLAN_ATTR_INDEX_PRI),
};
constexpr MIB_Flags_t SETTINGS = columns_of(
    column::sRmUniVlanTableVlanMode, column::sRmUniVlanTablePvid, column::sRmUniVlanTableVlanIdList,
    column::sRmUniVlanTableTranslateVlanIdList, column::sRmUniVlanTablePriority);

// ---- what a mode uses -------------------------------------------------------------------------------------

struct ModeUse {
    mib_long mode;
    bool pvid; // and priority
    bool ids;
    bool translated_ids;
};
constexpr ModeUse MODE_USES[] = {
    {SRMUNIVLANTABLEVLANMODE_DISCARD, false, false, false},
    {SRMUNIVLANTABLEVLANMODE_ACCESS, true, false, false},
    {SRMUNIVLANTABLEVLANMODE_TRUNK, false, true, false},
    {SRMUNIVLANTABLEVLANMODE_HYBRID, true, true, false},
    {SRMUNIVLANTABLEVLANMODE_TRANSPARENT, false, false, false},
    {SRMUNIVLANTABLEVLANMODE_XLATE, false, true, true},
};

void clear_unused(Row& row, const ModeUse& use) {
    if (!use.pvid) {
        row.sRmUniVlanTablePvid = 0;
        row.sRmUniVlanTablePriority = 0;
    }
    if (!use.ids)
        std::memset(row.sRmUniVlanTableVlanIdList, 0, sizeof row.sRmUniVlanTableVlanIdList);
    if (!use.translated_ids)
        std::memset(row.sRmUniVlanTableTranslateVlanIdList, 0, sizeof row.sRmUniVlanTableTranslateVlanIdList);
}

// ---- the steps of the set callback ------------------------------------------------------------------------

bool template_admits(Row& row) {
    return ov_univlan_multi_srvprofile_exist_check(&row) == 1 &&
           ov_univlan_multi_srvprofile_parameter_check(&row) == 1;
}

void clear_for_new_mode(Change& change) {
    if (change.has(column::sRmUniVlanTableVlanMode))
        ov_univlan_table_vlanmode_change_clear(&change.row);
}

int follow(Change& change) {
    return rm_follow_on_pair<SYNC_RMONU_UNIVLAN>(change);
}

// A template row goes out as its mode has it; that of an ONU as it was written, and is cleared when the card
// has taken it.
std::optional<int> before_send(Change& change) {
    if (is_template_row(change.row)) {
        if (!template_admits(change.row))
            return SET_REFUSED;
        clear_for_new_mode(change);
    }
    if (!any_column(columns_in(change.columns, SETTINGS)))
        return follow(change);
    return std::nullopt;
}

void roll_back(Change& change) {
    ov_univlan_table_vlanmode_rollback(&change.row);
}

// ---- the rows' life ---------------------------------------------------------------------------------------

using OnuType = ov_sOnuTypeProfileTable_attr_t;
constexpr UniKind KINDS[] = {
    {OV_GPON_RMUNI_TYPE_ETH, &OnuType::sOnuTypeProfileTableEthNum, &OnuType::sOnuTypeProfileTableCardNum,
     "can't add ONUPORTTYPE_ETH_UNI"},
    {OV_GPON_RMUNI_TYPE_POTS, &OnuType::sOnuTypeProfileTablePotsNum, &OnuType::sOnuTypeProfileTableCardNum,
     "can't add ONUPORTTYPE_POTS"},
    {OV_GPON_RMUNI_TYPE_VEIP, nullptr, nullptr, "can't add ONUPORTTYPE_VEIP"},
};
constexpr UniRows<Row> ROWS = {
    .kinds = KINDS,
    .appid = &gpon_univlan_appid,
    .no_type = "can't get onutype id",
    .left = "iterate delete univlan fail",
};
constexpr RmDoors<Row> DOORS = {.table = "rm_uni_vlan",
                                .appid = &gpon_univlan_appid,
                                .status_column = column::sRmUniVlanTableRowStatus,
                                .status = &Row::sRmUniVlanTableRowStatus};

} // namespace

constinit const MessageMap<ov_sRmUniVlanTable_attr_t, ov_gpon_rmuni_vlan_attr_t>
    univlan_map(UNIVLAN_LINES,
                {.last = column::sRmUniVlanTablePriority, .no_attribute = OV_GPON_RMUNI_VLAN_ATTR_INDEX_MAX});
RESTORE(rm_uni_vlan, SRMUNIVLAN, OV_HAL_MSG_GPON_RM_UNI_VLAN, univlan_map, CREATED_AND_SET)
RESTORE_TEMPLATES(rmunivlan, SRMUNIVLAN, OV_HAL_MSG_GPON_RM_UNI_VLAN, univlan_map, CREATED_AND_SET)

// ---- doors ------------------------------------------------------------------------------------------------

int ov_app_gpon_rmunivlan_add(ov_sRmUniVlanTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.add(attr, flag);
}

int ov_app_gpon_rmunivlan_edit(ov_sRmUniVlanTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

int ov_app_gpon_rmunivlan_del(ov_sRmUniVlanTable_attr_t* attr) {
    return DOORS.del(attr);
}

char ov_rmunivlan_table_del_init(const ov_sOnuTable_attr_t* onu) {
    bool written = true;
    for (Row& row : rows_copied(onu_key<Row>(*onu), INDEX_TO_ONU)) {
        if (row.sRmUniVlanTableVlanMode == SRMUNIVLANTABLEVLANMODE_DISCARD && row.sRmUniVlanTablePvid == 0)
            continue;
        row.sRmUniVlanTableVlanMode = SRMUNIVLANTABLEVLANMODE_DISCARD;
        row.sRmUniVlanTablePvid = 0;
        std::memset(row.sRmUniVlanTableVlanIdList, 0, sizeof row.sRmUniVlanTableVlanIdList);
        std::memset(row.sRmUniVlanTableTranslateVlanIdList, 0, sizeof row.sRmUniVlanTableTranslateVlanIdList);
        const MIB_Flags_t columns =
            columns_of(column::sRmUniVlanTableVlanMode, column::sRmUniVlanTablePvid,
                       column::sRmUniVlanTableVlanIdList, column::sRmUniVlanTableTranslateVlanIdList);
        written = write_row(MIB_SET_S, &row, &columns, gpon_univlan_appid,
                            "mib set error for rm_uni_vlan table") == OV_GPON_RET_OK &&
                  written;
    }
    return written ? 1 : 0;
}

// ---- modes ------------------------------------------------------------------------------------------------

void ov_univlan_table_vlanmode_change_clear(ov_sRmUniVlanTable_attr_t* row) {
    for (const ModeUse& use : MODE_USES)
        if (use.mode == row->sRmUniVlanTableVlanMode)
            clear_unused(*row, use);
}

void ov_univlan_table_vlanmode_rollback(ov_sRmUniVlanTable_attr_t* row) {
    constexpr ModeUse NOTHING = {};
    if (row->sRmUniVlanTableVlanMode >= SRMUNIVLANTABLEVLANMODE_ACCESS &&
        row->sRmUniVlanTableVlanMode <= SRMUNIVLANTABLEVLANMODE_XLATE)
        clear_unused(*row, NOTHING);
}

// ---- checks -----------------------------------------------------------------------------------------------

char ov_app_gpon_rm_univlan_check(ov_sRmUniVlanTable_attr_t* attr, int action, MIB_Flags_t /*flags*/) {
    return ov_app_gpon_rm_owner_admits(*attr, action, {.comes_with_owner = true}) ? 1 : 0;
}

char ov_univlan_multi_srvprofile_exist_check(ov_sRmUniVlanTable_attr_t* attr) {
    return ov_app_gpon_rm_has_srvprofile(attr->onuId) ? 1 : 0;
}

char ov_univlan_multi_srvprofile_parameter_check(ov_sRmUniVlanTable_attr_t* attr) {
    const VlanIds ids = ids_in(attr->sRmUniVlanTableVlanIdList);
    const auto pvid = static_cast<uint16_t>(attr->sRmUniVlanTablePvid);
    if (attr->sRmUniVlanTableVlanMode != SRMUNIVLANTABLEVLANMODE_HYBRID ||
        std::find(ids.begin(), ids.end(), pvid) == ids.end())
        return 1;
    ov_refusal_because_of(column::sRmUniVlanTablePvid,
                          "VLAN %d is the PVID and in the list of tagged ones too",
                          attr->sRmUniVlanTablePvid);
    OV_LOG_ERROR("MMG", "pvid is in vlan list");
    return 0;
}

// ---- to the card ------------------------------------------------------------------------------------------

void sunivlan_mib_data_convert_to_hal(ov_sRmUniVlanTable_attr_t* mib, ov_gpon_rmuni_vlan_attr_t* hal,
                                      const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    univlan_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

ov_bmp_t ov_rmuni_vlan_table_attr_mask_get(const void* row) {
    return univlan_map.replay_mask(row);
}

// ---- callbacks --------------------------------------------------------------------------------------------

int ov_univlan_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_UNI_VLAN,
        .map = &univlan_map,
        .sent = SentChanges::EDITS,
        .check = passes<ov_app_gpon_rm_univlan_check>,
        .before_send = before_send,
        .dumps = true,
        .taken = clear_for_new_mode,
        .follow = follow,
        .not_supported = NotSupported::FOLLOW,
        .give_back = roll_back,
        .failure = "set rm univlan to hal error",
        .keeps_on_refusal = true,
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_univlan_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

int ov_univlan_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return unis_follow_onu(ROWS, did, row);
}

int ov_univlan_onu_srvprofile_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return unis_follow_profile(ROWS, did, row);
}

void ov_app_gpon_rmunivlan_init() {
    gpon_univlan_appid = AssignAppId();
    const CallbackRegistration app = {"app_univlan", gpon_univlan_appid,
                                      "app_univlan register set call back error"};
    app.add(SRMUNIVLAN, CALLBACK_SET, ov_univlan_table_set_callback, mibDefFlags);
    app.add(SRMUNIVLAN, CALLBACK_CHECK, ov_univlan_table_set_check_callback, mibDefFlags);
    app.add(SONU, CALLBACK_SET, ov_univlan_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
    app.add(SONUSRVPROFILE, CALLBACK_SET, ov_univlan_onu_srvprofile_set_callback,
            columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus));
}
