#include "text.h"

#include <gtest/gtest.h>

namespace {

Words words_of(std::string_view line) {
    Words words;
    std::string error;
    EXPECT_TRUE(split_words(line, words, error)) << error;
    return words;
}

TEST(SplitWords, CutsAtBlanksAndComments) {
    EXPECT_EQ(words_of("  event new-if\tifindex=5 # comment"), (Words{"event", "new-if", "ifindex=5"}));
    EXPECT_EQ(words_of("a#b"), (Words{"a#b"}));
    EXPECT_TRUE(words_of("").empty());
    EXPECT_TRUE(words_of("# only a comment \"").empty());
}

TEST(SplitWords, QuotesHoldBlanksQuotesAndBackslashes) {
    EXPECT_EQ(words_of(R"(note "a \"b\" \\ # c" x="1 2" "")"),
              (Words{"note", R"(a "b" \ # c)", "x=1 2", ""}));
}

TEST(SplitWords, AnOpenQuoteIsAMistake) {
    Words words;
    std::string error;
    EXPECT_FALSE(split_words("note \"open", words, error));
    EXPECT_EQ(error, "a quote isn't closed");
    EXPECT_FALSE(split_words("note \"open\\\"", words, error));
}

TEST(QuoteWord, IsUndoneBySplitWords) {
    for (const char* word : {"plain", "", "two words", "\"", "\\", "a\\ b", "#x", "x#", "k=\"v w\"", "\t"})
        EXPECT_EQ(words_of("x " + quote_word(word)), (Words{"x", word})) << word;
}

TEST(ParseNumbers, TakeDecimalAndHexadecimalOnly) {
    EXPECT_EQ(parse_u32("0"), 0u);
    EXPECT_EQ(parse_u32("4294967295"), 4294967295u);
    EXPECT_EQ(parse_u32("0xFFffFFff"), 4294967295u);
    for (const char* bad :
         {"", "0x", "-1", "+1", " 1", "1 ", "12a", "4294967296", "0x100000000", "99999999999999999999"})
        EXPECT_FALSE(parse_u32(bad)) << bad;
}

TEST(ParseNumbers, SignedReachesBothEnds) {
    EXPECT_EQ(parse_i32("-2147483648"), INT32_MIN);
    EXPECT_EQ(parse_i32("2147483647"), INT32_MAX);
    EXPECT_FALSE(parse_i32("2147483648"));
    EXPECT_FALSE(parse_i32("-2147483649"));
    EXPECT_FALSE(parse_i32("--1"));
}

TEST(Hex, GoesBothWaysAndRefusesOddAndOtherDigits) {
    EXPECT_EQ(parse_hex("00fFa1"), (std::vector<uint8_t>{0, 0xFF, 0xA1}));
    EXPECT_EQ(to_hex(*parse_hex("00ffa1")), "00ffa1");
    EXPECT_TRUE(parse_hex("")->empty());
    EXPECT_FALSE(parse_hex("abc"));
    EXPECT_FALSE(parse_hex("0g"));
}

TEST(EncodeValue, LeavesNoBlankOrControlCharacter) {
    EXPECT_EQ(encode_value("gpon-olt1/1:2,x=y"), "gpon-olt1/1:2,x=y");
    EXPECT_EQ(encode_value("a b%\n\"\xff"), "a%20b%25%0A%22%FF");
}

} // namespace
