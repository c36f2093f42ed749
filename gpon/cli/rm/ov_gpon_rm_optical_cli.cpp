// Optics of an ONU: the thresholds that it holds, and what they read.
#include "cli_command_rows.h"
#include "cli_objects.h"
#include "ov_app_gpon_pon_role.h"
#include "ov_gpon_rm_cli.h"
#include "sOnuExtendInfoTable.h"
#include "sRmOnuOptThresholdTable.h"

namespace {

using namespace cli_objects;
using namespace sOnuExtendInfoTable_column;
using namespace sRmOnuOptThresholdTable_column;
using Readings = ov_sOnuExtendInfoTable_attr_t;
using Thresholds = ov_sRmOnuOptThresholdTable_attr_t;

// The numbers by which an ONU knows that it is to use its own threshold (ITU-T G.988 ANI-G).
constexpr ColName OWN_TX[] = {{-127, "onu_internal"}};
constexpr ColName OWN_RX[] = {{-255, "onu_internal"}};
constexpr char BAD_VALUE[] = "%%Bad params %w%s";

constexpr RmItem OPTICS[] = {
    {"rx power", sOnuExtendInfoRmOnuRxPower},  {"tx power", sOnuExtendInfoRmOnuTxPower},
    {"bias current", sOnuExtendInfoRmOnuBias}, {"voltage", sOnuExtendInfoRmOnuVol},
    {"temperature", sOnuExtendInfoRmOnuTemp},
};

constexpr RmItem THRESHOLDS[] = {
    {"lowerrxpower", sRmOnuOptThresholdLowRxpwr, OWN_RX},
    {"upperrxpower", sRmOnuOptThresholdUpperRxpwr, OWN_RX},
    {"lowertxpower", sRmOnuOptThresholdLowTxpwr, OWN_TX},
    {"uppertxpower", sRmOnuOptThresholdUpperTxpwr, OWN_TX},
    {"lower bias current", sRmOnuOptThresholdLowBias},
    {"upper bias current", sRmOnuOptThresholdUpperBias},
    {"lower voltage", sRmOnuOptThresholdLowVolt},
    {"upper voltage", sRmOnuOptThresholdUpperVolt},
    {"lower temperature", sRmOnuOptThresholdLowTemp},
    {"upper temperature", sRmOnuOptThresholdUpperTemp},
};

// Both ends of the fibre, as the port that serves the ONU reads them.
constexpr RmItem POWER[] = {
    {"olt rx power", sOnuExtendInfoOltRxPower},
    {"onu rx power", sOnuExtendInfoRmOnuRxPower},
    {"onu tx power", sOnuExtendInfoRmOnuTxPower},
};

// The session's ONU, in a protection group on the port that serves it.
Readings key_in_service(const CliCall& call) {
    return ov_app_gpon_on_port_in_service(gpon_cli_onu_key<Readings>(call.vty));
}

int refuse_read(const CliCall& call, const Readings& row) {
    if (!gpon_rm_onu_is_up(row))
        ov_refusal_because("the ONU isn't operational");
    return call.fail("%%Failed to get port info %s");
}

// Of an ONU that isn't up there are no readings, and its own thresholds are those that it told last.
int ov_show_gpon_onu_rm_op_info_cli(CliCall& call) {
    Readings row = key_in_service(call);
    auto thresholds = onu_key<Thresholds>(row);
    const bool is_up = gpon_rm_onu_is_up(row);
    if (is_up && !mib_access(MIB_GET, row, gpon_cli_columns({sOnuExtendInfoRmOnuRxPower})))
        return refuse_read(call, row);
    if (!mib_access(MIB_GET, thresholds))
        return refuse_read(call, row);
    const RmItems items(call.vty, "onu");
    items.begin();
    items.print(gpon_rm_place(row), "read", is_up ? "now" : "earlier");
    if (is_up)
        items.print(gpon_rm_place(row), table_desc_sOnuExtendInfoTable, &row, OPTICS);
    items.print(gpon_rm_place(row), table_desc_sRmOnuOptThresholdTable, &thresholds, THRESHOLDS);
    return 0;
}

int ov_show_gpon_onu_rm_power_cli(CliCall& call) {
    Readings row = key_in_service(call);
    const MIB_Flags_t columns = gpon_cli_columns({sOnuExtendInfoOltRxPower, sOnuExtendInfoRmOnuRxPower});
    if (!gpon_rm_onu_is_up(row) || !mib_access(MIB_GET, row, columns))
        return refuse_read(call, row);
    const RmItems items(call.vty, "onu");
    items.begin();
    items.print(gpon_rm_place(row), table_desc_sOnuExtendInfoTable, &row, POWER);
    return 0;
}

const CliCommand rm_optical_cmds[] = {
#include "commands/rm_optical.def"
};

} // namespace

void gpon_rm_optical_cli_init() {
    cli_install(rm_optical_cmds);
}
