#pragma once

// The client's side of the daemon's terminal socket: a command line with a NUL behind it goes
// out; back come the text that the command printed, three NULs, and the result as one byte.

#include <stdexcept>
#include <string>
#include <string_view>

/// The connection can't be made, is gone, or talks nonsense. what() is for the operator.
struct vty_client_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The daemon's answer to one line.
struct vty_reply_t {
    std::string text;
    /// 0 for success; the library's result code otherwise.
    int result;
};

class vty_client {
public:
    /// Connect to the Unix stream socket at path. Throws vty_client_error.
    explicit vty_client(const std::string& path);
    ~vty_client();
    vty_client(const vty_client&) = delete;
    vty_client& operator=(const vty_client&) = delete;

    /// Have the daemon run one line and wait for its answer, as long as it takes. A line that is
    /// too long for the daemon or has a NUL in it isn't sent and fails with a text that says so.
    /// Throws vty_client_error when the daemon goes away.
    vty_reply_t run(std::string_view line);

    /// Did the daemon close the connection? Waits up to so many milliseconds for it to happen.
    bool closed(int wait_ms);

    /// Longest line that the daemon's buffer takes.
    static constexpr size_t max_line = 4000;

private:
    void send_all(std::string_view bytes);
    bool take_reply(vty_reply_t& reply);

    int fd;
    std::string received; // not yet handed out
};
