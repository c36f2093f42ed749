#include "gpon_config_writer.h"

#include <cstring>
#include <string>
#include <string_view>

#include "app_rows.h"
#include "cli_forms.h"
#include "gpon_cli.h"
#include "gpon_config_parts.h"
#include "kavo_cmd.h"
#include "kavo_if.h"
#include "kavo_trunk.h"
#include "kavo_vty_object.h"
#include "ov_gpon_onu_config.h"
#include "ov_ifindex.h"
#include "ov_ifindex_name.h"
#include "sOnuSrvProfileTable.h"

namespace {

using ConfigPart = int(struct vty*);
using PortPart = int(struct vty*, const ov_sPonTable_attr_t&);
using OnuPart = int(struct vty*, const gpon_config_onu_t&);

enum class Block { GPON, PON_PORTS, UPLINKS };

struct BlockPart {
    Block block;
    ConfigPart* print;
};

#define CONFIG_PART(block, function) {Block::block, function},
#define PORT_PART(function)
#define ONU_PART(function)
constexpr BlockPart CONFIG_PARTS[] = {
#include "config_parts.def"
};
#undef CONFIG_PART
#undef PORT_PART
#define CONFIG_PART(block, function)
#define PORT_PART(function) function,
constexpr PortPart* PORT_PARTS[] = {
#include "config_parts.def"
};
#undef PORT_PART
#undef ONU_PART
#define PORT_PART(function)
#define ONU_PART(function) function,
constexpr OnuPart* ONU_PARTS[] = {
#include "config_parts.def"
};
#undef CONFIG_PART
#undef PORT_PART
#undef ONU_PART

// Room for "interface gpon-onu31/15:128"; for a service profile's head with its type's name.
constexpr size_t HEAD_SIZE = 40;
constexpr size_t PROFILE_HEAD_SIZE = 100;

void port_head(char (&head)[HEAD_SIZE], mib_long slot, mib_long port) {
    snprintf(head, sizeof(head), "interface gpon-olt%d/%d", slot, port);
}

void onu_head(char (&head)[HEAD_SIZE], mib_long slot, mib_long port, mib_long onu) {
    snprintf(head, sizeof(head), "interface gpon-onu%d/%d:%d", slot, port, onu);
}

void profile_head(char (&head)[PROFILE_HEAD_SIZE], const ov_sOnuSrvProfileTable_attr_t& profile) {
    snprintf(head, sizeof(head), "onu-srvprofile profile-id %d onu-type %s",
             static_cast<int>(profile.onuSrvProfileId), profile.sOnuTypeProfileName);
}

// Whether a block is asked for.
bool wanted(const struct vty* vty, const char* head) {
    if (vty->write_term_flag != WRITE_TERM_CURRENT && vty->write_term_flag != WRITE_TERM_INTERFACE)
        return true;
    return strcmp(head, vty->write_term_info) == 0;
}

constexpr std::string_view ASKED = "interface "; // in front of the name

// The name of the interface that is asked for may be shortened (gp1/1); the heads have it in full.
void write_asked_name_in_full(struct vty* vty) {
    if (vty->write_term_flag != WRITE_TERM_INTERFACE ||
        !std::string_view(vty->write_term_info).starts_with(ASKED))
        return;
    char name[UIF_NAME_SIZE];
    if (uif_extend_ifname(name, vty->write_term_info + ASKED.size()) != nullptr)
        snprintf(vty->write_term_info, sizeof(vty->write_term_info), "interface %s", name);
}

// Whether there is such an interface, or a row of one whose card isn't there.
bool is_interface(const char* name) {
    if (uif_get_by_name(name) != nullptr || trunk_get_by_name(name) != nullptr)
        return true;
    const ov_ifindex_t ifindex = ov_ifindex_gen_by_name(name);
    char full[UIF_NAME_SIZE] = "";
    if (ov_gen_ifname_by_ifindex(ifindex, full, sizeof full) == nullptr || strcmp(full, name) != 0)
        return false;
    switch (ov_port_type_of_name(name)) {
    case PORT_TYPE_GPON:
        return find_row(port_key_of_ifindex<ov_sPonTable_attr_t>(ifindex)) != nullptr;
    case PORT_TYPE_GONU:
        return find_row(onu_key_of_ifindex<ov_sOnuTable_attr_t>(ifindex)) != nullptr;
    default:
        return false;
    }
}

// The name that is asked for; null when all are.
const char* asked_name(struct vty* vty) {
    write_asked_name_in_full(vty);
    return vty->write_term_flag == WRITE_TERM_INTERFACE ? vty->write_term_info + ASKED.size() : nullptr;
}

void print_head(struct vty* vty, const char* head) {
    vty_out(vty, "%s%s", head, kavo_newline(vty));
}

int print_block_parts(struct vty* vty, Block block) {
    int lines = 0;
    for (const BlockPart& part : CONFIG_PARTS)
        if (part.block == block)
            lines += part.print(vty);
    return lines;
}

int print_onu_parts(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (OnuPart* print : ONU_PARTS)
        lines += print(vty, onu);
    return lines;
}

int print_port(struct vty* vty, const ov_sPonTable_attr_t& port) {
    char head[HEAD_SIZE];
    port_head(head, port.slotID, port.portID);
    if (!wanted(vty, head))
        return 0;
    print_head(vty, head);
    int lines = 1;
    for (PortPart* print : PORT_PARTS)
        lines += print(vty, port);
    return lines;
}

int print_onu(struct vty* vty, const ov_sOnuTable_attr_t& onu) {
    char head[HEAD_SIZE];
    onu_head(head, onu.slotID, onu.portID, onu.onuId);
    if (!wanted(vty, head))
        return 0;
    print_head(vty, head);
    return 1 + print_onu_parts(vty, {onu.slotID, onu.portID, onu.onuId, &onu});
}

// A profile without a name of its own is called by its id.
int print_profile_name(struct vty* vty, const ov_sOnuSrvProfileTable_attr_t& profile) {
    const std::string id = std::to_string(profile.onuSrvProfileId);
    if (profile.onuSrvProfileName == id ||
        !gpon_config_is_name(profile.onuSrvProfileName, GPON_CLI_PROFILE_NAME_MAX))
        return 0;
    vty_out(vty, " profile-name %s%s", profile.onuSrvProfileName, kavo_newline(vty));
    return 1;
}

int print_profile(struct vty* vty, const ov_sOnuSrvProfileTable_attr_t& profile) {
    char head[PROFILE_HEAD_SIZE];
    profile_head(head, profile);
    if (!wanted(vty, head) || !gpon_config_is_name(profile.sOnuTypeProfileName, GPON_CLI_SHORT_NAME_MAX))
        return 0;
    print_head(vty, head);
    const int lines = 1 + print_profile_name(vty, profile);
    return lines + print_onu_parts(vty, {GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT,
                                         static_cast<mib_long>(profile.onuSrvProfileId), nullptr});
}

// Lines and objects after which a writer breaks off so that others get their turn, after about a millisecond.
// It is counted and not timed: a busy machine must not print in smaller pieces.
constexpr int STEP = 1000;
static_assert(sizeof(vty::write_term_at) == TableModule::MAX_INDEX_COLUMNS * sizeof(uint32_t));

// Prints the rows of a table, from the session's mark on. A writer that breaks off marks the row that is next
// by its index: that row may be gone, and others there, when it goes on.
template <typename Row>
int print_rows(struct vty* vty, int (*print)(struct vty*, const Row&)) {
    write_asked_name_in_full(vty);
    const OvraMutexGuard lock(getMutex(did_of<Row>()));
    const TableModule& table = table_of<Row>::module();
    const void* row = table.row_at_or_above(vty->write_term_at, TableModule::MAX_INDEX_COLUMNS);
    int lines = 0;
    for (int objects = 0; row != nullptr && lines + objects < STEP; objects++) {
        if (const auto& printed = *static_cast<const Row*>(row); is_in_service(printed))
            lines += print(vty, printed);
        row = table.next_row_under(row, 0);
    }
    vty->write_term_more = row != nullptr;
    if (row != nullptr)
        memcpy(vty->write_term_at, row, table.desc().key_size);
    return lines;
}

// The head names the profile's type, which only its row knows.
void profile_head_of(mib_long profile_id, char (&head)[PROFILE_HEAD_SIZE]) {
    ov_sOnuSrvProfileTable_attr_t key = {};
    key.onuSrvProfileId = static_cast<mib_ulong>(profile_id);
    head[0] = '\0';
    if (const auto* profile = find_row(key); profile != nullptr)
        profile_head(head, *profile);
}

} // namespace

bool gpon_config_is_word(const char* text) {
    return cli_is_word(text);
}

bool gpon_config_port_wanted(const struct vty* vty, const char* name) {
    char head[HEAD_SIZE];
    snprintf(head, sizeof(head), "interface %s", name);
    return wanted(vty, head);
}

void gpon_config_current_head(struct vty* vty, char* head, size_t size) {
    ov_ifindex_t ifindex = 0;
    char port[HEAD_SIZE] = "";
    char profile[PROFILE_HEAD_SIZE] = "";
    ov_get_ifindex_from_vtysh(vty, &ifindex);
    const auto slot = static_cast<mib_long>(ov_ifindex_get_slot_id(ifindex));
    const auto port_id = static_cast<mib_long>(ov_ifindex_get_port_id(ifindex));
    switch (vty->node) {
    case IF_NODE:
        snprintf(port, sizeof(port), "interface %s", uif_ifindex_to_name(ifindex));
        break;
    case IF_GPON_NODE:
        port_head(port, slot, port_id);
        break;
    case GPON_ONU_NODE:
        onu_head(port, slot, port_id, static_cast<mib_long>(ov_ifindex_get_subport_id(ifindex)));
        break;
    case ONU_SRV_PROFILE_NODE:
        profile_head_of(static_cast<mib_long>(ov_ifindex_get_subport_id(ifindex)), profile);
        break;
    default:
        break;
    }
    snprintf(head, size, "%s%s", port, profile);
}

int ov_gpon_cli_gpon_cfg(struct vty* vty) {
    if (const char* const name = asked_name(vty); name != nullptr && !is_interface(name)) {
        vty_out(vty, "%% Interface[%s] not exist%s", name, kavo_newline(vty));
        return 0;
    }
    vty_out(vty, "gpon%s", kavo_newline(vty));
    if (vty->write_term_flag == WRITE_TERM_INTERFACE)
        return 1;
    return 1 + print_block_parts(vty, Block::GPON);
}

int ov_gpon_cli_pon_port_cfg(struct vty* vty) {
    write_asked_name_in_full(vty);
    const int lines = vty->write_term_more ? 0 : print_block_parts(vty, Block::PON_PORTS);
    return lines + print_rows(vty, print_port);
}

int ov_gpon_cli_uplink_if_cfg(struct vty* vty) {
    write_asked_name_in_full(vty);
    return print_block_parts(vty, Block::UPLINKS);
}

int ov_gpon_cli_onu_cfg(struct vty* vty) {
    if (vty->cfg_node == ONU_SRV_PROFILE_NODE)
        return ov_gpon_cli_onu_srvprofile_setname_cfg(vty);
    return print_rows(vty, print_onu);
}

int ov_gpon_cli_onu_srvprofile_setname_cfg(struct vty* vty) {
    return print_rows(vty, print_profile);
}
