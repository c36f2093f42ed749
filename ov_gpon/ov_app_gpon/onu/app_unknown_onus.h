// ONUs that wait unconfigured (sOnuInitTable), looked up by what they show of themselves and by their port.
// The index is made anew when the table has changed. Main loop only.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "sOnuInitTable.h"
#include "sOnuTable.h"

class UnknownOnus {
public:
    // Those that show the serial number, password or logical id by which a configured ONU is known, on
    // whatever port; null for none.
    const std::vector<ov_sOnuInitTable_attr_t>* like(const ov_sOnuTable_attr_t& onu);
    // How many wait on the ONU's port, and the serial number of the first.
    std::pair<int, std::string> on_port_of(const ov_sOnuTable_attr_t& onu);

private:
    struct Port {
        int count = 0;
        std::string first_sn;
    };

    void refresh();
    void enter(const ov_sOnuInitTable_attr_t& row);

    std::unordered_map<std::string, std::vector<ov_sOnuInitTable_attr_t>> by_identity_;
    std::unordered_map<int64_t, Port> by_port_;
    std::optional<uint64_t> generation_; // of the table when the index was made
};
