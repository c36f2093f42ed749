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

/// Wait for the next answer; nothing if Ctrl-C came first. Calls notice with the number of seconds after each
/// one without an answer. Throws VtyClientError.
std::optional<VtyReply> wait_for_answer(VtyClient& client, SignalWatch& interrupt,
                                        const std::function<void(unsigned)>& notice);

/// How an operator is told something.
struct Telling {
    /// Prints a line (without its end).
    std::function<void(const std::string&)> say;
    /// Shows a line in place of the one that it showed before, without its end; "" takes it away.
    std::function<void(const std::string&)> show;
};

class OperatorSession {
public:
    OperatorSession(std::string path_given, SignalWatch& interrupt_given, Understand understand,
                    Telling telling_given);

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
    void tell_wait(unsigned seconds);
    void end_wait();
    void say(const std::string& text) const { telling_.say(text); }
    bool reconnect();
    void lose();
    void tell_late_answer(const VtyReply& reply);

    std::string path_;
    SignalWatch& interrupt_;
    ShellMode place_;
    Telling telling_;
    bool shows_wait_ = false;
    std::unique_ptr<VtyClient> client_;
    std::deque<std::string> given_up_; // and not answered yet
};
