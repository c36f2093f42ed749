// Rows that follow a row of another table: they come when it comes, or when a switch of it goes on, and go
// with it. A module states what follows as data and runs it in its callback on the owner's table:
//
//     constexpr FollowRows<ov_sOnuTable_attr_t, ov_sOnuHistoryTable_attr_t> history = {
//         .key = onu_key<ov_sOnuHistoryTable_attr_t, ov_sOnuTable_attr_t>,
//         .appid = &gpon_onu_history_appid,
//         .add_error = "add onuhistory table error",
//         .remove_error = "del onuhistory table error",
//         .add_failed = "add onuhistiry table fail",
//         .remove_failed = "delete onuhistiry table fail",
//     };
//
//     int ov_onuhistory_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t flags) {
//         return follow_rows(history, did, row, flags);
//     }
//
// What can't follow refuses the owner's change; what has followed by then stays. Main loop.
#pragma once

#include "app_card_answer.h"
#include "app_rows.h"
#include "mmg_access.h"
#include "ov_product_log.h"

// A switch of the owner: rows are there while it holds `on`. A change is one of its column whose value isn't
// the one before.
template <typename Owner>
struct FollowSwitch {
    unsigned column = 0;
    mib_long Owner::*value = nullptr;
    mib_long Owner::*before = nullptr; // its old_ shadow
    mib_long on = 1;
};

template <typename Owner, typename Row>
struct FollowRows {
    const char* tag = "MMG"; // of its log lines
    // The index of the owner's row; with `each` that of its first row, the other index columns 0.
    Row (*key)(const Owner& owner) = nullptr;
    // Calls `visit` with the index of each row, until it answers false; null: one row, at the key.
    bool (*each)(const Owner& owner, bool (*visit)(const Row& row, void* with), void* with) = nullptr;
    // Null: the rows are there as long as the owner is.
    const FollowSwitch<Owner>* by_switch = nullptr;
    int add = MIB_CREATEGO; // operations on a row; they say which chains run (MIB_OPERATION)
    int remove = MIB_DEL;
    // A row that is there isn't added again, and one that isn't there isn't removed.
    bool looks_first = true;
    const int* appid = nullptr;      // of the access
    const char* added = nullptr;     // logged, as an error is, for a row that was added; null: nothing
    const char* add_error = nullptr; // logged for the row; null: nothing
    const char* remove_error = nullptr;
    const char* add_failed = nullptr; // logged for the owner's change, behind that; null: nothing
    const char* remove_failed = nullptr;
};

template <typename Owner, typename Row>
bool follow_one(const FollowRows<Owner, Row>& rows, const Row& at, bool there) {
    Row row = at;
    if (rows.looks_first && (find_stored_row(row) != nullptr) == there)
        return true;
    if (mib_access(there ? rows.add : rows.remove, row, mibDefFlags, rows.appid ? *rows.appid : 0)) {
        if (there && rows.added)
            OV_LOG_ERROR(rows.tag, "%s", rows.added);
        return true;
    }
    if (const char* error = there ? rows.add_error : rows.remove_error)
        OV_LOG_ERROR(rows.tag, "%s", error);
    return false;
}

// Adds (there) or removes the rows of an owner. False, behind the row's log line, at the first that fails.
template <typename Owner, typename Row>
bool follow_all(const FollowRows<Owner, Row>& rows, const Owner& owner, bool there) {
    if (rows.each == nullptr)
        return follow_one(rows, rows.key(owner), there);
    struct Visit {
        const FollowRows<Owner, Row>& rows;
        bool there;
    } visit = {rows, there};
    return rows.each(
        owner,
        [](const Row& row, void* with) {
            const Visit& to = *static_cast<const Visit*>(with);
            return follow_one(to.rows, row, to.there);
        },
        &visit);
}

// What a pending change of the owner asks of its rows: 1 to add, 0 to remove, -1 for nothing.
template <typename Owner>
int followed_mode(const FollowSwitch<Owner>* by, const Owner& owner, int mode, const MIB_Flags_t& columns) {
    if (by == nullptr)
        return mode == MODE_CRE ? 1 : mode == MODE_DEL ? 0 : -1;
    const bool on = owner.*by->value == by->on;
    if (mode == MODE_CRE || mode == MODE_DEL)
        return on ? (mode == MODE_CRE ? 1 : 0) : -1;
    const bool changed = mib_flag_is_set(columns, by->column) && owner.*by->value != owner.*by->before;
    return mode == MODE_CHG && changed ? (on ? 1 : 0) : -1;
}

// The set callback on the owner's table.
template <typename Owner, typename Row>
int follow_rows(const FollowRows<Owner, Row>& rows, MIBDID did, void* pending, const MIB_Flags_t& columns) {
    const Owner& owner = *static_cast<const Owner*>(pending);
    const int there = followed_mode(rows.by_switch, owner, MibRowStatusGet(did, pending), columns);
    if (there < 0 || follow_all(rows, owner, there == 1))
        return SET_ACCEPTED;
    if (const char* failed = there == 1 ? rows.add_failed : rows.remove_failed)
        OV_LOG_ERROR(rows.tag, "%s", failed);
    return SET_REFUSED;
}

// ---- rows that only go with their owner -------------------------------------------------------------

// The rows of an ONU, or of a service profile in its place, that go with it: those of a table whose index
// begins with the owner's four columns.
template <typename Row>
struct OwnedRows {
    int remove = MIB_DEL_N;
    MIB_Flags_t columns = mibDefFlags; // that the removal means
    const int* appid = nullptr;
    void (*failed)(const Row& row) = nullptr; // logs a row that can't be removed; null: nothing
    bool stops = false; // at such a row, and the owner stays; else the others go, and the owner too
};

// Removes the rows of the ONU whose index `owner` has, waiting ones too. False at a row that stops it.
template <typename Row, typename Owner>
bool remove_owned_rows(const OwnedRows<Row>& owned, const Owner& owner) {
    for (Row& row : rows_copied(onu_key<Row>(owner), INDEX_TO_ONU)) {
        if (mib_access(owned.remove, row, owned.columns, *owned.appid))
            continue;
        if (owned.failed)
            owned.failed(row);
        if (owned.stops)
            return false;
    }
    return true;
}
