// Traffic profiles: what sets them apart from other profiles by name (named_profile_test.cpp).
#include "../support/profile_tables.h"

using namespace profile_test;
using testing::Contains;

namespace {

using T = TrafficProfiles;
using Row = T::Row;

Row profile(const std::string& name) {
    Row row = T::profile(name, 128);
    row.sRmTrafficProfileCIR = 64;
    row.sRmTrafficProfileCBS = 2000;
    row.sRmTrafficProfilePBS = 4000;
    return row;
}

TEST(RmTraffic, ACardIsToldTheWholeProfileWithoutAMask) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(T::add(profile("car")), OV_GPON_RET_OK);
        const auto seen = chassis.messages(1);
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].type, T::MESSAGE);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_EQ(seen[0].mask, 0u); // the whole record counts
        const auto record = seen[0].record<ov_gpon_trfprofile_attr_t>();
        EXPECT_EQ(record.id, static_cast<int32_t>(hash_of("car")));
        EXPECT_STREQ(record.name, "car");
        EXPECT_EQ(record.cir, 64u);
        EXPECT_EQ(record.cbs, 2000u);
        EXPECT_EQ(record.pir, 128u);
        EXPECT_EQ(record.pbs, 4000u);
        EXPECT_EQ(record.ifindex, 0); // every card
    });
}

TEST(RmTraffic, TheDefaultIsMadeAtStartAndSaidOnARestart) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(ov_app_gpon_rm_traffic_add_default(), OV_GPON_RET_OK);
        const Row* row = T::stored("default");
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->sRmTrafficProfileCIR, 2048u);
        EXPECT_EQ(row->sRmTrafficProfileCBS, 34768u);
        EXPECT_EQ(row->sRmTrafficProfilePIR, 4096u);
        EXPECT_EQ(row->sRmTrafficProfilePBS, 69536u);
        EXPECT_STREQ(row->sRmTrafficProfileName, "default");
        // on a restart with saved tables
        EXPECT_EQ(ov_app_gpon_rm_traffic_add_default(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("mib add default traffic profile error"));
    });
}

TEST(RmTraffic, AnyChangeIsTakenAndSent) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(T::add(profile("car")), OV_GPON_RET_OK);
        chassis.forget_messages();
        Row row = profile("car");
        row.sRmTrafficProfileId = hash_of("car");
        row.sRmTrafficProfilePIR = 999;
        EXPECT_TRUE(
            mib_access(MIB_SET, row, columns_of(sRmTrafficProfileTable_column::sRmTrafficProfilePIR)));
        const auto seen = chassis.messages(1);
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_EQ(seen[0].record<ov_gpon_trfprofile_attr_t>().pir, 999u);
        EXPECT_EQ(T::stored("car")->sRmTrafficProfilePIR, 999u);
    });
}

} // namespace
