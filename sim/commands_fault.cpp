// Commands that arrange faults.

#include "command.h"

namespace {

std::string known_faults() {
    std::string text;
    for (const FaultName& name : fault_names())
        text += std::string(text.empty() ? "" : ", ") + name.name;
    return text;
}

Action parse_fault(Chassis& chassis, Arguments& args) {
    Fault fault;
    const std::string name = args.word("FAULT");
    fault.what = find_fault(name);
    if (!fault.what) {
        args.mistake("no fault \"" + name + "\"; there are " + known_faults());
        return {};
    }
    if (const auto type = args.option("type")) {
        const MessageType* message = find_message(std::string_view(*type));
        if (!message)
            args.mistake("no message type \"" + *type + "\"");
        else
            fault.type = message->number;
    }
    if (const auto times = args.option("times")) {
        const auto number = parse_u32(*times);
        if (*times != "forever" && (!number || *number == 0))
            args.mistake("times must be a number from 1, or forever");
        fault.times = number.value_or(0);
    }
    fault.value = fault.what->value;
    if (fault.what->value_name) {
        const bool is_code = fault.what->kind == FaultKind::code;
        fault.value =
            args.number_option(fault.what->value_name, is_code ? UINT32_MAX : 60'000).value_or(fault.value);
    }
    return immediate([&chassis, fault] { return Answer{{}, {format("id=%u", chassis.faults.add(fault))}}; });
}

Action parse_faults(Chassis& chassis, Arguments&) {
    return immediate([&chassis] {
        Answer answer;
        for (const Fault& fault : chassis.faults.all())
            answer.lines.push_back(fault.line());
        return answer;
    });
}

Action parse_fault_names(Chassis&, Arguments&) {
    return immediate([] {
        Answer answer;
        for (const FaultName& name : fault_names()) {
            std::string option;
            if (name.value_name)
                option = format("[%s=%u] ", name.value_name, name.value);
            answer.lines.push_back(format("%s %s- %s", name.name, option.c_str(), name.help));
        }
        return answer;
    });
}

Action parse_clear(Chassis& chassis, Arguments& args) {
    std::optional<uint32_t> id;
    if (args.has_word())
        id = args.number("ID");
    return immediate([&chassis, id] {
        if (id && !chassis.faults.remove(*id))
            return Answer::failure(format("no fault %u", *id));
        if (!id)
            chassis.faults.clear();
        return Answer();
    });
}

constexpr Command COMMANDS[] = {
    {"fault", "FAULT [type=TYPE] [times=N|forever] [VALUE]",
     "does something wrong for the next N (1) requests, or those of one type; prints the fault's\n"
     "id. Faults are used in the order given: \"fault code code=1005 type=new-if times=2\"",
     parse_fault},
    {"fault-names", "", "the faults there are, with their value and its default", parse_fault_names},
    {"faults", "", "faults that aren't used up", parse_faults},
    {"clear-faults", "[ID]", "forgets one fault, or all", parse_clear},
};

} // namespace

std::span<const Command> fault_commands() {
    return COMMANDS;
}
