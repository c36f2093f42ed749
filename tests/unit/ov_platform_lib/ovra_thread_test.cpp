#include "ovra_thread.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>

#include <gtest/gtest.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../support/log_text.h"
#include "../support/temp_dir.h"

namespace {

using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStdout;

// What a thread finds out about itself.
struct Seen {
    std::string name;
    size_t stack = 0;
    size_t signal_stack = 0;
    int signal_stack_flags = 0;
    int detached = -1;
    int policy = -1;
    int priority = -1;
    bool ran = false;
    sem_t done;

    Seen() { sem_init(&done, 0, 0); }
    ~Seen() { sem_destroy(&done); }
};

void* look(void* arg) {
    auto* seen = static_cast<Seen*>(arg);
    std::array<char, 16> name{};
    prctl(PR_GET_NAME, name.data());
    seen->name = name.data();

    pthread_attr_t attr;
    pthread_getattr_np(pthread_self(), &attr);
    pthread_attr_getstacksize(&attr, &seen->stack);
    pthread_attr_getdetachstate(&attr, &seen->detached);
    pthread_attr_destroy(&attr);

    stack_t stack{};
    sigaltstack(nullptr, &stack);
    seen->signal_stack = stack.ss_size;
    seen->signal_stack_flags = stack.ss_flags;

    sched_param param{};
    pthread_getschedparam(pthread_self(), &seen->policy, &param);
    seen->priority = param.sched_priority;
    seen->ran = true;
    sem_post(&seen->done);
    return arg;
}

void run(Seen& seen, const char* name, unsigned priority, unsigned stack) {
    pthread_t id{};
    ASSERT_EQ(Ovra_ThreadCreateJoin(name, priority, stack, look, &seen, &id), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(id, &result), 0);
    EXPECT_EQ(result, &seen); // the function's own result
    EXPECT_TRUE(seen.ran);
}

TEST(OvraThread, CarriesItsNameCutAtFifteenCharacters) {
    Seen short_name;
    run(short_name, "actionTask", 0, 0);
    EXPECT_EQ(short_name.name, "actionTask");
    Seen long_name;
    run(long_name, "ipc_rcv_101_10118", 0, 0);
    EXPECT_EQ(long_name.name, "ipc_rcv_101_101");
}

TEST(OvraThread, RunsWithoutAName) {
    Seen seen;
    run(seen, nullptr, 0, 0);
}

// The system rounds a stack to its pages.
constexpr size_t ROUNDING = 65536;

TEST(OvraThread, RaisesAStackBelow16000Bytes) {
    for (unsigned stack : {0u, 1u, 15999u}) {
        Seen seen;
        run(seen, "t", 0, stack);
        EXPECT_NEAR(double(seen.stack), 2094000, ROUNDING) << stack;
    }
    Seen enough;
    run(enough, "t", 0, 0x20000);
    EXPECT_NEAR(double(enough.stack), 0x20000, ROUNDING);
}

#ifndef __SANITIZE_ADDRESS__ // its own frames don't fit there
TEST(OvraThread, StartsWithTheSmallestStackItAccepts) {
    Seen least;
    run(least, "t", 0, 16000);
    // PowerPC's C library wants 128 KB.
    EXPECT_NEAR(double(least.stack), double(std::max(16000L, sysconf(_SC_THREAD_STACK_MIN))), ROUNDING);
}
#endif

TEST(OvraThread, HasASignalStackOfItsOwn) {
    Seen seen;
    run(seen, "t", 0, 0);
    EXPECT_EQ(seen.signal_stack, 24576u);
    EXPECT_EQ(seen.signal_stack_flags & SS_DISABLE, 0);
}

TEST(OvraThread, IsDetachedUnlessMadeToBeJoined) {
    Seen joinable;
    run(joinable, "t", 0, 0);
    EXPECT_EQ(joinable.detached, PTHREAD_CREATE_JOINABLE);

    Seen detached;
    ASSERT_EQ(Ovra_ThreadCreate("t", 0, 0, look, &detached, nullptr), 0);
    sem_wait(&detached.done);
    EXPECT_EQ(detached.detached, PTHREAD_CREATE_DETACHED);
}

TEST(OvraThread, RunsUnderTheOrdinaryPolicyWithoutPriority) {
    Seen seen;
    run(seen, "t", 0, 0);
    EXPECT_EQ(seen.policy, SCHED_OTHER);
}

bool may_run_in_real_time() {
    sched_param param{};
    param.sched_priority = 45;
    int policy = 0;
    sched_param old{};
    pthread_getschedparam(pthread_self(), &policy, &old);
    if (pthread_setschedparam(pthread_self(), SCHED_RR, &param) != 0)
        return false;
    pthread_setschedparam(pthread_self(), policy, &old);
    return true;
}

TEST(OvraThread, RunsRoundRobinWithItsPriority) {
    if (!may_run_in_real_time())
        GTEST_SKIP() << "no permission for real-time priorities";
    Seen seen;
    run(seen, "actionTask", 45, 0x20000);
    EXPECT_EQ(seen.policy, SCHED_RR);
    EXPECT_EQ(seen.priority, 45);
}

// Exit status 0 when a thread with a priority ran without it in a process that may not give one.
int run_without_permission() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_RTPRIO, &none);
    if (geteuid() == 0 && setuid(65534) != 0)
        return 1;
    Seen seen;
    pthread_t id{};
    if (Ovra_ThreadCreateJoin("actionTask", 45, 0x20000, look, &seen, &id) != 0)
        return 2;
    pthread_join(id, nullptr);
    return seen.ran && seen.policy == SCHED_OTHER ? 0 : 3;
}

TEST(OvraThread, RunsWithoutPriorityAndWarnsWhenItIsNotPermitted) {
    TempDir dir;
    chmod(dir.path().c_str(), 0777); // for the child that isn't root any more
    ScopedEnv env("OV_LOG_FILE", dir.file("log"));
    pid_t child = fork();
    if (child == 0)
        _exit(run_without_permission());
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << WEXITSTATUS(status);
    EXPECT_TRUE(without_times(dir.read("log")).starts_with("warning/80 [LIB] ")) << dir.read("log");
    EXPECT_TRUE(dir.read("log").ends_with(": thread actionTask: priority 45 not permitted, runs without\n"))
        << dir.read("log");
}

TEST(OvraThread, PrintsAndFailsForWhatTheSystemRefuses) {
    pthread_t id{};
    CaptureStdout();
    EXPECT_EQ(Ovra_ThreadCreate("t", 1000, 0, look, nullptr, &id), 1);
    EXPECT_EQ(Ovra_ThreadCreateJoin("t", 0, 0, nullptr, nullptr, &id), 1);
    EXPECT_EQ(GetCapturedStdout(), "Ovra_ThreadCreate: Failed to create thread: Invalid argument\n"
                                   "Ovra_ThreadCreate: Failed to create thread: Invalid argument\n");
}

// ---- cancellation ------------------------------------------------------------------------------

struct Cancelled {
    sem_t started;
    std::atomic<bool> unwound{false};
    std::atomic<bool> stack_gone{false};

    Cancelled() { sem_init(&started, 0, 0); }
    ~Cancelled() { sem_destroy(&started); }
};

void* wait_for_cancel(void* arg) {
    struct Unwinding {
        Cancelled& state;
        ~Unwinding() { state.unwound = true; }
    } unwinding{*static_cast<Cancelled*>(arg)};
    sem_post(&unwinding.state.started);
    for (;;)
        pause();
}

TEST(OvraThread, DeleteJoinCancelsAndWaits) {
    Cancelled state;
    pthread_t id{};
    ASSERT_EQ(Ovra_ThreadCreateJoin("t", 0, 0, wait_for_cancel, &state, &id), 0);
    sem_wait(&state.started);
    EXPECT_EQ(Ovra_ThreadDeleteJoin(id), 0);
    EXPECT_TRUE(state.unwound);
}

TEST(OvraThread, DeleteJoinTakesAThreadThatHasEnded) {
    Seen seen;
    pthread_t id{};
    ASSERT_EQ(Ovra_ThreadCreateJoin("t", 0, 0, look, &seen, &id), 0);
    sem_wait(&seen.done);
    usleep(20000);
    EXPECT_EQ(Ovra_ThreadDeleteJoin(id), 0);
}

TEST(OvraThread, DeleteCancelsADetachedThread) {
    Cancelled state;
    pthread_t id{};
    ASSERT_EQ(Ovra_ThreadCreate("t", 0, 0, wait_for_cancel, &state, &id), 0);
    sem_wait(&state.started);
    EXPECT_EQ(Ovra_ThreadDelete(id), 0);
    for (int i = 0; i < 1000 && !state.unwound; i++)
        usleep(10000);
    EXPECT_TRUE(state.unwound);
}

// A thread-specific value's destructor runs after the thread's cleanup: it sees what cleanup left.
pthread_key_t g_after_cleanup;
void look_after_cleanup(void* arg) {
    stack_t stack{};
    sigaltstack(nullptr, &stack);
    static_cast<Cancelled*>(arg)->stack_gone = (stack.ss_flags & SS_DISABLE) != 0;
}

void* wait_for_cancel_and_watch(void* arg) {
    pthread_setspecific(g_after_cleanup, arg);
    return wait_for_cancel(arg);
}

TEST(OvraThread, CancellationTakesTheSignalStackAway) {
    ASSERT_EQ(pthread_key_create(&g_after_cleanup, look_after_cleanup), 0);
    Cancelled state;
    pthread_t id{};
    ASSERT_EQ(Ovra_ThreadCreateJoin("t", 0, 0, wait_for_cancel_and_watch, &state, &id), 0);
    sem_wait(&state.started);
    EXPECT_EQ(Ovra_ThreadDeleteJoin(id), 0);
    EXPECT_TRUE(state.stack_gone);
    pthread_key_delete(g_after_cleanup);
}

} // namespace
