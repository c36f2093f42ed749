// Application control: files, signals and what the items' handlers are given.
#include "ov_app_ctrl.h"

#include <cerrno>
#include <csignal>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/stat.h>

#include "ov_product_log.h"
#include "ov_util_ini_cfg.h"
#include "private_root.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char STARTUP_FILE[] = "/flash/initial.gpon";
constexpr char RUNNING_FILE[] = "/tmp/product/running.gpon";
constexpr char ACTION_FILE[] = "/tmp/product/action.gpon";

std::vector<std::string> g_calls;
std::vector<std::string> g_log;
std::string g_out;

void on_flag(int value) {
    g_calls.push_back("flag " + std::to_string(value));
}
void on_int(int value) {
    g_calls.push_back("int " + std::to_string(value));
}
void on_str(const char* value) {
    g_calls.push_back(std::string("str ") + value);
}
void on_first_action() {
    g_calls.emplace_back("first");
}
void on_second_action() {
    g_calls.emplace_back("second");
}

void keep_log(int /*level*/, const char* /*module*/, const char* text) {
    g_log.emplace_back(text);
}

int ini_int(const char* path, const char* section, const char* key) {
    return ov_util_ini_cfg_get_int(path, section, key, -999);
}

void set_key(const char* path, const char* section, const char* key, const char* value) {
    ASSERT_EQ(ov_util_ini_cfg_set_val(path, section, key, value), 0);
}

void signal_and_service(int signo) {
    g_calls.clear();
    g_log.clear();
    testing::internal::CaptureStdout();
    raise(signo);
    app_ctrl_service_pending();
    g_out = testing::internal::GetCapturedStdout();
}

// An application with one running item of each kind and two actions.
void start_app() {
    ov_product_log_set_tap(keep_log);
    ASSERT_EQ(app_ctrl_init("gpon"), 0);
    ASSERT_EQ(app_add_running_debug_flag("dbg", 0, on_flag), 0);
    ASSERT_EQ(app_add_running_int_ctrl("limit", 7, on_int), 0);
    ASSERT_EQ(app_add_running_str_ctrl("host", "none", on_str), 0);
    ASSERT_EQ(app_add_action_ctrl("first", on_first_action), 0);
    ASSERT_EQ(app_add_action_ctrl("second", on_second_action), 0);
    app_ctrl_start();
    g_calls.clear();
    g_log.clear();
}

// With /flash there and an application started.
void with_app(const std::function<void()>& body) {
    private_root::run([&] {
        start_app();
        body();
    });
}

TEST(AppCtrl, PathsCarryTheApplicationsName) {
    private_root::run([] {
        ASSERT_EQ(app_ctrl_init("gpon"), 0);
        EXPECT_EQ(g_app_ctrl_cb.app_name, "gpon");
        EXPECT_EQ(g_app_ctrl_cb.startup.path, STARTUP_FILE);
        EXPECT_EQ(g_app_ctrl_cb.running.path, RUNNING_FILE);
        EXPECT_EQ(g_app_ctrl_cb.action_path, ACTION_FILE);
    });
}

TEST(AppCtrl, NamesThatWouldLeaveTheDirectoryAreRefused) {
    EXPECT_EQ(app_ctrl_init(nullptr), EINVAL);
    EXPECT_EQ(app_ctrl_init(""), EINVAL);
    EXPECT_EQ(app_ctrl_init("../etc/passwd"), EINVAL);
    EXPECT_EQ(app_ctrl_init(std::string(65, 'x').c_str()), EINVAL);
}

TEST(AppCtrl, BothUserSignalsRestartInterruptedCalls) {
    private_root::run([] {
        ASSERT_EQ(app_ctrl_init("gpon"), 0);
        for (int signo : {SIGUSR1, SIGUSR2}) {
            struct sigaction action = {};
            ASSERT_EQ(sigaction(signo, nullptr, &action), 0);
            EXPECT_NE(action.sa_handler, SIG_DFL);
            EXPECT_TRUE((action.sa_flags & SA_RESTART) != 0);
        }
    });
}

TEST(AppCtrl, ItemsNeedAKeyAHandlerAndANameOfTheirOwn) {
    private_root::run([] {
        ASSERT_EQ(app_ctrl_init("gpon"), 0);
        EXPECT_EQ(app_add_running_int_ctrl("limit", 1, on_int), 0);
        EXPECT_EQ(app_add_running_int_ctrl("LIMIT", 1, on_int), EEXIST);
        EXPECT_EQ(app_add_startup_int_ctrl("limit", 1, on_int), 0) << "another file, another list";
        EXPECT_EQ(app_add_running_debug_flag("limit", 1, on_int), 0) << "another section";
        EXPECT_EQ(app_add_running_int_ctrl("other", 1, nullptr), EINVAL);
        for (const char* name : {"", "a=b", "a:b", "[a]", "a\nb", "a b"})
            EXPECT_EQ(app_add_action_ctrl(name, on_first_action), EINVAL) << name;
        EXPECT_EQ(app_add_action_ctrl(nullptr, on_first_action), EINVAL);
        EXPECT_EQ(g_app_ctrl_cb.running.ints.size(), 1u);
        EXPECT_THAT(g_app_ctrl_cb.actions, IsEmpty());
    });
}

TEST(AppCtrl, StartWritesAllActionsAsZeroAndRunningItemsAsDefaults) {
    with_app([] {
        EXPECT_EQ(ini_int(ACTION_FILE, "action", "first"), 0);
        EXPECT_EQ(ini_int(ACTION_FILE, "action", "second"), 0);
        EXPECT_EQ(ini_int(RUNNING_FILE, "debug", "dbg"), 0);
        EXPECT_EQ(ini_int(RUNNING_FILE, "int", "limit"), 7);
        EXPECT_EQ(ov_util_ini_cfg_get_str(RUNNING_FILE, "string", "host", "?"), "none");
        EXPECT_EQ(access(STARTUP_FILE, F_OK), 0);
    });
}

TEST(AppCtrl, ANewStartSetsLeftOverActionKeysBackToZero) {
    with_app([] {
        set_key(ACTION_FILE, "action", "first", "1");
        start_app();
        EXPECT_EQ(ini_int(ACTION_FILE, "action", "first"), 0);
    });
}

TEST(AppCtrl, ANewStartReplacesMalformedRunningAndActionFiles) {
    with_app([] {
        for (const char* path : {RUNNING_FILE, ACTION_FILE})
            private_root::write_file(path, "this is no ini file\n");
        start_app();
        EXPECT_EQ(ini_int(ACTION_FILE, "action", "first"), 0);
        EXPECT_EQ(ini_int(RUNNING_FILE, "int", "limit"), 7);
    });
}

TEST(AppCtrl, StartupItemsGetTheOperatorsValuesAndTheFileItsMissingKeys) {
    private_root::run([] {
        private_root::write_file(STARTUP_FILE, "[int]\nlimit = 42\n[mine]\nnote = keep\n");
        ASSERT_EQ(app_ctrl_init("gpon"), 0);
        ASSERT_EQ(app_add_startup_debug_flag("dbg", 1, on_flag), 0);
        ASSERT_EQ(app_add_startup_int_ctrl("limit", 7, on_int), 0);
        ASSERT_EQ(app_add_startup_str_ctrl("host", "none", on_str), 0);
        g_calls.clear();
        app_ctrl_start();
        EXPECT_THAT(g_calls, ElementsAre("flag 1", "int 42", "str none"));
        EXPECT_EQ(ini_int(STARTUP_FILE, "int", "limit"), 42);
        EXPECT_EQ(ini_int(STARTUP_FILE, "debug", "dbg"), 1);
        EXPECT_EQ(ov_util_ini_cfg_get_str(STARTUP_FILE, "mine", "note", "?"), "keep");
    });
}

TEST(AppCtrl, AMalformedStartupFileIsKeptAndDefaultsHold) {
    private_root::run([] {
        private_root::write_file(STARTUP_FILE, "[int\nlimit 42\n");
        ASSERT_EQ(app_ctrl_init("gpon"), 0);
        ASSERT_EQ(app_add_startup_int_ctrl("limit", 7, on_int), 0);
        g_calls.clear();
        app_ctrl_start();
        EXPECT_THAT(g_calls, ElementsAre("int 7"));
        EXPECT_EQ(private_root::read_file(STARTUP_FILE), "[int\nlimit 42\n");
    });
}

TEST(AppCtrl, AnUnwritableDirectoryIsLoggedAndDoesNotStopTheStart) {
    private_root::run([] {
        // A file in the place of each directory: that stops root as well.
        ASSERT_EQ(rmdir("/flash"), 0);
        private_root::write_file("/flash", "");
        private_root::write_file("/tmp/product", "");
        start_app();
        ov_product_log_set_tap(keep_log);
        app_ctrl_start();
        EXPECT_THAT(g_log, Contains(HasSubstr("/flash/initial.gpon can't be made")));
        EXPECT_THAT(g_log, Contains(HasSubstr("/tmp/product/running.gpon")));
        EXPECT_THAT(g_log, Contains(HasSubstr("/tmp/product/action.gpon")));
        signal_and_service(SIGUSR1);
        EXPECT_THAT(g_calls, ElementsAre("flag 0", "int 7", "str none"));
        signal_and_service(SIGUSR2);
        EXPECT_THAT(g_calls, IsEmpty());
    });
}

TEST(AppCtrl, Sigusr1HandsEachRunningItemItsValueInOrder) {
    with_app([] {
        set_key(RUNNING_FILE, "string", "host", "10.0.0.1");
        set_key(RUNNING_FILE, "int", "limit", "-3");
        set_key(RUNNING_FILE, "debug", "dbg", "1");
        signal_and_service(SIGUSR1);
        EXPECT_THAT(g_calls, ElementsAre("flag 1", "int -3", "str 10.0.0.1"));
        EXPECT_THAT(g_log, Contains("Re-configure app gpon"));
    });
}

TEST(AppCtrl, Sigusr1MakesAMissingRunningFileWithTheValuesInForce) {
    with_app([] {
        set_key(RUNNING_FILE, "int", "limit", "9");
        signal_and_service(SIGUSR1);
        ASSERT_EQ(unlink(RUNNING_FILE), 0);
        signal_and_service(SIGUSR1);
        EXPECT_THAT(g_calls, ElementsAre("flag 0", "int 9", "str none"));
        EXPECT_EQ(ini_int(RUNNING_FILE, "int", "limit"), 9);
    });
}

TEST(AppCtrl, AMalformedRunningFileOrValueChangesNothing) {
    with_app([] {
        set_key(RUNNING_FILE, "int", "limit", "9");
        signal_and_service(SIGUSR1);
        set_key(RUNNING_FILE, "int", "limit", "many");
        signal_and_service(SIGUSR1);
        EXPECT_THAT(g_calls, Contains("int 9"));
        private_root::write_file(RUNNING_FILE, "\x01\x02[[[\nlimit\n");
        signal_and_service(SIGUSR1);
        EXPECT_THAT(g_calls, ElementsAre("flag 0", "int 9", "str none"));
    });
}

TEST(AppCtrl, ASigusr2WithAllActionKeysZeroRunsNoAction) {
    with_app([] {
        signal_and_service(SIGUSR2);
        EXPECT_EQ(g_out, "");
        EXPECT_THAT(g_calls, IsEmpty());
        EXPECT_THAT(g_log, ElementsAre("app gpon proc user actions"));
    });
}

TEST(AppCtrl, ASigusr2RunsTheActionsWithANonZeroKeyAndPrintsTheirNames) {
    with_app([] {
        set_key(ACTION_FILE, "action", "second", "1");
        signal_and_service(SIGUSR2);
        EXPECT_EQ(g_out, "\r\n  proc actions second\r\n");
        EXPECT_THAT(g_calls, ElementsAre("second"));
        EXPECT_THAT(g_log, testing::SizeIs(2)) << "one line for the signal, one for the action";
    });
}

TEST(AppCtrl, AnActionsKeyIsNotResetAfterItRan) {
    with_app([] {
        set_key(ACTION_FILE, "action", "first", "5");
        signal_and_service(SIGUSR2);
        EXPECT_EQ(ini_int(ACTION_FILE, "action", "first"), 5);
        signal_and_service(SIGUSR2);
        EXPECT_THAT(g_calls, ElementsAre("first"));
    });
}

TEST(AppCtrl, AMissingOrMalformedActionFileRunsNothing) {
    with_app([] {
        private_root::write_file(ACTION_FILE, "[action\nfirst 1\n");
        signal_and_service(SIGUSR2);
        EXPECT_THAT(g_calls, IsEmpty());
        ASSERT_EQ(unlink(ACTION_FILE), 0);
        signal_and_service(SIGUSR2);
        EXPECT_THAT(g_calls, IsEmpty());
    });
}

TEST(AppCtrl, TheSignalItselfRunsNothingAndMakesTheDescriptorReadable) {
    with_app([] {
        set_key(ACTION_FILE, "action", "first", "1");
        pollfd waiting = {app_ctrl_signal_fd(), POLLIN, 0};
        EXPECT_EQ(poll(&waiting, 1, 0), 0);
        raise(SIGUSR2);
        EXPECT_THAT(g_calls, IsEmpty());
        EXPECT_EQ(poll(&waiting, 1, 0), 1);
        testing::internal::CaptureStdout();
        app_ctrl_service_pending();
        testing::internal::GetCapturedStdout();
        EXPECT_THAT(g_calls, ElementsAre("first"));
        EXPECT_EQ(poll(&waiting, 1, 0), 0);
    });
}

TEST(AppCtrl, SignalsThatWereServicedAreNotServicedAgain) {
    with_app([] {
        signal_and_service(SIGUSR1);
        g_calls.clear();
        app_ctrl_service_pending();
        EXPECT_THAT(g_calls, IsEmpty());
    });
}

TEST(AppCtrl, AFloodOfSignalsNeitherBlocksNorRunsMoreThanOnce) {
    with_app([] {
        for (int i = 0; i < 70000; ++i) // more than the pipe holds
            raise(SIGUSR1);
        app_ctrl_service_pending();
        EXPECT_THAT(g_calls, ElementsAre("flag 0", "int 7", "str none"));
        pollfd waiting = {app_ctrl_signal_fd(), POLLIN, 0};
        EXPECT_EQ(poll(&waiting, 1, 0), 0);
    });
}

TEST(AppCtrl, ServicingBeforeInitDoesNothing) {
    EXPECT_EQ(private_root::run_child([] { app_ctrl_service_pending(); }), 0);
}

} // namespace
