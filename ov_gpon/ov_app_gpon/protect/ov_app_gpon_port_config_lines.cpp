#include "ov_app_gpon_port_config_lines.h"

#include <array>
#include <cstring>

#include "app_columns.h"
#include "app_row_doors.h"
#include "app_row_settings.h"
#include "onuQosTable.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_onu_qos.h"
#include "ov_app_gpon_port.h"
#include "ov_app_gpon_port_qos.h"
#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_app_gpon_rm_sip_agent_config_data.h"
#include "ov_app_gpon_rm_sip_user_data.h"
#include "ov_app_gpon_rm_tr069_mgmt.h"
#include "ov_app_gpon_rm_voip_config_data.h"
#include "ov_app_gpon_rmmulticast.h"
#include "ov_app_gpon_rmonupoe.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_rmunipoe.h"
#include "ov_app_gpon_rmunistatus.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_app_gpon_rmwan.h"
#include "ov_app_gpon_rmwifi.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"
#include "ov_product_log.h"
#include "ponPortQosTable.h"

namespace {

// ---- rows -------------------------------------------------------------------------------------------------

template <typename Row>
void collect(ov_ifindex_t from, std::vector<CopiedRow>& rows) {
    for (const Row& row : rows_under(port_key_of_ifindex<Row>(from), INDEX_TO_PORT)) {
        const auto* bytes = reinterpret_cast<const std::byte*>(&row);
        rows.emplace_back(bytes, bytes + sizeof row);
    }
}

template <typename Row>
bool refresh(CopiedRow& row) {
    Row key;
    std::memcpy(&key, row.data(), sizeof key);
    const Row* stored = find_row(key);
    if (stored != nullptr)
        std::memcpy(row.data(), stored, sizeof *stored);
    return stored != nullptr;
}

template <typename Row>
std::string place(const void* row) {
    std::string text;
    const auto index = table_of<Row>::module().desc().index;
    for (size_t n = INDEX_TO_PORT; n < index.size(); ++n) {
        int32_t value = 0;
        std::memcpy(&value, static_cast<const char*>(row) + n * sizeof value, sizeof value);
        const char* const name = n + 1 == INDEX_TO_ONU ? "onuid" : index[n].name;
        text += std::string(name) + " [" + std::to_string(value) + "] ";
    }
    return text;
}

template <typename Row>
void as_it_is(Row& /*row*/) {}

// `columns` says which of the row go by the door; `change` what they become on the way.
template <auto door, auto columns, auto change>
bool give(const void* from, ov_ifindex_t to) {
    decltype(row_of_door(door)) row;
    std::memcpy(&row, from, sizeof row);
    MIB_Flags_t given = columns(row);
    if (!any_column(given))
        return true;
    change(row);
    move_to_port(row, to);
    return write_by(door, row, given, Checks::RUN) == OV_GPON_RET_OK;
}

template <auto door, auto columns, auto change = as_it_is<decltype(row_of_door(door))>>
constexpr PortCopyWrite write(const char* verb) {
    return {verb, give<door, columns, change>};
}

template <typename Row>
constexpr PortCopyTable table(std::span<const PortCopyWrite> writes) {
    return {collect<Row>, refresh<Row>, place<Row>, writes};
}

// ---- which columns ----------------------------------------------------------------------------------------

template <typename Row>
MIB_Flags_t whole_row(const Row& /*row*/) {
    return mibDefFlags;
}

template <typename Row>
MIB_Flags_t whole_row_if_set(const Row& row) {
    return any_column(settings_of(row)) ? mibDefFlags : MIB_Flags_t{};
}

// Columns that are added where something holds.
struct Columns {
    MIB_Flags_t set = {};
    template <typename... Column>
    Columns& when(bool holds, Column... columns) {
        if (holds)
            (mib_flag_set(set, columns), ...);
        return *this;
    }
};

// ---- the port ---------------------------------------------------------------------------------------------

using Port = ov_sPonTable_attr_t;

MIB_Flags_t port_columns(const Port& row) {
    using namespace sPonTable_column;
    constexpr mib_long USUAL_DISTANCE_KM = 20;
    return Columns{}
        .when(row.sPonTableAutoFind == 0, sPonTableAutoFind)
        .when(row.sPonTableAutoLearn != 0, sPonTableAutoLearn)
        .when(row.sPonTableMaxLogicDistance != USUAL_DISTANCE_KM, sPonTableMaxLogicDistance)
        .when(row.sPonTableDsFec != 0, sPonTableDsFec)
        .when(row.sPonTableKeyExchangeCtrl != 0, sPonTableKeyExchangeCtrl, sPonTableKeyExchangeInterval)
        .when(row.sPonTablePmEnable != 0, sPonTablePmEnable)
        .when(row.sPonTableNniPmEnable != 0, sPonTableNniPmEnable)
        .when(row.sPonTablePortProtect == 0, sPonTablePortProtect)
        .when(row.sPonTableScbMaxBW != 0, sPonTableScbMaxBW)
        .when(row.sPonTableQosPorfileID != 0, sPonTableQosPorfileID, sPonTableQosProfileName)
        .when(row.sPonTableAutoFlow != 0, sPonTableAutoFlow, sPonTableSrvProfileID)
        .set;
}

// A port that lets its ONUs reach each other has a copy that doesn't: managers know it so.
void protect_copied_port(Port& row) {
    row.sPonTablePortProtect = 1;
}

constexpr PortCopyWrite PORT_WRITES[] = {
    write<ov_app_gpon_port_edit, port_columns, protect_copied_port>("edit")};

// ---- its QoS ----------------------------------------------------------------------------------------------

using PortQos = ov_ponPortQosTable_attr_t;

// The row is the source's but for its place.
int take_port_qos(PortQos* row, MIB_Flags_t* /*columns*/) {
    const ov_ifindex_t port = port_ifindex_of(*row);
    auto* qos = ov_app_find_port_qos_by_ifindex(port);
    if (qos == nullptr) {
        OV_LOG_ERROR("MMG", "port qos 0x%x not exist", port);
        return OV_GPON_RET_FAIL;
    }
    const bool by_hierarchy = row->ponPortQosSchedulerModel != PONPORTQOSSCHEDULERMODEL_SIMPLE;
    const auto scheduler = static_cast<uint32_t>(row->ponPortQosSchedulerProfileId);
    const auto traffic = static_cast<uint32_t>(row->ponPortQosTrafficProfileId);
    if (!by_hierarchy && scheduler == 0 && traffic == 0)
        return OV_GPON_RET_OK;
    const bool taken =
        (!by_hierarchy ||
         ov_app_port_qos_edit_sched_mode(qos, PONPORTQOSSCHEDULERMODEL_HIERARCHY) == OV_QOS_OK) &&
        (scheduler == 0 || ov_app_port_qos_edit_qos_sched_profile(qos, scheduler) == OV_QOS_OK) &&
        (traffic == 0 || ov_app_port_qos_edit_qos_traffic_profile(qos, traffic) == OV_QOS_OK);
    return taken && ov_app_port_qos_set(qos, SYNC_EVERY_COPY) == OV_QOS_OK ? OV_GPON_RET_OK
                                                                           : OV_GPON_RET_FAIL;
}

constexpr PortCopyWrite PORT_QOS_WRITES[] = {write<take_port_qos, whole_row<PortQos>>("edit")};

// ---- ONUs -------------------------------------------------------------------------------------------------

using Onu = ov_sOnuTable_attr_t;

MIB_Flags_t new_onu_columns(const Onu& onu) {
    using namespace sOnuTable_column;
    const mib_long mode = onu.sOnuTableAuthMode;
    return Columns{}
        .when(true, sOnuTableAuthMode, sOnuTableOnuTypeProfileName)
        .when(!ov_app_gpon_onu_is_named_by_place(onu), sOnuTableOnuName)
        .when(mode == SONUTABLEAUTHMODE_SN || mode == SONUTABLEAUTHMODE_SNPW, sOnuTableSn)
        .when(mode == SONUTABLEAUTHMODE_PW || mode == SONUTABLEAUTHMODE_SNPW, sOnuTablePw)
        .when(onu.sOnuTableLoid[0] != '\0', sOnuTableLoid)
        .when(onu.sOnuTableLoidPw[0] != '\0', sOnuTableLoidPw)
        .when(onu.sOnuTableConfigMode != SONUTABLECONFIGMODE_MANUALLY, sOnuTableConfigMode,
              sOnuTableSrvProfileId)
        .set;
}

MIB_Flags_t onu_settings(const Onu& onu) {
    using namespace sOnuTable_column;
    constexpr mib_long RSSI_PROFILES = 32;
    return Columns{}
        .when(onu.sOnuTableAdminState == SONUTABLEADMINSTATE_DISABLED, sOnuTableAdminState)
        .when(onu.sOnuTableOmccBwProfileName[0] != '\0', sOnuTableOmccBwProfileName)
        .when(onu.sOnuTableUpFec != 0, sOnuTableUpFec)
        .when(onu.sOnuTableRssiProfileId >= 1 && onu.sOnuTableRssiProfileId <= RSSI_PROFILES,
              sOnuTableRssiProfileId)
        .set;
}

// By itself: a write of it doesn't reach the card, whatever else it brings.
MIB_Flags_t onu_recording(const Onu& onu) {
    return Columns{}.when(onu.sOnuTablePmEnable != 0, sOnuTable_column::sOnuTablePmEnable).set;
}

constexpr PortCopyWrite ONU_WRITES[] = {write<ov_app_gpon_onu_add, new_onu_columns>("add"),
                                        write<ov_app_gpon_onu_edit, onu_settings>("edit"),
                                        write<ov_app_gpon_onu_edit, onu_recording>("edit")};

// ---- their services ---------------------------------------------------------------------------------------

using Tcont = ov_sTcontTable_attr_t;
using Gem = ov_sGemTable_attr_t;
using ServicePort = ov_servicePortTable_attr_t;

MIB_Flags_t tcont_columns(const Tcont& /*row*/) {
    using namespace sTcontTable_column;
    return columns_of(sTcontTableTcontName, sTcontTableBwProfileName);
}
constexpr PortCopyWrite TCONT_WRITES[] = {write<ov_app_gpon_tcont_add, tcont_columns>("add")};

MIB_Flags_t gem_columns(const Gem& /*row*/) {
    using namespace sGemTable_column;
    return columns_of(sGemTableGemName, sGemTableTcontID, sGemTableUpTrafficName, sGemTableDownTrafficName);
}
// A GEM port that is recorded has a copy that is encrypted instead: operators know it so.
MIB_Flags_t gem_encryption(const Gem& row) {
    return Columns{}
        .when(row.sGemTableIfEnableEncryption != 0 || row.sGemTablePmEnable != 0,
              sGemTable_column::sGemTableIfEnableEncryption)
        .set;
}
void encrypt(Gem& row) {
    row.sGemTableIfEnableEncryption = 1;
}
constexpr PortCopyWrite GEM_WRITES[] = {write<ov_app_gpon_gemport_add, gem_columns>("add"),
                                        write<ov_app_gpon_gemport_edit, gem_encryption, encrypt>("edit")};

MIB_Flags_t new_service_port_columns(const ServicePort& /*row*/) {
    MIB_Flags_t columns = {};
    for (unsigned number = 1; number <= servicePortTable_column::servicePortQueue; ++number)
        mib_flag_set(columns, number);
    return columns;
}
MIB_Flags_t service_port_settings(const ServicePort& row) {
    using namespace servicePortTable_column;
    return Columns{}
        .when(row.servicePortMacmove == SERVICEPORTMACMOVE_DISABLE, servicePortMacmove)
        .when(row.servicePortMacLimit != 0, servicePortMacLimit)
        .when(row.servicePortUplinkCosToCosProfileId != 0, servicePortUplinkCosToCosProfileId)
        .set;
}
constexpr PortCopyWrite SERVICE_PORT_WRITES[] = {
    write<ov_app_gpon_service_port_add, new_service_port_columns>("add"),
    write<ov_app_gpon_service_port_edit, service_port_settings>("edit")};

// ---- what comes with an ONU -------------------------------------------------------------------------------

using OnuQos = ov_onuQosTable_attr_t;

// An ONU starts with the mapping that its queues ask for.
MIB_Flags_t onu_qos_settings(const OnuQos& row) {
    using namespace onuQosTable_column;
    MIB_Flags_t columns = settings_of(row);
    uint32_t mapping = 0;
    if (ov_app_onu_cosq_defId(onu_ifindex_of(row), &mapping) == OV_QOS_OK &&
        static_cast<uint32_t>(row.onuQosDownlinkCosQueueMapProfileId) == mapping)
        mib_flag_clear(columns, onuQosDownlinkCosQueueMapProfileId);
    return columns;
}

int set_onu_qos(OnuQos* row, MIB_Flags_t* columns) {
    return mib_access(MIB_SET, *row, *columns) ? OV_GPON_RET_OK : OV_GPON_RET_BAD_PARAM;
}

constexpr PortCopyWrite ONU_QOS_WRITES[] = {write<set_onu_qos, onu_qos_settings>("edit")};

// The settings of rows that are there already.
template <auto edit>
constexpr PortCopyWrite SETTINGS[] = {write<edit, settings_of<decltype(row_of_door(edit))>>("edit")};
// Rows that are made whole.
template <auto add>
constexpr PortCopyWrite WHOLE_ROW[] = {write<add, whole_row<decltype(row_of_door(add))>>("add")};
// Rows that are there already and go whole when somebody has set anything of them.
template <auto edit>
constexpr PortCopyWrite WHOLE_IF_SET[] = {write<edit, whole_row_if_set<decltype(row_of_door(edit))>>("edit")};

template <auto door>
constexpr PortCopyTable settings_by() {
    return table<decltype(row_of_door(door))>(SETTINGS<door>);
}
template <auto door>
constexpr PortCopyTable rows_by() {
    return table<decltype(row_of_door(door))>(WHOLE_ROW<door>);
}
template <auto door>
constexpr PortCopyTable set_rows_by() {
    return table<decltype(row_of_door(door))>(WHOLE_IF_SET<door>);
}

} // namespace

// ---- the tables -------------------------------------------------------------------------------------------

#define PORT_COPY(word, ...)                                                                                 \
    namespace {                                                                                              \
    constexpr PortCopyTable TABLES_OF_##word[] = {__VA_ARGS__};                                              \
    }                                                                                                        \
    constinit const PortCopy ov_app_gpon_port_config_copy_for_##word = {                                     \
        "ov_app_gpon_port_config_copy_for_" #word, TABLES_OF_##word};

PORT_COPY(sPontable, table<Port>(PORT_WRITES))
PORT_COPY(ponPortQostable, table<PortQos>(PORT_QOS_WRITES))
PORT_COPY(sOnutable, table<Onu>(ONU_WRITES))
PORT_COPY(sTconttable, table<Tcont>(TCONT_WRITES))
PORT_COPY(sGemtable, table<Gem>(GEM_WRITES))
PORT_COPY(servicePorttable, table<ServicePort>(SERVICE_PORT_WRITES))
PORT_COPY(onuQosTable, table<OnuQos>(ONU_QOS_WRITES))
PORT_COPY(sRmOnuUniStatusTable, settings_by<ov_app_gpon_rmunistatus_edit>())
PORT_COPY(sRmIPhostTable, rows_by<ov_app_gpon_rm_iphost_add>())
PORT_COPY(sRmTR069MgmtTable, settings_by<ov_app_gpon_rm_tr069_mgmt_edit>())
PORT_COPY(sRmServiceTable, rows_by<ov_app_gpon_rmservice_add>())
PORT_COPY(sRmUniVlanTable, set_rows_by<ov_app_gpon_rmunivlan_edit>())
PORT_COPY(sRmOnuMcastTable, settings_by<ov_app_gpon_rmmulticast_edit>())
PORT_COPY(sRmOnuMacFilterTable, settings_by<ov_app_gpon_rm_mac_filter_mode_edit>(),
          rows_by<ov_app_gpon_rm_mac_filter_static_add>())
PORT_COPY(sRmOnuVoipTable, set_rows_by<ov_app_gpon_rm_voip_config_data_edit>(),
          rows_by<ov_app_gpon_rm_sip_agent_config_data_add>(),
          set_rows_by<ov_app_gpon_rm_sip_user_data_edit>())
PORT_COPY(sRmOnuWanTable, rows_by<ov_app_gpon_rm_wan_add>())
PORT_COPY(sRmOnuWifiTable, rows_by<ov_app_gpon_rm_wifi_add>())
PORT_COPY(sRmOnuUniPoeTable, settings_by<ov_app_gpon_rmunipoe_edit>())
PORT_COPY(sRmOnuPoeTable, settings_by<ov_app_gpon_rmonupoe_edit>())
#undef PORT_COPY

std::span<const PortCopy* const> ov_app_gpon_port_config_copies() {
    static constexpr std::array COPIES = {
        &ov_app_gpon_port_config_copy_for_sPontable,
        &ov_app_gpon_port_config_copy_for_ponPortQostable,
        &ov_app_gpon_port_config_copy_for_sOnutable,
        &ov_app_gpon_port_config_copy_for_sTconttable,
        &ov_app_gpon_port_config_copy_for_sGemtable,
        &ov_app_gpon_port_config_copy_for_servicePorttable,
        &ov_app_gpon_port_config_copy_for_onuQosTable,
        &ov_app_gpon_port_config_copy_for_sRmOnuUniStatusTable,
        &ov_app_gpon_port_config_copy_for_sRmIPhostTable,
        &ov_app_gpon_port_config_copy_for_sRmTR069MgmtTable,
        &ov_app_gpon_port_config_copy_for_sRmServiceTable,
        &ov_app_gpon_port_config_copy_for_sRmUniVlanTable,
        &ov_app_gpon_port_config_copy_for_sRmOnuMcastTable,
        &ov_app_gpon_port_config_copy_for_sRmOnuMacFilterTable,
        &ov_app_gpon_port_config_copy_for_sRmOnuVoipTable,
        &ov_app_gpon_port_config_copy_for_sRmOnuWanTable,
        &ov_app_gpon_port_config_copy_for_sRmOnuWifiTable,
    };
    return COPIES;
}
