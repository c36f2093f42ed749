#pragma once

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "frr_fixture.h"

/// An operator's shell, connected to the library's server.
class FrrShell {
public:
    FrrShell() {
        static const Server server;
        others_ = descriptors();
        fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        server.path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        EXPECT_EQ(connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0) << server.path;
        EXPECT_EQ(fcntl(fd, F_SETFL, O_NONBLOCK), 0);
        EXPECT_EQ(ask("enable"), (std::vector<std::string>{"0:"}));
    }
    /// Leaves nothing of the session.
    ~FrrShell() {
        if (fd >= 0)
            close(fd);
        EXPECT_TRUE(frr_run_until([this] { return descriptors() == others_; }));
    }
    FrrShell(const FrrShell&) = delete;
    FrrShell& operator=(const FrrShell&) = delete;

    /// Sends lines in one piece.
    void send_lines(const std::vector<std::string>& lines) const {
        std::string data;
        for (const auto& line : lines)
            data += line + '\0';
        EXPECT_EQ(send(fd, data.data(), data.size(), MSG_NOSIGNAL), static_cast<ssize_t>(data.size()));
    }

    /// The next answers, as "result:text".
    std::vector<std::string> answers(size_t count) {
        std::vector<std::string> found = std::exchange(whole_, {});
        EXPECT_TRUE(frr_run_until([&] {
            take(found);
            return found.size() >= count;
        })) << found.size();
        EXPECT_EQ(data_, "");
        return found;
    }
    std::vector<std::string> ask(const std::string& line) {
        send_lines({line});
        return answers(1);
    }

    /// Waits for the first bytes of an answer. Whether the answer is whole by now.
    bool has_begun_and_is_whole() {
        std::vector<std::string> found;
        EXPECT_TRUE(frr_run_until([&] {
            take(found);
            return !data_.empty() || !found.empty();
        }));
        for (auto& answer : found)
            whole_.push_back(std::move(answer));
        return !whole_.empty();
    }

    int fd = -1;

private:
    static std::ptrdiff_t descriptors() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }
    struct Server {
        Server() { vty_serv_sock(nullptr, 0, path.c_str()); }
        ~Server() { unlink(path.c_str()); }
        const std::string path = testing::TempDir() + "frr_shell." + std::to_string(getpid());
    };

    void take(std::vector<std::string>& found) {
        char piece[65536];
        for (ssize_t got; (got = recv(fd, piece, sizeof(piece), 0)) > 0;)
            data_.append(piece, static_cast<size_t>(got));
        const std::string mark(3, '\0');
        for (size_t end; (end = data_.find(mark)) != data_.npos && data_.size() > end + 3;) {
            found.push_back(std::to_string(data_[end + 3]) + ":" + data_.substr(0, end));
            data_.erase(0, end + 4);
        }
    }

    std::ptrdiff_t others_ = 0; // descriptors of the process without this shell's
    std::string data_;
    std::vector<std::string> whole_; // answers that nobody has asked for yet
};
