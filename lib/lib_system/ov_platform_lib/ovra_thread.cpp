#include "ovra_thread.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include <sched.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "libovra.h"

namespace {

constexpr size_t NAME_SIZE = 16; // what the kernel keeps, with the terminator
constexpr int LEVEL_WARN = 80;

// What a new thread needs to know; freed by the thread itself.
struct StartRecord {
    std::array<char, NAME_SIZE> name{};
    ThreadStartAddress fn = nullptr;
    void* arg = nullptr;
};

struct ThreadRequest {
    unsigned priority;
    unsigned stack;
    int detach_state;
};

class ThreadAttributes {
public:
    ThreadAttributes() : error_(pthread_attr_init(&attr_)) {}
    ~ThreadAttributes() {
        if (error_ == 0)
            pthread_attr_destroy(&attr_);
    }
    ThreadAttributes(const ThreadAttributes&) = delete;
    ThreadAttributes& operator=(const ThreadAttributes&) = delete;

    int error() const { return error_; }
    pthread_attr_t* get() { return &attr_; }

private:
    pthread_attr_t attr_{};
    int error_;
};

size_t stack_size(unsigned requested) {
    if (requested < OVRA_THREAD_MIN_STACK)
        requested = OVRA_THREAD_DEFAULT_STACK;
    return std::max<size_t>(requested, size_t(std::max(0L, sysconf(_SC_THREAD_STACK_MIN))));
}

int set_scheduling(pthread_attr_t* attr, unsigned priority) {
    sched_param param{};
    param.sched_priority = int(std::min<unsigned>(priority, INT_MAX));
    int rc = pthread_attr_setinheritsched(attr, PTHREAD_EXPLICIT_SCHED);
    if (rc == 0)
        rc = pthread_attr_setschedpolicy(attr, priority != 0 ? SCHED_RR : SCHED_OTHER);
    if (rc == 0)
        rc = pthread_attr_setschedparam(attr, &param);
    return rc;
}

int start(const ThreadRequest& request, StartRecord* record, pthread_t* out) {
    ThreadAttributes attr;
    int rc = attr.error();
    if (rc == 0)
        rc = pthread_attr_setstacksize(attr.get(), stack_size(request.stack));
    if (rc == 0)
        rc = pthread_attr_setdetachstate(attr.get(), request.detach_state);
    if (rc == 0)
        rc = set_scheduling(attr.get(), request.priority);
    if (rc != 0)
        return rc;
    return pthread_create(out, attr.get(), Ovra_ThreadWrapper, record);
}

void warn_no_priority(const StartRecord& record, unsigned priority) {
    std::string text = std::string("thread ") + record.name.data() + ": priority " +
                       std::to_string(priority) + " not permitted, runs without";
    ov_log_util(nullptr, LEVEL_WARN, "LIB", __FILE_NAME__, __LINE__, __func__, text.c_str());
}

int create(const char* name, ThreadRequest request, ThreadStartAddress fn, void* arg, pthread_t* out) {
    std::unique_ptr<StartRecord> record(new (std::nothrow) StartRecord);
    if (!record) {
        printf("Ovra_ThreadCreate: Unable to allocate memory");
        return 1;
    }
    std::string_view text = name != nullptr ? name : "";
    text.copy(record->name.data(), NAME_SIZE - 1);
    record->fn = fn;
    record->arg = arg;

    pthread_t id{};
    int rc = fn != nullptr ? start(request, record.get(), &id) : EINVAL;
    if (rc == EPERM && request.priority != 0) {
        warn_no_priority(*record, request.priority);
        request.priority = 0;
        rc = start(request, record.get(), &id);
    }
    if (rc != 0) {
        printf("Ovra_ThreadCreate: Failed to create thread: %s\n", strerror(rc));
        return 1;
    }
    record.release(); // NOLINT(bugprone-unused-return-value): the thread's own from here on
    if (out != nullptr)
        *out = id;
    return 0;
}

// The stack on which the crash handler runs when the thread's own is used up or broken. Null when there
// is no memory: the thread then does without.
void* install_signal_stack() {
    void* memory = malloc(OVRA_THREAD_SIGNAL_STACK);
    if (memory == nullptr)
        return nullptr;
    stack_t stack{};
    stack.ss_sp = memory;
    stack.ss_size = OVRA_THREAD_SIGNAL_STACK;
    if (sigaltstack(&stack, nullptr) == 0)
        return memory;
    free(memory);
    return nullptr;
}

} // namespace

int Ovra_ThreadCreate(const char* name, unsigned priority, unsigned stack, ThreadStartAddress fn, void* arg,
                      pthread_t* out) {
    return create(name, {priority, stack, PTHREAD_CREATE_DETACHED}, fn, arg, out);
}

int Ovra_ThreadCreateJoin(const char* name, unsigned priority, unsigned stack, ThreadStartAddress fn,
                          void* arg, pthread_t* out) {
    return create(name, {priority, stack, PTHREAD_CREATE_JOINABLE}, fn, arg, out);
}

int Ovra_ThreadDelete(pthread_t thread) {
    return pthread_cancel(thread);
}

int Ovra_ThreadDeleteJoin(pthread_t thread) {
    // A thread that has ended by itself still waits to be joined.
    int rc = pthread_cancel(thread);
    if (rc != 0 && rc != ESRCH)
        return rc;
    return pthread_join(thread, nullptr);
}

void* Ovra_ThreadWrapper(void* start_record) {
    std::unique_ptr<StartRecord> record(static_cast<StartRecord*>(start_record));
    void* result = nullptr;
    pthread_cleanup_push(Ovra_ThreadWrapperCleanup, install_signal_stack());
    if (record->name[0] != '\0')
        prctl(PR_SET_NAME, record->name.data());
    ThreadStartAddress fn = record->fn;
    void* arg = record->arg;
    record.reset();
    result = fn(arg);
    pthread_cleanup_pop(1);
    return result;
}

void Ovra_ThreadWrapperCleanup(void* signal_stack) {
    if (signal_stack == nullptr)
        return;
    stack_t off{};
    off.ss_flags = SS_DISABLE;
    sigaltstack(&off, nullptr);
    free(signal_stack);
}
