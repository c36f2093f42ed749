// QoS of service ports, what a card refuses, and what is saved and typed again.
#include "qos_fixture.h"

#include <sstream>

#include "../support/dice.h"

using testing::HasSubstr;

namespace {

// ---- service ports ----------------------------------------------------------------------------------------

class QosOfServicePort : public Qos {
protected:
    QosOfServicePort() {
        add_bandwidth("gold");
        make_profiles();
        for (const char* line : {"tcont 1 profile gold", "gemport 1 tcont 1", "service-port 1 gemport 1"})
            EXPECT_EQ(run(onu_, line), "") << line;
    }
    static uint32_t uplink_profile() {
        auto key = onu_key<ov_servicePortTable_attr_t>(1, 2, 7);
        key.servicePortId = 1;
        return find_row(key)->servicePortUplinkCosToCosProfileId;
    }
};

CLI_TEST(QosOfServicePort, ItIsGivenAProfile) {
    EXPECT_EQ(run(onu_, "service-port 1 cos-to-cos uplink 7"), "");
    EXPECT_EQ(uplink_profile(), 7u);
    EXPECT_THAT(onu_block(), HasSubstr(" service-port 1 gemport 1\n service-port 1 cos-to-cos uplink 7\n"));
    EXPECT_EQ(on_gpon("no profile cos-to-cos 7", FAILED), "%Failed to delete cos-to-cos profile 7\n");
    EXPECT_THAT(on_gpon("dump qos servport"), HasSubstr("gpon-onu1/2:7                 1             7"));
    EXPECT_EQ(run(onu_, "service-port 1 cos-to-cos uplink default"), "");
    EXPECT_EQ(uplink_profile(), 0u);
    EXPECT_EQ(onu_block().find("cos-to-cos"), std::string::npos);
    EXPECT_EQ(on_gpon("no profile cos-to-cos 7"), "");
}

CLI_TEST(QosOfServicePort, ItIsRefusedWhatIsNotThere) {
    EXPECT_EQ(run(onu_, "service-port 1 cos-to-cos uplink 6", FAILED), "%Could not set service port: 1\n");
    EXPECT_EQ(run(onu_, "service-port 2 cos-to-cos uplink 7", BAD_INPUT),
              "%Could not find service port: 2\n");
    EXPECT_EQ(uplink_profile(), 0u);
}

CLI_TEST(QosOfServicePort, WhatItsCardRefusesIsAsBefore) {
    EXPECT_EQ(run(onu_, "service-port 1 cos-to-cos uplink 7"), "");
    card_refuses(910);
    on_gpon("profile cos-to-cos 1 name x" + CLASSES + "5");
    EXPECT_EQ(run(onu_, "service-port 1 cos-to-cos uplink 1", FAILED), "%Could not set service port: 1\n");
    EXPECT_EQ(uplink_profile(), 7u);
    EXPECT_EQ(on_gpon("no profile cos-to-cos 1"), "") << "nothing has it";
}

CLI_TEST(Qos, ATemplateKeepsItsProfile) {
    add_bandwidth("gold");
    make_profiles();
    FrrSession session(GPON_NODE);
    EXPECT_EQ(session.run("onu-srvprofile profile-id 5 onu-type KLM-618"), CMD_SUCCESS);
    for (const char* line : {"tcont 1 profile gold", "gemport 1 tcont 1", "service-port 1 gemport 1",
                             "service-port 1 cos-to-cos uplink 7", "qos-onu-bandwidth min 1 max 2"})
        EXPECT_EQ(run(profile_, line), "") << line;
    EXPECT_THAT(written(),
                HasSubstr(" service-port 1 cos-to-cos uplink 7\n qos-onu-bandwidth min 1 max 2\n"));
    EXPECT_EQ(on_gpon("no profile cos-to-cos 7"), "") << "templates bind nothing";
    EXPECT_EQ(written().find("cos-to-cos"), std::string::npos) << "a replay would be refused";
}

// ---- a card that refuses ----------------------------------------------------------------------------------

CLI_TEST(Qos, WhatTheCardRefusesIsAsBefore) {
    make_profiles();
    card_refuses(921);
    card_refuses(715);
    EXPECT_EQ(run(onu_, "qos-onu-weight 5", FAILED), "%Failed to edit port qos profile:5\n");
    EXPECT_EQ(run(onu_, "qos-onu-bandwidth min 5 max 6", FAILED), "%Failed to set bandwidth\n");
    EXPECT_EQ(run(port_, "qos-queue-scheduler 1", FAILED), "%Failed to edit port qos profile:1\n");
    EXPECT_EQ(onu_row().onuQosWeight, 1);
    EXPECT_EQ(pon_row().ponPortQosSchedulerProfileId, 0);
    EXPECT_EQ(onu_block().find("qos"), std::string::npos);
    EXPECT_EQ(on_gpon("no profile qos-queue-scheduler 1"), "") << "nothing has it";
}

// ---- the saved configuration ------------------------------------------------------------------------------

// A configuration of random profiles and bindings, as an operator types it.
class RandomQos : public Qos {
protected:
    std::string digit(size_t most) { return std::to_string(dice_.below(most + 1)); }
    std::string profile_or_default(size_t last) {
        return dice_.one_in(4) ? "default" : std::to_string(1 + dice_.below(last));
    }
    std::string eight(const std::string& word, size_t most) {
        std::string words;
        for (int i = 0; i < 8; i++)
            words += " " + word + std::to_string(i) + " " + digit(most);
        return words;
    }
    std::string bandwidths() {
        std::string words;
        for (int i = 0; i < 8; i++) {
            const size_t min = dice_.below(100);
            const std::string number = std::to_string(min);
            words += " queue" + std::to_string(i) + " " +
                     (min == 0 || dice_.one_in(2) ? number
                                                  : number + "-" + std::to_string(min + dice_.below(100)));
        }
        return words;
    }
    std::string name() { return dice_.text(1 + dice_.below(64), "abcXYZ019-_.%|{}[]\\'\"@") + "n"; }

    void type_profiles() {
        for (int id = 1; id <= 4; id++) {
            const std::string number = std::to_string(id) + " name " + name();
            gpon_.run("profile qos-queue-scheduler " + number +
                      (dice_.one_in(3) ? " policy sp" : " policy wrr" + eight("queue", 100)));
            gpon_.run("profile cos-queue-map " + number + eight("cos", 7));
            gpon_.run("profile cos-to-cos " + number + eight("cos", 7));
            gpon_.run("profile qos-queue-traffic " + number + bandwidths());
        }
    }
    void type_bindings() {
        if (dice_.one_in(2))
            port_.run("qos-queue-scheduler model hierarchy");
        for (FrrSession* session : {&port_, &uplink_, &onu_, &narrow_}) {
            session->run("qos-queue-scheduler " + profile_or_default(4));
            session->run("qos-queue-traffic " + profile_or_default(4));
        }
        uplink_.run("cos-queue-map " + digit(7));
        uplink_.run("cos-to-cos uplink " + profile_or_default(4) + " downlink " + profile_or_default(4));
        for (FrrSession* session : {&onu_, &narrow_}) {
            session->run("cos-queue-map downlink " + digit(7));
            session->run("qos-onu-weight " + std::to_string(1 + dice_.below(127)));
            session->run("qos-onu-bandwidth min " + digit(5) + " max " + digit(5));
        }
    }
    // Takes away all that was typed.
    void clear() {
        for (FrrSession* session : {&port_, &uplink_, &onu_, &narrow_}) {
            session->run("qos-queue-scheduler default");
            session->run("qos-queue-traffic default");
        }
        port_.run("qos-queue-scheduler model simple");
        uplink_.run("cos-queue-map default");
        uplink_.run("cos-to-cos uplink default downlink default");
        for (FrrSession* session : {&onu_, &narrow_}) {
            session->run("cos-queue-map downlink default");
            session->run("qos-onu-weight default");
            session->run("qos-onu-bandwidth min 0 max 0");
        }
        for (const char* id : {"1", "2", "3", "4"})
            for (const char* kind :
                 {"qos-queue-scheduler", "cos-queue-map", "cos-to-cos", "qos-queue-traffic"})
                gpon_.run(no_profile(kind, id));
    }
    // Types a saved configuration.
    static void replay(const std::string& text) {
        FrrSession session(CONFIG_NODE);
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
            if (line != "!" && !line.starts_with(" onu ")) { // those are there
                EXPECT_EQ(session.run(line), CMD_SUCCESS) << line << "\n" << session.output();
            }
    }

    Dice dice_{20261122};
};

CLI_TEST(RandomQos, WhatIsSavedMakesTheSameAgain) {
    const std::string empty = written();
    size_t lines = 0;
    for (int round = 0; round < 30; round++) {
        type_profiles();
        type_bindings();
        const auto qos = saved();
        const std::string text = written();
        lines += qos.size();
        replay(text); // over itself
        EXPECT_EQ(written(), text);
        clear();
        ASSERT_EQ(written(), empty) << round;
        replay(text);
        ASSERT_EQ(written(), text) << round;
        clear();
    }
    EXPECT_GT(lines, 500u);
}

} // namespace
