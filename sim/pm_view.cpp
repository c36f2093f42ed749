#include "pm_view.h"

#include "card_fields.h"
#include "port_name.h"
#include "text.h"

namespace {

using Place = PmCounts::Table::key_type;
using Chosen = std::function<bool(uint32_t index)>;

constexpr uint32_t GEM_BITS = 127;

// "gpon-onu1/1:7", with " gem=5" for a GEM port.
std::string place_name(uint32_t index) {
    if (kind_of(index) != index_kind::GEM)
        return port_of_ifindex(index);
    return port_of_ifindex(onu_of(index)) + format(" gem=%u", (index & GEM_BITS) + 1);
}

// What is shown of an object: itself, and of an ONU its GEM ports.
bool belongs_to(uint32_t index, uint32_t whose) {
    const bool is_its_gem = kind_of(index) == index_kind::GEM && kind_of(whose) == index_kind::ONU;
    return index == whose || (is_its_gem && onu_of(index) == whose);
}

std::string number(uint64_t value) {
    return format("%llu", static_cast<unsigned long long>(value));
}

std::string counter_line(const Place& place, const PmCounts::Values& values) {
    std::string text =
        "counters=" + card_short_name(*find_card_message(place.first)) + " of=" + place_name(place.second);
    for (size_t i = 0; i < values.size(); ++i)
        if (values[i] != 0)
            text += " " + std::string(pm_counter_name(place.first, i)) + "=" + number(values[i]);
    return text;
}

std::string values_json(uint16_t message, const PmCounts::Values& values) {
    std::string text;
    for (size_t i = 0; i < values.size(); ++i)
        text +=
            (text.empty() ? "" : ", ") + json_string(pm_counter_name(message, i)) + ": " + number(values[i]);
    return "{" + text + "}";
}

std::vector<std::string> chosen_lines(const Card& card, const Chosen& chosen) {
    std::vector<std::string> lines;
    for (const auto& [place, values] : card.flows().counts().table())
        if (chosen(place.second))
            lines.push_back(counter_line(place, values));
    return lines;
}

std::string chosen_json(const Card& card, const Chosen& chosen) {
    std::string text;
    uint16_t open = 0;
    for (const auto& [place, values] : card.flows().counts().table()) {
        if (!chosen(place.second))
            continue;
        if (place.first != open)
            text += (open ? "}, " : "") + json_string(find_card_message(place.first)->name) + ": {";
        else
            text += ", ";
        open = place.first;
        text += json_string(place_name(place.second)) + ": " + values_json(place.first, values);
    }
    return "{" + text + (open ? "}}" : "}");
}

std::string flow_line(const PmFlows::Flow& flow) {
    return "flow=" + encode_value(pm_target_text(flow.target)) + " up=" + number(flow.per_second.up) +
           " down=" + number(flow.per_second.down) + format(" size=%u", flow.per_second.size);
}

bool everything(uint32_t) {
    return true;
}

} // namespace

std::vector<std::string> pm_lines(const Card& card) {
    std::vector<std::string> lines = chosen_lines(card, everything);
    for (const PmFlows::Flow& flow : card.flows().all())
        lines.push_back(flow_line(flow));
    return lines;
}

std::vector<std::string> pm_lines(const Card& card, uint32_t index) {
    return chosen_lines(card, [index](uint32_t other) { return belongs_to(other, index); });
}

std::string pm_json(const Card& card) {
    return chosen_json(card, everything);
}

std::string pm_json(const Card& card, uint32_t index) {
    return chosen_json(card, [index](uint32_t other) { return belongs_to(other, index); });
}

std::string pm_flows_json(const Card& card) {
    std::string text;
    for (const PmFlows::Flow& flow : card.flows().all())
        text += (text.empty() ? "" : ", ") + ("{\"target\": " + json_string(pm_target_text(flow.target))) +
                ", \"up\": " + number(flow.per_second.up) + ", \"down\": " + number(flow.per_second.down) +
                format(", \"size\": %u}", flow.per_second.size);
    return "[" + text + "]";
}
