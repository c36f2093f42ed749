// Recursive mutexes with priority inheritance, for tables and shared flags.
#pragma once

#include <pthread.h>

typedef pthread_mutex_t ovra_mutex_t;

// A new mutex, or null when memory or the system's mutexes are used up. Lives until Ovra_MutexDelete.
ovra_mutex_t* Ovra_MutexCreate();
// Initialises a mutex in place; 0 or an errno.
int Ovra_MutexInit(ovra_mutex_t*);
void Ovra_MutexDelete(ovra_mutex_t*);

// Both return 0 or an errno, print "Failed to obtain Mutex: %s\n" with the errno's words to standard
// output when it isn't 0, and let the caller go on. A null mutex is EINVAL.
int Ovra_MutexLock(ovra_mutex_t*);
int Ovra_MutexUnlock(ovra_mutex_t*);

// Holds a mutex for a scope.
class OvraMutexGuard {
public:
    explicit OvraMutexGuard(ovra_mutex_t* m) : mutex_(m) { Ovra_MutexLock(mutex_); }
    ~OvraMutexGuard() { Ovra_MutexUnlock(mutex_); }
    OvraMutexGuard(const OvraMutexGuard&) = delete;
    OvraMutexGuard& operator=(const OvraMutexGuard&) = delete;

private:
    ovra_mutex_t* mutex_;
};
