#include "tools.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include <csignal>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

int complain(const std::string& what) {
    std::fprintf(stderr, "%s: %s\n", what.c_str(), std::strerror(errno));
    return 1;
}

// ---- sockets -----------------------------------------------------------------------------------------

sockaddr_un address_of(const std::string& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

bool write_all(int fd, const char* data, ssize_t size) {
    while (size > 0) {
        const ssize_t done = write(fd, data, size_t(size));
        if (done < 0)
            return false;
        data += done;
        size -= done;
    }
    return true;
}

// Copies both ways until the socket's end has closed.
int copy_both_ways(int sock) {
    char piece[65536];
    pollfd fds[] = {{sock, POLLIN, 0}, {0, POLLIN, 0}};
    for (;;) {
        poll(fds, 2, -1);
        if (fds[0].revents != 0) {
            const ssize_t got = read(sock, piece, sizeof piece);
            if (got <= 0 || !write_all(1, piece, got))
                return 0;
        }
        if (fds[1].revents != 0) {
            const ssize_t got = read(0, piece, sizeof piece);
            if (got <= 0) {
                shutdown(sock, SHUT_WR);
                fds[1].fd = -1;
            } else if (!write_all(sock, piece, got)) {
                return 0;
            }
        }
    }
}

int connect_to(const std::string& path) {
    const int sock = socket(AF_UNIX, SOCK_STREAM, 0);
    const sockaddr_un address = address_of(path);
    if (connect(sock, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return complain(path);
    return copy_both_ways(sock);
}

int accept_at(const std::string& path) {
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    const sockaddr_un address = address_of(path);
    fs::create_directories(fs::path(path).parent_path());
    unlink(path.c_str());
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, 1) != 0)
        return complain(path);
    const int sock = accept(listener, nullptr, nullptr);
    close(listener);
    unlink(path.c_str());
    return sock < 0 ? complain(path) : copy_both_ways(sock);
}

// ---- processes ---------------------------------------------------------------------------------------

std::map<std::string, std::string> status_of(const fs::path& process) {
    std::map<std::string, std::string> fields;
    std::ifstream file(process / "status");
    for (std::string line; std::getline(file, line);)
        if (const size_t colon = line.find(":\t"); colon != std::string::npos)
            fields[line.substr(0, colon)] = line.substr(colon + 2);
    return fields;
}

std::string with_commas(std::string words) {
    for (char& c : words)
        if (c == '\t' || c == ' ')
            c = ',';
    return words;
}

void print_process(const fs::path& process) {
    std::error_code gone;
    const std::string space = fs::read_symlink(process / "ns/pid", gone);
    auto fields = status_of(process);
    if (gone || fields.empty())
        return;
    std::printf("%s %s %s %c %s %s %s\n", process.filename().c_str(), fields["PPid"].c_str(), space.c_str(),
                fields["State"][0], fields["Threads"].c_str(), with_commas(fields["NSpid"]).c_str(),
                fields["Name"].c_str());
}

int print_processes() {
    for (const auto& entry : fs::directory_iterator("/proc"))
        if (std::isdigit(static_cast<unsigned char>(entry.path().filename().string()[0])) != 0)
            print_process(entry.path());
    return 0;
}

int send_signal(const std::vector<std::string>& words) {
    for (size_t n = 2; n < words.size(); n++)
        if (kill(std::atoi(words[n].c_str()), std::atoi(words.at(1).c_str())) != 0)
            return complain(words[n]);
    return 0;
}

} // namespace

int run_tool(const std::vector<std::string>& words) {
    const std::string& tool = words[0];
    if (tool == "connect" && words.size() == 2)
        return connect_to(words[1]);
    if (tool == "accept" && words.size() == 2)
        return accept_at(words[1]);
    if (tool == "processes")
        return print_processes();
    if (tool == "kill" && words.size() > 2)
        return send_signal(words);
    std::fprintf(stderr, "vm: no such tool: %s\n", tool.c_str());
    return 2;
}
