// Multicast of UNIs: rows that follow a switch of the UNI, and what cards hear of them.
#include "ov_app_gpon_rmmulticast.h"

#include "../../support/test_clock.h"
#include "../support/service_chassis.h"
#include "ov_app_gpon_rm_uni.h"
#include "ov_app_gpon_rmunistatus.h"

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Row = ov_sRmMulticastTable_attr_t;
using Status = ov_sRmUniStatusTable_attr_t;
using Record = ov_gpon_rmuni_mcast_attr_t;
namespace column = sRmMulticastTable_column;

constexpr int MESSAGE = 917;
const Row UNI = uni<Row>(ETH, 2);
const Row TEMPLATE = template_uni<Row>(ETH, 2);

int switch_multicast(int value, const Row& at = UNI) {
    auto status = uni_key<Status>(at);
    status.sRmUniStatusTableMcastEnable = value;
    MIB_Flags_t columns = columns_of(sRmUniStatusTable_column::sRmUniStatusTableMcastEnable);
    return ov_app_gpon_rmunistatus_edit(&status, &columns);
}
mib_long enabled(const Row& at = UNI) {
    return find_row(uni_key<Status>(at))->sRmUniStatusTableMcastEnable;
}
int edit(Row row, MIB_Flags_t columns) {
    return ov_app_gpon_rmmulticast_edit(&row, &columns);
}

// With multicast on at port 2, which nobody looks at.
void run_multicast(const std::function<void(AppChassis&)>& body) {
    run([&body](AppChassis& chassis) {
        ASSERT_EQ(switch_multicast(1), 0);
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis);
    });
}

struct Setting {
    unsigned column;
    mib_long Row::*value;
    int bit;
    size_t offset, bytes; // in the record
};
const Setting SETTINGS[] = {
    {column::sRmMulticastTableIgmpVersion, &Row::sRmMulticastTableIgmpVersion, 3, 20, 4},
    {column::sRmMulticastTableIgmpMode, &Row::sRmMulticastTableIgmpMode, 4, 24, 4},
    {column::sRmMulticastTableFastLeave, &Row::sRmMulticastTableFastLeave, 5, 28, 4},
    {column::sRmMulticastTableUpVlan, &Row::sRmMulticastTableUpVlan, 7, 36, 2},
    {column::sRmMulticastTableUpPonVlan, &Row::sRmMulticastTableUpPonVlan, 8, 38, 2},
    {column::sRmMulticastTableUpVlanAction, &Row::sRmMulticastTableUpVlanAction, 9, 40, 4},
    {column::sRmMulticastTableDownVlan, &Row::sRmMulticastTableDownVlan, 10, 44, 2},
    {column::sRmMulticastTableDownUniVlan, &Row::sRmMulticastTableDownUniVlan, 11, 46, 2},
    {column::sRmMulticastTableDownVlanAction, &Row::sRmMulticastTableDownVlanAction, 12, 48, 4},
};

// ---- with the switch --------------------------------------------------------------------------------------

TEST(Multicast, ARowComesWithTheSwitchOfItsUni) {
    run([](AppChassis& chassis) {
        EXPECT_THAT(all_of<Row>(), IsEmpty());
        EXPECT_EQ(switch_multicast(1), 0);
        EXPECT_THAT(unis_of<Row>(), ElementsAre("1/0/2"));
        EXPECT_THAT(sent(chassis), ElementsAre("915 set", "917 create"));
        const CardMessage message = chassis.messages()[1];
        EXPECT_TRUE(message.wants_reply);
        EXPECT_EQ(message.mask, 0x3ff8u); // all columns, and the marker of the row status
        const auto record = message.record<Record>();
        EXPECT_EQ(record.onuIfindex, onu_ifindex_of(UNI));
        EXPECT_EQ(record.uniPos.cardId, 1);
        EXPECT_EQ(record.uniPos.uniType, ETH);
        EXPECT_EQ(record.uniPos.uniId, 2);
        EXPECT_EQ(record.enabled, 1);
        EXPECT_EQ(record.maxGrpNum, 0u);
    });
}

TEST(Multicast, ARowGoesWithTheSwitchAndComesBackAsNew) {
    run_multicast([](AppChassis& chassis) {
        Row row = UNI;
        row.sRmMulticastTableMaxGroupNum = 64;
        ASSERT_EQ(edit(row, columns_of(column::sRmMulticastTableMaxGroupNum)), 0);
        chassis.forget_messages();
        EXPECT_EQ(switch_multicast(0), 0);
        EXPECT_THAT(all_of<Row>(), IsEmpty());
        EXPECT_THAT(sent(chassis), ElementsAre("915 set", "917 delete"));
        EXPECT_EQ(switch_multicast(0), 0); // no change
        EXPECT_EQ(switch_multicast(1), 0);
        EXPECT_EQ(switch_multicast(1), 0);
        ASSERT_NE(find_row(UNI), nullptr);
        EXPECT_EQ(find_row(UNI)->sRmMulticastTableMaxGroupNum, 0u);
        EXPECT_THAT(chassis.messages_of(MESSAGE), SizeIs(2));
    });
}

TEST(Multicast, OtherSettingsOfTheUniLeaveIt) {
    run_multicast([](AppChassis& chassis) {
        auto status = uni_key<Status>(UNI);
        status.sRmUniStatusMacLearnCount = 9;
        MIB_Flags_t columns = columns_of(sRmUniStatusTable_column::sRmUniStatusMacLearnCount);
        EXPECT_EQ(ov_app_gpon_rmunistatus_edit(&status, &columns), 0);
        EXPECT_THAT(all_of<Row>(), SizeIs(1));
        EXPECT_THAT(chassis.messages_of(MESSAGE), IsEmpty());
    });
}

TEST(Multicast, WhatTheCardRefusesStaysAsItWas) {
    run_multicast([](AppChassis& chassis) {
        chassis.card_answers(MESSAGE, 1009);
        EXPECT_EQ(switch_multicast(1, uni<Row>(ETH, 1)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set rm multicast to hal error"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't create multicasttable data"));
        EXPECT_EQ(enabled(uni<Row>(ETH, 1)), 0);
        EXPECT_EQ(switch_multicast(0), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't delete multicasttable data"));
        EXPECT_EQ(enabled(), 1);
        EXPECT_THAT(unis_of<Row>(), ElementsAre("1/0/2"));
        Row row = UNI;
        row.sRmMulticastTableFastLeave = 1;
        EXPECT_EQ(edit(row, columns_of(column::sRmMulticastTableFastLeave)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for rm_multicast table"));
        EXPECT_EQ(find_row(UNI)->sRmMulticastTableFastLeave, 0);
    });
}

TEST(Multicast, ACardThatKnowsNoMulticastLetsItBe) {
    run([](AppChassis& chassis) {
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(switch_multicast(1), 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
        EXPECT_EQ(edit(UNI, columns_of(column::sRmMulticastTableFastLeave)), 0);
        EXPECT_EQ(switch_multicast(0), 0);
        EXPECT_THAT(all_of<Row>(), IsEmpty());
    });
}

// ---- writes -----------------------------------------------------------------------------------------------

TEST(Multicast, EachSettingReachesTheCardInItsFieldWithItsBit) {
    run_multicast([](AppChassis& chassis) {
        for (const Setting& setting : SETTINGS) {
            chassis.forget_messages();
            Row row = UNI;
            row.*setting.value = 1;
            ASSERT_EQ(edit(row, columns_of(setting.column)), 0) << setting.column;
            EXPECT_THAT(sent(chassis), ElementsAre("917 set"));
            const CardMessage message = chassis.messages()[0];
            EXPECT_EQ(message.mask, 1u << setting.bit) << setting.column;
            const uint32_t value = setting.bytes == 4 ? wire::get32(message.bytes, setting.offset)
                                                      : wire::get16(message.bytes, setting.offset);
            EXPECT_EQ(value, 1u) << setting.column;
            EXPECT_EQ(message.record<Record>().enabled, 1);
            EXPECT_EQ(find_row(UNI)->*setting.value, 1);
        }
        chassis.forget_messages();
        Row row = UNI;
        row.sRmMulticastTableMaxGroupNum = 4094;
        ASSERT_EQ(edit(row, columns_of(column::sRmMulticastTableMaxGroupNum)), 0);
        EXPECT_EQ(chassis.messages().at(0).mask, 1u << 6);
        EXPECT_EQ(chassis.messages().at(0).record<Record>().maxGrpNum, 4094u);
    });
}

TEST(Multicast, TheDoorNeedsARowThatIsThere) {
    run([](AppChassis& chassis) {
        Row row = UNI;
        MIB_Flags_t columns = columns_of(column::sRmMulticastTableFastLeave);
        EXPECT_EQ(ov_app_gpon_rmmulticast_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_rmmulticast_edit(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("null pointer").Times(2));
        EXPECT_EQ(ov_app_gpon_rmmulticast_edit(&row, &columns), OV_GPON_RET_BAD_PARAM); // switched off
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for rm_multicast table"));
        EXPECT_THAT(all_of<Row>(), IsEmpty());
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(Multicast, OfATemplatesOnuIsItsProfiles) {
    run_multicast([](AppChassis& chassis) {
        Onu onu = onu_at(ONU);
        onu.sOnuTableConfigMode = SONUTABLECONFIGMODE_TEMPLET;
        ASSERT_TRUE(mib_access(MIB_SET_S_N, onu, columns_of(onu_column::sOnuTableConfigMode)));
        EXPECT_EQ(edit(UNI, columns_of(column::sRmMulticastTableFastLeave)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("onu id 7 is configured by templet"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- with the owner ---------------------------------------------------------------------------------------

// The card has dropped the ONU by then.
TEST(Multicast, GoesWithTheOnuInTheTableAlone) {
    run_multicast([](AppChassis& chassis) {
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), 0);
        const Row other = uni<Row>(ETH, 2, 1, 8);
        ASSERT_EQ(switch_multicast(1, other), 0);
        chassis.forget_messages();
        chassis.card_answers(MESSAGE, 1009);
        EXPECT_EQ(delete_onu(), 0);
        EXPECT_THAT(sent(chassis), ElementsAre("903 delete"));
        EXPECT_THAT(all_of<Row>(), SizeIs(1));
        EXPECT_NE(find_row(other), nullptr);
    });
}

TEST(Multicast, OfAProfileStaysInTheTables) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        chassis.forget_messages();
        EXPECT_EQ(switch_multicast(1, TEMPLATE), 0);
        EXPECT_THAT(template_unis_of<Row>(), ElementsAre("1/0/2"));
        EXPECT_EQ(edit(TEMPLATE, columns_of(column::sRmMulticastTableFastLeave)), 0);
        bind_profile(2);
        EXPECT_EQ(edit(TEMPLATE, columns_of(column::sRmMulticastTableFastLeave)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("multi-srvprofile id 9bind 2 times"));
        // the switch of a template takes any change
        EXPECT_EQ(switch_multicast(0, TEMPLATE), 0);
        EXPECT_EQ(switch_multicast(1, TEMPLATE), 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        bind_profile(0);
        EXPECT_EQ(ov_gpon_onu_service_profile_del(PROFILE), 0);
        EXPECT_THAT(all_of<Row>(), IsEmpty());
        EXPECT_THAT(chassis.messages_of(MESSAGE), IsEmpty());
    });
}

TEST(Multicast, RowsOfUnisCanBeMadeAndRemovedTogether) {
    run([](AppChassis& chassis) {
        const Onu onu = onu_at(ONU);
        EXPECT_EQ(ov_multicast_table_iterate_add(&onu, ETH, 2, 2), 1);
        EXPECT_THAT(unis_of<Row>(), ElementsAre("1/0/1", "1/0/2", "2/0/1", "2/0/2"));
        EXPECT_EQ(ov_multicast_table_iterate_add(&onu, ETH, 2, 2), 0); // there already
        EXPECT_EQ(ov_multicast_table_iterate_del(&onu), 1);
        EXPECT_THAT(all_of<Row>(), IsEmpty());
        ASSERT_EQ(ov_multicast_table_iterate_add(&onu, ETH, 1, 1), 1);
        chassis.card_answers(MESSAGE, 1009);
        EXPECT_EQ(ov_multicast_table_iterate_del(&onu), 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("iterate delete multicast fail"));
    });
}

// ---- protection groups ------------------------------------------------------------------------------------

TEST(MulticastPair, IsNotToBeWrittenOnAProtectingPort) {
    run_multicast([](AppChassis& chassis) {
        make_group(OTHER_PORT, PORT, true);
        EXPECT_EQ(edit(UNI, columns_of(column::sRmMulticastTableFastLeave)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("ov_multicast_table_set_check_callback failed"));
        EXPECT_EQ(switch_multicast(0), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        // rows follow the UNI's there too
        auto status = uni_key<Status>(UNI);
        const MIB_Flags_t columns = columns_of(sRmUniStatusTable_column::sRmUniStatusTableMcastEnable);
        EXPECT_TRUE(mib_access(MIB_SET_N, status, columns));
        EXPECT_THAT(all_of<Row>(), IsEmpty());
        status.sRmUniStatusTableMcastEnable = 1;
        EXPECT_TRUE(mib_access(MIB_SET_N, status, columns));
        EXPECT_THAT(all_of<Row>(), SizeIs(1));
    });
}

TEST(MulticastPair, IsRepeatedOnThePartner) {
    run_multicast([](AppChassis& chassis) {
        make_mirrored_group<SYNC_RMONU_ONUMCAST>();
        TestClock clock;
        EXPECT_EQ(edit(UNI, columns_of(column::sRmMulticastTableFastLeave)), 0);
        chassis.card_answers(MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(edit(UNI, columns_of(column::sRmMulticastTableFastLeave)), 0);
        clock.advance(std::chrono::seconds(1));
        EXPECT_THAT(repeated(), ElementsAre("13 action 3 on port 5", "13 action 3 on port 5"));
    });
}

// ---- what is replayed -------------------------------------------------------------------------------------

TEST(Multicast, AReplaySetsWhatIsNotAsItWasMade) {
    run([](AppChassis& /*chassis*/) {
        Row row = {};
        EXPECT_EQ(ov_rmuni_mcast_table_attr_mask_get(&row), 0);
        for (const Setting& setting : SETTINGS) {
            row = {};
            row.*setting.value = 1;
            EXPECT_EQ(ov_rmuni_mcast_table_attr_mask_get(&row), 1 << setting.bit) << setting.column;
        }
        row = {};
        row.sRmMulticastTableMaxGroupNum = 1;
        EXPECT_EQ(ov_rmuni_mcast_table_attr_mask_get(&row), 1 << 6);
    });
}

} // namespace
