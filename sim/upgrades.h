// Upgrades of ONUs as a line card carries them out: images go to ONUs over OMCI, a few at a time on each
// port, are written, committed, and started from.
//
// What an image is like stands in its file, which the daemon leaves in /tmp: a first line "version: V2.0.0"
// says which version it holds, and without it the file's name does.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>

#include "event_loop.h"
#include "onu.h"
#include "records.h"

// Where an upgrade can fail.
enum class UpgradeStage : uint8_t { DOWNLOAD, WRITE, COMMIT, ACTIVATE };

struct UpgradeDelays {
    std::chrono::milliseconds download{300}; // of an image, to one ONU
    std::chrono::milliseconds write{100};
    std::chrono::milliseconds commit{30};
    uint32_t at_once = 16; // downloads on a port
};

class Upgrades {
public:
    Upgrades(EventLoop& loop, Onus& onus) : loop_(loop), onus_(onus) {}

    // What the card was told: messages 930, 967 and 966.
    void command(std::span<const uint8_t> record);
    void command_from_server(std::span<const uint8_t> record);
    void set_switch(std::span<const uint8_t> record);
    // The card starts afresh; images that were on their way don't arrive.
    void restart();

    // Answers message 940 about an ONU.
    void fill_progress(uint32_t index, std::span<uint8_t> record);

    void set_delays(const UpgradeDelays& delays) { delays_ = delays; }
    // The next time that the ONU comes to this stage, it fails there.
    void fail_next(const OnuSerial& serial, UpgradeStage stage) { failing_.emplace(serial, stage); }
    // A line for each upgrade that the card knows of.
    std::vector<std::string> lines();

private:
    using Clock = std::chrono::steady_clock;
    // The numbers are those of message 940.
    enum Status : int32_t {
        NONE = 0,
        DOWNLOADING = 2,
        WRITING = 3,
        DOWNLOADED = 4,
        COMMITTING = 5,
        COMMITTED = 6,
        COMMIT_FAILED = 7,
        ACTIVATING = 8,
        ACTIVATED = 9,
        ACTIVATE_FAILED = 10,
        DOWNLOAD_FAILED = 11,
        ABORTED = 12,
        WAITING = 13,
    };
    struct Image {
        std::string file;
        std::string version;
        int32_t size = 0;
    };
    struct Upgrade {
        OnuSerial serial{};
        Image image;
        Status status = NONE;
        bool goes_on = false; // commits and activates by itself
        int32_t sent = 0;
        Clock::time_point began{};
        uint32_t losses = 0; // of the ONU when the stage began
        uint32_t step = 0;   // of the timed step that is under way; an older one does nothing
    };

    static Image image_of(const std::string& file);

    Onu* onu_of(uint32_t index, const Upgrade& upgrade);
    Upgrade& upgrade_of(uint32_t index, const Onu& onu);
    template <typename Act>
    void for_each_onu(std::span<const uint8_t> record, Act act);

    void start(uint32_t index, const Onu& onu, const Image& image, bool goes_on);
    void commit(uint32_t index, Onu& onu);
    void activate(uint32_t index, Onu& onu);
    void abort(uint32_t index);
    void start_waiting(uint32_t pon);
    bool begin(uint32_t index, Upgrade& upgrade);
    void enter(uint32_t index, Upgrade& upgrade, Status status, std::chrono::milliseconds time);
    void through(uint32_t index, uint32_t step);
    void end_stage(uint32_t index, Upgrade& upgrade, Onu& onu);
    void settle(uint32_t index, Upgrade& upgrade);
    bool fails(const Upgrade& upgrade, UpgradeStage stage);
    static void lose(Upgrade& upgrade);

    EventLoop& loop_;
    Onus& onus_;
    UpgradeDelays delays_;
    std::map<uint32_t, Upgrade> upgrades_; // by index of the ONU
    std::multimap<OnuSerial, UpgradeStage> failing_;
    bool auto_commit_ = false;
    bool auto_activate_ = false;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true); // for timers that outlive the card
};
