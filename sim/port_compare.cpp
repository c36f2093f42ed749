#include "port_compare.h"

#include <map>
#include <string_view>

#include "card_fields.h"
#include "card_frame.h"
#include "ov_hal_gpon_msg.h"
#include "port_name.h"

namespace {

bool is_on(uint32_t port, uint32_t index) {
    const uint32_t kind = kind_of(index);
    const bool is_known = kind == index_kind::PON || kind == index_kind::ONU || kind == index_kind::GEM ||
                          kind == index_kind::SERVPORT;
    return is_known && pon_of(index) == port;
}

// The fields of an object of the port, as text, with the port out of them.
using Described = std::map<std::string, std::string>;

std::string described(const HalFieldDesc& field, std::span<const uint8_t> bytes, uint32_t port) {
    if (field.kind == HalFieldKind::IFINDEX && is_on(port, get_be32(bytes, 0)))
        return std::to_string(kind_of(get_be32(bytes, 0))) + "/" +
               std::to_string(get_be32(bytes, 0) & 0x7FFF);
    return card_value_text(field, bytes);
}

Described described(const CardMessage& message, const CardObjects::Bytes& object, uint32_t port) {
    Described fields;
    const uint32_t index = get_be32(object, message.owner_at);
    walk_card_fields(*message.record,
                     [&](const std::string& path, const HalFieldDesc& field, uint16_t offset) {
                         const auto bytes = std::span(object).subspan(offset, field.element_size);
                         const std::string text = described(field, bytes, port);
                         fields[path] = text == port_of_ifindex(index) ? "(its place)" : text;
                     });
    return fields;
}

// The port's objects of a message, by what tells them apart on the port.
std::map<std::string, Described> objects_of(const CardObjects& objects, const CardMessage& message,
                                            uint32_t port) {
    std::map<std::string, Described> found;
    for (const auto& [key, object] : objects.table(message.number)) {
        if (object.size() < message.record->size || !is_on(port, get_be32(object, message.owner_at)))
            continue;
        const Described fields = described(message, object, port);
        std::string name = message.name;
        for (const CardPart& part : message.key)
            if (const auto field = fields.find(part.name); field != fields.end())
                name += " " + part.name + "=" + field->second;
        found[name] = fields;
    }
    return found;
}

// A new ONU is on, whatever the record says that it was made with, and its state is the card's own.
bool counts(const CardMessage& message, std::string_view field) {
    return message.number != OV_HAL_MSG_GPON_ONU || (field != "adminStatus" && field != "status");
}

std::string differences(const CardMessage& message, const Described& one, const Described& other) {
    std::string text;
    for (const auto& [field, value] : one)
        if (const auto there = other.find(field);
            there != other.end() && there->second != value && counts(message, field))
            text += " " + field + ": " + value + " and " + there->second;
    return text;
}

void compare(const CardObjects& objects, const CardMessage& message, uint32_t first, uint32_t second,
             std::vector<std::string>& lines) {
    const auto ones = objects_of(objects, message, first);
    const auto others = objects_of(objects, message, second);
    for (const auto& [name, one] : ones) {
        const auto other = others.find(name);
        if (other == others.end())
            lines.push_back(name + " only on " + port_of_ifindex(first));
        else if (const std::string text = differences(message, one, other->second); !text.empty())
            lines.push_back(name + text);
    }
    for (const auto& [name, other] : others)
        if (!ones.contains(name))
            lines.push_back(name + " only on " + port_of_ifindex(second));
}

} // namespace

std::vector<std::string> compare_ports(const CardObjects& objects, uint32_t first, uint32_t second) {
    std::vector<std::string> lines;
    for (const CardMessage& message : card_messages()) {
        const bool is_kept = message.use == CardUse::DEFINED || message.use == CardUse::HELD;
        const bool has_place = message.owner == CardOwner::INDEX || message.owner == CardOwner::SHARED_INDEX;
        if (is_kept && has_place && message.record && message.number != OV_HAL_MSG_GPON_PON_PROTECT)
            compare(objects, message, first, second, lines);
    }
    return lines;
}
