// Power over Ethernet: settings that are told, readings that are asked for, which ports there are.
#include "../support/remote_tables.h"
#include "table_module.h"

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

template <typename Row>
void put(Row& row, unsigned number, uint32_t value) {
    const ColumnDesc* desc = table_of<Row>::module().desc().column(static_cast<int>(number));
    std::memcpy(reinterpret_cast<char*>(&row) + desc->offset, &value, sizeof value);
}
template <typename Row>
uint32_t get(const Row& row, unsigned number) {
    uint32_t value = 0;
    const ColumnDesc* desc = table_of<Row>::module().desc().column(static_cast<int>(number));
    std::memcpy(&value, reinterpret_cast<const char*>(&row) + desc->offset, sizeof value);
    return value;
}

// A column, its attribute, its field in the record, and a value of each field that fits none smaller.
struct Column {
    unsigned number;
    int bit;
    size_t offset;
    size_t size;
    uint32_t value;
};

template <typename Table>
struct Poe;
template <>
struct Poe<UniPoe> {
    static constexpr Column SETTINGS[] = {
        {4, 2, 16, 1, 1}, {6, 4, 18, 1, 2}, {8, 6, 20, 1, 3}, {15, 13, 48, 2, 60}};
    static constexpr Column READINGS[] = {
        {5, 3, 17, 1, 200},     {7, 5, 19, 1, 201},     {9, 7, 24, 4, 70000},   {10, 8, 28, 1, 202},
        {11, 9, 32, 4, 70001},  {12, 10, 36, 4, 70002}, {13, 11, 40, 4, 70003}, {14, 12, 44, 4, 70004},
        {16, 14, 50, 2, 40000}, {17, 15, 52, 2, 40001},
    };
    static constexpr const char* READ_FAILURE = "get rm unipoe from low level error";
    static ov_bmp_t mask(const void* row) { return ov_rmuni_poe_table_attr_mask_get(row); }
};
template <>
struct Poe<OnuPoe> {
    static constexpr Column SETTINGS[] = {
        {5, 5, 20, 2, 99}, {6, 6, 22, 1, 1}, {7, 7, 24, 4, 0xffffffff}, {8, 8, 28, 4, 0xfffffffe}};
    static constexpr Column READINGS[] = {{1, 1, 4, 4, 70000},  {2, 2, 8, 1, 200},    {3, 3, 12, 4, 70001},
                                          {4, 4, 16, 4, 70002}, {9, 9, 32, 4, 70003}, {10, 10, 36, 4, 70004}};
    static constexpr const char* READ_FAILURE = "get rm onupoe from low level error";
    static ov_bmp_t mask(const void* row) { return ov_rmonu_poe_table_attr_mask_get(row); }
};

uint32_t field_in(const wire::Bytes& record, const Column& column) {
    uint32_t value = 0;
    for (size_t n = 0; n < column.size; ++n)
        value = value << 8 | record.at(column.offset + n);
    return value;
}
void put_field(uint8_t* record, const Column& column) {
    for (size_t n = 0; n < column.size; ++n)
        record[column.offset + n] = static_cast<uint8_t>(column.value >> 8 * (column.size - 1 - n));
}

template <typename Table>
class RmPoe : public testing::Test {
public:
    using Row = typename Table::Row;
    static bool read(Row& row, const MIB_Flags_t& columns) {
        row = row_of<Table>();
        return mib_access(MIB_GET, row, columns);
    }
};
using PoeTables = testing::Types<UniPoe, OnuPoe>;
TYPED_TEST_SUITE(RmPoe, PoeTables);

TYPED_TEST(RmPoe, EachSettingReachesItsFieldWithItsBit) {
    using Table = TypeParam;
    run([](AppChassis& chassis) {
        for (const Column& column : Poe<Table>::SETTINGS) {
            chassis.forget_messages();
            auto row = row_of<Table>();
            put(row, column.number, column.value);
            MIB_Flags_t columns = columns_of(column.number);
            ASSERT_EQ(Table::edit(&row, &columns), OV_GPON_RET_OK) << column.number;
            EXPECT_EQ(get(*find_row(row), column.number), column.value);
            const CardMessage message = chassis.messages().at(0);
            EXPECT_EQ(message.mask, 1u << column.bit) << column.number;
            EXPECT_EQ(field_in(message.bytes, column), column.value) << column.number;
        }
    });
}

TYPED_TEST(RmPoe, ReadingsComeFromAnOnuInOperation) {
    using Table = TypeParam;
    run([](AppChassis& chassis) {
        typename Table::Record record = {};
        uint32_t all = 0;
        MIB_Flags_t asked = {};
        for (const Column& column : Poe<Table>::READINGS) {
            put_field(reinterpret_cast<uint8_t*>(&record), column);
            all |= 1u << column.bit;
            mib_flag_set(asked, column.number);
        }
        chassis.card_reads(Table::MESSAGE, record);
        typename Table::Row row;
        ASSERT_TRUE(TestFixture::read(row, asked));
        EXPECT_THAT(chassis.messages(), IsEmpty()); // it isn't in operation
        bring_up();
        ASSERT_TRUE(TestFixture::read(row, asked));
        ASSERT_THAT(chassis.messages_of(Table::MESSAGE), SizeIs(1));
        const CardMessage message = chassis.messages_of(Table::MESSAGE)[0];
        EXPECT_EQ(message.action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_EQ(message.mask, all);
        EXPECT_EQ(message.template record<typename Table::Record>().onuIfindex, onu_ifindex_of(row));
        for (const Column& column : Poe<Table>::READINGS)
            EXPECT_EQ(get(row, column.number), column.value) << column.number;
        for (const Column& column : Poe<Table>::SETTINGS)
            EXPECT_EQ(get(row, column.number), 0u) << column.number;
    });
}

TYPED_TEST(RmPoe, SettingsAloneAskNobody) {
    using Table = TypeParam;
    run([](AppChassis& chassis) {
        bring_up();
        chassis.forget_messages();
        MIB_Flags_t columns = {};
        for (const Column& column : Poe<Table>::SETTINGS)
            mib_flag_set(columns, column.number);
        typename Table::Row row;
        EXPECT_TRUE(TestFixture::read(row, columns));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TYPED_TEST(RmPoe, ACardThatCannotTellFailsTheReadUnlessItDoesNotKnowIt) {
    using Table = TypeParam;
    run([](AppChassis& chassis) {
        bring_up();
        typename Table::Row row;
        chassis.card_answers(Table::MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_TRUE(TestFixture::read(row, mibDefFlags));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get which not support"));
        chassis.card_answers(Table::MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_FALSE(TestFixture::read(row, mibDefFlags));
        EXPECT_THAT(chassis.hal.log.lines(), Contains(Poe<Table>::READ_FAILURE));
    });
}

TYPED_TEST(RmPoe, AReplaySetsSettingsThatAreNotAsTheyWereMade) {
    using Table = TypeParam;
    uint32_t all = 0;
    typename Table::Row full = {};
    for (const Column& column : Poe<Table>::SETTINGS) {
        typename Table::Row row = {};
        put(row, column.number, column.value);
        put(full, column.number, column.value);
        EXPECT_EQ(static_cast<uint32_t>(Poe<Table>::mask(&row)), 1u << column.bit) << column.number;
        all |= 1u << column.bit;
    }
    for (const Column& column : Poe<Table>::READINGS)
        put(full, column.number, column.value);
    EXPECT_EQ(static_cast<uint32_t>(Poe<Table>::mask(&full)), all);
}

TEST(RmUniPoe, ThereIsOneForEachEthernetPort) {
    run(
        [](AppChassis&) {
            const auto ports = [](int onu, int port, int slot) {
                std::vector<std::string> found;
                const auto key = onu_key<UniPoe::Row>(slot, port, onu);
                for (const UniPoe::Row& row : rows_under(key, INDEX_TO_ONU))
                    found.push_back(std::to_string(row.sRmUniPoeOnuCardID) + "/" +
                                    std::to_string(row.sRmUniPoeOnuPortType) + "/" +
                                    std::to_string(row.sRmUniPoeOnuPortID));
                return found;
            };
            EXPECT_THAT(ports(ONU, PORT, SLOT), ElementsAre("1/0/1", "1/0/2", "2/0/1", "2/0/2"));
            ASSERT_EQ(add_profile(), OV_GPON_RET_OK);
            EXPECT_THAT(ports(PROFILE, GPON_TEMPLATE_PORT, GPON_TEMPLATE_SLOT), SizeIs(4));
        },
        {.cards = 2, .eth = 2, .pots = 3, .video = 1});
}

TEST(RmUniPoe, TheRecordSaysWhichUniIsMeant) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(edit_one<UniPoe>(row_of<UniPoe>()), OV_GPON_RET_OK);
        const auto record = chassis.messages().at(0).record<UniPoe::Record>();
        EXPECT_EQ(record.uniPos.cardId, 1);
        EXPECT_EQ(record.uniPos.uniType, ETH);
        EXPECT_EQ(record.uniPos.uniId, 2);
    });
}

// A card would take port 65537 for port 1.
TEST(RmUniPoe, ARowThatAManagerMakesIsOfAPlaceThatAnOnuCanHave) {
    run([](AppChassis& chassis) {
        bring_up();
        const auto make = [](mib_ulong card, mib_ulong port, int onu = ONU) {
            UniPoe::Row row = row_of<UniPoe>(onu);
            row.sRmUniPoeOnuCardID = card;
            row.sRmUniPoeOnuPortID = port;
            return mib_access(MIB_CREATEGO, row, columns_of(sRmUniPoeTable_column::sRmUniPoeRowStatus));
        };
        for (const mib_ulong wrong : {0u, 256u, 65537u}) {
            EXPECT_FALSE(make(1, wrong)) << wrong;
            EXPECT_FALSE(make(wrong, 1)) << wrong;
        }
        EXPECT_THAT(chassis.hal.log.lines(), Contains("wrong uni 1/65537"));
        EXPECT_FALSE(make(1, 1, 99));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("onu id 99 is not exist"));
        EXPECT_TRUE(make(255, 255));
        EXPECT_THAT(chassis.messages_of(UniPoe::MESSAGE), IsEmpty());
        // one that is there all the same asks for no other, and goes with its ONU
        chassis.put_row<UniPoe::Row>([](auto&) {}, 1, SLOT, PORT, ONU, 1, ETH, 65537);
        UniPoe::Row row = row_of<UniPoe>();
        row.sRmUniPoeOnuPortID = 65537;
        EXPECT_TRUE(mib_access(MIB_GET, row));
        EXPECT_THAT(chassis.messages_of(UniPoe::MESSAGE), IsEmpty());
        EXPECT_EQ(delete_onu(), OV_GPON_RET_OK);
        EXPECT_THAT(all_of<UniPoe::Row>(), IsEmpty());
    });
}

TEST(RmOnuPoe, ARowThatAManagerMakesHasAnOnu) {
    run([](AppChassis& chassis) {
        OnuPoe::Row row = row_of<OnuPoe>(99);
        EXPECT_FALSE(mib_access(MIB_CREATEGO, row, columns_of(sRmOnuPoeTable_column::sRmOnuPoeRowStatus)));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("onu id 99 is not exist"));
        EXPECT_EQ(find_stored_row(row), nullptr);
    });
}

TEST(RmPoeOfProfiles, ABoundProfileIsNamedWithoutABlank) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), OV_GPON_RET_OK);
        bind_profile(2);
        EXPECT_NE(edit_one<OnuPoe>(template_row_of<OnuPoe>()), OV_GPON_RET_OK);
        EXPECT_NE(edit_one<UniPoe>(template_row_of<UniPoe>()), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("multi-srvprofile id 9bind 2 times").Times(2));
    });
}

} // namespace
