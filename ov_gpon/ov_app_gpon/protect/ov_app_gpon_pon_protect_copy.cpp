#include "ov_app_gpon_pon_protect_copy.h"

#include <map>
#include <memory>
#include <utility>

#include "app_rows.h"
#include "ov_app_gpon_pon_protect_roles.h"
#include "ov_app_gpon_port_config.h"
#include "ov_refusal.h"
#include "ov_types.h"

using namespace pon_protect;

namespace {

using Group = ov_portProtectTable_attr_t;

struct Copy {
    Group group;
    bool is_over = false;
    bool is_given_up = false;
};

// By the group's id.
std::map<mib_long, std::shared_ptr<Copy>>& copies() {
    static auto& under_way = *new std::map<mib_long, std::shared_ptr<Copy>>;
    return under_way;
}

// As a working port the one has its writes repeated; the other one takes them, and those of the copy, but is
// in no other group.
void hold_ports(const Group& group) {
    set_role(working_port(group), OV_PON_PROTECT_PON_STATUS_WORKING, protecting_port(group));
    set_active(working_port(group), true);
    set_role(protecting_port(group), OV_PON_PROTECT_PON_STATUS_ERR, working_port(group));
}

bool is_of_same_ports(const Group& a, const Group& b) {
    return a.ppWorkPonIfindex == b.ppWorkPonIfindex && a.ppProtectPonIfindex == b.ppProtectPonIfindex;
}

bool is_made(const Group& group) {
    const Group* stored = find_row(group);
    return stored != nullptr && is_of_same_ports(*stored, group);
}

// Of a group that its card doesn't know: it has none.
void take_roles_that_were_held(const Group& group) {
    if (role_of(protecting_port(group)) == OV_PON_PROTECT_PON_STATUS_ERR)
        take_roles(group);
}

} // namespace

bool protect_group_copy_begin(const ov_portProtectTable_attr_t& group, std::function<void()> copied) {
    if (copies().contains(group.ppGroupId))
        return ov_refusal_because("the group is being made already");
    const auto copy = std::make_shared<Copy>(Copy{.group = group});
    copies()[group.ppGroupId] = copy;
    hold_ports(group);
    ov_app_gpon_port_config_copy_start(
        working_port(group), protecting_port(group),
        [copy, copied = std::move(copied)] {
            if (copy->is_given_up)
                return;
            copy->is_over = true;
            copied();
        },
        [copy] { return !copy->is_given_up; });
    return true;
}

void protect_group_copy_end(const ov_portProtectTable_attr_t& group, std::function<void()> done) {
    const auto found = copies().find(group.ppGroupId);
    if (found == copies().end())
        return;
    const std::shared_ptr<Copy> copy = found->second;
    copies().erase(found);
    copy->is_given_up = true;
    take_roles_that_were_held(copy->group);
    if (is_made(copy->group))
        return done();
    if (ov_app_gpon_port_config_clear_start(protecting_port(copy->group), done) != OV_GPON_RET_OK)
        done();
}

bool protect_group_copy_is_over(const ov_portProtectTable_attr_t& group) {
    const auto found = copies().find(group.ppGroupId);
    return found != copies().end() && found->second->is_over && is_of_same_ports(found->second->group, group);
}
