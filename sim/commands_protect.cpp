// Commands for protection: the fibres of PON ports, and whether two ports are equal.

#include "command.h"
#include "port_compare.h"
#include "port_name.h"

namespace {

uint32_t port_word(Arguments& args) {
    const std::string name = args.word("PORT");
    const auto port = ifindex_of_port(name);
    if (!port || kind_of(*port) != index_kind::PON)
        args.mistake("must be a PON port, as gpon-olt1/3, not \"" + name + "\"");
    return port.value_or(0);
}

Answer on_card_of(Chassis& chassis, uint32_t port, const std::function<Answer(Card&)>& act) {
    Card* card = chassis.cards.find(slot_of(port));
    return card ? act(*card) : Answer::failure(format("slot %u is empty", slot_of(port)));
}

Action parse_fibre(Chassis& chassis, Arguments& args) {
    const uint32_t port = port_word(args);
    const std::string what = args.word("cut or mend");
    if (what != "cut" && what != "mend")
        args.mistake("must be cut or mend, not \"" + what + "\"");
    return immediate([&chassis, port, cut = what == "cut"] {
        return on_card_of(chassis, port, [port, cut](Card& card) {
            cut ? card.protection().cut(port) : card.protection().mend(port);
            return Answer();
        });
    });
}

Action parse_compare(Chassis& chassis, Arguments& args) {
    const uint32_t first = port_word(args);
    const uint32_t second = port_word(args);
    return immediate([&chassis, first, second] {
        if (slot_of(first) != slot_of(second))
            return Answer::failure("the ports must be on one card");
        return on_card_of(chassis, first, [first, second](Card& card) {
            Answer answer;
            answer.lines = compare_ports(card.objects(), first, second);
            if (!answer.lines.empty())
                answer.error =
                    format("%zu differences: %s", answer.lines.size(), answer.lines.front().c_str());
            return answer;
        });
    });
}

constexpr Command COMMANDS[] = {
    {"fibre", "PORT cut|mend",
     "cuts the fibre of a PON port, or mends it: its ONUs lose their light; in a protection group the card\n"
     "switches over to the other port of the splitter, if that one has light",
     parse_fibre},
    {"compare", "PORT PORT",
     "fails, with a line for each difference, unless the card holds the same for both PON ports",
     parse_compare},
};

} // namespace

std::span<const Command> protect_commands() {
    return COMMANDS;
}
