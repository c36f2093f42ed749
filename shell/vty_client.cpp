#include "vty_client.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include "kavo_refusal.h"

namespace {

/// Three NULs and the result.
constexpr size_t trailer_size = 4;

constexpr char question[] = "show refusal";
/// Eight digits and a blank stand in front of a reason.
constexpr size_t reason_offset = 9;

[[noreturn]] void fail(const std::string& what) {
    throw vty_client_error(what + ": " + strerror(errno));
}

/// Why the daemon's buffer can't take a line; null if it can.
const char* refusal_of(std::string_view line) {
    if (line.size() > vty_client::max_line)
        return "% Command is too long.\n";
    if (line.find('\0') != line.npos)
        return "% Command has a NUL in it.\n";
    return nullptr;
}

} // namespace

vty_client::vty_client(const std::string& path) : fd(-1) {
    struct sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof(address.sun_path))
        throw vty_client_error("\"" + path + "\" can't be the path of a socket");
    memcpy(address.sun_path, path.c_str(), path.size() + 1);

    fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        fail("no socket");
    if (connect(fd, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)) == 0)
        return;
    const int error = errno;
    close(fd);
    errno = error;
    fail("the daemon can't be reached at " + path);
}

vty_client::~vty_client() {
    close(fd);
}

void vty_client::send_all(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR)
            fail("the daemon went away");
        if (sent > 0)
            bytes.remove_prefix(static_cast<size_t>(sent));
    }
}

/// Cut one complete answer off what was received, if there is one. Text holds no NUL, so the first
/// one begins the trailer, wherever the chunks were cut.
bool vty_client::take_reply() {
    const auto end = received.find('\0', searched);
    searched = std::min(end, received.size());
    if (end == received.npos || received.size() < end + trailer_size)
        return false;
    if (received[end + 1] != '\0' || received[end + 2] != '\0')
        throw vty_client_error("the daemon's answer makes no sense");
    if (sent.empty())
        throw vty_client_error("the daemon answered what nobody asked");

    const sent_t asked = sent.front();
    sent.pop_front();
    vty_reply_t reply{received.substr(0, end), static_cast<unsigned char>(received[end + 3])};
    received.erase(0, end + trailer_size);
    searched = 0;
    if (asked.question) {
        take_reasons(reply.result == 0 ? reply.text : "");
        return true;
    }
    const bool refused = asks_reasons && reply.result == CMD_WARNING;
    ready.push_back({std::move(reply), asked.number, refused});
    if (refused)
        ask_reason();
    return true;
}

/// Ask why lines were refused, unless the question is on its way: any that is comes behind the line that was
/// answered just now.
void vty_client::ask_reason() {
    if (std::any_of(sent.begin(), sent.end(), [](const sent_t& each) { return each.question; }))
        return;
    send_all(std::string_view(question, sizeof(question))); // with its NUL
    sent.push_back({0, true});
}

/// The answer to the question: "NUMBER REASON" for each refusal since the one before, in order.
void vty_client::take_reasons(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const auto number = static_cast<uint32_t>(strtoul(line.c_str(), nullptr, 16));
        const auto of = std::find_if(ready.begin(), ready.end(), [=](const ready_t& each) {
            return each.lacks_reason && each.reply.reason.empty() && each.number == number;
        });
        if (of != ready.end() && line.size() > reason_offset)
            of->reply.reason = line.substr(reason_offset);
    }
    for (auto& each : ready)
        each.lacks_reason = false;
}

/// Read what is there, waiting for something, and put complete answers into ready.
void vty_client::read_some() {
    char chunk[16384];
    const ssize_t got = recv(fd, chunk, sizeof(chunk), 0);
    if (got == 0)
        throw vty_client_error("the daemon closed the connection");
    if (got < 0 && errno != EINTR)
        fail("the daemon went away");
    if (got > 0)
        received.append(chunk, static_cast<size_t>(got));
    while (take_reply()) {
    }
}

/// Wait for the answers to all that was sent.
void vty_client::gather() {
    while (!sent.empty())
        read_some();
}

vty_reply_t vty_client::next_ready() {
    auto reply = std::move(ready.front().reply);
    ready.pop_front();
    return reply;
}

void vty_client::send(std::string_view line) {
    if (const char* const refusal = refusal_of(line)) {
        gather(); // its place among the answers
        ready.push_back({{refusal, CMD_WARNING}, 0, false});
        return;
    }
    send_all(std::string(line) + '\0');
    sent.push_back({kavo_refusal_line_number(line), false});
}

std::optional<vty_reply_t> vty_client::receive(int wait_ms, int wake_fd) {
    using namespace std::chrono;
    const auto deadline = steady_clock::now() + milliseconds(wait_ms);
    while (!is_ready()) {
        const auto left = duration_cast<milliseconds>(deadline - steady_clock::now()).count();
        struct pollfd fds[] = {{fd, POLLIN, 0}, {wake_fd, POLLIN, 0}};
        const int count = poll(fds, 2, wait_ms < 0 ? -1 : static_cast<int>(std::max<long long>(left, 0)));
        if (count == 0 || fds[1].revents)
            return std::nullopt;
        if (fds[0].revents)
            read_some();
    }
    return next_ready();
}

vty_reply_t vty_client::run(std::string_view line) {
    send(line);
    while (!is_ready())
        read_some();
    return next_ready();
}

size_t vty_client::unanswered() const {
    const auto lines =
        std::count_if(sent.begin(), sent.end(), [](const sent_t& each) { return !each.question; });
    return static_cast<size_t>(lines) + ready.size();
}

bool vty_client::closed(int wait_ms) {
    struct pollfd waiting_for = {fd, POLLIN, 0};
    if (poll(&waiting_for, 1, wait_ms) <= 0)
        return false;
    char byte;
    return recv(fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
}
