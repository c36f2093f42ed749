// The TR-069 client of an ONU, and the schedule of its queues.
#include "../support/remote_tables.h"

using namespace remote_test;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

// ---- the client -------------------------------------------------------------------------------------------

using Row = ov_sRmTr069MgmtTable_attr_t;
using Record = ov_gpon_onu_tr069_mgmt_attr_t;

Row full_row() {
    Row row = row_of<Tr069>();
    row.sRmTr069MgmtAdminState = SRMTR069MGMTADMINSTATE_LOCK;
    row.sRmTr069MgmtVlanId = 4094;
    row.sRmTr069MgmtPri = 7;
    set_text(row.sRmTr069MgmtAcsAddr, text_of(128, 'a'));
    row.sRmTr069MgmtValidateMode = SRMTR069MGMTVALIDATEMODE_BASIC;
    set_text(row.sRmTr069MgmtUsername, text_of(25, 'u'));
    set_text(row.sRmTr069MgmtPassword, "s3cret-acs");
    return row;
}

TEST(RmTr069, EachColumnReachesItsFieldAndHasItsNumberAsBit) {
    run([](AppChassis& chassis) {
        Row row;
        for (unsigned column = 1; column <= 7; ++column) {
            chassis.forget_messages();
            row = full_row();
            MIB_Flags_t columns = columns_of(column);
            ASSERT_EQ(ov_app_gpon_rm_tr069_mgmt_edit(&row, &columns), 0) << column;
            EXPECT_EQ(chassis.messages().at(0).mask, 1u << column);
        }
        const auto record = chassis.messages().at(0).record<Record>();
        EXPECT_EQ(record.adminstate, 1);
        EXPECT_EQ(record.vlanid, 4094u);
        EXPECT_EQ(record.pri, 7u);
        EXPECT_EQ(record.acsAddr, text_of(127, 'a')); // each with its terminator
        EXPECT_EQ(record.validateMode, 2u);
        EXPECT_EQ(record.username, text_of(24, 'u'));
        EXPECT_STREQ(record.password, "s3cret-acs");
        EXPECT_EQ(find_row(row)->sRmTr069MgmtAcsAddr, text_of(128, 'a'));
        EXPECT_EQ(find_row(row)->sRmTr069MgmtUsername, text_of(25, 'u'));
    });
}

TEST(RmTr069, APasswordStandsInNoLogLine) {
    run([](AppChassis& chassis) {
        g_gpon_ipc_msg_debug_flag = 1;
        Row row = full_row();
        MIB_Flags_t columns = columns_of(6u, 7u);
        chassis.card_answers(943, OV_GPON_RET_DRV_ERR);
        EXPECT_NE(ov_app_gpon_rm_tr069_mgmt_edit(&row, &columns), 0);
        g_gpon_ipc_msg_debug_flag = 0;
        EXPECT_THAT(chassis.hal.log.lines(), Contains(HasSubstr("uuuu"))); // the record was dumped
        EXPECT_THAT(chassis.hal.log.lines(), Not(Contains(HasSubstr("s3cret"))));
    });
}

TEST(RmTr069, AReplaySetsWhatIsNotAsItWasMade) {
    Row row = {};
    EXPECT_EQ(ov_rm_tr069_mgmt_table_attr_mask_get(&row), 0);
    row.sRmTr069MgmtPri = 1;
    EXPECT_EQ(ov_rm_tr069_mgmt_table_attr_mask_get(&row), 1 << 3);
    row = full_row();
    EXPECT_EQ(ov_rm_tr069_mgmt_table_attr_mask_get(&row), 0xfe);
}

TEST(RmTr069, NobodyIsAskedWhenTheRowComes) {
    run([](AppChassis& chassis) {
        const Row key = row_of<Tr069>();
        int asked = 0;
        static int* count = nullptr;
        count = &asked;
        const CallbackRegistration app = {"counter", 1, "the counter isn't registered"};
        const auto note = [](MIBDID, void*, MIB_Flags_t) { return ++*count, 1; };
        app.add(SRMTR069MGMT, CALLBACK_CHECK, note, mibDefFlags);
        app.add(SRMTR069MGMT, CALLBACK_SET, note, mibDefFlags);
        EXPECT_EQ(delete_onu(), OV_GPON_RET_OK);
        EXPECT_EQ(find_stored_row(key), nullptr);
        EXPECT_EQ(new_onu(ONU, "ABCD00000007").add(), OV_GPON_RET_OK);
        EXPECT_NE(find_row(key), nullptr);
        EXPECT_EQ(asked, 0);
        EXPECT_THAT(chassis.messages_of(943), IsEmpty());
    });
}

// ---- queues -----------------------------------------------------------------------------------------------

using Queue = ov_sRmOnuQosPriorityQueueScheduleTable_attr_t;

TEST(RmQueueSchedule, AModeTakesItsWeightsAlong) {
    run([](AppChassis& chassis) {
        Queue row = row_of<QueueSchedule>();
        row.sRmQueueScheduleMode = SRMQUEUESCHEDULEMODE_WRR;
        for (unsigned char n = 0; n < 8; ++n)
            row.sRmQueueScheduleWeight[n] = static_cast<unsigned char>(10 + n);
        MIB_Flags_t columns = columns_of(1u, 2u);
        ASSERT_EQ(ov_app_gpon_rm_queue_schedule_edit(&row, &columns), OV_GPON_RET_OK);
        const CardMessage message = chassis.messages().at(0);
        EXPECT_EQ(message.mask, 6u);
        const auto record = message.record<ov_gpon_onu_queue_schedule_attr_t>();
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(row));
        EXPECT_EQ(record.qosMode, 2);
        EXPECT_EQ(record.weight[0], 10);
        EXPECT_EQ(record.weight[7], 17);
        row.sRmQueueScheduleMode = SRMQUEUESCHEDULEMODE_STRICT_PRIORITY;
        columns = columns_of(1u);
        ASSERT_EQ(ov_app_gpon_rm_queue_schedule_edit(&row, &columns), OV_GPON_RET_OK);
        EXPECT_EQ(chassis.messages().at(1).mask, 6u);
    });
}

TEST(RmQueueSchedule, AReplaySetsBothOnceThereIsAMode) {
    Queue row = {};
    row.sRmQueueScheduleWeight[0] = 50;
    EXPECT_EQ(ov_rm_queue_schedule_attr_mask_get(&row), 0);
    row.sRmQueueScheduleMode = SRMQUEUESCHEDULEMODE_STRICT_PRIORITY;
    EXPECT_EQ(ov_rm_queue_schedule_attr_mask_get(&row), 6);
}

// Its row comes behind the check chain, and a refusal there refuses the ONU.
TEST(RmQueueSchedule, ARowThatIsRefusedRefusesItsOnu) {
    run([](AppChassis& chassis) {
        const CallbackRegistration app = {"refuser", 1, "the refuser isn't registered"};
        app.add(
            SRMQUEUESCHEDULE, CALLBACK_CHECK, [](MIBDID, void*, MIB_Flags_t) { return 0; }, mibDefFlags);
        EXPECT_NE(new_onu(8, "ABCD00000008").add(), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set queue schedule table error"));
        EXPECT_NE(delete_onu(), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("del queue schedule table error"));
    });
}

} // namespace
