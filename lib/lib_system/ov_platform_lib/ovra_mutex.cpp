#include "ovra_mutex.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace {

int report(int error) {
    if (error != 0)
        printf("Failed to obtain Mutex: %s\n", strerror(error));
    return error;
}

} // namespace

int Ovra_MutexInit(ovra_mutex_t* mutex) {
    if (mutex == nullptr)
        return EINVAL;
    pthread_mutexattr_t attr;
    int rc = pthread_mutexattr_init(&attr);
    if (rc != 0)
        return rc;
    rc = pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
    if (rc == 0)
        rc = pthread_mutexattr_setprotocol(&attr, PTHREAD_PRIO_INHERIT);
    if (rc == 0)
        rc = pthread_mutex_init(mutex, &attr);
    pthread_mutexattr_destroy(&attr);
    return rc;
}

ovra_mutex_t* Ovra_MutexCreate() {
    std::unique_ptr<ovra_mutex_t> mutex(new (std::nothrow) ovra_mutex_t);
    if (!mutex || Ovra_MutexInit(mutex.get()) != 0)
        return nullptr;
    return mutex.release();
}

void Ovra_MutexDelete(ovra_mutex_t* mutex) {
    if (mutex == nullptr)
        return;
    pthread_mutex_destroy(mutex);
    delete mutex;
}

int Ovra_MutexLock(ovra_mutex_t* mutex) {
    return report(mutex != nullptr ? pthread_mutex_lock(mutex) : EINVAL);
}

int Ovra_MutexUnlock(ovra_mutex_t* mutex) {
    return report(mutex != nullptr ? pthread_mutex_unlock(mutex) : EINVAL);
}
