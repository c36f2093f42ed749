// Commands for the UNIs of the simulated ONUs: what happens on the customer's side, and what can be seen
// there.

#include "command.h"
#include "onu_view.h"

namespace {

Answer pass(const Card& card, Onu& onu, const UniPosition& uni, UniWay way, const UniTraffic& traffic) {
    if (traffic.packets == 0 || pass_traffic(onu, card.objects(), uni, way, traffic))
        return {};
    return Answer::failure(uni_text(uni) + " of " + onu_serial_text(onu.serial) + " is down");
}

UniTraffic::Kind kind_option(Arguments& args) {
    const std::string kind = args.option("kind").value_or("unicast");
    if (kind == "broadcast")
        return UniTraffic::Kind::BROADCAST;
    if (kind == "multicast")
        return UniTraffic::Kind::MULTICAST;
    if (kind != "unicast")
        args.mistake("kind must be unicast, broadcast or multicast");
    return UniTraffic::Kind::UNICAST;
}

Action parse_traffic(Chassis& chassis, Arguments& args, const OnuSerial& serial, const UniPosition& uni) {
    UniTraffic traffic;
    traffic.size = args.number_option_or("size", traffic.size);
    traffic.errors = args.number_option_or("errors", 0);
    traffic.kind = kind_option(args);
    UniTraffic up = traffic;
    UniTraffic down = traffic;
    up.packets = args.number_option_or("up", 0);
    down.packets = args.number_option_or("down", 0);
    if (up.packets == 0 && down.packets == 0)
        args.mistake("up= or down= must be given");
    return on_uni(chassis, serial, uni, [uni, up, down](Card& card, Onu& onu) {
        Answer answer = pass(card, onu, uni, UniWay::UP, up);
        return answer.error.empty() ? pass(card, onu, uni, UniWay::DOWN, down) : answer;
    });
}

Action parse_uni(Chassis& chassis, Arguments& args) {
    const OnuSerial serial = serial_argument(args);
    const UniPosition uni = uni_argument(args);
    const std::string what = args.word("link, loop or traffic");
    if (what == "traffic")
        return parse_traffic(chassis, args, serial, uni);
    if (what != "link" && what != "loop") {
        args.mistake("must be link, loop or traffic, not \"" + what + "\"");
        return {};
    }
    const bool on = args.on_off("the state");
    bool Uni::*const state = what == "link" ? &Uni::has_link : &Uni::has_loop;
    return on_uni(chassis, serial, uni, [uni, state, on](Card&, Onu& onu) {
        onu.unis[uni].*state = on;
        return Answer();
    });
}

constexpr Command COMMANDS[] = {
    {"uni",
     "SERIAL UNI link|loop on|off | SERIAL UNI traffic [up=PACKETS] [down=PACKETS] [size=BYTES]\n"
     "    [kind=unicast|broadcast|multicast] [errors=N]",
     "takes the link of an ONU's UNI (eth_1/1) away or gives it back, makes a loop behind it, lets frames\n"
     "pass upstream and downstream: of 512 bytes each, of which N are damaged",
     parse_uni},
};

} // namespace

UniPosition uni_argument(Arguments& args) {
    const std::string text = args.word("UNI");
    const auto uni = parse_uni(text);
    if (!uni && args.error().empty())
        args.mistake("not a UNI, as eth_1/1, pots_1/1, video_1/1 or veip: \"" + text + "\"");
    return uni.value_or(UniPosition());
}

Action on_onu(Chassis& chassis, const OnuSerial& serial, std::function<Answer(Card&, Onu&)> act) {
    return immediate([&chassis, serial, act = std::move(act)] {
        for (const auto& [slot, card] : chassis.cards.all())
            if (Onu* onu = card->onus().find(serial))
                return act(*card, *onu);
        return Answer::failure("no ONU " + onu_serial_text(serial));
    });
}

Action on_uni(Chassis& chassis, const OnuSerial& serial, const UniPosition& uni,
              std::function<Answer(Card&, Onu&)> act) {
    return on_onu(chassis, serial, [uni, act = std::move(act)](Card& card, Onu& onu) {
        return has_uni(onu, card.objects(), uni)
                   ? act(card, onu)
                   : Answer::failure(onu_serial_text(onu.serial) + " has no UNI " + uni_text(uni));
    });
}

Action parse_show_onu(Chassis& chassis, Arguments& args) {
    const OnuSerial serial = serial_argument(args);
    const bool json = args.has_word() && args.word("--json") == "--json";
    return on_onu(chassis, serial, [json](Card& card, Onu& onu) {
        card.flows().settle();
        return Answer{{}, json ? onu_details_json(card, onu) : onu_details(card, onu)};
    });
}

std::span<const Command> uni_commands() {
    return COMMANDS;
}
