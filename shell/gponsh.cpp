// gponsh: the operator shell.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <getopt.h>
#include <iostream>
#include <memory>
#include <optional>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "command_tree.h"
#include "config_image.h"
#include "config_save.h"
#include "line_editor.h"
#include "line_tail.h"
#include "name_source.h"
#include "operator_session.h"
#include "pager.h"
#include "refusal_text.h"
#include "script_runner.h"
#include "shown_answer.h"
#include "signal_watch.h"
#include "vty_client.h"

namespace {

enum exit_t { EXIT_OK = 0, EXIT_REFUSED = 1, EXIT_USAGE = 2, EXIT_LOST = 3, EXIT_INTERRUPTED = 130 };

constexpr char usage[] = R"(Usage: gponsh [-s PATH] [-c LINE]... [-f FILE [--apply|--check]]

Type commands to the gpon daemon. Without -c and -f, lines are read from
standard input; on a terminal with editing, history, completion (Tab), help (?)
and paging. The session starts in enable mode; "exit" there, or the end of the
input, ends it.

  -s, --socket PATH   the daemon's socket (default /var/run/gpon.vty)
  -c, --command LINE  run this line and no more; may be given several times,
                      the first that fails is the last that is run
  -f, --file FILE     run the lines of a file, such as a saved configuration
                      ("-" for standard input): a line that is refused ends its
                      block, and the next block is gone on with
      --apply         with -f: leave out the lines that the system has already
      --check         with -f: run nothing, tell what would change
  -h, --help          print this

Behind a command that shows something may stand "| include TEXT", "| exclude
TEXT", "| count", "| json", and "repeat SECONDS [TIMES]".

Exit status: 0, 1 if the daemon refused a line, or --check found what would
change, 2 for wrong usage or a file that can't be read, 3 if the daemon can't be
reached or goes away, 130 if Ctrl-C ended a file.
)";

struct options_t {
    std::string socket = "/var/run/gpon.vty";
    std::vector<std::string> lines;
    std::string file;
    bool apply = false;
    bool check = false;
};

/// Says what is wrong, unless getopt_long did, and ends the program.
[[noreturn]] void refuse_usage(const std::string& reason = "") {
    if (!reason.empty())
        fprintf(stderr, "gponsh: %s\n", reason.c_str());
    fputs(usage, stderr);
    exit(EXIT_USAGE);
}

/// Fill options from the command line; ends the program for --help and wrong usage.
options_t parse_options(int argc, char** argv) {
    static const struct option known[] = {{"socket", required_argument, nullptr, 's'},
                                          {"command", required_argument, nullptr, 'c'},
                                          {"file", required_argument, nullptr, 'f'},
                                          {"apply", no_argument, nullptr, 'A'},
                                          {"check", no_argument, nullptr, 'C'},
                                          {"help", no_argument, nullptr, 'h'},
                                          {}};
    options_t options;
    for (int o; (o = getopt_long(argc, argv, "s:c:f:h", known, nullptr)) != -1;) {
        switch (o) {
        case 's':
            options.socket = optarg;
            break;
        case 'c':
            options.lines.emplace_back(optarg);
            break;
        case 'f':
            if (!options.file.empty() || !*optarg)
                refuse_usage("-f takes one file");
            options.file = optarg;
            break;
        case 'A':
            options.apply = true;
            break;
        case 'C':
            options.check = true;
            break;
        case 'h':
            fputs(usage, stdout);
            exit(EXIT_OK);
        default:
            refuse_usage();
        }
    }
    if (optind != argc)
        refuse_usage(std::string("what is \"") + argv[optind] + "\"? A line is given with -c");
    if (!options.file.empty() && !options.lines.empty())
        refuse_usage("-c and -f don't go together");
    if ((options.apply || options.check) && options.file.empty())
        refuse_usage("--apply and --check go with -f");
    if (options.apply && options.check)
        refuse_usage("--apply and --check don't go together");
    return options;
}

void print(const std::string& text) {
    fwrite(text.data(), 1, text.size(), stdout);
}

// --- lines given, or from a pipe -------------------------------------------------------------

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

/// "exit" and "quit", or short for them: the daemon may hang up on these.
bool may_end_session(const std::string& line) {
    const auto words = shell_words(line);
    return words.size() == 1 &&
           (std::string("exit").starts_with(words[0]) || std::string("quit").starts_with(words[0]));
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

exit_t run_lines(const options_t& options) {
    vty_client daemon(options.socket);
    daemon.ask_reasons();
    given_lines given;
    if (!run_line(daemon, given, "enable"))
        return EXIT_REFUSED;
    return options.lines.empty() ? run_input(daemon, given) : run_given(daemon, given, options.lines);
}

// --- a file ----------------------------------------------------------------------------------

struct interrupted_t {};

void tell_refusal(const std::string& file, const script_refusal_t& refusal, const command_tree& tree) {
    fflush(stdout);
    fprintf(stderr, "%s:%zu: refused: %s\n", file.c_str(), refusal.number, refusal.line.c_str());
    if (!refusal.text.empty())
        fprintf(stderr, "    %s%s", refusal.text.c_str(), refusal.text.ends_with('\n') ? "" : "\n");
    if (const auto second = refusal_second_line(tree, refusal.node, refusal.line, refusal.reply);
        !second.empty())
        fprintf(stderr, "    %s", second.c_str() + second.find_first_not_of(" \n"));
    if (refusal.block_start != 0)
        fprintf(stderr, "    (ends the block of line %zu: %s)\n", refusal.block_start, refusal.block.c_str());
}

void tell_summary(const std::string& file, const script_summary_t& summary) {
    fflush(stdout);
    fprintf(stderr, "%s: %zu lines run, %zu refused; %zu blocks refused, %zu lines skipped", file.c_str(),
            summary.run, summary.refused, summary.blocks, summary.skipped);
    if (summary.same != 0)
        fprintf(stderr, "; %zu lines stood already", summary.same);
    fputc('\n', stderr);
}

/// The lines of the running configuration are left out, up to the first line that takes something away: what
/// stood may be gone behind it.
void leave_out_what_stands(script_runner& runner, const config_image& image) {
    const auto sure = std::make_shared<bool>(true);
    runner.leave_out([&image, sure](const script_line_t& line) { return *sure && image.holds(line); });
    runner.watch([sure](const script_line_t& line, bool /*known*/) {
        *sure = *sure && !line.line.starts_with("no ");
    });
}

/// Tell what a file would change: each line below the mode that it stands in.
exit_t tell_changes(const std::string& file, const config_image::changes_t& changes) {
    std::string place;
    size_t unknown = 0;
    for (const auto& change : changes.lines) {
        if (change.line.place != place)
            print((place = change.line.place) + "\n");
        print((change.known ? "    " : "  ? ") + change.line.line + "\n");
        unknown += change.known ? 0 : 1;
    }
    fflush(stdout);
    fprintf(stderr, "%s: %zu lines would run, %zu stand already", file.c_str(), changes.lines.size(),
            changes.same);
    if (unknown != 0)
        fprintf(stderr, "; %zu (\"?\") are no commands there", unknown);
    fputc('\n', stderr);
    return changes.lines.empty() ? EXIT_OK : EXIT_REFUSED;
}

exit_t run_stream(const options_t& options, std::istream& lines) {
    const std::string file = options.file == "-" ? "standard input" : options.file;
    signal_watch interrupt{SIGINT};
    const command_tree tree;
    const understand_t understand = [&](enum node_type node, const std::string& line) {
        return tree.understand(node, line);
    };
    shell_mode mode(understand);
    vty_client daemon(options.socket);
    daemon.ask_reasons();
    const auto receive = [&] {
        auto reply = wait_for_answer(daemon, interrupt, [] {
            if (isatty(STDERR_FILENO))
                fputs("(no answer from the daemon yet; Ctrl-C ends)\n", stderr);
        });
        if (!reply)
            throw interrupted_t{};
        return *reply;
    };
    const auto send = [&](const std::string& line) { daemon.send(line); };

    const auto save = [&] {
        return *save_configuration([&](const std::string& line) {
            send(line);
            return std::optional(receive());
        });
    };

    script_runner runner({send, receive, save}, mode, print,
                         [&](const script_refusal_t& refusal) { tell_refusal(file, refusal, tree); });
    try {
        send("enable");
        mode.answered("enable", receive().result);
        std::optional<config_image> image;
        if (options.apply || options.check) {
            send("write file");
            image.emplace(receive().text, understand);
        }
        if (options.check)
            return tell_changes(file, image->changes_by(lines, understand));
        if (options.apply)
            leave_out_what_stands(runner, *image);
        runner.run(lines);
    } catch (const interrupted_t&) {
        tell_summary(file, runner.summary());
        fprintf(stderr, "%s: ended by Ctrl-C behind line %zu\n", file.c_str(), runner.last_answered());
        return EXIT_INTERRUPTED;
    } catch (const vty_client_error&) {
        tell_summary(file, runner.summary());
        fprintf(stderr, "%s: the daemon answered up to line %zu\n", file.c_str(), runner.last_answered());
        throw;
    }
    tell_summary(file, runner.summary());
    return runner.summary().refused == 0 ? EXIT_OK : EXIT_REFUSED;
}

exit_t run_file(const options_t& options) {
    if (options.file == "-")
        return run_stream(options, std::cin);
    std::ifstream lines(options.file);
    if (!lines) {
        fprintf(stderr, "gponsh: %s can't be read\n", options.file.c_str());
        return EXIT_USAGE;
    }
    return run_stream(options, lines);
}

// --- a terminal ------------------------------------------------------------------------------

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

exit_t run_session(const options_t& options) {
    if (!options.file.empty())
        return run_file(options);
    if (!options.lines.empty() || !isatty(STDIN_FILENO))
        return run_lines(options);
    return terminal_shell(options.socket).run();
}

} // namespace

int main(int argc, char** argv) {
    const auto failed = [](const char* what) {
        fflush(stdout);
        fprintf(stderr, "gponsh: %s\n", what);
        return EXIT_LOST;
    };
    try {
        return run_session(parse_options(argc, argv));
    } catch (const std::exception& error) { // the connection's, nearly always
        return failed(error.what());
    } catch (const interrupted_t&) {
        return EXIT_INTERRUPTED;
    }
}
