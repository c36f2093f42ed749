// QoS by command: profiles, what is given of them, what is shown.
#include "qos_fixture.h"

using testing::HasSubstr;

namespace {

// ---- profiles ---------------------------------------------------------------------------------------------

CLI_TEST(Qos, ProfilesAreRowsAndSavedLines) {
    make_profiles();
    const auto* wrr = ov_app_find_sched_profile_by_id(16);
    ASSERT_NE(wrr, nullptr);
    EXPECT_STREQ(wrr->name, "two");
    EXPECT_EQ(wrr->weight[7], 100u);
    EXPECT_EQ(wrr->mode[0], uint32_t{OV_QOS_SCHED_WRR});
    const auto* traffic = ov_app_find_qos_traffic_profile_by_id(128);
    ASSERT_NE(traffic, nullptr);
    EXPECT_EQ(traffic->max_bw[0], -1);
    EXPECT_EQ(std::tie(traffic->min_bw[1], traffic->max_bw[1]), std::make_tuple(1, 1));
    EXPECT_EQ(std::tie(traffic->min_bw[4], traffic->max_bw[4]), std::make_tuple(1, 100000000));
    EXPECT_EQ(saved(), (std::vector<std::string>{" " + SCHED_LINE, " " + WRR_LINE, " " + MAP_LINE,
                                                 " " + COS_LINE, " " + TRAFFIC_LINE}));
    EXPECT_TRUE(has_sched_row(16));
    for (const char* line :
         {"no profile qos-queue-scheduler 1", "no profile qos-queue-scheduler 16",
          "no profile cos-queue-map 4", "no profile cos-to-cos 7", "no profile qos-queue-traffic 128"})
        EXPECT_EQ(on_gpon(line), "") << line;
    EXPECT_EQ(saved(), std::vector<std::string>{});
    EXPECT_FALSE(has_sched_row(16));
}

// A saved configuration can be typed over itself.
CLI_TEST(Qos, AProfileThatIsThereAlreadyMayBeTypedAgain) {
    make_profiles();
    make_profiles();
    EXPECT_EQ(on_gpon("profile qos-queue-scheduler 1 name other policy sp", FAILED),
              "%Failed to add qos-queue-scheduler profile 1\n");
    EXPECT_EQ(on_gpon("profile cos-to-cos 7 name seven" + CLASSES + "6", FAILED),
              "%Failed to add cos-to-cos profile 7\n");
    EXPECT_STREQ(ov_app_find_sched_profile_by_id(1)->name, "one");
    EXPECT_EQ(ov_app_find_cos_to_cos_map_profile_by_id(7)->mapped_cos[7], 7u);
}

CLI_TEST(Qos, TheSameMappingUnderAnotherNumberIsRefused) {
    make_profiles();
    EXPECT_EQ(on_gpon("profile cos-queue-map 1 name x" + CLASSES + "0", FAILED),
              "%Failed to add cos-queue-map profile 1\n");
    EXPECT_EQ(on_gpon("profile cos-to-cos 1 name x" + CLASSES + "7", FAILED),
              "%Failed to add cos-to-cos profile 1\n");
    // a default's
    EXPECT_EQ(
        on_gpon("profile cos-queue-map 1 name x cos0 0 cos1 0 cos2 1 cos3 1 cos4 2 cos5 2 cos6 3 cos7 3",
                FAILED),
        "%Failed to add cos-queue-map profile 1\n");
    EXPECT_EQ(ov_app_find_cosq_map_profile_by_id(1), nullptr);
}

CLI_TEST(Qos, RangesOfBandwidthAreReadStrictly) {
    const auto line = [](const std::string& range) {
        return "profile qos-queue-traffic 1 name x queue0 1 queue1 1 queue2 1 queue3 1 queue4 1 queue5 1 "
               "queue6 1 queue7 " +
               range;
    };
    for (const char* range : {"100000001", "1-100000001", "2-1", "0-1", "-1", "1-", "-", "1-2-3", "1k", "+1",
                              "0x10", "99999999999999999999", "1-99999999999999999999", "any"}) {
        EXPECT_EQ(on_gpon(line(range), BAD_INPUT), "%Bad parameter\n") << range;
        EXPECT_EQ(ov_app_find_qos_traffic_profile_by_id(1), nullptr) << range;
    }
    for (const char* range : {"0", "0-0", "1", "100000000", "1-1", "007"}) {
        EXPECT_EQ(on_gpon(line(range)), "") << range;
        on_gpon("no profile qos-queue-traffic 1");
    }
}

CLI_TEST(Qos, NamesHaveTheLengthOfTheirColumn) {
    const struct {
        size_t longest;
        const char* head;
        std::string tail;
        const char* away;
    } kinds[] = {
        {128, "profile qos-queue-scheduler 1 name ", " policy sp", "no profile qos-queue-scheduler 1"},
        {65, "profile cos-queue-map 1 name ", CLASSES + "0", "no profile cos-queue-map 1"},
        {64, "profile cos-to-cos 1 name ", CLASSES + "0", "no profile cos-to-cos 1"},
        {64, "profile qos-queue-traffic 1 name ",
         " queue0 1 queue1 1 queue2 1 queue3 1 queue4 1 queue5 1 queue6 1 queue7 1",
         "no profile qos-queue-traffic 1"},
    };
    for (const auto& kind : kinds) {
        const std::string name(kind.longest, 'n');
        EXPECT_EQ(on_gpon(kind.head + name + "n" + kind.tail, FAILED), "%Bad profile name length\n");
        EXPECT_EQ(on_gpon(kind.head + name + kind.tail), "") << kind.head;
        EXPECT_EQ(saved(), std::vector{" " + (kind.head + name + kind.tail)});
        EXPECT_EQ(on_gpon(kind.away), "");
    }
}

const std::pair<std::string, std::string> BOUND[] = {
    {"qos-queue-traffic", "128"}, {"qos-queue-scheduler", "1"}, {"cos-queue-map", "4"}, {"cos-to-cos", "7"}};

CLI_TEST(Qos, WhatIsNotThereOrInUseStays) {
    make_profiles();
    EXPECT_EQ(on_gpon("no profile qos-queue-scheduler 2", FAILED),
              "%Failed to delete qos-queue-scheduler profile 2\n");
    EXPECT_EQ(run(onu_, "qos-queue-traffic 128"), "");
    EXPECT_EQ(run(port_, "qos-queue-scheduler 1"), "");
    EXPECT_EQ(run(onu_, "cos-queue-map downlink 4"), "");
    EXPECT_EQ(run(uplink_, "cos-to-cos uplink default downlink 7"), "");
    for (const auto& [kind, id] : BOUND)
        EXPECT_EQ(on_gpon(no_profile(kind, id), FAILED),
                  "%Failed to delete " + kind + " profile " + id + "\n");
    EXPECT_EQ(saved().size(), 5u + 4u);
    EXPECT_EQ(run(onu_, "qos-queue-traffic default"), "");
    EXPECT_EQ(run(port_, "qos-queue-scheduler default"), "");
    EXPECT_EQ(run(onu_, "cos-queue-map downlink default"), "");
    EXPECT_EQ(run(uplink_, "cos-to-cos uplink default downlink default"), "");
    for (const auto& [kind, id] : BOUND)
        EXPECT_EQ(on_gpon(no_profile(kind, id)), "") << kind;
}

// Managers can make what no command can; what rests on it isn't saved, either.
CLI_TEST(Qos, WhatNoCommandMakesHasNoLine) {
    make_profiles();
    EXPECT_EQ(run(port_, "qos-queue-scheduler 1"), "");
    EXPECT_EQ(run(onu_, "qos-queue-scheduler 1"), "");
    const auto before = saved();
    auto& profile = *ov_app_find_sched_profile_by_id(1);
    profile.mode[3] = 4;
    EXPECT_EQ(saved().size(), before.size() - 3);
    profile.mode[3] = OV_QOS_SCHED_SP;
    profile.name[0] = ' ';
    EXPECT_EQ(saved().size(), before.size() - 3);
    profile.name[0] = '\0';
    EXPECT_EQ(saved().size(), before.size() - 3);
    strcpy(profile.name, "one");
    EXPECT_EQ(saved(), before);
    ov_app_find_sched_profile_by_id(16)->weight[0] = 101;
    EXPECT_EQ(saved().size(), before.size() - 1);
}

// ---- what is shown ----------------------------------------------------------------------------------------

// Where the words of a line begin.
std::vector<size_t> ends_of_words(const std::string& line) {
    std::vector<size_t> ends;
    for (size_t i = 0; i < line.size(); i++)
        if (line[i] != ' ' && (i + 1 == line.size() || line[i + 1] == ' '))
            ends.push_back(i);
    return ends;
}

CLI_TEST(Qos, ShowsLineUpForNamesOfAnyLength) {
    make_profiles();
    on_gpon("profile qos-queue-scheduler 2 name " + std::string(128, 'n') + " policy sp");
    on_gpon("profile qos-queue-traffic 2 name " + std::string(64, 'n') +
            " queue0 99999999-100000000 queue1 99999999-100000000 queue2 99999999-100000000 queue3 "
            "99999999-100000000 queue4 1 queue5 1 queue6 1 queue7 99999999-100000000");
    for (const char* kind : {"qos-queue-scheduler", "qos-queue-traffic", "cos-queue-map", "cos-to-cos"}) {
        std::istringstream text(on_gpon(std::string("show profile ") + kind));
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
        ASSERT_GT(lines.size(), 4u) << kind;
        const auto heading = ends_of_words(lines[1]);
        for (size_t i = 2; i + 1 < lines.size(); i++) {
            const auto row = ends_of_words(lines[i]);
            ASSERT_EQ(row.size(), heading.size()) << lines[i];
            for (size_t word = 0; word + 1 < row.size(); word++)
                if (lines[1].substr(0, heading[word] + 1).find("policy") == std::string::npos || word > 2) {
                    EXPECT_EQ(row[word], heading[word]) << kind << "\n" << lines[1] << "\n" << lines[i];
                }
        }
        EXPECT_THAT(lines.back(), HasSubstr("total "));
    }
}

CLI_TEST(Qos, ShowsTellWhatTheProfilesSay) {
    make_profiles();
    run(onu_, "qos-queue-scheduler 16");
    EXPECT_THAT(
        on_gpon("show profile qos-queue-scheduler"),
        HasSubstr("\n 16      1 wrr         0      1      2      3      4      5      6    100 two\n"));
    EXPECT_THAT(run(port_, "show profile cos-queue-map"),
                HasSubstr("\n  4      0    0    0    1    1    2    2    3    0 four\n"));
    EXPECT_THAT(run(uplink_, "show profile cos-to-cos"),
                HasSubstr("\n  7      0    0    0    1    1    2    2    3    7 seven\n"));
    EXPECT_THAT(run(onu_, "show profile qos-queue-traffic"), HasSubstr(" 1-2 "));
    EXPECT_THAT(on_gpon("dump qos sched"), HasSubstr("description"));
    EXPECT_THAT(on_gpon("dump qos cosq-map"), HasSubstr("four"));
    EXPECT_THAT(on_gpon("dump qos cos-to-cos"), HasSubstr("seven"));
    EXPECT_THAT(on_gpon("dump qos traffic"), HasSubstr("most"));
}

// ---- ports ------------------------------------------------------------------------------------------------

CLI_TEST(Qos, PortsAreGivenProfiles) {
    make_profiles();
    for (const char* line : {"qos-queue-scheduler 16", "qos-queue-traffic 128"}) {
        EXPECT_EQ(run(port_, line), "") << line;
        EXPECT_EQ(run(uplink_, line), "") << line;
    }
    EXPECT_EQ(run(uplink_, "cos-queue-map 4"), "");
    EXPECT_EQ(run(uplink_, "cos-to-cos uplink 7 downlink default"), "");
    EXPECT_EQ(pon_row().ponPortQosSchedulerProfileId, 16);
    EXPECT_EQ(pon_row().ponPortQosTrafficProfileId, 128);
    EXPECT_EQ(uplink_row().portQosSchedulerProfileId, 16);
    EXPECT_EQ(uplink_row().portQosTrafficProfileId, 128);
    EXPECT_EQ(uplink_row().portQosCosQueueMappingProfileId, 4);
    EXPECT_EQ(uplink_row().portQosUplinkCosToCosProfileId, 7);
    EXPECT_EQ(uplink_row().portQosDownlinkCosToCosProfileId, 0);
    EXPECT_THAT(written(), HasSubstr("interface xe1/3\n qos-queue-scheduler 16\n cos-queue-map 4\n"
                                     " cos-to-cos uplink 7 downlink default\n qos-queue-traffic 128\n"));
    EXPECT_THAT(written(),
                HasSubstr("interface gpon-olt1/2\n qos-queue-scheduler 16\n qos-queue-traffic 128\n"));
    EXPECT_THAT(on_gpon("dump qos port"), HasSubstr("xe1/3"));
}

CLI_TEST(Qos, APortIsRefusedWhatIsNotThere) {
    EXPECT_EQ(run(port_, "qos-queue-scheduler 3", FAILED), "%Failed to edit port qos profile:3\n");
    EXPECT_EQ(run(uplink_, "qos-queue-traffic 4", FAILED), "%Failed to edit port qos profile:4\n");
    EXPECT_EQ(run(uplink_, "cos-queue-map 2", FAILED), "%Failed to edit port qos profile:2\n");
    on_gpon(COS_LINE);
    EXPECT_EQ(run(uplink_, "cos-to-cos uplink 7 downlink 6", FAILED), "%Failed to edit port qos profile:6\n");
    EXPECT_EQ(uplink_row().portQosUplinkCosToCosProfileId, 0);
    EXPECT_EQ(ov_app_find_port_qos_by_ifindex(index_of("xe1/3"))->sflag, 0u);
    FrrSession other(IF_GPON_NODE);
    stand_on(other, IF_GPON_NODE, "gpon-olt1/9");
    EXPECT_EQ(run(other, "qos-queue-scheduler default", FAILED), "%Failed to no port qos profile:0\n");
}

CLI_TEST(Qos, AHierarchicalSchedulerIsSavedInFrontOfTheProfiles) {
    make_profiles();
    EXPECT_EQ(run(port_, "qos-queue-scheduler 1"), "");
    EXPECT_EQ(run(port_, "qos-queue-scheduler model hierarchy"), "");
    EXPECT_EQ(pon_row().ponPortQosSchedulerModel, 2);
    EXPECT_EQ(pon_row().ponPortQosSchedulerProfileId, 0);
    EXPECT_EQ(run(port_, "qos-queue-scheduler 16"), "");
    EXPECT_EQ(run(port_, "scb max-bandwidth 1000"), "");
    const std::string text = written();
    EXPECT_THAT(text, HasSubstr("interface gpon-olt1/2\n qos-queue-scheduler model hierarchy\n"
                                " qos-queue-scheduler 16\n"));
    EXPECT_LT(text.find("model hierarchy"), text.find("scb max-bandwidth 1000"));
    EXPECT_EQ(run(port_, "qos-queue-scheduler model simple"), "");
    EXPECT_EQ(written().find("scb max-bandwidth"), std::string::npos) << "a replay would be refused";
    EXPECT_EQ(written().find("model"), std::string::npos);
}

CLI_TEST(Qos, ASavedBlockIsThatOfThePortThatWasAskedFor) {
    make_profiles();
    run(port_, "qos-queue-scheduler 1");
    run(uplink_, "qos-queue-scheduler 1");
    FrrSession session(ENABLE_NODE);
    EXPECT_EQ(session.run("write terminal interface xe1/3"), CMD_SUCCESS);
    EXPECT_EQ(session.output(), "gpon\n!\ninterface xe1/3\n qos-queue-scheduler 1\n!\n");
    EXPECT_EQ(session.run("write terminal interface gp1/2"), CMD_SUCCESS);
    EXPECT_THAT(session.output(), HasSubstr("interface gpon-olt1/2\n qos-queue-scheduler 1\n"));
}

// ---- ONUs -------------------------------------------------------------------------------------------------

CLI_TEST(Qos, OnusAreGivenProfiles) {
    make_profiles();
    for (const char* line : {"qos-queue-scheduler 1", "qos-queue-traffic 128", "cos-queue-map downlink 4",
                             "qos-onu-bandwidth min 5 max 10000000", "qos-onu-weight 127"})
        EXPECT_EQ(run(onu_, line), "") << line;
    EXPECT_EQ(onu_row().onuQosSchedulerProfileId, 1);
    EXPECT_EQ(onu_row().onuQosTrafficProfileId, 128);
    EXPECT_EQ(onu_row().onuQosDownlinkCosQueueMapProfileId, 4);
    EXPECT_EQ(std::pair(onu_row().onuQosMinBw, onu_row().onuQosMaxBw),
              std::pair(mib_ulong{5}, mib_ulong{10000000}));
    EXPECT_EQ(onu_row().onuQosWeight, 127);
    EXPECT_THAT(onu_block(), HasSubstr(" qos-queue-scheduler 1\n cos-queue-map downlink 4\n"
                                       " qos-queue-traffic 128\n qos-onu-bandwidth min 5 max 10000000\n"
                                       " qos-onu-weight 127\n"));
    EXPECT_THAT(on_gpon("show qos-onu-bandwidth interface gpon-onu1/2:7"),
                HasSubstr("gpon-onu1/2:7              5   10000000\n"));
    EXPECT_THAT(run(onu_, "show qos-onu-weight interface gpon-onu1/2:7"),
                HasSubstr("gpon-onu1/2:7        127\n"));
    EXPECT_THAT(on_gpon("dump qos onu"), HasSubstr("gpon-onu1/2:7"));
    for (const char* line :
         {"qos-queue-scheduler default", "qos-queue-traffic default", "cos-queue-map downlink default",
          "qos-onu-bandwidth min 0 max 0", "qos-onu-weight default"})
        EXPECT_EQ(run(onu_, line), "") << line;
    EXPECT_EQ(onu_block().find("qos"), std::string::npos) << onu_block();
}

CLI_TEST(Qos, AnOnuIsRefusedWhatIsNotThere) {
    const std::string missing = "%Failed to edit oun qos profile,the profile dont exist:";
    EXPECT_EQ(run(onu_, "qos-queue-scheduler 3", FAILED), missing + "3\n");
    EXPECT_EQ(run(onu_, "qos-queue-traffic 3", FAILED), missing + "3\n");
    EXPECT_EQ(run(onu_, "cos-queue-map downlink 3", FAILED), missing + "3\n");
    FrrSession other(GPON_ONU_NODE);
    stand_on(other, GPON_ONU_NODE, "gpon-onu1/2:99");
    EXPECT_EQ(run(other, "qos-onu-weight default", FAILED), missing + "1\n");
    EXPECT_EQ(run(other, "qos-onu-bandwidth min 1 max 2", FAILED), "%Failed to set bandwidth\n");
}

// An ONU of four queues.
CLI_TEST(Qos, AMappingMustFitTheQueuesOfTheOnu) {
    on_gpon(MAP_LINE); // queues 0 to 3
    on_gpon("profile cos-queue-map 1 name x cos0 0 cos1 0 cos2 0 cos3 0 cos4 0 cos5 0 cos6 0 cos7 4");
    EXPECT_EQ(onu_row(8).onuQosDownlinkCosQueueMapProfileId, 5);
    EXPECT_EQ(onu_row(7).onuQosDownlinkCosQueueMapProfileId, 0);
    EXPECT_EQ(run(narrow_, "cos-queue-map downlink 1", FAILED), "%Failed to edit port qos profile:1\n");
    EXPECT_EQ(run(narrow_, "cos-queue-map downlink 0", FAILED), "%Failed to no port qos profile:0\n");
    EXPECT_EQ(run(onu_, "cos-queue-map downlink 1"), "");
    EXPECT_EQ(onu_row(8).onuQosDownlinkCosQueueMapProfileId, 5);
    EXPECT_EQ(run(narrow_, "cos-queue-map downlink 6"), "");
    EXPECT_THAT(written(), HasSubstr(" cos-queue-map downlink 6\n"));
    EXPECT_EQ(run(narrow_, "cos-queue-map downlink default"), "");
    EXPECT_EQ(onu_row(8).onuQosDownlinkCosQueueMapProfileId, 5);
    EXPECT_EQ(written().find(" cos-queue-map downlink 5"), std::string::npos);
}

} // namespace
