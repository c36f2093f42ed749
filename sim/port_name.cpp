#include "port_name.h"

#include "text.h"

namespace {

struct Kind {
    const char* prefix;
    uint32_t number;
    bool has_subport;
};
constexpr Kind KINDS[] = {{"gpon-olt", 9, false}, {"gpon-onu", 10, true}, {"ge", 2, false}, {"xe", 3, false}};

constexpr uint32_t SHELF = 1;
constexpr unsigned KIND_SHIFT = 27;
constexpr unsigned SHELF_SHIFT = 26;
constexpr unsigned SLOT_SHIFT = 21;
constexpr unsigned CARD_SHIFT = 19;
constexpr unsigned PORT_SHIFT = 15;
constexpr unsigned SUBPORT_SHIFT = 7;

std::optional<uint32_t> number_in(std::string_view text, uint32_t max) {
    const auto value = parse_u32(text);
    if (!value || *value < 1 || *value > max || text[0] == '0')
        return {};
    return value;
}

std::optional<uint32_t> position_of(const Kind& kind, std::string_view text) {
    const size_t slash = text.find('/');
    if (slash == std::string_view::npos)
        return {};
    const size_t colon = text.find(':', slash);
    if ((colon != std::string_view::npos) != kind.has_subport)
        return {};
    const auto slot = number_in(text.substr(0, slash), 31);
    const auto port =
        number_in(text.substr(slash + 1, colon == std::string_view::npos ? colon : colon - slash - 1), 16);
    if (!slot || !port)
        return {};
    uint32_t index =
        kind.number << KIND_SHIFT | SHELF << SHELF_SHIFT | *slot << SLOT_SHIFT | (*port - 1) << PORT_SHIFT;
    if (kind.has_subport) {
        const auto onu = number_in(text.substr(colon + 1), 256);
        if (!onu)
            return {};
        index |= (*onu - 1) << SUBPORT_SHIFT;
    }
    return index;
}

} // namespace

std::optional<uint32_t> ifindex_of_port(std::string_view name) {
    for (const Kind& kind : KINDS) {
        if (name.starts_with(kind.prefix))
            return position_of(kind, name.substr(std::string_view(kind.prefix).size()));
    }
    return {};
}

std::string port_of_ifindex(uint32_t ifindex) {
    for (const Kind& kind : KINDS) {
        if (ifindex >> KIND_SHIFT != kind.number)
            continue;
        std::string name =
            format("%s%u/%u", kind.prefix, ifindex >> SLOT_SHIFT & 31, (ifindex >> PORT_SHIFT & 15) + 1);
        if (kind.has_subport)
            name += format(":%u", (ifindex >> SUBPORT_SHIFT & 255) + 1);
        return ifindex_of_port(name) == ifindex ? name : std::string();
    }
    return {};
}
