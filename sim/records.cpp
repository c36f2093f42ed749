#include "records.h"

#include <chrono>
#include <fnmatch.h>

#include "card_messages.h"
#include "port_name.h"

namespace {

double seconds_since_start() {
    using Clock = std::chrono::steady_clock;
    static const Clock::time_point start = Clock::now();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::optional<uint32_t> number_of(const std::string& text) {
    if (const auto number = parse_u32(text))
        return number;
    return ifindex_of_port(text);
}

bool value_matches(const std::string& key, const std::string& wanted, const std::string& value) {
    if (fnmatch(wanted.c_str(), value.c_str(), 0) == 0)
        return true;
    if (key == "type") {
        const MessageType* type = find_message(std::string_view(wanted));
        const CardMessage* message = find_card_message(std::string_view(wanted));
        return (type && value == type->name) || (message && value == message->name);
    }
    const auto number = number_of(wanted);
    return number && number == number_of(value);
}

} // namespace

const std::string* Record::find(std::string_view name) const {
    for (const auto& [key, value] : values) {
        if (key == name)
            return &value;
    }
    return nullptr;
}

std::string Record::line() const {
    std::string text = format("id=%llu time=%.3f", static_cast<unsigned long long>(id), time);
    for (const auto& [key, value] : values)
        text += " " + key + "=" + encode_value(value);
    return text;
}

bool Pattern::parse(std::span<const std::string> words, Pattern& pattern, std::string& error) {
    for (const std::string& word : words) {
        const size_t equals = word.find('=');
        if (equals == std::string::npos || equals == 0) {
            error = "not KEY=PATTERN: \"" + word + "\"";
            return false;
        }
        pattern.terms_.emplace_back(word.substr(0, equals), word.substr(equals + 1));
    }
    return true;
}

bool Pattern::matches(const Record& record) const {
    for (const auto& [key, wanted] : terms_) {
        const std::string* value = record.find(key);
        if (!value || !value_matches(key, wanted, *value))
            return false;
    }
    return true;
}

const Record& Records::add(std::string_view kind, NamedValues values) {
    values.insert(values.begin(), {"kind", std::string(kind)});
    if (records_.size() >= LIMIT) {
        records_.pop_front();
        ++dropped_;
    }
    records_.push_back({++last_id_, seconds_since_start(), std::move(values)});
    if (listener_)
        listener_(records_.back());
    return records_.back();
}
