// The IP host of an ONU: its record, the addresses that it has in use.
#include "../support/remote_tables.h"

using namespace remote_test;
using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Row = ov_sRmIPHostTable_attr_t;
using Record = ov_gpon_onu_iphost_attr_t;
namespace column = sRmIPHostTable_column;

constexpr int MESSAGE = 942;
const Row HOST = onu_key<Row>(SLOT, PORT, ONU);

int add(Row row) {
    MIB_Flags_t columns = mibDefFlags;
    return ov_app_gpon_rm_iphost_add(&row, &columns);
}
Row full_row() {
    Row row = HOST;
    row.sRmIPHostMode = SRMIPHOSTMODE_DHCP;
    row.sRmIPHostIpAddress = ipv4("192.168.1.10");
    row.sRmIPHostNetMask = ipv4("255.255.255.0");
    row.sRmIPHostGateway = ipv4("192.168.1.1");
    row.sRmIPHostPrimaryDns = ipv4("1.1.1.1");
    row.sRmIPHostSecondaryDns = ipv4("2.2.2.2");
    row.sRmIPHostVlanId = 4094;
    row.sRmIPHostPriority = 7;
    set_text(row.sRmIPHostIdentifier, text_of(25));
    return row;
}

TEST(RmIpHost, EachColumnReachesItsField) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(full_row()), OV_GPON_RET_OK);
        ASSERT_THAT(chassis.messages(), SizeIs(1));
        EXPECT_EQ(chassis.messages()[0].mask, 0u); // the whole record counts
        const auto record = chassis.messages()[0].record<Record>();
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(HOST));
        EXPECT_EQ(record.mode, 1);
        EXPECT_EQ(record.ipaddr, 0xc0a8010au);
        EXPECT_EQ(record.netmask, 0xffffff00u);
        EXPECT_EQ(record.gateway, 0xc0a80101u);
        EXPECT_EQ(record.priDns, 0x01010101u);
        EXPECT_EQ(record.secDns, 0x02020202u);
        EXPECT_EQ(record.vlanid, 4094u);
        EXPECT_EQ(record.pri, 7u);
        EXPECT_EQ(find_row(HOST)->sRmIPHostIdentifier, text_of(25));
        EXPECT_EQ(record.identifier, text_of(24)); // with its terminator
    });
}

// The index is the ONU's: a second host has nowhere to stand.
TEST(RmIpHost, AnOnuHasOne) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(ov_rm_iphost_count(onu_at(ONU)), 0);
        EXPECT_EQ(add(full_row()), OV_GPON_RET_OK);
        EXPECT_EQ(ov_rm_iphost_count(onu_at(ONU)), 1);
        EXPECT_EQ(ov_rm_iphost_count_iterate_parser_check(&HOST), 1);
        EXPECT_EQ(add(full_row()), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib add error for rm_iphost table"));
        EXPECT_THAT(all_of<Row>(), SizeIs(1));
    });
}

// ---- addresses in use -------------------------------------------------------------------------------------

Record addresses() {
    Record record = {};
    record.mode = 0;
    record.ipaddr = 0x0a000005;
    record.netmask = 0xff000000;
    record.gateway = 0x0a000001;
    record.priDns = 0x0a000002;
    record.secDns = 0x0a000003;
    record.vlanid = 99;
    return record;
}
void expect_addresses(const Row& row) {
    EXPECT_EQ(row.sRmIPHostCurrentIpAddress, ipv4("10.0.0.5"));
    EXPECT_EQ(row.sRmIPHostCurrentNetMask, ipv4("255.0.0.0"));
    EXPECT_EQ(row.sRmIPHostCurrentGateway, ipv4("10.0.0.1"));
    EXPECT_EQ(row.sRmIPHostCurrentPrimaryDns, ipv4("10.0.0.2"));
    EXPECT_EQ(row.sRmIPHostCurrentSecondaryDns, ipv4("10.0.0.3"));
}
bool read(Row& row, unsigned read_column = column::sRmIPHostCurrentIpAddress) {
    row = HOST;
    return mib_access(MIB_GET, row, columns_of(read_column));
}

TEST(RmIpHost, AddressesInUseAreReadFromTheOnu) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(full_row()), OV_GPON_RET_OK);
        bring_up();
        chassis.card_reads(MESSAGE, addresses());
        chassis.forget_messages();
        Row row;
        for (const unsigned each : {10u, 11u, 12u, 13u, 14u}) {
            ASSERT_TRUE(read(row, each)) << each;
            expect_addresses(row);
            EXPECT_EQ(row.sRmIPHostVlanId, 4094u); // what is set is no reading
            EXPECT_EQ(row.sRmIPHostMode, SRMIPHOSTMODE_DHCP);
        }
        ASSERT_THAT(chassis.messages(), SizeIs(5));
        EXPECT_EQ(chassis.messages()[0].action, OV_HAL_GPON_MSG_ACTION_GET);
        EXPECT_EQ(chassis.messages()[0].mask, 0u);
        EXPECT_EQ(chassis.messages()[0].record<Record>().onuIfindex, onu_ifindex_of(HOST));
        EXPECT_EQ(chassis.messages()[0].record<Record>().ipaddr, 0u); // nothing but whose they are
        chassis.forget_messages();
        EXPECT_TRUE(read(row, column::sRmIPHostIpAddress));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(RmIpHost, AnOnuThatIsNotInOperationIsNotAsked) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(full_row()), OV_GPON_RET_OK);
        chassis.forget_messages();
        Row row;
        EXPECT_TRUE(read(row));
        EXPECT_EQ(row.sRmIPHostCurrentIpAddress, 0u);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(RmIpHost, ACardThatCannotTellFailsTheReadUnlessItDoesNotKnowIt) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(full_row()), OV_GPON_RET_OK);
        bring_up();
        Row row;
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_TRUE(read(row));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get which not support"));
        chassis.card_answers(MESSAGE, OV_GPON_RET_DRV_ERR);
        EXPECT_FALSE(read(row));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("get rm iphost from low level error"));
    });
}

TEST(RmIpHost, TheDoorGivesTheCardsAnswer) {
    run([](AppChassis& chassis) {
        Row row = HOST; // without a row in the table, and whatever the ONU's state is
        chassis.card_reads(MESSAGE, addresses());
        EXPECT_EQ(ov_app_gpon_iphost_hal_get(&row), OV_GPON_RET_OK);
        expect_addresses(row);
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        row = HOST;
        EXPECT_EQ(ov_app_gpon_iphost_hal_get(&row), OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(row.sRmIPHostCurrentIpAddress, 0u);
        EXPECT_EQ(ov_app_gpon_iphost_hal_get(nullptr), OV_GPON_RET_BAD_PARAM);
    });
}

} // namespace
