// gpon-sandbox: gives a command mount, network and process namespaces of its own.

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <getopt.h>
#include <memory>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "init.h"
#include "private_root.h"
#include "relay.h"
#include "report.h"
#include "spaces.h"

namespace {

constexpr char USAGE[] =
    "Usage: gpon-sandbox [--bind DIR]... [--pid-file F] [--] COMMAND [ARG]...\n"
    "       gpon-sandbox --hold [--bind DIR]... [--pid-file F]\n"
    "       gpon-sandbox --enter PID [--] COMMAND [ARG]...\n"
    "\n"
    "Runs a command with mount, network and process namespaces of its own. It sees the\n"
    "machine's files, but fresh empty file systems on /run (/var/run), /tmp, /app, /flash,\n"
    "/home/nms, /var/agentx, /var/lib/snmp and /dev/shm; its network is a loopback\n"
    "interface; it is root there, also when started by an ordinary user. When the command\n"
    "or this program ends, however that happens, everything inside ends and nothing is left.\n"
    "\n"
    "  --bind DIR     keep DIR visible although it lies below one of the fresh places; may\n"
    "                 be repeated. Kept anyway: this program's directory, the current\n"
    "                 directory and $HOME/.cache.\n"
    "  --pid-file F   write the pid of the sandbox's first process to F before the command\n"
    "                 starts; removed at the end\n"
    "  --hold         keep a sandbox without a command; prints the pid of its first process\n"
    "                 when it stands, and lasts until standard input closes or this program\n"
    "                 is killed\n"
    "  --enter PID    run the command in the sandbox whose first process is PID\n"
    "  --help         this text\n"
    "\n"
    "Exit status: the command's; 125 when there can be no sandbox, 126 when the command\n"
    "can't be run, 127 when it isn't found. A command ended by a signal ends this program\n"
    "by the same signal.\n";

struct Options {
    KeptDirs kept;
    std::string pid_file;
    bool hold = false;
    pid_t enter = 0;
    std::vector<std::string> command;
};

[[noreturn]] void bad_usage(const std::string& why) {
    report("%s", why.c_str());
    report("see gpon-sandbox --help");
    _exit(SANDBOX_FAILED);
}

std::string real_path(const std::string& path) {
    std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), std::free);
    return real ? std::string(real.get()) : std::string();
}

std::string current_dir() {
    std::unique_ptr<char, decltype(&std::free)> dir(getcwd(nullptr, 0), std::free);
    return dir ? std::string(dir.get()) : std::string("/");
}

void add_kept_by_default(KeptDirs& kept) {
    const std::string program = real_path("/proc/self/exe");
    const char* home = std::getenv("HOME");
    const std::string cache = home && *home == '/' ? real_path(std::string(home) + "/.cache") : std::string();
    for (const std::string& dir : {program.substr(0, program.rfind('/')), current_dir(), cache}) {
        if (!dir.empty() && dir[0] == '/')
            kept.wanted.push_back(dir);
    }
}

pid_t parse_pid(const char* text) {
    char* end = nullptr;
    errno = 0;
    const long pid = std::strtol(text, &end, 10);
    if (errno != 0 || end == text || *end != '\0' || pid < 1 || pid > INT_MAX)
        bad_usage(std::string("--enter: not a process id: ") + text);
    return static_cast<pid_t>(pid);
}

void add_bind(KeptDirs& kept, const char* dir) {
    const std::string real = real_path(dir);
    if (real.empty())
        fail_errno("--bind %s", dir);
    kept.required.push_back(real);
}

void check(const Options& opt) {
    if (opt.hold && opt.enter)
        bad_usage("--hold and --enter exclude each other");
    if (opt.hold && !opt.command.empty())
        bad_usage("--hold takes no command; run commands in it with --enter");
    if (!opt.hold && opt.command.empty())
        bad_usage("no command given");
    if (opt.enter && (!opt.kept.required.empty() || !opt.pid_file.empty()))
        bad_usage("--bind and --pid-file are for a new sandbox, not for --enter");
}

Options parse(int argc, char** argv) {
    enum { BIND = 256, PID_FILE, HOLD, ENTER, HELP };
    const option longopts[] = {
        {"bind", required_argument, nullptr, BIND}, {"pid-file", required_argument, nullptr, PID_FILE},
        {"hold", no_argument, nullptr, HOLD},       {"enter", required_argument, nullptr, ENTER},
        {"help", no_argument, nullptr, HELP},       {nullptr, 0, nullptr, 0},
    };
    Options opt;
    opterr = 0;
    for (int c = 0; (c = getopt_long(argc, argv, "+h", longopts, nullptr)) != -1;) {
        switch (c) {
        case BIND:
            add_bind(opt.kept, optarg);
            break;
        case PID_FILE:
            opt.pid_file = optarg;
            break;
        case HOLD:
            opt.hold = true;
            break;
        case ENTER:
            opt.enter = parse_pid(optarg);
            break;
        case HELP:
        case 'h':
            std::fputs(USAGE, stdout);
            std::exit(0);
        default:
            bad_usage(std::string("unknown option, or its argument is missing: ") + argv[optind - 1]);
        }
    }
    opt.command.assign(argv + optind, argv + argc);
    check(opt);
    return opt;
}

void write_pid_file(const std::string& path, pid_t pid) {
    const std::string fresh = path + ".new";
    FILE* file = std::fopen(fresh.c_str(), "we");
    if (!file)
        fail_errno("--pid-file %s", path.c_str());
    std::fprintf(file, "%d\n", pid);
    if (std::fclose(file) != 0 || std::rename(fresh.c_str(), path.c_str()) != 0)
        fail_errno("--pid-file %s", path.c_str());
}

void await(int fd, char wanted) {
    char got = 0;
    if (read(fd, &got, 1) != 1 || got != wanted)
        _exit(SANDBOX_FAILED); // the other side has said why
}

void tell(int fd, char what) {
    if (send(fd, &what, 1, MSG_NOSIGNAL) != 1)
        _exit(SANDBOX_FAILED);
}

void silence_stdio() {
    int fd = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (fd < 0 || dup2(fd, STDIN_FILENO) < 0 || dup2(fd, STDOUT_FILENO) < 0)
        fail_errno("/dev/null");
    close(fd);
}

// The sandbox's side, from the first process' first instruction to its end.
[[noreturn]] void live_inside(const Options& opt, int launcher_fd, const sigset_t& mask) {
    die_with_parent();
    await(launcher_fd, MSG_GO); // fails when the launcher died before the line above
    const std::string dir = current_dir();
    raise_loopback();
    enter_private_root(opt.kept);
    if (chdir(dir.c_str()) != 0 && chdir("/") != 0)
        fail_errno("can't enter /");
    if (opt.hold)
        silence_stdio();
    tell(launcher_fd, MSG_READY);
    await(launcher_fd, MSG_GO);
    be_init(launcher_fd, opt.command, mask);
}

// Status of a sandbox that ended without reporting one: its set-up failed, or somebody killed it.
int status_of(pid_t init) {
    int status = 0;
    while (waitpid(init, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

struct Running {
    pid_t init;
    int init_fd;
    bool hold;
};

// Reads the command's status once the sandbox has something to say; false while it hasn't.
bool command_ended(const Running& box, int& status) {
    char message[1 + sizeof status];
    if (recv(box.init_fd, message, sizeof message, 0) == static_cast<ssize_t>(sizeof message) &&
        message[0] == MSG_STATUS) {
        std::memcpy(&status, message + 1, sizeof status);
        status_of(box.init); // nothing inside is left when this returns
        return true;
    }
    status = status_of(box.init);
    return true;
}

void end_box(const Running& box) {
    kill(box.init, SIGKILL);
    status_of(box.init);
}

// Serves a running sandbox until it ends; gives the wait status to end with.
int follow(const Running& box, int signal_fd) {
    pollfd fds[3] = {
        {box.init_fd, POLLIN, 0}, {signal_fd, POLLIN, 0}, {box.hold ? STDIN_FILENO : -1, POLLIN, 0}};
    for (;;) {
        if (poll(fds, 3, -1) < 0)
            continue;
        int status = 0;
        if (fds[0].revents && command_ended(box, status))
            return status;
        bool from_terminal = false;
        while (int signo = next_signal(signal_fd, from_terminal)) {
            const bool ends = signo == SIGTERM || signo == SIGINT || signo == SIGHUP || signo == SIGQUIT;
            if (box.hold && ends) {
                end_box(box);
                return signo; // the wait status of a process that this signal ended
            }
            if (signo != SIGCHLD && !from_terminal)
                kill(box.init, signo);
        }
        char ignored[256];
        if (fds[2].revents && read(STDIN_FILENO, ignored, sizeof ignored) <= 0) {
            end_box(box);
            return 0;
        }
    }
}

[[noreturn]] void run_sandbox(Options& opt) {
    add_kept_by_default(opt.kept);
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0)
        fail_errno("can't make a socket pair");
    const sigset_t mask = block_relayed_signals();
    const int signal_fd = open_signal_fd();
    bool user_space = false;
    const pid_t init = fork_into_new_spaces(user_space);
    if (init == 0) {
        close(pair[0]);
        close(signal_fd);
        live_inside(opt, pair[1], mask);
    }
    close(pair[1]);
    if (user_space)
        map_ids(init);
    tell(pair[0], MSG_GO);
    await(pair[0], MSG_READY);
    if (!opt.pid_file.empty())
        write_pid_file(opt.pid_file, init);
    tell(pair[0], MSG_GO);
    if (opt.hold) {
        std::printf("%d\n", init);
        std::fflush(stdout);
    }
    const int status = follow({init, pair[0], opt.hold}, signal_fd);
    if (!opt.pid_file.empty())
        unlink(opt.pid_file.c_str());
    end_like(status);
}

[[noreturn]] void run_entered(const Options& opt) {
    const std::string dir = current_dir();
    const sigset_t mask = block_relayed_signals();
    const int signal_fd = open_signal_fd();
    join_spaces_of(opt.enter);
    if (chdir(dir.c_str()) != 0 && chdir("/") != 0)
        fail_errno("can't enter /");
    const pid_t child = fork();
    if (child < 0)
        fail_errno("can't fork in the sandbox of process %d", opt.enter);
    if (child == 0) {
        die_with_parent();
        run_command(opt.command, mask);
    }
    pollfd fd = {signal_fd, POLLIN, 0};
    for (;;) {
        poll(&fd, 1, -1);
        bool from_terminal = false;
        while (int signo = next_signal(signal_fd, from_terminal)) {
            int status = 0;
            if (signo == SIGCHLD && waitpid(child, &status, WNOHANG) == child)
                end_like(status);
            if (signo != SIGCHLD && !from_terminal)
                kill(child, signo);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    Options opt = parse(argc, argv);
    if (opt.enter)
        run_entered(opt);
    run_sandbox(opt);
}
