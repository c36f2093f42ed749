#include "hal_request.h"

#include <chrono>
#include <cstring>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hal_backup.h"
#include "hal_outbox.h"
#include "hal_slot.h"
#include "hal_sock_tipc.h"
#include "kavo_timer.h"
#include "ov_clock.h"
#include "ov_loop_thread.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_slot.h"
#include "ov_types.h"

namespace {

constexpr unsigned REPLIES_PER_RUN = 64; // before others on the loop have their turn
constexpr long AGAIN_MSEC = 2;           // before what came back is sent again

struct Request {
    std::vector<uint8_t> message;
    uint32_t slot;
    ov_mono_time_t deadline;
    hal_reply_handle handle;
    void* context;
    bool came_back = false; // and waits to be sent again
};

// A reply that came while a send waited for another, or the return of a request.
struct Noticed {
    ipc_header header;
    std::vector<uint8_t> reply; // empty: the request came back
    bool is_gone = true;        // why it did: nobody there, else no room
};

// By the id of the IPC, which is a random number: two may have the same.
using Requests = std::unordered_multimap<uint32_t, Request>;

struct thread_master* g_master = nullptr;
Requests g_requests;
std::vector<Noticed> g_noticed;
struct thread* g_reply_event = nullptr;
struct thread* g_noticed_event = nullptr;
struct thread* g_look_timer = nullptr;
struct thread* g_again_timer = nullptr;

const hal_nlmsghdr& head_of(const Request& request) {
    return *reinterpret_cast<const hal_nlmsghdr*>(request.message.data());
}

uint32_t agent_of(uint32_t slot) {
    return static_cast<uint32_t>(
        _hal_tipc_get_app_slotid(IPC_SERVICE_PACKT_SWITCH_AGENT, static_cast<int>(slot)));
}

bool is_active(uint32_t slot) {
    return slot != 0 && slot <= ov_slot_get_max_slot_num() &&
           hal_slot_active_flag_check(static_cast<unsigned short>(slot)) != 0;
}

// ---- the end of a request ---------------------------------------------------------------------------------

void fail(Requests::iterator at, const char* why) {
    const auto node = g_requests.extract(at);
    const Request& request = node.mapped();
    const OvRefusal door("card");
    ov_refusal_because("slot %u: %s", request.slot, why);
    OV_LOG_ERROR("LIB", "request nhtype[%d] to slot %u: %s", head_of(request).nlmsg_type.value(),
                 request.slot, why);
    request.handle(request.context, KAVO_ERR, nullptr);
}

// Of several requests with the id of a reply, the one to the card that sent it.
Requests::iterator find_asked(const ipc_header& header) {
    const auto [first, last] = g_requests.equal_range(header.msg_id);
    for (auto at = first; at != last; ++at)
        if (agent_of(at->second.slot) == header.sender_sub_id)
            return at;
    return first == last ? g_requests.end() : first;
}

void take_reply(const ipc_header& header, hal_frame_t& frame, size_t received) {
    const auto at = find_asked(header);
    if (at == g_requests.end())
        return; // too late, or once more
    const auto node = g_requests.extract(at);
    const Request& request = node.mapped();
    const OvRefusal door("card");
    hal_msg_t message;
    std::memcpy(static_cast<void*>(&message), request.message.data(), request.message.size());
    const int type = message.hdr.nlmsg_type;
    const int retcode =
        _hal_tipc_accept_reply(&message.hdr, static_cast<unsigned>(request.message.size()), frame, received);
    const unsigned result = _hal_tipc_result_of(retcode, type, request.slot);
    if (result == KAVO_OK)
        hal_backup_async(&head_of(request));
    request.handle(request.context, result, &message.hdr);
}

// ---- requests that come back ------------------------------------------------------------------------------

enum class Post : uint8_t { SENT, NO_ROOM, FAILED };

// Sends a request and enters it under its new id; one that wasn't sent stays the caller's.
Post post(Request& request) {
    hal_frame_t frame;
    const int length = _hal_tipc_fill_frame(frame, head_of(request),
                                            static_cast<unsigned>(request.message.size()), HAL_FRAME_SYNC);
    uint32_t msg_id = 0;
    const int rc = ipc_post_request(g_agent_msg_tx_cb, agent_of(request.slot), &frame, length, &msg_id);
    if (rc == IPC_RC_SND_BUFF_FULL ||
        (rc == IPC_RC_MSG_RTRNED && ipcReturnedForRoom(g_agent_msg_tx_cb->ipcHandle)))
        return Post::NO_ROOM;
    if (rc != IPC_RC_SUCCESS && rc != IPC_RC_RTRNED_MSG_WAITING)
        return Post::FAILED;
    g_requests.emplace(msg_id, std::move(request));
    return Post::SENT;
}

// One that came back and has been taken out goes out again, or waits on.
void post_again(Requests::node_type node) {
    node.mapped().came_back = false;
    const Post result = post(node.mapped());
    if (result == Post::SENT)
        return;
    node.mapped().came_back = result == Post::NO_ROOM;
    const auto at = g_requests.insert(std::move(node));
    if (result == Post::FAILED)
        fail(at, "nobody has its name");
}

void arm_again();

int on_again(struct thread* /*thread*/) {
    g_again_timer = nullptr;
    std::vector<Requests::node_type> back;
    for (auto at = g_requests.begin(); at != g_requests.end();) {
        const auto next = std::next(at);
        if (at->second.came_back)
            back.push_back(g_requests.extract(at));
        at = next;
    }
    for (Requests::node_type& node : back)
        post_again(std::move(node));
    arm_again();
    return 0;
}

void arm_again() {
    for (const auto& [id, request] : g_requests)
        if (request.came_back && g_again_timer == nullptr)
            kavo_add_timer_msec(g_master, on_again, nullptr, AGAIN_MSEC, &g_again_timer);
}

void take_returned(const ipc_header& header, bool is_gone) {
    const auto at = g_requests.find(header.msg_id);
    if (at == g_requests.end())
        return;
    if (is_gone) {
        fail(at, "the card is gone");
        return;
    }
    at->second.came_back = true;
    arm_again();
}

// ---- the loop ---------------------------------------------------------------------------------------------

int on_reply(struct thread* thread);
int on_look(struct thread* thread);

void watch() {
    if (g_reply_event == nullptr)
        kavo_add_read(g_master, on_reply, nullptr, ipcGetReadFd(g_agent_msg_tx_cb->ipcHandle),
                      &g_reply_event);
    if (g_look_timer == nullptr && !g_requests.empty())
        kavo_add_timer_msec(g_master, on_look, nullptr, HAL_REQUEST_LOOK_MSEC, &g_look_timer);
}

void take_noticed() {
    std::vector<Noticed> noticed;
    noticed.swap(g_noticed);
    for (const Noticed& each : noticed) {
        hal_frame_t frame;
        frame.nlhdr = {}; // a reply may end before it
        std::memcpy(static_cast<void*>(&frame), each.reply.data(), each.reply.size());
        if (each.reply.empty())
            take_returned(each.header, each.is_gone);
        else
            take_reply(each.header, frame, each.reply.size());
    }
}

int on_noticed(struct thread* /*thread*/) {
    g_noticed_event = nullptr;
    take_noticed();
    return 0;
}

void take_all() {
    take_noticed();
    for (unsigned n = 0; n < REPLIES_PER_RUN; ++n) {
        ipc_header header;
        hal_frame_t frame;
        frame.nlhdr = {};
        const int rc = ipc_take_msg(g_agent_msg_tx_cb, &header, &frame, IPC_MAX_MSG_SIZE);
        if (rc == IPC_RC_NO_MESSAGE)
            return;
        if (rc < 0) {
            OV_LOG_ERROR("LIB", "receiving replies failed: %s", ipcGetErrorCodeStr(rc));
            return;
        }
        if (header.msg_type == IPC_REPLY)
            take_reply(header, frame, static_cast<size_t>(rc));
    }
}

int on_reply(struct thread* /*thread*/) {
    g_reply_event = nullptr;
    take_all();
    watch();
    return 0;
}

// What nobody will answer: one at a time, because a handler may send.
bool fail_one() {
    const auto now = ov_mono_now();
    for (auto at = g_requests.begin(); at != g_requests.end(); ++at) {
        if (!is_active(at->second.slot)) {
            fail(at, "the card is gone");
            return true;
        }
        if (now >= at->second.deadline) {
            fail(at, "the card doesn't answer");
            return true;
        }
    }
    return false;
}

int on_look(struct thread* /*thread*/) {
    g_look_timer = nullptr;
    take_all(); // what has come in time counts, however late the loop is
    while (fail_one()) {
    }
    watch();
    return 0;
}

// ---- sending ----------------------------------------------------------------------------------------------

// While the board recovers.
struct Echo {
    std::vector<uint8_t> message;
    hal_reply_handle handle;
    void* context;
};

int on_echo(struct thread* thread) {
    const std::unique_ptr<Echo> echo(static_cast<Echo*>(THREAD_ARG(thread)));
    echo->handle(echo->context, KAVO_OK, reinterpret_cast<const hal_nlmsghdr*>(echo->message.data()));
    return 0;
}

} // namespace

void hal_request_init(struct thread_master* master) {
    g_master = master;
}

size_t hal_requests_under_way() {
    return g_requests.size();
}

bool hal_request_is_under_way(const ipc_header& header) {
    return g_requests.contains(header.msg_id);
}

void hal_request_notice_reply(const ipc_header& header, const void* msg, size_t size) {
    if (!hal_request_is_under_way(header) || size == 0 || size > sizeof(hal_frame_t))
        return;
    const auto* bytes = static_cast<const uint8_t*>(msg);
    g_noticed.push_back({.header = header, .reply = {bytes, bytes + size}});
    if (g_noticed_event == nullptr)
        kavo_add_event(g_master, on_noticed, nullptr, 0, &g_noticed_event);
}

void hal_request_notice_returned(const ipc_header& header) {
    if (!hal_request_is_under_way(header))
        return;
    g_noticed.push_back(
        {.header = header, .reply = {}, .is_gone = !ipcReturnedForRoom(g_agent_msg_tx_cb->ipcHandle)});
    if (g_noticed_event == nullptr)
        kavo_add_event(g_master, on_noticed, nullptr, 0, &g_noticed_event);
}

HalRequest hal_request(const hal_nlmsghdr* nlhdr, hal_reply_handle handle, void* context) {
    ov_assert_on_loop();
    if (g_master == nullptr || nlhdr == nullptr || nlhdr->nlmsg_len < sizeof *nlhdr ||
        nlhdr->nlmsg_len > HAL_MSG_MAX)
        return HalRequest::FAILED;
    const auto* bytes = reinterpret_cast<const uint8_t*>(nlhdr);
    std::vector<uint8_t> message(bytes, bytes + nlhdr->nlmsg_len);
    if (ov_product_ha_recoverying_flag_get()) {
        auto* const echo = new Echo{std::move(message), handle, context}; // on_echo's
        kavo_add_event(g_master, on_echo, echo, 0, nullptr);
        return HalRequest::SENT;
    }
    const uint32_t slot = nlhdr->nlmsg_pid;
    if (!is_active(slot) || g_agent_msg_tx_cb == nullptr)
        return HalRequest::FAILED;
    if (hal_outbox_messages(slot) != 0)
        return HalRequest::NO_ROOM;
    Request request = {.message = std::move(message),
                       .slot = slot,
                       .deadline = ov_mono_now() + std::chrono::seconds(g_agent_msg_tx_cb->timeout),
                       .handle = handle,
                       .context = context};
    const Post result = post(request);
    if (result != Post::SENT)
        return result == Post::NO_ROOM ? HalRequest::NO_ROOM : HalRequest::FAILED;
    ++sync_msg_seq;
    watch();
    return HalRequest::SENT;
}
