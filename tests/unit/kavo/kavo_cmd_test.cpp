#include "cli_call.h"

#include "frr_fixture.h"

#include <gtest/gtest.h>
#include <iterator>

namespace {

// --- the grammar -----------------------------------------------------------------------------

struct Case {
    const char* declared;
    const char* translated; // null: refused
};

const Case cases[] = {
    {"gpon", "gpon"},
    {"no debug gpon tipc", "no debug gpon tipc"},
    {"cpe activate file VERSIONFILE ", "cpe activate file VERSIONFILE"},
    {"fec downstream  (enable|disable)", "fec downstream <enable|disable>"},
    {"tcont <1-8> profile PROFILE name STRING", "tcont (1-8) profile PROFILE name STRING"},
    {"remote onu poe extpowavl <0-4294967295>", "remote onu poe extpowavl (0-4294967295)"},
    {"qos-onu-weight (<1-127>|default)", "qos-onu-weight <(1-127)|default>"},
    {"user-vlan (<2-4094>) cos (<0-7>)", "user-vlan (2-4094) cos (0-7)"},
    {"remote voip protocol (h248| mgcp|non_omci|none| sip)",
     "remote voip protocol <h248|mgcp|non_omci|none|sip>"},
    {"validate (basic | md5) username STRING", "validate <basic|md5> username STRING"},
    {"debug gpon snmp (detail|)", "debug gpon snmp [detail]"},
    {"dump (a|b|) all", "dump [a|b] all"},
    {"drv-cmd .CMD", "drv-cmd CMD..."},
    {"vlan-mode trunk tag .VLAN", "vlan-mode trunk tag VLAN..."},
    {"queues .<0-7>", "queues (0-7)..."},
    {"remote multicast (ETHUNI|veip) down vlan <1-4094>",
     "remote multicast <ETHUNI|veip> down vlan (1-4094)"},
    {"acs A.B.C.D", "acs A.B.C.D"},
    {"rule (da|sa) MMMM-MMMM-MMMM", "rule <da|sa> MMMM-MMMM-MMMM"},
    {"mode (802.11n|802.11b/g/n) channel (<1-13>|auto)", "mode <802.11n|802.11b/g/n> channel <(1-13)|auto>"},
    {"mode 802.11a bandwidth (20MHz|20/40/80MHz)", "mode 802.11a bandwidth <20MHz|20/40/80MHz>"},
    {"security-mode (wpa-psk/wpa2-psk|open)", "security-mode <wpa-psk/wpa2-psk|open>"},
    {"aes key_exchange typeB", "aes key_exchange typeB"},

    {"", nullptr},
    {"   ", nullptr},
    {"tcont <8-1>", nullptr},
    {"tcont <1-8", nullptr},
    {"tcont 1-8>", nullptr},
    {"tcont <1>", nullptr},
    {"tcont <a-b>", nullptr},
    {"tcont <1-99999999999999999999>", nullptr},
    {"fec (enable|disable", nullptr},
    {"fec enable|disable)", nullptr},
    {"fec ()", nullptr},
    {"fec (|)", nullptr},
    {"fec (|enable)", nullptr},
    {"fec (enable||disable)", nullptr},
    {"fec ((enable))", nullptr},
    {"drv-cmd .CMD more", nullptr},
    {"drv-cmd .cmd", nullptr},
    {"drv-cmd .", nullptr},
    {"drv. cmd", nullptr},
    {"drv-cmd X", "drv-cmd X"},
};

TEST(KavoCmd, SyntaxOfEveryShapeIsTranslated) {
    for (const auto& c : cases) {
        const auto words = kavo_cmd_parse(c.declared);
        if (c.translated)
            EXPECT_EQ(kavo_cmd_translate(words), c.translated) << c.declared;
        else
            EXPECT_TRUE(words.empty()) << c.declared;
    }
}

// --- running ---------------------------------------------------------------------------------

struct Call {
    int runs = 0;
    std::vector<std::string> args;
    const kavo_cmd_t* command = nullptr;
    struct vty* vty = nullptr;
};
Call call;
int answer;

int handler(CliCall& run) {
    call.runs++;
    for (const char* word : run.words.arguments())
        call.args.emplace_back(word);
    call.command = &run.command;
    call.vty = run.vty;
    return answer;
}

int other_handler(CliCall& /*run*/) {
    call.runs += 100;
    return 0;
}

/// The node that these tests' commands stand on, and one of which it is a child's child.
constexpr enum node_type TEST_NODE = MCAST_VLAN_NODE;

int enter_test_node(CliCall& run) {
    run.vty->node = TEST_NODE;
    return 0;
}

const kavo_cmd_t test_table[] = {
    {{TEST_NODE, CONFIG_NODE}, "kavo-plain", "Plain\n", handler},
    {{TEST_NODE}, "kavo-fec downstream (enable|disable)", "Fec\nDown\nSwitch\n", handler},
    {{TEST_NODE}, "kavo-num <1-8> (<0-7>|default) NAME", "Num\nA\nB\nC\nD\n", handler},
    {{TEST_NODE}, "kavo-opt (detail|)", "Opt\nDetail\n", handler},
    {{TEST_NODE}, "kavo-short", "Short\n", other_handler},
    {{TEST_NODE}, "kavo-short (detail|)", "Short\nDetail\n", handler},
    {{TEST_NODE}, "kavo-tail <1-8> .WORD", "Tail\nNumber\nWords\n", handler},
    {{TEST_NODE}, "kavo-wifi mode (802.11b|802.11g|802.11b/g) KEY", "Wifi\nMode\nRadio\nKey\n", handler},
    {{TEST_NODE}, "kavo-wifi mode 802.11a KEY", "Wifi\nMode\nRadio\nKey\n", handler},
    {{TEST_NODE}, "kavo-acs A.B.C.D (ETHUNI|veip)", "Acs\nAddress\nPort\n", handler},
    {{TEST_NODE}, "kavo-over .WORD", "Both\nBoth\n", handler},
    {{TEST_NODE}, "kavo-over reboot", "Both\nBoth\n", other_handler},
    {{TEST_NODE}, "kavo-bare (one|two)", "", handler},
};

class KavoCmdRun : public testing::Test {
protected:
    KavoCmdRun() {
        frr_install_node(TEST_NODE);
        static const int installed = kavo_cmd_install(test_table);
        EXPECT_EQ(installed, static_cast<int>(std::size(test_table)));
        call = {};
        answer = 0;
    }

    /// Run one line on the tests' node and give the arguments the handler saw.
    std::vector<std::string> arguments(const char* line) {
        FrrSession session(TEST_NODE);
        EXPECT_EQ(session.run(line), CMD_SUCCESS) << line;
        EXPECT_EQ(call.runs, 1) << line;
        return call.args;
    }

    /// What the library has for a command of the tests' node.
    static std::string help_of(const char* syntax) {
        const auto* node = static_cast<const cmd_node*>(vector_lookup(cmdvec, TEST_NODE));
        for (unsigned i = 0; i < vector_active(node->cmd_vector); i++) {
            const auto* element = static_cast<const cmd_element*>(vector_slot(node->cmd_vector, i));
            if (element != nullptr && strcmp(element->name, syntax) == 0)
                return element->doc;
        }
        return "";
    }

    int refused(const char* line) {
        FrrSession session(TEST_NODE);
        const int result = session.run(line);
        EXPECT_EQ(call.runs, 0) << line;
        return result;
    }
};

using Args = std::vector<std::string>;

TEST_F(KavoCmdRun, KeywordsAreNoArguments) {
    EXPECT_EQ(arguments("kavo-plain"), (Args{}));
}

TEST_F(KavoCmdRun, ChoiceIsAnArgument) {
    EXPECT_EQ(arguments("kavo-fec downstream disable"), (Args{"disable"}));
}

TEST_F(KavoCmdRun, AbbreviatedChoiceReachesTheHandlerInFull) {
    EXPECT_EQ(arguments("kavo-fec downstream e"), (Args{"enable"}));
}

TEST_F(KavoCmdRun, AbbreviatedKeywordsAreAccepted) {
    EXPECT_EQ(arguments("kavo-f d d"), (Args{"disable"}));
}

TEST_F(KavoCmdRun, RangesAndVariableWordsAreArgumentsAsTyped) {
    EXPECT_EQ(arguments("kavo-num 08 default Some.Name/1"), (Args{"08", "default", "Some.Name/1"}));
}

TEST_F(KavoCmdRun, NumberOfAChoiceIsTakenAsTyped) {
    EXPECT_EQ(arguments("kavo-num 1 7 x"), (Args{"1", "7", "x"}));
}

TEST_F(KavoCmdRun, OptionalWordIsAnArgumentWhenGiven) {
    EXPECT_EQ(arguments("kavo-opt detail"), (Args{"detail"}));
}

TEST_F(KavoCmdRun, OptionalWordMayBeLeftOut) {
    EXPECT_EQ(arguments("kavo-opt"), (Args{}));
}

TEST_F(KavoCmdRun, OptionalWordIsNotAmbiguousBesideTheShortCommand) {
    EXPECT_EQ(arguments("kavo-short detail"), (Args{"detail"}));
    FrrSession session(TEST_NODE);
    EXPECT_EQ(session.run("kavo-short"), CMD_SUCCESS);
    EXPECT_EQ(call.runs, 101);
}

TEST_F(KavoCmdRun, TailGivesOneArgumentForEachWord) {
    EXPECT_EQ(arguments("kavo-tail 3 a -b 4-7"), (Args{"3", "a", "-b", "4-7"}));
}

TEST_F(KavoCmdRun, TailNeedsAWord) {
    EXPECT_EQ(refused("kavo-tail 3"), CMD_ERR_INCOMPLETE);
}

TEST_F(KavoCmdRun, ChoicesWithDotsAndSlashesAreTold) {
    EXPECT_EQ(arguments("kavo-wifi mode 802.11b/g secret"), (Args{"802.11b/g", "secret"}));
}

TEST_F(KavoCmdRun, ChoiceThatIsTheHeadOfAnotherIsItself) {
    EXPECT_EQ(arguments("kavo-wifi mode 802.11b secret"), (Args{"802.11b", "secret"}));
}

TEST_F(KavoCmdRun, KeywordWithADotIsNoArgument) {
    EXPECT_EQ(arguments("kavo-wifi mode 802.11a secret"), (Args{"secret"}));
}

TEST_F(KavoCmdRun, WordThatIsNoneOfTheChoicesIsAnUnknownCommand) {
    EXPECT_EQ(refused("kavo-wifi mode 802.11x secret"), CMD_ERR_NO_MATCH);
}

TEST_F(KavoCmdRun, NumberOutOfRangeIsAnUnknownCommand) {
    EXPECT_EQ(refused("kavo-num 9 0 x"), CMD_ERR_NO_MATCH);
    EXPECT_EQ(refused("kavo-num 1 8 x"), CMD_ERR_NO_MATCH);
}

TEST_F(KavoCmdRun, AmbiguousAbbreviationIsRefused) {
    EXPECT_EQ(refused("kavo-wifi mode 802.11 secret"), CMD_ERR_AMBIGUOUS);
}

TEST_F(KavoCmdRun, AddressAndVariableChoiceAreArguments) {
    EXPECT_EQ(arguments("kavo-acs 10.0.0.1 eth1/2"), (Args{"10.0.0.1", "eth1/2"}));
    call = {};
    EXPECT_EQ(arguments("kavo-acs 10.0.0.1 veip"), (Args{"10.0.0.1", "veip"}));
    call = {};
    EXPECT_EQ(refused("kavo-acs 10.0.0 veip"), CMD_ERR_NO_MATCH);
}

TEST_F(KavoCmdRun, KeywordIsPreferredToTheTail) {
    FrrSession session(TEST_NODE);
    EXPECT_EQ(session.run("kavo-over reboot"), CMD_SUCCESS);
    EXPECT_EQ(call.runs, 100);
    EXPECT_EQ(session.run("kavo-over other words"), CMD_SUCCESS);
    EXPECT_EQ(call.runs, 101);
}

TEST_F(KavoCmdRun, HandlerGetsItsCommandAndSession) {
    FrrSession session(TEST_NODE);
    session.run("kavo-opt detail");
    EXPECT_EQ(call.vty, session.vty);
    ASSERT_NE(call.command, nullptr);
    EXPECT_STREQ(call.command->syntax, "kavo-opt (detail|)");
    EXPECT_STREQ(call.command->help, "Opt\nDetail\n");
}

TEST_F(KavoCmdRun, FailureIsToldOnceAndItsCodeKept) {
    // CONFIG_NODE has the command too: it must not be tried there again
    answer = 104001;
    FrrSession session(TEST_NODE);
    EXPECT_EQ(session.run("kavo-plain"), CMD_WARNING);
    EXPECT_EQ(call.runs, 1);
    EXPECT_EQ(kavo_cmd_last_result(), 104001);

    answer = 104006;
    EXPECT_EQ(session.run("kavo-plain"), CMD_WARNING);
    EXPECT_EQ(kavo_cmd_last_result(), 104006);

    answer = 0;
    EXPECT_EQ(session.run("kavo-plain"), CMD_SUCCESS);
    EXPECT_EQ(kavo_cmd_last_result(), 0);
}

TEST_F(KavoCmdRun, ResultThatLooksLikeOneOfTheLibrarysIsAFailureToo) {
    answer = CMD_ERR_NO_MATCH;
    FrrSession session(TEST_NODE);
    EXPECT_EQ(session.run("kavo-plain"), CMD_WARNING);
    EXPECT_EQ(call.runs, 1);
    EXPECT_EQ(kavo_cmd_last_result(), CMD_ERR_NO_MATCH);
}

TEST_F(KavoCmdRun, CommandOfAParentNodeIsFoundFromItsChild) {
    frr_install_node(GPON_ONU_NODE);
    FrrSession session(GPON_ONU_NODE);
    EXPECT_EQ(session.run("kavo-plain"), CMD_SUCCESS);
    EXPECT_EQ(call.runs, 1);
}

TEST_F(KavoCmdRun, CommandOfAParentNodeLeavesTheSessionOnItsNode) {
    frr_install_node(GPON_ONU_NODE);
    FrrSession session(GPON_ONU_NODE);
    for (const int result : {0, 104001}) {
        answer = result;
        session.run("kavo-plain");
        EXPECT_EQ(session.vty->node, GPON_ONU_NODE) << result;
    }
}

TEST_F(KavoCmdRun, CommandOfAParentNodeThatEntersANodeMovesTheSession) {
    frr_install_node(GPON_ONU_NODE);
    const kavo_cmd_t table[] = {{{CONFIG_NODE}, "kavo-enter", "Enter\n", enter_test_node}};
    EXPECT_EQ(kavo_cmd_install(table), 1);
    FrrSession session(GPON_ONU_NODE);
    EXPECT_EQ(session.run("kavo-enter"), CMD_SUCCESS);
    EXPECT_EQ(session.vty->node, TEST_NODE);
}

TEST_F(KavoCmdRun, EveryAlternativeOfAChoiceHasHelp) {
    EXPECT_EQ(help_of("kavo-fec downstream (enable|disable)"), "Fec\nDown\nSwitch\nSwitch\n");
    EXPECT_EQ(help_of("kavo-num <1-8> (<0-7>|default) NAME"), "Num\nA\nB\nC\nD\n");
    EXPECT_EQ(help_of("kavo-bare (one|two)"), "kavo-bare\none\ntwo\n");
}

TEST_F(KavoCmdRun, WrongRowIsLeftOutAndTheRestInstalled) {
    const kavo_cmd_t table[] = {
        {{TEST_NODE}, "kavo-bad <9-1>", "Bad\nBad\n", handler},
        {{TEST_NODE}, "kavo-nohandler", "Bad\n", nullptr},
        {{}, "kavo-nonode", "Bad\n", handler},
        {{RM_GPON_ONU_NODE}, "kavo-missing-node", "Bad\n", handler},
        {{TEST_NODE}, "kavo-good", "Good\n", handler},
    };
    testing::internal::CaptureStderr();
    EXPECT_EQ(kavo_cmd_install(table), 1);
    const auto log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("command \"kavo-bad <9-1>\" can't be installed"), std::string::npos) << log;
    EXPECT_NE(log.find("kavo-missing-node"), std::string::npos) << log;
    EXPECT_EQ(arguments("kavo-good"), (Args{}));
    call = {};
    EXPECT_EQ(refused("kavo-bad 1"), CMD_ERR_NO_MATCH);
    EXPECT_EQ(refused("kavo-missing-node"), CMD_ERR_NO_MATCH);
}

TEST_F(KavoCmdRun, CommandOnViewAndEnableStandsOnBoth) {
    const kavo_cmd_t table[] = {{{VIEW_NODE, ENABLE_NODE}, "kavo-view", "View\n", handler}};
    testing::internal::CaptureStderr();
    EXPECT_EQ(kavo_cmd_install(table), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    for (int node : {VIEW_NODE, ENABLE_NODE}) {
        FrrSession session(node);
        EXPECT_EQ(session.run("kavo-view"), CMD_SUCCESS) << node;
    }
}

TEST(KavoNewline, IsCrLfOnlyOnATerminalConnection) {
    FrrSession terminal(ENABLE_NODE, true), shell(ENABLE_NODE);
    EXPECT_STREQ(kavo_newline(terminal.vty), "\r\n");
    EXPECT_STREQ(kavo_newline(shell.vty), "\n");
    EXPECT_EQ(static_cast<int>(vty::VTY_TERM), 0);
    vty_out(terminal.vty, "%%Failed%s", kavo_newline(terminal.vty));
    EXPECT_EQ(terminal.output(), "%Failed\r\n");
}

} // namespace
