// Settings of a PON port.
#include <algorithm>
#include <cstring>
#include <string>

#include "app_rows.h"
#include "cli_command_rows.h"
#include "cli_objects.h"
#include "gpon_cli.h"
#include "gpon_config_parts.h"
#include "kavo_vty_object.h"
#include "ov_app_gpon_port.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_gpon_srvprofile.h"
#include "ov_gpon_olt_cli.h"
#include "ov_ifindex.h"
#include "ov_refusal.h"
#include "table_record.h"

namespace {

namespace column = sPonTable_column;

// ---- a column of the session's port --------------------------------------------------------------------

// A record with the index of the session's port and nothing else.
ov_sPonTable_attr_t port_key(const struct vty* vty) {
    ov_ifindex_t ifindex = 0;
    ov_get_ifindex_from_vtysh(vty, &ifindex);
    return port_key_of_ifindex<ov_sPonTable_attr_t>(ifindex);
}

// The stored row of the session's port, null when the port has none.
const ov_sPonTable_attr_t* port_row(const struct vty* vty) {
    return find_row(port_key(vty));
}

int edit_port(const CliCall& call, ov_sPonTable_attr_t& row, MIB_Flags_t flags, const char* failure) {
    return ov_app_gpon_port_edit(&row, &flags) == OV_GPON_RET_OK ? 0 : call.fail(failure);
}

// ---- ONUs that provision themselves ---------------------------------------------------------------------

constexpr char AUTO_AUTHENTICATION_FAILED[] = "%%Failed to set onu auto authentication%s";
constexpr char AUTO_FLOW_FAILED[] = "%%Failed to set onu auto flow%s";
constexpr char AUTO_FLOW_DEL_FAILED[] = "%%Failed to del onu auto flow profile%s";

// The id of a service profile's name; 0, which no profile has, and a line for an unknown one.
mib_long profile_id_or_tell(const CliCall& call, const char* keyword) {
    const char* const name = call.words.text(keyword);
    mib_ulong id = 0;
    if (ov_app_gpon_onusrvprofile_getId(name, &id) == 0) {
        ov_refusal_because("no service profile \"%s\"", name);
        call.fail("%%Onu srv profile not exist%s");
        return 0;
    }
    return static_cast<mib_long>(id);
}

int ov_onu_auto_learn_enable_cli(CliCall& call) {
    ov_sPonTable_attr_t row = port_key(call.vty);
    return edit_port(call, row, gpon_cli_columns({column::sPonTableAutoLearn}), AUTO_AUTHENTICATION_FAILED);
}

int ov_onu_auto_authentication_enable_auto_flow_disable_cli(CliCall& call) {
    ov_sPonTable_attr_t row = port_key(call.vty);
    row.sPonTableAutoLearn = 1;
    row.sPonTableAutoFlow = SPONTABLEAUTOFLOW_DISABLE;
    return edit_port(call, row, gpon_cli_columns({column::sPonTableAutoLearn, column::sPonTableAutoFlow}),
                     AUTO_AUTHENTICATION_FAILED);
}

int ov_onu_auto_authentication_enable_auto_flow_enable_profileId_cli(CliCall& call) {
    ov_sPonTable_attr_t row = port_key(call.vty);
    row.sPonTableAutoLearn = 1;
    row.sPonTableAutoFlow = SPONTABLEAUTOFLOW_ENABLE;
    row.sPonTableAutoFlowConfigOnuNode = call.words.has("configure_onu_node")
                                             ? SPONTABLEAUTOFLOWCONFIGONUNODE_ENABLE
                                             : SPONTABLEAUTOFLOWCONFIGONUNODE_DISABLE;
    row.sPonTableSrvProfileID = profile_id_or_tell(call, "def-srv-profile");
    if (row.sPonTableSrvProfileID == 0)
        return KAVO_CLI_BAD_INPUT;
    return edit_port(
        call, row,
        gpon_cli_columns({column::sPonTableAutoLearn, column::sPonTableAutoFlow,
                          column::sPonTableSrvProfileID, column::sPonTableAutoFlowConfigOnuNode}),
        AUTO_AUTHENTICATION_FAILED);
}

constexpr auto* ov_onu_auto_authentication_enable_auto_flow_enable_profileId_config_onu_node_cli =
    ov_onu_auto_authentication_enable_auto_flow_enable_profileId_cli;

// Kept for configurations of earlier releases.
int ov_onu_auto_flow_enable_cli(CliCall& call) {
    return call.fail("%% legacy command for upgrade. please try new command!!%s", 0);
}

// ---- service profiles by kind of ONU -----------------------------------------------------------------

int set_profile_of_kind(const CliCall& call, mib_long profile, const char* failure) {
    const bool hgu = call.words.has("hgu");
    ov_sPonTable_attr_t row = port_key(call.vty);
    (hgu ? row.sPonTableHguSrvProfile : row.sPonTableSfuSrvProfile) = profile;
    return edit_port(
        call, row, gpon_cli_columns({hgu ? column::sPonTableHguSrvProfile : column::sPonTableSfuSrvProfile}),
        failure);
}

int ov_onu_auto_flow_config_by_onu_type_cli(CliCall& call) {
    const mib_long profile = profile_id_or_tell(call, "srv-profile");
    if (profile == 0)
        return KAVO_CLI_BAD_INPUT;
    return set_profile_of_kind(call, profile, AUTO_FLOW_FAILED);
}

// The four slots of a port for vendors, and those for models: a service profile's id for each, and a name at
// a fixed place, without terminator when it fills it.
constexpr size_t AUTO_FLOW_SLOTS = 4;
struct AutoFlowSlots {
    const char* keyword;
    unsigned ids_column;
    unsigned names_column;
    size_t shortest;
    size_t name_size;
    const char* bad_name;
    const char* existed;
};
constexpr AutoFlowSlots VENDOR_SLOTS = {
    .keyword = "vendor",
    .ids_column = column::sPonTableVendorSrvProfile,
    .names_column = column::sPonTableVendorSrvProfileName,
    .shortest = 4,
    .name_size = sPonTable_limit::sPonTableVendorSrvProfileName / AUTO_FLOW_SLOTS,
    .bad_name = "%%Invalid vendor name,must be 4 bytes%s",
    .existed = "%%Vendor profile has existed%s",
};
constexpr AutoFlowSlots MODEL_SLOTS = {
    .keyword = "model",
    .ids_column = column::sPonTableModelSrvProfile,
    .names_column = column::sPonTableModelSrvProfileName,
    .shortest = 1,
    .name_size = sPonTable_limit::sPonTableModelSrvProfileName / AUTO_FLOW_SLOTS,
    .bad_name = "%%Invalid model name, length cannot exceed 20 bytes%s",
    .existed = "%%Model profile has existed%s",
};
static_assert(VENDOR_SLOTS.name_size == 4 && MODEL_SLOTS.name_size == 20);

const AutoFlowSlots& slots_of(const CliWords& words) {
    return words.has("vendor") ? VENDOR_SLOTS : MODEL_SLOTS;
}

// Counted from 0.
size_t slot_of(const CliWords& words) {
    return words.number<size_t>(slots_of(words).keyword) - 1;
}

size_t ids_offset(const AutoFlowSlots& slots) {
    return table_desc_sPonTable.column(static_cast<int>(slots.ids_column))->offset;
}
size_t name_offset(const AutoFlowSlots& slots, size_t slot) {
    return table_desc_sPonTable.column(static_cast<int>(slots.names_column))->offset + slot * slots.name_size;
}

uint8_t slot_profile(const AutoFlowSlots& slots, const ov_sPonTable_attr_t& row, size_t slot) {
    return record_get<uint8_t>(&row, ids_offset(slots) + slot);
}
std::string_view slot_name(const AutoFlowSlots& slots, const ov_sPonTable_attr_t& row, size_t slot) {
    const char* name = record_bytes(&row) + name_offset(slots, slot);
    return {name, strnlen(name, slots.name_size)};
}

void put_slot(const AutoFlowSlots& slots, ov_sPonTable_attr_t& row, size_t slot, std::string_view name,
              mib_long profile) {
    char* field = record_bytes(&row) + name_offset(slots, slot);
    std::fill_n(field, slots.name_size, '\0');
    name.copy(field, slots.name_size);
    record_put(&row, ids_offset(slots) + slot, static_cast<uint8_t>(profile));
}

MIB_Flags_t slot_columns(const AutoFlowSlots& slots) {
    return gpon_cli_columns({slots.ids_column, slots.names_column});
}

// Whether the slot is taken, or another one has the name.
bool slot_exists(const AutoFlowSlots& slots, const ov_sPonTable_attr_t& row, size_t slot,
                 std::string_view name) {
    if (!slot_name(slots, row, slot).empty())
        return true;
    for (size_t other = 0; other < AUTO_FLOW_SLOTS; other++)
        if (slot_name(slots, row, other) == name)
            return true;
    return false;
}

int ov_onu_auto_flow_config_cli(CliCall& call) {
    const AutoFlowSlots& slots = slots_of(call.words);
    const size_t slot = slot_of(call.words);
    const std::string_view name = call.words.text("STRING");
    const ov_sPonTable_attr_t* stored = port_row(call.vty);
    if (stored == nullptr || stored->sPonTableAutoFlow == SPONTABLEAUTOFLOW_DISABLE) {
        ov_refusal_because(
            "auto flow is off: onu auto-authentication enable auto-flow enable ... goes first");
        return call.fail("%%wrong operation, please enable auto flow firstly%s", KAVO_CLI_BAD_INPUT);
    }
    if (name.size() < slots.shortest || name.size() > slots.name_size)
        return call.fail(slots.bad_name, KAVO_CLI_BAD_INPUT);
    if (slot_exists(slots, *stored, slot, name)) {
        ov_refusal_because("the number or the name is taken: no onu-auto-flow %s N frees it", slots.keyword);
        return call.fail(slots.existed, KAVO_CLI_BAD_INPUT);
    }
    const mib_long profile = profile_id_or_tell(call, "srv-profile");
    if (profile == 0)
        return KAVO_CLI_BAD_INPUT;
    ov_sPonTable_attr_t row = *stored;
    put_slot(slots, row, slot, name, profile);
    return edit_port(call, row, slot_columns(slots), AUTO_FLOW_FAILED);
}

int ov_no_onu_auto_flow_config_cli(CliCall& call) {
    if (call.words.has("sfu") || call.words.has("hgu"))
        return set_profile_of_kind(call, 0, AUTO_FLOW_DEL_FAILED);
    const ov_sPonTable_attr_t* stored = port_row(call.vty);
    if (stored == nullptr) {
        ov_refusal_because("the port has no row");
        return call.fail(AUTO_FLOW_DEL_FAILED);
    }
    const AutoFlowSlots& slots = slots_of(call.words);
    ov_sPonTable_attr_t row = *stored;
    put_slot(slots, row, slot_of(call.words), "", 0);
    return edit_port(call, row, slot_columns(slots), AUTO_FLOW_DEL_FAILED);
}

// ---- rogue ONUs --------------------------------------------------------------------------------------

// The stage is the card's and is asked for each time.
int ov_show_rogue_onu_detect_state_cli(CliCall& call) {
    ov_sPonTable_attr_t row = port_key(call.vty);
    if (!mib_access(MIB_GET, row, gpon_cli_columns({column::sPonTableRogueOnuDetectState})))
        return call.fail("%%Failed to get port info %s");
    const mib_long stage = row.sPonTableRogueOnuDetectState;
    if (const char* text = ov_app_gpon_rogue_stage_text(stage))
        call.line("%s%s", ov_app_gpon_rogue_stage_label(stage), text);
    return 0;
}

// Only such a port takes a limit for the single copy.
bool has_hierarchical_scheduler(const void* row) {
    const auto& port = *static_cast<const ov_sPonTable_attr_t*>(row);
    int model = OV_QOS_SCHED_SIMPLE;
    return ov_app_qos_port_model_get_by_ifindex(port_ifindex_of(port), &model) == OV_QOS_OK &&
           model == OV_QOS_SCHED_HIERARCHY;
}

using namespace cli_objects;
using namespace sPonTable_column;
const CliCommand port_cmds[] = {
#include "commands/pon_port.def"
};

// ---- the saved configuration -------------------------------------------------------------------------

// The name of a service profile, empty for an id that none has or a name that no command could hold.
std::string profile_name(mib_long id) {
    ov_sOnuSrvProfileTable_attr_t key = {};
    key.onuSrvProfileId = static_cast<mib_ulong>(id);
    const auto* profile = id != 0 ? find_row(key) : nullptr;
    if (profile == nullptr || !gpon_config_is_word(profile->onuSrvProfileName))
        return "";
    return profile->onuSrvProfileName;
}

// What learnt ONUs get by default, empty for nothing: its line is what switches auto flow on.
std::string auto_flow_profile(const ov_sPonTable_attr_t& port) {
    return port.sPonTableAutoFlow != 0 ? profile_name(port.sPonTableSrvProfileID) : "";
}

int print_authentication(struct vty* vty, const ov_sPonTable_attr_t& port, const char* nl) {
    const std::string profile = auto_flow_profile(port);
    if (!profile.empty()) {
        vty_out(vty, " onu auto-authentication enable auto-flow enable def-srv-profile %s%s%s",
                profile.c_str(), port.sPonTableAutoFlowConfigOnuNode != 0 ? " configure_onu_node enable" : "",
                nl);
        return 1;
    }
    if (port.sPonTableAutoLearn == 0)
        return 0;
    vty_out(vty, " onu auto-authentication enable%s", nl);
    return 1;
}

int print_kind(struct vty* vty, const char* kind, mib_long profile_id, const char* nl) {
    const std::string profile = profile_name(profile_id);
    if (profile.empty())
        return 0;
    vty_out(vty, " onu-auto-flow %s srv-profile %s%s", kind, profile.c_str(), nl);
    return 1;
}

// Whether a command can fill the slot once the slots before it are filled.
bool has_slot_form(const AutoFlowSlots& slots, const ov_sPonTable_attr_t& port, size_t slot) {
    const std::string name(slot_name(slots, port, slot));
    for (size_t other = 0; other < slot; other++)
        if (slot_name(slots, port, other) == name)
            return false;
    return name.size() >= slots.shortest && gpon_config_is_word(name.c_str());
}

int print_slots(struct vty* vty, const AutoFlowSlots& slots, const ov_sPonTable_attr_t& port,
                const char* nl) {
    int lines = 0;
    if (auto_flow_profile(port).empty())
        return 0;
    for (size_t slot = 0; slot < AUTO_FLOW_SLOTS; slot++) {
        const std::string name(slot_name(slots, port, slot));
        const std::string profile = profile_name(slot_profile(slots, port, slot));
        if (profile.empty() || !has_slot_form(slots, port, slot))
            continue;
        vty_out(vty, " onu-auto-flow %s %d %s srv-profile %s%s", slots.keyword, static_cast<int>(slot) + 1,
                name.c_str(), profile.c_str(), nl);
        lines++;
    }
    return lines;
}

// Auto flow has no command of its own to switch it on, and its slots can't be filled without: on a port that
// has it but learns no ONUs it is switched on with the learning, and the learning off again behind the slots.
int print_auto_flow(struct vty* vty, const ov_sPonTable_attr_t& port, const char* nl) {
    const int authentication = print_authentication(vty, port, nl);
    int lines = authentication;
    lines += print_kind(vty, "sfu", port.sPonTableSfuSrvProfile, nl);
    lines += print_kind(vty, "hgu", port.sPonTableHguSrvProfile, nl);
    lines += print_slots(vty, VENDOR_SLOTS, port, nl);
    lines += print_slots(vty, MODEL_SLOTS, port, nl);
    if (authentication == 0 || port.sPonTableAutoLearn != 0)
        return lines;
    vty_out(vty, " onu auto-authentication disable%s", nl);
    return lines + 1;
}

} // namespace

int ov_gpon_cli_pon_port_basic_cfg(struct vty* vty, const ov_sPonTable_attr_t& port) {
    return cli_settings_print(vty, pon_port, &port, IF_GPON_NODE);
}

int ov_gpon_cli_pon_port_learning_cfg(struct vty* vty, const ov_sPonTable_attr_t& port) {
    return print_auto_flow(vty, port, kavo_newline(vty));
}

// The switch of a port's optical alarms is a manager's: no node has a command for it, and a line that no
// command takes would end the replay of the port's block.
int ov_gpon_cli_pon_port_threshold_alarm_cfg(struct vty* /*vty*/, const ov_sPonTable_attr_t& /*port*/) {
    return 0;
}

void gpon_port_cli_init() {
    cli_install(port_cmds);
}
