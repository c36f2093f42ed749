// Settings of one ONU.
#include "ov_gpon_onu_cli.h"

#include <cstring>
#include <string>

#include "cli_themes.h"
#include "column_settings.h"
#include "gpon_config_parts.h"
#include "kavo_cmd_rows.h"
#include "kavo_if.h"
#include "ov_gpon_onu_config.h"
#include "ov_refusal.h"

namespace {

namespace column = sOnuTable_column;
using Onu = ov_sOnuTable_attr_t;

int edit_onu(struct vty* vty, Onu& row, unsigned changed, const char* failure, int result = KAVO_CLI_FAILED) {
    MIB_Flags_t flags = gpon_cli_columns({changed});
    return ov_app_gpon_onu_edit(&row, &flags) == OV_GPON_RET_OK ? 0 : gpon_cli_fail(vty, failure, result);
}

// ---- numbers --------------------------------------------------------------------------------------------

int set_column(struct vty* vty, const ColumnSetting& setting, const char** argv) {
    Onu row = gpon_cli_onu_key<Onu>(vty);
    column_setting_put(setting, table_desc_sOnuTable, &row, argv);
    return edit_onu(vty, row, setting.column, setting.failure, setting.result);
}

#define SETTING COLUMN_SETTING_HANDLER
#include "onu_settings.def"
#undef SETTING
#define SETTING COLUMN_SETTING_ENTRY
constexpr const ColumnSetting* settings[] = {
#include "onu_settings.def"
};
#undef SETTING

// ---- texts ----------------------------------------------------------------------------------------------

// "gpon-onu1/1:1", what an ONU is called that has no name of its own.
std::string default_name(const Onu& onu) {
    return "gpon-onu" + std::to_string(onu.slotID) + "/" + std::to_string(onu.portID) + ":" +
           std::to_string(onu.onuId);
}

int ov_gpon_onu_name_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    Onu row = gpon_cli_onu_key<Onu>(vty);
    if (!gpon_cli_copy_word(row.sOnuTableOnuName, argv[0], GPON_CLI_SHORT_NAME_MAX))
        return gpon_cli_fail_name(vty, "%%Bad name length%s", GPON_CLI_SHORT_NAME_MAX);
    return edit_onu(vty, row, column::sOnuTableOnuName, "%%Failed to set onu name%s");
}

int ov_gpon_no_onu_name_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                            const char** /*argv*/) {
    Onu row = gpon_cli_onu_key<Onu>(vty);
    gpon_cli_copy_word(row.sOnuTableOnuName, default_name(row).c_str());
    return edit_onu(vty, row, column::sOnuTableOnuName, "%%Failed to no onu name%s");
}

int ov_gpon_onu_splitter_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    Onu row = gpon_cli_onu_key<Onu>(vty);
    if (!gpon_cli_copy_word(row.sOnuTableSplitterNumber, argv[0], GPON_CLI_SHORT_NAME_MAX))
        return gpon_cli_fail_name(vty, "%%Bad SplitterNumber length%s", GPON_CLI_SHORT_NAME_MAX);
    return edit_onu(vty, row, column::sOnuTableSplitterNumber, "%%Failed to set onu SplitterNumber%s");
}

int ov_gpon_no_onu_splitter_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                const char** /*argv*/) {
    Onu row = gpon_cli_onu_key<Onu>(vty);
    return edit_onu(vty, row, column::sOnuTableSplitterNumber, "%%Failed to no onu SplitterNumber%s");
}

const kavo_cmd_t onu_cmds[] = {
#include "commands/onu.def"
};

// ---- the saved configuration ----------------------------------------------------------------------------

int print_text(struct vty* vty, const char* keyword, const char* text) {
    if (!gpon_config_is_name(text, GPON_CLI_SHORT_NAME_MAX))
        return 0;
    vty_out(vty, " %s %s%s", keyword, text, kavo_newline(vty));
    return 1;
}

} // namespace

int gpon_cli_fail_of(struct vty* vty, const char* text, mib_long number, int result) {
    std::string line = text;
    if (const size_t place = line.find("%d"); place != std::string::npos)
        line.replace(place, 2, std::to_string(number));
    return gpon_cli_fail(vty, line.c_str(), result);
}

ov_ifindex_t gpon_cli_onu_by_name(struct vty* vty, const char* name) {
    const ov_ifindex_t ifindex = uif_get_ifindex_by_name(name);
    if (ifindex == OV_IFINDEX_INVALID) {
        ov_refusal_because("no interface \"%s\"", name);
        vty_out(vty, "%%Invalid IFNAME: %s%s", name, kavo_newline(vty));
    } else if (ov_ifindex_get_port_type(ifindex) != PORT_TYPE_GONU) {
        ov_refusal_because("%s isn't an ONU", name);
        vty_out(vty, "%%Interface %s is not onu%s", name, kavo_newline(vty));
        return OV_IFINDEX_INVALID;
    }
    return ifindex;
}

int ov_gpon_cli_onu_basic_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    if (onu.row == nullptr)
        return 0; // a service profile has none of these
    int lines = 0;
    if (onu.row->sOnuTableOnuName != default_name(*onu.row))
        lines += print_text(vty, "name", onu.row->sOnuTableOnuName);
    lines += print_text(vty, "splitter", onu.row->sOnuTableSplitterNumber);
    for (const ColumnSetting* setting : settings)
        lines += column_setting_print(vty, *setting, table_desc_sOnuTable, onu.row);
    return lines;
}

void gpon_vty_onu_cli_init() {
    kavo_cmd_install(onu_cmds);
    gpon_onu_tcont_cli_init();
    gpon_onu_srvport_cli_init();
    gpon_onu_qos_cli_init();
}
