// The saved configuration of ONUs and of what they have.
#include "ov_gpon_onu_config.h"

#include <array>
#include <cstring>

#include "cli_forms.h"
#include "cli_objects.h"
#include "command_syntaxes.h"
#include "gpon_config_parts.h"
#include "onu_auth_forms.h"
#include "ov_gpon_onu_cli.h"
#include "ov_product_log.h"
#include "sOnuSrvProfileTable.h"

namespace {

using Onu = ov_sOnuTable_attr_t;
using Tcont = ov_sTcontTable_attr_t;
using Gem = ov_sGemTable_attr_t;
using ServicePort = ov_servicePortTable_attr_t;

int print(struct vty* vty, const std::string& line) {
    vty_out(vty, " %s%s", line.c_str(), kavo_newline(vty));
    return 1;
}

// Prints the row's line. A configuration that is saved without the row says so in the log.
template <typename Row>
int print_row(struct vty* vty, const Row& row, const char* what, unsigned number) {
    const std::string line = gpon_config_line(row);
    if (!line.empty())
        return print(vty, line);
    if (vty->write_term_flag == WRITE_TERM_FILE)
        OV_LOG_WARN("LIB", "gpon-onu%d/%d:%d %s %u is in no saved configuration: no command makes it",
                    row.slotID, row.portID, row.onuId, what, number);
    return 0;
}

// ---- what the commands that make rows say, in the order of the names of their forms ---------------------

// A name that the command has to have.
CliValue name_value(const char* name, size_t longest) {
    return gpon_config_is_name(name, longest) ? CliValue(name) : CliValue::untypable();
}
// One that it may have.
CliValue optional_name(const char* name) {
    return *name != '\0' ? name_value(name, GPON_CLI_SHORT_NAME_MAX) : CliValue();
}
// A label, which goes by itself when it can't be typed.
CliValue label_value(const char* name) {
    return gpon_config_is_name(name, GPON_CLI_SHORT_NAME_MAX) ? CliValue(name) : CliValue();
}

const CliForms& forms_of(const Onu& /*onu*/) {
    static const CliForms forms(gpon_command_syntaxes(), {"onu", "type", "profile", "sn", "loid", "pw"});
    return forms;
}

CliValue profile_value(const Onu& onu) {
    ov_sOnuSrvProfileTable_attr_t key = {};
    key.onuSrvProfileId = onu.sOnuTableSrvProfileId;
    const auto* profile = find_row(key);
    return profile != nullptr ? name_value(profile->onuSrvProfileName, GPON_CLI_PROFILE_NAME_MAX)
                              : CliValue::untypable();
}

std::array<CliValue, 6> values_of(const Onu& onu) {
    std::array<CliValue, 6> values = {onu.onuId};
    auto& [id, type, profile, sn, loid, pw] = values;
    if (onu.sOnuTableConfigMode == SONUTABLECONFIGMODE_MANUALLY)
        type = name_value(onu.sOnuTableOnuTypeProfileName, GPON_CLI_SHORT_NAME_MAX);
    else
        profile = profile_value(onu);
    const OnuAuthForm* form = onu_auth_form_of(onu.sOnuTableAuthMode);
    if (form == nullptr)
        return values; // by nothing is no form
    const std::string_view keyword = form->keyword;
    (keyword == "sn"     ? sn
     : keyword == "loid" ? loid
                         : pw) = name_value(onu.*form->first.text, form->first.longest);
    if (form->second.column != 0)
        pw = name_value(onu.*form->second.text, form->second.longest);
    return values;
}

const CliForms& forms_of(const Tcont& /*tcont*/) {
    static const CliForms forms(gpon_command_syntaxes(), {"tcont", "profile", "name"});
    return forms;
}

std::array<CliValue, 3> values_of(const Tcont& tcont) {
    return {tcont.tcontId, name_value(tcont.sTcontTableBwProfileName, GPON_CLI_PROFILE_NAME_MAX),
            label_value(tcont.sTcontTableTcontName)};
}

const CliForms& forms_of(const Gem& /*gem*/) {
    static const CliForms forms(gpon_command_syntaxes(),
                                {"gemport", "tcont", "name", "queue", "gem-car", "gem-car-ds"});
    return forms;
}

std::array<CliValue, 6> values_of(const Gem& gem) {
    const mib_ulong queue = gem.sGemTableUpQueueMapID;
    return {gem.gemID,
            gem.sGemTableTcontID,
            label_value(gem.sGemTableGemName),
            queue != 0 ? CliValue(queue) : CliValue(),
            optional_name(gem.sGemTableUpTrafficName),
            optional_name(gem.sGemTableDownTrafficName)};
}

const CliForms& forms_of(const ServicePort& /*port*/) {
    static const CliForms forms(gpon_command_syntaxes(), {"service-port", "gemport", "user-vlan",
                                                          "transparent", "vlan", "vlan priority", "svlan",
                                                          "svlan priority", "vlan-add", "vlan-add priority"});
    return forms;
}

// A priority that is set; nothing, or a word, for one that is copied.
CliValue priority_value(mib_long action, mib_long priority, CliValue copied) {
    static_assert(SERVICEPORTVLANPRIOACTION_NEW == static_cast<int>(SERVICEPORTSVLANPRIOACTION_NEW) &&
                  SERVICEPORTVLANPRIOACTION_COPY == static_cast<int>(SERVICEPORTSVLANPRIOACTION_COPY));
    if (action == SERVICEPORTVLANPRIOACTION_NEW)
        return priority;
    return action == SERVICEPORTVLANPRIOACTION_COPY ? copied : CliValue::untypable();
}

// The traffic that a tag is added to, empty for the actions that add none.
const char* tagged_traffic(mib_long action) {
    switch (action) {
    case SERVICEPORTVLANACTION_ADDUNTAGGED:
        return "untagged";
    case SERVICEPORTVLANACTION_ADDTAGGED:
        return "tagged";
    case SERVICEPORTVLANACTION_ADDALWAYS:
        return "all";
    default:
        return "";
    }
}

std::array<CliValue, 10> values_of(const ServicePort& port) {
    std::array<CliValue, 10> values = {port.servicePortId, port.servicePortGemId};
    auto& [id, gem, user, transparent, vlan, priority, svlan, svlan_priority, add, add_priority] = values;
    const mib_long action = port.servicePortVlanAction;
    const CliValue tag_priority =
        priority_value(port.servicePortVlanPrioAction, port.servicePortVlanPrio, CliValue());
    switch (action) {
    case SERVICEPORTVLANACTION_ALLTRANSPARENT:
        break;
    case SERVICEPORTVLANACTION_TRANSPARENT:
        user = port.servicePortUserVlan;
        transparent = CliValue::given(true);
        break;
    case SERVICEPORTVLANACTION_ADD:
        svlan = port.servicePortSvlan;
        svlan_priority = priority_value(port.servicePortSvlanPrioAction, port.servicePortSvlanPrio, "copy");
        [[fallthrough]];
    case SERVICEPORTVLANACTION_XLATE:
        user = port.servicePortUserVlan;
        vlan = port.servicePortVlan;
        priority = tag_priority;
        break;
    default: // an inner tag has no form
        user = *tagged_traffic(action) != '\0' ? CliValue(tagged_traffic(action)) : CliValue::untypable();
        add = port.servicePortVlan;
        add_priority = tag_priority;
    }
    return values;
}

// ---- rows that rest on others ---------------------------------------------------------------------------

template <typename Row>
bool has_line(const Row& row);

bool rests_on_saved(const Onu& /*onu*/) {
    return true;
}
bool rests_on_saved(const Tcont& /*tcont*/) {
    return true;
}
bool rests_on_saved(const Gem& gem) {
    auto key = onu_key<Tcont>(gem);
    key.tcontId = gem.sGemTableTcontID;
    const Tcont* tcont = find_row(key);
    return tcont != nullptr && has_line(*tcont);
}
bool rests_on_saved(const ServicePort& port) {
    auto key = onu_key<Gem>(port);
    key.gemID = static_cast<mib_ulong>(port.servicePortGemId);
    const Gem* gem = find_row(key);
    return gem != nullptr && has_line(*gem);
}

template <typename Row>
bool has_line(const Row& row) {
    return forms_of(row).can_hold(values_of(row)) && rests_on_saved(row);
}

template <typename Row>
std::string line_of(const Row& row) {
    return rests_on_saved(row) ? forms_of(row).line(values_of(row)) : "";
}

// The node on whose block a row's settings are printed.
template <typename Row>
enum node_type node_of(const Row& row) {
    return is_template_row(row) ? ONU_SRV_PROFILE_NODE : GPON_ONU_NODE;
}

} // namespace

bool gpon_config_is_name(const char* text, size_t longest) {
    return gpon_config_is_word(text) && strlen(text) <= longest;
}

std::string gpon_config_line(const ov_sOnuTable_attr_t& onu) {
    return line_of(onu);
}
std::string gpon_config_line(const ov_sTcontTable_attr_t& tcont) {
    return line_of(tcont);
}
std::string gpon_config_line(const ov_sGemTable_attr_t& gem) {
    return line_of(gem);
}
std::string gpon_config_line(const ov_servicePortTable_attr_t& port) {
    return line_of(port);
}

int ov_gpon_cli_pon_port_onu_cfg(struct vty* vty, const ov_sPonTable_attr_t& port) {
    int lines = 0;
    for (const Onu& onu : rows_under(port_key<Onu>(port.slotID, port.portID), INDEX_TO_PORT))
        lines += print_row(vty, onu, "onu", static_cast<unsigned>(onu.onuId));
    return lines;
}

int ov_gpon_cli_tcont_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const Tcont& tcont : rows_under(gpon_config_key_of<Tcont>(onu), INDEX_TO_ONU))
        lines += print_row(vty, tcont, "tcont", tcont.tcontId);
    return lines;
}

int ov_gpon_cli_gem_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const Gem& gem : rows_under(gpon_config_key_of<Gem>(onu), INDEX_TO_ONU)) {
        const int printed = print_row(vty, gem, "gemport", gem.gemID);
        lines +=
            printed == 0 ? 0 : printed + cli_settings_print(vty, cli_objects::gem_port, &gem, node_of(gem));
    }
    return lines;
}

int ov_gpon_cli_onu_srvport_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const ServicePort& port : rows_under(gpon_config_key_of<ServicePort>(onu), INDEX_TO_ONU)) {
        const int printed = print_row(vty, port, "service-port", static_cast<unsigned>(port.servicePortId));
        lines += printed == 0
                     ? 0
                     : printed + cli_settings_print(vty, cli_objects::service_port, &port, node_of(port));
    }
    return lines;
}
