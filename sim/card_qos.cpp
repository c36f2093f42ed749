#include "card_qos.h"

#include <algorithm>
#include <cstring>

#include "ov_hal_gpon_attr_index.h"
#include "text.h"
#include "told.h"

namespace {

constexpr uint16_t ONU = 903;
constexpr uint16_t ONU_TYPE = 906;
constexpr uint16_t SERVPORT = 910;
constexpr uint16_t ONU_QOS = 921;
constexpr uint16_t PORT_QOS = 717;
constexpr uint32_t QUEUES = 8;
constexpr uint32_t NO_MAPPING = 8;
constexpr uint32_t SIMPLE = 1;
constexpr uint32_t HIERARCHY = 2;
constexpr uint32_t NO_LIMIT = 0xffffffff;
constexpr uint32_t BANDWIDTH_MAX = 100000000; // kbit/s

using Refusal = std::optional<CardRefusal>;

CardRefusal refuse(const char* reason, const char* name, uint32_t value, uint32_t retcode = CARD_NOT_FOUND) {
    return {reason, retcode, format("%s=%u", name, value)};
}

// ---- the four kinds of profile ----------------------------------------------------------------------------

// The eight values behind the id: numbers from first to last.
struct ValueRange {
    uint32_t first;
    uint32_t last;
};

struct ProfileKind {
    uint16_t put; // message that adds one; the next number deletes it
    const char* name;
    uint32_t last_id;
    ValueRange values;
    const char* unknown; // reason of a refusal
};

constexpr ProfileKind COSQ_MAP = {708, "cosq-map", 7, {0, 7}, "no-cosq-map"};
constexpr ProfileKind SCHED = {710, "sched", 16, {1, 4}, "no-sched"};
constexpr ProfileKind TRAFFIC = {712, "traffic", 128, {0, NO_LIMIT}, "no-traffic"};
constexpr ProfileKind COS_TO_COS = {718, "cos-to-cos", 7, {0, 7}, "no-cos-to-cos"};
constexpr const ProfileKind* KINDS[] = {&COSQ_MAP, &SCHED, &TRAFFIC, &COS_TO_COS};

const ProfileKind* kind_of_message(uint16_t number) {
    const auto* const found = std::ranges::find_if(
        KINDS, [number](const ProfileKind* kind) { return number == kind->put || number == kind->put + 1; });
    return found == std::end(KINDS) ? nullptr : *found;
}

bool is_default(const ProfileKind& kind, uint32_t id) {
    constexpr uint32_t FIRST_DEFAULT_MAP = 5;
    const bool is_mapping = &kind == &COSQ_MAP || &kind == &COS_TO_COS;
    return id == 0 || (&kind == &COSQ_MAP && id >= FIRST_DEFAULT_MAP && id < NO_MAPPING) ||
           (is_mapping && id == NO_MAPPING);
}

Refusal check_known(const ProfileKind& kind, uint32_t id, const CardObjects& objects) {
    if (is_default(kind, id) || objects.find(kind.put, id) != nullptr)
        return {};
    return refuse(kind.unknown, "profile", id);
}

uint32_t word_of(std::span<const uint8_t> record, uint32_t word) {
    return get_be32(record, word * 4);
}

Refusal check_bandwidths(std::span<const uint8_t> record) {
    for (uint32_t queue = 0; queue < QUEUES; ++queue) {
        const uint32_t most = word_of(record, 1 + queue);
        const uint32_t least = word_of(record, 1 + QUEUES + queue);
        if (least > most || least > BANDWIDTH_MAX || (most > BANDWIDTH_MAX && most != NO_LIMIT))
            return refuse("value", "queue", queue, CARD_BAD_PARAM);
    }
    return {};
}

Refusal check_weights(std::span<const uint8_t> record) {
    constexpr uint32_t WEIGHT_MAX = 127;
    for (uint32_t queue = 0; queue < QUEUES; ++queue)
        if (word_of(record, 1 + QUEUES + queue) > WEIGHT_MAX)
            return refuse("value", "queue", queue, CARD_BAD_PARAM);
    return {};
}

Refusal check_profile(const ProfileKind& kind, std::span<const uint8_t> record) {
    const uint32_t id = word_of(record, 0);
    if (id > kind.last_id)
        return refuse("value", "id", id, CARD_BAD_PARAM);
    for (uint32_t queue = 0; queue < QUEUES; ++queue)
        if (const uint32_t value = word_of(record, 1 + queue);
            value < kind.values.first || value > kind.values.last)
            return refuse("value", "queue", queue, CARD_BAD_PARAM);
    return &kind == &TRAFFIC ? check_bandwidths(record) : &kind == &SCHED ? check_weights(record) : Refusal();
}

// ---- who names profiles -----------------------------------------------------------------------------------

// One id in the records of a message, and the bit of the mask that stands for it.
struct Reference {
    uint16_t kept_as;
    uint16_t plain; // the message that sets just this; 0: the mask says so
    int bit;
    size_t offset;
    const ProfileKind* kind;
};

constexpr size_t PORT_COS_TO_COS = offsetof(ov_hal_msg_port_qos_t, cos_to_cos_profile);

constexpr Reference REFERENCES[] = {
    {PORT_QOS, 714, 0, offsetof(ov_hal_msg_port_qos_t, cosq_map), &COSQ_MAP},
    {PORT_QOS, 715, 0, offsetof(ov_hal_msg_port_qos_t, qos_sched), &SCHED},
    {PORT_QOS, 716, 0, offsetof(ov_hal_msg_port_qos_t, qos_traffic), &TRAFFIC},
    {PORT_QOS, 720, 0, PORT_COS_TO_COS, &COS_TO_COS},
    {PORT_QOS, 720, 0, PORT_COS_TO_COS + 4, &COS_TO_COS},
    {ONU_QOS, 0, OV_GPON_ONU_QOS_ATTR_INDEX_trafficProfile, offsetof(ov_gpon_onu_qos_attr_t, trafficProfile),
     &TRAFFIC},
    {ONU_QOS, 0, OV_GPON_ONU_QOS_ATTR_INDEX_shedProfile, offsetof(ov_gpon_onu_qos_attr_t, shedProfile),
     &SCHED},
    {ONU_QOS, 0, OV_GPON_ONU_QOS_ATTR_INDEX_cosqProfile, offsetof(ov_gpon_onu_qos_attr_t, cosq_map_profile),
     &COSQ_MAP},
    {ONU_QOS, 0, OV_GPON_ONU_QOS_ATTR_INDEX_downlink_cos_to_cos_Profile,
     offsetof(ov_gpon_onu_qos_attr_t, cos_to_cos_profile), &COS_TO_COS},
    {SERVPORT, 0, OV_GPON_SERVICE_PORT_ATTR_INDEX_cos_to_cos,
     offsetof(ov_gpon_service_port_attr_t, cos_to_cos_profile), &COS_TO_COS},
    {SERVPORT, 0, OV_GPON_SERVICE_PORT_ATTR_INDEX_cosq_map, offsetof(ov_gpon_service_port_attr_t, cosq_map),
     &COSQ_MAP},
};

// Of a service port whose queue isn't chosen by a mapping.
constexpr uint32_t QUEUE_COUNTS = 0xffffffff;

uint32_t id_in(const Reference& reference, std::span<const uint8_t> record) {
    const uint32_t id = get_be32(record, reference.offset);
    return id == QUEUE_COUNTS && reference.kept_as == SERVPORT ? 0 : id;
}

bool sets(const CardRequest& request, const Reference& reference) {
    if (reference.kept_as != request.message->kept_as)
        return false;
    if (reference.plain != 0)
        return reference.plain == request.message->number;
    return request.action == card_action::CREATE || request.mask >> reference.bit & 1;
}

// Queues of the ONU's type; of a type that the card doesn't know, all.
uint32_t downstream_queues(const CardObjects& objects, uint32_t onu_index) {
    const auto* onu = objects.find(ONU, onu_index);
    if (onu == nullptr)
        return QUEUES;
    const auto record = record_of<ov_gpon_onu_attr_t>(*onu);
    for (const auto& [key, bytes] : objects.table(ONU_TYPE))
        if (const auto type = record_of<ov_gpon_onutype_attr_t>(bytes);
            strncmp(type.name, record.typeProfile, sizeof type.name) == 0)
            return type.downQueueNum;
    return QUEUES;
}

Refusal check_queues(const CardRequest& request, uint32_t mapping, const CardObjects& objects) {
    const auto* told = objects.find(COSQ_MAP.put, mapping);
    if (request.message->number != ONU_QOS || told == nullptr || is_default(COSQ_MAP, mapping))
        return {};
    const uint32_t queues = downstream_queues(objects, word_of(request.record, 0));
    for (uint32_t cos = 0; cos < QUEUES; ++cos)
        if (const uint32_t queue = word_of(*told, 1 + cos); queue >= queues)
            return refuse("no-such-queue", "queue", queue);
    return {};
}

Refusal check_binding(const CardRequest& request, const CardObjects& objects) {
    for (const Reference& reference : REFERENCES) {
        if (!sets(request, reference))
            continue;
        const uint32_t id = id_in(reference, request.record);
        if (auto refusal = check_known(*reference.kind, id, objects))
            return refusal;
        if (reference.kind == &COSQ_MAP)
            if (auto refusal = check_queues(request, id, objects))
                return refusal;
    }
    return {};
}

// ---- deletion ---------------------------------------------------------------------------------------------

bool names(const Reference& reference, std::span<const uint8_t> record, uint32_t id) {
    return slot_of(get_be32(record, 0)) != TEMPLATE_SLOT && id_in(reference, record) == id;
}

bool is_bound(const ProfileKind& kind, uint32_t id, const CardObjects& objects) {
    return !is_default(kind, id) && std::ranges::any_of(REFERENCES, [&](const Reference& reference) {
        return reference.kind == &kind &&
               std::ranges::any_of(objects.table(reference.kept_as),
                                   [&](auto& held) { return names(reference, held.second, id); });
    });
}

// ---- ports ------------------------------------------------------------------------------------------------

Refusal check_port(const CardRequest& request, uint32_t slot) {
    const auto port = record_of<ov_hal_msg_port_qos_t>(request.record);
    if (kind_of(port.ifindex) == index_kind::PON && slot_of(port.ifindex) != slot)
        return CardRefusal{"other-slot", CARD_ERROR, format("ifindex=0x%x", port.ifindex.value())};
    if (request.message->number == PORT_QOS && (port.qos_model < SIMPLE || port.qos_model > HIERARCHY))
        return refuse("value", "qos_model", port.qos_model, CARD_BAD_PARAM);
    return {};
}

ov_hal_msg_port_qos_t port_without_profiles(uint32_t ifindex, uint32_t model) {
    ov_hal_msg_port_qos_t port = {};
    port.ifindex = ifindex;
    port.qos_model = model;
    return port;
}

void put_port(CardObjects& objects, const ov_hal_msg_port_qos_t& port) {
    objects.put(*find_card_message(PORT_QOS), {reinterpret_cast<const uint8_t*>(&port), sizeof port});
}

void forget_onus_of(CardObjects& objects, uint32_t port) {
    std::vector<CardObjects::Bytes> gone;
    for (const auto& [key, held] : objects.table(ONU_QOS))
        if (pon_of(get_be32(held, 0)) == port)
            gone.push_back(held);
    for (const auto& held : gone)
        objects.remove(*find_card_message(ONU_QOS), held);
}

} // namespace

Refusal check_qos(const CardRequest& request, uint32_t slot, const CardObjects& objects) {
    const CardMessage& message = *request.message;
    if (const ProfileKind* kind = kind_of_message(message.number)) {
        const uint32_t id = word_of(request.record, 0);
        if (request.action != card_action::DELETE)
            return check_profile(*kind, request.record);
        return is_bound(*kind, id, objects) ? Refusal(refuse("in-use", "profile", id, CARD_ERROR))
                                            : Refusal();
    }
    if (is_port_qos(message))
        if (auto refusal = check_port(request, slot))
            return refusal;
    const bool writes = request.action == card_action::CREATE || request.action == card_action::SET;
    if (!writes || slot_of(word_of(request.record, 0)) == TEMPLATE_SLOT)
        return {};
    return check_binding(request, objects);
}

bool is_port_qos(const CardMessage& message) {
    return message.kept_as == PORT_QOS;
}

void change_port_qos(CardObjects& objects, const CardRequest& request) {
    const auto told = record_of<ov_hal_msg_port_qos_t>(request.record);
    const auto* held = objects.find(PORT_QOS, told.ifindex);
    if (held == nullptr)
        put_port(objects, port_without_profiles(told.ifindex, SIMPLE));
    const uint32_t before = held ? record_of<ov_hal_msg_port_qos_t>(*held).qos_model.value() : SIMPLE;
    if (request.message->number == PORT_QOS && told.qos_model != before) {
        if (told.qos_model == HIERARCHY)
            put_port(objects, port_without_profiles(told.ifindex, HIERARCHY));
        else
            forget_onus_of(objects, told.ifindex);
    }
    objects.set(*request.message, request.mask, request.record);
}
