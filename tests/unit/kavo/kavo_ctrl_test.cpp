// The operator's actions, run as an operator does: a key in the action file and SIGUSR2.
#include "kavo_ctrl.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <frr/config.h>

#include <frr/zebra.h>

#include <frr/command.h>

#include "../ov_common/private_root.h"
#include "crashHandler.h"
#include "ov_app_ctrl.h"
#include "ov_error_ring.h"
#include "ov_product_log.h"
#include "ov_slot.h"
#include "ov_util_ini_cfg.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr char ACTION_FILE[] = "/tmp/product/action.gpon";

int run_command(const cmd_element* /*self*/, vty* /*out*/, int /*argc*/, cmd_token* /*argv*/[]) {
    return 0;
}

// A node of libfrr with one command of ours in it.
void install_test_command() {
    static cmd_node node = {};
    static cmd_element command = {};
    node.name = "kavo ctrl test";
    node.node = ENABLE_NODE;
    node.prompt = "%s# ";
    command.string = "show kavo-ctrl-test";
    command.doc = "Show\nTest\n";
    command.func = run_command;
    command.name = "kavo_ctrl_test";
    cmd_init(-1);
    install_node(&node);
    install_element(ENABLE_NODE, &command);
}

std::string signal_actions() {
    testing::internal::CaptureStdout();
    raise(SIGUSR2);
    app_ctrl_service_pending();
    return testing::internal::GetCapturedStdout();
}

std::string run_action(const char* key) {
    EXPECT_EQ(ov_util_ini_cfg_set_val(ACTION_FILE, "action", key, "1"), 0);
    return signal_actions();
}

// The platform's environment tool for the slots' start: nothing is set.
void provide_empty_environment() {
    std::filesystem::create_directory("/tmp/bin");
    private_root::write_file("/tmp/bin/ov_env_get", "#!/bin/sh\nexit 1\n");
    chmod("/tmp/bin/ov_env_get", 0755);
    setenv("PATH", (std::string("/tmp/bin:") + getenv("PATH")).c_str(), 1);
}

void with_ctrl(const std::function<void()>& body) {
    private_root::run([&] {
        kavo_ctrl_init("gpon");
        body();
    });
}

TEST(KavoCtrl, RegistersTheFourActionsInOrderWithKeysOfZero) {
    with_ctrl([] {
        std::vector<std::string> names;
        for (const app_ctrl_action_t& action : g_app_ctrl_cb.actions) {
            names.push_back(action.cfg_name);
            EXPECT_EQ(ov_util_ini_cfg_get_int(ACTION_FILE, "action", action.cfg_name.c_str(), -1), 0);
        }
        EXPECT_THAT(names, testing::ElementsAre("dump_startup_info", "dump_slot_info", "dump_cmd_all",
                                                "dump_error_info"));
    });
}

TEST(KavoCtrl, StartupInfoTellsWhatRunsHere) {
    with_ctrl([] {
        char program[] = "gpon";
        char option[] = "-d";
        char* argv[] = {program, option, nullptr};
        gArgc = 2;
        gArgv = argv;
        EXPECT_THAT(
            run_action("dump_startup_info"),
            AllOf(HasSubstr("\r\n  proc actions dump_startup_info\r\n"), HasSubstr("name          gpon\n"),
                  HasSubstr("pid           " + std::to_string(getpid())), HasSubstr("started       20"),
                  HasSubstr("command line  gpon -d\n"), HasSubstr("version       6.1\n")));
    });
}

TEST(KavoCtrl, SlotInfoShowsEachSlotWithItsMarksAndCard) {
    with_ctrl([] {
        provide_empty_environment();
        ASSERT_EQ(ov_slot_init(), 0u);
        const uint32_t slot = ov_slot_get_min_slot_num();
        EXPECT_THAT(run_action("dump_slot_info"), HasSubstr("(no card)\n"));
        ASSERT_NE(ov_slot_create(slot, 77, 1), nullptr);
        ov_slot_update_present(1u << slot);
        ov_slot_set_connected(slot, 1);
        const std::string out = run_action("dump_slot_info");
        EXPECT_THAT(out, HasSubstr("shelf "));
        char head[32];
        snprintf(head, sizeof(head), "  slot %2u:", slot);
        const size_t begin = out.find(head);
        ASSERT_NE(begin, std::string::npos) << out;
        const std::string line = out.substr(begin, out.find('\n', begin) - begin);
        EXPECT_THAT(line, AllOf(HasSubstr(" present"), HasSubstr(" added"), HasSubstr(" connected"),
                                HasSubstr("card type 77")));
    });
}

TEST(KavoCtrl, SlotInfoOfAShelfThatIsNotSetUpDoesNotCrash) {
    with_ctrl([] { EXPECT_THAT(run_action("dump_slot_info"), HasSubstr("shelf ")); });
}

TEST(KavoCtrl, CmdAllListsTheCommandsOfAllNodes) {
    with_ctrl([] {
        install_test_command();
        const std::string out = run_action("dump_cmd_all");
        EXPECT_THAT(out, HasSubstr("kavo ctrl test\n    show kavo-ctrl-test\n"));
        EXPECT_THAT(out, testing::ContainsRegex("\n  [0-9]+ commands in [0-9]+ nodes\n"));
    });
}

TEST(KavoCtrl, CmdAllBeforeTheCommandLineIsSetUpListsNothing) {
    with_ctrl([] {
        cmdvec = nullptr; // in this process another test may have set it up
        EXPECT_THAT(run_action("dump_cmd_all"), HasSubstr("  0 commands in 0 nodes\n"));
    });
}

TEST(KavoCtrl, ErrorInfoShowsCountsAndTheLastErrors) {
    with_ctrl([] {
        ov_error_ring_clear();
        ov_error_ring_add(OV_LOG_LVL_ERROR, "QOS", "no such queue");
        ov_error_ring_add(OV_LOG_LVL_FATAL, "MMG", "out of rows");
        EXPECT_THAT(run_action("dump_error_info"),
                    AllOf(HasSubstr("errors 1, fatal 1\n"), HasSubstr(" 100 [QOS] no such queue\n"),
                          HasSubstr(" 120 [MMG] out of rows\n")));
    });
}

TEST(KavoCtrl, ActionsWithAKeyOfZeroStaySilent) {
    with_ctrl([] { EXPECT_EQ(signal_actions(), ""); });
}

TEST(KavoCtrl, ABadNameLeavesTheDaemonWithoutActions) {
    private_root::run([] {
        kavo_ctrl_init(nullptr);
        EXPECT_EQ(g_app_ctrl_cb.actions.size(), 0u);
    });
}

} // namespace
