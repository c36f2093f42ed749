#include "names_vty.h"

#include <cstring>
#include <iterator>
#include <set>
#include <string>
#include <string_view>

#include "app_rows.h"
#include "avltree.h"
#include "gpon_cli.h"
#include "kavo_cmd_rows.h"
#include "kavo_if.h"
#include "ov_ifindex.h"
#include "rm/ov_gpon_rm_uni_word.h"
#include "sBWProfileTable.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTypeProfileTable.h"
#include "sRmTrafficProfileTable.h"
#include "sRmUniStatusTable.h"
#include "table_module.h"

namespace {

// Collects names that begin with a text, in the order of the alphabet or of their coming, up to the limit.
class Names {
public:
    explicit Names(const char* beginning) : beginning_(beginning != nullptr ? beginning : "") {}

    // What a line or a word of a command can't hold is no name to offer.
    void add(std::string_view name) {
        if (name.empty() || !name.starts_with(beginning_) ||
            gpon_cli_shown(std::string(name).c_str()) != name || name.find_first_of(" \t") != name.npos)
            return;
        names_.emplace(name);
        if (names_.size() > GPON_NAMES_MAX)
            names_.erase(std::prev(names_.end()));
    }
    bool wants(std::string_view name) const { return name.starts_with(beginning_); }
    std::string_view beginning() const { return beginning_; }

    void print(struct vty* vty) const {
        for (const std::string& name : names_)
            vty_out(vty, "%s%s", name.c_str(), kavo_newline(vty));
    }

private:
    // Numbers in a name count as numbers: port 2 comes before port 10.
    struct Order {
        bool operator()(const std::string& a, const std::string& b) const {
            return strverscmp(a.c_str(), b.c_str()) < 0;
        }
    };
    std::string_view beginning_;
    std::set<std::string, Order> names_;
};

void add_bandwidths(Names& names) {
    for (const auto& row : all_rows<ov_sBWProfileTable_attr_t>())
        names.add(row.sBWProfileTableBwProfileName);
}

void add_onu_types(Names& names) {
    for (const auto& row : all_rows<ov_sOnuTypeProfileTable_attr_t>())
        names.add(row.onuTypeProfileName);
}

void add_traffics(Names& names) {
    for (const auto& row : all_rows<ov_sRmTrafficProfileTable_attr_t>())
        names.add(row.sRmTrafficProfileName);
}

void add_service_profiles(Names& names) {
    for (const auto& row : all_rows<ov_sOnuSrvProfileTable_attr_t>())
        names.add(row.onuSrvProfileName);
}

void add_service_profile_ids(Names& names) {
    for (const auto& row : all_rows<ov_sOnuSrvProfileTable_attr_t>())
        names.add(std::to_string(row.onuSrvProfileId));
}

void add_interfaces(Names& names) {
    for (const avl_node_s* node = avl_top_sort(g_uif_avl); node != nullptr; node = avl_next_sort(node)) {
        const auto* interface = static_cast<const uif_t*>(node->info);
        if (names.wants(interface->name))
            names.add(interface->name);
    }
}

// "gpon-onu1/1:1:eth_1/2", of the ONU that the beginning names: all of a chassis would be too many to look
// at.
void add_unis(Names& names) {
    const std::string owner(names.beginning().substr(0, names.beginning().rfind(':')));
    const ov_ifindex_t ifindex = uif_get_ifindex_by_name(owner.c_str());
    if (ifindex == 0xFFFFFFFF || ov_ifindex_get_port_type(ifindex) != PORT_TYPE_GONU)
        return;
    const auto key = onu_key_of_ifindex<ov_sRmUniStatusTable_attr_t>(ifindex);
    for (const auto& row : rows_under(key, 4))
        names.add(owner + ":" + gpon_rm_uni_word(row));
}

void add_tables(Names& names) {
    for (const TableModule* module : table_module_list())
        if (module->registered())
            names.add(module->desc().name);
}

struct Kind {
    std::string_view word;
    void (*collect)(Names& names);
};

constexpr Kind KINDS[] = {
    {"bandwidth", add_bandwidths},
    {"onutype", add_onu_types},
    {"traffic", add_traffics},
    {"onu-srvprofile", add_service_profiles},
    {"onu-srvprofile-id", add_service_profile_ids},
    {"interface", add_interfaces},
    {"uni", add_unis},
    {"table", add_tables},
};

int show_names(CliCall& call) {
    Names names(call.words.text_or("BEGINNING", nullptr));
    const std::string_view wanted = call.words.text("names");
    for (const Kind& kind : KINDS)
        if (kind.word == wanted)
            kind.collect(names);
    names.print(call.vty);
    return 0;
}

const kavo_cmd_t names_cmds[] = {
#include "commands/names.def"
};

} // namespace

void names_vty_init() {
    kavo_cmd_install(names_cmds);
}
