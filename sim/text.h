// Words, numbers and values of the command language (scenario files and the control socket).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

using Words = std::vector<std::string>;

// Splits a line into words at blanks. "..." holds blanks, with \" and \\ inside; # starts a comment where a
// word could start. False, with the reason in error, for a quote that isn't closed.
bool split_words(std::string_view line, Words& words, std::string& error);

// Quotes a word for split_words where that is needed.
std::string quote_word(std::string_view word);

// Decimal or 0x hexadecimal, nothing else around it.
std::optional<uint32_t> parse_u32(std::string_view text);
// The same with an optional minus sign.
std::optional<int32_t> parse_i32(std::string_view text);

// An even number of hexadecimal digits.
std::optional<std::vector<uint8_t>> parse_hex(std::string_view text);
std::string to_hex(std::span<const uint8_t> bytes);

// The form of a value in an answer: letters, digits and most signs as they are; blanks, control characters,
// bytes above 126, '%' and '"' as %XX. Undone by every URL decoder.
std::string encode_value(std::string_view value);

// printf into a string.
__attribute__((format(printf, 1, 2))) std::string format(const char* fmt, ...);
