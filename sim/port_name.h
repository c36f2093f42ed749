// Interface indexes and the names people use for them: "gpon-olt1/3", "ge1/1", "xe1/2", "gpon-onu1/3:12".
//
// An index packs kind (5 bits), shelf (1, always 1 here), slot (5), card (2), port (4, from 0), subport (8;
// the ONU number from 0) and 7 bits that are 0 for these kinds.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Slot 1-31, port 1-16, ONU 1-256. Nothing for any other text.
std::optional<uint32_t> ifindex_of_port(std::string_view name);

// Empty for an index of another kind, or one whose unused fields aren't 0.
std::string port_of_ifindex(uint32_t ifindex);
