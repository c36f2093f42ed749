// gponsh: the operator shell.

#include "gponsh.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <getopt.h>
#include <string>
#include <unistd.h>

#include "shell_mode.h"

namespace {

constexpr char USAGE[] = R"(Usage: gponsh [-s PATH] [-c LINE]... [-f FILE [--apply|--check]]

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

To begin with: "list" prints the commands of this mode, "find TEXT" those of all
modes, "?" what can stand here; "configure terminal" enters the configuration,
"exit" goes up, "write memory" saves.

Behind a command that shows something may stand "| include TEXT", "| exclude
TEXT", "| count", "| json", and "repeat SECONDS [TIMES]".

Exit status: 0, 1 if the daemon refused a line, or --check found what would
change, 2 for wrong usage or a file that can't be read, 3 if the daemon can't be
reached or goes away, 130 if Ctrl-C ended a file.
)";

/// Says what is wrong, unless getopt_long did, and ends the program.
[[noreturn]] void refuse_usage(const std::string& reason = "") {
    if (!reason.empty())
        fprintf(stderr, "gponsh: %s\n", reason.c_str());
    fputs(USAGE, stderr);
    exit(EXIT_USAGE);
}

/// Fill options from the command line; ends the program for --help and wrong usage.
Options parse_options(int argc, char** argv) {
    static const struct option known[] = {{"socket", required_argument, nullptr, 's'},
                                          {"command", required_argument, nullptr, 'c'},
                                          {"file", required_argument, nullptr, 'f'},
                                          {"apply", no_argument, nullptr, 'A'},
                                          {"check", no_argument, nullptr, 'C'},
                                          {"help", no_argument, nullptr, 'h'},
                                          {}};
    Options options;
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
            fputs(USAGE, stdout);
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

Exit run_session(const Options& options) {
    if (!options.file.empty())
        return run_file(options);
    if (!options.lines.empty() || !isatty(STDIN_FILENO))
        return run_lines(options);
    return run_terminal(options);
}

} // namespace

void print(const std::string& text) {
    fwrite(text.data(), 1, text.size(), stdout);
}

bool may_end_session(const std::string& line) {
    const auto words = shell_words(line);
    return words.size() == 1 &&
           (std::string("exit").starts_with(words[0]) || std::string("quit").starts_with(words[0]));
}

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
    } catch (const Interrupted&) {
        return EXIT_INTERRUPTED;
    }
}
