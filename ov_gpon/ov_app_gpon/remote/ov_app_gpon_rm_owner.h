// What the tables behind an ONU share: whose rows they are, when they may be written, how they go with their
// owner, and the doors of the commands. A module states its share as data:
//
//     constexpr RmOwnerRules OWNER = {.templet_refuses = Writes::ALL};
//     constexpr OwnedRows<Row> OWNED = {.appid = &gpon_rmservice_appid, .failed = log_left, .stops = true};
//     constexpr RmDoors<Row> DOORS = {.table = "rm_service",
//                                     .appid = &gpon_rmservice_appid,
//                                     .status_column = column::sRmServiceTableRowStatus,
//                                     .status = &Row::sRmServiceTableRowStatus};
//
// and names them in its set callback and its functions:
//
//     .check = rm_owner_admits<OWNER, Row>,
//     .follow = rm_follow_on_pair<SYNC_RMONU_SERVICE, Row>,
//
// Main loop only.
#pragma once

#include <cstdint>
#include <cstdio>

#include "app_follow_rows.h"
#include "app_index.h"
#include "app_set_callback.h"
#include "app_write_row.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_pair.h"

// ---- when a row may be written ----------------------------------------------------------------------------

// Of which writes something is asked.
enum class Writes : uint8_t {
    NONE,
    EDITS,
    ALL_BUT_DELETES,
    ALL,
};

constexpr bool includes(Writes writes, int action) {
    switch (writes) {
    case Writes::EDITS:
        return action == OV_HAL_GPON_MSG_ACTION_SET;
    case Writes::ALL_BUT_DELETES:
        return action != OV_HAL_GPON_MSG_ACTION_DELETE;
    case Writes::ALL:
        return true;
    default:
        return false;
    }
}

// What a table asks of the owners of its rows. The usual: the ONU is there and, to have its rows edited,
// doesn't take its settings from a service profile; a profile is there and no ONU is bound to it.
struct RmOwnerRules {
    bool onu_exists = true;
    Writes templet_refuses = Writes::EDITS; // an ONU that takes its settings from a service profile
    Writes bound_refuses = Writes::ALL;     // a service profile that ONUs are bound to
    // Rows that come and go with their owner do so while it is on its way, as an owner that waits too.
    bool comes_with_owner = false;
    bool blank_before_bind = false; // "id %d bind %d times", and not "id %dbind %d times"
};

// May a row of this owner be written so? `action` is an OV_HAL_GPON_MSG_ACTION_*. False behind a log line.
template <typename Row>
bool ov_app_gpon_rm_owner_admits(const Row& row, int action, const RmOwnerRules& rules) {
    const OwnerRules asked = {
        .onu_exists = rules.onu_exists,
        .onu_sets_itself = includes(rules.templet_refuses, action),
        .profile_is_free = includes(rules.bound_refuses, action),
        .waiting_counts = rules.comes_with_owner && action != OV_HAL_GPON_MSG_ACTION_SET,
        .blank_before_bind = rules.blank_before_bind,
    };
    if (!ov_app_gpon_owner_admits(row, asked))
        return false;
    if (action != OV_HAL_GPON_MSG_ACTION_CREATE || rules.comes_with_owner || has_owner_index(row))
        return true;
    ov_refusal_because("index %d.%d.%d.%d is no place of an ONU or service profile", row.shelfID, row.slotID,
                       row.portID, row.onuId);
    OV_LOG_ERROR("MMG", "illega onu index:%d.%d.%d.%d:", row.shelfID, row.slotID, row.portID, row.onuId);
    return false;
}

// The same as the check of a set callback.
template <auto& rules, typename Row>
bool rm_owner_admits(RowChange<Row>& change) {
    return ov_app_gpon_rm_owner_admits(change.row, change.action, rules);
}

// Of a template row: the service profile is there. False behind a log line.
inline bool ov_app_gpon_rm_has_srvprofile(mib_long profile_id) {
    if (ov_app_gpon_srvprofile_of(profile_id) != nullptr)
        return true;
    ov_refusal_because("no service profile %d", profile_id);
    OV_LOG_ERROR("MMG", "srvprofile id %d is not exist", profile_id);
    return false;
}

// The check callback, `function` by its name: the rows of a protecting port follow those of its working port.
template <typename Row>
int rm_refuse_on_protecting_port(const void* row, const char* function) {
    char failed[96];
    std::snprintf(failed, sizeof failed, "%s failed", function);
    return ov_app_gpon_refuse_on_protecting_port(*static_cast<const Row*>(row), failed);
}

// The same for rows that come and go with another row, on the protecting port too: only their edits are
// refused.
template <typename Row>
int rm_refuse_edit_on_protecting_port(MIBDID did, void* row, const char* function) {
    return MibRowStatusGet(did, row) == MODE_CHG ? rm_refuse_on_protecting_port<Row>(row, function)
                                                 : SET_ACCEPTED;
}

// The last step of a set callback: the partner of a working port is written too.
template <auto table, typename Row>
int rm_follow_on_pair(RowChange<Row>& change) {
    return ov_app_gpon_follow_on_pair(table, change);
}

// ---- rows that go with their owner ------------------------------------------------------------------------

// The set callback on sOnuTable of rows that go with the ONU. When one has to stay, the ONU does too, behind
// the row's line and `left`.
template <typename Row>
int rm_rows_go_with_onu(const OwnedRows<Row>& owned, const char* left, MIBDID did, void* pending) {
    if (MibRowStatusGet(did, pending) != MODE_DEL ||
        remove_owned_rows(owned, *static_cast<const ov_sOnuTable_attr_t*>(pending)))
        return SET_ACCEPTED;
    OV_LOG_ERROR("MMG", "%s", left);
    return SET_REFUSED;
}

// The same on sOnuSrvProfileTable, for the template rows of a profile.
template <typename Row>
int rm_rows_go_with_profile(const OwnedRows<Row>& owned, const char* left, MIBDID did, void* pending) {
    const auto& profile = *static_cast<const ov_sOnuSrvProfileTable_attr_t*>(pending);
    if (MibRowStatusGet(did, pending) != MODE_DEL ||
        remove_owned_rows(owned, ov_app_gpon_template_owner(profile)))
        return SET_ACCEPTED;
    OV_LOG_ERROR("MMG", "%s", left);
    return SET_REFUSED;
}

// The same for rows that follow an ONU, one for each: a service profile has one too, which follows it.
template <typename Row>
int rm_row_follows_profile(const FollowRows<ov_sOnuTable_attr_t, Row>& rows, MIBDID did, void* pending) {
    const auto& profile = *static_cast<const ov_sOnuSrvProfileTable_attr_t*>(pending);
    const int there =
        followed_mode<ov_sOnuSrvProfileTable_attr_t>(nullptr, profile, MibRowStatusGet(did, pending), {});
    return there < 0 || follow_all(rows, ov_app_gpon_template_owner(profile), there == 1) ? SET_ACCEPTED
                                                                                          : SET_REFUSED;
}

// ---- doors ------------------------------------------------------------------------------------------------

// Add, edit and delete as commands call them: 0, or OV_GPON_RET_BAD_PARAM behind a log line, "null pointer"
// or "mib set error for <table> table" and its kin.
template <typename Row>
struct RmDoors {
    const char* table; // as its log lines call it
    const int* appid;
    unsigned status_column = 0; // of a table whose rows commands add
    mib_long Row::*status = nullptr;

    // By way of MIB_SET, or of the operation given: the row is created and in service at once.
    int add(Row* attr, MIB_Flags_t* flag, int operation = MIB_SET) const {
        if (attr != nullptr && flag != nullptr) {
            attr->*status = OVRA_CREATEANDGO;
            mib_flag_set(*flag, status_column);
        }
        return write(operation, "add", attr, flag);
    }
    int edit(Row* attr, MIB_Flags_t* flag) const { return write(MIB_SET, "set", attr, flag); }
    int del(Row* attr) const { return write(MIB_DEL, "del", attr, &mibDefFlags); }

private:
    int write(int operation, const char* verb, Row* attr, const MIB_Flags_t* flag) const {
        char failure[96];
        std::snprintf(failure, sizeof failure, "mib %s error for %s table", verb, table);
        return write_row(operation, attr, flag, *appid, failure);
    }
};
