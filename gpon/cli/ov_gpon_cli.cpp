#include "cli_themes.h"

#include <string_view>

#include "gpon_cli.h"
#include "gpon_config_parts.h"
#include "kavo_cmd_rows.h"
#include "kavo_if.h"
#include "kavo_vlan.h"
#include "kavo_vty_object.h"
#include "mmg_definition.h"
#include "ov_app_gpon_qos.h"
#include "ov_gpon.h"
#include "ov_gpon_profile_cli.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "ov_ifindex.h"
#include "ov_product_log.h"
#include "ov_refusal.h"

namespace {

bool ctc_enabled = false;

// ---- from one object to another ------------------------------------------------------------------

int ov_vlan_cli(CliCall& call) {
    uvlan_entry_t* vlan = uvlan_create(call.words.number<uint32_t>("vlan"));
    if (vlan == nullptr) {
        ov_refusal_because("VLAN %s couldn't be made", call.words.text("vlan"));
        return KAVO_CLI_FAILED;
    }
    call.vty->node = VLAN_NODE;
    call.vty->info = vlan;
    return 0;
}

int ov_gpon_cli(CliCall& call) {
    call.vty->node = GPON_NODE;
    call.vty->index = nullptr;
    return 0;
}

// PON ports and ONUs are known by their index, which outlives their record in the interface list.
int ov_gpon_interface_cli(CliCall& call) {
    const char* const name = call.words.text("interface");
    const int result = kavo_interface_cli(call);
    if (result != 0) {
        OV_LOG_ERROR("LIB", "interface %s failed return %d.", name, result);
        return result;
    }
    if (std::string_view(name).starts_with("vlanif") || call.vty->node == IF_TRUNK_NODE)
        return 0; // nothing was entered, or no port
    const ov_ifindex_t ifindex = static_cast<const uif_t*>(call.vty->index)->ifindex;
    const uint16_t kind = ov_ifindex_get_port_type(ifindex);
    if (kind != PORT_TYPE_GONU && kind != PORT_TYPE_GPON)
        return 0;
    call.vty->node = kind == PORT_TYPE_GONU ? GPON_ONU_NODE : IF_GPON_NODE;
    kavo_vty_set_index(call.vty, ifindex);
    return 0;
}

// ---- the whole system ------------------------------------------------------------------------------

int ov_gpon_driver_cli(CliCall& call) {
    auto words = call.words.arguments();
    return ov_gpon_drv_cmd_exec(static_cast<int>(words.size()), words.data());
}

int ov_gpon_ctc_action_cli(CliCall& call) {
    const bool enable = call.words.is_enable("ctc");
    ov_gpon_mcast_ctc_action_attr_t record = {};
    record.ctcAct = enable ? 1 : 0;
    if (ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_MCAST_CTC_ACT, OV_HAL_GPON_MSG_ACTION_SET, &record, 1, 0) !=
        OV_GPON_RET_OK) {
        call.line("%%Failed to set ctc");
        return KAVO_CLI_FAILED;
    }
    ctc_enabled = enable;
    return 0;
}

// ---- debug switches ----------------------------------------------------------------------------------

int ov_debug_gpon_ipcmsg_cli(CliCall& /*call*/) {
    g_gpon_ipc_msg_debug_flag = 1;
    return 0;
}

int ov_no_debug_gpon_ipcmsg_cli(CliCall& /*call*/) {
    g_gpon_ipc_msg_debug_flag = 0;
    return 0;
}

int ov_debug_gpon_qos_cli(CliCall& /*call*/) {
    g_gpon_qos_debug_flag = 1;
    return 0;
}

int ov_no_debug_gpon_qos_cli(CliCall& /*call*/) {
    g_gpon_qos_debug_flag = 0;
    return 0;
}

int ov_debug_gpon_snmp_cli(CliCall& call) {
    mmg_set_debug_info_flag(1);
    mmg_set_debug_function_flag(call.words.has("detail") ? 1 : 0);
    return 0;
}

int ov_no_debug_gpon_snmp_cli(CliCall& /*call*/) {
    mmg_set_debug_info_flag(0);
    mmg_set_debug_function_flag(0);
    return 0;
}

const kavo_cmd_t frame_cmds[] = {
#include "commands/frame.def"
};
const kavo_cmd_t system_cmds[] = {
#include "commands/system.def"
};

} // namespace

int ov_gpon_cli_ctc_set_cfg(struct vty* vty) {
    if (!ctc_enabled)
        return 0;
    vty_out(vty, " ctc enable%s", kavo_newline(vty));
    return 1;
}

void gpon_vty_cli_init() {
    kavo_cmd_install(frame_cmds);
    gpon_profile_cli_init();
    gpon_onu_rssi_cli_init();
    gpon_srvprofile_cli_init();
    kavo_cmd_install(system_cmds);
}
