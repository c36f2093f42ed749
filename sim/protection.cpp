#include "protection.h"

#include <cstring>
#include <utility>

#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "told.h"

namespace {

constexpr uint16_t PON_PROTECT_STATUS = 953;

} // namespace

Protection::Group* Protection::group_of(uint32_t port) {
    for (auto& [name, group] : groups_)
        if (group.active == port || group.standby == port)
            return &group;
    return nullptr;
}

// The record's working port is the one in service, also of a switch.
void Protection::follow(const CardRequest& request) {
    const auto told = record_of<ov_gpon_protect_group_attr_t>(request.record);
    const std::string name(told.name, strnlen(told.name, sizeof told.name));
    if (request.action == card_action::CREATE) {
        groups_[name] = {told.ifindex_work_pon, told.ifindex_stdby_pon};
        onus_.move_port(told.ifindex_stdby_pon, told.ifindex_work_pon);
    } else if (request.action == card_action::DELETE) {
        groups_.erase(name);
    } else if (const auto group = groups_.find(name); group != groups_.end()) {
        switch_over(group->second);
    }
}

void Protection::cut(uint32_t port) {
    if (!cut_.insert(port).second)
        return;
    Group* group = group_of(port);
    if (group && group->active == port && !is_cut(group->standby))
        switch_over_by_itself(*group);
    onus_.lose_port(port);
}

void Protection::mend(uint32_t port) {
    if (cut_.erase(port) == 0)
        return;
    onus_.recover_port(port);
    Group* group = group_of(port);
    if (group && group->standby == port && is_cut(group->active))
        switch_over_by_itself(*group);
}

void Protection::switch_over(Group& group) {
    std::swap(group.active, group.standby);
    onus_.move_port(group.standby, group.active);
}

void Protection::switch_over_by_itself(Group& group) {
    switch_over(group);
    ov_gpon_pon_protect_group_attr_t event{};
    event.ActivePonIfindex = group.active;
    event.StandbyPonIfindex = group.standby;
    report_(PON_PROTECT_STATUS, card_action::SET, {reinterpret_cast<const uint8_t*>(&event), sizeof event});
}
