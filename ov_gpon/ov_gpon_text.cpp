// Serial numbers, ranges of ONU ids, and texts of values.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

#include <strings.h>

#include "ov_gpon.h"
#include "ov_hal_gpon_msg.h"
#include "ov_product.h"

namespace {

constexpr int VENDOR_CODE = 4;
constexpr unsigned ONU_ID_MAX = 128;
constexpr size_t RANGE_DIGITS = 3;

bool is_hex_digit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// A whole text as a decimal number, cut to 8 bits: commands have always taken 257 for ONU 1.
bool parse_onu_id(std::string_view text, unsigned char* id) {
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size())
        return false;
    *id = static_cast<unsigned char>(number & 0xff);
    return true;
}

struct ValueText {
    int value;
    const char* text;
};

template <size_t N>
const char* text_of(const std::array<ValueText, N>& texts, int value, const char* other) {
    const auto* found =
        std::find_if(texts.begin(), texts.end(), [value](const ValueText& t) { return t.value == value; });
    return found != texts.end() ? found->text : other;
}

} // namespace

bool ov_gpon_onu_sn_is_legal(const char* s) {
    const std::string_view text = s ? s : "";
    return text.size() == OV_GPON_SN_TEXT &&
           std::all_of(text.begin() + VENDOR_CODE, text.end(), is_hex_digit);
}

int ov_gpon_onu_sn_string_to_bytes(const char* s, unsigned char* sn) {
    if (!sn || !ov_gpon_onu_sn_is_legal(s))
        return OV_GPON_RET_BAD_PARAM;
    std::memcpy(sn, s, VENDOR_CODE);
    const char* digits = s + VENDOR_CODE;
    for (int n = VENDOR_CODE; n < OV_GPON_SN_BYTES; ++n, digits += 2)
        std::from_chars(digits, digits + 2, sn[n], 16);
    return OV_GPON_RET_OK;
}

// Asked for each ONU of a port whenever one is added.
bool ov_gpon_onu_sn_is_same(const char* a, const char* b) {
    if (a == nullptr || b == nullptr || strcasecmp(a, b) != 0)
        return false;
    return std::strcmp(a, b) == 0 || (std::strncmp(a, b, VENDOR_CODE) == 0 && ov_gpon_onu_sn_is_legal(a));
}

int ov_gpon_onu_sn_bytes_to_string(const unsigned char* sn, char* string) {
    snprintf(string, OV_GPON_SN_TEXT + 1, "%c%c%c%c%02x%02x%02x%02x", sn[0], sn[1], sn[2], sn[3], sn[4],
             sn[5], sn[6], sn[7]);
    return OV_GPON_RET_OK;
}

char* ov_gpon_onu_sn_string(const unsigned char* sn) {
    static std::array<char, OV_GPON_SN_TEXT + 1> text;
    text.fill('\0');
    ov_gpon_onu_sn_bytes_to_string(sn, text.data());
    return text.data();
}

char* ov_gpon_bytes_to_hexstr(const char* bytes, int size) {
    constexpr int MOST = 64;
    static std::array<char, 256> text;
    text.fill('\0');
    if (!bytes || size > MOST)
        return text.data();
    for (int n = 0; n < size; ++n)
        snprintf(text.data() + size_t{3} * static_cast<size_t>(n), 4, "%02x ",
                 static_cast<unsigned char>(bytes[n]));
    return text.data();
}

int onuid_range_match(const char* range, unsigned char* min, unsigned char* max) {
    if (!range || !min || !max)
        return 0;
    const std::string_view text = range;
    const size_t dash = text.find('-');
    if (dash == std::string_view::npos) {
        if (!parse_onu_id(text, min))
            return 0;
        *max = *min;
    } else if (dash > RANGE_DIGITS || !parse_onu_id(text.substr(0, dash), min) ||
               !parse_onu_id(text.substr(dash + 1, RANGE_DIGITS), max)) {
        return 0;
    }
    return *min >= 1 && *min <= *max && *max <= ONU_ID_MAX ? 1 : 0;
}

const char* ov_gpon_onu_type_str(int onutype) {
    static constexpr std::array<ValueText, 6> TEXTS = {
        {{0, "SFU\r\n"}, {1, "HGU\r\n"}, {2, "SBU\r\n"}, {3, "CBU\r\n"}, {4, "MDU\r\n"}, {5, "MTU\r\n"}}};
    return text_of(TEXTS, onutype, "Unknown\r\n");
}

const char* ov_gpon_onu_trafficeMagOption_str(int option) {
    static constexpr std::array<ValueText, 3> TEXTS = {
        {{0, "priority controlled"}, {1, "rate controlled"}, {2, "priority and rate controlled"}}};
    return text_of(TEXTS, option, "Unknown\r\n");
}

// ITU-T G.988, ONU2-G, OMCC version.
const char* ov_gpon_omcc_version_str(int omccVersion) {
    static constexpr std::array<ValueText, 16> TEXTS = {{
        {128, "ITU-T G.984.4 (06/04)\r\n"},
        {129, "ITU-T G.984.4 2004 Amd.1 (06/05)\r\n"},
        {130, "ITU-T G.984.4 2004 Amd.2 (03/06)\r\n"},
        {131, "ITU-T G.984.4 2004 Amd.3 (12/06)\r\n"},
        {132, "ITU-T G.984.4 2008 (02/08)\r\n"},
        {133, "ITU-T G.984.4 2008 Amd.1 (06/09)\r\n"},
        {134, "ITU-T G.984.4 2008 Amd.2 (2009) Base\r\n"},
        {150, "ITU-T G.984.4 2008 Amd.2 (2009)\r\n"},
        {160, "ITU-T G.988 (2010) Base\r\n"},
        {161, "ITU-T G.988 Amd.1 (2011) Base\r\n"},
        {162, "ITU-T G.988 Amd.2 (2012) Base\r\n"},
        {163, "ITU-T G.988 (2012) Base\r\n"},
        {176, "ITU-T G.988 (2010)\r\n"},
        {177, "ITU-T G.988 Amd.1 (2011)\r\n"},
        {178, "ITU-T G.988 Amd.2 (2012)\r\n"},
        {179, "ITU-T G.988 (2012)\r\n"},
    }};
    return text_of(TEXTS, omccVersion, "Unkown");
}

const char* ov_gpon_update_status_convert_to_string(int upd_status) {
    static constexpr std::array TEXTS = {
        "NULL",           "start download",      "downloading",     "onu writing disk",
        "update success", "commit process",      "commit success",  "commit failed",
        "activate",       "activate success",    "activate failed", "update failed",
        "update abort",   "waiting for download"};
    if (upd_status >= 0 && static_cast<size_t>(upd_status) < TEXTS.size())
        return TEXTS[static_cast<size_t>(upd_status)];
    static std::array<char, 16> number;
    snprintf(number.data(), number.size(), "%d", upd_status);
    return number.data();
}

const char* ov_gpon_default_onutype_get() {
    static const char* name = nullptr;
    if (!name) {
        const char* vendor = ov_product_get_sysinfo_product_vender();
        name = vendor && std::strcmp(vendor, "VANDEL") == 0 ? "Vandel" : "KLM-618";
    }
    return name;
}

int ov_gpon_drv_cmd_exec(int argc, const char** argv) {
    std::array<char, 256> text{};
    size_t used = 0;
    auto append = [&](std::string_view word) {
        used += word.copy(text.data() + used, text.size() - 1 - used);
    };
    constexpr size_t LONGEST_WORD = 254;
    for (int n = 0; n < argc; ++n) {
        append(std::string_view(argv[n]).substr(0, LONGEST_WORD));
        append(" ");
    }
    if (ov_hal_gpon_drv_msg_send(0, text.data()) != OV_GPON_RET_OK)
        printf("Error:  %s,%s,%d\n", __FILE_NAME__, __func__, __LINE__);
    return OV_GPON_RET_OK;
}
