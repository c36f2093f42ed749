// The shared-memory block krum_shm: what the processes of this product that write crash reports share.
//
// It holds one robust, process-shared mutex. The block is POSIX shared memory of this user (mode 0600)
// and outlives the processes. Where there is none to be had, or the one found is damaged and can't be
// replaced, a block private to the process serves: reports are then serialised within the process only.
#pragma once

#include <cstdint>
#include <pthread.h>

struct krum_shm_info_t {
    const char* name;       // POSIX name of the block, "/krum_shm"
    pthread_mutex_t* mutex; // the block's mutex, once Krum_shm_init has run; never unmapped
    bool shared;            // false: private to the process
};

// Gives `info` its mutex, from the block of that name, made or made anew as needed. `size` is the room
// that a mutex takes on the target in bytes (raised to what it takes on this machine), `key` marks the
// block; a block with another size or key counts as damaged. A second call does nothing. Returns 0 for
// a shared block, or the errno that led to a private one. Start-up only, one thread.
int Krum_shm_init(krum_shm_info_t& info, uint32_t size, uint32_t key);
