// Rules of MAC filters, the doors of all three tables, and their writes on ports of protection groups.
#include "../../support/test_clock.h"
#include "../support/filter_chassis.h"

using namespace filter_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// ---- rules ------------------------------------------------------------------------------------------------

TEST(MacFilterRule, ReachesTheCardWhole) {
    run_services([](AppChassis& chassis) {
        FilterRule rule = rule_of(ONE, 255, A);
        rule.rmSmfsFwdFilter = RMSMFSFWDFILTER_DISCARD;
        rule.rmSmfsRule = RMSMFSRULE_SA;
        EXPECT_EQ(add(rule), 0);
        EXPECT_EQ(edit(rule, columns_of(ACTION)), 0);
        EXPECT_EQ(edit(rule, columns_of(RULE)), 0);
        EXPECT_EQ(edit(rule, columns_of(ADDRESS)), 0); // its own address
        EXPECT_EQ(del(rule), 0);
        EXPECT_THAT(sent(chassis), ElementsAre("934 create", "934 set", "934 set", "934 set", "934 delete"));
        const auto messages = chassis.messages();
        EXPECT_EQ(messages[0].mask, 1u << 5 | 1u << 6 | 1u << 7 | 1u << 8);
        EXPECT_EQ(messages[1].mask, 1u << 5);
        EXPECT_EQ(messages[2].mask, 1u << 6);
        EXPECT_EQ(messages[3].mask, 1u << 7);
        for (const CardMessage& message : messages) {
            const auto record = message.record<Record>();
            EXPECT_EQ(record.onuIfindex, onu_ifindex_of(onu_at(ONU)));
            EXPECT_EQ(record.flowId, 1);
            EXPECT_EQ(record.entryId, 255);
            EXPECT_EQ(record.fwdFilter, 1);
            EXPECT_EQ(record.rule, 1);
            EXPECT_EQ(std::memcmp(&record.macAddress, A.data(), A.size()), 0);
        }
        EXPECT_EQ(find_stored_row(rule), nullptr);
    });
}

TEST(MacFilterRule, AnAddressStandsOnceInAService) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), 0);
        ASSERT_EQ(add(rule_of(ONE, 1, A)), 0);
        ASSERT_EQ(add(rule_of(ONE, 2, B)), 0);
        const auto before = everything();
        chassis.forget_messages();
        EXPECT_EQ(add(rule_of(ONE, 3, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rm macfilter static param check failed"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib add error for rm_mac_filter_static table"));
        EXPECT_EQ(edit(rule_of(ONE, 2, A), columns_of(ADDRESS)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(everything(), before);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(edit(rule_of(ONE, 2, A), columns_of(ACTION)), 0); // the address isn't meant
        EXPECT_EQ(add(rule_of(TWO, 3, A)), 0);
        EXPECT_EQ(add(rule_of(service(1, {}, 8), 3, A)), 0);
        EXPECT_EQ(del(rule_of(ONE, 1)), 0);
        EXPECT_EQ(add(rule_of(ONE, 3, A)), 0);
        const FilterRule row = rule_of(ONE, 4, A);
        EXPECT_EQ(ov_rm_macfilter_create_iterate_parser_check(&row), 1);
        EXPECT_EQ(ov_rm_macfilter_create_iterate_parser_check(find_row(rule_of(ONE, 3))), 0);
    });
}

TEST(MacFilterRule, OneThatWaitsHasNoAddressYet) {
    run_services([](AppChassis& /*chassis*/) {
        FilterRule waiting = rule_of(ONE, 1, A);
        constexpr unsigned STATUS = rmServiceMacFilterStaticTable_column::rmSmfsRowStatus;
        waiting.rmSmfsRowStatus = OVRA_CREATEANDWAIT;
        ASSERT_TRUE(mib_access(MIB_SET, waiting, columns_of(ADDRESS, STATUS)));
        ASSERT_EQ(add(rule_of(ONE, 2, A)), 0);
        waiting.rmSmfsRowStatus = OVRA_ACTIVE;
        EXPECT_FALSE(mib_access(MIB_SET, waiting, columns_of(STATUS)));
        EXPECT_EQ(del(ONE), 0); // which takes the waiting one too
        EXPECT_EQ(rows_of<FilterRule>(ONE), 0u);
        EXPECT_EQ(find_stored_row(rule_of(ONE, 1)), nullptr);
    });
}

TEST(MacFilterRule, NumbersThatWouldNameAnotherRuleAreRefused) {
    run_services([](AppChassis& chassis) {
        EXPECT_EQ(add(rule_of(ONE, 0, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_of(ONE, 256, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_of(service(65537), 1, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_of(service(1, {}, 99), 1, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("onu id 99 is not exist"));
        EXPECT_THAT(all_of<FilterRule>(), IsEmpty());
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(add(rule_of(ONE, 1, A)), 0);
        EXPECT_EQ(add(rule_of(ONE, 255, B)), 0);
    });
}

TEST(MacFilterRule, WhatTheCardRefusesIsNotThere) {
    run_services([](AppChassis& chassis) {
        chassis.card_answers(FILTER_MESSAGE, 1009);
        EXPECT_EQ(add(rule_of(ONE, 1, A)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rm macfilter static to hal error"));
        EXPECT_THAT(all_of<FilterRule>(), IsEmpty());
        chassis.card_answers(FILTER_MESSAGE, 0);
        ASSERT_EQ(add(rule_of(ONE, 1, A)), 0);
        chassis.card_falls_silent();
        const auto before = everything();
        EXPECT_EQ(edit(rule_of(ONE, 1, B), columns_of(ADDRESS)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(everything(), before);
    });
}

TEST(MacFilter, DoorsNeedARowAndItsColumns) {
    run_services([](AppChassis& chassis) {
        auto mode = filter_of<FilterMode>(ONE);
        auto limit = filter_of<FilterLimit>(ONE);
        FilterRule rule = rule_of(ONE, 1, A);
        MIB_Flags_t columns = columns_of(MODE);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_mode_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_mode_edit(&mode, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_dyn_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_dyn_edit(&limit, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_static_add(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_static_add(&rule, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_static_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_static_edit(&rule, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rm_mac_filter_static_del(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("null pointer").Times(9));
        EXPECT_EQ(del(rule), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib del error for rm_mac_filter_static table"));
    });
}

// ---- protection groups ------------------------------------------------------------------------------------

TEST(MacFilterPair, IsNotToBeWrittenOnAProtectingPort) {
    run_services([](AppChassis& chassis) {
        ASSERT_EQ(add(rule_of(ONE, 1, A)), 0);
        chassis.forget_messages();
        make_group(OTHER_PORT, PORT, true);
        const auto before = everything();
        EXPECT_EQ(set_filter_mode(ONE, STATIC), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(set_filter_limit(ONE, 5), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_of(ONE, 2, B)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(edit(rule_of(ONE, 1, B), columns_of(ADDRESS)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(del(rule_of(ONE, 1)), OV_GPON_RET_BAD_PARAM);
        for (const auto& [function, times] :
             {std::pair("ov_mac_filter_mode_table_set_check_callback failed", 1),
              {"ov_mac_filter_dyn_table_set_check_callback failed", 1},
              {"ov_mac_filter_static_table_set_check_callback failed", 3}})
            EXPECT_THAT(chassis.hal.log.lines(), Contains(function).Times(times));
        EXPECT_EQ(everything(), before);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        // the partner's writer gets through, with all that follows
        auto mode = filter_of<FilterMode>(ONE);
        mode.rmSmfmMode = STATIC;
        EXPECT_TRUE(mib_access(MIB_SET_N, mode, columns_of(MODE)));
        EXPECT_FALSE(has_limit(ONE));
        mode.rmSmfmMode = DYNAMIC;
        EXPECT_TRUE(mib_access(MIB_SET_N, mode, columns_of(MODE)));
        EXPECT_TRUE(has_limit(ONE));
        EXPECT_EQ(rows_of<FilterRule>(ONE), 0u);
    });
}

TEST(MacFilterPair, ModeAndRulesAreRepeatedOnThePartner) {
    run_services([](AppChassis& /*chassis*/) {
        make_mirrored_group<SYNC_RMONU_MACFILTER_MODE>();
        ov_app_gpon_pair_writer_set(SYNC_RMONU_MACFILTER_STATIC, note_repeat<SYNC_RMONU_MACFILTER_STATIC>);
        TestClock clock;
        EXPECT_EQ(set_filter_limit(ONE, 5), 0); // limits are each port's own
        EXPECT_EQ(set_filter_mode(ONE, STATIC), 0);
        EXPECT_EQ(add(rule_of(ONE, 1, A)), 0);
        EXPECT_EQ(edit(rule_of(ONE, 1, B), columns_of(ADDRESS)), 0);
        EXPECT_EQ(del(rule_of(ONE, 1)), 0);
        clock.advance(std::chrono::seconds(1));
        EXPECT_THAT(repeated(), ElementsAre("14 action 3 on port 5", "15 action 1 on port 5",
                                            "15 action 3 on port 5", "15 action 2 on port 5"));
    });
}

} // namespace
