// What a copy of a service profile copies: the tables in their order, how a row of each reaches an ONU, and
// what is said when it can't.
//
// Main loop only.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "mmg_access.h"
#include "ov_app_gpon_onusrv_batch_config.h"
#include "sOnuTable.h"

struct BatchLine;

// A template row as it stood when the copy began.
struct BatchRow {
    const BatchLine* line;
    std::vector<std::byte> record;
    MIB_Flags_t columns; // of it that are copied
};

struct BatchLine {
    // Adds the template rows that the table has of a service profile.
    void (*collect)(const BatchLine& line, mib_ulong profile, std::vector<BatchRow>& rows);
    // Gives a row to the ONU of this index. What has failed: the line's error, or one of the function's own.
    ov_gpon_config_error_t (*give)(const BatchRow& row, const ov_sOnuTable_attr_t& onu);
    ov_gpon_config_error_t error;
    // Logged for a row that an ONU has refused: a "%d" for each of the first index columns of the ONU's row.
    const char* text;
};

// In the order of the copy: what a row refers to comes in front of it.
std::span<const BatchLine> ov_gpon_batch_lines();

// The text of the line for a row that was to go to this ONU.
std::string ov_gpon_batch_failure_text(const BatchRow& row, const ov_sOnuTable_attr_t& onu);
