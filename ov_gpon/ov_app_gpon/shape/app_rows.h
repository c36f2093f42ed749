// Rows by their type: access to a table with its record alone, and walks over the stored rows that cost by
// the rows they meet.
//
//     ov_sGemTable_attr_t key = {...};
//     for (const ov_sGemTable_attr_t& gem : rows_under(key, 4)) ...     // all GEM ports of one ONU
//
// A row that a manager has made and not activated yet waits (RFC 2579: notReady, notInService): it stands for
// nothing, nothing refers to it and nothing conflicts with it. Look-ups and walks pass over such rows, but
// those that say "stored".
//
// A walk holds its table's mutex, on any thread. The row in hand may be read only, and rows of that table
// must not be deleted while the walk lasts: collect first what is to be deleted (rows_copied). Rows that are
// looked at by pointer without a walk (find_row) are for the main thread and for tables that only it changes.
#pragma once

#include <cstddef>
#include <vector>

#include "app_key.h"
#include "mmg_access.h"
#include "ovra_mutex.h"
#include "table_module.h"

// The identity of the table that holds such rows; to be fetched at each use.
template <typename Row>
MIBDID did_of() {
    return table_of<Row>::module().did();
}

// MibAccessHandle on the row's table; true for MIB_OK.
template <typename Row>
bool mib_access(int operation, Row& row, const MIB_Flags_t& flags = mibDefFlags, int appid = 0) {
    return MibAccessHandle(operation, appid, did_of<Row>(), &row, flags, 0) == MIB_OK;
}

// Whether a row stands for something: from its creation or activation on, which callbacks may still decide,
// until its deletion is done. False for one that waits.
template <typename Row>
bool is_in_service(const Row& row) {
    return table_of<Row>::module().row_mode(&row) != MODE_IDLE;
}

// The stored row with the index of `key`, waiting or not, null for none; valid until that row is deleted.
template <typename Row>
const Row* find_stored_row(const Row& key) {
    OvraMutexGuard lock(getMutex(did_of<Row>()));
    return static_cast<const Row*>(table_of<Row>::module().find_row(&key));
}

// The same, null for a row that waits.
template <typename Row>
const Row* find_row(const Row& key) {
    OvraMutexGuard lock(getMutex(did_of<Row>()));
    const auto* row = static_cast<const Row*>(table_of<Row>::module().find_row(&key));
    return row != nullptr && is_in_service(*row) ? row : nullptr;
}

// Which rows a walk meets.
enum class WalkedRows : bool { IN_SERVICE, STORED };

// The rows that agree with a key on its leading index columns, in the table's order.
template <typename Row, WalkedRows walked = WalkedRows::IN_SERVICE>
class RowsUnder {
public:
    class iterator {
    public:
        iterator(const Row* row, size_t leading) : row_(row), leading_(leading) { pass_over_waiting(); }
        const Row& operator*() const { return *row_; }
        iterator& operator++() {
            step();
            pass_over_waiting();
            return *this;
        }
        bool operator!=(const iterator& other) const { return row_ != other.row_; }

    private:
        void step() {
            row_ = static_cast<const Row*>(table_of<Row>::module().next_row_under(row_, leading_));
        }
        void pass_over_waiting() {
            if constexpr (walked == WalkedRows::IN_SERVICE)
                while (row_ != nullptr && !is_in_service(*row_))
                    step();
        }
        const Row* row_;
        size_t leading_;
    };

    RowsUnder(const Row& key, size_t leading)
        : lock_(getMutex(did_of<Row>())), key_(key), leading_(leading) {}
    iterator begin() const {
        return {static_cast<const Row*>(table_of<Row>::module().first_row_under(&key_, leading_)), leading_};
    }
    iterator end() const { return {nullptr, leading_}; }

private:
    OvraMutexGuard lock_;
    Row key_;
    size_t leading_;
};

// All rows that agree with `key` on the first `leading` index columns.
template <typename Row>
RowsUnder<Row> rows_under(const Row& key, size_t leading) {
    return RowsUnder<Row>(key, leading);
}

// All rows of a table.
template <typename Row>
RowsUnder<Row> all_rows() {
    return RowsUnder<Row>(Row{}, 0);
}

// Copies of all stored rows, waiting or not, for a walk that deletes or changes rows of the table.
template <typename Row>
std::vector<Row> rows_copied(const Row& key, size_t leading) {
    std::vector<Row> copies;
    for (const Row& row : RowsUnder<Row, WalkedRows::STORED>(key, leading))
        copies.push_back(row);
    return copies;
}

// ---- rows of ONUs -----------------------------------------------------------------------------------------
template <typename Row>
bool is_template_row(const Row& row) {
    return row.slotID == GPON_TEMPLATE_SLOT;
}

// Visits the template rows of a service profile: slot 31 and the profile's id for the ONU, whatever shelf and
// port, in the table's order. Rows of other ONUs are stepped over, not walked.
template <typename Row, typename Visit>
void for_each_template_row(mib_ulong profile_id, Visit visit) {
    const OvraMutexGuard lock(getMutex(did_of<Row>()));
    TableModule& table = table_of<Row>::module();
    auto at_or_above = [&](int32_t shelf, int32_t slot, int32_t port, int32_t onu) -> const Row* {
        Row key = onu_key<Row>(slot, port, onu);
        key.shelfID = shelf;
        return static_cast<const Row*>(table.row_at_or_above(&key, INDEX_TO_ONU));
    };
    // Index columns are compared as unsigned numbers; each step leads to a greater key.
    const auto profile = static_cast<int32_t>(profile_id);
    const auto above = [](int32_t a, int32_t b) {
        return static_cast<uint32_t>(a) > static_cast<uint32_t>(b);
    };
    const auto behind = [](int32_t value) { return static_cast<int32_t>(static_cast<uint32_t>(value) + 1); };
    for (const Row* row = at_or_above(0, GPON_TEMPLATE_SLOT, 0, profile); row != nullptr;) {
        if (row->slotID != GPON_TEMPLATE_SLOT) {
            if (!above(row->slotID, GPON_TEMPLATE_SLOT))
                row = at_or_above(row->shelfID, GPON_TEMPLATE_SLOT, 0, profile);
            else if (row->shelfID == -1)
                return;
            else
                row = at_or_above(behind(row->shelfID), GPON_TEMPLATE_SLOT, 0, profile);
        } else if (row->onuId == profile) {
            if (is_in_service(*row))
                visit(*row);
            row = static_cast<const Row*>(table.next_row_under(row, 0));
        } else if (!above(row->onuId, profile)) {
            row = at_or_above(row->shelfID, row->slotID, row->portID, profile);
        } else if (row->portID == -1) {
            row = at_or_above(row->shelfID, GPON_TEMPLATE_SLOT + 1, 0, 0);
        } else {
            row = at_or_above(row->shelfID, row->slotID, behind(row->portID), profile);
        }
    }
}
