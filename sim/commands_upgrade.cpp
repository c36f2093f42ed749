// Commands for the upgrades of ONUs that the cards carry out.

#include "command.h"

namespace {

constexpr uint32_t MAX_MS = 600'000;
constexpr uint32_t MAX_ONUS = 2048;

struct StageName {
    const char* name;
    UpgradeStage stage;
};
constexpr StageName STAGES[] = {
    {"download", UpgradeStage::DOWNLOAD},
    {"write", UpgradeStage::WRITE},
    {"commit", UpgradeStage::COMMIT},
    {"activate", UpgradeStage::ACTIVATE},
};

Action parse_delays(Chassis& chassis, Arguments& args) {
    UpgradeDelays delays;
    const auto time = [&args](const char* name, std::chrono::milliseconds& delay) {
        delay = std::chrono::milliseconds(
            args.number_option(name, MAX_MS).value_or(static_cast<uint32_t>(delay.count())));
    };
    time("download", delays.download);
    time("write", delays.write);
    time("commit", delays.commit);
    delays.at_once = args.number_option("at-once", MAX_ONUS).value_or(delays.at_once);
    return immediate([&chassis, delays] {
        for (const auto& [slot, card] : chassis.cards.all())
            card->upgrades().set_delays(delays);
        return Answer();
    });
}

Action parse_fail(Chassis& chassis, Arguments& args) {
    const OnuSerial serial = serial_argument(args);
    const std::string name = args.word("download, write, commit or activate");
    for (const StageName& each : STAGES)
        if (name == each.name)
            return on_onu(chassis, serial, [serial, stage = each.stage](Card& card, Onu&) {
                card.upgrades().fail_next(serial, stage);
                return Answer();
            });
    args.mistake("must be download, write, commit or activate, not \"" + name + "\"");
    return {};
}

Action parse_list(Chassis& chassis) {
    return immediate([&chassis] {
        Answer answer;
        for (const auto& [slot, card] : chassis.cards.all())
            for (std::string& line : card->upgrades().lines())
                answer.lines.push_back(std::move(line));
        return answer;
    });
}

Action parse_upgrade(Chassis& chassis, Arguments& args) {
    const std::string what = args.word("delays, fail or list");
    if (what == "delays")
        return parse_delays(chassis, args);
    if (what == "fail")
        return parse_fail(chassis, args);
    if (what == "list")
        return parse_list(chassis);
    args.mistake("must be delays, fail or list, not \"" + what + "\"");
    return {};
}

constexpr Command COMMANDS[] = {
    {"upgrade",
     "delays [download=MS] [write=MS] [commit=MS] [at-once=N] |\n"
     "    fail SERIAL download|write|commit|activate | list",
     "sets how long it takes the cards there are to bring an image to an ONU (300), to write it (100) and "
     "to\n"
     "commit it (30), and to how many ONUs of a port they go at once (16); lets the next upgrade of an ONU "
     "fail\n"
     "at a stage; lists the upgrades that the cards know of",
     parse_upgrade},
};

} // namespace

std::span<const Command> upgrade_commands() {
    return COMMANDS;
}
