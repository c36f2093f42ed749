// Serial numbers, words of commands, and texts of values.
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>
#include <string>

#include "../ov_common/private_root.h"
#include "../ov_common/product_test_env.h"
#include "ov_gpon.h"
#include "ov_types.h"

namespace {

using Serial = std::array<unsigned char, 8>;

// ---- serial numbers ---------------------------------------------------------------------------------------

TEST(SerialNumber, TextToBytes) {
    Serial sn = {};
    EXPECT_EQ(ov_gpon_onu_sn_string_to_bytes("ABCD0123aBfF", sn.data()), 0);
    EXPECT_EQ(sn, (Serial{'A', 'B', 'C', 'D', 0x01, 0x23, 0xab, 0xff}));
    EXPECT_EQ(ov_gpon_onu_sn_string_to_bytes("?~ !00000000", sn.data()), 0); // any vendor characters
    EXPECT_EQ(sn, (Serial{'?', '~', ' ', '!', 0, 0, 0, 0}));
}

TEST(SerialNumber, WrongTextsAreRefusedAndLeaveTheBytes) {
    for (const char* text : {"", "ABCD0000000", "ABCD000000000", "ABCD0000000G", "ABCDG0000000",
                             "ABCD 1234567", "ABCD0x12ab34", "ABCD-1234567"}) {
        Serial sn = {1, 2, 3, 4, 5, 6, 7, 8};
        EXPECT_EQ(ov_gpon_onu_sn_string_to_bytes(text, sn.data()), OV_GPON_RET_BAD_PARAM) << text;
        EXPECT_EQ(sn, (Serial{1, 2, 3, 4, 5, 6, 7, 8})) << text;
        EXPECT_FALSE(ov_gpon_onu_sn_is_legal(text)) << text;
    }
    Serial sn = {};
    EXPECT_EQ(ov_gpon_onu_sn_string_to_bytes(nullptr, sn.data()), OV_GPON_RET_BAD_PARAM);
    EXPECT_EQ(ov_gpon_onu_sn_string_to_bytes("ABCD01234567", nullptr), OV_GPON_RET_BAD_PARAM);
    EXPECT_TRUE(ov_gpon_onu_sn_is_legal("ABCD01234567"));
}

TEST(SerialNumber, TextsOfOneOnuDifferInTheCaseOfTheirDigitsOnly) {
    EXPECT_TRUE(ov_gpon_onu_sn_is_same("ABCD0123aBfF", "ABCD0123AbFf"));
    EXPECT_FALSE(ov_gpon_onu_sn_is_same("ABCD0123aBfF", "ABCD0123aBfE"));
    EXPECT_FALSE(ov_gpon_onu_sn_is_same("ABCD0123abff", "abcd0123abff")); // the vendor's letters count
    EXPECT_TRUE(ov_gpon_onu_sn_is_same("", ""));
    EXPECT_FALSE(ov_gpon_onu_sn_is_same("ABCD0123abff", ""));
    // What is no serial number is compared as it stands.
    EXPECT_TRUE(ov_gpon_onu_sn_is_same("ABCD0123abf", "ABCD0123abf"));
    EXPECT_FALSE(ov_gpon_onu_sn_is_same("ABCD0123abf", "ABCD0123ABF"));
    EXPECT_FALSE(ov_gpon_onu_sn_is_same("ABCD0123abfG", "ABCD0123abfg"));
    EXPECT_FALSE(ov_gpon_onu_sn_is_same("ABCD0123abff", "ABCD0123abff0"));
    EXPECT_FALSE(ov_gpon_onu_sn_is_same(nullptr, ""));
    EXPECT_FALSE(ov_gpon_onu_sn_is_same("", nullptr));
}

TEST(SerialNumber, BytesToTextInLowerCase) {
    const Serial sn = {'A', 'B', 'C', 'D', 0x01, 0x23, 0xab, 0xff};
    std::array<char, 14> text;
    text.fill('x');
    EXPECT_EQ(ov_gpon_onu_sn_bytes_to_string(sn.data(), text.data()), 0);
    EXPECT_STREQ(text.data(), "ABCD0123abff");
    EXPECT_EQ(text[13], 'x');
    EXPECT_STREQ(ov_gpon_onu_sn_string(sn.data()), "ABCD0123abff");
}

TEST(SerialNumber, TheStaticTextIsGoodUntilTheNextCall) {
    const Serial one = {'A', 'B', 'C', 'D', 1, 2, 3, 4};
    const Serial two = {0, 0, 0, 0, 0, 0, 0, 0};
    char* text = ov_gpon_onu_sn_string(one.data());
    EXPECT_STREQ(text, "ABCD01020304");
    EXPECT_EQ(ov_gpon_onu_sn_string(two.data()), text);
    EXPECT_STREQ(text, "");
}

// ---- bytes ------------------------------------------------------------------------------------------------

TEST(HexText, EachByteAndABlank) {
    EXPECT_STREQ(ov_gpon_bytes_to_hexstr("\x01\xff\x00z", 4), "01 ff 00 7a ");
    EXPECT_STREQ(ov_gpon_bytes_to_hexstr("abc", 0), "");
    EXPECT_STREQ(ov_gpon_bytes_to_hexstr("abc", -1), "");
    EXPECT_STREQ(ov_gpon_bytes_to_hexstr(nullptr, 4), "");
}

TEST(HexText, SixtyFourBytesAtMost) {
    const std::string bytes(65, '\xab');
    EXPECT_EQ(strlen(ov_gpon_bytes_to_hexstr(bytes.data(), 64)), 64u * 3);
    EXPECT_STREQ(ov_gpon_bytes_to_hexstr(bytes.data(), 65), "");
    EXPECT_STREQ(ov_gpon_bytes_to_hexstr(bytes.data(), INT_MAX), "");
}

// ---- ranges of ONU ids ------------------------------------------------------------------------------------

struct Range {
    const char* text;
    int min;
    int max;
};

TEST(OnuIdRange, NumbersAndPairs) {
    const Range good[] = {
        {"1", 1, 1},
        {"128", 128, 128},
        {"007", 7, 7},
        {"1-128", 1, 128},
        {"5-5", 5, 5},
        {"001-010", 1, 10},
        {"257", 1, 1},              // cut to 8 bits
        {"65537", 1, 1},            // for any number
        {"257-384", 1, 128},        // in pairs too
        {"1-1280", 1, 128},         // three characters count behind the dash
        {"1-128-7", 1, 128},        //
        {"2-003zzzzzzzzzzzz", 2, 3} //
    };
    for (const Range& r : good) {
        unsigned char min = 0;
        unsigned char max = 0;
        EXPECT_EQ(onuid_range_match(r.text, &min, &max), 1) << r.text;
        EXPECT_EQ(min, r.min) << r.text;
        EXPECT_EQ(max, r.max) << r.text;
    }
}

TEST(OnuIdRange, WrongTexts) {
    for (const char* text : {"",        "0",     "129",    "255",  "256",
                             "5-3",     "0-5",   "5-0",    "x",    "5x",
                             "x5",      "5-",    "-5",     "-",    "1-5x",
                             "1-x",     "1-129", "0001-5", "1 -5", "1- 5",
                             "+5",      " 5",    "5 ",     "1--5", "99999999999999999999999",
                             "256-300", "1-256"}) {
        unsigned char min = 0;
        unsigned char max = 0;
        EXPECT_EQ(onuid_range_match(text, &min, &max), 0) << text;
    }
    unsigned char id = 0;
    EXPECT_EQ(onuid_range_match(nullptr, &id, &id), 0);
    EXPECT_EQ(onuid_range_match("5", nullptr, &id), 0);
    EXPECT_EQ(onuid_range_match("5", &id, nullptr), 0);
}

// ---- texts of values --------------------------------------------------------------------------------------

TEST(ValueTexts, OnuTypes) {
    const char* texts[] = {"SFU\r\n", "HGU\r\n", "SBU\r\n", "CBU\r\n", "MDU\r\n", "MTU\r\n"};
    for (int type = 0; type < 6; ++type)
        EXPECT_STREQ(ov_gpon_onu_type_str(type), texts[type]);
    for (const int type : {6, -1, INT_MAX, INT_MIN})
        EXPECT_STREQ(ov_gpon_onu_type_str(type), "Unknown\r\n");
}

// Only the text for unknown values ends the line.
TEST(ValueTexts, TrafficManagement) {
    EXPECT_STREQ(ov_gpon_onu_trafficeMagOption_str(0), "priority controlled");
    EXPECT_STREQ(ov_gpon_onu_trafficeMagOption_str(1), "rate controlled");
    EXPECT_STREQ(ov_gpon_onu_trafficeMagOption_str(2), "priority and rate controlled");
    for (const int option : {3, -1, INT_MAX})
        EXPECT_STREQ(ov_gpon_onu_trafficeMagOption_str(option), "Unknown\r\n");
}

TEST(ValueTexts, OmccVersions) {
    const std::pair<int, const char*> texts[] = {
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
    };
    for (const auto& [version, text] : texts)
        EXPECT_STREQ(ov_gpon_omcc_version_str(version), text);
    for (const int version : {0, 127, 135, 149, 151, 164, 175, 180, 255, -1})
        EXPECT_STREQ(ov_gpon_omcc_version_str(version), "Unkown");
}

TEST(ValueTexts, UpdateStatus) {
    const char* texts[] = {"NULL",           "start download",      "downloading",     "onu writing disk",
                           "update success", "commit process",      "commit success",  "commit failed",
                           "activate",       "activate success",    "activate failed", "update failed",
                           "update abort",   "waiting for download"};
    for (int status = 0; status < 14; ++status)
        EXPECT_STREQ(ov_gpon_update_status_convert_to_string(status), texts[status]);
    EXPECT_STREQ(ov_gpon_update_status_convert_to_string(14), "14");
    EXPECT_STREQ(ov_gpon_update_status_convert_to_string(INT_MIN), "-2147483648");
}

// ---- the brand's default ----------------------------------------------------------------------------------

// The answer is kept for the life of the process: each brand has one of its own.
void expect_default_type(const char* vendor, const char* type) {
    private_root::run([=] {
        FakePlatform platform;
        if (vendor)
            platform.set("PDT_INFO_VENDER_PDT_NAME", vendor);
        EXPECT_STREQ(ov_gpon_default_onutype_get(), type);
        platform.set("PDT_INFO_VENDER_PDT_NAME", "other");
        ov_product_deinit();
        EXPECT_STREQ(ov_gpon_default_onutype_get(), type);
    });
}

TEST(DefaultOnuType, GoesByTheVendor) {
    expect_default_type("VANDEL", "Vandel");
    expect_default_type("Vandel", "KLM-618");
    expect_default_type("VANDEL2", "KLM-618");
    expect_default_type("", "KLM-618");
    expect_default_type(nullptr, "KLM-618");
}

} // namespace
