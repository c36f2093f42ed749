#include "operator_session.h"

#include <algorithm>

namespace {

constexpr int patience_ms = 1000;

} // namespace

std::optional<vty_reply_t> wait_for_answer(vty_client& client, signal_watch& interrupt,
                                           const std::function<void()>& notice) {
    for (int wait_ms = patience_ms;;) {
        if (auto reply = client.receive(wait_ms, interrupt.descriptor()))
            return reply;
        if (interrupt.take())
            return std::nullopt;
        if (wait_ms >= 0)
            notice();
        wait_ms = -1;
    }
}

operator_session::operator_session(std::string path_given, signal_watch& interrupt_given,
                                   understand_t understand, std::function<void(const std::string&)> say_given)
    : path(std::move(path_given)), interrupt(interrupt_given), place(std::move(understand)),
      say(std::move(say_given)) {}

std::optional<vty_reply_t> operator_session::wait() {
    return wait_for_answer(*client, interrupt,
                           [this] { say("(no answer from the daemon yet; Ctrl-C gives the prompt back)"); });
}

void operator_session::lose() {
    client.reset();
    given_up.clear();
}

void operator_session::open() {
    client = std::make_unique<vty_client>(path);
    client->ask_reasons();
    client->send("enable");
    const auto reply = wait();
    if (!reply)
        throw vty_client_error("given up");
    if (reply->result != 0)
        throw vty_client_error("the daemon refuses enable mode: " + reply->text);
    place.answered("enable", 0);
}

/// Connect again and go where the session was. False if that isn't possible, after saying so.
bool operator_session::reconnect() {
    const auto way = place.way_here();
    client = std::make_unique<vty_client>(path);
    client->ask_reasons();
    place.restart();
    for (const auto& line : way) {
        client->send(line);
        const auto reply = wait();
        if (!reply) {
            lose();
            throw vty_client_error("given up");
        }
        place.answered(line, reply->result);
        if (reply->result == 0)
            continue;
        client->send("end");
        if (wait())
            place.answered("end", 0);
        say("(connected again; \"" + line +
            "\" was refused, so this is enable mode and the line wasn't run)");
        return false;
    }
    say("(connected again, in the mode of before)");
    return true;
}

std::optional<vty_reply_t> operator_session::run(const std::string& line) {
    if (!client && !reconnect())
        return std::nullopt;
    try {
        client->send(line);
        for (;;) {
            auto reply = wait();
            if (!reply) {
                given_up.push_back(line);
                say("(given up; the daemon may still run it)");
                return std::nullopt;
            }
            if (given_up.empty()) {
                place.answered(line, reply->result);
                return reply;
            }
            tell_late_answer(*reply);
        }
    } catch (const vty_client_error& error) {
        lose();
        throw vty_client_error(std::string(error.what()) +
                               "; the line may have been run or not. The next line connects again");
    }
}

void operator_session::tell_late_answer(const vty_reply_t& reply) {
    const auto line = given_up.front();
    given_up.pop_front();
    place.answered(line, reply.result);
    const auto lines = std::count(reply.text.begin(), reply.text.end(), '\n');
    say("(\"" + line + "\", given up before, was " + (reply.result == 0 ? "run" : "refused") +
        " meanwhile; " + std::to_string(lines) + " lines of its output are left out)");
}

bool operator_session::look_at_connection() {
    if (!client)
        return false;
    bool told = false;
    try {
        while (const auto reply = client->receive(0)) {
            if (given_up.empty())
                throw vty_client_error("the daemon answered what nobody asked");
            tell_late_answer(*reply);
            told = true;
        }
    } catch (const vty_client_error& error) {
        lose();
        say(std::string("(") + error.what() + "; the next line connects again)");
        told = true;
    }
    return told;
}
