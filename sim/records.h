// What the chassis saw and did, in order: one record per event, kept for tests to look at.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "messages.h"
#include "text.h"

struct Record {
    uint64_t id;        // from 1, never used twice
    double time;        // seconds since the chassis started
    NamedValues values; // "kind" first

    const std::string* find(std::string_view name) const;
    // "id=7 time=0.125 kind=request type=UMSG_NEW_IF ...", values in the form of encode_value.
    std::string line() const;
};

// KEY=GLOB words, all of which a record must match. A key that the record doesn't have matches nothing.
// Numbers match in any form (0x4c200000 or 1277165568), a port by its name or its index; "type" also by
// the short name of the message.
class Pattern {
public:
    // False, with the reason in error, for a word without '=' or an empty key.
    static bool parse(std::span<const std::string> words, Pattern& pattern, std::string& error);
    bool matches(const Record& record) const;

private:
    NamedValues terms_;
};

class Records {
public:
    // Older records are dropped when there are more.
    static constexpr size_t LIMIT = 50000;

    const Record& add(std::string_view kind, NamedValues values);
    void clear() { records_.clear(); }
    uint64_t last_id() const { return last_id_; }
    uint64_t dropped() const { return dropped_; }
    const std::deque<Record>& all() const { return records_; }

    // Called with every new record, after it was stored. One listener.
    void set_listener(std::function<void(const Record&)> listener) { listener_ = std::move(listener); }

private:
    std::deque<Record> records_;
    uint64_t last_id_ = 0;
    uint64_t dropped_ = 0;
    std::function<void(const Record&)> listener_;
};
