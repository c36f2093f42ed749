#include "uclient.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <set>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>

#include "../support/frames.h"
#include "../support/log_capture.h"
#include "../support/private_net.h"
#include "../support/test_shelf.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

// ---- requests ------------------------------------------------------------------------------------

constexpr uint32_t SEQ = 41;

class UclientRequest : public testing::Test {
protected:
    UclientRequest() { client.fd_sync = pair.fd[0]; }

    // The result of a request that the controller answers as told.
    int send_answered(const std::function<void(const Received&)>& answer, msg_reply* reply = nullptr) {
        Controller controller([&] { answer(read_frame(pair.fd[1])); });
        return uclient_send(&client, msg_new(UMSG_GET_HOSTNAME, "\0\0\0", SEQ, 4), reply);
    }
    int send_answered_with(const Bytes& bytes, msg_reply* reply = nullptr) {
        return send_answered(
            [&](const Received&) {
                write_all(pair.fd[1], bytes);
                pair.close_end(1);
            },
            reply);
    }

    LogCapture log;
    SocketPair pair;
    uclient_s client = {};
    msg_reply reply = {};
};

TEST_F(UclientRequest, GivesTheControllersResultAndData) {
    Received request;
    EXPECT_EQ(send_answered(
                  [&](const Received& got) {
                      request = got;
                      write_all(pair.fd[1], frame(UMSG_REPLY, got.seq, reply_body(0, 4, "name")));
                  },
                  &reply),
              0);
    EXPECT_EQ(request.type, UMSG_GET_HOSTNAME);
    EXPECT_EQ(request.seq, SEQ);
    EXPECT_THAT(request.body, ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(reply.len, 4u);
    EXPECT_STREQ(reply.data, "name");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(UclientRequest, GivesTheControllersErrorCode) {
    EXPECT_EQ(send_answered_with(frame(UMSG_REPLY, SEQ, reply_body(104006, 0, "")), &reply), 104006);
    EXPECT_EQ(reply.errcode, 104006u);
}

TEST_F(UclientRequest, MayIgnoreTheData) {
    EXPECT_EQ(send_answered_with(frame(UMSG_REPLY, SEQ, reply_body(3, 4, "name"))), 3);
}

TEST_F(UclientRequest, SendRequestIsSend) {
    Controller controller([&] {
        read_frame(pair.fd[1]);
        write_all(pair.fd[1], frame(UMSG_REPLY, SEQ, reply_body(5, 0, "")));
    });
    EXPECT_EQ(uclient_send_request(&client, msg_new(UMSG_GET_IF, "\0\0\0", SEQ, 4), nullptr), 5);
}

TEST_F(UclientRequest, WithoutClientOrMessageGivesMinus1) {
    EXPECT_EQ(uclient_send(nullptr, msg_new(UMSG_GET_IF, nullptr, SEQ, 0), &reply), -1); // frees the message
    EXPECT_EQ(uclient_send(&client, nullptr, &reply), -1);
    EXPECT_FALSE(has_input(pair.fd[1]));
}

TEST_F(UclientRequest, FailedWriteGivesMinus2) {
    pair.close_end(1);
    EXPECT_EQ(uclient_send(&client, msg_new(UMSG_GET_HOSTNAME, nullptr, SEQ, 0), &reply), -2);
    EXPECT_THAT(log.lines(), Contains("failed to send seq [41] msgtype[28] uclient->fd_sync [" +
                                      std::to_string(pair.fd[0]) + "]"));
}

TEST_F(UclientRequest, ConnectionClosedInsteadOfAReplyGivesMinus3) {
    EXPECT_EQ(send_answered_with({}), -3);
    EXPECT_THAT(log.lines(),
                ElementsAre("msg_read: Connection closed by peer fd [" + std::to_string(pair.fd[0]) + "] "));
}

TEST_F(UclientRequest, ConnectionClosedInsideTheHeaderGivesMinus3) {
    EXPECT_EQ(send_answered_with({1, UMSG_REPLY, 0, 8}), -3);
    EXPECT_THAT(log.lines(), ElementsAre("msg_read: Cannot read message header!"));
}

TEST_F(UclientRequest, ConnectionClosedInsideTheBodyGivesMinus3) {
    EXPECT_EQ(send_answered_with(raw_frame(1, UMSG_REPLY, 8, SEQ, Bytes(7))), -3);
    EXPECT_THAT(log.lines(), ElementsAre("msg_read: Cannot read message body!"));
}

TEST_F(UclientRequest, ReplyOfVersion2GivesMinus3) {
    EXPECT_EQ(send_answered_with(raw_frame(2, UMSG_REPLY, 8, SEQ, reply_body(0, 0, ""))), -3);
    EXPECT_THAT(log.lines(), ElementsAre("msg_read: API protocol version mismatch"));
}

TEST_F(UclientRequest, ReplyOf4097BytesGivesMinus3) {
    EXPECT_EQ(send_answered_with(frame(UMSG_REPLY, SEQ, Bytes(4097))), -3);
    EXPECT_THAT(log.lines(), ElementsAre("msg_read: length is too long"));
}

TEST_F(UclientRequest, ReplyOf4096BytesIsTaken) {
    EXPECT_EQ(send_answered_with(frame(UMSG_REPLY, SEQ, reply_body(0, 4088, std::string(4088, 'x'))), &reply),
              0);
    EXPECT_EQ(reply.len, 4088u);
    EXPECT_EQ(strlen(reply.data), 4088u);
}

TEST_F(UclientRequest, AnotherTypeGivesMinus4AndAnAssertion) {
    EXPECT_EQ(send_answered_with(frame(UMSG_HOST, SEQ, reply_body(0, 0, ""))), -4);
    EXPECT_EQ(log.lines().size(), 1u);
    EXPECT_THAT(log.file_text(), testing::ContainsRegex("120 .*Assertion `.*UMSG_REPLY.*' failed"));
}

TEST_F(UclientRequest, AnotherSequenceNumberGivesMinus5AndAnAssertion) {
    EXPECT_EQ(send_answered_with(frame(UMSG_REPLY, SEQ + 1, reply_body(0, 0, ""))), -5);
    EXPECT_EQ(log.lines().size(), 1u);
    EXPECT_THAT(log.file_text(), testing::ContainsRegex("120 .*Assertion `.*seq.*' failed"));
}

TEST_F(UclientRequest, DataOfMoreThan4095BytesGivesMinus6) {
    EXPECT_EQ(send_answered_with(frame(UMSG_REPLY, SEQ, reply_body(0, 4096, std::string(4088, 'x'))), &reply),
              -6);
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST_F(UclientRequest, LengthAboveTheBodyGivesMinus6) {
    EXPECT_EQ(send_answered_with(frame(UMSG_REPLY, SEQ, reply_body(0, 5, "name")), &reply), -6);
}

TEST_F(UclientRequest, LengthAboveTheBodyIsNotLookedAtWithoutABuffer) {
    EXPECT_EQ(send_answered_with(frame(UMSG_REPLY, SEQ, reply_body(0, 5, "name"))), 0);
}

TEST_F(UclientRequest, ReplyWithoutAResultGivesMinus6) {
    EXPECT_EQ(send_answered_with(frame(UMSG_REPLY, SEQ, Bytes(7)), &reply), -6);
}

TEST_F(UclientRequest, NextRequestAfterAForeignReplyIsServed) {
    EXPECT_EQ(send_answered([&](const Received&) {
                  write_all(pair.fd[1], frame(UMSG_REPLY, SEQ + 1, reply_body(0, 0, "")));
              }),
              -5);
    EXPECT_EQ(send_answered([&](const Received&) {
                  write_all(pair.fd[1], frame(UMSG_REPLY, SEQ, reply_body(0, 0, "")));
              }),
              0);
}

TEST_F(UclientRequest, DebugFlagShowsWhatIsSentAndReceived) {
    EXPECT_EQ(uclient_debug_flag_get(), 0);
    uclient_debug_flag_set(1);
    EXPECT_EQ(uclient_debug_flag_get(), 1);
    EXPECT_EQ(send_answered_with(frame(UMSG_REPLY, SEQ, reply_body(0, 0, ""))), 0);
    uclient_debug_flag_set(0);
    EXPECT_THAT(log.lines(), Contains("msg version 1 type 28 len 4 seq 41"));
    EXPECT_THAT(log.lines(), Contains("msg version 1 type 0 len 8 seq 41"));
}

TEST(UclientSequence, StartsAt1AndCounts) {
    const unsigned first = uclient_get_seqnr();
    EXPECT_GE(first, 1u);
    EXPECT_EQ(uclient_get_seqnr(), first + 1);
    EXPECT_EQ(uclient_seqnr_after(0), 1u);
}

TEST(UclientSequence, StartsAgainAt1After0x7FFFFFFF) {
    EXPECT_EQ(uclient_seqnr_after(0x7FFFFFFE), 0x7FFFFFFFu);
    EXPECT_EQ(uclient_seqnr_after(0x7FFFFFFF), 1u);
}

TEST(UclientSequence, GivesEachNumberOnceToSeveralThreads) {
    std::vector<unsigned> other(5000);
    std::vector<unsigned> own(5000);
    std::thread thread([&] { std::generate(other.begin(), other.end(), uclient_get_seqnr); });
    std::generate(own.begin(), own.end(), uclient_get_seqnr);
    thread.join();
    std::set<unsigned> all(own.begin(), own.end());
    all.insert(other.begin(), other.end());
    EXPECT_EQ(all.size(), 10000u);
}

// ---- events --------------------------------------------------------------------------------------

int hosts_seen = 0;
int count_host(umsg_host_t*) {
    hosts_seen++;
    return 0;
}

class UclientAsync : public testing::Test {
protected:
    UclientAsync() {
        client.host = count_host;
        hosts_seen = 0;
    }
    int handle(const Bytes& bytes) {
        write_all(pair.fd[1], bytes);
        return uclient_handle_async(&client, pair.fd[0]);
    }

    LogCapture log;
    SocketPair pair;
    uclient_s client = {};
};

TEST_F(UclientAsync, DispatchesAMessageAndSendsNoReply) {
    EXPECT_EQ(handle(frame(UMSG_HOST, 9, Bytes(33))), 0);
    EXPECT_EQ(hosts_seen, 1);
    EXPECT_FALSE(has_input(pair.fd[1]));
}

TEST_F(UclientAsync, ReadsOneMessagePerCall) {
    const Bytes one = frame(UMSG_HOST, 9, Bytes(33));
    write_all(pair.fd[1], one);
    EXPECT_EQ(handle(one), 0);
    EXPECT_EQ(hosts_seen, 1);
    EXPECT_EQ(uclient_handle_async(&client, pair.fd[0]), 0);
    EXPECT_EQ(hosts_seen, 2);
}

TEST_F(UclientAsync, FrameWithVersion2GivesMinus1) {
    EXPECT_EQ(handle(raw_frame(2, UMSG_HOST, 33, 9, Bytes(33))), -1);
    EXPECT_EQ(hosts_seen, 0);
}

TEST_F(UclientAsync, BodyOf4096IsAcceptedAnd4097IsNot) {
    EXPECT_EQ(handle(frame(UMSG_HOST, 9, Bytes(4096))), 0);
    EXPECT_EQ(hosts_seen, 1);
    EXPECT_EQ(handle(frame(UMSG_HOST, 9, Bytes(4097))), -1);
    EXPECT_EQ(hosts_seen, 1);
}

TEST_F(UclientAsync, ClosedConnectionGivesMinus1) {
    pair.close_end(1);
    EXPECT_EQ(uclient_handle_async(&client, pair.fd[0]), -1);
}

TEST_F(UclientAsync, ConnectionGoesOnAfterAnUnknownTypeAndAShortBody) {
    EXPECT_EQ(handle(frame(UMSG_MAX, 9, {})), 0);
    EXPECT_EQ(handle(frame(UMSG_HOST, 9, Bytes(32))), 0);
    EXPECT_EQ(handle(frame(UMSG_HOST, 9, Bytes(33))), 0);
    EXPECT_EQ(hosts_seen, 1);
}

TEST_F(UclientAsync, NoBytesAtAllCrashTheClient) {
    // A small generator instead of a table: every type with every body length around the records' sizes.
    for (int type = 0; type <= 255; type++)
        for (const size_t size : {0, 3, 4, 7, 8, 71, 72, 76, 144, 524, 4096})
            EXPECT_EQ(handle(frame(static_cast<uint8_t>(type), 1, Bytes(size, 0xFF))), 0);
}

// ---- callbacks and closing -----------------------------------------------------------------------

int new_if(umsg_if_t*) {
    return 0;
}
int del_if(umsg_if_t*) {
    return 0;
}

TEST(Uclient, RegisterCallbackSetsTheTwoInterfaceSlots) {
    uclient_s client = {};
    uclient_register_callback(&client, new_if, del_if);
    EXPECT_EQ(client.if_new, new_if);
    EXPECT_EQ(client.if_del, del_if);
    EXPECT_EQ(client.if_admin, nullptr);
}

TEST(Uclient, CloseOfNullGivesMinus1) {
    EXPECT_EQ(uclient_close(nullptr), -1);
}

// ---- connecting: with the fixed ports, in a network of its own -------------------------------------

constexpr unsigned short MONO_PORT = 30000;
constexpr unsigned short SYNC_PORT = 30046;

sockaddr_in loopback(unsigned short port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int listener(unsigned short port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    const sockaddr_in address = loopback(port);
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(listen(fd, 5), 0);
    return fd;
}

int dial(unsigned short port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = loopback(port);
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    return fd;
}

unsigned short peer_port(int fd) {
    sockaddr_in address = {};
    socklen_t size = sizeof(address);
    EXPECT_EQ(getpeername(fd, reinterpret_cast<sockaddr*>(&address), &size), 0);
    return ntohs(address.sin_port);
}

// The log's own descriptor, opened by its first line, is among them before and after.
int open_descriptors() {
    OV_LOG_DEBUG("LIB", "counting descriptors");
    LogCapture::clear();
    int count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        count++;
    return count;
}

class UclientConnect : public testing::Test {
protected:
    TestShelf shelf{OV_SHELF_TYPE_SINGLE}; // its inner address is the loopback's
    LogCapture log;
};

TEST_F(UclientConnect, ConnectsFromItsPortAndTakesTheConnectionBack) {
    private_net::run([&] {
        const int mono = listener(MONO_PORT);
        int sync = -1;
        int async = -1;
        Controller controller([&] {
            sync = accept(mono, nullptr, nullptr);
            async = dial(SYNC_PORT + 1);
        });
        uclient_s* client = uclient_connect("gpon", 0x7f000001, MONO_PORT, SYNC_PORT);
        ASSERT_NE(client, nullptr);
        controller.join();
        EXPECT_EQ(peer_port(sync), SYNC_PORT);
        EXPECT_EQ(peer_port(client->fd_sync), MONO_PORT);
        EXPECT_EQ(client->if_new, nullptr);
        EXPECT_EQ(client->slot_cfg_sync_end, nullptr);

        client->host = count_host;
        hosts_seen = 0;
        write_all(async, frame(UMSG_HOST, 1, Bytes(33)));
        EXPECT_EQ(uclient_handle_async(client, client->fd_async), 0);
        EXPECT_EQ(hosts_seen, 1);

        const int second = dial(SYNC_PORT + 1); // the server goes on listening
        EXPECT_TRUE(has_input(client->async_server_sock));

        EXPECT_EQ(uclient_close(client), 0);
        char byte;
        EXPECT_EQ(recv(sync, &byte, 1, 0), 0);
        EXPECT_EQ(recv(async, &byte, 1, 0), 0);
        for (const int fd : {mono, sync, async, second})
            close(fd);
    });
}

TEST_F(UclientConnect, SocketsAreNotInheritedByPrograms) {
    private_net::run([&] {
        const int mono = listener(MONO_PORT);
        Controller controller([&] {
            close(accept(mono, nullptr, nullptr));
            close(dial(SYNC_PORT + 1));
        });
        uclient_s* client = uclient_connect("gpon", 0, MONO_PORT, SYNC_PORT);
        ASSERT_NE(client, nullptr);
        for (const int fd : {client->fd_sync, client->fd_async, client->async_server_sock})
            EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
        uclient_close(client);
        close(mono);
    });
}

TEST_F(UclientConnect, BusyAsyncPortFails) {
    private_net::run([&] {
        const int other = listener(SYNC_PORT + 1);
        const int open_before = open_descriptors();
        EXPECT_EQ(uclient_connect("gpon", 0, MONO_PORT, SYNC_PORT), nullptr);
        EXPECT_THAT(log.lines(),
                    ElementsAre("uclient_connect: bind async socket [dstport 30000 syncport 30046 "
                                "async port 30047 ] failed"));
        EXPECT_EQ(open_descriptors(), open_before);
        close(other);
    });
}

TEST_F(UclientConnect, BusySyncPortFails) {
    private_net::run([&] {
        const int other = listener(SYNC_PORT);
        const int open_before = open_descriptors();
        EXPECT_EQ(uclient_connect("gpon", 0, MONO_PORT, SYNC_PORT), nullptr);
        EXPECT_THAT(log.lines(), ElementsAre("uclient_connect: bind sync socket failed: " +
                                             std::to_string(EADDRINUSE) + " " + strerror(EADDRINUSE)));
        EXPECT_EQ(open_descriptors(), open_before);
        close(other);
    });
}

TEST_F(UclientConnect, MissingControllerFailsWithoutARetry) {
    private_net::run([&] {
        const int open_before = open_descriptors();
        EXPECT_EQ(uclient_connect("gpon", 0, MONO_PORT, SYNC_PORT), nullptr);
        EXPECT_THAT(log.lines(), ElementsAre("uclient_connect: sync connect failed:  " +
                                             std::to_string(ECONNREFUSED) + " " + strerror(ECONNREFUSED)));
        EXPECT_EQ(open_descriptors(), open_before);
    });
}

TEST_F(UclientConnect, WithoutDescriptorsTheFirstSocketFails) {
    private_net::run([&] {
        const rlimit none = {.rlim_cur = 0, .rlim_max = 64};
        setrlimit(RLIMIT_NOFILE, &none);
        EXPECT_EQ(uclient_connect("gpon", 0, MONO_PORT, SYNC_PORT), nullptr);
        EXPECT_EQ(uclient_connect("gpon", 0, MONO_PORT, UCLIENT_SYNC_ONLY_PORT), nullptr);
        const rlimit some = {.rlim_cur = 64, .rlim_max = 64};
        setrlimit(RLIMIT_NOFILE, &some);
        EXPECT_THAT(log.lines(), ElementsAre("uclient_connect: creating async socket failed",
                                             "uclient_connect: creating sync socket failed"));
    });
}

TEST_F(UclientConnect, WithoutADescriptorTheConnectionBackFails) {
    private_net::run([&] {
        const int mono = listener(MONO_PORT);
        const int open_before = open_descriptors();
        // Room for the daemon's two sockets and no more; the peer is a process of its own.
        const pid_t peer = fork();
        if (peer == 0) {
            accept(mono, nullptr, nullptr);
            dial(SYNC_PORT + 1);
            pause();
        }
        const int first = dup(mono);
        const int second = dup(mono); // not always first + 1: there may be gaps
        close(first);
        close(second);
        const rlimit room = {.rlim_cur = static_cast<rlim_t>(second) + 1, .rlim_max = 1024};
        setrlimit(RLIMIT_NOFILE, &room);
        EXPECT_EQ(uclient_connect("gpon", 0, MONO_PORT, SYNC_PORT), nullptr);
        const rlimit plenty = {.rlim_cur = 1024, .rlim_max = 1024};
        setrlimit(RLIMIT_NOFILE, &plenty);
        kill(peer, SIGKILL);
        waitpid(peer, nullptr, 0);
        EXPECT_THAT(log.lines(), ElementsAre("uclient_connect: accept async failed"));
        EXPECT_EQ(open_descriptors(), open_before);
        close(mono);
    });
}

TEST_F(UclientConnect, SyncOnlyClientHasNoEvents) {
    private_net::run([&] {
        const int mono = listener(MONO_PORT);
        uclient_s* client = uclient_connect("tool", 0, MONO_PORT, UCLIENT_SYNC_ONLY_PORT);
        ASSERT_NE(client, nullptr);
        const int sync = accept(mono, nullptr, nullptr);
        EXPECT_NE(peer_port(sync), UCLIENT_SYNC_ONLY_PORT); // any free port
        EXPECT_EQ(client->fd_async, -1);
        EXPECT_EQ(client->async_server_sock, -1);
        uclient_close(client);
        close(sync);
        close(mono);
    });
}

TEST_F(UclientConnect, OtherControllerPortIs30200) {
    private_net::run([&] {
        const int mono = listener(UCLIENT_CONTROLLER_PORT_ALT);
        uclient_s* client = uclient_connect("tool", 0, UCLIENT_CONTROLLER_PORT_ALT, UCLIENT_SYNC_ONLY_PORT);
        ASSERT_NE(client, nullptr);
        EXPECT_GE(client->fd_sync, 0);
        uclient_close(client);
        close(mono);
    });
}

TEST_F(UclientConnect, ToAnyOtherPortOnlyListens) {
    private_net::run([&] {
        uclient_s* client = uclient_connect("tool", 0, 30001, SYNC_PORT);
        ASSERT_NE(client, nullptr);
        EXPECT_EQ(client->fd_sync, -1);
        EXPECT_EQ(client->fd_async, -1);
        const int fd = dial(SYNC_PORT + 1);
        EXPECT_TRUE(has_input(client->async_server_sock));
        uclient_close(client);
        close(fd);
    });
}

} // namespace
