// Rows of which an owner has several, each under a number that the cards' records hold in a byte: the WAN
// connections of an ONU, its wireless networks. They are there when somebody has made them, also for an ONU
// that is still to come.
//
//     constexpr RmNumbered<Row> NUMBERED = {"wan", &Row::sRmWanIndex, DOORS};
//
// Main loop only.
#pragma once

#include "app_index.h"
#include "ov_app_gpon_rm_owner.h"

inline constexpr int RM_NUMBER_MAX = 255;

template <typename Row>
struct RmNumbered {
    const char* word; // as log lines have it
    mib_ulong Row::*number;
    RmDoors<Row> doors;

    // The door of the commands: OV_GPON_RET_EXISTED behind a log line for a row that is there, else as doors.
    int add(Row* attr, MIB_Flags_t* flag, int is_need_check) const {
        if (attr != nullptr && find_stored_row(*attr) != nullptr) {
            ov_refusal_because("%s %u is there already", word, static_cast<unsigned>(attr->*number));
            OV_LOG_ERROR("MMG", "%sIndex[%d] exist", word, static_cast<int>(attr->*number));
            return OV_GPON_RET_EXISTED;
        }
        return doors.add(attr, flag, is_need_check != 0 ? MIB_SET : MIB_SET_N);
    }

    // May a row of this owner be written so? Nothing is asked of an ONU but a place that it can have.
    bool admits(const Row& row, int action) const {
        constexpr RmOwnerRules RULES = {.onu_exists = false, .blank_before_bind = true};
        if (!has_owner_index(row)) {
            OV_LOG_ERROR("MMG", "onu id %d is not exist", row.onuId);
            return ov_refusal_because("no ONU gpon-onu%d/%d:%d", row.slotID, row.portID, row.onuId);
        }
        if (!fits(row.*number, RM_NUMBER_MAX)) {
            OV_LOG_ERROR("MMG", "wrong %sIndex[%d]", word, static_cast<int>(row.*number));
            return ov_refusal_because("a %s has a number from 1 to %d", word, RM_NUMBER_MAX);
        }
        return ov_app_gpon_rm_owner_admits(row, action, RULES);
    }
};
