#include "mmg_text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr size_t NO_LIMIT = std::numeric_limits<size_t>::max();

size_t as_length(int n) {
    return n < 0 ? 0 : static_cast<size_t>(n);
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

unsigned hex_digit_value(char c) {
    if (is_digit(c))
        return static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f')
        return static_cast<unsigned>(c - 'a') + 10;
    if (c >= 'A' && c <= 'F')
        return static_cast<unsigned>(c - 'A') + 10;
    return 0;
}

// Takes the next digit of a text and stays at its end.
unsigned next_hex_digit(const char*& at) {
    return *at == '\0' ? 0 : hex_digit_value(*at++);
}

} // namespace

size_t str_to_hex_clip(char* pbDest, size_t dest_size, const char* pbSrc, int nLen) {
    size_t count = std::min(as_length(nLen) / 2, dest_size);
    for (size_t i = 0; i < count; ++i) {
        unsigned high = next_hex_digit(pbSrc);
        pbDest[i] = static_cast<char>(high << 4 | next_hex_digit(pbSrc));
    }
    return count;
}

size_t str_to_hex(char* pbDest, const char* pbSrc, int nLen) {
    return str_to_hex_clip(pbDest, NO_LIMIT, pbSrc, nLen);
}

void hex_to_str_clip(char* pbDest, size_t dest_size, const char* pbSrc, int nLen) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    if (dest_size == 0)
        return;
    size_t count = std::min(as_length(nLen), (dest_size - 1) / 2);
    for (size_t i = 0; i < count; ++i) {
        auto byte = static_cast<unsigned char>(pbSrc[i]);
        pbDest[2 * i] = DIGITS[byte >> 4];
        pbDest[2 * i + 1] = DIGITS[byte & 15];
    }
    pbDest[2 * count] = '\0';
}

void hex_to_str(char* pbDest, const char* pbSrc, int nLen) {
    hex_to_str_clip(pbDest, NO_LIMIT, pbSrc, nLen);
}

size_t str_to_oid_clip(oid* pbDest, size_t dest_size, char* pbSrc) {
    size_t count = 0;
    char* rest = nullptr;
    for (char* piece = strtok_r(pbSrc, ".", &rest); piece != nullptr && count < dest_size;
         piece = strtok_r(nullptr, ".", &rest))
        pbDest[count++] = static_cast<oid>(std::strtol(piece, nullptr, 10));
    return count;
}

size_t str_to_oid(oid* pbDest, char* pbSrc) {
    return str_to_oid_clip(pbDest, NO_LIMIT, pbSrc);
}

void oid_to_str_clip(char* pbDest, size_t dest_size, const oid* pbSrc, int nLen) {
    if (dest_size == 0)
        return;
    pbDest[0] = '\0';
    size_t used = 0;
    for (size_t i = 0; i < as_length(nLen); ++i) {
        char arc[24];
        int length = std::snprintf(arc, sizeof(arc), i == 0 ? "%lu" : ".%lu", pbSrc[i]);
        if (used + static_cast<size_t>(length) >= dest_size)
            return;
        std::memcpy(pbDest + used, arc, static_cast<size_t>(length) + 1);
        used += static_cast<size_t>(length);
    }
}

void oid_to_str(char* pbDest, const oid* pbSrc, int nLen) {
    oid_to_str_clip(pbDest, NO_LIMIT, pbSrc, nLen);
}

char if_legal_string(const char* pbSrc, int nLen) {
    return std::all_of(pbSrc, pbSrc + strnlen(pbSrc, as_length(nLen)),
                       [](char c) { return is_digit(c) || is_letter(c); }) &&
           strnlen(pbSrc, as_length(nLen)) == as_length(nLen);
}

mib_long BKDRHash(const char* str, int len) {
    uint32_t hash = 0;
    for (size_t i = 0; i < as_length(len); ++i)
        hash = hash * 131 + static_cast<unsigned char>(str[i]);
    return static_cast<mib_long>(hash);
}

char* strtrim(char* text) {
    if (text != nullptr)
        *std::remove(text, text + std::strlen(text), ' ') = '\0';
    return text;
}

void substr_clip(char* dest, size_t dest_size, const char* src, int start, int cnt) {
    if (dest_size == 0)
        return;
    size_t skipped = strnlen(src, as_length(start));
    size_t room = std::min(as_length(cnt), dest_size - 1);
    size_t count = strnlen(src + skipped, room);
    std::memmove(dest, src + skipped, count);
    dest[count] = '\0';
}

void substr(char* dest, const char* src, int start, int cnt) {
    substr_clip(dest, NO_LIMIT, src, start, cnt);
}
