#include "ov_shelf_layout.h"

#include <algorithm>
#include <array>

#include "ov_product.h"

namespace {

constexpr slot_bitmap_t slots(uint32_t first, uint32_t last) {
    slot_bitmap_t bitmap = 0;
    for (uint32_t slot = first; slot <= last; slot++)
        bitmap |= ov_slot_bit(slot);
    return bitmap;
}

constexpr std::array<ov_shelf_layout, 3> LAYOUTS = {{
    // The default comes first.
    {
        .line_cards = slots(1, 1), // one board is control and line card at once
        .control_cards = slots(1, 1),
        .uplink_cards = 0,
        .config =
            {
                .shelf_config_init = 1,
                .shelf_type = OV_SHELF_TYPE_SINGLE,
                .if_uplink_support = 0,
                .active_standby_mode = 0,
                .distribute_mode = 0,
                .sc1_slot_id = 1,
                .sc2_slot_id = 0,
                .uplink1_slot_id = 0,
                .uplink2_slot_id = 0,
                .pwr1_slot_id = 0,
                .pwr2_slot_id = 0,
                .fan_slot_id = 0,
                .bpcard_slot_id = 0,
                .min_slot_num = 1,
                .max_slot_num = 1,
                .max_smart_slot_id = 1,
            },
    },
    {
        .line_cards = slots(1, 7) | slots(10, 16),
        .control_cards = slots(8, 9),
        .uplink_cards = slots(17, 18),
        .config =
            {
                .shelf_config_init = 1,
                .shelf_type = OV_SHELF_TYPE_LC14,
                .if_uplink_support = 1,
                .active_standby_mode = 1,
                .distribute_mode = 1,
                .sc1_slot_id = 8,
                .sc2_slot_id = 9,
                .uplink1_slot_id = 17,
                .uplink2_slot_id = 18,
                .pwr1_slot_id = 19,
                .pwr2_slot_id = 20,
                .fan_slot_id = 21,
                .bpcard_slot_id = 22,
                .min_slot_num = 1,
                .max_slot_num = 22,
                .max_smart_slot_id = 16,
            },
    },
    {
        .line_cards = slots(1, 6),
        .control_cards = slots(7, 8),
        .uplink_cards = slots(9, 10),
        .config =
            {
                .shelf_config_init = 1,
                .shelf_type = OV_SHELF_TYPE_LC6,
                .if_uplink_support = 1,
                .active_standby_mode = 1,
                .distribute_mode = 1,
                .sc1_slot_id = 7,
                .sc2_slot_id = 8,
                .uplink1_slot_id = 9,
                .uplink2_slot_id = 10,
                .pwr1_slot_id = 11,
                .pwr2_slot_id = 12,
                .fan_slot_id = 13,
                .bpcard_slot_id = 14,
                .min_slot_num = 1,
                .max_slot_num = 14,
                .max_smart_slot_id = 8,
            },
    },
}};

const ov_shelf_layout* find_layout(uint32_t shelf_type) {
    const auto* found = std::find_if(LAYOUTS.begin(), LAYOUTS.end(), [shelf_type](const auto& layout) {
        return layout.config.shelf_type == shelf_type;
    });
    return found != LAYOUTS.end() ? found : nullptr;
}

} // namespace

bool ov_shelf_type_is_known(uint32_t shelf_type) {
    return find_layout(shelf_type) != nullptr;
}

const ov_shelf_layout& ov_shelf_layout_get(uint32_t shelf_type) {
    const ov_shelf_layout* layout = find_layout(shelf_type);
    return layout != nullptr ? *layout : LAYOUTS[0];
}
