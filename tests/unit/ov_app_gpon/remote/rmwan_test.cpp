// WAN connections: their record, connections that exclude each other, numbers that a record can't hold.
#include "../support/remote_tables.h"

using namespace remote_test;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

using Row = ov_sRmWanTable_attr_t;
using Record = ov_gpon_rmwan_attr_t;
namespace column = sRmWanTable_column;

Row wan(mib_ulong number, int onu = ONU, int port = PORT, int slot = SLOT) {
    Row row = onu_key<Row>(slot, port, onu);
    row.sRmWanIndex = number;
    row.sRmWanEnable = 1;
    return row;
}
// Alike only itself.
Row wan_of_vlan(mib_ulong number, mib_long vlan, int onu = ONU) {
    Row row = wan(number, onu);
    row.sRmWanMode = SRMWANMODE_ROUTE;
    row.sRmWanType = SRMWANTYPE_INTERNET;
    row.sRmWanVlan = vlan;
    return row;
}
int add(Row row, int is_need_check = 1) {
    MIB_Flags_t columns = mibDefFlags;
    return ov_app_gpon_rm_wan_add(&row, &columns, is_need_check);
}
int edit(Row row, MIB_Flags_t columns = mibDefFlags) {
    mib_flag_clear(columns, column::sRmWanRowStatus);
    return ov_app_gpon_rm_wan_edit(&row, &columns);
}

Row full_row() {
    Row row = wan(8);
    row.sRmWanMode = SRMWANMODE_ROUTE;
    row.sRmWanType = SRMWANTYPE_TR069_VOICE_INTERNET;
    row.sRmWanVlan = 4094;
    row.sRmWanVlanMode = SRMWANVLANMODE_TAG;
    row.sRmWanVlanCos = 7;
    row.sRmWanDSP = SRMWANDSP_PPPOE;
    row.sRmWanBindLan = 0xf;
    row.sRmWanBindSsid = 0x5;
    row.sRmWanBindSsid5G = 0xa;
    set_text(row.sRmWanPppUser, "user@isp");
    set_text(row.sRmWanPppPwd, "s3cretpw");
    set_text(row.sRmWanPppSrvName, "dsl");
    row.sRmWanBridgeMode = SRMWANBRIDGEMODE_IP_BRIDGE;
    row.sRmWanIpAddr = ipv4("10.1.2.3");
    row.sRmWanNetMask = ipv4("255.255.255.0");
    row.sRmWanGateway = ipv4("10.1.2.1");
    row.sRmWanPrimaryDns = ipv4("8.8.8.8");
    row.sRmWanSecondaryDns = ipv4("9.9.9.9");
    return row;
}

// ---- the record -------------------------------------------------------------------------------------------

TEST(RmWan, EachColumnReachesItsField) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(full_row()), OV_GPON_RET_OK);
        ASSERT_THAT(chassis.messages(), SizeIs(1));
        const CardMessage message = chassis.messages()[0];
        EXPECT_EQ(message.mask, 0u); // the whole record counts
        const auto record = message.record<Record>();
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(onu_at(ONU)));
        EXPECT_EQ(record.wanIndex, 8);
        EXPECT_EQ(record.wanMode, 1);
        EXPECT_EQ(record.wanType, 8);
        EXPECT_EQ(record.wanVlan, 4094);
        EXPECT_EQ(record.wanVlanMode, 1);
        EXPECT_EQ(record.wanVlanCos, 7);
        EXPECT_EQ(record.wanDSP, 3);
        EXPECT_EQ(record.lan, 0xf);
        EXPECT_EQ(record.ssid, 0x5);
        EXPECT_EQ(record.ssid5G, 0xa);
        EXPECT_STREQ(record.pppUser, "user@isp");
        EXPECT_STREQ(record.pppPwd, "s3cretpw");
        EXPECT_STREQ(record.pppSrvName, "dsl");
        EXPECT_EQ(record.bridgeMode, 2);
        EXPECT_EQ(record.ipAddr, 0x0a010203u);
        EXPECT_EQ(record.netMask, 0xffffff00u);
        EXPECT_EQ(record.gateway, 0x0a010201u);
        EXPECT_EQ(record.dns, 0x08080808u);
        EXPECT_EQ(record.dns_2, 0x09090909u);
        EXPECT_EQ(record.enable, 1);
        EXPECT_EQ(wire::get32(message.bytes, 92), 0x0a010203u); // as addresses are written
    });
}

// The record's text has a terminator, the column's has none of its own.
TEST(RmWan, NamesAreStoredWholeAndCutInTheRecord) {
    run([](AppChassis& chassis) {
        Row row = wan(1);
        const std::string whole = text_of(25);
        set_text(row.sRmWanPppUser, whole);
        set_text(row.sRmWanPppPwd, whole);
        std::memset(row.sRmWanPppSrvName, 'x', sizeof row.sRmWanPppSrvName); // one more, and no end
        ASSERT_EQ(add(row), OV_GPON_RET_OK);
        const Row& stored = *find_row(row);
        EXPECT_EQ(stored.sRmWanPppUser, whole);
        EXPECT_EQ(stored.sRmWanPppPwd, whole);
        EXPECT_EQ(stored.sRmWanPppSrvName, whole);
        const auto record = chassis.messages().at(0).record<Record>();
        EXPECT_EQ(record.pppUser, text_of(24));
        EXPECT_EQ(record.pppPwd, text_of(24));
        EXPECT_EQ(record.pppSrvName, text_of(24));
    });
}

TEST(RmWan, APasswordStandsInNoLogLine) {
    run([](AppChassis& chassis) {
        g_gpon_ipc_msg_debug_flag = 1;
        Row row = full_row();
        EXPECT_EQ(add(row), OV_GPON_RET_OK);
        chassis.card_answers(955, OV_GPON_RET_DRV_ERR);
        EXPECT_NE(edit(row), OV_GPON_RET_OK);
        EXPECT_NE(ov_app_gpon_rm_wan_del(&row), OV_GPON_RET_OK);
        g_gpon_ipc_msg_debug_flag = 0;
        EXPECT_THAT(chassis.hal.log.lines(), Contains(HasSubstr("user@isp"))); // the record was dumped
        EXPECT_THAT(chassis.hal.log.lines(), Not(Contains(HasSubstr("s3cretpw"))));
    });
}

// ---- connections that exclude each other ------------------------------------------------------------------

TEST(RmWan, TwoOfTheSameModeTypeAndVlanExcludeEachOther) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(wan_of_vlan(1, 100)), OV_GPON_RET_OK);
        chassis.forget_messages();
        EXPECT_EQ(add(wan_of_vlan(2, 100)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rm wan param check failed"));
        EXPECT_THAT(all_of<Row>(), SizeIs(1));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        Row other = wan_of_vlan(2, 100);
        other.sRmWanMode = SRMWANMODE_BRIDGE;
        EXPECT_EQ(add(other), OV_GPON_RET_OK);
        other = wan_of_vlan(3, 100);
        other.sRmWanType = SRMWANTYPE_VOICE;
        EXPECT_EQ(add(other), OV_GPON_RET_OK);
        EXPECT_EQ(add(wan_of_vlan(4, 101)), OV_GPON_RET_OK);
    });
}

struct Binding {
    mib_long Row::*bound;
    const char* name;
};
constexpr Binding BINDINGS[] = {{&Row::sRmWanBindLan, "LAN ports"},
                                {&Row::sRmWanBindSsid, "networks"},
                                {&Row::sRmWanBindSsid5G, "5G networks"}};

TEST(RmWan, NoPortOrNetworkIsBoundTwice) {
    run([](AppChassis&) {
        for (const Binding& binding : BINDINGS) {
            Row first = wan_of_vlan(1, 100);
            first.*binding.bound = 0x6;
            ASSERT_EQ(add(first), OV_GPON_RET_OK) << binding.name;
            for (const mib_long overlapping : {0x2, 0x4, 0xe, 0xf2}) {
                Row second = wan_of_vlan(2, 200);
                second.*binding.bound = overlapping;
                EXPECT_EQ(add(second), OV_GPON_RET_BAD_PARAM) << binding.name << " " << overlapping;
            }
            Row second = wan_of_vlan(2, 200);
            second.*binding.bound = 0x9;
            EXPECT_EQ(add(second), OV_GPON_RET_OK) << binding.name;
            // a change too, and of those alone that it would have
            second.*binding.bound = 0xb;
            EXPECT_EQ(edit(second), OV_GPON_RET_BAD_PARAM) << binding.name;
            EXPECT_EQ(find_row(second)->*binding.bound, 0x9) << binding.name;
            EXPECT_EQ(edit(first), OV_GPON_RET_OK) << binding.name;
            EXPECT_EQ(ov_app_gpon_rm_wan_del(&first), OV_GPON_RET_OK);
            EXPECT_EQ(edit(second), OV_GPON_RET_OK) << binding.name;
            EXPECT_EQ(ov_app_gpon_rm_wan_del(&second), OV_GPON_RET_OK);
        }
    });
}

TEST(RmWan, OnlyTheLowFourBitsAreBindings) {
    run([](AppChassis&) {
        Row first = wan_of_vlan(1, 100);
        Row second = wan_of_vlan(2, 200);
        for (const Binding& binding : BINDINGS)
            first.*binding.bound = second.*binding.bound = 0x7ffffff0;
        EXPECT_EQ(add(first), OV_GPON_RET_OK);
        EXPECT_EQ(add(second), OV_GPON_RET_OK);
    });
}

TEST(RmWan, OtherOnusAndWaitingRowsExcludeNothing) {
    run([](AppChassis&) {
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), OV_GPON_RET_OK);
        EXPECT_EQ(add(wan_of_vlan(1, 100)), OV_GPON_RET_OK);
        EXPECT_EQ(add(wan_of_vlan(2, 100, 8)), OV_GPON_RET_OK);
        Row waiting = wan(3);
        ASSERT_TRUE(mib_access(MIB_CREATEWAIT, waiting)); // mode, type and VLAN 0
        EXPECT_EQ(add(wan(4)), OV_GPON_RET_OK);
    });
}

TEST(RmWan, RowsOfAProfileExcludeEachOtherToo) {
    run([](AppChassis&) {
        ASSERT_EQ(add_profile(), OV_GPON_RET_OK);
        EXPECT_EQ(add(wan(1, PROFILE, GPON_TEMPLATE_PORT, GPON_TEMPLATE_SLOT)), OV_GPON_RET_OK);
        EXPECT_EQ(add(wan(2, PROFILE, GPON_TEMPLATE_PORT, GPON_TEMPLATE_SLOT)), OV_GPON_RET_BAD_PARAM);
    });
}

TEST(RmWan, TheCheckAnswersForARowThatIsNotStored) {
    run([](AppChassis&) {
        ASSERT_EQ(add(wan_of_vlan(1, 100)), OV_GPON_RET_OK);
        Row same = wan_of_vlan(2, 100);
        EXPECT_EQ(ov_rmwan_parameter_check(&same), 0);
        same.sRmWanIndex = 1;
        EXPECT_EQ(ov_rmwan_parameter_check(&same), 1); // itself
    });
}

// ---- doors ------------------------------------------------------------------------------------------------

TEST(RmWan, OneThatIsThereIsNotMadeAgain) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(wan(3)), OV_GPON_RET_OK);
        EXPECT_EQ(add(wan(3)), OV_GPON_RET_EXISTED);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("wanIndex[3] exist"));
        EXPECT_THAT(chassis.messages(), SizeIs(1));
    });
}

TEST(RmWan, OnlyWithoutTheCheckIsOneMadeOnAProtectingPort) {
    run([](AppChassis& chassis) {
        make_group(OTHER_PORT, PORT, true);
        EXPECT_EQ(add(wan(1), 1), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib add error for rm_wan table"));
        EXPECT_EQ(add(wan(1), 0), OV_GPON_RET_OK);
        EXPECT_NE(find_row(wan(1)), nullptr);
    });
}

TEST(RmWan, ANumberFitsTheRecord) {
    run([](AppChassis& chassis) {
        for (const mib_ulong number : {0u, 256u, 257u, 0xffffffffu}) {
            EXPECT_EQ(add(wan(number)), OV_GPON_RET_BAD_PARAM) << number;
            EXPECT_EQ(find_stored_row(wan(number)), nullptr) << number;
        }
        EXPECT_THAT(chassis.hal.log.lines(), Contains("wrong wanIndex[257]"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(add(wan(255)), OV_GPON_RET_OK);
    });
}

// Port 17 of a slot would be its port 1 to the card.
TEST(RmWan, AnIndexIsOneThatAnOnuCanHave) {
    run([](AppChassis& chassis) {
        const Row wrong[] = {wan(1, ONU, 17), wan(1, 0), wan(1, 129), wan(1, ONU, PORT, 19),
                             wan(1, ONU, 1, GPON_TEMPLATE_SLOT)};
        for (const Row& row : wrong)
            EXPECT_EQ(add(row), OV_GPON_RET_BAD_PARAM) << row.slotID << "/" << row.portID << ":" << row.onuId;
        EXPECT_THAT(chassis.hal.log.lines(), Contains("onu id 129 is not exist"));
        EXPECT_THAT(all_of<Row>(), IsEmpty());
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

} // namespace
