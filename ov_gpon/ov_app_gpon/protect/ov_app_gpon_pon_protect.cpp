#include "ov_app_gpon_pon_protect.h"

#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "app_index.h"
#include "app_restore_line.h"
#include "app_set_callback.h"
#include "app_write_row.h"
#include "kavo_if.h"
#include "ov_app_gpon_if.h"
#include "ov_app_gpon_pon_protect_copy.h"
#include "ov_app_gpon_pon_protect_mirror.h"
#include "ov_app_gpon_pon_protect_roles.h"
#include "ov_app_gpon_port_config.h"
#include "sOnuTable.h"
#include "sPonTable.h"
#include "servicePortTable.h"
#include "table_snmp_ahead.h"

int gpon_protect_appid = 0;

using namespace pon_protect;

namespace {

using Group = ov_portProtectTable_attr_t;
namespace column = portProtectTable_column;

// ---- roles ------------------------------------------------------------------------------------------------

// A group that no card has taken has no port in service, and its ports no roles.
void give_roles_of_stored_groups() {
    for (const Group& group : all_rows<Group>()) {
        const auto active = static_cast<ov_ifindex_t>(group.ppActivePort);
        if (!is_member(group, active))
            continue;
        give_roles(group);
        set_port_in_service(group, active);
    }
}

constexpr uif_pon_protect_queries QUERIES = {
    .is_member = [](ov_ifindex_t port) { return role_of(port) != OV_PON_PROTECT_PON_STATUS_NONE; },
    .pair_port =
        [](ov_ifindex_t port) {
            const ov_ifindex_t pair =
                ov_pon_protect_group_get_pair_port_index(slot_of(port), number_of(port));
            return pair != 0 ? pair : OV_IFINDEX_INVALID;
        },
    .is_protect = [](ov_ifindex_t port) { return role_of(port) == OV_PON_PROTECT_PON_STATUS_PROTECTING; },
    .is_work = [](ov_ifindex_t port) { return role_of(port) == OV_PON_PROTECT_PON_STATUS_WORKING; },
};

// ---- what two ports must be -------------------------------------------------------------------------------

// Why two ports can't become a group.
struct Obstacle {
    const char* line; // for the log, with "%s" for the group's name or without; null for none
    const char* because;
};
using Found = std::optional<Obstacle>;

bool is_pon_port(ov_ifindex_t port) {
    return ov_ifindex_get_port_type(port) == PORT_TYPE_GPON &&
           has_port_index(port_key_of_ifindex<ov_sPonTable_attr_t>(port));
}

Found not_free(const Group& group) {
    if (protect_group_copy_is_over(group) ||
        (role_of(working_port(group)) == OV_PON_PROTECT_PON_STATUS_NONE &&
         role_of(protecting_port(group)) == OV_PON_PROTECT_PON_STATUS_NONE))
        return std::nullopt;
    return Obstacle{"this pon protect group member have added", "a port is in a group already"};
}

Found not_two(const Group& group) {
    if (working_port(group) != protecting_port(group))
        return std::nullopt;
    return Obstacle{"this pon protect group %s can not use the same port", "a port can't protect itself"};
}

Found not_on_one_card(const Group& group) {
    if (slot_of(working_port(group)) == slot_of(protecting_port(group)))
        return std::nullopt;
    return Obstacle{"this pon protect group %s is not using the same card", "both ports must be on one card"};
}

// An index that names no port would reach the card as that of another one.
Found not_pon_ports(const Group& group) {
    if (is_pon_port(working_port(group)) && is_pon_port(protecting_port(group)))
        return std::nullopt;
    return Obstacle{nullptr, "both must be PON ports"};
}

Found not_named(const Group& group) {
    if (group.ppGroupName[0] != '\0')
        return std::nullopt;
    return Obstacle{"ppGroupName is empty", "the group has no name"};
}

Found has_onus(const Group& group) {
    const auto port = port_key_of_ifindex<ov_sOnuTable_attr_t>(protecting_port(group));
    if (!protect_group_copy_is_over(group))
        for ([[maybe_unused]] const auto& onu : rows_under(port, INDEX_TO_PORT))
            return Obstacle{"the protect group %s :  protect pon port have onu added",
                            "the protecting port has ONUs"};
    return std::nullopt;
}

// Addresses move between the two ports at each switch-over.
Found has_fixed_addresses(const Group& group) {
    const auto port = port_key_of_ifindex<ov_servicePortTable_attr_t>(working_port(group));
    for (const auto& service : rows_under(port, INDEX_TO_PORT))
        if (service.servicePortMacmove == SERVICEPORTMACMOVE_DISABLE)
            return Obstacle{"the protect group %s :  work pon port have servicePort mac-move is disable",
                            "a service port of the working port doesn't let addresses move"};
    return std::nullopt;
}

Found not_blank(const Group& group) {
    if (protect_group_copy_is_over(group) ||
        ov_app_gpon_olt_table_params_is_default_check(protecting_port(group)) == 1)
        return std::nullopt;
    return Obstacle{nullptr, "the protecting port isn't at its defaults"};
}

// The first one.
Found obstacle_of(const Group& group) {
    for (const auto find : {not_free, not_two, not_on_one_card, not_pon_ports, not_named, has_onus,
                            has_fixed_addresses, not_blank})
        if (const Found found = find(group))
            return found;
    return std::nullopt;
}

bool may_be_made(const Group& group) {
    const Found obstacle = obstacle_of(group);
    if (!obstacle)
        return true;
    ov_refusal_because("%s", obstacle->because);
    if (obstacle->line == nullptr)
        return false;
    std::string line = obstacle->line;
    if (const size_t name = line.find("%s"); name != std::string::npos)
        line.replace(name, strlen("%s"), group.ppGroupName);
    OV_LOG_ERROR("MMG", "%s", line.c_str());
    return false;
}

// Any other command switches over too.
bool changes_port_in_service(const Group& group) {
    const ov_ifindex_t active = ov_app_gpon_protect_group_active_port(group);
    if (group.ppExternalCommand == PPEXTERNALCOMMAND_MSW && active == working_port(group))
        return ov_refusal_because_of(column::ppExternalCommand, "the working port is in service already");
    if (group.ppExternalCommand == PPEXTERNALCOMMAND_MSP && active == protecting_port(group))
        return ov_refusal_because_of(column::ppExternalCommand, "the protecting port is in service already");
    return true;
}

// ---- the steps of the set callback ------------------------------------------------------------------------

using Change = RowChange<Group>;

bool copy_for_new_group(Change& change) {
    if (change.creates() && !protect_group_copy_is_over(change.row))
        ov_app_gpon_port_config_copy(working_port(change.row), protecting_port(change.row));
    return true;
}

// One that was copied ahead is cleared by who did it.
void clear_for_refused_group(Change& change) {
    if (change.creates() && !protect_group_copy_is_over(change.row))
        ov_app_gpon_port_config_clear(protecting_port(change.row));
}

void follow_create(Group& group) {
    ov_app_gpon_new_ppgroup_if(working_port(group), protecting_port(group));
    group.ppActivePort = group.ppWorkPonIfindex;
    set_active(working_port(group), true);
    give_roles(group);
}

// Whatever the command was: cards have switched by now.
void follow_switch(Group& group) {
    const ov_ifindex_t port = ov_app_gpon_protect_group_standby_port(group);
    group.ppActivePort = static_cast<mib_long>(port);
    set_port_in_service(group, port);
}

void follow_delete(const Group& group) {
    ov_app_gpon_del_ppgroup_if(working_port(group), protecting_port(group));
    take_roles(group);
}

int follow(Change& change) {
    if (change.creates())
        follow_create(change.row);
    else if (change.deletes())
        follow_delete(change.row);
    else
        follow_switch(change.row);
    return SET_ACCEPTED;
}

// ---- a manager's group ------------------------------------------------------------------------------------

bool begin_for_manager(const void* row, const MIB_Flags_t& /*columns*/, std::function<void()> ready) {
    const Group& group = *static_cast<const Group*>(row);
    if (table_of<Group>::module().row_mode(row) != MODE_CRE || obstacle_of(group))
        return false;
    return protect_group_copy_begin(group, std::move(ready));
}

void end_for_manager(const void* row) {
    protect_group_copy_end(*static_cast<const Group*>(row), [] {});
}

constexpr SnmpAhead AHEAD = {.begin = begin_for_manager, .end = end_for_manager};

// ---- what doors and callbacks share ----------------------------------------------------------------------

int refused(const char* why) {
    OV_LOG_ERROR("MMG", "%s", why);
    return OV_GPON_RET_BAD_PARAM;
}

using Row = Group;
using Record = ov_gpon_protect_group_attr_t;
constexpr MapLine GROUP_LINES[] = {
    UNMASKED(ppGroupName, name),
    WIRE_ONLY(ifindex_work_pon, ov_app_gpon_protect_group_active_port),
    WIRE_ONLY(ifindex_stdby_pon, ov_app_gpon_protect_group_standby_port),
    UNMASKED(ppProtectType, type),
};

} // namespace

constinit const MessageMap<ov_portProtectTable_attr_t, ov_gpon_protect_group_attr_t>
    pon_protect_map(GROUP_LINES);
RESTORE(pon_protect, SPORTPROTECT, OV_HAL_MSG_GPON_PON_PROTECT, pon_protect_map, CREATED)

void ov_app_gpon_pon_protect_init() {
    gpon_protect_appid = AssignAppId();
    const CallbackRegistration app = {"app_pon_protect", gpon_protect_appid,
                                      "mib set error for app_pon_optic table"};
    app.add(SPORTPROTECT, CALLBACK_SET, ov_pon_protect_table_set_callback,
            columns_of(column::ppExternalCommand, column::portProtectRowStatus));
    app.add(SPORTPROTECT, CALLBACK_CHECK, ov_pon_protect_table_set_check_callback,
            columns_of(column::ppWorkPonIfindex, column::ppProtectPonIfindex));
    ov_pon_protect_group_pon_status_init();
    give_roles_of_stored_groups();
    uif_set_pon_protect_queries(&QUERIES);
    snmp_ahead_register(SPORTPROTECT, AHEAD);
    ov_app_pon_protect_group_sync_init();
}

// ---- doors ------------------------------------------------------------------------------------------------

namespace {

bool names_all(const MIB_Flags_t& columns) {
    for (const unsigned needed : {column::ppGroupName, column::ppWorkPonIfindex, column::ppProtectPonIfindex})
        if (!mib_flag_is_set(columns, needed))
            return ov_refusal_because("a group needs a name and two ports");
    return true;
}

// Unless somebody has made it meanwhile.
int add_behind_copy(Group& group, MIB_Flags_t& columns) {
    if (find_row(group) != nullptr)
        return refused("mib add error for gpon protect group table");
    return ov_app_gpon_protect_group_add(&group, &columns);
}

} // namespace

int ov_app_gpon_protect_group_add_start(const ov_portProtectTable_attr_t& attr, const MIB_Flags_t& flag,
                                        std::function<void(int)> done) {
    Group group = attr;
    MIB_Flags_t columns = flag;
    if (!names_all(columns) || find_row(group) != nullptr)
        return ov_app_gpon_protect_group_add(&group, &columns);
    if (!may_be_made(group))
        return refused("mib add error for gpon protect group table");
    const bool has_begun =
        protect_group_copy_begin(group, [group, columns, done = std::move(done)]() mutable {
            const int result = add_behind_copy(group, columns);
            protect_group_copy_end(group, [done = std::move(done), result] { done(result); });
        });
    return has_begun ? OV_GPON_RET_OK : refused("mib add error for gpon protect group table");
}

int ov_app_gpon_protect_group_add(ov_portProtectTable_attr_t* attr, MIB_Flags_t* flag) {
    if (attr == nullptr || flag == nullptr)
        return refused("null pointer");
    if (!names_all(*flag))
        return refused("missing parameter");
    attr->portProtectRowStatus = OVRA_CREATEANDGO;
    mib_flag_set(*flag, column::portProtectRowStatus);
    return write_row(MIB_SET, attr, flag, gpon_protect_appid, "mib add error for gpon protect group table");
}

int ov_app_gpon_protect_group_edit(ov_portProtectTable_attr_t* attr, MIB_Flags_t* flag) {
    if (attr == nullptr || flag == nullptr)
        return refused("null pointer");
    return mib_access(MIB_SET, *attr, *flag, gpon_protect_appid) ? OV_GPON_RET_OK : OV_GPON_RET_BAD_PARAM;
}

int ov_app_gpon_protect_group_del(ov_portProtectTable_attr_t* attr) {
    return write_row(MIB_DEL, attr, &mibDefFlags, gpon_protect_appid, "mib del error for gpon protect table");
}

int ov_app_gpon_protect_group_getId(const char* groupName, mib_long* groupId) {
    for (const Group& group : all_rows<Group>())
        if (groupName != nullptr && groupId != nullptr && std::strcmp(group.ppGroupName, groupName) == 0) {
            *groupId = group.ppGroupId;
            return 1;
        }
    return 0;
}

namespace {

// The group that has a port in service which is one of these two.
std::optional<Group> group_that_switched(const ov_gpon_pon_protect_group_attr_t& event) {
    Group group = {};
    for (int operation = MIB_GETFIRST_S; mib_access(operation, group); operation = MIB_GETNEXT_S) {
        const auto active = static_cast<ov_ifindex_t>(group.ppActivePort);
        if (is_member(group, active) &&
            (active == event.ActivePonIfindex.value() || active == event.StandbyPonIfindex.value()))
            return group;
    }
    return std::nullopt;
}

} // namespace

void ov_app_gpon_pon_protect_status_switch_set(ov_gpon_pon_protect_group_attr_t* attr) {
    auto group = group_that_switched(*attr);
    const ov_ifindex_t active = attr->ActivePonIfindex;
    if (!group || !is_member(*group, active))
        return;
    group->ppActivePort = static_cast<mib_long>(active);
    mib_access(MIB_SET_S, *group, columns_of(column::ppActivePort), gpon_protect_appid);
    set_port_in_service(*group, active);
}

// ---- rules ------------------------------------------------------------------------------------------------

int ov_app_gpon_protect_group_check(ov_portProtectTable_attr_t* attr, int action, MIB_Flags_t flag) {
    if (action == OV_HAL_GPON_MSG_ACTION_CREATE)
        return may_be_made(*attr) ? 1 : 0;
    const bool commands =
        action == OV_HAL_GPON_MSG_ACTION_SET && mib_flag_is_set(flag, column::ppExternalCommand);
    return !commands || changes_port_in_service(*attr) ? 1 : 0;
}

ov_ifindex_t ov_app_gpon_protect_group_active_port(const ov_portProtectTable_attr_t& group) {
    const auto active = static_cast<ov_ifindex_t>(group.ppActivePort);
    return is_member(group, active) ? active : working_port(group);
}

ov_ifindex_t ov_app_gpon_protect_group_standby_port(const ov_portProtectTable_attr_t& group) {
    return other_port(group, ov_app_gpon_protect_group_active_port(group));
}

// ---- callbacks --------------------------------------------------------------------------------------------

int ov_pon_protect_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Group, ov_gpon_protect_group_attr_t> CALLBACK = {
        .message = OV_HAL_MSG_GPON_PON_PROTECT,
        .map = &pon_protect_map,
        .check = passes<ov_app_gpon_protect_group_check>,
        .reserve = copy_for_new_group,
        .follow = follow,
        .give_back = clear_for_refused_group,
        .failure = "set pon protect to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

// The ports have their roles, and the card the group: another port takes another group.
int ov_pon_protect_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    if (MibRowStatusGet(did, row) != MODE_CHG)
        return SET_ACCEPTED;
    ov_refusal_because("the ports of a group can't be changed");
    return SET_REFUSED;
}
