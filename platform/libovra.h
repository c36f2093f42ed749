// Stand-in for the platform's library: the calls the daemon makes of it, with the platform's names.
// All functions may be called from any thread unless a comment says otherwise.
#pragma once

#include <cstddef>
#include <cstdint>

// ---- log ---------------------------------------------------------------------------------------

// Appends one line to the log: local time with milliseconds, level by name and number ("error/100"), module
// tag in brackets, file, line, function, the text. `text` is already formatted and is written as it stands (a
// final line feed isn't doubled). `lib` names the log handle (nullptr for the application's own log). The
// file is that of the environment variable OV_LOG_FILE, or "/tmp/product/gpon.log"; each line is one write,
// so lines of several processes don't mix. A file that can't be opened drops the line.
void ov_log_util(const char* lib, int level, const char* module, const char* file, int line, const char* func,
                 const char* text);

// Logs "Assertion `%s' failed" at the fatal level and returns.
void ov_raise_except(const char* expression, const char* file, int line, const char* func);

// The platform's application number of this daemon: 111.
int ov_get_app_id();

// Whether the platform's own IPC client has been started in this process; this daemon never does: 0.
int ov_ipc_client_is_initialized();

// ---- shell commands ----------------------------------------------------------------------------

// Runs a constant command line through the shell and copies its standard output, without the last
// line feed, into buf (cut to len - 1 characters, always terminated). Returns 0 when the command
// exited with status 0; otherwise its exit status, or -1 if it couldn't be run. buf may be null.
int ov_sys_and_result(const char* cmd, char* buf, size_t len);

// The same for a formatted command line of up to 1023 characters; a longer one isn't run (-1). Never
// put text from a manager or an operator into it.
int ov_sys_and_result_with_var(char* buf, size_t len, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

// ---- time --------------------------------------------------------------------------------------

// A stop watch on the monotonic clock, in microseconds.
struct ov_timing_t;
ov_timing_t* ov_timing_new();
void ov_timing_start(ov_timing_t*);
void ov_timing_stop(ov_timing_t*);
// Microseconds between the last start and the last stop (or now, if it runs). 0 if never started.
uint64_t ov_timing_get_inter(const ov_timing_t*);
void ov_timing_destroy(ov_timing_t*);

// ---- lock files, memory, threads ---------------------------------------------------------------

enum { OV_LOCKFILE_TAKEN = 0, OV_LOCKFILE_RUNNING = 8 };

// Takes an exclusive lock on the file for the life of the process: 0 taken, 8 a running process holds
// it, any other number is the errno of what failed. Taking it twice in one process gives 8 as well.
int ov_lockfile_already_running(const char* path);

// Zeroed memory for `count` elements, null when there is none; freed with ov_free_mem.
void* ov_calloc_mem(size_t count, size_t size);
void ov_free_mem(void* memory);

// Starts a detached thread; 0 for success, else an errno.
int ov_thread_create(void* (*fn)(void*), void* arg);

// ---- list --------------------------------------------------------------------------------------

// A plain sorted list of pointers it doesn't own. compare is as for qsort on the data pointers; null
// keeps the order of insertion.
struct ov_list_t;
ov_list_t* ov_list_new(int (*compare)(const void*, const void*));
int ov_list_add(ov_list_t*, void* data);               // 0, or KAVO_MEMORY
int ov_list_remove(ov_list_t*, void* data);            // 1 removed, 0 not in the list
void* ov_list_find(const ov_list_t*, const void* key); // by compare; null when absent
size_t ov_list_count(const ov_list_t*);
void* ov_list_at(const ov_list_t*, size_t position); // null past the end
void ov_list_destroy(ov_list_t*);
