// Commands for what stands behind the simulated ONUs: what people do at home, and how the SIP server answers.

#include "command.h"
#include "home.h"

namespace {

std::string at(const Onu& onu, const UniPosition& uni) {
    return uni_text(uni) + " of " + onu_serial_text(onu.serial);
}

// A UNI of one kind.
UniPosition uni_of_kind(Arguments& args, int32_t type, const char* form) {
    const UniPosition uni = uni_argument(args);
    if (args.error().empty() && uni.type != type)
        args.mistake(std::string("must be a port as ") + form + ", not " + uni_text(uni));
    return uni;
}

// ---- telephones -------------------------------------------------------------------------------------------

Answer make_call(const Card& card, Onu& onu, const UniPosition& pots, const std::string& number) {
    if (call(onu, card.objects(), pots, number))
        return {};
    return Answer::failure(at(onu, pots) +
                           " isn't registered: " + line_state(onu, card.objects(), pots).name);
}

Action parse_phone(Chassis& chassis, Arguments& args) {
    const OnuSerial serial = serial_argument(args);
    const UniPosition pots = uni_of_kind(args, OV_GPON_RMUNI_TYPE_POTS, "pots_1/1");
    const std::string what = args.word("off-hook, on-hook or call");
    const std::string number = what == "call" ? args.word("NUMBER") : "";
    if (what != "off-hook" && what != "on-hook" && what != "call")
        args.mistake("must be off-hook, on-hook or call, not \"" + what + "\"");
    return on_uni(chassis, serial, pots, [pots, what, number](Card& card, Onu& onu) {
        if (what == "call")
            return make_call(card, onu, pots, number);
        onu.home.phones[pots] = {what == "off-hook", ""};
        return Answer();
    });
}

Action parse_sip_server(Chassis& chassis, Arguments& args) {
    const OnuSerial serial = serial_argument(args);
    const std::string what = args.word("accept or refuse");
    if (what != "accept" && what != "refuse")
        args.mistake("must be accept or refuse, not \"" + what + "\"");
    return on_onu(chassis, serial, [refuses = what == "refuse"](Card& card, Onu& onu) {
        onu.home.server_refuses = refuses;
        end_lost_calls(onu, card.objects());
        return Answer();
    });
}

// ---- power over Ethernet ----------------------------------------------------------------------------------

constexpr uint32_t USUAL_WATTS = 7;
constexpr uint32_t MOST_WATTS = 100;

using PoeAct = void (*)(const Card& card, Onu& onu, const UniPosition& uni, uint32_t watts);
struct PoeVerb {
    const char* name;
    PoeAct act;
};
constexpr PoeVerb POE_VERBS[] = {
    {"attach", [](const Card& card, Onu& onu, const UniPosition& uni,
                  uint32_t watts) { attach_device(onu, card.objects(), uni, watts); }},
    {"detach", [](const Card& card, Onu& onu, const UniPosition& uni,
                  uint32_t) { detach_device(onu, card.objects(), uni); }},
    {"overload", [](const Card&, Onu& onu, const UniPosition& uni,
                    uint32_t) { make_poe_fault(onu, uni, PoeFault::OVERLOAD); }},
    {"short", [](const Card&, Onu& onu, const UniPosition& uni,
                 uint32_t) { make_poe_fault(onu, uni, PoeFault::SHORT); }},
};

Action parse_poe(Chassis& chassis, Arguments& args) {
    const OnuSerial serial = serial_argument(args);
    const UniPosition uni = uni_of_kind(args, OV_GPON_RMUNI_TYPE_ETH, "eth_1/1");
    const std::string what = args.word("attach, detach, overload or short");
    const uint32_t watts =
        what == "attach" ? args.number_option("watts", MOST_WATTS).value_or(USUAL_WATTS) : 0;
    for (const PoeVerb& verb : POE_VERBS)
        if (what == verb.name)
            return on_uni(chassis, serial, uni, [uni, watts, act = verb.act](Card& card, Onu& onu) {
                act(card, onu, uni, watts);
                return Answer();
            });
    args.mistake("must be attach, detach, overload or short, not \"" + what + "\"");
    return {};
}

constexpr Command COMMANDS[] = {
    {"phone", "SERIAL POTS off-hook|on-hook | SERIAL POTS call NUMBER",
     "what happens at the telephone of an ONU's POTS port (pots_1/1); a call needs a line that is registered",
     parse_phone},
    {"sip-server", "SERIAL accept|refuse",
     "what the SIP server answers when the ONU's lines want to be registered: at the beginning it accepts",
     parse_sip_server},
    {"poe", "SERIAL ETH attach [watts=N] | SERIAL ETH detach|overload|short",
     "puts a device that is fed by an ONU's Ethernet port (eth_1/1) there, one of 7 W, or takes it away; "
     "makes\n"
     "a fault there, until another device is attached or this one is detached",
     parse_poe},
};

} // namespace

std::span<const Command> home_commands() {
    return COMMANDS;
}
