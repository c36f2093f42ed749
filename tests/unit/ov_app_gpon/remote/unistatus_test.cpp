// Settings of UNIs: which changes the card is told, the link that is read, the limit of counters.
#include "ov_app_gpon_rmunistatus.h"

#include "../../support/test_clock.h"
#include "../support/remote_chassis.h"
#include "app_card_answer.h"

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

using Row = ov_sRmUniStatusTable_attr_t;
using Record = ov_gpon_rmuni_attr_t;
using Pm = ov_sRmUniPmTable_attr_t;
namespace column = sRmUniStatusTable_column;

constexpr int MESSAGE = 915;

struct Setting {
    unsigned column;
    int bit;
    uint32_t value;
};
// Column, attribute, and a value that isn't the one at creation.
constexpr Setting SETTINGS[] = {
    {4, 2, 0},   {5, 3, 1},     {6, 4, 1},      {8, 5, 1},   {9, 6, 200},
    {11, 8, 1},  {12, 9, 0x13}, {13, 10, 1518}, {14, 11, 1}, {15, 12, 0},
    {16, 13, 1}, {17, 14, 1},   {18, 15, 1},    {19, 16, 1}, {20, 17, 3},
};

void put(Row& row, unsigned number, uint32_t value) {
    const ColumnDesc* desc = table_of<Row>::module().desc().column(static_cast<int>(number));
    std::memcpy(reinterpret_cast<char*>(&row) + desc->offset, &value, sizeof value);
}
uint32_t get(const Row& row, unsigned number) {
    uint32_t value = 0;
    const ColumnDesc* desc = table_of<Row>::module().desc().column(static_cast<int>(number));
    std::memcpy(&value, reinterpret_cast<const char*>(&row) + desc->offset, sizeof value);
    return value;
}

int edit(Row row, MIB_Flags_t columns) {
    return ov_app_gpon_rmunistatus_edit(&row, &columns);
}
int set_value(const Row& key, unsigned number, uint32_t value) {
    Row row = key;
    put(row, number, value);
    return edit(row, columns_of(number));
}
const Row UNI = uni<Row>(ETH, 2);

int enable_pm(const Row& key = UNI, mib_long value = 1) {
    return set_value(key, column::sRmUniStatusTablePmEnable, static_cast<uint32_t>(value));
}

// ---- writes -----------------------------------------------------------------------------------------------

TEST(UniStatus, EachSettingReachesTheCardInItsFieldWithItsBit) {
    run([](AppChassis& chassis) {
        const auto attributes = hal_record_attributes(hal_record_desc_of<Record>());
        for (const Setting& setting : SETTINGS) {
            chassis.forget_messages();
            ASSERT_EQ(set_value(UNI, setting.column, setting.value), OV_GPON_RET_OK) << setting.column;
            EXPECT_EQ(get(*find_row(UNI), setting.column), setting.value);
            const auto messages = chassis.messages_of(MESSAGE);
            ASSERT_THAT(messages, SizeIs(1)) << setting.column;
            EXPECT_EQ(messages[0].action, OV_HAL_GPON_MSG_ACTION_SET);
            EXPECT_EQ(messages[0].mask, 1u << setting.bit) << setting.column;
            // Behind index and place the fields follow their attributes, a word each.
            const size_t offset = 16 + 4 * static_cast<size_t>(setting.bit - 2);
            EXPECT_EQ(wire::get32(messages[0].bytes, offset), setting.value) << setting.column;
            const auto record = messages[0].record<Record>();
            EXPECT_EQ(record.onuIfindex, onu_ifindex_of(UNI));
            EXPECT_EQ(record.uniPos.cardId, 1);
            EXPECT_EQ(record.uniPos.uniType, ETH);
            EXPECT_EQ(record.uniPos.uniId, 2);
        }
        EXPECT_THAT(chassis.hal.log.lines(),
                    Contains("unistatus call back ok...").Times(std::size(SETTINGS)));
    });
}

TEST(UniStatus, ASwitchThatKeepsItsValueLosesItsBit) {
    run([](AppChassis& chassis) {
        for (const unsigned number : {5u, 17u, 18u, 6u, 8u}) {
            chassis.forget_messages();
            ASSERT_EQ(set_value(UNI, number, 0), OV_GPON_RET_OK);
            ASSERT_THAT(chassis.messages(), SizeIs(1)) << number; // sent all the same
            EXPECT_EQ(chassis.messages()[0].mask, 0u) << number;
        }
        chassis.forget_messages();
        Row row = UNI;
        row.sRmUniStatusMacLearnCount = 7;
        EXPECT_EQ(edit(row, columns_of(5u, 6u, 8u, 9u, 17u, 18u)), OV_GPON_RET_OK);
        EXPECT_EQ(chassis.messages().at(0).mask, 1u << 6);
    });
}

TEST(UniStatus, AnyOtherSettingIsToldAgain) {
    run([](AppChassis& chassis) {
        for (const Setting& setting : SETTINGS) {
            if (setting.column == 5 || setting.column == 6 || setting.column == 8 || setting.column == 17 ||
                setting.column == 18)
                continue;
            chassis.forget_messages();
            ASSERT_EQ(set_value(UNI, setting.column, get(*find_row(UNI), setting.column)), OV_GPON_RET_OK);
            EXPECT_EQ(chassis.messages().at(0).mask, 1u << setting.bit) << setting.column;
        }
    });
}

TEST(UniStatus, AWriteOfAllColumnsHasTheMarkerOfThoseWithoutAttribute) {
    run([](AppChassis& chassis) {
        Row row = *find_row(UNI);
        EXPECT_EQ(edit(row, mibDefFlags), OV_GPON_RET_OK);
        // all but the five switches, which keep their values
        EXPECT_EQ(chassis.messages().at(0).mask,
                  0x7ffffu & ~(1u | 1u << 1 | 1u << 3 | 1u << 4 | 1u << 5 | 1u << 14 | 1u << 15));
    });
}

TEST(UniStatus, ATemplateRowTakesAnythingWithoutAMessage) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), OV_GPON_RET_OK);
        bind_profile(3);
        chassis.card_answers(MESSAGE, 1009);
        const Row key = template_uni<Row>(ETH, 1);
        for (const Setting& setting : SETTINGS) {
            EXPECT_EQ(set_value(key, setting.column, setting.value), OV_GPON_RET_OK) << setting.column;
            EXPECT_EQ(get(*find_row(key), setting.column), setting.value);
        }
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(UniStatus, AWriteThatTheCardRefusesIsNone) {
    run([](AppChassis& chassis) {
        const auto before = all_of<Row>();
        chassis.card_answers(MESSAGE, 1009);
        EXPECT_EQ(set_value(UNI, 9, 17), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(all_of<Row>(), before);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rm unistatus to hal error"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for rm_uni_status table"));
    });
}

TEST(UniStatus, AWriteToASilentCardIsNone) {
    run([](AppChassis& chassis) {
        chassis.card_falls_silent();
        EXPECT_EQ(enable_pm(), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(find_row(UNI)->sRmUniStatusTablePmEnable, 0);
        EXPECT_THAT(all_of<Pm>(), IsEmpty());
    });
}

TEST(UniStatus, WhatTheCardDoesNotKnowIsStored) {
    run([](AppChassis& chassis) {
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(set_value(UNI, 9, 17), OV_GPON_RET_OK);
        EXPECT_EQ(find_row(UNI)->sRmUniStatusMacLearnCount, 17u);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
        EXPECT_THAT(chassis.hal.log.lines(), Not(Contains("unistatus call back ok...")));
    });
}

TEST(UniStatus, AWriteToAUniThatTheTypeHasNotIsRefused) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(set_value(uni<Row>(ETH, 3), 9, 17), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(set_value(uni<Row>(ETH, 1, 2), 9, 17), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(set_value(uni<Row>(VIDEO, 1), 9, 17), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_THAT(unis_of<Row>(), SizeIs(4));
    });
}

TEST(UniStatus, AnEditNeedsARowAndItsColumns) {
    run([](AppChassis& chassis) {
        Row row = UNI;
        MIB_Flags_t columns = columns_of(9u);
        EXPECT_EQ(ov_app_gpon_rmunistatus_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rmunistatus_edit(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("null pointer").Times(2));
    });
}

// ---- protection groups ------------------------------------------------------------------------------------

TEST(UniStatus, IsNotToBeWrittenOnAProtectingPort) {
    run([](AppChassis& chassis) {
        make_group(OTHER_PORT, PORT, true);
        EXPECT_EQ(set_value(UNI, 9, 17), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_THAT(chassis.hal.log.lines(), Contains("ov_unistatus_table_set_check_callback failed"));
    });
}

TEST(UniStatus, OfAWorkingPortIsRepeatedOnThePartner) {
    run([](AppChassis& chassis) {
        make_mirrored_group<SYNC_RMONU_UNISTATUS>();
        TestClock clock;
        EXPECT_EQ(set_value(UNI, 9, 17), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.messages(), SizeIs(1));
        clock.advance(std::chrono::seconds(1));
        EXPECT_THAT(repeated(), ElementsAre("8 action 3 on port 5"));
        EXPECT_THAT(chassis.hal.log.lines(), Not(Contains("unistatus call back ok...")));
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT); // not on this port, not on that
        EXPECT_EQ(set_value(UNI, 9, 18), OV_GPON_RET_OK);
        clock.advance(std::chrono::seconds(1));
        EXPECT_THAT(repeated(), SizeIs(1));
    });
}

// ---- the link ---------------------------------------------------------------------------------------------

TEST(UniStatus, TheLinkIsAskedOfTheOnu) {
    run([](AppChassis& chassis) {
        bring_up();
        Record record = {};
        record.linkstauts = 1;
        record.macLrnCount = 77;
        record.videoState = 1;
        chassis.card_reads(MESSAGE, record);
        Row row = UNI;
        ASSERT_TRUE(mib_access(MIB_GET, row));
        EXPECT_EQ(row.sRmUniStatusLinkStatus, 1);
        EXPECT_EQ(row.sRmUniStatusMacLearnCount, 0u); // nothing else is taken
        EXPECT_EQ(row.sRmUniStatusVideoAdminEnable, 0);
        ASSERT_THAT(chassis.messages(), SizeIs(1));
        const CardMessage message = chassis.messages()[0];
        EXPECT_EQ(message.action, OV_HAL_GPON_MSG_ACTION_GET);
        // the columns up to 11, and the marker of those among them without attribute
        EXPECT_EQ(message.mask, 0x401fcu);
        EXPECT_EQ(message.record<Record>().onuIfindex, onu_ifindex_of(UNI));
        EXPECT_EQ(message.record<Record>().uniPos.uniId, 2);
        ASSERT_TRUE(mib_access(MIB_GET, row, columns_of(column::sRmUniStatusLinkStatus)));
        EXPECT_EQ(chassis.messages().at(1).mask, 1u << 7);
        ASSERT_TRUE(mib_access(MIB_GET, row, columns_of(9u, 11u))); // nobody asked for the link
        EXPECT_THAT(chassis.messages(), SizeIs(2));
    });
}

TEST(UniStatus, TheLinkOfAnOnuThatIsAwayIsWhatWasStored) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), OV_GPON_RET_OK);
        Row row = UNI;
        EXPECT_TRUE(mib_access(MIB_GET, row));
        Row of_profile = template_uni<Row>(ETH, 1);
        EXPECT_TRUE(mib_access(MIB_GET, of_profile));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(UniStatus, ALinkThatCannotBeReadFails) {
    run([](AppChassis& chassis) {
        bring_up();
        for (const uint32_t code : {uint32_t{OV_GPON_RET_NOT_SUPPORT}, 1009u}) {
            chassis.card_answers(MESSAGE, code);
            Row row = UNI;
            EXPECT_FALSE(mib_access(MIB_GET, row)) << code;
        }
    });
}

// ---- the limit of counters --------------------------------------------------------------------------------

void put_pm_rows(const AppChassis& chassis, int rows) {
    for (int n = 0; n < rows; ++n)
        chassis.put_row<Pm>([](Pm&) {}, 1, SLOT, 1 + n / 128, 1 + n % 128, 2, ETH, 1);
}

TEST(UniStatus, CountersAreForEightHundredUnisAndOneMore) {
    run([](AppChassis& chassis) {
        put_pm_rows(chassis, 800);
        EXPECT_EQ(enable_pm(), OV_GPON_RET_OK);
        EXPECT_EQ(MibNumberGet(did_of<Pm>()), 801);
        EXPECT_EQ(enable_pm(uni<Row>(ETH, 1)), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(enable_pm(UNI), OV_GPON_RET_BAD_PARAM); // it is on already
        EXPECT_THAT(chassis.hal.log.lines(), Contains("the max pm channel which supported is: 800").Times(2));
        EXPECT_EQ(find_row(uni<Row>(ETH, 1))->sRmUniStatusTablePmEnable, 0);
        EXPECT_EQ(find_row(UNI)->sRmUniStatusTablePmEnable, 1);
        EXPECT_EQ(MibNumberGet(did_of<Pm>()), 801);
        EXPECT_EQ(set_value(UNI, 9, 17), OV_GPON_RET_OK); // other settings don't count
        EXPECT_EQ(enable_pm(UNI, 0), OV_GPON_RET_OK);
        EXPECT_EQ(enable_pm(uni<Row>(ETH, 1)), OV_GPON_RET_OK);
    });
}

// ---- what is replayed -------------------------------------------------------------------------------------

TEST(UniStatus, AReplaySetsWhatIsNotAsItWasMade) {
    run([](AppChassis& /*chassis*/) {
        const Row fresh = *find_row(UNI);
        EXPECT_EQ(ov_rmuni_table_attr_mask_get(&fresh), 0);
        for (const Setting& setting : SETTINGS) {
            Row row = fresh;
            put(row, setting.column, setting.value);
            EXPECT_EQ(static_cast<uint32_t>(ov_rmuni_table_attr_mask_get(&row)), 1u << setting.bit)
                << setting.column;
        }
        Row row = fresh;
        row.sRmUniStatusLinkStatus = 1;
        EXPECT_EQ(ov_rmuni_table_attr_mask_get(&row), 0);
    });
}

} // namespace
