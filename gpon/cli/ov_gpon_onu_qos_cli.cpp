// Bandwidth and weight of an ONU at its port. Its profiles are given by the commands of QoS (cli/qos).
#include "gpon_cli_scope.h"
#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "ov_app_gpon_qos.h"
#include "ov_gpon_onu_cli.h"
#include "qos/ov_gpon_qos_cli.h"

namespace {

ov_app_onu_qos_s* qos_of_session(const CliCall& call) {
    ov_ifindex_t ifindex = 0;
    ov_get_ifindex_from_vtysh(call.vty, &ifindex);
    return ov_app_find_onu_qos_by_ifindex(ifindex);
}

int ov_qos_queue_onu_bw_cli(CliCall& call) {
    auto* qos = qos_of_session(call);
    int result = qos == nullptr ? OV_ONU_QOS_NOT_IN_USE
                                : ov_app_onu_qos_edit_bw(qos, call.words.number<uint32_t>("min"),
                                                         call.words.number<uint32_t>("max"));
    if (result == OV_QOS_OK)
        result = ov_app_onu_qos_set(qos, SYNC_EVERY_COPY);
    if (result == OV_QOS_OK)
        return 0;
    gpon_qos_state_reason(result);
    return call.fail("%%Failed to set bandwidth%s");
}

int ov_qos_queue_onu_weight_cli(CliCall& call) {
    const uint32_t weight = call.words.has("default") ? OV_APP_ONU_QOS_WEIGHT_DEFAULT
                                                      : call.words.number<uint32_t>("qos-onu-weight");
    auto* qos = qos_of_session(call);
    int result = qos == nullptr ? OV_ONU_QOS_NOT_IN_USE : ov_app_onu_qos_edit_weight(qos, weight);
    if (result == OV_QOS_OK)
        result = ov_app_onu_qos_set(qos, SYNC_EVERY_COPY);
    return gpon_qos_onu_answer(call, result, weight);
}

// ---- what is shown ----------------------------------------------------------------------------------------

// Shows the QoS of the ONU that the command names.
int show(const CliCall& call, std::span<const kavo_column_t> columns,
         std::vector<kavo_cell_t> (*cells)(const char* onu, const ov_app_onu_qos_s& qos)) {
    const ov_ifindex_t onu = gpon_cli_onu_of(call);
    if (onu == OV_IFINDEX_INVALID)
        return KAVO_CLI_BAD_INPUT;
    const auto* qos = ov_app_find_onu_qos_by_ifindex(onu);
    if (qos == nullptr) {
        gpon_qos_state_reason(OV_ONU_QOS_NOT_IN_USE);
        return call.fail("%%Failed to get port info %s");
    }
    const kavo_table_t table(call.vty, columns);
    table.line("%s", "");
    table.heading();
    table.row(cells(ov_get_ifname_by_ifindex(onu), *qos));
    return 0;
}

constexpr kavo_column_t BANDWIDTH_COLUMNS[] = {{"onu", -17}, {"min", 10}, {"max", 10}};
constexpr kavo_column_t WEIGHT_COLUMNS[] = {{"onu", -17}, {"weight", 6}};

int ov_qos_queue_onu_bw_show_cli(CliCall& call) {
    return show(call, BANDWIDTH_COLUMNS, [](const char* onu, const ov_app_onu_qos_s& qos) {
        return std::vector<kavo_cell_t>{onu, qos.min_bw, qos.max_bw};
    });
}

int ov_qos_queue_onu_weight_show_cli(CliCall& call) {
    return show(call, WEIGHT_COLUMNS, [](const char* onu, const ov_app_onu_qos_s& qos) {
        return std::vector<kavo_cell_t>{onu, qos.weight};
    });
}

const kavo_cmd_t onu_qos_cmds[] = {
#include "commands/onu_qos.def"
};

} // namespace

void gpon_onu_qos_cli_init() {
    kavo_cmd_install(onu_qos_cmds);
}
