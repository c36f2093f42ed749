// The report that a dying process leaves behind.
//
// A fault signal leads to crashHandler: it writes a report to /tmp/crash<NN>.log, copies it to
// /app/crash/, adds it to /app/crash/CRASH.LOG, and kills the process with SIGKILL, whatever happens on
// the way; the platform then starts the daemon again. Threads that crash at the same time get a report
// each, one after the other. A fault inside the handler is noted and the report goes on behind the section
// that failed; another one ends the process. A report that hangs is cut off after CRASH_TIME_LIMIT.
//
// Everything that runs in the handler keeps to calls that are safe in a signal handler, but for
// vsnprintf with plain formats, backtrace() (resolved at start) and dladdr().
#pragma once

#include <csignal>

#include "krum_shm.h"

inline constexpr int CRASH_SIGNAL_STACK = 24576; // bytes
inline constexpr int CRASH_RT_PRIORITY = 80;     // of a real-time thread while it writes its report
inline constexpr int CRASH_MUTEX_TIME_LIMIT = 5; // seconds
inline constexpr int CRASH_TIME_LIMIT = 15;      // seconds from the last crash to the end of the process

// The command line as main got it, for the report and for the operator.
extern int gArgc;
extern char** gArgv;

// Serialises reports between threads and processes; null before the start.
extern pthread_mutex_t* crashMutex;
extern krum_shm_info_t crash_shm_info;

typedef void (*crash_signal_action_t)(int signo, siginfo_t* sigInfo, void* ptr);

// Remembers the command line, which must stay valid, and installs the handlers. Call it first thing in
// main, before any other thread exists.
void ov_init_crash_signal_handlers(int argc, char** argv);

// Installs crashHandler for all fault signals, or nothing in a build with GPON_NO_CRASH_HANDLERS; SIGPIPE
// is ignored in both.
void initCrashSignalHandlers();

// Makes the archive directory, installs `signalAction` for the fault signals and the real-time signals,
// ignores SIGPIPE, gives the calling thread a signal stack and sets crashMutex up. The boards of this
// product have no developer's jumper, so there is nothing to ask with `performDevJumperCheck`.
void crashInitCommon(crash_signal_action_t signalAction, bool performDevJumperCheck);

// The handler; doesn't return.
[[noreturn]] void crashHandler(int signo, siginfo_t* sigInfo, void* ptr);
// Ends the process with SIGKILL without a report.
[[noreturn]] void terminateHandler();

// Writes, archives and announces the report of the calling thread. `sigInfo` and `ptr` (the ucontext_t)
// are those of a signal handler and may be null.
void crashDisplayCommon(int signo, siginfo_t* sigInfo, void* ptr);

// Takes crashMutex, waiting CRASH_MUTEX_TIME_LIMIT at most. A mutex whose owner died is taken over. 0 or
// an errno (ETIMEDOUT; EINVAL before the start).
int crashMutexLock();
int crashMutexUnlock();
