#include "shown_answer.h"

#include <array>
#include <ctime>

std::string line_for_daemon(const line_tail_t& tail) {
    if (!tail.json())
        return tail.command;
    const auto words = tail.command.find_first_not_of(" \t");
    const bool done_above = tail.command.compare(words, 3, "do ") == 0;
    return done_above ? "do json " + tail.command.substr(words + 3) : "json " + tail.command;
}

vty_reply_t shown_answer(const line_tail_t& tail, const vty_reply_t& reply) {
    if (reply.result != 0)
        return reply;
    if (tail.json() && !reply.text.starts_with('['))
        return {"% \"" + tail.command + "\" shows no table that could be JSON.\n", 1};
    return {filtered(reply.text, tail.filters), 0};
}

std::string repeat_heading(const line_tail_t& tail) {
    const time_t now = time(nullptr);
    struct tm local {};
    localtime_r(&now, &local);
    std::array<char, 16> clock{};
    strftime(clock.data(), clock.size(), "%H:%M:%S", &local);
    return std::string(clock.data()) + "  " + tail.command + ", every " + std::to_string(tail.seconds) +
           " s; Ctrl-C ends\n";
}
