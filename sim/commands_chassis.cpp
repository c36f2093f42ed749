// Commands for the environment store, the heartbeat monitor and the program itself.

#include "command.h"

#include "product_facts.h"

namespace {

Answer put_env(Chassis& chassis, const std::string& name, const std::string& value) {
    std::string error;
    if (!chassis.env.put(name, value, error))
        return Answer::failure(error);
    chassis.records.add("env", {{"name", name}, {"value", value}});
    return {};
}

std::string name_word(Arguments& args) {
    std::string name = args.word("NAME");
    if (!EnvStore::is_name(name))
        args.mistake("NAME must be letters, digits and _");
    return name;
}

Action parse_env(Chassis& chassis, Arguments& args) {
    if (!args.has_word()) {
        return immediate([&chassis] {
            Answer answer;
            for (const auto& [name, value] : chassis.env.all())
                answer.lines.push_back(name + "=" + encode_value(value));
            return answer;
        });
    }
    const std::string name = name_word(args);
    if (args.has_text())
        return immediate(
            [&chassis, name, value = args.text("VALUE")] { return put_env(chassis, name, value); });
    return immediate([&chassis, name] {
        const auto value = chassis.env.get(name);
        return value ? Answer{{}, {*value}} : Answer::failure(name + " is not set");
    });
}

Action parse_env_unset(Chassis& chassis, Arguments& args) {
    const std::string name = name_word(args);
    return immediate([&chassis, name] {
        return chassis.env.remove(name) ? Answer() : Answer::failure(name + " is not set");
    });
}

Action parse_product_facts(Chassis& chassis, Arguments&) {
    return immediate([&chassis] {
        std::string error;
        for (const ProductFact& fact : product_facts())
            if (!chassis.env.get(fact.name) && !chassis.env.put(fact.name, fact.value, error))
                return Answer::failure(error);
        return Answer();
    });
}

Action parse_mono_ready(Chassis& chassis, Arguments& args) {
    const std::string value = args.word("0 or 1");
    if (value != "0" && value != "1")
        args.mistake("must be 0 or 1, not \"" + value + "\"");
    return immediate([&chassis, value] {
        if (value == "1" && !chassis.controller.listening())
            return Answer::failure("the controller isn't listening");
        return put_env(chassis, "mono_ready", value);
    });
}

Action parse_monitor(Chassis& chassis, Arguments& args) {
    const bool on = args.on_off("the state");
    return immediate([&chassis, on] {
        std::string error;
        if (on && !chassis.monitor.start(error))
            return Answer::failure(error);
        if (!on)
            chassis.monitor.stop();
        return Answer();
    });
}

Action parse_heartbeats(Chassis& chassis, Arguments&) {
    return immediate([&chassis] {
        Answer answer;
        for (const auto& [pid, life] : chassis.monitor.lives())
            answer.lines.push_back(format("pid=%u count=%llu last=%.3f", pid,
                                          static_cast<unsigned long long>(life.count), life.last));
        return answer;
    });
}

Action parse_delay(Chassis& chassis, Arguments& args) {
    const uint32_t ms = args.number("MS");
    return [&chassis, ms](const Context&, const Done& done) {
        const auto id = chassis.loop.after(std::chrono::milliseconds(ms), [done] { done({}); });
        return Cancel([&chassis, id] { chassis.loop.cancel(id); });
    };
}

Action parse_status(Chassis& chassis, Arguments&) {
    return immediate([&chassis] {
        const Controller& controller = chassis.controller;
        return Answer{{},
                      {format("controller=%s", controller.listening() ? "on" : "off"),
                       format("sync=%u", controller.session_sync()),
                       format("async=%u", controller.session_async()),
                       format("monitor=%s", chassis.monitor.running() ? "on" : "off"),
                       format("records=%zu", chassis.records.all().size()),
                       format("dropped=%llu", static_cast<unsigned long long>(chassis.records.dropped())),
                       "scenario=" + chassis.scenario_state, "env=" + encode_value(chassis.env.directory())}};
    });
}

Action parse_quit(Chassis& chassis, Arguments&) {
    return immediate([&chassis] {
        // after the answer has gone out
        chassis.loop.after(std::chrono::milliseconds(0), [&chassis] { chassis.loop.stop(); });
        return Answer();
    });
}

constexpr Command COMMANDS[] = {
    {"status", "", "the state of the chassis, one key=value per line; connection 0 is none", parse_status},
    {"env", "[NAME [VALUE]]", "sets or prints a value of the environment store, or prints all", parse_env},
    {"env-unset", "NAME", "takes a value out of the environment store", parse_env_unset},
    {"product-facts", "",
     "sets what a platform tells of the product, but for the values that are set already",
     parse_product_facts},
    {"mono-ready", "0|1", "sets mono_ready, for which the daemon waits; 1 needs a listening controller",
     parse_mono_ready},
    {"monitor", "on|off", "the heartbeat monitor's socket", parse_monitor},
    {"heartbeats", "", "processes that sent heartbeats: how many, and when the last", parse_heartbeats},
    {"delay", "MS", "does nothing for a while", parse_delay},
    {"quit", "", "ends the program", parse_quit},
};

} // namespace

std::span<const Command> chassis_commands() {
    return COMMANDS;
}
