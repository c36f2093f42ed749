// Comparison of rows by index, and queries.
#include <algorithm>
#include <bit>
#include <cstring>

#include "table_module.h"
#include "table_record.h"

namespace {

constexpr int EXPECTED_MATCHES = 16; // the rows of one ONU in most tables

// The reverse of the usual sign, as lists want it: -1 when the first is the greater.
template <typename Value>
int reversed_order(Value first, Value second) {
    return first == second ? 0 : (first > second ? -1 : 1);
}

int compare_column(const ColumnDesc& column, const void* entry1, const void* entry2) {
    auto first = record_get<uint32_t>(entry1, column.offset);
    auto second = record_get<uint32_t>(entry2, column.offset);
    if (column.type == ColType::INT)
        return reversed_order(static_cast<int32_t>(first), static_cast<int32_t>(second));
    return reversed_order(first, second);
}

} // namespace

int TableModule::compare_index(const void* entry1, const void* entry2) const {
    return compare_part_index(entry1, entry2, -1);
}

int TableModule::compare_part_index(const void* entry1, const void* entry2, int flag) const {
    auto chosen = static_cast<unsigned>(flag);
    for (const ColumnDesc& column : desc_.index) {
        if ((chosen & 1u) != 0) {
            if (int order = compare_column(column, entry1, entry2))
                return order;
        }
        chosen >>= 1;
    }
    return 0;
}

int TableModule::query_by_condition(void* row, int index_flag, int if_return_result, ovralist_t* result,
                                    element_comparator sort_compare, Mib_Index_Compare_Ptr private_compare) {
    if (if_return_result != 0) {
        ovralist_attributes_copy(result, functions_.meter, 1);
        ovralist_attributes_comparator(result,
                                       sort_compare != nullptr ? sort_compare : functions_.comparator);
    }
    int count = 0;
    auto take = [&](const void* stored) {
        ++count;
        if (if_return_result != 0)
            ovralist_append(result, stored);
    };
    {
        OvraMutexGuard lock(getMutex(did()));
        if (private_compare != nullptr)
            visit_all([&](void* stored) {
                if (private_compare(row, stored, index_flag) == 0)
                    take(stored);
            });
        else
            visit_matches(row, index_flag, take);
    }
    if (if_return_result != 0 && count != 0)
        ovralist_sort(result, 1);
    return count;
}

template <typename Visit>
void TableModule::visit_all(Visit visit) const {
    for (void* stored = get_table_head(did()); stored != nullptr; stored = row_next_of(did(), stored))
        visit(stored);
}

// The first row with a key at or above this one. A search for a row right there comes first: it leads to the
// same place of the store as the step behind it, which is at hand then.
void* TableModule::first_at_or_above(std::array<uint32_t, MAX_INDEX_COLUMNS> key) const {
    void* there = row_get(did(), key.data());
    return there != nullptr ? there : row_getNext(did(), key.data());
}

// Visits the rows that agree with `row` on the chosen index columns, in the table's order. Rows that agree
// on leading columns stand together there, so only those are walked.
template <typename Visit>
void TableModule::visit_matches(const void* row, int index_flag, Visit visit) const {
    const unsigned every = (1u << desc_.index.size()) - 1;
    const unsigned chosen = static_cast<unsigned>(index_flag) & every;
    if (row == nullptr && chosen != 0)
        return;
    const auto leading = static_cast<size_t>(std::countr_one(chosen));
    const int leading_flag = static_cast<int>((1u << leading) - 1);

    std::array<uint32_t, MAX_INDEX_COLUMNS> smallest{}; // of their keys: zeros behind the leading columns
    if (leading != 0)
        std::memcpy(smallest.data(), row, leading * sizeof(uint32_t));
    void* first = first_at_or_above(smallest);
    row_expect_next(did(), first, EXPECTED_MATCHES);
    for (void* stored = first; stored != nullptr; stored = row_next_of(did(), stored)) {
        if (compare_part_index(row, stored, leading_flag) != 0)
            return;
        if (compare_part_index(row, stored, static_cast<int>(chosen)) == 0)
            visit(stored);
    }
}

const void* TableModule::find_row(const void* key) const {
    return row_get(did(), const_cast<void*>(key)); // a key is only read
}

const void* TableModule::row_at_or_above(const void* key, size_t columns) const {
    std::array<uint32_t, MAX_INDEX_COLUMNS> start{};
    std::memcpy(start.data(), key, std::min(columns, desc_.index.size()) * sizeof(uint32_t));
    return first_at_or_above(start);
}

const void* TableModule::first_row_under(const void* key, size_t leading) const {
    leading = std::min(leading, desc_.index.size());
    if (leading == 0)
        return get_table_head(did());
    const void* first = row_at_or_above(key, leading);
    return first != nullptr && std::memcmp(first, key, leading * sizeof(uint32_t)) == 0 ? first : nullptr;
}

const void* TableModule::next_row_under(const void* row, size_t leading) const {
    const void* next = row_next_of(did(), row);
    leading = std::min(leading, desc_.index.size());
    return next != nullptr && std::memcmp(next, row, leading * sizeof(uint32_t)) == 0 ? next : nullptr;
}
