// ONU types: what sets them apart from other profiles by name (named_profile_test.cpp).
#include "../support/profile_tables.h"

using namespace profile_test;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using T = OnuTypeProfiles;
using Row = T::Row;
namespace column = sOnuTypeProfileTable_column;

Row profile(const std::string& name, int eth = 4, int pots = 2) {
    Row row = T::profile(name, 12);
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
    return row;
}
void put_service_profile(AppChassis& chassis, const std::string& onu_type) {
    chassis.put_row<ov_sOnuSrvProfileTable_attr_t>(
        [&](auto& row) { put_text(row.sOnuTypeProfileName, onu_type); }, 5);
}

// ---- adding -----------------------------------------------------------------------------------------------

TEST(OnuType, TwentySixPortsPassAndTheMessageNamesOneMore) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(T::add(profile("most", 24, 2)), 0);
        log_of(chassis);
        EXPECT_EQ(T::add(profile("more", 25, 2)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("the max port number for one onu is 27"));
        EXPECT_EQ(T::add(profile("many", INT32_MAX, INT32_MAX)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains("the max port number for one onu is 27"));
    });
}

// ---- changing ---------------------------------------------------------------------------------------------

TEST(OnuType, NoTypeCanBeChanged) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(T::add(profile("HG8")), 0);
        chassis.forget_messages();
        log_of(chassis);
        Row row = {};
        row.onuTypeProfileId = hash_of("HG8");
        row.sOnuTypeProfileTableVideoNum = 1;
        EXPECT_FALSE(mib_access(MIB_SET, row, columns_of(column::sOnuTypeProfileTableVideoNum)));
        EXPECT_THAT(log_of(chassis), Contains("onutype do not support edit"));
        EXPECT_EQ(T::stored("HG8")->sOnuTypeProfileTableVideoNum, 12);
        row = profile("HG8", 1, 0);
        MIB_Flags_t columns = mibDefFlags;
        EXPECT_EQ(ov_app_gpon_onutype_edit(&row, &columns), 0);
        EXPECT_EQ(T::stored("HG8")->sOnuTypeProfileTableEthNum, 4);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- removing ---------------------------------------------------------------------------------------------

TEST(OnuType, ATypeOfAServiceProfileStays) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(T::add(profile("HG8")), 0);
        put_service_profile(chassis, "HG8");
        EXPECT_EQ(T::del("HG8"), OV_GPON_RET_EXISTED);
        EXPECT_THAT(log_of(chassis), ElementsAre("onu srvprofile bind the onu type"));
        Row row = {};
        row.onuTypeProfileId = hash_of("HG8");
        EXPECT_FALSE(mib_access(MIB_DEL, row));
        EXPECT_THAT(log_of(chassis),
                    Contains("this onutype is using in srv-profile table! profile name:HG8"));
        EXPECT_NE(T::stored("HG8"), nullptr);
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
        ASSERT_EQ(T::add(row), 0);
        const auto seen = chassis.messages();
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].type, T::MESSAGE);
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

// ---- look-ups ---------------------------------------------------------------------------------------------

// ---- defaults ---------------------------------------------------------------------------------------------

void set_vendor(const std::string& vendor) {
    HalChassis::set("PDT_INFO_VENDER_PDT_NAME", vendor);
    ov_product_deinit(); // the product's texts are asked for anew
    ASSERT_EQ(ov_product_get_sysinfo_product_vender(), vendor);
}

void expect_default(const std::string& name, int eth, int pots, int queues) {
    const Row* row = T::stored(name);
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

// The wording is the wrong way round, and the field knows it so; nothing is wrong, and it is no error line.
TEST(OnuType, TheFirstStartLogsTheErrorTextAsANoticeAndARestartNone) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(ov_app_gpon_profile_onutype_add_default(), 0);
        EXPECT_THAT(chassis.hal.log.file_text(), testing::HasSubstr("notice/60 [MMG]"));
        EXPECT_THAT(chassis.hal.log.file_text(), testing::Not(testing::HasSubstr("error/100")));
        EXPECT_THAT(log_of(chassis), Contains("mib add error for default onutype table"));
        EXPECT_EQ(ov_app_gpon_profile_onutype_add_default(), 0);
        EXPECT_THAT(log_of(chassis), Not(Contains("mib add error for default onutype table")));
        EXPECT_EQ(rows_of<Row>(), 1);
    });
}

TEST(OnuType, ADefaultThatTheCardRefusesIsNotMadeAndNotReported) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.card_answers(T::MESSAGE, OV_GPON_RET_FAIL);
        EXPECT_EQ(ov_app_gpon_profile_onutype_add_default(), 0);
        EXPECT_THAT(log_of(chassis), Not(Contains("mib add error for default onutype table")));
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

} // namespace
