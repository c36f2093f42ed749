// The four kinds of QoS profile: what a row must meet, what the cards hear, and when one may go.
#include "qos_chassis.h"

using namespace qos_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

namespace sched_column = qosSchedulerProfileTable_column;

TEST(QosProfile, TheDefaultsAreThereFromTheStart) {
    run([](AppChassis&) {
        const auto* scheduler = ov_app_find_sched_profile_by_id(0);
        ASSERT_NE(scheduler, nullptr);
        EXPECT_EQ(ov_app_qos_sched_profile_get_mode(scheduler, 7), OV_QOS_SCHED_SP);
        const auto* limits = ov_app_find_qos_traffic_profile_by_id(0);
        ASSERT_NE(limits, nullptr);
        EXPECT_EQ(ov_app_qos_traffic_profile_get_max_bw(limits, 0), -1);
        const auto* identity = ov_app_find_cos_to_cos_map_profile_by_id(0);
        ASSERT_NE(identity, nullptr);
        EXPECT_THAT(identity->mapped_cos, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
        // only the mappings have rows
        EXPECT_EQ(find_stored_row(sched(0)), nullptr);
        EXPECT_EQ(find_stored_row(traffic(0)), nullptr);
        EXPECT_EQ(find_stored_row(cos_map(0, 0)), nullptr);
    });
}

TEST(QosProfile, TheDefaultMappingsSuitOnusWithSoManyQueues) {
    run([](AppChassis&) {
        const std::map<uint32_t, std::vector<uint32_t>> wanted = {
            {7, {0, 0, 0, 0, 0, 0, 0, 0}},
            {6, {0, 0, 0, 0, 1, 1, 1, 1}},
            {5, {0, 0, 1, 1, 2, 2, 3, 3}},
            {0, {0, 1, 2, 3, 4, 5, 6, 7}},
        };
        EXPECT_EQ(g_cosq_map_profile_list.size(), 4u);
        for (const auto& [id, queues] : wanted) {
            const auto* mapping = ov_app_find_cosq_map_profile_by_id(id);
            ASSERT_NE(mapping, nullptr) << id;
            EXPECT_THAT(mapping->cosq, testing::ElementsAreArray(queues)) << id;
            EXPECT_EQ(ov_app_cosq_map_profile_get_name(mapping), std::to_string(id));
            const auto* row = find_row(cosq(static_cast<int>(id), 0));
            ASSERT_NE(row, nullptr) << id;
            EXPECT_EQ(row->cosQueueMappingCos7Queue, static_cast<mib_long>(queues[7]));
            EXPECT_STREQ(row->cosQueueMappingProfileName, mapping->name);
        }
    });
}

TEST(QosProfile, AnEndOfTheProcessIsNoEndOfProfiles) {
    run([](AppChassis& chassis) {
        chassis.put_row<SchedRow>(
            [](auto& row) {
                row.qosSchedulerProfileQueueScheduleMode = 0x22222222;
                row.qosSchedulerProfileQueue3Weight = 9;
            },
            GPON_SHELF, 16);
        chassis.put_row<TrafficRow>([](auto& row) { row.qosTrafficQueue1MaxBw = -1; }, GPON_SHELF, 128);
        chassis.put_row<CosqRow>([](auto& row) { row.cosQueueMappingCos0Queue = 3; }, GPON_SHELF, 4);
        chassis.put_row<CosRow>([](auto& row) { set_text(row.cosToCosProfileName, "seven"); }, GPON_SHELF, 7);
        ov_app_gpon_qos_init();
        const auto* scheduler = ov_app_find_sched_profile_by_id(16);
        ASSERT_NE(scheduler, nullptr);
        EXPECT_EQ(scheduler->mode[3], OV_QOS_SCHED_WRR);
        EXPECT_EQ(scheduler->weight[3], 9u);
        ASSERT_NE(ov_app_find_qos_traffic_profile_by_id(128), nullptr);
        EXPECT_EQ(ov_app_find_qos_traffic_profile_by_id(128)->max_bw[1], -1);
        ASSERT_NE(ov_app_find_cosq_map_profile_by_id(4), nullptr);
        EXPECT_EQ(ov_app_find_cosq_map_profile_by_id(4)->cosq[0], 3u);
        ASSERT_NE(ov_app_find_cos_to_cos_map_profile_by_id(7), nullptr);
        EXPECT_STREQ(ov_app_find_cos_to_cos_map_profile_by_id(7)->name, "seven");
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- rows of managers -------------------------------------------------------------------------------------

TEST(QosProfile, ASchedulerReachesTheCards) {
    run([](AppChassis& chassis) {
        auto row = sched(16, 0x12341234);
        row.qosSchedulerProfileQueue0Weight = 127;
        row.qosSchedulerProfileQueue7Weight = 1;
        ASSERT_TRUE(create(row));
        const auto messages = chassis.messages(1);
        ASSERT_THAT(types(messages), ElementsAre(710));
        EXPECT_TRUE(messages[0].wants_reply);
        const auto record = plain<ov_hal_msg_qos_sched_profile_t>(messages[0]);
        EXPECT_EQ(record.id, 16u);
        EXPECT_THAT(record.sched_mode, ElementsAre(4, 3, 2, 1, 4, 3, 2, 1));
        EXPECT_THAT(record.weight, ElementsAre(127, 0, 0, 0, 0, 0, 0, 1));
        const auto* profile = ov_app_find_sched_profile_by_id(16);
        ASSERT_NE(profile, nullptr);
        EXPECT_EQ(profile->real_mode, 0x12341234u);
        EXPECT_EQ(profile->weight[0], 127u);
        EXPECT_EQ(find_row(sched(16))->qosSchedulerProfileQueueScheduleMode, 0x12341234u);
    });
}

TEST(QosProfile, ASchedulerThatIsNoneIsRefused) {
    run([](AppChassis& chassis) {
        EXPECT_FALSE(create(sched(0)));
        EXPECT_FALSE(create(sched(17)));
        EXPECT_FALSE(create(sched(-1)));
        EXPECT_FALSE(create(fresh<SchedRow>(2, 1)));
        EXPECT_FALSE(create(sched(1, 0x11111115)));
        EXPECT_FALSE(create(sched(1, 0x51111111)));
        EXPECT_FALSE(create(sched(1, 0x01111111)));
        auto heavy = sched(1);
        heavy.qosSchedulerProfileQueue5Weight = 128;
        EXPECT_FALSE(create(heavy));
        heavy.qosSchedulerProfileQueue5Weight = -1;
        EXPECT_FALSE(create(heavy));
        EXPECT_EQ(g_qos_sched_profile_list.size(), 1u);
        EXPECT_EQ(find_stored_row(sched(1)), nullptr);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(QosProfile, NobodyEditsARow) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        chassis.forget_messages();
        auto heavier = sched(1);
        heavier.qosSchedulerProfileQueue0Weight = 5;
        EXPECT_FALSE(set(heavier, sched_column::qosSchedulerProfileQueue0Weight));
        EXPECT_FALSE(set(cosq(1, 7), cosQueueMappingProfileTable_column::cosQueueMappingCos0Queue));
        EXPECT_FALSE(set(traffic(1, 5, 9), qosTrafficProfileTable_column::qosTrafficQueue0MinBw,
                         qosTrafficProfileTable_column::qosTrafficQueue0MaxBw));
        EXPECT_FALSE(set(cos_map(1, 6), cosToCosProfileTable_column::cos7ToCos));
        EXPECT_EQ(find_row(sched(1))->qosSchedulerProfileQueue0Weight, 0);
        EXPECT_EQ(ov_app_find_sched_profile_by_id(1)->weight[0], 0u);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(QosProfile, MappingsHaveTheIds1To4) {
    run([](AppChassis& chassis) {
        for (const int id : {-1, 0, 5, 6, 7, 8, 9})
            EXPECT_FALSE(create(cosq(id, 3))) << id;
        EXPECT_FALSE(create(fresh<CosqRow>(2, 1)));
        for (const int queue : {-1, 8})
            EXPECT_FALSE(create(cosq(1, queue))) << queue;
        EXPECT_THAT(chassis.messages(), IsEmpty());
        ASSERT_TRUE(create(cosq(1, 7)));
        ASSERT_TRUE(create(cosq(4, 6)));
        const auto messages = chassis.messages(2);
        ASSERT_THAT(types(messages), ElementsAre(708, 708));
        const auto record = plain<ov_hal_msg_cosq_map_profile_t>(messages[1]);
        EXPECT_EQ(record.id, 4u);
        EXPECT_THAT(record.cosq, ElementsAre(6, 0, 0, 0, 0, 0, 0, 0));
    });
}

TEST(QosProfile, NoTwoMappingsAreAlike) {
    run([](AppChassis& chassis) {
        EXPECT_FALSE(create(cosq(1, 0))); // like default 7
        ASSERT_TRUE(create(cosq(1, 2)));
        EXPECT_FALSE(create(cosq(2, 2)));
        ASSERT_TRUE(create(cos_map(1, 2)));
        EXPECT_FALSE(create(cos_map(2, 2)));
        auto identity = cos_map(2, 7);
        identity.cos1ToCos = 1;
        identity.cos2ToCos = 2;
        identity.cos3ToCos = 3;
        identity.cos4ToCos = 4;
        identity.cos5ToCos = 5;
        identity.cos6ToCos = 6;
        EXPECT_FALSE(create(identity)); // like default 0
        EXPECT_EQ(find_stored_row(cosq(2, 0)), nullptr);
        EXPECT_EQ(find_stored_row(cos_map(2, 0)), nullptr);
        EXPECT_THAT(types(chassis, 2), ElementsAre(708, 718));
    });
}

TEST(QosProfile, ATrafficProfileReachesTheCards) {
    run([](AppChassis& chassis) {
        auto row = traffic(128, 1, 100000000);
        row.qosTrafficQueue1MaxBw = -1; // no limit, as a queue without any has
        ASSERT_TRUE(create(row));
        const auto messages = chassis.messages(1);
        ASSERT_THAT(types(messages), ElementsAre(712));
        const auto record = plain<ov_hal_msg_qos_traffic_profile_t>(messages[0]);
        EXPECT_EQ(record.id, 128u);
        EXPECT_EQ(record.max_bw[0], 100000000u);
        EXPECT_EQ(record.min_bw[0], 1u);
        for (unsigned queue = 1; queue < 8; ++queue) {
            EXPECT_EQ(record.max_bw[queue], 0xffffffffu);
            EXPECT_EQ(record.min_bw[queue], 0u);
        }
        EXPECT_EQ(find_row(traffic(128))->qosTrafficQueue0MaxBw, 100000000);
        EXPECT_EQ(find_row(traffic(128))->qosTrafficQueue7MaxBw, -1);
        EXPECT_EQ(ov_app_find_qos_traffic_profile_by_id(128)->max_bw[7], -1);
    });
}

TEST(QosProfile, ATrafficProfileThatIsNoneIsRefused) {
    run([](AppChassis& chassis) {
        EXPECT_FALSE(create(traffic(0))); // it is there
        EXPECT_FALSE(create(traffic(129)));
        EXPECT_FALSE(create(traffic(-1)));
        EXPECT_FALSE(create(fresh<TrafficRow>(2, 1)));
        EXPECT_FALSE(create(traffic(1, 0, 5)));
        EXPECT_FALSE(create(traffic(1, 6, 5)));
        EXPECT_FALSE(create(traffic(1, 1, 100000001)));
        EXPECT_FALSE(create(traffic(1, 100000001, 100000001)));
        EXPECT_FALSE(create(traffic(1, -1, 5)));
        EXPECT_FALSE(create(traffic(1, 1, -1)));
        EXPECT_FALSE(create(traffic(1, 0, -2)));
        EXPECT_EQ(g_qos_traffic_profile_list.size(), 1u);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_TRUE(create(traffic(1, 5, 5)));
    });
}

TEST(QosProfile, ACosToCosProfileReachesTheCards) {
    run([](AppChassis& chassis) {
        ASSERT_TRUE(create(cos_map(7, 3)));
        const auto messages = chassis.messages(1);
        ASSERT_THAT(types(messages), ElementsAre(718));
        const auto record = plain<ov_hal_msg_cos_to_cos_profile_t>(messages[0]);
        EXPECT_EQ(record.id, 7u);
        EXPECT_THAT(record.mapped_cos, ElementsAre(0, 0, 0, 0, 0, 0, 0, 3));
        EXPECT_FALSE(create(cos_map(0, 3)));
    });
}

// ---- cards that refuse ------------------------------------------------------------------------------------

TEST(QosProfile, WhatTheCardsRefuseIsNotThereButForAMapping) {
    run([](AppChassis& chassis) {
        for (const int type : {708, 710, 712, 718})
            chassis.card_answers(type, REFUSED);
        EXPECT_FALSE(create(sched(1)));
        EXPECT_FALSE(create(traffic(1)));
        EXPECT_FALSE(create(cos_map(1, 1)));
        EXPECT_TRUE(create(cosq(1, 1)));
        EXPECT_TRUE(logged(chassis, "add qos sched profile 1 failed"));
        EXPECT_EQ(ov_app_find_sched_profile_by_id(1), nullptr);
        EXPECT_EQ(ov_app_find_qos_traffic_profile_by_id(1), nullptr);
        EXPECT_EQ(ov_app_find_cos_to_cos_map_profile_by_id(1), nullptr);
        EXPECT_NE(ov_app_find_cosq_map_profile_by_id(1), nullptr);
        EXPECT_EQ(find_stored_row(sched(1)), nullptr);
        EXPECT_NE(find_row(cosq(1, 0)), nullptr);
    });
}

// The row stays, the record doesn't: as the cards say no, nobody may be bound to it any more.
TEST(QosProfile, WhatTheCardsDontLetGoIsGoneHereAllTheSame) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        for (const int type : {709, 711, 713, 719})
            chassis.card_answers(type, REFUSED);
        EXPECT_FALSE(destroy(sched(1)));
        EXPECT_FALSE(destroy(traffic(1)));
        EXPECT_FALSE(destroy(cosq(1, 0)));
        EXPECT_FALSE(destroy(cos_map(1, 0)));
        EXPECT_TRUE(logged(chassis, "del qos sched profile 1 failed"));
        EXPECT_EQ(ov_app_find_sched_profile_by_id(1), nullptr);
        EXPECT_EQ(ov_app_find_cosq_map_profile_by_id(1), nullptr);
        EXPECT_NE(find_row(sched(1)), nullptr);
        LogCapture::clear();
        // now nothing can take the row away, but that of a mapping
        EXPECT_FALSE(destroy(sched(1)));
        EXPECT_FALSE(destroy(traffic(1)));
        EXPECT_FALSE(destroy(cos_map(1, 0)));
        EXPECT_TRUE(destroy(cosq(1, 0)));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("No profile 1").Times(4));
    });
}

// ---- profiles that something is bound to ------------------------------------------------------------------

TEST(QosProfile, ABoundProfileStays) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        auto* port = pon_qos();
        EXPECT_EQ(ov_app_port_qos_edit_qos_sched_profile(port, 1), OV_QOS_OK);
        EXPECT_EQ(ov_app_port_qos_edit_qos_traffic_profile(port, 1), OV_QOS_OK);
        EXPECT_EQ(ov_app_port_qos_edit_cosq_map_profile(port, 1), OV_QOS_OK);
        EXPECT_EQ(ov_app_port_qos_edit_cos_to_cos_profile(port, 1, QOS_UP_LINK), OV_QOS_OK);
        ASSERT_EQ(ov_app_port_qos_set(port, SYNC_EVERY_COPY), OV_QOS_OK);
        chassis.forget_messages();
        EXPECT_FALSE(destroy(sched(1)));
        EXPECT_FALSE(destroy(traffic(1)));
        EXPECT_FALSE(destroy(cosq(1, 0)));
        EXPECT_FALSE(destroy(cos_map(1, 0)));
        for (const char* what : {"sched", "traffic", "cosq mapping", "cos to cos"})
            EXPECT_TRUE(logged(chassis, std::string("qos ") + what +
                                            " profile is still used, don't be deleted. id[1]"));
        EXPECT_NE(ov_app_find_sched_profile_by_id(1), nullptr);
        EXPECT_NE(find_row(sched(1)), nullptr);
        EXPECT_EQ(ov_app_cosq_mapping_profile_del(ov_app_find_cosq_map_profile_by_id(1), SYNC_EVERY_COPY),
                  OV_QOS_COSQ_MAP_PROFILE_IN_USE);
        EXPECT_THAT(chassis.messages(), IsEmpty());

        EXPECT_EQ(ov_app_port_qos_edit_qos_sched_profile(port, 0), OV_QOS_OK);
        ASSERT_EQ(ov_app_port_qos_set(port, SYNC_EVERY_COPY), OV_QOS_OK);
        EXPECT_TRUE(destroy(sched(1)));
        EXPECT_EQ(find_stored_row(sched(1)), nullptr);
        EXPECT_THAT(types(chassis, 2), ElementsAre(715, 711));
    });
}

// ---- as commands work with them ---------------------------------------------------------------------------

TEST(QosProfile, AProfileOfACommandIsInEveryCopy) {
    run([](AppChassis& chassis) {
        auto* profile = ov_app_qos_sched_profile_new();
        const uint32_t weights[] = {0, 10, 20, 30, 40, 50, 60, 100};
        EXPECT_EQ(ov_app_qos_sched_profile_edit_id(profile, 3), OV_QOS_OK);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_name(profile, "gold"), OV_QOS_OK);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_desc(profile, "best"), OV_QOS_OK);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_mode(profile, OV_QOS_SCHED_WRR), OV_QOS_OK);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_weight(profile, weights, 8), OV_QOS_OK);
        ASSERT_EQ(ov_app_qos_sched_profile_add(profile, SYNC_EVERY_COPY), OV_QOS_OK);
        const auto* row = find_row(sched(3));
        ASSERT_NE(row, nullptr);
        EXPECT_STREQ(row->qosSchedulerProfileName, "gold");
        EXPECT_STREQ(row->qosSchedulerProfileDesc, "best");
        EXPECT_EQ(row->qosSchedulerProfileQueueScheduleMode, 0x22222222u);
        EXPECT_EQ(row->qosSchedulerProfileQueue7Weight, 100);
        EXPECT_EQ(ov_app_find_sched_profile_by_id(3), profile);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_name(profile, "other"), OV_QOS_ERR); // it is added
        EXPECT_EQ(ov_app_qos_sched_profile_edit_id(profile, 4), OV_QOS_ERR);
        ASSERT_EQ(ov_app_qos_sched_profile_del(profile, SYNC_EVERY_COPY), OV_QOS_OK);
        EXPECT_EQ(find_stored_row(sched(3)), nullptr);
        EXPECT_EQ(ov_app_find_sched_profile_by_id(3), nullptr);
        EXPECT_THAT(types(chassis, 2), ElementsAre(710, 711));
    });
}

TEST(QosProfile, ATakenIdIsAnsweredByItsKind) {
    run([](AppChassis& chassis) {
        add_profiles(2);
        g_gpon_qos_debug_flag = 1;
        auto* scheduler = ov_app_qos_sched_profile_new();
        ov_app_qos_sched_profile_edit_id(scheduler, 2);
        EXPECT_EQ(ov_app_qos_sched_profile_add(scheduler, SYNC_APP), OV_QOS_SCHED_PROFILE_IN_USE);
        ov_app_qos_sched_profile_destroy(scheduler);
        auto* mapping = ov_app_cosq_map_profile_new();
        ov_app_cosq_map_profile_edit_id(mapping, 2);
        EXPECT_EQ(ov_app_cosq_mapping_profile_add(mapping, SYNC_APP), OV_QOS_COSQ_MAP_PROFILE_IN_USE);
        EXPECT_TRUE(logged(chassis, "Already used cosq profile id: 2"));
        ov_app_cosq_map_profile_edit_id(mapping, 3);
        EXPECT_EQ(ov_app_cosq_mapping_profile_add(mapping, SYNC_APP), OV_QOS_COSQ_MAP_PROFILE_DUPLICATE);
        ov_app_cosq_map_profile_destroy(mapping);
        auto* limits = ov_app_qos_traffic_profile_new();
        EXPECT_EQ(ov_app_qos_traffic_profile_add(limits, SYNC_APP), OV_QOS_TRAFFIC_PROFILE_IN_USE);
        EXPECT_TRUE(logged(chassis, "Already used qos traffic profile: 0"));
        ov_app_qos_traffic_profile_destroy(limits);
        auto* map = ov_app_cos_to_cos_map_profile_new();
        ov_app_cos_to_cos_map_profile_edit_id(map, 2);
        EXPECT_EQ(ov_app_cos_to_cos_mapping_profile_add(map, SYNC_APP), OV_QOS_COS_TO_COS_PROFILE_IN_USE);
        EXPECT_TRUE(logged(chassis, "Already used cos to cos profile id: 2"));
        ov_app_cos_to_cos_map_profile_destroy(map);
    });
}

TEST(QosProfile, AProfileThatIsntThereCantGo) {
    run([](AppChassis&) {
        ov_app_qos_sched_profile_s scheduler = {};
        scheduler.id = 9;
        EXPECT_EQ(ov_app_qos_sched_profile_del(&scheduler, SYNC_APP), OV_QOS_SCHED_PROFILE_NOT_IN_USE);
        EXPECT_EQ(ov_app_cosq_mapping_profile_del(nullptr, SYNC_APP), OV_QOS_COSQ_MAP_PROFILE_NOT_IN_USE);
        EXPECT_EQ(ov_app_qos_traffic_profile_del(nullptr, SYNC_APP), OV_QOS_TRAFFIC_PROFILE_NOT_IN_USE);
        EXPECT_EQ(ov_app_cos_to_cos_mapping_profile_del(nullptr, SYNC_APP),
                  OV_QOS_COS_TO_COS_PROFILE_NOT_IN_USE);
        EXPECT_EQ(ov_app_qos_sched_profile_add(nullptr, SYNC_APP), OV_QOS_ERR);
    });
}

TEST(QosProfile, ARowThatIsThereCountsAsAdded) {
    run([](AppChassis& chassis) {
        chassis.put_row<SchedRow>([](auto& row) { row.qosSchedulerProfileQueue2Weight = 42; }, GPON_SHELF, 9);
        auto* profile = ov_app_qos_sched_profile_new();
        ov_app_qos_sched_profile_edit_id(profile, 9);
        ASSERT_EQ(ov_app_qos_sched_profile_add(profile, SYNC_EVERY_COPY), OV_QOS_OK);
        EXPECT_EQ(profile->weight[2], 42u);
        const auto messages = chassis.messages(1);
        EXPECT_EQ(plain<ov_hal_msg_qos_sched_profile_t>(messages[0]).weight[2], 42u);
    });
}

TEST(QosProfile, ARowThatWaitsComesIntoService) {
    run([](AppChassis&) {
        auto row = sched(9);
        row.qosSchedulerProfileRowStatus = OVRA_CREATEANDWAIT;
        ASSERT_TRUE(mib_access(MIB_SET, row));
        ASSERT_EQ(ov_app_find_sched_profile_by_id(9), nullptr);
        auto* profile = ov_app_qos_sched_profile_new();
        ov_app_qos_sched_profile_edit_id(profile, 9);
        ov_app_qos_sched_profile_edit_name(profile, "nine");
        ASSERT_EQ(ov_app_qos_sched_profile_add(profile, SYNC_EVERY_COPY), OV_QOS_OK);
        const auto* stored = find_row(sched(9));
        ASSERT_NE(stored, nullptr);
        EXPECT_STREQ(stored->qosSchedulerProfileName, "nine");
    });
}

TEST(QosProfile, ValuesOfSchedulersAndMappingsAreJudged) {
    run([](AppChassis&) {
        auto* scheduler = ov_app_qos_sched_profile_new();
        EXPECT_EQ(ov_app_qos_sched_profile_edit_id(scheduler, 0), OV_QOS_SCHED_PROFILE_INVALID_ID);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_id(scheduler, 17), OV_QOS_SCHED_PROFILE_INVALID_ID);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_name(scheduler, nullptr), OV_QOS_SCHED_PROFILE_NAME_NULL);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_name(scheduler, std::string(129, 'n').c_str()),
                  OV_QOS_SCHED_PROFILE_NAME_TOO_LONG);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_name(scheduler, std::string(128, 'n').c_str()), OV_QOS_OK);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_desc(scheduler, nullptr), OV_QOS_SCHED_PROFILE_DESC_NULL);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_desc(scheduler, std::string(129, 'd').c_str()),
                  OV_QOS_SCHED_PROFILE_DESC_TOO_LONG);
        const uint32_t heavy[] = {0, 0, 0, 0, 0, 0, 0, 101};
        EXPECT_EQ(ov_app_qos_sched_profile_edit_weight(scheduler, heavy, 7),
                  OV_QOS_SCHED_PROFILE_WEIGHT_INVALID_NUM);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_weight(scheduler, heavy, 8),
                  OV_QOS_SCHED_PROFILE_INVALID_WEIGHT);
        EXPECT_EQ(ov_app_qos_sched_profile_edit_mode(scheduler, static_cast<ov_qos_sched_mode_e>(3)),
                  OV_QOS_ERR);
        ov_app_qos_sched_profile_destroy(scheduler);

        auto* mapping = ov_app_cosq_map_profile_new();
        for (const uint32_t id : {0u, 5u, 6u, 7u})
            EXPECT_EQ(ov_app_cosq_map_profile_edit_id(mapping, id), OV_QOS_COSQ_MAP_PROFILE_INTERNAL_ID);
        EXPECT_EQ(ov_app_cosq_map_profile_edit_id(mapping, 8), OV_QOS_COSQ_MAP_PROFILE_INVALID_ID);
        EXPECT_EQ(ov_app_cosq_map_profile_edit_internal_id(mapping, 4), OV_QOS_COSQ_MAP_PROFILE_INVALID_ID);
        EXPECT_EQ(ov_app_cosq_map_profile_edit_name(mapping, nullptr), OV_QOS_COSQ_MAP_PROFILE_NAME_NULL);
        EXPECT_EQ(ov_app_cosq_map_profile_edit_name(mapping, std::string(66, 'n').c_str()),
                  OV_QOS_COSQ_MAP_PROFILE_NAME_TOO_LONG);
        EXPECT_EQ(ov_app_cosq_map_profile_edit_desc(mapping, nullptr), OV_QOS_COSQ_MAP_PROFILE_DESC_NULL);
        EXPECT_EQ(ov_app_cosq_map_profile_edit_desc(mapping, std::string(130, 'd').c_str()),
                  OV_QOS_COSQ_MAP_PROFILE_DESC_TOO_LONG);
        const uint32_t queues[] = {0, 1, 2, 3, 4, 5, 6, 8, 0};
        EXPECT_EQ(ov_app_cosq_map_profile_edit_cosq(mapping, nullptr, 8), OV_QOS_COSQ_MAP_PROFILE_COSQ_NULL);
        EXPECT_EQ(ov_app_cosq_map_profile_edit_cosq(mapping, queues, 9),
                  OV_QOS_COSQ_MAP_PROFILE_COSQ_TOO_MANY);
        EXPECT_EQ(ov_app_cosq_map_profile_edit_cosq(mapping, queues, 8), OV_QOS_COSQ_MAP_PROFILE_BAD_NUM);
        EXPECT_EQ(ov_app_cosq_map_profile_get_cosq(mapping, 7), 0u);
        EXPECT_EQ(ov_app_cosq_map_profile_get_cosq(mapping, 8), OV_QOS_INVALID_QUEUE_NUM);
        ov_app_cosq_map_profile_destroy(mapping);
    });
}

TEST(QosProfile, ValuesOfTheOtherKindsAreJudged) {
    run([](AppChassis&) {
        auto* limits = ov_app_qos_traffic_profile_new();
        EXPECT_EQ(ov_app_qos_traffic_profile_edit_id(limits, 129), OV_QOS_TRAFFIC_PROFILE_INVALID_ID);
        EXPECT_EQ(ov_app_qos_traffic_profile_edit_id(limits, 128), OV_QOS_OK);
        EXPECT_EQ(ov_app_qos_traffic_profile_edit_name(limits, nullptr), OV_QOS_TRAFFIC_PROFILE_NAME_NULL);
        EXPECT_EQ(ov_app_qos_traffic_profile_edit_name(limits, std::string(65, 'n').c_str()),
                  OV_QOS_TRAFFIC_PROFILE_NAME_TOO_LONG);
        EXPECT_EQ(ov_app_qos_traffic_profile_edit_desc(limits, nullptr), OV_QOS_TRAFFIC_PROFILE_DESC_NULL);
        EXPECT_EQ(ov_app_qos_traffic_profile_edit_desc(limits, std::string(129, 'd').c_str()),
                  OV_QOS_TRAFFIC_PROFILE_DESC_TOO_LONG);
        EXPECT_EQ(ov_app_qos_traffic_profile_edit_bw(limits, 8, 1, 2), OV_QOS_ERR);
        EXPECT_EQ(ov_app_qos_traffic_profile_edit_bw(limits, 7, 2, 1), OV_QOS_ERR);
        EXPECT_EQ(ov_app_qos_traffic_profile_edit_bw(limits, 7, 0, 1), OV_QOS_ERR);
        EXPECT_EQ(ov_app_qos_traffic_profile_edit_bw(limits, 7, 1, 2), OV_QOS_OK);
        EXPECT_EQ(ov_app_qos_traffic_profile_get_min_bw(limits, 7), 1);
        EXPECT_EQ(ov_app_qos_traffic_profile_edit_bw(limits, 7, 0, 0), OV_QOS_OK);
        EXPECT_EQ(ov_app_qos_traffic_profile_get_max_bw(limits, 7), OV_QOS_TRAFFIC_NO_LIMIT);
        ov_app_qos_traffic_profile_destroy(limits);

        auto* map = ov_app_cos_to_cos_map_profile_new();
        for (const uint32_t id : {0u, 8u})
            EXPECT_EQ(ov_app_cos_to_cos_map_profile_edit_id(map, id), OV_QOS_ERR);
        const uint32_t cos[] = {0, 0, 0, 0, 0, 0, 0, 8, 0};
        EXPECT_EQ(ov_app_cos_to_cos_map_profile_edit_mapped_cos(map, cos, 8), OV_QOS_ERR);
        EXPECT_EQ(ov_app_cos_to_cos_map_profile_edit_mapped_cos(map, cos, 9), OV_QOS_ERR);
        EXPECT_EQ(ov_app_cos_to_cos_map_profile_edit_mapped_cos(map, nullptr, 8), OV_QOS_ERR);
        EXPECT_EQ(ov_app_cos_to_cos_map_profile_edit_name(map, std::string(65, 'n').c_str()), OV_QOS_ERR);
        EXPECT_EQ(ov_app_cos_to_cos_map_profile_edit_name(map, nullptr), OV_QOS_ERR);
        EXPECT_EQ(ov_app_cos_to_cos_map_profile_get_mapped_cos(map, 9), 9u);
        ov_app_cos_to_cos_map_profile_destroy(map);
        EXPECT_EQ(ov_app_cos_to_cos_map_profile_edit_id(nullptr, 1), OV_QOS_ERR);
    });
}

// ---- replay -----------------------------------------------------------------------------------------------

TEST(QosProfile, ACardThatComesUpIsToldAllOfThem) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        chassis.forget_messages();
        ov_app_qos_sched_profile_restore_config(SLOT);
        ov_app_qos_traffic_profile_restore_config(SLOT);
        ov_app_cos_to_cos_profile_restore_config(SLOT);
        ov_app_cosq_mapping_profile_restore_config(SLOT);
        const auto messages = chassis.messages(11);
        EXPECT_THAT(types(messages), ElementsAre(710, 710, 712, 712, 718, 718, 708, 708, 708, 708, 708));
        EXPECT_EQ(plain<ov_hal_msg_qos_sched_profile_t>(messages[1]).id, 1u);
        for (const CardMessage& message : messages)
            EXPECT_FALSE(message.wants_reply);
        ov_app_qos_sched_profile_restore_config(SLOT + 1); // a slot without card
        EXPECT_EQ(chassis.messages().size(), messages.size());
    });
}

} // namespace
