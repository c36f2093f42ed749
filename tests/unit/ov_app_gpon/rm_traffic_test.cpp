#include "ov_app_gpon_rm_traffic.h"

#include "app_set_callback.h"
#include "profile_support.h"
#include "sGemTable.h"

using namespace profile_test;
using testing::Contains;
using testing::ElementsAre;

namespace {

using Row = ov_sRmTrafficProfileTable_attr_t;

constexpr int MSG = 945;

Row profile(const std::string& name) {
    Row row = {};
    put_text(row.sRmTrafficProfileName, name);
    row.sRmTrafficProfileCIR = 64;
    row.sRmTrafficProfileCBS = 2000;
    row.sRmTrafficProfilePIR = 128;
    row.sRmTrafficProfilePBS = 4000;
    return row;
}

int add(const std::string& name, MIB_Flags_t columns = mibDefFlags) {
    Row row = profile(name);
    return ov_app_gpon_rm_traffic_add(&row, &columns);
}

int del(const std::string& name) {
    Row row = profile(name);
    return ov_app_gpon_rm_traffic_del(&row);
}

TEST(RmTraffic, AddMakesARowUnderTheHashOfItsNameAndTellsTheCards) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(add("car"), OV_GPON_RET_OK);
        mib_ulong id = 0;
        EXPECT_EQ(ov_app_gpon_rm_traffic_getId("car", &id), 1);
        EXPECT_EQ(id, hash_of("car"));
        const auto seen = chassis.messages(1);
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].type, MSG);
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

TEST(RmTraffic, AddRefusesNullsAMissingNameAndANameThatExists) {
    app_chassis::run([](AppChassis& chassis) {
        MIB_Flags_t flags = mibDefFlags;
        EXPECT_EQ(ov_app_gpon_rm_traffic_add(nullptr, &flags), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(add("car", MIB_Flags_t{}), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("null pointer", "missing parameter"));
        EXPECT_EQ(add("car"), OV_GPON_RET_OK);
        LogCapture::clear();
        EXPECT_EQ(add("car"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis),
                    ElementsAre(with_id("traffic profile was exist ", hash_of("car"), "car")));
    });
}

TEST(RmTraffic, AnEmptyNameAndANameUnderAnotherIdAreRefused) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(add(""), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("traffic profile name is empty"));
        EXPECT_EQ(add("car"), OV_GPON_RET_OK);
        LogCapture::clear();
        Row row = profile("car");
        row.sRmTrafficProfileId = 7;
        row.sRmTrafficProfileRowStatus = OVRA_CREATEANDGO;
        EXPECT_FALSE(mib_access(MIB_SET, row));
        EXPECT_THAT(log_of(chassis),
                    Contains(with_id("same traffic profile name exist before ", hash_of("car"), "car")));
        EXPECT_EQ(rows_of<Row>(), 1);
    });
}

TEST(RmTraffic, ThereIsRoomFor128) {
    app_chassis::run([](AppChassis& chassis) {
        for (unsigned n = 0; n < 127; ++n)
            chassis.put_row<Row>(
                [n](Row& row) { put_text(row.sRmTrafficProfileName, "tr" + std::to_string(n)); }, 1000 + n);
        EXPECT_EQ(add("the last"), OV_GPON_RET_OK);
        LogCapture::clear();
        EXPECT_EQ(add("one more"), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(rows_of<Row>(), 128);
    });
}

TEST(RmTraffic, AProfileThatAGemPortNamesStays) {
    app_chassis::run([](AppChassis& chassis) {
        for (const bool upstream : {true, false}) {
            const std::string name = upstream ? "up" : "down";
            EXPECT_EQ(add(name), OV_GPON_RET_OK);
            chassis.put_row<ov_sGemTable_attr_t>(
                [&](ov_sGemTable_attr_t& gem) {
                    put_text(upstream ? gem.sGemTableUpTrafficName : gem.sGemTableDownTrafficName, name);
                },
                1, AppChassis::SLOT, 4, 7, upstream ? 1 : 2);
            EXPECT_EQ(del(name), OV_GPON_RET_BAD_PARAM);
            EXPECT_THAT(log_of(chassis),
                        Contains(with_id("this traffic profile is using in onu table! tarffic profileid:",
                                         hash_of(name))));
        }
        EXPECT_EQ(add("free"), OV_GPON_RET_OK);
        chassis.forget_messages();
        EXPECT_EQ(del("free"), OV_GPON_RET_OK);
        const auto seen = chassis.messages(1);
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_DELETE);
        EXPECT_EQ(rows_of<Row>(), 2);
    });
}

TEST(RmTraffic, TheDefaultIsMadeAtStartAndStays) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(ov_app_gpon_rm_traffic_add_default(), OV_GPON_RET_OK);
        Row key = {};
        key.sRmTrafficProfileId = hash_of("default");
        const Row* row = find_row(key);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->sRmTrafficProfileCIR, 2048u);
        EXPECT_EQ(row->sRmTrafficProfileCBS, 34768u);
        EXPECT_EQ(row->sRmTrafficProfilePIR, 4096u);
        EXPECT_EQ(row->sRmTrafficProfilePBS, 69536u);
        EXPECT_EQ(del("default"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("trfprofile name is default"));
        // on a restart with saved tables
        EXPECT_EQ(ov_app_gpon_rm_traffic_add_default(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("mib add default traffic profile error"));
    });
}

TEST(RmTraffic, ACardThatRefusesLeavesNoRow) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.card_answers(MSG, 1005);
        EXPECT_EQ(add("car"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("set rm traffic to hal error"));
        EXPECT_EQ(rows_of<Row>(), 0);
        mib_ulong id = 0;
        EXPECT_EQ(ov_app_gpon_rm_traffic_getId("car", &id), 0);
    });
}

TEST(RmTraffic, AnyChangeIsTakenAndSent) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(add("car"), OV_GPON_RET_OK);
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
    });
}

} // namespace
