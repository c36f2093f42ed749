#include "card_frame.h"

#include <algorithm>
#include <cstring>

#include "text.h"

using namespace card_wire;

namespace {

// Order of the words of the IPC header and the packet header.
constexpr uint32_t CardHeader::*HEADER_WORDS[] = {
    &CardHeader::header_id,
    &CardHeader::version,
    &CardHeader::ipc_type,
    &CardHeader::sender_service,
    &CardHeader::sender_sub_id,
    &CardHeader::msg_id,
    &CardHeader::msg_num,
    &CardHeader::topic,
    &CardHeader::op,
    &CardHeader::cmd,
    &CardHeader::count,
    &CardHeader::change_flag,
    &CardHeader::msg_len,
    &CardHeader::ipc_hdr,
    &CardHeader::retcode,
    &CardHeader::padding,
};
static_assert(std::size(HEADER_WORDS) * 4 == IPC_HEADER + PACKET_HEADER);

constexpr size_t NETLINK_AT = IPC_HEADER + PACKET_HEADER;
constexpr size_t PAYLOAD_AT = NETLINK_AT + NETLINK_HEADER;

void read_header(std::span<const uint8_t> frame, CardHeader& header) {
    for (size_t i = 0; i < std::size(HEADER_WORDS) && (i + 1) * 4 <= frame.size(); ++i)
        header.*HEADER_WORDS[i] = get_be32(frame, i * 4);
    if (frame.size() < PAYLOAD_AT)
        return;
    header.nlmsg_len = get_be32(frame, NETLINK_AT);
    header.nlmsg_type = get_be16(frame, NETLINK_AT + 4);
    header.nlmsg_flags = get_be16(frame, NETLINK_AT + 6);
    header.nlmsg_seq = get_be32(frame, NETLINK_AT + 8);
    header.nlmsg_pid = get_be32(frame, NETLINK_AT + 12);
}

CardRefusal refuse(const char* reason, const char* name, uint32_t value) {
    return {reason, CARD_BAD_PARAM, format("%s=%u", name, value)};
}

bool is_gpon_client(const CardHeader& header) {
    return header.sender_service == AGENT_SERVICE && header.sender_sub_id > GPON_SUB_ID &&
           header.sender_sub_id <= GPON_SUB_ID + 31;
}

std::optional<CardRefusal> check_ipc_header(const CardHeader& header) {
    if (header.header_id != HEADER_ID)
        return refuse("header-id", "header_id", header.header_id);
    if (header.version != 0)
        return refuse("version", "version", header.version);
    if (header.ipc_type > static_cast<uint32_t>(IpcType::REQUEST))
        return refuse("ipc-type", "ipc_type", header.ipc_type);
    if (!is_gpon_client(header))
        return refuse("sender", "sender_sub_id", header.sender_sub_id);
    return {};
}

std::optional<CardRefusal> check_packet_header(const CardHeader& header, size_t frame_size) {
    if (header.msg_len != frame_size - IPC_HEADER)
        return refuse("msg-len", "msg_len", header.msg_len);
    if (header.nlmsg_len != header.msg_len - PACKET_HEADER)
        return refuse("nlmsg-len", "nlmsg_len", header.nlmsg_len);
    const uint32_t topic = header.ipc_type == static_cast<uint32_t>(IpcType::REQUEST) ? 1 : 2;
    if (header.topic != topic)
        return refuse("topic", "topic", header.topic);
    if (header.cmd != header.nlmsg_type)
        return refuse("cmd", "cmd", header.cmd);
    if (header.op || header.count != 1 || header.change_flag || header.ipc_hdr || header.retcode ||
        header.padding)
        return CardRefusal{"packet-header", CARD_BAD_PARAM};
    if (header.nlmsg_pid != CLIENT_PID)
        return refuse("nlmsg-pid", "nlmsg_pid", header.nlmsg_pid);
    return {};
}

bool all_zero(std::span<const uint8_t> bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == 0; });
}

uint32_t rounded(uint32_t size) {
    return (size + 3) & ~3u;
}

std::optional<CardRefusal> read_plain(std::span<const uint8_t> payload, CardRequest& request) {
    if (payload.size() != request.message->size)
        return refuse("record-size", "nlmsg_len", request.header.nlmsg_len);
    if (request.header.nlmsg_flags != 1)
        return refuse("flags", "flags", request.header.nlmsg_flags);
    request.action = request.message->action;
    request.mask = request.message->attributes.empty() ? 0 : 1;
    request.record = payload;
    return {};
}

std::optional<CardRefusal> read_gpon(std::span<const uint8_t> payload, CardRequest& request) {
    const CardMessage& message = *request.message;
    if (payload.size() != ACTION_AND_MASK + rounded(message.size) + SPARE)
        return refuse("record-size", "nlmsg_len", request.header.nlmsg_len);
    request.action = get_be32(payload, 0);
    request.mask = get_be32(payload, 4);
    request.record = payload.subspan(ACTION_AND_MASK, message.size);
    if (!all_zero(payload.subspan(ACTION_AND_MASK + message.size)))
        return CardRefusal{"spare-bytes", CARD_BAD_PARAM};
    if (request.action < card_action::CREATE || request.action > card_action::GET_CURRENT)
        return refuse("unknown-action", "action", request.action);
    return {};
}

std::optional<CardRefusal> read_driver_text(std::span<const uint8_t> payload, CardRequest& request) {
    if (payload.empty())
        return CardRefusal{"record-size", CARD_BAD_PARAM};
    request.record = payload;
    return {};
}

} // namespace

std::optional<CardRefusal> parse_card_request(std::span<const uint8_t> frame, CardRequest& request) {
    request = {};
    read_header(frame, request.header);
    const CardHeader& header = request.header;
    if (frame.size() < PAYLOAD_AT)
        return CardRefusal{"short-frame", CARD_BAD_PARAM, format("len=%zu", frame.size())};
    if (frame.size() > MAX_FRAME)
        return CardRefusal{"long-frame", CARD_BAD_PARAM, format("len=%zu", frame.size())};
    if (auto wrong = check_ipc_header(header))
        return wrong;
    if (auto wrong = check_packet_header(header, frame.size()))
        return wrong;
    const auto payload = frame.subspan(PAYLOAD_AT);
    if (header.nlmsg_type == DRV_CMD)
        return read_driver_text(payload, request);
    request.message = find_card_message(header.nlmsg_type);
    if (!request.message)
        return refuse("unknown-type", "number", header.nlmsg_type);
    return request.message->use == CardUse::PLAIN ? read_plain(payload, request)
                                                  : read_gpon(payload, request);
}

std::vector<uint8_t> build_card_frame(const CardHeader& header, std::span<const uint8_t> payload) {
    std::vector<uint8_t> frame(PAYLOAD_AT + payload.size());
    for (size_t i = 0; i < std::size(HEADER_WORDS); ++i)
        put_be32(frame, i * 4, header.*HEADER_WORDS[i]);
    put_be32(frame, NETLINK_AT, header.nlmsg_len);
    put_be16(frame, NETLINK_AT + 4, header.nlmsg_type);
    put_be16(frame, NETLINK_AT + 6, header.nlmsg_flags);
    put_be32(frame, NETLINK_AT + 8, header.nlmsg_seq);
    put_be32(frame, NETLINK_AT + 12, header.nlmsg_pid);
    std::copy(payload.begin(), payload.end(), frame.begin() + PAYLOAD_AT);
    return frame;
}

std::vector<uint8_t> card_payload(uint32_t action, uint32_t mask, std::span<const uint8_t> record) {
    std::vector<uint8_t> payload(ACTION_AND_MASK + rounded(static_cast<uint32_t>(record.size())) + SPARE);
    put_be32(payload, 0, action);
    put_be32(payload, 4, mask);
    std::copy(record.begin(), record.end(), payload.begin() + ACTION_AND_MASK);
    return payload;
}

uint16_t get_be16(std::span<const uint8_t> bytes, size_t at) {
    return static_cast<uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

uint32_t get_be32(std::span<const uint8_t> bytes, size_t at) {
    return static_cast<uint32_t>(get_be16(bytes, at)) << 16 | get_be16(bytes, at + 2);
}

void put_be16(std::span<uint8_t> bytes, size_t at, uint16_t value) {
    bytes[at] = static_cast<uint8_t>(value >> 8);
    bytes[at + 1] = static_cast<uint8_t>(value);
}

void put_be32(std::span<uint8_t> bytes, size_t at, uint32_t value) {
    put_be16(bytes, at, static_cast<uint16_t>(value >> 16));
    put_be16(bytes, at + 2, static_cast<uint16_t>(value));
}

void put_be64(std::span<uint8_t> bytes, size_t at, uint64_t value) {
    put_be32(bytes, at, static_cast<uint32_t>(value >> 32));
    put_be32(bytes, at + 4, static_cast<uint32_t>(value));
}
