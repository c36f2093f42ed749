// The control socket: a Unix stream socket that takes one command per line.
//
// Each line is answered by lines that begin with "= ", then one line "ok" or "error REASON". A client's next
// line is read when its last one is answered.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "chassis.h"
#include "command.h"
#include "fd.h"

class ControlSocket {
public:
    static constexpr const char* DEFAULT_PATH = "/var/run/chassis-sim.ctl";
    static constexpr size_t MAX_LINE = 65536;       // a longer line ends the connection
    static constexpr size_t MAX_OUTPUT = 64u << 20; // so does a client that doesn't read
    static constexpr size_t MAX_CLIENTS = 64;

    explicit ControlSocket(Chassis& chassis) : chassis_(chassis) {}
    ~ControlSocket();

    // False, with the reason in error.
    bool listen(const std::string& path, std::string& error);

private:
    struct Client {
        Fd fd;
        std::string input;
        std::string output;
        bool busy = false; // a command runs
        bool eof = false;
        Cancel cancel;
    };

    void accept_one();
    void handle_ready(uint64_t id, short revents);
    bool read_from(Client& client);
    void run_lines(uint64_t id);
    void run_line(uint64_t id, const std::string& line);
    void answer(uint64_t id, const Answer& answer);
    bool flush(uint64_t id, Client& client);
    void update_events(const Client& client);
    void drop(uint64_t id);
    Client* find(uint64_t id);

    Chassis& chassis_;
    std::string path_;
    Fd listener_;
    std::map<uint64_t, Client> clients_;
    uint64_t next_id_ = 1;
};
