// The end of a module's add, edit or del: one access to its table.
#pragma once

#include "app_rows.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_types.h"

// Runs a write of MIB_OPERATION on the row's table with these columns. 0, or OV_GPON_RET_BAD_PARAM behind a
// log line: "null pointer" for a missing row or missing columns, `failure` when the table refused. Main
// thread.
template <typename Row>
int write_row(int operation, Row* row, const MIB_Flags_t* columns, int appid, const char* failure) {
    if (row == nullptr || columns == nullptr) {
        OV_LOG_ERROR("MMG", "null pointer");
        return OV_GPON_RET_BAD_PARAM;
    }
    if (mib_access(operation, *row, *columns, appid))
        return OV_GPON_RET_OK;
    OV_LOG_ERROR("MMG", "%s", failure);
    ov_refusal_note_code(OV_GPON_RET_BAD_PARAM);
    return OV_GPON_RET_BAD_PARAM;
}
