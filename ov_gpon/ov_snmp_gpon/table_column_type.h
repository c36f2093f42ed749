// The types of COLUMN and INDEX lines in a table description (tables/<table>.def).
#pragma once

#include <cstdint>
#include <netinet/in.h>

#include "ov_types.h"
#include "table_desc.h"

// How a value is stored, what it is, and N of a text or binary.
namespace column_type {
struct INT {
    using storage = mib_long;
    static constexpr ColType type = ColType::INT;
    static constexpr uint16_t limit = 0;
};
struct UINT {
    using storage = mib_ulong;
    static constexpr ColType type = ColType::UINT;
    static constexpr uint16_t limit = 0;
};
struct COUNTER64 {
    using storage = uint64_t;
    static constexpr ColType type = ColType::COUNTER64;
    static constexpr uint16_t limit = 0;
};
struct IPADDR {
    using storage = in_addr_t;
    static constexpr ColType type = ColType::IPADDR;
    static constexpr uint16_t limit = 0;
};
// At most N bytes of text. The field has one byte more, for the terminator: managers may use all N.
template <uint16_t N>
struct TEXT {
    using storage = char[N + 1];
    static constexpr ColType type = ColType::TEXT;
    static constexpr uint16_t limit = N;
};
// Exactly N bytes: a MAC address, a bit map, a list of numbers.
template <uint16_t N>
struct BIN {
    using storage = unsigned char[N];
    static constexpr ColType type = ColType::BIN;
    static constexpr uint16_t limit = N;
};
struct ROWSTATUS {
    using storage = mib_long;
    static constexpr ColType type = ColType::ROWSTATUS;
    static constexpr uint16_t limit = 0;
};
} // namespace column_type
