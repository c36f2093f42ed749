#include "text.h"

#include <cstdarg>
#include <cstdio>
#include <limits>

namespace {

constexpr std::string_view BLANKS = " \t\r\n";

// Reads one word from text at pos, which stands on its first character.
bool read_word(std::string_view text, size_t& pos, std::string& word, std::string& error) {
    bool quoted = false;
    for (; pos < text.size(); ++pos) {
        const char c = text[pos];
        if (c == '"') {
            quoted = !quoted;
        } else if (quoted && c == '\\' && pos + 1 < text.size()) {
            word += text[++pos];
        } else if (!quoted && BLANKS.find(c) != std::string_view::npos) {
            break;
        } else {
            word += c;
        }
    }
    if (quoted)
        error = "a quote isn't closed";
    return !quoted;
}

int digit_value(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return 99;
}

} // namespace

bool split_words(std::string_view line, Words& words, std::string& error) {
    words.clear();
    size_t pos = 0;
    while ((pos = line.find_first_not_of(BLANKS, pos)) != std::string_view::npos && line[pos] != '#') {
        std::string word;
        if (!read_word(line, pos, word, error))
            return false;
        words.push_back(std::move(word));
    }
    return true;
}

std::string quote_word(std::string_view word) {
    if (!word.empty() && word.find_first_of(" \t\r\n\"") == std::string_view::npos && word[0] != '#')
        return std::string(word);
    std::string quoted = "\"";
    for (char c : word) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

std::optional<uint32_t> parse_u32(std::string_view text) {
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty())
        return {};
    uint64_t value = 0;
    for (char c : text) {
        const int digit = digit_value(c);
        if (digit >= base)
            return {};
        value = value * static_cast<uint64_t>(base) + static_cast<uint64_t>(digit);
        if (value > std::numeric_limits<uint32_t>::max())
            return {};
    }
    return static_cast<uint32_t>(value);
}

std::optional<int32_t> parse_i32(std::string_view text) {
    const bool negative = !text.empty() && text[0] == '-';
    const auto magnitude = parse_u32(negative ? text.substr(1) : text);
    if (!magnitude || *magnitude > 0x7FFFFFFFu + (negative ? 1u : 0u))
        return {};
    const int64_t value = *magnitude;
    return static_cast<int32_t>(negative ? -value : value);
}

std::optional<std::vector<uint8_t>> parse_hex(std::string_view text) {
    if (text.size() % 2 != 0)
        return {};
    std::vector<uint8_t> bytes;
    bytes.reserve(text.size() / 2);
    for (size_t i = 0; i < text.size(); i += 2) {
        const int high = digit_value(text[i]);
        const int low = digit_value(text[i + 1]);
        if (high > 15 || low > 15)
            return {};
        bytes.push_back(static_cast<uint8_t>(high << 4 | low));
    }
    return bytes;
}

std::string to_hex(std::span<const uint8_t> bytes) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (uint8_t byte : bytes) {
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 15];
    }
    return text;
}

std::string encode_value(std::string_view value) {
    std::string text;
    text.reserve(value.size());
    for (char c : value) {
        if (c > ' ' && c < 127 && c != '%' && c != '"')
            text += c;
        else
            text += format("%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
    }
    return text;
}

std::string format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    va_list again;
    va_copy(again, args);
    const int len = std::vsnprintf(nullptr, 0, fmt, args);
    va_end(args);
    std::string text(len > 0 ? static_cast<size_t>(len) : 0, '\0');
    if (len > 0) {
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_copy has initialised it
        std::vsnprintf(text.data(), text.size() + 1, fmt, again);
    }
    va_end(again);
    return text;
}
