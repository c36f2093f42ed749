#include "agent.h"

#include "boot.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr size_t HEAD = 7;
constexpr size_t PIECE = 16384;
constexpr winsize SCREEN = {2000, 250, 0, 0};

struct Program {
    pid_t pid = -1;
    int in = -1;
    int out = -1;
    int err = -1; // -1 on a terminal
    bool is_pty = false;
    bool input_over = false;
    std::string input = {};
};

struct Start {
    bool pty = false;
    std::string directory;
    std::vector<std::string> variables;
    std::vector<std::string> arguments;
};

int g_port = -1;
std::map<uint16_t, Program> g_programs;

// ---- the port ----------------------------------------------------------------------------------------

void write_all(const char* data, size_t size) {
    while (size > 0) {
        const ssize_t done = write(g_port, data, size);
        if (done > 0) {
            data += done;
            size -= size_t(done);
            continue;
        }
        if (done < 0 && errno != EAGAIN && errno != EINTR)
            give_up("the runner's port");
        pollfd room = {g_port, POLLOUT, 0};
        poll(&room, 1, 100);
    }
}

void tell(uint16_t channel, char kind, const std::string& payload) {
    const auto size = uint32_t(payload.size());
    std::string frame;
    for (int shift = 24; shift >= 0; shift -= 8)
        frame.push_back(char(size >> shift));
    frame.push_back(char(channel >> 8));
    frame.push_back(char(channel));
    frame.push_back(kind);
    write_all((frame + payload).data(), HEAD + size);
}

// ---- programs ----------------------------------------------------------------------------------------

std::vector<std::string> texts(const std::string& payload) {
    std::vector<std::string> found;
    for (size_t at = 0; at < payload.size(); at += found.back().size() + 1)
        found.emplace_back(payload.c_str() + at);
    return found;
}

Start read_start(const std::string& payload) {
    const std::vector<std::string> all = texts(payload);
    const auto variables = 3 + std::atol(all.at(2).c_str());
    return {.pty = all[0] == "pty",
            .directory = all.at(1),
            .variables = {all.begin() + 3, all.begin() + variables},
            .arguments = {all.begin() + variables, all.end()}};
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> all;
    for (std::string& text : strings)
        all.push_back(text.data());
    all.push_back(nullptr);
    return all;
}

[[noreturn]] void become(Start start, int in, int out, int err) {
    setsid();
    if (start.pty)
        ioctl(in, TIOCSCTTY, 0);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (chdir(start.directory.c_str()) != 0 && chdir("/") != 0)
        _exit(126);
    clearenv();
    for (std::string& variable : start.variables)
        putenv(variable.data());
    execvp(start.arguments.at(0).c_str(), pointers(start.arguments).data());
    dprintf(2, "vm: %s: %s\n", start.arguments[0].c_str(), std::strerror(errno));
    _exit(127);
}

// The agent's ends, and the program's.
struct Ends {
    int in[2] = {-1, -1};  // ours to write, the program's to read
    int out[2] = {-1, -1}; // ours to read, the program's to write
    int err[2] = {-1, -1};
};

Ends open_terminal() {
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0)
        give_up("a terminal");
    const int slave = open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ioctl(slave, TIOCSWINSZ, &SCREEN);
    return {.in = {master, slave}, .out = {master, slave}, .err = {-1, slave}};
}

Ends open_pipes() {
    int in[2];
    int out[2];
    int err[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0)
        give_up("a pipe");
    return {.in = {in[1], in[0]}, .out = {out[0], out[1]}, .err = {err[0], err[1]}};
}

void dont_wait(int fd) {
    if (fd >= 0)
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
}

void close_different(int a, int b, int c) {
    close(a);
    if (b != a)
        close(b);
    if (c != a && c != b)
        close(c);
}

void start_program(uint16_t channel, const std::string& payload) {
    const Start start = read_start(payload);
    const Ends ends = start.pty ? open_terminal() : open_pipes();
    const pid_t pid = fork();
    if (pid == 0)
        become(start, ends.in[1], ends.out[1], ends.err[1]);
    close_different(ends.in[1], ends.out[1], ends.err[1]);
    for (const int fd : {ends.in[0], ends.out[0], ends.err[0]})
        dont_wait(fd);
    g_programs[channel] = {
        .pid = pid, .in = ends.in[0], .out = ends.out[0], .err = ends.err[0], .is_pty = start.pty};
}

// A terminal's input and output are one descriptor: it stays until the program has ended.
void close_input(Program& program) {
    if (!program.is_pty && program.in >= 0)
        close(program.in);
    program.in = -1;
}

void feed(Program& program) {
    while (!program.input.empty() && program.in >= 0) {
        const ssize_t done = write(program.in, program.input.data(), program.input.size());
        if (done < 0 && errno == EAGAIN)
            return;
        if (done < 0) {
            program.input.clear();
            close_input(program);
            return;
        }
        program.input.erase(0, size_t(done));
    }
    if (program.input_over)
        close_input(program);
}

// False when no more will come.
bool pass_on(uint16_t channel, char kind, int fd) {
    for (std::string piece(PIECE, '\0');;) {
        const ssize_t got = read(fd, piece.data(), piece.size());
        if (got <= 0)
            return got < 0 && (errno == EAGAIN || errno == EINTR);
        tell(channel, kind, piece.substr(0, size_t(got)));
    }
}

void pass_on_all(uint16_t channel, Program& program) {
    for (auto [kind, fd] : {std::pair{'O', &program.out}, {'E', &program.err}}) {
        if (*fd < 0 || pass_on(channel, kind, *fd) || program.is_pty)
            continue;
        close(*fd);
        *fd = -1;
    }
}

// What its own children print later is lost.
void end_program(uint16_t channel, int status) {
    Program& program = g_programs.at(channel);
    pass_on_all(channel, program);
    close_input(program);
    for (const int fd : {program.out, program.err})
        if (fd >= 0)
            close(fd);
    g_programs.erase(channel);
    tell(channel, 'X', std::to_string(status));
}

void reap() {
    int status = 0;
    for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;)
        for (auto& [channel, program] : g_programs)
            if (program.pid == pid) {
                end_program(channel, status);
                break;
            }
}

// ---- the runner's orders -------------------------------------------------------------------------------

void obey(uint16_t channel, char kind, const std::string& payload) {
    if (kind == 'S')
        return start_program(channel, payload);
    const auto found = g_programs.find(channel);
    if (found == g_programs.end())
        return; // it has ended meanwhile
    Program& program = found->second;
    if (kind == 'K') {
        kill(-program.pid, std::atoi(payload.c_str()));
        return;
    }
    program.input += payload;
    program.input_over = program.input_over || payload.empty();
    feed(program);
}

uint32_t number(const std::string& bytes, size_t at, size_t size) {
    uint32_t value = 0;
    for (size_t i = at; i < at + size; i++)
        value = value << 8 | uint8_t(bytes[i]);
    return value;
}

// False when the runner has gone.
bool read_orders(std::string& waiting) {
    std::string piece(PIECE, '\0');
    const ssize_t got = read(g_port, piece.data(), piece.size());
    if (got == 0)
        return false;
    if (got > 0)
        waiting.append(piece, 0, size_t(got));
    while (waiting.size() >= HEAD) {
        const size_t size = number(waiting, 0, 4);
        if (waiting.size() < HEAD + size)
            break;
        obey(uint16_t(number(waiting, 4, 2)), waiting[6], waiting.substr(HEAD, size));
        waiting.erase(0, HEAD + size);
    }
    return true;
}

int watch_children() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGCHLD);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

void wait_for_something(int children) {
    std::vector<pollfd> fds = {{g_port, POLLIN, 0}, {children, POLLIN, 0}};
    for (const auto& [channel, program] : g_programs) {
        for (const int fd : {program.out, program.err})
            if (fd >= 0)
                fds.push_back({fd, POLLIN, 0});
        if (!program.input.empty())
            fds.push_back({program.in, POLLOUT, 0});
    }
    poll(fds.data(), fds.size(), 1000);
}

} // namespace

void serve_agent(int port) {
    g_port = port;
    const int children = watch_children();
    tell(0, 'R', "");
    for (std::string waiting; read_orders(waiting);) {
        signalfd_siginfo info;
        while (read(children, &info, sizeof info) > 0) {
        }
        for (auto& [channel, program] : g_programs) {
            pass_on_all(channel, program);
            feed(program);
        }
        reap();
        wait_for_something(children);
    }
}
