// From the event to the table: hold-off, tick, notifications, file, LED.
#include "../support/alarm_chassis.h"

#include <filesystem>
#include <random>

#include "../../support/test_clock.h"

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

namespace {

using alarm_chassis::run;

// ---- hold-off ----------------------------------------------------------------------------------------

TEST(AlarmTask, ARaiseIsInTheTableAfterThreeSeconds) {
    run([](AlarmChassis& c) {
        c.event(5, ONU_OFF, RAISE, 1000);
        c.tick(2);
        EXPECT_EQ(c.rows(), 0);
        EXPECT_THAT(c.notices, IsEmpty());
        c.tick();
        ASSERT_TRUE(c.row(5, ONU_OFF));
        EXPECT_EQ(c.row(5, ONU_OFF)->sActiveAlarmTableRowStatus, OVRA_ACTIVE);
        EXPECT_THAT(c.notices, ElementsAre(AlarmNotice{5, ONU_OFF, RAISE, 1000, OVRA_ACTIVE}));
        EXPECT_EQ(c.cached(), 0u);
        c.tick(20);
        EXPECT_THAT(c.notices, SizeIs(1));
    });
}

TEST(AlarmTask, ARaiseThatIsClearedBeforeItsTimeLeavesNoTrace) {
    run([](AlarmChassis& c) {
        c.event(5, ONU_OFF, RAISE);
        c.tick(2);
        c.event(5, ONU_OFF, CLEAR);
        EXPECT_EQ(c.cached(), 0u);
        c.tick(12);
        EXPECT_EQ(c.rows(), 0);
        EXPECT_THAT(c.notices, IsEmpty());
        EXPECT_THAT(c.led(), IsEmpty());
    });
}

TEST(AlarmTask, ARaiseThatIsRepeatedEntersThreeSecondsAfterTheLast) {
    run([](AlarmChassis& c) {
        uint32_t second = 0;
        for (; second <= 60; second += 2) {
            c.event(5, ONU_OFF, RAISE, second);
            c.tick(2);
            ASSERT_EQ(c.rows(), 0) << second;
        }
        c.tick();
        ASSERT_TRUE(c.row(5, ONU_OFF));
        EXPECT_EQ(c.row(5, ONU_OFF)->sActiveAlarmTableAlarmDTS, 60u); // of the last one
        EXPECT_THAT(c.notices, SizeIs(1));
    });
}

TEST(AlarmTask, TicksOnceASecondOnTheDaemonsClock) {
    run([](AlarmChassis& c) {
        TestClock clock;
        ov_app_gpon_alarm_task_init();
        c.event(5, ONU_OFF, RAISE);
        clock.advance(2999ms);
        EXPECT_FALSE(c.row(5, ONU_OFF));
        clock.advance(1ms);
        EXPECT_TRUE(c.row(5, ONU_OFF));
    });
}

TEST(AlarmTask, ARepeatedEventChangesOnlyTheStamp) {
    run([](AlarmChassis& c) {
        auto row = c.alarm(5, ONU_OFF, RAISE, 1);
        row.sActiveAlarmTableAlarmSeverity = 4;
        ov_app_gpon_alarm_eventhandle(&row);
        row.sActiveAlarmTableAlarmSeverity = 1;
        row.sActiveAlarmTableAlarmDTS = 2;
        ov_app_gpon_alarm_eventhandle(&row);
        c.tick(3);
        EXPECT_EQ(c.row(5, ONU_OFF)->sActiveAlarmTableAlarmSeverity, 4);
        EXPECT_EQ(c.row(5, ONU_OFF)->sActiveAlarmTableAlarmDTS, 2u);
    });
}

TEST(AlarmTask, AClearDeletesTheRowAfterTenSecondsAndIsAnnouncedTwice) {
    run([](AlarmChassis& c) {
        c.have_alarm(5, ONU_OFF, 1000);
        c.event(5, ONU_OFF, CLEAR, 2000);
        c.tick(9);
        EXPECT_TRUE(c.row(5, ONU_OFF));
        EXPECT_THAT(c.notices, IsEmpty());
        c.tick();
        EXPECT_FALSE(c.row(5, ONU_OFF));
        EXPECT_THAT(c.notices, ElementsAre(AlarmNotice{5, ONU_OFF, CLEAR, 2000, OVRA_ACTIVE},
                                           AlarmNotice{5, ONU_OFF, CLEAR, 2000, OVRA_DESTROY}));
        EXPECT_THAT(c.log(), ElementsAre("get alarm ok, 5:201", "set ok", "del ok", LED_OFF));
    });
}

TEST(AlarmTask, AClearThatIsRepeatedWaitsAnew) {
    run([](AlarmChassis& c) {
        c.have_alarm(5, ONU_OFF);
        c.event(5, ONU_OFF, CLEAR);
        c.tick(9);
        c.event(5, ONU_OFF, CLEAR);
        c.tick(9);
        EXPECT_TRUE(c.row(5, ONU_OFF));
        c.tick();
        EXPECT_FALSE(c.row(5, ONU_OFF));
    });
}

TEST(AlarmTask, AClearOfAnAlarmThatIsNotInTheTableIsDropped) {
    run([](AlarmChassis& c) {
        c.event(5, ONU_OFF, CLEAR);
        c.tick(9);
        EXPECT_EQ(c.cached(), 1u);
        c.tick();
        EXPECT_EQ(c.cached(), 0u);
        EXPECT_THAT(c.notices, IsEmpty());
        EXPECT_THAT(c.log(), IsEmpty());
    });
}

TEST(AlarmTask, AClearThatIsRaisedBeforeItsTimeLeavesTheRowAsItWas) {
    run([](AlarmChassis& c) {
        c.have_alarm(5, ONU_OFF, 1000);
        c.event(5, ONU_OFF, CLEAR, 2000);
        c.tick(5);
        c.event(5, ONU_OFF, RAISE, 2005);
        EXPECT_EQ(c.cached(), 0u);
        c.tick(15);
        ASSERT_TRUE(c.row(5, ONU_OFF));
        EXPECT_EQ(c.row(5, ONU_OFF)->sActiveAlarmTableAlarmState, RAISE);
        EXPECT_EQ(c.row(5, ONU_OFF)->sActiveAlarmTableAlarmDTS, 1000u);
        EXPECT_THAT(c.notices, IsEmpty());
    });
}

TEST(AlarmTask, ARaiseOfAnAlarmInTheTableIsNotifiedEachTimeAndLeavesTheLedAlone) {
    run([](AlarmChassis& c) {
        c.have_alarm(5, PON_LOS, 1000);
        for (uint32_t stamp = 2000; stamp < 2003; stamp++) {
            c.event(5, PON_LOS, RAISE, stamp);
            c.tick(3);
            EXPECT_EQ(c.row(5, PON_LOS)->sActiveAlarmTableAlarmDTS, stamp);
            EXPECT_EQ(c.row(5, PON_LOS)->sActiveAlarmTableRowStatus, OVRA_ACTIVE);
        }
        EXPECT_THAT(c.notices, ElementsAre(AlarmNotice{5, PON_LOS, RAISE, 2000, OVRA_ACTIVE},
                                           AlarmNotice{5, PON_LOS, RAISE, 2001, OVRA_ACTIVE},
                                           AlarmNotice{5, PON_LOS, RAISE, 2002, OVRA_ACTIVE}));
        EXPECT_THAT(c.led(), IsEmpty());
    });
}

TEST(AlarmTask, AStateThatIsNoneIsWrittenAsARaiseAtTheNextTick) {
    run([](AlarmChassis& c) {
        for (const int32_t state : {0, 3, -1}) {
            c.event(5, 300 + state, state);
            EXPECT_FALSE(c.row(5, 300 + state));
            c.tick();
            ASSERT_TRUE(c.row(5, 300 + state));
            EXPECT_EQ(c.row(5, 300 + state)->sActiveAlarmTableAlarmState, state);
        }
        EXPECT_THAT(c.notices, SizeIs(3));
    });
}

TEST(AlarmTask, AnotherStateCancelsWhateverItIs) {
    run([](AlarmChassis& c) {
        c.event(5, ONU_OFF, 0);
        c.event(5, ONU_OFF, RAISE);
        c.event(6, ONU_OFF, RAISE);
        c.event(6, ONU_OFF, 3);
        c.tick(12);
        EXPECT_EQ(c.rows(), 0);
    });
}

TEST(AlarmTask, EachSourceAndCodeWaitsForItself) {
    run([](AlarmChassis& c) {
        c.event(5, ONU_OFF, RAISE);
        c.tick();
        c.event(5, 202, RAISE);
        c.event(6, ONU_OFF, RAISE);
        c.tick();
        c.event(5, 202, CLEAR);
        c.tick();
        EXPECT_EQ(c.rows(), 1);
        c.tick();
        EXPECT_EQ(c.rows(), 2);
        EXPECT_FALSE(c.row(5, 202));
    });
}

TEST(AlarmTask, WhatExpiresInOneTickGoesTheNewestFirst) {
    run([](AlarmChassis& c) {
        for (const uint32_t source : {3, 1, 2})
            c.event(source, ONU_OFF, RAISE);
        c.tick(3);
        std::vector<uint32_t> sources;
        for (const AlarmNotice& notice : c.notices)
            sources.push_back(notice.source);
        EXPECT_THAT(sources, ElementsAre(2u, 1u, 3u));
    });
}

TEST(AlarmTask, ImpossibleSourcesAndUnknownCodesPassThrough) {
    run([](AlarmChassis& c) {
        for (const uint32_t source : {0u, 0xffffffffu, 0x54210000u})
            for (const int32_t code : {0, -1, 999, 0x7fffffff})
                c.event(source, code, RAISE);
        c.tick(3);
        EXPECT_EQ(c.rows(), 12);
        for (const uint32_t source : {0u, 0xffffffffu, 0x54210000u})
            for (const int32_t code : {0, -1, 999, 0x7fffffff})
                c.event(source, code, CLEAR);
        c.tick(10);
        EXPECT_EQ(c.rows(), 0);
        EXPECT_THAT(c.notices, SizeIs(12 + 24));
    });
}

TEST(AlarmTask, NoRowIsAnError) {
    EXPECT_EQ(ov_app_gpon_alarm_eventhandle(nullptr), -1);
}

// ---- many at once --------------------------------------------------------------------------------------

int rows_seen = 0;

int look(struct thread* /*event*/) {
    rows_seen = AlarmChassis::rows();
    AlarmChassis::event(1, ONU_OFF, CLEAR); // the oldest is taken last
    return 0;
}

TEST(AlarmTask, ManyAlarmsEnterAHundredAtATimeAndOthersGetTheirTurnBetween) {
    run([](AlarmChassis& c) {
        TestClock clock;
        ov_app_gpon_alarm_task_init();
        for (uint32_t source = 1; source <= 250; source++)
            c.event(source, ONU_OFF, RAISE);
        clock.advance(2500ms);
        kavo_add_timer_msec(nullptr, look, nullptr, 500, nullptr);
        clock.advance(500ms);
        EXPECT_EQ(rows_seen, 100);
        EXPECT_EQ(c.rows(), 249); // what was cleared in time never enters
        EXPECT_FALSE(c.row(1, ONU_OFF));
        EXPECT_EQ(c.cached(), 0u);
    });
}

// ---- file --------------------------------------------------------------------------------------------

TEST(AlarmTask, TheFileIsWrittenByTheTickThatChangesTheTable) {
    run([](AlarmChassis& c) {
        c.event(5, ONU_OFF, RAISE);
        c.event(6, ONU_OFF, RAISE);
        c.tick(2);
        EXPECT_EQ(c.file(), "");
        c.tick();
        EXPECT_THAT(c.file(), testing::StartsWith("5\x1f"
                                                  "201\x1f"));
        EXPECT_THAT(c.file(), HasSubstr("\n6\x1f"
                                        "201\x1f"));
        std::filesystem::remove(c.path());
        c.event(7, ONU_OFF, CLEAR); // not in the table
        c.tick(15);
        EXPECT_FALSE(std::filesystem::exists(c.path())); // there was nothing to write
        c.event(5, ONU_OFF, CLEAR);
        c.tick(10);
        EXPECT_THAT(c.file(), testing::StartsWith("6\x1f"
                                                  "201\x1f"));
    });
}

// ---- failures ----------------------------------------------------------------------------------------

int refuse(MIBDID, void*, MIB_Flags_t) {
    return 0;
}

TEST(AlarmTask, ARefusedClearIsLoggedAndLeavesTheRow) {
    run([](AlarmChassis& c) {
        c.have_alarm(5, PON_LOS);
        MibRegisterCallback(c.did(), CALLBACK_CHECK, "refuse", 0, refuse, mibDefFlags);
        std::filesystem::remove(c.path());
        c.event(5, PON_LOS, CLEAR);
        c.tick(10);
        std::vector<std::string> own;
        for (const std::string& line : c.log())
            if (line.find("handler") == std::string::npos)
                own.push_back(line);
        EXPECT_THAT(own, ElementsAre("get alarm ok, 5:101", "set fail", "del fail"));
        EXPECT_TRUE(c.row(5, PON_LOS));
        EXPECT_EQ(c.cached(), 0u);
        EXPECT_FALSE(std::filesystem::exists(c.path()));
    });
}

TEST(AlarmTask, ARefusedRaiseOfAStandingAlarmIsPrinted) {
    run([](AlarmChassis& c) {
        c.have_alarm(5, PON_LOS);
        MibRegisterCallback(c.did(), CALLBACK_CHECK, "refuse", 0, refuse, mibDefFlags);
        c.event(5, PON_LOS, RAISE);
        testing::internal::CaptureStdout();
        c.tick(3);
        EXPECT_THAT(testing::internal::GetCapturedStdout(),
                    testing::MatchesRegex("[a-z_0-9]+\\([0-9]+\\):MIB SET Error\n"));
        EXPECT_THAT(c.led(), IsEmpty());
    });
}

TEST(AlarmTask, ARefusedNewRaiseStillLooksAtTheLed) {
    run([](AlarmChassis& c) {
        MibRegisterCallback(c.did(), CALLBACK_CHECK, "refuse", 0, refuse, mibDefFlags);
        c.event(5, PON_LOS, RAISE);
        c.tick(3);
        EXPECT_EQ(c.rows(), 0);
        EXPECT_THAT(c.led(), ElementsAre(LED_OFF));
        EXPECT_THAT(c.notices, IsEmpty());
    });
}

TEST(AlarmTask, ARowThatAManagerHasTakenOutOfServiceRefusesTheRaise) {
    run([](AlarmChassis& c) {
        EXPECT_EQ(c.access(MIB_SET, 5, ONU_OFF, OVRA_CREATEANDWAIT), MIB_OK);
        LogCapture::clear();
        c.event(5, ONU_OFF, RAISE);
        c.tick(3);
        EXPECT_THAT(c.log(), ElementsAre("mib set access start failure", LED_OFF));
        EXPECT_EQ(c.row(5, ONU_OFF)->sActiveAlarmTableRowStatus, OVRA_NOTINSERVICE);
    });
}

#if !defined(__SANITIZE_ADDRESS__) // its allocator ends the program instead of answering null
TEST(AlarmTask, WithoutATimerTheStartGoesOn) {
    const auto outcome = private_root::run_captured([] {
        ov_app_gpon_alarm_cachelist_clear(); // what is made once has been
        printf("%s", "");
        private_root::use_up_memory();
        ov_app_gpon_alarm_task_init();
        _exit(0);
    });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "register alarm 1s timer fail");
}
#endif

// ---- LED ---------------------------------------------------------------------------------------------

TEST(AlarmLed, IsOnWhileAPortOfTheOltHasLostItsSignal) {
    run([](AlarmChassis& c) {
        c.event(1, ONU_OFF, RAISE);
        c.tick(3);
        EXPECT_THAT(c.led(), ElementsAre(LED_OFF));
        c.event(1, PON_LOS, RAISE);
        c.tick(3);
        c.event(2, ETH_LOS, RAISE);
        c.tick(3);
        EXPECT_THAT(c.led(), ElementsAre(LED_OFF, LED_ON, LED_ON));
        c.event(2, ETH_LOS, CLEAR);
        c.tick(10);
        EXPECT_EQ(c.led().back(), LED_ON); // the other one stands
        c.event(1, PON_LOS, CLEAR);
        c.tick(10);
        EXPECT_THAT(c.led(), ElementsAre(LED_OFF, LED_ON, LED_ON, LED_ON, LED_OFF));
    });
}

TEST(AlarmLed, EachChangeOfOneTickIsSaidInItsOrder) {
    run([](AlarmChassis& c) {
        c.event(1, ONU_OFF, RAISE);
        c.event(2, PON_LOS, RAISE);
        c.event(3, ONU_OFF, RAISE);
        c.tick(3); // 3, 2, 1
        EXPECT_THAT(c.led(), ElementsAre(LED_OFF, LED_ON, LED_ON));
        LogCapture::clear();
        c.event(1, ONU_OFF, CLEAR);
        c.event(2, PON_LOS, CLEAR);
        c.event(3, ONU_OFF, CLEAR);
        c.tick(10);
        EXPECT_THAT(c.led(), ElementsAre(LED_ON, LED_OFF, LED_OFF));
    });
}

TEST(AlarmLed, TheBoardIsToldInTwoBytes) {
    run([](AlarmChassis& c) {
        c.event(1, PON_LOS, RAISE);
        c.tick(3);
        c.event(1, PON_LOS, CLEAR);
        c.tick(10);
        const auto seen = c.board.wait_for(2);
        ASSERT_THAT(seen, SizeIs(2));
        for (size_t n = 0; n < 2; n++) {
            EXPECT_EQ(wire::get32(seen[n], 8), 0u); // nobody waits for an answer
            EXPECT_EQ(wire::get16(seen[n], wire::NL + 4), 935u);
            EXPECT_EQ(wire::get32(seen[n], wire::NL), 44u);
            EXPECT_EQ(wire::get32(seen[n], wire::PAYLOAD), 3u);
            EXPECT_EQ(wire::get32(seen[n], wire::PAYLOAD + 4), 0u);
            EXPECT_EQ(seen[n][wire::PAYLOAD + 8], 2u); // the fault LED
        }
        EXPECT_EQ(seen[0][wire::PAYLOAD + 9], 0u); // on
        EXPECT_EQ(seen[1][wire::PAYLOAD + 9], 1u); // off
    });
}

TEST(AlarmLed, ABoardWithoutAChannelIsToldNothing) {
    run([](AlarmChassis& c) {
        hal_slot_active_flag_clear("test", 0, HalChassis::OWN_SLOT);
        EXPECT_EQ(ov_gpon_led_msg_send(OV_GPON_LED_FAULT, OV_GPON_LED_ACT_ON), 0);
        HalChassis::activate(HalChassis::OWN_SLOT);
        EXPECT_EQ(ov_gpon_led_msg_send(OV_GPON_LED_FAULT, OV_GPON_LED_ACT_OFF), 0);
        const auto seen = c.board.wait_for(1);
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0][wire::PAYLOAD + 9], 1u);
    });
}

// Rows come and go through this module and around it; the LED is always what a walk would say.
TEST(AlarmLed, IsRightHoweverRowsComeAndGo) {
    run([](AlarmChassis& c) {
        std::mt19937 random(99);
        const std::vector<int32_t> codes = {PON_LOS, ETH_LOS, ONU_OFF};
        for (int step = 0; step < 3000; step++) {
            const uint32_t source = random() % 3;
            const int32_t code = codes[random() % codes.size()];
            switch (random() % 5) {
            case 0:
                c.access(MIB_SET_S_N, source, code);
                break;
            case 1:
                c.access(MIB_DEL, source, code);
                break;
            case 2: { // as a load does
                auto row = c.alarm(source, code, RAISE);
                row.sActiveAlarmTableRowStatus = OVRA_ACTIVE;
                if (!c.row(source, code))
                    row_add(c.did(), &row);
                break;
            }
            case 3:
                c.event(source, code, 0); // at the next tick
                c.tick();
                break;
            default:
                c.event(source, code, CLEAR);
                c.tick(10);
            }
            bool expected = false;
            for (uint32_t each = 0; each < 3; each++)
                expected = expected || c.row(each, PON_LOS) || c.row(each, ETH_LOS);
            LogCapture::clear();
            ov_app_gpon_alarm_led();
            ASSERT_THAT(c.led(), ElementsAre(expected ? LED_ON : LED_OFF)) << step;
        }
    });
}

int reads = 0;
int count_read(MIBDID, void*, MIB_Flags_t) {
    reads++;
    return 1;
}

TEST(AlarmTask, ThousandsThatExpireInOneTickCostAsMuchEachAsOne) {
    run([](AlarmChassis& c) {
        constexpr int EVENTS = 3000;
        for (int n = 0; n < EVENTS; n++)
            c.event(uint32_t(n), n % 1000 == 0 ? PON_LOS : ONU_OFF, RAISE);
        c.tick(2);
        MibRegisterCallback(c.did(), CALLBACK_GET, "count", 0, count_read, mibDefFlags);
        c.tick();
        EXPECT_EQ(c.rows(), EVENTS);
        EXPECT_THAT(c.notices, SizeIs(EVENTS));
        EXPECT_THAT(c.led(), SizeIs(EVENTS));
        EXPECT_LE(reads, EVENTS + 10); // no walk of the table for each
        LogCapture::clear();
        reads = 0;
        for (int n = 0; n < EVENTS; n++)
            c.event(uint32_t(n), n % 1000 == 0 ? PON_LOS : ONU_OFF, CLEAR);
        c.tick(10);
        EXPECT_EQ(c.rows(), 0);
        EXPECT_THAT(c.led(), SizeIs(EVENTS));
        EXPECT_EQ(c.led().back(), LED_OFF);
        EXPECT_LE(reads, EVENTS + 10);
        EXPECT_EQ(c.file(), "");
    });
}

} // namespace
