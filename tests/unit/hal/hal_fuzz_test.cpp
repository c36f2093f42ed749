// What a card sends may be anything: events and replies of random, damaged and truncated bytes.
#include <gmock/gmock.h>

#include "../support/dice.h"
#include "../support/hal_chassis.h"
#include "hal_recv_tipc.h"
#include "ov_types.h"

using wire::Bytes;

namespace {

// What the handler was given last.
struct Given {
    unsigned type = 0;
    unsigned len = 0;
    unsigned sum = 0; // reads every byte that it was told of
};
Given given;
int taken = 0;

unsigned take(unsigned type, void* buf, unsigned len) {
    taken++;
    given = {type, len, 0};
    for (unsigned n = 0; n + sizeof(hal_nlmsghdr) < len; n++)
        given.sum += static_cast<const uint8_t*>(buf)[n];
    return 0;
}

Bytes damaged_behind_the_ipc_header(Dice& dice, const Bytes& frame) {
    const Bytes body = dice.damaged({frame.begin() + wire::IPC, frame.end()});
    Bytes made(frame.begin(), frame.begin() + wire::IPC);
    made.insert(made.end(), body.begin(), body.end());
    return made;
}

// Dispatches until the event of this type has come.
bool arrives(unsigned type) {
    return frr_run_until([type] { return given.type == type; });
}

TEST(HalFuzz, EventsOfAnyBytesAreHandedOverWithinTheirLengthAndTheNextOneComesThrough) {
    hal_chassis::run_closed([](HalChassis& chassis) {
        chassis.open(take);
        FakeCard card(3);
        Dice dice(5);
        for (int round = 0; round < 40; round++) {
            for (int n = 0; n < 50; n++) {
                const auto type = uint16_t(dice.one_in(3) ? dice.word() : 900 + dice.below(70));
                const Bytes good = wire::event(3, type, dice.bytes(dice.below(400)));
                const Bytes bad = dice.one_in(10) ? dice.bytes(1 + dice.below(2100))
                                                  : damaged_behind_the_ipc_header(dice, good);
                card.send_to(111, 11100 + HalChassis::OWN_SLOT, bad);
            }
            const auto last = uint16_t(60000 + round);
            card.send_to(111, 11100 + HalChassis::OWN_SLOT, wire::event(3, last, {1, 2, 3, 4}));
            ASSERT_TRUE(arrives(last)) << "round " << round;
            ASSERT_EQ(given.len, 20u);
            ASSERT_EQ(given.sum, 10u);
        }
        EXPECT_GT(taken, 400);
    });
}

TEST(HalFuzz, RepliesOfAnyBytesChangeNothingBeyondTheRequest) {
    hal_chassis::run([](HalChassis&) {
        constexpr uint32_t PAYLOAD = 100;
        Dice dice(6);
        FakeCard card(3, [&dice](FakeCard& c, const Bytes& request) {
            c.answer(request, damaged_behind_the_ipc_header(dice, c.reply_to(request, 0)));
        });
        HalChassis::activate(3);
        g_agent_msg_tx_cb->timeout = 60; // each is answered
        int passed = 0;
        for (int round = 0; round < 2000; round++) {
            hal_msg_t msg = test_message(908, 3, PAYLOAD);
            std::fill(msg.buf + PAYLOAD, std::end(msg.buf), uint8_t(0xEE));
            const unsigned result = hal_send(&msg.hdr);
            ASSERT_TRUE(result == KAVO_OK || result == KAVO_ERR || result == OV_GPON_RET_NOT_SUPPORT)
                << result << " in round " << round;
            passed += result == KAVO_OK;
            ASSERT_TRUE(
                std::all_of(msg.buf + PAYLOAD, std::end(msg.buf), [](uint8_t b) { return b == 0xEE; }))
                << "round " << round;
            LogCapture::clear();
        }
        EXPECT_GT(passed, 100);
        EXPECT_LT(passed, 2000);
    });
}

} // namespace
