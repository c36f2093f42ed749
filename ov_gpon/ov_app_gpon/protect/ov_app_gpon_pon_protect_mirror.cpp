#include "ov_app_gpon_pon_protect_mirror.h"

#include <array>
#include <utility>

#include "app_columns.h"
#include "app_rows.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_pair.h"
#include "ov_app_gpon_rmwan.h"
#include "ov_app_gpon_rmwifi.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"
#include "ov_hal_gpon_msg.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "rmServiceMacFilterModeTable.h"
#include "rmServiceMacFilterStaticTable.h"
#include "sPonTable.h"
#include "sRmIPHostTable.h"
#include "sRmMulticastTable.h"
#include "sRmOnuPoeTable.h"
#include "sRmServiceTable.h"
#include "sRmTr069MgmtTable.h"
#include "sRmUniPoeTable.h"
#include "sRmUniStatusTable.h"
#include "sRmUniVlanTable.h"
#include "sRmVoipConfigDataTable.h"
#include "sRmVoipSipAgentConfigTable.h"
#include "sRmVoipSipUserDataTable.h"

namespace {

// ---- where the row goes -----------------------------------------------------------------------------------

template <typename Row>
void move(Row& row, ov_ifindex_t partner) {
    row.shelfID = GPON_SHELF;
    move_to_port(row, partner);
}

// An ONU that is named by its place is so on the partner too.
template <>
void move(ov_sOnuTable_attr_t& onu, ov_ifindex_t partner) {
    const bool by_place = ov_app_gpon_onu_is_named_by_place(onu);
    onu.shelfID = GPON_SHELF;
    move_to_port(onu, partner);
    if (by_place)
        ov_app_gpon_onu_name_by_place(onu);
}

// ---- how it is made there ---------------------------------------------------------------------------------

// The partner's ONU has made it.
template <typename Row>
bool is_there(Row& /*row*/) {
    return true;
}

template <auto add, typename Row>
bool add_unchecked(Row& row) {
    constexpr int NO_CHECK = 0;
    MIB_Flags_t columns = mibDefFlags;
    return add(&row, &columns, NO_CHECK) == OV_GPON_RET_OK;
}

// As the table's own door does, but for the check callbacks.
template <auto status, typename Row>
bool create_and_go(Row& row) {
    row.*status = OVRA_CREATEANDGO;
    return mib_access(MIB_SET_N, row);
}

// Its QoS comes with it and takes a profile later: without one there is nothing to be told.
bool create_service_port(ov_servicePortTable_attr_t& row) {
    namespace column = servicePortTable_column;
    if (ov_app_gpon_srvport_exist_check(&row) == 1)
        return false;
    row.servicePortRowStatus = OVRA_CREATEANDGO;
    return mib_access(MIB_SET_N, row,
                      row.servicePortUplinkCosToCosProfileId != 0
                          ? mibDefFlags
                          : columns_but(column::servicePortUplinkCosToCosProfileId));
}

// ---- how it is changed and removed ------------------------------------------------------------------------

template <typename Row>
bool set(Row& row, const MIB_Flags_t& columns) {
    return mib_access(MIB_SET_N, row, columns);
}

template <typename Row>
bool stays(Row& /*row*/, const MIB_Flags_t& /*columns*/) {
    return true;
}

// What has gone with its ONU needn't go again.
template <typename Row>
bool remove(Row& row, const MIB_Flags_t& /*columns*/) {
    return find_stored_row(row) == nullptr || mib_access(MIB_DEL_N, row);
}

// ---- the tables -------------------------------------------------------------------------------------------

struct MirroredTable {
    ov_pon_protect_sync_table_e number;
    const char* handler; // as its failures call it
    void (*move)(void* row, ov_ifindex_t partner);
    bool (*create)(void* row);
    bool (*set)(void* row, const MIB_Flags_t& columns);
    bool (*remove)(void* row, const MIB_Flags_t& columns);
};

template <typename Row, auto create = is_there<Row>, auto change = set<Row>, auto end = remove<Row>>
constexpr MirroredTable table(ov_pon_protect_sync_table_e number, const char* handler) {
    return {number,
            handler,
            [](void* row, ov_ifindex_t partner) { move(*static_cast<Row*>(row), partner); },
            [](void* row) { return create(*static_cast<Row*>(row)); },
            [](void* row, const MIB_Flags_t& columns) { return change(*static_cast<Row*>(row), columns); },
            [](void* row, const MIB_Flags_t& columns) { return end(*static_cast<Row*>(row), columns); }};
}

#define HANDLER(word) "ov_app_pon_protect_group_sync_" word
using Port = ov_sPonTable_attr_t;
using Onu = ov_sOnuTable_attr_t;
using Gem = ov_sGemTable_attr_t;
using Tcont = ov_sTcontTable_attr_t;
using ServicePort = ov_servicePortTable_attr_t;
using IpHost = ov_sRmIPHostTable_attr_t;
using Service = ov_sRmServiceTable_attr_t;
using MacRule = ov_rmServiceMacFilterStaticTable_attr_t;
using VoipConfig = ov_sRmVoipConfigDataTable_attr_t;
using SipAgent = ov_sRmVoipSipAgentConfigTable_attr_t;
using SipUser = ov_sRmVoipSipUserDataTable_attr_t;
using Wan = ov_sRmWanTable_attr_t;
using Wifi = ov_sRmWifiTable_attr_t;

constexpr std::array TABLES = {
    table<Port, is_there<Port>, set<Port>, stays<Port>>(SYNC_SPON, HANDLER("sPontable")),
    table<Onu, add_unchecked<ov_app_gpon_onu_add, Onu>>(SYNC_SONU, HANDLER("sOnutable")),
    table<Gem, add_unchecked<ov_app_gpon_gemport_add, Gem>>(SYNC_SGEM, HANDLER("sGemtable")),
    table<Tcont, add_unchecked<ov_app_gpon_tcont_add, Tcont>>(SYNC_STCONT, HANDLER("sTconttable")),
    table<ServicePort, create_service_port>(SYNC_SSERVICEPORT, HANDLER("servicePorttable")),
    table<ov_sRmUniStatusTable_attr_t>(SYNC_RMONU_UNISTATUS, HANDLER("sRmOnuUniStatusTable")),
    table<IpHost, create_and_go<&IpHost::sRmIPHostRowStatus, IpHost>>(SYNC_RMONU_IPHOST,
                                                                      HANDLER("sRmIPHostTable")),
    table<ov_sRmTr069MgmtTable_attr_t>(SYNC_RMONU_TR069MGMT, HANDLER("sRmTr069MgmtTable")),
    table<Service, create_and_go<&Service::sRmServiceTableRowStatus, Service>>(SYNC_RMONU_SERVICE,
                                                                               HANDLER("sRmServiceTable")),
    table<ov_sRmUniVlanTable_attr_t>(SYNC_RMONU_UNIVLAN, HANDLER("sRmUniVlanTable")),
    table<ov_sRmMulticastTable_attr_t>(SYNC_RMONU_ONUMCAST, HANDLER("sRmOnuMcastTable")),
    table<ov_rmServiceMacFilterModeTable_attr_t>(SYNC_RMONU_MACFILTER_MODE, HANDLER("sRmOnuMacFilterTable")),
    table<MacRule, create_and_go<&MacRule::rmSmfsRowStatus, MacRule>>(SYNC_RMONU_MACFILTER_STATIC,
                                                                      HANDLER("sRmOnuMacFilterStaticTable")),
    // Nobody removes these two: a delete that comes here writes what its columns say.
    table<VoipConfig, is_there<VoipConfig>, set<VoipConfig>, set<VoipConfig>>(
        SYNC_RMONU_VOIP_CONF_DATA, HANDLER("sRmOnuVoipCfgDataTable")),
    table<SipAgent, create_and_go<&SipAgent::sRmVoipSipAgentConfigRowStatus, SipAgent>>(
        SYNC_RMONU_SIP_CONF_DATA, HANDLER("sRmOnuSipCfgDataTable")),
    table<SipUser, is_there<SipUser>, set<SipUser>, set<SipUser>>(SYNC_RMONU_SIP_USER_DATA,
                                                                  HANDLER("sRmOnuSipUserDataTable")),
    table<Wan, add_unchecked<ov_app_gpon_rm_wan_add, Wan>>(SYNC_RMONU_WAN, HANDLER("sRmOnuWanTable")),
    table<Wifi, add_unchecked<ov_app_gpon_rm_wifi_add, Wifi>>(SYNC_RMONU_WIFI, HANDLER("sRmOnuWifiTable")),
    table<ov_sRmUniPoeTable_attr_t>(SYNC_RMONU_UNIPOE, HANDLER("sRmOnuUniPoeTable")),
    table<ov_sRmOnuPoeTable_attr_t>(SYNC_RMONU_ONUPOE, HANDLER("sRmOnuPoeTable")),
};
#undef HANDLER
static_assert(TABLES.size() == SYNC_TABLES - 2); // those of QoS stand beside its objects

bool repeat(const MirroredTable& table, void* row, const MIB_Flags_t& columns, int action) {
    switch (action) {
    case OV_HAL_GPON_MSG_ACTION_CREATE:
        return table.create(row);
    case OV_HAL_GPON_MSG_ACTION_SET:
        return table.set(row, columns);
    case OV_HAL_GPON_MSG_ACTION_DELETE:
        return table.remove(row, columns);
    default:
        return true;
    }
}

template <size_t n>
void write_on_partner(void* row, const MIB_Flags_t& columns, int action, ov_ifindex_t partner) {
    const OvRefusal door("mirror", OvRefusal::Kind::EVENT); // each refusal leaves its line
    TABLES[n].move(row, partner);
    if (!repeat(TABLES[n], row, columns, action))
        OV_LOG_ERROR("MMG", "%s[%d]", TABLES[n].handler, __LINE__);
}

} // namespace

void ov_app_pon_protect_group_sync_init() {
    [&]<size_t... n>(std::index_sequence<n...>) {
        (ov_app_gpon_pair_writer_set(TABLES[n].number, write_on_partner<n>), ...);
    }
    (std::make_index_sequence<TABLES.size()>());
}
