#include "ov_app_gpon_onutype.h"

#include "app_set_callback.h"
#include "ov_app_gpon_onusrv_batch_config.h"
#include "profile_support.h"
#include "sOnuTable.h"

using namespace profile_test;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using Row = ov_sOnuTypeProfileTable_attr_t;
namespace column = sOnuTypeProfileTable_column;

constexpr int MSG = 906;

Row profile(const std::string& name, int eth = 4, int pots = 2) {
    Row row = {};
    put_text(row.onuTypeProfileName, name);
    row.sOnuTypeProfileTableCardNum = 1;
    row.sOnuTypeProfileTableTcontNum = 8;
    row.sOnuTypeProfileTableGemPortNum = 32;
    row.sOnuTypeProfileTableUpQueueNum = 6;
    row.sOnuTypeProfileTableDwnQueueNum = 7;
    row.sOnuTypeProfileTableServicePortNum = 9;
    row.sOnuTypeProfileTableHostNum = 10;
    row.sOnuTypeProfileTableEthNum = eth;
    row.sOnuTypeProfileTablePotsNum = pots;
    row.sOnuTypeProfileTableWifiNum = 11;
    row.sOnuTypeProfileTableVideoNum = 12;
    return row;
}

int add(Row row, MIB_Flags_t columns = mibDefFlags) {
    return ov_app_gpon_onutype_add(&row, &columns);
}
int del(const std::string& name) {
    Row row = profile(name);
    return ov_app_gpon_onutype_del(&row);
}
bool manager_creates(mib_ulong id, Row row) {
    row.onuTypeProfileId = id;
    row.sOnuTypeProfileTableRowStatus = OVRA_CREATEANDGO;
    return mib_access(MIB_SET, row);
}
const Row* stored(mib_ulong id) {
    Row key = {};
    key.onuTypeProfileId = id;
    return find_row(key);
}
void put_profiles(AppChassis& chassis, int count) {
    for (int n = 0; n < count; ++n)
        chassis.put_row<Row>([n](Row& row) { put_text(row.onuTypeProfileName, "type" + std::to_string(n)); },
                             static_cast<mib_ulong>(1000 + n));
}
void put_service_profile(AppChassis& chassis, const std::string& onu_type) {
    chassis.put_row<ov_sOnuSrvProfileTable_attr_t>(
        [&](auto& row) { put_text(row.sOnuTypeProfileName, onu_type); }, 5);
}

// ---- adding -----------------------------------------------------------------------------------------------

TEST(OnuType, AddMakesARowUnderTheHashOfItsName) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(add(profile("HG8")), OV_GPON_RET_OK);
        const Row* row = stored(hash_of("HG8"));
        ASSERT_NE(row, nullptr);
        EXPECT_STREQ(row->onuTypeProfileName, "HG8");
        EXPECT_EQ(row->sOnuTypeProfileTableEthNum, 4);
        EXPECT_EQ(row->sOnuTypeProfileTableRowStatus, OVRA_ACTIVE);
        EXPECT_THAT(log_of(chassis), Not(Contains("mib add error for onutype table")));
    });
}

TEST(OnuType, AddNeedsARowAMaskAndAName) {
    app_chassis::run([](AppChassis& chassis) {
        Row row = profile("HG8");
        MIB_Flags_t columns = mibDefFlags;
        EXPECT_EQ(ov_app_gpon_onutype_add(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("null pointer"));
        EXPECT_EQ(ov_app_gpon_onutype_add(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("null pointer"));
        EXPECT_EQ(ov_app_gpon_onutype_del(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("null pointer"));
        columns = columns_but(column::onuTypeProfileName);
        EXPECT_EQ(ov_app_gpon_onutype_add(&row, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("missing parameter"));
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

TEST(OnuType, AnEmptyNameIsRefusedByTheTable) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(add(profile("")), OV_GPON_RET_BAD_PARAM);
        const auto log = log_of(chassis);
        EXPECT_THAT(log, Contains("onutype name is empty"));
        EXPECT_THAT(log, Contains("mib add error for onutype table"));
        EXPECT_EQ(rows_of<Row>(), 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuType, ANameCanBeAddedOnce) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("HG8")), 0);
        log_of(chassis);
        EXPECT_EQ(add(profile("HG8", 1, 0)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis),
                    ElementsAre(with_id("same onutype name exist before ", hash_of("HG8"), "HG8")));
        EXPECT_EQ(stored(hash_of("HG8"))->sOnuTypeProfileTableEthNum, 4);
    });
}

TEST(OnuType, ANameUnderAnotherIdIsRefused) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_TRUE(manager_creates(42, profile("HG8")));
        log_of(chassis);
        EXPECT_EQ(add(profile("HG8")), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("same onutype name exist before 42:HG8"));
        for (const mib_ulong id : {41u, 43u}) {
            EXPECT_FALSE(manager_creates(id, profile("HG8")));
            EXPECT_THAT(log_of(chassis), Contains("same onutype name exist before 42:HG8"));
            EXPECT_EQ(stored(id), nullptr);
        }
    });
}

TEST(OnuType, TwentySixPortsPassAndTheMessageNamesOneMore) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(add(profile("most", 24, 2)), 0);
        log_of(chassis);
        EXPECT_EQ(add(profile("more", 25, 2)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("the max port number for one onu is 27"));
        EXPECT_EQ(add(profile("many", INT32_MAX, INT32_MAX)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("the max port number for one onu is 27"));
    });
}

TEST(OnuType, TwoHundredFiftySixRowsAndNoMore) {
    app_chassis::run([](AppChassis& chassis) {
        put_profiles(chassis, 255);
        EXPECT_EQ(add(profile("last")), 0);
        log_of(chassis);
        EXPECT_EQ(add(profile("more")), OV_GPON_RET_BAD_PARAM);
        const auto log = log_of(chassis);
        EXPECT_THAT(log, Contains("the max onu type profile number is 256"));
        EXPECT_THAT(log, Contains("mib add error for onutype table"));
        EXPECT_FALSE(manager_creates(7, profile("more")));
        EXPECT_THAT(log_of(chassis), Contains("the max onu type profile number is 256"));
        EXPECT_EQ(rows_of<Row>(), 256);
    });
}

TEST(OnuType, AManagerMakesTheTwoHundredFiftySixthRow) {
    app_chassis::run([](AppChassis& chassis) {
        put_profiles(chassis, 255);
        EXPECT_TRUE(manager_creates(7, profile("last")));
    });
}

// ---- changing ---------------------------------------------------------------------------------------------

TEST(OnuType, NoTypeCanBeChanged) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("HG8")), 0);
        chassis.forget_messages();
        log_of(chassis);
        Row row = {};
        row.onuTypeProfileId = hash_of("HG8");
        row.sOnuTypeProfileTableVideoNum = 1;
        EXPECT_FALSE(mib_access(MIB_SET, row, columns_of(column::sOnuTypeProfileTableVideoNum)));
        EXPECT_THAT(log_of(chassis), Contains("onutype do not support edit"));
        EXPECT_EQ(stored(hash_of("HG8"))->sOnuTypeProfileTableVideoNum, 12);
        row = profile("HG8", 1, 0);
        MIB_Flags_t columns = mibDefFlags;
        EXPECT_EQ(ov_app_gpon_onutype_edit(&row, &columns), 0);
        EXPECT_EQ(stored(hash_of("HG8"))->sOnuTypeProfileTableEthNum, 4);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- removing ---------------------------------------------------------------------------------------------

TEST(OnuType, DelRemovesByName) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("HG8")), 0);
        chassis.forget_messages();
        EXPECT_EQ(del("HG8"), 0);
        EXPECT_EQ(stored(hash_of("HG8")), nullptr);
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_DELETE);
        EXPECT_EQ(seen[0].record<ov_gpon_onutype_attr_t>().id, static_cast<int32_t>(hash_of("HG8")));
    });
}

TEST(OnuType, DelOfAnUnknownNameIsRefused) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(del("HG8"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("the onutype profile name is not exist before 0:HG8"));
    });
}

TEST(OnuType, ADefaultTypeStaysWithoutAWord) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(ov_app_gpon_profile_onutype_add_default(), 0);
        chassis.forget_messages();
        log_of(chassis);
        Row row = *stored(hash_of("KLM-618"));
        EXPECT_EQ(ov_app_gpon_onutype_check(&row, OV_HAL_GPON_MSG_ACTION_DELETE, mibDefFlags), 0);
        EXPECT_THAT(log_of(chassis), IsEmpty());
        EXPECT_EQ(del("KLM-618"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("mib del error for onutype table"));
        EXPECT_NE(stored(hash_of("KLM-618")), nullptr);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuType, ATypeOfAnOnuStays) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("HG8")), 0);
        chassis.put_row<ov_sOnuTable_attr_t>(
            [](auto& row) { row.sOnuTableOnuTypeProfileId = hash_of("HG8"); }, 1, 3, 4, 7);
        EXPECT_EQ(del("HG8"), OV_GPON_RET_BAD_PARAM);
        const auto log = log_of(chassis);
        EXPECT_THAT(log, Contains(with_id("this onutype is using in onu table! onutype profile id:",
                                          hash_of("HG8"))));
        EXPECT_THAT(log, Contains("mib del error for onutype table"));
        EXPECT_NE(stored(hash_of("HG8")), nullptr);
    });
}

TEST(OnuType, ATypeOfAServiceProfileStays) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("HG8")), 0);
        put_service_profile(chassis, "HG8");
        EXPECT_EQ(del("HG8"), OV_GPON_RET_EXISTED);
        EXPECT_THAT(log_of(chassis), ElementsAre("onu srvprofile bind the onu type"));
        Row row = {};
        row.onuTypeProfileId = hash_of("HG8");
        EXPECT_FALSE(mib_access(MIB_DEL, row));
        EXPECT_THAT(log_of(chassis),
                    Contains("this onutype is using in srv-profile table! profile name:HG8"));
        EXPECT_NE(stored(hash_of("HG8")), nullptr);
    });
}

// ---- the card ---------------------------------------------------------------------------------------------

TEST(OnuType, CreateTellsEveryCardTheWholeType) {
    app_chassis::run([](AppChassis& chassis) {
        FakeCard other(5);
        HalChassis::activate(5);
        Row row = profile("HG8", 5, 3);
        row.sOnuTypeProfileTableIsDefaultProfile = 1;
        row.sOnuTypeProfileTableInUse = 1;
        row.sOnuTypeProfileTableCardNum = 2;
        ASSERT_EQ(add(row), 0);
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].type, MSG);
        EXPECT_EQ(seen[0].action, OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_EQ(seen[0].mask, 0x7fffu); // all attributes, and the marker of the columns without one
        EXPECT_TRUE(seen[0].wants_reply);
        wire::Bytes expected(128);
        std::memcpy(expected.data(), "HG8", 3);
        const uint32_t words[] = {hash_of("HG8"), 1, 1, 2, 5, 3, 10, 8, 11, 32, 9, 6, 7, 12, 0};
        for (size_t n = 0; n < std::size(words); ++n)
            wire::put32(expected, 68 + 4 * n, words[n]);
        EXPECT_EQ(record_of(seen[0], expected.size()), expected);
        EXPECT_EQ(other.wait_for(1).size(), 1u);
    });
}

TEST(OnuType, EachColumnHasItsBit) {
    const std::pair<unsigned, unsigned> bits[] = {
        {column::onuTypeProfileName, 0},
        {column::sOnuTypeProfileTableIsDefaultProfile, 2},
        {column::sOnuTypeProfileTableInUse, 3},
        {column::sOnuTypeProfileTableCardNum, 4},
        {column::sOnuTypeProfileTableTcontNum, 7},
        {column::sOnuTypeProfileTableGemPortNum, 9},
        {column::sOnuTypeProfileTableUpQueueNum, 11},
        {column::sOnuTypeProfileTableDwnQueueNum, 12},
        {column::sOnuTypeProfileTableServicePortNum, 10},
        {column::sOnuTypeProfileTableHostNum, 14},
        {column::sOnuTypeProfileTableEthNum, 5},
        {column::sOnuTypeProfileTablePotsNum, 6},
        {column::sOnuTypeProfileTableWifiNum, 8},
        {column::sOnuTypeProfileTableRowStatus, 14},
        {column::sOnuTypeProfileTableVideoNum, 13},
        {1, 1},
    };
    for (const auto& [col, bit] : bits) {
        Row row = profile("HG8");
        ov_gpon_onutype_attr_t record = {};
        ov_bmp_t mask = 0;
        sonutype_mib_data_convert_to_hal(&row, &record, columns_of(col), &mask);
        EXPECT_EQ(mask, 1 << bit) << col;
    }
}

TEST(OnuType, ACardWithoutSupportIsNoObstacle) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.card_answers(MSG, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(add(profile("HG8")), 0);
        EXPECT_THAT(log_of(chassis), Not(Contains(HasSubstr("error"))));
        EXPECT_NE(stored(hash_of("HG8")), nullptr);
    });
}

TEST(OnuType, ACardsErrorRefusesTheRow) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.card_answers(MSG, OV_GPON_RET_DRV_ERR);
        EXPECT_EQ(add(profile("HG8")), OV_GPON_RET_BAD_PARAM);
        const auto log = log_of(chassis);
        EXPECT_THAT(log, Contains("set onutype to hal error"));
        EXPECT_THAT(log, Contains("mib add error for onutype table"));
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

TEST(OnuType, AFailedRemovalLeavesTheRow) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("HG8")), 0);
        chassis.card_answers(MSG, OV_GPON_RET_FAIL);
        EXPECT_EQ(del("HG8"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("set onutype to hal error"));
        EXPECT_NE(stored(hash_of("HG8")), nullptr);
    });
}

TEST(OnuType, ASilentCardRefusesTheRow) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.card.behave(FakeCard::be_silent);
        EXPECT_EQ(add(profile("HG8")), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("set onutype to hal error"));
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

// ---- look-ups ---------------------------------------------------------------------------------------------

TEST(OnuType, IdsByName) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        ASSERT_EQ(add(profile("HG8")), 0);
        ASSERT_TRUE(manager_creates(42, profile("HG9")));
        mib_ulong id = 77;
        EXPECT_EQ(ov_app_gpon_onutype_getId("HG", &id), 0);
        EXPECT_EQ(ov_app_gpon_onutype_getId(nullptr, &id), 0);
        EXPECT_EQ(id, 77u);
        EXPECT_EQ(ov_app_gpon_onutype_getId("HG8", &id), 1);
        EXPECT_EQ(id, hash_of("HG8"));
        EXPECT_EQ(ov_app_gpon_onutype_getId("HG9", &id), 1);
        EXPECT_EQ(id, 42u);
    });
}

// ---- defaults ---------------------------------------------------------------------------------------------

void set_vendor(const std::string& vendor) {
    HalChassis::set("PDT_INFO_VENDER_PDT_NAME", vendor);
    ov_product_deinit(); // the product's texts are asked for anew
    ASSERT_EQ(ov_product_get_sysinfo_product_vender(), vendor);
}

void expect_default(const std::string& name, int eth, int pots, int queues) {
    const Row* row = stored(hash_of(name));
    ASSERT_NE(row, nullptr) << name;
    EXPECT_EQ(row->onuTypeProfileName, name);
    EXPECT_EQ(row->sOnuTypeProfileTableIsDefaultProfile, 1);
    EXPECT_EQ(row->sOnuTypeProfileTableInUse, 0);
    EXPECT_EQ(row->sOnuTypeProfileTableCardNum, 1);
    EXPECT_EQ(row->sOnuTypeProfileTableTcontNum, 8);
    EXPECT_EQ(row->sOnuTypeProfileTableGemPortNum, 32);
    EXPECT_EQ(row->sOnuTypeProfileTableUpQueueNum, queues);
    EXPECT_EQ(row->sOnuTypeProfileTableDwnQueueNum, queues);
    EXPECT_EQ(row->sOnuTypeProfileTableServicePortNum, 0);
    EXPECT_EQ(row->sOnuTypeProfileTableHostNum, pots);
    EXPECT_EQ(row->sOnuTypeProfileTableEthNum, eth);
    EXPECT_EQ(row->sOnuTypeProfileTablePotsNum, pots);
    EXPECT_EQ(row->sOnuTypeProfileTableWifiNum, 0);
    EXPECT_EQ(row->sOnuTypeProfileTableVideoNum, 0);
}

TEST(OnuType, OneDefaultTypeForAnyBrand) {
    for (const char* vendor : {"", "VANDE", "VANDEL2", "vandel"})
        app_chassis::run([vendor](AppChassis& /*chassis*/) {
            set_vendor(vendor);
            EXPECT_EQ(ov_app_gpon_profile_onutype_add_default(), 0);
            EXPECT_EQ(rows_of<Row>(), 1) << vendor;
            expect_default("KLM-618", 4, 2, 4);
            EXPECT_STREQ(ov_gpon_default_onutype_get(), "KLM-618");
        });
}

TEST(OnuType, ThreeDefaultTypesForTheBrandThatHasThem) {
    app_chassis::run([](AppChassis& chassis) {
        set_vendor("VANDEL");
        EXPECT_EQ(ov_app_gpon_profile_onutype_add_default(), 0);
        EXPECT_EQ(rows_of<Row>(), 3);
        expect_default("Vandel", 4, 2, 8);
        expect_default("HX07", 1, 0, 8);
        expect_default("HR36TD", 4, 2, 8);
        EXPECT_STREQ(ov_gpon_default_onutype_get(), "Vandel");
        // Columns 2, 3, 5 to 9, 11 to 13, 16 and what every add has: 1 and 15.
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 3u);
        EXPECT_EQ(seen[0].mask, 0x7fffu & ~(1u << 3 | 1u << 8 | 1u << 10));
    });
}

// The wording is the wrong way round, and the field knows it so.
TEST(OnuType, TheFirstStartLogsTheErrorTextAndARestartNone) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(ov_app_gpon_profile_onutype_add_default(), 0);
        EXPECT_THAT(log_of(chassis), Contains("mib add error for default onutype table"));
        EXPECT_EQ(ov_app_gpon_profile_onutype_add_default(), 0);
        EXPECT_THAT(log_of(chassis), Not(Contains("mib add error for default onutype table")));
        EXPECT_EQ(rows_of<Row>(), 1);
    });
}

TEST(OnuType, ADefaultThatTheCardRefusesIsNotMadeAndNotReported) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.card_answers(MSG, OV_GPON_RET_FAIL);
        EXPECT_EQ(ov_app_gpon_profile_onutype_add_default(), 0);
        EXPECT_THAT(log_of(chassis), Not(Contains("mib add error for default onutype table")));
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

} // namespace
