#include "hal_port.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>

#include "hal_sock.h"
#include "ov_types.h"

namespace {

using IfField = big_uint32_at hal_msg_if_t::*;

// One row per message: its type, its length with the head, and the fields that its arguments go to, in order.
// What has no field of its own name travels in the nearest: a direction as type, a burst and packets per
// second as packet, a loopback as flags.
struct PortMsg {
    uint16_t type;
    uint16_t len;
    std::array<IfField, 4> fields = {};
};

constexpr uint16_t IF_LEN = sizeof(hal_nlmsghdr) + sizeof(hal_msg_if_t);
static_assert(IF_LEN == 72);
constexpr uint16_t MIRROR_LEN = 36;
constexpr auto INDEX = &hal_msg_if_t::ifindex;

constexpr PortMsg PORT_ADD = {3, 532};
constexpr PortMsg PORT_ADD_FINISHED = {22, 20};
constexpr PortMsg PORT_ENABLE = {91, IF_LEN, {INDEX, &hal_msg_if_t::admin}};
constexpr PortMsg PORT_SPEED = {92, IF_LEN, {INDEX, &hal_msg_if_t::speed}};
constexpr PortMsg PORT_PAUSE = {93, IF_LEN, {INDEX, &hal_msg_if_t::pause}};
constexpr PortMsg PORT_AUTONEG = {94, IF_LEN, {INDEX, &hal_msg_if_t::autoneg}};
constexpr PortMsg PORT_DUPLEX = {95, IF_LEN, {INDEX, &hal_msg_if_t::duplex}};
constexpr PortMsg PORT_STAT_CLEAR = {96, IF_LEN, {INDEX}};
constexpr PortMsg PORT_STAT_GET = {97, sizeof(hal_nlmsghdr) + sizeof(hal_msg_stat_t)};
constexpr PortMsg PORT_INFO_GET = {98, IF_LEN};
constexpr PortMsg PORT_MTU = {99, IF_LEN, {INDEX, &hal_msg_if_t::mtu}};
constexpr PortMsg PORT_RATE_LIMIT = {
    100, IF_LEN, {INDEX, &hal_msg_if_t::type, &hal_msg_if_t::rate, &hal_msg_if_t::packet}};
constexpr PortMsg PORT_STORM = {101, IF_LEN, {INDEX, &hal_msg_if_t::type, &hal_msg_if_t::rate}};
constexpr PortMsg PORT_PROTECTED = {102, 276};
constexpr PortMsg PORT_LOOPBACK = {104, IF_LEN, {INDEX, &hal_msg_if_t::flags}};
constexpr PortMsg PORT_STORM_PPS = {107, IF_LEN, {INDEX, &hal_msg_if_t::type, &hal_msg_if_t::packet}};
constexpr PortMsg PORT_STORM_PPS_CPU = {108, IF_LEN, {&hal_msg_if_t::type, &hal_msg_if_t::packet}};
constexpr PortMsg PORT_CFG_RECOVERY = {109, IF_LEN};
constexpr PortMsg PORT_RATE_STAT_GET = {110, sizeof(hal_nlmsghdr) + sizeof(hal_msg_rate_stat_t)};
constexpr PortMsg PORT_MACMOVE = {113, IF_LEN};
constexpr PortMsg PORT_RATE_LIMIT_CPU = {114, IF_LEN, {&hal_msg_if_t::packet}};
constexpr PortMsg PORT_VLAN_CHECK = {115, IF_LEN, {INDEX, &hal_msg_if_t::flags}};
constexpr PortMsg PORT_VLAN_CHECK_CPU = {116, IF_LEN, {&hal_msg_if_t::flags}};
constexpr PortMsg PORT_MIRROR = {181, MIRROR_LEN};
static_assert(PORT_STAT_GET.len == 312 && PORT_RATE_STAT_GET.len == 328);

constexpr uint16_t PORT_MSG_FLAGS = 1;

// Values behind the head; zeros behind those. Longer ones are cut to the message.
void fill(const PortMsg& row, uint32_t slot_id, const void* values, size_t size, hal_msg_t& msg) {
    msg = {};
    msg.hdr.nlmsg_len = row.len;
    msg.hdr.nlmsg_type = row.type;
    msg.hdr.nlmsg_flags = PORT_MSG_FLAGS;
    msg.hdr.nlmsg_pid = slot_id;
    std::memcpy(msg.buf, values, std::min<size_t>(size, row.len - sizeof(hal_nlmsghdr)));
}

unsigned send_bytes(const PortMsg& row, uint32_t slot_id, const void* values, size_t size, hal_msg_t& msg) {
    fill(row, slot_id, values, size, msg);
    return hal_send(&msg.hdr);
}

// A message about a port that has nothing but its interface index, without waiting.
HalRequest request_of(const PortMsg& row, uint32_t ifindex, uint32_t slot_id, hal_reply_handle handle,
                      void* context) {
    const big_uint32_at key{ifindex};
    hal_msg_t msg;
    fill(row, slot_id, &key, sizeof key, msg);
    return hal_request(&msg.hdr, handle, context);
}

unsigned send_record(const PortMsg& row, uint32_t slot_id, const void* record, size_t size) {
    hal_msg_t msg;
    return send_bytes(row, slot_id, record, size, msg);
}

unsigned send_if(const PortMsg& row, uint32_t slot_id, std::initializer_list<uint32_t> values) {
    hal_msg_if_t info = {};
    const auto* field = row.fields.begin();
    for (const uint32_t value : values)
        info.*(*field++) = value;
    return send_record(row, slot_id, &info, sizeof info);
}

unsigned send_words(const PortMsg& row, uint32_t slot_id, std::initializer_list<uint32_t> values) {
    std::array<big_uint32_at, 4> words = {};
    std::copy(values.begin(), values.end(), words.begin());
    return send_record(row, slot_id, words.data(), values.size() * sizeof words[0]);
}

// Asks for a record by the interface index in its first word.
template <typename Record>
unsigned read_record(const PortMsg& row, uint32_t ifindex, Record* record, uint32_t slot_id) {
    if (!record)
        return KAVO_PARAM;
    const big_uint32_at key{ifindex};
    hal_msg_t msg;
    const unsigned result = send_bytes(row, slot_id, &key, sizeof key, msg);
    if (result == KAVO_OK)
        std::memcpy(static_cast<void*>(record), msg.buf, sizeof *record);
    return result;
}

// A count and its elements.
template <typename Wire, typename Element>
unsigned send_list(const PortMsg& row, uint32_t slot_id, const Element* first, uint32_t count) {
    struct List {
        big_uint32_at count;
        Wire element[HAL_PORT_MAX];
    };
    if (count > HAL_PORT_MAX || (count != 0 && !first))
        return KAVO_PARAM;
    List list = {};
    list.count = count;
    for (uint32_t n = 0; n < count; ++n)
        list.element[n] = first[n];
    return send_record(row, slot_id, &list, sizeof list);
}

} // namespace

unsigned hal_port_add(uint32_t count, const hal_port_t* port, uint32_t slot_id) {
    return send_list<hal_port_t>(PORT_ADD, slot_id, port, count);
}
unsigned hal_port_add_finished(uint32_t slot_id) {
    return send_words(PORT_ADD_FINISHED, slot_id, {});
}
unsigned hal_port_enable_set(uint32_t ifindex, uint32_t status, uint32_t slot_id) {
    return send_if(PORT_ENABLE, slot_id, {ifindex, status});
}
unsigned hal_port_speed(uint32_t ifindex, uint32_t speed, uint32_t slot_id) {
    return send_if(PORT_SPEED, slot_id, {ifindex, speed});
}
unsigned hal_port_pause(uint32_t ifindex, uint32_t pause, uint32_t slot_id) {
    return send_if(PORT_PAUSE, slot_id, {ifindex, pause});
}
unsigned hal_port_autoneg(uint32_t ifindex, uint32_t autoneg, uint32_t slot_id) {
    return send_if(PORT_AUTONEG, slot_id, {ifindex, autoneg});
}
unsigned hal_port_duplex(uint32_t ifindex, uint32_t duplex, uint32_t slot_id) {
    return send_if(PORT_DUPLEX, slot_id, {ifindex, duplex});
}
unsigned hal_port_mtu(uint32_t ifindex, uint32_t mtu, uint32_t slot_id) {
    return send_if(PORT_MTU, slot_id, {ifindex, mtu});
}
unsigned hal_port_loopback(uint32_t ifindex, uint32_t loopback, uint32_t slot_id) {
    return send_if(PORT_LOOPBACK, slot_id, {ifindex, loopback});
}
unsigned hal_port_macmove(uint32_t ifindex, uint32_t value, uint32_t slot_id) {
    hal_msg_if_t info = {};
    info.ifindex = ifindex;
    info.macmove = static_cast<uint8_t>(value);
    return send_record(PORT_MACMOVE, slot_id, &info, sizeof info);
}
unsigned hal_port_vlan_check(uint32_t ifindex, uint32_t flags, uint32_t slot_id) {
    return send_if(PORT_VLAN_CHECK, slot_id, {ifindex, flags});
}
unsigned hal_port_vlan_check_forcpu(uint32_t flags, uint32_t slot_id) {
    return send_if(PORT_VLAN_CHECK_CPU, slot_id, {flags});
}
unsigned hal_port_rate_limit(uint32_t ifindex, uint32_t direction, uint32_t rate, uint32_t burst,
                             uint32_t slot_id) {
    return send_if(PORT_RATE_LIMIT, slot_id, {ifindex, direction, rate, burst});
}
unsigned hal_port_rate_limit_forcpu(uint32_t pps, uint32_t slot_id) {
    return send_if(PORT_RATE_LIMIT_CPU, slot_id, {pps});
}
unsigned hal_port_storm(uint32_t ifindex, uint32_t type, uint32_t rate, uint32_t slot_id) {
    return send_if(PORT_STORM, slot_id, {ifindex, type, rate});
}
unsigned hal_port_storm_pps(uint32_t ifindex, uint32_t type, uint32_t rate, uint32_t slot_id) {
    return send_if(PORT_STORM_PPS, slot_id, {ifindex, type, rate});
}
unsigned hal_port_storm_pps_cpu(uint32_t type, uint32_t rate, uint32_t slot_id) {
    return send_if(PORT_STORM_PPS_CPU, slot_id, {type, rate});
}
unsigned hal_port_cfg_recovery(const hal_msg_if_t* if_info, uint32_t slot_id) {
    return if_info ? send_record(PORT_CFG_RECOVERY, slot_id, if_info, sizeof *if_info) : KAVO_PARAM;
}
unsigned hal_port_portected_set(const uint32_t* ifindex, uint32_t num, uint32_t slot_id) {
    return send_list<big_uint32_at>(PORT_PROTECTED, slot_id, ifindex, num);
}
unsigned hal_port_mirror_set(uint32_t src, uint32_t dst, uint32_t flags, uint32_t slot_id) {
    return send_words(PORT_MIRROR, slot_id, {src, dst, flags});
}
unsigned hal_port_mirror_vlan_set(uint32_t dst, uint32_t vid, uint32_t type, uint32_t slot_id) {
    const PortMsg row = {static_cast<uint16_t>(type), MIRROR_LEN};
    return send_words(row, slot_id, {dst, vid});
}
unsigned hal_port_stat_get(uint32_t ifindex, hal_msg_stat_t* stat, uint32_t slot_id) {
    return read_record(PORT_STAT_GET, ifindex, stat, slot_id);
}
unsigned hal_port_rate_stat_get(uint32_t ifindex, hal_msg_rate_stat_t* stat, uint32_t slot_id) {
    return read_record(PORT_RATE_STAT_GET, ifindex, stat, slot_id);
}
unsigned hal_get_port_info(uint32_t ifindex, hal_msg_if_t* info, uint32_t slot_id) {
    return read_record(PORT_INFO_GET, ifindex, info, slot_id);
}
unsigned hal_port_stat_clear(uint32_t ifindex, uint32_t slot_id) {
    return send_if(PORT_STAT_CLEAR, slot_id, {ifindex});
}

HalRequest hal_port_stat_get_request(uint32_t ifindex, uint32_t slot_id, hal_reply_handle handle,
                                     void* context) {
    return request_of(PORT_STAT_GET, ifindex, slot_id, handle, context);
}
HalRequest hal_port_stat_clear_request(uint32_t ifindex, uint32_t slot_id, hal_reply_handle handle,
                                       void* context) {
    return request_of(PORT_STAT_CLEAR, ifindex, slot_id, handle, context);
}
