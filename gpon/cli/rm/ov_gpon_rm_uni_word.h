// The words by which operators call the UNIs of an ONU, and their lists of VLANs.
//
//   eth_CARD/PORT    Ethernet          video_CARD/PORT    RF video
//   pots_CARD/PORT   telephone         veip               virtual interface of card 1, port 1
//                                      iphost             the ONU's own IP host, card 1, port 1
//
// A command takes any of them, whatever it calls the argument; whether the ONU has the UNI is the
// application's to say. Event loop's thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "app_key.h"
#include "cli_call.h"
#include "cli_setting.h"
#include "ov_hal_gpon_records.h"
#include "sRmServiceTable.h"
#include "sRmUniPoeTable.h"
#include "sRmVoipLineStatusTable.h"
#include "sRmVoipSipUserDataTable.h"

// Takes a word apart. 0, or 104006 behind a line that tells which form it hasn't; the three are then
// untouched.
int ov_gpon_rm_uni_pos_parse(struct vty* vty, const char* pos, ov_gpon_rmuni_type_t* type, uint32_t* card,
                             uint32_t* port);

// The word of a UNI, in one buffer for all calls; "" for one that no word stands for.
const char* ov_gpon_rm_cli_uni_pos_str(uint32_t card, uint32_t port, int portype);

// ---- rows ----------------------------------------------------------------------------------------------

// The UNI that a row tells of. Rows of a table that calls these columns otherwise have their own overload.
struct gpon_rm_uni_ref_t {
    mib_ulong& card;
    mib_long& type;
    mib_ulong& port;
};
template <typename Row>
gpon_rm_uni_ref_t gpon_rm_uni_of(Row& row) {
    return {row.onuCardID, row.onuPortType, row.onuPortID};
}
inline gpon_rm_uni_ref_t gpon_rm_uni_of(ov_sRmUniPoeTable_attr_t& row) {
    return {row.sRmUniPoeOnuCardID, row.sRmUniPoeOnuPortType, row.sRmUniPoeOnuPortID};
}
inline gpon_rm_uni_ref_t gpon_rm_uni_of(ov_sRmServiceTable_attr_t& row) {
    return {row.sRmServiceTableOnuCardID, row.sRmServiceTableOnuPortType, row.sRmServiceTableOnuPortID};
}
inline gpon_rm_uni_ref_t gpon_rm_uni_of(ov_sRmVoipSipUserDataTable_attr_t& row) {
    return {row.sRmVoipSipUserDataCardID, row.sRmVoipSipUserDataCardType, row.sRmVoipSipUserDataPortID};
}
inline gpon_rm_uni_ref_t gpon_rm_uni_of(ov_sRmVoipLineStatusTable_attr_t& row) {
    return {row.sRmVoipLineStatusCardID, row.sRmVoipLineStatusCardType, row.sRmVoipLineStatusPortID};
}

// Puts the UNI that a word stands for into a row. 0, or the result of a refusal, behind its text.
template <typename Row>
int gpon_rm_put_uni_word(struct vty* vty, const char* word, Row& row) {
    ov_gpon_rmuni_type_t type{};
    const gpon_rm_uni_ref_t uni = gpon_rm_uni_of(row);
    const int refusal = ov_gpon_rm_uni_pos_parse(vty, word, &type, &uni.card, &uni.port);
    if (refusal == 0)
        uni.type = static_cast<mib_long>(type);
    return refusal;
}

// The same with the argument `name` of a command.
template <typename Row>
int gpon_rm_put_uni(const CliCall& call, const char* name, Row& row) {
    return gpon_rm_put_uni_word(call.vty, call.words.text(name), row);
}

// The key of the row that another table has for the same UNI.
template <typename Row, typename OfUni>
Row gpon_rm_key_of_uni(const OfUni& of) {
    Row key = onu_key<Row>(of);
    key.onuCardID = of.onuCardID;
    key.onuPortType = of.onuPortType;
    key.onuPortID = of.onuPortID;
    return key;
}

template <typename Row>
std::string gpon_rm_uni_word(Row row) {
    const gpon_rm_uni_ref_t uni = gpon_rm_uni_of(row);
    return ov_gpon_rm_cli_uni_pos_str(uni.card, uni.port, uni.type);
}

// The argument `name` as part of the index of a table's settings (cli_setting.h).
template <typename Row>
constexpr CliIndexWord gpon_rm_uni_index(const char* name) {
    return {.name = name,
            .put = [](const CliCall& call, const char* word,
                      void* row) { return gpon_rm_put_uni_word(call.vty, word, *static_cast<Row*>(row)); },
            .word = [](const void* row) { return gpon_rm_uni_word(*static_cast<const Row*>(row)); }};
}

// ---- lists of VLANs ------------------------------------------------------------------------------------

inline constexpr size_t GPON_RM_UNI_VLANS = 12;
using gpon_rm_uni_vlans_t = std::array<uint16_t, GPON_RM_UNI_VLANS>;

// Reads words that are VLANs or ranges of them, each range written out. How many VLANs they are; 0, behind a
// line, for a word that is none and for more than there is room for.
size_t ov_gpon_rm_cli_uni_vlanlist_parse(struct vty* vty, std::span<const char* const> words,
                                         gpon_rm_uni_vlans_t& vlans);
// The same of words "USER:NETWORK", a VLAN each; half the list each.
size_t gpon_rm_uni_xlatelist_parse(struct vty* vty, std::span<const char* const> words,
                                   gpon_rm_uni_vlans_t& users, gpon_rm_uni_vlans_t& networks);

// A column of the table holds them 16 bits each, high byte first.
template <typename Byte, size_t SIZE>
void gpon_rm_put_vlans(Byte (&column)[SIZE], const gpon_rm_uni_vlans_t& vlans) {
    static_assert(SIZE >= 2 * GPON_RM_UNI_VLANS);
    for (size_t i = 0; i < vlans.size(); i++) {
        column[2 * i] = static_cast<Byte>(vlans[i] >> 8);
        column[2 * i + 1] = static_cast<Byte>(vlans[i] & 0xff);
    }
}
template <typename Byte, size_t SIZE>
gpon_rm_uni_vlans_t gpon_rm_get_vlans(const Byte (&column)[SIZE]) {
    static_assert(SIZE >= 2 * GPON_RM_UNI_VLANS);
    gpon_rm_uni_vlans_t vlans{};
    for (size_t i = 0; i < vlans.size(); i++)
        vlans[i] = static_cast<uint16_t>(static_cast<uint8_t>(column[2 * i]) << 8 |
                                         static_cast<uint8_t>(column[2 * i + 1]));
    return vlans;
}

// The words of a list, with a blank between each two; those of VLANs that are 0 left out.
std::string gpon_rm_vlans_text(const gpon_rm_uni_vlans_t& vlans);
std::string gpon_rm_xlates_text(const gpon_rm_uni_vlans_t& users, const gpon_rm_uni_vlans_t& networks);
