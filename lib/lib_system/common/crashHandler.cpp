#include "crashHandler.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include "crashHandlerUtils.h"
#include "crashRegisters.h"
#include "crashSections.h"
#include "ov_product_log.h"

int gArgc = 0;
char** gArgv = nullptr;
pthread_mutex_t* crashMutex = nullptr;
krum_shm_info_t crash_shm_info = {.name = "/krum_shm", .mutex = nullptr, .shared = false};

namespace {

// Real-time signals come on top of these.
constexpr int CRASH_SIGNALS[] = {
    SIGILL,  SIGTRAP, SIGABRT,   SIGBUS,  SIGFPE, SIGSEGV, SIGALRM, SIGSTKFLT,
    SIGXCPU, SIGXFSZ, SIGVTALRM, SIGPROF, SIGIO,  SIGPWR,  SIGSYS,
};
// Those that the handler's own code can cause.
constexpr int FAULT_SIGNALS[] = {SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGSEGV, SIGSYS};

// Room that the product's processor gives to a mutex, and the block's mark.
constexpr uint32_t KRUM_MUTEX_SIZE = 24;
constexpr uint32_t KRUM_KEY = 130;

constexpr int CRASHES_MAX = 2; // of one thread that still lead to a report

std::atomic<int> reports_under_way{0};

// ---- installation ------------------------------------------------------------------------------

void install_handlers(crash_signal_action_t signalAction) {
    struct sigaction action = {};
    action.sa_sigaction = signalAction;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigfillset(&action.sa_mask); // nothing interrupts a report; crashHandler lets faults in again
    for (int signo : CRASH_SIGNALS)
        sigaction(signo, &action, nullptr);
    for (int signo = SIGRTMIN; signo <= SIGRTMAX; ++signo)
        sigaction(signo, &action, nullptr);
}

void ignore_sigpipe() {
    struct sigaction action = {};
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
}

// A signal stack for the calling thread, with a guard page below it. Never freed.
void install_signal_stack() {
    static void* memory = nullptr;
    if (memory == nullptr) {
        const size_t page = size_t(sysconf(_SC_PAGESIZE));
        const size_t size = (CRASH_SIGNAL_STACK + page - 1) / page * page;
        void* mapped = mmap(nullptr, page + size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED ||
            mprotect(static_cast<char*>(mapped) + page, size, PROT_READ | PROT_WRITE) != 0) {
            OV_LOG_WARN("LIB", "no memory for the signal stack: %s", strerror(errno));
            return;
        }
        memory = static_cast<char*>(mapped) + page;
    }
    stack_t stack = {};
    stack.ss_sp = memory;
    stack.ss_size = CRASH_SIGNAL_STACK;
    if (sigaltstack(&stack, nullptr) != 0)
        OV_LOG_WARN("LIB", "signal stack: %s", strerror(errno));
}

void make_archive_directory() {
    char command[CRASH_PATH_SIZE];
    snprintf(command, sizeof(command), "mkdir -p %s%s", crash_root(), CRASH_ARCHIVE_DIR);
    const int status = system(command); // NOLINT(cert-env33-c): the root was checked for plain characters
    if (status != 0)
        OV_LOG_WARN("LIB", "\"%s\" failed with status %d", command, status);
}

void tell_of_last_crash() {
    char report[CRASH_PATH_SIZE];
    if (crash_take_note(report))
        OV_LOG_ERROR("LIB", "The last run ended by a crash: see %s", report);
}

// ---- in the handler ----------------------------------------------------------------------------

void on_report_hangs(int /*signo*/) {
    kill(getpid(), SIGKILL);
    _exit(128 + SIGKILL);
}

// Sees to it that the process ends even when the report waits for ever, on a lock that the crashed code
// holds perhaps.
void limit_report_time() {
    struct sigaction action = {};
    action.sa_handler = on_report_hangs;
    sigemptyset(&action.sa_mask);
    sigaction(SIGALRM, &action, nullptr);
    alarm(CRASH_TIME_LIMIT);
}

// Lets in what a report must not miss: faults of its own, and its time limit.
void unblock_report_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (int signo : FAULT_SIGNALS)
        sigaddset(&signals, signo);
    sigaddset(&signals, SIGALRM);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

// Raises a real-time thread for a scope, so that its report isn't held up by those that wait for it.
class PriorityRaise {
public:
    PriorityRaise() : policy_(sched_getscheduler(0)) {
        raised_ = (policy_ == SCHED_RR || policy_ == SCHED_FIFO) && sched_getparam(0, &old_) == 0;
        if (!raised_)
            return;
        sched_param param = {};
        param.sched_priority = CRASH_RT_PRIORITY;
        sched_setscheduler(0, SCHED_RR, &param);
    }
    ~PriorityRaise() {
        if (raised_)
            sched_setscheduler(0, policy_, &old_);
    }
    PriorityRaise(const PriorityRaise&) = delete;
    PriorityRaise& operator=(const PriorityRaise&) = delete;

private:
    int policy_;
    bool raised_ = false;
    sched_param old_ = {};
};

void note_second_crash(const crash_thread_t& self, const crash_context_t& second) {
    const auto sections = crash_sections();
    const sig_atomic_t begun = self.next_section;
    const size_t failed = begun > 0 ? size_t(begun - 1) : 0;
    crash_printf(self.fd, "\n*** second crash in section \"%s\": signal %d (SIG%s) at 0x%lx, address %p\n",
                 sections[failed].title, second.signo, crash_signal_name(second.signo),
                 static_cast<unsigned long>(second.address),
                 second.info != nullptr ? second.info->si_addr : nullptr);
}

// Other threads that crashed meanwhile still have a report to write.
void wait_for_other_reports() {
    const timespec pause = {0, 10L * 1000 * 1000};
    for (int i = 0; i < CRASH_MUTEX_TIME_LIMIT * 100 && reports_under_way.load() > 0; ++i)
        nanosleep(&pause, nullptr);
}

} // namespace

void ov_init_crash_signal_handlers(int argc, char** argv) {
    gArgc = argc;
    gArgv = argv;
    initCrashSignalHandlers();
}

void initCrashSignalHandlers() {
#ifdef GPON_NO_CRASH_HANDLERS
    ignore_sigpipe();
#else
    crashInitCommon(crashHandler, false);
#endif
}

void crashInitCommon(crash_signal_action_t signalAction, bool /*performDevJumperCheck*/) {
    crash_read_root();
    crash_prepare_sections();
    make_archive_directory();
    tell_of_last_crash();
    install_handlers(signalAction);
    ignore_sigpipe();
    install_signal_stack();
    const int error = Krum_shm_init(crash_shm_info, KRUM_MUTEX_SIZE, KRUM_KEY);
    if (error != 0)
        OV_LOG_WARN("LIB", "shared memory %s: %s; crash reports are serialised in this process only",
                    crash_shm_info.name, strerror(error));
    crashMutex = crash_shm_info.mutex;
}

void crashHandler(int signo, siginfo_t* sigInfo, void* ptr) {
    crash_thread_t& self = crash_this_thread();
    if (++self.crashes > CRASHES_MAX)
        terminateHandler();
    limit_report_time();
    unblock_report_signals();
    if (self.crashes == 1) {
        reports_under_way.fetch_add(1);
        self.holds_mutex = crashMutexLock() == 0;
    }
    crashDisplayCommon(signo, sigInfo, ptr);
    if (self.holds_mutex)
        crashMutexUnlock();
    reports_under_way.fetch_sub(1);
    wait_for_other_reports();
    terminateHandler();
}

void terminateHandler() {
    signal(SIGKILL, SIG_DFL);
    kill(getpid(), SIGKILL);
    _exit(128 + SIGKILL); // the first process of a namespace isn't killed by its own signal
}

void crashDisplayCommon(int signo, siginfo_t* sigInfo, void* ptr) {
    const PriorityRaise raise;
    crash_printf(STDOUT_FILENO, "\n\n\n!!! CRASH !!!\n");

    crash_thread_t& self = crash_this_thread();
    const auto* context = static_cast<const ucontext_t*>(ptr);
    const crash_context_t crash = {signo, sigInfo, context, crash_register_pc(context)};
    const bool again = self.instance >= 0;
    crashOpenCrashFile(self);
    if (again)
        note_second_crash(self, crash);
    else
        self.first = crash;
    crashPrintSections(self);

    char saved[CRASH_PATH_SIZE];
    crashArchiveCrashFile(self, saved);
    crash_leave_note(saved);
    crash_printf(STDOUT_FILENO, "Crash output saved to: %s", saved);
}

int crashMutexLock() {
    if (crashMutex == nullptr)
        return EINVAL;
    timespec until = {};
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += CRASH_MUTEX_TIME_LIMIT;
    const int error = pthread_mutex_timedlock(crashMutex, &until);
    return error == EOWNERDEAD ? pthread_mutex_consistent(crashMutex) : error;
}

int crashMutexUnlock() {
    return crashMutex != nullptr ? pthread_mutex_unlock(crashMutex) : EINVAL;
}
