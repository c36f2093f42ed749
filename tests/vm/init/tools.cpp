#include "tools.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
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

// ---- files -------------------------------------------------------------------------------------------

constexpr std::chrono::milliseconds LOOK_AGAIN{20};

// 0 for nothing there; otherwise a number that another file of the same path doesn't have.
uint64_t identity(const std::string& path) {
    struct stat st = {};
    if (stat(path.c_str(), &st) != 0)
        return 0;
    return (uint64_t(st.st_ino) << 32 | uint64_t(st.st_ctim.tv_sec) << 10 |
            uint64_t(st.st_ctim.tv_nsec) >> 20) +
           1;
}

int watch(const std::vector<std::string>& paths) {
    std::map<std::string, uint64_t> known;
    for (;;) {
        for (const std::string& path : paths) {
            const uint64_t now = identity(path);
            if (now == std::exchange(known[path], now))
                continue;
            const std::string line = (now != 0 ? "+ " : "- ") + path + "\n";
            if (!write_all(1, line.data(), ssize_t(line.size())))
                return 0;
        }
        std::this_thread::sleep_for(LOOK_AGAIN);
    }
}

int follow(const std::string& path) {
    char piece[65536];
    int fd = -1;
    uint64_t file = 0;
    for (;;) {
        struct stat st = {};
        if (stat(path.c_str(), &st) == 0 && (fd < 0 || st.st_ino != file)) {
            if (fd >= 0)
                close(fd);
            fd = open(path.c_str(), O_RDONLY);
            file = st.st_ino;
        }
        const ssize_t got = fd >= 0 ? read(fd, piece, sizeof piece) : 0;
        if (got > 0 && !write_all(1, piece, got))
            return 0;
        if (got <= 0)
            std::this_thread::sleep_for(LOOK_AGAIN);
    }
}

int put(const std::string& path) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream file(path, std::ios::binary);
    file << std::cin.rdbuf();
    return file.flush() ? 0 : complain(path);
}

} // namespace

int run_tool(const std::vector<std::string>& words) {
    const std::string& tool = words[0];
    if (tool == "connect" && words.size() == 2)
        return connect_to(words[1]);
    if (tool == "accept" && words.size() == 2)
        return accept_at(words[1]);
    if (tool == "watch" && words.size() > 1)
        return watch({words.begin() + 1, words.end()});
    if (tool == "follow" && words.size() == 2)
        return follow(words[1]);
    if (tool == "put" && words.size() == 2)
        return put(words[1]);
    std::fprintf(stderr, "vm: no such tool: %s\n", tool.c_str());
    return 2;
}
