#include "ipc_fixture.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include <csignal>
#include <pthread.h>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

struct Shown {
    uint32_t type;
    uint32_t id;
    int size;
    int returned;
    std::string text;
};
std::vector<Shown> g_shown;
int g_answer = 0;
std::atomic<bool> g_asked = false; // the question has its result

int show(void* msg_ptr, int msg_size, int rtrned_msg) {
    ipc_header hdr;
    memcpy(&hdr, msg_ptr, sizeof(hdr));
    const char* text = static_cast<const char*>(msg_ptr) + IPC_HDR_SIZE;
    g_shown.push_back({hdr.msg_type, hdr.msg_id, msg_size, rtrned_msg, std::string(text, size_t(msg_size))});
    return g_answer;
}

struct Result {
    int rc;
    std::string reply;
    milliseconds took;
};

// Sends "question" to a card that treats the request as told.
Result ask(const std::function<void(const Peer&, const Bytes&)>& card, int reply_size = 64, int timeout = 30,
           ipc_non_reply_callback_t callback = nullptr, int handle = -1) {
    const bool own_handle = handle < 0;
    if (own_handle)
        handle = registered(101, 11101);
    const Peer peer(101, 10103);
    std::thread agent([&] {
        const Bytes request = peer.receive();
        EXPECT_EQ(word(request, 8), 1u);
        card(peer, request);
    });
    SendBuffer buf("question");
    Bytes reply(size_t(IPC_HDR_SIZE + reply_size));
    g_asked = false;
    const auto start = steady_clock::now();
    const int rc = ipcSyncSend(handle, 101, 10103, buf.msg(), buf.size(), reply.data() + IPC_HDR_SIZE,
                               reply_size, timeout, callback);
    const auto took = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
    g_asked = true;
    agent.join();
    if (own_handle)
        ipcUnregisterService(handle);
    const auto* text = reinterpret_cast<const char*>(reply.data()) + IPC_HDR_SIZE;
    return {rc, std::string(text, size_t(std::clamp(rc, 0, reply_size))), took};
}

void to_sender(const Peer& peer, const Bytes& request, const Bytes& bytes) {
    peer.send(word(request, 12), word(request, 16), bytes);
}

} // namespace

TEST(IpcSyncSend, GivesTheReplyWithItsLength) {
    in_private_network([] {
        const Result got =
            ask([](const Peer& peer, const Bytes& request) { peer.reply(request, bytes_of("answer")); });
        EXPECT_EQ(got.rc, 6);
        EXPECT_EQ(got.reply, "answer");
    });
}

TEST(IpcSyncSend, WithoutAReplyTimesOutAfterTheGivenSeconds) {
    in_private_network([] {
        constexpr milliseconds USUAL{5000};
        Result got = {};
        // A busy machine may wake us late: then once more.
        for (int tries = 0; tries < 10 && (tries == 0 || got.took >= USUAL); tries++) {
            got = ask([](const Peer&, const Bytes&) {}, 64, 2);
            EXPECT_EQ(got.rc, IPC_RC_TIMEOUT);
            EXPECT_GE(got.took, milliseconds(2000));
        }
        EXPECT_LT(got.took, USUAL);
    });
}

TEST(IpcSyncSend, TimeoutZeroMeansFiveSeconds) {
    in_private_network([] {
        const Result got = ask([](const Peer&, const Bytes&) {}, 64, 0);
        EXPECT_EQ(got.rc, IPC_RC_TIMEOUT);
        EXPECT_GE(got.took, milliseconds(5000));
    });
}

TEST(IpcSyncSend, ALateReplyIsDroppedAsANonReplyByTheNextWait) {
    in_private_network([] {
        g_shown.clear();
        const int handle = registered(101, 11101);
        Bytes late;
        EXPECT_EQ(ask([&](const Peer&, const Bytes& request) { late = request; }, 64, 1, show, handle).rc,
                  IPC_RC_TIMEOUT);
        const Result got = ask(
            [&](const Peer& peer, const Bytes& request) {
                peer.reply(late, bytes_of("late"));
                peer.reply(request, bytes_of("in time"));
            },
            64, 30, show, handle);
        EXPECT_EQ(got.reply, "in time");
        ASSERT_EQ(g_shown.size(), 1u);
        EXPECT_EQ(g_shown[0].id, word(late, 20));
        EXPECT_EQ(g_shown[0].text, "late");
    });
}

TEST(IpcSyncSend, WrongIdsWrongTypesAndStrayFramesArePassedOver) {
    in_private_network([] {
        g_shown.clear();
        const LogCapture log;
        const Result got = ask(
            [](const Peer& peer, const Bytes& request) {
                const uint32_t id = word(request, 20);
                to_sender(peer, request, frame(IPC_REPLY, id + 1, bytes_of("wrong id")));
                to_sender(peer, request, frame(IPC_ASYNC, id, bytes_of("async")));
                to_sender(peer, request, frame(IPC_REQUEST, id, bytes_of("request"), 101, 11101));
                to_sender(peer, request, frame(77, id, bytes_of("what")));
                to_sender(peer, request, Bytes(5));
                peer.reply(request, bytes_of("right"));
            },
            64, 30, show);
        EXPECT_EQ(got.reply, "right");
        ASSERT_EQ(g_shown.size(), 4u);
        EXPECT_EQ(g_shown[0].text, "wrong id");
        EXPECT_EQ(g_shown[1].type, IPC_ASYNC);
        EXPECT_EQ(g_shown[2].returned, 0); // ours in name, but it didn't come back
        EXPECT_EQ(g_shown[3].type, 77u);
    });
}

TEST(IpcSyncSend, WithoutACallbackANonReplyIsShownWithTwelveBytes) {
    in_private_network([] {
        const LogCapture log;
        const Result got = ask([](const Peer& peer, const Bytes& request) {
            to_sender(peer, request, frame(IPC_ASYNC, 1, bytes_of("abcdefghijklmnop")));
            peer.reply(request, bytes_of("right"));
        });
        EXPECT_EQ(got.reply, "right");
        EXPECT_TRUE(
            has_line(log.lines(), "ipcSyncSend received non reply IPC_ASYNC message - discarding:\n"));
        EXPECT_TRUE(has_line(log.lines(), "61 62 63 64 65 66 67 68 69 6a 6b 6c"));
        EXPECT_FALSE(has_line(log.lines(), "6c 6d"));
    });
}

TEST(IpcSyncSend, TheCallbackCanEndTheWait) {
    in_private_network([] {
        g_answer = 1;
        const Result got =
            ask([](const Peer& peer,
                   const Bytes& request) { to_sender(peer, request, frame(IPC_ASYNC, 1, bytes_of("stop"))); },
                64, 30, show);
        EXPECT_EQ(got.rc, IPC_RC_USER_ABORT);
    });
}

TEST(IpcSyncSend, AFloodOfOtherMessagesDoesNotMakeTheWaitLonger) {
    in_private_network([] {
        g_answer = 0;
        const Result got = ask(
            [](const Peer& peer, const Bytes& request) {
                const auto until = steady_clock::now() + std::chrono::seconds(60);
                while (!g_asked && steady_clock::now() < until)
                    peer.throw_at(101, 11101, frame(IPC_REPLY, word(request, 20) + 1, {}));
            },
            64, 1, [](void*, int, int) { return 0; }, -1);
        EXPECT_EQ(got.rc, IPC_RC_TIMEOUT);
        EXPECT_LT(got.took, milliseconds(30000)); // and not the flood's sixty seconds
    });
}

TEST(IpcSyncSend, SignalsDoNotEndTheWait) {
    in_private_network([] {
        struct sigaction nothing = {};
        nothing.sa_handler = [](int) {};
        sigaction(SIGUSR1, &nothing, nullptr);
        const pthread_t waiting = pthread_self();
        const Result got = ask([waiting](const Peer& peer, const Bytes& request) {
            for (int n = 0; n < 20; n++) {
                std::this_thread::sleep_for(milliseconds(5));
                pthread_kill(waiting, SIGUSR1);
            }
            peer.reply(request, bytes_of("answer"));
        });
        EXPECT_EQ(got.reply, "answer");
        EXPECT_GE(got.took, milliseconds(100));
    });
}

TEST(IpcSyncSend, ARequestThatComesBackAtOnceIsReturned) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        SendBuffer buf("question");
        Bytes reply(IPC_HDR_SIZE + 8);
        EXPECT_EQ(ipcSyncSend(handle, 101, 10103, buf.msg(), buf.size(), reply.data() + IPC_HDR_SIZE, 8, 5,
                              nullptr),
                  IPC_RC_MSG_RTRNED);
    });
}

TEST(IpcSyncSend, ARequestThatComesBackDuringTheWaitIsReturned) {
    in_private_network([] {
        Result got = {};
        // What comes back before the call has come to its wait ends it there, as an older message does.
        do {
            const int handle = registered(101, 11101);
            got = ask(
                [&](const Peer&, const Bytes& request) {
                    give_back(handle, word(request, 20) + 1, IPC_REQUEST); // another's: passed over
                    give_back(handle, word(request, 20), IPC_ASYNC);       // no request: passed over
                    give_back(handle, word(request, 20), IPC_REQUEST);
                },
                64, 30, [](void*, int, int returned) { return returned == 1 ? 0 : 1; }, handle);
            ipcUnregisterService(handle);
        } while (got.rc == IPC_RC_RTRNED_MSG_WAITING);
        EXPECT_EQ(got.rc, IPC_RC_MSG_RTRNED);
    });
}

TEST(IpcSyncSend, AnOlderReturnedMessageEndsTheCallBeforeTheWait) {
    in_private_network([] {
        const int handle = registered(101, 11101);
        give_back(handle, 1);
        const Result got = ask([](const Peer&, const Bytes&) {}, 64, 5, nullptr, handle);
        EXPECT_EQ(got.rc, IPC_RC_RTRNED_MSG_WAITING);
    });
}

TEST(IpcSyncSend, ADuplicateReplyIsPassedOverByTheNextCall) {
    in_private_network([] {
        const LogCapture log;
        const int handle = registered(101, 11101);
        const auto twice = [](const Peer& peer, const Bytes& request) {
            peer.reply(request, bytes_of("one"));
            peer.reply(request, bytes_of("two"));
        };
        EXPECT_EQ(ask(twice, 64, 30, nullptr, handle).reply, "one");
        EXPECT_EQ(ask(twice, 64, 30, nullptr, handle).reply, "one");
    });
}

TEST(IpcSyncSend, AReplyIsMatchedByTypeAndIdNotBySender) {
    in_private_network([] {
        const Result got = ask([](const Peer& peer, const Bytes& request) {
            const Peer stranger(3, 99);
            static_cast<void>(peer);
            stranger.send(101, 11101, frame(IPC_REPLY, word(request, 20), bytes_of("not me"), 3, 99));
        });
        EXPECT_EQ(got.reply, "not me");
    });
}

TEST(IpcSyncSend, AnOverLongReplyIsCutAndToldByOneByte) {
    in_private_network([] {
        const Result got =
            ask([](const Peer& peer, const Bytes& request) { peer.reply(request, bytes_of("abcdefgh")); }, 4);
        EXPECT_EQ(got.rc, 5); // one more than the buffer holds
        EXPECT_EQ(got.reply, "abcd");
    });
}

TEST(IpcSyncSend, AOneWayMessageThatCameBackGoesToTheCallbackAndTheReplyIsAwaited) {
    in_private_network([] {
        static int shown = 0;
        const int handle = registered(101, 11101);
        const Peer peer(101, 10103);
        give_back(handle, 5, IPC_ASYNC);
        std::thread card([&peer] { peer.reply(peer.receive(), bytes_of("!")); });
        SendBuffer buf("?");
        Bytes reply(IPC_HDR_SIZE + 8);
        const int rc = ipcSyncSend(handle, 101, 10103, buf.msg(), 1, reply.data() + IPC_HDR_SIZE, 8, 30,
                                   [](void*, int, int returned) { return shown += returned, 0; });
        card.join();
        EXPECT_EQ(rc, 1);
        const Message left = shown == 0 ? receive_on(handle) : Message{0, {}, {}, 1};
        EXPECT_EQ(left.returned, 1); // shown, or still there when the reply came first
    });
}

// ---- control blocks --------------------------------------------------------------------------------

TEST(IpcAppCb, HoldsItsNameAndATimeoutOfOneSecond) {
    in_private_network([] {
        const LogCapture log;
        IPC_APP_CB_T* cb = ipc_app_cb_init(101, 11101, 0, show);
        ASSERT_NE(cb, nullptr);
        EXPECT_EQ(cb->serv_id, 101u);
        EXPECT_EQ(cb->my_slot_app_id, 11101u);
        EXPECT_EQ(cb->timeout, 1);
        EXPECT_EQ(cb->non_reply_callback, show);
        if (!carrier::is_tipc()) { // which binds a name twice
            EXPECT_EQ(ipc_app_cb_init(101, 11101, 0, nullptr), nullptr);
        }
        ipc_app_cb_destroy(cb);
        const Peer free_again(101, 11101);
    });
}

TEST(IpcAppCb, AMessageOf2048BytesPassesAnd2049GivesMinusOne) {
    in_private_network([] {
        IPC_APP_CB_T* cb = ipc_app_cb_init(101, 11101, 0, nullptr);
        cb->timeout = 30;
        const Peer peer(101, 10103);
        const Bytes msg(2049, 0x5a);
        Bytes reply(2048);
        std::thread agent([&] {
            const Bytes request = peer.receive();
            peer.reply(request, Bytes(request.begin() + 28, request.end()));
        });
        EXPECT_EQ(ipc_send_sync_msg(cb, 10103, msg.data(), 2048, reply.data(), 2048), 2048);
        agent.join();
        EXPECT_EQ(reply, Bytes(2048, 0x5a));
        EXPECT_EQ(ipc_send_sync_msg(cb, 10103, msg.data(), 2049, reply.data(), 2048), -1);
        EXPECT_EQ(ipc_send_async_msg(cb, 10103, msg.data(), 2048), 0);
        EXPECT_EQ(ipc_send_async_msg(cb, 10103, msg.data(), 2049), -1);
        EXPECT_EQ(ipc_send_mcast_msg(cb, 10103, 10103, msg.data(), 2048), 0);
        EXPECT_EQ(ipc_send_mcast_msg(cb, 10103, 10103, msg.data(), 2049), -1);
        EXPECT_EQ(cb->num_sync_send, 1u);
        EXPECT_EQ(cb->num_async_send, 1u);
        EXPECT_EQ(cb->num_mcast_send, 1u);
        ipc_app_cb_destroy(cb);
    });
}

TEST(IpcAppCb, AReplyLargerThanTheBufferIsTooLong) {
    in_private_network([] {
        IPC_APP_CB_T* cb = ipc_app_cb_init(101, 11101, 0, nullptr);
        cb->timeout = 30;
        const Peer peer(101, 10103);
        for (const size_t length : {size_t(11), size_t(2049)}) {
            std::thread agent([&] { peer.reply(peer.receive(), Bytes(length)); });
            Bytes reply(2100, 0x77);
            const int room = length == 11 ? 10 : 2100;
            EXPECT_EQ(ipc_send_sync_msg(cb, 10103, "?", 1, reply.data(), room), IPC_RC_MSG_TOO_LONG);
            EXPECT_EQ(reply, Bytes(2100, 0x77));
            agent.join();
        }
        ipc_app_cb_destroy(cb);
    });
}

TEST(IpcAppCb, CountsFailedAndReturnedSyncSends) {
    in_private_network([] {
        IPC_APP_CB_T* cb = ipc_app_cb_init(101, 11101, 0, nullptr);
        Bytes reply(8);
        EXPECT_EQ(ipc_send_sync_msg(cb, 10103, "?", 1, reply.data(), 8), IPC_RC_MSG_RTRNED);
        const Peer peer(101, 10103);
        give_back(cb->ipcHandle, 4711);
        EXPECT_EQ(ipc_send_sync_msg(cb, 10103, "?", 1, reply.data(), 8), IPC_RC_RTRNED_MSG_WAITING);
        ipc_header hdr;
        EXPECT_EQ(ipc_receive_nonblock(cb, &hdr, reply.data(), 8), IPC_RC_MSG_RTRNED);
        EXPECT_EQ(hdr.msg_id, 4711u);
        EXPECT_EQ(ipc_send_sync_msg(cb, 10103, "?", 1, reply.data(), 8), IPC_RC_TIMEOUT);
        EXPECT_EQ(cb->num_sync_send, 3u);
        EXPECT_EQ(cb->num_sync_send_fail, 2u);
        EXPECT_EQ(cb->num_sync_send_return, 1u);
        ipc_app_cb_destroy(cb);
    });
}

TEST(IpcAppCb, AnAsyncMessageThatComesBackIsTriedOnceMore) {
    in_private_network([] {
        IPC_APP_CB_T* cb = ipc_app_cb_init(101, 11101, 0, nullptr);
        ipcResetStats();
        EXPECT_EQ(ipc_send_async_msg(cb, 10103, "x", 1), IPC_RC_MSG_RTRNED);
        EXPECT_EQ(gl_ipc_stats[101][101], 2u);
        EXPECT_EQ(cb->num_async_send, 1u);
        EXPECT_EQ(cb->num_async_send_fail, 1u);
        ipc_app_cb_destroy(cb);
    });
}

TEST(IpcAppCb, AnAsyncSendTakesAnOlderReturnedMessageOutOfTheWay) {
    in_private_network([] {
        IPC_APP_CB_T* cb = ipc_app_cb_init(101, 11101, 0, nullptr);
        const Peer peer(101, 10103);
        give_back(cb->ipcHandle, 4711);
        EXPECT_EQ(ipc_send_async_msg(cb, 10103, "x", 1), IPC_RC_RTRNED_MSG_WAITING);
        EXPECT_TRUE(peer.waiting());
        EXPECT_EQ(ipc_send_async_msg(cb, 10103, "x", 1), IPC_RC_SUCCESS);
        EXPECT_EQ(cb->num_async_send_return, 1u);
        EXPECT_EQ(cb->num_async_send_fail, 0u);
        ipc_app_cb_destroy(cb);
    });
}

TEST(IpcAppCb, ABrokenSendSideEndsTheProcessOnAnAsyncSend) {
    in_private_network([] {
        const LogCapture log;
        IPC_APP_CB_T* cb = ipc_app_cb_init(101, 11101, 0, nullptr);
        const Peer peer(101, 10103);
        give_back(cb->ipcHandle, 4711);
        close(IPC_service_reg_data.at(size_t(cb->ipcHandle)).sockets.returned_rd);
        EXPECT_EXIT(ipc_send_async_msg(cb, 10103, "x", 1), testing::ExitedWithCode(1), "");
    });
}

TEST(IpcAppCb, ReceiveNonblockGivesMessagesAndPassesNoMessageUp) {
    in_private_network([] {
        const LogCapture log;
        IPC_APP_CB_T* cb = ipc_app_cb_init(111, 11101, 0, nullptr);
        const Peer peer(101, 10103);
        ipc_header hdr;
        Bytes buf(4);
        peer.send(111, 11101, frame(IPC_ASYNC, 5, bytes_of("abcd")));
        EXPECT_EQ(ipc_receive_nonblock(cb, &hdr, buf.data(), 4), 4);
        EXPECT_EQ(buf, bytes_of("abcd"));
        peer.send(111, 11101, frame(IPC_ASYNC, 5, bytes_of("abcde")));
        EXPECT_EQ(ipc_receive_nonblock(cb, &hdr, buf.data(), 4), IPC_RC_MSG_TOO_LONG);
        peer.send(111, 11101, Bytes(3));
        EXPECT_EQ(ipc_receive_nonblock(cb, &hdr, buf.data(), 4), IPC_RC_NO_MESSAGE);
        EXPECT_EQ(cb->num_recv, 2u);
        ipc_app_cb_destroy(cb);
    });
}

TEST(IpcAppCb, ReceiveNonblockEndsTheProcessWhenItBreaks) {
    in_private_network([] {
        const LogCapture log;
        IPC_APP_CB_T* cb = ipc_app_cb_init(111, 11101, 0, nullptr);
        ipc_header hdr;
        uint8_t byte = 0;
        EXPECT_EXIT(ipc_receive_nonblock(cb, &hdr, &byte, 1), testing::ExitedWithCode(1), "");
        EXPECT_NE(log.file_text().find("!!!ipcReceive returned -6 IPC_RC_TIMEOUT! Exiting App!"),
                  std::string::npos);
        ipc_app_cb_destroy(cb);
    });
}
