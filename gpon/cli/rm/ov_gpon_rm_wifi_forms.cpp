#include <algorithm>
#include <cctype>
#include <cstring>

#include "ov_gpon_rm_wan_forms.h"
#include "ov_refusal.h"
#include "sRmWifiTable.h"

namespace {

using namespace sRmWifiTable_column;
using Wifi = ov_sRmWifiTable_attr_t;

constexpr CliIndexWord INDEX[] = {{"wifi", 4}};

const Wifi& wifi(const void* row) {
    return *static_cast<const Wifi*>(row);
}

// ---- WEP keys -------------------------------------------------------------------------------------------

// The column of the key that the row's index says.
struct KeyColumn {
    unsigned column;
    char (Wifi::*text)[sRmWifiTable_limit::sRmWifiKeyOne + 1];
};
constexpr KeyColumn KEYS[] = {{sRmWifiKeyOne, &Wifi::sRmWifiKeyOne},
                              {sRmWifiKeyTwo, &Wifi::sRmWifiKeyTwo},
                              {sRmWifiKeyThree, &Wifi::sRmWifiKeyThree},
                              {sRmWifiKeyFour, &Wifi::sRmWifiKeyFour}};

const KeyColumn* key_of(const Wifi& row) {
    const auto index = static_cast<size_t>(row.sRmWifiKeyIndex) - 1;
    return index < std::size(KEYS) ? &KEYS[index] : nullptr;
}

// 24 bits of a key are the frame's own (IEEE Std 802.11): 40 or 104 bits are typed, as characters or as
// hexadecimal digits.
size_t characters_of(const Wifi& row) {
    return row.sRmWifiSecurityMode == SRMWIFISECURITYMODE_WEP64 ? 5 : 13;
}
bool is_key(std::string_view text, size_t characters) {
    const auto is_digit = [](unsigned char c) { return isxdigit(c) != 0; };
    return text.size() == characters ||
           (text.size() == 2 * characters && std::all_of(text.begin(), text.end(), is_digit));
}

int put_key(const CliCall& call, const CliRowWord& word, const char* typed, CliFilledRow& filled) {
    auto& row = *static_cast<Wifi*>(filled.row);
    const size_t characters = characters_of(row);
    const KeyColumn* const key = key_of(row);
    if (key == nullptr || !is_key(typed, characters)) {
        ov_refusal_because("the key has %zu characters or %zu hexadecimal digits", characters,
                           2 * characters);
        return call.fail(word.unfit, KAVO_CLI_BAD_INPUT);
    }
    snprintf(row.*key->text, sizeof(row.*key->text), "%s", typed);
    mib_flag_set(filled.columns, key->column);
    filled.put(sRmWifiWepKeybit, row.sRmWifiSecurityMode == SRMWIFISECURITYMODE_WEP64
                                     ? SRMWIFIWEPKEYBIT_BITS64
                                     : SRMWIFIWEPKEYBIT_BITS128);
    return 0;
}

std::string key_word(const CliRowWord& /*word*/, const void* row) {
    const KeyColumn* const key = key_of(wifi(row));
    if (key == nullptr || !is_key(wifi(row).*key->text, characters_of(wifi(row))))
        return "";
    return wifi(row).*key->text;
}

constexpr CliRowCodec WEP_KEY = {put_key, key_word};

// ---- limits ---------------------------------------------------------------------------------------------

bool has_room_for_80MHz(const CliRowWord& /*word*/, const void* row) {
    return wifi(row).sRmWifiBandwidth != SRMWIFIBANDWIDTH_MHZ20_40_80 ||
           wifi(row).sRmWifiMode == SRMWIFIMODE_ACNA;
}

// A pass phrase (IEEE Std 802.11i).
bool is_pass_phrase(const CliRowWord& /*word*/, const void* row) {
    const size_t length = strlen(wifi(row).sRmWifiShareKey);
    return length >= 8 && length <= 63;
}

// ---- the words ------------------------------------------------------------------------------------------

constexpr ColName MODES[] = {{SRMWIFIMODE_B, "802.11b"},       {SRMWIFIMODE_G, "802.11g"},
                             {SRMWIFIMODE_BG, "802.11b/g"},    {SRMWIFIMODE_N, "802.11n"},
                             {SRMWIFIMODE_BGN, "802.11b/g/n"}, {SRMWIFIMODE_A, "802.11a"},
                             {SRMWIFIMODE_NA, "802.11n/a"},    {SRMWIFIMODE_ACNA, "802.11ac/n/a"}};
constexpr ColName CHANNELS[] = {{0, "auto"}};
constexpr ColName BANDWIDTHS[] = {{SRMWIFIBANDWIDTH_MHZ20, "20MHz"},
                                  {SRMWIFIBANDWIDTH_MHZ40, "40MHz"},
                                  {SRMWIFIBANDWIDTH_MHZ20_40, "20/40MHz"},
                                  {SRMWIFIBANDWIDTH_MHZ20_40_80, "20/40/80MHz"}};
constexpr ColName SECURITY_MODES[] = {
    {SRMWIFISECURITYMODE_OPEN, "open"},          {SRMWIFISECURITYMODE_WEP64, "wep-64bits"},
    {SRMWIFISECURITYMODE_WEP128, "wep-128bits"}, {SRMWIFISECURITYMODE_WPA_PSK, "wpa-psk"},
    {SRMWIFISECURITYMODE_WPA2_PSK, "wpa2-psk"},  {SRMWIFISECURITYMODE_WPA_WPA2_PSK, "wpa-psk/wpa2-psk"}};
constexpr ColName WEP_AUTHS[] = {{SRMWIFIWEPAUTH_OPEN, "open"},
                                 {SRMWIFIWEPAUTH_SHARE, "share"},
                                 {SRMWIFIWEPAUTH_OPEN_SHARE, "open/share"}};
constexpr ColName CIPHERS[] = {{SRMWIFIWPAENCRYPT_TKIP, "tkip"},
                               {SRMWIFIWPAENCRYPT_AES, "aes"},
                               {SRMWIFIWPAENCRYPT_TKIP_AES, "tkip/aes"}};

constexpr CliColumnRange WEP = {sRmWifiSecurityMode, SRMWIFISECURITYMODE_WEP64, SRMWIFISECURITYMODE_WEP128};
constexpr CliColumnRange WPA = {sRmWifiSecurityMode, SRMWIFISECURITYMODE_WPA_PSK,
                                SRMWIFISECURITYMODE_WPA_WPA2_PSK};

// In the order in which they are taken: a key is looked at when its mode and number are known.
constexpr CliRowWord WORDS_OF_WIFI[] = {
    {.name = "mode", .column = sRmWifiMode, .words = MODES},
    {.name = "channel",
     .column = sRmWifiChannel,
     .words = CHANNELS,
     .unfit = "%%Wrong parameter(wifi channel)%s"},
    {.name = "bandwidth",
     .column = sRmWifiBandwidth,
     .words = BANDWIDTHS,
     .unfit = "%%Bandwidth parameter invalid%s",
     .is_right = has_room_for_80MHz,
     .wrong = "%%Only 802.11ac/n/a support 20/40/80MHz%s",
     .because = "other modes have channels of 20 and 40 MHz",
     .may_miss = true},
    {.name = "ssid-name", .column = sRmWifiName, .unfit = "%%SSID name len exceed range%s"},
    {.name = "security-mode", .column = sRmWifiSecurityMode, .words = SECURITY_MODES},
    {.name = "share-key",
     .column = sRmWifiShareKey,
     .unfit = "%%Share key len exceed range%s",
     .is_right = is_pass_phrase,
     .wrong = "%%Share key len error%s",
     .because = "a share key has 8 to 63 characters",
     .when = WPA},
    {.name = "encrypt-mode", .column = sRmWifiWpaEncrypt, .words = CIPHERS, .when = WPA, .may_miss = true},
    {.name = "wep-auth", .column = sRmWifiWepAuth, .words = WEP_AUTHS, .when = WEP},
    {.name = "key-index", .column = sRmWifiKeyIndex, .when = WEP},
    {.name = "KEYVALUE", .codec = &WEP_KEY, .unfit = "%%Invalid key value%s", .when = WEP},
};
constexpr unsigned UNSAID[] = {sRmWifiRate,         sRmWifiGuardInterval, sRmWifiBeaconInterval,
                               sRmWifiDtimInterval, sRmWifiApIso,         sRmWifiBroadcastCancel};

} // namespace

const CliRowForms& gpon_rm_wifi_forms() {
    static const CliRowForms forms(table_desc_sRmWifiTable, INDEX, WORDS_OF_WIFI, UNSAID);
    return forms;
}
