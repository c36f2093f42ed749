#include "messages.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "byte_order.h"
#include "port_name.h"
#include "text.h"

namespace {

// A field of a record: its name, kind, offset and size from the record's declaration.
#define FIELD(record, member, kind)                                                                          \
    { #member, FieldKind::kind, offsetof(record, member), sizeof(record::member) }

constexpr Field IF_FIELDS[] = {
    FIELD(umsg_if_t, ifindex, IFINDEX), FIELD(umsg_if_t, name, TEXT),   FIELD(umsg_if_t, status, U32),
    FIELD(umsg_if_t, admin, U32),       FIELD(umsg_if_t, duplex, U32),  FIELD(umsg_if_t, speed, U32),
    FIELD(umsg_if_t, flags, FLAGS),     FIELD(umsg_if_t, onu_sn, TEXT),
};
constexpr Field VLAN_FIELDS[] = {{"vlans", FieldKind::VLANS, offsetof(umsg_vlan_t, uvlan), sizeof(uvlan_t)}};
constexpr Field VLAN_PORT_FIELDS[] = {
    FIELD(umsg_vlan_port_t, ifindex, IFINDEX),
    FIELD(umsg_vlan_port_t, op, U16),
    FIELD(umsg_vlan_port_t, tag, U16),
    FIELD(umsg_vlan_port_t, pvid, U16),
    {"vlans", FieldKind::VLANS, offsetof(umsg_vlan_port_t, uvlan), sizeof(uvlan_t)},
};
constexpr Field IP_FIELDS[] = {
    FIELD(umsg_ip_t, ifindex, U32), FIELD(umsg_ip_t, ifname, TEXT), FIELD(umsg_ip_t, ip, U32),
    FIELD(umsg_ip_t, mask, U32),    FIELD(umsg_ip_t, new_ip, U32),  FIELD(umsg_ip_t, new_mask, U32),
};
constexpr Field HOST_FIELDS[] = {FIELD(umsg_host_t, name, TEXT)};
constexpr Field TRUNK_FIELDS[] = {FIELD(umsg_trunk_t, set, U32), FIELD(umsg_trunk_t, tid, U32),
                                  FIELD(umsg_trunk_t, ifindex, IFINDEX)};
constexpr Field PROTECT_FIELDS[] = {
    FIELD(umsg_protect_group_t, work_ifindex, IFINDEX),
    FIELD(umsg_protect_group_t, protect_ifindex, IFINDEX),
    // not "type": a record of the request has the message's type under that name
    {"group_type", FieldKind::U32, offsetof(umsg_protect_group_t, type), sizeof(umsg_protect_group_t::type)},
};
constexpr Field ONU_FIELDS[] = {
    FIELD(umsg_onu_op_t, ifindex, IFINDEX),
    FIELD(umsg_onu_op_t, status, I32),
    FIELD(umsg_onu_op_t, onu_sn, OCTETS),
};
constexpr Field CARD_FIELDS[] = {FIELD(umsg_card_t, slot_id, U32), FIELD(umsg_card_t, card_type, U16)};
constexpr Field SYNC_FIELDS[] = {
    FIELD(umsg_cfg_sync_t, appid, U32),    FIELD(umsg_cfg_sync_t, slotid, U32),
    FIELD(umsg_cfg_sync_t, cfg_prio, U32), FIELD(umsg_cfg_sync_t, retcode, U32),
    FIELD(umsg_cfg_sync_t, appName, TEXT),
};
constexpr Field GPON_FIELDS[] = {
    FIELD(umsg_gpon_t, op, U32), FIELD(umsg_gpon_t, p1, U32), FIELD(umsg_gpon_t, p2, U32),
    FIELD(umsg_gpon_t, p3, U32), FIELD(umsg_gpon_t, p4, U32),
};
constexpr Field PORT_QOS_FIELDS[] = {FIELD(umsg_port_qos_t, ifindex, IFINDEX),
                                     FIELD(umsg_port_qos_t, scheduler_mode, U32)};
constexpr Field SAVE_FIELDS[] = {
    FIELD(umsg_snmp_save_req_t, sequence, U32),
    FIELD(umsg_snmp_save_req_t, tablename, TEXT),
    FIELD(umsg_snmp_save_req_t, saveStatus, U32),
};
constexpr Field LOOPDETECT_FIELDS[] = {FIELD(umsg_loopdetect_t, ifindex, IFINDEX),
                                       FIELD(umsg_loopdetect_t, set, U32)};
constexpr Field WORD_FIELDS[] = {{"word", FieldKind::U32, 0, 4}};

constexpr BodyLayout NO_BODY{"no body", 0, {}};
constexpr BodyLayout WORD{"one word", 4, WORD_FIELDS};
constexpr BodyLayout IF{"umsg_if_t", sizeof(umsg_if_t), IF_FIELDS};
constexpr BodyLayout VLAN{"umsg_vlan_t", sizeof(umsg_vlan_t), VLAN_FIELDS};
constexpr BodyLayout VLAN_PORT{"umsg_vlan_port_t", sizeof(umsg_vlan_port_t), VLAN_PORT_FIELDS};
constexpr BodyLayout IP{"umsg_ip_t", sizeof(umsg_ip_t), IP_FIELDS};
constexpr BodyLayout HOST{"umsg_host_t", sizeof(umsg_host_t), HOST_FIELDS};
constexpr BodyLayout TRUNK{"umsg_trunk_t", sizeof(umsg_trunk_t), TRUNK_FIELDS};
constexpr BodyLayout PROTECT{"umsg_protect_group_t", sizeof(umsg_protect_group_t), PROTECT_FIELDS};
constexpr BodyLayout ONU{"umsg_onu_op_t", sizeof(umsg_onu_op_t), ONU_FIELDS};
constexpr BodyLayout CARD{"umsg_card_t", sizeof(umsg_card_t), CARD_FIELDS};
constexpr BodyLayout SYNC{"umsg_cfg_sync_t", sizeof(umsg_cfg_sync_t), SYNC_FIELDS};
constexpr BodyLayout GPON{"umsg_gpon_t", sizeof(umsg_gpon_t), GPON_FIELDS};
constexpr BodyLayout PORT_QOS{"umsg_port_qos_t", sizeof(umsg_port_qos_t), PORT_QOS_FIELDS};
constexpr BodyLayout SAVE{"umsg_snmp_save_req_t", sizeof(umsg_snmp_save_req_t), SAVE_FIELDS};
constexpr BodyLayout LOOPDETECT{"umsg_loopdetect_t", sizeof(umsg_loopdetect_t), LOOPDETECT_FIELDS};

#define TYPE(name, event, request)                                                                           \
    { name, #name, event, request }

// In the order of their numbers.
constexpr MessageType TYPES[] = {
    TYPE(UMSG_REPLY, nullptr, nullptr),
    TYPE(UMSG_GET_IF, nullptr, &WORD),
    TYPE(UMSG_NEW_IF, &IF, &IF),
    TYPE(UMSG_DEL_IF, &IF, &IF),
    TYPE(UMSG_IF_ADMIN, &IF, nullptr),
    TYPE(UMSG_IF_STATUS, &IF, nullptr),
    TYPE(UMSG_IP4_ADDRESS, nullptr, nullptr),
    TYPE(UMSG_VLAN_NEW, &VLAN, nullptr),
    TYPE(UMSG_VLAN_DEL, &VLAN, nullptr),
    TYPE(UMSG_VLAN_PORT, &VLAN_PORT, nullptr),
    TYPE(UMSG_IP_ADD, &IP, nullptr),
    TYPE(UMSG_IP_DEL, &IP, nullptr),
    TYPE(UMSG_IP_UPDATE, &IP, nullptr),
    TYPE(UMSG_ROUTE_ADD, nullptr, nullptr),
    TYPE(UMSG_ROUTE_DEL, nullptr, nullptr),
    TYPE(UMSG_ROUTE_RECOVERY, nullptr, nullptr),
    TYPE(UMSG_AUTH, nullptr, nullptr),
    TYPE(UMSG_LOGIN, nullptr, nullptr),
    TYPE(UMSG_BSP_CHECK, nullptr, nullptr),
    TYPE(UMSG_SSH_PUB_KEY_CHECK, nullptr, nullptr),
    TYPE(UMSG_GET_USER_ENTRY, nullptr, nullptr),
    TYPE(UMSG_ADD_USER_ENTRY, nullptr, nullptr),
    TYPE(UMSG_DEL_USER_ENTRY, nullptr, nullptr),
    TYPE(UMSG_SET_USER_PRIV, nullptr, nullptr),
    TYPE(UMSG_COLLECT_LC_LOG, nullptr, nullptr),
    TYPE(UMSG_SET_TIME, nullptr, nullptr),
    TYPE(UMSG_RESTART, nullptr, nullptr),
    TYPE(UMSG_HOST, &HOST, nullptr),
    TYPE(UMSG_GET_HOSTNAME, nullptr, &WORD),
    TYPE(UMSG_GET_MGMTIP, nullptr, nullptr),
    TYPE(UMSG_TIMEOUT, nullptr, nullptr),
    TYPE(UMSG_GET_TIMEOUT, nullptr, nullptr),
    TYPE(UMSG_HTTP, nullptr, nullptr),
    TYPE(UMSG_START_FINISH, nullptr, nullptr),
    TYPE(UMSG_IF_LOOPDETECT, nullptr, &LOOPDETECT),
    TYPE(UMSG_TRUNK_SET, &TRUNK, &TRUNK),
    TYPE(UMSG_TRUNK_ADD, nullptr, nullptr),
    TYPE(UMSG_TRUNK_DEL, nullptr, nullptr),
    TYPE(UMSG_GPON_REDIST, &GPON, nullptr),
    TYPE(UMSG_STDOUT_REDIRECT, nullptr, nullptr),
    TYPE(UMSG_PROTECT_GROUP_ADD, &PROTECT, &PROTECT),
    TYPE(UMSG_PROTECT_GROUP_DEL, &PROTECT, &PROTECT),
    TYPE(UMSG_ONU_STATUS_NOTIFY, &ONU, &ONU),
    TYPE(UMSG_GET_SLOT_INFO, nullptr, nullptr),
    TYPE(UMSG_GET_SLOT_INFO_SLOT_TYPE, nullptr, nullptr),
    TYPE(UMSG_SLOT_ADD, &CARD, nullptr),
    TYPE(UMSG_SLOT_REMOVE, &CARD, nullptr),
    TYPE(UMSG_SLOT_ACTIVE, &CARD, nullptr),
    TYPE(UMSG_SLOT_DEACTIVE, &CARD, nullptr),
    TYPE(UMSG_CFG_SLOT_SYNC_START, &SYNC, nullptr),
    TYPE(UMSG_CFG_SLOT_SYNC_END, &SYNC, nullptr),
    TYPE(UMSG_CFG_APP_SYNC_PRIO, nullptr, &SYNC),
    TYPE(UMSG_CFG_APP_NOTIFY_RECOVER_RESULT, nullptr, &SYNC),
    TYPE(UMSG_CFG_SC_SWITCH_2_ACTIVE_START, &CARD, nullptr),
    TYPE(UMSG_CFG_SC_SWITCH_2_ACTIVE_END, &CARD, nullptr),
    TYPE(UMSG_CONFIG_RECOVERY_FINISH, nullptr, nullptr),
    TYPE(UMSG_START_SNMP_AGENTX, &NO_BODY, nullptr),
    TYPE(UMSG_MONO_REPORT_SLOG_CFG_SYNC_START, nullptr, nullptr),
    TYPE(UMSG_MONO_REPORT_SLOG_CFG_SYNC_DONE, nullptr, nullptr),
    TYPE(UMSG_MONO_REPORT_APP_READY, nullptr, nullptr),
    TYPE(UMSG_GET_EQPT_SLOT_INFO, nullptr, nullptr),
    TYPE(UMSG_EQPT_SLOT_UPDATE_ACTIVE_SC, nullptr, nullptr),
    TYPE(UMSG_EQPT_PORT_ADD, nullptr, nullptr),
    TYPE(UMSG_EQPT_PORT_REMOVE, nullptr, nullptr),
    TYPE(UMSG_EQPT_SLOT_RECOVER_START, nullptr, nullptr),
    TYPE(UMSG_EQPT_SLOT_RECOVER_FINISH, nullptr, nullptr),
    TYPE(UMSG_EQPT_MONO_RECOVER_FINISH, nullptr, nullptr),
    TYPE(UMSG_EQPT_MONO_SLOT_ADD, nullptr, nullptr),
    TYPE(UMSG_EQPT_MONO_SLOT_DELETE, nullptr, nullptr),
    TYPE(UMSG_EQPT_MONO_SLOT_ACTIVE, nullptr, nullptr),
    TYPE(UMSG_EQPT_MONO_SLOT_DEACTIVE, nullptr, nullptr),
    TYPE(UMSG_EQPT_MONO_HA_SLOT_ACTIVE, nullptr, nullptr),
    TYPE(UMSG_EQPT_MONO_HA_SC_CFG_RECOVERY, nullptr, nullptr),
    TYPE(UMSG_EQPT_MONO_CREATE_MGMT_VLAN, nullptr, nullptr),
    TYPE(UMSG_EQPT_MONO_MGMT_IP, nullptr, nullptr),
    TYPE(UMSG_EQPT_MONO_OPTICAL, nullptr, nullptr),
    TYPE(UMSG_PORT_SCHEDULER_SET, nullptr, &PORT_QOS),
    TYPE(UMSG_EQPT_MONO_OPTICAL_THRESHOLD_ADD, nullptr, nullptr),
    TYPE(UMSG_EQPT_MONO_OPTICAL_THRESHOLD_DEF, nullptr, nullptr),
    TYPE(UMSG_EQPT_MONO_HOSTNAME, nullptr, nullptr),
    TYPE(UMSG_SNMP_MIB_TABLE_SAVE, &SAVE, &SAVE),
    TYPE(UMSG_SNMP_GET_AAA_INFO, nullptr, nullptr),
};
#undef TYPE
#undef FIELD
static_assert(std::size(TYPES) == UMSG_MAX);

constexpr uint32_t FLAG_UP = 0x1;
constexpr uint32_t FLAG_RUNNING = 0x40;
constexpr unsigned MAX_VLAN = 4095;
constexpr std::string_view HEX_PREFIX = "hex:";

std::optional<uint32_t> parse_flags(std::string_view text) {
    if (auto number = parse_u32(text))
        return number;
    uint32_t flags = 0;
    for (;;) {
        const size_t plus = text.find('+');
        const std::string_view word = text.substr(0, plus);
        if (word == "up")
            flags |= FLAG_UP;
        else if (word == "running")
            flags |= FLAG_RUNNING;
        else
            return {};
        if (plus == std::string_view::npos)
            return flags;
        text.remove_prefix(plus + 1);
    }
}

bool parse_vlans(std::string_view text, uint8_t* bits) {
    while (!text.empty()) {
        const size_t comma = text.find(',');
        const std::string_view range = text.substr(0, comma);
        const size_t dash = range.find('-');
        const auto first = parse_u32(range.substr(0, dash));
        const auto last = dash == std::string_view::npos ? first : parse_u32(range.substr(dash + 1));
        if (!first || !last || *first > *last || *last > MAX_VLAN)
            return false;
        for (uint32_t vlan = *first; vlan <= *last; ++vlan)
            bits[vlan / 8] = static_cast<uint8_t>(bits[vlan / 8] | 1u << (vlan % 8));
        text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
    }
    return true;
}

std::string vlans_text(const uint8_t* bits) {
    const auto has = [bits](unsigned vlan) {
        return vlan <= MAX_VLAN && (bits[vlan / 8] >> (vlan % 8) & 1) != 0;
    };
    std::string text;
    for (unsigned vlan = 0; vlan <= MAX_VLAN; ++vlan) {
        if (!has(vlan))
            continue;
        const unsigned first = vlan;
        while (has(vlan + 1))
            ++vlan;
        text += text.empty() ? "" : ",";
        text += first == vlan ? std::to_string(first) : format("%u-%u", first, vlan);
    }
    return text;
}

// Text, or the bytes behind "hex:", filled up with zeros; limit leaves room for a terminator.
bool put_bytes(std::string_view value, uint8_t* at, size_t limit) {
    std::vector<uint8_t> bytes(value.begin(), value.end());
    if (value.starts_with(HEX_PREFIX)) {
        auto parsed = parse_hex(value.substr(HEX_PREFIX.size()));
        if (!parsed)
            return false;
        bytes = std::move(*parsed);
    }
    if (bytes.size() > limit)
        return false;
    std::copy(bytes.begin(), bytes.end(), at);
    return true;
}

template <typename T>
bool put_number(std::optional<T> value, uint8_t* at) {
    if (!value)
        return false;
    daemon_order::store(*value, at);
    return true;
}

std::optional<uint16_t> parse_u16(std::string_view text) {
    const auto value = parse_u32(text);
    if (!value || *value > 0xFFFF)
        return {};
    return static_cast<uint16_t>(*value);
}

bool put_field(const Field& field, std::string_view value, uint8_t* at) {
    switch (field.kind) {
    case FieldKind::U16:
        return put_number(parse_u16(value), at);
    case FieldKind::U32:
        return put_number(parse_u32(value), at);
    case FieldKind::I32:
        return put_number(parse_i32(value), at);
    case FieldKind::FLAGS:
        return put_number(parse_flags(value), at);
    case FieldKind::IFINDEX: {
        const auto port = ifindex_of_port(value);
        return put_number(port ? port : parse_u32(value), at);
    }
    case FieldKind::TEXT:
        // hex: may fill the field to its last byte, for tests of texts that aren't terminated
        return put_bytes(value, at, value.starts_with(HEX_PREFIX) ? field.size : field.size - 1u);
    case FieldKind::OCTETS:
        return put_bytes(value, at, field.size);
    case FieldKind::VLANS:
        return parse_vlans(value, at);
    }
    return false;
}

std::string bytes_text(const uint8_t* at, size_t size) {
    const size_t len = strnlen(reinterpret_cast<const char*>(at), size);
    const bool plain = std::all_of(at, at + len, [](uint8_t c) { return c >= 32 && c < 127; }) &&
                       std::all_of(at + len, at + size, [](uint8_t c) { return c == 0; });
    if (plain)
        return {reinterpret_cast<const char*>(at), len};
    return std::string(HEX_PREFIX) + to_hex({at, size});
}

std::string field_text(const Field& field, const uint8_t* at) {
    switch (field.kind) {
    case FieldKind::U16:
        return std::to_string(daemon_order::load<uint16_t>(at));
    case FieldKind::U32:
        return std::to_string(daemon_order::load<uint32_t>(at));
    case FieldKind::I32:
        return std::to_string(daemon_order::load<int32_t>(at));
    case FieldKind::FLAGS:
    case FieldKind::IFINDEX:
        return format("0x%08x", daemon_order::load<uint32_t>(at));
    case FieldKind::TEXT:
    case FieldKind::OCTETS:
        return bytes_text(at, field.size);
    case FieldKind::VLANS:
        return vlans_text(at);
    }
    return {};
}

const Field* find_field(const BodyLayout& layout, std::string_view name) {
    for (const Field& field : layout.fields) {
        if (name == field.name)
            return &field;
    }
    return nullptr;
}

std::string lower_name(std::string_view name) {
    std::string text(name);
    for (char& c : text)
        c = c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text.starts_with("umsg-") ? text.substr(5) : text;
}

} // namespace

std::span<const MessageType> all_messages() {
    return TYPES;
}

const MessageType* find_message(uint8_t number) {
    return number < std::size(TYPES) ? &TYPES[number] : nullptr;
}

const MessageType* find_message(std::string_view name) {
    if (const auto number = parse_u32(name))
        return *number < std::size(TYPES) ? &TYPES[*number] : nullptr;
    const std::string wanted = lower_name(name);
    for (const MessageType& type : TYPES) {
        if (wanted == lower_name(type.name))
            return &type;
    }
    return nullptr;
}

std::string short_name(const MessageType& type) {
    return lower_name(type.name);
}

bool encode_body(const BodyLayout& layout, const Fields& values, std::vector<uint8_t>& body,
                 std::string& error) {
    body.assign(layout.size, 0);
    for (const auto& [name, value] : values) {
        const Field* field = find_field(layout, name);
        if (!field) {
            error = format("%s has no field \"%s\"", layout.name, name.c_str());
            return false;
        }
        if (!put_field(*field, value, body.data() + field->offset)) {
            error = format("bad value for %s: \"%s\"", name.c_str(), value.c_str());
            return false;
        }
    }
    const auto port = values.find("ifindex");
    const Field* name = find_field(layout, "name");
    if (port != values.end() && name && !values.contains("name") && ifindex_of_port(port->second))
        put_field(*name, port->second, body.data() + name->offset);
    return true;
}

NamedValues decode_body(const BodyLayout& layout, std::span<const uint8_t> body) {
    NamedValues values;
    for (const Field& field : layout.fields) {
        const uint8_t* at = body.data() + field.offset;
        values.emplace_back(field.name, field_text(field, at));
        if (field.kind != FieldKind::IFINDEX)
            continue;
        const std::string name = field.name;
        if (std::string port = port_of_ifindex(daemon_order::load<uint32_t>(at)); !port.empty())
            values.emplace_back(name.substr(0, name.rfind("ifindex")) + "port", std::move(port));
    }
    return values;
}

const Field* unterminated_text(const BodyLayout& layout, std::span<const uint8_t> body) {
    for (const Field& field : layout.fields) {
        if (field.kind == FieldKind::TEXT && !std::memchr(body.data() + field.offset, 0, field.size))
            return &field;
    }
    return nullptr;
}
