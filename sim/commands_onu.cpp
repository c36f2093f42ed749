// Commands for the simulated ONUs.

#include "card_json.h"
#include "command.h"
#include "onu_crowd.h"
#include "port_name.h"

namespace {

constexpr uint32_t MAX_ONUS = 2048;  // of one command: sixteen full ports
constexpr uint32_t MAX_PORTS = 64;   // of an ONU, of one kind
constexpr uint32_t MAX_NETWORKS = 4; // of a radio

// Its ports; those of its type when none is told.
std::optional<UniPorts> port_options(Arguments& args) {
    const auto eth = args.number_option("eth", MAX_PORTS);
    const auto pots = args.number_option("pots", MAX_PORTS);
    const auto video = args.number_option("video", MAX_PORTS);
    const auto cards = args.number_option("cards", MAX_PORTS);
    if (!eth && !pots && !video && !cards)
        return {};
    return UniPorts{cards.value_or(1), eth.value_or(0), pots.value_or(0), video.value_or(0)};
}

Onu onu_options(Arguments& args) {
    Onu onu;
    onu.pon = pon_option(args);
    onu.password = args.option("pw").value_or("");
    onu.loid = args.option("loid").value_or("");
    onu.loid_password = args.option("loid-pw").value_or("");
    onu.model = args.option("model").value_or(onu.model);
    onu.vendor = args.option("vendor").value_or("");
    onu.version = args.option("version").value_or(onu.version);
    onu.distance = args.number_option_or("distance", onu.distance);
    onu.ports = port_options(args);
    onu.home.networks = args.number_option("wifi", MAX_NETWORKS).value_or(onu.home.networks);
    onu.home.networks_5g = args.number_option("wifi-5g", MAX_NETWORKS).value_or(onu.home.networks_5g);
    const std::string type = args.option("type").value_or("sfu");
    if (type != "sfu" && type != "hgu")
        args.mistake("type must be sfu or hgu");
    onu.is_hgu = type == "hgu";
    return onu;
}

Answer add_onus(Chassis& chassis, const Onu& like, uint32_t count, bool power) {
    for (uint32_t i = 0; i < count; ++i) {
        Onu onu = like;
        onu.serial = next_onu_serial(like.serial, i);
        if (Answer answer = plug_onu(chassis, onu, power); !answer.error.empty())
            return answer;
    }
    return {};
}

Action parse_add(Chassis& chassis, Arguments& args) {
    const OnuSerial serial = serial_argument(args);
    Onu onu = onu_options(args);
    onu.serial = serial;
    const uint32_t count = args.number_option("count", MAX_ONUS).value_or(1);
    const bool power = power_option(args);
    return immediate([&chassis, onu, count, power] { return add_onus(chassis, onu, count, power); });
}

using OnuAct = void (*)(Onus&, Onu&);
struct OnuVerb {
    const char* name;
    OnuAct act;
};
constexpr OnuVerb VERBS[] = {
    {"on", [](Onus& onus, Onu& onu) { onus.power_on(onu); }},
    {"off", [](Onus& onus, Onu& onu) { onus.power_off(onu, false); }},
    {"gasp", [](Onus& onus, Onu& onu) { onus.power_off(onu, true); }},
    {"lose", [](Onus& onus, Onu& onu) { onus.lose(onu); }},
    {"recover", [](Onus& onus, Onu& onu) { onus.recover(onu); }},
    {"remove", [](Onus& onus, Onu& onu) { onus.remove(onu.serial); }},
};

Answer act_on_onus(Chassis& chassis, const OnuSerial& first, uint32_t count, OnuAct act) {
    for (uint32_t i = 0; i < count; ++i) {
        const OnuSerial serial = next_onu_serial(first, i);
        bool found = false;
        for (const auto& [slot, card] : chassis.cards.all()) {
            Onu* onu = card->onus().find(serial);
            if (!onu)
                continue;
            found = true;
            act(card->onus(), *onu);
            break;
        }
        if (!found)
            return Answer::failure("no ONU " + onu_serial_text(serial));
    }
    return {};
}

Action parse_verb(Chassis& chassis, Arguments& args, OnuAct act) {
    const OnuSerial serial = serial_argument(args);
    const uint32_t count = args.number_option("count", MAX_ONUS).value_or(1);
    return immediate([&chassis, serial, count, act] { return act_on_onus(chassis, serial, count, act); });
}

Action parse_list(Chassis& chassis, Arguments&) {
    return immediate([&chassis] {
        Answer answer;
        for (const auto& [slot, card] : chassis.cards.all()) {
            for (const Onu* onu : card->onus().all())
                answer.lines.push_back(onu_line(*onu));
        }
        return answer;
    });
}

Action parse_delays(Chassis& chassis, Arguments& args) {
    const uint32_t range = args.number_option("range", 600'000).value_or(20);
    const uint32_t up = args.number_option("up", 600'000).value_or(20);
    const uint32_t reboot = args.number_option("reboot", 600'000).value_or(20);
    const uint32_t again = args.number_option("again", 600'000).value_or(30'000);
    return immediate([&chassis, range, up, reboot, again] {
        for (const auto& [slot, card] : chassis.cards.all())
            card->onus().set_delays(std::chrono::milliseconds(range), std::chrono::milliseconds(up),
                                    std::chrono::milliseconds(reboot), std::chrono::milliseconds(again));
        return Answer();
    });
}

Action parse_onu(Chassis& chassis, Arguments& args) {
    const std::string what = args.word("what to do");
    if (what == "add")
        return parse_add(chassis, args);
    if (what == "list")
        return parse_list(chassis, args);
    if (what == "delays")
        return parse_delays(chassis, args);
    if (what == "crowd")
        return parse_crowd(chassis, args);
    if (what == "states")
        return parse_states(chassis);
    for (const OnuVerb& verb : VERBS) {
        if (what == verb.name)
            return parse_verb(chassis, args, verb.act);
    }
    args.mistake("must be add, crowd, on, off, gasp, lose, recover, remove, list, states or delays, not \"" +
                 what + "\"");
    return {};
}

constexpr Command COMMANDS[] = {
    {"onu",
     "add SERIAL port=PORT [count=N] [power=on|off] [pw=] [loid=] [loid-pw=] [model=] [vendor=]\n"
     "    [version=] [type=sfu|hgu] [distance=M] [eth=N] [pots=N] [video=N] [cards=N] [wifi=N] [wifi-5g=N] "
     "|\n"
     "    crowd SERIAL port=PORT [ports=N] [count=N] [power=on|off] |\n"
     "    on|off|gasp|lose|recover|remove SERIAL [count=N] | list | states |\n"
     "    delays [range=MS] [up=MS] [reboot=MS] [again=MS]",
     "plugs an ONU into a PON port, or N with growing serial numbers; or a crowd of eight models by\n"
     "turns, N (128) into each of some ports; switches it on, off, or off with a dying gasp; takes its\n"
     "light away and gives it back; unplugs it; lists all; counts them by state; sets how long ranging\n"
     "(20), coming up (20) and starting again (20) take on the cards there are, and after what time one\n"
     "that is to be learnt is reported again (30000)",
     parse_onu},
};

} // namespace

uint32_t pon_option(Arguments& args) {
    const auto text = args.option("port");
    const auto index = text ? ifindex_of_port(*text) : std::nullopt;
    if (!index || kind_of(*index) != index_kind::PON)
        args.mistake("port= must name a PON port, as gpon-olt1/3");
    return index.value_or(0);
}

bool power_option(Arguments& args) {
    const std::string power = args.option("power").value_or("on");
    if (power != "on" && power != "off")
        args.mistake("power must be on or off");
    return power == "on";
}

Answer plug_onu(Chassis& chassis, const Onu& onu, bool power) {
    Card* card = chassis.cards.find(slot_of(onu.pon));
    if (!card)
        return Answer::failure(format("slot %u is empty", slot_of(onu.pon)));
    if (!card->onus().add(onu))
        return Answer::failure(onu_serial_text(onu.serial) + " is there already");
    if (power)
        card->onus().power_on(*card->onus().find(onu.pon, onu.serial));
    return {};
}

OnuSerial serial_argument(Arguments& args) {
    const std::string text = args.word("SERIAL");
    const auto serial = parse_onu_serial(text);
    if (!serial && args.error().empty())
        args.mistake("not a serial number: \"" + text + "\"");
    return serial.value_or(OnuSerial{});
}

std::span<const Command> onu_commands() {
    return COMMANDS;
}
