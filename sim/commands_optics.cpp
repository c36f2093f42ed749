// Commands for optics: what the modules of PON ports and the ONUs read.

#include <algorithm>

#include "command.h"
#include "port_name.h"

namespace {

constexpr uint16_t PORT_MESSAGES[] = {933, 932};
constexpr uint16_t ONU_MESSAGES[] = {929, 903};

// Readings that a command sets, by the fields of the records.
using Values = std::map<std::string, int32_t>;

// The message that brings a field; 0 for none.
uint16_t message_of(std::span<const uint16_t> messages, const std::string& field) {
    for (const uint16_t message : messages)
        for (const Reading& reading : readings_of(message, 0, {}))
            if (reading.field == field)
                return message;
    return 0;
}

Values value_options(Arguments& args, std::span<const uint16_t> messages) {
    Values values;
    for (const auto& [field, text] : args.rest_as_fields()) {
        const auto value = parse_i32(text);
        if (message_of(messages, field) == 0)
            args.mistake("no reading \"" + field + "\"");
        if (!value)
            args.mistake(field + " must be a whole number, not \"" + text + "\"");
        values[field] = value.value_or(0);
    }
    return values;
}

int32_t drift_option(Arguments& args) {
    const std::string text = args.option("drift").value_or("0");
    const auto drift = parse_i32(text);
    if (!drift)
        args.mistake("drift must be a whole number, not \"" + text + "\"");
    return drift.value_or(0);
}

// Sets them; without any, tells what is read now.
Answer set_or_tell(SetReadings& set, std::span<const uint16_t> messages, uint32_t index, const Values& values,
                   int32_t drift) {
    for (const auto& [field, value] : values)
        set[{message_of(messages, field), field}] = {.value = value, .drift = drift};
    Answer answer;
    if (!values.empty())
        return answer;
    std::string line;
    for (const uint16_t message : messages)
        for (const Reading& reading : readings_of(message, index, set))
            line += format("%s%s=%d", line.empty() ? "" : " ", reading.field.c_str(), reading.value);
    answer.lines.push_back(line);
    return answer;
}

Action parse_port(Chassis& chassis, Arguments& args, uint32_t port) {
    const int32_t drift = drift_option(args);
    const Values values = value_options(args, PORT_MESSAGES);
    return immediate([&chassis, port, values, drift] {
        Card* card = chassis.cards.find(slot_of(port));
        return card ? set_or_tell(card->module(port), PORT_MESSAGES, port, values, drift)
                    : Answer::failure(format("slot %u is empty", slot_of(port)));
    });
}

Action parse_optics(Chassis& chassis, Arguments& args) {
    const std::string what = args.word("PORT or SERIAL");
    const auto port = ifindex_of_port(what);
    if (port && kind_of(*port) == index_kind::PON)
        return parse_port(chassis, args, *port);
    const auto serial = parse_onu_serial(what);
    if (!serial)
        args.mistake("must be a PON port, as gpon-olt1/3, or a serial number, not \"" + what + "\"");
    const int32_t drift = drift_option(args);
    const Values values = value_options(args, ONU_MESSAGES);
    return on_onu(chassis, serial.value_or(OnuSerial{}), [values, drift](Card&, Onu& onu) {
        return set_or_tell(onu.readings, ONU_MESSAGES, onu.index, values, drift);
    });
}

constexpr Command COMMANDS[] = {
    {"optics", "PORT [FIELD=VALUE]... [drift=N] | SERIAL [FIELD=VALUE]... [drift=N]",
     "sets what the module of a PON port (gpon-olt1/3), or an ONU, reads; the values stay, or go up by N in "
     "a\n"
     "second. Without values: what is read now. Fields are those of messages 933 and 932, or 929 and 903:\n"
     "\"optics gpon-olt1/3 temp=7000 drift=50\", \"optics ABCD00000001 oltRxPw=-2800\"",
     parse_optics},
};

} // namespace

std::span<const Command> optics_commands() {
    return COMMANDS;
}
