// Pieces of the crash report: files, output and the state of a crashing thread. All of it is called in
// signal handlers.
#pragma once

#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ucontext.h>

inline constexpr char CRASH_ARCHIVE_DIR[] = "/app/crash/";
inline constexpr char CRASH_ARCHIVE_LOG[] = "CRASH.LOG";
// CRASH.LOG that has grown beyond this becomes CRASH.LOG.1 before a report is added.
inline constexpr int64_t CRASH_ARCHIVE_LOG_MAX = int64_t{1024} * 1024; // bytes

inline constexpr size_t CRASH_PATH_SIZE = 256;

// What is known of a crash.
struct crash_context_t {
    int signo;
    const siginfo_t* info;     // null when unknown
    const ucontext_t* context; // null when unknown
    uintptr_t address;         // of the instruction that the thread stood at; 0 when unknown
};

// A thread's crashes. They never end: the process does.
struct crash_thread_t {
    int crashes;  // times crashHandler was entered
    int fd;       // report file, valid once `instance` is
    int instance; // number of the report file; -1 before there is one
    bool holds_mutex;
    volatile sig_atomic_t next_section; // first section of the report that wasn't begun
    crash_context_t first;              // of the first crash: the one the report is about
    char file[CRASH_PATH_SIZE];         // name of the report file
};

// State of the calling thread.
crash_thread_t& crash_this_thread();

// Reads KRUMROOT, the directory in front of all crash paths. A value that isn't a plain absolute path
// (letters, digits and "._-/") counts as empty: it becomes part of a shell command. Start-up only.
void crash_read_root();
const char* crash_root();

// Formats into 512 bytes and writes all of it; longer text is cut.
void crash_printf(int fd, const char* format, ...) __attribute__((format(printf, 2, 3)));
// Appends what `source` holds from its position on, up to `limit` bytes. False on a read or write error.
bool crash_copy(int source, int destination, size_t limit = SIZE_MAX);

// Reads memory of this process that may not be there; false when some of it isn't.
bool crash_read_memory(uintptr_t address, void* to, size_t length);

// Announces the report and opens its file: a new instance, or on a second crash the one that the thread
// has. Without a file the report goes to standard error.
void crashOpenCrashFile(crash_thread_t& self);

// Copies the report to the archive and adds it to CRASH.LOG; `saved` gets the path of the copy, or of the
// report itself when it couldn't be archived. CRASH_PATH_SIZE bytes.
void crashArchiveCrashFile(const crash_thread_t& self, char* saved);

// Leaves the report's path where the next start of this program finds it.
void crash_leave_note(const char* saved);
// Takes the note of the last run away: CRASH_PATH_SIZE bytes of path. False when there is none. Start-up
// only.
bool crash_take_note(char* saved);
