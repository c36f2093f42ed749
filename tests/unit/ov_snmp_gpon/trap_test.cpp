// Notifications: what goes out for a row, and when. They are seen as the agent library's other parts see
// them, by callback, in a process of its own per test.
#include <gmock/gmock.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "../kavo/frr_fixture.h"
#include "../ov_common/private_root.h"
#include "../support/log_capture.h"
#include "agentx.h"
#include "enterpriseGPONProductsTrapGroup.h"
#include "fake_product.h"
#include "mmg_access.h"
#include "sActiveAlarmTable.h"
#include "sTcontTable.h"
#include "table_list.h"
#include "table_module.h"

using testing::ElementsAre;
using testing::SizeIs;

namespace {

struct Binding {
    std::string name; // "1.3.6..."
    int type;
    std::string bytes; // of a text or an OID in dotted form
    int64_t number;    // of an integer
};
using Notification = std::vector<Binding>;
std::vector<Notification> sent;

std::string dotted(const oid* arcs, size_t length) {
    std::string text;
    for (size_t i = 0; i < length; ++i)
        text += (i == 0 ? "" : ".") + std::to_string(arcs[i]);
    return text;
}

Binding binding_of(const netsnmp_variable_list& v) {
    Binding b{dotted(v.name, v.name_length), v.type, {}, 0};
    if (v.type == ASN_OBJECT_ID)
        b.bytes = dotted(v.val.objid, v.val_len / sizeof(oid));
    else if (v.type == ASN_OCTET_STR)
        b.bytes.assign(reinterpret_cast<const char*>(v.val.string), v.val_len);
    else if (v.type != ASN_COUNTER64 && v.type != ASN_IPADDRESS)
        b.number = v.type == ASN_INTEGER ? *v.val.integer : int64_t{static_cast<uint32_t>(*v.val.integer)};
    return b;
}

int note_notification(int /*major*/, int /*minor*/, void* pdu, void* /*arg*/) {
    Notification& notification = sent.emplace_back();
    for (auto* v = static_cast<netsnmp_pdu*>(pdu)->variables; v != nullptr; v = v->next_variable)
        notification.push_back(binding_of(*v));
    notification.erase(notification.begin()); // sysUpTime.0, which the library puts in front
    return 0;
}

void with_agent(const std::string& product, const std::function<void()>& body) {
    private_root::run([&] {
        const LogCapture log;
        fake_product(product);
        smux_init(frr_master());
        snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_SEND_TRAP2, note_notification,
                               nullptr);
        initialize_table_sActiveAlarmTable_data();
        initialize_table_sTcontTable_data();
        body();
    });
}

sActiveAlarmTable_entry example_alarm() {
    sActiveAlarmTable_entry alarm{};
    alarm.sActiveAlarmTableAlarmSource = 0xfedcba98;
    alarm.sActiveAlarmTableAlarmCode = 201;
    alarm.sActiveAlarmTableAlarmSourceType = 6;
    memcpy(alarm.sActiveAlarmTableSystemType, "GPON", 5);
    alarm.sActiveAlarmTableAlarmSeverity = 4;
    alarm.sActiveAlarmTableAlarmType = 3;
    memcpy(alarm.sActiveAlarmTableAlarmProbableCause, "fibre", 6);
    memcpy(alarm.sActiveAlarmTableAlarmProbableCause + 10, "old", 4); // rest of an earlier text
    alarm.sActiveAlarmTableAlarmState = 1;
    alarm.sActiveAlarmTableAlarmDTS = 4000000000u;
    alarm.sActiveAlarmTableRowStatus = OVRA_CREATEANDGO;
    return alarm;
}

std::string padded(std::string text) {
    text.resize(32);
    return text;
}

MATCHER_P4(Is, name, type, bytes, number, "") {
    return arg.name == name && arg.type == static_cast<int>(type) && arg.bytes == bytes &&
           arg.number == number;
}

const char BUILT_IN[] = "exit 1";
const std::string E = "1.3.6.1.4.1.47281.";
const std::string COLUMN = E + "1.1.1.3.1.1.";

TEST(Trap, ThirtyCarriesTheTenColumnsWithoutAnInstanceAndTheTimeInSeconds) {
    with_agent(BUILT_IN, [] {
        sActiveAlarmTable_entry alarm = example_alarm();
        const time_t before = time(nullptr);
        EXPECT_EQ(send_sActiveAlarmTableTrap_trap(&alarm), 0);
        ASSERT_THAT(sent, SizeIs(1));
        Notification notification = sent.front();
        ASSERT_THAT(notification, SizeIs(12));
        const Binding when = notification.back();
        EXPECT_EQ(when.name, E + "1.1.2.0.1.0");
        EXPECT_EQ(when.type, ASN_TIMETICKS);
        EXPECT_GE(when.number, before);
        EXPECT_LE(when.number, time(nullptr));
        notification.pop_back();
        EXPECT_THAT(
            notification,
            ElementsAre(
                Is("1.3.6.1.6.3.1.1.4.1.0", ASN_OBJECT_ID, E + "1.1.2.0.30", 0),
                Is(COLUMN + "1", ASN_UNSIGNED, "", 0xfedcba98), Is(COLUMN + "2", ASN_INTEGER, "", 201),
                Is(COLUMN + "3", ASN_INTEGER, "", 6), Is(COLUMN + "4", ASN_OCTET_STR, padded("GPON"), 0),
                Is(COLUMN + "5", ASN_INTEGER, "", 4), Is(COLUMN + "6", ASN_INTEGER, "", 3),
                Is(COLUMN + "7", ASN_OCTET_STR, padded("fibre"), 0), Is(COLUMN + "8", ASN_INTEGER, "", 1),
                Is(COLUMN + "9", ASN_UNSIGNED, "", 4000000000L), Is(COLUMN + "10", ASN_INTEGER, "", 4)));
    });
}

TEST(Trap, WithAnEnterpriseOverrideAllOidsCarryTheNewNumberButSnmpTrapOidStays) {
    with_agent("[ $1 = PDT_INFO_ENTERPRISE_ID ] && echo 4242", [] {
        sActiveAlarmTable_entry alarm = example_alarm();
        send_sActiveAlarmTableTrap_trap(&alarm);
        ASSERT_THAT(sent, SizeIs(1));
        EXPECT_EQ(sent[0][0].name, "1.3.6.1.6.3.1.1.4.1.0");
        EXPECT_EQ(sent[0][0].bytes, "1.3.6.1.4.1.4242.1.1.2.0.30");
        for (size_t i = 1; i < sent[0].size(); ++i)
            EXPECT_TRUE(sent[0][i].name.starts_with("1.3.6.1.4.1.4242.1.1.")) << sent[0][i].name;
    });
}

TEST(Trap, ASetWithoutCallbacksOnTheActiveAlarmTableStillSendsIt) {
    with_agent(BUILT_IN, [] {
        sActiveAlarmTable_entry alarm = example_alarm();
        EXPECT_EQ(
            MibAccessHandle(MIB_SET_S_N, 0, mmg_table_did_getbyindex(SACTIVEALARM), &alarm, mibDefFlags, 0),
            MIB_OK);
        ASSERT_THAT(sent, SizeIs(1));
        EXPECT_EQ(sent[0][0].bytes, E + "1.1.2.0.30");
        EXPECT_EQ(sent[0][10].number, OVRA_ACTIVE);
    });
}

TEST(Trap, EveryChangeOfAnActiveAlarmIsSentAndARefusedOneIsNot) {
    with_agent(BUILT_IN, [] {
        const MIBDID did = mmg_table_did_getbyindex(SACTIVEALARM);
        sActiveAlarmTable_entry alarm = example_alarm();
        MibAccessHandle(MIB_SET, 0, did, &alarm, mibDefFlags, 0); // created
        alarm.sActiveAlarmTableAlarmState = 2;
        MIB_Flags_t state{};
        mib_flag_set(state, sActiveAlarmTable_column::sActiveAlarmTableAlarmState);
        MibAccessHandle(MIB_SET, 0, did, &alarm, state, 0); // changed
        alarm.sActiveAlarmTableRowStatus = OVRA_CREATEANDGO;
        EXPECT_EQ(MibAccessHandle(MIB_SET, 0, did, &alarm, mibDefFlags, 0), MIB_FAIL); // it is there
        EXPECT_EQ(MibAccessHandle(MIB_GET, 0, did, &alarm, mibDefFlags, 0), MIB_OK);
        EXPECT_THAT(sent, SizeIs(2));
        MibAccessHandle(MIB_DEL, 0, did, &alarm, mibDefFlags, 0); // deleted
        ASSERT_THAT(sent, SizeIs(3));
        EXPECT_EQ(sent[1][8].number, 2);
        EXPECT_EQ(sent[2][1].number, 0xfedcba98);
        EXPECT_EQ(sent[2][10].number, OVRA_DESTROY);
    });
}

TEST(Trap, ARowHookOfAnyOtherTableSendsNothing) {
    with_agent(BUILT_IN, [] {
        const std::vector<char> row(4096);
        for (const TableDesc* desc : table_desc_list())
            if (desc != &table_desc_sActiveAlarmTable)
                trap_row_changed(*desc, row.data());
        sTcontTable_entry tcont{};
        tcont.shelfID = tcont.slotID = tcont.portID = tcont.onuId = 1;
        EXPECT_EQ(MibAccessHandle(MIB_CREATEGO, 0, mmg_table_did_getbyindex(STCONT), &tcont, mibDefFlags, 0),
                  MIB_OK);
        EXPECT_THAT(sent, SizeIs(0));
    });
}

TEST(Trap, TheDormantOnesCarryTheirTablesColumnsUnderTheirNumbers) {
    with_agent(BUILT_IN, [] {
        std::vector<char> row(65536);
        size_t number_of_traps = 0;
        for (const TableDesc* desc : table_desc_list()) {
            ASSERT_LE(desc->entry_size, row.size());
            if (trap_send_row(*desc, row.data()) != 0)
                continue;
            const Notification& notification = sent.back();
            const auto own_index = std::count_if(desc->index.begin(), desc->index.end(),
                                                 [](const ColumnDesc& c) { return c.number != 0; });
            EXPECT_EQ(notification.size(), desc->columns.size() + static_cast<size_t>(own_index) + 2)
                << desc->name;
            ++number_of_traps;
        }
        EXPECT_EQ(number_of_traps, 35u);
        sTcontTable_entry tcont{};
        send_sTcontTableTrap_trap(&tcont);
        EXPECT_EQ(sent.back()[0].bytes, E + "1.1.2.0.7");
    });
}

TEST(Trap, FromAnotherThreadItGoesOutOnTheLoop) {
    with_agent(BUILT_IN, [] {
        std::thread([] {
            sActiveAlarmTable_entry alarm = example_alarm();
            send_sActiveAlarmTableTrap_trap(&alarm);
        }).join();
        EXPECT_THAT(sent, SizeIs(0));
        EXPECT_TRUE(frr_run_until([] { return !sent.empty(); }));
    });
}

} // namespace
