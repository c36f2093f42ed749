// Whatever the kernel or a peer hands over, nothing is read beside it.
#include "../ov_ipc/ipc_fixture.h"
#include "../support/dice.h"
#include "wi_ipc_tipc.h"
#include "wi_nameserver.h"

#include <linux/tipc.h>

namespace {

constexpr int ROUNDS = 20000;

// Ancillary data with some sense in it: an error and its data, anything else, lengths that lie.
Bytes ancillary(Dice& dice) {
    Bytes control;
    for (size_t items = dice.below(4); items > 0; items--) {
        const Bytes value = dice.bytes(dice.below(40));
        const size_t at = control.size();
        control.resize(at + CMSG_SPACE(value.size()));
        cmsghdr head = {};
        head.cmsg_len = dice.one_in(4) ? dice.word() : CMSG_LEN(value.size());
        head.cmsg_level = dice.one_in(4) ? int(dice.word()) : SOL_TIPC;
        head.cmsg_type = int(dice.below(5));
        memcpy(control.data() + at, &head, sizeof(head));
        std::copy(value.begin(), value.end(), control.begin() + ptrdiff_t(at + CMSG_LEN(0)));
    }
    control.resize(dice.one_in(3) ? dice.below(control.size() + 1) : control.size());
    return control;
}

bool lies_in(std::span<const uint8_t> part, const Bytes& whole) {
    return part.empty() ||
           (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

} // namespace

TEST(TipcFuzz, ReturnedBytesLieInWhatWasReceived) {
    Dice dice(1);
    int returned = 0;
    for (int round = 0; round < ROUNDS; round++) {
        Bytes control = ancillary(dice);
        const Bytes body = dice.bytes(dice.below(20));
        msghdr msg = {};
        msg.msg_control = control.data();
        msg.msg_controllen = control.size();
        const auto got = wi_ipc_tipc_returned(msg, body);
        if (!got)
            continue;
        returned++;
        ASSERT_TRUE(lies_in(got->frame, control) || lies_in(got->frame, body)) << "round " << round;
        ASSERT_TRUE(got->why == WI_IPC_GONE || got->why == WI_IPC_NO_ROOM) << "round " << round;
    }
    EXPECT_GT(returned, ROUNDS / 20);
}

TEST(TipcFuzz, TopologyEventsOfAnyBytesAreOursOrNone) {
    const LogCapture log;
    Dice dice(2);
    int taken = 0;
    for (int round = 0; round < ROUNDS; round++) {
        tipc_event event = {};
        event.event = uint32_t(dice.below(5));
        event.found_lower = dice.word();
        event.s.seq = {dice.one_in(3) ? dice.word() : 18990 + uint32_t(dice.below(200)), dice.word(),
                       dice.word()};
        Bytes bytes(sizeof(event));
        memcpy(bytes.data(), &event, sizeof(event));
        if (dice.one_in(2))
            bytes = dice.damaged(bytes);
        ipc_ns_event_st got = {-1, 0, 0};
        if (!process_evt(bytes, &got)) {
            ASSERT_EQ(got.ipc_ns_ev, -1);
            continue;
        }
        taken++;
        ASSERT_GE(bytes.size(), sizeof(event));
        ASSERT_GE(got.ipc_ns_ev, 0);
        ASSERT_LE(got.ipc_ns_ev, 2);
        ASSERT_LE(got.serv_id, 0xffffffffu - 19000);
    }
    EXPECT_GT(taken, ROUNDS / 20);
}
