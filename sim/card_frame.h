// Frames between the daemon and the line cards, as bytes.
//
// A frame is an IPC header (28 bytes), a packet header (36) and a netlink-shaped message: 16 bytes of header,
// action, mask, record, and 16 spare bytes that nlmsg_len counts. Every word is big-endian.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "card_messages.h"

namespace card_wire {
inline constexpr uint32_t HEADER_ID = 0xface01bc;
inline constexpr size_t IPC_HEADER = 28;
inline constexpr size_t PACKET_HEADER = 36;
inline constexpr size_t NETLINK_HEADER = 16;
inline constexpr size_t ACTION_AND_MASK = 8;
inline constexpr size_t SPARE = 16;
inline constexpr size_t RECORD_AT = IPC_HEADER + PACKET_HEADER + NETLINK_HEADER + ACTION_AND_MASK;
inline constexpr size_t MAX_FRAME = IPC_HEADER + 2048;
inline constexpr uint32_t CLIENT_PID = 1001; // nlmsg_pid of every frame on the wire
inline constexpr uint32_t AGENT_SERVICE = 101;
inline constexpr uint32_t GPON_SERVICE = 111;
inline constexpr uint32_t AGENT_SUB_ID = 10100; // plus the card's slot
inline constexpr uint32_t GPON_SUB_ID = 11100;  // plus the slot of the daemon's board
inline constexpr uint32_t DRV_CMD = 936;
} // namespace card_wire

enum class IpcType : uint32_t { ASYNC = 0, REQUEST = 1, REPLY = 2 };

// Words of the two headers and the netlink-shaped one; a frame is built from them as they stand, also when
// they are wrong.
struct CardHeader {
    uint32_t header_id = card_wire::HEADER_ID;
    uint32_t version = 0;
    uint32_t ipc_type = 0;
    uint32_t sender_service = 0;
    uint32_t sender_sub_id = 0;
    uint32_t msg_id = 0;
    uint32_t msg_num = 0;
    uint32_t topic = 0;
    uint32_t op = 0;
    uint32_t cmd = 0;
    uint32_t count = 1;
    uint32_t change_flag = 0;
    uint32_t msg_len = 0;
    uint32_t ipc_hdr = 0;
    uint32_t retcode = 0;
    uint32_t padding = 0;
    uint32_t nlmsg_len = 0;
    uint16_t nlmsg_type = 0;
    uint16_t nlmsg_flags = 0;
    uint32_t nlmsg_seq = 0;
    uint32_t nlmsg_pid = card_wire::CLIENT_PID;
};

struct CardRequest {
    CardHeader header;
    const CardMessage* message = nullptr; // null: a driver's text
    uint32_t action = 0;
    uint32_t mask = 0;
    std::span<const uint8_t> record; // of the message's size, or the driver's text
    bool wants_reply() const { return header.ipc_type == static_cast<uint32_t>(IpcType::REQUEST); }
};

// Why a card refuses a frame. The reason is one word.
struct CardRefusal {
    const char* reason;
    uint32_t retcode; // of the answer, when there is somebody to answer
    std::string detail = {};
};
inline constexpr uint32_t CARD_ERROR = 101001;
inline constexpr uint32_t CARD_BAD_PARAM = 101004;
inline constexpr uint32_t CARD_NOT_FOUND = 1001;
inline constexpr uint32_t CARD_DRIVER_ERROR = 1009;

// Reads a frame. request.header is filled as far as the frame goes, so that also a wrong one can be answered.
// request.record points into the frame.
std::optional<CardRefusal> parse_card_request(std::span<const uint8_t> frame, CardRequest& request);

// A frame with this header and these bytes behind the netlink header.
std::vector<uint8_t> build_card_frame(const CardHeader& header, std::span<const uint8_t> payload);

// Action, mask, record, filled up to a multiple of 4, and the spare bytes.
std::vector<uint8_t> card_payload(uint32_t action, uint32_t mask, std::span<const uint8_t> record);

uint16_t get_be16(std::span<const uint8_t> bytes, size_t at);
uint32_t get_be32(std::span<const uint8_t> bytes, size_t at);
void put_be16(std::span<uint8_t> bytes, size_t at, uint16_t value);
void put_be32(std::span<uint8_t> bytes, size_t at, uint32_t value);
void put_be64(std::span<uint8_t> bytes, size_t at, uint64_t value);
