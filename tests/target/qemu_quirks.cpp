// Goes into every program of the target's that qemu-user runs, by LD_PRELOAD, and mends what qemu can't do.
#include <cstdlib>
#include <pthread.h>

// Mutexes with priority inheritance never come back there once two threads want one: let them be ordinary
// ones.
extern "C" int pthread_mutexattr_setprotocol(pthread_mutexattr_t* /*attr*/, int /*protocol*/) noexcept {
    return 0;
}

namespace {

// The programs that are started from here are this machine's own.
__attribute__((constructor)) void keep_it_from_children() {
    unsetenv("LD_PRELOAD");
}

} // namespace
