// QoS of ports: how it comes into being, what a change tells the card, what is taken back, and what a change
// of the scheduler's model brings along.
#include "qos_chassis.h"

#include "ov_app_gpon_port_event.h"
#include "ov_app_gpon_qos_pair.h"

using namespace qos_test;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Ge;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

namespace pon_column = ponPortQosTable_column;
namespace uplink_column = portQosTable_column;

umsg_if_t event_of(ov_ifindex_t ifindex) {
    umsg_if_t event = {};
    event.ifindex = ifindex;
    ov_gen_ifname_by_ifindex(ifindex, event.name, sizeof event.name);
    return event;
}
ov_ifindex_t xe(int port) {
    return port_ifindex(PORT_TYPE_XE, SLOT, port);
}
// Columns of PON port 4.
template <typename... Column>
bool set_pon(const std::function<void(PonQosRow&)>& fill, Column... columns) {
    PonQosRow row = pon_key();
    fill(row);
    return set(row, columns...);
}
bool set_model(int model) {
    return set_pon([model](auto& row) { row.ponPortQosSchedulerModel = model; },
                   pon_column::ponPortQosSchedulerModel);
}
bool set_sched(int id) {
    return set_pon([id](auto& row) { row.ponPortQosSchedulerProfileId = id; },
                   pon_column::ponPortQosSchedulerProfileId);
}

// ---- life -------------------------------------------------------------------------------------------------

TEST(PortQosObject, APortThatAppearsHasOneAndNothingFails) {
    app_chassis::run([](AppChassis& chassis) {
        for (const uint16_t kind : {PORT_TYPE_GPON, PORT_TYPE_XE, PORT_TYPE_GE}) {
            const ov_ifindex_t ifindex = port_ifindex(kind, SLOT, kind);
            for (int times = 0; times < 2; ++times) {
                LogCapture::clear();
                ov_app_gpon_port_appeared(event_of(ifindex));
                for (const std::string& line : chassis.hal.log.lines())
                    EXPECT_THAT(line, testing::Not(HasSubstr("qos")));
            }
            const auto* qos = ov_app_find_port_qos_by_ifindex(ifindex);
            ASSERT_NE(qos, nullptr) << kind;
            EXPECT_EQ(qos->qos_model, OV_QOS_SCHED_SIMPLE);
            int model = 0;
            EXPECT_EQ(ov_app_qos_port_model_get_by_ifindex(ifindex, &model), OV_QOS_OK);
            EXPECT_EQ(model, OV_QOS_SCHED_SIMPLE);
        }
        EXPECT_NE(find_row(port_key<PonQosRow>(SLOT, PORT_TYPE_GPON)), nullptr);
        EXPECT_NE(find_row(port_key<UplinkQosRow>(SLOT, PORT_TYPE_XE)), nullptr);
        EXPECT_NE(find_row(port_key<UplinkQosRow>(SLOT, PORT_TYPE_GE)), nullptr);
        // a card starts with the defaults
        EXPECT_THAT(types(chassis), Each(Ge(OV_HAL_MSG_GPON_BASE)));
    });
}

TEST(PortQosObject, APonPortWhoseRowWasLoadedHasItFromTheStart) {
    run([](AppChassis& chassis) {
        add_profiles(3);
        chassis.forget_messages();
        chassis.put_row<PonQosRow>(
            [](auto& row) {
                row.ponPortQosSchedulerModel = 2;
                row.ponPortQosSchedulerProfileId = 3;
                row.ponPortQosTrafficProfileId = 9; // lost
            },
            GPON_SHELF, SLOT, 9);
        ov_app_gpon_qos_init();
        const auto* qos = pon_qos(9);
        ASSERT_NE(qos, nullptr);
        EXPECT_EQ(qos->qos_model, OV_QOS_SCHED_HIERARCHY);
        EXPECT_EQ(qos->qos_sched_profile_id, 3u);
        EXPECT_EQ(qos->qos_traffic_profile_id, 0u);
        EXPECT_EQ(qos->sflag, 0u);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 3), 1u);
        EXPECT_FALSE(destroy(sched(3)));
        ov_app_gpon_port_appeared(event_of(pon(9)));
        EXPECT_EQ(pon_qos(9), qos);
        EXPECT_THAT(types(chassis), Each(Ge(OV_HAL_MSG_GPON_BASE)));
    });
}

TEST(PortQosObject, AnUplinkPortTakesItsRowWhenItAppears) {
    run([](AppChassis& chassis) {
        add_profiles(3);
        chassis.forget_messages();
        chassis.put_row<UplinkQosRow>(
            [](auto& row) {
                row.portQosSchedulerModel = 2;
                row.portQosCosQueueMappingProfileId = 3;
                row.portQosDownlinkCosToCosProfileId = 3;
            },
            GPON_SHELF, SLOT, 2);
        ov_app_gpon_qos_init();
        EXPECT_EQ(ov_app_find_port_qos_by_ifindex(xe(2)), nullptr); // XE or GE, who knows
        ov_app_gpon_port_appeared(event_of(xe(2)));
        const auto* qos = ov_app_find_port_qos_by_ifindex(xe(2));
        ASSERT_NE(qos, nullptr);
        EXPECT_EQ(qos->cosq_map_profile_id, 3u);
        EXPECT_EQ(qos->cos_to_cos_profile_id[QOS_DOWN_LINK], 3u);
        EXPECT_THAT(types(chassis, 3), ElementsAre(717, 714, 720));
        EXPECT_EQ(uses(QOS_PROFILE_COSQ_MAP, 3), 1u);
        EXPECT_EQ(uses(QOS_PROFILE_COS_TO_COS, 3), 1u);
        EXPECT_EQ(find_row(port_key<UplinkQosRow>(SLOT, 2))->portQosSchedulerModel, 2);
    });
}

TEST(PortQosObject, ItsAnswers) {
    run([](AppChassis&) {
        auto* other = ov_app_port_qos_new();
        EXPECT_EQ(ov_app_port_qos_edit_ifindex(other, pon()), OV_QOS_OK);
        EXPECT_EQ(ov_app_port_qos_add(other, SYNC_APP), OV_PORT_QOS_IN_USE);
        EXPECT_EQ(ov_app_port_qos_set(other, SYNC_HAL), OV_PORT_QOS_NO_IN_USE);
        EXPECT_EQ(ov_app_port_qos_del(other, SYNC_APP), OV_PORT_QOS_NO_IN_USE);
        ov_app_port_qos_destroy(other);
        EXPECT_EQ(ov_app_port_qos_edit_ifindex(pon_qos(), pon(9)), OV_QOS_ERR);
        EXPECT_EQ(ov_app_port_qos_add(nullptr, SYNC_APP), OV_QOS_ERR);
        EXPECT_EQ(ov_app_port_qos_del(nullptr, SYNC_APP), OV_PORT_QOS_NO_IN_USE);
        EXPECT_EQ(ov_app_port_qos_edit_qos_sched_profile(nullptr, 0), OV_QOS_ERR);
        EXPECT_EQ(ov_app_port_qos_edit_qos_sched_profile(pon_qos(), 1), OV_QOS_SCHED_PROFILE_NOT_IN_USE);
        EXPECT_EQ(ov_app_port_qos_edit_qos_traffic_profile(pon_qos(), 1), OV_QOS_TRAFFIC_PROFILE_NOT_IN_USE);
        EXPECT_EQ(ov_app_port_qos_edit_cosq_map_profile(pon_qos(), 8), OV_QOS_COSQ_MAP_PROFILE_NOT_IN_USE);
        EXPECT_EQ(ov_app_port_qos_edit_cos_to_cos_profile(pon_qos(), 8, QOS_UP_LINK),
                  OV_QOS_COS_TO_COS_PROFILE_NOT_IN_USE);
        EXPECT_EQ(ov_app_port_qos_edit_cos_to_cos_profile(pon_qos(), 0, QOS_LINKS), OV_QOS_ERR);
        for (const int model : {0, 3, -1})
            EXPECT_EQ(ov_app_port_qos_edit_sched_mode(pon_qos(), model), OV_QOS_ERR);
        EXPECT_EQ(pon_qos()->sflag, 0u);
        int model = 0;
        EXPECT_NE(ov_app_qos_port_model_get_by_ifindex(pon(9), &model), OV_QOS_OK);
    });
}

TEST(PortQosObject, TheProductSaysWhatPonPortsCanDo) {
    run([](AppChassis& chassis) {
        chassis.hal.log.clear();
        private_root::write_file("/tmp/product.ini",
                                 "[CPMU]\nqos_pon_simple_mode_enable=0\nqos_pon_def_mode_value=2\n");
        setenv("OV_ENV_PDT_INI_FILE", "/tmp/product.ini", 1);
        ov_app_gpon_qos_init();
        EXPECT_EQ(g_qos_pon_simple_mode_enable, 0);
        EXPECT_EQ(g_qos_pon_def_mode_value, 2);
        add_port(pon(9));
        add_port(xe(9));
        EXPECT_EQ(pon_qos(9)->qos_model, OV_QOS_SCHED_HIERARCHY);
        EXPECT_EQ(find_row(pon_key(9))->ponPortQosSchedulerModel, 2);
        EXPECT_EQ(ov_app_find_port_qos_by_ifindex(xe(9))->qos_model, OV_QOS_SCHED_SIMPLE);
        EXPECT_EQ(ov_app_port_qos_edit_sched_mode(pon_qos(9), OV_QOS_SCHED_SIMPLE), OV_QOS_NOT_SUPPORT);
        EXPECT_EQ(
            ov_app_port_qos_edit_sched_mode(ov_app_find_port_qos_by_ifindex(xe(9)), OV_QOS_SCHED_SIMPLE),
            OV_QOS_OK);
    });
}

TEST(PortQosObject, ADeletedOneFreesItsProfiles) {
    run([](AppChassis&) {
        add_profiles(1);
        ASSERT_TRUE(set_sched(1));
        ASSERT_EQ(uses(QOS_PROFILE_SCHED, 1), 1u);
        ASSERT_EQ(ov_app_port_qos_del(pon_qos(), SYNC_EVERY_COPY), OV_QOS_OK);
        EXPECT_EQ(pon_qos(), nullptr);
        EXPECT_EQ(find_stored_row(pon_key()), nullptr);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 0u);
        EXPECT_TRUE(destroy(sched(1)));
    });
}

// ---- changes ----------------------------------------------------------------------------------------------

TEST(PortQosObject, ABindingIsOneMessage) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        chassis.forget_messages();
        ASSERT_TRUE(set_sched(1));
        const auto messages = chassis.messages(1);
        ASSERT_THAT(types(messages), ElementsAre(715));
        EXPECT_TRUE(messages[0].wants_reply);
        const auto record = plain<ov_hal_msg_port_qos_t>(messages[0]);
        EXPECT_EQ(record.ifindex, pon());
        EXPECT_EQ(record.qos_model, 1u);
        EXPECT_EQ(record.qos_sched, 1u);
        EXPECT_EQ(record.qos_traffic, 0u);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 1u);
        EXPECT_EQ(find_row(pon_key())->ponPortQosSchedulerProfileId, 1);
        ASSERT_TRUE(set_sched(0));
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 0u);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 0), 1u); // also that is a change
    });
}

TEST(PortQosObject, EachAttributeHasItsMessageInItsOrder) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        chassis.forget_messages();
        ASSERT_TRUE(set_pon(
            [](auto& row) {
                row.ponPortQosSchedulerProfileId = 1;
                row.ponPortQosTrafficProfileId = 1;
                row.ponPortQosCosQueueMappingProfileId = 1;
                row.ponPortQosUplinkCosToCosProfileId = 1;
                row.ponPortQosDownlinkCosToCosProfileId = 1;
            },
            2, 3, 4, 5, 6));
        const auto messages = chassis.messages(4);
        ASSERT_THAT(types(messages), ElementsAre(714, 715, 716, 720));
        const auto record = plain<ov_hal_msg_port_qos_t>(messages[3]);
        EXPECT_EQ(record.cosq_map, 1u);
        EXPECT_EQ(record.qos_traffic, 1u);
        EXPECT_THAT(record.cos_to_cos_profile, ElementsAre(1, 1));
        EXPECT_EQ(uses(QOS_PROFILE_COS_TO_COS, 1), 2u); // both directions
        ASSERT_TRUE(set_pon([](auto& row) { row.ponPortQosUplinkCosToCosProfileId = 0; },
                            pon_column::ponPortQosUplinkCosToCosProfileId));
        EXPECT_EQ(uses(QOS_PROFILE_COS_TO_COS, 1), 1u);
        EXPECT_EQ(uses(QOS_PROFILE_COS_TO_COS, 0), 0u);
    });
}

TEST(PortQosObject, AnUplinkPortIsFoundByItsPlace) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        ov_app_gpon_port_appeared(event_of(xe(2)));
        chassis.forget_messages();
        auto row = port_key<UplinkQosRow>(SLOT, 2);
        row.portQosTrafficProfileId = 1;
        ASSERT_TRUE(set(row, uplink_column::portQosTrafficProfileId));
        const auto messages = chassis.messages(1);
        ASSERT_THAT(types(messages), ElementsAre(716));
        EXPECT_EQ(plain<ov_hal_msg_port_qos_t>(messages[0]).ifindex, xe(2));
        EXPECT_EQ(uses(QOS_PROFILE_TRAFFIC, 1), 1u);
    });
}

TEST(PortQosObject, ARowThatIsNoneIsRefused) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        chassis.forget_messages();
        for (const int model : {0, 3})
            EXPECT_FALSE(set_model(model)) << model;
        for (const int id : {-1, 2, 17}) {
            EXPECT_FALSE(set_sched(id)) << id;
            EXPECT_FALSE(set_pon([id](auto& row) { row.ponPortQosTrafficProfileId = id; }, 3)) << id;
            EXPECT_FALSE(set_pon([id](auto& row) { row.ponPortQosCosQueueMappingProfileId = id; }, 4)) << id;
            EXPECT_FALSE(set_pon([id](auto& row) { row.ponPortQosUplinkCosToCosProfileId = id; }, 5)) << id;
        }
        for (const int id : {8, 9})
            EXPECT_FALSE(set_pon([id](auto& row) { row.ponPortQosCosQueueMappingProfileId = id; }, 4)) << id;
        EXPECT_FALSE(set_pon([](auto& row) { row.ponPortQosTrafficProfileId = 129; }, 3));
        EXPECT_TRUE(logged(chassis, "qosSchedulerProfileId id 2 not exist."));
        EXPECT_TRUE(logged(chassis, "qostrafficprofile id 2 not exist"));
        EXPECT_TRUE(logged(chassis, "cosQueueMappingProfileId id 8 not exist"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains(HasSubstr("mib to app failed")));
        EXPECT_FALSE(create(fresh<PonQosRow>(2, SLOT, 9)));
        EXPECT_FALSE(create(fresh<PonQosRow>(GPON_SHELF, 0, 9)));
        EXPECT_FALSE(create(fresh<PonQosRow>(GPON_SHELF, SLOT, 0)));
        EXPECT_FALSE(create(fresh<PonQosRow>(GPON_SHELF, SLOT, 9)));      // hasn't appeared
        EXPECT_FALSE(create(fresh<PonQosRow>(GPON_SHELF, SLOT, 16 + 4))); // no port 4
        EXPECT_FALSE(create(fresh<UplinkQosRow>(GPON_SHELF, SLOT, 9)));
        EXPECT_THAT(chassis.hal.log.lines(), Contains(HasSubstr("not found")));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(pon_qos()->sflag, 0u);
        EXPECT_EQ(find_row(pon_key())->ponPortQosSchedulerProfileId, 0);
        for (const int id : {5, 6, 7, 0}) // the defaults
            EXPECT_TRUE(set_pon([id](auto& row) { row.ponPortQosCosQueueMappingProfileId = id; }, 4)) << id;
    });
}

// ---- cards that refuse ------------------------------------------------------------------------------------

TEST(PortQosObject, WhatTheCardRefusesIsAsBefore) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        add_profiles(2);
        ASSERT_TRUE(set_sched(1));
        chassis.card_answers(715, REFUSED);
        EXPECT_FALSE(set_sched(2));
        EXPECT_TRUE(logged(chassis, "OV_HAL_MSG_PORT_QOS_SCHED_SET failed"));
        EXPECT_EQ(pon_qos()->qos_sched_profile_id, 1u);
        EXPECT_EQ(pon_qos()->sflag, 0u);
        EXPECT_EQ(find_row(pon_key())->ponPortQosSchedulerProfileId, 1);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 1u);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 2), 0u);
        // the same by a command
        ASSERT_EQ(ov_app_port_qos_edit_qos_sched_profile(pon_qos(), 2), OV_QOS_OK);
        EXPECT_EQ(ov_app_port_qos_set(pon_qos(), SYNC_EVERY_COPY), OV_QOS_HAL_FAIL);
        EXPECT_EQ(pon_qos()->qos_sched_profile_id, 1u);
        EXPECT_EQ(find_row(pon_key())->ponPortQosSchedulerProfileId, 1);
        EXPECT_TRUE(destroy(sched(2)));
    });
}

TEST(PortQosObject, ACardThatRefusesTheThirdMessageHasTheFirstTwo) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        chassis.forget_messages();
        chassis.card_answers(716, REFUSED);
        auto* port = pon_qos();
        ASSERT_EQ(ov_app_port_qos_edit_cosq_map_profile(port, 1), OV_QOS_OK);
        ASSERT_EQ(ov_app_port_qos_edit_qos_sched_profile(port, 1), OV_QOS_OK);
        ASSERT_EQ(ov_app_port_qos_edit_qos_traffic_profile(port, 1), OV_QOS_OK);
        ASSERT_EQ(ov_app_port_qos_edit_cos_to_cos_profile(port, 1, QOS_UP_LINK), OV_QOS_OK);
        EXPECT_EQ(ov_app_port_qos_set(port, SYNC_EVERY_COPY), OV_QOS_HAL_FAIL);
        EXPECT_THAT(types(chassis, 3), ElementsAre(714, 715, 716));
        EXPECT_EQ(port->cosq_map_profile_id, 1u);
        EXPECT_EQ(port->qos_sched_profile_id, 1u);
        EXPECT_EQ(port->qos_traffic_profile_id, 0u);
        EXPECT_EQ(port->cos_to_cos_profile_id[QOS_UP_LINK], 0u);
        EXPECT_EQ(port->sflag, 0u);
        EXPECT_EQ(uses(QOS_PROFILE_COSQ_MAP, 1), 1u);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 1u);
        EXPECT_EQ(uses(QOS_PROFILE_TRAFFIC, 1), 0u);
        EXPECT_EQ(uses(QOS_PROFILE_COS_TO_COS, 1), 0u);
        // the row still has what was there, and the next write of it brings the card back to that
        EXPECT_EQ(find_row(pon_key())->ponPortQosSchedulerProfileId, 0);
        chassis.card_answers(716, 0);
        ASSERT_TRUE(set_model(1));
        EXPECT_THAT(types(chassis, 5), ElementsAre(714, 715, 716, 714, 715));
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 0u);
    });
}

TEST(PortQosObject, ABitThatIsNoAttributeIsNoted) {
    run([](AppChassis& chassis) {
        pon_qos()->sflag = 1u << 5;
        EXPECT_EQ(ov_app_port_qos_set(pon_qos(), SYNC_HAL), OV_QOS_OK);
        EXPECT_TRUE(logged(chassis, "You should never be here"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- the model --------------------------------------------------------------------------------------------

TEST(PortQosObject, APortThatTurnsToHierarchyHasNoProfilesAnyMore) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        ASSERT_TRUE(set_pon(
            [](auto& row) {
                row.ponPortQosSchedulerProfileId = 1;
                row.ponPortQosTrafficProfileId = 1;
                row.ponPortQosCosQueueMappingProfileId = 1;
                row.ponPortQosDownlinkCosToCosProfileId = 1;
            },
            2, 3, 4, 6));
        chassis.forget_messages();
        ASSERT_TRUE(set_model(2));
        const auto messages = chassis.messages(1);
        ASSERT_THAT(types(messages), ElementsAre(717));
        EXPECT_EQ(plain<ov_hal_msg_port_qos_t>(messages[0]).qos_model, 2u);
        const auto* row = find_row(pon_key());
        EXPECT_EQ(row->ponPortQosSchedulerModel, 2);
        EXPECT_EQ(row->ponPortQosSchedulerProfileId, 0);
        EXPECT_EQ(row->ponPortQosTrafficProfileId, 0);
        EXPECT_EQ(row->ponPortQosCosQueueMappingProfileId, 0);
        EXPECT_EQ(row->ponPortQosDownlinkCosToCosProfileId, 0);
        EXPECT_EQ(pon_qos()->qos_sched_profile_id, 0u);
        for (const auto kind :
             {QOS_PROFILE_COSQ_MAP, QOS_PROFILE_SCHED, QOS_PROFILE_TRAFFIC, QOS_PROFILE_COS_TO_COS})
            EXPECT_EQ(uses(kind, 1), 0u) << kind;
        EXPECT_TRUE(destroy(sched(1)));
        // and may get new ones
        ASSERT_TRUE(create(sched(2)));
        EXPECT_TRUE(set_sched(2));
        EXPECT_EQ(find_row(pon_key())->ponPortQosSchedulerProfileId, 2);
    });
}

TEST(PortQosObject, APortThatTurnsToSimpleTellsItsOnusAgain) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        ASSERT_TRUE(set_model(2));
        for (const int id : {1, 2, 128})
            ASSERT_TRUE(add_onu(id));
        ASSERT_TRUE(add_onu(1, 8, OTHER_PORT));
        for (auto* qos : {onu_qos(2), onu_qos(128), onu_qos(1, OTHER_PORT)}) {
            ASSERT_EQ(ov_app_onu_qos_edit_weight(qos, 9), OV_QOS_OK);
            ASSERT_EQ(ov_app_onu_qos_set(qos, SYNC_EVERY_COPY), OV_QOS_OK);
        }
        auto* service_port = ov_app_service_port_qos_new();
        const auto key = onu_key<ov_servicePortTable_attr_t>(SLOT, PORT, 2);
        ov_app_service_port_qos_edit_index(service_port, service_port_ifindex(key, 128));
        ASSERT_EQ(ov_app_service_port_qos_add(service_port, SYNC_APP), OV_QOS_OK);
        ASSERT_EQ(ov_app_service_port_qos_edit_cos_to_cos(service_port, 1, QOS_UP_LINK), OV_QOS_OK);
        ASSERT_EQ(ov_app_service_port_qos_set(service_port, SYNC_HAL), OV_QOS_OK);
        chassis.forget_messages();
        ASSERT_TRUE(set_model(1));
        const auto messages = chassis.messages(4);
        ASSERT_THAT(types(messages), ElementsAre(717, 921, 910, 921));
        EXPECT_EQ(messages[1].record<ov_gpon_onu_qos_attr_t>().onuIfindex, onu(2));
        EXPECT_EQ(messages[1].mask, 1u << 6);
        EXPECT_FALSE(messages[1].wants_reply);
        EXPECT_EQ(messages[3].record<ov_gpon_onu_qos_attr_t>().onuIfindex, onu(128));
    });
}

TEST(PortQosObject, AModelThatTheCardRefusesChangesNothing) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        ASSERT_TRUE(set_sched(1));
        chassis.card_answers(717, REFUSED);
        EXPECT_FALSE(set_model(2));
        EXPECT_TRUE(logged(chassis, "OV_HAL_MSG_PORT_QOS_MODEL_SET failed"));
        EXPECT_EQ(pon_qos()->qos_model, OV_QOS_SCHED_SIMPLE);
        EXPECT_EQ(pon_qos()->qos_sched_profile_id, 1u);
        EXPECT_EQ(find_row(pon_key())->ponPortQosSchedulerModel, 1);
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 1u);
    });
}

// ---- replay and partner -----------------------------------------------------------------------------------

TEST(PortQosObject, ACardThatComesUpIsToldWhatIsBesideTheDefaults) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        ASSERT_TRUE(set_model(2));
        ASSERT_TRUE(set_sched(1));
        ASSERT_TRUE(set_pon([](auto& row) { row.ponPortQosDownlinkCosToCosProfileId = 1; }, 6));
        chassis.forget_messages();
        EXPECT_EQ(ov_app_port_qos_config_restore(SLOT), OV_QOS_OK);
        const auto messages = chassis.messages(3);
        ASSERT_THAT(types(messages), ElementsAre(717, 715, 720));
        for (const CardMessage& message : messages) {
            EXPECT_FALSE(message.wants_reply);
            EXPECT_EQ(plain<ov_hal_msg_port_qos_t>(message).ifindex, pon());
        }
        EXPECT_EQ(uses(QOS_PROFILE_SCHED, 1), 1u);
        ov_app_port_qos_config_restore(SLOT + 1);
        EXPECT_EQ(chassis.messages().size(), 3u);
    });
}

TEST(PortQosObject, ThePartnerOfAWorkingPortFollows) {
    run([](AppChassis& chassis) {
        add_profiles(1);
        chassis.forget_messages();
        PonQosRow row = pon_key();
        row.ponPortQosSchedulerModel = 2;
        row.ponPortQosSchedulerProfileId = 1;
        row.ponPortQosTrafficProfileId = 1;
        row.ponPortQosCosQueueMappingProfileId = 1;
        const auto columns = columns_of(1, 2, 4);
        ov_app_pon_protect_group_sync_PortQostable(&row, columns, OV_HAL_GPON_MSG_ACTION_CREATE,
                                                   pon(OTHER_PORT));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        ov_app_pon_protect_group_sync_PortQostable(&row, columns_of(2, 3, 4), OV_HAL_GPON_MSG_ACTION_SET,
                                                   pon(OTHER_PORT));
        EXPECT_THAT(types(chassis, 2), ElementsAre(715, 716));
        EXPECT_EQ(find_row(pon_key(OTHER_PORT))->ponPortQosSchedulerProfileId, 1);
        EXPECT_EQ(find_row(pon_key(OTHER_PORT))->ponPortQosTrafficProfileId, 1);
        EXPECT_EQ(find_row(pon_key(OTHER_PORT))->ponPortQosCosQueueMappingProfileId, 0);
        LogCapture::clear();
        ov_app_pon_protect_group_sync_PortQostable(&row, columns, OV_HAL_GPON_MSG_ACTION_SET, pon(9));
        EXPECT_THAT(chassis.hal.log.lines(),
                    Contains(HasSubstr("ov_app_pon_protect_group_sync_PortQostable[")));
    });
}

} // namespace
