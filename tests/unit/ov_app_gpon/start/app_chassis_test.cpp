// The chassis that the application's tests stand on.
#include "../../support/app_chassis.h"

#include <gmock/gmock.h>

using testing::IsEmpty;

namespace {

TEST(AppChassisFixture, TheCardAnswersAsItIsTold) {
    app_chassis::run([](AppChassis& chassis) {
        ov_gpon_tcont_attr_t record = {};
        record.onuIfindex = ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, AppChassis::SLOT, 0, 4, 7);
        EXPECT_EQ(ov_hal_gpon_msg_send(908, OV_HAL_GPON_MSG_ACTION_CREATE, &record, 6, 1), 0);
        chassis.card_answers(908, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(ov_hal_gpon_msg_send(908, OV_HAL_GPON_MSG_ACTION_CREATE, &record, 6, 1),
                  OV_GPON_RET_NOT_SUPPORT);
        const auto seen = chassis.messages(2);
        ASSERT_EQ(seen.size(), 2u);
        EXPECT_EQ(seen[0].type, 908);
        EXPECT_EQ(seen[0].action, 1);
        EXPECT_EQ(seen[0].mask, 6u);
        EXPECT_EQ(seen[0].record<ov_gpon_tcont_attr_t>().onuIfindex, record.onuIfindex);
        chassis.forget_messages();
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(AppChassisFixture, TablesStartEmptyAndTakeRows) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.put_port(4);
        ov_sPonTable_attr_t key = {};
        table_of<ov_sPonTable_attr_t>::module().set_index_at(&key, 1, AppChassis::SLOT, 4);
        const auto* row = find_row(key);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->sPonTableMaxLogicDistance, 20);
        EXPECT_EQ(row->sPonTableRowStatus, OVRA_ACTIVE);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

} // namespace
