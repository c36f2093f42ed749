// The telephones of an ONU in the tables of SIP users and of lines, which name their index columns in their
// own way.
#pragma once

#include <string>

#include "ov_gpon_rm_uni_word.h"
#include "sRmVoipLineStatusTable.h"
#include "sRmVoipSipUserDataTable.h"

// The places of a UNI's numbers in a row.
template <typename Row>
struct SipUniColumns;
template <>
struct SipUniColumns<ov_sRmVoipSipUserDataTable_attr_t> {
    using Row = ov_sRmVoipSipUserDataTable_attr_t;
    static constexpr auto TYPE = &Row::sRmVoipSipUserDataCardType;
    static constexpr auto CARD = &Row::sRmVoipSipUserDataCardID;
    static constexpr auto PORT = &Row::sRmVoipSipUserDataPortID;
};
template <>
struct SipUniColumns<ov_sRmVoipLineStatusTable_attr_t> {
    using Row = ov_sRmVoipLineStatusTable_attr_t;
    static constexpr auto TYPE = &Row::sRmVoipLineStatusCardType;
    static constexpr auto CARD = &Row::sRmVoipLineStatusCardID;
    static constexpr auto PORT = &Row::sRmVoipLineStatusPortID;
};

// Puts the UNI that a word is into a row's index. 0, or the result of a refusal, behind its text.
template <typename Row>
int gpon_rm_put_sip_uni(const CliCall& call, const char* word, Row& row) {
    ov_gpon_rmuni_type_t type{};
    uint32_t card = 0;
    uint32_t port = 0;
    if (const int refusal = ov_gpon_rm_uni_pos_parse(call.vty, word, &type, &card, &port); refusal != 0)
        return refusal;
    row.*SipUniColumns<Row>::TYPE = static_cast<int32_t>(type);
    row.*SipUniColumns<Row>::CARD = card;
    row.*SipUniColumns<Row>::PORT = port;
    return 0;
}

// The word of a row's UNI.
template <typename Row>
std::string gpon_rm_sip_uni_word(const Row& row) {
    return ov_gpon_rm_cli_uni_pos_str(row.*SipUniColumns<Row>::CARD, row.*SipUniColumns<Row>::PORT,
                                      row.*SipUniColumns<Row>::TYPE);
}

// The argument `name` as part of the index of a SIP user.
constexpr CliIndexWord gpon_rm_sip_user_index(const char* name) {
    using User = ov_sRmVoipSipUserDataTable_attr_t;
    return {.name = name,
            .put = [](const CliCall& call, const char* word,
                      void* row) { return gpon_rm_put_sip_uni(call, word, *static_cast<User*>(row)); },
            .word = [](const void* row) { return gpon_rm_sip_uni_word(*static_cast<const User*>(row)); }};
}
