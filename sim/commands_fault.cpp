// Commands that arrange the controller's faults.

#include "fault_arguments.h"

namespace {

bool find_type(const std::string& name, Fault& fault) {
    const MessageType* message = find_message(std::string_view(name));
    if (!message)
        return false;
    fault.type = message->number;
    fault.type_name = message->name;
    return true;
}

Action parse_fault(Chassis& chassis, Arguments& args) {
    const Fault fault = fault_argument(args, fault_names(), find_type);
    return immediate([&chassis, fault] { return Answer{{}, {format("id=%u", chassis.faults.add(fault))}}; });
}

Action parse_faults(Chassis& chassis, Arguments&) {
    return immediate([&chassis] { return list_faults(chassis.faults); });
}

Action parse_fault_names(Chassis&, Arguments&) {
    return immediate([] { return list_fault_names(fault_names()); });
}

Action parse_clear(Chassis& chassis, Arguments& args) {
    const auto id = optional_fault_id(args);
    return immediate([&chassis, id] { return clear_faults(chassis.faults, id); });
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
