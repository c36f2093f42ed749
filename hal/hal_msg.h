// Messages to and from the card agents, as they stand on the wire. Every word is big-endian on every host: the
// structs are the wire form, and reading or assigning a field converts. A message is zero-filled as a whole
// before it is written, so spare bytes are 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <boost/endian/arithmetic.hpp>

using boost::endian::big_int32_at;
using boost::endian::big_uint16_at;
using boost::endian::big_uint32_at;
using boost::endian::big_uint64_at;

// Head of a message: netlink's layout, with a meaning of its own for the last word.
struct hal_nlmsghdr {
    big_uint32_at nlmsg_len;  // this head and the payload, in bytes
    big_uint16_at nlmsg_type; // message type
    big_uint16_at nlmsg_flags;
    big_uint32_at nlmsg_seq; // not used
    big_uint32_at nlmsg_pid; // in the daemon: the slot of the card, 0 for every card. On the wire: the client
};
static_assert(sizeof(hal_nlmsghdr) == 16 && std::is_standard_layout_v<hal_nlmsghdr>);
static_assert(offsetof(hal_nlmsghdr, nlmsg_len) == 0);
static_assert(offsetof(hal_nlmsghdr, nlmsg_type) == 4);
static_assert(offsetof(hal_nlmsghdr, nlmsg_flags) == 6);
static_assert(offsetof(hal_nlmsghdr, nlmsg_seq) == 8);
static_assert(offsetof(hal_nlmsghdr, nlmsg_pid) == 12);

inline constexpr size_t HAL_PAYLOAD_MAX = 2048;                             // bytes behind the head
inline constexpr size_t HAL_MSG_MAX = sizeof(hal_nlmsghdr) + HAL_PAYLOAD_MAX; // the longest message

// A message with room for the longest payload.
struct hal_msg_t {
    hal_nlmsghdr hdr;
    alignas(8) unsigned char buf[HAL_PAYLOAD_MAX];
};
static_assert(sizeof(hal_msg_t) == HAL_MSG_MAX && offsetof(hal_msg_t, buf) == 16);

// Head of a frame: what stands in front of the message when it travels (behind the IPC header).
struct packet_message_header {
    big_uint32_at msg_topic; // HAL_FRAME_SYNC or HAL_FRAME_ASYNC from here; agents' topics are PKTMSG_TOPIC_*
    big_uint32_at msg_op;
    big_uint32_at msg_cmd; // message type
    big_uint32_at msg_count;
    big_uint32_at chg_flag;
    big_uint32_at msg_len; // this head and the message, in bytes
    big_uint32_at ipc_hdr;
    big_int32_at retcode; // of the agent, in a reply
    big_uint32_at padding;
};
typedef packet_message_header PKTMSG_HDR_T;
static_assert(sizeof(PKTMSG_HDR_T) == 36 && std::is_standard_layout_v<PKTMSG_HDR_T>);
static_assert(offsetof(PKTMSG_HDR_T, msg_topic) == 0);
static_assert(offsetof(PKTMSG_HDR_T, msg_op) == 4);
static_assert(offsetof(PKTMSG_HDR_T, msg_cmd) == 8);
static_assert(offsetof(PKTMSG_HDR_T, msg_count) == 12);
static_assert(offsetof(PKTMSG_HDR_T, chg_flag) == 16);
static_assert(offsetof(PKTMSG_HDR_T, msg_len) == 20);
static_assert(offsetof(PKTMSG_HDR_T, ipc_hdr) == 24);
static_assert(offsetof(PKTMSG_HDR_T, retcode) == 28);
static_assert(offsetof(PKTMSG_HDR_T, padding) == 32);

inline constexpr uint32_t HAL_FRAME_SYNC = 1;
inline constexpr uint32_t HAL_FRAME_ASYNC = 2;

struct hal_frame_t {
    PKTMSG_HDR_T hdr;
    hal_nlmsghdr nlhdr;
    unsigned char msg[HAL_PAYLOAD_MAX];
};
static_assert(sizeof(hal_frame_t) == 2100);
static_assert(offsetof(hal_frame_t, nlhdr) == 36);
static_assert(offsetof(hal_frame_t, msg) == 52);
static_assert(std::is_trivially_copyable_v<hal_frame_t>);
