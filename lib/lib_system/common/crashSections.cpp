#include "crashSections.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <iterator>
#include <sys/prctl.h>
#include <unistd.h>

#include "crashHandler.h"
#include "crashRegisters.h"
#include "ov_build_info.h"

namespace {

constexpr int FRAMES_MAX = 64;
// Where the crashed function stands in a backtrace taken by the stack and the backtrace section: behind
// the report's own frames. Used when its address isn't among the frames.
constexpr int STACK_FIRST_FRAME = 4;
constexpr int BACKTRACE_FIRST_FRAME = 5;
constexpr int PLAIN_FRAMES_MAX = 20;
constexpr size_t STACK_WORDS = 64;
constexpr size_t LIBRARIES_MAX = size_t{256} * 1024; // bytes of the memory map

time_t process_start = 0; // CLOCK_BOOTTIME seconds

time_t now_on(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return now.tv_sec;
}

// ---- facts about process and signal ------------------------------------------------------------

void print_time(int fd, const crash_context_t& /*crash*/) {
    // localtime and gmtime take locks, so the calendar is worked out here.
    using namespace std::chrono;
    const sys_seconds now{seconds(now_on(CLOCK_REALTIME))};
    const sys_days day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss clock(now - day);
    crash_printf(fd, "%04d-%02u-%02u %02d:%02d:%02d UTC\n", int(date.year()), unsigned(date.month()),
                 unsigned(date.day()), int(clock.hours().count()), int(clock.minutes().count()),
                 int(clock.seconds().count()));
}

void print_seconds(int fd, const char* what, time_t seconds) {
    crash_printf(fd, "%s up %ld days, %02d:%02d:%02d\n", what, long(seconds / 86400),
                 int(seconds / 3600 % 24), int(seconds / 60 % 60), int(seconds % 60));
}

void print_uptime(int fd, const crash_context_t& /*crash*/) {
    const time_t uptime = now_on(CLOCK_BOOTTIME);
    print_seconds(fd, "system", uptime);
    if (process_start != 0)
        print_seconds(fd, "process", uptime - process_start);
}

void print_pid(int fd, const crash_context_t& /*crash*/) {
    char name[16] = "";
    prctl(PR_GET_NAME, name);
    crash_printf(fd, "pid %d, parent %d, thread %d (%s)\ncommand line:", getpid(), getppid(), gettid(), name);
    for (int i = 0; i < gArgc && gArgv != nullptr && gArgv[i] != nullptr; ++i)
        crash_printf(fd, " %s", gArgv[i]);
    crash_printf(fd, "\n");
}

void print_build_info(int fd, const crash_context_t& /*crash*/) {
    crash_printf(fd, "version %s\nbuild %s\ncompiler %s\n", ov_build_version(), ov_build_type(),
                 ov_build_compiler());
}

struct Reason {
    int signo; // 0: any signal
    int code;
    const char* text;
};

constexpr Reason REASONS[] = {
    {SIGSEGV, SEGV_MAPERR, "address not mapped"},
    {SIGSEGV, SEGV_ACCERR, "no permission for the mapped address"},
    {SIGBUS, BUS_ADRALN, "address not aligned"},
    {SIGBUS, BUS_ADRERR, "no such physical address (a mapped file became shorter?)"},
    {SIGBUS, BUS_OBJERR, "hardware error of the object"},
    {SIGBUS, BUS_MCEERR_AR, "memory error, machine check"},
    {SIGILL, ILL_ILLOPC, "illegal opcode"},
    {SIGILL, ILL_ILLOPN, "illegal operand"},
    {SIGILL, ILL_ILLADR, "illegal addressing mode"},
    {SIGILL, ILL_ILLTRP, "illegal trap"},
    {SIGILL, ILL_PRVOPC, "privileged opcode"},
    {SIGILL, ILL_PRVREG, "privileged register"},
    {SIGFPE, FPE_INTDIV, "integer division by zero"},
    {SIGFPE, FPE_INTOVF, "integer overflow"},
    {SIGFPE, FPE_FLTDIV, "floating point division by zero"},
    {SIGFPE, FPE_FLTINV, "invalid floating point operation"},
    {SIGTRAP, TRAP_BRKPT, "breakpoint"},
    {SIGTRAP, TRAP_TRACE, "trace trap"},
    {0, SI_USER, "sent by a process with kill"},
    {0, SI_TKILL, "raised by the program itself (abort, a failed assertion) or by tkill"},
    {0, SI_QUEUE, "sent by a process with sigqueue"},
    {0, SI_TIMER, "a timer expired"},
    {0, SI_KERNEL, "sent by the kernel"},
};

bool is_fault(const crash_context_t& crash) {
    const int signo = crash.signo;
    return crash.info != nullptr && crash.info->si_code > 0 &&
           (signo == SIGSEGV || signo == SIGBUS || signo == SIGILL || signo == SIGFPE);
}

void print_detailed_reason(int fd, const crash_context_t& crash) {
    crash_printf(fd, "signal %d (SIG%s)", crash.signo, crash_signal_name(crash.signo));
    if (crash.info == nullptr)
        return crash_printf(fd, "\n");
    const auto* reason = std::find_if(std::begin(REASONS), std::end(REASONS), [&](const Reason& r) {
        return (r.signo == 0 || r.signo == crash.signo) && r.code == crash.info->si_code;
    });
    crash_printf(fd, ": %s\n", reason != std::end(REASONS) ? reason->text : "reason not known");
    if (is_fault(crash))
        crash_printf(fd, "fault address %p\n", crash.info->si_addr);
    else if (crash.info->si_code == SI_USER || crash.info->si_code == SI_QUEUE ||
             crash.info->si_code == SI_TKILL)
        crash_printf(fd, "sender: pid %d, uid %u\n", crash.info->si_pid, crash.info->si_uid);
}

void print_file(int fd, const char* path, size_t limit) {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return crash_printf(fd, "%s can't be read\n", path);
    crash_copy(file, fd, limit);
    close(file);
}

void print_libraries(int fd, const crash_context_t& /*crash*/) {
    print_file(fd, "/proc/self/maps", LIBRARIES_MAX);
}

void print_registers(int fd, const crash_context_t& crash) {
    const bool trap = crash.signo == SIGTRAP && crash.info != nullptr && crash.info->si_code > 0;
    crash_print_registers(fd, crash.context, trap || is_fault(crash));
}

void print_process(int fd, const crash_context_t& /*crash*/) {
    print_file(fd, "/proc/self/status", 8192);
}

void print_signal(int fd, const crash_context_t& crash) {
    crash_printf(fd, "number %d\n", crash.signo);
    if (crash.info != nullptr)
        crash_printf(fd, "code %d\nerrno %d\n", crash.info->si_code, crash.info->si_errno);
    if (crash.context == nullptr)
        return;
    crash_printf(fd, "signal stack %p, %zu bytes\nblocked then:", crash.context->uc_stack.ss_sp,
                 crash.context->uc_stack.ss_size);
    for (int signo = 1; signo <= SIGRTMAX; ++signo) {
        if (sigismember(&crash.context->uc_sigmask, signo) == 1)
            crash_printf(fd, " %d", signo);
    }
    crash_printf(fd, "\n");
}

// ---- frames ------------------------------------------------------------------------------------

struct Frames {
    void* address[FRAMES_MAX];
    int count;
    int first; // the crashed function
};

// Whether the unwinder may be let loose. It reads the code that it finds itself in, which a jump to a wild
// address doesn't leave it, and it believes the stack; if a crash of its own may be why this thread
// crashed a second time, it gets no other chance.
bool can_unwind(const crash_context_t& crash) {
    Dl_info info = {};
    if (crash_this_thread().crashes > 1)
        return false;
    return crash.context == nullptr || dladdr(reinterpret_cast<void*>(crash.address), &info) != 0;
}

// Takes the frames from the crashed function on: the unwinder's, which begin with the report's own, or
// those that the saved frame pointers lead to. `usual_first` is where the crashed function usually stands.
void take_frames(Frames& frames, const crash_context_t& crash, int usual_first) {
    if (!can_unwind(crash)) {
        frames.first = 0;
        frames.count = crash_walk_frames(crash.context, frames.address, FRAMES_MAX);
        return;
    }
    frames.count = backtrace(frames.address, FRAMES_MAX);
    frames.first = std::min(usual_first, frames.count);
    for (int i = 0; i < frames.count; ++i) {
        if (reinterpret_cast<uintptr_t>(frames.address[i]) == crash.address) {
            frames.first = i;
            break;
        }
    }
}

// Writes a frame as address, function and offset, object and offset in it. `is_return` says that the
// address is where a call returns to: the call itself stands before it, perhaps as a function's last
// instruction. `with_symbol` false leaves the function's name out.
void print_frame(int fd, int number, uintptr_t address, bool is_return, bool with_symbol) {
    Dl_info info = {};
    const uintptr_t inside = is_return && address != 0 ? address - 1 : address;
    crash_printf(fd, "#%-2d 0x%0*lx", number, int(2 * sizeof(long)), static_cast<unsigned long>(address));
    if (dladdr(reinterpret_cast<void*>(inside), &info) != 0) {
        if (with_symbol && info.dli_sname != nullptr)
            crash_printf(fd, " %s+0x%lx", info.dli_sname,
                         static_cast<unsigned long>(address - reinterpret_cast<uintptr_t>(info.dli_saddr)));
        crash_printf(fd, " (%s+0x%lx)", info.dli_fname != nullptr ? info.dli_fname : "?",
                     static_cast<unsigned long>(address - reinterpret_cast<uintptr_t>(info.dli_fbase)));
    }
    crash_printf(fd, "\n");
}

bool has_address(const crash_context_t& crash) {
    return crash.address != 0;
}

bool has_no_address(const crash_context_t& crash) {
    return crash.address == 0;
}

void print_stack(int fd, const crash_context_t& crash) {
    Frames frames;
    take_frames(frames, crash, STACK_FIRST_FRAME);
    for (int i = frames.first; i < frames.count; ++i)
        crash_printf(fd, "frame %2d %p\n", i - frames.first + STACK_FIRST_FRAME, frames.address[i]);

    constexpr size_t PER_LINE = 4;
    const uintptr_t sp = crash_register_sp(crash.context);
    crash_printf(fd, "memory at the stack pointer:\n");
    for (size_t i = 0; i < STACK_WORDS; i += PER_LINE) {
        unsigned long words[PER_LINE];
        const uintptr_t at = sp + i * sizeof(long);
        if (!crash_read_memory(at, words, sizeof(words)))
            break;
        crash_printf(fd, "0x%lx:", static_cast<unsigned long>(at));
        for (unsigned long word : words)
            crash_printf(fd, " %0*lx", int(2 * sizeof(long)), word);
        crash_printf(fd, "\n");
    }
}

void print_backtrace(int fd, const crash_context_t& crash) {
    Frames frames;
    take_frames(frames, crash, BACKTRACE_FIRST_FRAME);
    const bool detailed = crash.signo != SIGBUS; // the objects' symbols may be what can't be read
    for (int i = frames.first; i < frames.count; ++i)
        print_frame(fd, i - frames.first, reinterpret_cast<uintptr_t>(frames.address[i]), i != frames.first,
                    detailed);
}

// The frames when it isn't known where the thread stood; to the console as well.
void print_plain_frames(int fd, const crash_context_t& crash) {
    Frames frames;
    take_frames(frames, crash, 0);
    const int count = std::min(frames.count, PLAIN_FRAMES_MAX);
    for (int out : {fd, STDOUT_FILENO}) {
        crash_printf(out, "Obtained %zd stack frames.\n", ssize_t(count));
        for (int i = 0; i < count; ++i)
            crash_printf(out, "stack %d %p\n", i, frames.address[i]);
    }
    for (int i = 0; i < count; ++i)
        print_frame(fd, i, reinterpret_cast<uintptr_t>(frames.address[i]), true, true);
}

void print_end(int fd, const crash_context_t& /*crash*/) {
    crash_printf(fd, "==== end of crash report, pid %d ====\n\n", getpid());
}

constexpr crash_section_t SECTIONS[] = {
    {"time", print_time, nullptr},
    {"uptime", print_uptime, nullptr},
    {"pid", print_pid, nullptr},
    {"build info", print_build_info, nullptr},
    {"detailed reason", print_detailed_reason, nullptr},
    {"libraries", print_libraries, nullptr},
    {"registers", print_registers, nullptr},
    {"process", print_process, nullptr},
    {"signal", print_signal, nullptr},
    {"stack", print_stack, has_address},
    {"backtrace", print_backtrace, has_address},
    {"stack frames", print_plain_frames, has_no_address},
    {"end", print_end, nullptr},
};

} // namespace

std::span<const crash_section_t> crash_sections() {
    return SECTIONS;
}

void crashPrintSections(crash_thread_t& self) {
    while (size_t(self.next_section) < std::size(SECTIONS)) {
        const crash_section_t& section = SECTIONS[self.next_section];
        self.next_section = self.next_section + 1;
        if (section.applies != nullptr && !section.applies(self.first))
            continue;
        crash_printf(self.fd, "\n---- %s ----\n", section.title);
        section.print(self.fd, self.first);
    }
}

const char* crash_signal_name(int signo) {
    const char* name = sigabbrev_np(signo);
    if (name == nullptr)
        return signo >= SIGRTMIN && signo <= SIGRTMAX ? "RT" : "?";
    return name;
}

void crash_prepare_sections() {
    process_start = now_on(CLOCK_BOOTTIME);
    void* frame = nullptr;
    backtrace(&frame, 1);
}
