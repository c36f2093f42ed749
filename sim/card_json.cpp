#include "card_json.h"

#include "card_fields.h"
#include "pm_view.h"
#include "port_name.h"
#include "text.h"

namespace {

std::string number_json(const char* name, uint64_t value) {
    return format("\"%s\": %llu, ", name, static_cast<unsigned long long>(value));
}

std::string message_name(uint16_t number) {
    const CardMessage* message = find_card_message(number);
    return message ? message->name : number == card_wire::DRV_CMD ? "OV_HAL_MSG_GPON_DRV_CMD" : "unknown";
}

std::string reasons_json(const CardCounters& counters) {
    std::string text = "{";
    for (const auto& [reason, count] : counters.reasons)
        text += (text.size() > 1 ? ", " : "") + json_string(reason) + ": " + std::to_string(count);
    return text + "}";
}

std::string types_json(const CardCounters& counters) {
    std::string text = "{";
    uint16_t open = 0;
    for (const auto& [key, count] : counters.by_type) {
        const auto& [number, action] = key;
        if (number == open)
            text += ", ";
        else
            text += (open ? "}, " : "") + json_string(message_name(number)) + ": {";
        open = number;
        text += json_string(card_action_name(action)) + ": " + std::to_string(count);
    }
    return text + (open ? "}}" : "}");
}

std::string list_json(const std::deque<std::string>& texts) {
    std::string text = "[";
    for (const std::string& one : texts)
        text += (text.size() > 1 ? ", " : "") + json_string(one);
    return text + "]";
}

std::string record_json(const CardMessage& message, const CardObjects::Bytes& bytes) {
    return message.record ? card_record_json(*message.record, bytes)
                          : "{\"hex\": " + json_string(to_hex(bytes)) + "}";
}

std::string key_json(const CardMessage& message) {
    std::string text = "[";
    for (const CardPart& part : message.key)
        text += (text.size() > 1 ? ", " : "") + json_string(part.name);
    return text + "]";
}

void add_objects(const Card& card, const CardMessage* only, std::vector<std::string>& lines) {
    bool first_table = true;
    for (const CardMessage& message : card_messages()) {
        const auto& table = card.objects().table(message.number);
        if (table.empty() || message.kept_as != message.number || (only && only->kept_as != message.number))
            continue;
        lines.push_back((first_table ? "" : ", ") + json_string(message.name) +
                        ": {\"key\": " + key_json(message) + ", \"rows\": [");
        first_table = false;
        size_t left = table.size();
        for (const auto& [key, bytes] : table)
            lines.push_back(record_json(message, bytes) + (--left ? "," : "]}"));
    }
}

std::string onu_json(const Onu& onu) {
    return format("{\"serial\": %s, \"port\": %s, \"state\": \"%s\", \"ifindex\": %u, \"onu\": %s}",
                  json_string(onu_serial_text(onu.serial)).c_str(),
                  json_string(port_of_ifindex(onu.pon)).c_str(), onu_state_name(onu.state), onu.index,
                  json_string(onu.index ? port_of_ifindex(onu.index) : "").c_str());
}

} // namespace

std::vector<std::string> card_json(const Card& card, const CardMessage* only) {
    const CardCounters& counters = card.counters();
    std::vector<std::string> lines;
    lines.push_back(
        "{" + number_json("slot", card.slot()) + "\"up\": " + (card.is_open() ? "true" : "false") + ", " +
        "\"stopped\": " + (card.is_stopped() ? "true" : "false") + ", " +
        number_json("received", counters.received) + number_json("refused", counters.refused) +
        number_json("replies", counters.replies) + number_json("events", counters.events) +
        number_json("unrecorded", counters.unrecorded) + number_json("object_count", card.objects().size()) +
        number_json("changes", card.objects().changes()));
    lines.push_back("\"reasons\": " + reasons_json(counters) + ", \"types\": " + types_json(counters) + ",");
    lines.push_back("\"driver_texts\": " + list_json(card.driver_texts()) + ", \"objects\": {");
    add_objects(card, only, lines);
    lines.push_back("}, \"alarms\": [");
    const CardMessage& trap = *find_card_event("trap");
    size_t left = card.alarms().size();
    for (const auto& [key, bytes] : card.alarms())
        lines.push_back(record_json(trap, bytes) + (--left ? "," : ""));
    lines.push_back("], \"onus\": [");
    const auto onus = card.onus().all();
    left = onus.size();
    for (const Onu* onu : onus)
        lines.push_back(onu_json(*onu) + (--left ? "," : ""));
    lines.push_back("], \"counters\": " + pm_json(card) + ", \"flows\": " + pm_flows_json(card) + "}");
    return lines;
}

std::vector<std::string> card_summary(const Card& card) {
    const CardCounters& counters = card.counters();
    std::vector<std::string> lines{format(
        "slot=%u up=%d received=%llu refused=%llu replies=%llu events=%llu objects=%zu onus=%zu", card.slot(),
        card.is_open() ? 1 : 0, static_cast<unsigned long long>(counters.received),
        static_cast<unsigned long long>(counters.refused), static_cast<unsigned long long>(counters.replies),
        static_cast<unsigned long long>(counters.events), card.objects().size(), card.onus().all().size())};
    for (const CardMessage& message : card_messages()) {
        if (const size_t rows = card.objects().table(message.number).size())
            lines.push_back(format("type=%s rows=%zu", message.name, rows));
    }
    const auto counters_of_it = pm_lines(card);
    lines.insert(lines.end(), counters_of_it.begin(), counters_of_it.end());
    return lines;
}

std::string onu_line(const Onu& onu) {
    std::string text = "serial=" + onu_serial_text(onu.serial) + " port=" + port_of_ifindex(onu.pon) +
                       " state=" + onu_state_name(onu.state);
    return onu.index ? text + " onu=" + port_of_ifindex(onu.index) : text;
}
