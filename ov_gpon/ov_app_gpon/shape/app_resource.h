// Set callbacks of rows that count as one object of their line card each.
#pragma once

#include "app_rows.h"
#include "app_set_callback.h"
#include "ov_gpon.h"

// Takes back, when the card refused, what the check had counted: gives back what a create took, takes again
// what a delete gave back. Template rows count nowhere.
template <ov_gpon_attr_index_t resource, typename Row>
void take_back_one(RowChange<Row>& change) {
    const Row& row = change.row;
    if (is_template_row(row))
        return;
    if (change.creates())
        ov_gpon_resource_release(resource, row.slotID, row.portID, 1);
    else if (change.deletes())
        ov_gpon_resource_reserve(resource, row.slotID, row.portID, 1);
}
