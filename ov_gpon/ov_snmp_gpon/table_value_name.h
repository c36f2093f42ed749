// Names of the numbers of an enumeration (RFC 2578, 7.1.1), from its column's description.
#pragma once

#include <algorithm>
#include <span>
#include <string>

#include "table_desc.h"

// Null for a number without a name.
inline const char* table_value_name(std::span<const ColName> names, int32_t value) {
    const auto found = std::find_if(names.begin(), names.end(),
                                    [value](const ColName& known) { return known.value == value; });
    return found != names.end() ? found->name : nullptr;
}

// The name, the number itself for one without.
inline std::string table_value_text(std::span<const ColName> names, int32_t value) {
    const char* name = table_value_name(names, value);
    return name != nullptr ? name : std::to_string(value);
}
