// Protection groups on a line card: two of its PON ports end at one splitter (ITU-T G.984.1 type B), so both
// see the same ONUs, and the one in service carries them. The card switches when that one loses its light, or
// when it is told.
//
// An ONU is plugged into one of the two ports; it moves with the service and is ranged anew. A port without
// light carries nothing.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "card_frame.h"
#include "onu.h"

class Protection {
public:
    Protection(Onus& onus, Onus::Report report) : onus_(onus), report_(std::move(report)) {}

    // The card was told of a group.
    void follow(const CardRequest& request);
    // The fibre of a PON port is cut, or mended. A port that has taken over keeps the service.
    void cut(uint32_t port);
    void mend(uint32_t port);
    bool is_cut(uint32_t port) const { return cut_.contains(port); }
    // The card starts afresh; fibres stay as they are.
    void restart() { groups_.clear(); }

private:
    struct Group {
        uint32_t active;
        uint32_t standby;
    };

    Group* group_of(uint32_t port);
    void switch_over(Group& group);
    void switch_over_by_itself(Group& group);

    Onus& onus_;
    Onus::Report report_;
    std::map<std::string, Group> groups_; // by name
    std::set<uint32_t> cut_;
};
