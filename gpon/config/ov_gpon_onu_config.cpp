// The saved configuration of ONUs and of what they have.
#include "ov_gpon_onu_config.h"

#include <cstring>

#include "gpon_config_parts.h"
#include "kavo_cmd.h"
#include "onu_auth_forms.h"
#include "ov_gpon_onu_cli.h"
#include "ov_product_log.h"
#include "sOnuSrvProfileTable.h"

namespace {

using Onu = ov_sOnuTable_attr_t;
using Tcont = ov_sTcontTable_attr_t;
using Gem = ov_sGemTable_attr_t;
using ServicePort = ov_servicePortTable_attr_t;

// Ranges of the commands.
constexpr mib_ulong ONU_MAX = 128;
constexpr mib_ulong TCONT_MAX = 8;
constexpr mib_ulong GEM_MAX = 30;
constexpr mib_ulong SERVICE_PORT_MAX = 32;
constexpr mib_ulong UP_QUEUE_MAX = 8;
constexpr mib_ulong VLAN_MAX = 4094;
constexpr mib_ulong PRIORITY_MAX = 7;
constexpr mib_ulong QUEUE_MAX = 7;
constexpr mib_ulong MAC_LIMIT_MAX = 4095;

// From 1; a negative number is a great one.
bool in_range(mib_ulong number, mib_ulong most) {
    return number != 0 && number <= most;
}
bool in_range(mib_long number, mib_ulong most) {
    return in_range(static_cast<mib_ulong>(number), most);
}

// A number as a word; the parts of a line.
template <typename Number>
std::string word(Number number) {
    return " " + std::to_string(number);
}

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

// ---- ONUs -----------------------------------------------------------------------------------------------

// "sn ABCD01234567 pw secret"; empty when they can't be written.
std::string auth_words(const Onu& onu) {
    const OnuAuthForm* form = onu_auth_form_of(onu.sOnuTableAuthMode);
    if (form == nullptr || !gpon_config_is_name(onu.*form->first.text, form->first.longest))
        return "";
    std::string words = std::string(" ") + form->keyword + " " + onu.*form->first.text;
    if (form->second.column == 0)
        return words;
    if (!gpon_config_is_name(onu.*form->second.text, form->second.longest))
        return "";
    return words + " pw " + onu.*form->second.text;
}

// "type KLM-618", "profile home"
std::string settings_words(const Onu& onu) {
    if (onu.sOnuTableConfigMode == SONUTABLECONFIGMODE_MANUALLY)
        return gpon_config_is_name(onu.sOnuTableOnuTypeProfileName, GPON_CLI_SHORT_NAME_MAX)
                   ? std::string(" type ") + onu.sOnuTableOnuTypeProfileName
                   : "";
    ov_sOnuSrvProfileTable_attr_t key = {};
    key.onuSrvProfileId = onu.sOnuTableSrvProfileId;
    const auto* profile = find_row(key);
    if (profile == nullptr || !gpon_config_is_name(profile->onuSrvProfileName, GPON_CLI_PROFILE_NAME_MAX))
        return "";
    return std::string(" profile ") + profile->onuSrvProfileName;
}

// ---- T-CONTs and GEM ports -----------------------------------------------------------------------------

std::string name_words(const char* name) {
    return gpon_config_is_name(name, GPON_CLI_SHORT_NAME_MAX) ? std::string(" name ") + name : "";
}

// Whether the text is left out, or can be written.
bool none_or_name(const char* text) {
    return *text == '\0' || gpon_config_is_name(text, GPON_CLI_SHORT_NAME_MAX);
}

bool rests_on_saved_tcont(const Gem& gem) {
    auto key = onu_key<Tcont>(gem);
    key.tcontId = gem.sGemTableTcontID;
    const Tcont* tcont = find_row(key);
    return tcont != nullptr && !gpon_config_line(*tcont).empty();
}

// The forms have either a queue or traffic profiles.
bool has_gem_form(const Gem& gem) {
    const bool limited = gem.sGemTableUpTrafficName[0] != '\0' || gem.sGemTableDownTrafficName[0] != '\0';
    if (gem.sGemTableUpQueueMapID != 0 && (limited || !in_range(gem.sGemTableUpQueueMapID, UP_QUEUE_MAX)))
        return false;
    return none_or_name(gem.sGemTableUpTrafficName) && none_or_name(gem.sGemTableDownTrafficName);
}

int print_gem_settings(struct vty* vty, const Gem& gem) {
    const std::string start = "gemport" + word(gem.gemID);
    int lines = 0;
    if (gem.sGemTableIfEnableEncryption == 1)
        lines += print(vty, start + " encryption  enable");
    if (gem.sGemTablePmEnable == 1)
        lines += print(vty, start + " pm enable");
    return lines;
}

// ---- service ports --------------------------------------------------------------------------------------

bool rests_on_saved_gem(const ServicePort& port) {
    auto key = onu_key<Gem>(port);
    key.gemID = static_cast<mib_ulong>(port.servicePortGemId);
    const Gem* gem = find_row(key);
    return gem != nullptr && !gpon_config_line(*gem).empty();
}

bool is_priority(mib_long priority) {
    return static_cast<mib_ulong>(priority) <= PRIORITY_MAX;
}

// Which priority the forms can give: copied, or a new one.
bool has_priority_form(mib_long action, mib_long priority) {
    return action == SERVICEPORTVLANPRIOACTION_COPY ||
           (action == SERVICEPORTVLANPRIOACTION_NEW && is_priority(priority));
}

std::string inner_priority(const ServicePort& port) {
    return port.servicePortVlanPrioAction == SERVICEPORTVLANPRIOACTION_NEW
               ? " priority" + word(port.servicePortVlanPrio)
               : "";
}

std::string outer_tag(const ServicePort& port) {
    return " svlan" + word(port.servicePortSvlan) + " priority" +
           (port.servicePortSvlanPrioAction == SERVICEPORTSVLANPRIOACTION_NEW
                ? word(port.servicePortSvlanPrio)
                : " copy");
}

// What is done with tags, for the actions that match a VLAN of the user.
std::string translate_words(const ServicePort& port) {
    const std::string user = " user-vlan" + word(port.servicePortUserVlan);
    std::string translated = user + " vlan" + word(port.servicePortVlan) + inner_priority(port);
    if (!in_range(port.servicePortUserVlan, VLAN_MAX))
        return "";
    if (port.servicePortVlanAction == SERVICEPORTVLANACTION_TRANSPARENT)
        return user + " transparent";
    if (!in_range(port.servicePortVlan, VLAN_MAX) ||
        !has_priority_form(port.servicePortVlanPrioAction, port.servicePortVlanPrio))
        return "";
    if (port.servicePortVlanAction == SERVICEPORTVLANACTION_XLATE)
        return translated;
    if (!in_range(port.servicePortSvlan, VLAN_MAX) ||
        !has_priority_form(port.servicePortSvlanPrioAction, port.servicePortSvlanPrio))
        return "";
    return translated + outer_tag(port);
}

std::string add_words(const ServicePort& port, const char* traffic) {
    if (!in_range(port.servicePortVlan, VLAN_MAX) ||
        !has_priority_form(port.servicePortVlanPrioAction, port.servicePortVlanPrio))
        return "";
    return std::string(" user-vlan ") + traffic + " vlan-add" + word(port.servicePortVlan) +
           inner_priority(port);
}

// Behind "service-port N gemport N"; no value for a row that no form can make.
bool tag_words(const ServicePort& port, std::string& words) {
    switch (port.servicePortVlanAction) {
    case SERVICEPORTVLANACTION_ALLTRANSPARENT:
        return true;
    case SERVICEPORTVLANACTION_TRANSPARENT:
    case SERVICEPORTVLANACTION_XLATE:
    case SERVICEPORTVLANACTION_ADD:
        words = translate_words(port);
        break;
    case SERVICEPORTVLANACTION_ADDUNTAGGED:
        words = add_words(port, "untagged");
        break;
    case SERVICEPORTVLANACTION_ADDTAGGED:
        words = add_words(port, "tagged");
        break;
    case SERVICEPORTVLANACTION_ADDALWAYS:
        words = add_words(port, "all");
        break;
    default:
        break; // an inner tag has no form
    }
    return !words.empty();
}

// TODO: the COS-to-COS profile of a service port, with the command that sets it
int print_service_port_settings(struct vty* vty, const ServicePort& port) {
    const std::string start = "service-port" + word(port.servicePortId);
    int lines = 0;
    if (in_range(port.servicePortMacLimit, MAC_LIMIT_MAX))
        lines += print(vty, start + " mac-limit" + word(port.servicePortMacLimit));
    if (port.servicePortMacmove == SERVICEPORTMACMOVE_DISABLE)
        lines += print(vty, start + " mac-move disable");
    if (!is_template_row(port) && in_range(port.servicePortQueue, QUEUE_MAX) &&
        port.servicePortQueueSelectMode == SERVICEPORTQUEUESELECTMODE_DIRECTLY)
        lines += print(vty, start + " queue" + word(port.servicePortQueue));
    return lines;
}

} // namespace

bool gpon_config_is_name(const char* text, size_t longest) {
    return gpon_config_is_word(text) && strlen(text) <= longest;
}

std::string gpon_config_line(const ov_sOnuTable_attr_t& onu) {
    const std::string auth = auth_words(onu);
    const std::string settings = settings_words(onu);
    if (!in_range(onu.onuId, ONU_MAX) || auth.empty() || settings.empty())
        return "";
    return "onu" + word(onu.onuId) + settings + auth;
}

std::string gpon_config_line(const ov_sTcontTable_attr_t& tcont) {
    if (!in_range(tcont.tcontId, TCONT_MAX) ||
        !gpon_config_is_name(tcont.sTcontTableBwProfileName, GPON_CLI_PROFILE_NAME_MAX))
        return "";
    return "tcont" + word(tcont.tcontId) + " profile " + tcont.sTcontTableBwProfileName +
           name_words(tcont.sTcontTableTcontName);
}

std::string gpon_config_line(const ov_sGemTable_attr_t& gem) {
    if (!in_range(gem.gemID, GEM_MAX) || !has_gem_form(gem) || !rests_on_saved_tcont(gem))
        return "";
    std::string line = "gemport" + word(gem.gemID) + " tcont" + word(gem.sGemTableTcontID) +
                       name_words(gem.sGemTableGemName);
    if (gem.sGemTableUpQueueMapID != 0)
        line += " queue" + word(gem.sGemTableUpQueueMapID);
    if (gem.sGemTableUpTrafficName[0] != '\0')
        line += std::string(" gem-car ") + gem.sGemTableUpTrafficName;
    if (gem.sGemTableDownTrafficName[0] != '\0')
        line += std::string(" gem-car-ds ") + gem.sGemTableDownTrafficName;
    return line;
}

std::string gpon_config_line(const ov_servicePortTable_attr_t& port) {
    std::string tags;
    if (!in_range(port.servicePortId, SERVICE_PORT_MAX) || !tag_words(port, tags) ||
        !rests_on_saved_gem(port))
        return "";
    return "service-port" + word(port.servicePortId) + " gemport" + word(port.servicePortGemId) + tags;
}

int ov_gpon_cli_pon_port_onu_cfg(struct vty* vty, const ov_sPonTable_attr_t& port) {
    int lines = 0;
    for (const Onu& onu : rows_under(port_key<Onu>(port.slotID, port.portID), INDEX_TO_PORT))
        lines += print_row(vty, onu, "onu", static_cast<unsigned>(onu.onuId));
    return lines;
}

int ov_gpon_cli_tcont_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const Tcont& tcont : rows_under(onu_key<Tcont>(onu.slotID, onu.portID, onu.onuId), INDEX_TO_ONU))
        lines += print_row(vty, tcont, "tcont", tcont.tcontId);
    return lines;
}

int ov_gpon_cli_gem_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const Gem& gem : rows_under(onu_key<Gem>(onu.slotID, onu.portID, onu.onuId), INDEX_TO_ONU)) {
        const int printed = print_row(vty, gem, "gemport", gem.gemID);
        lines += printed == 0 ? 0 : printed + print_gem_settings(vty, gem);
    }
    return lines;
}

int ov_gpon_cli_onu_srvport_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const ServicePort& port :
         rows_under(onu_key<ServicePort>(onu.slotID, onu.portID, onu.onuId), INDEX_TO_ONU)) {
        const int printed = print_row(vty, port, "service-port", static_cast<unsigned>(port.servicePortId));
        lines += printed == 0 ? 0 : printed + print_service_port_settings(vty, port);
    }
    return lines;
}
