#include "ov_gpon_rm_mac_word.h"

#include <charconv>
#include <cstring>

namespace {

constexpr size_t GROUP = 4; // digits
constexpr size_t GROUPS = 3;
constexpr size_t LENGTH = GROUPS * GROUP + GROUPS - 1;

constexpr char DIGITS[] = "0123456789abcdef";

} // namespace

bool gpon_rm_mac_parse(const char* word, gpon_rm_mac_t& mac) {
    if (strlen(word) != LENGTH)
        return false;
    for (size_t group = 0; group < GROUPS; group++) {
        const char* const digits = word + group * (GROUP + 1);
        unsigned number = 0;
        const auto read = std::from_chars(digits, digits + GROUP, number, 16);
        if (read.ec != std::errc() || read.ptr != digits + GROUP)
            return false;
        if (group + 1 < GROUPS && digits[GROUP] != '-')
            return false;
        mac[2 * group] = static_cast<unsigned char>(number >> 8);
        mac[2 * group + 1] = static_cast<unsigned char>(number & 0xff);
    }
    return true;
}

std::string gpon_rm_mac_text(const gpon_rm_mac_t& mac) {
    std::string text;
    for (size_t i = 0; i < mac.size(); i++) {
        if (i > 0 && i % 2 == 0)
            text += '-';
        text += {DIGITS[mac[i] >> 4], DIGITS[mac[i] & 15]};
    }
    return text;
}
