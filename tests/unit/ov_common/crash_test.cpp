// Crash reports: children that crash in all ways, in a file system of their own.
#include "crashHandler.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <thread>

#include "crashHandlerUtils.h"
#include "crashSections.h"
#include "ovra_thread.h"
#include "private_root.h"

// What crashes here on purpose, and the calls to it, must be as they stand: an optimiser may leave them out.
#pragma GCC optimize("O0")

// Not static: their names are to be found in the reports.
__attribute__((noinline, no_sanitize("undefined"))) void crash_test_null_write() {
    *static_cast<volatile int*>(nullptr) = 1; // NOLINT(clang-analyzer-core.NullDereference)
}

__attribute__((noinline)) void* crash_test_thread_main(void* /*arg*/) {
    crash_test_null_write();
    return nullptr;
}

volatile bool crash_test_endless = true;

__attribute__((noinline)) int crash_test_recurse(volatile char* above) {
    volatile char frame[4096];
    if (!crash_test_endless)
        return 0;
    frame[0] = above != nullptr ? *above : '\0';
    return crash_test_recurse(frame) + frame[0];
}

__attribute__((noinline)) void crash_test_throw() {
    if (crash_test_endless)
        throw 1;
}

__attribute__((noinline)) void crash_test_abort() {
    abort();
}

__attribute__((noinline, no_sanitize("undefined"))) void crash_test_jump(uintptr_t address) {
    volatile uintptr_t to = address;
    // NOLINTNEXTLINE(performance-no-int-to-ptr, clang-analyzer-core.CallAndMessage)
    reinterpret_cast<void (*)()>(uintptr_t(to))();
    to = 1; // so that the call above is no jump
}

// Overwrites its callers' frames, then crashes in a function below them.
__attribute__((noinline, no_sanitize("address"), no_sanitize("undefined"),
               optimize("no-tree-loop-distribute-patterns"))) void
crash_test_smash_stack() {
    volatile char* frame = static_cast<volatile char*>(__builtin_frame_address(0));
    for (int i = 0; i < 512; ++i)
        frame[i] = '\x7f';
    crash_test_null_write();
    frame[0] = 1;
}

namespace {

using private_root::Outcome;
using private_root::read_file;
using private_root::run_captured;
using testing::HasSubstr;
using testing::Not;

constexpr char TEMPORARY[] = "/tmp/crash00.log";
constexpr char ARCHIVE[] = "/app/crash/crash00.log";
constexpr char CRASH_LOG[] = "/app/crash/CRASH.LOG";

char g_program[] = "gpon";
char g_option[] = "-d";
char* g_argv[] = {g_program, g_option, nullptr};

// Runs `crash` in a child that has the handlers installed.
Outcome crash_child(const std::function<void()>& crash) {
    return run_captured([&] {
        ov_init_crash_signal_handlers(2, g_argv);
        crash();
    });
}

[[maybe_unused]] void expect_killed(const Outcome& outcome) {
    EXPECT_TRUE(WIFSIGNALED(outcome.status)) << outcome.out;
    EXPECT_EQ(WTERMSIG(outcome.status), SIGKILL) << outcome.out;
}

[[maybe_unused]] std::string section(const std::string& report, const std::string& title) {
    const std::string head = "\n---- " + title + " ----\n";
    const size_t begin = report.find(head);
    if (begin == std::string::npos)
        return "";
    const size_t end = report.find("\n---- ", begin + head.size());
    return report.substr(begin + head.size(), end == std::string::npos ? end : end - begin - head.size());
}

[[maybe_unused]] void expect_in_order(const std::string& text, const std::vector<std::string>& parts) {
    size_t at = 0;
    for (const std::string& part : parts) {
        const size_t found = text.find(part, at);
        ASSERT_NE(found, std::string::npos) << "missing or out of order: " << part << "\nin:\n" << text;
        at = found + part.size();
    }
}

// Threads of this process with SIGTERM blocked, which only the crash handler does.
[[maybe_unused]] int threads_in_handler() {
    int count = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        const std::string status = read_file(task.path() / "status");
        const size_t at = status.find("SigBlk:\t");
        if (at != std::string::npos &&
            (std::stoull(status.substr(at + 8), nullptr, 16) & (1ull << (SIGTERM - 1))) != 0)
            ++count;
    }
    return count;
}

[[maybe_unused]] void raise_and_wait(int signo) {
    raise(signo);
    sleep(60);
}

#ifdef GPON_NO_CRASH_HANDLERS

TEST(Crash, ABuildWithoutHandlersIgnoresSigpipeAndNothingElse) {
    private_root::run([] {
        EXPECT_EQ(WTERMSIG(crash_child(crash_test_null_write).status), SIGSEGV);
        EXPECT_EQ(crash_child([] { raise(SIGPIPE); }).status, 0);
        EXPECT_NE(access(CRASH_ARCHIVE_DIR, F_OK), 0);
    });
}

#else

TEST(Crash, TheProcessEndsBySigkillAndPrintsItsProgress) {
    private_root::run([] {
        const Outcome outcome = crash_child(crash_test_null_write);
        expect_killed(outcome);
        expect_in_order(outcome.out, {"\n\n\n!!! CRASH !!!\n", "Generating crash output for thread ",
                                      ") ...\n", "Saving crash log to /tmp/crash00.log ...\n",
                                      "Crash output saved to: /app/crash/crash00.log"});
        EXPECT_THAT(outcome.out, Not(HasSubstr("Double CRASH")));
    });
}

TEST(Crash, TheReportHasItsSectionsInOrder) {
    private_root::run([] {
        crash_child(crash_test_null_write);
        expect_in_order(read_file(ARCHIVE),
                        {"---- time ----", "---- uptime ----", "---- pid ----", "---- build info ----",
                         "---- detailed reason ----", "---- libraries ----", "---- registers ----",
                         "---- process ----", "---- signal ----", "---- stack ----", "---- backtrace ----",
                         "---- end ----"});
    });
}

TEST(Crash, TheSectionsHoldWhatTheirNamesSay) {
    private_root::run([] {
        const Outcome outcome = crash_child(crash_test_null_write);
        const std::string report = read_file(ARCHIVE);
        EXPECT_THAT(section(report, "time"), testing::ContainsRegex("^20[0-9][0-9]-[01][0-9]-[0-3][0-9] "));
        EXPECT_THAT(section(report, "uptime"), HasSubstr("process up 0 days, 00:00:0"));
        EXPECT_THAT(section(report, "pid"), HasSubstr("command line: gpon -d\n"));
        EXPECT_THAT(section(report, "build info"), HasSubstr("version 6.1\n"));
        EXPECT_THAT(section(report, "detailed reason"), HasSubstr("signal 11 (SIGSEGV): address not mapped"));
        EXPECT_THAT(section(report, "detailed reason"), HasSubstr("fault address (nil)"));
        EXPECT_THAT(section(report, "libraries"), HasSubstr("libc.so"));
        EXPECT_THAT(section(report, "process"), HasSubstr("Threads:\t1\n"));
        EXPECT_THAT(section(report, "signal"), HasSubstr("number 11\n"));
        EXPECT_THAT(section(report, "stack"), HasSubstr("frame  4 0x"));
#if defined(__x86_64__)
        EXPECT_THAT(section(report, "registers"), HasSubstr("rip"));
        EXPECT_THAT(section(report, "registers"), HasSubstr("page fault"));
#endif
    });
}

TEST(Crash, TheBacktraceNamesTheCrashingFunctionFirstAndItsCallers) {
    private_root::run([] {
        crash_child([] { crash_test_thread_main(nullptr); });
        const std::string frames = section(read_file(ARCHIVE), "backtrace");
        EXPECT_THAT(frames.substr(0, frames.find('\n')), HasSubstr("crash_test_null_write"));
        expect_in_order(frames, {"#0", "crash_test_null_write", "#1", "crash_test_thread_main"});
    });
}

TEST(Crash, TheReportIsCopiedToTheArchiveAndAppendedToCrashLog) {
    private_root::run([] {
        crash_child(crash_test_null_write);
        const std::string first = read_file(TEMPORARY);
        EXPECT_FALSE(first.empty());
        EXPECT_EQ(read_file(ARCHIVE), first);
        EXPECT_EQ(read_file(CRASH_LOG), first);
        crash_child(crash_test_abort);
        const std::string second = read_file(TEMPORARY);
        EXPECT_NE(first, second);
        EXPECT_EQ(read_file(ARCHIVE), second);
        EXPECT_EQ(read_file(CRASH_LOG), first + second) << "the log keeps the crashes of earlier runs";
    });
}

TEST(Crash, ACrashLogThatHasGrownLargeIsPutAside) {
    private_root::run([] {
        std::filesystem::create_directories(CRASH_ARCHIVE_DIR);
        const std::string old(CRASH_ARCHIVE_LOG_MAX + 1, 'x');
        private_root::write_file(CRASH_LOG, old);
        crash_child(crash_test_null_write);
        EXPECT_EQ(read_file(std::string(CRASH_LOG) + ".1"), old);
        EXPECT_EQ(read_file(CRASH_LOG), read_file(TEMPORARY));
    });
}

TEST(Crash, WithoutAnArchiveTheReportStaysWhereItWasWritten) {
    private_root::run([] {
        ASSERT_EQ(rmdir("/app"), 0);
        private_root::write_file("/app", ""); // no directory can be made below a file
        const Outcome outcome = crash_child(crash_test_null_write);
        expect_killed(outcome);
        EXPECT_THAT(outcome.out, HasSubstr("Crash output saved to: /tmp/crash00.log"));
        EXPECT_THAT(read_file(TEMPORARY), HasSubstr("---- end ----"));
    });
}

TEST(Crash, WithoutATemporaryFileTheReportGoesToStandardError) {
    private_root::run([] {
        const Outcome outcome = crash_child([] {
            mkdir(TEMPORARY, 0700);
            crash_test_null_write();
        });
        expect_killed(outcome);
        EXPECT_THAT(outcome.out, HasSubstr("---- backtrace ----"));
        EXPECT_THAT(outcome.out, HasSubstr("---- end ----"));
    });
}

TEST(Crash, ALinkInThePlaceOfTheTemporaryFileIsNotFollowed) {
    private_root::run([] {
        private_root::write_file("/tmp/precious", "precious");
        ASSERT_EQ(symlink("/tmp/precious", TEMPORARY), 0);
        expect_killed(crash_child(crash_test_null_write));
        EXPECT_EQ(read_file("/tmp/precious"), "precious");
        EXPECT_THAT(read_file(TEMPORARY), HasSubstr("---- end ----"));
    });
}

TEST(Crash, KrumrootLeadsAllPathsAndShellCharactersInItAreRefused) {
    private_root::run([] {
        std::filesystem::create_directories("/tmp/board/tmp");
        setenv("KRUMROOT", "/tmp/board", 1);
        Outcome outcome = crash_child(crash_test_null_write);
        EXPECT_THAT(outcome.out, HasSubstr("Saving crash log to /tmp/board/tmp/crash00.log ...\n"));
        EXPECT_THAT(outcome.out, HasSubstr("saved to: /tmp/board/app/crash/crash00.log"));
        setenv("KRUMROOT", "/tmp/x; touch /tmp/bad; ", 1);
        outcome = crash_child(crash_test_null_write);
        EXPECT_THAT(outcome.out, HasSubstr("saved to: /app/crash/crash00.log"));
        EXPECT_NE(access("/tmp/bad", F_OK), 0);
    });
}

TEST(Crash, AThreadOfThePlatformIsReportedByName) {
    private_root::run([] {
        const Outcome outcome = crash_child([] {
            Ovra_ThreadCreate("worker", 0, 0, crash_test_thread_main, nullptr, nullptr);
            sleep(60);
        });
        expect_killed(outcome);
        EXPECT_THAT(outcome.out, HasSubstr("(worker) ...\n"));
        expect_in_order(section(read_file(ARCHIVE), "backtrace"),
                        {"crash_test_null_write", "crash_test_thread_main", "Ovra_ThreadWrapper"});
    });
}

TEST(Crash, AbortIsReported) {
    private_root::run([] {
        expect_killed(crash_child(crash_test_abort));
        const std::string report = read_file(ARCHIVE);
        EXPECT_THAT(section(report, "detailed reason"), HasSubstr("(SIGABRT)"));
        EXPECT_THAT(section(report, "backtrace"), HasSubstr("crash_test_abort"));
    });
}

TEST(Crash, OnlyASignalOfTheProcessorIsReportedWithAnException) {
    private_root::run([] {
        expect_killed(crash_child(crash_test_abort));
        EXPECT_THAT(section(read_file(ARCHIVE), "registers"), HasSubstr("\nexception: none\n"));
        EXPECT_THAT(read_file(ARCHIVE), Not(HasSubstr("divide error")));
        expect_killed(crash_child(crash_test_null_write));
        EXPECT_THAT(section(read_file(ARCHIVE), "registers"), Not(HasSubstr("exception: none")));
    });
}

TEST(Crash, TheNextStartTellsOfACrashOnce) {
    const auto start = [] { return crash_child([] { exit(0); }); };
    private_root::run([&] {
        setenv("OV_LOG_FILE", "/tmp/log", 1);
        start();
        EXPECT_THAT(read_file("/tmp/log"), Not(HasSubstr("ended by a crash")));
        crash_child(crash_test_abort);
        start();
        const std::string told = read_file("/tmp/log");
        EXPECT_THAT(told, HasSubstr("The last run ended by a crash: see /app/crash/crash00.log"));
        start();
        EXPECT_EQ(read_file("/tmp/log"), told);
    });
}

TEST(Crash, AnUncaughtExceptionIsReported) {
    private_root::run([] {
        // NOLINTNEXTLINE(bugprone-exception-escape)
        expect_killed(crash_child([]() noexcept { crash_test_throw(); }));
        EXPECT_THAT(section(read_file(ARCHIVE), "detailed reason"), HasSubstr("(SIGABRT)"));
    });
}

TEST(Crash, AStackOverflowIsReportedOnTheSignalStack) {
    private_root::run([] {
        const Outcome outcome = crash_child([] {
            // A small stack: the recursion ends soon whatever the machine's limit is.
            Ovra_ThreadCreate(
                "deep", 0, 65536,
                [](void*) -> void* { return crash_test_recurse(nullptr) ? &gArgc : nullptr; }, nullptr,
                nullptr);
            sleep(60);
        });
        expect_killed(outcome);
        EXPECT_THAT(section(read_file(ARCHIVE), "backtrace"), HasSubstr("crash_test_recurse"));
        EXPECT_THAT(read_file(ARCHIVE), HasSubstr("---- end ----"));
    });
}

TEST(Crash, AStackOverflowOfTheMainThreadIsReported) {
    private_root::run([] {
        const rlimit small = {rlim_t{1024} * 1024, rlim_t{1024} * 1024};
        const Outcome outcome = crash_child([&] {
            setrlimit(RLIMIT_STACK, &small);
            crash_test_recurse(nullptr);
        });
        expect_killed(outcome);
        EXPECT_THAT(section(read_file(ARCHIVE), "backtrace"), HasSubstr("crash_test_recurse"));
    });
}

TEST(Crash, AJumpToAWildAddressNamesItsOrigin) {
    private_root::run([] {
        const Outcome outcome = crash_child([] { crash_test_jump(0x10); });
        expect_killed(outcome);
        const std::string frames = section(read_file(ARCHIVE), "backtrace");
        expect_in_order(frames, {"#0 ", "\n#1 ", "crash_test_jump", "\n#2 "});
        EXPECT_THAT(outcome.out, Not(HasSubstr("Double CRASH")));
    });
}

TEST(Crash, ACallThroughANullPointerListsThePlainFramesAndNamesItsOrigin) {
    private_root::run([] {
        const Outcome outcome = crash_child([] { crash_test_jump(0); });
        expect_killed(outcome);
        const std::string frames = section(read_file(ARCHIVE), "stack frames");
        EXPECT_THAT(frames, HasSubstr("stack 0 (nil)\nstack 1 0x"));
        EXPECT_THAT(frames, HasSubstr("crash_test_jump"));
        EXPECT_THAT(outcome.out, Not(HasSubstr("Double CRASH")));
    });
}

TEST(Crash, ASmashedStackStillGivesAnArchivedReport) {
    private_root::run([] {
        expect_killed(crash_child(crash_test_smash_stack));
        EXPECT_THAT(read_file(ARCHIVE), HasSubstr("---- end ----"));
        EXPECT_THAT(section(read_file(ARCHIVE), "registers"), Not(testing::IsEmpty()));
    });
}

TEST(Crash, WithoutACrashAddressThePlainFramesAreListed) {
    private_root::run([] {
        const Outcome outcome = crash_child([] { crashHandler(SIGSEGV, nullptr, nullptr); });
        expect_killed(outcome);
        const std::string frames = section(read_file(ARCHIVE), "stack frames");
        EXPECT_THAT(frames, testing::ContainsRegex("Obtained [0-9]+ stack frames.\nstack 0 0x"));
        EXPECT_THAT(outcome.out, testing::ContainsRegex("Obtained [0-9]+ stack frames.\nstack 0 0x"));
        EXPECT_EQ(section(read_file(ARCHIVE), "backtrace"), "");
        EXPECT_THAT(read_file(ARCHIVE), HasSubstr("---- end ----"));
    });
}

TEST(Crash, ABusErrorsBacktraceKeepsToAddresses) {
    private_root::run([] {
        expect_killed(crash_child([] { raise_and_wait(SIGBUS); }));
        const std::string frames = section(read_file(ARCHIVE), "backtrace");
        EXPECT_THAT(frames, HasSubstr("#0 "));
        EXPECT_THAT(frames, Not(HasSubstr("raise")));
    });
}

TEST(Crash, TwoThreadsCrashingAtOnceGiveTwoInstancesTheSecondWaitingOnCrashMutex) {
    private_root::run([] {
        const Outcome outcome = crash_child([] {
            crashMutexLock(); // both are to be in the handler before either may report
            Ovra_ThreadCreate("one", 0, 0, crash_test_thread_main, nullptr, nullptr);
            Ovra_ThreadCreate("two", 0, 0, crash_test_thread_main, nullptr, nullptr);
            while (threads_in_handler() < 2)
                usleep(1000);
            usleep(50000);
            crashMutexUnlock();
            sleep(60);
        });
        expect_killed(outcome);
        // Serialised: the first has said where it saved before the second says anything.
        expect_in_order(outcome.out,
                        {"Saving crash log to /tmp/crash00.log", "saved to: /app/crash/crash00.log",
                         "!!! CRASH !!!", "Saving crash log to /tmp/crash01.log",
                         "saved to: /app/crash/crash01.log"});
        for (const char* report : {"/app/crash/crash00.log", "/app/crash/crash01.log"}) {
            EXPECT_THAT(section(read_file(report), "backtrace"), HasSubstr("crash_test_null_write"));
            EXPECT_THAT(read_file(report), HasSubstr("---- end ----"));
        }
    });
}

TEST(Crash, AReportWaitsNoLongerThanItsLimitForTheMutex) {
    private_root::run([] {
        const auto begin = std::chrono::steady_clock::now();
        const Outcome outcome = crash_child([] {
            std::thread([] { crashMutexLock(); }).detach(); // its end leaves the mutex to be taken over
            usleep(50000);
            static std::atomic<bool> taken{false};
            std::thread([] {
                crashMutexLock();
                taken = true;
                sleep(60);
            }).detach();
            while (!taken)
                usleep(1000);
            crash_test_null_write();
        });
        const auto taken = std::chrono::steady_clock::now() - begin;
        expect_killed(outcome);
        EXPECT_GE(taken, std::chrono::seconds(CRASH_MUTEX_TIME_LIMIT - 1));
        EXPECT_LT(taken, std::chrono::seconds(CRASH_TIME_LIMIT));
        EXPECT_THAT(read_file(ARCHIVE), HasSubstr("---- end ----"));
    });
}

TEST(Crash, ASecondCrashInTheHandlerGoesOnInTheSameFile) {
    private_root::run([] {
        const Outcome outcome = crash_child([] {
            gArgv = reinterpret_cast<char**>(0x10); // the pid section will trip over it
            crash_test_null_write();
        });
        expect_killed(outcome);
        expect_in_order(outcome.out,
                        {"!!! CRASH !!!", "Saving crash log to /tmp/crash00.log ...\n", "!!! CRASH !!!",
                         "Double CRASH same thread ", "\n", "Crash output saved to: /app/crash/crash00.log"});
        expect_in_order(read_file(ARCHIVE), {"---- pid ----", "second crash in section \"pid\": signal 11",
                                             "---- build info ----", "---- end ----"});
        EXPECT_THAT(section(read_file(ARCHIVE), "backtrace"), HasSubstr("#0 "));
        EXPECT_NE(access("/tmp/crash01.log", F_OK), 0);
    });
}

TEST(Crash, AThirdCrashOfAThreadGoesStraightToTheKill) {
    private_root::run([] {
        const Outcome outcome = crash_child([] {
            gArgv = reinterpret_cast<char**>(0x10);
            crashHandler(SIGSEGV, reinterpret_cast<siginfo_t*>(0x10), nullptr);
        });
        expect_killed(outcome);
        EXPECT_THAT(outcome.out, HasSubstr("Double CRASH"));
        EXPECT_THAT(outcome.out, Not(HasSubstr("saved to")));
        EXPECT_THAT(read_file(TEMPORARY), Not(HasSubstr("---- libraries ----")));
    });
}

TEST(Crash, AllFaultAndRealTimeSignalsHaveTheHandlerOnTheSignalStack) {
    private_root::run([] {
        for (int signo : {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGCHLD})
            signal(signo, SIG_DFL); // whoever started the tests may have had them ignored
        initCrashSignalHandlers();
        std::vector<int> signals = {SIGILL,  SIGTRAP, SIGABRT,   SIGBUS,  SIGFPE, SIGSEGV, SIGALRM, SIGSTKFLT,
                                    SIGXCPU, SIGXFSZ, SIGVTALRM, SIGPROF, SIGIO,  SIGPWR,  SIGSYS};
        for (int signo = SIGRTMIN; signo <= SIGRTMAX; ++signo)
            signals.push_back(signo);
        for (int signo : signals) {
            struct sigaction action = {};
            sigaction(signo, nullptr, &action);
            EXPECT_EQ(action.sa_sigaction, crashHandler) << signo;
            EXPECT_EQ(action.sa_flags & (SA_SIGINFO | SA_ONSTACK), SA_SIGINFO | SA_ONSTACK) << signo;
        }
        for (int signo : {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGCHLD}) {
            struct sigaction action = {};
            sigaction(signo, nullptr, &action);
            EXPECT_EQ(action.sa_handler, SIG_DFL) << signo;
        }
        stack_t stack = {};
        sigaltstack(nullptr, &stack);
        EXPECT_EQ(stack.ss_size, size_t(CRASH_SIGNAL_STACK));
    });
}

TEST(Crash, EverySignalOfTheListIsReportedAndKills) {
    private_root::run([] {
        for (int signo : {SIGILL, SIGTRAP, SIGFPE, SIGALRM, SIGSTKFLT, SIGXCPU, SIGXFSZ, SIGVTALRM, SIGPROF,
                          SIGIO, SIGPWR, SIGSYS, SIGRTMIN, SIGRTMAX}) {
            expect_killed(crash_child([signo] { raise_and_wait(signo); }));
            EXPECT_THAT(section(read_file(ARCHIVE), "detailed reason"),
                        HasSubstr("signal " + std::to_string(signo) + " "));
        }
    });
}

TEST(Crash, SigpipeOnAClosedControlSocketDoesNotEndTheProcess) {
    private_root::run([] {
        const Outcome outcome = crash_child([] {
            int pair[2];
            ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
            close(pair[1]);
            EXPECT_EQ(write(pair[0], "x", 1), -1);
            EXPECT_EQ(errno, EPIPE);
        });
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        EXPECT_NE(access(TEMPORARY, F_OK), 0) << "no report";
    });
}

TEST(Crash, TerminateHandlerKillsWithoutAReport) {
    private_root::run([] {
        const Outcome outcome = crash_child(terminateHandler);
        expect_killed(outcome);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(access(TEMPORARY, F_OK), 0);
    });
}

TEST(Crash, AReportThatHangsIsCutOff) {
    private_root::run([] {
        const Outcome outcome = crash_child([] {
            // Opening a pipe that nobody reads waits for ever.
            ASSERT_EQ(mkfifo(ARCHIVE, 0600), 0);
            std::thread([] {
                itimerval limit = {};
                while (limit.it_value.tv_sec == 0) {
                    usleep(1000);
                    getitimer(ITIMER_REAL, &limit);
                }
                EXPECT_LE(limit.it_value.tv_sec, CRASH_TIME_LIMIT);
                alarm(1); // the test needn't wait that long
            }).detach();
            crash_test_null_write();
        });
        expect_killed(outcome);
        EXPECT_THAT(outcome.out, Not(HasSubstr("saved to")));
        EXPECT_THAT(read_file(TEMPORARY), HasSubstr("---- end ----"));
    });
}

#endif

} // namespace
