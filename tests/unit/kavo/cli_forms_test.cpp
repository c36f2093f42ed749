// Commands written from values.
#include "cli_forms.h"

#include <array>
#include <gtest/gtest.h>

namespace {

std::string line(const char* syntax, std::initializer_list<CliValue> values) {
    return CliSyntax(syntax).line({values.begin(), values.size()});
}

TEST(CliSyntax, ALineHasTheBlanksOfItsSyntax) {
    EXPECT_EQ(line("fec downstream  (enable|disable)", {"enable"}), "fec downstream  enable");
    EXPECT_EQ(line("tcont <1-8> profile PROFILE", {3, "gold"}), "tcont 3 profile gold");
    EXPECT_EQ(line("cpe activate file VERSIONFILE ", {"v1"}), "cpe activate file v1");
    EXPECT_EQ(line("deactive", {}), "deactive");
}

TEST(CliSyntax, ANumberIsOneOfItsRange) {
    for (const int64_t bad : {int64_t{0}, int64_t{-1}, int64_t{9}, int64_t{4294967297}})
        EXPECT_EQ(line("tcont <1-8>", {bad}), "") << bad;
    EXPECT_EQ(line("tcont <1-8>", {1u}), "tcont 1");
    EXPECT_EQ(line("tcont <1-8>", {8}), "tcont 8");
    EXPECT_EQ(line("power <0-4294967295>", {4294967295u}), "power 4294967295");
    EXPECT_EQ(line("tcont <1-8>", {"3"}), "") << "a text is no number";
}

TEST(CliSyntax, AChoiceHoldsItsAlternativesOnly) {
    EXPECT_EQ(line("onu max_distance (20|30|40|50|60)", {30}), "onu max_distance 30");
    EXPECT_EQ(line("onu max_distance (20|30|40|50|60)", {35}), "");
    EXPECT_EQ(line("queue (<0-7>|default)", {"default"}), "queue default");
    EXPECT_EQ(line("queue (<0-7>|default)", {7}), "queue 7");
    EXPECT_EQ(line("queue (<0-7>|default)", {8}), "");
    EXPECT_EQ(line("queue (<0-7>|default)", {"other"}), "");
    EXPECT_EQ(line("uni (ETHUNI|veip)", {"eth_1/2"}), "uni eth_1/2");
}

// A manager may write any text; replayed, it would be another command, or two.
TEST(CliSyntax, ATextIsOneWord) {
    EXPECT_EQ(line("name STRING", {"a|b"}), "name a|b");
    for (const char* bad : {"", "two words", "a\nno onu 1", "gr\xfcn", "up|", "|", "a\x7f"})
        EXPECT_EQ(line("name STRING", {bad}), "") << bad;
}

TEST(CliSyntax, EachArgumentHasAValue) {
    EXPECT_EQ(line("tcont <1-8> profile PROFILE", {3}), "");
    EXPECT_EQ(line("tcont <1-8>", {3, 4}), "");
    EXPECT_EQ(line("tcont <1-8>", {CliValue()}), "");
}

constexpr const char* SYNTAXES[] = {
    "port <1-32> mac-move (enable|disable)",
    "port <1-32> gem <1-30>",
    "port <1-32> gem <1-30> vlan <1-4094> transparent",
    "port <1-32> gem <1-30> vlan <1-4094> priority <0-7>",
    "port <1-32> gem <1-30> vlan <1-4094> svlan <1-4094> priority (<0-7>|copy)",
    "port <1-32> gem <1-30> vlan <1-4094> priority <0-7> svlan <1-4094> priority (<0-7>|copy)",
    "onu <1-128> type TYPE (sn|pw) STRING",
    "onu <1-128> type TYPE (sn|loid) STRING pw STRING",
    "wifi <1-4> channel <1-13>",
    "wifi <5-8> channel <36-165>",
    "no port <1-32>",
};

TEST(CliForms, TheFormIsTheOneThatHasJustTheValues) {
    const CliForms forms(SYNTAXES,
                         {"port", "gem", "vlan", "transparent", "vlan priority", "svlan", "svlan priority"});
    EXPECT_EQ(forms.line({1, 2, {}, {}, {}, {}, {}}), "port 1 gem 2");
    EXPECT_EQ(forms.line({1, 2, 3, CliValue::given(true), {}, {}, {}}), "port 1 gem 2 vlan 3 transparent");
    EXPECT_EQ(forms.line({1, 2, 3, CliValue::given(false), 7, {}, {}}), "port 1 gem 2 vlan 3 priority 7");
    EXPECT_EQ(forms.line({1, 2, 3, {}, {}, 4, "copy"}), "port 1 gem 2 vlan 3 svlan 4 priority copy");
    EXPECT_EQ(forms.line({1, 2, 3, {}, 5, 4, 6}), "port 1 gem 2 vlan 3 priority 5 svlan 4 priority 6");
}

TEST(CliForms, ValuesThatNoFormHasOrHoldsMakeNoLine) {
    const CliForms forms(SYNTAXES, {"port", "gem", "vlan", "transparent", "vlan priority"});
    EXPECT_EQ(forms.line({1, 2, 3, {}, {}}), "") << "no form without more";
    EXPECT_EQ(forms.line({1, 2, 3, CliValue::given(true), 4}), "") << "none with both";
    EXPECT_EQ(forms.line({33, 2, {}, {}, {}}), "");
    EXPECT_EQ(forms.line({1, 31, {}, {}, {}}), "");
    EXPECT_TRUE(forms.can_hold({32, 30, {}, {}, {}}));
    EXPECT_FALSE(forms.can_hold({32, 31, {}, {}, {}}));
}

TEST(CliForms, AChoiceWithoutANameIsSettledByWhatStandsBehindIt) {
    const CliForms forms(SYNTAXES, {"onu", "type", "sn", "loid", "pw"});
    EXPECT_EQ(forms.line({1, "T", "ABCD", {}, {}}), "onu 1 type T sn ABCD");
    EXPECT_EQ(forms.line({1, "T", {}, {}, "secret"}), "onu 1 type T pw secret");
    EXPECT_EQ(forms.line({1, "T", {}, "me", "secret"}), "onu 1 type T loid me pw secret");
    EXPECT_EQ(forms.line({1, "T", {}, "me", {}}), "");
}

TEST(CliForms, OfFormsForOtherRangesTheOneThatHoldsTheValuesIsTaken) {
    const CliForms forms(SYNTAXES, {"wifi", "channel"});
    EXPECT_EQ(forms.size(), 2u);
    EXPECT_EQ(forms.line({4, 13}), "wifi 4 channel 13");
    EXPECT_EQ(forms.line({5, 165}), "wifi 5 channel 165");
    EXPECT_EQ(forms.line({5, 13}), "");
}

constexpr const char* RADIO[] = {"radio <1-4> mode (b|g) rate <1-9>", "radio <5-8> mode a rate <1-9>",
                                 "radio <5-8> mode (n|ac) rate <1-9>", "radio <1-8> off"};

TEST(CliForms, AKeywordInThePlaceOfAChoiceIsWhatItsNameSays) {
    const CliForms forms(RADIO, {"radio", "mode", "rate"});
    EXPECT_EQ(forms.line({1, "g", 9}), "radio 1 mode g rate 9");
    EXPECT_EQ(forms.line({5, "a", 9}), "radio 5 mode a rate 9");
    EXPECT_EQ(forms.line({5, "ac", 1}), "radio 5 mode ac rate 1");
    EXPECT_EQ(forms.line({5, "b", 1}), "") << "another keyword";
    EXPECT_EQ(forms.line({1, "a", 1}), "");
    EXPECT_EQ(forms.line({5, 1, 1}), "") << "a number";
    EXPECT_EQ(forms.line({5, CliValue::given(true), 1}), "radio 5 mode a rate 1");
}

} // namespace
