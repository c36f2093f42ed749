#include "ov_app_gpon_bwtype.h"

#include "app_set_callback.h"
#include "profile_support.h"
#include "sOnuTable.h"
#include "sTcontTable.h"

using namespace profile_test;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using Row = ov_sBWProfileTable_attr_t;
namespace column = sBWProfileTable_column;

constexpr int MSG = 907;

Row profile(const std::string& name, int type = 4, int fixed = 0, int assured = 0, int maximum = 1000) {
    Row row = {};
    put_text(row.sBWProfileTableBwProfileName, name);
    row.sBWProfileTableType = type;
    row.sBWProfileTableFixBw = fixed;
    row.sBWProfileTableAssBw = assured;
    row.sBWProfileTableMaxBw = maximum;
    return row;
}

int add(Row row, MIB_Flags_t columns = mibDefFlags) {
    return ov_app_gpon_bwtype_add(&row, &columns);
}
int del(const std::string& name) {
    Row row = profile(name);
    return ov_app_gpon_bwtype_del(&row);
}

// As a manager makes a row: the index is the manager's choice.
bool manager_creates(mib_ulong id, Row row) {
    row.bwProfileId = id;
    row.sBWProfileTableRowStatus = OVRA_CREATEANDGO;
    return mib_access(MIB_SET, row, mibDefFlags);
}
const Row* stored(mib_ulong id) {
    Row key = {};
    key.bwProfileId = id;
    return find_row(key);
}
void put_profiles(AppChassis& chassis, int count) {
    for (int n = 0; n < count; ++n)
        chassis.put_row<Row>(
            [n](Row& row) { put_text(row.sBWProfileTableBwProfileName, "bw" + std::to_string(n)); },
            static_cast<mib_ulong>(1000 + n));
}

// ---- adding -----------------------------------------------------------------------------------------------

TEST(BwType, AddMakesARowUnderTheHashOfItsName) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        EXPECT_EQ(add(profile("gold", 5, 100, 200, 300)), OV_GPON_RET_OK);
        const Row* row = stored(hash_of("gold"));
        ASSERT_NE(row, nullptr);
        EXPECT_STREQ(row->sBWProfileTableBwProfileName, "gold");
        EXPECT_EQ(row->sBWProfileTableType, 5);
        EXPECT_EQ(row->sBWProfileTableFixBw, 100);
        EXPECT_EQ(row->sBWProfileTableAssBw, 200);
        EXPECT_EQ(row->sBWProfileTableMaxBw, 300);
        EXPECT_EQ(row->sBWProfileTableRowStatus, OVRA_ACTIVE);
    });
}

TEST(BwType, AddTakesOnlyTheColumnsThatItIsGiven) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        EXPECT_EQ(add(profile("gold", 4, 0, 0, 300), columns_of(column::sBWProfileTableBwProfileName)), 0);
        const Row* row = stored(hash_of("gold"));
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->sBWProfileTableType, 0);
        EXPECT_EQ(row->sBWProfileTableMaxBw, 0);
    });
}

TEST(BwType, AddNeedsARowAMaskAndAName) {
    app_chassis::run([](AppChassis& chassis) {
        Row row = profile("gold");
        MIB_Flags_t columns = mibDefFlags;
        EXPECT_EQ(ov_app_gpon_bwtype_add(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("null pointer"));
        EXPECT_EQ(ov_app_gpon_bwtype_add(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("null pointer"));
        EXPECT_EQ(ov_app_gpon_bwtype_del(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("null pointer"));
        columns = columns_but(column::sBWProfileTableBwProfileName);
        EXPECT_EQ(ov_app_gpon_bwtype_add(&row, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("missing parameter"));
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

TEST(BwType, AnEmptyNameIsRefusedByTheTable) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(add(profile("")), OV_GPON_RET_BAD_PARAM);
        const auto log = log_of(chassis);
        EXPECT_THAT(log, Contains("bwprofile name is empty"));
        EXPECT_THAT(log, Contains("mib add error for bwtype table"));
        EXPECT_EQ(rows_of<Row>(), 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(BwType, ANameCanBeAddedOnce) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(add(profile("gold")), 0);
        log_of(chassis);
        EXPECT_EQ(add(profile("gold", 4, 0, 0, 7)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis),
                    ElementsAre(with_id("bwtype profile was exist ", hash_of("gold"), "gold")));
        EXPECT_EQ(stored(hash_of("gold"))->sBWProfileTableMaxBw, 1000);
    });
}

TEST(BwType, ANameUnderAnotherIdIsRefusedByAddWithItsOwnCode) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_TRUE(manager_creates(42, profile("gold")));
        log_of(chassis);
        EXPECT_EQ(add(profile("gold")), OV_GPON_RET_EXISTED);
        EXPECT_THAT(log_of(chassis), ElementsAre("same bwprofile name exist before 42:gold"));
    });
}

// A manager may rename a profile to the name of another: whichever row comes first, the other one counts.
TEST(BwType, ANameUnderItsOwnAndAnotherIdIsRefusedAsUnderAnother) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("gold")), 0);
        const mib_ulong behind = hash_of("gold") + 1;
        ASSERT_TRUE(manager_creates(behind, profile("silver")));
        Row renamed = profile("gold");
        renamed.bwProfileId = behind;
        ASSERT_TRUE(mib_access(MIB_SET, renamed, columns_of(column::sBWProfileTableBwProfileName)));
        log_of(chassis);
        EXPECT_EQ(add(profile("gold")), OV_GPON_RET_EXISTED);
        EXPECT_THAT(log_of(chassis),
                    ElementsAre(with_id("same bwprofile name exist before ", behind, "gold")));
    });
}

TEST(BwType, ANameUnderAnotherIdIsRefusedByTheTable) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_TRUE(manager_creates(42, profile("gold")));
        for (const mib_ulong id : {41u, 43u}) { // on either side of the row that has the name
            log_of(chassis);
            EXPECT_FALSE(manager_creates(id, profile("gold")));
            EXPECT_THAT(log_of(chassis), Contains("same bwprofile name exist before 42:gold"));
            EXPECT_EQ(stored(id), nullptr);
        }
    });
}

// ---- amounts ----------------------------------------------------------------------------------------------

TEST(BwType, TypeFiveHoldsFixedAndAssuredBelowTheMaximum) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(add(profile("fits", 5, 100, 100, 200)), 0);
        log_of(chassis);
        EXPECT_EQ(add(profile("over", 5, 100, 100, 199)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("type5 bwprofile params error"));
        EXPECT_EQ(add(profile("wide", 5, INT32_MAX, INT32_MAX, INT32_MAX)), OV_GPON_RET_BAD_PARAM);
    });
}

TEST(BwType, TypeThreeLooksAtTheAssuredAmountAlone) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(add(profile("fits", 3, 5000, 200, 200)), 0);
        log_of(chassis);
        EXPECT_EQ(add(profile("over", 3, 0, 201, 200)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("type3 bwprofile params error"));
    });
}

TEST(BwType, OtherTypesTakeAmountsInAnyRelation) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        for (const int type : {0, 1, 2, 4})
            EXPECT_EQ(add(profile("type" + std::to_string(type), type, 900, 900, 1)), 0) << type;
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
        EXPECT_EQ(stored(hash_of("default"))->sBWProfileTableMaxBw, 1);
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_EQ(seen[0].mask, 0b111100u);
    });
}

TEST(BwType, EditDoesNothing) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("gold")), 0);
        chassis.forget_messages();
        Row row = profile("gold", 1, 7, 7, 7);
        MIB_Flags_t columns = mibDefFlags;
        EXPECT_EQ(ov_app_gpon_bwtype_edit(&row, &columns), 0);
        EXPECT_EQ(stored(hash_of("gold"))->sBWProfileTableMaxBw, 1000);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- removing ---------------------------------------------------------------------------------------------

TEST(BwType, DelRemovesByName) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("gold")), 0);
        ASSERT_EQ(add(profile("silver")), 0);
        chassis.forget_messages();
        EXPECT_EQ(del("gold"), 0);
        EXPECT_EQ(stored(hash_of("gold")), nullptr);
        EXPECT_NE(stored(hash_of("silver")), nullptr);
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_DELETE);
        EXPECT_EQ(seen[0].record<ov_gpon_bwprofile_attr_t>().id, static_cast<int32_t>(hash_of("gold")));
    });
}

TEST(BwType, DelOfAnUnknownNameIsRefused) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(del("gold"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("bwtype profile did not exist 0:gold"));
    });
}

TEST(BwType, TheDefaultStays) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(ov_app_gpon_bwtype_add_default(), 0);
        log_of(chassis);
        EXPECT_EQ(del("default"), OV_GPON_RET_BAD_PARAM);
        const auto log = log_of(chassis);
        EXPECT_THAT(log, Contains("bwprofile name is default"));
        EXPECT_THAT(log, Contains("mib del error for bwtype table"));
        EXPECT_NE(stored(hash_of("default")), nullptr);
    });
}

// The column of the T-CONT is signed: the id of "default" and many others is negative there.
TEST(BwType, AProfileOfATcontStays) {
    app_chassis::run([](AppChassis& chassis) {
        const std::string name = "internet"; // a hash above 2^31
        ASSERT_GT(hash_of(name), mib_ulong{INT32_MAX});
        ASSERT_EQ(add(profile(name)), 0);
        chassis.put_row<ov_sTcontTable_attr_t>(
            [&](auto& row) { row.sTcontTableBwProfileId = static_cast<mib_long>(hash_of(name)); }, 1, 3, 4, 7,
            1);
        EXPECT_EQ(del(name), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis),
                    Contains(with_id("this bwfile is using in tcont table! bwfileid:", hash_of(name))));
        EXPECT_NE(stored(hash_of(name)), nullptr);
    });
}

TEST(BwType, AProfileOfAnOnusManagementChannelStays) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("gold")), 0);
        chassis.put_row<ov_sOnuTable_attr_t>(
            [](auto& row) { row.sOnuTableOmccBwProfileId = hash_of("gold"); }, 1, 3, 4, 7);
        EXPECT_EQ(del("gold"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis),
                    Contains(with_id("this bwfile is using in onu table! bwfileid:", hash_of("gold"))));
    });
}

// ---- how many ---------------------------------------------------------------------------------------------

TEST(BwType, AddStopsAtTwoHundredFiftySixRows) {
    app_chassis::run([](AppChassis& chassis) {
        put_profiles(chassis, 255);
        EXPECT_EQ(add(profile("last")), 0);
        log_of(chassis);
        EXPECT_EQ(add(profile("more")), 1005);
        EXPECT_THAT(log_of(chassis), IsEmpty());
        EXPECT_EQ(add(profile("last")), OV_GPON_RET_NO_RESOURCE); // room is looked for first
        EXPECT_EQ(rows_of<Row>(), 256);
    });
}

TEST(BwType, AManagerStopsAtTwoHundredFiftySixRows) {
    app_chassis::run([](AppChassis& chassis) {
        put_profiles(chassis, 255);
        EXPECT_TRUE(manager_creates(7, profile("last")));
        EXPECT_FALSE(manager_creates(8, profile("more")));
        EXPECT_EQ(rows_of<Row>(), 256);
        EXPECT_EQ(stored(8), nullptr);
    });
}

// ---- the card ---------------------------------------------------------------------------------------------

TEST(BwType, CreateTellsEveryCardTheWholeProfile) {
    app_chassis::run([](AppChassis& chassis) {
        FakeCard other(5);
        HalChassis::activate(5);
        ASSERT_EQ(add(profile("gold", 5, 0x10203, 0x40506, 0x708090)), 0);
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].type, MSG);
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
        ASSERT_EQ(add(profile("gold"),
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
        ASSERT_EQ(add(profile(name)), 0);
        mib_ulong id = 0;
        EXPECT_EQ(ov_app_gpon_bwtype_getId(name.c_str(), &id), 1);
        EXPECT_EQ(id, hash_of(name));
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_STREQ(seen[0].record<ov_gpon_bwprofile_attr_t>().name, std::string(64, 'n').c_str());
    });
}

TEST(BwType, ACardWithoutSupportIsNoObstacle) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.card_answers(MSG, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(add(profile("gold")), 0);
        EXPECT_THAT(log_of(chassis), Not(Contains(HasSubstr("error"))));
        EXPECT_NE(stored(hash_of("gold")), nullptr);
    });
}

TEST(BwType, ACardsErrorRefusesTheRow) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.card_answers(MSG, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(add(profile("gold")), OV_GPON_RET_BAD_PARAM);
        const auto log = log_of(chassis);
        EXPECT_THAT(log, Contains("set bwtype error"));
        EXPECT_THAT(log, Contains("mib add error for bwtype table"));
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

TEST(BwType, AFailedRemovalLeavesTheRow) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("gold")), 0);
        chassis.card_answers(MSG, OV_GPON_RET_FAIL);
        EXPECT_EQ(del("gold"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("set bwtype error"));
        EXPECT_NE(stored(hash_of("gold")), nullptr);
    });
}

TEST(BwType, ASilentCardRefusesTheRow) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.card.behave(FakeCard::be_silent);
        EXPECT_EQ(add(profile("gold")), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("set bwtype error"));
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

TEST(BwType, ARowThatWaitsGoesToTheCardWhenItIsActivated) {
    app_chassis::run([](AppChassis& chassis) {
        Row row = profile("gold");
        row.bwProfileId = 9;
        row.sBWProfileTableRowStatus = OVRA_CREATEANDWAIT;
        ASSERT_TRUE(mib_access(MIB_SET, row));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        row.sBWProfileTableRowStatus = OVRA_ACTIVE;
        ASSERT_TRUE(mib_access(MIB_SET, row, columns_of(column::sBWProfileTableRowStatus)));
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
    });
}

// ---- look-ups ---------------------------------------------------------------------------------------------

TEST(BwType, IdsAndAmountsByName) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        ASSERT_EQ(add(profile("gold", 5, 100, 200, 900)), 0);
        ASSERT_TRUE(manager_creates(42, profile("silver", 3, 7, 5, 9)));
        mib_ulong id = 77;
        EXPECT_EQ(ov_app_gpon_bwtype_getId("bronze", &id), 0);
        EXPECT_EQ(ov_app_gpon_bwtype_getId("gol", &id), 0);
        EXPECT_EQ(ov_app_gpon_bwtype_getId(nullptr, &id), 0);
        EXPECT_EQ(id, 77u);
        EXPECT_EQ(ov_app_gpon_bwtype_getId("gold", &id), 1);
        EXPECT_EQ(id, hash_of("gold"));
        EXPECT_EQ(ov_app_gpon_bwtype_getId("silver", &id), 1);
        EXPECT_EQ(id, 42u);
        int sum = 0;
        int fixed = 0;
        EXPECT_EQ(ov_app_gpon_bwtype_assAndFix_get("gold", &sum, &fixed), 1);
        EXPECT_EQ(sum, 300); // the maximum doesn't count
        EXPECT_EQ(fixed, 100);
        EXPECT_EQ(ov_app_gpon_bwtype_assAndFix_get("bronze", &sum, &fixed), 0);
        EXPECT_EQ(sum, 300);
        EXPECT_EQ(del("gold"), 0);
        EXPECT_EQ(ov_app_gpon_bwtype_getId("gold", &id), 0);
        EXPECT_EQ(ov_app_gpon_bwtype_assAndFix_get("gold", &sum, &fixed), 0);
    });
}

// ---- the default ------------------------------------------------------------------------------------------

TEST(BwType, TheDefaultIsMadeAtTheFirstStart) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(ov_app_gpon_bwtype_add_default(), 0);
        EXPECT_THAT(log_of(chassis), Not(Contains(HasSubstr("error"))));
        const Row* row = stored(3700132857u);
        ASSERT_NE(row, nullptr);
        EXPECT_STREQ(row->sBWProfileTableBwProfileName, "default");
        EXPECT_EQ(row->sBWProfileTableType, SBWPROFILETABLETYPE_TYPE4);
        EXPECT_EQ(row->sBWProfileTableFixBw, 0);
        EXPECT_EQ(row->sBWProfileTableAssBw, 0);
        EXPECT_EQ(row->sBWProfileTableMaxBw, 100000);
    });
}

TEST(BwType, ASavedDefaultStaysOnARestart) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.put_row<Row>(
            [](Row& row) {
                put_text(row.sBWProfileTableBwProfileName, "default");
                row.sBWProfileTableMaxBw = 5;
            },
            hash_of("default"));
        EXPECT_EQ(ov_app_gpon_bwtype_add_default(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("mib add default bandwidth profile error"));
        EXPECT_EQ(stored(hash_of("default"))->sBWProfileTableMaxBw, 5);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

} // namespace
