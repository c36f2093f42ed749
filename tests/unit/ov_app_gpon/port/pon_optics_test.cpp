// Optics of PON ports: readings, and the thresholds of their modules with the switch.
#include "ov_app_gpon_pon_optic.h"
#include "ov_app_gpon_pon_threshold.h"

#include <gmock/gmock.h>

#include "../../support/app_chassis.h"
#include "../support/check_callbacks.h"
#include "app_set_callback.h"
#include "ov_app_gpon_port.h"

using testing::Contains;
using testing::IsEmpty;

using testing::SizeIs;

namespace {

using Port = ov_sPonTable_attr_t;
using Optic = ov_sPonOpticTable_attr_t;
using Threshold = ov_sPonThresholdTable_attr_t;
constexpr int PORT = 4;
constexpr int THRESHOLD_MESSAGE = 932;
constexpr int OPTIC_MESSAGE = 933;
const Optic OPTIC = port_key<Optic>(AppChassis::SLOT, PORT);
const Threshold THRESHOLD = port_key<Threshold>(AppChassis::SLOT, PORT);

Port port_row() {
    return port_key<Port>(AppChassis::SLOT, PORT);
}
int add_port() {
    Port row = port_row();
    MIB_Flags_t columns = {};
    return ov_app_gpon_port_add(&row, &columns);
}
int delete_port() {
    Port row = port_row();
    return ov_app_gpon_port_del(&row);
}

// A chassis with port 4 and its rows, and a card that has no message yet.
void with_port(const std::function<void(AppChassis&)>& body) {
    app_chassis::run([&](AppChassis& chassis) {
        ASSERT_EQ(add_port(), OV_GPON_RET_OK);
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis);
    });
}

// The port as it was read last.
void port_is(int admin, int operational) {
    auto* row = const_cast<Port*>(find_row(port_row()));
    ASSERT_NE(row, nullptr);
    row->sPonTableAdminState = admin;
    row->sPonTableOperationalState = operational;
}

const MIB_callback* callback_of(const MIB_callback* chain, MIB_callback_ptr function) {
    while (chain != nullptr && chain->callback != function)
        chain = chain->next;
    return chain;
}

// ---- registration -----------------------------------------------------------------------------------------

TEST(PonOptics, CallbacksAreRegisteredForTheirColumns) {
    app_chassis::run([](AppChassis&) {
        const auto* get =
            callback_of(table_cntl[SPONTHRESHOLD].callback_get, ov_pon_threshold_table_get_callback);
        const auto* set =
            callback_of(table_cntl[SPONTHRESHOLD].callback_set, ov_pon_threshold_table_set_callback);
        const auto* with_port =
            callback_of(table_cntl[SPON].callback_set, ov_pon_threshold_table_pontable_set_callback);
        const auto* optic =
            callback_of(table_cntl[SPON].callback_set, ov_pon_optic_table_pontable_set_callback);
        ASSERT_TRUE(get != nullptr && set != nullptr && with_port != nullptr && optic != nullptr);
        EXPECT_EQ(table_cntl[SPONOPTIC].callback_get, nullptr); // what is stored is shown
        EXPECT_STREQ(get->app.appName, "app_pon_threshold");
        EXPECT_STREQ(set->app.appName, "app_pon_threshold");
        EXPECT_STREQ(with_port->app.appName, "app_pon_threshold");
        EXPECT_STREQ(optic->app.appName, "app_pon_optic");
        EXPECT_EQ(set->app.appId, gpon_threshold_appid);
        EXPECT_EQ(optic->app.appId, gpon_optic_appid);
        for (unsigned column = 0; column < 128; ++column) {
            EXPECT_EQ(mib_flag_is_set(get->app.appFlags, column), column != 1) << column;
            EXPECT_EQ(mib_flag_is_set(set->app.appFlags, column), column == 1) << column;
            EXPECT_EQ(mib_flag_is_set(with_port->app.appFlags, column), column == 13) << column;
            EXPECT_EQ(mib_flag_is_set(optic->app.appFlags, column), column == 13) << column;
        }
    });
}

// ---- rows -------------------------------------------------------------------------------------------------

TEST(PonOptics, RowsComeAndGoWithThePort) {
    with_port([](AppChassis& chassis) {
        ASSERT_NE(find_row(OPTIC), nullptr);
        ASSERT_NE(find_row(THRESHOLD), nullptr);
        EXPECT_EQ(find_row(THRESHOLD)->sPonThresholdTableAction, SPONTHRESHOLDTABLEACTION_DISABLE);
        EXPECT_EQ(find_row(OPTIC)->sPonOpticTableTxPower, 0);
        EXPECT_EQ(delete_port(), OV_GPON_RET_OK);
        EXPECT_EQ(find_stored_row(OPTIC), nullptr);
        EXPECT_EQ(find_stored_row(THRESHOLD), nullptr);
        EXPECT_THAT(chassis.messages_of(THRESHOLD_MESSAGE), IsEmpty());
        EXPECT_THAT(chassis.messages_of(OPTIC_MESSAGE), IsEmpty());
        EXPECT_EQ(add_port(), OV_GPON_RET_OK);
        EXPECT_NE(find_row(OPTIC), nullptr);
        EXPECT_NE(find_row(THRESHOLD), nullptr);
    });
}

TEST(PonOptics, ARowThatIsRefusedRefusesItsPort) {
    for (const int table : {SPONOPTIC, SPONTHRESHOLD})
        app_chassis::run([table](AppChassis&) {
            app_chassis::refuse_writes_of(table);
            EXPECT_EQ(add_port(), OV_GPON_RET_BAD_PARAM) << table;
            EXPECT_EQ(find_stored_row(port_row()), nullptr) << table;
        });
}

// ---- the switch -------------------------------------------------------------------------------------------

int switch_to(mib_long action, MIB_Flags_t columns = columns_of(1u)) {
    Threshold row = *find_row(THRESHOLD);
    row.sPonThresholdTableAction = action;
    row.sPonThresholdTxpwrLow = 99;
    return ov_app_gpon_pon_threshold_edit(&row, &columns);
}

TEST(PonThreshold, TheSwitchGoesOutWithActionWord2AndNoThresholds) {
    with_port([](AppChassis& chassis) {
        ASSERT_EQ(switch_to(SPONTHRESHOLDTABLEACTION_ENABLE), OV_GPON_RET_OK);
        EXPECT_EQ(find_row(THRESHOLD)->sPonThresholdTableAction, 1);
        auto seen = chassis.messages();
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0].type, THRESHOLD_MESSAGE);
        EXPECT_EQ(seen[0].action, 2);
        EXPECT_EQ(seen[0].mask, 1u << 1);
        EXPECT_TRUE(seen[0].wants_reply);
        const auto record = seen[0].record<ov_gpon_pon_optic_threshold_attr_t>();
        EXPECT_EQ(record.ifindex, port_ifindex_of(THRESHOLD));
        EXPECT_EQ(record.action, 1);
        EXPECT_EQ(record.txPwr_low, 0);
        // all columns: the thresholds stay read only
        ASSERT_EQ(switch_to(SPONTHRESHOLDTABLEACTION_DISABLE, mibDefFlags), OV_GPON_RET_OK);
        seen = chassis.messages();
        ASSERT_THAT(seen, SizeIs(2));
        EXPECT_EQ(seen[1].mask, 1u << 1);
        EXPECT_EQ(seen[1].record<ov_gpon_pon_optic_threshold_attr_t>().action, 0);
        EXPECT_EQ(seen[1].record<ov_gpon_pon_optic_threshold_attr_t>().txPwr_low, 0);
    });
}

TEST(PonThreshold, TheCardsAnswerCounts) {
    with_port([](AppChassis& chassis) {
        chassis.card_answers(THRESHOLD_MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(switch_to(1), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(find_row(THRESHOLD)->sPonThresholdTableAction, 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set threshold action to hal error"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for port table"));
        chassis.card_answers(THRESHOLD_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(switch_to(1), OV_GPON_RET_OK);
        EXPECT_EQ(find_row(THRESHOLD)->sPonThresholdTableAction, 1);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
        MIB_Flags_t columns = columns_of(1u);
        EXPECT_EQ(ov_app_gpon_pon_threshold_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        Threshold row = THRESHOLD;
        EXPECT_EQ(ov_app_gpon_pon_threshold_edit(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        row.portID = PORT + 1; // no such port
        EXPECT_EQ(ov_app_gpon_pon_threshold_edit(&row, &columns), OV_GPON_RET_BAD_PARAM);
    });
}

TEST(PonThreshold, WhatDiffersFromARowsCreationIsInItsMask) {
    Threshold row = THRESHOLD;
    EXPECT_EQ(ov_pon_ponthreshold_table_attr_mask_get(&row), 0);
    row.sPonThresholdTableAction = 1;
    EXPECT_EQ(ov_pon_ponthreshold_table_attr_mask_get(&row), 1 << 1);
    row.sPonThresholdTempHigh = 7;
    EXPECT_EQ(ov_pon_ponthreshold_table_attr_mask_get(&row), 1 << 1 | 1 << 11);
}

// ---- reads of thresholds ----------------------------------------------------------------------------------

void card_has_thresholds(AppChassis& chassis) {
    ov_gpon_pon_optic_threshold_attr_t record = {};
    record.action = 1;
    record.txPwr_low = -100;
    record.txPwr_high = 100;
    record.rxPwr_low = -200;
    record.rxPwr_high = 200;
    record.vcc_low = 300;
    record.vcc_high = 301;
    record.bias_curr_low = 400;
    record.bias_curr_high = 401;
    record.temp_low = -500;
    record.temp_high = 501;
    chassis.card_reads(THRESHOLD_MESSAGE, record);
}

TEST(PonThreshold, AllTenAreReadFromAPortThatIsOn) {
    with_port([](AppChassis& chassis) {
        port_is(1, SPONTABLEOPERATIONALSTATE_GREENONOP);
        card_has_thresholds(chassis);
        Threshold row = THRESHOLD;
        ASSERT_TRUE(mib_access(MIB_GET, row, columns_of(2u)));
        const auto seen = chassis.messages();
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0].type, THRESHOLD_MESSAGE);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_TRUE(seen[0].wants_reply);
        EXPECT_EQ(seen[0].record<ov_gpon_pon_optic_threshold_attr_t>().ifindex, port_ifindex_of(THRESHOLD));
        EXPECT_EQ(row.sPonThresholdTableAction, 0); // the operator's, not the card's
        EXPECT_EQ(row.sPonThresholdTxpwrLow, -100);
        EXPECT_EQ(row.sPonThresholdTxpwrHigh, 100);
        EXPECT_EQ(row.sPonThresholdRxpwrLow, -200);
        EXPECT_EQ(row.sPonThresholdRxpwrHigh, 200);
        EXPECT_EQ(row.sPonThresholdVccLow, 300);
        EXPECT_EQ(row.sPonThresholdVccHigh, 301);
        EXPECT_EQ(row.sPonThresholdBiasCurLow, 400);
        EXPECT_EQ(row.sPonThresholdBiasCurHigh, 401);
        EXPECT_EQ(row.sPonThresholdTempLow, -500);
        EXPECT_EQ(row.sPonThresholdTempHigh, 501);
        // the others alone ask nobody
        chassis.forget_messages();
        row = THRESHOLD;
        EXPECT_TRUE(mib_access(MIB_GET, row, columns_of(1u, 3u, 11u, 12u)));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PonThreshold, ADisabledPortShowsWhatIsStored) {
    with_port([](AppChassis& chassis) {
        port_is(0, SPONTABLEOPERATIONALSTATE_LEDOFFNOOP);
        card_has_thresholds(chassis);
        const_cast<Threshold*>(find_row(THRESHOLD))->sPonThresholdVccHigh = 77;
        Threshold row = THRESHOLD;
        EXPECT_TRUE(mib_access(MIB_GET, row));
        EXPECT_EQ(row.sPonThresholdVccHigh, 77);
        EXPECT_EQ(row.sPonThresholdTxpwrLow, 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PonThreshold, APortOutOfOperationFailsTheReadAndOpticsDoNot) {
    with_port([](AppChassis& chassis) {
        card_has_thresholds(chassis);
        for (const int state : {4, 5}) {
            port_is(1, state);
            Threshold threshold = THRESHOLD;
            EXPECT_FALSE(mib_access(MIB_GET, threshold)) << state;
            Optic optic = OPTIC;
            EXPECT_TRUE(mib_access(MIB_GET, optic)) << state;
            EXPECT_EQ(ov_pon_optic_table_get_callback(did_of<Optic>(), &optic, mibDefFlags), 1) << state;
        }
        EXPECT_THAT(chassis.messages(), IsEmpty());
        port_is(1, SPONTABLEOPERATIONALSTATE_REDONOP);
        Threshold threshold = THRESHOLD;
        EXPECT_TRUE(mib_access(MIB_GET, threshold));
    });
}

TEST(PonThreshold, ARowWithoutItsPortAndACardThatCannotTellFailTheRead) {
    with_port([](AppChassis& chassis) {
        port_is(1, SPONTABLEOPERATIONALSTATE_GREENONOP);
        for (const uint32_t code : {OV_GPON_RET_NOT_SUPPORT, OV_GPON_RET_DRV_ERR}) {
            chassis.card_answers(THRESHOLD_MESSAGE, code);
            Threshold row = THRESHOLD;
            EXPECT_FALSE(mib_access(MIB_GET, row)) << code;
        }
        Threshold alone = port_key<Threshold>(AppChassis::SLOT, PORT + 1);
        EXPECT_EQ(ov_pon_threshold_table_get_callback(did_of<Threshold>(), &alone, mibDefFlags), 0);
    });
}

// ---- readings ---------------------------------------------------------------------------------------------

TEST(PonOptic, AllFiveReadingsFollowTheTransmitPowerInTheOrderOfTheRecord) {
    with_port([](AppChassis& chassis) {
        ov_gpon_pon_optic_attr_t record = {};
        record.txPwr = 350;
        record.rxPwr = -2100;
        record.vcc = 3300;
        record.bias = 1500;
        record.temp = 4000;
        chassis.card_reads(OPTIC_MESSAGE, record);
        port_is(1, SPONTABLEOPERATIONALSTATE_GREENONOP);
        Optic row = OPTIC;
        ASSERT_EQ(ov_pon_optic_table_get_callback(did_of<Optic>(), &row, columns_of(4u)), 1);
        const auto seen = chassis.messages();
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0].type, OPTIC_MESSAGE);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_TRUE(seen[0].wants_reply);
        EXPECT_EQ(seen[0].record<ov_gpon_pon_optic_attr_t>().ifindex, port_ifindex_of(OPTIC));
        EXPECT_EQ(row.sPonOpticTableTxPower, 350);
        EXPECT_EQ(row.sPonOpticTableRxPower, -2100);
        EXPECT_EQ(row.sPonOpticTableVcc, 3300);
        EXPECT_EQ(row.sPonOpticTableTemp, 4000);
        EXPECT_EQ(row.sPonOpticTableBias, 1500);
        // fourth and fifth number behind the index
        EXPECT_EQ(wire::get32(wire::Bytes(reinterpret_cast<const uint8_t*>(&record),
                                          reinterpret_cast<const uint8_t*>(&record) + sizeof record),
                              16),
                  1500u);
        chassis.forget_messages();
        EXPECT_EQ(ov_pon_optic_table_get_callback(did_of<Optic>(), &row, columns_of(5u, 6u, 7u, 8u)), 1);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PonOptic, AManagersReadShowsWhatIsStored) {
    with_port([](AppChassis& chassis) {
        port_is(1, SPONTABLEOPERATIONALSTATE_GREENONOP);
        const_cast<Optic*>(find_row(OPTIC))->sPonOpticTableTemp = 12;
        Optic row = OPTIC;
        ASSERT_TRUE(mib_access(MIB_GET, row));
        EXPECT_EQ(row.sPonOpticTableTemp, 12);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PonOptic, APortThatIsOffIsLeftAloneAndACardThatFailsIsToldOf) {
    with_port([](AppChassis& chassis) {
        Optic row = OPTIC;
        port_is(0, SPONTABLEOPERATIONALSTATE_GREENONOP);
        EXPECT_EQ(ov_pon_optic_table_get_callback(did_of<Optic>(), &row, mibDefFlags), 1);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        port_is(1, SPONTABLEOPERATIONALSTATE_GREENONOP);
        chassis.card_answers(OPTIC_MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(ov_pon_optic_table_get_callback(did_of<Optic>(), &row, mibDefFlags), 0);
        EXPECT_EQ(row.sPonOpticTableTxPower, 0);
    });
}

} // namespace
