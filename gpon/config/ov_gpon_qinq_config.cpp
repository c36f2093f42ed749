// What is saved of QinQ rules: commands of the system's own level, those of an interface in the order in
// which they were added, which another order may not be let in again.
#include "cli_themes.h"
#include "gpon_config_writer.h"
#include "kavo_cmd.h"
#include "kavo_if.h"
#include "ov_product_log.h"
#include "qinq_words.h"

namespace {

constexpr int STEP = 1000; // lines and interfaces after which others get their turn

int print_rule(struct vty* vty, const char* name, const ov_gpon_qinq_attr_t& rule) {
    const std::string line = qinq_line_of(rule);
    if (!line.empty()) {
        vty_out(vty, "%s%s", line.c_str(), kavo_newline(vty));
        return 1;
    }
    if (vty->write_term_flag == WRITE_TERM_FILE)
        OV_LOG_WARN("LIB", "qinq rule %d of %s is in no saved configuration: no command makes it",
                    static_cast<int>(rule.qinqId), name);
    return 0;
}

int print_interface(struct vty* vty, ov_ifindex_t ifindex) {
    char name[UIF_NAME_SIZE] = "";
    ov_gen_ifname_by_ifindex(ifindex, name, sizeof(name));
    if (!gpon_config_port_wanted(vty, name))
        return 0;
    int lines = 0;
    for (const auto& rule : ov_app_gpon_qinq_rules_of(ifindex))
        lines += print_rule(vty, name, rule);
    return lines;
}

} // namespace

int ov_gpon_qinq_vtysh_cfg(struct vty* vty) {
    int lines = 0;
    auto ifindex = ov_app_gpon_qinq_interface_from(vty->write_term_at[0]);
    for (int interfaces = 0; ifindex && lines + interfaces < STEP; ++interfaces) {
        lines += print_interface(vty, *ifindex);
        ifindex = ov_app_gpon_qinq_interface_from(*ifindex + 1);
    }
    vty->write_term_more = ifindex.has_value();
    vty->write_term_at[0] = ifindex.value_or(0);
    return lines;
}
