// Threads with a name, a stack size, a priority and a signal stack of their own.
#pragma once

#include <pthread.h>

typedef void* (*ThreadStartAddress)(void*);

inline constexpr unsigned OVRA_THREAD_MIN_STACK = 16000;       // a smaller request is raised ...
inline constexpr unsigned OVRA_THREAD_DEFAULT_STACK = 2094000; // ... to this
inline constexpr unsigned OVRA_THREAD_SIGNAL_STACK = 24576;    // bytes, so that crash reports work there too

// Starts a detached thread. `name` is cut at 15 characters; `priority` above 0 selects SCHED_RR with
// that priority, 0 SCHED_OTHER (a priority the process may not take falls back to SCHED_OTHER with a
// warning in the log); `stack` is in bytes. `out` may be null. Returns 0, or 1 after printing
// "Ovra_ThreadCreate: Failed to create thread: %s\n" or "Ovra_ThreadCreate: Unable to allocate memory".
int Ovra_ThreadCreate(const char* name, unsigned priority, unsigned stack, ThreadStartAddress fn, void* arg,
                      pthread_t* out);
// The same for a joinable thread: the caller joins it with pthread_join or Ovra_ThreadDeleteJoin.
int Ovra_ThreadCreateJoin(const char* name, unsigned priority, unsigned stack, ThreadStartAddress fn,
                          void* arg, pthread_t* out);
// Cancels a detached thread. Returns 0 or an errno.
int Ovra_ThreadDelete(pthread_t thread);
// Cancels a joinable thread and waits for its end. Returns 0 or an errno.
int Ovra_ThreadDeleteJoin(pthread_t thread);

// First function of every such thread, and its cleanup (runs on cancellation too): signal stack, name,
// start record. Not for callers.
void* Ovra_ThreadWrapper(void* start_record);
void Ovra_ThreadWrapperCleanup(void* signal_stack);
