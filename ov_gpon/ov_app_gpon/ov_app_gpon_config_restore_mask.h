// Which attributes of a record a restore sets: those whose columns differ from what a create gives.
//
// A rule is a list of conditions, or the map from columns to attributes that the table's own callbacks use.
// It is called like a function: ov_pon_port_table_attr_mask_get(&row).
#pragma once

#include <cstdint>
#include <span>

#include "ov_hal_gpon_msg.h"

enum class MaskWhen : uint8_t {
    DIFFERS,  // from the column's value at creation
    NOT_ZERO, // whatever the value at creation
    ZERO,
    IN_RANGE, // low to high
};

// The attribute counts when its column is so.
struct MaskCondition {
    uint8_t attribute; // OV_GPON_*_ATTR_INDEX_*
    uint8_t column;    // number in the table
    MaskWhen when = MaskWhen::DIFFERS;
    int32_t low = 0;
    int32_t high = 0;
};

struct MaskRule {
    int table = -1;                          // registry index
    std::span<const MaskCondition> listed{}; // the conditions, or else:
    std::span<const uint8_t> map{};          // attribute of each column that differs from its creation value
    uint8_t no_attribute = 0;                // in the map: a column without attribute

    // The mask of a row of the table; 0 for a rule without conditions.
    ov_bmp_t operator()(const void* row) const;
};

// The rule of a table by its column map, whose columns without attribute hold `no_attribute`.
constexpr MaskRule columns_against_defaults(int table, std::span<const uint8_t> map, uint8_t no_attribute) {
    return {.table = table, .map = map, .no_attribute = no_attribute};
}

extern const MaskRule ov_pon_port_table_attr_mask_get;
extern const MaskRule ov_onu_table_attr_mask_get;
extern const MaskRule ov_gemport_table_attr_mask_get;
extern const MaskRule ov_serviceport_table_attr_mask_get;
extern const MaskRule ov_onu_qos_table_attr_mask_get;
extern const MaskRule ov_rm_queue_schedule_attr_mask_get;
