// The connection to the master agent as a stream of PDUs, on which nothing ever waits: it connects, opens its
// session, reads and writes as far as that goes at the moment. Half a PDU stays here until the rest comes,
// and what the master doesn't take yet until it does.
//
// It ends when the master closes it; when an answer or the taking of a PDU is due for AGENTX_SILENCE_MS in
// which nothing was heard; or with a PDU that isn't one. A master that is slow, but answers, is waited for.
//
// Event loop's thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "agentx_address.h"
#include "agentx_pdu.h"
#include "ov_clock.h"

// Time without a whole PDU of the master, while it owes one, that ends the connection; or without its taking
// anything of what waits for it. Milliseconds.
inline constexpr int AGENTX_SILENCE_MS = 3000;
// Descriptors from this number on have no place in the event array.
inline constexpr int AGENTX_FD_MAX = 1024;

class AgentxMaster {
public:
    AgentxMaster() = default;
    ~AgentxMaster();
    AgentxMaster(const AgentxMaster&) = delete;
    AgentxMaster& operator=(const AgentxMaster&) = delete;

    // Begins to connect and to open a session, in place of what there was. False, with errno, if nobody is
    // there.
    bool begin(const AgentxAddress& address);
    // Ends the connection with a line in the log; PDUs that have come stay. The descriptor stays open until
    // close(): an event may still wait for it.
    void give_up(const char* why);
    // The other end is known to have gone: takes in what it said, and ends without a line.
    void hang_up();
    // Takes it all away.
    void close();

    // The socket of the connection that stands, else -1.
    int socket() const { return has_ended_ ? -1 : sock_; }
    // The session, once the master has opened it.
    std::optional<uint32_t> session() const { return session_; }
    // Whether it ended because nothing was heard of the master since begin().
    bool was_mute() const { return was_mute_; }
    // Whether everything that was asked has been answered.
    bool is_quiet() const { return asked_.empty(); }

    // Reads what is there. False if the connection has ended.
    bool receive();
    // The next PDU that has come for the library: a request, or the answer to a notification.
    std::optional<AgentxPdu> next();
    bool has_next() const { return !for_library_.empty(); }
    // The next Response of these, past all else.
    std::optional<AgentxPdu> next_response();
    bool has_response() const;
    // Whether the next is of this type, and of the session.
    bool is_next(AgentxPduType type) const;
    // Gives back what next() has just given.
    void put_back(AgentxPdu pdu) { for_library_.push_front(std::move(pdu)); }
    // If an UndoSet has come, the master no longer waits for the CommitSets in front of it: takes these out.
    // False if none has come.
    bool drop_undone_commits();

    // Sends a PDU; what the socket doesn't take follows by flush(). False if the connection has ended.
    bool send(std::span<const uint8_t> pdu);
    // Sends what waits; to be called when the socket can be written to.
    void flush();
    bool wants_to_write() const { return socket() >= 0 && !waiting_.empty(); }
    // Whether more of the master is to be read: not while it has enough of ours to take, or we of its.
    bool wants_to_read() const {
        return socket() >= 0 && !is_choked() && for_library_.size() < MAX_FOR_LIBRARY;
    }
    // Whether the master hasn't taken so much that it isn't to be asked for more.
    bool is_choked() const { return waiting_.size() > CHOKED; }

    // Ends the connection if the master has been silent for too long. To be called from time to time.
    void check_silence();

private:
    static constexpr size_t CHOKED = size_t{256} << 10;
    static constexpr size_t MAX_FOR_LIBRARY = 1000;
    static constexpr size_t MAX_WAITING = size_t{8} << 20;

    void note_sent(const AgentxHeader& header);
    void take(AgentxPdu pdu);
    void take_response(const AgentxHeader& header, AgentxPdu pdu);
    void end();

    int sock_ = -1;
    bool has_ended_ = false;
    bool was_mute_ = false;
    bool was_heard_ = false;
    bool is_said_ = false; // why it ended, in the log; until the master is heard again
    AgentxGate gate_;
    std::deque<AgentxPdu> for_library_;
    std::string waiting_;                     // bytes that the socket didn't take
    std::map<uint32_t, AgentxPduType> asked_; // by packet
    std::optional<uint32_t> session_;
    ov_mono_time_t alive_; // the last sign of life that counts, or when one became due
};
