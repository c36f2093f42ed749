#include "qinq_rules.h"

#include <algorithm>

#include "text.h"
#include "told.h"

namespace {

constexpr uint32_t ADD = 1u << OV_GPON_QINQ_ATTR_INDEX_add;
constexpr uint32_t DELETE = 1u << OV_GPON_QINQ_ATTR_INDEX_del;
constexpr uint32_t RULES_OF_AN_INTERFACE = 32;

bool is_other_rule(const CardRequest& request, const CardObjects& objects) {
    const auto* held = objects.find(*request.message, request.record);
    return held && !std::ranges::equal(*held, request.record);
}

void forget(CardObjects& objects, uint16_t number, uint32_t port_index) {
    const auto of_port = [port_index](const auto& rule) {
        return pon_of(get_be32(rule.second, 0)) == port_index;
    };
    std::vector<CardObjects::Bytes> rules;
    for (const auto& rule : objects.table(number))
        if (of_port(rule))
            rules.push_back(rule.second);
    for (const auto& rule : rules)
        objects.remove(*find_card_message(number), rule);
}

} // namespace

bool is_qinq(const CardMessage& message) {
    return message.number == OV_HAL_MSG_GPON_PORT_QINQ || message.number == OV_HAL_MSG_GPON_ONU_QINQ;
}

bool is_qinq_delete(const CardRequest& request) {
    return is_qinq(*request.message) && request.mask == DELETE;
}

std::optional<CardRefusal> check_qinq(const CardRequest& request, const CardObjects& objects) {
    if (request.action != card_action::SET)
        return CardRefusal{"qinq-action", CARD_BAD_PARAM, "action=" + card_action_name(request.action)};
    if (request.mask != ADD && request.mask != DELETE)
        return CardRefusal{"mask", CARD_ERROR, format("mask=0x%x", request.mask)};
    const auto rule = record_of<ov_gpon_qinq_attr_t>(request.record);
    const uint32_t id = rule.qinqId;
    if (id < 1 || id > RULES_OF_AN_INTERFACE)
        return CardRefusal{"rule-id", CARD_BAD_PARAM, format("qinqId=%u", id)};
    if (request.mask == ADD && is_other_rule(request, objects))
        return CardRefusal{"exists", CARD_ERROR, format("qinqId=%u", id)};
    return {};
}

void forget_qinq_of_port(CardObjects& objects, uint32_t port_index) {
    forget(objects, OV_HAL_MSG_GPON_PORT_QINQ, port_index);
    forget(objects, OV_HAL_MSG_GPON_ONU_QINQ, port_index);
}
