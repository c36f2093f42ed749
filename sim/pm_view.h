// Counters of a line card as lines of "key=value" or as JSON.
#pragma once

#include <string>
#include <vector>

#include "card.h"

// A line for each object that has counted something, with what isn't 0, and one for each flow.
std::vector<std::string> pm_lines(const Card& card);
// The same of one ONU and its GEM ports, or of a port and its network side.
std::vector<std::string> pm_lines(const Card& card, uint32_t index);

// JSON objects, by message and then by place: {"OV_HAL_MSG_GPON_PM_PON": {"gpon-olt1/1": {"rx_gem": 1,
// ...}}}.
std::string pm_json(const Card& card);
std::string pm_json(const Card& card, uint32_t index);
// [{"target": "ABCD00000001 gem=1", "up": 10, ...}]
std::string pm_flows_json(const Card& card);
