// The daemon's commands for tests: all nodes and commands installed over the real application with all its
// tables, on a chassis with two line cards that agree to everything until a test says otherwise. Each test is
// a process of its own.
//
//     class Port : public Cli { ... };
//     CLI_TEST(Port, IsSet) { EXPECT_EQ(run("fec downstream enable"), CMD_SUCCESS); }
#pragma once

#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

#include "cli_words.h"
#include "gpon_vty.h"
#include "kavo_cmd.h"
#include "kavo_if.h"
#include "kavo_vlan.h"
#include "kavo_vty_object.h"
#include "mmg_access.h"
#include "ov_app_gpon_qos.h"
#include "sBWProfileTable.h"
#include "sGemTable.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTable.h"
#include "sOnuTypeProfileTable.h"
#include "sPonTable.h"
#include "sRmTrafficProfileTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"

#include "../support/app_chassis.h"

using Columns = std::vector<unsigned>;
using Calls = std::vector<std::string>;

// What reaches the rows of the application: it stands in their callback chains as one more module that is
// told of changes, and refuses them if a test wants that.
struct Application {
    Calls calls;                   // "port_edit", in their order
    Columns columns;               // of the last one, without the row status
    bool refuses = false;          // the next ones
    ov_sPonTable_attr_t port = {}; // the last row of each table
    ov_sBWProfileTable_attr_t bandwidth = {};
    ov_sOnuTypeProfileTable_attr_t onutype = {};
    ov_sRmTrafficProfileTable_attr_t traffic = {};
    ov_sOnuSrvProfileTable_attr_t srvprofile = {};
    ov_sOnuTable_attr_t onu = {};
    ov_sTcontTable_attr_t tcont = {};
    ov_sGemTable_attr_t gem = {};
    ov_servicePortTable_attr_t service_port = {};
};
inline Application app;

namespace cli_test {

inline AppChassis* chassis = nullptr;

template <typename Row>
int watch(const char* object, Row Application::*last, void* row, const MIB_Flags_t& flags) {
    const TableDesc& table = table_of<Row>::module().desc();
    const int mode = table_of<Row>::module().row_mode(row);
    app.*last = *static_cast<const Row*>(row);
    app.calls.push_back(std::string(object) + (mode == MODE_CRE   ? "_add"
                                               : mode == MODE_DEL ? "_del"
                                                                  : "_edit"));
    app.columns.clear();
    for (const ColumnDesc& column : table.columns)
        if (&column != table.row_status && column.type != ColType::ROWSTATUS &&
            mib_flag_is_set(flags, column.number))
            app.columns.push_back(column.number);
    return app.refuses ? 0 : 1;
}

#define CLI_TEST_WATCH(object, Row, last)                                                                    \
    MibRegisterCallback(                                                                                     \
        did_of<Row>(), CALLBACK_SET, "cli test", appid,                                                      \
        [](MIBDID, void* row, MIB_Flags_t flags) { return watch(object, &Application::last, row, flags); },  \
        mibDefFlags)

inline void watch_all() {
    const int appid = AssignAppId();
    CLI_TEST_WATCH("port", ov_sPonTable_attr_t, port);
    CLI_TEST_WATCH("bwtype", ov_sBWProfileTable_attr_t, bandwidth);
    CLI_TEST_WATCH("onutype", ov_sOnuTypeProfileTable_attr_t, onutype);
    CLI_TEST_WATCH("traffic", ov_sRmTrafficProfileTable_attr_t, traffic);
    CLI_TEST_WATCH("srvprofile", ov_sOnuSrvProfileTable_attr_t, srvprofile);
    CLI_TEST_WATCH("onu", ov_sOnuTable_attr_t, onu);
    CLI_TEST_WATCH("tcont", ov_sTcontTable_attr_t, tcont);
    CLI_TEST_WATCH("gemport", ov_sGemTable_attr_t, gem);
    CLI_TEST_WATCH("service_port", ov_servicePortTable_attr_t, service_port);
}
#undef CLI_TEST_WATCH

// Makes a fixture on a chassis of its own and hands it to the body.
template <typename Fixture>
void run(const std::function<void(Fixture&)>& body) {
    app_chassis::run([&](AppChassis& made) {
        chassis = &made;
        Fixture fixture;
        body(fixture);
    });
}

} // namespace cli_test

#define CLI_TEST(Fixture, Name)                                                                              \
    struct Fixture##_##Name : Fixture {                                                                      \
        void body();                                                                                         \
    };                                                                                                       \
    TEST(Fixture, Name) {                                                                                    \
        cli_test::run<Fixture##_##Name>([](Fixture##_##Name& fixture) { fixture.body(); });                  \
    }                                                                                                        \
    void Fixture##_##Name::body()

// A row that was just made, in service: commands know no other.
template <typename Row>
Row* active(Row* made) {
    const TableDesc& table = table_of<Row>::module().desc();
    const int32_t status = OVRA_ACTIVE;
    memcpy(reinterpret_cast<char*>(made) + table.row_status->offset, &status, sizeof status);
    memcpy(reinterpret_cast<char*>(made) + table.row_status->old_offset, &status, sizeof status);
    table_of<Row>::module().mark_changed();
    return made;
}

class Cli {
public:
    Cli() {
        HalChassis::activate(1);
        uvlan_init();
        gpon_vty_init();
        cli_test::watch_all();
        app = {};
        LogCapture::clear();
    }
    // Whatever a test did, no handler read an argument by a name that its commands don't have.
    ~Cli() { EXPECT_EQ(cli_wrong_names(), 0); }
    Cli(const Cli&) = delete;
    Cli& operator=(const Cli&) = delete;

protected:
    static ov_ifindex_t index_of(const char* name) { return ov_ifindex_gen_by_name(name); }
    static uif_t* add_interface(const char* name) { return uif_create_by_name(name); }

    // A session that stands on a PON port, as "interface gpon-olt1/1" leaves it.
    static void stand_on(FrrSession& session, int node, const char* name) {
        session.vty->node = node;
        kavo_vty_set_index(session.vty, index_of(name));
    }

    // Rows that are there, as loading their table makes them.
    static ov_sPonTable_attr_t& add_port(int slot, int port) {
        auto& row = *active(sPonTable_createEntry(1, slot, port));
        row.sPonTableIfIndex = ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, static_cast<uint16_t>(slot), 0,
                                                         static_cast<uint16_t>(port), 0);
        return row;
    }
    // Gives a port the scheduler that a limit for its single copy needs.
    static void make_hierarchical(const char* port) {
        auto* qos = ov_app_port_qos_new();
        ov_app_port_qos_edit_ifindex(qos, index_of(port));
        ov_app_port_qos_edit_sched_mode(qos, OV_QOS_SCHED_HIERARCHY);
        ASSERT_EQ(ov_app_port_qos_add(qos, SYNC_APP), OV_QOS_OK);
    }
    static ov_sOnuTable_attr_t& add_onu(int slot, int port, int onu) {
        auto& row = *active(sOnuTable_createEntry(1, slot, port, onu));
        row.sOnuTableIfIndex =
            ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, static_cast<uint16_t>(slot), 0,
                                      static_cast<uint16_t>(port), static_cast<uint16_t>(onu));
        row.sOnuTableOnuTypeProfileId = id_of(row.sOnuTableOnuTypeProfileName);
        return row;
    }
    static ov_sOnuSrvProfileTable_attr_t& add_profile(unsigned id, const char* name, const char* type) {
        ov_sOnuSrvProfileTable_attr_t& row = *active(sOnuSrvProfileTable_createEntry(id));
        snprintf(row.onuSrvProfileName, sizeof(row.onuSrvProfileName), "%s", name);
        snprintf(row.sOnuTypeProfileName, sizeof(row.sOnuTypeProfileName), "%s", type);
        return row;
    }
    // An ONU type by its name, whose id is made of it.
    static ov_sOnuTypeProfileTable_attr_t& add_onutype(const char* name) {
        auto& row = *active(sOnuTypeProfileTable_createEntry(id_of(name)));
        snprintf(row.onuTypeProfileName, sizeof(row.onuTypeProfileName), "%s", name);
        row.sOnuTypeProfileTableEthNum = 4;
        row.sOnuTypeProfileTablePotsNum = 2;
        row.sOnuTypeProfileTableCardNum = 1;
        row.sOnuTypeProfileTableUpQueueNum = 8;
        row.sOnuTypeProfileTableDwnQueueNum = 8;
        row.sOnuTypeProfileTableTcontNum = 8;
        row.sOnuTypeProfileTableGemPortNum = 32;
        return row;
    }
    static ov_sBWProfileTable_attr_t& add_bandwidth(const char* name, int type = SBWPROFILETABLETYPE_TYPE4) {
        auto& row = *active(sBWProfileTable_createEntry(id_of(name)));
        snprintf(row.sBWProfileTableBwProfileName, sizeof(row.sBWProfileTableBwProfileName), "%s", name);
        row.sBWProfileTableType = type;
        row.sBWProfileTableFixBw = 251;
        row.sBWProfileTableAssBw = 252;
        row.sBWProfileTableMaxBw = 503;
        return row;
    }
    static ov_sRmTrafficProfileTable_attr_t& add_traffic(const char* name) {
        auto& row = *active(sRmTrafficProfileTable_createEntry(id_of(name)));
        snprintf(row.sRmTrafficProfileName, sizeof(row.sRmTrafficProfileName), "%s", name);
        row.sRmTrafficProfileCIR = row.sRmTrafficProfilePIR = 64;
        row.sRmTrafficProfileCBS = row.sRmTrafficProfilePBS = 2000;
        return row;
    }

    // Empties a table past all callbacks, which stay.
    template <typename Row>
    static void remove_all() {
        std::vector<Row> rows = rows_copied(Row{}, 0);
        for (Row& row : rows)
            table_of<Row>::module().remove_entry(&row);
    }
    // At least these columns: the application adds what it fills in itself.
    static auto written(const Columns& columns) { return testing::IsSupersetOf(columns); }

    AppChassis& chassis_ = *cli_test::chassis;
    LogCapture& log_ = chassis_.hal.log;
    FakeCard other_card_{1};

private:
    static mib_ulong id_of(const char* name) {
        return static_cast<mib_ulong>(BKDRHash(name, static_cast<int>(strlen(name))));
    }
};
