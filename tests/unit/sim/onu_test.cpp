#include "onu.h"

#include <gtest/gtest.h>

#include "card_frame.h"

namespace {

constexpr uint32_t PON = 9u << 27 | 1u << 26 | 1u << 21;
constexpr uint32_t ONU_1 = 10u << 27 | 1u << 26 | 1u << 21;

class OnuLife : public testing::Test {
protected:
    struct Event {
        uint16_t number;
        uint32_t action;
        std::vector<uint8_t> record;
    };

    OnuLife() { onus.set_delays(std::chrono::milliseconds(0), std::chrono::milliseconds(0)); }

    Onu& plug(uint32_t serial) {
        Onu onu;
        onu.pon = PON;
        onu.serial = next_onu_serial(*parse_onu_serial("ABCD00000000"), serial);
        EXPECT_TRUE(onus.add(onu));
        return *onus.find(PON, onu.serial);
    }
    bool tell(uint32_t index, const OnuSerial& serial) {
        std::vector<uint8_t> record(316);
        put_be32(record, 0, index);
        put_be32(record, 72, 1);
        std::copy(serial.begin(), serial.end(), record.begin() + 76);
        objects.put(*find_card_message(903u), record);
        return onus.told(index);
    }
    void forget(uint32_t index) {
        std::vector<uint8_t> record(316);
        put_be32(record, 0, index);
        objects.remove(*find_card_message(903u), record);
        onus.forgotten(index);
    }
    void set_learning(bool on) {
        std::vector<uint8_t> port(124);
        put_be32(port, 0, PON);
        port[108] = on ? 1 : 0;
        objects.put(*find_card_message(901u), port);
        onus.set_learning(PON);
    }
    // Numbers and actions of what was reported, "922/1 938/1".
    std::string told_up() {
        std::string text;
        for (const Event& event : std::exchange(events, {}))
            text +=
                (text.empty() ? "" : " ") + std::to_string(event.number) + "/" + std::to_string(event.action);
        return text;
    }
    void run() {
        loop.after(std::chrono::milliseconds(10), [this] { loop.stop(); });
        loop.run();
    }
    // States of an ONU that were reported.
    std::vector<int> states() const {
        std::vector<int> seen;
        for (const Event& event : events) {
            if (event.number == 927)
                seen.push_back(event.record[4]);
        }
        return seen;
    }

    EventLoop loop;
    CardObjects objects;
    std::vector<Event> events;
    bool somebody_hears = true;
    Onus onus{loop, objects, [this](uint16_t number, uint32_t action, std::span<const uint8_t> record) {
                  if (somebody_hears)
                      events.push_back({number, action, {record.begin(), record.end()}});
                  return somebody_hears;
              }};
};

TEST_F(OnuLife, AKnownOneComesUp) {
    Onu& onu = plug(1);
    tell(ONU_1, onu.serial);
    EXPECT_TRUE(events.empty());
    onus.power_on(onu);
    run();
    EXPECT_EQ(onu.state, OnuState::OPERATIONAL);
    EXPECT_EQ(states(), (std::vector<int>{2, 3}));
    EXPECT_EQ(onus.at_index(ONU_1), &onu);
}

TEST_F(OnuLife, OneThatIsSwitchedOffWhileRangingStaysSilent) {
    Onu& onu = plug(1);
    tell(ONU_1, onu.serial);
    onus.power_on(onu);
    onus.power_off(onu, true);
    run();
    EXPECT_EQ(onu.state, OnuState::OFF);
    EXPECT_TRUE(events.empty());
}

TEST_F(OnuLife, AnUnknownOneWaitsToBeTold) {
    Onu& onu = plug(1);
    onus.power_on(onu);
    run();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].number, 922);
    tell(ONU_1, onu.serial);
    EXPECT_EQ(events[1].number, 922);
    EXPECT_EQ(events[1].action, card_action::DELETE);
    EXPECT_EQ(onu.state, OnuState::AUTHPASS);
}

TEST_F(OnuLife, OneThatIsToldAgainAsItIsChangesNothing) {
    Onu& onu = plug(1);
    onus.power_on(onu);
    run();
    EXPECT_TRUE(tell(ONU_1, onu.serial));
    run();
    events.clear();
    EXPECT_FALSE(tell(ONU_1, onu.serial));
    EXPECT_TRUE(events.empty());
    EXPECT_TRUE(tell(ONU_1, next_onu_serial(onu.serial, 1)));
    EXPECT_EQ(states(), (std::vector<int>{1}));
}

TEST_F(OnuLife, TheStateIsReportedAgainWhetherItIsThereOrNot) {
    Onu& onu = plug(1);
    tell(ONU_1, onu.serial);
    onus.report_again(ONU_1);
    EXPECT_EQ(states(), (std::vector<int>{1}));
    onus.power_on(onu);
    run();
    events.clear();
    onus.report_again(ONU_1);
    EXPECT_EQ(states(), (std::vector<int>{3}));
    onus.report_again(ONU_1 + 128);
    EXPECT_EQ(events.size(), 1u);
}

TEST_F(OnuLife, AForgottenOneIsRangedAgain) {
    Onu& onu = plug(1);
    tell(ONU_1, onu.serial);
    onus.power_on(onu);
    forget(ONU_1);
    EXPECT_EQ(onus.at_index(ONU_1), nullptr);
    run();
    EXPECT_EQ(onu.state, OnuState::UNCONFIGURED);
    EXPECT_TRUE(onus.remove(onu.serial));
    EXPECT_FALSE(onus.remove(OnuSerial{}));
}

TEST_F(OnuLife, LearntOnesGetDifferentNumbers) {
    set_learning(true);
    for (const uint32_t serial : {1u, 2u})
        onus.power_on(plug(serial));
    run();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].number, 938);
    EXPECT_NE(get_be32(events[0].record, 0), get_be32(events[1].record, 0));
}

TEST_F(OnuLife, OneThatIsToBeLearntIsReportedAgainUntilItIsProvisioned) {
    const auto none = std::chrono::milliseconds(0);
    onus.set_delays(none, none, none, std::chrono::milliseconds(1));
    set_learning(true);
    Onu& onu = plug(1);
    onus.power_on(onu);
    std::vector<Event> asked;
    loop.after(std::chrono::milliseconds(5), [&] {
        asked = std::exchange(events, {});
        tell(ONU_1, onu.serial);
    });
    run();
    ASSERT_GE(asked.size(), 2u);
    for (const Event& event : asked) {
        EXPECT_EQ(event.number, 938);
        EXPECT_EQ(get_be32(event.record, 0), ONU_1);
    }
    EXPECT_EQ(onu.state, OnuState::OPERATIONAL);
    EXPECT_EQ(states(), (std::vector<int>{2, 3}));
    EXPECT_EQ(told_up().find("938"), std::string::npos);
}

TEST_F(OnuLife, PortThatBeginsToLearnOffersThoseThatWait) {
    Onu& onu = plug(1);
    onus.power_on(onu);
    run();
    EXPECT_EQ(told_up(), "922/1");
    set_learning(true);
    EXPECT_EQ(told_up(), "922/2 938/1");
    EXPECT_EQ(onu.state, OnuState::LEARNING);
    onus.replay();
    EXPECT_EQ(told_up(), "938/1");
    set_learning(true);
    EXPECT_EQ(told_up(), "");
    set_learning(false);
    EXPECT_EQ(told_up(), "922/1");
    EXPECT_EQ(onu.state, OnuState::UNCONFIGURED);
}

TEST_F(OnuLife, APortOfAReplayLearnsWhenTheReplayHasEnded) {
    onus.learn_behind_replay(PON);
    set_learning(true);
    const Onu& known = plug(1);
    const Onu& unknown = plug(2);
    onus.power_on(*onus.find(known.serial));
    onus.power_on(*onus.find(unknown.serial));
    run();
    EXPECT_EQ(told_up(), "922/1 922/1");
    tell(ONU_1, known.serial);
    run();
    told_up();
    onus.replay_ended();
    EXPECT_EQ(told_up(), "922/2 938/1");
    EXPECT_EQ(known.state, OnuState::OPERATIONAL);
    EXPECT_EQ(unknown.state, OnuState::LEARNING);
}

TEST_F(OnuLife, WhatNobodyHeardOfIsNotTakenBack) {
    somebody_hears = false;
    Onu& onu = plug(1);
    onus.power_on(onu);
    run();
    somebody_hears = true;
    tell(ONU_1, onu.serial);
    EXPECT_EQ(told_up(), "927/3"); // its state, and no 922
    forget(ONU_1);
    run();
    told_up();
    somebody_hears = false;
    Onu& other = plug(2);
    onus.power_on(other);
    run();
    somebody_hears = true;
    onus.replay();
    told_up();
    tell(ONU_1, other.serial);
    EXPECT_EQ(told_up().substr(0, 5), "922/2");
}

TEST_F(OnuLife, OneThatIsToBeLearntSaysWhoItIs) {
    set_learning(true);
    Onu& onu = plug(1);
    onu.model = "HOME-4";
    onu.is_hgu = true;
    onus.power_on(onu);
    Onu& other = plug(2);
    other.vendor = "SIMA";
    onus.power_on(other);
    run();
    ASSERT_EQ(events.size(), 2u);
    const auto text = [this](size_t event, size_t at, size_t size) {
        return std::string(events[event].record.begin() + static_cast<long>(at),
                           events[event].record.begin() + static_cast<long>(at + size));
    };
    EXPECT_EQ(events[0].record[45], 1);
    EXPECT_EQ(text(0, 46, 4), "ABCD");
    EXPECT_EQ(text(0, 51, 7), std::string("HOME-4\0", 7));
    EXPECT_EQ(events[1].record[45], 0);
    EXPECT_EQ(text(1, 46, 4), "SIMA");
}

} // namespace
