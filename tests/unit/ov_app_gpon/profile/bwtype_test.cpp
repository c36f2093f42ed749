// Bandwidth profiles: what sets them apart from other profiles by name (named_profile_test.cpp).
#include "../support/profile_tables.h"

using namespace profile_test;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using T = BwProfiles;
using Row = T::Row;
namespace column = sBWProfileTable_column;

Row profile(const std::string& name, int type = 4, int fixed = 0, int assured = 0, int maximum = 1000) {
    Row row = T::profile(name, maximum);
    row.sBWProfileTableType = type;
    row.sBWProfileTableFixBw = fixed;
    row.sBWProfileTableAssBw = assured;
    return row;
}

// ---- adding -----------------------------------------------------------------------------------------------

TEST(BwType, AddTakesTheWholeContract) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        EXPECT_EQ(T::add(profile("gold", 5, 100, 200, 300)), OV_GPON_RET_OK);
        const Row* row = T::stored("gold");
        ASSERT_NE(row, nullptr);
        EXPECT_STREQ(row->sBWProfileTableBwProfileName, "gold");
        EXPECT_EQ(row->sBWProfileTableType, 5);
        EXPECT_EQ(row->sBWProfileTableFixBw, 100);
        EXPECT_EQ(row->sBWProfileTableAssBw, 200);
        EXPECT_EQ(row->sBWProfileTableMaxBw, 300);
        EXPECT_EQ(row->sBWProfileTableRowStatus, OVRA_ACTIVE);
    });
}

// A manager may rename a profile to the name of another: whichever row comes first, the other one counts.
TEST(BwType, ANameUnderItsOwnAndAnotherIdIsRefusedAsUnderAnother) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(T::add(profile("gold")), 0);
        const mib_ulong behind = hash_of("gold") + 1;
        ASSERT_TRUE(T::manager_creates(behind, profile("silver")));
        Row renamed = profile("gold");
        renamed.bwProfileId = behind;
        ASSERT_TRUE(mib_access(MIB_SET, renamed, columns_of(column::sBWProfileTableBwProfileName)));
        log_of(chassis);
        EXPECT_EQ(T::add(profile("gold")), OV_GPON_RET_EXISTED);
        EXPECT_THAT(log_of(chassis),
                    ElementsAre(with_id("same bwprofile name exist before ", behind, "gold")));
    });
}

// ---- amounts ----------------------------------------------------------------------------------------------

TEST(BwType, TypeFiveHoldsFixedAndAssuredBelowTheMaximum) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(T::add(profile("fits", 5, 100, 100, 200)), 0);
        log_of(chassis);
        EXPECT_EQ(T::add(profile("over", 5, 100, 100, 199)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("type5 bwprofile params error"));
        EXPECT_EQ(T::add(profile("wide", 5, INT32_MAX, INT32_MAX, INT32_MAX)), OV_GPON_RET_BAD_PARAM);
    });
}

TEST(BwType, TypeThreeLooksAtTheAssuredAmountAlone) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(T::add(profile("fits", 3, 5000, 200, 200)), 0);
        log_of(chassis);
        EXPECT_EQ(T::add(profile("over", 3, 0, 201, 200)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("type3 bwprofile params error"));
    });
}

TEST(BwType, OtherTypesTakeAmountsInAnyRelation) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        for (const int type : {0, 1, 2, 4})
            EXPECT_EQ(T::add(profile("type" + std::to_string(type), type, 900, 900, 1)), 0) << type;
    });
}

// ---- changing ---------------------------------------------------------------------------------------------

TEST(BwType, AnyChangeIsTakenThatOfTheDefaultToo) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(ov_app_gpon_bwtype_add_default(), 0);
        chassis.forget_messages();
        Row row = profile("", 5, 100, 100, 1);
        row.bwProfileId = hash_of("default");
        EXPECT_TRUE(mib_access(MIB_SET, row,
                               columns_of(column::sBWProfileTableType, column::sBWProfileTableFixBw,
                                          column::sBWProfileTableAssBw, column::sBWProfileTableMaxBw)));
        EXPECT_EQ(T::stored("default")->sBWProfileTableMaxBw, 1);
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_EQ(seen[0].mask, 0b111100u);
    });
}

// ---- how many ---------------------------------------------------------------------------------------------

TEST(BwType, AddLooksForRoomFirstAndSaysNothing) {
    app_chassis::run([](AppChassis& chassis) {
        T::put_many(chassis, 255);
        EXPECT_EQ(T::add(profile("last")), 0);
        log_of(chassis);
        EXPECT_EQ(T::add(profile("more")), 1005);
        EXPECT_THAT(log_of(chassis), IsEmpty());
        EXPECT_EQ(T::add(profile("last")), OV_GPON_RET_NO_RESOURCE); // room is looked for first
        EXPECT_EQ(rows_of<Row>(), 256);
    });
}

// ---- the card ---------------------------------------------------------------------------------------------

TEST(BwType, CreateTellsEveryCardTheWholeProfile) {
    app_chassis::run([](AppChassis& chassis) {
        FakeCard other(5);
        HalChassis::activate(5);
        ASSERT_EQ(T::add(profile("gold", 5, 0x10203, 0x40506, 0x708090)), 0);
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].type, T::MESSAGE);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_EQ(seen[0].mask, 0b111111u);
        EXPECT_TRUE(seen[0].wants_reply);
        wire::Bytes expected(92);
        wire::put32(expected, 0, hash_of("gold"));
        std::memcpy(expected.data() + 4, "gold", 4);
        wire::put32(expected, 72, 5);
        wire::put32(expected, 76, 0x10203);
        wire::put32(expected, 80, 0x40506);
        wire::put32(expected, 84, 0x708090);
        EXPECT_EQ(record_of(seen[0], expected.size()), expected);
        EXPECT_EQ(other.wait_for(1).size(), 1u);
    });
}

TEST(BwType, TheMaskNamesTheColumnsWritten) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(T::add(profile("gold"),
                         columns_of(column::sBWProfileTableBwProfileName, column::sBWProfileTableMaxBw)),
                  0);
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].mask, 0b100011u);
    });
}

TEST(BwType, ANameOfAllSixtyFiveBytesStaysTerminatedInTheRecord) {
    app_chassis::run([](AppChassis& chassis) {
        const std::string name(65, 'n');
        ASSERT_EQ(T::add(profile(name)), 0);
        mib_ulong id = 0;
        EXPECT_EQ(ov_app_gpon_bwtype_getId(name.c_str(), &id), 1);
        EXPECT_EQ(id, hash_of(name));
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_STREQ(seen[0].record<ov_gpon_bwprofile_attr_t>().name, std::string(64, 'n').c_str());
    });
}

// ---- look-ups ---------------------------------------------------------------------------------------------

TEST(BwType, AmountsByName) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        ASSERT_EQ(T::add(profile("gold", 5, 100, 200, 900)), 0);
        ASSERT_TRUE(T::manager_creates(42, profile("silver", 3, 7, 5, 9)));
        int sum = 0;
        int fixed = 0;
        EXPECT_EQ(ov_app_gpon_bwtype_assAndFix_get("gold", &sum, &fixed), 1);
        EXPECT_EQ(sum, 300); // the maximum doesn't count
        EXPECT_EQ(fixed, 100);
        EXPECT_EQ(ov_app_gpon_bwtype_assAndFix_get("bronze", &sum, &fixed), 0);
        EXPECT_EQ(sum, 300);
        EXPECT_EQ(ov_app_gpon_bwtype_assAndFix_get("silver", &sum, &fixed), 1);
        EXPECT_EQ(sum, 12);
        EXPECT_EQ(fixed, 7);
        EXPECT_EQ(ov_app_gpon_bwtype_assAndFix_get(nullptr, &sum, &fixed), 0);
        EXPECT_EQ(T::del("gold"), 0);
        EXPECT_EQ(ov_app_gpon_bwtype_assAndFix_get("gold", &sum, &fixed), 0);
    });
}

// ---- the default ------------------------------------------------------------------------------------------

TEST(BwType, TheDefaultIsMadeAtTheFirstStart) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(ov_app_gpon_bwtype_add_default(), 0);
        EXPECT_THAT(log_of(chassis), Not(Contains(HasSubstr("error"))));
        const Row* row = T::stored(3700132857u);
        ASSERT_NE(row, nullptr);
        EXPECT_STREQ(row->sBWProfileTableBwProfileName, "default");
        EXPECT_EQ(row->sBWProfileTableType, SBWPROFILETABLETYPE_TYPE4);
        EXPECT_EQ(row->sBWProfileTableFixBw, 0);
        EXPECT_EQ(row->sBWProfileTableAssBw, 0);
        EXPECT_EQ(row->sBWProfileTableMaxBw, 100000);
    });
}

TEST(BwType, ASavedDefaultIsSaidOnARestart) {
    app_chassis::run([](AppChassis& chassis) {
        T::put(chassis, hash_of("default"), "default", 5);
        EXPECT_EQ(ov_app_gpon_bwtype_add_default(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("mib add default bandwidth profile error"));
    });
}

} // namespace
