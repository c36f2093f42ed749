// gpon-support: everything that helps to find out what is wrong, in one archive without passwords.

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <getopt.h>
#include <iomanip>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "bundle.h"
#include "collect.h"
#include "run_program.h"
#include "secrets.h"

namespace {

constexpr int EXIT_NO_BUNDLE = 1;
constexpr int EXIT_USAGE = 2;
constexpr mode_t NOBODY_ELSE = 077;
constexpr long LONGEST_WAIT = 600;

constexpr char USAGE[] =
    "Usage: gpon-support [--output DIR] [--log FILE] [--wait SECONDS]\n"
    "       gpon-support --blanked | --help\n"
    "\n"
    "Puts the log, crash reports, tables, configuration, versions and figures of the daemon, and\n"
    "what the system says of it, into one archive, DIR/gpon-support-HOST-TIME.tar.gz, and prints\n"
    "its path. MANIFEST in it says what is in it and what isn't. Passwords, keys and logical ONU\n"
    "ids are *** in all of it. A daemon that is dead or doesn't answer is no obstacle.\n"
    "\n"
    "  --output DIR    where the archive goes (/tmp); twice its unpacked size is needed there\n"
    "  --log FILE      the daemon's log, if it isn't where the daemon's environment says\n"
    "  --socket PATH   the daemon's socket (/var/run/gpon.vty)\n"
    "  --wait SECONDS  for each answer of the daemon (20)\n"
    "  --blanked       print which fields of the tables' files are blanked, and end\n"
    "  --help          this text\n"
    "\n"
    "Exit status: 0; 1 when there is no archive, and nothing of it is left; 2 for wrong options.\n";

struct Options {
    Places places;
    std::string directory = "/tmp";
};

[[noreturn]] void bad_usage(const std::string& why) {
    std::fprintf(stderr, "gpon-support: %s; see --help\n", why.c_str());
    std::exit(EXIT_USAGE);
}

[[noreturn]] void print_and_end(const std::string& text) {
    const bool printed = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    std::exit(printed ? 0 : EXIT_NO_BUNDLE);
}

std::chrono::seconds wait_of(const char* text) {
    char* end = nullptr;
    const long seconds = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || seconds < 1 || seconds > LONGEST_WAIT)
        bad_usage("--wait is 1 to 600");
    return std::chrono::seconds(seconds);
}

Options parse(int argc, char** argv) {
    const option longopts[] = {
        {"output", required_argument, nullptr, 'o'},
        {"log", required_argument, nullptr, 'l'},
        {"socket", required_argument, nullptr, 's'},
        {"wait", required_argument, nullptr, 'w'},
        {"blanked", no_argument, nullptr, 'b'},
        {"help", no_argument, nullptr, 'h'},
        {nullptr, 0, nullptr, 0},
    };
    Options options;
    opterr = 0;
    for (int c = 0; (c = getopt_long(argc, argv, "o:h", longopts, nullptr)) != -1;) {
        if (c == 'o')
            options.directory = optarg;
        else if (c == 'l')
            options.places.log = optarg;
        else if (c == 's')
            options.places.socket = optarg;
        else if (c == 'w')
            options.places.wait = wait_of(optarg);
        else if (c == 'b')
            print_and_end(Secrets::list_of_tables());
        else if (c == 'h')
            print_and_end(USAGE);
        else
            bad_usage(std::string("unknown option, or its argument is missing: ") + argv[optind - 1]);
    }
    if (optind < argc)
        bad_usage(std::string("unexpected argument: ") + argv[optind]);
    return options;
}

std::string host_name() {
    char name[65] = {};
    if (gethostname(name, sizeof name - 1) != 0 || name[0] == '\0')
        return "device";
    for (char* c = name; *c != '\0'; ++c)
        if (std::string_view("/ \t\n").find(*c) != std::string_view::npos)
            *c = '-';
    return name;
}

std::string time_text(const char* form) {
    const time_t now = time(nullptr);
    tm local{};
    std::ostringstream text;
    text << std::put_time(localtime_r(&now, &local), form);
    return text.str();
}

std::string remarks(const Secrets& secrets, const std::string& said) {
    return "gpon-support " GPON_VERSION ", " + host_name() + ", " + time_text("%Y-%m-%d %H:%M:%S %z") + "\n" +
           said + "\n" + std::to_string(secrets.blanked()) +
           " places are blanked (***): passwords, keys and logical ONU ids in the tables' files and in "
           "commands,\n"
           "and wherever one of these values of 4 or more characters stood in another file. Names of "
           "subscribers, serial\n"
           "numbers and addresses are in it.\n";
}

void make(const Options& options) {
    Bundle bundle(options.directory, "gpon-support-" + host_name() + "-" + time_text("%Y%m%d-%H%M%S"));
    Secrets secrets;
    std::string said;
    collect(options.places, bundle, secrets, said);
    std::printf("%s\n", bundle.finish(remarks(secrets, said)).c_str());
}

} // namespace

int main(int argc, char** argv) {
    const Options options = parse(argc, argv);
    umask(NOBODY_ELSE);
    watch_for_end();
    try {
        make(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "gpon-support: no archive: %s\n", error.what());
        return EXIT_NO_BUNDLE;
    }
    return 0;
}
