// RSSI profiles: limits of the optical readings of ONUs.
#include "ov_app_gpon_onu_rssi.h"

#include <gmock/gmock.h>

#include "../../support/app_chassis.h"
#include "app_set_callback.h"
#include "sOnuTable.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Row = ov_sOnuRssiProfileTable_attr_t;
using Record = ov_gpon_onu_rssi_profile_t;
constexpr int MESSAGE = 904;
constexpr int COLUMNS = 20;
constexpr int32_t DEFAULTS[COLUMNS] = {900,   -1400, 800, -1200, 300, -3400, 200,  -3000, 13100, 200,
                                       11000, 700,   363, 297,   347, 314,   9000, -4500, 8000,  -1500};

Row key(int id) {
    Row row = {};
    row.profileId = id;
    return row;
}
int add(Row row, MIB_Flags_t columns) {
    return ov_app_gpon_onu_rssi_add(&row, &columns);
}
int del(int id) {
    Row row = key(id);
    return ov_app_gpon_onu_rssi_del(&row);
}
// The thresholds of a row in the order of their columns.
std::vector<int32_t> thresholds(const Row& row) {
    const TableDesc& table = table_desc_sOnuRssiProfileTable;
    std::vector<int32_t> values(COLUMNS);
    for (int n = 0; n < COLUMNS; ++n)
        memcpy(&values[static_cast<size_t>(n)],
               reinterpret_cast<const char*>(&row) + table.column(n + 2)->offset, sizeof(int32_t));
    return values;
}
std::vector<int32_t> defaults() {
    return {std::begin(DEFAULTS), std::end(DEFAULTS)};
}
void put_onu(const AppChassis& chassis, int id, int rssi, int status = OVRA_ACTIVE) {
    chassis.put_row<ov_sOnuTable_attr_t>([&](auto& row) { row.sOnuTableRssiProfileId = rssi; }, GPON_SHELF,
                                         AppChassis::SLOT, 4, id);
    ov_sOnuTable_attr_t at = onu_key<ov_sOnuTable_attr_t>(AppChassis::SLOT, 4, id);
    auto* row = const_cast<ov_sOnuTable_attr_t*>(find_stored_row(at));
    ASSERT_NE(row, nullptr);
    row->sOnuTableRowStatus = status;
    if (status != OVRA_ACTIVE)
        row->old_sOnuTableRowStatus = OVRA_CREATEANDWAIT;
}

TEST(OnuRssi, TheDefaultProfileIsThereFromTheStartAndReturns) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_NE(find_row(key(0)), nullptr);
        EXPECT_EQ(thresholds(*find_row(key(0))), defaults());
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(del(0), OV_GPON_RET_OK); // no ONU is there
        EXPECT_EQ(find_stored_row(key(0)), nullptr);
        ov_app_gpon_onu_rssi_add_default(); // the next start
        ASSERT_NE(find_row(key(0)), nullptr);
        EXPECT_EQ(thresholds(*find_row(key(0))), defaults());
        EXPECT_THAT(chassis.messages(), SizeIs(1)); // the delete
        const_cast<Row*>(find_row(key(0)))->sOnuRssiHighVccAlm = 5;
        ov_app_gpon_onu_rssi_add_default(); // it is there, loaded from its file
        EXPECT_EQ(find_row(key(0))->sOnuRssiHighVccAlm, 5);
    });
}

TEST(OnuRssi, ItsCallbackIsRegisteredForAllColumns) {
    app_chassis::run([](AppChassis&) {
        const MIB_callback* set = table_cntl[SONURSSIPROFILE].callback_set;
        while (set != nullptr && set->callback != ov_onu_rssi_table_set_callback)
            set = set->next;
        ASSERT_NE(set, nullptr);
        EXPECT_STREQ(set->app.appName, "app_onu_rssi");
        EXPECT_EQ(set->app.appId, gpon_onu_rssi_appid);
        for (unsigned column = 1; column <= 22; ++column)
            EXPECT_TRUE(mib_flag_is_set(set->app.appFlags, column)) << column;
    });
}

TEST(OnuRssi, TheRowIsTheRecord) {
    app_chassis::run([](AppChassis& chassis) {
        Row row = key(3);
        const TableDesc& table = table_desc_sOnuRssiProfileTable;
        for (int n = 0; n < COLUMNS; ++n) {
            const int32_t value = n % 2 == 0 ? 1000 + n : -1000 - n;
            memcpy(reinterpret_cast<char*>(&row) + table.column(n + 2)->offset, &value, sizeof value);
        }
        ASSERT_EQ(add(row, mibDefFlags), OV_GPON_RET_OK);
        const auto seen = chassis.messages();
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(seen[0].type, MESSAGE);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_EQ(seen[0].mask, 0u);
        EXPECT_TRUE(seen[0].wants_reply);
        EXPECT_EQ(wire::get32(seen[0].bytes, 0), 3u);
        for (size_t n = 0; n < COLUMNS; ++n)
            EXPECT_EQ(static_cast<int32_t>(wire::get32(seen[0].bytes, 4 + n * 4)), thresholds(row)[n]) << n;
    });
}

TEST(OnuRssi, AnAddMakesAProfileAndChangesOneThatIsThere) {
    app_chassis::run([](AppChassis& chassis) {
        Row row = key(3);
        row.sOnuRssiHighRxpwrAlm = -700;
        row.sOnuRssiHighTempAlm = 1; // isn't meant
        EXPECT_EQ(add(row, columns_of(6u)), OV_GPON_RET_OK);
        ASSERT_NE(find_row(key(3)), nullptr);
        auto expected = defaults();
        expected[4] = -700;
        EXPECT_EQ(thresholds(*find_row(key(3))), expected);
        row.sOnuRssiLowRxpwrWarn = -2800;
        EXPECT_EQ(add(row, columns_of(9u)), OV_GPON_RET_OK);
        expected[7] = -2800;
        EXPECT_EQ(thresholds(*find_row(key(3))), expected);
        EXPECT_EQ(del(3), OV_GPON_RET_OK);
        EXPECT_EQ(find_stored_row(key(3)), nullptr);
        const auto seen = chassis.messages();
        ASSERT_THAT(seen, SizeIs(3));
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_EQ(seen[0].record<Record>().rssiAttr.tempAlarmH, 9000);
        EXPECT_EQ(seen[1].action, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_EQ(seen[1].record<Record>().rssiAttr.rxpwrAlarmH, -700); // the whole row
        EXPECT_EQ(seen[2].action, OV_HAL_GPON_MSG_ACTION_DELETE);
        EXPECT_EQ(seen[2].record<Record>().profileId, 3);
    });
}

TEST(OnuRssi, AProfileInUseIsFrozen) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(key(3), {}), OV_GPON_RET_OK);
        ASSERT_EQ(add(key(4), {}), OV_GPON_RET_OK);
        put_onu(chassis, 7, 3);
        chassis.forget_messages();
        Row row = key(3);
        row.sOnuRssiHighVccAlm = 1;
        EXPECT_EQ(add(row, columns_of(14u)), OV_GPON_RET_FAIL);
        EXPECT_EQ(thresholds(*find_row(key(3))), defaults());
        EXPECT_THAT(chassis.hal.log.lines(),
                    Contains("this rssi profile is using in onu table! profileId:3"));
        EXPECT_EQ(del(3), OV_GPON_RET_FAIL);
        EXPECT_NE(find_row(key(3)), nullptr);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(del(4), OV_GPON_RET_OK);
        EXPECT_EQ(del(0), OV_GPON_RET_OK); // that ONU has another
        EXPECT_EQ(ov_onu_rssi_profile_check(3, OV_HAL_GPON_MSG_ACTION_CREATE), 1);
        EXPECT_EQ(ov_onu_rssi_profile_check(3, OV_HAL_GPON_MSG_ACTION_SET), 0);
        EXPECT_EQ(ov_onu_rssi_profile_check(3, OV_HAL_GPON_MSG_ACTION_DELETE), 0);
        EXPECT_EQ(ov_onu_rssi_profile_check(4, OV_HAL_GPON_MSG_ACTION_DELETE), 1);
    });
}

TEST(OnuRssi, TheDefaultProfileIsThatOfOnusWithoutAnother) {
    app_chassis::run([](AppChassis& chassis) {
        put_onu(chassis, 7, 0);
        EXPECT_EQ(del(0), OV_GPON_RET_FAIL);
        EXPECT_NE(find_row(key(0)), nullptr);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuRssi, AnOnuThatWaitsUsesNone) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(key(3), {}), OV_GPON_RET_OK);
        put_onu(chassis, 7, 3, OVRA_NOTINSERVICE);
        EXPECT_EQ(del(3), OV_GPON_RET_OK);
    });
}

TEST(OnuRssi, TheCardsAnswerCounts) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.card_answers(MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(add(key(3), {}), OV_GPON_RET_FAIL);
        EXPECT_EQ(find_stored_row(key(3)), nullptr);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set ONU RSSI profile error"));
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT); // of several cards one may know it
        EXPECT_EQ(add(key(3), {}), OV_GPON_RET_OK);
        EXPECT_NE(find_row(key(3)), nullptr);
        chassis.card_answers(MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(del(3), OV_GPON_RET_FAIL);
        EXPECT_NE(find_row(key(3)), nullptr);
    });
}

TEST(OnuRssi, WhatIsNotThereIsNotRemoved) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(del(3), OV_GPON_RET_NOT_FOUND);
        EXPECT_EQ(ov_app_gpon_onu_rssi_del(nullptr), OV_GPON_RET_FAIL);
        MIB_Flags_t columns = {};
        EXPECT_EQ(ov_app_gpon_onu_rssi_add(nullptr, &columns), OV_GPON_RET_FAIL);
        Row row = key(3);
        EXPECT_EQ(ov_app_gpon_onu_rssi_add(&row, nullptr), OV_GPON_RET_FAIL);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

} // namespace
