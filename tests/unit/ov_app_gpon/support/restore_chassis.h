// What the tests of slot events stand on: a chassis whose timers a test runs by hand, and a controller that
// agrees to everything.
#pragma once

#include <gmock/gmock.h>

#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "../../support/app_chassis.h"
#include "../../support/frames.h"
#include "../../support/test_clock.h"
#include "app_loop.h"
#include "uclient.h"

// The timers that were armed, on a clock of their own.
class HeldTimers {
public:
    HeldTimers() { EXPECT_EQ(std::exchange(clock(), &clock_), nullptr); }
    ~HeldTimers() { clock() = nullptr; }
    HeldTimers(const HeldTimers&) = delete;
    HeldTimers& operator=(const HeldTimers&) = delete;

    static size_t count() { return clock()->armed(); }
    // Lets the time pass up to the first one; gives the milliseconds that it was armed with.
    static long run_first() { return clock()->run_next(); }
    // Runs them until none is left: what each was armed with.
    static std::vector<long> run_all() {
        std::vector<long> pauses;
        while (count() != 0)
            pauses.push_back(run_first());
        return pauses;
    }

private:
    static TestClock*& clock() {
        static TestClock* clock = nullptr;
        return clock;
    }
    TestClock clock_;
};

// Answers every request with 0 and keeps it.
class AgreeingController {
public:
    AgreeingController() : thread_([this] { serve(); }) {
        client_.fd_sync = pair_.fd[0];
        uclient = &client_;
    }
    ~AgreeingController() {
        uclient = nullptr;
        shutdown(pair_.fd[0], SHUT_RDWR);
        thread_.join();
    }
    AgreeingController(const AgreeingController&) = delete;
    AgreeingController& operator=(const AgreeingController&) = delete;

    // The reports of priorities: "slot/priority/result".
    std::vector<std::string> reports() const {
        const std::lock_guard lock(mutex_);
        std::vector<std::string> texts;
        for (const Received& got : seen_)
            if (got.type == UMSG_CFG_APP_NOTIFY_RECOVER_RESULT) {
                const auto body = got.as<umsg_cfg_sync_t>();
                texts.push_back(std::string(body.appName) + " " + std::to_string(body.slotid) + "/" +
                                std::to_string(body.cfg_prio) + "/" + std::to_string(body.retcode));
            }
        return texts;
    }

private:
    void serve() {
        for (;;) {
            pollfd p = {.fd = pair_.fd[1], .events = POLLIN, .revents = 0};
            char head = 0;
            if (poll(&p, 1, -1) < 0 || recv(pair_.fd[1], &head, 1, MSG_PEEK) <= 0)
                return;
            const Received got = read_frame(pair_.fd[1]);
            {
                const std::lock_guard lock(mutex_);
                seen_.push_back(got);
            }
            write_all(pair_.fd[1], frame(UMSG_REPLY, got.seq, reply_body(0, 0, "")));
        }
    }

    mutable std::mutex mutex_;
    std::vector<Received> seen_;
    SocketPair pair_;
    uclient_s client_ = {};
    std::thread thread_;
};

struct RestoreChassis {
    AppChassis& card;
    HeldTimers timers;
    AgreeingController controller;

    explicit RestoreChassis(AppChassis& chassis) : card(chassis) {}

    // What the card gets while `act` runs.
    template <typename Act>
    std::vector<CardMessage> messages_of(Act act) const {
        wait_for_the_card();
        card.forget_messages();
        act();
        wait_for_the_card();
        auto seen = card.messages();
        EXPECT_EQ(seen.back().type, OV_HAL_MSG_GPON_RMONU_ANI_OPT_INFO);
        seen.pop_back();
        return seen;
    }

private:
    // Messages without reply are in by the time that a reply comes.
    static void wait_for_the_card() {
        ov_gpon_rmonu_opt_ani_info_attr_t barrier = {};
        barrier.onuIfindex = ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, AppChassis::SLOT, 0, 1, 1);
        EXPECT_EQ(ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_RMONU_ANI_OPT_INFO, OV_HAL_GPON_MSG_ACTION_CREATE,
                                       &barrier, 0, 1),
                  0);
    }
};

inline void run_restore_chassis(const std::function<void(RestoreChassis&)>& body) {
    app_chassis::run([&body](AppChassis& card) {
        RestoreChassis chassis(card);
        LogCapture::clear();
        body(chassis);
    });
}

// "901 create", "901 set 0x80000", ... of messages.
inline std::vector<std::string> outline(const std::vector<CardMessage>& messages) {
    std::vector<std::string> lines;
    for (const CardMessage& message : messages) {
        static const char* const actions[] = {"?", "create", "delete", "set", "get", "current"};
        std::string line = std::to_string(message.type) + " " + actions[message.action];
        if (message.mask != 0) {
            char mask[16];
            snprintf(mask, sizeof mask, " 0x%x", message.mask);
            line += mask;
        }
        lines.push_back(line);
    }
    return lines;
}
