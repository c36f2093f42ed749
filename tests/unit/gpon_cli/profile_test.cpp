// Profiles of ONU types, bandwidth and traffic, and the service profiles.
#include "cli_fixture.h"

#include <sstream>

#include "ov_types.h"

using testing::HasSubstr;

namespace {

class Profiles : public Cli {
protected:
    FrrSession session_{GPON_NODE};
    int run(const std::string& line) { return session_.run(line); }
};

std::string name_of(size_t length) {
    return std::string(length, 'n');
}

CLI_TEST(Profiles, BandwidthFormsGiveTypeAndAmounts) {
    const struct {
        const char* line;
        int type, fixed, assured, maximum;
    } forms[] = {
        {"fixed 250", 1, 250, 0, 0},
        {"fixed 800000", 1, 800000, 0, 0},
        {"assured 1200000", 2, 0, 1200000, 0},
        {"assured 250 maximum 251", 3, 0, 250, 251},
        {"maximum 1200000", 4, 0, 0, 1200000},
        {"fixed 250 assured 260 maximum 510", 5, 250, 260, 510},
        {"max 300", 4, 0, 0, 300},
        {"a 300 m 400", 3, 0, 300, 400},
    };
    for (const auto& form : forms) {
        EXPECT_EQ(run(std::string("profile bandwidth bw ") + form.line), CMD_SUCCESS) << form.line;
        EXPECT_STREQ(app.bandwidth.sBWProfileTableBwProfileName, "bw");
        EXPECT_EQ(app.bandwidth.sBWProfileTableType, form.type) << form.line;
        EXPECT_EQ(app.bandwidth.sBWProfileTableFixBw, form.fixed) << form.line;
        EXPECT_EQ(app.bandwidth.sBWProfileTableAssBw, form.assured) << form.line;
        EXPECT_EQ(app.bandwidth.sBWProfileTableMaxBw, form.maximum) << form.line;
        EXPECT_THAT(app.columns, written({2, 3, 4, 5, 6})) << form.line;
        EXPECT_EQ(run("no profile bandwidth bw"), CMD_SUCCESS);
    }
    EXPECT_EQ(session_.output(), "");
}

CLI_TEST(Profiles, AmountsOutOfRangeAreUnknownCommands) {
    for (const char* line : {"fixed 249", "fixed 800001", "assured 249", "assured 1200001", "maximum 1200001",
                             "assured 250 maximum 1200001", "fixed 250 assured 250"})
        EXPECT_NE(run(std::string("profile bandwidth bw ") + line), CMD_SUCCESS) << line;
    for (const char* line : {"cir 63 cbs 2000 pir 64 pbs 2000", "cir 64 cbs 1999 pir 64 pbs 2000",
                             "cir 64 cbs 2000 pir 10240001 pbs 2000"})
        EXPECT_EQ(run(std::string("profile traffic tr ") + line), CMD_ERR_NO_MATCH) << line;
    for (const char* line : {"eth 0 pots 0", "eth 25 pots 0", "eth 1 pots 3", "eth 1 pots 0 card 5",
                             "eth 1 pots 0 down-queue 3 up-queue 8"})
        EXPECT_EQ(run(std::string("profile onutype ty ") + line), CMD_ERR_NO_MATCH) << line;
    EXPECT_TRUE(app.calls.empty());
}

CLI_TEST(Profiles, ABandwidthProfileThatIsRefusedIsTold) {
    app.refuses = true;
    EXPECT_EQ(run("profile bandwidth bw fixed 250"), CMD_WARNING);
    EXPECT_EQ(kavo_cmd_last_result(), 104006);
    EXPECT_EQ(run("no profile bandwidth bw"), CMD_WARNING);
    EXPECT_EQ(kavo_cmd_last_result(), 104006);
    EXPECT_EQ(session_.output(),
              "%Failed to add bandwidth profile bw\n%Failed to delete bandwidth profile bw\n");
}

CLI_TEST(Profiles, NamesOfTheLongestLengthPassAndLongerOnesAreRefused) {
    const struct {
        size_t longest;
        const char* add;
        const char* arguments;
        const char* call;
    } kinds[] = {
        {64, "profile bandwidth ", " fixed 250", "bwtype_add"},
        {64, "no profile bandwidth ", "", "bwtype_del"},
        {32, "profile onutype ", " eth 1 pots 0", "onutype_add"},
        {32, "no profile onutype ", "", "onutype_del"},
        {32, "profile traffic ", " cir 64 cbs 2000 pir 64 pbs 2000", "traffic_add"},
        {32, "no profile traffic ", "", "traffic_del"},
    };
    for (const auto& kind : kinds) {
        app = {};
        EXPECT_EQ(run(kind.add + name_of(kind.longest) + kind.arguments), CMD_SUCCESS) << kind.add;
        EXPECT_EQ(app.calls, (Calls{kind.call}));
        EXPECT_EQ(run(kind.add + name_of(kind.longest + 1) + kind.arguments), CMD_WARNING) << kind.add;
        EXPECT_EQ(kavo_cmd_last_result(), 104006);
        EXPECT_EQ(app.calls.size(), 1u);
        EXPECT_EQ(session_.output(), "%Bad profile name length\n");
    }
}

CLI_TEST(Profiles, OnuTypeFormsGiveTheirNumbersAndTheRestItsDefault) {
    const struct {
        const char* line;
        int eth, pots, card, video, down, up;
    } forms[] = {
        {"eth 24 pots 2", 24, 2, 1, 0, 8, 8},
        {"eth 1 pots 0 down-queue 4 up-queue 3", 1, 0, 1, 0, 4, 3},
        {"eth 4 pots 2 card 4", 4, 2, 4, 0, 8, 8},
        {"eth 4 pots 2 card 2 down-queue 1 up-queue 1", 4, 2, 2, 0, 1, 1},
        {"eth 4 pots 2 card 2 video 1 down-queue 2 up-queue 5", 4, 2, 2, 1, 2, 5},
    };
    for (const auto& form : forms) {
        EXPECT_EQ(run(std::string("profile onutype ty ") + form.line), CMD_SUCCESS) << form.line;
        EXPECT_STREQ(app.onutype.onuTypeProfileName, "ty");
        EXPECT_EQ(app.onutype.sOnuTypeProfileTableEthNum, form.eth) << form.line;
        EXPECT_EQ(app.onutype.sOnuTypeProfileTablePotsNum, form.pots) << form.line;
        EXPECT_EQ(app.onutype.sOnuTypeProfileTableHostNum, form.pots) << form.line;
        EXPECT_EQ(app.onutype.sOnuTypeProfileTableCardNum, form.card) << form.line;
        EXPECT_EQ(app.onutype.sOnuTypeProfileTableVideoNum, form.video) << form.line;
        EXPECT_EQ(app.onutype.sOnuTypeProfileTableDwnQueueNum, form.down) << form.line;
        EXPECT_EQ(app.onutype.sOnuTypeProfileTableUpQueueNum, form.up) << form.line;
        EXPECT_EQ(app.onutype.sOnuTypeProfileTableTcontNum, 8);
        EXPECT_EQ(app.onutype.sOnuTypeProfileTableGemPortNum, 32);
        EXPECT_EQ(app.onutype.sOnuTypeProfileTableIsDefaultProfile, 0);
        EXPECT_THAT(app.columns, written({2, 3, 5, 6, 7, 8, 9, 11, 12, 13, 16})) << form.line;
        EXPECT_EQ(run("no profile onutype ty"), CMD_SUCCESS);
    }
}

CLI_TEST(Profiles, TrafficNeedsAPeakNotBelowTheCommittedRate) {
    EXPECT_EQ(run("profile traffic tr cir 64 cbs 2000 pir 64 pbs 10240000"), CMD_SUCCESS);
    EXPECT_STREQ(app.traffic.sRmTrafficProfileName, "tr");
    EXPECT_EQ(app.traffic.sRmTrafficProfileCIR, 64u);
    EXPECT_EQ(app.traffic.sRmTrafficProfileCBS, 2000u);
    EXPECT_EQ(app.traffic.sRmTrafficProfilePIR, 64u);
    EXPECT_EQ(app.traffic.sRmTrafficProfilePBS, 10240000u);
    EXPECT_THAT(app.columns, written({2, 3, 4, 5, 6}));
    app = {};
    EXPECT_EQ(run("profile traffic tr cir 65 cbs 2000 pir 64 pbs 2000"), CMD_WARNING);
    EXPECT_EQ(kavo_cmd_last_result(), 104001);
    EXPECT_EQ(session_.output(), "%Wrong parameter(pir >= cir)\n");
    EXPECT_TRUE(app.calls.empty());
}

CLI_TEST(Profiles, ATrafficProfileThatIsRefusedIsTold) {
    app.refuses = true;
    EXPECT_EQ(run("profile traffic tr cir 64 cbs 2000 pir 64 pbs 2000"), CMD_WARNING);
    EXPECT_EQ(run("no profile traffic tr"), CMD_WARNING);
    EXPECT_EQ(session_.output(),
              "%Failed to add bandwidth profile tr\n%Failed to delete traffic profile tr\n");
}

CLI_TEST(Profiles, ListsShowEveryProfileAndTheirNumber) {
    snprintf(active(sBWProfileTable_createEntry(3000000000u))->sBWProfileTableBwProfileName, 65, "gold");
    snprintf(active(sOnuTypeProfileTable_createEntry(1))->onuTypeProfileName, 33, "type-one");
    snprintf(active(sRmTrafficProfileTable_createEntry(1))->sRmTrafficProfileName, 33, "car");
    for (const auto& [line, name] :
         {std::pair{"show profile bandwidth", "gold"}, std::pair{"show profile onutype", "type-one"},
          std::pair{"show profile traffic", "car"}}) {
        EXPECT_EQ(run(line), CMD_SUCCESS);
        const std::string text = session_.output();
        EXPECT_EQ(text.front(), '\n') << "a blank line comes first";
        EXPECT_THAT(text, HasSubstr(name));
        EXPECT_THAT(text, HasSubstr("\ntotal 1\n"));
    }
}

CLI_TEST(Profiles, ListsLineUpWithNamesOfTheLongestLength) {
    snprintf(active(sBWProfileTable_createEntry(1))->sBWProfileTableBwProfileName, 65, "%s",
             std::string(64, 'b').c_str());
    snprintf(active(sOnuTypeProfileTable_createEntry(1))->onuTypeProfileName, 33, "%s",
             std::string(32, 'o').c_str());
    snprintf(active(sRmTrafficProfileTable_createEntry(1))->sRmTrafficProfileName, 33, "%s",
             std::string(32, 't').c_str());
    add_profile(128, std::string(64, 'p').c_str(), std::string(32, 'o').c_str());
    for (const char* line : {"show profile bandwidth", "show profile onutype", "show profile traffic",
                             "show profile onu-srvprofile all"}) {
        EXPECT_EQ(run(line), CMD_SUCCESS);
        std::istringstream text(session_.output());
        std::string blank, head, row;
        std::getline(std::getline(std::getline(text, blank), head), row);
        EXPECT_EQ(head.size(), row.size()) << line;
    }
}

// Managers may write any text.
CLI_TEST(Profiles, NothingThatUpsetsATerminalIsShown) {
    snprintf(active(sBWProfileTable_createEntry(1))->sBWProfileTableBwProfileName, 65, "a\x1b[2Jb");
    snprintf(active(sOnuTypeProfileTable_createEntry(1))->onuTypeProfileName, 33, "a\x1b[2Jb");
    snprintf(active(sRmTrafficProfileTable_createEntry(1))->sRmTrafficProfileName, 33, "a\x1b[2Jb");
    add_profile(5, "a\x1b[2Jb", "a\x1b[2Jb");
    for (const char* line : {"show profile bandwidth", "show profile onutype", "show profile traffic",
                             "show profile onu-srvprofile all", "show profile onu-srvprofile 5"}) {
        EXPECT_EQ(run(line), CMD_SUCCESS);
        const std::string text = session_.output();
        EXPECT_THAT(text, HasSubstr("a?[2Jb")) << line;
        EXPECT_THAT(text, Not(HasSubstr("\x1b"))) << line;
    }
}

// ---- service profiles ------------------------------------------------------------------------------------

CLI_TEST(Profiles, ANewServiceProfileIsAddedAndEntered) {
    add_onutype("KLM-618");
    EXPECT_EQ(run("onu-srvprofile profile-id 128 onu-type KLM-618"), CMD_SUCCESS);
    EXPECT_EQ(app.calls, (Calls{"srvprofile_add"}));
    EXPECT_THAT(app.columns, written({4}));
    EXPECT_EQ(app.srvprofile.onuSrvProfileId, 128u);
    EXPECT_STREQ(app.srvprofile.sOnuTypeProfileName, "KLM-618");
    EXPECT_EQ(session_.vty->node, ONU_SRV_PROFILE_NODE);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(session_.vty->index),
              ov_ifindex_gen_by_phyinfo(10, 1, 31, 0, 15, 128));
}

CLI_TEST(Profiles, AnExistingServiceProfileIsEnteredAgain) {
    add_profile(5, "five", "KLM-618");
    EXPECT_EQ(run("onu-srvprofile profile-id 5 onu-type KLM-618"), CMD_SUCCESS);
    EXPECT_TRUE(app.calls.empty());
    EXPECT_EQ(session_.vty->node, ONU_SRV_PROFILE_NODE);
    // and from one profile straight to the next
    add_onutype("KLM-618");
    EXPECT_EQ(run("onu-srvprofile profile-id 6 onu-type KLM-618"), CMD_SUCCESS);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(session_.vty->index),
              ov_ifindex_gen_by_phyinfo(10, 1, 31, 0, 15, 6));
}

CLI_TEST(Profiles, AServiceProfileThatCantBeIsRefused) {
    add_onutype("KLM-618");
    add_profile(5, "five", "KLM-618");
    const struct {
        std::string line;
        int answer, result;
        const char* text;
    } cases[] = {
        {"5 onu-type other", 0, 104001, "Onu srvprofile id exist\n"},
        {"6 onu-type other", 0, 104001, "Onu type profile name not exist\n"},
        {"6 onu-type KLM-618", 1000, 104001, "mib add onu srv-profile failed\n"},
        {"6 onu-type " + name_of(33), 0, 104006, "%Bad profile name length\n"},
    };
    for (const auto& c : cases) {
        app.refuses = c.answer != 0;
        EXPECT_EQ(run("onu-srvprofile profile-id " + c.line), CMD_WARNING);
        EXPECT_EQ(kavo_cmd_last_result(), c.result) << c.line;
        EXPECT_EQ(session_.output(), c.text);
        EXPECT_EQ(session_.vty->node, GPON_NODE);
    }
    EXPECT_EQ(run("onu-srvprofile profile-id 0 onu-type KLM-618"), CMD_ERR_NO_MATCH);
    EXPECT_EQ(run("onu-srvprofile profile-id 129 onu-type KLM-618"), CMD_ERR_NO_MATCH);
}

CLI_TEST(Profiles, AServiceProfileIsNamed) {
    add_profile(5, "five", "KLM-618");
    add_profile(6, "six", "KLM-618");
    run("onu-srvprofile profile-id 5 onu-type KLM-618");
    EXPECT_EQ(run("profile-name " + name_of(64)), CMD_SUCCESS);
    EXPECT_EQ(app.calls, (Calls{"srvprofile_edit"}));
    EXPECT_EQ(app.srvprofile.onuSrvProfileId, 5u);
    EXPECT_STREQ(app.srvprofile.onuSrvProfileName, name_of(64).c_str());
    EXPECT_EQ(run("profile-name five"), CMD_SUCCESS); // its own
    EXPECT_EQ(run("profile-name six"), CMD_WARNING);
    EXPECT_EQ(session_.output(), "%Profile name not valid\n");
    EXPECT_EQ(run("profile-name " + name_of(65)), CMD_WARNING);
    EXPECT_EQ(kavo_cmd_last_result(), 104006);
    EXPECT_EQ(session_.output(), "%Bad profile name length\n");
    EXPECT_EQ(app.calls.size(), 2u);
}

CLI_TEST(Profiles, AServiceProfileIsDeleted) {
    add_profile(5, "five", "KLM-618");
    EXPECT_EQ(run("no onu-srvprofile profile-id 5"), CMD_SUCCESS);
    EXPECT_EQ(app.srvprofile.onuSrvProfileId, 5u);
    EXPECT_EQ(run("no onu-srvprofile profile-id 6"), CMD_WARNING);
    EXPECT_EQ(kavo_cmd_last_result(), 104001);
    EXPECT_EQ(session_.output(), "% onu-srvprofile not exist\n");
    add_profile(5, "five", "KLM-618");
    app.refuses = true;
    EXPECT_EQ(run("no onu-srvprofile profile-id 5"), CMD_WARNING);
    EXPECT_EQ(kavo_cmd_last_result(), 104006);
    EXPECT_EQ(session_.output(), "%Failed to delete multi srvprofile\n");
}

CLI_TEST(Profiles, ServiceProfilesAreShown) {
    add_profile(5, "five", "KLM-618");
    add_profile(128, "last", "KLM-618");
    EXPECT_EQ(run("show profile onu-srvprofile all"), CMD_SUCCESS);
    std::string text = session_.output();
    EXPECT_THAT(text, HasSubstr("five"));
    EXPECT_THAT(text, HasSubstr("total 2\n"));
    EXPECT_EQ(run("show profile onu-srvprofile 128"), CMD_SUCCESS);
    text = session_.output();
    EXPECT_THAT(text, HasSubstr("last"));
    EXPECT_THAT(text, Not(HasSubstr("five")));
    EXPECT_EQ(run("show profile onu-srvprofile 6"), CMD_WARNING);
    EXPECT_EQ(session_.output(), "% onu-srvprofile not exist\n");
}

} // namespace
