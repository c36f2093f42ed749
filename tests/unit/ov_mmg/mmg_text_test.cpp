#include "mmg_text.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::string hash_of_name(const char* name) {
    return std::to_string(static_cast<uint32_t>(BKDRHash(name, static_cast<int>(std::strlen(name)))));
}

TEST(Text, HexDigitsOfEitherCaseBecomeBytes) {
    std::array<char, 8> bytes{};
    EXPECT_EQ(str_to_hex(bytes.data(), "0aB1fF", 6), 3u);
    EXPECT_EQ(std::string(bytes.data(), 3), "\x0A\xB1\xFF");
}

TEST(Text, AnOddHexDigitIsDroppedAndANonDigitCountsAsZero) {
    std::array<char, 8> bytes{};
    EXPECT_EQ(str_to_hex(bytes.data(), "12g4567", 7), 3u);
    EXPECT_EQ(std::string(bytes.data(), 4), std::string("\x12\x04\x56\0", 4));
    EXPECT_EQ(str_to_hex(bytes.data(), "12", -2), 0u);
}

TEST(Text, HexDigitsMissingAtTheEndOfTheTextCountAsZero) {
    std::array<char, 4> bytes{1, 1, 1, 1};
    EXPECT_EQ(str_to_hex(bytes.data(), "7", 8), 4u);
    EXPECT_EQ(std::string(bytes.data(), 4), std::string("\x70\0\0\0", 4));
}

TEST(Text, HexIsClippedAtTheTarget) {
    std::array<char, 3> bytes{0, 0, 9};
    EXPECT_EQ(str_to_hex_clip(bytes.data(), 2, "112233", 6), 2u);
    EXPECT_EQ(std::string(bytes.data(), 3), "\x11\x22\x09");
    std::array<char, 6> text{};
    hex_to_str_clip(text.data(), 4, "\xAB\xCD", 2);
    EXPECT_STREQ(text.data(), "AB");
}

TEST(Text, BytesBecomeUpperCaseHex) {
    std::array<char, 16> text{};
    hex_to_str(text.data(), "\x00\xab\x7f", 3);
    EXPECT_STREQ(text.data(), "00AB7F");
    hex_to_str(text.data(), "", 0);
    EXPECT_STREQ(text.data(), "");
}

TEST(Text, AnOidIsSplitAtItsDots) {
    std::array<oid, 12> arcs{};
    std::string text = "1.3.6.1.4.1.47281";
    EXPECT_EQ(str_to_oid(arcs.data(), text.data()), 7u);
    EXPECT_EQ(std::vector<oid>(arcs.begin(), arcs.begin() + 7), (std::vector<oid>{1, 3, 6, 1, 4, 1, 47281}));
    EXPECT_STREQ(text.c_str(), "1"); // the text is used up
}

TEST(Text, AnOidWithALeadingDotOrABadPieceOrTooManyArcs) {
    std::array<oid, 4> arcs{};
    std::string text = ".1.x.7";
    EXPECT_EQ(str_to_oid(arcs.data(), text.data()), 3u);
    EXPECT_EQ(arcs[1], 0u);
    EXPECT_EQ(arcs[2], 7u);
    text = "1.2.3.4.5.6";
    EXPECT_EQ(str_to_oid_clip(arcs.data(), 4, text.data()), 4u);
    text.clear();
    EXPECT_EQ(str_to_oid(arcs.data(), text.data()), 0u);
}

TEST(Text, ArcsAreJoinedByDots) {
    const std::array<oid, 4> arcs{1, 3, 4294967295u, 0};
    std::array<char, 32> text{};
    oid_to_str(text.data(), arcs.data(), 4);
    EXPECT_STREQ(text.data(), "1.3.4294967295.0");
    oid_to_str(text.data(), arcs.data(), 0);
    EXPECT_STREQ(text.data(), "");
    oid_to_str_clip(text.data(), 8, arcs.data(), 4);
    EXPECT_STREQ(text.data(), "1.3");
}

TEST(Text, ALegalStringIsAlphanumeric) {
    EXPECT_EQ(if_legal_string("ABz09", 5), 1);
    EXPECT_EQ(if_legal_string("AB-09", 5), 0);
    EXPECT_EQ(if_legal_string("AB-09", 2), 1);
    EXPECT_EQ(if_legal_string("ABCG", 4), 1);
    EXPECT_EQ(if_legal_string("AB", 3), 0);
    EXPECT_EQ(if_legal_string("\xC4", 1), 0);
    EXPECT_EQ(if_legal_string("", 0), 1);
}

TEST(Text, NamesAreHashedWith131In32UnsignedBits) {
    EXPECT_EQ(BKDRHash("", 0), 0);
    EXPECT_EQ(BKDRHash("a", 1), 97);
    EXPECT_EQ(BKDRHash("ab", 2), 97 * 131 + 98);
    EXPECT_EQ(BKDRHash("\xFF", 1), 255);
    EXPECT_EQ(BKDRHash("abc", 2), BKDRHash("ab", 2));
    EXPECT_EQ(hash_of_name("default"), "3700132857");
    EXPECT_EQ(BKDRHash("default", 7), -594834439);
}

TEST(Text, TrimmingRemovesEveryBlank) {
    std::string text = "  a b  c ";
    EXPECT_STREQ(strtrim(text.data()), "abc");
    EXPECT_EQ(strtrim(nullptr), nullptr);
}

TEST(Text, ASubstringIsCopiedAndTerminated) {
    std::array<char, 16> text{};
    substr(text.data(), "\"KLM-618\"", 1, 7);
    EXPECT_STREQ(text.data(), "KLM-618");
    substr(text.data(), "abc", 1, 10);
    EXPECT_STREQ(text.data(), "bc");
    substr(text.data(), "abc", 9, 2);
    EXPECT_STREQ(text.data(), "");
    substr(text.data(), "abc", -1, 2);
    EXPECT_STREQ(text.data(), "ab");
    substr_clip(text.data(), 3, "abcdef", 2, 4);
    EXPECT_STREQ(text.data(), "cd");
}

} // namespace
