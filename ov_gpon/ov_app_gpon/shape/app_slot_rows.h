// The rows of one slot or one PON port, of whatever shelf, as a walk over the whole table meets them.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "app_rows.h"

// Visits the rows in service (app_rows.h) whose index columns behind the shelf begin with `wanted` (slot; or
// slot, port; or slot, port, ONU id), in the table's order, and gives each as const void*. For tables whose
// index begins with shelfID, slotID, portID, onuId. Other rows are stepped over, not walked: the cost is that
// of the rows visited and of the number of shelves. The visit may change columns of a row; it must not delete
// one. Main thread; holds the table's mutex.
template <size_t N, typename Visit>
void for_each_row_of_any_shelf(TableModule& table, const std::array<int32_t, N>& wanted, Visit visit) {
    const OvraMutexGuard lock(getMutex(table.did()));
    // Index columns are compared as unsigned numbers; each step leads to a greater key.
    std::array<uint32_t, N + 1> first = {};
    std::copy(wanted.begin(), wanted.end(), first.begin() + 1);
    std::array<uint32_t, N + 1> key = first;
    for (const void* row = table.row_at_or_above(first.data(), first.size()); row != nullptr;) {
        std::memcpy(key.data(), row, sizeof key);
        if (std::equal(key.begin() + 1, key.end(), first.begin() + 1)) {
            if (table.row_mode(row) != MODE_IDLE)
                visit(row);
            row = table.next_row_under(row, 0);
            continue;
        }
        const bool behind =
            std::lexicographical_compare(first.begin() + 1, first.end(), key.begin() + 1, key.end());
        first[0] = behind ? key[0] + 1 : key[0];
        if (behind && first[0] == 0)
            return; // that was the last shelf
        row = table.row_at_or_above(first.data(), first.size());
    }
}

// The same with the row's type: const Row&.
template <typename Row, size_t N, typename Visit>
void for_each_row_of_any_shelf(const std::array<int32_t, N>& wanted, Visit visit) {
    for_each_row_of_any_shelf(table_of<Row>::module(), wanted,
                              [&visit](const void* row) { visit(*static_cast<const Row*>(row)); });
}
