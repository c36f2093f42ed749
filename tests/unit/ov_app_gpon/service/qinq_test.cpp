// QinQ rules in their three places: list, table and card.
#include "../support/qinq_chassis.h"

#include "../support/check_callbacks.h"
#include "sOnuTable.h"

using namespace qinq_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

const ov_ifindex_t PORT = port_at(4);
const ov_ifindex_t ONU = onu_at(4, 7);

// ---- adding -----------------------------------------------------------------------------------------------

TEST(Qinq, ARuleStandsInListTableAndCard) {
    qinq_test::run([](AppChassis& chassis) {
        Rule rule = range_rule(PORT, 10, 20);
        rule.svlancos = OV_GPON_QINQ_SVLANCOS_COPY;
        EXPECT_EQ(ov_app_gpon_qinq_add(&rule, QINQ_SYNC_ALL), OV_GPON_RET_OK);
        EXPECT_EQ(rule.qinqId, 1);
        EXPECT_THAT(ids_of(PORT), ElementsAre(1));
        ASSERT_NE(stored(rule), nullptr);
        EXPECT_EQ(stored(rule)->svlanId, 100);
        EXPECT_EQ(stored(rule)->svlanCos, 8);
        EXPECT_EQ(stored(rule)->smartQinqRowStatus, OVRA_ACTIVE);
        const auto messages = chassis.messages(1);
        ASSERT_THAT(messages, SizeIs(1));
        EXPECT_EQ(in_short(messages[0]), "902 set 0x2 1");
        EXPECT_TRUE(messages[0].wants_reply);
        EXPECT_EQ(memcmp(messages[0].bytes.data(), &rule, sizeof rule), 0);
    });
}

TEST(Qinq, ARuleOfAnOnuHasAMessageOfItsOwn) {
    qinq_test::run([](AppChassis& chassis) {
        EXPECT_EQ(add(vlan_rule(ONU, 10)), OV_GPON_RET_OK);
        EXPECT_EQ(del(vlan_rule(ONU, 10)), OV_GPON_RET_OK);
        EXPECT_THAT(sent(chassis), ElementsAre("905 set 0x2 1", "905 set 0x4 1"));
    });
}

TEST(Qinq, WhatNoRuleCanHaveIsABadParameter) {
    qinq_test::run([](AppChassis& chassis) {
        EXPECT_EQ(ov_app_gpon_qinq_add(nullptr, QINQ_SYNC_ALL), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_qinq_del(nullptr, QINQ_SYNC_ALL), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_on(PORT, ALL)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_on(PORT, ALL | VLAN)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_on(PORT, 128)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(del(rule_on(PORT, 128)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add(rule_on(PORT, 127 & ~ALL)), OV_GPON_RET_OK);
        EXPECT_THAT(ids_of(PORT), ElementsAre(1));
        EXPECT_THAT(chassis.messages(1), SizeIs(1));
    });
}

TEST(Qinq, TheSecondAddOfARuleFindsTheFirst) {
    qinq_test::run([](AppChassis& chassis) {
        EXPECT_EQ(add(vlan_rule(PORT, 10)), 0);
        EXPECT_EQ(add(vlan_rule(PORT, 10)), 1002);
        EXPECT_EQ(add(vlan_rule(PORT, 10, 200)), 1002);
        EXPECT_TRUE(logged(chassis, "qinq item already exist!"));
        EXPECT_THAT(ids_of(PORT), ElementsAre(1));
        EXPECT_THAT(chassis.messages(1), SizeIs(1));
    });
}

TEST(Qinq, ARuleThatMeetsTrafficOfAnotherIsRefused) {
    qinq_test::run([](AppChassis& chassis) {
        EXPECT_EQ(add(range_rule(PORT, 10, 20)), 0);
        EXPECT_EQ(add(range_rule(PORT, 20, 30)), 1000);
        EXPECT_EQ(add(range_rule(PORT, 21, 30)), 0);
        EXPECT_EQ(add(rule_on(PORT, TSP)), 1000);
        EXPECT_EQ(add(range_rule(port_at(5), 10, 20)), 0);
        EXPECT_THAT(ids_of(PORT), ElementsAre(1, 2));
        EXPECT_THAT(rows(), 3u);
        EXPECT_THAT(chassis.hal.log.lines(), Contains(testing::StartsWith("Error[1000]")));
    });
}

TEST(Qinq, APortAndItsOnusExcludeEachOther) {
    qinq_test::run([](AppChassis& chassis) {
        EXPECT_EQ(add(vlan_rule(onu_at(4, 1), 10)), 0);
        EXPECT_EQ(add(vlan_rule(PORT, 20)), 1000);
        EXPECT_EQ(add(vlan_rule(onu_at(4, 128), 20)), 0); // of ONUs each is by itself
        EXPECT_EQ(add(vlan_rule(port_at(3), 20)), 0);     // and so is each port
        EXPECT_EQ(add(vlan_rule(port_at(5), 20)), 0);
        EXPECT_EQ(add(vlan_rule(port_at(4, SLOT + 1), 20)), 0);
        EXPECT_EQ(add(vlan_rule(onu_at(5, 1), 10)), 1000);
        EXPECT_EQ(del(vlan_rule(onu_at(4, 1), 10)), 0);
        EXPECT_EQ(add(vlan_rule(PORT, 20)), 1000); // ONU 128 has one still
        EXPECT_EQ(del(vlan_rule(onu_at(4, 128), 20)), 0);
        EXPECT_EQ(add(vlan_rule(PORT, 20)), 0);
        EXPECT_EQ(add(vlan_rule(onu_at(4, 1), 10)), 1000);
        EXPECT_EQ(del(vlan_rule(PORT, 20)), 0);
        EXPECT_EQ(add(vlan_rule(onu_at(4, 1), 10)), 0);
        (void)chassis;
    });
}

TEST(Qinq, TheThirtyThirdRuleOfAnInterfaceHasNoId) {
    qinq_test::run([](AppChassis& chassis) {
        set_operational(false); // so many messages are not the matter
        for (const ov_ifindex_t ifindex : {PORT, onu_at(5, 128)}) {
            for (uint16_t n = 1; n <= 32; ++n)
                EXPECT_EQ(add(vlan_rule(ifindex, uint16_t(10 * n))), 0);
            EXPECT_EQ(add(vlan_rule(ifindex, 1000)), 1005);
            EXPECT_THAT(ids_of(ifindex), SizeIs(32));
            EXPECT_EQ(ids_of(ifindex).back(), 32);
            EXPECT_EQ(stored(vlan_rule(ifindex, 1000)), nullptr);
        }
        EXPECT_EQ(add(vlan_rule(port_at(6), 1000)), 0); // another interface has ids of its own
        (void)chassis;
    });
}

TEST(Qinq, AnIdThatIsFreeAgainIsUsedAgain) {
    qinq_test::run([](AppChassis& chassis) {
        set_operational(false);
        for (const uint16_t vlan : {10, 20, 30})
            EXPECT_EQ(add(vlan_rule(PORT, vlan)), 0);
        EXPECT_EQ(del(vlan_rule(PORT, 20)), 0);
        EXPECT_THAT(ids_of(PORT), ElementsAre(1, 3));
        EXPECT_EQ(add(vlan_rule(PORT, 40)), 0);
        EXPECT_EQ(add(vlan_rule(PORT, 50)), 0);
        EXPECT_THAT(ids_of(PORT), ElementsAre(1, 3, 2, 4));
        (void)chassis;
    });
}

TEST(Qinq, WhereThereAreNoPonPortsThereAreNoRules) {
    qinq_test::run([](AppChassis& chassis) {
        EXPECT_EQ(add(vlan_rule(port_at(4, 8), 10)), 1000); // a control card
        EXPECT_TRUE(logged(chassis, " ov_app_gpon_qinq_assign_id fail: slotid[8] ponid[4]."));
        EXPECT_EQ(add(vlan_rule(onu_at(4, 7, 31), 10)), 1000);
        EXPECT_TRUE(logged(chassis, " ov_app_gpon_qinq_assign_id fail: slotid[31] ponid[4] onuid[7]."));
        EXPECT_EQ(add(vlan_rule(onu_at(4, 129), 10)), 1000);
        EXPECT_TRUE(logged(chassis, " ov_app_gpon_qinq_assign_id fail: slotid[3] ponid[4] onuid[129]."));
        LogCapture::clear();
        const auto uplink = ov_ifindex_gen_by_phyinfo(PORT_TYPE_XE, 1, SLOT, 0, 1, 0);
        EXPECT_EQ(add(vlan_rule(uplink, 10)), 1000);
        EXPECT_THAT(chassis.hal.log.lines(), IsEmpty());
        EXPECT_EQ(rows(), 0u);
        EXPECT_TRUE(list_empty(&g_qinq_attr));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(Qinq, IdsOutsideTheirBoundsAreLeftAlone) {
    qinq_test::run([](AppChassis& chassis) {
        uint16_t id = 0;
        EXPECT_EQ(ov_app_gpon_qinq_assign_id(PORT, &id), 0);
        EXPECT_EQ(id, 1);
        for (const uint16_t other : {0, 2, 32, 33, 65535}) {
            EXPECT_EQ(ov_app_gpon_qinq_release_id(PORT, other), 0);
            EXPECT_TRUE(ov_app_gpon_qinq_id_is_taken(PORT, 1)) << other;
        }
        EXPECT_EQ(ov_app_gpon_qinq_release_id(port_at(4, 8), 1), 1000);
        EXPECT_TRUE(logged(chassis, " ov_app_gpon_qinq_release_id fail: slotid[8] ponid[4]."));
        EXPECT_EQ(ov_app_gpon_qinq_release_id(onu_at(4, 200), 1), 1000);
        EXPECT_TRUE(logged(chassis, " ov_app_gpon_qinq_release_id fail: slotid[3] ponid[4] onuid[200]."));
        EXPECT_EQ(ov_app_gpon_qinq_release_id(PORT, 1), 0);
        EXPECT_FALSE(ov_app_gpon_qinq_id_is_taken(PORT, 1));
    });
}

// ---- what fails -------------------------------------------------------------------------------------------

TEST(Qinq, ARuleThatTheCardRefusesIsNowhere) {
    qinq_test::run([](AppChassis& chassis) {
        for (const uint32_t code : {1009u, 1008u, 101001u}) {
            chassis.card_answers(PORT_RULE, code);
            EXPECT_EQ(add(vlan_rule(PORT, 10)), 1000);
            EXPECT_THAT(ids_of(PORT), IsEmpty());
            EXPECT_EQ(rows(), 0u);
            EXPECT_FALSE(ov_app_gpon_qinq_id_is_taken(PORT, 1));
        }
        chassis.card_answers(PORT_RULE, 0);
        EXPECT_EQ(add(vlan_rule(PORT, 10)), 0);
        EXPECT_THAT(ids_of(PORT), ElementsAre(1));
    });
}

TEST(Qinq, ARuleThatTheTableRefusesStaysOnTheCardAlone) {
    qinq_test::run([](AppChassis& chassis) {
        app_chassis::refuse_writes_of(SMARTQINQ);
        EXPECT_EQ(add(vlan_rule(PORT, 10)), 1000);
        EXPECT_TRUE(logged(chassis, "ov_app_gpon_qinq_mmg_add failed"));
        EXPECT_THAT(ids_of(PORT), IsEmpty());
        EXPECT_EQ(rows(), 0u);
        EXPECT_FALSE(ov_app_gpon_qinq_id_is_taken(PORT, 1));
        EXPECT_THAT(sent(chassis), ElementsAre("902 set 0x2 1"));
    });
}

TEST(Qinq, ARowThatIsThereMustHaveTheSameServiceVlan) {
    qinq_test::run([](AppChassis& chassis) {
        auto row = row_of(vlan_rule(PORT, 10));
        row.smartQinqRowStatus = OVRA_CREATEANDGO;
        ASSERT_TRUE(mib_access(MIB_SET_S_N, row)); // past the rules
        EXPECT_EQ(add(vlan_rule(PORT, 10, 200)), 1000);
        EXPECT_TRUE(logged(chassis, "mib data conflict"));
        EXPECT_THAT(ids_of(PORT), IsEmpty());
        EXPECT_EQ(add(vlan_rule(PORT, 10, 100)), 0);
        EXPECT_TRUE(logged(chassis, "mib already exist"));
        EXPECT_THAT(ids_of(PORT), ElementsAre(1));
        EXPECT_EQ(rows(), 1u);
    });
}

TEST(Qinq, ARuleThatTheCardKeepsIsForgottenAllTheSame) {
    qinq_test::run([](AppChassis& chassis) {
        EXPECT_EQ(add(vlan_rule(PORT, 10)), 0);
        chassis.card_answers(PORT_RULE, 1009);
        EXPECT_EQ(del(vlan_rule(PORT, 10)), CARD_REFUSED);
        EXPECT_THAT(ids_of(PORT), IsEmpty());
        EXPECT_EQ(rows(), 0u);
        EXPECT_FALSE(ov_app_gpon_qinq_id_is_taken(PORT, 1));
        EXPECT_EQ(del(vlan_rule(PORT, 10)), 1001);
        EXPECT_TRUE(logged(chassis, "qinq item isn't exist!"));
    });
}

TEST(Qinq, CodesOfWhatFailsAreJoined) {
    qinq_test::run([](AppChassis& chassis) {
        EXPECT_EQ(add(vlan_rule(PORT, 10)), 0);
        app_chassis::refuse_writes_of(SMARTQINQ);
        chassis.card_answers(PORT_RULE, 1009);
        EXPECT_EQ(del(vlan_rule(PORT, 10)), CARD_REFUSED | 1000);
        EXPECT_THAT(ids_of(PORT), IsEmpty());
        EXPECT_EQ(rows(), 1u); // the row stays
        EXPECT_FALSE(ov_app_gpon_qinq_id_is_taken(PORT, 1));
    });
}

// ---- more than one ----------------------------------------------------------------------------------------

TEST(Qinq, AllRulesOfAnInterfaceGoWithOneRequest) {
    qinq_test::run([](AppChassis& chassis) {
        for (const uint16_t vlan : {10, 20, 30})
            EXPECT_EQ(add(vlan_rule(PORT, vlan)), 0);
        EXPECT_EQ(add(vlan_rule(port_at(5), 10)), 0);
        chassis.forget_messages();
        EXPECT_EQ(del(rule_on(PORT, ALL)), 0);
        EXPECT_THAT(ids_of(PORT), IsEmpty());
        EXPECT_THAT(ids_of(port_at(5)), ElementsAre(1));
        EXPECT_EQ(rows(), 1u);
        EXPECT_THAT(sent(chassis), ElementsAre("902 set 0x4 3", "902 set 0x4 2", "902 set 0x4 1"));
        EXPECT_EQ(del(rule_on(PORT, ALL)), 0); // none is left
    });
}

TEST(Qinq, ARequestForAllEndsAtTheFirstThatFails) {
    qinq_test::run([](AppChassis& chassis) {
        for (const uint16_t vlan : {10, 20, 30})
            EXPECT_EQ(add(vlan_rule(PORT, vlan)), 0);
        chassis.card_answers(PORT_RULE, 1009);
        EXPECT_EQ(del(rule_on(PORT, ALL)), CARD_REFUSED);
        EXPECT_THAT(ids_of(PORT), ElementsAre(1, 2));
    });
}

TEST(Qinq, ThePortsAndOnusOwnRemovalTakesAllWhateverFails) {
    qinq_test::run([](AppChassis& chassis) {
        for (const uint16_t vlan : {10, 20, 30}) {
            EXPECT_EQ(add(vlan_rule(PORT, vlan)), 0);
            EXPECT_EQ(add(vlan_rule(onu_at(5, 1), vlan)), 0);
        }
        chassis.forget_messages();
        chassis.card_answers(PORT_RULE, 1009);
        EXPECT_EQ(ov_app_gpon_port_qinq_del(PORT), CARD_REFUSED);
        EXPECT_EQ(ov_app_gpon_onu_qinq_del(onu_at(5, 1)), 0);
        EXPECT_THAT(sent(chassis), ElementsAre("902 set 0x4 1", "902 set 0x4 2", "902 set 0x4 3",
                                               "905 set 0x4 1", "905 set 0x4 2", "905 set 0x4 3"));
        EXPECT_TRUE(list_empty(&g_qinq_attr));
        EXPECT_EQ(rows(), 0u);
        EXPECT_EQ(ov_app_gpon_port_qinq_del(PORT), 0);
        EXPECT_EQ(ov_app_gpon_port_qinq_del(OV_IFINDEX_INVALID), 0);
    });
}

// ---- the start, and cards that come up --------------------------------------------------------------------

TEST(Qinq, BeforeTheSystemIsInOperationRulesWaitForTheReplay) {
    qinq_test::run([](AppChassis& chassis) {
        set_operational(false);
        EXPECT_EQ(add(vlan_rule(PORT, 10)), 0);
        EXPECT_EQ(add(vlan_rule(ONU, 10)), 1000);
        EXPECT_EQ(add(vlan_rule(PORT, 20)), 0);
        EXPECT_EQ(del(vlan_rule(PORT, 20)), 0);
        EXPECT_TRUE(logged(chassis, "qinq hal vtysh init"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_THAT(ids_of(PORT), ElementsAre(1));
        EXPECT_NE(stored(vlan_rule(PORT, 10)), nullptr);
        EXPECT_EQ(ov_app_gpon_qinq_config_restore(SLOT), 0);
        EXPECT_THAT(sent(chassis), ElementsAre("902 set 0x2 1"));
    });
}

TEST(Qinq, ACardIsToldTheRulesOfItsSlotTheNewestFirst) {
    qinq_test::run([](AppChassis& chassis) {
        set_operational(false);
        EXPECT_EQ(add(vlan_rule(PORT, 10)), 0);
        EXPECT_EQ(add(vlan_rule(onu_at(5, 1), 10)), 0);
        EXPECT_EQ(add(vlan_rule(port_at(4, SLOT + 1), 10)), 0);
        EXPECT_EQ(add(vlan_rule(PORT, 20)), 0);
        EXPECT_EQ(ov_app_gpon_qinq_config_restore(SLOT), 0);
        EXPECT_THAT(sent(chassis), ElementsAre("902 set 0x2 2", "905 set 0x2 1", "902 set 0x2 1"));
        chassis.forget_messages();
        chassis.card_answers(ONU_RULE, 1009);
        EXPECT_EQ(ov_app_gpon_qinq_config_restore(SLOT), CARD_REFUSED);
        EXPECT_THAT(sent(chassis), ElementsAre("902 set 0x2 2", "905 set 0x2 1"));
        EXPECT_THAT(ids_of(PORT), ElementsAre(1, 2));
    });
}

TEST(Qinq, ARuleForACardThatIsntThereWaitsForIt) {
    qinq_test::run([](AppChassis& chassis) {
        hal_slot_active_flag_clear("test", 0, SLOT);
        EXPECT_EQ(add(vlan_rule(PORT, 10)), 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_NE(stored(vlan_rule(PORT, 10)), nullptr);
        HalChassis::activate(SLOT);
        EXPECT_EQ(ov_app_gpon_qinq_config_restore(SLOT), 0);
        EXPECT_THAT(sent(chassis), ElementsAre("902 set 0x2 1"));
    });
}

// ---- rows -------------------------------------------------------------------------------------------------

TEST(QinqTable, ARowThatIsWrittenIsARule) {
    qinq_test::run([](AppChassis& chassis) {
        EXPECT_TRUE(write(row_of(vlan_rule(PORT, 10))));
        EXPECT_THAT(ids_of(PORT), ElementsAre(1));
        EXPECT_EQ(rows(), 1u);
        EXPECT_TRUE(remove(row_of(vlan_rule(PORT, 10))));
        EXPECT_THAT(ids_of(PORT), IsEmpty());
        EXPECT_EQ(rows(), 0u);
        EXPECT_THAT(sent(chassis), ElementsAre("902 set 0x2 1", "902 set 0x4 1"));
        EXPECT_FALSE(remove(row_of(vlan_rule(PORT, 10))));
    });
}

TEST(QinqTable, ARowThatIsNoRuleIsRefused) {
    qinq_test::run([](AppChassis& chassis) {
        const auto refused = [&](Row row, const std::string& why) {
            LogCapture::clear();
            EXPECT_FALSE(write(row)) << why;
            EXPECT_TRUE(logged(chassis, why)) << why;
            EXPECT_TRUE(logged(chassis, "_ov_app_gpon_qinq_mmg_attr_check fail"));
        };
        const auto uplink = ov_ifindex_gen_by_phyinfo(PORT_TYPE_XE, 1, SLOT, 0, 1, 0);
        char text[128];
        snprintf(text, sizeof text, "Not valid ifindex[%#x].", uplink);
        refused(row_of(vlan_rule(uplink, 10)), text);
        Row row = row_of(vlan_rule(PORT, 10));
        row.opFlags = 1;
        refused(row, "Not valid opFlags[0x1].");
        row.opFlags = 128;
        refused(row, "Not valid opFlags[0x80].");
        row.opFlags = -1;
        refused(row, "Not valid opFlags[0xffffffff].");
        snprintf(text, sizeof text, "qinq uservlan range can only applied on pon interface! ifindex[%#x].",
                 ONU);
        refused(row_of(range_rule(ONU, 10, 20)), text);
        refused(row_of(range_rule(PORT, 20, 10)), "user end vlan[10] should greater than begin vlan[20].");
        refused(row_of(range_rule(PORT, 0, 10)), "user end vlan[10] should greater than begin vlan[0].");
        row = row_of(vlan_rule(PORT, 10));
        row.userVlanMin = 65536 + 10;
        refused(row, "_ov_app_gpon_qinq_mmg_attr_check fail");
        row.userVlanMin = -10;
        refused(row, "_ov_app_gpon_qinq_mmg_attr_check fail");
        EXPECT_EQ(rows(), 0u);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_TRUE(write(row_of(range_rule(PORT, 10, 10))));
    });
}

TEST(QinqTable, ARowWhoseRuleIsRefusedIsRefused) {
    qinq_test::run([](AppChassis& chassis) {
        EXPECT_TRUE(write(row_of(range_rule(PORT, 10, 20))));
        EXPECT_FALSE(write(row_of(range_rule(PORT, 15, 25))));
        EXPECT_TRUE(logged(chassis, "ov_app_gpon_qinq_add fail"));
        EXPECT_FALSE(write(row_of(rule_on(PORT, ALL)))); // "all" is no rule
        chassis.card_answers(PORT_RULE, 1009);
        EXPECT_FALSE(remove(row_of(range_rule(PORT, 10, 20))));
        EXPECT_TRUE(logged(chassis, "ov_app_gpon_qinq_del fail"));
        EXPECT_THAT(ids_of(PORT), IsEmpty()); // the rule went, its row stays
        EXPECT_EQ(rows(), 1u);
    });
}

TEST(QinqTable, ARowCantBeChanged) {
    qinq_test::run([](AppChassis& chassis) {
        EXPECT_TRUE(write(row_of(vlan_rule(PORT, 10))));
        EXPECT_FALSE(write(row_of(vlan_rule(PORT, 10, 200)), OVRA_ACTIVE));
        EXPECT_TRUE(logged(chassis, "change mib op no support!"));
        EXPECT_EQ(stored(vlan_rule(PORT, 10))->svlanId, 100);
        Row waiting = row_of(vlan_rule(PORT, 10));
        waiting.smartQinqRowStatus = OVRA_NOTREADY;
        waiting.old_smartQinqRowStatus = OVRA_NOTREADY;
        EXPECT_EQ(ov_app_gpon_qinq_smarQinqTable_set_callback(did_of<Row>(), &waiting, mibDefFlags), 0);
        EXPECT_TRUE(logged(chassis, "operate mib action[4] no support!"));
    });
}

TEST(QinqTable, NeitherManagersNorFilesHaveIt) {
    qinq_test::run([](AppChassis& chassis) {
        EXPECT_EQ(table_cntl[SMARTQINQ].reg, nullptr);
        EXPECT_EQ(mmg_table_save_immediate("smartQinqTable"), -1);
        EXPECT_NE(getQinqAppid(), 0);
        EXPECT_EQ(add(vlan_rule(PORT, 10)), 0);
        Row row = row_of(vlan_rule(PORT, 10));
        row.svlanId = 0;
        EXPECT_TRUE(mib_access(MIB_GET, row));
        EXPECT_EQ(row.svlanId, 100);
        (void)chassis;
    });
}

// ---- with the ONU -----------------------------------------------------------------------------------------

TEST(Qinq, TheRulesOfAnOnuGoBeforeIt) {
    qinq_test::run([](AppChassis& chassis) {
        chassis.put_row<ov_sOnuTable_attr_t>([](auto&) {}, 1, SLOT, 4, 7);
        EXPECT_EQ(add(vlan_rule(ONU, 10)), 0);
        EXPECT_EQ(add(vlan_rule(onu_at(4, 8), 10)), 0);
        chassis.forget_messages();
        ov_sOnuTable_attr_t onu = {};
        onu.shelfID = 1;
        onu.slotID = SLOT;
        onu.portID = 4;
        onu.onuId = 7;
        chassis.card_answers(ONU_RULE, 1009);
        EXPECT_FALSE(mib_access(MIB_DEL, onu));
        EXPECT_NE(find_row(onu), nullptr); // a rule that the card keeps keeps the ONU
        EXPECT_THAT(ids_of(ONU), IsEmpty());
        chassis.card_answers(ONU_RULE, 0);
        EXPECT_TRUE(mib_access(MIB_DEL, onu));
        EXPECT_THAT(ids_of(onu_at(4, 8)), ElementsAre(1));
        EXPECT_EQ(chassis.messages_of(ONU_RULE).size(), 1u);
        EXPECT_EQ(chassis.messages_of(OV_HAL_MSG_GPON_ONU).size(), 1u);
    });
}

// ---- names ------------------------------------------------------------------------------------------------

TEST(Qinq, EthernetTypesHaveNames) {
    const std::pair<const char*, int> names[] = {{"any", 0},
                                                 {"ipv6", 0x86DD},
                                                 {"ip", 0x0800},
                                                 {"arp", 0x0806},
                                                 {"rarp", 0x8035},
                                                 {"pppoe-control", 0x8863},
                                                 {"pppoe-data", 0x8864},
                                                 {"2048", 2048},
                                                 {"65535", 65535},
                                                 {"65537", 1},
                                                 {"something", 0},
                                                 {"", 0}};
    for (const auto& [name, number] : names)
        EXPECT_EQ(ov_gpon_qinq_ethtype_parser(name), number) << name;
}

} // namespace
