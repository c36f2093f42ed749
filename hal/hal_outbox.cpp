#include "hal_outbox.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <poll.h>
#include <unistd.h>

#include "hal_request.h"
#include "hal_slot.h"
#include "hal_sock_tipc.h"
#include "kavo_timer.h"
#include "ov_clock.h"
#include "ov_product_log.h"
#include "ov_slot.h"

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

// ---- state -----------------------------------------------------------------------------------------------

constexpr hal_patience FRESH;
constexpr milliseconds LONGEST_PAUSE{200};
constexpr milliseconds ABSENT_PAUSE{1}; // the agent may be about to bind its name again

struct Waiting {
    std::vector<uint8_t> frame;
    bool came_back;
    uint32_t msg_num; // of a message that came back: when it was sent
};

struct Outbox {
    std::deque<Waiting> queue; // those that came back first
    size_t bytes = 0;
    hal_patience patience;
    unsigned burst = HAL_OUTBOX_PASS; // messages for the next try
    bool came_back = false;           // since the last try
    bool asked_once = false;          // the first that waits found nobody
    bool absent = false;              // so did it again: whatever follows isn't kept
    bool armed = false;               // an event will look at it
    int watch = -1;                   // of that event
};

// Whose message the last few numbers were, by number.
struct Sent {
    uint32_t msg_num;
    uint32_t slot; // 0: nobody's
};
constexpr size_t SENT_KEPT = 16384;

std::mutex g_guard;
std::array<Outbox, OV_SLOT_MAX + 1> g_boxes;
std::array<Sent, SENT_KEPT> g_sent;
size_t g_total = 0; // bytes in all
struct thread_master* g_master = nullptr;
struct thread* g_return_event = nullptr;

unsigned slot_of(const Outbox& box) {
    return static_cast<unsigned>(&box - g_boxes.data());
}

int sub_id_of(const Outbox& box) {
    return _hal_tipc_get_app_slotid(IPC_SERVICE_PACKT_SWITCH_AGENT, static_cast<int>(slot_of(box)));
}

PKTMSG_HDR_T head_of(const void* frame) {
    PKTMSG_HDR_T head;
    std::memcpy(static_cast<void*>(&head), frame, sizeof head);
    return head;
}

int message_length(size_t frame_len) {
    return static_cast<int>(frame_len) - static_cast<int>(sizeof(PKTMSG_HDR_T));
}

void log_failure(const Outbox& box, const void* frame, size_t frame_len, int rc) {
    IPC_APP_CB_T* cb = g_agent_msg_tx_cb;
    ++cb->num_async_send_fail;
    OV_LOG_ERROR("LIB",
                 "Send async message Num[%d] nhtype[%d] length [%d] to [%d] fail. TIPC return code: "
                 "%d:%s. Total failed count %d",
                 cb->num_async_send, static_cast<int>(head_of(frame).msg_cmd.value()),
                 message_length(frame_len), sub_id_of(box), rc, ipcGetErrorCodeStr(rc),
                 cb->num_async_send_fail);
}

// ---- the queue -------------------------------------------------------------------------------------------

size_t cost_of(size_t frame_len) {
    return frame_len + HAL_OUTBOX_ENTRY;
}

void account(Outbox& box, size_t frame_len) {
    box.bytes += cost_of(frame_len);
    g_total += cost_of(frame_len);
}

bool fits(const Outbox& box, size_t frame_len) {
    return box.bytes + cost_of(frame_len) <= HAL_OUTBOX_MAX &&
           g_total + cost_of(frame_len) <= HAL_OUTBOX_TOTAL;
}

Waiting take_first(Outbox& box) {
    Waiting first = std::move(box.queue.front());
    box.queue.pop_front();
    box.bytes -= cost_of(first.frame.size());
    g_total -= cost_of(first.frame.size());
    return first;
}

// Behind those that came back and were sent before it, in front of the others. The bound doesn't count: what
// comes back is no more than a card's socket holds.
void put_back(Outbox& box, Waiting message) {
    account(box, message.frame.size());
    const auto at = std::find_if(box.queue.begin(), box.queue.end(), [&message](const Waiting& w) {
        return !w.came_back || (message.came_back && static_cast<int32_t>(w.msg_num - message.msg_num) > 0);
    });
    box.queue.insert(at, std::move(message));
}

// ---- messages that come back -----------------------------------------------------------------------------

void arm(Outbox& box);

void remember_sent(const Outbox& box) {
    const uint32_t msg_num = ipcLastMsgNum(g_agent_msg_tx_cb->ipcHandle);
    g_sent[msg_num % SENT_KEPT] = {msg_num, slot_of(box)};
}

// The slot whose message had this number; 0 when that isn't known any more.
uint32_t forget_sent(uint32_t msg_num) {
    Sent& sent = g_sent[msg_num % SENT_KEPT];
    return sent.msg_num == msg_num ? std::exchange(sent.slot, 0) : 0;
}

void take_back(const ipc_header& header, const void* msg, size_t size) {
    const uint32_t slot = header.msg_type == IPC_ASYNC ? forget_sent(header.msg_num) : 0;
    if (slot == 0 || !hal_slot_active_flag_check(static_cast<unsigned short>(slot)))
        return;
    Outbox& box = g_boxes[slot];
    const auto* bytes = static_cast<const uint8_t*>(msg);
    if (size < sizeof(PKTMSG_HDR_T) || head_of(msg).msg_len != size) {
        OV_LOG_ERROR("LIB", "A message to slot %u came back with %zu bytes only and can't be sent again",
                     slot, size);
        return;
    }
    put_back(box, {.frame = {bytes, bytes + size}, .came_back = true, .msg_num = header.msg_num});
    box.came_back = true;
    box.asked_once = false;
    arm(box);
}

int on_return(struct thread* thread);

// The event stays unarmed while a request is in front: it is for the next send to report.
void watch_returns(int rc) {
    if (g_master && !g_return_event && rc == IPC_RC_NO_MESSAGE)
        thread_add_read(g_master, kavo_handle<on_return>, nullptr,
                        ipcGetReturnFd(g_agent_msg_tx_cb->ipcHandle), &g_return_event);
}

// What came back while a reply was awaited. The lock is held for moments only: whoever awaits a reply holds
// the IPC's, and who sends holds the outboxes' while he waits for that.
struct CameBack {
    ipc_header header;
    std::vector<uint8_t> msg;
};
std::mutex g_came_back_guard;
std::vector<CameBack> g_came_back;
std::atomic<bool> g_any_came_back{false};

void collect_noticed() {
    if (!g_any_came_back.exchange(false))
        return;
    std::vector<CameBack> noticed;
    {
        const std::lock_guard lock(g_came_back_guard);
        noticed.swap(g_came_back);
    }
    for (const CameBack& message : noticed)
        take_back(message.header, message.msg.data(), message.msg.size());
}

// Takes what came back by itself; IPC_RC_NO_MESSAGE, or IPC_RC_RTRNED_MSG_WAITING for a request in front.
int collect() {
    collect_noticed();
    ipc_header header;
    uint8_t buffer[IPC_MAX_MSG_SIZE];
    int rc;
    do {
        std::span<uint8_t> msg(buffer);
        rc = ipc_take_returned_msg(g_agent_msg_tx_cb, &header, &msg);
        if (rc >= 0)
            take_back(header, msg.data(), msg.size());
        // one of hal_request.h is of no concern to the next send
        if (rc == IPC_RC_RTRNED_MSG_WAITING && hal_request_is_under_way(header)) {
            ipc_receive_nonblock(g_agent_msg_tx_cb, &header, buffer, sizeof buffer);
            hal_request_notice_returned(header);
            rc = 0;
        }
    } while (rc >= 0);
    watch_returns(rc);
    return rc;
}

int on_return(struct thread* /*thread*/) {
    const std::lock_guard lock(g_guard);
    g_return_event = nullptr;
    collect();
    return 0;
}

// Tells that an older message had come back, and takes it: a request is nobody's any more.
void take_older(const Outbox& box, const void* frame, size_t frame_len) {
    IPC_APP_CB_T* cb = g_agent_msg_tx_cb;
    ++cb->num_async_send_return;
    OV_LOG_INFO("LIB", "Send async message Num[%d] nhtype[%d] length[%d] to [%d] return %s",
                cb->num_async_send, static_cast<int>(head_of(frame).msg_cmd.value()),
                message_length(frame_len), sub_id_of(box), ipcGetErrorCodeStr(IPC_RC_RTRNED_MSG_WAITING));
    if (collect() != IPC_RC_RTRNED_MSG_WAITING)
        return;
    ipc_header header;
    uint8_t buffer[IPC_MAX_MSG_SIZE];
    ipc_receive_nonblock(cb, &header, buffer, sizeof buffer);
}

// ---- sending ---------------------------------------------------------------------------------------------

enum class Post { SENT, NO_ROOM, NOBODY, FAILED };

Post post(Outbox& box, const void* frame, size_t frame_len, int* rc) {
    IPC_APP_CB_T* cb = g_agent_msg_tx_cb;
    *rc = ipc_post_msg(cb, static_cast<uint32_t>(sub_id_of(box)), frame, static_cast<int>(frame_len));
    if (*rc == IPC_RC_SND_BUFF_FULL)
        return Post::NO_ROOM;
    if (*rc == IPC_RC_MSG_RTRNED)
        return ipcReturnedForRoom(cb->ipcHandle) ? Post::NO_ROOM : Post::NOBODY;
    if (*rc < 0 && *rc != IPC_RC_RTRNED_MSG_WAITING)
        return Post::FAILED;
    remember_sent(box);
    box.absent = false;
    if (*rc == IPC_RC_RTRNED_MSG_WAITING)
        take_older(box, frame, frame_len);
    return Post::SENT;
}

// True when a message that found nobody is to be tried once more.
bool may_come_back(Outbox& box) {
    if (box.absent)
        return false;
    box.absent = std::exchange(box.asked_once, true);
    return !box.absent;
}

// Sends up to a burst of what waits. Why it stopped: `sent` for the burst's end, or nothing waits.
Post flush(Outbox& box) {
    for (unsigned left = box.burst; left > 0 && !box.queue.empty(); --left) {
        Waiting first = take_first(box);
        int rc = 0;
        const Post result = post(box, first.frame.data(), first.frame.size(), &rc);
        if (result == Post::NO_ROOM || (result == Post::NOBODY && may_come_back(box))) {
            put_back(box, std::move(first));
            return result;
        }
        if (result != Post::SENT)
            log_failure(box, first.frame.data(), first.frame.size(), rc);
        box.asked_once = false;
    }
    return Post::SENT;
}

void be_patient(hal_patience& patience) {
    if (++patience.in_vain > 1)
        patience.pause = std::min(2 * patience.pause, LONGEST_PAUSE);
}

// One try for what waits.
Post try_on(Outbox& box) {
    const bool in_vain = std::exchange(box.came_back, false);
    box.burst = in_vain ? 1 : std::min(2 * box.burst, HAL_OUTBOX_PASS);
    const size_t before = box.queue.size();
    const Post result = flush(box);
    if (in_vain || box.queue.size() >= before)
        be_patient(box.patience);
    else
        box.patience = FRESH;
    return result;
}

// ---- waiting for room ------------------------------------------------------------------------------------

// A descriptor that tells of room; -1 where there is none, or where it has just said so in vain.
int watch_of(const Outbox& box, const hal_patience& patience) {
    if (patience.in_vain > 2)
        return -1;
    const int fd = ipcWatchRoom(g_agent_msg_tx_cb->ipcHandle, IPC_SERVICE_PACKT_SWITCH_AGENT,
                                static_cast<uint32_t>(sub_id_of(box)));
    return fd >= 0 ? fd : -1;
}

int on_room(struct thread* thread) {
    const std::lock_guard lock(g_guard);
    Outbox& box = *static_cast<Outbox*>(THREAD_ARG(thread));
    box.armed = false;
    if (box.watch >= 0)
        close(std::exchange(box.watch, -1));
    collect();
    if (!box.queue.empty() && !box.armed)
        try_on(box);
    arm(box);
    return 0;
}

void arm_timer(Outbox& box, milliseconds pause) {
    kavo_add_timer_msec(g_master, on_room, &box, pause.count(), nullptr);
}

// Sees to it that what waits is tried again.
void arm(Outbox& box) {
    if (!g_master || box.armed || box.queue.empty())
        return;
    box.armed = true;
    if (box.asked_once)
        arm_timer(box, ABSENT_PAUSE);
    else if (box.came_back)
        arm_timer(box, box.patience.pause);
    else if (box.watch = watch_of(box, box.patience); box.watch >= 0)
        thread_add_write(g_master, kavo_handle<on_room>, &box, box.watch, nullptr);
    else
        arm_timer(box, box.patience.pause);
}

void wait_room(const Outbox& box, Post stopped, const hal_patience& patience,
               steady_clock::time_point deadline) {
    const auto left = std::max(std::chrono::ceil<milliseconds>(deadline - ov_wait_now()), milliseconds(0));
    const int fd = stopped == Post::NO_ROOM ? watch_of(box, patience) : -1;
    if (fd < 0) {
        std::this_thread::sleep_for(std::min(stopped == Post::NOBODY ? ABSENT_PAUSE : patience.pause, left));
        return;
    }
    pollfd room = {.fd = fd, .events = POLLOUT, .revents = 0};
    poll(&room, 1, static_cast<int>(left.count()));
    close(fd);
}

// The outbox of a slot; that of slot 0, which has none, for a number that isn't one.
Outbox& box_of(unsigned slot) {
    return g_boxes[slot < g_boxes.size() ? slot : 0];
}

// Tries a message of a card that nothing waits for. True when that settles it, with its result in *rc.
bool send_at_once(Outbox& box, const hal_frame_t& frame, size_t frame_len, int* rc) {
    const Post result = post(box, &frame, frame_len, rc);
    if (result == Post::NO_ROOM || (result == Post::NOBODY && may_come_back(box)))
        return false;
    if (result == Post::SENT)
        *rc = IPC_RC_SUCCESS;
    else
        log_failure(box, &frame, frame_len, *rc);
    return true;
}

} // namespace

void hal_outbox_init(struct thread_master* master) {
    g_master = master;
    watch_returns(IPC_RC_NO_MESSAGE);
}

int hal_outbox_send(unsigned slot, const hal_frame_t& frame, int frame_len) {
    const std::lock_guard lock(g_guard);
    Outbox& box = box_of(slot);
    const auto size = static_cast<size_t>(frame_len);
    ++g_agent_msg_tx_cb->num_async_send;
    collect();
    if (!g_master && !box.queue.empty())
        try_on(box);
    int rc = IPC_RC_SUCCESS;
    if (box.queue.empty() && send_at_once(box, frame, size, &rc))
        return rc;
    if (!fits(box, size)) {
        log_failure(box, &frame, size, IPC_RC_SND_BUFF_FULL);
        return IPC_RC_SND_BUFF_FULL;
    }
    const auto* bytes = reinterpret_cast<const uint8_t*>(&frame);
    box.queue.push_back({.frame = {bytes, bytes + size}, .came_back = false, .msg_num = 0});
    account(box, size);
    arm(box);
    return IPC_RC_SUCCESS;
}

int hal_outbox_drain(unsigned slot, steady_clock::time_point deadline) {
    std::unique_lock lock(g_guard);
    Outbox& box = box_of(slot);
    collect();
    while (!box.queue.empty()) {
        const Post stopped = try_on(box);
        if (box.queue.empty())
            break;
        if (ov_wait_now() >= deadline)
            return IPC_RC_TIMEOUT;
        if (stopped == Post::SENT && box.burst == HAL_OUTBOX_PASS)
            continue;
        const hal_patience patience = box.patience;
        lock.unlock(); // others may send, and the slot may go
        wait_room(box, stopped, patience, deadline);
        lock.lock();
        collect();
    }
    return IPC_RC_SUCCESS;
}

bool hal_outbox_wait_room(unsigned slot, hal_patience& patience, steady_clock::time_point deadline) {
    if (ov_wait_now() >= deadline)
        return false;
    be_patient(patience);
    wait_room(box_of(slot), Post::NO_ROOM, patience, deadline);
    return true;
}

void hal_outbox_notice(const ipc_header& header, const void* msg, size_t size) {
    const auto* bytes = static_cast<const uint8_t*>(msg);
    const std::lock_guard lock(g_came_back_guard);
    g_came_back.push_back({header, {bytes, bytes + size}});
    g_any_came_back = true;
}

void hal_outbox_collect() {
    if (!g_any_came_back)
        return;
    const std::lock_guard lock(g_guard);
    collect();
}

void hal_outbox_clear(unsigned slot) {
    const std::lock_guard lock(g_guard);
    Outbox& box = box_of(slot);
    if (!box.queue.empty())
        OV_LOG_NOTICE("LIB", "slot %u: %zu messages that waited for the card are dropped", slot,
                      box.queue.size());
    while (!box.queue.empty())
        take_first(box);
    box.patience = FRESH;
    box.burst = HAL_OUTBOX_PASS;
    box.came_back = box.asked_once = box.absent = false;
}

size_t hal_outbox_messages(unsigned slot) {
    const std::lock_guard lock(g_guard);
    return box_of(slot).queue.size();
}

size_t hal_outbox_bytes(unsigned slot) {
    const std::lock_guard lock(g_guard);
    return box_of(slot).bytes;
}
