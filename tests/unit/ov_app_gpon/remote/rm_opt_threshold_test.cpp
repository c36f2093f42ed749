// Optical thresholds of ONUs: levels that are set, others that are read, rows that follow the ONU.
#include "ov_app_gpon_rmonu_opt_threshold.h"

#include "../support/remote_tables.h"

using namespace remote_test;
using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Row = ov_sRmOnuOptThresholdTable_attr_t;
using Record = ov_gpon_rmonu_opt_threshold_attr_t;
constexpr int MESSAGE = 931;
const Row KEY = onu_key<Row>(SLOT, PORT, ONU);

mib_long& level(Row& row, unsigned number) {
    mib_long* const levels[] = {&row.sRmOnuOptThresholdLowRxpwr, &row.sRmOnuOptThresholdUpperRxpwr,
                                &row.sRmOnuOptThresholdLowTxpwr, &row.sRmOnuOptThresholdUpperTxpwr};
    return *levels[number - 1];
}
int edit(Row row, MIB_Flags_t columns) {
    return ov_app_gpon_rmonu_opt_threshold_edit(&row, &columns);
}

// ---- the row ----------------------------------------------------------------------------------------------

TEST(OptThreshold, ARowFollowsItsOnu) {
    run([](AppChassis& chassis) {
        ASSERT_NE(find_row(KEY), nullptr);
        const Row& row = *find_row(KEY);
        EXPECT_EQ(row.sRmOnuOptThresholdLowRxpwr, -255);
        EXPECT_EQ(row.sRmOnuOptThresholdUpperRxpwr, -255);
        EXPECT_EQ(row.sRmOnuOptThresholdLowTxpwr, -127);
        EXPECT_EQ(row.sRmOnuOptThresholdUpperTxpwr, -127);
        EXPECT_EQ(delete_onu(), OV_GPON_RET_OK);
        EXPECT_EQ(find_stored_row(KEY), nullptr);
        EXPECT_THAT(chassis.messages_of(MESSAGE), IsEmpty());
    });
}

TEST(OptThreshold, ARowIsAddedAndRemovedOnce) {
    run([](AppChassis&) {
        const Onu onu = onu_at(ONU);
        EXPECT_EQ(ov_rmonu_opt_threshold_table_add(&onu), 1); // there already
        EXPECT_EQ(ov_rmonu_opt_threshold_table_del(&onu), 1);
        EXPECT_EQ(find_stored_row(KEY), nullptr);
        EXPECT_EQ(ov_rmonu_opt_threshold_table_del(&onu), 1); // gone already
        EXPECT_EQ(ov_rmonu_opt_threshold_table_add(&onu), 1);
        EXPECT_NE(find_row(KEY), nullptr);
    });
}

TEST(OptThreshold, ARowThatIsRefusedRefusesItsOnu) {
    run([](AppChassis& chassis) {
        const CallbackRegistration app = {"refuser", 1, "the refuser isn't registered"};
        app.add(
            SRMONUTHRESHOLD, CALLBACK_CHECK, [](MIBDID, void*, MIB_Flags_t) { return 0; }, mibDefFlags);
        EXPECT_NE(new_onu(8, "ABCD00000008").add(), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("add rm opt threshold table error"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("add rmonu opt threshold table fail"));
        EXPECT_NE(delete_onu(), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("del rminfo error"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("delete rmonu opt threshold table  fail"));
    });
}

// ---- writes -----------------------------------------------------------------------------------------------

TEST(OptThreshold, EachLevelReachesTheCardWithItsBitAlsoAtItsDefault) {
    run([](AppChassis& chassis) {
        const int32_t values[] = {-255, 80, -127, 126};
        for (unsigned number = 1; number <= 4; ++number) {
            chassis.forget_messages();
            Row row = KEY;
            level(row, number) = values[number - 1];
            ASSERT_EQ(edit(row, columns_of(number)), OV_GPON_RET_OK);
            ASSERT_THAT(chassis.messages(), SizeIs(1)); // whatever the ONU's state is
            const CardMessage message = chassis.messages()[0];
            EXPECT_EQ(message.type, MESSAGE);
            EXPECT_EQ(message.action, OV_HAL_GPON_MSG_ACTION_SET);
            EXPECT_EQ(message.mask, 1u << number);
            EXPECT_TRUE(message.wants_reply);
            EXPECT_EQ(static_cast<int32_t>(wire::get32(message.bytes, 4 * number)), values[number - 1]);
            EXPECT_EQ(message.record<Record>().onuIfindex, onu_ifindex_of(KEY));
        }
    });
}

TEST(OptThreshold, ReadLevelsAreNeverSent) {
    run([](AppChassis& chassis) {
        Row row = KEY;
        row.sRmOnuOptThresholdLowVolt = 33;
        EXPECT_EQ(edit(row, columns_of(5u)), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(edit(*find_row(KEY), mibDefFlags), OV_GPON_RET_OK);
        EXPECT_EQ(chassis.messages().at(0).mask, 0x1eu);
        EXPECT_EQ(wire::get32(chassis.messages()[0].bytes, 20), 0u);
    });
}

TEST(OptThreshold, TheCardsAnswerCounts) {
    run([](AppChassis& chassis) {
        Row row = KEY;
        row.sRmOnuOptThresholdLowRxpwr = -30;
        chassis.card_answers(MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(edit(row, columns_of(1u)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(find_row(KEY)->sRmOnuOptThresholdLowRxpwr, -255);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rminfo to hal error"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for rmonu_opt_threshold table"));
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(edit(row, columns_of(1u)), OV_GPON_RET_OK);
        EXPECT_EQ(find_row(KEY)->sRmOnuOptThresholdLowRxpwr, -30);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
        MIB_Flags_t columns = columns_of(1u);
        EXPECT_EQ(ov_app_gpon_rmonu_opt_threshold_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
    });
}

TEST(OptThreshold, ARowAndItsColumnsMakeRecordAndMask) {
    Row row = KEY;
    row.sRmOnuOptThresholdUpperTxpwr = 5;
    row.sRmOnuOptThresholdUpperTemp = 70;
    Record record = {};
    ov_bmp_t mask = 99;
    ov_rmonu_optthreshold_mib_data_convert_to_hal(&row, &record, columns_of(4u, 10u), &mask);
    EXPECT_EQ(mask, 1 << 4);
    EXPECT_EQ(record.uppertxPwrthreshod, 5);
    EXPECT_EQ(record.uppertempthreshod, 0);
}

// ---- reads ------------------------------------------------------------------------------------------------

TEST(OptThreshold, TheOtherLevelsAreReadFromAnOnuInOperation) {
    run([](AppChassis& chassis) {
        Record record = {};
        record.lowrxPwrthreshod = 99; // is set, and no reading
        record.lowvoltthreshod = 30;
        record.uppervoltthreshod = 36;
        record.lowbiasthreshod = 1;
        record.upperbiasthreshod = 90;
        record.lowtempthreshod = -40;
        record.uppertempthreshod = 85;
        chassis.card_reads(MESSAGE, record);
        Row row = KEY;
        EXPECT_EQ(ov_rmonu_status_check(&KEY), 0);
        ASSERT_TRUE(mib_access(MIB_GET, row));
        EXPECT_EQ(row.sRmOnuOptThresholdLowVolt, 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        bring_up();
        EXPECT_EQ(ov_rmonu_status_check(&KEY), 1);
        row = KEY;
        ASSERT_TRUE(mib_access(MIB_GET, row));
        const CardMessage message = chassis.messages().back();
        EXPECT_EQ(message.type, MESSAGE);
        EXPECT_EQ(message.action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_EQ(message.mask, 0u);
        EXPECT_EQ(row.sRmOnuOptThresholdLowRxpwr, -255);
        EXPECT_EQ(row.sRmOnuOptThresholdLowVolt, 30);
        EXPECT_EQ(row.sRmOnuOptThresholdUpperVolt, 36);
        EXPECT_EQ(row.sRmOnuOptThresholdLowBias, 1);
        EXPECT_EQ(row.sRmOnuOptThresholdUpperBias, 90);
        EXPECT_EQ(row.sRmOnuOptThresholdLowTemp, -40);
        EXPECT_EQ(row.sRmOnuOptThresholdUpperTemp, 85);
        chassis.forget_messages();
        row = KEY;
        EXPECT_TRUE(mib_access(MIB_GET, row, columns_of(1u, 4u)));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OptThreshold, ACardThatCannotTellFailsTheReadUnlessItDoesNotKnowIt) {
    run([](AppChassis& chassis) {
        bring_up();
        Row row = KEY;
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_TRUE(mib_access(MIB_GET, row));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get which not support"));
        chassis.card_answers(MESSAGE, OV_GPON_RET_DRV_ERR);
        row = KEY;
        EXPECT_FALSE(mib_access(MIB_GET, row));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get rminfo from low level error"));
    });
}

// ---- what is replayed -------------------------------------------------------------------------------------

TEST(OptThreshold, ALevelAtItsDefaultIsNotReplayed) {
    Row row = KEY;
    row.sRmOnuOptThresholdLowRxpwr = row.sRmOnuOptThresholdUpperRxpwr = -255;
    row.sRmOnuOptThresholdLowTxpwr = row.sRmOnuOptThresholdUpperTxpwr = -127;
    row.sRmOnuOptThresholdLowTemp = 5;
    EXPECT_EQ(ov_rmonu_opt_ponthreshold_table_attr_mask_get(&row), 0);
    for (unsigned number = 1; number <= 4; ++number) {
        Row changed = row;
        level(changed, number) = 0;
        EXPECT_EQ(ov_rmonu_opt_ponthreshold_table_attr_mask_get(&changed), 1 << number);
    }
}

} // namespace
