// Texts between rows, records and messages: every copy is cut at what the target holds and ends in zeros, so
// that equal texts are equal bytes and nothing of our memory leaves with a record.
#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>

// Fills a text field of N bytes, the terminator included.
template <size_t N>
void set_text(char (&field)[N], std::string_view text) {
    const size_t length = std::min(text.size(), N - 1);
    if (text.data() != field)
        std::memcpy(field, text.data(), length);
    std::memset(field + length, 0, N - length);
}

// The text of a field that need not be terminated, such as one from a card.
template <size_t N>
std::string_view text_in(const char (&field)[N]) {
    return {field, strnlen(field, N)};
}
