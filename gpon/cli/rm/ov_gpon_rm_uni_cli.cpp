// State and settings of an ONU's UNIs.
#include "cli_command_rows.h"
#include "cli_objects.h"
#include "ov_gpon_rm_cli.h"
#include "sRmUniStatusTable.h"
#include "sRmUniVlanTable.h"

namespace {

using namespace cli_objects;
using namespace sRmUniStatusTable_column;
using Status = ov_sRmUniStatusTable_attr_t;
using Vlan = ov_sRmUniVlanTable_attr_t;

// ---- what is shown --------------------------------------------------------------------------------------

constexpr RmItem PARAMETERS[] = {
    {"admin state", sRmUniStatusTableAdminState, SWITCH_WORDS},
    {"link", sRmUniStatusLinkStatus, GPON_RM_LINK},
    {"auto-detection", sRmUniStatusAutoDetectionConfiguration, GPON_RM_AUTO_DETECTION},
    {"max-frame", sRmUniStatusMaxFrameSize},
    {"mac-limit", sRmUniStatusMacLearnCount},
    {"loop_detect", sRmUniStatusLoopDetectEnable, SWITCH_WORDS},
    {"pppoe-filter", sRmUniStatusTablePppoeFilterEnable, SWITCH_WORDS},
    {"ethernet-interface", sRmUniStatusTableBridgedOrIpInd, GPON_RM_ETHERNET_INTERFACE},
    {"power-control", sRmUniStatusTablePowerControlEnable, SWITCH_WORDS},
    {"dot1x", sRmUniStatusTableDot1xEnable, SWITCH_WORDS},
    {"dot1x action-register", sRmUniStatusTableDot1xActionRegister, GPON_RM_DOT1X_ACTION},
    {"multicast", sRmUniStatusTableMcastEnable, SWITCH_WORDS},
    {"pm", sRmUniStatusTablePmEnable, SWITCH_WORDS},
    {"pm upstream", sRmUniStatusTableUpStreamPmEnable, SWITCH_WORDS},
    {"pm downstream", sRmUniStatusTableDownStreamPmEnable, SWITCH_WORDS},
};

std::string let_through(const void* row) {
    return gpon_rm_vlans_text(gpon_rm_get_vlans(static_cast<const Vlan*>(row)->sRmUniVlanTableVlanIdList));
}

std::string translated(const void* row) {
    const auto& vlan = *static_cast<const Vlan*>(row);
    if (vlan.sRmUniVlanTableVlanMode != SRMUNIVLANTABLEVLANMODE_XLATE)
        return "";
    return gpon_rm_xlates_text(gpon_rm_get_vlans(vlan.sRmUniVlanTableVlanIdList),
                               gpon_rm_get_vlans(vlan.sRmUniVlanTableTranslateVlanIdList));
}

constexpr RmItem VLANS[] = {
    {"vlan-mode", sRmUniVlanTable_column::sRmUniVlanTableVlanMode},
    {"pvlan", sRmUniVlanTable_column::sRmUniVlanTablePvid},
    {"priority", sRmUniVlanTable_column::sRmUniVlanTablePriority},
    {"tag", sRmUniVlanTable_column::sRmUniVlanTableVlanIdList, {}, let_through},
    {"xlate", sRmUniVlanTable_column::sRmUniVlanTableTranslateVlanIdList, {}, translated},
};

constexpr RmItem VIDEO[] = {
    {"state", sRmUniStatusVideoAdminEnable, GPON_RM_VIDEO_STATE},
    {"admin state", sRmUniStatusTableAdminState, SWITCH_WORDS},
    {"power-control", sRmUniStatusTablePowerControlEnable, SWITCH_WORDS},
    {"link", sRmUniStatusLinkStatus, GPON_RM_LINK},
};

// The row with the link as the ONU tells it. 0, or the result of a refusal, behind its text.
int read(const CliCall& call, const char* name, const char* failure, Status& row) {
    if (const int refusal = gpon_rm_uni_key(call, name, row); refusal != 0)
        return refusal;
    if (mib_access(MIB_GET, row, gpon_cli_columns({sRmUniStatusLinkStatus})))
        return 0;
    if (find_row(row) == nullptr)
        ov_refusal_because("the ONU has no UNI %s", call.words.text(name));
    return call.fail(failure);
}

void print_vlans(const RmItems& items, const Status& status) {
    if (const Vlan* vlan = find_row(gpon_rm_key_of_uni<Vlan>(status)); vlan != nullptr)
        items.print(gpon_rm_uni_word(status), table_desc_sRmUniVlanTable, vlan, VLANS);
}

int ov_show_rm_gpon_onu_uni_param_cli(CliCall& call) {
    Status row;
    if (const int refusal = read(call, "ETHUNI", "%%Failed to get uni status%s", row); refusal != 0)
        return refusal;
    const RmItems items(call.vty, "uni");
    items.begin();
    items.print(gpon_rm_uni_word(row), table_desc_sRmUniStatusTable, &row, PARAMETERS);
    print_vlans(items, row);
    return 0;
}

int ov_show_rm_gpon_onu_video_state_cli(CliCall& call) {
    Status row;
    if (const int refusal = read(call, "VIDEOUNI", "%%Failed to get video status%s", row); refusal != 0)
        return refusal;
    const RmItems items(call.vty, "uni");
    items.begin();
    items.print(gpon_rm_uni_word(row), table_desc_sRmUniStatusTable, &row, VIDEO);
    return 0;
}

const CliCommand rm_uni_cmds[] = {
#include "commands/rm_uni.def"
};

} // namespace

void gpon_rm_uni_cli_init() {
    cli_install(rm_uni_cmds);
}
