#pragma once

// The client's side of the daemon's terminal socket: a command line with a NUL behind it goes
// out; back come the text that the command printed, three NULs, and the result as one byte.
// Lines may go out before earlier ones are answered; answers come in the order of the lines.

#include <cstdint>
#include <deque>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

/// The connection can't be made, is gone, or talks nonsense. what() is for the operator.
struct VtyClientError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The daemon's answer to one line.
struct VtyReply {
    std::string text;
    /// 0 for success; the library's result code otherwise.
    int result;
    /// Why the daemon refused the line, if it says so and reasons are asked for.
    std::string reason = {};
    /// By which number "show refused" tells more of it; 0 for none.
    unsigned refused = 0;
};

class VtyClient {
public:
    /// Connect to the Unix stream socket at path. Throws VtyClientError.
    explicit VtyClient(const std::string& path);
    ~VtyClient();
    VtyClient(const VtyClient&) = delete;
    VtyClient& operator=(const VtyClient&) = delete;

    /// From now on ask the daemon for the reason of each refusal, before its answer is handed out.
    void ask_reasons() { asks_reasons_ = true; }

    /// Have the daemon run one line and wait for its answer, as long as it takes; no other may be
    /// unanswered. A line that is too long for the daemon or has a NUL in it isn't sent and fails
    /// with a text that says so. Throws VtyClientError when the daemon goes away.
    VtyReply run(std::string_view line);

    /// Send a line without waiting for its answer; receive() gives it in its turn. The daemon reads on
    /// only while its answers are taken: with more than a few ten kilobytes unanswered this may wait
    /// for ever. Throws as run() does.
    void send(std::string_view line);

    /// The next answer. Nothing if none is complete within so many milliseconds (-1: wait without
    /// limit), or if wake_fd gets readable (-1: none) before. Throws as run() does.
    std::optional<VtyReply> receive(int wait_ms = -1, int wake_fd = -1);

    /// What has come of the next answer while it isn't complete: what the daemon printed before it waits.
    std::string_view so_far() const;

    /// Number of lines whose answer wasn't handed out yet.
    size_t unanswered() const;

    /// Did the daemon close the connection? Waits up to so many milliseconds for it to happen.
    bool closed(int wait_ms);

    /// For poll(): readable when an answer comes or the daemon hangs up.
    int descriptor() const { return fd_; }

    /// Longest line that the daemon's buffer takes.
    static constexpr size_t MAX_LINE = 4000;

private:
    void send_all(std::string_view bytes);
    bool take_reply();
    void read_some();
    void gather();
    VtyReply next_ready();
    bool is_ready() const { return !ready_.empty() && !ready_.front().lacks_reason; }
    void ask_reason();
    void take_reasons(const std::string& text);

    /// A line sent and not answered: its number in the daemon's list of reasons, or the question for them.
    struct Sent {
        uint32_t number;
        bool question;
    };
    struct Ready {
        VtyReply reply;
        uint32_t number;
        bool lacks_reason; // the question for it is on its way
    };

    int fd_;
    bool asks_reasons_ = false;
    std::deque<Sent> sent_;
    std::string received_; // a part of an answer
    size_t searched_ = 0;  // of received, bytes known to be no end of an answer
    std::deque<Ready> ready_;
};
