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
/// notice once. Throws VtyClientError.
std::optional<VtyReply> wait_for_answer(VtyClient& client, SignalWatch& interrupt,
                                        const std::function<void()>& notice);

class OperatorSession {
public:
    /// @param say  prints a line for the operator (without its end)
    OperatorSession(std::string path_given, SignalWatch& interrupt_given, Understand understand,
                    std::function<void(const std::string&)> say_given);

    /// Connect, and go to enable mode. Throws VtyClientError if the daemon isn't there.
    void open();

    /// Run a line; nothing if the operator gave it up, or if it wasn't sent because the mode that it
    /// was typed in is gone. Connects again first if the connection is gone. Throws VtyClientError
    /// if that fails or the connection breaks; what() tells the operator what is known of the line.
    std::optional<VtyReply> run(const std::string& line);

    /// Take what came without being waited for: answers to lines that were given up, or the end of
    /// the connection. True if the operator was told something.
    bool look_at_connection();

    const ShellMode& mode() const { return place_; }

    /// Is there a connection?
    bool connected() const { return client_ != nullptr; }

    /// For poll(); -1 without a connection.
    int descriptor() const { return client_ ? client_->descriptor() : -1; }

private:
    std::optional<VtyReply> wait();
    bool reconnect();
    void lose();
    void tell_late_answer(const VtyReply& reply);

    std::string path_;
    SignalWatch& interrupt_;
    ShellMode place_;
    std::function<void(const std::string&)> say_;
    std::unique_ptr<VtyClient> client_;
    std::deque<std::string> given_up_; // and not answered yet
};
