// Services behind an ONU: what a write sends, which services conflict, and whose they are.
#include "../support/service_chassis.h"

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Record = ov_gpon_rmservice_attr_t;
namespace column = sRmServiceTable_column;

constexpr int VLAN = OV_GPON_RM_SERVICE_VLAN;
constexpr int VLAN_COS = OV_GPON_RM_SERVICE_VLAN_COS;
constexpr int VLAN_UNI = OV_GPON_RM_SERVICE_VLAN_UNI;
constexpr int VLAN_COS_UNI = OV_GPON_RM_SERVICE_VLAN_COS_UNI;
constexpr int ALL = OV_GPON_RM_SERVICE_TRANSPARNT;
constexpr int ALL_OF_UNI = OV_GPON_RM_SERVICE_TRANSPARNT_UNI;

constexpr char CONFLICT[] = "set rm service param check failed";

// ---- writes -----------------------------------------------------------------------------------------------

TEST(RmService, OneThatIsMadeReachesTheCardWhole) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(add(service(32, {VLAN_COS_UNI, 30, 4094, 7, VEIP, 1, 2})), 0);
        const auto messages = chassis.messages_of(SERVICE_MESSAGE);
        ASSERT_THAT(messages, SizeIs(1));
        EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_TRUE(messages[0].wants_reply);
        EXPECT_EQ(messages[0].mask, 0xfcu); // and the marker of the row status
        const auto record = messages[0].record<Record>();
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(onu_at(ONU)));
        EXPECT_EQ(record.serviceId, 32);
        EXPECT_EQ(record.uniPos.cardId, 2);
        EXPECT_EQ(record.uniPos.uniType, VEIP);
        EXPECT_EQ(record.uniPos.uniId, 1);
        EXPECT_EQ(record.type, VLAN_COS_UNI);
        EXPECT_EQ(record.gemId, 30);
        EXPECT_EQ(record.vlan, 4094);
        EXPECT_EQ(record.cos, 7);
        for (const auto byte : record.mib_gem)
            EXPECT_EQ(byte, 0);
        const auto* row = find_row(service(32));
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->sRmServiceTableRowStatus, OVRA_ACTIVE);
        EXPECT_EQ(row->sRmServiceTableVlanId, 4094);
    });
}

TEST(RmService, EachColumnHasItsBit) {
    run([](AppChassis& chassis) {
        const Service row = service(1, {VLAN, 1, 10});
        ASSERT_EQ(add(row), 0);
        const std::pair<unsigned, unsigned> bits[] = {
            {column::sRmServiceTableOnuCardID, 2},  {column::sRmServiceTableOnuPortType, 2},
            {column::sRmServiceTableOnuPortID, 2},  {column::sRmServiceTableRmServiceType, 3},
            {column::sRmServiceTableGemId, 4},      {column::sRmServiceTableVlanId, 5},
            {column::sRmServiceTablePriorityID, 6},
        };
        for (const auto& [number, bit] : bits) {
            chassis.forget_messages();
            ASSERT_EQ(edit(row, columns_of(number)), 0);
            EXPECT_THAT(sent(chassis), ElementsAre("913 set"));
            EXPECT_EQ(chassis.messages().at(0).mask, 1u << bit) << number;
        }
    });
}

TEST(RmService, OneThatGoesIsDeletedOnTheCard) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(service(1, {VLAN, 1, 10})), 0);
        chassis.forget_messages();
        EXPECT_EQ(del(service(1)), 0);
        const auto messages = chassis.messages_of(SERVICE_MESSAGE);
        ASSERT_THAT(messages, SizeIs(1));
        EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_DELETE);
        EXPECT_EQ(messages[0].record<Record>().serviceId, 1);
        EXPECT_EQ(find_stored_row(service(1)), nullptr);
    });
}

TEST(RmService, DoorsNeedARowItsColumnsAndATableThatAgrees) {
    run([](AppChassis& chassis) {
        Service row = service(1);
        MIB_Flags_t columns = SERVICE_COLUMNS;
        EXPECT_EQ(ov_app_gpon_rmservice_add(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rmservice_add(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rmservice_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rmservice_edit(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rmservice_del(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("null pointer").Times(5));
        EXPECT_EQ(edit(row, columns), OV_GPON_RET_BAD_PARAM); // not there
        EXPECT_EQ(del(row), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for rm_service table"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib del error for rm_service table"));
        EXPECT_EQ(ov_app_gpon_rmservice_add(&row, &columns), 0);
        EXPECT_TRUE(mib_flag_is_set(columns, column::sRmServiceTableRowStatus));
        EXPECT_EQ(ov_app_gpon_rmservice_add(&row, &columns), OV_GPON_RET_BAD_PARAM); // there already
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib add error for rm_service table"));
    });
}

TEST(RmService, WhatTheCardRefusesIsNotThere) {
    run([](AppChassis& chassis) {
        chassis.card_answers(SERVICE_MESSAGE, 1009);
        EXPECT_EQ(add(service(1, {VLAN, 1, 10})), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rm service to hal error"));
        EXPECT_EQ(find_stored_row(service(1)), nullptr);
        EXPECT_THAT(all_of<FilterMode>(), IsEmpty());
        EXPECT_THAT(all_of<FilterLimit>(), IsEmpty());
        EXPECT_THAT(sent(chassis), ElementsAre("913 create"));
        chassis.card_answers(SERVICE_MESSAGE, 0);
        EXPECT_EQ(add(service(1, {VLAN, 1, 10})), 0);
        chassis.card_answers(SERVICE_MESSAGE, 1009);
        EXPECT_EQ(edit(service(1, {VLAN, 1, 20}), columns_of(column::sRmServiceTableVlanId)),
                  OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(find_row(service(1))->sRmServiceTableVlanId, 10);
        EXPECT_EQ(del(service(1)), OV_GPON_RET_BAD_PARAM);
        EXPECT_NE(find_row(service(1)), nullptr);
    });
}

TEST(RmService, ACardThatKnowsNoServicesLetsThemBe) {
    run([](AppChassis& chassis) {
        chassis.card_answers(SERVICE_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(add(service(1, {VLAN, 1, 10})), 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
        EXPECT_NE(find_row(filter_of<FilterMode>(service(1))), nullptr); // its filters have come
        EXPECT_EQ(del(service(1)), 0);
        EXPECT_THAT(all_of<Service>(), IsEmpty());
    });
}

TEST(RmService, ACardThatDoesNotAnswerRefuses) {
    run([](AppChassis& chassis) {
        chassis.card_falls_silent();
        EXPECT_EQ(add(service(1, {VLAN, 1, 10})), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(all_of<Service>(), IsEmpty());
        EXPECT_THAT(all_of<FilterMode>(), IsEmpty());
    });
}

// The record holds 16 bits of these.
TEST(RmService, NumbersThatWouldNameAnotherThingAreRefused) {
    run([](AppChassis& chassis) {
        for (Traffic traffic : {Traffic{.gem = 65536 + 1}, Traffic{.port = 65536}, Traffic{.card = 65537}})
            EXPECT_EQ(add(service(1, traffic)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(service(65536)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(all_of<Service>(), IsEmpty());
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(add(service(65535, {.gem = 65535, .port = 65535, .card = 65535})), 0);
        EXPECT_EQ(chassis.messages_of(SERVICE_MESSAGE).at(0).record<Record>().serviceId, 65535);
    });
}

// ---- conflicts --------------------------------------------------------------------------------------------

struct Pair {
    const char* name;
    Traffic first, second;
    bool conflicts;
};
void PrintTo(const Pair& pair, std::ostream* out) {
    *out << pair.name;
}

const Pair PAIRS[] = {
    // type, GEM port, VLAN, cos, kind, port, card
    {"vlan, another VLAN", {VLAN, 1, 10}, {VLAN, 1, 11}, false},
    {"vlan, same VLAN", {VLAN, 1, 10}, {VLAN, 2, 10, 5, VEIP, 1, 2}, true},
    {"cos, another cos", {VLAN_COS, 1, 10, 1}, {VLAN_COS, 1, 10, 2}, false},
    {"cos, another VLAN", {VLAN_COS, 1, 10, 1}, {VLAN_COS, 1, 11, 1}, false},
    {"cos, same", {VLAN_COS, 1, 10, 1}, {VLAN_COS, 2, 10, 1, VEIP, 1}, true},
    {"cos and UNI, same", {VLAN_COS_UNI, 1, 10, 1, ETH, 1}, {VLAN_COS_UNI, 2, 10, 1, ETH, 1}, true},
    {"cos and UNI, another port", {VLAN_COS_UNI, 1, 10, 1, ETH, 1}, {VLAN_COS_UNI, 1, 10, 1, ETH, 2}, false},
    {"cos and UNI, another kind", {VLAN_COS_UNI, 1, 10, 1, ETH, 1}, {VLAN_COS_UNI, 1, 10, 1, VEIP, 1}, false},
    {"cos and UNI, another card",
     {VLAN_COS_UNI, 1, 10, 1, ETH, 1, 1},
     {VLAN_COS_UNI, 1, 10, 1, ETH, 1, 2},
     false},
    {"cos and UNI, another cos", {VLAN_COS_UNI, 1, 10, 1, ETH, 1}, {VLAN_COS_UNI, 1, 10, 2, ETH, 1}, false},
    {"cos and UNI, another VLAN", {VLAN_COS_UNI, 1, 10, 1, ETH, 1}, {VLAN_COS_UNI, 1, 11, 1, ETH, 1}, false},
    {"UNI, same with another VLAN", {VLAN_UNI, 1, 10, 0, ETH, 1}, {VLAN_UNI, 2, 11, 0, ETH, 1}, true},
    {"UNI, same GEM port", {VLAN_UNI, 1, 10, 0, ETH, 1}, {VLAN_UNI, 1, 11, 0, ETH, 2}, true},
    {"UNI, another with the VLAN", {VLAN_UNI, 1, 10, 0, ETH, 1}, {VLAN_UNI, 2, 10, 0, ETH, 2}, false},
    {"UNI, another card", {VLAN_UNI, 1, 10, 0, ETH, 1, 1}, {VLAN_UNI, 2, 10, 0, ETH, 1, 2}, false},
    {"all, whatever else", {ALL, 1}, {ALL, 2, 10, 3, VEIP, 4, 2}, true},
    {"all of a UNI, same", {ALL_OF_UNI, 1, 0, 0, ETH, 1}, {ALL_OF_UNI, 1, 0, 0, ETH, 1}, false},
    {"without a type", {0, 1, 10}, {0, 1, 10}, false},
};

class RmServiceConflict : public testing::TestWithParam<Pair> {};

TEST_P(RmServiceConflict, IsFoundWhenTheSecondIsMade) {
    const Pair& pair = GetParam();
    run([&pair](AppChassis& chassis) {
        ASSERT_EQ(add(service(1, pair.first)), 0);
        chassis.forget_messages();
        LogCapture::clear();
        EXPECT_EQ(add(service(2, pair.second)) != 0, pair.conflicts);
        EXPECT_EQ(find_stored_row(service(2)) == nullptr, pair.conflicts);
        if (pair.conflicts) {
            EXPECT_THAT(chassis.hal.log.lines(), Contains(CONFLICT));
            EXPECT_THAT(chassis.messages(), IsEmpty());
            EXPECT_EQ(find_stored_row(filter_of<FilterMode>(service(2))), nullptr);
        }
        // each ONU, and each service profile, by itself
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), 0);
        EXPECT_EQ(add(service(2, pair.second, 8)), 0);
        ASSERT_EQ(add_profile(), 0);
        put_template_gem(chassis, pair.second.gem);
        EXPECT_EQ(add(template_service(2, pair.second)), 0);
    });
}

INSTANTIATE_TEST_SUITE_P(Pairs, RmServiceConflict, testing::ValuesIn(PAIRS));

TEST(RmServiceConflicts, TypesDoNotMix) {
    for (const int first : {VLAN, VLAN_COS, VLAN_UNI, VLAN_COS_UNI, ALL, ALL_OF_UNI})
        run([first](AppChassis& chassis) {
            ASSERT_EQ(add(service(1, {first, 1, 10, 1, ETH, 1})), 0); // the first may have any
            for (const int second : {VLAN, VLAN_COS, VLAN_UNI, VLAN_COS_UNI, ALL, ALL_OF_UNI}) {
                LogCapture::clear();
                const bool refused = second != first || second == ALL;
                EXPECT_EQ(add(service(2, {second, 2, 20, 2, ETH, 2})) != 0, refused)
                    << first << " " << second;
                const auto lines = chassis.hal.log.lines();
                EXPECT_EQ(std::count(lines.begin(), lines.end(), CONFLICT), refused ? 1 : 0);
                EXPECT_EQ(del(service(2)) != 0, refused);
            }
        });
}

TEST(RmServiceConflicts, AreLookedForWhenAServiceIsMade) {
    run([](AppChassis& /*chassis*/) {
        ASSERT_EQ(add(service(1, {VLAN, 1, 10})), 0);
        ASSERT_EQ(add(service(2, {VLAN, 1, 20})), 0);
        // an edit isn't looked at
        EXPECT_EQ(edit(service(2, {VLAN, 1, 10}), columns_of(column::sRmServiceTableVlanId)), 0);
        EXPECT_EQ(find_row(service(2))->sRmServiceTableVlanId, 10);
        EXPECT_EQ(add(service(3, {VLAN, 1, 10})), OV_GPON_RET_BAD_PARAM);
    });
}

TEST(RmServiceConflicts, OneThatWaitsTakesNothingUntilItIsActivated) {
    run([](AppChassis& chassis) {
        Service waiting = service(1, {VLAN, 1, 10});
        waiting.sRmServiceTableRowStatus = OVRA_CREATEANDWAIT;
        MIB_Flags_t columns = SERVICE_COLUMNS;
        mib_flag_set(columns, column::sRmServiceTableRowStatus);
        ASSERT_TRUE(mib_access(MIB_SET, waiting, columns));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_THAT(all_of<FilterMode>(), IsEmpty());
        ASSERT_EQ(add(service(2, {VLAN, 1, 10})), 0);
        Service active = service(1);
        active.sRmServiceTableRowStatus = OVRA_ACTIVE;
        EXPECT_FALSE(mib_access(MIB_SET, active, columns_of(column::sRmServiceTableRowStatus)));
        ASSERT_EQ(del(service(2)), 0);
        chassis.forget_messages();
        EXPECT_TRUE(mib_access(MIB_SET, active, columns_of(column::sRmServiceTableRowStatus)));
        EXPECT_THAT(sent(chassis), ElementsAre("913 create", "934 create"));
        EXPECT_EQ(chassis.messages()[0].record<Record>().vlan, 10);
    });
}

// ---- owners -----------------------------------------------------------------------------------------------

TEST(RmServiceOwner, IsAnOnuThatIsThere) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(add(service(1, {}, 99)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("onu id 99 is not exist"));
        EXPECT_EQ(add(service(1, {}, ONU, PORT, 19)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(service(1, {}, ONU, PORT, 30)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(all_of<Service>(), IsEmpty());
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(RmServiceOwner, ATemplatesOnuHasNoServicesOfItsOwn) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        ASSERT_EQ(new_onu(8, "ABCD00000008").templet(PROFILE).add(), 0);
        chassis.put_row<Service>([](Service&) {}, 1, SLOT, PORT, 8, 5); // as a file may have it
        chassis.put_row<FilterMode>([](FilterMode&) {}, 1, SLOT, PORT, 8, 5);
        chassis.forget_messages();
        EXPECT_EQ(add(service(1, {}, 8)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(edit(service(5, {}, 8), SERVICE_COLUMNS), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(del(service(5, {}, 8)), OV_GPON_RET_BAD_PARAM); // a delete too
        EXPECT_THAT(chassis.hal.log.lines(), Contains("onu id 8 is configured by templet").Times(3));
        EXPECT_THAT(all_of<Service>(), SizeIs(1));
        EXPECT_THAT(all_of<FilterMode>(), SizeIs(1)); // one that stays keeps its filters
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(RmServiceOwner, AProfileWithItsGemPort) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(add(template_service(1)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("multi-srvprofile id 9 is not exist"));
        ASSERT_EQ(add_profile(), 0);
        EXPECT_EQ(add(template_service(1, {.gem = 3})), OV_GPON_RET_BAD_PARAM); // no such GEM port
        EXPECT_THAT(all_of<Service>(), IsEmpty());
        EXPECT_THAT(chassis.messages_of(SERVICE_MESSAGE), IsEmpty());
        put_template_gem(chassis, 3);
        EXPECT_EQ(add(template_service(1, {.gem = 3})), 0);
        const auto messages = chassis.messages_of(SERVICE_MESSAGE);
        ASSERT_THAT(messages, SizeIs(1));
        EXPECT_EQ(messages[0].record<Record>().onuIfindex, onu_ifindex_of(template_service(1)));
        EXPECT_EQ(edit(template_service(1, {.gem = 4}), columns_of(column::sRmServiceTableGemId)),
                  OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(find_row(template_service(1))->sRmServiceTableGemId, 3u);
        EXPECT_EQ(edit(template_service(1, {.gem = 3, .vlan = 7}), columns_of(column::sRmServiceTableVlanId)),
                  0);
    });
}

// On an ONU of its own the GEM port is the operator's affair.
TEST(RmServiceOwner, AnOnuNeedNotHaveTheGemPort) {
    run([](AppChassis& /*chassis*/) { EXPECT_EQ(add(service(1, {.gem = 99})), 0); });
}

TEST(RmServiceOwner, ATemplateServiceWhoseGemPortIsGoneCanStillGo) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        chassis.put_row<Service>([](Service& row) { row.sRmServiceTableGemId = 3; }, 1, GPON_TEMPLATE_SLOT,
                                 GPON_TEMPLATE_PORT, PROFILE, 1);
        EXPECT_EQ(edit(template_service(1), columns_of(column::sRmServiceTableVlanId)),
                  OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(del(template_service(1)), 0);
    });
}

TEST(RmServiceOwner, ABoundProfileKeepsItsServices) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        put_template_gem(chassis);
        ASSERT_EQ(add(template_service(1)), 0);
        bind_profile(3);
        chassis.forget_messages();
        const auto before = all_of<Service>();
        EXPECT_EQ(add(template_service(2, {.vlan = 2})), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(edit(template_service(1), SERVICE_COLUMNS), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(del(template_service(1)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("multi-srvprofile id 9bind 3 times").Times(3));
        EXPECT_EQ(all_of<Service>(), before);
        EXPECT_THAT(all_of<FilterMode>(), SizeIs(1));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// Slot 31 is a profile's only on its own shelf and port.
TEST(RmServiceOwner, ATemplatesIndexIsThatOfItsProfile) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        EXPECT_EQ(add(service(1, {}, PROFILE, 3, GPON_TEMPLATE_SLOT)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("illega onu index:1.31.3.9:"));
        EXPECT_THAT(all_of<Service>(), IsEmpty());
    });
}

TEST(RmServiceOwner, ChecksByThemselves) {
    run([](AppChassis& chassis) {
        Service row = service(1);
        EXPECT_EQ(ov_app_gpon_rm_servcie_check(&row, OV_HAL_GPON_MSG_ACTION_CREATE, mibDefFlags), 1);
        row = template_service(1, {}, 33);
        EXPECT_EQ(ov_app_gpon_rm_servcie_check(&row, OV_HAL_GPON_MSG_ACTION_CREATE, mibDefFlags), 0);
        EXPECT_EQ(ov_app_gpon_rmsrv_multi_srv_check(&row), 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("srvprofile id 33 is not exist"));
        row = service(1, {VLAN, 1, 10});
        Record record = {};
        ov_bmp_t mask = 0;
        srmservice_mib_data_convert_to_hal(&row, &record, columns_of(column::sRmServiceTableVlanId), &mask);
        EXPECT_EQ(mask, 1 << 5);
        EXPECT_EQ(record.vlan, 10);
        EXPECT_EQ(ov_rmservice_iterate_parser_check(&row, &record), 0); // nothing there
        ASSERT_EQ(add(row), 0);
        EXPECT_EQ(ov_rmservice_iterate_parser_check(&row, &record), 0); // itself
        row.rmServiceID = 2;
        EXPECT_EQ(ov_rmservice_iterate_parser_check(&row, &record), 1);
    });
}

} // namespace
