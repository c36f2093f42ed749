#include "cli_themes.h"

#include <cstdlib>
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

int ov_vlan_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    uvlan_entry_t* vlan = uvlan_create(static_cast<uint32_t>(strtoul(argv[0], nullptr, 10)));
    if (vlan == nullptr) {
        ov_refusal_because("VLAN %s couldn't be made", argv[0]);
        return KAVO_CLI_FAILED;
    }
    vty->node = VLAN_NODE;
    vty->info = vlan;
    return 0;
}

int ov_gpon_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** /*argv*/) {
    vty->node = GPON_NODE;
    vty->index = nullptr;
    return 0;
}

// PON ports and ONUs are known by their index, which outlives their record in the interface list.
int ov_gpon_interface_cli(struct cmd_element* self, struct vty* vty, int argc, const char** argv) {
    const int result = kavo_interface_cli(self, vty, argc, argv);
    if (result != 0) {
        OV_LOG_ERROR("LIB", "interface %s failed return %d.", argv[0], result);
        return result;
    }
    if (std::string_view(argv[0]).starts_with("vlanif") || vty->node == IF_TRUNK_NODE)
        return 0; // nothing was entered, or no port
    const ov_ifindex_t ifindex = static_cast<const uif_t*>(vty->index)->ifindex;
    const uint16_t kind = ov_ifindex_get_port_type(ifindex);
    if (kind != PORT_TYPE_GONU && kind != PORT_TYPE_GPON)
        return 0;
    vty->node = kind == PORT_TYPE_GONU ? GPON_ONU_NODE : IF_GPON_NODE;
    kavo_vty_set_index(vty, ifindex);
    return 0;
}

// ---- the whole system ------------------------------------------------------------------------------

int ov_gpon_driver_cli(struct cmd_element* /*self*/, struct vty* /*vty*/, int argc, const char** argv) {
    return ov_gpon_drv_cmd_exec(argc, argv);
}

int ov_gpon_ctc_action_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    const bool enable = gpon_cli_is_enable(argv[0]);
    ov_gpon_mcast_ctc_action_attr_t record = {};
    record.ctcAct = enable ? 1 : 0;
    if (ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_MCAST_CTC_ACT, OV_HAL_GPON_MSG_ACTION_SET, &record, 1, 0) !=
        OV_GPON_RET_OK) {
        vty_out(vty, "%%Failed to set ctc%s", kavo_newline(vty));
        return KAVO_CLI_FAILED;
    }
    ctc_enabled = enable;
    return 0;
}

// ---- debug switches ----------------------------------------------------------------------------------

int ov_debug_gpon_ipcmsg_cli(struct cmd_element* /*self*/, struct vty* /*vty*/, int /*argc*/,
                             const char** /*argv*/) {
    g_gpon_ipc_msg_debug_flag = 1;
    return 0;
}

int ov_no_debug_gpon_ipcmsg_cli(struct cmd_element* /*self*/, struct vty* /*vty*/, int /*argc*/,
                                const char** /*argv*/) {
    g_gpon_ipc_msg_debug_flag = 0;
    return 0;
}

int ov_debug_gpon_qos_cli(struct cmd_element* /*self*/, struct vty* /*vty*/, int /*argc*/,
                          const char** /*argv*/) {
    g_gpon_qos_debug_flag = 1;
    return 0;
}

int ov_no_debug_gpon_qos_cli(struct cmd_element* /*self*/, struct vty* /*vty*/, int /*argc*/,
                             const char** /*argv*/) {
    g_gpon_qos_debug_flag = 0;
    return 0;
}

int ov_debug_gpon_snmp_cli(struct cmd_element* /*self*/, struct vty* /*vty*/, int argc,
                           const char** /*argv*/) {
    mmg_set_debug_info_flag(1);
    mmg_set_debug_function_flag(argc > 0 ? 1 : 0); // with "detail"
    return 0;
}

int ov_no_debug_gpon_snmp_cli(struct cmd_element* /*self*/, struct vty* /*vty*/, int /*argc*/,
                              const char** /*argv*/) {
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
    gpon_srvprofile_cli_init();
    kavo_cmd_install(system_cmds);
}
