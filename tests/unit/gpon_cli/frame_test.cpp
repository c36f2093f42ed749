// From one object to another, system-wide settings and debug switches.
#include "cli_fixture.h"

#include "gpon_cli.h"
#include "kavo_trunk.h"
#include "ov_app_gpon_qos.h"
#include "ov_hal_gpon_msg.h"

using testing::Contains;

namespace {

class Frame : public Cli {
protected:
    static uintptr_t number_of(const FrrSession& session) {
        return reinterpret_cast<uintptr_t>(session.vty->index);
    }
};

CLI_TEST(Frame, GponEntersTheProfiles) {
    FrrSession session(CONFIG_NODE);
    EXPECT_EQ(session.run("gpon"), CMD_SUCCESS);
    EXPECT_EQ(session.vty->node, GPON_NODE);
    EXPECT_EQ(session.vty->index, nullptr);
    EXPECT_EQ(session.output(), "");
}

CLI_TEST(Frame, PonPortsAndOnusAreEnteredByTheirIndexAsANumber) {
    add_interface("gpon-olt1/2");
    add_interface("gpon-onu1/2:128");
    FrrSession session(CONFIG_NODE);
    EXPECT_EQ(session.run("interface gpon-olt1/2"), CMD_SUCCESS);
    EXPECT_EQ(session.vty->node, IF_GPON_NODE);
    EXPECT_EQ(number_of(session), index_of("gpon-olt1/2"));
    EXPECT_EQ(session.run("interface gpon-onu1/2:128"), CMD_SUCCESS);
    EXPECT_EQ(session.vty->node, GPON_ONU_NODE);
    EXPECT_EQ(number_of(session), index_of("gpon-onu1/2:128"));
    EXPECT_EQ(session.output(), "");
}

CLI_TEST(Frame, UplinkPortsAreEnteredByTheirRecord) {
    const uif_t* port = add_interface("xe1/1");
    FrrSession session(CONFIG_NODE);
    EXPECT_EQ(session.run("interface xe1/1"), CMD_SUCCESS);
    EXPECT_EQ(session.vty->node, IF_NODE);
    EXPECT_EQ(session.vty->index, port);
    ov_ifindex_t ifindex = 0;
    EXPECT_EQ(ov_get_ifindex_from_vtysh(session.vty, &ifindex), 0);
    EXPECT_EQ(ifindex, port->ifindex);
}

CLI_TEST(Frame, TrunksAreEnteredByTheirRecord) {
    FrrSession session(CONFIG_NODE);
    EXPECT_EQ(session.run("interface trunk16"), CMD_SUCCESS);
    EXPECT_EQ(session.vty->node, IF_TRUNK_NODE);
    EXPECT_EQ(session.vty->index, trunk_get_by_name("trunk16"));
    session.vty->node = CONFIG_NODE;
    EXPECT_EQ(session.run("interface trunk17"), CMD_WARNING);
    EXPECT_EQ(session.output(), "% Interface[trunk17] not exist\n");
    EXPECT_EQ(session.vty->node, CONFIG_NODE);
}

CLI_TEST(Frame, AVlanInterfaceIsAnotherDaemonsAndTheNodeStays) {
    add_interface("gpon-olt1/1");
    for (const int node : {static_cast<int>(CONFIG_NODE), static_cast<int>(IF_GPON_NODE)}) {
        FrrSession session(node);
        kavo_vty_set_index(session.vty, index_of("gpon-olt1/1"));
        EXPECT_EQ(session.run("interface vlanif100"), CMD_SUCCESS);
        EXPECT_EQ(session.vty->node, node);
        EXPECT_EQ(number_of(session), index_of("gpon-olt1/1"));
        EXPECT_EQ(session.output(), "");
    }
}

CLI_TEST(Frame, AnUnknownNameIsRefusedAndLogged) {
    FrrSession session(IF_GPON_NODE);
    EXPECT_EQ(session.run("interface gpon-olt9/9"), CMD_WARNING);
    EXPECT_EQ(kavo_cmd_last_result(), 104001);
    EXPECT_EQ(session.output(), "% Interface[gpon-olt9/9] not exist\n");
    EXPECT_EQ(session.vty->node, IF_GPON_NODE);
    EXPECT_THAT(log_.lines(), Contains("interface gpon-olt9/9 failed return 104001."));
}

// Nothing says that the system is up, so a saved configuration is being replayed and nobody reads the
// answers.
CLI_TEST(Frame, WhileTheSystemStartsAnUnknownNameIsLoggedByItself) {
    FrrSession session(CONFIG_NODE);
    session.run("interface gpon-olt9/9");
    EXPECT_THAT(log_.lines(), Contains("Interface[gpon-olt9/9] not exist"));
}

CLI_TEST(Frame, ANameOf21CharactersIsRefusedWhateverItSays) {
    for (const char* name : {"gpon-onu1/1:123456789", "vlanif123456789012345", "trunk1234567890123456"}) {
        ASSERT_EQ(strlen(name), 21u);
        FrrSession session(CONFIG_NODE);
        EXPECT_EQ(session.run(std::string("interface ") + name), CMD_WARNING);
        EXPECT_EQ(session.output(), "% Interface[" + std::string(name) + "] not exist\n");
    }
    FrrSession session(CONFIG_NODE);
    EXPECT_EQ(session.run("interface vlanif12345678901234"), CMD_SUCCESS); // 20
}

CLI_TEST(Frame, ANameOf20CharactersIsLookedUp) {
    add_interface("gpon-onu1/2:128");
    FrrSession session(CONFIG_NODE);
    EXPECT_EQ(session.run("interface gpon-onu1/2:000000128"), CMD_WARNING); // 21
    EXPECT_EQ(session.run("interface gpon-onu1/2:00000129"), CMD_WARNING);  // 20, and nobody's
    EXPECT_EQ(session.output(), "% Interface[gpon-onu1/2:000000128] not exist\n"
                                "% Interface[gpon-onu1/2:00000129] not exist\n");
    EXPECT_EQ(session.run("interface gpon-onu1/2:00000128"), CMD_SUCCESS);
    EXPECT_EQ(session.vty->node, GPON_ONU_NODE);
    EXPECT_EQ(number_of(session), index_of("gpon-onu1/2:128"));
}

CLI_TEST(Frame, AShortenedNameFindsItsInterface) {
    add_interface("gpon-olt1/2");
    FrrSession session(CONFIG_NODE);
    EXPECT_EQ(session.run("interface gp1/2"), CMD_SUCCESS);
    EXPECT_EQ(session.vty->node, IF_GPON_NODE);
    EXPECT_EQ(number_of(session), index_of("gpon-olt1/2"));
}

CLI_TEST(Frame, AVlanIsMadeAndEntered) {
    FrrSession session(CONFIG_NODE);
    EXPECT_EQ(session.run("vlan 4094"), CMD_SUCCESS);
    EXPECT_EQ(session.vty->node, VLAN_NODE);
    EXPECT_EQ(session.vty->info, vlan_get_entry(4094));
    EXPECT_NE(session.vty->info, nullptr);
    for (const char* line : {"vlan 0", "vlan 4095", "vlan x"})
        EXPECT_EQ(FrrSession(CONFIG_NODE).run(line), CMD_ERR_NO_MATCH) << line;
}

CLI_TEST(Frame, ATextLineEndsAsTheTerminalWantsIt) {
    FrrSession terminal(CONFIG_NODE, true);
    terminal.run("interface gpon-olt9/9");
    EXPECT_EQ(terminal.output(), "% Interface[gpon-olt9/9] not exist\r\n");
}

CLI_TEST(Frame, DebugSwitchesAreSwitched) {
    FrrSession session(CONFIG_NODE);
    const struct {
        const char* line;
        int tipc, qos, info, function;
    } steps[] = {
        {"debug gpon tipc", 1, 0, 0, 0},    {"debug gpon qos", 1, 1, 0, 0},
        {"debug gpon snmp", 1, 1, 1, 0},    {"debug gpon snmp detail", 1, 1, 1, 1},
        {"no debug gpon tipc", 0, 1, 1, 1}, {"no debug gpon snmp", 0, 1, 0, 0},
        {"no debug gpon qos", 0, 0, 0, 0},
    };
    for (const auto& step : steps) {
        EXPECT_EQ(session.run(step.line), CMD_SUCCESS) << step.line;
        EXPECT_EQ(g_gpon_ipc_msg_debug_flag, step.tipc) << step.line;
        EXPECT_EQ(g_gpon_qos_debug_flag, step.qos) << step.line;
        EXPECT_EQ(mmg_get_debug_info_flag(), step.info) << step.line;
        EXPECT_EQ(mmg_get_debug_function_flag(), step.function) << step.line;
    }
}

CLI_TEST(Frame, DriverCommandsAlwaysSucceed) {
    for (const int node : {static_cast<int>(CONFIG_NODE), static_cast<int>(GPON_NODE)}) {
        FrrSession session(node);
        EXPECT_EQ(session.run("drv-cmd show port 1 " + std::string(300, 'x')), CMD_SUCCESS);
        EXPECT_EQ(session.run("drv-cmd"), CMD_ERR_INCOMPLETE);
    }
}

CLI_TEST(Frame, CommandsOfOneNodeDontStandOnAnother) {
    const struct {
        int node;
        const char* line;
    } wrong[] = {
        {CONFIG_NODE, "ctc enable"},
        {CONFIG_NODE, "fec downstream enable"},
        {GPON_NODE, "fec downstream enable"},
        {GPON_ONU_NODE, "fec downstream enable"},
        {IF_GPON_NODE, "profile bandwidth a fixed 250"},
        {ENABLE_NODE, "gpon"},
        {ENABLE_NODE, "interface gpon-olt1/1"},
        {GPON_NODE, "profile-name x"},
    };
    for (const auto& w : wrong) {
        FrrSession session(w.node);
        EXPECT_EQ(session.run(w.line), CMD_ERR_NO_MATCH) << w.line;
        EXPECT_EQ(session.vty->node, w.node);
    }
    EXPECT_TRUE(app.calls.empty());
}

CLI_TEST(Frame, UnknownAmbiguousAndIncompleteLinesAreTold) {
    FrrSession session(IF_GPON_NODE);
    EXPECT_EQ(session.run("fec downstream maybe"), CMD_ERR_NO_MATCH);
    EXPECT_EQ(session.run("fec downstream"), CMD_ERR_INCOMPLETE);
    EXPECT_EQ(session.run("onu auto disable"), CMD_ERR_AMBIGUOUS);
    EXPECT_EQ(session.run("onu auto-authentication enable auto-flow enable"), CMD_ERR_INCOMPLETE);
    EXPECT_EQ(session.run("fec downstream enable please"), CMD_ERR_NO_MATCH);
    EXPECT_TRUE(app.calls.empty());
}

} // namespace
