// Notifications on their way to the master agent, in their order.
//
// The connection holds some hundred notifications. Whoever sends more in one go waits for the master, while
// the master waits until its answers are read: both stand still, and the connection is given up. Thousands of
// alarms may change in one tick, so what finds no room waits here, as a copy of its row, and goes when the
// event loop comes round and the master has caught up. What waits when the connection ends is lost with it,
// as is what the connection held, and what occurs until there is another: a manager that has been cut off
// reads the table of active alarms, and late notifications would only contradict it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

#include "agentx.h"
#include "table_desc.h"

// What a notification is made from.
struct TrapRow {
    oid number;            // of the notification
    const TableDesc* desc; // of the row's table
    uint32_t seconds;      // since 1970, of the change
    std::vector<std::byte> row;
};

class TrapQueue {
public:
    using Sender = void (*)(const TrapRow& trap);

    // A storm beyond this (some 30 MB) isn't kept: its notifications are lost, with a line in the log.
    static constexpr size_t LIMIT = 100000;

    // The sender runs on the event loop's thread, or on any before there is a loop.
    explicit TrapQueue(Sender sender) : sender_(sender) {}
    TrapQueue(const TrapQueue&) = delete;
    TrapQueue& operator=(const TrapQueue&) = delete;

    // Sends it at once if it can, else behind all that waits. Any thread.
    void send(TrapRow trap);

    size_t waiting() const;

private:
    struct Waiting {
        TrapRow trap;
        unsigned losses; // of connections before
    };

    bool push(TrapRow trap);
    bool pop(TrapRow& trap);
    void drop_lost();
    void drain();
    static int drain_event(struct thread* event);

    const Sender sender_;
    struct thread* timer_ = nullptr; // event loop's thread
    mutable std::mutex mutex_;       // of what follows
    std::deque<Waiting> waiting_;
    bool is_full_ = false; // and this is in the log
};
