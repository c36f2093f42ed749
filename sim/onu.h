// The simulated ONUs on a line card's PON ports: what they are, and how they come up and go down against what
// the card was told.
//
// An ONU that is switched on is ranged, then looked for among the ONUs that the card was told of. One that is
// found passes the authentication and becomes operational; one that isn't is reported as unconfigured, or to
// be learnt on a port that learns, and comes up when the card is told of it. One that is to be learnt and
// that nobody provisions is reported again after a while (onu_learning.cpp).
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "card_objects.h"
#include "event_loop.h"
#include "home.h"
#include "onu_images.h"
#include "readings.h"
#include "uni.h"

using OnuSerial = std::array<uint8_t, 8>;

// "ABCD12345678" (four characters, eight hexadecimal digits), or sixteen hexadecimal digits.
std::optional<OnuSerial> parse_onu_serial(std::string_view text);
std::string onu_serial_text(const OnuSerial& serial);
// The serial number that is this much greater in its last four bytes.
OnuSerial next_onu_serial(const OnuSerial& serial, uint32_t add);

enum class OnuState {
    OFF,          // no power
    LOST,         // power, but no light
    RANGING,      //
    UNCONFIGURED, // reported as such
    LEARNING,     // reported to be learnt
    AUTHPASS,     //
    OPERATIONAL,  //
};
const char* onu_state_name(OnuState state);

struct Onu {
    OnuSerial serial{};
    uint32_t pon = 0; // index of its PON port
    std::string password;
    std::string loid;
    std::string loid_password;
    std::string model = "SIM-ONU-4E2V";
    std::string version = "V1.0.0"; // that runs
    OnuImages images;
    std::string vendor; // of whom it says that it is; that of its serial number when there is none
    bool is_hgu = false;
    uint32_t distance = 1200;        // m
    std::optional<UniPorts> ports;   // those of its type when there are none
    std::map<UniPosition, Uni> unis; // those with which something has happened
    OnuHome home;
    SetReadings readings; // of its optics
    OnuState state = OnuState::OFF;
    uint32_t index = 0;     // that the card was told, once authenticated
    uint32_t temp_id = 0;   // while unconfigured
    bool is_listed = false; // as unconfigured, with somebody who heard of it
    uint32_t losses = 0;    // how often it went down
    uint32_t step = 0;      // of the one timed step that is under way; an older one does nothing
    // What it was told to do, so often.
    uint32_t reboots = 0;
    uint32_t mib_syncs = 0;
    uint32_t restores = 0;
};

class Onus {
public:
    // Sends an event up: message number, action, record. False when nobody hears it.
    using Report = std::function<bool(uint16_t number, uint32_t action, std::span<const uint8_t> record)>;
    using Clock = std::chrono::steady_clock;

    Onus(EventLoop& loop, const CardObjects& objects, Report report)
        : loop_(loop), objects_(objects), report_(std::move(report)) {}
    Onus(const Onus&) = delete;
    Onus& operator=(const Onus&) = delete;
    ~Onus() { loop_.cancel(timer_); }

    // From power to ranged, from authenticated to operational, how long one that starts again is without
    // light, and after what time one that is to be learnt is reported again.
    void set_delays(std::chrono::milliseconds range, std::chrono::milliseconds up,
                    std::chrono::milliseconds reboot = std::chrono::milliseconds(20),
                    std::chrono::milliseconds again = std::chrono::seconds(30));

    // False when the port has this serial number already.
    bool add(Onu onu);
    bool remove(const OnuSerial& serial);
    // Null when there is none. The state is changed by the functions below.
    Onu* find(const OnuSerial& serial);
    Onu* find(uint32_t pon, const OnuSerial& serial);
    Onu* at_index(uint32_t index);
    const Onu* at_index(uint32_t index) const;
    std::vector<const Onu*> all() const;

    void power_on(Onu& onu);
    // Without power it falls silent, after a last word when gasp is set.
    void power_off(Onu& onu, bool gasp);
    // Light lost and found.
    void lose(Onu& onu);
    void recover(Onu& onu);

    // Light of a whole port, lost and found; an ONU that is switched on meanwhile finds none.
    void lose_port(uint32_t pon);
    void recover_port(uint32_t pon);
    // The ONUs of a port are on another one from now on, and ranged there.
    void move_port(uint32_t from, uint32_t to);

    // The card was told of the ONU with this index, or told something new. False when that changed nothing
    // for any ONU on the port.
    bool told(uint32_t index);
    // Reports the state of the ONU that the card was told of under this index, or that there is none.
    void report_again(uint32_t index) const;
    void forgotten(uint32_t index);
    // The ONU's, or the PON port's, administrative state.
    void set_enabled(uint32_t index, bool enabled);
    // The ONU with this index starts again: it is away for a while, and its counters begin at 0.
    void reboot(uint32_t index);
    // The PON port begins to learn, or ends it: those that wait there wait anew.
    void set_learning(uint32_t pon);
    // The port hears of its ONUs later in this replay, and learns none before it has ended.
    void learn_behind_replay(uint32_t pon) { told_later_.insert(pon); }
    void replay_ended();
    // It gets its settings anew, or goes back to those that it was made with, for which it starts again.
    void synchronise_mib(uint32_t index);
    void restore_default(uint32_t index);
    // The card starts afresh and knows nothing.
    void card_restarted();
    // Repeats the state of every ONU that the card was told of or that waits to be configured.
    void replay();

private:
    using Key = std::pair<uint32_t, OnuSerial>; // port first: its ONUs are neighbours

    void start_ranging(Onu& onu);
    void ranged(Onu& onu);
    void authenticated(Onu& onu, uint32_t index);
    void operational(Onu& onu);
    void unknown(Onu& onu);
    void wait_anew(Onu& onu);
    void go_down(Onu& onu, OnuState state, uint32_t alarm);
    void list_unconfigured(Onu& onu);
    void leave_unconfigured(Onu& onu);
    void leave_port(Onu& onu);

    bool is_for(const Onu& onu, uint32_t index) const;
    uint32_t find_index(const Onu& onu) const;
    uint32_t free_index(uint32_t pon) const;
    bool learns(uint32_t pon) const;
    std::pair<std::map<Key, Onu>::iterator, std::map<Key, Onu>::iterator> on_port(uint32_t pon);

    void report_state(const Onu& onu, uint8_t state) const;
    bool report_unconfigured(const Onu& onu, uint32_t action) const;
    void report_waiting(Onu& onu);
    void report_learnt(const Onu& onu, uint32_t index) const;
    void report_alarm(const Onu& onu, uint32_t code, uint32_t state) const;

    void after(Onu& onu, std::chrono::milliseconds delay);
    void run_due();
    void arm();

    EventLoop& loop_;
    const CardObjects& objects_;
    Report report_;
    std::map<Key, Onu> onus_;
    std::map<uint32_t, Key> by_index_;
    std::map<uint32_t, Key> promised_; // indexes given to ONUs that are to be learnt
    std::set<uint32_t> disabled_;      // ONUs and ports
    std::set<uint32_t> dark_;          // ports whose fibre is cut
    std::set<uint32_t> told_later_;    // ports that a replay has set, while it goes on
    std::multimap<Clock::time_point, std::pair<Key, uint32_t>> due_;
    EventLoop::TimerId timer_ = 0;
    std::chrono::milliseconds range_delay_{20};
    std::chrono::milliseconds up_delay_{20};
    std::chrono::milliseconds reboot_delay_{20};
    std::chrono::milliseconds learn_again_delay_{30'000};
    uint32_t next_temp_id_ = 1;
};
