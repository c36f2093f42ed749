// Arguments of commands by name, as handlers read them.
#include "cli_call.h"

#include "frr_fixture.h"

#include <functional>
#include <gmock/gmock.h>
#include <optional>

namespace {

constexpr enum node_type test_node = IF_TRUNK_NODE;

// What the handler does in a test.
std::function<int(CliCall&)> act;

int run_test(CliCall& call) {
    return act(call);
}
int run_other(CliCall& call) {
    return act(call);
}

const kavo_cmd_t table[] = {
    {{test_node}, "words-tcont <1-8> profile PROFILE", "", run_test},
    {{test_node}, "words-tcont <1-8> profile PROFILE name STRING", "", run_test},
    {{test_node},
     "words-port vlan <1-4094> priority <0-7> svlan <1-4094> priority (<0-7>|copy)",
     "",
     run_test},
    {{test_node}, "words-port vlan <1-4094> svlan <1-4094> priority (<0-7>|copy)", "", run_test},
    {{test_node}, "words-onu <1-128> type TYPE (sn|pw|loid) STRING", "", run_test},
    {{test_node}, "words-onu <1-128> type TYPE (sn|loid) STRING pw STRING", "", run_test},
    {{test_node}, "words-pm (protocol|data) (enable|disable)", "", run_test},
    {{test_node}, "words-slot (vendor|model) <1-4> STRING srv-profile NAME", "", run_test},
    {{test_node}, "words-service <1-32> cos <0-7> (ETHUNI|veip)", "", run_test},
    {{test_node}, "words-ip A.B.C.D A.B.C.D vlan <1-4094>", "", run_test},
    {{test_node}, "words-tag <1-8> tag .VLAN", "", run_test},
    {{test_node}, "words-power <0-4294967295>", "", run_test},
    {{test_node}, "words-snmp (detail|)", "", run_test},
    {{test_node}, "words-radio <1-4> mode (b|g) rate <1-9>", "", run_test},
    {{test_node}, "words-radio <5-8> mode a rate <1-9>", "", run_test},
    {{test_node}, "words-other <1-8> elsewhere <1-8>", "", run_other},
    {{test_node}, "words-wan USERNAME PASSWORD tag <1-9>", "", run_test},
};

class CliWordsTest : public testing::Test {
protected:
    CliWordsTest() {
        frr_install_node(test_node);
        static const int installed = kavo_cmd_install(table);
        EXPECT_EQ(installed, static_cast<int>(std::size(table)));
    }
    // Runs a line; the body looks at its words.
    static void with(const char* line, const std::function<void(const CliWords&)>& look) {
        bool looked = false;
        act = [&](CliCall& call) {
            look(call.words);
            looked = true;
            return 0;
        };
        FrrSession session(test_node);
        EXPECT_EQ(session.run(line), CMD_SUCCESS) << line;
        EXPECT_TRUE(looked) << line;
    }
    // How many names of a body were wrong; each leaves a line in the log.
    static int wrong_in(const char* line, const std::function<void(const CliWords&)>& look) {
        const int before = cli_wrong_names();
        testing::internal::CaptureStderr();
        with(line, look);
        const std::string log = testing::internal::GetCapturedStderr();
        const int wrong = cli_wrong_names() - before;
        EXPECT_EQ(log.empty(), wrong == 0) << log;
        return wrong;
    }
};

TEST_F(CliWordsTest, AKeywordNamesTheArgumentBehindIt) {
    with("words-tcont 8 profile gold name data", [](const CliWords& words) {
        EXPECT_EQ(words.number("words-tcont"), 8);
        EXPECT_STREQ(words.text("profile"), "gold");
        EXPECT_STREQ(words.text("name"), "data");
        EXPECT_STREQ(words.text("PROFILE"), "gold");
        EXPECT_TRUE(words.has("name"));
    });
}

TEST_F(CliWordsTest, KeywordsCountInFullHoweverShortTheyWereTyped) {
    with("words-tc 8 p gold n data", [](const CliWords& words) { EXPECT_STREQ(words.text("name"), "data"); });
    with("words-pm d e", [](const CliWords& words) {
        EXPECT_STREQ(words.text("words-pm"), "data");
        EXPECT_TRUE(words.is_enable("data"));
    });
}

TEST_F(CliWordsTest, WhatAnotherFormOfTheCommandHasIsAskedFor) {
    EXPECT_EQ(wrong_in("words-tcont 8 profile gold",
                       [](const CliWords& words) {
                           EXPECT_FALSE(words.has("name"));
                           EXPECT_EQ(words.text_or("name", nullptr), nullptr);
                           EXPECT_EQ(words.number_or("vlan", 7), 7);
                       }),
              0);
}

TEST_F(CliWordsTest, ATypedWordThatLooksLikeAKeywordIsNone) {
    EXPECT_EQ(wrong_in("words-tcont 8 profile name",
                       [](const CliWords& words) { EXPECT_FALSE(words.has("name")); }),
              0);
}

TEST_F(CliWordsTest, AKeywordThatStandsTwiceIsToldByTheOneInFrontOfIt) {
    with("words-port vlan 10 priority 4 svlan 20 priority copy", [](const CliWords& words) {
        EXPECT_EQ(words.number("vlan priority"), 4);
        EXPECT_STREQ(words.text("svlan priority"), "copy");
        EXPECT_STREQ(words.text("words-port vlan"), "10");
        EXPECT_TRUE(words.has("copy"));
    });
    with("words-port vlan 10 svlan 20 priority 5", [](const CliWords& words) {
        EXPECT_FALSE(words.has("vlan priority"));
        EXPECT_EQ(words.number("svlan priority"), 5);
        EXPECT_EQ(words.number("priority"), 5);
        EXPECT_FALSE(words.has("copy"));
    });
}

TEST_F(CliWordsTest, AChosenKeywordNamesWhatStandsBehindIt) {
    with("words-onu 7 type T loid me pw secret", [](const CliWords& words) {
        EXPECT_STREQ(words.text("loid"), "me");
        EXPECT_STREQ(words.text("pw"), "secret");
        EXPECT_STREQ(words.text("type"), "T");
        EXPECT_STREQ(words.text("type", 1), "loid");
        EXPECT_FALSE(words.has("sn"));
    });
    with("words-onu 7 type T pw secret", [](const CliWords& words) {
        EXPECT_STREQ(words.text("pw"), "secret");
        EXPECT_STREQ(words.text("STRING"), "secret");
    });
}

TEST_F(CliWordsTest, WhatNothingNamesIsCountedFromTheKeyword) {
    with("words-slot model 3 M2 srv-profile nine", [](const CliWords& words) {
        EXPECT_STREQ(words.text("words-slot"), "model");
        EXPECT_EQ(words.number("words-slot", 1), 3);
        EXPECT_EQ(words.number("model"), 3);
        EXPECT_STREQ(words.text("STRING"), "M2");
    });
    with("words-ip 10.0.0.1 10.0.0.2 vlan 5", [](const CliWords& words) {
        EXPECT_STREQ(words.text("words-ip", 1), "10.0.0.2");
        EXPECT_EQ(words.all("words-ip").size(), 2u);
    });
}

TEST_F(CliWordsTest, AWordInCapitalsNamesTheChoiceThatItStandsIn) {
    for (const char* port : {"eth_1/2", "veip"})
        with((std::string("words-service 5 cos 3 ") + port).c_str(),
             [port](const CliWords& words) { EXPECT_STREQ(words.text("ETHUNI"), port); });
}

TEST_F(CliWordsTest, ATailIsAllOfItsWords) {
    with("words-tag 3 tag 5 7-9 tag", [](const CliWords& words) {
        EXPECT_THAT(words.all("tag"),
                    testing::ElementsAre(testing::StrEq("5"), testing::StrEq("7-9"), testing::StrEq("tag")));
        EXPECT_EQ(words.all("VLAN").size(), 3u);
        EXPECT_STREQ(words.text("VLAN", 1), "7-9");
        EXPECT_EQ(words.arguments().size(), 4u);
    });
}

TEST_F(CliWordsTest, ALineIsToldInFullAndWithoutItsSecrets) {
    const std::pair<const char*, const char*> lines[] = {
        {"words-tc 8 prof gold", "words-tcont 8 profile gold"},
        {"words-onu 1 ty T lo home p word", "words-onu 1 type T loid home pw ***"},
        {"words-onu 1 type T pw word", "words-onu 1 type T pw ***"},
        {"words-onu 1 type pw sn word", "words-onu 1 type pw sn word"},
        {"words-wan anna word tag 1", "words-wan anna *** tag 1"},
        {"words-tag 1 tag acs u password word more", "words-tag 1 tag acs u password *** ***"},
        {"words-tag 1 tag acs u passw word", "words-tag 1 tag acs u passw ***"},
        {"words-tag 1 tag p q", "words-tag 1 tag p q"},
    };
    for (const auto& [line, told] : lines)
        with(line, [told = told](const CliWords& words) { EXPECT_EQ(words.told(), told); });
}

TEST_F(CliWordsTest, NumbersHaveTheRangeOfTheirType) {
    with("words-power 4294967295", [](const CliWords& words) {
        EXPECT_EQ(words.number<uint32_t>("words-power"), 4294967295u);
        EXPECT_EQ(words.number<int64_t>("words-power"), 4294967295);
    });
}

TEST_F(CliWordsTest, AnOptionalWordIsAskedForByItself) {
    with("words-snmp detail", [](const CliWords& words) { EXPECT_TRUE(words.has("detail")); });
    with("words-snmp", [](const CliWords& words) { EXPECT_FALSE(words.has("detail")); });
}

TEST_F(CliWordsTest, AWrongNameIsToldAndReadsAsNothing) {
    const char* const line = "words-tcont 8 profile gold name data";
    EXPECT_EQ(wrong_in(line, [](const CliWords& words) { EXPECT_EQ(words.number("tcount"), 0); }), 1);
    EXPECT_EQ(wrong_in(line, [](const CliWords& words) { EXPECT_STREQ(words.text("NAME"), ""); }), 1);
    EXPECT_EQ(wrong_in(line, [](const CliWords& words) { EXPECT_FALSE(words.has("nmae")); }), 1);
    EXPECT_EQ(wrong_in(line, [](const CliWords& words) { EXPECT_STREQ(words.text("name", 1), ""); }), 1);
    EXPECT_EQ(wrong_in(line, [](const CliWords& words) { EXPECT_EQ(words.number_or("nmae", 3), 3); }), 1);
    // known, but another handler's
    EXPECT_EQ(wrong_in(line, [](const CliWords& words) { EXPECT_FALSE(words.has("elsewhere")); }), 1);
    // of this handler, and read without having asked
    EXPECT_EQ(wrong_in("words-tcont 8 profile gold", [](const CliWords& words) { words.text("name"); }), 1);
    // two arguments of one name
    EXPECT_EQ(wrong_in("words-port vlan 10 priority 4 svlan 20 priority 5",
                       [](const CliWords& words) { EXPECT_EQ(words.number("priority"), 0); }),
              1);
}

// ---- ways to fail ----------------------------------------------------------------------------------------

struct Answer {
    int result;
    std::string text;
};

Answer answer_of(const std::function<int(CliCall&)>& body, bool terminal = false) {
    act = body;
    FrrSession session(test_node, terminal);
    session.run("words-power 1");
    return {kavo_cmd_last_result(), session.output()};
}

class CliCallTest : public CliWordsTest {};

TEST_F(CliCallTest, AFailurePrintsTheTextOfATable) {
    Answer answer = answer_of([](CliCall& call) { return call.fail("%%100%% wrong%s"); });
    EXPECT_EQ(answer.result, KAVO_CLI_FAILED);
    EXPECT_EQ(answer.text, "%100% wrong\n");
    answer = answer_of([](CliCall& call) { return call.fail("no%s", KAVO_CLI_BAD_INPUT); }, true);
    EXPECT_EQ(answer.result, KAVO_CLI_BAD_INPUT);
    EXPECT_EQ(answer.text, "no\r\n");
}

TEST_F(CliCallTest, AFailureTellsTheNumberOfAnObject) {
    EXPECT_EQ(answer_of([](CliCall& call) { return call.fail_of("%%no tcont:%d%s", 8); }).text,
              "%no tcont:8\n");
    EXPECT_EQ(answer_of([](CliCall& call) { return call.fail_of("none%s", 8); }).text, "none\n");
}

TEST_F(CliCallTest, ANameThatIsTooLongIsTold) {
    const Answer answer = answer_of([](CliCall& call) { return call.fail_name("%%Bad name%s", 32); });
    EXPECT_EQ(answer.result, KAVO_CLI_FAILED);
    EXPECT_EQ(answer.text, "%Bad name\n");
}

TEST_F(CliCallTest, TextsAndLinesArePrinted) {
    EXPECT_EQ(answer_of(
                  [](CliCall& call) {
                      call.out("%s=%d ", "a", 1);
                      call.line("%s%%", "b");
                      return 0;
                  },
                  true)
                  .text,
              "a=1 b%\r\n");
}

TEST_F(CliWordsTest, TheWordBehindAKeywordIsAnArgumentOrAKeyword) {
    with("words-radio 1 mode g rate 9", [](const CliWords& words) {
        EXPECT_STREQ(words.word_or("mode", ""), "g");
        EXPECT_STREQ(words.word_or("rate", ""), "9");
    });
    with("words-pm prot e", [](const CliWords& words) {
        EXPECT_STREQ(words.word_or("protocol", ""), "enable");
        EXPECT_STREQ(words.typed_or("protocol", ""), "e");
        EXPECT_STREQ(words.typed_or("words-pm", ""), "prot");
    });
    with("words-radio 5 mode a rate 9", [](const CliWords& words) {
        EXPECT_STREQ(words.word_or("mode", ""), "a");
        EXPECT_STREQ(words.word_or("tcont", "none"), "none");
        EXPECT_STREQ(words.typed_or("tcont", "none"), "none");
    });
}

} // namespace
