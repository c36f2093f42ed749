// What the agent library has registered, as areas of the tree of object identifiers.
//
// They follow on each other without a gap: a table of ours, something else, or nothing at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class TableModule;

struct SnmpArea {
    enum class Kind : uint8_t { EMPTY, TABLE, FOREIGN };

    std::vector<uint32_t> start; // the first name in it; a table's own OID
    std::vector<uint32_t> end;   // the first behind it
    Kind kind;
    TableModule* module; // of a table, else null
};

// All of them in their order, as they stand now; good until the next call. Event loop's thread.
std::span<const SnmpArea> snmp_areas();
// The number of the area with this name, or of the next one behind it; their count at the end. `likely` is
// looked at first.
size_t snmp_area_from(std::span<const SnmpArea> areas, std::span<const uint32_t> name, size_t likely);
