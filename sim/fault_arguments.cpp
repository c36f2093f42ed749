#include "fault_arguments.h"

namespace {

std::string known_faults(std::span<const FaultName> names) {
    std::string text;
    for (const FaultName& name : names)
        text += std::string(text.empty() ? "" : ", ") + name.name;
    return text;
}

} // namespace

Fault fault_argument(Arguments& args, std::span<const FaultName> names,
                     bool (*find_type)(const std::string& name, Fault& fault)) {
    Fault fault;
    const std::string name = args.word("FAULT");
    fault.what = find_fault(names, name);
    if (!fault.what) {
        args.mistake("no fault \"" + name + "\"; there are " + known_faults(names));
        return fault;
    }
    const auto type = args.option("type");
    if (type && !find_type(*type, fault))
        args.mistake("no message type \"" + *type + "\"");
    if (const auto times = args.option("times")) {
        const auto number = parse_u32(*times);
        if (*times != "forever" && (!number || *number == 0))
            args.mistake("times must be a number from 1, or forever");
        fault.times = number.value_or(0);
    }
    fault.value = fault.what->value;
    if (fault.what->value_name) {
        const bool is_code = fault.what->kind == FaultKind::CODE;
        fault.value =
            args.number_option(fault.what->value_name, is_code ? UINT32_MAX : 60'000).value_or(fault.value);
    }
    return fault;
}

std::optional<uint32_t> optional_fault_id(Arguments& args) {
    return args.has_word() ? std::optional(args.number("ID")) : std::nullopt;
}

Answer list_faults(const Faults& faults) {
    Answer answer;
    for (const Fault& fault : faults.all())
        answer.lines.push_back(fault.line());
    return answer;
}

Answer list_fault_names(std::span<const FaultName> names) {
    Answer answer;
    for (const FaultName& name : names) {
        std::string option;
        if (name.value_name)
            option = format("[%s=%u] ", name.value_name, name.value);
        answer.lines.push_back(format("%s %s- %s", name.name, option.c_str(), name.help));
    }
    return answer;
}

Answer clear_faults(Faults& faults, std::optional<uint32_t> id) {
    if (id && !faults.remove(*id))
        return Answer::failure(format("no fault %u", *id));
    if (!id)
        faults.clear();
    return {};
}
