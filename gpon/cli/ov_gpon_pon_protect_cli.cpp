// Protection groups of PON ports, and a port's configuration as a whole: the commands and what is saved.
#include <memory>
#include <optional>
#include <string>

#include "app_rows.h"
#include "cli_forms.h"
#include "command_syntaxes.h"
#include "gpon_cli.h"
#include "gpon_config_parts.h"
#include "gpon_stepped_show.h"
#include "kavo_cmd_rows.h"
#include "kavo_if.h"
#include "kavo_table.h"
#include "ov_app_gpon_pon_protect.h"
#include "ov_app_gpon_port_config.h"
#include "ov_gpon_olt_cli.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "table_value_name.h"

namespace {

using namespace portProtectTable_column;
using Group = ov_portProtectTable_attr_t;

constexpr size_t GROUP_NAME_MAX = 63;

// The PON port that an argument names; OV_IFINDEX_INVALID behind a line when it names none.
ov_ifindex_t pon_port_of(const CliCall& call, const char* argument) {
    const char* const name = call.words.text(argument);
    const ov_ifindex_t port = uif_get_ifindex_by_name(name);
    if (port == OV_IFINDEX_INVALID) {
        ov_refusal_because("no interface \"%s\"", name);
        call.line("%%Invalid IFNAME: %s", name);
    } else if (ov_ifindex_get_port_type(port) != PORT_TYPE_GPON) {
        ov_refusal_because("%s isn't a PON port", name);
        call.line("%%Interface %s is not PON", name);
        return OV_IFINDEX_INVALID;
    }
    return port;
}

Group group_of(const CliCall& call) {
    Group row = {};
    row.ppGroupId = call.words.number("protectgroup");
    return row;
}

// ---- groups -----------------------------------------------------------------------------------------------

// The session waits for the copy, and the loop serves others meanwhile.
int make_group(const CliCall& call, const Group& row, const MIB_Flags_t& flags) {
    const auto result = std::make_shared<std::optional<int>>();
    if (ov_app_gpon_protect_group_add_start(row, flags, [result](int made) { *result = made; }) !=
        OV_GPON_RET_OK)
        return call.fail("Failed to add gpon protect group%s");
    gpon_show_in_steps(call.vty, [result, vty = call.vty] {
        if (!result->has_value())
            ov_app_gpon_port_config_go_on();
        if (result->value_or(OV_GPON_RET_OK) != OV_GPON_RET_OK)
            vty_out(vty, "Failed to add gpon protect group%s", kavo_newline(vty));
        return !result->has_value();
    });
    return result->value_or(OV_GPON_RET_OK) == OV_GPON_RET_OK ? 0 : KAVO_CLI_FAILED;
}

int ov_gpon_pon_protect_group_add_cli(CliCall& call) {
    Group row = group_of(call);
    if (!gpon_cli_copy_word(row.ppGroupName, call.words.text("name"), GROUP_NAME_MAX))
        return call.fail_name("Failed to add gpon protect group%s", GROUP_NAME_MAX);
    const ov_ifindex_t work = pon_port_of(call, "workpon");
    const ov_ifindex_t protect = work != OV_IFINDEX_INVALID ? pon_port_of(call, "protectpon") : work;
    if (protect == OV_IFINDEX_INVALID)
        return KAVO_CLI_BAD_INPUT;
    row.ppWorkPonIfindex = static_cast<mib_long>(work);
    row.ppProtectPonIfindex = static_cast<mib_long>(protect);
    row.ppProtectType = PPPROTECTTYPE_TYPEB;
    const MIB_Flags_t flags =
        gpon_cli_columns({ppGroupName, ppWorkPonIfindex, ppProtectPonIfindex, ppProtectType});
    return make_group(call, row, flags);
}

int ov_gpon_pon_protect_group_del_cli(CliCall& call) {
    Group row = group_of(call);
    if (ov_app_gpon_protect_group_del(&row) == OV_GPON_RET_OK)
        return 0;
    return call.fail("Failed to del gpon protect group%s");
}

// Scripts know the words so: the first letter says where the ONUs go, "p" to the protecting port.
int ov_gpon_pon_protect_group_switchover_cli(CliCall& call) {
    Group row = group_of(call);
    row.ppExternalCommand =
        call.words.text("switchover")[0] == 'p' ? PPEXTERNALCOMMAND_MSP : PPEXTERNALCOMMAND_MSW;
    MIB_Flags_t flags = gpon_cli_columns({ppExternalCommand});
    if (ov_app_gpon_protect_group_edit(&row, &flags) == OV_GPON_RET_OK)
        return 0;
    return call.fail("Failed to switchover gpon protect group%s");
}

constexpr kavo_column_t COLUMNS[] = {{"group", -5},       {"name", -63},
                                     {"working", -13},    {"state", -14},
                                     {"protecting", -13}, {"state", -14, "protecting_state"},
                                     {"in service", -13}, {"command", -7},
                                     {"request", -7},     {"type", -5}};

std::string port_name(mib_long port) {
    char name[64] = "";
    return port != 0 &&
                   ov_gen_ifname_by_ifindex(static_cast<ov_ifindex_t>(port), name, sizeof name) != nullptr
               ? name
               : "-";
}

std::string word_of(unsigned column, mib_long value) {
    return table_value_text(table_desc_portProtectTable.column(static_cast<int>(column))->names, value);
}

int ov_gpon_pon_protect_group_show_cli(CliCall& call) {
    const Group* group = find_row(group_of(call));
    if (group == nullptr) {
        ov_refusal_because("no protection group %d", call.words.number("protectgroup"));
        return call.fail_of("%%No protect group %d%s", call.words.number("protectgroup"));
    }
    const kavo_table_t table(call.vty, COLUMNS, {.trimmed = true});
    table.line("%s", "");
    table.heading();
    table.rule();
    table.row({group->ppGroupId, gpon_cli_shown(group->ppGroupName), port_name(group->ppWorkPonIfindex),
               word_of(ppWorkPonPortState, group->ppWorkPonPortState), port_name(group->ppProtectPonIfindex),
               word_of(ppProtectPonPortState, group->ppProtectPonPortState), port_name(group->ppActivePort),
               word_of(ppExternalCommand, group->ppExternalCommand),
               word_of(ppCurrentSwitchRequest, group->ppCurrentSwitchRequest),
               word_of(ppProtectType, group->ppProtectType)});
    return 0;
}

// ---- the configuration of a port --------------------------------------------------------------------------

// The session waits, and the loop serves others meanwhile.
int wait_for(struct vty* vty, const std::shared_ptr<const bool>& done) {
    return gpon_show_in_steps(vty, [done] {
        if (!*done)
            ov_app_gpon_port_config_go_on();
        return !*done;
    });
}

int ov_gpon_pon_clear_config_cli(CliCall& call) {
    const ov_ifindex_t port = pon_port_of(call, "IFNAME");
    if (port == OV_IFINDEX_INVALID)
        return KAVO_CLI_BAD_INPUT;
    const auto done = std::make_shared<bool>(false);
    if (ov_app_gpon_port_config_clear_start(port, [done] { *done = true; }) != OV_GPON_RET_OK)
        return KAVO_CLI_FAILED;
    return wait_for(call.vty, done);
}

int ov_gpon_pon_cp_config_cli(CliCall& call) {
    const ov_ifindex_t from = pon_port_of(call, "src");
    const ov_ifindex_t to = from != OV_IFINDEX_INVALID ? pon_port_of(call, "dst") : from;
    if (to == OV_IFINDEX_INVALID)
        return KAVO_CLI_BAD_INPUT;
    const auto done = std::make_shared<bool>(false);
    ov_app_gpon_port_config_copy_start(from, to, [done] { *done = true; });
    return wait_for(call.vty, done);
}

const kavo_cmd_t pon_protect_cmds[] = {
#include "commands/pon_protect.def"
};

// ---- the saved configuration ------------------------------------------------------------------------------

// Managers can make groups that no command can.
std::string line_of(const Group& group) {
    static const CliForms forms(gpon_command_syntaxes(), {"protectgroup", "name", "workpon", "protectpon"});
    return forms.line({group.ppGroupId, group.ppGroupName, port_name(group.ppWorkPonIfindex),
                       port_name(group.ppProtectPonIfindex)});
}

} // namespace

int ov_gpon_cli_pon_protect_cfg_write(struct vty* vty) {
    int lines = 0;
    for (const Group& group : all_rows<Group>()) {
        const std::string line = line_of(group);
        if (!line.empty()) {
            vty_out(vty, " %s%s", line.c_str(), kavo_newline(vty));
            ++lines;
        } else if (vty->write_term_flag == WRITE_TERM_FILE) {
            OV_LOG_WARN("LIB", "protect group %d is in no saved configuration: no command makes it",
                        group.ppGroupId);
        }
    }
    return lines;
}

void gpon_pon_protect_cli_init() {
    kavo_cmd_install(pon_protect_cmds);
}
