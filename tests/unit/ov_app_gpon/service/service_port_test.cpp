// Service ports: what a row must meet, what it takes of its card, what the card hears, and its QoS object.
#include "../../support/test_clock.h"
#include "../support/provisioning_chassis.h"

#include "avltree.h"
#include "cosQueueMappingProfileTable.h"

using namespace provisioning;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int BAD_PARAM = OV_GPON_RET_BAD_PARAM;
namespace column = servicePortTable_column;

// With GEM port 9 on the ONU and in the service profile.
void run_with_gem(const std::function<void(AppChassis&)>& body) {
    provisioning::run([&](AppChassis& chassis) {
        chassis.put_row<Gem>([](Gem&) {}, 1, SLOT, PORT, ONU, 9);
        chassis.put_row<Gem>([](Gem&) {}, 1, 31, 15, PROFILE, 9);
        body(chassis);
    });
}

ov_ifindex_t qos_index(const ServicePort& row) {
    return service_port_ifindex(row);
}
bool has_qos(const ServicePort& row) {
    return ov_app_find_service_port_qos_by_ifindex(qos_index(row)) != nullptr;
}
std::string qos_text(const char* before, const ServicePort& row, const char* after) {
    char text[160];
    snprintf(text, sizeof text, "%s service port qos %#x %s %s", before, qos_index(row),
             ov_get_ifname_by_ifindex(qos_index(row)), after);
    return text[0] == ' ' ? text + 1 : text;
}

TEST(ServicePort, ACreatedRowReservesReachesTheCardAndGetsItsQos) {
    run_with_gem([](AppChassis& chassis) {
        ServicePort row = service_port(3, 9);
        row.servicePortVlan = 100;
        row.servicePortSvlan = 200;
        row.servicePortUserVlan = 300;
        row.servicePortInnerVlan = 400;
        row.servicePortVlanAction = 4;
        row.servicePortVlanPrio = 5;
        row.servicePortSvlanPrio = 6;
        row.servicePortVlanPrioAction = 2;
        row.servicePortSvlanPrioAction = 3;
        row.servicePortQueue = 7;
        row.servicePortMacLimit = 4095;
        ASSERT_EQ(add(row, columns_of(2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 18u, 19u)), 0);

        const auto messages = chassis.messages(1);
        ASSERT_EQ(messages.size(), 1u); // one round trip, QoS and all
        EXPECT_EQ(messages[0].type, 910);
        EXPECT_EQ(messages[0].action, CREATE);
        EXPECT_EQ(messages[0].mask, 1u << 11 | 1u << 13 | 1u << 14);
        wire::Bytes expected(52);
        wire::put32(expected, 0,
                    ov_ifindex_gen_by_extendinfo(PORT_TYPE_GPON_SERVPORT, 1, SLOT, 0, PORT, ONU, 3, 0, 0));
        wire::put32(expected, 4,
                    ov_ifindex_gen_by_extendinfo(PORT_TYPE_GEMPORT, 1, SLOT, 0, PORT, ONU, 9, 0, 0));
        size_t at = 8;
        for (const int value : {100, 200, 300, 5, 6}) {
            wire::put16(expected, at, uint16_t(value));
            at += 2;
        }
        wire::put32(expected, 20, ovVlanActionAddInner);
        wire::put32(expected, 24, ovVlanPrioActionNew);
        wire::put32(expected, 28, ovVlanPrioActionReserve);
        wire::put32(expected, 32, 0xFFFFFFFF);
        wire::put32(expected, 36, 7);
        expected[44] = 1;
        wire::put32(expected, 48, 4095);
        EXPECT_EQ(record_bytes<ov_gpon_service_port_attr_t>(messages[0]), expected);

        EXPECT_EQ(find_row(row)->servicePortInnerVlan, 400);
        EXPECT_EQ(held().srvPortCnt, 1);
        const auto* qos = ov_app_find_service_port_qos_by_ifindex(qos_index(row));
        ASSERT_NE(qos, nullptr);
        EXPECT_EQ(qos->cos_to_cos_profile_id[QOS_UP_LINK], 0u);
        EXPECT_EQ(qos->cos_to_cos_profile_id[QOS_DOWN_LINK], OV_QOS_COS_TO_COS_PROFILE_INVALID);
    });
}

TEST(ServicePort, TheMaskHasBitsForFourColumnsOnly) {
    for (const int mode : {1, 2})
        for (unsigned number = 0; number < 32; ++number) {
            ServicePort row = service_port(3, 9);
            row.servicePortQueueSelectMode = mode;
            row.servicePortCosQueueMappingProfileId = 6;
            row.servicePortQueue = 5;
            ov_gpon_service_port_attr_t record = {};
            ov_bmp_t mask = -1;
            ov_service_port_table_mib_convert2_hal(&row, &record, columns_of(number), &mask);
            uint32_t expected = 0;
            if (number == 18)
                expected = 1u << 13;
            else if (number == 19)
                expected = 1u << 14;
            else if (number == 12 && mode == 1)
                expected = 1u << 11;
            else if (number == 13 && mode == 2)
                expected = 1u << 10;
            EXPECT_EQ(static_cast<uint32_t>(mask), expected) << number << " in mode " << mode;
            EXPECT_EQ(record.cosq_map, mode == 1 ? -1 : 6);
            EXPECT_EQ(record.queue, mode == 1 ? 5u : 0u);
            EXPECT_EQ(record.cos_to_cos_profile, 0u);
        }
}

TEST(ServicePort, ActionsBecomeTheCardsNumbers) {
    const std::vector<int> vlan = {0, 0, 1, 2, 4, 7, 8, 9, 10, 0};
    for (int action = 0; action < 10; ++action)
        EXPECT_EQ(ov_vlan_action_convert2hal(action), vlan[size_t(action)]) << action;
    EXPECT_EQ(ov_vlan_action_convert2hal(-1), 0);
    const std::vector<int> prio = {0, 1, 2, 3, 0};
    for (int action = 0; action < 5; ++action)
        EXPECT_EQ(ov_prio_action_convert2hal(action), prio[size_t(action)]) << action;
}

TEST(ServicePort, EachValueHasItsRangeAndItsText) {
    run_with_gem([](AppChassis& chassis) {
        struct Case {
            mib_long ServicePort::*value;
            int min, max;
            const char* text;
        };
        const std::vector<Case> cases = {
            {&ServicePort::servicePortGemId, 1, 128, "servicePortGemId"},
            {&ServicePort::servicePortVlan, 0, 4095, "servicePortVlan"},
            {&ServicePort::servicePortSvlan, 0, 4095, "servicePortSvlan"},
            {&ServicePort::servicePortUserVlan, 0, 4095, "servicePortUserVlan"},
            {&ServicePort::servicePortInnerVlan, 0, 4095, "servicePortInnerVlan"},
            {&ServicePort::servicePortVlanAction, 1, 8, "servicePortVlanAction"},
            {&ServicePort::servicePortVlanPrio, 0, 7, "servicePortVlanPrio"},
            {&ServicePort::servicePortSvlanPrio, 0, 7, "servicePortSvlanPrio"},
            {&ServicePort::servicePortMacLimit, 0, 4095, "servicePortMacLimit"},
            {&ServicePort::servicePortVlanPrioAction, 1, 3, "servicePortVlanPrioAction"},
            {&ServicePort::servicePortSvlanPrioAction, 1, 3, "servicePortSvlanPrioAction"},
            {&ServicePort::servicePortQueueSelectMode, 1, 2, "servicePortQueueSelectMode"},
            {&ServicePort::servicePortQueue, 0, 7, "servicePortQueue"},
        };
        for (const Case& c : cases)
            for (const int value : {c.min - 1, c.min, c.max, c.max + 1}) {
                LogCapture::clear();
                ServicePort row = service_port(1, 1);
                row.*c.value = value;
                const bool passes = value >= c.min && value <= c.max;
                EXPECT_EQ(ov_service_port_table_mib_data_check(&row, MODE_CRE), passes ? 1 : 0)
                    << c.text << " " << value;
                EXPECT_EQ(logged(chassis, "check [" + std::string(c.text) + "] fail"), !passes)
                    << c.text << " " << value;
            }
        // the first that fails is the one that is said
        LogCapture::clear();
        ServicePort row = service_port(1, 0);
        row.servicePortMacLimit = 4096;
        row.servicePortVlanPrioAction = 0;
        EXPECT_EQ(add(row, mibDefFlags), BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), testing::Contains("check [servicePortGemId] fail"));
        EXPECT_FALSE(logged(chassis, "check [servicePortMacLimit] fail"));
        EXPECT_TRUE(logged(chassis, "check fail"));
        row.servicePortGemId = 9;
        EXPECT_EQ(add(row, mibDefFlags), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "check [servicePortMacLimit] fail"));
        EXPECT_FALSE(logged(chassis, "check [servicePortVlanPrioAction] fail"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(ServicePort, AnIndexOutOfRangeIsRefusedWithoutAWord) {
    run_with_gem([](AppChassis& chassis) {
        std::vector<ServicePort> rows;
        for (const int id : {0, -1, 129})
            rows.push_back(service_port(id, 9));
        for (const int onu : {0, -1, 129})
            rows.push_back(service_port(1, 9, SLOT, PORT, onu));
        rows.push_back(template_service_port(1, 9, 129));
        rows.push_back(service_port(1, 9, 0));
        rows.push_back(service_port(1, 9, SLOT, 0));
        rows.push_back(service_port(1, 9, SLOT, 17));
        rows.push_back(service_port(1, 9, 19));
        rows.push_back(service_port(1, 9, GPON_TEMPLATE_SLOT, 14, PROFILE));
        rows.push_back(service_port(1, 9));
        rows.back().shelfID = 2;
        for (ServicePort& row : rows)
            EXPECT_EQ(ov_service_port_table_mib_data_check(&row, MODE_CRE), 0);
        EXPECT_THAT(chassis.hal.log.lines(), IsEmpty());
        for (const int id : {1, 128}) {
            ServicePort row = service_port(id, 9, SLOT, PORT, id);
            EXPECT_EQ(ov_service_port_table_mib_data_check(&row, MODE_CRE), 1);
        }
        EXPECT_EQ(add(service_port(128, 9)), 0);
        EXPECT_EQ(add(service_port(129, 9)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "check fail"));
    });
}

TEST(ServicePort, AMappingProfileMustExistUnlessItIsProfileZero) {
    run_with_gem([](AppChassis& chassis) {
        ServicePort row = service_port(1, 9);
        row.servicePortQueueSelectMode = 2;
        row.servicePortQueue = 99; // doesn't count in this mode
        EXPECT_EQ(ov_service_port_table_mib_data_check(&row, MODE_CRE), 1);
        row.servicePortCosQueueMappingProfileId = 8;
        EXPECT_EQ(ov_service_port_table_mib_data_check(&row, MODE_CRE), 0);
        EXPECT_EQ(ov_service_port_table_mib_data_check(&row, MODE_CHG), 0);
        EXPECT_TRUE(logged(chassis, "check [cosQueueMappingProfileId] fail"));
        EXPECT_EQ(ov_service_port_table_mib_data_check(&row, MODE_DEL), 1);
        chassis.put_row<ov_cosQueueMappingProfileTable_attr_t>([](auto&) {}, 1, 8);
        EXPECT_EQ(ov_service_port_table_mib_data_check(&row, MODE_CRE), 1);
        for (const int id : {-1, 9}) {
            LogCapture::clear();
            row.servicePortCosQueueMappingProfileId = id;
            EXPECT_EQ(ov_service_port_table_mib_data_check(&row, MODE_CRE), 0);
            EXPECT_TRUE(logged(chassis, "check [servicePortCosQueueMappingProfileId] fail"));
        }
    });
}

TEST(ServicePort, ItsGemPortMustBeThere) {
    run_with_gem([](AppChassis& chassis) {
        EXPECT_EQ(add(service_port(3, 10)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "Config service port[3], gemport[10] not exist"));
        EXPECT_EQ(held().srvPortCnt, 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        // a change isn't asked for its GEM port
        ASSERT_EQ(add(service_port(3, 9)), 0);
        EXPECT_EQ(edit(service_port(3, 10), columns_of(2u)), 0);
    });
}

TEST(ServicePort, ItsGemPortIsAskedForBeforeTheMacMoveAndThisBeforeTheOwner) {
    run_with_gem([](AppChassis& chassis) {
        give_role(OV_PON_PROTECT_PON_STATUS_WORKING);
        const MIB_Flags_t columns = columns_of(2u, 18u);
        ServicePort row = service_port(3, 10, SLOT, PORT, 99);
        row.servicePortMacmove = 0;
        LogCapture::clear();
        EXPECT_EQ(ov_service_port_check(&row, CREATE, columns), 0);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("Config service port[3], gemport[10] not exist"));
        LogCapture::clear();
        EXPECT_EQ(ov_service_port_check(&row, SET, columns), 0);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("pon port is grop work pon port"));
        LogCapture::clear();
        row.servicePortMacmove = 1;
        EXPECT_EQ(ov_service_port_check(&row, SET, columns), 0);
        EXPECT_THAT(chassis.hal.log.lines(), ElementsAre("onu id 99 is not exist"));
        LogCapture::clear();
        row.onuId = ONU;
        EXPECT_EQ(ov_service_port_check(&row, SET, columns), 1);
        EXPECT_THAT(chassis.hal.log.lines(), IsEmpty());
    });
}

TEST(ServicePort, AServiceProfileTakesServicePortsWhileItIsUnbound) {
    run_with_gem([](AppChassis& chassis) {
        EXPECT_EQ(ov_app_srv_profile_service_port_check(6), 0);
        EXPECT_TRUE(logged(chassis, "multi-srvprofile id 6 is not exist"));
        EXPECT_EQ(ov_app_srv_profile_service_port_check(PROFILE), 1);
        bind_service_profile(4);
        EXPECT_EQ(ov_app_srv_profile_service_port_check(PROFILE), 0);
        EXPECT_TRUE(logged(chassis, "multi-srvprofile id 5bind 4 times"));
    });
}

TEST(ServicePort, ACardHoldsSoManyAndNoMore) {
    run_with_gem([](AppChassis& chassis) {
        for (int port = 1; port <= 16; ++port)
            for (int onu = 1; onu <= 4; ++onu) {
                if (port != PORT || onu != ONU)
                    put_onu(chassis, port, onu);
                chassis.put_row<Gem>([](Gem&) {}, 1, SLOT, port, onu, 9);
            }
        int made = 0;
        for (int port = 1; port <= 16; ++port)
            for (int onu = 1; onu <= 4; ++onu)
                for (int id = 1; id <= 125; ++id, ++made)
                    ASSERT_EQ(add(service_port(id, 9, SLOT, port, onu)), 0) << made;
        ASSERT_EQ(made, 8000);
        EXPECT_EQ(held().srvPortCnt, 8000);
        EXPECT_EQ(add(service_port(128, 9)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "reserve service port info error slot 3 port 4"));
        EXPECT_EQ(held().srvPortCnt, 8000);
        EXPECT_EQ(avl_get_tree_size(g_service_port_qos_avl_entry), 8000);
        EXPECT_EQ(del(service_port(1, 9, SLOT, 16, 1)), 0);
        EXPECT_EQ(add(service_port(128, 9)), 0);
    });
}

TEST(ServicePort, AnEditOfAQueueColumnAsksForItsMode) {
    run_with_gem([](AppChassis& chassis) {
        ASSERT_EQ(add(service_port(3, 9)), 0);
        ServicePort row = service_port(3, 9);
        EXPECT_EQ(edit(row, columns_of(12u, 14u)), 0);
        EXPECT_EQ(edit(row, columns_of(13u)), BAD_PARAM);
        EXPECT_EQ(edit(row, columns_of(12u, 13u)), BAD_PARAM);
        row.servicePortQueueSelectMode = 2;
        EXPECT_EQ(edit(row, columns_of(12u)), BAD_PARAM);
        EXPECT_EQ(edit(row, columns_of(13u, 14u)), 0);
        EXPECT_EQ(find_row(row)->servicePortQueueSelectMode, 2);
        LogCapture::clear();
        EXPECT_EQ(edit(service_port(4, 9), columns_of(3u)), BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), IsEmpty());
    });
}

TEST(ServicePort, AddAnswersForARowThatExists) {
    run_with_gem([](AppChassis&) {
        ASSERT_EQ(add(service_port(3, 9)), 0);
        EXPECT_EQ(add(service_port(3, 9)), BAD_PARAM);
        EXPECT_EQ(held().srvPortCnt, 1);
        EXPECT_EQ(ov_app_gpon_service_port_add(nullptr, {}), BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_service_port_edit(nullptr, {}), BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_service_port_del(nullptr), BAD_PARAM);
        EXPECT_EQ(del(service_port(4, 9)), BAD_PARAM);
    });
}

TEST(ServicePort, ADeleteTakesItsQos) {
    run_with_gem([](AppChassis&) {
        ASSERT_EQ(add(service_port(3, 9)), 0);
        EXPECT_TRUE(has_qos(service_port(3, 9)));
        EXPECT_EQ(del(service_port(3, 9)), 0);
        EXPECT_FALSE(has_qos(service_port(3, 9)));
    });
}

// A delete that means all columns means the profile's and the MAC move's too.
TEST(ServicePort, ADeleteOfAllColumnsTellsTheProfileFirst) {
    run_with_gem([](AppChassis& chassis) {
        put_cos_to_cos(chassis, 3);
        ServicePort row = service_port(3, 9);
        row.servicePortUplinkCosToCosProfileId = 3;
        ASSERT_EQ(add(row, columns_of(2u, 15u)), 0);
        chassis.forget_messages();
        EXPECT_TRUE(mib_access(MIB_DEL, row));
        const auto messages = chassis.messages(2);
        ASSERT_EQ(messages.size(), 2u);
        EXPECT_EQ(messages[0].action, SET);
        EXPECT_EQ(messages[0].mask, 1u << 12);
        EXPECT_EQ(messages[1].action, DELETE);
        EXPECT_EQ(messages[1].mask, 1u << 11 | 1u << 13 | 1u << 14);
        EXPECT_FALSE(has_qos(row));
    });
}

// By its number and with its ONU a service port goes as a row: neither its profile nor its MAC move matters.
TEST(ServicePort, ADeleteMeansTheRowAlone) {
    run_with_gem([](AppChassis& chassis) {
        for (int id = 3; id <= 4; ++id) {
            ServicePort row = service_port(id, 9);
            row.servicePortMacmove = 0;
            ASSERT_EQ(add(row, columns_of(2u, 18u)), 0);
        }
        chassis.forget_messages();
        give_role(OV_PON_PROTECT_PON_STATUS_WORKING);
        EXPECT_EQ(del(service_port(3, 9)), 0);
        EXPECT_FALSE(logged(chassis, "pon port is grop work pon port"));
        give_role(OV_PON_PROTECT_PON_STATUS_NONE);
        auto onu = row_at<ov_sOnuTable_attr_t>(SLOT, PORT, ONU);
        ov_service_port_table_iterate_del(&onu);
        EXPECT_FALSE(exists(service_port(4, 9)));
        const auto messages = chassis.messages(2);
        ASSERT_EQ(messages.size(), 2u);
        for (const auto& message : messages) {
            EXPECT_EQ(message.action, DELETE);
            EXPECT_EQ(message.mask, 0u);
        }
    });
}

TEST(ServicePort, WhatTheCardDoesntSupportIsRefusedLikeAnyFailure) {
    run_with_gem([](AppChassis& chassis) {
        ASSERT_EQ(add(service_port(3, 9)), 0);
        chassis.card_answers(910, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(add(service_port(4, 9)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "OV_HAL_MSG_GPON_SERVPORT send fail"));
        EXPECT_FALSE(logged(chassis, "set to which not support"));
        EXPECT_FALSE(exists(service_port(4, 9)));
        EXPECT_FALSE(has_qos(service_port(4, 9)));
        EXPECT_EQ(del(service_port(3, 9)), BAD_PARAM);
        EXPECT_TRUE(exists(service_port(3, 9)));
        EXPECT_TRUE(has_qos(service_port(3, 9)));
        EXPECT_EQ(edit(service_port(3, 9), columns_of(3u)), BAD_PARAM);
        EXPECT_EQ(held().srvPortCnt, 1);
        // of all cards together none need support it
        EXPECT_EQ(add(template_service_port(1, 9)), 0);
        EXPECT_EQ(held().srvPortCnt, 1);
    });
}

TEST(ServicePort, AQosStepThatFailsRefusesTheRowThatTheCardHasByThen) {
    run_with_gem([](AppChassis& chassis) {
        auto* stale = ov_app_service_port_qos_new();
        ASSERT_EQ(ov_app_service_port_qos_edit_index(stale, qos_index(service_port(3, 9))), OV_QOS_OK);
        ASSERT_EQ(ov_app_service_port_qos_add(stale, SYNC_APP), OV_QOS_OK);
        EXPECT_EQ(add(service_port(3, 9)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, qos_text("", service_port(3, 9), "exists")));
        EXPECT_THAT(sent(chassis), ElementsAre(Sent(SERVPORT, CREATE)));
        EXPECT_EQ(held().srvPortCnt, 1); // stays raised
        EXPECT_FALSE(exists(service_port(3, 9)));

        // and a row without one can't go
        chassis.put_row<ServicePort>([](ServicePort& row) { row = service_port(4, 9); }, 1, SLOT, PORT, ONU,
                                     4);
        EXPECT_EQ(del(service_port(4, 9)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, qos_text("", service_port(4, 9), "not exists")));
        EXPECT_EQ(held().srvPortCnt, 0);
        EXPECT_TRUE(exists(service_port(4, 9)));
    });
}

// A card that takes the service port but not its profile.
TEST(ServicePort, AQosThatTheCardRefusesRefusesTheRowThatTheCardHasByThen) {
    run_with_gem([](AppChassis& chassis) {
        put_cos_to_cos(chassis, 3);
        chassis.card.behave([](FakeCard& card, const wire::Bytes& request) {
            card.reply(request, wire::get32(request, wire::PAYLOAD) == uint32_t{SET} ? 1 : 0);
        });
        ServicePort row = service_port(3, 9);
        row.servicePortUplinkCosToCosProfileId = 3;
        EXPECT_EQ(add(row, columns_of(2u, 15u)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, qos_text("add", row, "failed")));
        EXPECT_THAT(sent(chassis), ElementsAre(Sent(SERVPORT, CREATE), Sent(SERVPORT, SET)));
        EXPECT_FALSE(has_qos(row));
        EXPECT_FALSE(exists(row));
        EXPECT_EQ(held().srvPortCnt, 1); // stays raised
    });
}

TEST(ServicePort, WhatIsSaidOfItsQosHasATagOfItsOwn) {
    run_with_gem([](AppChassis& chassis) {
        ServicePort row = service_port(3, 9);
        row.servicePortUplinkCosToCosProfileId = 3; // neither an object yet nor such a profile
        EXPECT_EQ(add(row, columns_of(2u, 15u)), 0);
        char text[80];
        snprintf(text, sizeof text, "service port qos %#x not exist", qos_index(row));
        EXPECT_TRUE(logged_as(chassis, OV_LOG_LVL_ERROR, "SERV PORT", text));
        EXPECT_EQ(edit(row, columns_of(15u)), 0);
        snprintf(text, sizeof text, "Illegal cos to cos profile 3 for service port %#x", qos_index(row));
        EXPECT_TRUE(logged_as(chassis, OV_LOG_LVL_ERROR, "SERV PORT", text));
        auto* qos = ov_app_find_service_port_qos_by_ifindex(qos_index(row));
        ASSERT_EQ(ov_app_service_port_qos_del(qos, SYNC_APP), OV_QOS_OK);
        EXPECT_EQ(del(row), BAD_PARAM);
        EXPECT_TRUE(logged_as(chassis, OV_LOG_LVL_ERROR, "QOS", qos_text("", row, "not exists")));
    });
}

TEST(ServicePort, MacMoveStaysOnOnAWorkingPort) {
    run_with_gem([](AppChassis& chassis) {
        ASSERT_EQ(add(service_port(3, 9)), 0);
        give_role(OV_PON_PROTECT_PON_STATUS_WORKING);
        chassis.forget_messages();
        ServicePort row = service_port(3, 9);
        row.servicePortMacmove = 0;
        EXPECT_EQ(edit(row, columns_of(18u)), BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "pon port is grop work pon port"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        // without its column it isn't asked for; the row then goes to the card and on to the partner
        const TestClock clock;
        EXPECT_EQ(edit(row, columns_of(3u)), 0);
        row.servicePortMacmove = 1;
        EXPECT_EQ(edit(row, columns_of(18u)), 0);
        EXPECT_EQ(clock.armed(), 2u);
        EXPECT_EQ(chassis.messages(2).size(), 2u);
        give_role(OV_PON_PROTECT_PON_STATUS_NONE);
        row.servicePortMacmove = 0;
        EXPECT_EQ(edit(row, columns_of(18u)), 0);
    });
}

TEST(ServicePort, AnUplinkProfileGoesToTheCardAheadOfTheRow) {
    run_with_gem([](AppChassis& chassis) {
        put_cos_to_cos(chassis, 3);
        ASSERT_EQ(add(service_port(1, 9)), 0);
        chassis.forget_messages();
        ServicePort row = service_port(1, 9);
        row.servicePortUplinkCosToCosProfileId = 3;
        EXPECT_EQ(edit(row, columns_of(15u)), 0);
        const auto messages = chassis.messages(2);
        ASSERT_EQ(messages.size(), 2u);
        EXPECT_EQ(messages[0].action, SET);
        EXPECT_EQ(messages[0].mask, 1u << 12);
        EXPECT_EQ(messages[0].record<ov_gpon_service_port_attr_t>().cos_to_cos_profile, 3u);
        EXPECT_EQ(messages[0].record<ov_gpon_service_port_attr_t>().ifindex, qos_index(row));
        EXPECT_EQ(messages[1].mask, 0u);
        EXPECT_EQ(find_row(row)->servicePortUplinkCosToCosProfileId, 3u);
    });
}

TEST(ServicePort, WhatGoesWrongWithAnUplinkProfileIsOnlySaid) {
    run_with_gem([](AppChassis& chassis) {
        put_cos_to_cos(chassis, 3);
        ServicePort row = service_port(1, 9);
        char number[16];
        snprintf(number, sizeof number, "%#x", qos_index(row));
        const std::string index = number;
        // a row that is made has no object yet, but its object takes the value
        row.servicePortUplinkCosToCosProfileId = 3;
        EXPECT_EQ(add(row, columns_of(2u, 15u)), 0);
        EXPECT_TRUE(logged(chassis, "service port qos " + index + " not exist"));
        EXPECT_EQ(ov_app_find_service_port_qos_by_ifindex(qos_index(row))->cos_to_cos_profile_id[0], 3u);
        EXPECT_EQ(chassis.messages(2).at(1).mask, 1u << 12);

        for (const unsigned id : {4u, 8u, 0x80000000u}) {
            LogCapture::clear();
            row.servicePortUplinkCosToCosProfileId = id;
            EXPECT_EQ(edit(row, columns_of(15u)), 0);
            EXPECT_TRUE(logged(chassis, "Illegal cos to cos profile " + std::to_string(int(id)) +
                                            " for service port " + index));
        }
        EXPECT_EQ(ov_app_find_service_port_qos_by_ifindex(qos_index(row))->cos_to_cos_profile_id[0], 3u);

        chassis.card_answers(910, 1);
        row.servicePortUplinkCosToCosProfileId = 0;
        EXPECT_EQ(edit(row, columns_of(15u)), BAD_PARAM); // for the row's own message
        EXPECT_TRUE(logged(chassis, "Failed to set service port qos " + index));
        EXPECT_EQ(ov_app_find_service_port_qos_by_ifindex(qos_index(row))->cos_to_cos_profile_id[0], 3u);
    });
}

TEST(ServicePort, OneThatCantGoDoesntKeepItsOnu) {
    run_with_gem([](AppChassis& chassis) {
        ASSERT_EQ(add(service_port(2, 9)), 0);
        auto* qos = ov_app_find_service_port_qos_by_ifindex(qos_index(service_port(2, 9)));
        ASSERT_EQ(ov_app_service_port_qos_del(qos, SYNC_APP), OV_QOS_OK);
        auto onu = row_at<ov_sOnuTable_attr_t>(SLOT, PORT, ONU);
        onu.sOnuTableRowStatus = OVRA_DESTROY;
        onu.old_sOnuTableRowStatus = OVRA_ACTIVE;
        EXPECT_EQ(ov_service_port_table_on_onu_table_callback(did_of<ov_sOnuTable_attr_t>(), &onu, {}), 1);
        EXPECT_TRUE(logged(chassis, "del service port fail onuid: 7, service port id: 2"));
        EXPECT_TRUE(exists(service_port(2, 9)));
    });
}

} // namespace
