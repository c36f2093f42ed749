// Bounded queues of messages between a receiver thread and the event loop.
//
// Each entry is a private copy. The semaphore is a lock, not a counter: a reader polls, it doesn't block on
// an empty queue. All functions but create and destroy may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>

#include <semaphore.h>

// Longest entry: an IPC header and a 2048-byte message. A buffer of this size takes any entry.
inline constexpr int OV_MSGQ_MAX_ENTRY = 2076;
// Bytes of a message's envelope that can travel beside its buffer.
inline constexpr int OV_MSGQ_ENVELOPE_SIZE = 28;

inline constexpr int OV_MSGQ_WAIT_FOREVER = -1;
inline constexpr int OV_MSGQ_DEFAULT_TIMEOUT = 1000000; // microseconds

enum ov_msgq_rc : int {
    OV_MSGQ_OK = 0,
    OV_MSGQ_EMPTY = -1,
    OV_MSGQ_LIST_FAIL = -2, // no memory for the entry
    OV_MSGQ_NULL_ARG = -3,  // null, or a length below 0 or above OV_MSGQ_MAX_ENTRY
    OV_MSGQ_FULL = -4,
    OV_MSGQ_SEM_INIT_FAIL = -5,
    OV_MSGQ_TIMEOUT = -6, // the lock wasn't free in time
    OV_MSGQ_SEM_FAIL = -7,
    OV_MSGQ_CLOCK_FAIL = -8,
};

struct ov_msg_queue_entry_s {
    ov_msg_queue_entry_s* prev;
    ov_msg_queue_entry_s* next;
    uint8_t* buf; // owned
    int len;
    bool has_envelope;
    uint8_t envelope[OV_MSGQ_ENVELOPE_SIZE];
};

struct ov_msg_queue_s {
    ov_msg_queue_entry_s var_list; // head of the ring: next is the oldest entry, prev the youngest
    int count;
    int total; // maximum of count
    sem_t semlock;
    int sem_timeout; // microseconds to wait for semlock, OV_MSGQ_WAIT_FOREVER for no limit
};
typedef ov_msg_queue_s* ov_msg_queue_t;

// Makes an empty queue of at most `total` entries. sem_timeout: microseconds, -1 to wait for ever for the
// lock, 0 for the default of a second. OV_MSGQ_NULL_ARG, OV_MSGQ_LIST_FAIL, OV_MSGQ_SEM_INIT_FAIL leave
// *queue null.
int ov_msgq_create(ov_msg_queue_t* queue, int total, int sem_timeout);
// Frees the queue and what is in it. Nobody may use it any more. Null is allowed.
void ov_msgq_destroy(ov_msg_queue_t queue);

// Appends a copy of buf[0..len). 0 or a negative ov_msgq_rc; a refused message stays the caller's.
int ov_msgq_enqueue(ov_msg_queue_t queue, const void* buf, int len);
// The same with a copy of the OV_MSGQ_ENVELOPE_SIZE bytes at `envelope`, which a consumer needs to answer.
int ov_msgq_enqueue_envelope(ov_msg_queue_t queue, const void* buf, int len, const void* envelope);

// Takes the oldest entry into obuf, which holds OV_MSGQ_MAX_ENTRY bytes. Returns its length, or a negative
// ov_msgq_rc: OV_MSGQ_EMPTY at once, without waiting for the lock, when nothing is there.
int ov_msgq_dequeue(ov_msg_queue_t queue, void* obuf);
// The same with the envelope (OV_MSGQ_ENVELOPE_SIZE bytes); zeros when the entry has none.
int ov_msgq_dequeue_envelope(ov_msg_queue_t queue, void* obuf, void* envelope);

// Entries in the queue now.
int ov_msgq_count(const ov_msg_queue_s* queue);
