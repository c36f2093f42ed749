// Shows with as many lines as a chassis has ONUs, printed in steps: in a shell's session the event loop
// serves other operators, managers and cards between two of them, and the next comes when the shell has taken
// the lines so far. A session that closes ends its show. Sessions without a connection have all steps at
// once.
//
// What is changed meanwhile is shown as it is when its turn comes. Event loop's thread.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <utility>

#include "app_rows.h"

// Prints the next part, about a millisecond's worth; false when that was the last.
using gpon_show_step_t = std::function<bool()>;

// Takes the first step and sees to the others; for the end of a command's handler. What `step` holds lives as
// long as the show. Returns 0, the handler's result.
int gpon_show_in_steps(struct vty* vty, gpon_show_step_t step);

// The same for a command that can fail in the end: behind its last step `end` is called once, and gives the
// command's result, as its handler would have; what it states (ov_refusal.h) is the reason. For the end of a
// handler, too. Not called for a session that has closed.
int gpon_run_in_steps(struct vty* vty, gpon_show_step_t step, std::function<int()> end);

// A walk over the rows of a table that agree with a key on its leading index columns, in pieces. Without
// those that wait (app_rows.h), unless all stored ones are asked for. Between these rows may come and go; it
// holds the table's mutex during a piece only.
template <typename Row, WalkedRows walked = WalkedRows::IN_SERVICE>
class gpon_row_steps {
public:
    gpon_row_steps(const Row& key, size_t leading) : key_(key), leading_(leading) {
        memcpy(next_.data(), &key, leading * sizeof(uint32_t));
    }

    // Visits the next rows; false when none is left. Rows are counted and time isn't measured: a busy machine
    // must not show in smaller pieces.
    template <typename Visit>
    bool step(Visit visit) {
        const OvraMutexGuard lock(getMutex(did_of<Row>()));
        const TableModule& table = table_of<Row>::module();
        const void* row = table.row_at_or_above(next_.data(), TableModule::MAX_INDEX_COLUMNS);
        int rows = 0;
        for (; is_asked_for(row) && rows < ROWS; rows++) {
            const auto& shown = *static_cast<const Row*>(row);
            if (walked == WalkedRows::STORED || is_in_service(shown))
                visit(shown);
            row = table.next_row_under(row, leading_);
        }
        if (!is_asked_for(row))
            return false;
        memcpy(next_.data(), row, table.desc().key_size);
        return true;
    }

private:
    static constexpr int ROWS = 250;

    bool is_asked_for(const void* row) const {
        return row != nullptr && memcmp(row, &key_, leading_ * sizeof(uint32_t)) == 0;
    }

    Row key_;
    size_t leading_;
    std::array<uint32_t, TableModule::MAX_INDEX_COLUMNS> next_{}; // index of the row at which it goes on
};

// Shows rows in steps: `print` for each, true for one that counts; behind the last `end` with their number.
// Both are called when the handler has returned, too: what they use they must hold.
//
//     return gpon_show_rows(vty, key, INDEX_TO_PORT, [vty, nl](const Row& row) { ...; return true; },
//                           [vty, nl](int count) { vty_out(vty, "total %d%s", count, nl); });
template <WalkedRows walked = WalkedRows::IN_SERVICE, typename Row, typename Print, typename End>
int gpon_show_rows(struct vty* vty, const Row& key, size_t leading, Print print, End end) {
    return gpon_show_in_steps(
        vty, [steps = gpon_row_steps<Row, walked>(key, leading), print, end, count = 0]() mutable {
            if (steps.step([&](const Row& row) { count += print(row) ? 1 : 0; }))
                return true;
            end(count);
            return false;
        });
}
