// The system calls of the message queues that a test may let fail.
#pragma once

#include <cstddef>
#include <ctime>

#include <semaphore.h>

struct ov_msgq_calls_t {
    int (*sem_init)(sem_t*, int, unsigned);
    int (*clock_gettime)(clockid_t, timespec*);
    void* (*allocate)(size_t); // given back with free
};
extern ov_msgq_calls_t ov_msgq_calls;
