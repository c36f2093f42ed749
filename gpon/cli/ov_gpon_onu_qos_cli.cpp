// Quality of service of an ONU.
#include "kavo_cmd_rows.h"
#include "ov_gpon_onu_cli.h"
#include "ov_refusal.h"

namespace {

constexpr char NO_BANDWIDTH[] = "%%Failed to set bandwidth%s";

int ov_qos_queue_onu_bw_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                            const char** /*argv*/) {
    // TODO: ov_app_find_onu_qos_by_ifindex, ov_app_onu_qos_edit_bw, ov_app_onu_qos_set
    ov_refusal_because("ONUs have no QoS yet");
    return gpon_cli_fail(vty, NO_BANDWIDTH);
}

int ov_qos_queue_onu_weight_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                const char** argv) {
    // TODO: ov_app_find_onu_qos_by_ifindex, ov_app_onu_qos_edit_weight (1 for "default"), ov_app_onu_qos_set
    const int weight = argv[0][0] == 'd' ? 1 : gpon_cli_number(argv[0]);
    ov_refusal_because("ONUs have no QoS yet");
    vty_out(vty, "%%Failed to edit oun qos profile,the profile dont exist:%d%s", weight, kavo_newline(vty));
    return KAVO_CLI_FAILED;
}

int show_onu_qos(struct vty* vty, const char* name) {
    if (gpon_cli_onu_by_name(vty, name) == OV_IFINDEX_INVALID)
        return KAVO_CLI_BAD_INPUT;
    ov_refusal_because("ONUs have no QoS yet");
    return gpon_cli_fail(vty, "%%Failed to get port info %s"); // TODO: the ONU's QoS record
}

int ov_qos_queue_onu_bw_show_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                 const char** argv) {
    return show_onu_qos(vty, argv[0]);
}

int ov_qos_queue_onu_weight_show_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                     const char** argv) {
    return show_onu_qos(vty, argv[0]);
}

const kavo_cmd_t onu_qos_cmds[] = {
#include "commands/onu_qos.def"
};

} // namespace

void gpon_onu_qos_cli_init() {
    kavo_cmd_install(onu_qos_cmds);
}
