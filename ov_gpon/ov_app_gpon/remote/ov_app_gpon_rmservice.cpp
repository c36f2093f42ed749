#include "ov_app_gpon_rmservice.h"

#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_app_gpon_rm_owner.h"
#include "sOnuSrvProfileTable.h"

int gpon_rmservice_appid = 0;

namespace {

using Row = ov_sRmServiceTable_attr_t;
using Record = ov_gpon_rmservice_attr_t;
using Change = RowChange<Row>;
namespace column = sRmServiceTable_column;

// ---- to the card ------------------------------------------------------------------------------------------

void fill_uni(const Row& row, Record& record) {
    record.uniPos.cardId = static_cast<uint16_t>(row.sRmServiceTableOnuCardID);
    record.uniPos.uniType = row.sRmServiceTableOnuPortType;
    record.uniPos.uniId = static_cast<uint16_t>(row.sRmServiceTableOnuPortID);
}
mib_ulong id_of(const Row& row) {
    return row.rmServiceID;
}

// mib_gem stays zero: cards go by gemId.
constexpr MapLine RMSERVICE_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_ONLY(serviceId, id_of),
    MAP_INTO(sRmServiceTableOnuCardID, uniPos, OV_GPON_RMSERVICE_ATTR_INDEX_uniPos, fill_uni),
    MASK_ONLY(sRmServiceTableOnuPortType, OV_GPON_RMSERVICE_ATTR_INDEX_uniPos),
    MASK_ONLY(sRmServiceTableOnuPortID, OV_GPON_RMSERVICE_ATTR_INDEX_uniPos),
    MAP(sRmServiceTableRmServiceType, type, OV_GPON_RMSERVICE_ATTR_INDEX_type),
    MAP(sRmServiceTableGemId, gemId, OV_GPON_RMSERVICE_ATTR_INDEX_gemId),
    MAP(sRmServiceTableVlanId, vlan, OV_GPON_RMSERVICE_ATTR_INDEX_vlan),
    MAP(sRmServiceTablePriorityID, cos, OV_GPON_RMSERVICE_ATTR_INDEX_cos),
};

// ---- services that claim the same traffic -----------------------------------------------------------------

bool is_of_uni(const Row& row, const Record& record) {
    return row.sRmServiceTableOnuCardID == record.uniPos.cardId &&
           row.sRmServiceTableOnuPortType == record.uniPos.uniType &&
           row.sRmServiceTableOnuPortID == record.uniPos.uniId;
}
bool is_of_vlan(const Row& row, const Record& record) {
    return row.sRmServiceTableVlanId == record.vlan;
}
bool is_of_cos(const Row& row, const Record& record) {
    return row.sRmServiceTablePriorityID == record.cos;
}

// Whether another service of the ONU conflicts with that of the record. Types tell traffic apart by what they
// are called after; but with "VLAN and UNI" a UNI, and a GEM port too, has one service whatever its VLAN. Of
// type 6 only the type counts.
bool conflicts(const Row& other, const Record& record) {
    if (other.sRmServiceTableRmServiceType != record.type)
        return true;
    switch (record.type.value()) {
    case OV_GPON_RM_SERVICE_VLAN:
        return is_of_vlan(other, record);
    case OV_GPON_RM_SERVICE_VLAN_COS:
        return is_of_vlan(other, record) && is_of_cos(other, record);
    case OV_GPON_RM_SERVICE_VLAN_UNI:
        return is_of_uni(other, record) || other.sRmServiceTableGemId == record.gemId;
    case OV_GPON_RM_SERVICE_VLAN_COS_UNI:
        return is_of_vlan(other, record) && is_of_cos(other, record) && is_of_uni(other, record);
    case OV_GPON_RM_SERVICE_TRANSPARNT:
        return true;
    default:
        return false;
    }
}

// ---- values that the record holds -------------------------------------------------------------------------

struct Number {
    unsigned column;
    mib_ulong Row::*value;
};
constexpr Number SIXTEEN_BITS[] = {
    {column::sRmServiceTableOnuCardID, &Row::sRmServiceTableOnuCardID},
    {column::sRmServiceTableOnuPortID, &Row::sRmServiceTableOnuPortID},
    {column::sRmServiceTableGemId, &Row::sRmServiceTableGemId},
};

// A greater number would name another card, UNI, GEM port or service to the line card.
bool fits_record(const Row& row) {
    for (const Number& number : SIXTEEN_BITS)
        if (row.*number.value > UINT16_MAX)
            return ov_refusal_because_of(number.column, "%u is no number of the ONU's",
                                         static_cast<unsigned>(row.*number.value));
    return row.rmServiceID <= UINT16_MAX ||
           ov_refusal_because("%u is no number of a service", static_cast<unsigned>(row.rmServiceID));
}

// ---- the steps of the set callback ------------------------------------------------------------------------

bool is_free_of_conflicts(const Row& row) {
    Record record = {};
    rmservice_map.encode(&row, &record);
    if (ov_rmservice_iterate_parser_check(&row, &record) == 0)
        return true;
    OV_LOG_ERROR("MMG", "set rm service param check failed");
    return false;
}

bool may_become(Change& change) {
    if (!passes<ov_app_gpon_rm_servcie_check>(change))
        return false;
    if (change.deletes())
        return true;
    return fits_record(change.row) && (!change.creates() || is_free_of_conflicts(change.row)) &&
           (!is_template_row(change.row) || ov_app_gpon_rmsrv_multi_srv_check(&change.row) == 1);
}

int follow(Change& change) {
    if (change.creates() && !ov_app_gpon_rm_mac_filter_mode_add(change.row))
        return SET_REFUSED;
    return rm_follow_on_pair<SYNC_RMONU_SERVICE>(change);
}

// A service that the card didn't let go has a filter again, as a new one has: its own has gone in front of
// it.
void put_filter_back(Change& change) {
    if (change.deletes())
        ov_app_gpon_rm_mac_filter_put_back(change.row);
}

// ---- the rows' life ---------------------------------------------------------------------------------------

void log_left(const char* failure, const Row& row) {
    OV_LOG_ERROR("MMG", "%s\nonuid:%d, serviceid:%d,cardid:%d, porttype:%d, portid:%d,servicetype:%d",
                 failure, row.onuId, static_cast<int>(row.rmServiceID),
                 static_cast<int>(row.sRmServiceTableOnuCardID), row.sRmServiceTableOnuPortType,
                 static_cast<int>(row.sRmServiceTableOnuPortID), row.sRmServiceTableRmServiceType);
}

constexpr OwnedRows<Row> OWNED = {
    .appid = &gpon_rmservice_appid,
    .failed = [](const Row& row) { log_left("can't delete rmservice!", row); },
    .stops = true,
};
constexpr char LEFT[] = "iterate delete rmservice fail";

constexpr RmDoors<Row> DOORS = {.table = "rm_service",
                                .appid = &gpon_rmservice_appid,
                                .status_column = column::sRmServiceTableRowStatus,
                                .status = &Row::sRmServiceTableRowStatus};

} // namespace

constinit const MessageMap<ov_sRmServiceTable_attr_t, ov_gpon_rmservice_attr_t>
    rmservice_map(RMSERVICE_LINES, {.last = column::sRmServiceTableRowStatus,
                                    .no_attribute = OV_GPON_RMSERVICE_ATTR_INDEX_MAX});
RESTORE(rm_service, SRMSERVICE, OV_HAL_MSG_GPON_RM_SERVICE, rmservice_map, CREATED)
RESTORE_TEMPLATES(rmservice, SRMSERVICE, OV_HAL_MSG_GPON_RM_SERVICE, rmservice_map, CREATED)

// ---- doors ------------------------------------------------------------------------------------------------

int ov_app_gpon_rmservice_add(ov_sRmServiceTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.add(attr, flag);
}

int ov_app_gpon_rmservice_edit(ov_sRmServiceTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

int ov_app_gpon_rmservice_del(ov_sRmServiceTable_attr_t* attr) {
    return DOORS.del(attr);
}

char ov_rmservice_table_iterate_del(const ov_sOnuTable_attr_t* onu) {
    return remove_owned_rows(OWNED, *onu) ? 1 : 0;
}

void ov_rmservice_table_iterate_del_in_same_flow(const ov_sRmServiceTable_attr_t* row) {
    for (Row& other : rows_copied(*row, INDEX_TO_ONU))
        if (other.rmServiceID != row->rmServiceID &&
            other.sRmServiceTableOnuPortType == row->sRmServiceTableOnuPortType &&
            other.sRmServiceTableVlanId == row->sRmServiceTableVlanId &&
            !mib_access(MIB_DEL_S, other, mibDefFlags, gpon_rmservice_appid))
            log_left("can't delete rmservice sliently!", other);
}

// ---- checks -----------------------------------------------------------------------------------------------

char ov_app_gpon_rm_servcie_check(ov_sRmServiceTable_attr_t* attr, int action, MIB_Flags_t /*flags*/) {
    return ov_app_gpon_rm_owner_admits(*attr, action, {.templet_refuses = Writes::ALL}) ? 1 : 0;
}

int ov_rmservice_iterate_parser_check(const ov_sRmServiceTable_attr_t* row,
                                      const ov_gpon_rmservice_attr_t* record) {
    for (const Row& other : rows_under(*row, INDEX_TO_ONU)) {
        if (other.rmServiceID == row->rmServiceID || !conflicts(other, *record))
            continue;
        ov_refusal_because("remote service %u of type %d takes the same traffic, or tells it apart otherwise",
                           static_cast<unsigned>(other.rmServiceID), other.sRmServiceTableRmServiceType);
        return 1;
    }
    return 0;
}

char ov_app_gpon_rmsrv_multi_srv_check(ov_sRmServiceTable_attr_t* attr) {
    if (!ov_app_gpon_rm_has_srvprofile(attr->onuId))
        return 0;
    auto gem = onu_key<ov_sGemTable_attr_t>(*attr);
    gem.gemID = attr->sRmServiceTableGemId;
    return ov_app_gpon_gemport_exist_check(&gem) == 1 ||
                   ov_refusal_because_of(column::sRmServiceTableGemId,
                                         "service profile %d has no GEM port %u", attr->onuId,
                                         static_cast<unsigned>(gem.gemID))
               ? 1
               : 0;
}

// ---- to the card ------------------------------------------------------------------------------------------

void srmservice_mib_data_convert_to_hal(ov_sRmServiceTable_attr_t* mib, ov_gpon_rmservice_attr_t* hal,
                                        const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    rmservice_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

// ---- callbacks --------------------------------------------------------------------------------------------

int ov_rmservice_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_SERVICE,
        .map = &rmservice_map,
        .check = may_become,
        .dumps = true,
        .follow = follow,
        .not_supported = NotSupported::FOLLOW,
        .give_back = put_filter_back,
        .failure = "set rm service to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_rmservice_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

// Filters that stand without a service go with the ONU too.
int ov_rmservice_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    const int answer = rm_rows_go_with_onu(OWNED, LEFT, did, row);
    if (answer == SET_ACCEPTED && MibRowStatusGet(did, row) == MODE_DEL)
        ov_app_gpon_rm_mac_filter_iterate_del(*static_cast<const ov_sOnuTable_attr_t*>(row));
    return answer;
}

int ov_rmservice_multi_srvprofile_del_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_rows_go_with_profile(OWNED, LEFT, did, row);
}

void ov_app_gpon_rmservice_init() {
    gpon_rmservice_appid = AssignAppId();
    const CallbackRegistration app = {"app_rmservice", gpon_rmservice_appid,
                                      "app_rmservice register set call back error"};
    app.add(SRMSERVICE, CALLBACK_SET, ov_rmservice_table_set_callback, mibDefFlags);
    app.add(SRMSERVICE, CALLBACK_CHECK, ov_rmservice_table_set_check_callback, mibDefFlags);
    app.add(SONU, CALLBACK_SET, ov_rmservice_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
    app.add(SONUSRVPROFILE, CALLBACK_SET, ov_rmservice_multi_srvprofile_del_callback,
            columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus));
}
