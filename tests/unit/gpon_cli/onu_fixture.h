// ONUs by command, for tests: sessions on a port, an ONU and a service profile.
#pragma once

#include "cli_fixture.h"

#include "ov_app_gpon_onu.h"
#include "sOnuExtendInfoTable.h"
#include "sOnuHistoryTable.h"
#include "sOnuInitTable.h"

class OnuCli : public Cli {
protected:
    OnuCli() {
        add_onutype("KLM-618").sOnuTypeProfileTableIsDefaultProfile = 1; // in no saved configuration
        stand_on(port_, IF_GPON_NODE, "gpon-olt1/2");
        stand_on(onu_, GPON_ONU_NODE, "gpon-onu1/2:7");
        kavo_vty_set_index(profile_.vty, ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, 31, 0, 15, 5));
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
