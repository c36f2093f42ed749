// Rows by name, for the profile tables: the same answer as a walk that compares names, without the walk.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "app_rows.h"

// The look-up of one table by one text column. It is rebuilt when the table has changed. Any thread: it is
// guarded by the table's mutex, as the rows are.
template <typename Row>
class NameIndex {
public:
    // `name` gives the column, such as [](const Row& row) { return row.onuTypeProfileName; }.
    explicit NameIndex(const char* (*name)(const Row&)) : name_(name) {}

    // The first row in the table's order that has this name, null for none; valid until that row is deleted.
    // A caller on another thread than the main one holds the table's mutex while it looks at the row.
    const Row* find(std::string_view name) {
        const TableModule& table = table_of<Row>::module();
        const OvraMutexGuard lock(getMutex(table.did()));
        if (!built_ || generation_ != table.generation())
            rebuild(table.generation());
        const auto found = rows_.find(name);
        if (found == rows_.end())
            return walk(name); // a row that is being made isn't in the index yet
        const Row* row = find_row(found->second);
        return row != nullptr && name == name_(*row) ? row : walk(name);
    }

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };

    const Row* walk(std::string_view name) const {
        for (const Row& row : all_rows<Row>())
            if (name == name_(row))
                return &row;
        return nullptr;
    }
    void rebuild(uint64_t generation) {
        rows_.clear();
        for (const Row& row : all_rows<Row>())
            rows_.try_emplace(name_(row), row);
        generation_ = generation;
        built_ = true;
    }

    const char* (*name_)(const Row&);
    std::unordered_map<std::string, Row, Hash, std::equal_to<>> rows_; // of which the index columns count
    uint64_t generation_ = 0;
    bool built_ = false;
};
