// MAC addresses as operators write them, "0011-2233-4455": three groups of four hexadecimal digits.
#pragma once

#include <array>
#include <cstddef>
#include <string>

inline constexpr size_t GPON_RM_MAC_OCTETS = 6;
using gpon_rm_mac_t = std::array<unsigned char, GPON_RM_MAC_OCTETS>;

// False for a word of another form.
bool gpon_rm_mac_parse(const char* word, gpon_rm_mac_t& mac);
// In small letters.
std::string gpon_rm_mac_text(const gpon_rm_mac_t& mac);

// The same with a column of a table.
template <typename Byte>
bool gpon_rm_mac_of(const char* word, Byte (&column)[GPON_RM_MAC_OCTETS]) {
    gpon_rm_mac_t mac{};
    const bool is_one = gpon_rm_mac_parse(word, mac);
    for (size_t i = 0; is_one && i < mac.size(); i++)
        column[i] = static_cast<Byte>(mac[i]);
    return is_one;
}
template <typename Byte>
std::string gpon_rm_mac_word(const Byte (&column)[GPON_RM_MAC_OCTETS]) {
    gpon_rm_mac_t mac{};
    for (size_t i = 0; i < mac.size(); i++)
        mac[i] = static_cast<unsigned char>(column[i]);
    return gpon_rm_mac_text(mac);
}
