// Lines given with -c, or from a pipe.

#include "gponsh.h"

#include <cstdio>
#include <iostream>
#include <optional>
#include <poll.h>
#include <unistd.h>
#include <utility>

#include "command_tree.h"
#include "config_save.h"
#include "counter_rates.h"
#include "refusal_text.h"
#include "shown_answer.h"
#include "vty_client.h"

namespace {

/// Where lines that are given run, for the reading of one that the daemon didn't understand. The command tree
/// is made, and the lines are followed, when that is asked for first.
class GivenLines {
public:
    void answered(const std::string& line, int result) { unread_.emplace_back(line, result); }

    /// For a line that wasn't entered yet.
    std::string second_line(const std::string& line, const VtyReply& reply) {
        follow();
        return refusal_second_line(*tree_, mode_.node(), line, reply);
    }

    /// Does the daemon know the line as it stands?
    bool knows(const std::string& line) {
        follow();
        return mode_.knows(line);
    }

private:
    void follow() {
        if (!tree_)
            tree_.emplace();
        for (const auto& [earlier, result] : std::exchange(unread_, {}))
            mode_.answered(earlier, result);
    }

    std::optional<CommandTree> tree_;
    ShellMode mode_{
        [this](enum node_type node, const std::string& text) { return tree_->understand(node, text); }};
    std::vector<std::pair<std::string, int>> unread_;
};

VtyReply answer_to(VtyClient& daemon, const std::string& line) {
    daemon.send(line);
    auto reply = daemon.receive(1000);
    if (!reply) {
        if (isatty(STDERR_FILENO))
            fputs("(no answer from the daemon yet; Ctrl-C ends)\n", stderr);
        reply = daemon.receive();
    }
    return *reply;
}

/// Run one line, as often as it says, and print what it printed. True if it succeeded.
bool run_line(VtyClient& daemon, GivenLines& given, const std::string& line) {
    if (asks_to_save(line)) {
        const auto reply = save_configuration(
            [&](const std::string& asked) { return std::optional(answer_to(daemon, asked)); });
        print(reply->text);
        fflush(stdout);
        return reply->result == 0;
    }
    // Only a line with "repeat" in it has to be told from a command.
    const auto taken = take_tail(line, line.find("repeat") == line.npos || given.knows(line));
    if (const auto* const wrong = std::get_if<std::string>(&taken)) {
        print(*wrong);
        return false;
    }
    const auto& tail = std::get<LineTail>(taken);
    CounterRates rates;
    for (unsigned turn = 1;; turn++) {
        const auto reply = shown_answer(tail, rates.rated(tail, answer_to(daemon, line_for_daemon(tail))));
        print(reply.text);
        if (reply.result != 0)
            print(given.second_line(line, reply));
        fflush(stdout);
        given.answered(tail.command, reply.result);
        if (reply.result != 0 || tail.seconds == 0 || turn == tail.times)
            return reply.result == 0;
        poll(nullptr, 0, static_cast<int>(tail.seconds * 1000));
    }
}

/// Whether the line that was run ended the session, as asked: what follows it isn't run.
bool session_ended(VtyClient& daemon, const std::string& line) {
    return may_end_session(line) && daemon.closed(200);
}

Exit run_given(VtyClient& daemon, GivenLines& given, const std::vector<std::string>& lines) {
    for (const auto& line : lines) {
        if (!run_line(daemon, given, line))
            return EXIT_REFUSED;
        if (session_ended(daemon, line))
            break;
    }
    return EXIT_OK;
}

Exit run_input(VtyClient& daemon, GivenLines& given) {
    Exit status = EXIT_OK;
    for (std::string line; std::getline(std::cin, line);) {
        if (!run_line(daemon, given, line))
            status = EXIT_REFUSED;
        if (session_ended(daemon, line))
            break;
    }
    return status;
}

} // namespace

Exit run_lines(const Options& options) {
    VtyClient daemon(options.socket);
    daemon.ask_reasons();
    GivenLines given;
    if (!run_line(daemon, given, "enable"))
        return EXIT_REFUSED;
    return options.lines.empty() ? run_input(daemon, given) : run_given(daemon, given, options.lines);
}
