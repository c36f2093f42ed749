// chassis-sim: the simulated chassis around the daemon.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <getopt.h>
#include <poll.h>
#include <sys/signalfd.h>

#include "byte_order.h"
#include "card_carrier.h"
#include "chassis.h"
#include "control_socket.h"
#include "scenario.h"

namespace {

constexpr int EXIT_RUN = 1;   // a port or socket can't be had, or the scenario failed
constexpr int EXIT_USAGE = 2; // wrong options, or a mistake in the scenario

constexpr char USAGE[] =
    "Usage: chassis-sim [--scenario FILE] [--control PATH] [--carrier unix|tipc]\n"
    "                   [--byte-order ORDER] [--capture FILE] [--check]\n"
    "\n"
    "Plays the chassis around the daemon: the system controller (127.0.0.1 port 30000), the\n"
    "heartbeat monitor (/tmp/uds_hb.socket) and the environment store ($OV_ENV_DIR, or\n"
    "/var/run/product/env). Driven by a scenario and by simctl. Runs in the foreground until\n"
    "\"simctl quit\", SIGTERM or SIGINT. These places are the daemon's own: run both in a\n"
    "gpon-sandbox.\n"
    "\n"
    "  --scenario FILE   commands to run; see \"simctl help\" for the commands\n"
    "  --control PATH    control socket (/var/run/chassis-sim.ctl)\n"
    "  --carrier NAME    what the line cards are reached by: unix, or tipc where the kernel has\n"
    "                    it (OV_IPC_CARRIER, or unix)\n"
    "  --byte-order big|little\n"
    "                    of the daemon's machine, when it isn't this one's\n"
    "  --capture FILE    what travels between daemon and line cards, for Wireshark (pcap)\n"
    "  --check           check the scenario and exit\n"
    "  --help            this text\n"
    "\n"
    "Prints \"chassis-sim: ready\" once it listens and the scenario has run up to its first wait.\n"
    "Exit status: 0; 1 when a port or socket can't be had or the scenario failed; 2 for wrong\n"
    "options or a mistake in the scenario.\n";

struct Options {
    std::string scenario;
    std::string control = ControlSocket::DEFAULT_PATH;
    std::string capture;
    bool check = false;
};

void complain(const std::string& why) {
    std::fprintf(stderr, "chassis-sim: %s\n", why.c_str());
}

[[noreturn]] void bad_usage(const std::string& why) {
    complain(why + "; see --help");
    std::exit(EXIT_USAGE);
}

void take_byte_order(std::string_view word) {
    if (word != "big" && word != "little")
        bad_usage("--byte-order is big or little");
    daemon_order::set(word == "big" ? std::endian::big : std::endian::little);
}

Options parse(int argc, char** argv) {
    enum { SCENARIO = 256, CONTROL, CARRIER, ORDER, CAPTURE, CHECK, HELP };
    const option longopts[] = {
        {"scenario", required_argument, nullptr, SCENARIO},
        {"control", required_argument, nullptr, CONTROL},
        {"carrier", required_argument, nullptr, CARRIER},
        {"byte-order", required_argument, nullptr, ORDER},
        {"capture", required_argument, nullptr, CAPTURE},
        {"check", no_argument, nullptr, CHECK},
        {"help", no_argument, nullptr, HELP},
        {nullptr, 0, nullptr, 0},
    };
    Options opt;
    opterr = 0;
    for (int c = 0; (c = getopt_long(argc, argv, "h", longopts, nullptr)) != -1;) {
        switch (c) {
        case SCENARIO:
            opt.scenario = optarg;
            break;
        case CONTROL:
            opt.control = optarg;
            break;
        case CARRIER:
            if (!choose_card_carrier(optarg))
                bad_usage(std::string("no such carrier: ") + optarg);
            break;
        case ORDER:
            take_byte_order(optarg);
            break;
        case CAPTURE:
            opt.capture = optarg;
            break;
        case CHECK:
            opt.check = true;
            break;
        case HELP:
        case 'h':
            std::fputs(USAGE, stdout);
            std::exit(0);
        default:
            bad_usage(std::string("unknown option, or its argument is missing: ") + argv[optind - 1]);
        }
    }
    if (optind < argc)
        bad_usage(std::string("unexpected argument: ") + argv[optind]);
    return opt;
}

// SIGTERM and SIGINT end the loop.
Fd watch_signals(EventLoop& loop) {
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    Fd fd(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
    loop.watch(fd.get(), POLLIN, [&loop](short) { loop.stop(); });
    return fd;
}

// The scenario's two scripts at work.
class Player {
public:
    Player(Chassis& chassis, const Scenario& scenario) : chassis_(chassis), scenario_(scenario) {}

    void start() {
        chassis_.controller.set_session_handler([this](bool up) { on_session(up); });
        chassis_.scenario_state = "running";
        on_start_.start(scenario_.on_start, 0, [this](const std::string& error) {
            chassis_.scenario_state = error.empty() ? "done" : "failed";
            if (!error.empty())
                give_up(error);
        });
    }
    bool failed() const { return failed_; }

private:
    // All records of the session count for the waits of "on connect": a request may come before the
    // connection back stands.
    void on_session(bool up) {
        on_connect_.cancel();
        if (!up)
            return;
        chassis_.loop.after(std::chrono::milliseconds(0), [this] {
            const uint64_t since = chassis_.controller.session_since();
            on_connect_.start(scenario_.on_connect, since, [this](const std::string& error) {
                if (!error.empty())
                    note_failure(error);
                else
                    chassis_.records.add("scenario", {{"script", "on-connect"}, {"result", "done"}});
            });
        });
    }

    void note_failure(const std::string& error) {
        complain(error);
        chassis_.records.add("scenario", {{"result", "failed"}, {"error", error}});
    }

    void give_up(const std::string& error) {
        note_failure(error);
        failed_ = true;
        chassis_.loop.stop();
    }

    Chassis& chassis_;
    const Scenario& scenario_;
    ScriptRun on_start_;
    ScriptRun on_connect_;
    bool failed_ = false;
};

// Returns what main returns; everything that was made is taken down on the way out.
int play(const Options& opt, Chassis& chassis, const Scenario& scenario) {
    std::string error;
    const Fd signals = watch_signals(chassis.loop);
    ControlSocket control(chassis);
    // A value that an earlier run left must not let the daemon start before the scenario says so.
    if (!opt.capture.empty() && !chassis.cards.capture().open(opt.capture, error)) {
        complain(error);
        return EXIT_RUN;
    }
    if (!control.listen(opt.control, error) || !chassis.controller.listen(error) ||
        !chassis.monitor.start(error) || !chassis.env.put("mono_ready", "0", error)) {
        complain(error);
        return EXIT_RUN;
    }
    Player player(chassis, scenario);
    player.start();
    if (!player.failed()) {
        std::puts("chassis-sim: ready");
        std::fflush(stdout);
        chassis.loop.run();
    }
    chassis.controller.set_session_handler(nullptr);
    chassis.env.put("mono_ready", "0", error);
    return player.failed() ? EXIT_RUN : 0;
}

} // namespace

int main(int argc, char** argv) {
    const Options opt = parse(argc, argv);
    Chassis chassis;
    Scenario scenario;
    std::string error;
    if (!opt.scenario.empty() && !load_scenario(chassis, opt.scenario, scenario, error)) {
        complain(error);
        return EXIT_USAGE;
    }
    return opt.check ? 0 : play(opt, chassis, scenario);
}
