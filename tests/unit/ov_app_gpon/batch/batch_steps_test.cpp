// Copies in steps: with others between the steps, one behind the other, and what changes under them.
#include "../support/batch_chassis.h"

#include <map>

#include "../../support/dice.h"
#include "../../support/test_clock.h"
#include "app_loop.h"

using namespace batch_test;
using namespace std::chrono_literals;

namespace {

// A card that needs so long for each answer.
void answer_slowly(AppChassis& chassis, std::chrono::milliseconds time) {
    chassis.card.behave([time](FakeCard& card, const wire::Bytes& request) {
        std::this_thread::sleep_for(time);
        card.answer(request, card.reply_to(request, 0));
    });
}

struct Ended {
    std::vector<std::string> codes{"not yet"};
    int times = 0;
};
// What it gives must outlive the copy.
std::shared_ptr<Ended> start(const Flags& flags, int profile = PROFILE) {
    auto ended = std::make_shared<Ended>();
    ov_gpon_multi_onu_service_config_start(PON, flags, static_cast<mib_ulong>(profile),
                                           [ended](const ov_batch_cfg_rtn_t& result) {
                                               ended->codes = codes(result);
                                               ++ended->times;
                                           });
    return ended;
}
// Steps until the last copy has ended.
int run_steps(TestClock& clock) {
    int steps = 0;
    for (; clock.armed() > 0; ++steps)
        clock.run_next();
    return steps;
}

TEST(BatchSteps, NothingIsDoneBeforeTheFirstStepAndTheEndIsToldOnce) {
    run_with_profile([](AppChassis& chassis) {
        TestClock clock;
        fill_traffic(chassis);
        const auto ended = start(flags_of({ONU}));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(ended->times, 0);
        run_steps(clock);
        EXPECT_EQ(ended->times, 1);
        EXPECT_THAT(ended->codes, IsEmpty());
        EXPECT_EQ(rows_of_onu<ServicePort>(), 2u);
    });
}

TEST(BatchSteps, TheLoopIsServedBetweenTheSteps) {
    run_with_profile([](AppChassis& chassis) {
        put_onus(8, 30);
        TestClock clock;
        fill_traffic(chassis);
        answer_slowly(chassis, 2ms);
        start(flags_from(7, 30)); // 96 rows, of which a step does five
        EXPECT_GE(run_steps(clock), 10);
    });
}

TEST(BatchSteps, TheResultIsThatOfOneGo) {
    std::vector<std::string> at_once;
    for (const bool in_steps : {false, true})
        run_with_profile([in_steps](AppChassis& chassis) {
            put_onus(8, 20);
            fill_profile(chassis);
            ASSERT_EQ(new_onu(21, "ABCD00000021").templet(PROFILE).add(), OV_GPON_RET_OK);
            Flags flags = flags_from(7, 25); // 22 to 25 aren't there
            flags[7] = OV_BATCH_ONU_WRONG_TYPE;
            flags[8] = OV_BATCH_ONU_NOT_THERE;
            const std::vector<std::string> expected = {"8: 6",  "9: 7",  "21: 1", "22: 1",
                                                       "23: 1", "24: 1", "25: 1"};
            if (!in_steps) {
                EXPECT_EQ(copy_to(flags), expected);
            } else {
                TestClock clock;
                const auto ended = start(flags);
                run_steps(clock);
                EXPECT_EQ(ended->codes, expected);
            }
            EXPECT_EQ(provisioning::held_of(PORT), (provisioning::Held{13, 13, 3900, 1300})); // with ONU 21
            EXPECT_EQ(rows_of_onu<ServicePort>(20), 2u);
        });
}

TEST(BatchSteps, ASecondCopyWaitsForTheFirst) {
    run_with_profile([](AppChassis& chassis) {
        put_onus(8, 30);
        TestClock clock;
        fill_traffic(chassis);
        const auto first = start(flags_from(7, 30));
        const auto second = start(flags_from(7, 8));
        const auto third = start(flags_from(7, 8), PROFILE + 1);
        EXPECT_EQ(clock.armed(), 1u);
        run_steps(clock);
        EXPECT_THAT(first->codes, IsEmpty());
        EXPECT_THAT(second->codes, ElementsAre("7: 1", "8: 1")); // they have it by then
        EXPECT_THAT(third->codes, IsEmpty());
        EXPECT_EQ(first->times + second->times + third->times, 3);
    });
}

TEST(BatchSteps, AnEndMayStartAnother) {
    run_with_profile([](AppChassis& chassis) {
        put_onus(8, 8);
        TestClock clock;
        fill_traffic(chassis);
        bool ended = false;
        ov_gpon_multi_onu_service_config_start(
            PON, flags_of({ONU}), PROFILE, [&](const ov_batch_cfg_rtn_t& /*result*/) {
                ov_gpon_multi_onu_service_config_start(
                    PON, flags_of({8}), PROFILE, [&](const ov_batch_cfg_rtn_t& /*second*/) { ended = true; });
            });
        run_steps(clock);
        EXPECT_TRUE(ended);
        EXPECT_EQ(rows_of_onu<ServicePort>(8), 2u);
    });
}

// ---- what changes meanwhile -------------------------------------------------------------------------------

// Starts a copy to ONUs 7 to 30 with a card that takes its time, and runs `meanwhile` behind the first step.
void copy_with(const std::function<void(AppChassis&)>& meanwhile,
               const std::function<void(AppChassis&, const Ended&)>& behind) {
    run_with_profile([&](AppChassis& chassis) {
        put_onus(8, 30);
        TestClock clock;
        fill_traffic(chassis);
        answer_slowly(chassis, 2ms);
        const auto ended = start(flags_from(7, 30));
        clock.run_next();
        ASSERT_EQ(ended->times, 0);
        meanwhile(chassis);
        run_steps(clock);
        ASSERT_EQ(ended->times, 1);
        behind(chassis, *ended);
    });
}

void expect_all_have(size_t service_ports) {
    for (int id = 7; id <= 30; ++id)
        EXPECT_EQ(rows_of_onu<ServicePort>(id), service_ports) << id;
}

TEST(BatchSteps, AProfileThatIsRemovedIsStillCopiedWhole) {
    copy_with([](AppChassis& /*chassis*/) { EXPECT_EQ(ov_gpon_onu_service_profile_del(PROFILE), 0); },
              [](AppChassis& /*chassis*/, const Ended& ended) {
                  EXPECT_THAT(ended.codes, IsEmpty());
                  expect_all_have(2);
                  EXPECT_TRUE(rows_copied(template_key<Tcont>(PROFILE), INDEX_TO_ONU).empty());
              });
}

TEST(BatchSteps, ChangesOfTheProfileComeTooLate) {
    copy_with(
        [](AppChassis& chassis) {
            put_template_service_port(chassis, 3);
            auto row = provisioning::template_service_port(2, 1, PROFILE);
            EXPECT_EQ(ov_app_gpon_service_port_del(&row), OV_GPON_RET_OK);
            put_template<ServicePort>(
                chassis, [](auto& first) { first.servicePortVlan = 999; }, 1);
        },
        [](AppChassis& /*chassis*/, const Ended& ended) {
            EXPECT_THAT(ended.codes, IsEmpty());
            expect_all_have(2);
            EXPECT_EQ(find_row(provisioning::service_port(1, 1, SLOT, PORT, 30))->servicePortVlan, 101);
        });
}

TEST(BatchSteps, AnOnuThatIsDeletedRefusesItsNextRow) {
    copy_with([](AppChassis& /*chassis*/) { EXPECT_EQ(delete_onu(7), OV_GPON_RET_OK); },
              [](AppChassis& /*chassis*/, const Ended& ended) {
                  EXPECT_THAT(ended.codes, ElementsAre("7: 2")); // it had its T-CONT
                  EXPECT_EQ(rows_of_onu<Tcont>(7), 0u);
                  EXPECT_EQ(provisioning::held_of(PORT), (provisioning::Held{23, 23, 23 * 300, 23 * 100}));
              });
}

TEST(BatchSteps, ACardThatGoesIsToldLater) {
    copy_with([](AppChassis& /*chassis*/) { hal_slot_active_flag_clear("test", 0, SLOT); },
              [](AppChassis& /*chassis*/, const Ended& ended) {
                  EXPECT_THAT(ended.codes, IsEmpty());
                  expect_all_have(2);
              });
}

TEST(BatchSteps, ABandwidthProfileThatGoesFailsTheTcontsThatAreLeft) {
    copy_with(
        [](AppChassis& /*chassis*/) {
            ov_sBWProfileTable_attr_t key = {};
            key.bwProfileId = static_cast<mib_ulong>(BKDRHash("small", 5));
            table_of<ov_sBWProfileTable_attr_t>::module().remove_entry(&key);
        },
        [](AppChassis& /*chassis*/, const Ended& ended) {
            EXPECT_THAT(ended.codes, Contains("30: 1"));
            EXPECT_EQ(rows_of_onu<ServicePort>(7), 2u);
            EXPECT_EQ(rows_of_onu<Tcont>(30), 0u);
        });
}

TEST(BatchSteps, ADeleteMayRunMeanwhile) {
    copy_with(
        [](AppChassis& /*chassis*/) {
            ov_gpon_multi_onu_service_delete(PON, flags_from(7, 10));
            ASSERT_EQ(ov_gpon_multi_onu_service_delete_devide(), OV_GPON_RET_OK);
        },
        [](AppChassis& /*chassis*/, const Ended& ended) {
            EXPECT_THAT(ended.codes, Contains("7: 2")); // its T-CONT is gone
            EXPECT_EQ(rows_of_onu<ServicePort>(30), 2u);
        });
}

// ---- any profile, any ONUs, any card ----------------------------------------------------------------------

struct Counted {
    int tconts = 0, gems = 0, service_ports = 0;
};

// What of a random profile is there for ONUs of the port.
Counted rows_of_port() {
    Counted rows;
    for (int id = 1; id <= 128; ++id) {
        rows.tconts += static_cast<int>(rows_of_onu<Tcont>(id));
        rows.gems += static_cast<int>(rows_of_onu<Gem>(id));
        rows.service_ports += static_cast<int>(rows_of_onu<ServicePort>(id));
    }
    return rows;
}

void put_random_profile(AppChassis& chassis, Dice& dice) {
    const int tconts = 1 + static_cast<int>(dice.below(4));
    const int gems = 1 + static_cast<int>(dice.below(4));
    for (int id = 1; id <= tconts; ++id)
        put_template_tcont(chassis, id, dice.one_in(8) ? "gone" : "small");
    for (int id = 1; id <= gems; ++id) // some ride in a T-CONT that isn't there
        put_template_gemport(chassis, id, 1 + static_cast<int>(dice.below(5)));
    for (int id = 1; id <= static_cast<int>(dice.below(5)); ++id)
        put_template_service_port(chassis, id, 1 + static_cast<int>(dice.below(5)));
}

// Tables, counters and the card agree, and an ONU with a code has got nothing behind its first refusal.
TEST(BatchSteps, TablesCountersAndCardAgreeWhateverIsRefused) {
    for (uint32_t seed = 1; seed <= 8; ++seed)
        run_with_profile([seed](AppChassis& chassis) {
            Dice dice(seed);
            put_onus(8, 12);
            put_random_profile(chassis, dice);
            std::map<int, int> on_card;
            chassis.card.behave([&](FakeCard& card, const wire::Bytes& request) {
                const int type = wire::get16(request, wire::NL + 4);
                const bool refused = dice.one_in(6);
                if (!refused)
                    ++on_card[type];
                card.answer(request, card.reply_to(request, refused ? 1009 : 0));
            });
            TestClock clock;
            const auto ended = start(flags_from(5, 14));
            run_steps(clock);
            const Counted rows = rows_of_port();
            EXPECT_EQ(rows.tconts, on_card[908]) << seed;
            EXPECT_EQ(rows.gems, on_card[909]) << seed;
            EXPECT_EQ(rows.service_ports, on_card[910]) << seed;
            EXPECT_EQ(provisioning::held_of(PORT),
                      (provisioning::Held{rows.tconts, rows.gems, 300 * rows.tconts, 100 * rows.tconts}))
                << seed;
            for (const int id : {5, 6, 13, 14})
                EXPECT_THAT(ended->codes, Contains(std::to_string(id) + ": 1")) << seed;
        });
}

} // namespace
