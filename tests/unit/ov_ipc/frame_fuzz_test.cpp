// Random, damaged and truncated frames at a registered name: dropped or delivered within their bytes, and the
// next good one comes through.
#include "ipc_fixture.h"

#include "../support/dice.h"
#include "ov_ipc_rcv.h"

#include <thread>

namespace {

constexpr size_t PACKET_HEADER = 36;

Bytes packet(size_t size) {
    Bytes bytes(size, 0x11);
    put_word(bytes, 20, uint32_t(size));
    return bytes;
}

Bytes any_frame(Dice& dice) {
    if (dice.one_in(5))
        return dice.bytes(dice.below(3000));
    const Bytes good = frame(uint32_t(dice.below(5)), dice.word(), packet(24 + dice.below(300)));
    return dice.one_in(8) ? good : dice.damaged(good);
}

// Takes all that a queue holds; false for an entry of an impossible length.
bool drained(ov_msg_queue_t queue, size_t& taken) {
    Bytes entry(OV_MSGQ_MAX_ENTRY);
    while (ov_msgq_count(queue) > 0) {
        const int length = ov_msgq_dequeue(queue, entry.data());
        if (length < int(PACKET_HEADER) || length > IPC_MAX_MSG_SIZE)
            return false;
        taken++;
    }
    return true;
}

} // namespace

TEST(IpcFuzz, TheReceiverSortsOrDropsAnyFrame) {
    in_private_network([] {
        const LogCapture log;
        ov_msg_queue_t queues[3] = {};
        for (ov_msg_queue_t& queue : queues)
            ASSERT_EQ(ov_msgq_create(&queue, 64, 0), 0);
        ov_ipc_recv_s state = {};
        state.ov_ipc_recv_handle_id = registered(111, 11101);
        state.ov_ipc_recv_syncq = queues[0];
        state.ov_ipc_recv_asyncq = queues[1];
        state.ov_ipc_recv_replyq = queues[2];
        ov_ipc_recv_msg msg = {};
        const Peer peer(101, 10103);
        Dice dice(3);
        size_t taken = 0;
        for (int round = 0; round < 5000; round++) {
            const Bytes bytes = any_frame(dice);
            peer.send(111, 11101, bytes);
            const int rc = _ov_ipc_recv_message(&state, &msg);
            const bool is_message = bytes.size() >= size_t(IPC_HDR_SIZE) && word(bytes, 0) == 0xface01bc;
            const int length = std::min(int(bytes.size()) - IPC_HDR_SIZE, IPC_MAX_MSG_SIZE + 1);
            ASSERT_EQ(rc, is_message ? length : int(IPC_RC_NO_MESSAGE)) << "round " << round;
            for (const ov_msg_queue_t queue : queues)
                ASSERT_TRUE(drained(queue, taken)) << "round " << round;
            LogCapture::clear();
        }
        EXPECT_GT(taken, 500u);
        peer.send(111, 11101, frame(IPC_ASYNC, 7, packet(40)));
        EXPECT_EQ(_ov_ipc_recv_message(&state, &msg), 40);
        EXPECT_EQ(ov_msgq_count(queues[1]), 1);
        for (const ov_msg_queue_t queue : queues)
            ov_msgq_destroy(queue);
    });
}

TEST(IpcFuzz, AReplyIsFoundBehindAnyFrames) {
    in_private_network([] {
        const LogCapture log;
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        constexpr int ROUNDS = 100;
        std::thread card([&] {
            Dice dice(4);
            for (int round = 0; round < ROUNDS; round++) {
                const Bytes request = peer.receive();
                for (int n = 0; n < 8; n++) {
                    // Each of them may be anything but the reply.
                    Bytes bytes = any_frame(dice);
                    if (bytes.size() >= size_t(IPC_HDR_SIZE) && word(bytes, 20) == word(request, 20))
                        put_word(bytes, 20, word(request, 20) + 1);
                    peer.send(101, 11101, bytes);
                }
                peer.reply(request, bytes_of("right"));
            }
        });
        for (int round = 0; round < ROUNDS; round++) {
            SendBuffer buf("question");
            std::array<char, IPC_HDR_SIZE + 16> reply = {};
            ASSERT_EQ(ipcSyncSend(handle, 101, 10103, buf.msg(), buf.size(), reply.data() + IPC_HDR_SIZE, 16,
                                  60, [](void*, int, int) { return 0; }),
                      5);
            ASSERT_EQ(std::string(reply.data() + IPC_HDR_SIZE, 5), "right");
        }
        card.join();
    });
}

// Messages that come back may be cut, and their heads say what they like.
TEST(IpcFuzz, WhatComesBackIsTakenWithinItsBytesAndARequestIsLeft) {
    in_private_network([] {
        const LogCapture log;
        IPC_APP_CB_T* cb = ipc_app_cb_init(101, 11101, 0, nullptr);
        ASSERT_NE(cb, nullptr);
        IPC_service_reg_st& reg = IPC_service_reg_data.at(size_t(cb->ipcHandle));
        Dice dice(8);
        int taken = 0;
        int left = 0;
        for (int round = 0; round < 5000; round++) {
            const Bytes bytes = any_frame(dice);
            const bool for_room = dice.one_in(2);
            wi_ipc_give_back(reg.sockets, bytes, for_room ? WI_IPC_NO_ROOM : WI_IPC_GONE);
            Bytes room(dice.below(400));
            std::span<uint8_t> msg(room);
            ipc_header header;
            const int rc = ipc_take_returned_msg(cb, &header, &msg);
            if (rc == IPC_RC_RTRNED_MSG_WAITING) {
                left++;
                ASSERT_EQ(word(bytes, 8), uint32_t(IPC_REQUEST));
                const Message got = receive_on(cb->ipcHandle);
                ASSERT_TRUE(got.returned == 1 || got.rc == IPC_RC_NO_MESSAGE);
            } else if (rc >= 0) {
                taken++;
                ASSERT_EQ(ipcReturnedForRoom(cb->ipcHandle), for_room);
                const size_t came = bytes.size() - IPC_HDR_SIZE;
                ASSERT_EQ(msg.size(), std::min(came, room.size())) << "round " << round;
                ASSERT_TRUE(std::equal(msg.begin(), msg.end(), bytes.begin() + IPC_HDR_SIZE));
            }
            ASSERT_EQ(reg.sockets.given_back, 0u) << "round " << round;
            LogCapture::clear();
        }
        EXPECT_GT(taken, 500);
        EXPECT_GT(left, 100);
        ipc_app_cb_destroy(cb);
    });
}
