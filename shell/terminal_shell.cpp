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
#include "counter_rates.h"
#include "line_editor.h"
#include "line_tail.h"
#include "name_source.h"
#include "operator_session.h"
#include "pager.h"
#include "refusal_text.h"
#include "shown_answer.h"
#include "signal_watch.h"
#include "upgrade_progress.h"
#include "vty_client.h"

namespace {

bool colours_wanted() {
    const char* const no_colour = getenv("NO_COLOR");
    const char* const terminal = getenv("TERM");
    return isatty(STDOUT_FILENO) && !(no_colour && *no_colour) && terminal && std::string(terminal) != "dumb";
}

/// A terminal that can take a line back.
bool can_redraw() {
    const char* const terminal = getenv("TERM");
    return isatty(STDOUT_FILENO) && terminal && std::string(terminal) != "dumb";
}

void say(const std::string& text) {
    puts(text.c_str());
    fflush(stdout);
}

void show(const std::string& line) {
    if (!can_redraw())
        return;
    fputs(("\r\033[K" + line).c_str(), stdout);
    fflush(stdout);
}

/// The operator's terminal and what is on it.
class TerminalShell {
public:
    explicit TerminalShell(const std::string& socket)
        : output_(isatty(STDOUT_FILENO)), colours_(colours_wanted()),
          session_(
              socket, interrupt_,
              [this](enum node_type node, const std::string& line) { return tree_.understand(node, line); },
              {say, show}),
          names_(socket), editor_(
                              tree_, output_, interrupt_, [this] { return session_.mode().node(); },
                              [this](const std::string& text) {
                                  const auto& mode = session_.mode();
                                  return names_.complete(tree_, mode.node(), text, mode.object());
                              }) {}

    Exit run() {
        session_.open();
        const LineEditor::Watch watch = {[this] { return session_.descriptor(); },
                                         [this] { session_.look_at_connection(); }};
        while (!session_.mode().over()) {
            const auto line = editor_.read([this] { return session_.mode().prompt(); }, watch);
            if (!line) {
                putchar('\n');
                break;
            }
            editor_.remember(*line);
            if (!shell_words(*line).empty())
                run_line(*line);
        }
        return EXIT_OK;
    }

private:
    /// Run a line, as often as it says.
    void run_line(const std::string& line) {
        const auto taken = take_tail(line, tree_.understand(session_.mode().node(), line).has_value());
        if (const auto* const wrong = std::get_if<std::string>(&taken)) {
            show_error(*wrong);
            return;
        }
        const auto& tail = std::get<LineTail>(taken);
        CounterRates rates;
        if (tail.seconds == 0) {
            run_one(tail, rates);
            return;
        }
        for (unsigned turn = 1;; turn++) {
            print((colours_ ? "\033[H\033[2J" : "") + repeat_heading(tail));
            if (!run_one(tail, rates) || turn == tail.times || interrupted_within(tail.seconds))
                return;
        }
    }

    bool interrupted_within(unsigned seconds) {
        struct pollfd key = {interrupt_.descriptor(), POLLIN, 0};
        poll(&key, 1, static_cast<int>(seconds * 1000));
        return interrupt_.take();
    }

    /// False if it makes no sense to run the line once more.
    bool run_one(const LineTail& tail, CounterRates& rates) {
        const auto line = line_for_daemon(tail);
        if (!session_.connected() && session_.mode().depth() == 1 && may_end_session(line))
            exit(EXIT_LOST);
        const auto prompt = session_.mode().prompt();
        const auto before = session_.mode();
        try {
            const auto ask = [this](const std::string& asked) { return session_.run(asked); };
            const auto answer = asks_to_save(line) ? save_configuration(ask) : ask(line);
            if (!answer)
                return false;
            const auto reply = shown_answer(tail, with_upgrade_progress(tail, rates.rated(tail, *answer)));
            if (reply.result != 0) {
                show_refusal(before, line, reply);
                return false;
            }
            follow_length(before, line);
            if (tail.seconds == 0)
                output_.show(reply.text);
            else
                print(reply.text);
            fflush(stdout);
            return true;
        } catch (const VtyClientError& error) {
            show_error(std::string("% ") + error.what() + "\n");
            return false;
        }
    }

    void show_error(const std::string& text) const {
        print(colours_ ? "\033[31m" + text + "\033[0m" : text);
        fflush(stdout);
    }

    /// The daemon's text, and where in the line the trouble is.
    void show_refusal(const ShellMode& before, const std::string& line, const VtyReply& reply) const {
        const bool not_understood = reply.result == CMD_ERR_NO_MATCH || reply.result == CMD_ERR_AMBIGUOUS;
        const auto trouble = not_understood ? tree_.find_trouble(before.node(), line) : std::nullopt;
        if (trouble)
            print(std::string(before.prompt().size() + trouble->offset, ' ') + "^\n");
        show_error(reply.text);
        print(refusal_second_line(tree_, before.node(), line, reply));
        if (reply.refused != 0)
            print("  % see: show refused " + std::to_string(reply.refused) + "\n");
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
    void follow_length(const ShellMode& before, const std::string& line) {
        auto words = before.read(line).words;
        if (!words.empty() && words[0] == "do")
            words.erase(words.begin());
        if (words.size() != 3 || words[0] != "terminal")
            return;
        if (words[1] == "length")
            output_.set_length(atoi(words[2].c_str()));
        else if (words[1] == "no" && words[2] == "length")
            output_.set_length(std::nullopt);
    }

    SignalWatch interrupt_{SIGINT};
    CommandTree tree_;
    Pager output_;
    bool colours_;
    OperatorSession session_;
    NameSource names_;
    LineEditor editor_;
};

} // namespace

Exit run_terminal(const Options& options) {
    return TerminalShell(options.socket).run();
}
