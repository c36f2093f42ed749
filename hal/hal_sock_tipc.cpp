#include "hal_sock_tipc.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include "hal_debug.h"
#include "hal_outbox.h"
#include "hal_recv_tipc.h"
#include "hal_request.h"
#include "hal_slot.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_slot.h"
#include "ov_types.h"

IPC_APP_CB_T* g_agent_msg_tx_cb = nullptr;
IPC_APP_CB_T* g_agent_msg_rx_cb = nullptr;

namespace {

int g_debug_flag = 0;

// A message's way to an agent, for log lines.
struct Leg {
    int type;
    int length;
    int sub_id;
};

Leg leg_to(const hal_nlmsghdr& message, unsigned msg_size, unsigned slot) {
    return {.type = message.nlmsg_type,
            .length = static_cast<int>(msg_size),
            .sub_id = _hal_tipc_get_app_slotid(IPC_SERVICE_PACKT_SWITCH_AGENT, static_cast<int>(slot))};
}

// A message to a card has come back to this socket, as happens when a card has gone. It isn't the one that
// was just sent, which counts as sent.
int take_returned(const Leg& leg) {
    IPC_APP_CB_T* cb = g_agent_msg_tx_cb;
    ipc_header header = {};
    hal_frame_t returned = {};
    const int rc = ipc_receive_nonblock(cb, &header, &returned, IPC_MAX_MSG_SIZE);
    if (rc >= 0) {
        OV_LOG_INFO("LIB",
                    "### Send sync message Num[%d] nhtype[%d] length[%d] to [%d] return error code: %d %s. "
                    "Total failed count %d",
                    cb->num_sync_send, leg.type, leg.length, leg.sub_id, rc, ipcGetErrorCodeStr(rc),
                    cb->num_sync_send_fail);
        return 0;
    }
    if (rc == IPC_RC_MSG_RTRNED) {
        hal_request_notice_returned(header);
        OV_LOG_INFO("LIB",
                    "Send sync message Num[%d] nhtype[%d] length[%d] to [%d]Total sync returned message %d "
                    "cmd[%d]",
                    cb->num_sync_send, leg.type, leg.length, leg.sub_id, cb->num_sync_send_return,
                    returned.hdr.msg_cmd.value());
        return 0;
    }
    OV_LOG_ERROR("LIB", "Send sync message nhtype[%d] to [%d]: no returned message: %d:%s", leg.type,
                 leg.sub_id, rc, ipcGetErrorCodeStr(rc));
    return rc;
}

// What waits for a card goes first. A request that doesn't come to be sent for it counts as one that failed.
int drain(unsigned slot, std::chrono::steady_clock::time_point deadline) {
    const int rc = hal_outbox_drain(slot, deadline);
    if (rc != IPC_RC_SUCCESS) {
        ++g_agent_msg_tx_cb->num_sync_send;
        ++g_agent_msg_tx_cb->num_sync_send_fail;
    }
    return rc;
}

// A request behind whatever waits for its card, and its reply; all of it within the block's timeout. The
// reply's length or a negative ipc_rc. A request that came back because its card has no room is sent again.
int exchange(const Leg& leg, unsigned slot, const hal_frame_t& request, int request_len, hal_frame_t* reply) {
    IPC_APP_CB_T* cb = g_agent_msg_tx_cb;
    const auto deadline = ipc_sync_deadline(cb);
    hal_patience patience;
    do {
        int rc = drain(slot, deadline);
        if (rc == IPC_RC_SUCCESS)
            rc = ipc_send_sync_msg_until(cb, static_cast<uint32_t>(leg.sub_id), &request, request_len, reply,
                                         IPC_MAX_MSG_SIZE, deadline);
        const bool no_room =
            rc == IPC_RC_SND_BUFF_FULL || (rc == IPC_RC_MSG_RTRNED && ipcReturnedForRoom(cb->ipcHandle));
        hal_outbox_collect(); // what came back meanwhile has reasons of its own
        if (!no_room)
            return rc;
    } while (hal_outbox_wait_room(slot, patience, deadline));
    return IPC_RC_TIMEOUT;
}

bool slot_number_ok(const hal_nlmsghdr& message, uint32_t slot) {
    if (slot <= ov_slot_get_max_slot_num())
        return true;
    ov_refusal_because("the chassis has no slot %u", slot);
    OV_LOG_ERROR("LIB", "message nhtype[%d] have bad slot_id %d", message.nlmsg_type.value(), slot);
    return false;
}

bool is_active(uint32_t slot) {
    return hal_slot_active_flag_check(static_cast<unsigned short>(slot)) != 0;
}

// A card that can't do what it is asked says so with this code, and callers want to know; any other code is
// just a failure to them.
bool is_refusal(int result) {
    return result != 0 && result != OV_GPON_RET_NOT_SUPPORT;
}

// What the codes mean that cards share with this side; null for another.
const char* meaning_of(int result) {
    switch (result) {
    case OV_GPON_RET_NOT_FOUND:
        return "what it is about or refers to isn't there";
    case OV_GPON_RET_EXISTED:
        return "it is there already";
    case OV_GPON_RET_BAD_PARAM:
        return "a value it can't take";
    case OV_GPON_RET_NO_MEM:
        return "it has no memory left";
    case OV_GPON_RET_NO_RESOURCE:
        return "it has no room for more";
    case OV_GPON_RET_BUSY:
        return "it is busy or in use";
    case OV_GPON_RET_DRV_ERR:
        return "its driver failed";
    default:
        return nullptr;
    }
}

void tell_refusal(uint32_t slot, int result) {
    if (const char* const meaning = meaning_of(result); meaning != nullptr)
        ov_refusal_because("the card in slot %u refused with code %d: %s", slot, result, meaning);
    else
        ov_refusal_because("the card in slot %u refused with code %d", slot, result);
}

unsigned send_sync_to_slot(hal_nlmsghdr* nlhdr, uint32_t slot) {
    if (!slot_number_ok(*nlhdr, slot))
        return KAVO_ERR;
    if (!is_active(slot)) // configuration goes on while a card is away: the card is told when it is back
        return KAVO_OK;
    const int type = nlhdr->nlmsg_type;
    return _hal_tipc_result_of(_hal_tipc_send_syncmsg(nlhdr, nlhdr->nlmsg_len), type, slot);
}

// The buffer ends up with the reply of the last card.
unsigned broadcast_sync(hal_nlmsghdr* nlhdr) {
    const unsigned size = nlhdr->nlmsg_len;
    const int type = nlhdr->nlmsg_type;
    hal_msg_t copy;
    std::memcpy(static_cast<void*>(&copy), nlhdr, size);
    int failed = 0;
    for (uint32_t slot = ov_slot_get_min_slot_num(); slot <= ov_slot_get_max_slot_num(); ++slot) {
        if (!is_active(slot))
            continue;
        std::memcpy(static_cast<void*>(nlhdr), &copy, size);
        nlhdr->nlmsg_pid = slot;
        const int result = _hal_tipc_send_syncmsg(nlhdr, size);
        if (!is_refusal(result))
            continue;
        ++failed;
        tell_refusal(slot, result);
        OV_LOG_ERROR("LIB", "sync broadcast message nhtype[%d] to slot %d return %d", type, slot, result);
    }
    if (failed == 0)
        return KAVO_OK;
    OV_LOG_ERROR("LIB", "Total %d send failed", failed);
    return KAVO_ERR;
}

IPC_APP_CB_T* register_name(unsigned service, int sub_id, int rx_service, const char* complaint) {
    IPC_APP_CB_T* cb =
        ipc_app_cb_init(service, static_cast<uint32_t>(sub_id), 0, _hal_tipc_non_reply_callback);
    if (!cb) {
        OV_LOG_ERROR("LIB", "%s", complaint);
        exit(1);
    }
    cb->timeout = rx_service == IPC_SERVICE_PACKT_GPON ? HAL_REPLY_TIMEOUT : 0;
    return cb;
}

} // namespace

int _hal_tipc_fill_frame(hal_frame_t& frame, const hal_nlmsghdr& message, unsigned msg_size, uint32_t topic) {
    const auto len = static_cast<uint32_t>(sizeof(PKTMSG_HDR_T) + msg_size);
    frame.hdr = {};
    std::memcpy(reinterpret_cast<unsigned char*>(&frame) + offsetof(hal_frame_t, nlhdr), &message, msg_size);
    frame.nlhdr.nlmsg_pid = HAL_CPMU;
    frame.hdr.msg_topic = topic;
    frame.hdr.msg_cmd = message.nlmsg_type.value();
    frame.hdr.msg_count = 1;
    frame.hdr.msg_len = len;
    if (g_debug_flag)
        hal_debug_frame("send", frame);
    return static_cast<int>(len);
}

int _hal_tipc_accept_reply(hal_nlmsghdr* message, unsigned msg_size, hal_frame_t& reply, size_t received) {
    const size_t request_len = sizeof(PKTMSG_HDR_T) + msg_size;
    if (received < sizeof(PKTMSG_HDR_T)) {
        ov_refusal_because("the card's answer is too short");
        OV_LOG_ERROR("LIB", "Reply message of %zu bytes is too short", received);
        return KAVO_ERR;
    }
    if (g_debug_flag)
        hal_debug_frame("reply", reply);
    if (reply.hdr.msg_len > request_len) {
        ov_refusal_because("the card's answer is longer than the request");
        OV_LOG_ERROR("LIB", "Reply message len %d is greater than request message len %d",
                     static_cast<int>(reply.hdr.msg_len.value()), static_cast<int>(request_len));
        return KAVO_ERR;
    }
    const size_t present = received - sizeof(PKTMSG_HDR_T);
    const size_t claimed = present < sizeof(hal_nlmsghdr) ? 0 : reply.nlhdr.nlmsg_len.value();
    const uint32_t slot = message->nlmsg_pid;
    reply.nlhdr.nlmsg_pid = slot;
    std::memcpy(static_cast<void*>(message),
                reinterpret_cast<const unsigned char*>(&reply) + offsetof(hal_frame_t, nlhdr),
                std::min({claimed, present, size_t{msg_size}}));
    return reply.hdr.retcode;
}

unsigned _hal_tipc_result_of(int retcode, int type, uint32_t slot) {
    if (!is_refusal(retcode))
        return static_cast<unsigned>(retcode);
    tell_refusal(slot, retcode);
    OV_LOG_ERROR("LIB", "sync message nhtype[%d] to slot %d return %d", type, slot, retcode);
    return KAVO_ERR;
}

void hal_init_tipc(unsigned module, struct thread_master* master, hal_recv_handle recv) {
    const int service = hal_module_info_get(module).service;
    if (service == 0) {
        OV_LOG_ERROR("LIB", "UNKOWN module %d! APP init ipc failed, exiting!", module);
        exit(1);
    }
    OV_LOG_INFO("LIB", "module [%d]  rx_module_id [%d] start recv background timer.", module, service);
    const int sub_id = _hal_tipc_get_app_slotid(service, static_cast<int>(ov_product_slot_id_get()));
    g_agent_msg_tx_cb = register_name(IPC_SERVICE_PACKT_SWITCH_AGENT, sub_id, service,
                                      "IPC Registration Client message handler failed, exiting!");
    g_agent_msg_rx_cb = register_name(static_cast<unsigned>(service), sub_id, service,
                                      "IPC Registration server message handler failed, exiting!");
    if (hal_init_tipc_recv(service, sub_id, g_agent_msg_rx_cb->ipcHandle) != 0) {
        OV_LOG_ERROR("LIB", "IPC cpm_hal_init_tipc_recv 2 failed, exiting!");
        exit(1);
    }
    g_agent_msg_tx_cb->is_awaited = hal_request_is_under_way;
    hal_outbox_init(master);
    hal_request_init(master);
    if (recv)
        hal_tipc_start_recv_timer(master, recv);
}

int _hal_tipc_send_syncmsg(hal_nlmsghdr* message, unsigned msg_size) {
    IPC_APP_CB_T* cb = g_agent_msg_tx_cb;
    const unsigned slot = message->nlmsg_pid;
    const Leg leg = leg_to(*message, msg_size, slot);
    hal_frame_t request;
    hal_frame_t reply;
    reply.nlhdr = {}; // a reply may end before it
    const int request_len = _hal_tipc_fill_frame(request, *message, msg_size, HAL_FRAME_SYNC);
    const int rc = exchange(leg, slot, request, request_len, &reply);
    if (rc == IPC_RC_RTRNED_MSG_WAITING)
        return take_returned(leg);
    if (rc < 0) {
        ov_refusal_because("the card in slot %u doesn't answer (%s)", message->nlmsg_pid.value(),
                           ipcGetErrorCodeStr(rc));
        OV_LOG_ERROR(
            "LIB",
            "Send sync message Num[%d] nhtype[%d] length [%d] to [%d] fail. TIPC return code: %d:%s. "
            "Total failed count %d",
            cb->num_sync_send, leg.type, leg.length, leg.sub_id, rc, ipcGetErrorCodeStr(rc),
            cb->num_sync_send_fail);
        return rc;
    }
    return _hal_tipc_accept_reply(message, msg_size, reply, static_cast<size_t>(rc));
}

int _hal_tipc_send_asyncmsg(const hal_nlmsghdr* message, unsigned msg_size, unsigned slot) {
    hal_frame_t frame;
    const int frame_len = _hal_tipc_fill_frame(frame, *message, msg_size, HAL_FRAME_ASYNC);
    return hal_outbox_send(slot, frame, frame_len);
}

unsigned hal_send_sync_tipc(hal_nlmsghdr* nlhdr) {
    if (!g_agent_msg_tx_cb) {
        OV_LOG_ERROR("LIB", "g_agent_msg_tx_cb is not initialed, msg type=%d", nlhdr->nlmsg_type.value());
        return KAVO_ERR;
    }
    if (ov_product_ha_recoverying_flag_get())
        return KAVO_OK;
    const uint32_t slot = nlhdr->nlmsg_pid;
    return slot != 0 ? send_sync_to_slot(nlhdr, slot) : broadcast_sync(nlhdr);
}

unsigned hal_send_async_tipc(const hal_nlmsghdr* nlhdr) {
    if (!g_agent_msg_tx_cb) {
        OV_LOG_ERROR("LIB", "g_agent_msg_tx_cb is not initialed");
        return KAVO_ERR;
    }
    if (ov_product_ha_recoverying_flag_get())
        return KAVO_OK;
    const uint32_t slot = nlhdr->nlmsg_pid;
    if (!slot_number_ok(*nlhdr, slot))
        return KAVO_ERR;
    const uint32_t first = slot != 0 ? slot : ov_slot_get_min_slot_num();
    const uint32_t last = slot != 0 ? slot : ov_slot_get_max_slot_num();
    for (uint32_t to = first; to <= last; ++to)
        if (is_active(to))
            _hal_tipc_send_asyncmsg(nlhdr, nlhdr->nlmsg_len, to); // a failure is logged, and that's all
    return KAVO_OK;
}

int _hal_tipc_non_reply_callback(void* msg_ptr, int msg_size, int rtrned_msg) {
    ipc_header header;
    std::memcpy(static_cast<void*>(&header), msg_ptr, sizeof header);
    const auto* const msg = static_cast<const uint8_t*>(msg_ptr) + sizeof header;
    if (rtrned_msg && header.msg_type == IPC_REQUEST)
        hal_request_notice_returned(header);
    else if (!rtrned_msg && header.msg_type == IPC_REPLY)
        hal_request_notice_reply(header, msg, static_cast<size_t>(msg_size));
    else if (rtrned_msg)
        hal_outbox_notice(header, msg, static_cast<size_t>(msg_size));
    if (!g_debug_flag)
        return 0;
    OV_LOG_DEBUG("LIB", "!Oh, got a non reply, %s message, here it its header:\n",
                 rtrned_msg ? "returned" : ipcGetMsgTypeStr(header.msg_type));
    ipcShowIpcHeader(&header);
    OV_LOG_DEBUG("LIB", "Let the ipcSyncSend() continue wait for a matching IPC_REPLY");
    return 0;
}

void hal_sock_tipc_debug_flag_set(int debug_flag) {
    g_debug_flag = debug_flag;
}
