// Alarms of an ONU that is deleted.
#include "../support/alarm_chassis.h"

#include <ctime>

#include "ov_ifindex.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using alarm_chassis::run;

constexpr int PORT = 3;
constexpr int ONU = 12;

// An index whose top byte is the given number.
uint32_t source_of(uint32_t top_byte, int port = PORT, int onu = ONU) {
    return top_byte << 24 | uint32_t(port - 1) << 15 | uint32_t(onu) << 7;
}

sOnuTable_entry onu_row(int slot = 1, int port = PORT, int onu = ONU) {
    sOnuTable_entry row{};
    row.shelfID = 1;
    row.slotID = slot;
    row.portID = port;
    row.onuId = onu;
    return row;
}

MIBDID onu_did() {
    return mmg_table_did_getbyindex(SONU);
}

void make_onu(int slot = 1) {
    auto row = onu_row(slot);
    ASSERT_EQ(MibAccessHandle(MIB_CREATEGO, 0, onu_did(), &row, mibDefFlags, 0), MIB_OK);
}
char delete_onu(int slot = 1) {
    auto row = onu_row(slot);
    return MibAccessHandle(MIB_DEL, 0, onu_did(), &row, mibDefFlags, 0);
}

int compare(const sOnuTable_entry& onu, uint32_t source) {
    sOnuTable_entry first = onu;
    auto second = AlarmChassis::alarm(source, ONU_OFF, RAISE);
    return am_compare(&first, &second, 0);
}

TEST(AlarmOfOnu, ComparesTopByteAndPortAndOnuButNotTheSlot) {
    const LogCapture log;
    const auto onu = onu_row();
    for (const uint32_t byte : {10u, 11u, 13u}) {
        EXPECT_EQ(compare(onu, source_of(byte)), 0);
        EXPECT_EQ(compare(onu_row(7), source_of(byte)), 0);
        EXPECT_NE(compare(onu, source_of(byte, PORT + 1)), 0);
        EXPECT_NE(compare(onu, source_of(byte, PORT, ONU + 1)), 0);
    }
    for (const uint32_t byte : {0u, 8u, 9u, 12u, 14u, 0x54u, 0x5cu, 0x6cu, 0xffu})
        EXPECT_NE(compare(onu, source_of(byte)), 0) << byte;
    EXPECT_NE(am_compare(nullptr, nullptr, 0), 0);
}

TEST(AlarmOfOnu, RealIndexesOfOnusGemPortsAndUnisAreNotCompared) {
    const LogCapture log;
    const auto onu = onu_row();
    EXPECT_NE(compare(onu, ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, 1, 0, PORT, ONU)), 0);
    EXPECT_NE(compare(onu, ov_ifindex_gen_by_extendinfo(PORT_TYPE_GEMPORT, 1, 1, 0, PORT, ONU, 5, 0, 0)), 0);
    EXPECT_NE(compare(onu, ov_ifindex_gen_by_extendinfo(PORT_TYPE_GPON_ONU_UNI, 1, 1, 0, PORT, ONU, 1, 0, 1)),
              0);
}

TEST(AlarmOfOnu, RowsWithRealIndexesStayWhenTheOnuGoes) {
    run([](AlarmChassis& c) {
        make_onu();
        const auto onu = ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, 1, 0, PORT, ONU);
        const auto gem = ov_ifindex_gen_by_extendinfo(PORT_TYPE_GEMPORT, 1, 1, 0, PORT, ONU, 5, 0, 0);
        c.have_alarm(onu, ONU_OFF);
        c.have_alarm(gem, SACTIVEALARMTABLEALARMCODE_ONU_SUBPORT_LOST_PACK);
        EXPECT_EQ(delete_onu(), MIB_OK);
        EXPECT_EQ(c.rows(), 2);
        EXPECT_THAT(c.notices, IsEmpty());
    });
}

TEST(AlarmOfOnu, RowsThatCompareAreClearedAndDeletedAtOnce) {
    run([](AlarmChassis& c) {
        make_onu();
        c.have_alarm(source_of(10), ONU_OFF, 1000);
        c.have_alarm(source_of(13), PON_LOS, 1000);
        c.have_alarm(source_of(10, PORT + 1), ONU_OFF, 1000);
        c.have_alarm(source_of(12), ONU_OFF, 1000);
        const auto before = uint32_t(time(nullptr));
        EXPECT_EQ(delete_onu(), MIB_OK);
        EXPECT_EQ(c.rows(), 2);
        ASSERT_THAT(c.notices, SizeIs(4));
        const uint32_t stamp = c.notices[0].stamp;
        EXPECT_GE(stamp, before);
        EXPECT_LE(stamp, uint32_t(time(nullptr)));
        EXPECT_THAT(
            c.notices,
            ElementsAre(AlarmNotice{source_of(10), ONU_OFF, CLEAR, stamp, OVRA_ACTIVE},
                        AlarmNotice{source_of(10), ONU_OFF, CLEAR, stamp, OVRA_DESTROY},
                        AlarmNotice{source_of(13), PON_LOS, CLEAR, c.notices[2].stamp, OVRA_ACTIVE},
                        AlarmNotice{source_of(13), PON_LOS, CLEAR, c.notices[2].stamp, OVRA_DESTROY}));
        EXPECT_THAT(c.led(), IsEmpty()); // that is the tick's business
        const std::string file = c.file();
        EXPECT_EQ(std::count(file.begin(), file.end(), '\n'), 2);
        c.event(1, ONU_OFF, RAISE);
        c.tick(3);
        EXPECT_THAT(c.led(), ElementsAre(LED_OFF));
    });
}

TEST(AlarmOfOnu, AnEventThatWaitsIsAppliedAfterTheOnuHasGone) {
    run([](AlarmChassis& c) {
        make_onu();
        c.event(source_of(10), ONU_OFF, RAISE);
        EXPECT_EQ(delete_onu(), MIB_OK);
        EXPECT_EQ(c.cached(), 1u);
        c.tick(3);
        EXPECT_TRUE(c.row(source_of(10), ONU_OFF));
    });
}

TEST(AlarmOfOnu, AnOnuThatIsMadeOrChangedKeepsItsAlarms) {
    run([](AlarmChassis& c) {
        c.have_alarm(source_of(10), ONU_OFF);
        make_onu();
        auto row = onu_row();
        row.sOnuTableRowStatus = OVRA_ACTIVE;
        EXPECT_EQ(MibAccessHandle(MIB_SET, 0, onu_did(), &row, mibDefFlags, 0), MIB_OK);
        EXPECT_EQ(c.rows(), 1);
        EXPECT_THAT(c.notices, IsEmpty());
    });
}

int refuse(MIBDID, void*, MIB_Flags_t) {
    return 0;
}

TEST(AlarmOfOnu, IsAskedForWithTheRowStatusAlone) {
    run([](AlarmChassis&) {
        const MIB_callback* callback = table_cntl[SONU].callback_set;
        ASSERT_NE(callback, nullptr);
        EXPECT_EQ(callback->callback, ov_alarm_onutable_set_callback);
        EXPECT_STREQ(callback->app.appName, "app_alarm");
        EXPECT_EQ(callback->app.appId, gpon_alarm_appid);
        for (unsigned column = 0; column < 128; ++column)
            EXPECT_EQ(mib_flag_is_set(callback->app.appFlags, column),
                      column == sOnuTable_column::sOnuTableRowStatus)
                << column;
    });
}

TEST(AlarmOfOnu, TheOnuGoesEvenWhenItsAlarmsCannot) {
    run([](AlarmChassis& c) {
        make_onu();
        c.have_alarm(source_of(11), ONU_OFF);
        MibRegisterCallback(c.did(), CALLBACK_CHECK, "refuse", 0, refuse, mibDefFlags);
        EXPECT_EQ(delete_onu(), MIB_OK);
        EXPECT_EQ(c.rows(), 1);
        EXPECT_EQ(get_row_num(onu_did()), 0);
        ov_alarm_table_iterate_del(nullptr);
    });
}

} // namespace
