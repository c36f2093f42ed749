// The system controller: listens for the daemon's synchronous connection, connects back, answers requests
// and sends events.
//
// Never waits for the daemon: all descriptors are non-blocking and what can't be sent at once is kept, up
// to a bound.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "event_loop.h"
#include "faults.h"
#include "fd.h"
#include "frame.h"
#include "messages.h"
#include "records.h"

// A stage of the configuration replay that the daemon asked to be called for.
struct Stage {
    uint32_t appid = 0;
    uint32_t prio = 0;
    std::string app_name;
};

class Controller {
public:
    static constexpr uint16_t PORT = 30000;
    static constexpr uint16_t DAEMON_PORT = 30046; // a client on any other port isn't connected back
    static constexpr size_t MAX_OUTPUT = 1 << 20;  // bytes waiting for one connection

    enum class Role { SYNC, ASYNC };
    struct Connection {
        uint32_t id = 0; // from 1, never used twice
        Role role = Role::SYNC;
        uint16_t peer_port = 0;
        bool connecting = false;
        Fd fd;
        FrameReader reader;
        std::vector<uint8_t> output;
        bool close_when_sent = false;
    };

    Controller(EventLoop& loop, Records& records, Faults& faults)
        : loop_(loop), records_(records), faults_(faults) {}
    ~Controller();

    // On 127.0.0.1. False, with the reason in error, when the port can't be had.
    bool listen(std::string& error);
    void stop_listening();
    bool listening() const { return static_cast<bool>(listener_); }

    // Called when the daemon's first asynchronous connection stands (true) and when it is lost (false).
    void set_session_handler(std::function<void(bool up)> handler) { session_handler_ = std::move(handler); }

    void set_hostname(std::string name) { hostname_ = std::move(name); }

    // Connects to the daemon's asynchronous port: id 0 and the reason in error when that can't even be tried.
    // Whether it succeeded is in the records.
    uint32_t connect_async(uint16_t port, std::string& error);

    // Sends bytes on a connection; 0 is the session's asynchronous one. Gives the connection's id, or 0 with
    // the reason in error.
    uint32_t send(uint32_t conn, std::span<const uint8_t> bytes, std::string& error);
    uint32_t send_frame(uint32_t conn, const Frame& frame, const FrameOverrides& overrides,
                        std::string& error);
    // An event, put on record with its fields.
    bool send_event(const MessageType& type, uint32_t conn, uint32_t seq, std::vector<uint8_t> body,
                    std::string& error);

    // How many were closed.
    size_t close_all(std::optional<Role> role);
    bool close_one(uint32_t id);

    const std::map<uint32_t, std::unique_ptr<Connection>>& connections() const { return connections_; }
    uint32_t session_sync() const { return session_sync_; }   // 0: none
    uint32_t session_async() const { return session_async_; } // 0: none
    // Id of the last record before the present session began.
    uint64_t session_since() const { return session_since_; }
    // In the order of their priority; those of the present session.
    const std::vector<Stage>& stages() const { return stages_; }

private:
    struct Reply;

    void accept_one();
    Connection& add_connection(Fd fd, Role role, uint16_t peer_port);
    void connect_back(Connection& sync);
    void async_connected(Connection& conn);
    void handle_ready(uint32_t id, short revents);
    void finish_connecting(Connection& conn);
    bool read_from(Connection& conn);
    bool handle_frames(Connection& conn);
    void handle_request(Connection& conn, const Frame& frame);
    const char* objection(const Frame& frame, const MessageType*& type) const;
    void accept_request(const MessageType& type, const Frame& frame);
    void answer(Connection& conn, const Frame& request, Reply reply);
    void answer_with_fault(Connection& conn, const Frame& request, Reply& reply, const Fault& fault);
    void queue(Connection& conn, std::span<const uint8_t> bytes);
    bool flush(Connection& conn);
    void drop(uint32_t id, std::string_view by, std::string_view why);
    void refuse(const Connection& conn, std::string_view reason, NamedValues more);

    EventLoop& loop_;
    Records& records_;
    Faults& faults_;
    Fd listener_;
    std::map<uint32_t, std::unique_ptr<Connection>> connections_;
    std::vector<Stage> stages_;
    std::string hostname_ = "olt";
    std::function<void(bool)> session_handler_;
    uint32_t next_id_ = 1;
    uint32_t session_sync_ = 0;
    uint32_t session_async_ = 0;
    uint64_t session_since_ = 0;
};

const char* role_name(Controller::Role role);
