// How an ONU proves who it is, in commands: "sn", "pw" or "loid" with its text, the first and the last also
// with "pw" and a second one. Texts are at most as long as what the ONU sends (ITU-T G.984.3 for the serial
// number and the password).
#pragma once

#include <cstddef>

#include "sOnuTable.h"

struct OnuCredential {
    unsigned column;
    char (ov_sOnuTable_attr_t::*text)[sOnuTable_limit::sOnuTableSn + 1];
    size_t longest;
};

struct OnuAuthForm {
    const char* keyword; // the parser has matched it, so its first letter tells
    mib_long mode;       // sOnuTableAuthMode
    OnuCredential first;
    OnuCredential second; // column 0: none
};

namespace onu_auth {

inline constexpr size_t ONU_SN_WORD_MAX = 16;
inline constexpr size_t ONU_PW_WORD_MAX = 10;
inline constexpr size_t ONU_LOID_WORD_MAX = 24;
inline constexpr size_t ONU_LOID_PW_WORD_MAX = 12;

inline constexpr OnuCredential NONE = {0, nullptr, 0};
inline constexpr OnuCredential SN = {sOnuTable_column::sOnuTableSn, &ov_sOnuTable_attr_t::sOnuTableSn,
                                     ONU_SN_WORD_MAX};
inline constexpr OnuCredential PW = {sOnuTable_column::sOnuTablePw, &ov_sOnuTable_attr_t::sOnuTablePw,
                                     ONU_PW_WORD_MAX};
inline constexpr OnuCredential LOID = {sOnuTable_column::sOnuTableLoid, &ov_sOnuTable_attr_t::sOnuTableLoid,
                                       ONU_LOID_WORD_MAX};
inline constexpr OnuCredential LOID_PW = {sOnuTable_column::sOnuTableLoidPw,
                                          &ov_sOnuTable_attr_t::sOnuTableLoidPw, ONU_LOID_PW_WORD_MAX};

} // namespace onu_auth

inline constexpr OnuAuthForm ONU_AUTH_FORMS[] = {
    {"sn", SONUTABLEAUTHMODE_SN, onu_auth::SN, onu_auth::NONE},
    {"pw", SONUTABLEAUTHMODE_PW, onu_auth::PW, onu_auth::NONE},
    {"sn", SONUTABLEAUTHMODE_SNPW, onu_auth::SN, onu_auth::PW},
    {"loid", SONUTABLEAUTHMODE_LOID, onu_auth::LOID, onu_auth::NONE},
    {"loid", SONUTABLEAUTHMODE_LOIDPW, onu_auth::LOID, onu_auth::LOID_PW},
};

// The form of a mode, null for a number that is none.
inline const OnuAuthForm* onu_auth_form_of(mib_long mode) {
    for (const OnuAuthForm& form : ONU_AUTH_FORMS)
        if (form.mode == mode)
            return &form;
    return nullptr;
}
