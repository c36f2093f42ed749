// The saved configuration of what lies behind ONUs.
#include "ov_gpon_rm_config.h"

#include "cli_forms.h"
#include "command_syntaxes.h"
#include "ov_product_log.h"
#include "rm/ov_gpon_rm_uni_word.h"
#include "sRmOnuOptThresholdTable.h"
#include "sRmOnuPoeTable.h"
#include "sRmUniPoeTable.h"
#include "sRmUniStatusTable.h"
#include "sRmUniVlanTable.h"

namespace {

using UniStatus = ov_sRmUniStatusTable_attr_t;
using UniVlan = ov_sRmUniVlanTable_attr_t;

// ---- UNIs -----------------------------------------------------------------------------------------------

int ov_gpon_cli_rm_uni_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const UniStatus& uni : rows_under(gpon_config_key_of<UniStatus>(onu), INDEX_TO_ONU)) {
        lines += cli_settings_print(vty, cli_objects::rm_uni, &uni, gpon_rm_config_node(onu));
        lines += cli_settings_print(vty, cli_objects::rm_video, &uni, gpon_rm_config_node(onu));
    }
    return lines;
}

// ---- VLANs of UNIs --------------------------------------------------------------------------------------

const CliForms& vlan_forms() {
    static const CliForms forms(gpon_command_syntaxes(), {"ETHUNI", "vlan-mode", "access", "trunk", "hybrid",
                                                          "pvlan", "priority", "tag", "xlate"});
    return forms;
}

// A list of words: the form takes the first, the others go behind the line.
struct Tail {
    explicit Tail(std::string words) : text(std::move(words)), end(text.find(' ')) {}
    CliValue first() const {
        return text.empty() ? CliValue::untypable() : CliValue(std::string_view(text).substr(0, end));
    }
    std::string behind(const std::string& line) const {
        return line.empty() || end == text.npos ? line : line + text.substr(end);
    }

    std::string text;
    size_t end;
};

Tail tags_of(const UniVlan& row) {
    return Tail(gpon_rm_vlans_text(gpon_rm_get_vlans(row.sRmUniVlanTableVlanIdList)));
}

Tail translations_of(const UniVlan& row) {
    return Tail(gpon_rm_xlates_text(gpon_rm_get_vlans(row.sRmUniVlanTableVlanIdList),
                                    gpon_rm_get_vlans(row.sRmUniVlanTableTranslateVlanIdList)));
}

CliValue priority_of(const UniVlan& row) {
    return row.sRmUniVlanTablePriority != 0 ? CliValue(row.sRmUniVlanTablePriority) : CliValue();
}

// The command that gives a UNI its mode, empty when there is none.
std::string line_of(const UniVlan& row) {
    const std::string word = gpon_rm_uni_word(row);
    const CliValue uni = word;
    const CliValue given = CliValue::given(true);
    switch (row.sRmUniVlanTableVlanMode) {
    case SRMUNIVLANTABLEVLANMODE_ACCESS:
        return vlan_forms().line(
            {uni, given, given, {}, {}, row.sRmUniVlanTablePvid, priority_of(row), {}, {}});
    case SRMUNIVLANTABLEVLANMODE_TRUNK: {
        const Tail tags = tags_of(row);
        return tags.behind(vlan_forms().line({uni, given, {}, given, {}, {}, {}, tags.first(), {}}));
    }
    case SRMUNIVLANTABLEVLANMODE_HYBRID: {
        const Tail tags = tags_of(row);
        return tags.behind(vlan_forms().line(
            {uni, given, {}, {}, given, row.sRmUniVlanTablePvid, priority_of(row), tags.first(), {}}));
    }
    case SRMUNIVLANTABLEVLANMODE_XLATE: {
        const Tail pairs = translations_of(row);
        return pairs.behind(vlan_forms().line({uni, given, {}, {}, {}, {}, {}, {}, pairs.first()}));
    }
    case SRMUNIVLANTABLEVLANMODE_TRANSPARENT:
        return vlan_forms().line({uni, "transparent", {}, {}, {}, {}, {}, {}, {}});
    default:
        return "";
    }
}

int ov_gpon_cli_rm_uni_vlan_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const UniVlan& row : rows_under(gpon_config_key_of<UniVlan>(onu), INDEX_TO_ONU))
        if (row.sRmUniVlanTableVlanMode != SRMUNIVLANTABLEVLANMODE_DISCARD)
            lines += gpon_rm_config_print(vty, onu, gpon_rm_uni_word(row) + " vlan-mode", line_of(row));
    return lines;
}

// ---- those that are settings alone ----------------------------------------------------------------------

constexpr auto* ov_gpon_cli_rmonu_threshold_cfg =
    gpon_rm_config_settings<ov_sRmOnuOptThresholdTable_attr_t, cli_objects::rm_optics>;
constexpr auto* ov_gpon_cli_rm_uni_poe_cfg =
    gpon_rm_config_settings<ov_sRmUniPoeTable_attr_t, cli_objects::rm_uni_poe>;
constexpr auto* ov_gpon_cli_rm_onu_poe_cfg =
    gpon_rm_config_settings<ov_sRmOnuPoeTable_attr_t, cli_objects::rm_onu_poe>;

// In the order of their lines.
constexpr int (*FAMILIES[])(struct vty*, const gpon_config_onu_t&) = {
    ov_gpon_cli_rm_uni_cfg,
    ov_gpon_cli_rm_uni_vlan_cfg,
    ov_gpon_cli_rm_mcast_cfg,
    ov_gpon_cli_rm_iphost_cfg,
    ov_gpon_cli_rm_tr069_mgmt_cfg,
    ov_gpon_cli_rm_queue_schedule_cfg,
    ov_gpon_cli_rm_service_cfg,
    ov_gpon_cli_rmonu_threshold_cfg,
    ov_gpon_cli_rm_voip_config_data_cfg,
    ov_gpon_cli_rm_voip_sip_agent_config_data_cfg,
    ov_gpon_cli_rm_voip_sip_user_data_cfg,
    ov_gpon_cli_rm_wan_cfg,
    ov_gpon_cli_rm_wifi_cfg,
    ov_gpon_cli_rm_uni_poe_cfg,
    ov_gpon_cli_rm_onu_poe_cfg,
    ov_gpon_cli_rm_mac_filter_cfg, // behind the services
};

} // namespace

int gpon_rm_config_print(struct vty* vty, const gpon_config_onu_t& onu, const std::string& what,
                         const std::string& line) {
    if (!line.empty()) {
        vty_out(vty, " %s%s", line.c_str(), kavo_newline(vty));
        return 1;
    }
    if (vty->write_term_flag == WRITE_TERM_FILE)
        OV_LOG_WARN("LIB", "gpon-onu%d/%d:%d %s is in no saved configuration: no command makes it",
                    onu.slotID, onu.portID, onu.onuId, what.c_str());
    return 0;
}

int ov_gpon_cli_rm_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const auto family : FAMILIES)
        lines += family(vty, onu);
    return lines;
}
