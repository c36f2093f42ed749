#include "control_socket.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

#include "unix_socket.h"

ControlSocket::~ControlSocket() {
    while (!clients_.empty())
        drop(clients_.begin()->first);
    if (!listener_)
        return;
    chassis_.loop.unwatch(listener_.get());
    unlink(path_.c_str());
}

bool ControlSocket::listen(const std::string& path, std::string& error) {
    listener_ = bind_unix_socket(path, SOCK_STREAM, error);
    if (listener_ && ::listen(listener_.get(), 16) != 0) {
        error = path + ": " + std::strerror(errno);
        listener_.reset();
    }
    if (!listener_) {
        error = "control socket: " + error;
        return false;
    }
    path_ = path;
    chassis_.loop.watch(listener_.get(), POLLIN, [this](short) { accept_one(); });
    return true;
}

ControlSocket::Client* ControlSocket::find(uint64_t id) {
    const auto it = clients_.find(id);
    return it == clients_.end() ? nullptr : &it->second;
}

void ControlSocket::accept_one() {
    Fd fd(accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!fd || clients_.size() >= MAX_CLIENTS)
        return;
    const uint64_t id = next_id_++;
    Client& client = clients_[id];
    client.fd = std::move(fd);
    chassis_.loop.watch(client.fd.get(), POLLIN, [this, id](short revents) { handle_ready(id, revents); });
}

void ControlSocket::drop(uint64_t id) {
    Client* client = find(id);
    if (!client)
        return;
    if (client->cancel)
        client->cancel();
    chassis_.loop.unwatch(client->fd.get());
    clients_.erase(id);
}

// A client that runs a command is watched for its end only; one that has sent enough isn't read from.
void ControlSocket::update_events(const Client& client) {
    const bool reads = !client.eof && client.input.size() <= MAX_LINE;
    chassis_.loop.set_events(
        client.fd.get(), static_cast<short>((reads ? POLLIN : 0) | (client.output.empty() ? 0 : POLLOUT)));
}

void ControlSocket::handle_ready(uint64_t id, short revents) {
    Client* client = find(id);
    if (!client)
        return;
    if ((revents & POLLOUT) && !flush(id, *client))
        return;
    if ((revents & (POLLHUP | POLLERR)) || ((revents & POLLIN) && !read_from(*client))) {
        drop(id); // and with it what it waits for
        return;
    }
    run_lines(id);
}

// False when the client is gone, or has sent what can't be a line. One that only shut down its sending side
// still gets its answers.
bool ControlSocket::read_from(Client& client) {
    char buffer[4096];
    const ssize_t got = recv(client.fd.get(), buffer, sizeof buffer, 0);
    if (got < 0)
        return errno == EAGAIN || errno == EINTR;
    if (got == 0) {
        client.eof = true;
        update_events(client);
        return client.busy || !client.output.empty() || client.input.find('\n') != std::string::npos;
    }
    client.input.append(buffer, static_cast<size_t>(got));
    update_events(client);
    return client.input.find('\n') <= MAX_LINE || client.input.size() <= MAX_LINE;
}

void ControlSocket::run_lines(uint64_t id) {
    for (Client* client = find(id); client && !client->busy; client = find(id)) {
        const size_t end = client->input.find('\n');
        if (end == std::string::npos)
            break;
        const std::string line = client->input.substr(0, end);
        client->input.erase(0, end + 1);
        update_events(*client);
        run_line(id, line);
    }
    const Client* client = find(id);
    if (client && client->eof && !client->busy && client->output.empty())
        drop(id);
}

void ControlSocket::run_line(uint64_t id, const std::string& line) {
    Words words;
    std::string error;
    if (!split_words(line, words, error) || (words.empty() && (error = "empty line", true))) {
        answer(id, Answer::failure(error));
        return;
    }
    const Action action = parse_command(chassis_, words, error);
    if (!action) {
        answer(id, Answer::failure(error));
        return;
    }
    find(id)->busy = true;
    Cancel cancel = action({}, [this, id](const Answer& result) {
        Client* client = find(id);
        if (!client)
            return;
        client->busy = false;
        const bool later = static_cast<bool>(std::exchange(client->cancel, nullptr));
        answer(id, result);
        if (later)
            run_lines(id);
    });
    if (Client* client = find(id); client && client->busy)
        client->cancel = std::move(cancel);
}

void ControlSocket::answer(uint64_t id, const Answer& answer) {
    Client* client = find(id);
    if (!client)
        return;
    for (const std::string& line : answer.lines)
        client->output += "= " + line + "\n";
    client->output += answer.error.empty() ? std::string("ok\n") : "error " + answer.error + "\n";
    flush(id, *client);
}

// False when the client is gone.
bool ControlSocket::flush(uint64_t id, Client& client) {
    while (!client.output.empty()) {
        const ssize_t sent = send(client.fd.get(), client.output.data(), client.output.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if ((sent < 0 && errno != EAGAIN) || client.output.size() > MAX_OUTPUT) {
            drop(id);
            return false;
        }
        if (sent < 0)
            break;
        client.output.erase(0, static_cast<size_t>(sent));
    }
    update_events(client);
    return true;
}
