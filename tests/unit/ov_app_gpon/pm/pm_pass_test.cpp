// The pass that ends an interval, and its clockwork.
#include "pm_chassis.h"

#include <sys/mount.h>

using namespace pm_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using namespace std::chrono_literals;

namespace {

// Rows for so many ONUs of the card.
void put_onus(const AppChassis& chassis, int onus, int slot = SLOT) {
    for (int onu = 1; onu <= onus; ++onu)
        put_onu_pm(chassis, onu, slot);
}
bool run_onu_pass() {
    return run_pass(ONU_PM, get_onu_pm_data_task);
}
TEST(PmPass, EachRowIsReadClearedStampedAndSaved) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        put_onus(chassis, 40);
        chassis.card.behave(count);
        ASSERT_TRUE(run_onu_pass());
        for (int onu = 1; onu <= 40; ++onu) {
            const OnuPm& row = *stored_onu_pm(onu);
            EXPECT_EQ(row.opmFecCodeWords, 1000u + unsigned(onu));
            EXPECT_EQ(row.opmTxPackets, 1000u + unsigned(onu));
            EXPECT_EQ(row.opmDataValid, OPMDATAVALID_AVAILABLE);
            EXPECT_EQ(row.opmStopTimeStamp, uint32_t(AT_10_15));
            EXPECT_EQ(row.opmStartTimeStamp, uint32_t(AT_10_15));
        }
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_PM_ONU), SizeIs(40));
        const std::string saved = file_text(table_of<OnuPm>::module());
        EXPECT_THAT(saved, HasSubstr("1017"));
        EXPECT_THAT(saved, HasSubstr("1040"));
        // the file has the interval that is over: its start stamps are those from before
        EXPECT_THAT(saved, HasSubstr("11"));
        EXPECT_THAT(saved, HasSubstr(std::to_string(AT_10_15)));
        const PmPassRecord& record = ONU_PM.pass().record();
        EXPECT_EQ(record.began, AT_10_15);
        EXPECT_EQ(record.ended, AT_10_15);
        EXPECT_EQ(record.answered, 40u);
        EXPECT_EQ(record.missed, 0u);
        EXPECT_EQ(record.passes, 1u);
    });
}

TEST(PmPass, RequestsGoOutInTheTablesOrderAndAWindowAtATime) {
    run([](AppChassis& chassis) {
        put_onus(chassis, 30);
        const auto kept = std::make_shared<PatientCard>();
        chassis.card.behave(PatientCard::of(kept));
        chassis.card.widen();
        get_onu_pm_data_task();
        ASSERT_TRUE(loop_until([&] { return kept->waiting() == CardPipeline::WINDOW; }));
        run_loop_a_while();
        EXPECT_EQ(kept->waiting(), CardPipeline::WINDOW);
        std::vector<uint32_t> order;
        for (int n = 0; n < 30; ++n) {
            ASSERT_TRUE(loop_until([&] { return kept->waiting() > 0; }));
            const wire::Bytes request = kept->take();
            order.push_back(ov_ifindex_get_subport_id(index_of(request)));
            answer(chassis.card, request);
        }
        ASSERT_TRUE(pass_ends(ONU_PM));
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
        EXPECT_EQ(order.back(), 30u);
    });
}

TEST(PmPass, AnswersInAnyOrderAndTwiceFindTheirRows) {
    run([](AppChassis& chassis) {
        put_onus(chassis, 10);
        const auto kept = std::make_shared<PatientCard>();
        chassis.card.behave(PatientCard::of(kept));
        get_onu_pm_data_task();
        ASSERT_TRUE(loop_until([&] { return kept->waiting() == 10; }));
        while (kept->waiting() > 0) {
            const wire::Bytes request = kept->take(kept->waiting() - 1);
            answer(chassis.card, request);
            chassis.card.answer(request, counted(chassis.card, request, 7));
        }
        ASSERT_TRUE(pass_ends(ONU_PM));
        for (int onu = 1; onu <= 10; ++onu)
            EXPECT_EQ(stored_onu_pm(onu)->opmFecCodeWords, 1000u + unsigned(onu));
    });
}

TEST(PmPass, CardsGoSideBySide) {
    run([](AppChassis& chassis) {
        put_onus(chassis, 20);
        put_onus(chassis, 20, 5);
        const auto slow = std::make_shared<PatientCard>();
        chassis.card.behave(PatientCard::of(slow));
        const FakeCard quick(5, count);
        HalChassis::activate(5);
        get_onu_pm_data_task();
        // the second card is through while the first hasn't answered once
        ASSERT_TRUE(loop_until([] { return stored_onu_pm(20, 5)->opmFecCodeWords == 1020; }));
        EXPECT_TRUE(ONU_PM.pass().running());
        while (ONU_PM.pass().running()) {
            ASSERT_TRUE(loop_until([&] { return slow->waiting() > 0 || !ONU_PM.pass().running(); }));
            while (slow->waiting() > 0)
                answer(chassis.card, slow->take());
        }
        EXPECT_EQ(stored_onu_pm(20)->opmFecCodeWords, 1020u);
    });
}

// ---- cards that don't answer ------------------------------------------------------------------------------

TEST(PmPass, AnUnreachableCardLeavesTheCountersAndTheFileIsSaved) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        chassis.put_row<PonPm>([](PonPm& row) { row.ppmFecCodeWords = 4711; }, 1, 6, 1); // no such card
        get_pon_pm_data_task();
        ASSERT_FALSE(PON_PM.pass().running());
        const PonPm* row = find_row(port_row<PonPm>(1, 6));
        EXPECT_EQ(row->ppmFecCodeWords, 4711u);
        EXPECT_EQ(row->ppmDataValid, PPMDATAVALID_NA);
        EXPECT_EQ(row->ppmStopTimeStamp, uint32_t(AT_10_15));
        EXPECT_EQ(row->ppmStartTimeStamp, uint32_t(AT_10_15));
        EXPECT_THAT(file_text(table_of<PonPm>::module()), HasSubstr("4711"));
    });
}

TEST(PmPass, ACardThatRefusesCostsItsRowsTheirValidityOneByOne) {
    run([](AppChassis& chassis) {
        put_onus(chassis, 20);
        chassis.card.behave([](FakeCard& card, const wire::Bytes& request) {
            if (ov_ifindex_get_subport_id(index_of(request)) == 3)
                card.reply(request, 1009);
            else
                count(card, request);
        });
        ASSERT_TRUE(run_onu_pass());
        EXPECT_EQ(stored_onu_pm(3)->opmDataValid, OPMDATAVALID_NA);
        EXPECT_EQ(stored_onu_pm(3)->opmFecCodeWords, 1u);
        EXPECT_EQ(stored_onu_pm(20)->opmDataValid, OPMDATAVALID_AVAILABLE);
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_PM_ONU), SizeIs(20));
        EXPECT_EQ(ONU_PM.pass().record().answered, 19u);
        EXPECT_EQ(ONU_PM.pass().record().missed, 1u);
    });
}

TEST(PmPass, ASilentCardHoldsNobodyAndIsGivenUpOnce) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        put_onus(chassis, 60);
        put_onus(chassis, 20, 5);
        chassis.card.behave(FakeCard::be_silent);
        const FakeCard quick(5, count);
        HalChassis::activate(5);
        get_onu_pm_data_task();
        ASSERT_TRUE(loop_until([] { return stored_onu_pm(20, 5)->opmFecCodeWords == 1020; }));
        clock.advance(11s);
        EXPECT_TRUE(ONU_PM.pass().running());
        clock.advance(2s);
        EXPECT_FALSE(ONU_PM.pass().running());
        for (int onu = 1; onu <= 60; ++onu) {
            EXPECT_EQ(stored_onu_pm(onu)->opmDataValid, OPMDATAVALID_NA);
            EXPECT_EQ(stored_onu_pm(onu)->opmFecCodeWords, 1u);
            EXPECT_GE(stored_onu_pm(onu)->opmStopTimeStamp, uint32_t(AT_10_15) + 12);
        }
        EXPECT_EQ(chassis.messages_of(OV_HAL_MSG_GPON_PM_ONU).size(), CardPipeline::WINDOW);
        EXPECT_THAT(file_text(table_of<OnuPm>::module()), HasSubstr("1020"));
    });
}

TEST(PmPass, AnAnswerThatIsLostCostsItsRowAlone) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        put_onus(chassis, 30);
        chassis.card.behave([](FakeCard& card, const wire::Bytes& request) {
            if (ov_ifindex_get_subport_id(index_of(request)) != 3)
                count(card, request);
        });
        get_onu_pm_data_task();
        ASSERT_TRUE(loop_until([] { return stored_onu_pm(30)->opmFecCodeWords == 1030; }));
        EXPECT_TRUE(ONU_PM.pass().running());
        clock.advance(13s);
        EXPECT_FALSE(ONU_PM.pass().running());
        EXPECT_EQ(stored_onu_pm(3)->opmDataValid, OPMDATAVALID_NA);
        for (int onu : {1, 2, 4, 30})
            EXPECT_EQ(stored_onu_pm(onu)->opmDataValid, OPMDATAVALID_AVAILABLE);
    });
}

TEST(PmPass, ALateAnswerIsForNobody) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        put_onus(chassis, 1);
        const auto kept = std::make_shared<PatientCard>();
        chassis.card.behave(PatientCard::of(kept));
        get_onu_pm_data_task();
        ASSERT_TRUE(loop_until([&] { return kept->waiting() == 1; }));
        clock.advance(13s);
        ASSERT_FALSE(ONU_PM.pass().running());
        answer(chassis.card, kept->take());
        run_loop_a_while();
        EXPECT_EQ(stored_onu_pm(1)->opmFecCodeWords, 1u);
        EXPECT_EQ(stored_onu_pm(1)->opmDataValid, OPMDATAVALID_NA);
    });
}

TEST(PmPass, ACardThatGoesInTheMiddleEndsItsPart) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        put_onus(chassis, 40);
        const auto kept = std::make_shared<PatientCard>();
        chassis.card.behave(PatientCard::of(kept));
        get_onu_pm_data_task();
        ASSERT_TRUE(loop_until([&] { return kept->waiting() >= 5; }));
        for (int n = 0; n < 5; ++n)
            answer(chassis.card, kept->take());
        ASSERT_TRUE(loop_until([] { return stored_onu_pm(5)->opmFecCodeWords == 1005; }));
        hal_slot_active_flag_clear("test", 0, SLOT);
        clock.advance(300ms);
        EXPECT_FALSE(ONU_PM.pass().running());
        EXPECT_EQ(stored_onu_pm(5)->opmDataValid, OPMDATAVALID_AVAILABLE);
        for (int onu = 6; onu <= 40; ++onu)
            EXPECT_EQ(stored_onu_pm(onu)->opmDataValid, OPMDATAVALID_NA) << onu;
    });
}

TEST(PmPass, ACardWithoutRoomGetsItsShareLater) {
    run([](AppChassis& chassis) {
        put_onus(chassis, 60);
        chassis.card.behave(count);
        chassis.card.stop_reading(true);
        get_onu_pm_data_task();
        run_loop_a_while();
        EXPECT_TRUE(ONU_PM.pass().running());
        chassis.card.stop_reading(false);
        ASSERT_TRUE(pass_ends(ONU_PM));
        EXPECT_EQ(stored_onu_pm(60)->opmFecCodeWords, 1060u);
    });
}

// ---- rows that change meanwhile ---------------------------------------------------------------------------

TEST(PmPass, ARowThatIsDeletedTakesNoReply) {
    run([](AppChassis& chassis) {
        put_onus(chassis, 30);
        const auto kept = std::make_shared<PatientCard>();
        chassis.card.behave(PatientCard::of(kept));
        get_onu_pm_data_task();
        ASSERT_TRUE(loop_until([&] { return kept->waiting() >= 10; }));
        for (int onu : {3, 12, 20}) { // asked, the last that was asked, and not yet
            auto row = onu_row<OnuPm>(onu);
            ASSERT_TRUE(mib_access(MIB_DEL, row));
        }
        chassis.card.behave(count);
        while (kept->waiting() > 0)
            answer(chassis.card, kept->take());
        ASSERT_TRUE(pass_ends(ONU_PM));
        EXPECT_EQ(stored_onu_pm(3), nullptr);
        EXPECT_EQ(stored_onu_pm(20), nullptr);
        for (int onu : {1, 2, 4, 11, 13, 19, 21, 30})
            EXPECT_EQ(stored_onu_pm(onu)->opmFecCodeWords, 1000u + unsigned(onu)) << onu;
        EXPECT_EQ(MibNumberGet(did_of<OnuPm>()), 27);
    });
}

TEST(PmPass, ARowThatIsMadeAnewIsNotTheOneThatWasAsked) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        put_onus(chassis, 3);
        const auto kept = std::make_shared<PatientCard>();
        chassis.card.behave(PatientCard::of(kept));
        get_onu_pm_data_task();
        ASSERT_TRUE(loop_until([&] { return kept->waiting() == 3; }));
        auto row = onu_row<OnuPm>(2);
        ASSERT_TRUE(mib_access(MIB_DEL, row));
        chassis.card.behave([](FakeCard& card, const wire::Bytes& request) {
            card.answer(request, counted(card, request, 77));
        });
        clock.advance(3s);
        ASSERT_TRUE(pm_add_row(ONU_PM, &row));
        EXPECT_EQ(stored_onu_pm(2)->opmFecCodeWords, 77u);
        clock.advance(3s);
        while (kept->waiting() > 0)
            answer(chassis.card, kept->take());
        ASSERT_TRUE(pass_ends(ONU_PM));
        EXPECT_EQ(stored_onu_pm(1)->opmFecCodeWords, 1001u);
        EXPECT_EQ(stored_onu_pm(1)->opmStartTimeStamp, uint32_t(AT_10_15) + 6);
        EXPECT_EQ(stored_onu_pm(2)->opmFecCodeWords, 77u);
        EXPECT_EQ(stored_onu_pm(2)->opmStartTimeStamp, uint32_t(AT_10_15) + 3); // its own
    });
}

TEST(PmPass, AReaderGetsEachRowBeforeOrAfterAndTheFileTheInterval) {
    run([](AppChassis& chassis) {
        put_onus(chassis, 30);
        const auto kept = std::make_shared<PatientCard>();
        chassis.card.behave(PatientCard::of(kept));
        get_onu_pm_data_task();
        ASSERT_TRUE(loop_until([&] { return kept->waiting() >= 10; }));
        answer(chassis.card, kept->take());
        ASSERT_TRUE(loop_until([] { return stored_onu_pm(1)->opmFecCodeWords == 1001; }));
        chassis.card.behave(count); // from now on it answers at once
        const auto read = [](int onu) {
            auto row = onu_row<OnuPm>(onu);
            EXPECT_TRUE(mib_access(MIB_GET, row));
            EXPECT_EQ(row.opmFecCodeWords, row.opmTxPackets); // never half
            return row.opmFecCodeWords;
        };
        EXPECT_EQ(read(1), 1001u); // after: not the running value, which isn't the interval's
        EXPECT_EQ(read(2), 1u);    // its answer is on the way: before
        EXPECT_EQ(read(30), 5u);   // not asked yet: the running value, as always
        while (kept->waiting() > 0)
            answer(chassis.card, kept->take());
        ASSERT_TRUE(pass_ends(ONU_PM));
        const std::string saved = file_text(table_of<OnuPm>::module());
        for (const char* counter : {"1001", "1002", "1030"})
            EXPECT_THAT(saved, HasSubstr(counter));
        EXPECT_EQ(read(1), 5u); // and now the next interval
    });
}

TEST(PmPass, TheNextPassWaitsForThisOne) {
    run([](AppChassis& chassis) {
        put_onus(chassis, 2);
        const auto kept = std::make_shared<PatientCard>();
        chassis.card.behave(PatientCard::of(kept));
        get_onu_pm_data_task();
        get_onu_pm_data_task();
        ASSERT_TRUE(loop_until([&] { return kept->waiting() == 2; }));
        run_loop_a_while();
        EXPECT_EQ(kept->waiting(), 2u);
        for (int n = 0; n < 2; ++n)
            answer(chassis.card, kept->take());
        ASSERT_TRUE(loop_until([&] { return kept->waiting() == 2; })); // the second
        for (int n = 0; n < 2; ++n)
            answer(chassis.card, kept->take());
        ASSERT_TRUE(pass_ends(ONU_PM));
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_PM_ONU), SizeIs(4));
    });
}

TEST(PmPass, AnEmptyTableIsThroughAtOnce) {
    run([](AppChassis& chassis) {
        get_gem_pm_data_task();
        EXPECT_FALSE(GEM_PM.pass().running());
        EXPECT_THAT(chassis.messages_of(OV_HAL_MSG_GPON_PM_GEM), IsEmpty());
    });
}

TEST(PmPass, StopStampsAreThoseOfTheRepliesAndThePassBeginsTheNextInterval) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        for (int port : {1, 2})
            chassis.put_row<PonPm>([](PonPm&) {}, 1, SLOT, port);
        const auto kept = std::make_shared<PatientCard>();
        chassis.card.behave(PatientCard::of(kept));
        get_pon_pm_data_task();
        for (int port : {1, 2}) {
            clock.advance(2s);
            ASSERT_TRUE(loop_until([&] { return kept->waiting() > 0; }));
            answer(chassis.card, kept->take());
            ASSERT_TRUE(loop_until([&] { return find_row(port_row<PonPm>(port))->ppmStopTimeStamp != 0; }));
        }
        ASSERT_TRUE(pass_ends(PON_PM));
        EXPECT_EQ(find_row(port_row<PonPm>(1))->ppmStopTimeStamp, uint32_t(AT_10_15) + 2);
        EXPECT_EQ(find_row(port_row<PonPm>(2))->ppmStopTimeStamp, uint32_t(AT_10_15) + 4);
        EXPECT_EQ(find_row(port_row<PonPm>(1))->ppmStartTimeStamp, uint32_t(AT_10_15));
    });
}

TEST(PmPass, AFullDiskLeavesTheFileWhole) {
    run([](AppChassis& chassis) {
        put_onus(chassis, 200);
        TableModule& table = table_of<OnuPm>::module();
        const std::string place = std::filesystem::path(table.path()).parent_path();
        ASSERT_EQ(mount("tmpfs", place.c_str(), "tmpfs", 0, "size=64k"), 0) << strerror(errno);
        table.save_file();
        const std::string before = file_text(table);
        ASSERT_THAT(before, HasSubstr("\n"));
        std::ofstream(place + "/filler") << std::string(64 << 10, 'x'); // as far as there is room
        chassis.card.behave(count);
        ASSERT_TRUE(run_onu_pass());
        EXPECT_EQ(file_text(table), before);
        EXPECT_EQ(stored_onu_pm(200)->opmFecCodeWords, 1200u); // the pass went on all the same
        umount(place.c_str());
    });
}

// ---- the clockwork ----------------------------------------------------------------------------------------

// The families whose message a tick at this time brings.
std::vector<int> asked_at(AppChassis& chassis, TestClock& clock, time_t when) {
    clock.set_wall(when);
    chassis.forget_messages();
    pm_5s_cycle_task(1, nullptr);
    for (const PmFamily* family : {&PON_PM, &ONU_PM, &GEM_PM, &NNI_PM, &UPLINK_PM})
        EXPECT_TRUE(pass_ends(*family));
    std::vector<int> types;
    for (const CardMessage& message : chassis.messages())
        types.push_back(message.type);
    return types;
}

void put_one_of_each(const AppChassis& chassis) {
    chassis.put_row<PonPm>([](PonPm&) {}, 1, SLOT, PORT);
    chassis.put_row<OnuPm>([](OnuPm&) {}, 1, SLOT, PORT, ONU);
    chassis.put_row<GemPm>([](GemPm&) {}, 1, SLOT, PORT, ONU, 3);
    chassis.put_row<NniPm>([](NniPm&) {}, 1, SLOT, PORT);
    chassis.put_row<UplinkPm>([](UplinkPm&) {}, 1, SLOT, PORT);
}

TEST(PmCycle, EachSlotOfFiveSecondsHasItsFamily) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        put_one_of_each(chassis);
        for (time_t quarter : {AT_10_15, AT_10_15 + 900, AT_10_15 + 1800, AT_10_15 + 2700}) {
            for (int second : {0, 4})
                EXPECT_THAT(asked_at(chassis, clock, quarter + second), ElementsAre(OV_HAL_MSG_GPON_PM_PON));
            EXPECT_THAT(asked_at(chassis, clock, quarter + 5), ElementsAre(OV_HAL_MSG_GPON_PM_ONU));
            EXPECT_THAT(asked_at(chassis, clock, quarter + 10), ElementsAre(OV_HAL_MSG_GPON_PM_GEM));
            EXPECT_THAT(asked_at(chassis, clock, quarter + 19), ElementsAre(OV_HAL_MSG_GPON_PM_NNI));
            LogCapture::clear();
            EXPECT_THAT(asked_at(chassis, clock, quarter + 20), IsEmpty());
            EXPECT_TRUE(logged(chassis, "Cannot find uplink interface by phy info shelf 1 slot 3 port 4"));
            for (int second : {25, 27, 59, 60, 63, 840, 899})
                EXPECT_THAT(asked_at(chassis, clock, quarter + second), IsEmpty()) << second;
        }
    });
}

TEST(PmCycle, ATickEveryFiveSecondsServesEachTableOnceAQuarter) {
    run([](AppChassis& chassis) {
        ov_app_gpon_pm_cycle_init(); // on the real clock: the test's takes only what is armed under it
        TestClock clock(AT_10_15 - 600 + 2);
        put_one_of_each(chassis);
        ov_app_gpon_pm_cycle_init();
        const auto pass_quarter = [&] {
            for (int tick = 0; tick < 180; ++tick) {
                clock.advance(5s);
                for (const PmFamily* family : {&PON_PM, &ONU_PM, &GEM_PM, &NNI_PM, &UPLINK_PM})
                    ASSERT_TRUE(pass_ends(*family));
            }
        };
        pass_quarter();
        EXPECT_THAT(chassis.messages(4), SizeIs(4)); // the uplink port isn't there
        EXPECT_EQ(find_row(port_row<PonPm>())->ppmStartTimeStamp, uint32_t(AT_10_15) + 2);
        pass_quarter();
        EXPECT_THAT(chassis.messages(8), SizeIs(8));
    });
}

TEST(PmCycle, AClockThatIsSetMayLeaveASlotOutOrServeItTwice) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        put_one_of_each(chassis);
        EXPECT_THAT(asked_at(chassis, clock, AT_10_15 + 1), ElementsAre(OV_HAL_MSG_GPON_PM_PON));
        EXPECT_EQ(find_row(port_row<PonPm>())->ppmStartTimeStamp, uint32_t(AT_10_15) + 1);
        // back over the boundary, and on to it once more
        EXPECT_THAT(asked_at(chassis, clock, AT_10_15 - 3), IsEmpty());
        EXPECT_THAT(asked_at(chassis, clock, AT_10_15 + 2), ElementsAre(OV_HAL_MSG_GPON_PM_PON));
        // forward, over three quarters of an hour
        EXPECT_THAT(asked_at(chassis, clock, AT_10_15 + 2700 + 61), IsEmpty());
        // far back: the stamps follow
        EXPECT_THAT(asked_at(chassis, clock, AT_10_15 - 86400), ElementsAre(OV_HAL_MSG_GPON_PM_PON));
        EXPECT_EQ(find_row(port_row<PonPm>())->ppmStartTimeStamp, uint32_t(AT_10_15) - 86400);
    });
}

TEST(PmCycle, APassThatIsLongerThanItsSlotRunsBesideTheNext) {
    run([](AppChassis& chassis) {
        TestClock clock(AT_10_15);
        put_one_of_each(chassis);
        const auto kept = std::make_shared<PatientCard>();
        chassis.card.behave(PatientCard::of(kept));
        pm_5s_cycle_task(1, nullptr);
        clock.advance(5s);
        pm_5s_cycle_task(1, nullptr);
        ASSERT_TRUE(loop_until([&] { return kept->waiting() == 2; }));
        EXPECT_TRUE(PON_PM.pass().running());
        answer(chassis.card, kept->take(1));
        ASSERT_TRUE(pass_ends(ONU_PM));
        EXPECT_TRUE(PON_PM.pass().running());
        answer(chassis.card, kept->take());
        ASSERT_TRUE(pass_ends(PON_PM));
    });
}

} // namespace
