// Settings of one ONU.
#include "ov_gpon_onu_cli.h"

#include <cstring>
#include <string>

#include "cli_themes.h"
#include "gpon_config_parts.h"
#include "kavo_cmd_rows.h"
#include "kavo_if.h"
#include "ov_gpon_onu_config.h"
#include "table_record.h"

namespace {

namespace column = sOnuTable_column;
using Onu = ov_sOnuTable_attr_t;

int edit_onu(struct vty* vty, Onu& row, unsigned changed, const char* failure) {
    MIB_Flags_t flags = gpon_cli_columns({changed});
    return ov_app_gpon_onu_edit(&row, &flags) == OV_GPON_RET_OK ? 0 : gpon_cli_fail(vty, failure);
}

// ---- numbers --------------------------------------------------------------------------------------------

enum class ValueFrom { SWITCH, NUMBER, ONE, ZERO };

struct OnuSetting {
    unsigned column;
    ValueFrom value;
    const char* failure;
    const char* line;
};

mib_long value_of(const OnuSetting& setting, const char** argv) {
    switch (setting.value) {
    case ValueFrom::SWITCH:
        return gpon_cli_is_enable(argv[0]) ? 1 : 0;
    case ValueFrom::NUMBER:
        return gpon_cli_number(argv[0]);
    case ValueFrom::ONE:
        return 1;
    default:
        return 0;
    }
}

size_t offset_of(const OnuSetting& setting) {
    return table_desc_sOnuTable.column(static_cast<int>(setting.column))->offset;
}

int set_onu(struct vty* vty, const OnuSetting& setting, const char** argv) {
    Onu row = gpon_cli_onu_key<Onu>(vty);
    record_put(&row, offset_of(setting), value_of(setting, argv));
    return edit_onu(vty, row, setting.column, setting.failure);
}

#define ONU_SETTING(handler, column_name, value, failure, line)                                              \
    {column::column_name, ValueFrom::value, failure, line},
constexpr OnuSetting settings[] = {
#include "onu_settings.def"
};
#undef ONU_SETTING

// The handlers of the settings, by the numbers of their lines.
enum SettingNumber {
#define ONU_SETTING(handler, column_name, value, failure, line) handler##_number,
#include "onu_settings.def"
#undef ONU_SETTING
};
#define ONU_SETTING(handler, column_name, value, failure, line)                                              \
    int handler(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {            \
        return set_onu(vty, settings[handler##_number], argv);                                               \
    }
#include "onu_settings.def"
#undef ONU_SETTING

// ---- texts ----------------------------------------------------------------------------------------------

// "gpon-onu1/1:1", what an ONU is called that has no name of its own.
std::string default_name(const Onu& onu) {
    return "gpon-onu" + std::to_string(onu.slotID) + "/" + std::to_string(onu.portID) + ":" +
           std::to_string(onu.onuId);
}

int ov_gpon_onu_name_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    Onu row = gpon_cli_onu_key<Onu>(vty);
    if (!gpon_cli_copy_word(row.sOnuTableOnuName, argv[0], GPON_CLI_SHORT_NAME_MAX))
        return gpon_cli_fail(vty, "%%Bad name length%s");
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
        return gpon_cli_fail(vty, "%%Bad SplitterNumber length%s");
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

constexpr mib_long RSSI_PROFILE_MAX = 32; // of the command

// Whether the setting's line gives this value. What is at its default needs none.
bool is_saved(const OnuSetting& setting, mib_long value) {
    const bool changed = value != table_desc_sOnuTable.column(static_cast<int>(setting.column))->dflt;
    switch (setting.value) {
    case ValueFrom::NUMBER:
        return changed && value > 0 && value <= RSSI_PROFILE_MAX;
    default:
        return changed && (value == 0 || value == 1);
    }
}

int print_setting(struct vty* vty, const OnuSetting& setting, const Onu& onu) {
    const auto value = record_get<mib_long>(&onu, offset_of(setting));
    if (setting.line[0] == '\0' || !is_saved(setting, value))
        return 0;
    std::string line = setting.line;
    const std::string word =
        setting.value == ValueFrom::SWITCH ? (value != 0 ? "enable" : "disable") : std::to_string(value);
    if (const size_t place = line.find('%'); place != std::string::npos)
        line.replace(place, 2, word);
    vty_out(vty, "%s%s", line.c_str(), kavo_newline(vty));
    return 1;
}

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
        vty_out(vty, "%%Invalid IFNAME: %s%s", name, kavo_newline(vty));
    } else if (ov_ifindex_get_port_type(ifindex) != PORT_TYPE_GONU) {
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
    for (const OnuSetting& setting : settings)
        lines += print_setting(vty, setting, *onu.row);
    return lines;
}

void gpon_vty_onu_cli_init() {
    kavo_cmd_install(onu_cmds);
    gpon_onu_tcont_cli_init();
    gpon_onu_srvport_cli_init();
    gpon_onu_qos_cli_init();
}
