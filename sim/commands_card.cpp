// Commands for the line cards themselves: coming and going, what they hold, what they do wrong.

#include <algorithm>
#include <string_view>

#include "card_json.h"
#include "fault_arguments.h"

namespace {

constexpr uint32_t MAX_SLOT = 30; // 31 stands for templates

uint32_t slot_argument(Arguments& args) {
    const uint32_t slot = args.number("SLOT");
    if (args.error().empty() && (slot == 0 || slot > MAX_SLOT))
        args.mistake(format("SLOT must be 1 to %u", MAX_SLOT));
    return slot;
}

Answer no_card(uint32_t slot) {
    return Answer::failure(format("slot %u is empty", slot));
}

// An action on the card in a slot, which must be there when it runs.
Action on_card(Chassis& chassis, uint32_t slot, std::function<Answer(Card&)> act) {
    return immediate([&chassis, slot, act = std::move(act)] {
        Card* card = chassis.cards.find(slot);
        return card ? act(*card) : no_card(slot);
    });
}

Answer open_card(Card& card) {
    std::string error;
    return card.is_open() || card.open(error) ? Answer() : Answer::failure(error);
}

Answer restart_card(Chassis& chassis, Card& card, uint32_t ms) {
    card.close();
    card.restart();
    const uint32_t slot = card.slot();
    if (ms == 0)
        return open_card(card);
    chassis.loop.after(std::chrono::milliseconds(ms), [&chassis, slot] {
        if (Card* back = chassis.cards.find(slot))
            open_card(*back);
    });
    return {};
}

Answer act_on_card(Chassis& chassis, uint32_t slot, const std::string& what, uint32_t ms) {
    std::string error;
    if (what == "add")
        return chassis.cards.add(slot, error) ? Answer() : Answer::failure(error);
    Card* card = chassis.cards.find(slot);
    if (!card)
        return no_card(slot);
    if (what == "remove")
        chassis.cards.remove(slot);
    else if (what == "off")
        card->close();
    else if (what == "on")
        return open_card(*card);
    else if (what == "stop")
        card->stop();
    else if (what == "continue")
        card->go_on();
    else
        return restart_card(chassis, *card, ms);
    return {};
}

Action parse_card(Chassis& chassis, Arguments& args) {
    const uint32_t slot = slot_argument(args);
    constexpr std::string_view KNOWN[] = {"add", "remove", "off", "on", "stop", "continue", "restart"};
    const char* const choice = "add, remove, off, on, stop, continue or restart";
    const std::string what = args.word(choice);
    if (std::find(std::begin(KNOWN), std::end(KNOWN), what) == std::end(KNOWN))
        args.mistake(format("must be %s, not \"%s\"", choice, what.c_str()));
    const uint32_t ms = what == "restart" ? args.number_option_or("ms", 0) : 0;
    return immediate([&chassis, slot, what, ms] {
        Answer answer = act_on_card(chassis, slot, what, ms);
        if (answer.error.empty())
            chassis.records.add("card", {{"slot", std::to_string(slot)}, {"what", what}});
        return answer;
    });
}

Answer show_cards(Chassis& chassis) {
    Answer answer;
    for (const auto& [slot, card] : chassis.cards.all())
        answer.lines.push_back(card_summary(*card).front());
    answer.lines.push_back(format("board=%u waiting=%zu lost=%llu", chassis.cards.board(),
                                  chassis.cards.sender().waiting(),
                                  static_cast<unsigned long long>(chassis.cards.sender().lost())));
    return answer;
}

Action parse_show(Chassis& chassis, Arguments& args) {
    const std::string what = args.word("card, cards, port or onu");
    if (what == "cards")
        return immediate([&chassis] { return show_cards(chassis); });
    if (what == "onu")
        return parse_show_onu(chassis, args);
    if (what == "port")
        return parse_show_port(chassis, args);
    if (what != "card")
        args.mistake("must be card, cards, port or onu, not \"" + what + "\"");
    const uint32_t slot = slot_argument(args);
    const bool json = args.has_word() && args.word("--json") == "--json";
    const CardMessage* only = nullptr;
    if (const auto type = args.option("type")) {
        only = find_card_message(std::string_view(*type));
        if (!only)
            args.mistake("no message \"" + *type + "\"");
    }
    return on_card(chassis, slot, [json, only](Card& card) {
        card.flows().settle();
        return Answer{{}, json ? card_json(card, only) : card_summary(card)};
    });
}

Action parse_card_board(Chassis& chassis, Arguments& args) {
    const uint32_t slot = slot_argument(args);
    return immediate([&chassis, slot] {
        chassis.cards.set_board(slot);
        return Answer();
    });
}

Action parse_card_records(Chassis& chassis, Arguments& args) {
    const uint32_t limit = args.number("LIMIT");
    return immediate([&chassis, limit] {
        chassis.cards.set_records_per_second(limit);
        return Answer();
    });
}

Action parse_card_types(Chassis&, Arguments&) {
    return immediate([] {
        Answer answer;
        for (const auto& messages : {card_messages(), card_event_messages()}) {
            for (const CardMessage& message : messages)
                answer.lines.push_back(format("%u %s %s %s", message.number, card_short_name(message).c_str(),
                                              message.name, message.record ? message.record->name : "-"));
        }
        return answer;
    });
}

// ---- faults ----------------------------------------------------------------------------------------------

bool find_type(const std::string& name, Fault& fault) {
    const CardMessage* message = find_card_message(std::string_view(name));
    if (!message)
        return false;
    fault.type = message->number;
    fault.type_name = message->name;
    return true;
}

Action parse_card_fault(Chassis& chassis, Arguments& args) {
    const uint32_t slot = slot_argument(args);
    const Fault fault = fault_argument(args, card_fault_names(), find_type);
    return on_card(chassis, slot, [fault](Card& card) {
        return Answer{{}, {format("id=%u", card.faults().add(fault))}};
    });
}

Action parse_card_faults(Chassis& chassis, Arguments& args) {
    return on_card(chassis, slot_argument(args), [](Card& card) { return list_faults(card.faults()); });
}

Action parse_clear_card_faults(Chassis& chassis, Arguments& args) {
    const uint32_t slot = slot_argument(args);
    const auto id = optional_fault_id(args);
    return on_card(chassis, slot, [id](Card& card) { return clear_faults(card.faults(), id); });
}

Action parse_card_fault_names(Chassis&, Arguments&) {
    return immediate([] { return list_fault_names(card_fault_names()); });
}

constexpr Command COMMANDS[] = {
    {"card", "SLOT add|remove|off|on|stop|continue|restart [ms=N]",
     "plugs a line card in or out; off closes its socket and on opens it again, with all that it\n"
     "was told; stop leaves what comes unread and continue reads on, as if the agent had hung;\n"
     "restart forgets everything and is gone for N milliseconds (0)",
     parse_card},
    {"show", "cards | card SLOT [--json] [type=TYPE] | port PORT [--json] | onu SERIAL [--json]",
     "the cards, one card with its objects and counters, the counters of a PON or network port, or one ONU\n"
     "with its UNIs; --json is one document, perhaps of one message only",
     parse_show},
    {"card-types", "", "the messages that go to and come from line cards", parse_card_types},
    {"card-board", "SLOT", "slot of the daemon's board, to which events go before its first request",
     parse_card_board},
    {"card-records", "LIMIT", "messages that a card puts on record in a second (500); others are counted",
     parse_card_records},
    {"card-fault", "SLOT FAULT [type=TYPE] [times=N|forever] [VALUE]",
     "does something wrong for the next N (1) messages, or those of one type; prints the fault's id:\n"
     "\"card-fault 1 late ms=200 type=onu times=3\"",
     parse_card_fault},
    {"card-fault-names", "", "the faults there are, with their value and its default",
     parse_card_fault_names},
    {"card-faults", "SLOT", "faults that aren't used up", parse_card_faults},
    {"clear-card-faults", "SLOT [ID]", "forgets one fault, or all", parse_clear_card_faults},
};

} // namespace

std::span<const Command> card_commands() {
    return COMMANDS;
}
