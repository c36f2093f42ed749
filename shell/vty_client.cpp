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
constexpr size_t TRAILER_SIZE = 4;

constexpr char QUESTION[] = "show refusal numbered";
/// Eight digits and a blank stand in front of the number of "show refused".
constexpr size_t SHOWN_OFFSET = 9;

[[noreturn]] void fail(const std::string& what) {
    throw VtyClientError(what + ": " + strerror(errno));
}

/// Why the daemon's buffer can't take a line; null if it can.
const char* refusal_of(std::string_view line) {
    if (line.size() > VtyClient::MAX_LINE)
        return "% Command is too long.\n";
    if (line.find('\0') != line.npos)
        return "% Command has a NUL in it.\n";
    return nullptr;
}

} // namespace

VtyClient::VtyClient(const std::string& path) : fd_(-1) {
    struct sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof(address.sun_path))
        throw VtyClientError("\"" + path + "\" can't be the path of a socket");
    memcpy(address.sun_path, path.c_str(), path.size() + 1);

    fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd_ < 0)
        fail("no socket");
    if (connect(fd_, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)) == 0)
        return;
    const int error = errno;
    close(fd_);
    errno = error;
    fail("the daemon can't be reached at " + path);
}

VtyClient::~VtyClient() {
    close(fd_);
}

void VtyClient::send_all(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR)
            fail("the daemon went away");
        if (sent > 0)
            bytes.remove_prefix(static_cast<size_t>(sent));
    }
}

/// Cut one complete answer off what was received, if there is one. Text holds no NUL, so the first
/// one begins the trailer, wherever the chunks were cut.
bool VtyClient::take_reply() {
    const auto end = received_.find('\0', searched_);
    searched_ = std::min(end, received_.size());
    if (end == received_.npos || received_.size() < end + TRAILER_SIZE)
        return false;
    if (received_[end + 1] != '\0' || received_[end + 2] != '\0')
        throw VtyClientError("the daemon's answer makes no sense");
    if (sent_.empty())
        throw VtyClientError("the daemon answered what nobody asked");

    const Sent asked = sent_.front();
    sent_.pop_front();
    VtyReply reply{received_.substr(0, end), static_cast<unsigned char>(received_[end + 3])};
    received_.erase(0, end + TRAILER_SIZE);
    searched_ = 0;
    if (asked.question) {
        take_reasons(reply.result == 0 ? reply.text : "");
        return true;
    }
    const bool refused = asks_reasons_ && reply.result == CMD_WARNING;
    ready_.push_back({std::move(reply), asked.number, refused});
    if (refused)
        ask_reason();
    return true;
}

/// Ask why lines were refused, unless the question is on its way: any that is comes behind the line that was
/// answered just now.
void VtyClient::ask_reason() {
    if (std::any_of(sent_.begin(), sent_.end(), [](const Sent& each) { return each.question; }))
        return;
    send_all(std::string_view(QUESTION, sizeof(QUESTION))); // with its NUL
    sent_.push_back({0, true});
}

/// The answer to the question: "NUMBER SHOWN REASON" for each refusal since the one before, in order.
void VtyClient::take_reasons(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const auto number = static_cast<uint32_t>(strtoul(line.c_str(), nullptr, 16));
        const auto of = std::find_if(ready_.begin(), ready_.end(), [=](const Ready& each) {
            return each.lacks_reason && each.reply.reason.empty() && each.number == number;
        });
        const size_t reason = line.find(' ', std::min(line.size(), SHOWN_OFFSET));
        if (of == ready_.end() || reason == line.npos)
            continue;
        of->reply.refused = static_cast<unsigned>(strtoul(line.c_str() + SHOWN_OFFSET, nullptr, 10));
        of->reply.reason = line.substr(reason + 1);
    }
    for (auto& each : ready_)
        each.lacks_reason = false;
}

/// Read what is there, waiting for something, and put complete answers into ready.
void VtyClient::read_some() {
    char chunk[16384];
    const ssize_t got = recv(fd_, chunk, sizeof(chunk), 0);
    if (got == 0)
        throw VtyClientError("the daemon closed the connection");
    if (got < 0 && errno != EINTR)
        fail("the daemon went away");
    if (got > 0)
        received_.append(chunk, static_cast<size_t>(got));
    while (take_reply()) {
    }
}

/// Wait for the answers to all that was sent.
void VtyClient::gather() {
    while (!sent_.empty())
        read_some();
}

VtyReply VtyClient::next_ready() {
    auto reply = std::move(ready_.front().reply);
    ready_.pop_front();
    return reply;
}

void VtyClient::send(std::string_view line) {
    if (const char* const refusal = refusal_of(line)) {
        gather(); // its place among the answers
        ready_.push_back({{refusal, CMD_WARNING}, 0, false});
        return;
    }
    send_all(std::string(line) + '\0');
    sent_.push_back({kavo_refusal_line_number(line), false});
}

std::optional<VtyReply> VtyClient::receive(int wait_ms, int wake_fd) {
    using namespace std::chrono;
    const auto deadline = steady_clock::now() + milliseconds(wait_ms);
    while (!is_ready()) {
        const auto left = duration_cast<milliseconds>(deadline - steady_clock::now()).count();
        struct pollfd fds[] = {{fd_, POLLIN, 0}, {wake_fd, POLLIN, 0}};
        const int count = poll(fds, 2, wait_ms < 0 ? -1 : static_cast<int>(std::max<long long>(left, 0)));
        if (count == 0 || fds[1].revents)
            return std::nullopt;
        if (fds[0].revents)
            read_some();
    }
    return next_ready();
}

VtyReply VtyClient::run(std::string_view line) {
    send(line);
    while (!is_ready())
        read_some();
    return next_ready();
}

std::string_view VtyClient::so_far() const {
    const bool is_answer = !sent_.empty() && !sent_.front().question;
    return is_answer ? std::string_view(received_).substr(0, received_.find('\0')) : std::string_view();
}

size_t VtyClient::unanswered() const {
    const auto lines =
        std::count_if(sent_.begin(), sent_.end(), [](const Sent& each) { return !each.question; });
    return static_cast<size_t>(lines) + ready_.size();
}

bool VtyClient::closed(int wait_ms) {
    struct pollfd waiting_for = {fd_, POLLIN, 0};
    if (poll(&waiting_for, 1, wait_ms) <= 0)
        return false;
    char byte;
    return recv(fd_, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
}
