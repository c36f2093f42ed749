// A service profile of ten rows copied to the 128 ONUs of a port, beside bare round trips of the messages
// that it sends, and how long its steps hold the loop. See README.md.
//
//   batch_bench [PORTS]     copies to the ONUs of that many ports (8), one after the other
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "bench_application.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_onusrv_batch_config.h"
#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_app_gpon_rm_voip_config_data.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_app_gpon_rmwan.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_app_gpon_tcont.h"
#include "ov_hal_gpon_msg.h"

namespace {

using namespace bench_application;
using Tcont = ov_sTcontTable_attr_t;
using Gem = ov_sGemTable_attr_t;
using ServicePort = ov_servicePortTable_attr_t;
using Service = ov_sRmServiceTable_attr_t;
using UniVlan = ov_sRmUniVlanTable_attr_t;
using Wan = ov_sRmWanTable_attr_t;
using IpHost = ov_sRmIPHostTable_attr_t;

constexpr mib_ulong PROFILE = 1;
constexpr int SLOT = 1;

template <typename Row>
Row template_row() {
    return row_of<Row>(GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, static_cast<int>(PROFILE));
}

template <typename Row, typename Door>
void add_template(Row row, MIB_Flags_t flags, Door door) {
    check(door(&row, &flags), "template row", row.slotID, row.portID, row.onuId);
}

void make_profile() {
    ov_sOnuSrvProfileTable_attr_t profile = {};
    profile.onuSrvProfileId = PROFILE;
    snprintf(profile.sOnuTypeProfileName, sizeof profile.sOnuTypeProfileName, "KLM-618");
    MIB_Flags_t type = columns(sOnuSrvProfileTable_column::sOnuTypeProfileName);
    check(ov_app_gpon_onu_srvprofile_add(&profile, &type), "profile", 0, 0, 0);
}

void add_traffic() {
    auto tcont = template_row<Tcont>();
    tcont.tcontId = 1;
    snprintf(tcont.sTcontTableBwProfileName, sizeof tcont.sTcontTableBwProfileName, "default");
    add_template(tcont, columns(sTcontTable_column::sTcontTableBwProfileName),
                 [](Tcont* row, MIB_Flags_t* flags) { return ov_app_gpon_tcont_add(row, flags, 1); });
    for (mib_ulong id = 1; id <= 2; ++id) {
        auto gem = template_row<Gem>();
        gem.gemID = id;
        gem.sGemTableTcontID = 1;
        add_template(gem, columns(sGemTable_column::sGemTableTcontID),
                     [](Gem* row, MIB_Flags_t* flags) { return ov_app_gpon_gemport_add(row, flags, 1); });
        auto port = template_row<ServicePort>();
        port.servicePortId = static_cast<mib_long>(id);
        port.servicePortGemId = static_cast<mib_long>(id);
        port.servicePortVlanAction = SERVICEPORTVLANACTION_XLATE;
        port.servicePortVlan = 100 + static_cast<mib_long>(id);
        port.servicePortUserVlan = 10;
        add_template(
            port,
            columns(servicePortTable_column::servicePortGemId, servicePortTable_column::servicePortVlanAction,
                    servicePortTable_column::servicePortVlan, servicePortTable_column::servicePortUserVlan),
            [](ServicePort* row, MIB_Flags_t* flags) { return ov_app_gpon_service_port_add(row, *flags); });
    }
}

void add_services() {
    for (mib_ulong id = 1; id <= 2; ++id) {
        auto service = template_row<Service>();
        service.rmServiceID = id;
        service.sRmServiceTableRmServiceType = SRMSERVICETABLERMSERVICETYPE_VLAN;
        service.sRmServiceTableGemId = id;
        service.sRmServiceTableVlanId = 100 + static_cast<mib_long>(id);
        add_template(service,
                     columns(sRmServiceTable_column::sRmServiceTableRmServiceType,
                             sRmServiceTable_column::sRmServiceTableGemId,
                             sRmServiceTable_column::sRmServiceTableVlanId),
                     ov_app_gpon_rmservice_add);
    }
    auto vlan = template_row<UniVlan>();
    vlan.onuCardID = 1;
    vlan.onuPortID = 1;
    vlan.sRmUniVlanTableVlanMode = SRMUNIVLANTABLEVLANMODE_ACCESS;
    vlan.sRmUniVlanTablePvid = 100;
    add_template(
        vlan,
        columns(sRmUniVlanTable_column::sRmUniVlanTableVlanMode, sRmUniVlanTable_column::sRmUniVlanTablePvid),
        ov_app_gpon_rmunivlan_edit);
    auto wan = template_row<Wan>();
    wan.sRmWanIndex = 1;
    wan.sRmWanMode = SRMWANMODE_ROUTE;
    add_template(wan, columns(sRmWanTable_column::sRmWanMode),
                 [](Wan* row, MIB_Flags_t* flags) { return ov_app_gpon_rm_wan_add(row, flags, 1); });
    auto host = template_row<IpHost>();
    host.sRmIPHostVlanId = 46;
    add_template(host, columns(sRmIPHostTable_column::sRmIPHostVlanId), ov_app_gpon_rm_iphost_add);
}

// ---- the messages alone -----------------------------------------------------------------------------------

int g_messages = 0; // of one ONU

template <typename Row, typename Record>
void send_rows(int port, int onu, int message, ov_hal_gpon_msg_action_t action,
               const MessageMap<Row, Record>& map) {
    for (const Row& row : rows_copied(onu_key<Row>(SLOT, port, onu), INDEX_TO_ONU)) {
        Record record = {};
        map.encode(&row, &record);
        check(ov_hal_gpon_msg_send(message, action, &record, map.set_mask(&row, mibDefFlags), 1), "message",
              SLOT, port, onu);
        ++g_messages;
    }
}

// Those of the copy to an ONU, from the rows that it has got.
void send_messages(int port, int onu) {
    constexpr auto CREATE = OV_HAL_GPON_MSG_ACTION_CREATE;
    constexpr auto SET = OV_HAL_GPON_MSG_ACTION_SET;
    g_messages = 0;
    send_rows(port, onu, OV_HAL_MSG_GPON_TCONT, CREATE, tcont_map);
    send_rows(port, onu, OV_HAL_MSG_GPON_GEMPORT, CREATE, gem_map);
    send_rows(port, onu, OV_HAL_MSG_GPON_SERVPORT, CREATE, service_port_map);
    send_rows(port, onu, OV_HAL_MSG_GPON_RM_SERVICE, CREATE, rmservice_map);
    send_rows(port, onu, OV_HAL_MSG_GPON_RM_MAC_FLT, CREATE, mac_filter_dyn_map);
    send_rows(port, onu, OV_HAL_MSG_GPON_RMONU_IPHOST, CREATE, rm_iphost_map);
    send_rows(port, onu, OV_HAL_MSG_GPON_RM_WAN, CREATE, rmwan_map);
    send_rows(port, onu, OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA, SET, rm_voip_config_data_map);
    send_rows(port, onu, OV_HAL_MSG_GPON_RM_MAC_FLT, SET, mac_filter_mode_map);
    send_rows(port, onu, OV_HAL_MSG_GPON_RM_MAC_FLT, SET, mac_filter_dyn_map);
    auto key = onu_key<UniVlan>(SLOT, port, onu);
    key.onuCardID = 1;
    key.onuPortID = 1;
    ov_gpon_rmuni_vlan_attr_t record = {};
    univlan_map.encode(find_row(key), &record);
    ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_RM_UNI_VLAN, SET, &record, univlan_map.set_mask(&key, mibDefFlags),
                         1);
    ++g_messages;
}

double bare(int port) {
    const auto began = Clock::now();
    for (int onu = 1; onu <= ONUS; ++onu)
        send_messages(port, onu);
    return usec_since(began);
}

// ---- copies -----------------------------------------------------------------------------------------------

struct Copied {
    double usec;
    double held; // the longest event of the loop
};

void check_result(const ov_batch_cfg_rtn_t& result, int port) {
    for (size_t n = 0; n < OV_BATCH_ONU_MAX; ++n)
        check(result.errorCode[n], "copy", SLOT, port, static_cast<int>(n + 1));
}

Copied copy_in_steps(int port) {
    std::array<char, OV_BATCH_ONU_MAX> onus;
    onus.fill(OV_BATCH_ONU_CONFIG);
    Copied copied = {};
    bool ended = false;
    const auto began = Clock::now();
    ov_gpon_multi_onu_service_config_start(port_ifindex(PORT_TYPE_GPON, SLOT, port), onus, PROFILE,
                                           [&](const ov_batch_cfg_rtn_t& result) {
                                               check_result(result, port);
                                               ended = true;
                                           });
    copied.held = longest_event_until([&] { return ended; });
    copied.usec = usec_since(began);
    return copied;
}

void print(const char* what, double usec, double bare_usec) {
    printf("%-10s %.1f ms, %.1f us a message (%.2f of bare)\n", what, usec / 1000, usec / ONUS / g_messages,
           usec / bare_usec);
}

} // namespace

int main(int argc, char** argv) {
    const int ports = std::clamp(argc > 1 ? atoi(argv[1]) : 8, 1, PORTS);
    start_with_own_card();
    make_profile();
    add_traffic();
    add_services();
    Copied best = {};
    double best_bare = 0;
    for (int port = 1; port <= ports; ++port) {
        for (int onu = 1; onu <= ONUS; ++onu)
            add_onu(SLOT, port, onu);
        const Copied copied = copy_in_steps(port);
        const double alone = bare(port);
        best.usec = port == 1 ? copied.usec : std::min(best.usec, copied.usec);
        best.held = std::max(best.held, copied.held);
        best_bare = port == 1 ? alone : std::min(best_bare, alone);
    }
    printf("ten rows copied to %d ONUs, %d messages each, best of %d ports\n", ONUS, g_messages, ports);
    print("bare", best_bare, best_bare);
    print("in steps", best.usec, best_bare);
    printf("the loop was held for %.1f ms at most\n", best.held / 1000);
    return 0;
}
