// Which indexes a row may be created with. An object's interface index holds its numbers in a few bits each
// (ov_ifindex.h): a number beyond its field would name another object on the card, port 17 of a slot its
// port 1. T-CONTs go by their own number, of 32 bits, beside the index of their ONU.
#pragma once

#include <cstdint>

#include "app_rows.h"
#include "ov_gpon.h"

inline constexpr int GPON_ONU_MAX = 128;          // ids of ONUs, and of service profiles in their place
inline constexpr int GPON_GEMPORT_MAX = 128;      // 7 bits
inline constexpr int GPON_SERVICE_PORT_MAX = 128; // 7 bits

// Is it a number from 1 to max?
template <typename Number>
constexpr bool fits(Number number, int max) {
    return number >= 1 && static_cast<int64_t>(number) <= max;
}

// Of a PON port of the chassis.
template <typename Row>
bool has_port_index(const Row& row) {
    return row.shelfID == GPON_SHELF && fits(row.slotID, ov_gpon_maxslot_get()) &&
           fits(row.portID, ov_gpon_maxpon_get());
}

// Of an ONU.
template <typename Row>
bool has_onu_index(const Row& row) {
    return has_port_index(row) && fits(row.onuId, GPON_ONU_MAX);
}

// Of an ONU, or of a service profile in its place, for the rows that belong to either.
template <typename Row>
bool has_owner_index(const Row& row) {
    if (!is_template_row(row))
        return has_onu_index(row);
    return row.shelfID == GPON_SHELF && row.portID == GPON_TEMPLATE_PORT && fits(row.onuId, GPON_ONU_MAX);
}
