// What a copy of a port's configuration carries, table by table: which rows, by which doors they reach the
// other port, with which columns.
//
// Main loop only; writes wait for the card.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "ov_ifindex.h"

// A row of the source as it stands when it is written.
using CopiedRow = std::vector<std::byte>;

// One write that a row leads to.
struct PortCopyWrite {
    const char* verb; // as its failure calls it
    // Gives the port `to` what the row has for it, which may be nothing. False when that is refused.
    bool (*give)(const void* row, ov_ifindex_t to);
};

struct PortCopyTable {
    // Adds the rows that the port `from` has.
    void (*collect)(ov_ifindex_t from, std::vector<CopiedRow>& rows);
    // Fetches a row anew: others write between the steps of a copy. False when it has gone.
    bool (*refresh)(CopiedRow& row);
    // Which of the port's rows it is: "onuid [7] tcontId [1] "; nothing for the row of the port itself.
    std::string (*place)(const void* row);
    // In their order; those behind a refused one are left out.
    std::span<const PortCopyWrite> writes;
};

// A step of the copy, called as a function it is the whole of it: everything of these tables that a port has
// to another one. What is refused is logged.
struct PortCopy {
    const char* name; // ov_app_gpon_port_config_copy_for_*
    std::span<const PortCopyTable> tables;

    void operator()(ov_ifindex_t from, ov_ifindex_t to) const;
    // Logs that a write of a row was refused.
    void log_failure(ov_ifindex_t from, ov_ifindex_t to, const std::string& place, const char* verb) const;
};

extern const PortCopy ov_app_gpon_port_config_copy_for_sPontable;
extern const PortCopy ov_app_gpon_port_config_copy_for_ponPortQostable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sOnutable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sTconttable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sGemtable;
extern const PortCopy ov_app_gpon_port_config_copy_for_servicePorttable;
extern const PortCopy ov_app_gpon_port_config_copy_for_onuQosTable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sRmOnuUniStatusTable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sRmIPhostTable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sRmTR069MgmtTable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sRmServiceTable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sRmUniVlanTable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sRmOnuMcastTable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sRmOnuMacFilterTable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sRmOnuVoipTable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sRmOnuWanTable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sRmOnuWifiTable;
// Power over Ethernet stays with each port: these two are in no copy of a whole port.
extern const PortCopy ov_app_gpon_port_config_copy_for_sRmOnuUniPoeTable;
extern const PortCopy ov_app_gpon_port_config_copy_for_sRmOnuPoeTable;

// All of a port but power over Ethernet, in the order of the copy: what a row refers to comes in front of it.
std::span<const PortCopy* const> ov_app_gpon_port_config_copies();
