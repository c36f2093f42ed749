#pragma once

// An operator's session with the daemon: one line at a time, with Ctrl-C while the daemon is slow,
// and a new connection after the daemon was gone.

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "shell_mode.h"
#include "signal_watch.h"
#include "vty_client.h"

/// Wait for the next answer; nothing if Ctrl-C came first. After a second without an answer calls
/// notice once. Throws vty_client_error.
std::optional<vty_reply_t> wait_for_answer(vty_client& client, signal_watch& interrupt,
                                           const std::function<void()>& notice);

class operator_session {
public:
    /// @param say  prints a line for the operator (without its end)
    operator_session(std::string path_given, signal_watch& interrupt_given, understand_t understand,
                     std::function<void(const std::string&)> say_given);

    /// Connect, and go to enable mode. Throws vty_client_error if the daemon isn't there.
    void open();

    /// Run a line; nothing if the operator gave it up, or if it wasn't sent because the mode that it
    /// was typed in is gone. Connects again first if the connection is gone. Throws vty_client_error
    /// if that fails or the connection breaks; what() tells the operator what is known of the line.
    std::optional<vty_reply_t> run(const std::string& line);

    /// Take what came without being waited for: answers to lines that were given up, or the end of
    /// the connection. True if the operator was told something.
    bool look_at_connection();

    const shell_mode& mode() const { return place; }

    /// Is there a connection?
    bool connected() const { return client != nullptr; }

    /// For poll(); -1 without a connection.
    int descriptor() const { return client ? client->descriptor() : -1; }

private:
    std::optional<vty_reply_t> wait();
    bool reconnect();
    void lose();
    void tell_late_answer(const vty_reply_t& reply);

    std::string path;
    signal_watch& interrupt;
    shell_mode place;
    std::function<void(const std::string&)> say;
    std::unique_ptr<vty_client> client;
    std::deque<std::string> given_up; // and not answered yet
};
