#include "ov_app_gpon_port.h"

#include "app_restore_line.h"

#include <array>
#include <cstring>
#include <span>

#include "app_get_callback.h"
#include "app_index.h"
#include "app_rows.h"
#include "app_set_callback.h"
#include "ov_app_gpon_pair.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_gpon_qosprofile.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_ifindex.h"
#include "ov_product_log.h"
#include "sQosProfileTable.h"

int gpon_port_appid = 0;

namespace {

using namespace sPonTable_column;

using PortRow = ov_sPonTable_attr_t;

// The columns that are read from the card.
constexpr MIB_Flags_t READ_COLUMNS =
    columns_of(sPonTableOperationalState, sPonTableTxPower, sPonTableRogueOnuDetectState);
constexpr MIB_Flags_t WRITTEN_COLUMNS =
    columns_but(sPonTableOperationalState, sPonTableTxPower, sPonTableRogueOnuDetectState);

// ---- the record --------------------------------------------------------------------------------------

constexpr size_t QUEUES = 8;

// Scheduling of the port's queues: that of the profile, or equal weights without one. A profile that isn't
// there any more leaves zeros.
void fill_sched(const PortRow& port, ov_gpon_port_attr_t& record) {
    const uint32_t profile_id = port.sPonTableQosPorfileID;
    ov_qos_sched_attr_t& sched = record.sched;
    if (profile_id == 0) {
        for (size_t queue = 0; queue < QUEUES; ++queue)
            sched.weight[queue] = 1;
        return;
    }
    ov_sQosProfileTable_attr_t key = {};
    key.qosProfileID = profile_id;
    const ov_sQosProfileTable_attr_t* row = find_row(key);
    if (row == nullptr)
        return;
    const std::array<mib_long, QUEUES> modes = {row->sQosProfileSchModeOfQ1, row->sQosProfileSchModeOfQ2,
                                                row->sQosProfileSchModeOfQ3, row->sQosProfileSchModeOfQ4,
                                                row->sQosProfileSchModeOfQ5, row->sQosProfileSchModeOfQ6,
                                                row->sQosProfileSchModeOfQ7, row->sQosProfileSchModeOfQ8};
    const std::array<mib_long, QUEUES> weights = {
        row->sQosProfileTableWeightOfQ1, row->sQosProfileTableWeightOfQ2, row->sQosProfileTableWeightOfQ3,
        row->sQosProfileTableWeightOfQ4, row->sQosProfileTableWeightOfQ5, row->sQosProfileTableWeightOfQ6,
        row->sQosProfileTableWeightOfQ7, row->sQosProfileTableWeightOfQ8};
    for (size_t queue = 0; queue < QUEUES; ++queue) {
        sched.mode[queue] = modes[queue];
        sched.weight[queue] = weights[queue];
    }
}

// The admin state's bit is never raised: see port_before_send.
namespace column = sPonTable_column;
using Row = PortRow;
using Record = ov_gpon_port_attr_t;
constexpr MapLine PORT_LINES[] = {
    UNMASKED(sPonTableIfIndex, ifindex),
    MAP(sPonTableAdminState, adminStatus, OV_GPON_PORT_ATTR_INDEX_adminStatus).create_only(),
    MAP(sPonTableOperationalState, priStatus, OV_GPON_PORT_ATTR_INDEX_priStatus).create_only(),
    MAP(sPonTableScbPort, scbport, OV_GPON_PORT_ATTR_INDEX_scbport),
    MAP(sPonTableTxPower, txPwr, OV_GPON_PORT_ATTR_INDEX_txPwr).create_only(),
    MAP(sPonTableScbMaxBW, scb_maxBw, OV_GPON_PORT_ATTR_INDEX_scb_maxBw),
    MAP(sPonTableScbDwnQueueMapID, scb_qid, OV_GPON_PORT_ATTR_INDEX_scb_qid).create_only(),
    MAP_INTO(sPonTableQosProfileName, sched, OV_GPON_PORT_ATTR_INDEX_sched, fill_sched).create_only(),
    MAP(sPonTableMaxLogicDistance, MaxLogicDistance, OV_GPON_PORT_ATTR_INDEX_MaxLogicDistance),
    MAP(sPonTableDsFec, DsFec, OV_GPON_PORT_ATTR_INDEX_DsFec),
    MAP(sPonTableKeyExchangeCtrl, KeyExchangeCtrl, OV_GPON_PORT_ATTR_INDEX_KeyExchangeCtrl),
    MAP(sPonTableKeyExchangeInterval, KeyExchangeInterval, OV_GPON_PORT_ATTR_INDEX_KeyExchangeInterval),
    MAP(sPonTableAutoLearn, autolearn, OV_GPON_PORT_ATTR_INDEX_AutoLearn),
    MAP(sPonTablePortProtect, portProtect, OV_GPON_PORT_ATTR_INDEX_PROTECTED),
    MAP(sPonTableAutoFind, autofind, OV_GPON_PORT_ATTR_INDEX_Autofind),
    MAP(sPonTableRogueOnuDetect, rogueOnuDetect, OV_GPON_PORT_ATTR_INDEX_RogueOnuDetect),
    READ_ONLY(sPonTableRogueOnuDetectState, rogueOnuDetectState), // cards send it with every read
    MAP(sPonTableSilenceOnuTime, silenceTime, OV_GPON_PORT_ATTR_INDEX_silenceTime),
    // On by default, and set nevertheless: a port with it off keeps what the create gave.
    MAP(sPonTableMibDataSync, mibDataSync, OV_GPON_PORT_ATTR_INDEX_mibDataSync).replayed(MapReplay::NOT_ZERO),
};

// ---- service profiles of learnt ONUs -----------------------------------------------------------------

constexpr size_t AUTOFLOW_SLOTS = 4;
constexpr size_t MODEL_NAME_BYTES = sPonTable_limit::sPonTableModelSrvProfileName / AUTOFLOW_SLOTS;
constexpr size_t VENDOR_CODE_BYTES = sPonTable_limit::sPonTableVendorSrvProfileName / AUTOFLOW_SLOTS;

bool srvprofile_exists_or_none(uint32_t profile_id) {
    return profile_id == 0 || ov_app_gpon_onu_srvprofile_check(profile_id, nullptr) == 1 ||
           ov_refusal_because("no service profile %u", profile_id);
}

// Slots without a name aren't in use, whatever profile they hold.
bool slot_profiles_exist(std::span<const unsigned char> profiles, std::span<const unsigned char> names,
                         size_t name_bytes) {
    for (size_t slot = 0; slot < AUTOFLOW_SLOTS; ++slot)
        if (names[slot * name_bytes] != 0 && !srvprofile_exists_or_none(profiles[slot]))
            return false;
    return true;
}

void clear_autoflow_profiles(PortRow& row) {
    row.sPonTableSfuSrvProfile = 0;
    row.sPonTableHguSrvProfile = 0;
    std::memset(row.sPonTableModelSrvProfile, 0, sizeof row.sPonTableModelSrvProfile);
    std::memset(row.sPonTableModelSrvProfileName, 0, sizeof row.sPonTableModelSrvProfileName);
    std::memset(row.sPonTableVendorSrvProfile, 0, sizeof row.sPonTableVendorSrvProfile);
    std::memset(row.sPonTableVendorSrvProfileName, 0, sizeof row.sPonTableVendorSrvProfileName);
}

// ---- steps of a change -------------------------------------------------------------------------------

// Clearing a port writes the id 0 with the name "0".
bool names_no_qos_profile(const PortRow& row) {
    const char* name = row.sPonTableQosProfileName;
    return name[0] == '\0' || (row.sPonTableQosPorfileID == 0 && std::strcmp(name, "0") == 0);
}

bool has_hierarchical_scheduler(ov_ifindex_t ifindex) {
    int model = 0;
    return ov_app_qos_port_model_get_by_ifindex(ifindex, &model) == OV_QOS_OK &&
           model == OV_QOS_SCHED_HIERARCHY;
}

bool port_admits(RowChange<PortRow>& change) {
    if (change.creates() && !has_port_index(change.row)) {
        OV_LOG_ERROR("LIB", "wrong pon port index:%d.%d.%d", change.row.shelfID, change.row.slotID,
                     change.row.portID);
        return false;
    }
    return change.deletes() || ov_app_gpon_port_check(&change.row, change.action, change.columns) == 1;
}

// What the daemon decides without the card.
std::optional<int> port_before_send(RowChange<PortRow>& change) {
    if (!change.sets())
        return std::nullopt;
    // The recording switches are the daemon's. The admin state comes from the controller, which has told the
    // card already. Whatever else was written with one of them stays in the table too.
    if (change.has(sPonTablePmEnable) || change.has(sPonTableNniPmEnable) || change.has(sPonTableAdminState))
        return ov_app_gpon_follow_on_pair(SYNC_SPON, change);
    if (change.has(sPonTableSrvProfileID) &&
        !srvprofile_exists_or_none(static_cast<uint32_t>(change.row.sPonTableSrvProfileID)))
        return SET_REFUSED;
    if (change.has(sPonTableHguSrvProfile) || change.has(sPonTableSfuSrvProfile) ||
        change.has(sPonTableModelSrvProfile) || change.has(sPonTableVendorSrvProfile)) {
        if (ov_app_gpon_autoflow_onu_srvprofile_check(&change.row, change.columns) != 1)
            return SET_REFUSED;
        return ov_app_gpon_follow_on_pair(SYNC_SPON, change);
    }
    return std::nullopt;
}

int port_follow(RowChange<PortRow>& change) {
    if (change.has(sPonTableAutoFlow) && change.row.sPonTableAutoFlow == SPONTABLEAUTOFLOW_DISABLE)
        clear_autoflow_profiles(change.row);
    return ov_app_gpon_follow_on_pair(SYNC_SPON, change);
}

void address_port(const PortRow& row, ov_gpon_port_attr_t& record) {
    record.ifindex = row.sPonTableIfIndex != 0 ? row.sPonTableIfIndex : port_ifindex_of(row);
}

// ---- access ------------------------------------------------------------------------------------------

int refused(const char* why) {
    OV_LOG_ERROR("LIB", "%s", why);
    return OV_GPON_RET_BAD_PARAM;
}

int write_port(PortRow* attr, const MIB_Flags_t& flag, const char* failure) {
    return mib_access(MIB_SET, *attr, flag, gpon_port_appid) ? OV_GPON_RET_OK : refused(failure);
}

} // namespace

// Columns without an attribute raise the bit behind the last one, which cards ignore.
constinit const MessageMap<ov_sPonTable_attr_t, ov_gpon_port_attr_t>
    pon_port_map(PORT_LINES, {.first = sPonTableIfIndex,
                              .last = sPonTableMibDataSync,
                              .last_read = sPonTableRogueOnuDetectState,
                              .no_attribute = OV_GPON_PORT_ATTR_INDEX_MAX});
RESTORE(pon, SPON, OV_HAL_MSG_GPON_PORT, pon_port_map, CREATED_AND_SET)

void ov_app_gpon_port_init() {
    gpon_port_appid = AssignAppId();
    const CallbackRegistration registration = {"app_port", gpon_port_appid,
                                               "register callback of port table failed"};
    registration.add(SPON, CALLBACK_SET, ov_port_table_set_callback, WRITTEN_COLUMNS);
    registration.add(SPON, CALLBACK_CHECK, ov_port_table_set_check_callback, WRITTEN_COLUMNS);
    registration.add(SPON, CALLBACK_GET, ov_port_table_get_callback, READ_COLUMNS);
}

int ov_app_gpon_port_add(ov_sPonTable_attr_t* attr, MIB_Flags_t* flag) {
    if (attr == nullptr || flag == nullptr)
        return refused("null pointer");
    attr->sPonTableIfIndex = port_ifindex_of(*attr);
    attr->sPonTableRowStatus = OVRA_CREATEANDGO;
    mib_flag_set(*flag, sPonTableRowStatus);
    mib_flag_set(*flag, sPonTableIfIndex);
    return write_port(attr, *flag, "mib add error for port table");
}

int ov_app_gpon_port_edit(ov_sPonTable_attr_t* attr, MIB_Flags_t* flag) {
    if (attr == nullptr || flag == nullptr)
        return refused("null pointer");
    return write_port(attr, *flag, "mib set error for port table");
}

int ov_app_gpon_port_del(ov_sPonTable_attr_t* attr) {
    if (attr == nullptr)
        return refused("null pointer");
    return mib_access(MIB_DEL, *attr, mibDefFlags, gpon_port_appid) ? OV_GPON_RET_OK
                                                                    : refused("mib del error for port table");
}

char ov_app_gpon_port_check(ov_sPonTable_attr_t* attr, int /*action*/, MIB_Flags_t flag) {
    if (attr->sPonTableIfIndex == 0)
        attr->sPonTableIfIndex = port_ifindex_of(*attr);
    if (mib_flag_is_set(flag, sPonTableQosProfileName)) {
        if (names_no_qos_profile(*attr)) {
            attr->sPonTableQosPorfileID = 0;
            return 1; // the limit's condition isn't looked at then
        }
        mib_ulong profile_id = 0;
        if (ov_app_gpon_qosprofile_getId(attr->sPonTableQosProfileName, &profile_id) != 1) {
            ov_refusal_because_of(sPonTableQosProfileName, "no QoS profile \"%s\"",
                                  attr->sPonTableQosProfileName);
            OV_LOG_ERROR("LIB", "the qos profile was not exist");
            return 0;
        }
        attr->sPonTableQosPorfileID = profile_id;
    }
    if (mib_flag_is_set(flag, sPonTableScbMaxBW) && !has_hierarchical_scheduler(attr->sPonTableIfIndex)) {
        ov_refusal_because_of(sPonTableScbMaxBW, "the port has no hierarchical scheduler");
        OV_LOG_ERROR("LIB", "ov_app_qos_port_model_get_by_ifindex failed or port model isn't hierarchy");
        return 0;
    }
    return 1;
}

char ov_app_gpon_autoflow_onu_srvprofile_check(ov_sPonTable_attr_t* attr, MIB_Flags_t flag) {
    const auto has = [&flag](unsigned column) { return mib_flag_is_set(flag, column); };
    if (has(sPonTableSfuSrvProfile) &&
        !srvprofile_exists_or_none(static_cast<uint32_t>(attr->sPonTableSfuSrvProfile)))
        return 0;
    if (has(sPonTableHguSrvProfile) &&
        !srvprofile_exists_or_none(static_cast<uint32_t>(attr->sPonTableHguSrvProfile)))
        return 0;
    if (has(sPonTableModelSrvProfile) &&
        !slot_profiles_exist(attr->sPonTableModelSrvProfile, attr->sPonTableModelSrvProfileName,
                             MODEL_NAME_BYTES))
        return 0;
    if (has(sPonTableVendorSrvProfile) &&
        !slot_profiles_exist(attr->sPonTableVendorSrvProfile, attr->sPonTableVendorSrvProfileName,
                             VENDOR_CODE_BYTES))
        return 0;
    return 1;
}

void sport_mib_data_convert_to_hal(ov_sPonTable_attr_t* mib, ov_gpon_port_attr_t* hal,
                                   const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    pon_port_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

ov_bmp_t ov_pon_port_table_attr_mask_get(const void* row) {
    return pon_port_map.replay_mask(row);
}

int ov_port_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<PortRow, ov_gpon_port_attr_t> CALLBACK = {
        .message = OV_HAL_MSG_GPON_PORT,
        .map = &pon_port_map,
        .check = port_admits,
        .before_send = port_before_send,
        .follow = port_follow,
        .failure = "set port to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_port_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return ov_app_gpon_refuse_on_protecting_port(*static_cast<const PortRow*>(row), nullptr);
}

int ov_port_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    static constexpr GetCallback<PortRow, ov_gpon_port_attr_t> CALLBACK = {
        .tag = "LIB",
        .message = OV_HAL_MSG_GPON_PORT,
        .map = &pon_port_map,
        .columns = READ_COLUMNS,
        .address = address_port,
        .not_supported = NotSupported::REFUSE,
        .failure = "failed to get pon port info",
    };
    return run_get_callback(CALLBACK, row, column_flag);
}
