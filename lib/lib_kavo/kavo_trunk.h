// The daemon's trunks (link aggregation groups), 1 to 16. Event loop's thread only.
#pragma once

#include <cstdint>

inline constexpr uint32_t TRUNK_MIN = 1;
inline constexpr uint32_t TRUNK_MAX = 16;
inline constexpr int TRUNK_NAME_SIZE = 20;

// A trunk; lives as long as the daemon once it is made.
struct trunk_t {
    uint32_t tid;
    char name[TRUNK_NAME_SIZE]; // "trunk<tid>"
};

// The trunk of a name as if_extend_trunk writes it ("trunk1" to "trunk16"), made when it is first asked
// for. Null for any other name.
trunk_t* trunk_get_by_name(const char* name);
