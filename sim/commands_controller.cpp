// Commands that act through the controller.

#include "command.h"
#include "replay.h"

namespace {

Answer result(bool ok, std::string& error) {
    return ok ? Answer() : Answer::failure(std::move(error));
}

Action parse_controller(Chassis& chassis, Arguments& args) {
    const bool on = args.on_off("the state");
    return immediate([&chassis, on] {
        std::string error;
        if (on)
            return result(chassis.controller.listen(error), error);
        chassis.controller.stop_listening();
        return Answer();
    });
}

const MessageType* message_word(Arguments& args) {
    const std::string name = args.word("TYPE");
    const MessageType* type = find_message(std::string_view(name));
    if (!type)
        args.mistake("no message type \"" + name + "\"");
    return type;
}

Action parse_event(Chassis& chassis, Arguments& args) {
    const MessageType* type = message_word(args);
    const uint32_t conn = args.number_option_or("conn", 0);
    const uint32_t seq = args.number_option_or("seq", 0);
    auto body = args.body_option("body");
    const Fields fields = args.rest_as_fields();
    std::string error;
    if (type && body && !fields.empty()) {
        args.mistake("body= and fields exclude each other");
    } else if (type && !body) {
        body.emplace();
        if (!type->event)
            args.mistake(std::string(type->name) + " has no known body: give body=");
        else if (!encode_body(*type->event, fields, *body, error))
            args.mistake(error);
    }
    return immediate([&chassis, type, conn, seq, body] {
        std::string why;
        return result(chassis.controller.send_event(*type, conn, seq, *body, why), why);
    });
}

Action parse_frame(Chassis& chassis, Arguments& args) {
    const uint32_t conn = args.number_option_or("conn", 0);
    Frame frame;
    FrameOverrides overrides;
    frame.type = static_cast<uint8_t>(args.number_option("type", 255).value_or(0));
    frame.seq = args.number_option_or("seq", 0);
    frame.body = args.body_option("body").value_or(std::vector<uint8_t>());
    if (const auto version = args.number_option("version", 255))
        overrides.version = static_cast<uint8_t>(*version);
    if (const auto length = args.number_option("length", 0xFFFF))
        overrides.length = static_cast<uint16_t>(*length);
    return immediate([&chassis, conn, frame, overrides] {
        std::string error;
        const uint32_t id = chassis.controller.send_frame(conn, frame, overrides, error);
        if (id != 0)
            chassis.records.add("frame", {{"conn", std::to_string(id)},
                                          {"type", std::to_string(frame.type)},
                                          {"len", std::to_string(frame.body.size())}});
        return result(id != 0, error);
    });
}

Action parse_raw(Chassis& chassis, Arguments& args) {
    const uint32_t conn = args.number_option_or("conn", 0);
    const auto bytes = parse_hex(args.word("HEX"));
    if (!bytes)
        args.mistake("HEX must be hexadecimal digits, two per byte");
    return immediate([&chassis, conn, bytes] {
        std::string error;
        const uint32_t id = chassis.controller.send(conn, *bytes, error);
        if (id != 0)
            chassis.records.add("raw",
                                {{"conn", std::to_string(id)}, {"len", std::to_string(bytes->size())}});
        return result(id != 0, error);
    });
}

Action parse_replay(Chassis& chassis, Arguments& args) {
    const auto slot = args.number_option("slot");
    if (!slot)
        args.mistake("slot= is missing");
    return replay_action(chassis, slot.value_or(0), args.number_option_or("step", 0));
}

Action parse_stages(Chassis& chassis, Arguments&) {
    return immediate([&chassis] {
        Answer answer;
        for (const Stage& stage : chassis.controller.stages())
            answer.lines.push_back(format("cfg_prio=%u appid=%u appName=%s", stage.prio, stage.appid,
                                          encode_value(stage.app_name).c_str()));
        return answer;
    });
}

Action parse_connections(Chassis& chassis, Arguments&) {
    return immediate([&chassis] {
        Answer answer;
        for (const auto& [id, conn] : chassis.controller.connections()) {
            const bool session =
                id == chassis.controller.session_sync() || id == chassis.controller.session_async();
            answer.lines.push_back(format("conn=%u role=%s port=%u state=%s session=%d", id,
                                          role_name(conn->role), conn->peer_port,
                                          conn->connecting ? "connecting" : "open", session ? 1 : 0));
        }
        return answer;
    });
}

Action parse_connect_async(Chassis& chassis, Arguments& args) {
    const uint32_t port = args.number_option("port", 0xFFFF).value_or(Controller::DAEMON_PORT + 1);
    return immediate([&chassis, port] {
        std::string error;
        const uint32_t id = chassis.controller.connect_async(static_cast<uint16_t>(port), error);
        return id != 0 ? Answer{{}, {format("conn=%u", id)}} : Answer::failure(error);
    });
}

Action parse_close(Chassis& chassis, Arguments& args) {
    const std::string which = args.word("sync, async, all or a connection's id");
    const auto id = parse_u32(which);
    if (which != "sync" && which != "async" && which != "all" && !id)
        args.mistake("not sync, async, all or a connection's id: \"" + which + "\"");
    return immediate([&chassis, which, id] {
        if (id)
            return chassis.controller.close_one(*id) ? Answer() : Answer::failure("no connection " + which);
        std::optional<Controller::Role> role;
        if (which != "all")
            role = which == "sync" ? Controller::Role::SYNC : Controller::Role::ASYNC;
        return chassis.controller.close_all(role) != 0 ? Answer()
                                                       : Answer::failure("there is no such connection");
    });
}

Action parse_hostname(Chassis& chassis, Arguments& args) {
    const std::string name = args.word("NAME");
    if (name.size() >= sizeof(umsg_host_t::name))
        args.mistake("NAME is longer than 32 characters");
    return immediate([&chassis, name] {
        chassis.controller.set_hostname(name);
        return Answer();
    });
}

Action parse_types(Chassis&, Arguments&) {
    return immediate([] {
        Answer answer;
        for (const MessageType& type : all_messages()) {
            std::string line = format("%u %s", type.number, short_name(type).c_str());
            if (type.event) {
                line += std::string(" ") + type.event->name + ":";
                for (const Field& field : type.event->fields)
                    line += std::string(" ") + field.name;
            }
            answer.lines.push_back(std::move(line));
        }
        return answer;
    });
}

constexpr Command COMMANDS[] = {
    {"controller", "on|off", "listen on 127.0.0.1 port 30000, or stop; open connections stay",
     parse_controller},
    {"hostname", "NAME", "the answer to a request for the host name", parse_hostname},
    {"connections", "", "open connections to the daemon; session=1 are the present daemon's own pair",
     parse_connections},
    {"event", "TYPE [FIELD=VALUE]... [body=HEX|zeros:SIZE] [conn=ID] [seq=N]",
     "sends an event on the asynchronous connection; fields not given are 0. \"types\" lists\n"
     "types and fields; ifindex= takes a port's name, flags= \"up+running\", vlans= \"1,5-7\",\n"
     "a text \"hex:\" and digits: \"event new-if ifindex=gpon-olt1/1 flags=up+running\"",
     parse_event},
    {"types", "", "message types by number and name, with the record and fields of those that are events",
     parse_types},
    {"frame", "[type=N] [version=N] [length=N] [seq=N] [body=HEX|zeros:SIZE] [conn=ID]",
     "sends a frame whose header needn't be right", parse_frame},
    {"raw", "HEX [conn=ID]", "sends these bytes", parse_raw},
    {"replay", "slot=N [step=MS]",
     "sends cfg-slot-sync-start for each stage that the daemon registered, in the order of their\n"
     "priority; with step= each waits for the daemon's result of the one before, at most MS ms",
     parse_replay},
    {"stages", "", "the stages that the daemon registered", parse_stages},
    {"connect-async", "[port=N]", "one more asynchronous connection, to port N (30047); prints its id",
     parse_connect_async},
    {"close", "sync|async|all|ID", "closes connections", parse_close},
};

} // namespace

std::span<const Command> controller_commands() {
    return COMMANDS;
}
