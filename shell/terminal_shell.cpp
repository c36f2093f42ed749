// The operator at a terminal.

#include "gponsh.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <poll.h>
#include <unistd.h>

#include "command_tree.h"
#include "config_save.h"
#include "line_editor.h"
#include "line_tail.h"
#include "name_source.h"
#include "operator_session.h"
#include "pager.h"
#include "refusal_text.h"
#include "shown_answer.h"
#include "signal_watch.h"
#include "vty_client.h"

namespace {

bool colours_wanted() {
    const char* const no_colour = getenv("NO_COLOR");
    const char* const terminal = getenv("TERM");
    return isatty(STDOUT_FILENO) && !(no_colour && *no_colour) && terminal && std::string(terminal) != "dumb";
}

/// The operator's terminal and what is on it.
class terminal_shell {
public:
    explicit terminal_shell(const std::string& socket)
        : output(isatty(STDOUT_FILENO)), colours(colours_wanted()),
          session(
              socket, interrupt,
              [this](enum node_type node, const std::string& line) { return tree.understand(node, line); },
              [](const std::string& text) {
                  puts(text.c_str());
                  fflush(stdout);
              }),
          names(socket), editor(
                             tree, output, interrupt, [this] { return session.mode().node(); },
                             [this](const std::string& text) {
                                 const auto& mode = session.mode();
                                 return names.complete(tree, mode.node(), text, mode.object());
                             }) {}

    exit_t run() {
        session.open();
        const line_editor::watch_t watch = {[this] { return session.descriptor(); },
                                            [this] { session.look_at_connection(); }};
        while (!session.mode().over()) {
            const auto line = editor.read([this] { return session.mode().prompt(); }, watch);
            if (!line) {
                putchar('\n');
                break;
            }
            editor.remember(*line);
            if (!shell_words(*line).empty())
                run_line(*line);
        }
        return EXIT_OK;
    }

private:
    /// Run a line, as often as it says.
    void run_line(const std::string& line) {
        const auto taken = take_tail(line, tree.understand(session.mode().node(), line).has_value());
        if (const auto* const wrong = std::get_if<std::string>(&taken)) {
            show_error(*wrong);
            return;
        }
        const auto& tail = std::get<line_tail_t>(taken);
        if (tail.seconds == 0) {
            run_one(tail);
            return;
        }
        for (unsigned turn = 1;; turn++) {
            print((colours ? "\033[H\033[2J" : "") + repeat_heading(tail));
            if (!run_one(tail) || turn == tail.times || interrupted_within(tail.seconds))
                return;
        }
    }

    bool interrupted_within(unsigned seconds) {
        struct pollfd key = {interrupt.descriptor(), POLLIN, 0};
        poll(&key, 1, static_cast<int>(seconds * 1000));
        return interrupt.take();
    }

    /// False if it makes no sense to run the line once more.
    bool run_one(const line_tail_t& tail) {
        const auto line = line_for_daemon(tail);
        if (!session.connected() && session.mode().depth() == 1 && may_end_session(line))
            exit(EXIT_LOST);
        const auto prompt = session.mode().prompt();
        const auto before = session.mode();
        try {
            const auto ask = [this](const std::string& asked) { return session.run(asked); };
            const auto answer = asks_to_save(line) ? save_configuration(ask) : ask(line);
            if (!answer)
                return false;
            const auto reply = shown_answer(tail, *answer);
            if (reply.result != 0) {
                show_refusal(before, line, reply);
                return false;
            }
            follow_length(before, line);
            if (tail.seconds == 0)
                output.show(reply.text);
            else
                print(reply.text);
            fflush(stdout);
            return true;
        } catch (const vty_client_error& error) {
            show_error(std::string("% ") + error.what() + "\n");
            return false;
        }
    }

    void show_error(const std::string& text) const {
        print(colours ? "\033[31m" + text + "\033[0m" : text);
        fflush(stdout);
    }

    /// The daemon's text, and where in the line the trouble is.
    void show_refusal(const shell_mode& before, const std::string& line, const vty_reply_t& reply) const {
        const bool not_understood = reply.result == CMD_ERR_NO_MATCH || reply.result == CMD_ERR_AMBIGUOUS;
        const auto trouble = not_understood ? tree.find_trouble(before.node(), line) : std::nullopt;
        if (trouble)
            print(std::string(before.prompt().size() + trouble->offset, ' ') + "^\n");
        show_error(reply.text);
        print(refusal_second_line(tree, before.node(), line, reply));
        fflush(stdout);
        if (!trouble || trouble->candidates.empty())
            return;
        std::string text = "  could be:";
        for (const auto& candidate : trouble->candidates)
            text += " " + candidate;
        print(text + "\n");
        fflush(stdout);
    }

    /// "terminal length N" sets the pages here: the daemon has none.
    void follow_length(const shell_mode& before, const std::string& line) {
        auto words = before.read(line).words;
        if (!words.empty() && words[0] == "do")
            words.erase(words.begin());
        if (words.size() != 3 || words[0] != "terminal")
            return;
        if (words[1] == "length")
            output.set_length(atoi(words[2].c_str()));
        else if (words[1] == "no" && words[2] == "length")
            output.set_length(std::nullopt);
    }

    signal_watch interrupt{SIGINT};
    command_tree tree;
    pager output;
    bool colours;
    operator_session session;
    name_source names;
    line_editor editor;
};

} // namespace

exit_t run_terminal(const options_t& options) {
    return terminal_shell(options.socket).run();
}
