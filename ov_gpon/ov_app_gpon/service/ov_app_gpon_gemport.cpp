#include "ov_app_gpon_gemport.h"

#include "app_restore_line.h"

#include "app_follow_rows.h"
#include "app_index.h"
#include "app_resource.h"
#include "app_rows.h"
#include "app_set_callback.h"
#include "app_text.h"
#include "app_write_row.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_pair.h"
#include "ov_gpon.h"
#include "ov_ifindex.h"
#include "ov_product_log.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTypeProfileTable.h"
#include "sRmServiceTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"

int gpon_gemport_appid = 0;

namespace {

using Gem = ov_sGemTable_attr_t;
namespace column = sGemTable_column;

// ---- what a GEM port refers to, and what refers to it -----------------------------------------------------

bool has_tcont(const Gem& row) {
    auto key = onu_key<ov_sTcontTable_attr_t>(row);
    key.tcontId = row.sGemTableTcontID;
    return find_row(key) != nullptr || ov_refusal_because_of(column::sGemTableTcontID, "no T-CONT %u",
                                                             static_cast<unsigned>(row.sGemTableTcontID));
}

bool has_whole_index(const Gem& row) {
    if (has_owner_index(row) && fits(row.gemID, GPON_GEMPORT_MAX))
        return true;
    ov_refusal_because("index %d.%d.%d.%d.%u is no place of a GEM port", row.shelfID, row.slotID, row.portID,
                       row.onuId, static_cast<unsigned>(row.gemID));
    OV_LOG_ERROR("MMG", "illega gem index:%d.%d.%d.%d.%d:", row.shelfID, row.slotID, row.portID, row.onuId,
                 static_cast<int>(row.gemID));
    return false;
}

// Has the ONU, by its type, the upstream queue that the GEM port maps to?
bool onu_has_queue(const Gem& row) {
    const ov_sOnuTable_attr_t* onu = ov_app_gpon_onu_of(row);
    if (onu == nullptr)
        return false;
    ov_sOnuTypeProfileTable_attr_t key = {};
    key.onuTypeProfileId = onu->sOnuTableOnuTypeProfileId;
    const auto* type = find_row(key);
    if (type == nullptr)
        return ov_refusal_because("the ONU's type isn't there");
    return int64_t{type->sOnuTypeProfileTableUpQueueNum} >= int64_t{row.sGemTableUpQueueMapID} ||
           ov_refusal_because_of(column::sGemTableUpQueueMapID,
                                 "the ONU's type \"%s\" has %d upstream queues", type->onuTypeProfileName,
                                 type->sOnuTypeProfileTableUpQueueNum);
}

bool is_free_of_services(const Gem& row) {
    for (const auto& port : rows_under(onu_key<ov_servicePortTable_attr_t>(row), INDEX_TO_ONU)) {
        if (static_cast<mib_ulong>(port.servicePortGemId) != row.gemID)
            continue;
        ov_refusal_because("service port %d uses the GEM port", port.servicePortId);
        OV_LOG_ERROR("MMG", "this gemid:%lu is using in service table! serviceportid:%lu",
                     static_cast<unsigned long>(row.gemID),
                     static_cast<unsigned long>(static_cast<mib_ulong>(port.servicePortId)));
        return false;
    }
    for (const auto& service : rows_under(onu_key<ov_sRmServiceTable_attr_t>(row), INDEX_TO_ONU)) {
        if (service.sRmServiceTableGemId != row.gemID)
            continue;
        ov_refusal_because("remote service %lu uses the GEM port",
                           static_cast<unsigned long>(service.rmServiceID));
        OV_LOG_ERROR("MMG", "this gemid:%lu is using in rm service table! rm serviceid:%lu",
                     static_cast<unsigned long>(row.gemID), static_cast<unsigned long>(service.rmServiceID));
        return false;
    }
    return true;
}

// ---- what a GEM port takes of its port --------------------------------------------------------------------

bool count(const Gem& row, int action) {
    if (reserve_one(GEM_LIMIT_INDEX, row, action))
        return true;
    OV_LOG_ERROR("MMG", "%s gem info error slot %d port %d",
                 action == OV_HAL_GPON_MSG_ACTION_CREATE ? "reserve" : "release", row.slotID, row.portID);
    return false;
}

bool may_become(const Gem& row, int action, const MIB_Flags_t& columns) {
    const bool deletes = action == OV_HAL_GPON_MSG_ACTION_DELETE;
    if (!deletes && mib_flag_is_set(columns, column::sGemTableTcontID) && !has_tcont(row)) {
        OV_LOG_ERROR("MMG", "tcont id %d is not exist", static_cast<int>(row.sGemTableTcontID));
        return false;
    }
    if (!ov_app_gpon_owner_admits(row))
        return false;
    if (action == OV_HAL_GPON_MSG_ACTION_CREATE)
        return has_whole_index(row) && (is_template_row(row) || onu_has_queue(row));
    return !deletes || is_free_of_services(row);
}

// ---- the steps of the set callback ------------------------------------------------------------------------

void fill_ifindex(Gem& row) {
    if (row.sGemTableIfIndex == 0)
        row.sGemTableIfIndex = gemport_ifindex(row, row.gemID);
}

bool gem_admits(RowChange<Gem>& change) {
    return may_become(change.row, change.action, change.columns) &&
           (!is_template_row(change.row) ||
            ov_app_gpon_gemport_multi_onu_srv_check(&change.row, change.action) == 1);
}

bool gem_reserve(RowChange<Gem>& change) {
    return count(change.row, change.action);
}

int follow(RowChange<Gem>& change) {
    return ov_app_gpon_follow_on_pair(SYNC_SGEM, change);
}

// Monitoring is the daemon's own: a change that means it doesn't reach the card.
std::optional<int> settle_without_card(RowChange<Gem>& change) {
    if (change.sets() && change.has(column::sGemTablePmEnable))
        return follow(change);
    return std::nullopt;
}

// ---- to the card ------------------------------------------------------------------------------------------

using Row = Gem;
using Record = ov_gpon_gemport_attr_t;
constexpr MapLine GEM_LINES[] = {
    MAP(sGemTableIfIndex, ifindex, OV_GPON_GEMPORT_ATTR_INDEX_ifindex).create_only(),
    MAP(sGemTableGemName, name, OV_GPON_GEMPORT_ATTR_INDEX_name).create_only(),
    MAP(sGemTableTcontID, tcontId, OV_GPON_GEMPORT_ATTR_INDEX_tcontId).create_only(),
    MAP(sGemTableSrvPortNum, servportCount, OV_GPON_GEMPORT_ATTR_INDEX_servportCount).create_only(),
    MAP(sGemTableDirection, direction, OV_GPON_GEMPORT_ATTR_INDEX_direction).create_only(),
    MAP(sGemTableIfEnableEncryption, isEncyption, OV_GPON_GEMPORT_ATTR_INDEX_isEncyption),
    UNMASKED(sGemTableUpQueueMapID, upQmapId),
    MAP(sGemTableUpTrafficName, upTrfDescripName, OV_GPON_GEMPORT_ATTR_INDEX_upTrfDescrip).create_only(),
    MAP(sGemTableDownTrafficName, downTrfDescripName, OV_GPON_GEMPORT_ATTR_INDEX_downTrfDescrip)
        .create_only(),
};

} // namespace

constinit const MessageMap<ov_sGemTable_attr_t, ov_gpon_gemport_attr_t>
    gem_map(GEM_LINES,
            {.last = column::sGemTableDownTrafficName, .no_attribute = OV_GPON_GEMPORT_ATTR_INDEX_MAX});
RESTORE(gemport, SGEM, OV_HAL_MSG_GPON_GEMPORT, gem_map, CREATED_AND_SET)
RESTORE_TEMPLATES(gemport, SGEM, OV_HAL_MSG_GPON_GEMPORT, gem_map, CREATED_AND_SET)

void ov_app_gpon_gemport_init() {
    gpon_gemport_appid = AssignAppId();
    const CallbackRegistration registration = {"app_gemport", gpon_gemport_appid,
                                               "gemport: register callback failed"};
    constexpr MIB_Flags_t ALL_BUT_MONITORING = columns_but(column::sGemTablePmEnable);
    registration.add(SGEM, CALLBACK_SET, ov_gemport_table_set_callback, ALL_BUT_MONITORING);
    registration.add(SGEM, CALLBACK_CHECK, ov_gemport_table_set_check_callback, ALL_BUT_MONITORING);
    registration.add(SONU, CALLBACK_SET, ov_gemport_table_onu_del_callback,
                     columns_of(sOnuTable_column::sOnuTableRowStatus));
    registration.add(SONUSRVPROFILE, CALLBACK_SET, ov_gemport_table_multi_srvprofile_del_callback,
                     columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus));
}

// ---- add, edit, delete ------------------------------------------------------------------------------------

int ov_app_gpon_gemport_add(ov_sGemTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check) {
    if (attr && flag) {
        attr->sGemTableIfIndex = gemport_ifindex(*attr, attr->gemID);
        attr->sGemTableRowStatus = OVRA_CREATEANDGO;
        mib_flag_set(*flag, column::sGemTableIfIndex);
        mib_flag_set(*flag, column::sGemTableRowStatus);
    }
    return write_row(is_need_check != 0 ? MIB_SET : MIB_SET_N, attr, flag, gpon_gemport_appid,
                     "mib add error for gemport table");
}

int ov_app_gpon_gemport_edit(ov_sGemTable_attr_t* attr, MIB_Flags_t* flag) {
    const bool past_callbacks = attr && flag && is_template_row(*attr) &&
                                !mib_flag_is_set(*flag, column::sGemTableIfEnableEncryption);
    return write_row(past_callbacks ? MIB_SET_S : MIB_SET, attr, flag, gpon_gemport_appid,
                     "mib set error for gemport table");
}

int ov_app_gpon_gemport_del(ov_sGemTable_attr_t* attr) {
    return write_row(MIB_DEL, attr, &mibDefFlags, gpon_gemport_appid, "mib del error for gemport table");
}

// ---- checks -----------------------------------------------------------------------------------------------

char ov_app_gpon_gemport_exist_check(ov_sGemTable_attr_t* attr) {
    return find_row(*attr) != nullptr ? 1 : 0;
}

char ov_app_gpon_gemport_check(ov_sGemTable_attr_t* attr, int action, MIB_Flags_t flag) {
    return may_become(*attr, action, flag) && count(*attr, action) ? 1 : 0;
}

char ov_app_gpon_gemport_multi_onu_srv_check(ov_sGemTable_attr_t* attr, int action) {
    const Gem& row = *attr;
    if (action != OV_HAL_GPON_MSG_ACTION_DELETE)
        return (ov_app_gpon_srvprofile_of(row.onuId) != nullptr ||
                ov_refusal_because("no service profile %d", row.onuId)) &&
                       has_tcont(row)
                   ? 1
                   : 0;
    // By the number of the service, not by its GEM port: in a profile they are made in pairs.
    auto port = onu_key<ov_servicePortTable_attr_t>(row);
    port.servicePortId = static_cast<mib_long>(row.gemID);
    auto service = onu_key<ov_sRmServiceTable_attr_t>(row);
    service.rmServiceID = row.gemID;
    if (find_row(port) != nullptr)
        return ov_refusal_because("service port %d goes with the GEM port", port.servicePortId);
    return find_row(service) == nullptr || ov_refusal_because("remote service %d goes with the GEM port",
                                                              static_cast<int>(service.rmServiceID))
               ? 1
               : 0;
}

// ---- to the card ------------------------------------------------------------------------------------------

void sgemport_mib_data_convert_to_hal(ov_sGemTable_attr_t* mib, ov_gpon_gemport_attr_t* hal,
                                      const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    gem_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

ov_bmp_t ov_gemport_table_attr_mask_get(const void* row) {
    return gem_map.replay_mask(row);
}

int ov_gemport_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Gem, ov_gpon_gemport_attr_t> CALLBACK = {
        .message = OV_HAL_MSG_GPON_GEMPORT,
        .map = &gem_map,
        .prepare = fill_ifindex,
        .check = gem_admits,
        .reserve = gem_reserve,
        .before_send = settle_without_card,
        .dumps = true,
        .follow = follow,
        .give_back = give_back_one<GEM_LIMIT_INDEX>,
        .failure = "set hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_gemport_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return ov_app_gpon_refuse_on_protecting_port(*static_cast<const Gem*>(row),
                                                 "ov_gemport_table_set_check_callback failed");
}

// ---- with the owner ---------------------------------------------------------------------------------------

namespace {

void log_left_gemport(const Gem& row) {
    OV_LOG_ERROR("MMG", "del gemport fail onuid: %d, gem id: %d", row.onuId, static_cast<int>(row.gemID));
}

} // namespace

void ov_gemport_table_iterate_del(ov_sOnuTable_attr_t* onu) {
    static constexpr OwnedRows<Gem> OWNED = {
        .appid = &gpon_gemport_appid,
        .failed = log_left_gemport,
    };
    remove_owned_rows(OWNED, *onu);
}

int ov_gemport_table_onu_del_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    if (MibRowStatusGet(did, row) == MODE_DEL)
        ov_gemport_table_iterate_del(static_cast<ov_sOnuTable_attr_t*>(row));
    return SET_ACCEPTED;
}

int ov_gemport_table_multi_srvprofile_del_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    if (MibRowStatusGet(did, row) != MODE_DEL)
        return SET_ACCEPTED;
    auto owner = ov_app_gpon_template_owner(*static_cast<ov_sOnuSrvProfileTable_attr_t*>(row));
    ov_gemport_table_iterate_del(&owner);
    return SET_ACCEPTED;
}
