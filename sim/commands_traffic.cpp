// Commands for what passes through the line cards and what they count.

#include "command.h"
#include "pm_view.h"
#include "port_name.h"

namespace {

constexpr uint32_t MIN_FRAME = 64; // bytes
constexpr uint32_t MAX_FRAME = 16'383;
constexpr uint32_t GEMS_PER_ONU = 128;

uint32_t port_word(Arguments& args, const std::string& text) {
    const auto index = ifindex_of_port(text);
    if (!index && args.error().empty())
        args.mistake(
            "neither a serial number nor a port, as gpon-olt1/3, gpon-onu1/3:12, ge1/1 or xe1/1: \"" + text +
            "\"");
    return index.value_or(0);
}

PmTarget target_argument(Arguments& args) {
    const std::string text = args.word("TARGET");
    PmTarget target;
    target.serial = parse_onu_serial(text);
    if (!target.serial)
        target.port = port_word(args, text);
    return target;
}

void take_gem(Arguments& args, PmTarget& target) {
    target.gem = args.number_option("gem", GEMS_PER_ONU).value_or(0);
    if (target.gem != 0 && !target.serial && kind_of(target.port) != index_kind::ONU)
        args.mistake("gem= is of an ONU");
}

PmTraffic::Kind kind_option(Arguments& args) {
    const std::string kind = args.option("kind").value_or("unicast");
    if (kind == "broadcast")
        return PmTraffic::Kind::BROADCAST;
    if (kind == "multicast")
        return PmTraffic::Kind::MULTICAST;
    if (kind != "unicast")
        args.mistake("kind must be unicast, broadcast or multicast");
    return PmTraffic::Kind::UNICAST;
}

PmTraffic traffic_options(Arguments& args) {
    PmTraffic traffic;
    traffic.up = args.number_option_or("up", 0);
    traffic.down = args.number_option_or("down", 0);
    traffic.size = args.number_option("size", MAX_FRAME).value_or(traffic.size);
    traffic.kind = kind_option(args);
    if (traffic.size < MIN_FRAME)
        args.mistake(format("size must be at least %u", MIN_FRAME));
    if (traffic.up == 0 && traffic.down == 0)
        args.mistake("up= or down= must be given");
    return traffic;
}

// The card that counts at a port. Those of a slot without an agent are driven by the daemon's board.
Card* card_of_port(Chassis& chassis, uint32_t port) {
    Card* card = chassis.cards.find(slot_of(port));
    const bool is_network = kind_of(port) != index_kind::PON && kind_of(port) != index_kind::ONU;
    return card || !is_network ? card : chassis.cards.find(chassis.cards.board());
}

// The card on which it counts; null when there is none.
Card* card_of(Chassis& chassis, const PmTarget& target) {
    if (!target.serial)
        return card_of_port(chassis, target.port);
    for (const auto& [slot, card] : chassis.cards.all())
        if (card->onus().find(*target.serial))
            return card.get();
    return nullptr;
}

Action on_target(Chassis& chassis, const PmTarget& target, std::function<Answer(PmFlows&)> act) {
    return immediate([&chassis, target, act = std::move(act)] {
        Card* card = card_of(chassis, target);
        return card ? act(card->flows()) : Answer::failure("nothing is at " + pm_target_text(target));
    });
}

Action parse_traffic(Chassis& chassis, Arguments& args) {
    PmTarget target = target_argument(args);
    const std::string how = args.has_word() ? args.word("per-second or stop") : "once";
    take_gem(args, target);
    if (how == "stop")
        return on_target(chassis, target, [target](PmFlows& flows) {
            return flows.stop(target) ? Answer()
                                      : Answer::failure("nothing passes " + pm_target_text(target));
        });
    if (how != "once" && how != "per-second")
        args.mistake("must be per-second or stop, not \"" + how + "\"");
    const PmTraffic traffic = traffic_options(args);
    if (how == "per-second")
        return on_target(chassis, target, [target, traffic](PmFlows& flows) {
            flows.set(target, traffic);
            return Answer();
        });
    return on_target(chassis, target, [target, traffic](PmFlows& flows) {
        std::string error;
        const auto index = flows.find(target, error);
        if (!index)
            return Answer::failure(error);
        flows.counts().pass(*index, traffic);
        return Answer();
    });
}

// ---- errors -----------------------------------------------------------------------------------------------

using CountedErrors = std::vector<std::pair<const PmError*, uint32_t>>;

std::string known_errors() {
    std::string text;
    for (const PmError& error : pm_errors())
        text += (text.empty() ? "" : ", ") + std::string(error.name);
    return text;
}

CountedErrors error_options(Arguments& args) {
    CountedErrors errors;
    for (const PmError& error : pm_errors())
        if (const auto count = args.number_option(error.name))
            errors.emplace_back(&error, *count);
    if (errors.empty())
        args.mistake("errors are NAME=COUNT; there are " + known_errors());
    return errors;
}

Answer count_errors(PmFlows& flows, const PmTarget& target, const CountedErrors& errors) {
    std::string why;
    const auto index = flows.find(target, why);
    if (!index)
        return Answer::failure(why);
    for (const auto& [error, count] : errors)
        if (!flows.counts().fail(*index, *error, count))
            return Answer::failure(pm_target_text(target) + " doesn't count " + error->name);
    return {};
}

Action parse_errors(Chassis& chassis, Arguments& args) {
    const PmTarget target = target_argument(args);
    const CountedErrors errors = error_options(args);
    return on_target(chassis, target,
                     [target, errors](PmFlows& flows) { return count_errors(flows, target, errors); });
}

constexpr Command COMMANDS[] = {
    {"traffic",
     "TARGET [gem=N] [up=FRAMES] [down=FRAMES] [size=BYTES] [kind=unicast|broadcast|multicast] |\n"
     "    TARGET per-second [gem=N] [up=FRAMES] [down=FRAMES] ... | TARGET stop [gem=N]",
     "lets frames of 512 bytes pass an ONU (its serial number or gpon-onu1/3:12) or one of its GEM ports, a\n"
     "PON port (gpon-olt1/3) or a network port (ge1/1, xe1/1), towards the network and from it: once, or "
     "every\n"
     "second until it is stopped. They count there and at everything on their way to the network",
     parse_traffic},
    {"errors", "TARGET NAME=COUNT...",
     "counts errors at an ONU and its PON port, a PON port or a network port: bip8, fec-bytes, "
     "fec-corrected,\n"
     "fec-uncorrected, ploam, omci-crc, drift, negative-drift, burst, lcdg, rdi, gem-dropped, "
     "gem-corrected,\n"
     "gem-illegal, key, crc, rx, tx, dropped",
     parse_errors},
};

} // namespace

Action parse_show_port(Chassis& chassis, Arguments& args) {
    const uint32_t port = port_word(args, args.word("PORT"));
    const bool json = args.has_word() && args.word("--json") == "--json";
    return immediate([&chassis, port, json] {
        Card* card = card_of_port(chassis, port);
        if (!card)
            return Answer::failure(format("slot %u is empty", slot_of(port)));
        card->flows().settle();
        return Answer{{}, json ? std::vector{pm_json(*card, port)} : pm_lines(*card, port)};
    });
}

std::span<const Command> traffic_commands() {
    return COMMANDS;
}
