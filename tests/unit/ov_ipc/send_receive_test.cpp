#include "ipc_fixture.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include <poll.h>

using std::chrono::seconds;
using std::chrono::steady_clock;

TEST(IpcSend, WritesTheHeaderBigEndianInFrontOfTheMessage) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        Bytes odd(1 + IPC_HDR_SIZE + 5); // no alignment is asked for
        memcpy(odd.data() + 1 + IPC_HDR_SIZE, "hello", 5);
        uint32_t id = 0;
        ASSERT_EQ(ipcSend(handle, 101, 10103, odd.data() + 1 + IPC_HDR_SIZE, 5, &id), IPC_RC_SUCCESS);
        ASSERT_EQ(ipcSendReq(handle, 101, 10103, odd.data() + 1 + IPC_HDR_SIZE, 5, nullptr), IPC_RC_SUCCESS);
        const Bytes first = peer.receive();
        ASSERT_EQ(first.size(), 33u);
        EXPECT_EQ(word(first, 0), 0xface01bcu);
        EXPECT_EQ(word(first, 4), 0u);
        EXPECT_EQ(word(first, 8), 0u);
        EXPECT_EQ(word(first, 12), 101u);
        EXPECT_EQ(word(first, 16), 11101u);
        EXPECT_EQ(word(first, 20), id);
        EXPECT_EQ(Bytes(first.begin() + 28, first.end()), bytes_of("hello"));
        const Bytes second = peer.receive();
        EXPECT_EQ(word(second, 8), 1u);
        EXPECT_NE(word(second, 20), id);
        EXPECT_EQ(word(second, 24), word(first, 24) + 1);
    });
}

TEST(IpcSend, AReplyCarriesTheRequestsIdToItsSendersName) {
    in_private_network([] {
        const int handle = registered(111, 11101);
        const Peer peer(101, 10103);
        peer.send(111, 11101, frame(IPC_REQUEST, 0xabcd1234, bytes_of("?")));
        const Message request = receive_on(handle);
        SendBuffer answer("!");
        ASSERT_EQ(ipcReply(handle, &request.hdr, answer.msg(), 1), IPC_RC_SUCCESS);
        const Bytes reply = peer.receive();
        EXPECT_EQ(word(reply, 8), 2u);
        EXPECT_EQ(word(reply, 20), 0xabcd1234u);
    });
}

TEST(IpcSend, ToANameThatNobodyHasComesBackAtOnce) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        SendBuffer buf("x");
        EXPECT_EQ(ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr), IPC_RC_MSG_RTRNED);
        EXPECT_EQ(ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr), IPC_RC_MSG_RTRNED);
        EXPECT_EQ(receive_on(handle, 1).rc, IPC_RC_TIMEOUT); // both have been taken
        { const Peer peer(101, 10103); }
        EXPECT_EQ(ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr), IPC_RC_MSG_RTRNED); // gone again
    });
}

TEST(IpcSend, AReturnedMessageOfAnOlderRequestIsReportedByTheNextSend) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        SendBuffer buf("x");
        uint32_t older = 0;
        EXPECT_EQ(ipcSendReq(handle, 101, 10103, buf.msg(), 1, &older), IPC_RC_SUCCESS);
        give_back(handle, older);
        uint32_t id = 0;
        EXPECT_EQ(ipcSend(handle, 101, 10103, buf.msg(), 1, &id), IPC_RC_RTRNED_MSG_WAITING);
        peer.receive();
        EXPECT_EQ(word(peer.receive(), 20), id); // it was sent all the same
        const Message back = receive_on(handle);
        EXPECT_EQ(back.returned, 1);
        EXPECT_EQ(back.hdr.msg_id, older);
        EXPECT_EQ(back.bytes, bytes_of("old"));
        EXPECT_EQ(ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr), IPC_RC_SUCCESS);
    });
}

namespace {

// Fills a receiver that doesn't read; how many messages that took.
int fill_up(int handle) {
    SendBuffer buf("x");
    int sent = 0;
    while (sent < 10000 && ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr) == IPC_RC_SUCCESS)
        sent++;
    return sent;
}

bool writable(int fd, int timeout_ms) {
    pollfd p = {.fd = fd, .events = POLLOUT, .revents = 0};
    return poll(&p, 1, timeout_ms) > 0;
}

} // namespace

TEST(IpcSend, AFullReceiverGivesTheMessageBackAtOnceAndIsToldFromNobody) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        EXPECT_LT(fill_up(handle), 10000);
        EXPECT_TRUE(ipcReturnedForRoom(handle));
        SendBuffer buf("x");
        const auto start = steady_clock::now();
        for (int i = 0; i < 1000; i++)
            ASSERT_EQ(ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr), IPC_RC_MSG_RTRNED);
        EXPECT_LT(steady_clock::now() - start, seconds(30)); // a moment each is too much
        ipc_header hdr;
        uint8_t byte = 0;
        EXPECT_EQ(ipcReceiveNonB(handle, &hdr, &byte, 1, nullptr), IPC_RC_NO_MESSAGE); // all were taken
        EXPECT_EQ(ipcSend(handle, 101, 10104, buf.msg(), 1, nullptr), IPC_RC_MSG_RTRNED);
        EXPECT_FALSE(ipcReturnedForRoom(handle));
        peer.receive();
        EXPECT_EQ(ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr), IPC_RC_SUCCESS);
    });
}

TEST(IpcSend, ADescriptorTellsWhenAReceiverHasRoomOrHasGone) {
    SKIP_ON_TIPC("TIPC has no such descriptor");
    in_private_network([] {
        const int handle = registered(101, 11101);
        EXPECT_EQ(ipcWatchRoom(handle, 101, 10103), IPC_RC_FAILED); // nobody
        EXPECT_EQ(ipcWatchRoom(99, 101, 10103), IPC_RC_INVALID_IDENT);
        auto peer = std::make_unique<Peer>(101, 10103);
        fill_up(handle);
        const int room = ipcWatchRoom(handle, 101, 10103);
        ASSERT_GE(room, 0);
        EXPECT_FALSE(writable(room, 0));
        peer->receive();
        EXPECT_TRUE(writable(room, 30000));
        fill_up(handle);
        EXPECT_FALSE(writable(room, 0));
        peer.reset();
        EXPECT_TRUE(writable(room, 30000));
        close(room);
    });
}

TEST(IpcSend, NumbersOfMessagesNameThemAndGrow) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        SendBuffer buf("x");
        for (int n = 0; n < 3; n++) {
            ASSERT_EQ(ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr), IPC_RC_SUCCESS);
            EXPECT_EQ(word(peer.receive(), 24), ipcLastMsgNum(handle));
        }
        const uint32_t before = ipcLastMsgNum(handle);
        ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr);
        EXPECT_EQ(ipcLastMsgNum(handle), before + 1);
    });
}

// What a receiver that doesn't keep up costs is a message that is kept and sent again.
TEST(IpcSend, SixtyThousandMessagesArriveInOrderWhenThoseThatCameBackAreRepeated) {
    SKIP_ON_TIPC("TIPC may bring a message back later; the outbox repeats it");
    in_private_network([] {
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        uint32_t got = 0;
        bool in_order = true;
        std::thread card([&] {
            for (; got < 60000; got++) {
                const Bytes bytes = peer.receive();
                if (bytes.size() != 32 || word(bytes, 28) != got)
                    in_order = false;
            }
        });
        for (uint32_t i = 0; i < 60000; i++) {
            Bytes msg(4);
            put_word(msg, 0, i);
            SendBuffer buf(msg);
            while (ipcSend(handle, 101, 10103, buf.msg(), 4, nullptr) != IPC_RC_SUCCESS) {
                ASSERT_TRUE(ipcReturnedForRoom(handle));
                const int room = ipcWatchRoom(handle, 101, 10103);
                ASSERT_TRUE(writable(room, 30000));
                close(room);
            }
        }
        card.join();
        EXPECT_EQ(got, 60000u);
        EXPECT_TRUE(in_order);
    });
}

TEST(IpcSend, AFrameAboveTheCarriersLimitIsTooLong) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        peer.widen();
        SendBuffer fits(Bytes(66000 - IPC_HDR_SIZE));
        EXPECT_EQ(ipcSend(handle, 101, 10103, fits.msg(), fits.size(), nullptr), IPC_RC_SUCCESS);
        SendBuffer longer(Bytes(66001 - IPC_HDR_SIZE));
        EXPECT_EQ(ipcSend(handle, 101, 10103, longer.msg(), longer.size(), nullptr), IPC_RC_MSG_TOO_LONG);
        EXPECT_EQ(peer.receive().size(), 66000u);
    });
}

TEST(IpcSend, ABrokenSocketFailsAndABrokenSendSideIsUnexpected) {
    in_private_network([] {
        const LogCapture log;
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        SendBuffer buf("x");
        EXPECT_EQ(ipcSend(handle, 101, 10103, buf.msg(), -1, nullptr), IPC_RC_FAILED);
        EXPECT_EQ(ipcSend(handle, 101, 10103, nullptr, 1, nullptr), IPC_RC_FAILED);
        wi_ipc_register_result_st& sockets = IPC_service_reg_data.at(size_t(handle)).sockets;
        give_back(handle, 1);
        close(sockets.returned_rd);
        EXPECT_EQ(ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr), IPC_RC_UNEXPECTED);
        close(sockets.snd_sock);
        EXPECT_EQ(ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr), IPC_RC_FAILED);
        EXPECT_EQ(receive_on(handle).rc, IPC_RC_FAILED);
    });
}

TEST(IpcSend, MulticastReachesTheRangeAndComesBackOnlyFromNobody) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        const Peer low(101, 10101);
        const Peer high(101, 10114);
        const Peer outside(101, 10115);
        SendBuffer buf("all");
        EXPECT_EQ(ipcSendMcast(handle, 101, 10101, 10114, buf.msg(), 3, nullptr), IPC_RC_SUCCESS);
        EXPECT_EQ(word(low.receive(), 20), word(high.receive(), 20));
        EXPECT_FALSE(outside.waiting());
        EXPECT_EQ(ipcSendMcast(handle, 101, 1, 9, buf.msg(), 3, nullptr), IPC_RC_MSG_RTRNED);
        EXPECT_EQ(ipcSendMcast(handle, 101, 9, 1, buf.msg(), 3, nullptr), IPC_RC_FAILED);
    });
}

TEST(IpcSend, OfAMulticastThatSomeHaveNoRoomForOneComesBackForEachOfThem) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        const Peer full(101, 10103);
        const Peer ready(101, 10105);
        fill_up(handle);
        SendBuffer buf("all");
        EXPECT_EQ(ipcSendMcast(handle, 101, 10103, 10105, buf.msg(), 3, nullptr), IPC_RC_MSG_RTRNED);
        EXPECT_TRUE(ipcReturnedForRoom(handle));
        EXPECT_EQ(ready.receive().size(), 31u); // who has room has it all the same
        const Peer second(101, 10104);
        for (int n = 0; n < 10000; n++)
            if (ipcSend(handle, 101, 10104, buf.msg(), 1, nullptr) != IPC_RC_SUCCESS)
                break;
        uint32_t id = 0;
        EXPECT_EQ(ipcSendMcast(handle, 101, 10103, 10104, buf.msg(), 3, &id), IPC_RC_MSG_RTRNED);
        const Message back = receive_on(handle); // the other one's
        EXPECT_EQ(back.returned, 1);
        EXPECT_EQ(back.hdr.msg_id, id);
        ipc_header hdr;
        uint8_t byte = 0;
        EXPECT_EQ(ipcReceiveNonB(handle, &hdr, &byte, 1, nullptr), IPC_RC_NO_MESSAGE);
    });
}

TEST(IpcSend, OfALongFrameThatIsReturnedForRoomTheFirst1024BytesComeBackAndAllOfOneThatNobodyGets) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        auto& sockets = IPC_service_reg_data.at(size_t(handle)).sockets;
        const Bytes sent = frame(IPC_ASYNC, 7, Bytes(1972, 0x5a));
        Bytes got(4000);
        const std::span<uint8_t> room(got);
        const auto send_until_it_comes_back = [&](uint32_t name) {
            wi_ipc_received back = {EAGAIN, 0};
            for (int n = 0; n < 10000 && back.error == EAGAIN; n++) {
                EXPECT_EQ(wi_ipc_send(sockets, 101, name, sent), 0);
                back = wi_ipc_take_returned(sockets, {room.first(28), room.subspan(28)}, false);
            }
            EXPECT_EQ(back.error, 0);
            return back;
        };
        const wi_ipc_received for_room = send_until_it_comes_back(10103);
        EXPECT_EQ(for_room.why, WI_IPC_NO_ROOM);
        EXPECT_EQ(for_room.length, 1024u);
        EXPECT_TRUE(std::equal(sent.begin(), sent.begin() + 1024, got.begin()));
        EXPECT_EQ(got[1024], 0);
        const wi_ipc_received gone = send_until_it_comes_back(10104);
        EXPECT_EQ(gone.why, WI_IPC_GONE);
        EXPECT_EQ(gone.length, sent.size());
        EXPECT_TRUE(std::equal(sent.begin(), sent.end(), got.begin()));
    });
}

TEST(IpcSend, WhatAReceiverLeavesUnreadComesBackFromTipcAlone) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        SendBuffer buf("x");
        {
            const Peer dies(101, 10103);
            EXPECT_EQ(ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr), IPC_RC_SUCCESS);
        }
        const Message back = receive_on(handle, carrier::is_tipc() ? 30 : 1);
        EXPECT_EQ(back.rc, carrier::is_tipc() ? 1 : int(IPC_RC_TIMEOUT));
        EXPECT_EQ(back.returned == 1, carrier::is_tipc());
    });
}

TEST(IpcReceive, OnlyTipcTellsHowManyFramesWait) {
    in_private_network([] {
        const int handle = registered(3, 7);
        const Peer peer(3, 8);
        uint32_t depth = 9;
        EXPECT_EQ(ipcGetQueueDepth(handle, &depth), IPC_RC_SUCCESS);
        EXPECT_EQ(depth, 0u);
        for (uint32_t n = 0; n < 3; n++)
            peer.send(3, 7, frame(IPC_ASYNC, n, {}));
        EXPECT_EQ(ipcGetQueueDepth(handle, &depth), IPC_RC_SUCCESS);
        EXPECT_EQ(depth, carrier::is_tipc() ? 3u : 1u);
    });
}

TEST(IpcStats, CountByServicesBelowHundredAndNineteen) {
    in_private_network([] {
        const int handle = registered(111, 11101);
        const int beyond = registered(119, 1);
        SendBuffer buf("x");
        ipcSend(handle, 101, 10103, buf.msg(), 1, nullptr);
        ipcSend(handle, 101, 10104, buf.msg(), 1, nullptr);
        ipcSend(handle, 118, 1, buf.msg(), 1, nullptr);
        ipcSend(handle, 119, 2, buf.msg(), 1, nullptr);
        ipcSend(beyond, 101, 1, buf.msg(), 1, nullptr);
        static ipc_stats stats;
        ASSERT_EQ(ipcGetStats(&stats), IPC_RC_SUCCESS);
        EXPECT_EQ(stats.msgs[111][101], 2u);
        EXPECT_EQ(stats.msgs[111][118], 1u);
        uint32_t all = 0;
        for (const auto& row : stats.msgs)
            for (const uint32_t count : row)
                all += count;
        EXPECT_EQ(all, 3u);
        ipcResetStats();
        ASSERT_EQ(ipcGetStats(&stats), IPC_RC_SUCCESS);
        EXPECT_EQ(stats.msgs[111][101], 0u);
    });
}

// ---- receiving -------------------------------------------------------------------------------------

TEST(IpcReceive, TimesOutAndNonBlockingSaysNothingThere) {
    in_private_network([] {
        const int handle = registered(3, 7);
        const auto start = steady_clock::now();
        EXPECT_EQ(receive_on(handle, 1).rc, IPC_RC_TIMEOUT);
        EXPECT_GE(steady_clock::now() - start, seconds(1));
        ipc_header hdr;
        uint8_t byte = 0;
        EXPECT_EQ(ipcReceiveNonB(handle, &hdr, &byte, 1, nullptr), IPC_RC_NO_MESSAGE);
        EXPECT_EQ(ipcReceive(handle, nullptr, &byte, 1, nullptr, 1), IPC_RC_FAILED);
        EXPECT_EQ(ipcReceive(handle, &hdr, &byte, 1, nullptr, -1), IPC_RC_FAILED);
    });
}

TEST(IpcReceive, WithoutLimitWaitsUntilAMessageComes) {
    in_private_network([] {
        const int handle = registered(3, 7);
        const Peer peer(3, 8);
        std::thread late([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            peer.send(3, 7, frame(IPC_ASYNC, 5, bytes_of("late")));
        });
        const Message got = receive_on(handle, 0);
        late.join();
        EXPECT_EQ(got.rc, 4);
        EXPECT_EQ(got.returned, 0);
        EXPECT_EQ(got.hdr.msg_id, 5u);
        EXPECT_EQ(got.bytes, bytes_of("late"));
    });
}

// As with TIPC, which doesn't say by how much it was too long.
TEST(IpcReceive, AMessageLongerThanTheBufferIsCutAndToldByOneByte) {
    in_private_network([] {
        const int handle = registered(3, 7);
        const Peer peer(3, 8);
        peer.send(3, 7, frame(IPC_ASYNC, 5, bytes_of("abcdef")));
        ipc_header hdr;
        std::array<char, 4> buf = {'.', '.', '.', '.'};
        EXPECT_EQ(ipcReceive(handle, &hdr, buf.data(), 3, nullptr, 1), 4);
        EXPECT_EQ(std::string(buf.data(), 4), "abc.");
    });
}

TEST(IpcReceive, FramesThatAreNoIpcMessagesAreDropped) {
    in_private_network([] {
        const LogCapture log;
        const int handle = registered(3, 7);
        const Peer peer(3, 8);
        Bytes wrong_id = frame(IPC_ASYNC, 5, bytes_of("abc"));
        wrong_id[0] = 0;
        for (const Bytes& bad : {Bytes(), Bytes(1), Bytes(27, 0xff), wrong_id}) {
            peer.send(3, 7, bad);
            EXPECT_EQ(receive_on(handle).rc, IPC_RC_NO_MESSAGE) << bad.size();
        }
        EXPECT_TRUE(has_line(log.lines(), "A frame of 27 bytes is dropped"));
        EXPECT_TRUE(has_line(log.lines(), "header id is 0x00ce01bc"));
        peer.send(3, 7, frame(IPC_ASYNC, 6, {}));
        EXPECT_EQ(receive_on(handle).rc, 0);
    });
}

TEST(IpcReceive, ReturnedMessagesGoFirst) {
    in_private_network([] {
        const int handle = registered(3, 7);
        const Peer peer(3, 8);
        peer.send(3, 7, frame(IPC_ASYNC, 5, bytes_of("abc")));
        give_back(handle, 99);
        EXPECT_EQ(receive_on(handle).returned, 1);
        EXPECT_EQ(receive_on(handle).returned, 0);
    });
}

TEST(IpcReceive, ReturnedMessagesThatNobodyTakesAreBounded) {
    in_private_network([] {
        const LogCapture log;
        const int handle = registered(3, 7);
        for (uint32_t i = 0; i < 2000; i++)
            give_back(handle, i);
        EXPECT_TRUE(has_line(log.lines(), "A returned message is dropped"));
        EXPECT_EQ(receive_on(handle).hdr.msg_id, 0u);
        EXPECT_EQ(receive_on(handle).hdr.msg_id, 1u);
    });
}

TEST(IpcThreads, TwoShareAHandleThroughItsSemaphore) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        constexpr int EACH = 500;
        std::atomic<bool> done = false;
        std::thread card([&] {
            while (!done) {
                const Bytes request = peer.receive();
                if (request.size() > 28 && word(request, 8) == IPC_REQUEST)
                    peer.reply(request, Bytes(request.begin() + 28, request.end()));
            }
        });
        std::atomic<int> right = 0;
        const auto ask = [&](uint8_t who) {
            for (int i = 0; i < EACH; i++) {
                SendBuffer buf(Bytes{who, uint8_t(i)});
                Bytes reply(IPC_HDR_SIZE + 2);
                const int rc = ipcSyncSend_impl_sem(handle, 101, 10103, buf.msg(), 2,
                                                    reply.data() + IPC_HDR_SIZE, 2, 30, nullptr);
                if (rc == 2 && reply[IPC_HDR_SIZE] == who && reply[IPC_HDR_SIZE + 1] == uint8_t(i))
                    right++;
            }
        };
        std::thread one(ask, uint8_t(1));
        std::thread two(ask, uint8_t(2));
        one.join();
        two.join();
        done = true;
        peer.send(101, 10103, Bytes(1)); // wakes the card
        card.join();
        EXPECT_EQ(right, 2 * EACH);
    });
}

TEST(IpcThreads, ASenderThatWaitsForItsReplyBlocksTheOthers) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        const auto start = steady_clock::now();
        std::thread waiting([&] {
            SendBuffer buf("?");
            Bytes reply(IPC_HDR_SIZE + 1);
            EXPECT_EQ(ipcSyncSend_impl_sem(handle, 101, 10103, buf.msg(), 1, reply.data() + IPC_HDR_SIZE, 1,
                                           1, nullptr),
                      IPC_RC_TIMEOUT);
        });
        EXPECT_FALSE(peer.receive().empty());
        SendBuffer buf("x");
        EXPECT_EQ(ipcSend_impl_sem(handle, 101, 10103, buf.msg(), 1, nullptr), IPC_RC_SUCCESS);
        EXPECT_GE(steady_clock::now() - start, seconds(1)); // when the other's wait was over
        waiting.join();
    });
}
