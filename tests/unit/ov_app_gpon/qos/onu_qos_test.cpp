// QoS of ONUs and service profiles: how it comes and goes with them, what a change tells the card, and what
// is taken back.
#include "qos_chassis.h"

#include "ov_app_gpon_qos_pair.h"

using namespace qos_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

namespace column = onuQosTable_column;
using Record = ov_gpon_onu_qos_attr_t;

std::string line(const char* before, ov_ifindex_t ifindex, const char* behind) {
    char number[16];
    snprintf(number, sizeof number, "0x%x", ifindex);
    return std::string(before) + " onu qos " + number + " " + behind;
}

// Columns of ONU 1.
template <typename... Column>
bool set_onu(const std::function<void(OnuQosRow&)>& fill, Column... columns) {
    OnuQosRow row = onu_key_at(1);
    fill(row);
    return set(row, columns...);
}
bool set_mapping(int id) {
    return set_onu([id](auto& row) { row.onuQosDownlinkCosQueueMapProfileId = id; },
                   column::onuQosDownlinkCosQueueMapProfileId);
}

void run_onu(const std::function<void(AppChassis&)>& body) {
    run([&body](AppChassis& chassis) {
        ASSERT_TRUE(add_onu(1));
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis);
    });
}

// ---- life -------------------------------------------------------------------------------------------------

TEST(OnuQos, AnOnuStartsWithTheMappingForItsQueues) {
    run([](AppChassis& chassis) {
        const std::map<int, uint32_t> mappings = {{8, 0}, {4, 5}, {2, 6}, {1, 7}, {3, 8}};
        for (const auto& [queues, mapping] : mappings) {
            ASSERT_TRUE(add_onu(queues, queues)) << queues;
            const auto* qos = onu_qos(queues);
            ASSERT_NE(qos, nullptr) << queues;
            EXPECT_EQ(qos->cosq_profile_id, mapping);
            EXPECT_EQ(qos->qos_sched_profile_id, 0u);
            EXPECT_EQ(qos->qos_traffic_profile_id, 0u);
            EXPECT_EQ(qos->max_bw, 0u);
            EXPECT_EQ(qos->min_bw, 0u);
            EXPECT_EQ(qos->weight, 1u);
            EXPECT_EQ(qos->cos_to_cos_profile_id[QOS_UP_LINK], 8u);
            EXPECT_EQ(qos->cos_to_cos_profile_id[QOS_DOWN_LINK], 0u);
            const auto* row = find_row(onu_key_at(queues));
            ASSERT_NE(row, nullptr) << queues;
            EXPECT_EQ(row->onuQosDownlinkCosQueueMapProfileId, static_cast<mib_long>(mapping));
            EXPECT_EQ(row->onuQosWeight, 1);
        }
        EXPECT_THAT(chassis.messages_of(921), IsEmpty()); // a card starts an ONU with the defaults
    });
}

TEST(OnuQos, ItGoesWithItsOnu) {
    run_onu([](AppChassis& chassis) {
        add_profiles(1);
        ASSERT_TRUE(set_onu([](auto& row) { row.onuQosSchedulerProfileId = 1; }, 1));
        ASSERT_EQ(uses(QOS_PROFILE_SCHED, 1), 1u);
        chassis.forget_messages();
        ASSERT_TRUE(del_onu(1));
        EXPECT_EQ(onu_qos(1), nullptr);
        EXPECT_EQ(find_stored_row(onu_key_at(1)), nullptr);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 0u);
        EXPECT_THAT(chassis.messages_of(921), IsEmpty());
        EXPECT_TRUE(destroy(sched(1)));
        EXPECT_TRUE(add_onu(1)); // and comes back
        EXPECT_NE(onu_qos(1), nullptr);
    });
}

TEST(OnuQos, AServiceProfileHasOneToo) {
    run([](AppChassis& chassis) {
        auto profile = fresh<ov_sOnuSrvProfileTable_attr_t>(12);
        set_text(profile.sOnuTypeProfileName, "q4");
        ASSERT_TRUE(create(profile));
        const ov_ifindex_t index = onu_ifindex(GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, 12);
        auto* qos = ov_app_find_onu_qos_by_ifindex(index);
        ASSERT_NE(qos, nullptr);
        EXPECT_EQ(qos->cosq_profile_id, 5u); // by the profile's ONU type
        ASSERT_NE(find_row(template_key<OnuQosRow>(12)), nullptr);
        chassis.forget_messages();
        auto row = template_key<OnuQosRow>(12);
        row.onuQosMaxBw = 1000;
        ASSERT_TRUE(set(row, column::onuQosMaxBw));
        const auto messages = chassis.messages(1);
        ASSERT_THAT(types(messages), ElementsAre(921)); // to every card
        EXPECT_EQ(messages[0].record<Record>().onuIfindex, index);
        ASSERT_TRUE(destroy(profile));
        EXPECT_EQ(ov_app_find_onu_qos_by_ifindex(index), nullptr);
        EXPECT_EQ(find_stored_row(template_key<OnuQosRow>(12)), nullptr);
    });
}

TEST(OnuQos, ARowThatWaitsDoesntStopAnOnu) {
    run([](AppChassis&) {
        auto row = fresh<OnuQosRow>(GPON_SHELF, SLOT, PORT, 1);
        row.onuQosRowStatus = OVRA_CREATEANDWAIT;
        ASSERT_TRUE(mib_access(MIB_SET, row));
        ASSERT_TRUE(add_onu(1, 4));
        ASSERT_NE(onu_qos(1), nullptr);
        ASSERT_NE(find_row(onu_key_at(1)), nullptr);
        EXPECT_EQ(find_row(onu_key_at(1))->onuQosDownlinkCosQueueMapProfileId, 5);
    });
}

TEST(OnuQos, AnEndOfTheProcessIsNoEndOfIt) {
    run([](AppChassis& chassis) {
        add_profiles(2);
        chassis.forget_messages();
        chassis.put_row<OnuQosRow>(
            [](auto& row) {
                row.onuQosTrafficProfileId = 2;
                row.onuQosMinBw = 77;
                row.onuQosDownlinkCosToCosProfileId = 2;
            },
            GPON_SHELF, SLOT, PORT, 9);
        chassis.put_row<OnuQosRow>([](auto&) {}, GPON_SHELF, GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, 9);
        ov_app_gpon_qos_init();
        const auto* qos = onu_qos(9);
        ASSERT_NE(qos, nullptr);
        EXPECT_EQ(qos->qos_traffic_profile_id, 2u);
        EXPECT_EQ(qos->min_bw, 77u);
        EXPECT_EQ(qos->sflag, 0u);
        EXPECT_EQ(uses(QOS_PROFILE_TRAFFIC, 2), 1u);
        EXPECT_EQ(uses(QOS_PROFILE_COS_TO_COS, 2), 1u);
        EXPECT_NE(ov_app_find_onu_qos_by_ifindex(onu_ifindex(GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, 9)),
                  nullptr);
        EXPECT_FALSE(destroy(traffic(2)));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuQos, ItsAnswers) {
    run_onu([](AppChassis&) {
        auto* other = ov_app_onu_qos_new();
        EXPECT_EQ(ov_app_onu_qos_edit_ifindex(other, onu(1)), OV_QOS_OK);
        EXPECT_EQ(ov_app_onu_qos_add(other, SYNC_APP), OV_ONU_QOS_IN_USE);
        EXPECT_EQ(ov_app_onu_qos_set(other, SYNC_HAL), OV_ONU_QOS_NOT_IN_USE);
        EXPECT_EQ(ov_app_onu_qos_del(other, SYNC_APP), OV_ONU_QOS_NOT_IN_USE);
        ov_app_onu_qos_destroy(other);
        EXPECT_EQ(ov_app_onu_qos_edit_ifindex(onu_qos(1), onu(2)), OV_QOS_ERR);
        EXPECT_EQ(ov_app_onu_qos_set(nullptr, SYNC_HAL), OV_ONU_QOS_NOT_IN_USE);
        EXPECT_EQ(ov_app_onu_qos_add(nullptr, SYNC_APP), OV_QOS_ERR);
        EXPECT_EQ(ov_app_onu_qos_edit_weight(nullptr, 1), OV_QOS_ERR);
        EXPECT_EQ(ov_app_onu_qos_edit_sched_profile(onu_qos(1), 16), OV_QOS_SCHED_PROFILE_NOT_IN_USE);
        EXPECT_EQ(ov_app_onu_qos_edit_traffic_profile(onu_qos(1), 128), OV_QOS_TRAFFIC_PROFILE_NOT_IN_USE);
        EXPECT_EQ(ov_app_onu_qos_edit_cosq_map_profile(onu_qos(1), 8), OV_QOS_COSQ_MAP_PROFILE_NOT_IN_USE);
        EXPECT_EQ(ov_app_onu_qos_edit_cos_to_cos_profile(onu_qos(1), 7, QOS_DOWN_LINK),
                  OV_QOS_COS_TO_COS_PROFILE_NOT_IN_USE);
        EXPECT_EQ(onu_qos(1)->sflag, 0u);
    });
}

// ---- changes ----------------------------------------------------------------------------------------------

TEST(OnuQos, AChangeIsOneMessageWithAllThatTheOnuHas) {
    run_onu([](AppChassis& chassis) {
        add_profiles(1);
        chassis.forget_messages();
        ASSERT_TRUE(set_onu(
            [](auto& row) {
                row.onuQosSchedulerProfileId = 1;
                row.onuQosTrafficProfileId = 1;
                row.onuQosDownlinkCosToCosProfileId = 1;
                row.onuQosMaxBw = 2000000000;
                row.onuQosMinBw = 1000;
                row.onuQosWeight = 127;
                row.onuQosDownlinkCosQueueMapProfileId = 1;
            },
            1, 2, 3, 4, 5, 6, 8));
        auto messages = chassis.messages(1);
        ASSERT_THAT(types(messages), ElementsAre(921));
        EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_EQ(messages[0].mask, 0xfeu);
        EXPECT_TRUE(messages[0].wants_reply);
        const auto record = messages[0].record<Record>();
        EXPECT_EQ(record.onuIfindex, onu(1));
        EXPECT_EQ(record.trafficProfile, 1u);
        EXPECT_EQ(record.shedProfile, 1u);
        EXPECT_EQ(record.maxBw, 2000000000u);
        EXPECT_EQ(record.minBw, 1000u);
        EXPECT_EQ(record.weight, 127u);
        EXPECT_EQ(record.cos_to_cos_profile, 1u);
        EXPECT_EQ(record.cosq_map_profile, 1u);
        for (const auto kind :
             {QOS_PROFILE_COSQ_MAP, QOS_PROFILE_SCHED, QOS_PROFILE_TRAFFIC, QOS_PROFILE_COS_TO_COS})
            EXPECT_EQ(uses(kind, 1), 1u) << kind;

        ASSERT_TRUE(set_onu([](auto& row) { row.onuQosWeight = 5; }, column::onuQosWeight));
        messages = chassis.messages(2);
        EXPECT_EQ(messages[1].mask, 1u << 6);
        EXPECT_EQ(messages[1].record<Record>().maxBw, 2000000000u);
    });
}

TEST(OnuQos, ACommandWritesTheRow) {
    run_onu([](AppChassis& chassis) {
        add_profiles(1);
        chassis.forget_messages();
        auto* qos = onu_qos(1);
        ASSERT_EQ(ov_app_onu_qos_edit_bw(qos, 100, 200), OV_QOS_OK);
        ASSERT_EQ(ov_app_onu_qos_edit_traffic_profile(qos, 1), OV_QOS_OK);
        ASSERT_EQ(ov_app_onu_qos_set(qos, SYNC_EVERY_COPY), OV_QOS_OK);
        const auto messages = chassis.messages(1);
        ASSERT_THAT(types(messages), ElementsAre(921));
        EXPECT_EQ(messages[0].mask, 1u << 1 | 1u << 4 | 1u << 5);
        EXPECT_EQ(find_row(onu_key_at(1))->onuQosMinBw, 100u);
        EXPECT_EQ(find_row(onu_key_at(1))->onuQosMaxBw, 200u);
        EXPECT_EQ(find_row(onu_key_at(1))->onuQosTrafficProfileId, 1);
        EXPECT_EQ(qos->sflag, 0u);
        // a copy that can't be made
        auto key = onu_key_at(1);
        ASSERT_TRUE(mib_access(MIB_DEL_S_N, key));
        EXPECT_EQ(ov_app_onu_qos_set(qos, SYNC_MIB), OV_QOS_OK); // it is made anew
        EXPECT_NE(find_row(onu_key_at(1)), nullptr);
    });
}

TEST(OnuQos, ARowThatIsNoneIsRefused) {
    run_onu([](AppChassis& chassis) {
        for (const int id : {-1, 1, 16, 17})
            EXPECT_FALSE(set_onu([id](auto& row) { row.onuQosSchedulerProfileId = id; }, 1)) << id;
        for (const int id : {-1, 1, 128, 129})
            EXPECT_FALSE(set_onu([id](auto& row) { row.onuQosTrafficProfileId = id; }, 2)) << id;
        EXPECT_TRUE(logged(chassis, "qosSchedulerProfileId id 16 not exist."));
        EXPECT_TRUE(logged(chassis, "qostrafficprofile id 128 not exist"));
        for (const int id : {1, 8, 9, -1})
            EXPECT_FALSE(set_mapping(id)) << id;
        for (const int id : {1, 8})
            EXPECT_FALSE(set_onu([id](auto& row) { row.onuQosDownlinkCosToCosProfileId = id; }, 3)) << id;
        EXPECT_TRUE(logged(chassis, line("add", onu(1), "failed")));
        EXPECT_FALSE(create(fresh<OnuQosRow>(2, SLOT, PORT, 2)));
        EXPECT_FALSE(create(fresh<OnuQosRow>(GPON_SHELF, 0, PORT, 2)));
        EXPECT_FALSE(create(fresh<OnuQosRow>(GPON_SHELF, SLOT, 0, 2)));
        EXPECT_FALSE(create(fresh<OnuQosRow>(GPON_SHELF, SLOT, PORT, 0)));
        EXPECT_FALSE(create(fresh<OnuQosRow>(GPON_SHELF, SLOT, PORT, 129)));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(onu_qos(1)->sflag, 0u);
        for (const int id : {5, 6, 7, 0})
            EXPECT_TRUE(set_mapping(id)) << id;
    });
}

TEST(OnuQos, ARowOfAManagerComesAndGoes) {
    run_onu([](AppChassis& chassis) {
        add_profiles(1);
        chassis.forget_messages();
        ASSERT_TRUE(destroy(onu_key_at(1)));
        EXPECT_EQ(onu_qos(1), nullptr);
        EXPECT_THAT(chassis.messages(), IsEmpty()); // the card isn't told
        auto row = fresh<OnuQosRow>(GPON_SHELF, SLOT, PORT, 1);
        row.onuQosSchedulerProfileId = 1;
        row.onuQosWeight = 3;
        ASSERT_TRUE(create(row));
        ASSERT_NE(onu_qos(1), nullptr);
        const auto messages = chassis.messages(1);
        ASSERT_THAT(types(messages), ElementsAre(921));
        EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_EQ(messages[0].mask, 1u << 2 | 1u << 6);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 1u);
        ASSERT_TRUE(destroy(onu_key_at(1)));
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 0u);
        chassis.card_answers(921, REFUSED);
        EXPECT_FALSE(create(row));
        EXPECT_EQ(onu_qos(1), nullptr);
        EXPECT_EQ(find_stored_row(onu_key_at(1)), nullptr);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 0u);
        LogCapture::clear();
        chassis.put_row<OnuQosRow>([](auto&) {}, GPON_SHELF, SLOT, PORT, 2); // without an object
        EXPECT_FALSE(set(onu_key_at(2), column::onuQosWeight));
        EXPECT_TRUE(logged(chassis, line("", onu(2), "does not exist").substr(1)));
    });
}

TEST(OnuQos, AddingTakesTheValuesOfARowThatIsThere) {
    run([](AppChassis& chassis) {
        chassis.put_row<OnuQosRow>([](auto& row) { row.onuQosWeight = 42; }, GPON_SHELF, SLOT, PORT, 9);
        auto* qos = ov_app_onu_qos_new();
        ov_app_onu_qos_edit_ifindex(qos, onu(9));
        ASSERT_EQ(ov_app_onu_qos_add(qos, SYNC_EVERY_COPY), OV_QOS_OK);
        EXPECT_EQ(qos->weight, 42u);
        EXPECT_EQ(chassis.messages(1)[0].mask, 1u << 6);
    });
}

// ---- cards that refuse ------------------------------------------------------------------------------------

TEST(OnuQos, WhatTheCardRefusesIsAsBeforeButForTheMapping) {
    run_onu([](AppChassis& chassis) {
        add_profiles(1);
        add_profiles(2);
        ASSERT_TRUE(set_onu(
            [](auto& row) {
                row.onuQosSchedulerProfileId = 1;
                row.onuQosDownlinkCosQueueMapProfileId = 1;
            },
            1, 8));
        chassis.card_answers(921, REFUSED);
        EXPECT_FALSE(set_onu(
            [](auto& row) {
                row.onuQosSchedulerProfileId = 2;
                row.onuQosTrafficProfileId = 2;
                row.onuQosDownlinkCosToCosProfileId = 2;
                row.onuQosMaxBw = 9;
                row.onuQosMinBw = 8;
                row.onuQosWeight = 7;
                row.onuQosDownlinkCosQueueMapProfileId = 2;
            },
            1, 2, 3, 4, 5, 6, 8));
        EXPECT_TRUE(logged(chassis, "SYNC_HAL failed"));
        EXPECT_TRUE(logged(chassis, line("set", onu(1), "failed")));
        const auto* qos = onu_qos(1);
        EXPECT_EQ(qos->qos_sched_profile_id, 1u);
        EXPECT_EQ(qos->qos_traffic_profile_id, 0u);
        EXPECT_EQ(qos->cos_to_cos_profile_id[QOS_DOWN_LINK], 0u);
        EXPECT_EQ(qos->max_bw, 0u);
        EXPECT_EQ(qos->min_bw, 0u);
        EXPECT_EQ(qos->weight, 1u);
        EXPECT_EQ(qos->cosq_profile_id, 2u); // kept
        EXPECT_EQ(qos->sflag, 0u);
        EXPECT_EQ(find_row(onu_key_at(1))->onuQosDownlinkCosQueueMapProfileId, 1);
        EXPECT_EQ(find_row(onu_key_at(1))->onuQosWeight, 1);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 1u);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 2), 0u);
        EXPECT_EQ(uses(QOS_PROFILE_COSQ_MAP, 1), 1u); // what the card has
        EXPECT_EQ(uses(QOS_PROFILE_COSQ_MAP, 2), 0u);
    });
}

TEST(OnuQos, AMappingThatTheCardRefusedCanBeAskedForAgain) {
    run_onu([](AppChassis& chassis) {
        add_profiles(1);
        chassis.card_answers(921, REFUSED);
        EXPECT_FALSE(set_mapping(1));
        chassis.card_answers(921, 0);
        chassis.forget_messages();
        EXPECT_TRUE(set_mapping(1)); // which the object has by now, and the card hasn't
        EXPECT_EQ(chassis.messages(1)[0].mask, 1u << 3);
        EXPECT_EQ(uses(QOS_PROFILE_COSQ_MAP, 1), 1u);
        EXPECT_EQ(find_row(onu_key_at(1))->onuQosDownlinkCosQueueMapProfileId, 1);
    });
}

TEST(OnuQos, AMappingThatTheCardRefusedIsCountedOnce) {
    run_onu([](AppChassis& chassis) {
        add_profiles(1);
        add_profiles(2);
        ASSERT_TRUE(set_mapping(1));
        chassis.card_answers(921, REFUSED);
        ASSERT_EQ(ov_app_onu_qos_edit_cosq_map_profile(onu_qos(1), 2), OV_QOS_OK);
        ASSERT_EQ(ov_app_onu_qos_set(onu_qos(1), SYNC_EVERY_COPY), OV_QOS_HAL_FAIL);
        chassis.card_answers(921, 0);
        chassis.forget_messages();
        // a manager's next write goes by the row, which has the former mapping
        ASSERT_TRUE(set_onu([](auto& row) { row.onuQosWeight = 5; }, column::onuQosWeight));
        EXPECT_EQ(chassis.messages(1)[0].mask, 1u << 3 | 1u << 6);
        EXPECT_EQ(chassis.messages(1)[0].record<Record>().cosq_map_profile, 1u);
        EXPECT_EQ(uses(QOS_PROFILE_COSQ_MAP, 1), 1u);
        EXPECT_EQ(uses(QOS_PROFILE_COSQ_MAP, 2), 0u);
        ASSERT_TRUE(del_onu(1));
        EXPECT_EQ(uses(QOS_PROFILE_COSQ_MAP, 1), 0u);
    });
}

// ---- queues -----------------------------------------------------------------------------------------------

TEST(OnuQos, AMappingMustFitTheOnusQueues) {
    run_onu([](AppChassis&) {
        ASSERT_TRUE(add_onu(4, 4));
        ASSERT_TRUE(create(cosq(1, 4)));
        ASSERT_TRUE(create(cosq(2, 3)));
        const auto* wide = ov_app_find_cosq_map_profile_by_id(1);
        const auto* narrow = ov_app_find_cosq_map_profile_by_id(2);
        EXPECT_EQ(ov_check_legal_cosq_map_for_onu(wide, onu(1), 1), 0);
        EXPECT_EQ(ov_check_legal_cosq_map_for_onu(wide, onu(4), 1), 1);
        EXPECT_EQ(ov_check_legal_cosq_map_for_onu(narrow, onu(4), 1), 0);
        EXPECT_EQ(ov_check_legal_cosq_map_for_onu(wide, onu(4), 0), 0);
        EXPECT_EQ(ov_check_legal_cosq_map_for_onu(narrow, onu(4), 2), 1);
        EXPECT_EQ(ov_check_legal_cosq_map_for_onu(narrow, onu(9), 1), 1); // no such ONU
        EXPECT_EQ(ov_check_legal_cosq_map_for_onu(nullptr, onu(4), 1), 1);
        ov_onu_queue_num_s queues = {};
        EXPECT_EQ(ov_get_onu_queue_num_by_onu_type_name("q4", &queues), OV_QOS_OK);
        EXPECT_EQ(queues.up, 4u);
        EXPECT_EQ(queues.down, 4u);
        EXPECT_EQ(ov_get_onu_queue_num_by_onu_type_name("none", &queues), OV_QOS_ERR);
        EXPECT_EQ(queues.up, OV_QOS_INVALID_QUEUE_NUM);
        uint32_t mapping = 0;
        EXPECT_EQ(ov_app_onu_cosq_defId(onu(9), &mapping), OV_QOS_OK);
        EXPECT_EQ(mapping, 8u);
    });
}

TEST(OnuQos, AnOnusOwnDefaultIsAlwaysTaken) {
    run([](AppChassis& chassis) {
        ASSERT_TRUE(add_onu(1, 3)); // mapping 8, which is no profile
        add_profiles(1);
        ASSERT_TRUE(set_mapping(1));
        ASSERT_TRUE(set_mapping(8));
        EXPECT_EQ(onu_qos(1)->cosq_profile_id, 8u);
        EXPECT_EQ(chassis.messages_of(921).size(), 2u);
    });
}

// ---- replay and partner -----------------------------------------------------------------------------------

TEST(OnuQos, ACardThatComesUpIsToldWhatIsBesideTheDefaults) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        for (const int id : {1, 2})
            ASSERT_TRUE(add_onu(id, 4));
        ASSERT_TRUE(add_onu(3, 4, OTHER_PORT));
        auto* qos = onu_qos(2);
        ASSERT_EQ(ov_app_onu_qos_edit_cosq_map_profile(qos, 1), OV_QOS_OK);
        ASSERT_EQ(ov_app_onu_qos_edit_bw(qos, 5, 6), OV_QOS_OK);
        ASSERT_EQ(ov_app_onu_qos_set(qos, SYNC_EVERY_COPY), OV_QOS_OK);
        ASSERT_EQ(ov_app_onu_qos_edit_sched_profile(onu_qos(3, OTHER_PORT), 1), OV_QOS_OK);
        ASSERT_EQ(ov_app_onu_qos_set(onu_qos(3, OTHER_PORT), SYNC_EVERY_COPY), OV_QOS_OK);
        auto profile = fresh<ov_sOnuSrvProfileTable_attr_t>(12);
        set_text(profile.sOnuTypeProfileName, "q8");
        ASSERT_TRUE(create(profile));
        auto row = template_key<OnuQosRow>(12);
        row.onuQosWeight = 7;
        ASSERT_TRUE(set(row, column::onuQosWeight));
        chassis.forget_messages();
        EXPECT_EQ(ov_app_onu_qos_config_restore(SLOT), OV_QOS_OK);
        const auto messages = chassis.messages(3);
        ASSERT_THAT(types(messages), ElementsAre(921, 921, 921));
        EXPECT_EQ(messages[0].mask, 1u << 6);
        EXPECT_EQ(messages[1].mask, 1u << 3 | 1u << 4 | 1u << 5);
        EXPECT_EQ(messages[1].record<Record>().onuIfindex, onu(2));
        EXPECT_EQ(messages[2].mask, 1u << 2);
        for (const CardMessage& message : messages) {
            EXPECT_FALSE(message.wants_reply);
            EXPECT_EQ(message.action, OV_HAL_GPON_MSG_ACTION_SET);
        }
    });
}

TEST(OnuQos, ThePartnerOfAWorkingPortFollows) {
    run_onu([](AppChassis& chassis) {
        ASSERT_TRUE(add_onu(1, 8, OTHER_PORT));
        chassis.forget_messages();
        OnuQosRow row = onu_key_at(1);
        row.onuQosWeight = 9;
        ov_app_pon_protect_group_sync_onuQostable(&row, columns_of(column::onuQosWeight),
                                                  OV_HAL_GPON_MSG_ACTION_SET, pon(OTHER_PORT));
        const auto messages = chassis.messages(1);
        ASSERT_THAT(types(messages), ElementsAre(921));
        EXPECT_EQ(messages[0].record<Record>().onuIfindex, onu(1, OTHER_PORT));
        EXPECT_EQ(find_row(onu_key_at(1, OTHER_PORT))->onuQosWeight, 9);
        row = onu_key_at(1);
        ov_app_pon_protect_group_sync_onuQostable(&row, mibDefFlags, OV_HAL_GPON_MSG_ACTION_DELETE,
                                                  pon(OTHER_PORT));
        EXPECT_EQ(onu_qos(1, OTHER_PORT), nullptr);
        row = onu_key_at(1);
        ov_app_pon_protect_group_sync_onuQostable(&row, mibDefFlags, OV_HAL_GPON_MSG_ACTION_CREATE,
                                                  pon(OTHER_PORT));
        EXPECT_EQ(onu_qos(1, OTHER_PORT), nullptr);
        EXPECT_NE(onu_qos(1), nullptr);
    });
}

} // namespace
