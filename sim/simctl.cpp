// simctl: sends one command to the control socket of chassis-sim and prints the answer.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <sys/socket.h>

#include "control_socket.h"
#include "text.h"
#include "unix_socket.h"

namespace {

constexpr int EXIT_REFUSED = 1; // the chassis answered with an error
constexpr int EXIT_UNUSABLE = 2;

constexpr char USAGE[] =
    "Usage: simctl [--control PATH] COMMAND [ARG]...\n"
    "\n"
    "Sends a command to a running chassis-sim and prints the answer. \"simctl help\" lists\n"
    "the commands.\n"
    "\n"
    "  --control PATH  its control socket (/var/run/chassis-sim.ctl)\n"
    "  --help          this text\n"
    "\n"
    "Exit status: 0; 1 when the chassis answers with an error; 2 when it can't be reached.\n";

[[noreturn]] void fail(int status, const std::string& why) {
    std::fprintf(stderr, "simctl: %s\n", why.c_str());
    std::exit(status);
}

Fd connect_to(const std::string& path) {
    sockaddr_un addr;
    if (!unix_address(path, addr))
        fail(EXIT_UNUSABLE, path + ": too long for a socket");
    Fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd || connect(fd.get(), reinterpret_cast<const sockaddr*>(&addr), sizeof addr) != 0)
        fail(EXIT_UNUSABLE, path + ": " + std::strerror(errno) + " (is chassis-sim running?)");
    return fd;
}

void send_line(int fd, std::string line) {
    line += '\n';
    for (size_t done = 0; done < line.size();) {
        const ssize_t sent = send(fd, line.data() + done, line.size() - done, MSG_NOSIGNAL);
        if (sent <= 0)
            fail(EXIT_UNUSABLE, std::string("can't send the command: ") + std::strerror(errno));
        done += static_cast<size_t>(sent);
    }
}

// Prints the answer as it comes; gives the exit status at its last line.
int print_answer(int fd) {
    std::string input;
    char buffer[16384];
    for (ssize_t got = 0; (got = recv(fd, buffer, sizeof buffer, 0)) > 0;) {
        input.append(buffer, static_cast<size_t>(got));
        for (size_t end = 0; (end = input.find('\n')) != std::string::npos; input.erase(0, end + 1)) {
            const std::string_view line = std::string_view(input).substr(0, end);
            if (line == "ok")
                return 0;
            if (line.starts_with("error "))
                fail(EXIT_REFUSED, std::string(line.substr(6)));
            std::printf("%.*s\n", static_cast<int>(end) - 2, input.c_str() + 2); // behind "= "
        }
    }
    fail(EXIT_UNUSABLE, "chassis-sim closed the connection");
}

} // namespace

int main(int argc, char** argv) {
    std::string path = ControlSocket::DEFAULT_PATH;
    int first = 1;
    if (first + 1 < argc && std::string_view(argv[first]) == "--control") {
        path = argv[first + 1];
        first += 2;
    }
    if (first >= argc)
        fail(EXIT_UNUSABLE, "no command given; see simctl --help");
    if (std::string_view(argv[first]) == "--help" || std::string_view(argv[first]) == "-h") {
        std::fputs(USAGE, stdout);
        return 0;
    }
    if (argv[first][0] == '-')
        fail(EXIT_UNUSABLE, std::string("unknown option: ") + argv[first] + "; see simctl --help");
    std::string line;
    for (int i = first; i < argc; ++i)
        line += (i > first ? " " : "") + quote_word(argv[i]);
    if (line.find('\n') != std::string::npos)
        fail(EXIT_UNUSABLE, "a command is one line");
    const Fd fd = connect_to(path);
    send_line(fd.get(), line);
    return print_answer(fd.get());
}
