// One simulated line card: the agent that a daemon's messages reach, and what stands behind it.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "capture.h"
#include "card_frame.h"
#include "card_objects.h"
#include "card_socket.h"
#include "card_values.h"
#include "event_loop.h"
#include "faults.h"
#include "onu.h"
#include "pm_traffic.h"
#include "protection.h"
#include "records.h"
#include "upgrades.h"

// What the cards of a chassis share.
struct CardShelf {
    EventLoop& loop;
    Records& records;
    IpcSender& sender;
    uint32_t& board; // slot of the daemon's board; a request tells it
    // Messages that each card puts on record in a second; more are only counted.
    uint32_t& records_per_second;
    Capture& capture; // of what they all are sent and send
};

struct CardCounters {
    uint64_t received = 0;
    uint64_t refused = 0;
    uint64_t replies = 0;
    uint64_t events = 0;
    uint64_t unrecorded = 0;
    std::map<std::string, uint64_t> reasons;                   // of refusals
    std::map<std::pair<uint16_t, uint32_t>, uint64_t> by_type; // accepted, by message and action
};

class Card {
public:
    Card(const CardShelf& shelf, uint32_t slot);

    // The agent's socket. What the card was told stays. False, with the reason in error.
    bool open(std::string& error);
    void close() { receiver_.close(); }
    bool is_open() const { return receiver_.is_open(); }
    // The agent hangs: it reads nothing until it goes on, or its socket is opened anew.
    void stop() { receiver_.stop(); }
    void go_on() { receiver_.go_on(); }
    bool is_stopped() const { return receiver_.is_stopped(); }
    // Starts afresh: forgets what it was told; its ONUs are ranged again.
    void restart();

    // A frame as it came from the socket.
    void handle(std::span<const uint8_t> frame);

    // Sends an event count times, as fast as the daemon reads. False when nobody has the daemon's name.
    bool send_event(uint16_t number, uint32_t action, uint32_t mask, std::span<const uint8_t> record,
                    uint32_t count = 1);
    // The same for an event that is made up: an alarm is kept, to be repeated with the card's state.
    bool raise_event(uint16_t number, uint32_t action, uint32_t mask, std::span<const uint8_t> record,
                     uint32_t count);
    // The header that an event with this payload has.
    CardHeader event_header(uint16_t number, size_t payload_size);
    // Any bytes, to the daemon.
    bool send_bytes(const std::vector<uint8_t>& bytes, uint32_t count = 1);

    uint32_t slot() const { return slot_; }
    const CardObjects& objects() const { return objects_; }
    Onus& onus() { return onus_; }
    const Onus& onus() const { return onus_; }
    Protection& protection() { return protection_; }
    // What somebody has set of the optical module of a PON port.
    SetReadings& module(uint32_t port) { return values_.module(port); }
    // What passes through the card, and what it has counted.
    PmFlows& flows() { return flows_; }
    const PmFlows& flows() const { return flows_; }
    Upgrades& upgrades() { return upgrades_; }
    Faults& faults() { return faults_; }
    const CardCounters& counters() const { return counters_; }
    // The last texts for the driver.
    const std::deque<std::string>& driver_texts() const { return driver_texts_; }
    // Records of the alarms that are raised, by source and code.
    const std::map<std::pair<uint32_t, uint32_t>, CardObjects::Bytes>& alarms() const { return alarms_; }

private:
    struct Outcome {
        uint32_t retcode = 0;
        CardObjects::Bytes record;
    };

    IpcName name() const; // of its agent
    bool transmit(const IpcName& to, const std::vector<uint8_t>& frame);

    Outcome perform(const CardRequest& request);
    Outcome read(const CardRequest& request);
    void follow(const CardRequest& request, bool held_before);
    void end_intervals(const CardRequest& request);
    void command_onu(uint32_t index, const CardRequest& request);
    void follow_port(const CardRequest& request);
    void follow_onu(const CardRequest& request, bool held_before);
    void switch_onu(uint32_t index, const CardRequest& request);
    void forget_onu(uint32_t index);
    void forget_what_replay_left_out();
    void keep_driver_text(const CardRequest& request);
    void replay();
    bool report(uint16_t number, uint32_t action, std::span<const uint8_t> record);
    bool keep_alarm(std::span<const uint8_t> record);

    bool use_fault_instead(const Fault& fault);
    void stop_for(uint32_t ms);
    void reply(const CardRequest& request, Outcome outcome, const std::optional<Fault>& fault);
    void send_reply(const CardRequest& request, const std::vector<uint8_t>& frame,
                    const std::optional<Fault>& fault);
    void reply_later(const IpcName& client, const std::vector<uint8_t>& frame, Onus::Clock::time_point due);
    void reply_behind_next(const IpcName& client, const std::vector<uint8_t>& frame, uint32_t ms);
    void send_held_back();

    bool may_record();
    void record_request(const CardRequest& request, uint32_t retcode);
    void record_refusal(const CardRequest& request, const CardRefusal& refusal, size_t frame_size);
    void record_fault(const CardRequest& request, const Fault& fault);
    NamedValues describe(const CardRequest& request) const;

    CardShelf shelf_;
    uint32_t slot_;
    IpcReceiver receiver_;
    CardObjects objects_;
    Onus onus_;
    Protection protection_;
    PmFlows flows_;
    CardValues values_;
    Upgrades upgrades_;
    Faults faults_;
    CardCounters counters_;
    std::deque<std::string> driver_texts_;
    std::map<std::pair<uint32_t, uint32_t>, CardObjects::Bytes> alarms_;
    // PON ports that were created anew, each with the ONUs that the card was told of since: a replay's.
    std::map<uint32_t, std::set<uint32_t>> replayed_;
    uint32_t msg_num_ = 0;
    Onus::Clock::time_point busy_until_{};                           // with the answers of one that is slow
    std::deque<std::pair<IpcName, std::vector<uint8_t>>> held_back_; // answers that let the next one pass
    Onus::Clock::time_point second_{};                               // in which records are counted
    uint32_t recorded_ = 0;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true); // for timers that outlive the card
};
