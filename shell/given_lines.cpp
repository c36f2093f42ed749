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
#include "refusal_text.h"
#include "shown_answer.h"
#include "vty_client.h"

namespace {

/// Where lines that are given run, for the reading of one that the daemon didn't understand. The command tree
/// is made, and the lines are followed, when that is asked for first.
class given_lines {
public:
    void answered(const std::string& line, int result) { unread.emplace_back(line, result); }

    /// For a line that wasn't entered yet.
    std::string second_line(const std::string& line, const vty_reply_t& reply) {
        follow();
        return refusal_second_line(*tree, mode.node(), line, reply);
    }

    /// Does the daemon know the line as it stands?
    bool knows(const std::string& line) {
        follow();
        return mode.knows(line);
    }

private:
    void follow() {
        if (!tree)
            tree.emplace();
        for (const auto& [earlier, result] : std::exchange(unread, {}))
            mode.answered(earlier, result);
    }

    std::optional<command_tree> tree;
    shell_mode mode{
        [this](enum node_type node, const std::string& text) { return tree->understand(node, text); }};
    std::vector<std::pair<std::string, int>> unread;
};

vty_reply_t answer_to(vty_client& daemon, const std::string& line) {
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
bool run_line(vty_client& daemon, given_lines& given, const std::string& line) {
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
    const auto& tail = std::get<line_tail_t>(taken);
    for (unsigned turn = 1;; turn++) {
        const auto reply = shown_answer(tail, answer_to(daemon, line_for_daemon(tail)));
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
bool session_ended(vty_client& daemon, const std::string& line) {
    return may_end_session(line) && daemon.closed(200);
}

exit_t run_given(vty_client& daemon, given_lines& given, const std::vector<std::string>& lines) {
    for (const auto& line : lines) {
        if (!run_line(daemon, given, line))
            return EXIT_REFUSED;
        if (session_ended(daemon, line))
            break;
    }
    return EXIT_OK;
}

exit_t run_input(vty_client& daemon, given_lines& given) {
    exit_t status = EXIT_OK;
    for (std::string line; std::getline(std::cin, line);) {
        if (!run_line(daemon, given, line))
            status = EXIT_REFUSED;
        if (session_ended(daemon, line))
            break;
    }
    return status;
}

} // namespace

exit_t run_lines(const options_t& options) {
    vty_client daemon(options.socket);
    daemon.ask_reasons();
    given_lines given;
    if (!run_line(daemon, given, "enable"))
        return EXIT_REFUSED;
    return options.lines.empty() ? run_input(daemon, given) : run_given(daemon, given, options.lines);
}
