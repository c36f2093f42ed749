// The shelf types of the product line: which slot of each is for what. Product data without logic; a new
// shelf type is a new row.
#pragma once

#include <cstdint>

#include "ov_slot.h"

struct ov_shelf_layout {
    slot_bitmap_t line_cards;
    slot_bitmap_t control_cards;
    slot_bitmap_t uplink_cards;
    ov_shelf_config_t config;
};

// The bit of a slot; 0 for a number that is no slot.
constexpr slot_bitmap_t ov_slot_bit(uint32_t slot) {
    return slot >= 1 && slot <= OV_SLOT_MAX ? 1u << slot : 0;
}

bool ov_shelf_type_is_known(uint32_t shelf_type);
// The layout of a shelf type; that of the single board for an unknown one.
const ov_shelf_layout& ov_shelf_layout_get(uint32_t shelf_type);
