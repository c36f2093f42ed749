// A chassis with room for fake cards: a process of its own with a private file system and network, the
// platform's environment tool played by a script, and the transport opened over the carrier of carrier.h.
//
//   hal_chassis::run([](HalChassis& chassis) { FakeCard card(3); chassis.activate(3); ... });
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include <sched.h>
#include <sys/stat.h>

#include "../kavo/frr_fixture.h"
#include "../ov_common/private_root.h"
#include "fake_card.h"
#include "hal_slot.h"
#include "hal_sock_tipc.h"
#include "log_capture.h"
#include "ov_product.h"
#include "ov_slot.h"

class HalChassis {
public:
    static constexpr uint32_t OWN_SLOT = 8;

    explicit HalChassis(uint32_t shelf_type = OV_SHELF_TYPE_LC14, uint32_t own_slot = OWN_SLOT) {
        std::filesystem::create_directories("/tmp/env");
        std::filesystem::create_directories("/tmp/bin");
        private_root::write_file(
            "/tmp/bin/ov_env_get",
            "#!/bin/sh\n[ -f \"/tmp/env/$1\" ] && read -r value <\"/tmp/env/$1\" && echo \"$value\"\n");
        chmod("/tmp/bin/ov_env_get", 0755);
        const char* path = getenv("PATH");
        setenv("PATH", ("/tmp/bin:" + std::string(path ? path : "/bin:/usr/bin")).c_str(), 1);
        setenv("OV_IPC_CARRIER", carrier::name(), 1);
        set("PDT_INFO_SHELF_TYPE", std::to_string(shelf_type));
        for (const char* key : {"slot", "PDT_INFO_CARD_SLOTID"})
            set(key, std::to_string(own_slot));
        set("OV_APP_FLAG_FILE_HA_RECOVERY", "/tmp/recovering");
        ov_product_deinit();
        ov_slot_deinit();
        ov_slot_init();
        LogCapture::clear();
    }

    static void set(const std::string& name, const std::string& value) {
        private_root::write_file("/tmp/env/" + name, value + "\n");
    }
    static void recover(bool yes) { private_root::write_file("/tmp/recovering", yes ? "1" : "0"); }

    // Opens the transport.
    void open(hal_recv_handle recv = nullptr) {
        hal_init(HAL_GPON, frr_master(), recv);
        ASSERT_NE(g_agent_msg_tx_cb, nullptr);
        ASSERT_EQ(g_agent_msg_tx_cb->timeout, 12);
    }
    // How long the daemon waits for an answer. One second is for cards that don't answer: any other has the
    // time that a real card has, however busy the machine is.
    static void wait_for_answers(int seconds) { g_agent_msg_tx_cb->timeout = seconds; }
    static void activate(unsigned short slot) { hal_slot_active_flag_set("test", 0, slot); }

    LogCapture log;
};

namespace hal_chassis {

// Runs the body in such a chassis without opening the transport.
inline void run_closed(const std::function<void(HalChassis&)>& body) {
    private_root::run([&] {
        if (unshare(CLONE_NEWNET) != 0)
            _exit(private_root::EXIT_NO_NAMESPACE);
        HalChassis chassis;
        body(chassis);
    });
}

inline void run(const std::function<void(HalChassis&)>& body) {
    run_closed([&](HalChassis& chassis) {
        chassis.open();
        LogCapture::clear();
        body(chassis);
    });
}

} // namespace hal_chassis

// frr_run_until for what happens outside the loop: looks every few milliseconds, whether or not there are
// events.
template <typename Done>
bool loop_until(Done done) {
    struct Tick {
        static void again(struct thread* thread) {
            auto** tick = static_cast<struct thread**>(THREAD_ARG(thread));
            thread_add_timer_msec(frr_master(), again, tick, 2, tick);
        }
    };
    struct thread* tick = nullptr;
    thread_add_timer_msec(frr_master(), Tick::again, &tick, 2, &tick);
    const bool in_time = frr_run_until(done);
    thread_cancel(&tick);
    return in_time;
}

// A message to a slot whose payload counts up from `first`.
inline hal_msg_t test_message(uint16_t type, uint32_t slot, uint32_t payload, uint8_t first = 0) {
    hal_msg_t msg = {};
    msg.hdr.nlmsg_len = uint32_t(sizeof(hal_nlmsghdr)) + payload;
    msg.hdr.nlmsg_type = type;
    msg.hdr.nlmsg_pid = slot;
    for (uint32_t n = 0; n < payload && n < HAL_PAYLOAD_MAX; n++)
        msg.buf[n] = uint8_t(first + n);
    return msg;
}
