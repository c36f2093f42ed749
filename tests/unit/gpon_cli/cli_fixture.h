// The daemon's commands for tests: all nodes and commands installed, empty tables, and the application
// functions that the handlers call, played by the tests.
#pragma once

#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

#include "app_rows.h"
#include "gpon_vty.h"
#include "kavo_cmd.h"
#include "kavo_if.h"
#include "kavo_vlan.h"
#include "kavo_vty_object.h"
#include "mmg_access.h"
#include "sBWProfileTable.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTable.h"
#include "sOnuTypeProfileTable.h"
#include "sPonTable.h"
#include "sRmTrafficProfileTable.h"

#include "../kavo/frr_fixture.h"
#include "../support/log_capture.h"
#include "../support/test_shelf.h"

// What the handlers asked of the application, and what it answers.
struct Application {
    std::vector<std::string> calls; // names of the functions
    std::vector<unsigned> columns;  // of the last call
    ov_sPonTable_attr_t port = {};
    ov_sBWProfileTable_attr_t bandwidth = {};
    ov_sOnuTypeProfileTable_attr_t onutype = {};
    ov_sRmTrafficProfileTable_attr_t traffic = {};
    ov_sOnuSrvProfileTable_attr_t srvprofile = {};
    int answer = 0; // of the next calls that change something

    int called(const char* name, const MIB_Flags_t* flags = nullptr) {
        calls.emplace_back(name);
        columns.clear();
        for (unsigned column = 0; flags != nullptr && column < MIB_FLAGS_COLUMNS; column++)
            if (mib_flag_is_set(*flags, column))
                columns.push_back(column);
        return answer;
    }
};
extern Application app;

using Columns = std::vector<unsigned>;
using Calls = std::vector<std::string>;

// A row that was just made, in service: commands know no other.
template <typename Row>
Row* active(Row* made) {
    const int32_t status = OVRA_ACTIVE;
    memcpy(reinterpret_cast<char*>(made) + table_of<Row>::module().desc().row_status->offset, &status,
           sizeof status);
    return made;
}

class Cli : public testing::Test {
protected:
    Cli() {
        static const TestShelf shelf(53); // and the environment tool
        frr_master();
        uif_init();
        uvlan_init();
        static const bool installed = (gpon_vty_init(), true);
        EXPECT_TRUE(installed);
        initialize_table_sPonTable_data();
        initialize_table_sOnuTable_data();
        initialize_table_sOnuTypeProfileTable_data();
        initialize_table_sBWProfileTable_data();
        initialize_table_sRmTrafficProfileTable_data();
        initialize_table_sOnuSrvProfileTable_data();
        app = {};
    }
    ~Cli() override { uif_deinit(); }

    static ov_ifindex_t index_of(const char* name) { return ov_ifindex_gen_by_name(name); }
    static uif_t* add_interface(const char* name) { return uif_create_by_name(name); }

    // A session that stands on a PON port, as "interface gpon-olt1/1" leaves it.
    static void stand_on(FrrSession& session, int node, const char* name) {
        session.vty->node = node;
        kavo_vty_set_index(session.vty, index_of(name));
    }

    static ov_sPonTable_attr_t& add_port(int slot, int port) {
        ov_sPonTable_attr_t& row = *sPonTable_createEntry(1, slot, port);
        row.sPonTableRowStatus = OVRA_ACTIVE;
        return row;
    }
    static ov_sOnuTable_attr_t& add_onu(int slot, int port, int onu) {
        ov_sOnuTable_attr_t& row = *sOnuTable_createEntry(1, slot, port, onu);
        row.sOnuTableRowStatus = OVRA_ACTIVE;
        return row;
    }
    static ov_sOnuSrvProfileTable_attr_t& add_profile(unsigned id, const char* name, const char* type) {
        ov_sOnuSrvProfileTable_attr_t& row = *active(sOnuSrvProfileTable_createEntry(id));
        snprintf(row.onuSrvProfileName, sizeof(row.onuSrvProfileName), "%s", name);
        snprintf(row.sOnuTypeProfileName, sizeof(row.sOnuTypeProfileName), "%s", type);
        return row;
    }

    LogCapture log_;
};
