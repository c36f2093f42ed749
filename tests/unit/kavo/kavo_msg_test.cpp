#include "kavo_msg.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <pthread.h>

#include "../support/frames.h"
#include "../support/log_capture.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

Bytes body_bytes(const msg* m) {
    const auto body = msg_body(m);
    return Bytes(body.begin(), body.end());
}

Bytes pattern(size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; i++)
        bytes[i] = static_cast<uint8_t>(i * 7);
    return bytes;
}

TEST(Msg, CarriesTypeSequenceAndACopyOfTheBody) {
    Bytes body = {1, 2, 3};
    msg* m = msg_new(UMSG_NEW_IF, body.data(), 77, 3);
    body[0] = 9;
    EXPECT_EQ(m->hdr.version, 1);
    EXPECT_EQ(m->hdr.msgtype, UMSG_NEW_IF);
    EXPECT_EQ(ntohs(m->hdr.msglen), 3);
    EXPECT_EQ(msg_get_seq(m), 77u);
    EXPECT_THAT(body_bytes(m), ElementsAre(1, 2, 3));
    msg_free(m);
}

TEST(Msg, MayHaveNoBody) {
    msg* m = msg_new(UMSG_START_SNMP_AGENTX, nullptr, 1, 0);
    ASSERT_NE(m, nullptr);
    EXPECT_THAT(body_bytes(m), IsEmpty());
    msg_free(m);
}

TEST(Msg, IsRefusedAboveTheLargestBodyOrWithoutItsBody) {
    const Bytes body = pattern(UMSG_MAX_BODY + 1);
    EXPECT_EQ(msg_new(UMSG_HTTP, body.data(), 1, UMSG_MAX_BODY + 1), nullptr);
    EXPECT_EQ(msg_new(UMSG_HTTP, nullptr, 1, 4), nullptr);
    msg* largest = msg_new(UMSG_HTTP, body.data(), 1, UMSG_MAX_BODY);
    ASSERT_NE(largest, nullptr);
    EXPECT_EQ(msg_body(largest).size(), UMSG_MAX_BODY);
    msg_free(largest);
}

TEST(Msg, DuplicateIsIndependent) {
    const Bytes body = pattern(20);
    msg* m = msg_new(UMSG_HOST, body.data(), 5, 20);
    msg* copy = msg_dup(m);
    msg_set_seq(m, 6);
    msg_free(m);
    EXPECT_EQ(msg_get_seq(copy), 5u);
    EXPECT_EQ(copy->hdr.msgtype, UMSG_HOST);
    EXPECT_EQ(body_bytes(copy), body);
    msg_free(copy);
    EXPECT_EQ(msg_dup(nullptr), nullptr);
}

TEST(Msg, FreeOfNullDoesNothing) {
    msg_free(nullptr);
}

TEST(Msg, PrintShowsTheHeader) {
    LogCapture log;
    msg* m = msg_new(UMSG_HOST, "abcd", 5, 4);
    msg_print(m);
    EXPECT_THAT(log.lines(), ElementsAre("msg version 1 type 27 len 4 seq 5"));
    msg_free(m);
}

TEST(MsgReply, HasResultLengthAndData) {
    msg* m = new_msg_reply(12, 104006, "name", 4);
    EXPECT_EQ(m->hdr.msgtype, UMSG_REPLY);
    EXPECT_EQ(msg_get_seq(m), 12u);
    EXPECT_EQ(body_bytes(m), reply_body(104006, 4, "name"));
    msg_free(m);
}

TEST(MsgReply, MayHaveNoData) {
    msg* m = new_msg_reply(12, 0, nullptr, 0);
    EXPECT_EQ(body_bytes(m), reply_body(0, 0, ""));
    msg_free(m);
}

TEST(MsgReply, IsRefusedWhenHeadAndDataExceedABody) {
    const std::string data(UMSG_MAX_BODY, 'x');
    EXPECT_EQ(new_msg_reply(1, 0, data.data(), UMSG_MAX_BODY - 7), nullptr);
    EXPECT_EQ(new_msg_reply(1, 0, data.data(), 0xFFFFFFFF), nullptr);
    EXPECT_EQ(new_msg_reply(1, 0, nullptr, 1), nullptr);
    msg* largest = new_msg_reply(1, 0, data.data(), UMSG_MAX_BODY - 8);
    ASSERT_NE(largest, nullptr);
    msg_free(largest);
}

class MsgConnection : public testing::Test {
protected:
    // What msg_read makes of these bytes, after which the peer closes.
    msg* read_of(const Bytes& bytes) {
        write_all(pair.fd[1], bytes);
        pair.close_end(1);
        return msg_read(pair.fd[0]);
    }

    LogCapture log;
    SocketPair pair;
};

TEST_F(MsgConnection, WriteThenReadGivesTheSameMessage) {
    const Bytes body = pattern(524);
    msg* out = msg_new(UMSG_VLAN_PORT, body.data(), 0x01020304, 524);
    EXPECT_EQ(msg_write(pair.fd[0], out), 0);
    msg* in = msg_read(pair.fd[1]);
    ASSERT_NE(in, nullptr);
    EXPECT_EQ(in->hdr.msgtype, UMSG_VLAN_PORT);
    EXPECT_EQ(msg_get_seq(in), 0x01020304u);
    EXPECT_EQ(body_bytes(in), body);
    EXPECT_THAT(log.lines(), IsEmpty());
    msg_free(out);
    msg_free(in);
}

TEST_F(MsgConnection, FrameHasNetworkOrderHeaderAndUnconvertedBody) {
    const uint8_t body[2] = {0xAA, 0xBB};
    msg* out = msg_new(UMSG_SLOT_ACTIVE, body, 0x01020304, 2);
    EXPECT_EQ(msg_write(pair.fd[0], out), 0);
    Bytes wire(10);
    ASSERT_TRUE(read_exactly(pair.fd[1], wire.data(), wire.size()));
    EXPECT_THAT(wire, ElementsAreArray(Bytes{1, 47, 0, 2, 1, 2, 3, 4, 0xAA, 0xBB}));
    msg_free(out);
}

TEST_F(MsgConnection, FrameWithVersion2IsDropped) {
    EXPECT_EQ(read_of(raw_frame(2, UMSG_HOST, 0, 1, {})), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre("msg_read: API protocol version mismatch"));
}

TEST_F(MsgConnection, BodyOf4096IsAccepted) {
    const Bytes body = pattern(4096);
    msg* in = read_of(frame(UMSG_HTTP, 1, body));
    ASSERT_NE(in, nullptr);
    EXPECT_EQ(body_bytes(in), body);
    msg_free(in);
}

TEST_F(MsgConnection, BodyOf4097IsRefused) {
    EXPECT_EQ(read_of(frame(UMSG_HTTP, 1, pattern(4097))), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre("msg_read: length is too long"));
}

TEST_F(MsgConnection, ClosedConnectionIsLoggedWithItsDescriptor) {
    EXPECT_EQ(read_of({}), nullptr);
    EXPECT_THAT(log.lines(),
                ElementsAre("msg_read: Connection closed by peer fd [" + std::to_string(pair.fd[0]) + "] "));
}

TEST_F(MsgConnection, HeaderCutShortIsRefused) {
    EXPECT_EQ(read_of({1, UMSG_HOST, 0}), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre("msg_read: Cannot read message header!"));
}

TEST_F(MsgConnection, BodyCutShortIsRefused) {
    EXPECT_EQ(read_of(raw_frame(1, UMSG_HOST, 33, 1, pattern(32))), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre("msg_read: Cannot read message body!"));
}

TEST_F(MsgConnection, ReadErrorIsLoggedWithItsReason) {
    EXPECT_EQ(msg_read(-1), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre(std::string("msg_read: readn ") + strerror(EBADF)));
}

TEST_F(MsgConnection, WriteErrorIsLoggedWithItsReason) {
    msg* out = msg_new(UMSG_HOST, nullptr, 1, 0);
    pair.close_end(1);
    EXPECT_EQ(msg_write(pair.fd[0], out), -1); // and no SIGPIPE
    EXPECT_THAT(log.lines(), ElementsAre(std::string("msg_write: writen ") + strerror(EPIPE)));
    msg_free(out);
}

TEST_F(MsgConnection, MessageThatArrivesInPiecesIsRead) {
    const Bytes whole = frame(UMSG_HOST, 3, pattern(33));
    Controller controller([&] {
        for (const uint8_t byte : whole)
            write_all(pair.fd[1], {byte});
    });
    msg* in = msg_read(pair.fd[0]);
    ASSERT_NE(in, nullptr);
    EXPECT_EQ(body_bytes(in), pattern(33));
    msg_free(in);
}

void ignore_signal(int) {}

TEST_F(MsgConnection, SignalDuringAReadOrWriteIsSurvived) {
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = ignore_signal; // without SA_RESTART: calls give EINTR
    sigaction(SIGUSR2, &action, &before);
    const pthread_t reader = pthread_self();
    const Bytes body = pattern(33);
    Controller controller([&] {
        for (int i = 0; i < 20; i++) {
            usleep(1000);
            pthread_kill(reader, SIGUSR2);
        }
        write_all(pair.fd[1], frame(UMSG_HOST, 3, body));
    });
    msg* in = msg_read(pair.fd[0]);
    EXPECT_NE(in, nullptr);
    msg_free(in);
    controller.join();

    // A pipe too full to take it all, drained only after the signals.
    const Bytes large(4 << 20, 0x5A);
    Controller drain([&] {
        for (int i = 0; i < 20; i++) {
            usleep(1000);
            pthread_kill(reader, SIGUSR2);
        }
        Bytes sink(large.size());
        EXPECT_TRUE(read_exactly(pair.fd[1], sink.data(), sink.size()));
    });
    EXPECT_EQ(writen(pair.fd[0], large.data(), large.size()), static_cast<ssize_t>(large.size()));
    drain.join();
    sigaction(SIGUSR2, &before, nullptr);
}

TEST(Writen, ServesDescriptorsThatAreNoSockets) {
    int fd[2];
    ASSERT_EQ(pipe(fd), 0);
    EXPECT_EQ(writen(fd[1], "hello", 5), 5);
    char got[5];
    EXPECT_EQ(readn(fd[0], got, 5), 5);
    EXPECT_EQ(std::string(got, 5), "hello");
    close(fd[1]);
    EXPECT_EQ(readn(fd[0], got, 5), 0);
    close(fd[0]);
}

TEST(HeaderParse, NamesWhatIsWrong) {
    apimsghdr hdr;
    const auto parse = [&](const Bytes& bytes) { return msg_header_parse(bytes, &hdr); };
    EXPECT_EQ(parse({}), msg_header_error::TOO_SHORT);
    EXPECT_EQ(parse({1, 0, 0, 0, 0, 0, 0}), msg_header_error::TOO_SHORT);
    EXPECT_EQ(parse({0, 0, 0, 0, 0, 0, 0, 0}), msg_header_error::BAD_VERSION);
    EXPECT_EQ(parse({2, 0, 0, 0, 0, 0, 0, 0}), msg_header_error::BAD_VERSION);
    EXPECT_EQ(parse({1, 0, 0x10, 1, 0, 0, 0, 0}), msg_header_error::TOO_LONG);
    EXPECT_EQ(parse({1, 0, 0x10, 0, 0, 0, 0, 0}), msg_header_error::NONE);
    EXPECT_EQ(ntohs(hdr.msglen), 4096);
}

TEST(BodyParse, NeedsTheWholeRecordAndPassesOverMore) {
    Bytes body = bytes_of(umsg_trunk_t{.set = 1, .tid = 2, .ifindex = 3});
    body.push_back(0xFF);
    const auto record = umsg_body_parse<umsg_trunk_t>(body);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->ifindex, 3u);
    body.resize(11);
    EXPECT_FALSE(umsg_body_parse<umsg_trunk_t>(body));
    EXPECT_FALSE(umsg_body_parse<umsg_trunk_t>({}));
}

TEST(BodyParse, TerminatesEveryText) {
    const Bytes full(4096, 'x');
    EXPECT_EQ(strlen(umsg_body_parse<umsg_if_t>(full)->name), 19u);
    EXPECT_EQ(strlen(umsg_body_parse<umsg_if_t>(full)->onu_sn), 31u);
    EXPECT_EQ(strlen(umsg_body_parse<umsg_ip_t>(full)->ifname), 31u);
    EXPECT_EQ(strlen(umsg_body_parse<umsg_host_t>(full)->name), 32u);
    EXPECT_EQ(strlen(umsg_body_parse<umsg_cfg_sync_t>(full)->appName), 127u);
    EXPECT_EQ(strlen(umsg_body_parse<umsg_snmp_save_req_t>(full)->tablename), 63u);
}

TEST(BodyParse, SwitchOverBodyMayBeTheSlotAlone) {
    EXPECT_EQ(umsg_switch_slot_parse(bytes_of(umsg_card_t{.slot_id = 9, .card_type = 3})), 9u);
    EXPECT_EQ(umsg_switch_slot_parse(bytes_of(uint32_t{8})), 8u);
    EXPECT_FALSE(umsg_switch_slot_parse(Bytes(3)));
}

class ReplyParse : public testing::Test {
protected:
    ReplyParse() { std::memset(&reply, 0x55, sizeof(reply)); }
    bool parse(const Bytes& body) { return msg_reply_parse(body, &reply); }
    msg_reply reply;
};

TEST_F(ReplyParse, FillsResultLengthAndTerminatedData) {
    ASSERT_TRUE(parse(reply_body(7, 4, "name")));
    EXPECT_EQ(reply.errcode, 7u);
    EXPECT_EQ(reply.len, 4u);
    EXPECT_STREQ(reply.data, "name");
}

TEST_F(ReplyParse, RefusesALengthAboveTheBody) {
    EXPECT_FALSE(parse(reply_body(0, 5, "name")));
    EXPECT_FALSE(parse(reply_body(0, 1, "")));
    EXPECT_FALSE(parse(reply_body(0, 0xFFFFFFFF, "name")));
    EXPECT_EQ(reply.len, 0x55555555u);
}

TEST_F(ReplyParse, RefusesDataOfMoreThan4095Bytes) {
    EXPECT_FALSE(parse(reply_body(0, 4096, std::string(4096, 'x'))));
    ASSERT_TRUE(parse(reply_body(0, 4095, std::string(4095, 'x'))));
    EXPECT_EQ(strlen(reply.data), 4095u);
}

TEST_F(ReplyParse, RefusesABodyWithoutAHead) {
    EXPECT_FALSE(parse(Bytes(7)));
}

TEST_F(ReplyParse, TakesNoMoreThanTheLengthSays) {
    ASSERT_TRUE(parse(reply_body(0, 2, "name")));
    EXPECT_STREQ(reply.data, "na");
}

TEST(MsgFifo, GivesMessagesInTheOrderOfArrival) {
    msg_fifo* fifo = msg_fifo_new();
    EXPECT_EQ(msg_fifo_head(fifo), nullptr);
    EXPECT_EQ(msg_fifo_pop(fifo), nullptr);
    for (unsigned seq = 1; seq <= 3; seq++)
        msg_fifo_push(fifo, msg_new(UMSG_HOST, nullptr, seq, 0));
    EXPECT_EQ(fifo->count, 3u);
    for (unsigned seq = 1; seq <= 3; seq++) {
        EXPECT_EQ(msg_get_seq(msg_fifo_head(fifo)), seq);
        msg* m = msg_fifo_pop(fifo);
        EXPECT_EQ(msg_get_seq(m), seq);
        msg_free(m);
    }
    EXPECT_EQ(fifo->count, 0u);
    EXPECT_EQ(fifo->tail, nullptr);
    msg_fifo_free(fifo);
}

TEST(MsgFifo, FlushAndFreeRelease) {
    msg_fifo* fifo = msg_fifo_new();
    msg_fifo_push(fifo, msg_new(UMSG_HOST, nullptr, 1, 0));
    msg_fifo_push(fifo, msg_new(UMSG_HOST, nullptr, 2, 0));
    msg_fifo_flush(fifo);
    EXPECT_EQ(fifo->count, 0u);
    EXPECT_EQ(msg_fifo_head(fifo), nullptr);
    msg_fifo_push(fifo, msg_new(UMSG_HOST, nullptr, 3, 0));
    EXPECT_EQ(msg_get_seq(msg_fifo_head(fifo)), 3u);
    msg_fifo_free(fifo);
    msg_fifo_free(nullptr);
}

} // namespace
