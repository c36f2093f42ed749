#include "card_rules.h"

#include <cstddef>

#include "card_qos.h"
#include "home_rules.h"
#include "text.h"

namespace {

constexpr uint16_t ONU = 903;
constexpr uint16_t TCONT = 908;
constexpr uint16_t GEMPORT = 909;
constexpr uint32_t ONUS_PER_PON = 128;

CardRefusal refuse(const char* reason, const char* name, uint32_t value, uint32_t retcode = CARD_ERROR) {
    return {reason, retcode, format("%s=0x%x", name, value)};
}

uint32_t owner_word(const CardRequest& request) {
    return get_be32(request.record, request.message->owner_at);
}

bool is_read(uint32_t action) {
    return action == card_action::GET || action == card_action::GET_CURRENT;
}

std::optional<CardRefusal> check_owner(const CardRequest& request, uint32_t slot) {
    const CardMessage& message = *request.message;
    if (message.owner == CardOwner::EVERY_CARD || is_template(request))
        return {};
    const uint32_t word = owner_word(request);
    if (message.owner == CardOwner::SLOT_WORD)
        return word == 0 || word == slot ? std::nullopt : std::optional(refuse("other-slot", "slot", word));
    if (message.owner == CardOwner::OWN_SLOT)
        return word == slot ? std::nullopt : std::optional(refuse("other-slot", "slot", word));
    return slot_of(word) == slot ? std::nullopt : std::optional(refuse("other-slot", "ifindex", word));
}

std::optional<CardRefusal> check_index(const CardRequest& request) {
    const CardMessage& message = *request.message;
    if (message.kind == 0)
        return {};
    const uint32_t index = owner_word(request);
    if (kind_of(index) != message.kind)
        return refuse("index-kind", "ifindex", index);
    if (message.kind >= index_kind::ONU && !is_template(request) && onu_number_of(index) > ONUS_PER_PON)
        return refuse("index-range", "ifindex", index);
    return {};
}

std::optional<CardRefusal> check_mask(const CardRequest& request) {
    // The bit behind the last attribute stands for columns without one; cards take no notice of it.
    const size_t bits = request.message->attributes.size() + 1;
    if (request.action != card_action::SET || bits == 1 || bits >= 32 || request.mask >> bits == 0)
        return {};
    return refuse("mask", "mask", request.mask);
}

// The T-CONTs and GEM ports of an ONU that is bound to a service profile are those of the profile's template;
// they have no objects of their own.
bool profile_provides(const CardObjects& objects, uint32_t index) {
    const auto* onu = objects.find(ONU, onu_of(index));
    return onu && get_be32(*onu, offsetof(ov_gpon_onu_attr_t, srvProfileId)) != 0;
}

bool has_parent(const CardRequest& request, const CardObjects& objects) {
    const auto record = request.record;
    const uint32_t index = owner_word(request);
    const bool own_onu = is_template(request) || objects.find(ONU, onu_of(index));
    switch (request.message->parent) {
    case CardParent::NONE:
        return true;
    case CardParent::ONU:
        return own_onu;
    case CardParent::TCONT:
        return own_onu && (profile_provides(objects, index) ||
                           objects.find(TCONT, onu_of(index),
                                        get_be32(record, offsetof(ov_gpon_gemport_attr_t, tcontId))));
    case CardParent::GEM: {
        const uint32_t gem = get_be32(record, offsetof(ov_gpon_service_port_attr_t, gemIfndex));
        return own_onu && (profile_provides(objects, index) || objects.find(GEMPORT, gem));
    }
    case CardParent::GEM_PORT:
        return own_onu && has_gem_port(objects, index);
    }
    return true;
}

// A set of a GEM or service port that doesn't touch the parent may leave it 0.
bool names_parent(const CardRequest& request) {
    if (request.action != card_action::SET)
        return true;
    constexpr uint32_t GEM_TCONT_BIT = 1u << OV_GPON_GEMPORT_ATTR_INDEX_tcontId;
    constexpr uint32_t SERVPORT_GEM_BIT = 1u << OV_GPON_SERVICE_PORT_ATTR_INDEX_gemIfndex;
    if (request.message->parent == CardParent::TCONT)
        return request.mask & GEM_TCONT_BIT;
    if (request.message->parent == CardParent::GEM)
        return request.mask & SERVPORT_GEM_BIT;
    return true;
}

std::optional<CardRefusal> check_parent(const CardRequest& request, const CardObjects& objects) {
    const bool tied =
        request.message->parent == CardParent::TCONT || request.message->parent == CardParent::GEM;
    if (request.action == card_action::DELETE || (tied && is_read(request.action)) || !names_parent(request))
        return {};
    if (has_parent(request, objects))
        return {};
    return refuse("missing-parent", "ifindex", owner_word(request), CARD_NOT_FOUND);
}

std::optional<CardRefusal> check_children(const CardRequest& request, const CardObjects& objects) {
    if (request.action != card_action::DELETE)
        return {};
    const uint16_t number = request.message->number;
    const bool used = (number == TCONT &&
                       objects.tcont_is_used(get_be32(request.record, 0), get_be32(request.record, 4))) ||
                      (number == GEMPORT && objects.gem_is_used(get_be32(request.record, 0)));
    return used ? std::optional(refuse("has-children", "ifindex", get_be32(request.record, 0)))
                : std::nullopt;
}

std::optional<CardRefusal> check_use(const CardRequest& request, const CardObjects& objects) {
    if (request.message->use == CardUse::COMMAND && is_read(request.action))
        return refuse("not-readable", "action", request.action);
    const bool needs_object = is_read(request.action) || request.action == card_action::SET;
    if (request.message->use == CardUse::DEFINED && needs_object &&
        !objects.find(*request.message, request.record))
        return refuse("not-found", "first_word", get_be32(request.record, 0), CARD_NOT_FOUND);
    return {};
}

} // namespace

bool has_gem_port(const CardObjects& objects, uint32_t index) {
    return profile_provides(objects, index) || objects.find(GEMPORT, index);
}

bool is_template(const CardRequest& request) {
    return request.message->owner == CardOwner::SHARED_INDEX && slot_of(owner_word(request)) == TEMPLATE_SLOT;
}

std::optional<CardRefusal> check_card_rules(const CardRequest& request, uint32_t slot,
                                            const CardObjects& objects) {
    if (request.message->use == CardUse::PLAIN)
        return check_qos(request, slot, objects);
    for (const auto& check : {check_index, check_mask}) {
        if (auto refusal = check(request))
            return refusal;
    }
    if (auto refusal = check_owner(request, slot))
        return refusal;
    for (const auto& check : {check_parent, check_use, check_references, check_children}) {
        if (auto refusal = check(request, objects))
            return refusal;
    }
    return check_qos(request, slot, objects);
}
