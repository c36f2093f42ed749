// A full restore to a card on another node, over the kernel's own TIPC.
#include "hal_outbox.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "../support/hal_chassis.h"
#include "../tipc/two_nodes.h"
#include "hal_sock.h"

namespace {

constexpr uint32_t RESTORE = 60000; // messages

uint32_t number(const wire::Bytes& frame) {
    return wire::get32(frame, wire::PAYLOAD);
}

// A card that reads slowly, until it has as many as a restore, behind one request. Each came once; those that
// overtook one that had to go back are few.
void take_restore() {
    FakeCard card(3);
    card.rest_after(50);
    for (size_t before = 0; card.count() <= RESTORE; before = card.count())
        ASSERT_GT(card.wait_for(std::min<size_t>(before + 100, RESTORE + 1)).size(), before);
    std::vector<uint32_t> numbers;
    for (const wire::Bytes& frame : card.seen())
        if (wire::get32(frame, 8) == 0)
            numbers.push_back(number(frame));
    size_t overtaken = 0;
    for (size_t n = 1; n < numbers.size(); n++)
        overtaken += numbers[n] < numbers[n - 1];
    printf("overtaken on the way to another node: %zu of %u\n", overtaken, RESTORE);
    ASSERT_EQ(numbers.size(), RESTORE);
    std::sort(numbers.begin(), numbers.end());
    for (uint32_t n = 0; n < RESTORE; n++)
        ASSERT_EQ(numbers[n], n);
}

} // namespace

TEST(HalOutboxNodes, AFullRestoreToASlowCardOnAnotherNodeArrivesWhole) {
    if (!carrier::is_tipc())
        GTEST_SKIP() << "needs a kernel with TIPC (./test --vm)";
    hal_chassis::run([](HalChassis& chassis) {
        OtherNode other(take_restore);
        HalChassis::activate(3);
        hal_msg_t msg = test_message(908, 3, 8);
        ASSERT_TRUE(loop_until([&] { return hal_send(&msg.hdr) == 0; })) << "the card's name hasn't come";
        LogCapture::clear();
        for (uint32_t n = 0; n < RESTORE; n++) {
            for (int byte = 0; byte < 4; byte++)
                msg.buf[byte] = uint8_t(n >> (24 - 8 * byte));
            ASSERT_EQ(hal_send_async(&msg.hdr), 0u);
        }
        std::atomic<int> good = -1;
        std::thread end([&] { good = other.ends_well(); });
        for (int n = 0; n < 200 && good < 0; n++)
            loop_until([&] { return good >= 0; });
        end.join();
        EXPECT_EQ(good, 1);
        EXPECT_THAT(chassis.log.lines(), testing::Not(testing::Contains(testing::HasSubstr("fail"))));
    });
}
