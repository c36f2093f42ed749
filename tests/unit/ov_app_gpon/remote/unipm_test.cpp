// Counters of UNIs: the rows that follow a switch, the task that fills them once in a quarter of an hour, and
// what a UNI counts right now.
#include "ov_app_gpon_rmunipm.h"

#include <unistd.h>

#include <cstdio>

#include "../../support/test_clock.h"
#include "../support/remote_chassis.h"
#include "agentx.h"
#include "ov_app_gpon_rmunipm_task.h"
#include "ov_app_gpon_rmunistatus.h"

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using namespace std::chrono_literals;

namespace {

using Status = ov_sRmUniStatusTable_attr_t;
using Row = ov_sRmUniPmTable_attr_t;
using Record = ov_gpon_rmuni_stats_attr_t;
using Request = std::array<Record, 8>;
namespace column = sRmUniPmTable_column;

constexpr int MESSAGE = 918;

int switch_pm(mib_long on, const Status& key) {
    Status row = key;
    row.sRmUniStatusTablePmEnable = on;
    MIB_Flags_t columns = columns_of(sRmUniStatusTable_column::sRmUniStatusTablePmEnable);
    return ov_app_gpon_rmunistatus_edit(&row, &columns);
}
int enable(int kind, int port, int onu = ONU) {
    return switch_pm(1, uni<Status>(kind, port, 1, onu));
}
int disable(int kind, int port) {
    return switch_pm(0, uni<Status>(kind, port));
}
const Row* stored(int kind, int port, int onu = ONU, int pon = PORT, int slot = SLOT) {
    return find_row(uni<Row>(kind, port, 1, onu, pon, slot));
}
int rows_of(int store) {
    return get_row_num(mmg_table_did_getbyindex(store));
}

// ---- rows -------------------------------------------------------------------------------------------------

TEST(UniPm, ARowIsThereWhileTheCountersAreOn) {
    run([](AppChassis& /*chassis*/) {
        EXPECT_THAT(all_of<Row>(), IsEmpty());
        EXPECT_EQ(enable(ETH, 1), 0);
        EXPECT_EQ(enable(VEIP, 1), 0);
        EXPECT_THAT(unis_of<Row>(), ElementsAre("1/0/1", "1/2/1"));
        EXPECT_EQ(enable(ETH, 1), 0); // on already
        EXPECT_EQ(disable(ETH, 2), 0);
        EXPECT_THAT(unis_of<Row>(), ElementsAre("1/0/1", "1/2/1"));
        EXPECT_EQ(disable(ETH, 1), 0);
        EXPECT_THAT(unis_of<Row>(), ElementsAre("1/2/1"));
        EXPECT_EQ(delete_onu(), 0);
        EXPECT_THAT(all_of<Row>(), IsEmpty());
    });
}

TEST(UniPm, ARowThatIsInTheWayRefusesTheSwitch) {
    run([](AppChassis& chassis) {
        chassis.put_row<Row>([](Row&) {}, 1, SLOT, PORT, ONU, 1, ETH, 1);
        EXPECT_EQ(enable(ETH, 1), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't create pmtable data"));
        EXPECT_EQ(find_row(uni<Status>(ETH, 1))->sRmUniStatusTablePmEnable, 0);
    });
}

TEST(UniPm, ARowThatIsMissingRefusesTheSwitch) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(enable(ETH, 1), 0);
        Row row = uni<Row>(ETH, 1);
        ASSERT_TRUE(mib_access(MIB_DEL_S_N, row));
        EXPECT_EQ(disable(ETH, 1), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't delete pmtable data"));
        EXPECT_EQ(find_row(uni<Status>(ETH, 1))->sRmUniStatusTablePmEnable, 1);
    });
}

TEST(UniPm, ARowThatIsMadeWithItsCountersOnHasThem) {
    run([](AppChassis& /*chassis*/) {
        Status row = uni<Status>(ETH, 9);
        row.sRmUniStatusTablePmEnable = 1;
        row.sRmUniStatusTableRowStatus = OVRA_CREATEANDGO;
        ASSERT_TRUE(mib_access(MIB_SET, row));
        EXPECT_THAT(unis_of<Row>(), ElementsAre("1/0/9"));
        ASSERT_TRUE(mib_access(MIB_DEL, row));
        EXPECT_THAT(unis_of<Row>(), IsEmpty());
    });
}

// ---- the cycle --------------------------------------------------------------------------------------------

// The task's own alarms, on a clock that shows 08:22:20 UTC; counters of the UNI are all `count`.
struct Cycle {
    explicit Cycle(AppChassis& of) : chassis(of) {
        ov_app_gpon_rmunipm_task_init();
        LogCapture::clear();
    }
    std::vector<std::string> log() const { return chassis.hal.log.lines(); }

    static constexpr time_t START = 1'700'036'540; // 08:22:20 UTC
    AppChassis& chassis;
    TestClock clock{START};
};

// Counters that tell UNI, and which counter it is.
void count(Record& record, uint32_t base) {
    auto* words = reinterpret_cast<uint8_t*>(&record);
    for (size_t n = 0; n < 23; ++n) {
        const uint32_t value = base + static_cast<uint32_t>(n);
        const uint8_t bytes[] = {uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8),
                                 uint8_t(value)};
        std::memcpy(words + 20 + 4 * n, bytes, 4);
    }
}
// The card answers each request with itself and these counters, from the base up.
void count_traffic(AppChassis& chassis, uint32_t base) {
    chassis.card.behave([base](FakeCard& card, const wire::Bytes& request) {
        wire::Bytes reply = card.reply_to(request, 0);
        if (wire::get16(request, wire::NL + 4) == MESSAGE) {
            constexpr size_t BODY = wire::PAYLOAD + 8;
            for (size_t n = 0; n < 8; ++n) {
                Record record;
                std::memcpy(&record, &reply[BODY + n * sizeof record], sizeof record);
                count(record, base + 1000 * static_cast<uint32_t>(n));
                std::memcpy(&reply[BODY + n * sizeof record], &record, sizeof record);
            }
        }
        card.answer(request, reply);
    });
}

TEST(UniPmTask, SaysThatItsTimerIsRegistered) {
    run([](AppChassis& chassis) {
        TestClock clock;
        ov_app_gpon_rmunipm_task_init();
        EXPECT_THAT(chassis.hal.log.lines(), Contains("register a 900 s timer task for rmunipm ok"));
        EXPECT_EQ(clock.armed(), 1u);
    });
}

TEST(UniPmTask, WithoutRowsDoesNothing) {
    run([](AppChassis& chassis) {
        Cycle cycle(chassis);
        cycle.clock.advance(900s);
        EXPECT_EQ(cycle.clock.armed(), 1u);
        EXPECT_THAT(cycle.log(), Contains("no pm data need to be retrieve!"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(UniPmTask, FetchesTheCountersOfAnOnuInOneRequest) {
    run([](AppChassis& chassis) {
        bring_up();
        ASSERT_EQ(enable(ETH, 1), 0);
        ASSERT_EQ(enable(ETH, 2), 0);
        chassis.forget_messages();
        count_traffic(chassis, 100);
        Cycle cycle(chassis);
        cycle.clock.advance(900s);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        cycle.clock.advance(300s); // one ONU: three parts
        const auto messages = chassis.messages(1);
        ASSERT_THAT(messages, SizeIs(1));
        EXPECT_EQ(messages[0].type, MESSAGE);
        EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_EQ(messages[0].mask, 3u);
        const auto request = messages[0].record<Request>();
        EXPECT_EQ(request[0].onuIfindex, onu_ifindex_of(onu_at(ONU)));
        EXPECT_EQ(request[0].uniPos.uniId, 1);
        EXPECT_EQ(request[1].uniPos.uniId, 2);
        EXPECT_EQ(request[1].uniPos.cardId, 1);
        EXPECT_EQ(request[2].onuIfindex, 0u);

        const Row* first = stored(ETH, 1);
        EXPECT_EQ(first->sRmUniPmTableFcsErr, 100u);
        EXPECT_EQ(first->sRmUniPmTableRxByte, 107u);
        EXPECT_EQ(first->sRmUniPmTablePktLargerThan1518, 118u);
        EXPECT_EQ(first->sRmUniPmTableCrcErr, 0u); // live ones alone
        EXPECT_EQ(first->sRmUniPmTableDataValid, 2);
        EXPECT_EQ(stored(ETH, 2)->sRmUniPmTableFcsErr, 1100u);
        // 08:42:20
        const auto sample = static_cast<uint32_t>(Cycle::START + 1200);
        EXPECT_EQ(first->sRmUniPmTableSampleTimeStamp, sample);
        EXPECT_EQ(first->sRmUniPmTableEndTimeStamp, sample - 12 * 60 - 20);
        EXPECT_EQ(first->sRmUniPmTableStartTimeStamp, sample - 12 * 60 - 20 - 900);
    });
}

TEST(UniPmTask, SavesTheTableBehindTheLastOnu) {
    run([](AppChassis& chassis) {
        bring_up();
        ASSERT_EQ(enable(ETH, 1), 0);
        Cycle cycle(chassis);
        cycle.clock.advance(900s);
        EXPECT_EQ(cycle.clock.armed(), 2u);
        const char* const saved = "all pm work in 900s are finished, time to save pm mib";
        cycle.clock.advance(300s);
        EXPECT_THAT(cycle.log(), Not(Contains(saved)));
        TableModule& table = table_of<Row>::module();
        ASSERT_STRNE(table.path(), "");
        std::remove(table.path());
        cycle.clock.advance(300s);
        EXPECT_THAT(cycle.log(), Contains(saved).Times(1));
        EXPECT_EQ(access(table.path(), R_OK), 0);
        cycle.clock.advance(299s); // the ticks are over, the cycle isn't
        EXPECT_THAT(chassis.messages_of(MESSAGE), SizeIs(1));
        cycle.clock.advance(1s + 300s);
        EXPECT_THAT(chassis.messages_of(MESSAGE), SizeIs(2));
    });
}

// How long the first tick of a cycle over so many ONUs waits, in microseconds.
long pace_of(AppChassis& chassis, int onus) {
    for (int n = 0; n < onus; ++n)
        chassis.put_row<Row>([](Row&) {}, 1, SLOT, 1 + n / 128, 1 + n % 128, 1, ETH, 1);
    TestClock clock;
    const auto begin = ov_mono_now();
    rm_uni_pm_900s_cycle_task(1, nullptr);
    EXPECT_EQ(clock.armed(), 1u);
    clock.run_next();
    return std::chrono::duration_cast<std::chrono::microseconds>(ov_mono_now() - begin).count();
}

TEST(UniPmTask, SpreadsTheOnusOverTheCycle) {
    for (const auto& [onus, pause] :
         {std::pair{1, 300'000'000L}, std::pair{3, 180'000'000L}, std::pair{100, 8'000'000L},
          std::pair{897, 1'000'000L}, std::pair{898, 1'000'000L}, std::pair{899, 900'000'000L / 901},
          std::pair{1798, 500'000L}})
        app_chassis::run(
            [onus, pause](AppChassis& chassis) { EXPECT_EQ(pace_of(chassis, onus), pause) << onus; });
}

TEST(UniPmTask, TicksOncePerOnu) {
    run([](AppChassis& chassis) {
        for (const int onu : {8, 9}) {
            ASSERT_EQ(new_onu(onu, ("ABCD0000000" + std::to_string(onu)).c_str()).add(), 0);
            bring_up(onu);
        }
        bring_up();
        for (const int onu : {7, 8, 9})
            ASSERT_EQ(enable(ETH, 1, onu), 0);
        ASSERT_EQ(enable(ETH, 2, 8), 0);
        chassis.forget_messages();
        Cycle cycle(chassis);
        cycle.clock.advance(900s);
        for (const size_t tick : {1u, 2u, 3u}) {
            cycle.clock.advance(180s);
            ASSERT_THAT(chassis.messages(tick), SizeIs(tick));
            EXPECT_EQ(chassis.messages()[tick - 1].mask, tick == 2 ? 3u : 1u);
        }
    });
}

TEST(UniPmTask, OnusThatDifferInTheirSlotAloneCountAndComeTogether) {
    app_chassis::run([](AppChassis& chassis) {
        for (const int slot : {2, 3})
            chassis.put_row<Row>([](Row&) {}, 1, slot, PORT, ONU, 1, ETH, 1);
        EXPECT_EQ(pm_clone_whole_mib(), 1);
        EXPECT_EQ(rows_of(SRMUNIPMPON), 2);
        EXPECT_EQ(pm_get_one_onu_mib(), PM_ONU_LAST);
        EXPECT_EQ(rows_of(SRMUNIPMONU), 2);
        EXPECT_EQ(rows_of(SRMUNIPMPON), 0);
        EXPECT_EQ(pm_get_one_onu_mib(), PM_ONU_NONE);
        EXPECT_EQ(rows_of(SRMUNIPMONU), 0);
        chassis.put_row<Row>([](Row&) {}, 1, 2, PORT, ONU + 1, 1, ETH, 1);
        EXPECT_EQ(pm_clone_whole_mib(), 3);
        EXPECT_EQ(pm_get_one_onu_mib(), PM_ONU_TAKEN);
    });
}

TEST(UniPmTask, OfNineUnisTheFirstEightAreFetched) {
    run(
        [](AppChassis& chassis) {
            bring_up();
            for (int port = 1; port <= 9; ++port)
                ASSERT_EQ(enable(ETH, port), 0);
            chassis.forget_messages();
            count_traffic(chassis, 100);
            Cycle cycle(chassis);
            cycle.clock.advance(300s);
            for (const size_t time : {1u, 2u}) {
                cycle.clock.advance(900s);
                ASSERT_THAT(chassis.messages(time), SizeIs(time));
                EXPECT_EQ(chassis.messages()[time - 1].mask, 0xffu);
            }
            EXPECT_EQ(stored(ETH, 8)->sRmUniPmTableFcsErr, 7100u);
            EXPECT_EQ(stored(ETH, 9)->sRmUniPmTableFcsErr, 0u);
            EXPECT_EQ(stored(ETH, 9)->sRmUniPmTableDataValid, 0);
            EXPECT_EQ(stored(ETH, 9)->sRmUniPmTableSampleTimeStamp, 0u);
        },
        {.cards = 1, .eth = 9, .pots = 0});
}

TEST(UniPmTask, OfAnOnuThatIsAwayTheCountersStayAndAreMarked) {
    run([](AppChassis& chassis) {
        bring_up();
        ASSERT_EQ(enable(ETH, 1), 0);
        count_traffic(chassis, 100);
        Cycle cycle(chassis);
        cycle.clock.advance(1200s);
        ASSERT_EQ(stored(ETH, 1)->sRmUniPmTableDataValid, 2);
        const uint32_t sampled = stored(ETH, 1)->sRmUniPmTableSampleTimeStamp;
        set_state(SONUTABLEONUSTATE_ADDED);
        cycle.clock.advance(900s);
        EXPECT_THAT(chassis.messages_of(MESSAGE), SizeIs(1));
        EXPECT_THAT(cycle.log(), Contains("the onu is not working in operational state"));
        EXPECT_EQ(stored(ETH, 1)->sRmUniPmTableDataValid, 1);
        EXPECT_EQ(stored(ETH, 1)->sRmUniPmTableFcsErr, 100u);
        EXPECT_EQ(stored(ETH, 1)->sRmUniPmTableSampleTimeStamp, sampled + 900);
        EXPECT_EQ(stored(ETH, 1)->sRmUniPmTableEndTimeStamp, sampled + 900 - 12 * 60 - 20);
    });
}

TEST(UniPmTask, RowsThatWentMeanwhileAreLeftOut) {
    run([](AppChassis& chassis) {
        bring_up();
        for (const int port : {1, 2})
            ASSERT_EQ(enable(ETH, port), 0);
        Cycle cycle(chassis);
        cycle.clock.advance(900s);
        ASSERT_EQ(disable(ETH, 1), 0);
        chassis.forget_messages();
        cycle.clock.advance(300s);
        ASSERT_THAT(chassis.messages(1), SizeIs(1));
        EXPECT_EQ(chassis.messages()[0].mask, 1u);
        EXPECT_EQ(chassis.messages()[0].record<Request>()[0].uniPos.uniId, 2);
        cycle.clock.advance(600s); // the next cycle
        ASSERT_EQ(delete_onu(), 0);
        chassis.forget_messages();
        cycle.clock.advance(300s);
        EXPECT_THAT(cycle.log(), Contains("the pm data which existed before is not exist now"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_THAT(all_of<Row>(), IsEmpty());
        cycle.clock.advance(300s);
        EXPECT_EQ(rows_of(SRMUNIPMPON), 0);
        EXPECT_EQ(rows_of(SRMUNIPMONU), 0);
        EXPECT_EQ(cycle.clock.armed(), 2u); // the cycle's alarm, and the timer of one that was taken back
    });
}

TEST(UniPmTask, RowsWithoutAnOnuAreAskedOfNobody) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.put_row<Row>([](Row&) {}, 1, SLOT, PORT, ONU, 1, ETH, 1);
        Cycle cycle(chassis);
        cycle.clock.advance(1200s);
        EXPECT_THAT(cycle.log(), Contains("the pm data which existed before is not exist now"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// What the card makes of the request's eight records.
void card_replies(AppChassis& chassis, const std::function<void(Request&)>& reply) {
    chassis.card.behave([reply](FakeCard& card, const wire::Bytes& request) {
        wire::Bytes answer = card.reply_to(request, 0);
        Request records;
        constexpr size_t BODY = wire::PAYLOAD + 8;
        if (answer.size() >= BODY + sizeof records) {
            std::memcpy(records.data(), &answer[BODY], sizeof records);
            reply(records);
            std::memcpy(&answer[BODY], records.data(), sizeof records);
        }
        card.answer(request, answer);
    });
}

TEST(UniPmTask, TakesAnswersByTheirUniAndNotByTheirPlace) {
    run([](AppChassis& chassis) {
        bring_up();
        for (const int port : {1, 2})
            ASSERT_EQ(enable(ETH, port), 0);
        card_replies(chassis, [](Request& records) {
            std::swap(records[0], records[1]);
            count(records[0], 100);
            count(records[1], 200);
        });
        Cycle cycle(chassis);
        cycle.clock.advance(1200s);
        EXPECT_EQ(stored(ETH, 2)->sRmUniPmTableFcsErr, 100u);
        EXPECT_EQ(stored(ETH, 1)->sRmUniPmTableFcsErr, 200u);
    });
}

TEST(UniPmTask, AnAnswerOfAUniThatNobodyCountsIsPassedOver) {
    run([](AppChassis& chassis) {
        bring_up();
        for (const int port : {1, 2})
            ASSERT_EQ(enable(ETH, port), 0);
        card_replies(chassis, [](Request& records) {
            records[0].uniPos.uniId = 200;
            records[0].onuIfindex = 0xffffffff;
            for (Record& record : records)
                count(record, 100);
        });
        Cycle cycle(chassis);
        cycle.clock.advance(1200s);
        EXPECT_EQ(stored(ETH, 1)->sRmUniPmTableDataValid, 0);
        EXPECT_EQ(stored(ETH, 2)->sRmUniPmTableFcsErr, 100u);
        EXPECT_THAT(unis_of<Row>(), ElementsAre("1/0/1", "1/0/2")); // none came
    });
}

TEST(UniPmTask, AFailedRequestStoresNothingAndTheNextCycleDoes) {
    run([](AppChassis& chassis) {
        bring_up();
        ASSERT_EQ(enable(ETH, 1), 0);
        for (const uint32_t code : {1009u, uint32_t{OV_GPON_RET_NOT_SUPPORT}}) {
            chassis.card_answers(MESSAGE, code);
            Cycle cycle(chassis);
            cycle.clock.advance(1200s);
            EXPECT_THAT(cycle.log(), Contains("get pm data error"));
            EXPECT_EQ(stored(ETH, 1)->sRmUniPmTableDataValid, 0);
            EXPECT_EQ(stored(ETH, 1)->sRmUniPmTableSampleTimeStamp, 0u);
        }
        chassis.card_answers(MESSAGE, 0);
        Cycle cycle(chassis);
        cycle.clock.advance(1200s);
        EXPECT_EQ(stored(ETH, 1)->sRmUniPmTableDataValid, 2);
    });
}

TEST(UniPmTask, ASilentCardStoresNothing) {
    run([](AppChassis& chassis) {
        bring_up();
        ASSERT_EQ(enable(ETH, 1), 0);
        chassis.card_falls_silent();
        Cycle cycle(chassis);
        cycle.clock.advance(1200s);
        EXPECT_THAT(cycle.log(), Contains("get pm data error"));
        EXPECT_EQ(stored(ETH, 1)->sRmUniPmTableDataValid, 0);
    });
}

TEST(UniPmTask, AShortAnswerStoresWhatItHasAndNoneOfOurMemory) {
    run([](AppChassis& chassis) {
        bring_up();
        for (const int port : {1, 2})
            ASSERT_EQ(enable(ETH, port), 0);
        chassis.card.behave([](FakeCard& card, const wire::Bytes& request) {
            wire::Bytes reply = card.reply_to(request, 0);
            Record record;
            constexpr size_t BODY = wire::PAYLOAD + 8;
            std::memcpy(&record, &reply[BODY], sizeof record);
            count(record, 100);
            std::memcpy(&reply[BODY], &record, sizeof record);
            reply.resize(BODY + sizeof record);
            wire::put32(reply, wire::FRAME + 20, static_cast<uint32_t>(reply.size() - wire::FRAME));
            wire::put32(reply, wire::NL, static_cast<uint32_t>(reply.size() - wire::NL));
            card.answer(request, reply);
        });
        Cycle cycle(chassis);
        cycle.clock.advance(1200s);
        EXPECT_EQ(stored(ETH, 1)->sRmUniPmTableFcsErr, 100u);
        EXPECT_EQ(stored(ETH, 2)->sRmUniPmTableFcsErr, 0u); // as the request left it
    });
}

TEST(UniPmTask, ASecondCycleStartsOverAndBothAreThroughInTheEnd) {
    run([](AppChassis& chassis) {
        bring_up();
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), 0);
        bring_up(8);
        for (const int onu : {7, 8})
            ASSERT_EQ(enable(ETH, 1, onu), 0);
        chassis.forget_messages();
        TestClock clock;
        rm_uni_pm_900s_cycle_task(1, nullptr);
        rm_uni_pm_onu_task(100, nullptr);
        EXPECT_EQ(rows_of(SRMUNIPMPON), 1);
        rm_uni_pm_900s_cycle_task(1, nullptr);
        EXPECT_EQ(rows_of(SRMUNIPMPON), 2);
        EXPECT_EQ(clock.armed(), 2u);
        clock.advance(900s);
        EXPECT_THAT(chassis.messages(3), SizeIs(3));
        EXPECT_THAT(chassis.hal.log.lines(),
                    Contains("all pm work in 900s are finished, time to save pm mib").Times(2));
        clock.advance(9000s);
        EXPECT_EQ(clock.armed(), 0u);
        EXPECT_THAT(chassis.messages(3), SizeIs(3));
    });
}

// ---- live -------------------------------------------------------------------------------------------------

TEST(UniPm, LiveCountersAreReadPastTheTable) {
    run([](AppChassis& chassis) {
        const std::pair<int, int (*)(Row*, ov_hal_gpon_msg_action_t)> directions[] = {
            {960, ov_get_uni_pm_us_data_from_hal}, {961, ov_get_uni_pm_ds_data_from_hal}};
        for (const auto& [message, read] : directions) {
            chassis.forget_messages();
            Record record = {};
            count(record, 100);
            chassis.card_reads(message, record);
            Row row = uni<Row>(ETH, 2);
            EXPECT_EQ(read(&row, OV_HAL_GPON_MSG_ACTION_GET_CURRENT), 0);
            EXPECT_EQ(row.sRmUniPmTableRxByte, 107u);
            EXPECT_EQ(row.sRmUniPmTableRxPkt, 108u);
            EXPECT_EQ(row.sRmUniPmTableBcPkt, 109u);
            EXPECT_EQ(row.sRmUniPmTableMcPkt, 110u);
            EXPECT_EQ(row.sRmUniPmTablePkt64, 112u);
            EXPECT_EQ(row.sRmUniPmTablePkt1024To1518, 117u);
            EXPECT_EQ(row.sRmUniPmTableCrcErr, 119u);
            EXPECT_EQ(row.sRmUniPmTableUndersizePkts, 120u);
            EXPECT_EQ(row.sRmUniPmTableOversizePkts, 121u);
            EXPECT_EQ(row.sRmUniPmTableDropEvents, 122u);
            EXPECT_EQ(row.sRmUniPmTableFcsErr, 0u);
            EXPECT_EQ(row.sRmUniPmTablePktLessThan64, 0u);
            EXPECT_EQ(row.sRmUniPmTablePktLargerThan1518, 0u);
            ASSERT_THAT(chassis.messages(1), SizeIs(1));
            const CardMessage seen = chassis.messages()[0];
            EXPECT_EQ(seen.type, message);
            EXPECT_EQ(seen.action, 5);
            EXPECT_EQ(seen.mask, 0u);
            EXPECT_EQ(seen.record<Record>().onuIfindex, onu_ifindex_of(row));
            EXPECT_EQ(seen.record<Record>().uniPos.uniId, 2);
        }
        EXPECT_THAT(all_of<Row>(), IsEmpty());
    });
}

TEST(UniPm, LiveCountersThatCannotBeReadLeaveTheRow) {
    run([](AppChassis& chassis) {
        chassis.card_answers(960, OV_GPON_RET_NOT_SUPPORT);
        chassis.card_answers(961, 1009);
        Row row = uni<Row>(ETH, 2);
        row.sRmUniPmTableRxByte = 17;
        EXPECT_EQ(ov_get_uni_pm_us_data_from_hal(&row, OV_HAL_GPON_MSG_ACTION_GET_CURRENT),
                  OV_GPON_RET_NOT_SUPPORT);
        EXPECT_NE(ov_get_uni_pm_ds_data_from_hal(&row, OV_HAL_GPON_MSG_ACTION_GET_CURRENT), 0);
        EXPECT_EQ(row.sRmUniPmTableRxByte, 17u);
        EXPECT_EQ(ov_get_uni_pm_us_data_from_hal(nullptr, OV_HAL_GPON_MSG_ACTION_GET), OV_GPON_RET_BAD_PARAM);
    });
}

} // namespace
