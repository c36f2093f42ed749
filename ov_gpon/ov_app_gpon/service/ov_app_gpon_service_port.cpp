#include "ov_app_gpon_service_port.h"

#include "app_restore_line.h"

#include "app_follow_rows.h"
#include "app_index.h"
#include "app_resource.h"
#include "app_rows.h"
#include "app_set_callback.h"
#include "cosQueueMappingProfileTable.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_pair.h"
#include "ov_app_gpon_qos.h"
#include "ov_gpon.h"
#include "ov_product_log.h"
#include "sGemTable.h"
#include "sOnuSrvProfileTable.h"

int gpon_service_port_appid = 0;

namespace {

using ServicePort = ov_servicePortTable_attr_t;
namespace column = servicePortTable_column;

// A delete means the row, not its columns: the card would else be told the row's profile first.
constexpr MIB_Flags_t DELETED = columns_of(column::servicePortRowStatus);

// ---- values -----------------------------------------------------------------------------------------------

struct Range {
    unsigned column;
    mib_long ServicePort::*value;
    mib_long min, max;
    const char* refusal;

    bool admits(const ServicePort& row) const {
        if (row.*value >= min && row.*value <= max)
            return true;
        ov_refusal_because_of(column, "%s is %d to %d, not %d",
                              table_desc_servicePortTable.column(static_cast<int>(column))->name, min, max,
                              row.*value);
        OV_LOG_ERROR("MMG", "%s", refusal);
        return false;
    }
};

constexpr std::array RANGES = {
    Range{column::servicePortGemId, &ServicePort::servicePortGemId, 1, 128, "check [servicePortGemId] fail"},
    Range{column::servicePortVlan, &ServicePort::servicePortVlan, 0, 4095, "check [servicePortVlan] fail"},
    Range{column::servicePortSvlan, &ServicePort::servicePortSvlan, 0, 4095, "check [servicePortSvlan] fail"},
    Range{column::servicePortUserVlan, &ServicePort::servicePortUserVlan, 0, 4095,
          "check [servicePortUserVlan] fail"},
    Range{column::servicePortInnerVlan, &ServicePort::servicePortInnerVlan, 0, 4095,
          "check [servicePortInnerVlan] fail"},
    Range{column::servicePortVlanAction, &ServicePort::servicePortVlanAction, 1, 8,
          "check [servicePortVlanAction] fail"},
    Range{column::servicePortVlanPrio, &ServicePort::servicePortVlanPrio, 0, 7,
          "check [servicePortVlanPrio] fail"},
    Range{column::servicePortSvlanPrio, &ServicePort::servicePortSvlanPrio, 0, 7,
          "check [servicePortSvlanPrio] fail"},
    Range{column::servicePortMacLimit, &ServicePort::servicePortMacLimit, 0, 4095,
          "check [servicePortMacLimit] fail"},
    Range{column::servicePortVlanPrioAction, &ServicePort::servicePortVlanPrioAction, 1, 3,
          "check [servicePortVlanPrioAction] fail"},
    Range{column::servicePortSvlanPrioAction, &ServicePort::servicePortSvlanPrioAction, 1, 3,
          "check [servicePortSvlanPrioAction] fail"},
    Range{column::servicePortQueueSelectMode, &ServicePort::servicePortQueueSelectMode, 1, 2,
          "check [servicePortQueueSelectMode] fail"},
};
constexpr Range QUEUE_RANGE = {column::servicePortQueue, &ServicePort::servicePortQueue, 0, 7,
                               "check [servicePortQueue] fail"};
constexpr Range MAPPING_RANGE = {column::servicePortCosQueueMappingProfileId,
                                 &ServicePort::servicePortCosQueueMappingProfileId, 0, 8,
                                 "check [servicePortCosQueueMappingProfileId] fail"};

bool has_whole_index(const ServicePort& row) {
    return (has_owner_index(row) && fits(row.servicePortId, GPON_SERVICE_PORT_MAX)) ||
           ov_refusal_because("index %d.%d.%d.%d.%d is no place of a service port", row.shelfID, row.slotID,
                              row.portID, row.onuId, row.servicePortId);
}

bool has_mapping_profile(const ServicePort& row) {
    ov_cosQueueMappingProfileTable_attr_t key = {};
    key.shelfID = GPON_SHELF;
    key.cosQueueMappingProfileId = row.servicePortCosQueueMappingProfileId;
    if (key.cosQueueMappingProfileId == 0 || find_row(key) != nullptr)
        return true;
    ov_refusal_because_of(column::servicePortCosQueueMappingProfileId, "no COS-to-queue profile %d",
                          row.servicePortCosQueueMappingProfileId);
    OV_LOG_ERROR("MMG", "check [cosQueueMappingProfileId] fail");
    return false;
}

bool selects_queue_directly(const ServicePort& row) {
    return row.servicePortQueueSelectMode == SERVICEPORTQUEUESELECTMODE_DIRECTLY;
}

// ---- the row check ----------------------------------------------------------------------------------------

bool has_gemport(const ServicePort& row) {
    auto key = onu_key<ov_sGemTable_attr_t>(row);
    key.gemID = static_cast<mib_ulong>(row.servicePortGemId);
    if (find_row(key) != nullptr)
        return true;
    ov_refusal_because_of(column::servicePortGemId, "no GEM port %d", row.servicePortGemId);
    OV_LOG_ERROR("MMG", "Config service port[%d], gemport[%d] not exist", row.servicePortId,
                 row.servicePortGemId);
    return false;
}

// Addresses move between the two ports of a group at each switch-over.
bool keeps_mac_move_on_group(const ServicePort& row) {
    if (row.servicePortMacmove != SERVICEPORTMACMOVE_DISABLE ||
        ov_app_gpon_port_is_group_work_pon_port(row.slotID, row.portID) == 0)
        return true;
    ov_refusal_because_of(column::servicePortMacmove,
                          "addresses must be free to move on a port of a protection group");
    OV_LOG_ERROR("MMG", "pon port is grop work pon port");
    return false;
}

bool count(const ServicePort& row, int action) {
    if (reserve_one(SRVPORT_LIMIT_INDEX, row, action))
        return true;
    OV_LOG_ERROR("MMG", "%s service port info error slot %d port %d",
                 action == OV_HAL_GPON_MSG_ACTION_CREATE ? "reserve" : "release", row.slotID, row.portID);
    return false;
}

bool may_become(const ServicePort& row, int action, const MIB_Flags_t& columns) {
    if (action == OV_HAL_GPON_MSG_ACTION_CREATE && !has_gemport(row))
        return false;
    if (mib_flag_is_set(columns, column::servicePortMacmove) && !keeps_mac_move_on_group(row))
        return false;
    return ov_app_gpon_owner_admits(row);
}

// ---- the steps of the set callback ------------------------------------------------------------------------

bool service_port_admits(RowChange<ServicePort>& change) {
    return may_become(change.row, change.action, change.columns);
}

bool service_port_reserve(RowChange<ServicePort>& change) {
    return count(change.row, change.action);
}

// Hands a new COS-to-COS profile on to the service port's QoS. What goes wrong is logged, no more: the row is
// good without it.
std::optional<int> lead_cos_to_cos(RowChange<ServicePort>& change) {
    if (!change.has(column::servicePortUplinkCosToCosProfileId) || is_template_row(change.row))
        return std::nullopt; // templates have no QoS of their own
    const ov_ifindex_t ifindex = service_port_ifindex(change.row);
    const uint32_t profile = change.row.servicePortUplinkCosToCosProfileId;
    auto* qos = ov_app_find_service_port_qos_by_ifindex(ifindex);
    if (qos == nullptr)
        OV_LOG_ERROR("SERV PORT", "service port qos %#x not exist", ifindex);
    else if (ov_app_service_port_qos_edit_cos_to_cos(qos, profile, QOS_UP_LINK) != OV_QOS_OK)
        OV_LOG_ERROR("SERV PORT", "Illegal cos to cos profile %d for service port %#x",
                     static_cast<int>(profile), ifindex);
    else if (ov_app_service_port_qos_set(qos, SYNC_HAL) != OV_QOS_OK)
        OV_LOG_ERROR("SERV PORT", "Failed to set service port qos %#x", ifindex);
    return std::nullopt;
}

const char* name_of(ov_ifindex_t ifindex) {
    const char* name = ov_get_ifname_by_ifindex(ifindex);
    return name != nullptr ? name : "";
}

bool add_qos(ov_ifindex_t ifindex) {
    if (ov_app_find_service_port_qos_by_ifindex(ifindex) != nullptr) {
        OV_LOG_ERROR("QOS", "service port qos %#x %s exists", ifindex, name_of(ifindex));
        return false;
    }
    auto* qos = ov_app_service_port_qos_new();
    if (qos != nullptr && ov_app_service_port_qos_edit_index(qos, ifindex) == OV_QOS_OK &&
        ov_app_service_port_qos_add(qos, SYNC_EVERY_COPY) == OV_QOS_OK)
        return true;
    OV_LOG_ERROR("QOS", "add service port qos %#x %s failed", ifindex, name_of(ifindex));
    ov_app_service_port_qos_destroy(qos);
    return false;
}

bool del_qos(ov_ifindex_t ifindex) {
    auto* qos = ov_app_find_service_port_qos_by_ifindex(ifindex);
    if (qos == nullptr) {
        OV_LOG_ERROR("QOS", "service port qos %#x %s not exists", ifindex, name_of(ifindex));
        return false;
    }
    if (ov_app_service_port_qos_del(qos, SYNC_EVERY_COPY) == OV_QOS_OK)
        return true;
    OV_LOG_ERROR("QOS", "del service port qos %#x %s failed", ifindex, name_of(ifindex));
    return false;
}

// The card has the row by now, and keeps it when its QoS can't follow.
int follow(RowChange<ServicePort>& change) {
    const ServicePort& row = change.row;
    if (is_template_row(row))
        return SET_ACCEPTED;
    if (change.creates() && !add_qos(service_port_ifindex(row)))
        return SET_REFUSED;
    if (change.deletes() && !del_qos(service_port_ifindex(row)))
        return SET_REFUSED;
    return ov_app_gpon_follow_on_pair(SYNC_SSERVICEPORT, change);
}

int refused(const char* why) {
    ov_refusal_because("%s", why);
    return OV_GPON_RET_BAD_PARAM;
}

} // namespace

void ov_app_gpon_service_port_init() {
    gpon_service_port_appid = AssignAppId();
    const CallbackRegistration registration = {"ov_app_gpon_service_port", gpon_service_port_appid,
                                               "service port: register callback failed"};
    registration.add(SSERVICEPORT, CALLBACK_SET, ov_service_port_table_set_callback, mibDefFlags);
    registration.add(SSERVICEPORT, CALLBACK_CHECK, ov_service_port_table_set_check_callback, mibDefFlags);
    registration.add(SONU, CALLBACK_SET, ov_service_port_table_on_onu_table_callback,
                     columns_of(sOnuTable_column::sOnuTableRowStatus));
    registration.add(SONUSRVPROFILE, CALLBACK_SET, ov_service_port_table_multi_srvprofile_callback,
                     columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus));
}

// ---- add, edit, delete ------------------------------------------------------------------------------------

int ov_app_gpon_service_port_add(ov_servicePortTable_attr_t* row, MIB_Flags_t column_flag) {
    if (!row)
        return OV_GPON_RET_BAD_PARAM;
    if (ov_app_gpon_srvport_exist_check(row) == 1) {
        ov_refusal_because("service port %d exists already", row->servicePortId);
        return OV_GPON_RET_BAD_PARAM;
    }
    row->servicePortRowStatus = OVRA_CREATEANDGO;
    mib_flag_set(column_flag, column::servicePortRowStatus);
    return mib_access(MIB_SET, *row, column_flag, gpon_service_port_appid) ? OV_GPON_RET_OK
                                                                           : OV_GPON_RET_BAD_PARAM;
}

int ov_app_gpon_service_port_edit(ov_servicePortTable_attr_t* row, MIB_Flags_t column_flag) {
    if (!row)
        return OV_GPON_RET_BAD_PARAM;
    const mib_long mode = row->servicePortQueueSelectMode;
    if (mib_flag_is_set(column_flag, column::servicePortQueue) && mode != SERVICEPORTQUEUESELECTMODE_DIRECTLY)
        return refused("doesn't choose its queue directly");
    if (mib_flag_is_set(column_flag, column::servicePortCosQueueMappingProfileId) &&
        mode != SERVICEPORTQUEUESELECTMODE_COSQMAPPINGPROFILE)
        return refused("doesn't choose its queue by a COS-to-queue profile");
    if (ov_app_gpon_srvport_exist_check(row) != 1)
        return refused("doesn't exist");
    return mib_access(MIB_SET, *row, column_flag, gpon_service_port_appid) ? OV_GPON_RET_OK
                                                                           : OV_GPON_RET_BAD_PARAM;
}

int ov_app_gpon_service_port_del(ov_servicePortTable_attr_t* row) {
    if (!row || !mib_access(MIB_DEL, *row, DELETED, gpon_service_port_appid))
        return OV_GPON_RET_BAD_PARAM;
    return OV_GPON_RET_OK;
}

// ---- checks -----------------------------------------------------------------------------------------------

char ov_app_gpon_srvport_exist_check(ov_servicePortTable_attr_t* row) {
    return find_row(*row) != nullptr ? 1 : 0;
}

int ov_app_srv_profile_service_port_check(mib_ulong onuProfileId) {
    ov_sOnuSrvProfileTable_attr_t profile = {};
    profile.onuSrvProfileId = onuProfileId;
    return ov_app_gpon_owner_check(ov_app_gpon_template_owner(profile)) ? 1 : 0;
}

char ov_service_port_table_mib_data_check(ov_servicePortTable_attr_t* row, int mode) {
    if (!has_whole_index(*row))
        return 0;
    for (const Range& range : RANGES)
        if (!range.admits(*row))
            return 0;
    if (selects_queue_directly(*row))
        return QUEUE_RANGE.admits(*row) ? 1 : 0;
    const bool becomes = mode == MODE_CRE || mode == MODE_CHG;
    return MAPPING_RANGE.admits(*row) && (!becomes || has_mapping_profile(*row)) ? 1 : 0;
}

char ov_service_port_check(ov_servicePortTable_attr_t* row, int action, MIB_Flags_t flag) {
    return may_become(*row, action, flag) && count(*row, action) ? 1 : 0;
}

// ---- to the card ------------------------------------------------------------------------------------------

ov_vlan_action_e ov_vlan_action_convert2hal(int32_t action) {
    static constexpr std::array ACTIONS = {
        ovVlanActionNone,
        ovVlanActionXparent,     // SERVICEPORTVLANACTION_TRANSPARENT
        ovVlanActionXlate,       // SERVICEPORTVLANACTION_XLATE
        ovVlanActionAdd,         // SERVICEPORTVLANACTION_ADD
        ovVlanActionAddInner,    // SERVICEPORTVLANACTION_ADDINNER
        ovVlanActionUntaggedAdd, // SERVICEPORTVLANACTION_ADDUNTAGGED
        ovVlanActionTaggedAdd,   // SERVICEPORTVLANACTION_ADDTAGGED
        ovVlanActionAlwaysAdd,   // SERVICEPORTVLANACTION_ADDALWAYS
        ovVlanActionAllXparent,  // SERVICEPORTVLANACTION_ALLTRANSPARENT
    };
    return static_cast<uint32_t>(action) < ACTIONS.size() ? ACTIONS[static_cast<uint32_t>(action)]
                                                          : ovVlanActionNone;
}

ov_vlan_prio_action_e ov_prio_action_convert2hal(int32_t action) {
    switch (action) {
    case SERVICEPORTVLANPRIOACTION_COPY:
        return ovVlanPrioActionCopy;
    case SERVICEPORTVLANPRIOACTION_NEW:
        return ovVlanPrioActionNew;
    case SERVICEPORTVLANPRIOACTION_RESERVED:
        return ovVlanPrioActionReserve;
    default:
        return ovVlanPrioActionNone;
    }
}

namespace {

ov_ifindex_t index_of(const ServicePort& row) {
    return service_port_ifindex(row);
}
ov_ifindex_t gem_index_of(const ServicePort& row) {
    return gemport_ifindex(row, static_cast<mib_ulong>(row.servicePortGemId));
}
bool selects_queue_by_profile(const ServicePort& row) {
    return !selects_queue_directly(row);
}
int32_t mapping_of(const ServicePort& row) {
    return selects_queue_directly(row) ? -1 : row.servicePortCosQueueMappingProfileId;
}

// Cards take the tags from every record; no bits stand for them.
using Row = ServicePort;
using Record = ov_gpon_service_port_attr_t;
constexpr MapLine SERVICE_PORT_LINES[] = {
    WIRE_ONLY(ifindex, index_of),
    WIRE_ONLY(gemIfndex, gem_index_of),
    UNMASKED(servicePortVlan, vlan),
    UNMASKED(servicePortSvlan, svlan),
    UNMASKED(servicePortUserVlan, user_vlan),
    UNMASKED(servicePortVlanPrio, vlan_prio),
    UNMASKED(servicePortSvlanPrio, svlan_prio),
    MAP_AS(servicePortVlanAction, vlan_action, MapLine::NO_ATTRIBUTE, ov_vlan_action_convert2hal),
    MAP_AS(servicePortVlanPrioAction, vlan_prio_action, MapLine::NO_ATTRIBUTE, ov_prio_action_convert2hal),
    MAP_AS(servicePortSvlanPrioAction, svlan_prio_action, MapLine::NO_ATTRIBUTE, ov_prio_action_convert2hal),
    WIRE_ONLY(cosq_map, mapping_of),
    MASK_ONLY(servicePortCosQueueMappingProfileId, OV_GPON_SERVICE_PORT_ATTR_INDEX_cosq_map)
        .applies_when(ROW_IS(selects_queue_by_profile)),
    MAP(servicePortQueue, queue, OV_GPON_SERVICE_PORT_ATTR_INDEX_queue)
        .applies_when(ROW_IS(selects_queue_directly)),
    MAP(servicePortMacmove, mac_move, OV_GPON_SERVICE_PORT_ATTR_INDEX_mac_move).replayed(MapReplay::ZERO),
    MAP(servicePortMacLimit, mac_limit, OV_GPON_SERVICE_PORT_ATTR_INDEX_mac_limit),
};

} // namespace

constinit const MessageMap<ov_servicePortTable_attr_t, ov_gpon_service_port_attr_t>
    service_port_map(SERVICE_PORT_LINES);
RESTORE(srvport, SSERVICEPORT, OV_HAL_MSG_GPON_SERVPORT, service_port_map, CREATED_AND_SET)
RESTORE_TEMPLATES(srvport, SSERVICEPORT, OV_HAL_MSG_GPON_SERVPORT, service_port_map, CREATED_AND_SET)

void ov_service_port_table_mib_convert2_hal(ov_servicePortTable_attr_t* mib, ov_gpon_service_port_attr_t* hal,
                                            const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    service_port_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

ov_bmp_t ov_serviceport_table_attr_mask_get(const void* row) {
    return service_port_map.replay_mask(row);
}

int ov_service_port_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<ServicePort, ov_gpon_service_port_attr_t> CALLBACK = {
        .message = OV_HAL_MSG_GPON_SERVPORT,
        .map = &service_port_map,
        .check = service_port_admits,
        .reserve = service_port_reserve,
        .before_send = lead_cos_to_cos,
        .dumps = true,
        .follow = follow,
        .not_supported = NotSupported::REFUSE,
        .give_back = give_back_one<SRVPORT_LIMIT_INDEX>,
        .failure = "OV_HAL_MSG_GPON_SERVPORT send fail",
    };
    if (ov_service_port_table_mib_data_check(static_cast<ServicePort*>(row), MibRowStatusGet(did, row)) !=
        1) {
        OV_LOG_ERROR("MMG", "check fail");
        return SET_REFUSED;
    }
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_service_port_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return ov_app_gpon_refuse_on_protecting_port(*static_cast<const ServicePort*>(row), "failed");
}

// ---- with the owner ---------------------------------------------------------------------------------------

namespace {

void log_left_service_port(const ServicePort& row) {
    OV_LOG_ERROR("MMG", "del service port fail onuid: %d, service port id: %d", row.onuId, row.servicePortId);
}

} // namespace

void ov_service_port_table_iterate_del(ov_sOnuTable_attr_t* onu) {
    static constexpr OwnedRows<ServicePort> OWNED = {
        .columns = DELETED,
        .appid = &gpon_service_port_appid,
        .failed = log_left_service_port,
    };
    remove_owned_rows(OWNED, *onu);
}

int ov_service_port_table_on_onu_table_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    if (MibRowStatusGet(did, row) == MODE_DEL)
        ov_service_port_table_iterate_del(static_cast<ov_sOnuTable_attr_t*>(row));
    return SET_ACCEPTED;
}

int ov_service_port_table_multi_srvprofile_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    if (MibRowStatusGet(did, row) != MODE_DEL)
        return SET_ACCEPTED;
    auto owner = ov_app_gpon_template_owner(*static_cast<ov_sOnuSrvProfileTable_attr_t*>(row));
    ov_service_port_table_iterate_del(&owner);
    return SET_ACCEPTED;
}
