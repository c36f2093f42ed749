#include "ov_msg_queue.h"

#include "ov_msg_queue_calls.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

ov_msgq_calls_t ov_msgq_calls = {sem_init, clock_gettime, malloc};

namespace {

constexpr int64_t NS_PER_S = 1000000000;

// Takes the queue's lock as its timeout says. 0 or a negative ov_msgq_rc.
int lock(ov_msg_queue_s& queue) {
    timespec until = {};
    const bool limited = queue.sem_timeout != OV_MSGQ_WAIT_FOREVER;
    if (limited) {
        if (ov_msgq_calls.clock_gettime(CLOCK_MONOTONIC, &until) != 0)
            return OV_MSGQ_CLOCK_FAIL;
        const int64_t ns = until.tv_nsec + int64_t(queue.sem_timeout) * 1000;
        until.tv_sec += time_t(ns / NS_PER_S);
        until.tv_nsec = long(ns % NS_PER_S);
    }
    for (;;) {
        // The clock that nobody can set.
        const int rc =
            limited ? sem_clockwait(&queue.semlock, CLOCK_MONOTONIC, &until) : sem_wait(&queue.semlock);
        if (rc == 0)
            return OV_MSGQ_OK;
        if (errno == ETIMEDOUT)
            return OV_MSGQ_TIMEOUT;
        if (errno != EINTR)
            return OV_MSGQ_SEM_FAIL;
    }
}

int unlock(ov_msg_queue_s& queue) {
    return sem_post(&queue.semlock) == 0 ? int(OV_MSGQ_OK) : int(OV_MSGQ_SEM_FAIL);
}

// The entry with its copy of the message behind it, in one piece of memory.
ov_msg_queue_entry_s* new_entry(const void* buf, int len, const void* envelope) {
    void* memory = ov_msgq_calls.allocate(sizeof(ov_msg_queue_entry_s) + size_t(len));
    if (memory == nullptr)
        return nullptr;
    auto* entry = new (memory) ov_msg_queue_entry_s{};
    entry->buf = static_cast<uint8_t*>(memory) + sizeof(ov_msg_queue_entry_s);
    entry->len = len;
    std::memcpy(entry->buf, buf, size_t(len));
    entry->has_envelope = envelope != nullptr;
    if (envelope != nullptr)
        std::memcpy(entry->envelope, envelope, sizeof(entry->envelope));
    return entry;
}

void link_last(ov_msg_queue_s& queue, ov_msg_queue_entry_s* entry) {
    ov_msg_queue_entry_s& head = queue.var_list;
    entry->prev = head.prev;
    entry->next = &head;
    head.prev->next = entry;
    head.prev = entry;
    __atomic_fetch_add(&queue.count, 1, __ATOMIC_RELAXED);
}

// The oldest entry, taken out; null when there is none.
ov_msg_queue_entry_s* unlink_first(ov_msg_queue_s& queue) {
    ov_msg_queue_entry_s* entry = queue.var_list.next;
    if (entry == &queue.var_list)
        return nullptr;
    entry->next->prev = entry->prev;
    entry->prev->next = entry->next;
    __atomic_fetch_sub(&queue.count, 1, __ATOMIC_RELAXED);
    return entry;
}

int enqueue(ov_msg_queue_t queue, const void* buf, int len, const void* envelope) {
    if (queue == nullptr || buf == nullptr || len < 0 || len > OV_MSGQ_MAX_ENTRY)
        return OV_MSGQ_NULL_ARG;
    // A flood is refused before it costs memory.
    if (ov_msgq_count(queue) >= queue->total)
        return OV_MSGQ_FULL;
    ov_msg_queue_entry_s* entry = new_entry(buf, len, envelope);
    if (entry == nullptr)
        return OV_MSGQ_LIST_FAIL;
    int rc = lock(*queue);
    if (rc == OV_MSGQ_OK) {
        const bool full = queue->count >= queue->total;
        if (!full)
            link_last(*queue, entry);
        rc = unlock(*queue);
        if (!full)
            return rc;
        rc = OV_MSGQ_FULL;
    }
    free(entry);
    return rc;
}

int dequeue(ov_msg_queue_t queue, void* obuf, void* envelope) {
    if (queue == nullptr || obuf == nullptr)
        return OV_MSGQ_NULL_ARG;
    if (ov_msgq_count(queue) == 0)
        return OV_MSGQ_EMPTY;
    if (const int rc = lock(*queue))
        return rc;
    ov_msg_queue_entry_s* entry = unlink_first(*queue);
    const int unlocked = unlock(*queue);
    if (entry == nullptr)
        return unlocked == OV_MSGQ_OK ? int(OV_MSGQ_EMPTY) : unlocked;
    const int len = entry->len;
    std::memcpy(obuf, entry->buf, size_t(len));
    if (envelope != nullptr)
        std::memcpy(envelope, entry->envelope, sizeof(entry->envelope));
    free(entry);
    return len;
}

} // namespace

int ov_msgq_create(ov_msg_queue_t* queue, int total, int sem_timeout) {
    if (queue == nullptr)
        return OV_MSGQ_NULL_ARG;
    *queue = nullptr;
    if (total < 0 || sem_timeout < OV_MSGQ_WAIT_FOREVER)
        return OV_MSGQ_NULL_ARG;
    void* memory = ov_msgq_calls.allocate(sizeof(ov_msg_queue_s));
    if (memory == nullptr)
        return OV_MSGQ_LIST_FAIL;
    auto* made = new (memory) ov_msg_queue_s{};
    made->var_list.prev = made->var_list.next = &made->var_list;
    made->total = total;
    made->sem_timeout = sem_timeout == 0 ? OV_MSGQ_DEFAULT_TIMEOUT : sem_timeout;
    if (ov_msgq_calls.sem_init(&made->semlock, 0, 1) != 0) {
        free(made);
        return OV_MSGQ_SEM_INIT_FAIL;
    }
    *queue = made;
    return OV_MSGQ_OK;
}

void ov_msgq_destroy(ov_msg_queue_t queue) {
    if (queue == nullptr)
        return;
    while (ov_msg_queue_entry_s* entry = unlink_first(*queue))
        free(entry);
    sem_destroy(&queue->semlock);
    free(queue);
}

int ov_msgq_enqueue(ov_msg_queue_t queue, const void* buf, int len) {
    return enqueue(queue, buf, len, nullptr);
}

int ov_msgq_enqueue_envelope(ov_msg_queue_t queue, const void* buf, int len, const void* envelope) {
    return envelope == nullptr ? int(OV_MSGQ_NULL_ARG) : enqueue(queue, buf, len, envelope);
}

int ov_msgq_dequeue(ov_msg_queue_t queue, void* obuf) {
    return dequeue(queue, obuf, nullptr);
}

int ov_msgq_dequeue_envelope(ov_msg_queue_t queue, void* obuf, void* envelope) {
    return envelope == nullptr ? int(OV_MSGQ_NULL_ARG) : dequeue(queue, obuf, envelope);
}

int ov_msgq_count(const ov_msg_queue_s* queue) {
    return queue == nullptr ? 0 : __atomic_load_n(&queue->count, __ATOMIC_RELAXED);
}
