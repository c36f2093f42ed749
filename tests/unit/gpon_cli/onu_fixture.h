// ONUs by command, for tests: a port and an ONU to stand on, and an application that stores what it is asked
// for, without cards.
#pragma once

#include "cli_fixture.h"

#include "ov_app_gpon_onu.h"
#include "sGemTable.h"
#include "sOnuExtendInfoTable.h"
#include "sOnuHistoryTable.h"
#include "sOnuInitTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"

// The last row that the application was asked for, of each table.
struct OnuApplication {
    ov_sOnuTable_attr_t onu = {};
    ov_sTcontTable_attr_t tcont = {};
    ov_sGemTable_attr_t gem = {};
    ov_servicePortTable_attr_t service_port = {};
};
extern OnuApplication onu_app;

class OnuCli : public Cli {
protected:
    OnuCli() {
        empty_tables();
        onu_app = {};
        stand_on(port_, IF_GPON_NODE, "gpon-olt1/2");
        stand_on(onu_, GPON_ONU_NODE, "gpon-onu1/2:7");
        kavo_vty_set_index(profile_.vty, ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, 31, 0, 15, 5));
    }

    ~OnuCli() override { empty_tables(); } // other tests write the configuration, too

    static void empty_tables() {
        initialize_table_sTcontTable_data();
        initialize_table_sGemTable_data();
        initialize_table_servicePortTable_data();
        initialize_table_sOnuInitTable_data();
        initialize_table_sOnuHistoryTable_data();
        initialize_table_sOnuExtendInfoTable_data();
    }

    // A line on a node: what it printed, and what the handler answered.
    static std::string run(FrrSession& session, const std::string& line, int result = 0) {
        const int code = session.run(line);
        EXPECT_EQ(code, result == 0 ? CMD_SUCCESS : CMD_WARNING) << line;
        EXPECT_EQ(kavo_cmd_last_result(), result) << line;
        return session.output();
    }
    static std::string block(const char* object, int node) {
        FrrSession session(node);
        kavo_vty_set_index(session.vty, index_of(object));
        EXPECT_EQ(session.run("write terminal current"), CMD_SUCCESS);
        std::string text = session.output();
        text.erase(0, text.find('\n') + 1);
        return text.substr(0, text.rfind("!\n"));
    }
    static std::string port_block() { return block("gpon-olt1/2", IF_GPON_NODE); }
    static std::string onu_block() { return block("gpon-onu1/2:7", GPON_ONU_NODE); }

    template <size_t Size>
    static void set(char (&field)[Size], const char* text) {
        snprintf(field, Size, "%s", text);
    }

    FrrSession port_{IF_GPON_NODE};
    FrrSession onu_{GPON_ONU_NODE};
    FrrSession profile_{ONU_SRV_PROFILE_NODE};
};
