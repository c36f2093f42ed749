// gponsh: the operator shell for machines without the platform's own.
//
// TODO: completion, "?" help and a prompt that tells the mode, from the daemon's command tables.

#include <cstdio>
#include <cstdlib>
#include <getopt.h>
#include <iostream>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include <readline/history.h>
#include <readline/readline.h>

#include "vty_client.h"

namespace {

enum exit_t { EXIT_OK = 0, EXIT_REFUSED = 1, EXIT_USAGE = 2, EXIT_LOST = 3 };

constexpr char usage[] = R"(Usage: gponsh [-s PATH] [-c LINE]...

Type commands to the gpon daemon. Without -c, lines are read from standard
input; on a terminal with editing and history. The session starts in enable
mode; "exit" there, or the end of the input, ends it.

  -s, --socket PATH   the daemon's socket (default /var/run/gpon.vty)
  -c, --command LINE  run this line and no more; may be given several times,
                      the first that fails is the last that is run
  -h, --help          print this

Exit status: 0, 1 if the daemon refused a line, 2 for wrong usage, 3 if the
daemon can't be reached or goes away.
)";

struct options_t {
    std::string socket = "/var/run/gpon.vty";
    std::vector<std::string> lines;
};

/// Fill options from the command line; ends the program for --help and wrong usage.
options_t parse_options(int argc, char** argv) {
    static const struct option known[] = {{"socket", required_argument, nullptr, 's'},
                                          {"command", required_argument, nullptr, 'c'},
                                          {"help", no_argument, nullptr, 'h'},
                                          {}};
    options_t options;
    for (int o; (o = getopt_long(argc, argv, "s:c:h", known, nullptr)) != -1;) {
        switch (o) {
        case 's':
            options.socket = optarg;
            break;
        case 'c':
            options.lines.emplace_back(optarg);
            break;
        case 'h':
            fputs(usage, stdout);
            exit(EXIT_OK);
        default:
            fputs(usage, stderr);
            exit(EXIT_USAGE);
        }
    }
    if (optind != argc) {
        fputs(usage, stderr);
        exit(EXIT_USAGE);
    }
    return options;
}

/// Run one line and print what it printed. True if it succeeded.
bool run_line(vty_client& daemon, const std::string& line) {
    const auto reply = daemon.run(line);
    fwrite(reply.text.data(), 1, reply.text.size(), stdout);
    fflush(stdout);
    return reply.result == 0;
}

/// "exit" and "quit", or short for them: the daemon may hang up on these.
bool may_end_session(const std::string& line) {
    const auto word = line.substr(0, line.find_last_not_of(" \t") + 1);
    return !word.empty() && (std::string("exit").starts_with(word) || std::string("quit").starts_with(word));
}

/// Run one line of a session; false in go_on if the session is over with it.
bool run_session_line(vty_client& daemon, const std::string& line, bool& go_on) {
    const bool success = run_line(daemon, line);
    go_on = !(may_end_session(line) && daemon.closed(200));
    return success;
}

exit_t run_given(vty_client& daemon, const std::vector<std::string>& lines) {
    for (const auto& line : lines) {
        if (!run_line(daemon, line))
            return EXIT_REFUSED;
    }
    return EXIT_OK;
}

exit_t run_input(vty_client& daemon) {
    exit_t status = EXIT_OK;
    bool go_on = true;
    for (std::string line; go_on && std::getline(std::cin, line);) {
        if (!run_session_line(daemon, line, go_on))
            status = EXIT_REFUSED;
    }
    return status;
}

exit_t run_terminal(vty_client& daemon) {
    using text_t = std::unique_ptr<char, decltype(&free)>;
    rl_bind_key('\t', rl_insert); // no file names
    for (bool go_on = true; go_on;) {
        const text_t line(readline("gpon# "), &free);
        if (!line) {
            putchar('\n');
            break;
        }
        if (*line)
            add_history(line.get());
        run_session_line(daemon, line.get(), go_on);
    }
    return EXIT_OK;
}

exit_t run_session(const options_t& options) {
    vty_client daemon(options.socket);
    if (!run_line(daemon, "enable"))
        return EXIT_REFUSED;
    if (!options.lines.empty())
        return run_given(daemon, options.lines);
    return isatty(STDIN_FILENO) ? run_terminal(daemon) : run_input(daemon);
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run_session(parse_options(argc, argv));
    } catch (const vty_client_error& error) {
        fflush(stdout);
        fprintf(stderr, "gponsh: %s\n", error.what());
        return EXIT_LOST;
    }
}
