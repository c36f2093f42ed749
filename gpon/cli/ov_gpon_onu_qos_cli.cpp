// Quality of service of an ONU.
#include "gpon_cli_scope.h"
#include "kavo_cmd_rows.h"
#include "ov_gpon_onu_cli.h"
#include "ov_refusal.h"

namespace {

constexpr char NO_BANDWIDTH[] = "%%Failed to set bandwidth%s";

int ov_qos_queue_onu_bw_cli(CliCall& call) {
    // TODO: ov_app_find_onu_qos_by_ifindex, ov_app_onu_qos_edit_bw, ov_app_onu_qos_set
    ov_refusal_because("ONUs have no QoS yet");
    return call.fail(NO_BANDWIDTH);
}

int ov_qos_queue_onu_weight_cli(CliCall& call) {
    // TODO: ov_app_find_onu_qos_by_ifindex, ov_app_onu_qos_edit_weight (1 for "default"), ov_app_onu_qos_set
    const int weight = call.words.has("default") ? 1 : call.words.number("qos-onu-weight");
    ov_refusal_because("ONUs have no QoS yet");
    call.line("%%Failed to edit oun qos profile,the profile dont exist:%d", weight);
    return KAVO_CLI_FAILED;
}

int ov_qos_queue_onu_bw_show_cli(CliCall& call) {
    if (gpon_cli_onu_of(call) == OV_IFINDEX_INVALID)
        return KAVO_CLI_BAD_INPUT;
    ov_refusal_because("ONUs have no QoS yet");
    return call.fail("%%Failed to get port info %s"); // TODO: the ONU's QoS record
}

int ov_qos_queue_onu_weight_show_cli(CliCall& call) {
    return ov_qos_queue_onu_bw_show_cli(call); // TODO: the ONU's QoS record
}

const kavo_cmd_t onu_qos_cmds[] = {
#include "commands/onu_qos.def"
};

} // namespace

void gpon_onu_qos_cli_init() {
    kavo_cmd_install(onu_qos_cmds);
}
