// The commands of what lies behind an ONU. Each init installs its theme; main thread, at start, behind the
// nodes.
#pragma once

#include <string>

#include "app_rows.h"
#include "cli_call.h"
#include "ov_gpon_onu_cli.h"
#include "ov_gpon_rm_items.h"
#include "ov_gpon_rm_uni_word.h"
#include "ov_refusal.h"
#include "sOnuTable.h"
#include "table_desc.h"

// Its UNIs: state and settings; VLANs; counters.
void gpon_rm_uni_cli_init();
void gpon_rm_uni_vlan_cli_init();
void gpon_rm_uni_pm_cli_init();
// What it says of itself, and commands to it.
void gpon_rm_onu_cli_init();
// Its services and their MAC filters; multicast at its UNIs.
void gpon_rm_service_cli_init();
void gpon_rm_mac_filter_cli_init();
void gpon_rm_multicast_cli_init();
// Its own IP host, TR-069 client and queues; Power over Ethernet; its optics.
void gpon_rm_mgmt_cli_init();
void gpon_rm_poe_cli_init();
void gpon_rm_optical_cli_init();
// Its WAN connections, wireless networks and telephony.
void gpon_rm_wan_cli_init();
void gpon_rm_wifi_cli_init();
void gpon_rm_voip_cli_init();

// Words for numbers that commands take, saved lines have and shows print.
inline constexpr ColName GPON_RM_AUTO_DETECTION[] = {
    {0x00, "auto"},      {0x01, "full-10"},   {0x02, "full-100"},  {0x03, "full-1000"},
    {0x04, "full-auto"}, {0x10, "auto-10"},   {0x11, "half-10"},   {0x12, "half-100"},
    {0x13, "half-1000"}, {0x14, "half-auto"}, {0x20, "auto-1000"}, {0x30, "auto-100"}};
inline constexpr ColName GPON_RM_ETHERNET_INTERFACE[] = {{0, "bridged"}, {1, "ip-router"}, {2, "default"}};
inline constexpr ColName GPON_RM_DOT1X_ACTION[] = {{0, "-"}, {1, "re-auth"}, {2, "unauth"}, {3, "auth"}};
inline constexpr ColName GPON_RM_VIDEO_STATE[] = {{0, "unlock"}, {1, "lock"}};
inline constexpr ColName GPON_RM_VOIP_PROTOCOL[] = {
    {0, "none"}, {1, "sip"}, {2, "h248"}, {3, "mgcp"}, {255, "non_omci"}};
inline constexpr ColName GPON_RM_LINK[] = {{0, "down"}, {1, "up"}};

// Whether the ONU that a row belongs to is up, so that it can be asked.
template <typename Row>
bool gpon_rm_onu_is_up(const Row& row) {
    const auto* onu = find_row(onu_key<ov_sOnuTable_attr_t>(row));
    return onu != nullptr && onu->sOnuTableOnuState == SONUTABLEONUSTATE_OPERATIONAL;
}

// How shows call the ONU of a row: "1/2:7".
template <typename Row>
std::string gpon_rm_place(const Row& row) {
    return std::to_string(row.slotID) + "/" + std::to_string(row.portID) + ":" + std::to_string(row.onuId);
}

// The key of a row of a UNI of the session's ONU. 0, or the result of a refusal, behind its text.
template <typename Row>
int gpon_rm_uni_key(const CliCall& call, const char* name, Row& key) {
    key = gpon_cli_onu_key<Row>(call.vty);
    return gpon_rm_put_uni(call, name, key);
}
