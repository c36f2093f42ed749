// Set callbacks of rows that count as one object of their line card each.
#pragma once

#include "app_rows.h"
#include "app_set_callback.h"
#include "ov_gpon.h"
#include "ov_hal_gpon_msg.h"

// Counts a change: a create takes one of its card, a delete gives one back. Template rows count nowhere.
// False for one too many or too few.
template <typename Row>
bool reserve_one(ov_gpon_attr_index_t resource, const Row& row, int action) {
    if (is_template_row(row))
        return true;
    if (action == OV_HAL_GPON_MSG_ACTION_CREATE)
        return ov_gpon_resource_reserve(resource, row.slotID, row.portID, 1) == KAVO_OK;
    if (action == OV_HAL_GPON_MSG_ACTION_DELETE)
        return ov_gpon_resource_release(resource, row.slotID, row.portID, 1) == KAVO_OK;
    return true;
}

// Takes that back, when the card refused: gives back what a create took, takes again what a delete gave back.
template <ov_gpon_attr_index_t resource, typename Row>
void give_back_one(RowChange<Row>& change) {
    const Row& row = change.row;
    if (is_template_row(row))
        return;
    if (change.creates())
        ov_gpon_resource_release(resource, row.slotID, row.portID, 1);
    else if (change.deletes())
        ov_gpon_resource_reserve(resource, row.slotID, row.portID, 1);
}
