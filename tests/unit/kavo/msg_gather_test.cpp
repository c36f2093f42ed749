// Frames that come in pieces.
#include "msg_gather.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>

#include "../support/dice.h"
#include "../support/frames.h"
#include "../support/log_capture.h"

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct MsgFree {
    void operator()(msg* m) const { msg_free(m); }
};
using MsgPtr = std::unique_ptr<msg, MsgFree>;

constexpr steady_clock::time_point START{milliseconds(100000)};

// A connection whose daemon's end is gathered from; the clock stands unless a test moves it.
class Gathered {
public:
    void comes(const Bytes& bytes) { write_all(pair.fd[1], bytes); }
    // What a look at the connection gives.
    MsgPtr look(milliseconds after = milliseconds(0)) {
        return MsgPtr(msg_gather_read(&gather, pair.fd[0], START + after, &failed));
    }

    SocketPair pair;
    msg_gather gather = {};
    bool failed = false;
};

Bytes part(const Bytes& bytes, size_t from, size_t to) {
    return {bytes.begin() + ptrdiff_t(from), bytes.begin() + ptrdiff_t(to)};
}

Bytes counting(size_t size) {
    Bytes bytes(size);
    for (size_t n = 0; n < size; n++)
        bytes[n] = uint8_t(n);
    return bytes;
}

Bytes body_of(const msg& m) {
    const auto body = msg_body(&m);
    return {body.begin(), body.end()};
}

TEST(MsgGather, AFrameMayComeOneByteAtATime) {
    const LogCapture log;
    Gathered link;
    const Bytes whole = frame(UMSG_HOST, 7, counting(33));
    for (size_t at = 0; at + 1 < whole.size(); at++) {
        link.comes(part(whole, at, at + 1));
        ASSERT_EQ(link.look(), nullptr) << at;
        ASSERT_FALSE(link.failed) << at;
    }
    link.comes(part(whole, whole.size() - 1, whole.size()));
    const MsgPtr got = link.look();
    ASSERT_NE(got, nullptr);
    EXPECT_EQ(got->hdr.msgtype, UMSG_HOST);
    EXPECT_EQ(msg_get_seq(got.get()), 7u);
    EXPECT_EQ(body_of(*got), counting(33));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(MsgGather, NothingToReadIsNoFailure) {
    Gathered link;
    EXPECT_EQ(link.look(), nullptr);
    EXPECT_FALSE(link.failed);
    EXPECT_EQ(msg_gather_left(&link.gather, START + std::chrono::hours(1)), MSG_FRAME_TIME);
}

TEST(MsgGather, OneLookTakesOneFrameAndLeavesTheNext) {
    Gathered link;
    Bytes two = frame(UMSG_HOST, 1, counting(5));
    const Bytes second = frame(UMSG_HOST, 2, {});
    two.insert(two.end(), second.begin(), second.end());
    link.comes(two);
    for (const uint32_t seq : {1u, 2u}) {
        const MsgPtr got = link.look();
        ASSERT_NE(got, nullptr);
        EXPECT_EQ(msg_get_seq(got.get()), seq);
    }
}

TEST(MsgGather, ConnectionsWhoseBytesInterleaveKeepTheirFramesApart) {
    Gathered one;
    Gathered two;
    const Bytes of_one = frame(UMSG_HOST, 1, counting(40));
    const Bytes of_two = frame(UMSG_HOST, 2, Bytes(40, 0xEE));
    for (size_t at = 0; at < of_one.size(); at += 3) {
        const size_t to = std::min(at + 3, of_one.size());
        one.comes(part(of_one, at, to));
        two.comes(part(of_two, at, to));
        const MsgPtr first = one.look();
        const MsgPtr second = two.look();
        if (to < of_one.size())
            continue;
        ASSERT_TRUE(first && second);
        EXPECT_EQ(body_of(*first), counting(40));
        EXPECT_EQ(body_of(*second), Bytes(40, 0xEE));
    }
}

TEST(MsgGather, AHeaderThatIsNotWholeInTimeEndsTheConnection) {
    const LogCapture log;
    Gathered link;
    link.comes(part(frame(UMSG_HOST, 1, counting(5)), 0, 7));
    EXPECT_EQ(link.look(), nullptr);
    EXPECT_EQ(msg_gather_left(&link.gather, START), MSG_FRAME_TIME);
    EXPECT_EQ(msg_gather_left(&link.gather, START + milliseconds(1200)), milliseconds(3800));
    EXPECT_EQ(link.look(milliseconds(4999)), nullptr);
    EXPECT_FALSE(link.failed);
    EXPECT_EQ(link.look(milliseconds(5000)), nullptr);
    EXPECT_TRUE(link.failed);
    EXPECT_EQ(msg_gather_left(&link.gather, START + milliseconds(9000)), milliseconds(0));
    EXPECT_THAT(log.lines(), ElementsAre("msg_read: Cannot read message header!"));
}

TEST(MsgGather, ABodyThatTricklesBeyondItsTimeEndsTheConnectionWithItsOwnText) {
    const LogCapture log;
    Gathered link;
    const Bytes whole = frame(UMSG_HOST, 1, counting(5));
    link.comes(part(whole, 0, 9));
    EXPECT_EQ(link.look(), nullptr);
    for (size_t at = 9; at < 12; at++) { // each byte is no new beginning
        link.comes(part(whole, at, at + 1));
        EXPECT_EQ(link.look(milliseconds(2000 * (int(at) - 8))), nullptr);
        EXPECT_EQ(link.failed, at == 11);
    }
    EXPECT_THAT(log.lines(), ElementsAre("msg_read: Cannot read message body!"));
}

TEST(MsgGather, AFrameThatIsWholeAtLastCountsHoweverLateItIsSeen) {
    Gathered link;
    const Bytes whole = frame(UMSG_HOST, 1, counting(5));
    link.comes(part(whole, 0, 4));
    EXPECT_EQ(link.look(), nullptr);
    link.comes(part(whole, 4, whole.size())); // the loop was busy
    EXPECT_NE(link.look(milliseconds(60000)), nullptr);
}

TEST(MsgGather, TheTimeOfTheNextFrameBeginsAnew) {
    Gathered link;
    link.comes(frame(UMSG_HOST, 1, {}));
    EXPECT_NE(link.look(), nullptr);
    link.comes(Bytes(1, UMSG_VERSION));
    EXPECT_EQ(link.look(milliseconds(60000)), nullptr);
    EXPECT_FALSE(link.failed);
    EXPECT_EQ(msg_gather_left(&link.gather, START + milliseconds(60000)), MSG_FRAME_TIME);
}

struct Ending {
    const char* what;
    size_t bytes; // of a frame with five bytes of body
    const char* line;
};
constexpr Ending ENDINGS[] = {
    {"before a frame", 0, "msg_read: Connection closed by peer fd ["},
    {"in the header", 5, "msg_read: Cannot read message header!"},
    {"behind the header", 8, "msg_read: Cannot read message body!"},
    {"in the body", 12, "msg_read: Cannot read message body!"},
};

TEST(MsgGather, AConnectionThatEndsSaysWhere) {
    for (const Ending& ending : ENDINGS) {
        LogCapture log;
        Gathered link;
        link.comes(part(frame(UMSG_HOST, 1, counting(5)), 0, ending.bytes));
        link.pair.close_end(1);
        EXPECT_EQ(link.look(), nullptr) << ending.what;
        EXPECT_TRUE(link.failed) << ending.what;
        EXPECT_THAT(log.lines(), ElementsAre(HasSubstr(ending.line))) << ending.what;
    }
}

TEST(MsgGather, AHeaderThatIsNoneFailsAsSoonAsItIsThere) {
    const LogCapture log;
    for (const Bytes& bad : {raw_frame(2, UMSG_HOST, 5, 1, {}), raw_frame(1, UMSG_HOST, 4097, 1, {})}) {
        Gathered link;
        link.comes(part(bad, 0, 7));
        EXPECT_EQ(link.look(), nullptr);
        EXPECT_FALSE(link.failed);
        link.comes(part(bad, 7, 8));
        EXPECT_EQ(link.look(), nullptr);
        EXPECT_TRUE(link.failed);
    }
    EXPECT_THAT(log.lines(),
                ElementsAre("msg_read: API protocol version mismatch", "msg_read: length is too long"));
}

TEST(MsgGather, ABrokenDescriptorSaysWhy) {
    const LogCapture log;
    Gathered link;
    link.pair.close_end(0);
    EXPECT_EQ(link.look(), nullptr);
    EXPECT_TRUE(link.failed);
    EXPECT_THAT(log.lines(), ElementsAre("msg_read: readn Bad file descriptor"));
}

// A stream of frames, good and damaged, in pieces of any size.
TEST(MsgGather, AnyStreamInAnyPiecesGivesTheFramesThatItHoldsAndFailsAtTheFirstThatIsNone) {
    Dice dice(11);
    size_t messages = 0;
    size_t failures = 0;
    for (int round = 0; round < 2000; round++) {
        const LogCapture log;
        Gathered link;
        Bytes stream;
        for (size_t frames = 1 + dice.below(4); frames > 0; frames--) {
            Bytes one = frame(uint8_t(dice.word()), dice.word(), dice.bytes(dice.below(200)));
            if (dice.one_in(6))
                one = dice.damaged(one);
            stream.insert(stream.end(), one.begin(), one.end());
        }
        size_t consumed = 0; // by the messages that came out
        for (size_t at = 0; at < stream.size() && !link.failed;) {
            const size_t to = std::min(stream.size(), at + 1 + dice.below(dice.one_in(2) ? 4 : 300));
            link.comes(part(stream, at, to));
            at = to;
            for (MsgPtr got = link.look(); got && !link.failed; got = link.look()) {
                const Bytes body = body_of(*got);
                const size_t begin = consumed + UMSG_HEADER_SIZE;
                ASSERT_LE(begin + body.size(), at) << "round " << round;
                ASSERT_EQ(body, part(stream, begin, begin + body.size())) << "round " << round;
                ASSERT_EQ(got->hdr.msgtype, stream[consumed + 1]) << "round " << round;
                consumed = begin + body.size();
                messages++;
            }
        }
        if (link.failed) { // at a header that is none, and nowhere else
            failures++;
            ASSERT_LE(consumed + UMSG_HEADER_SIZE, stream.size());
            const unsigned len = unsigned(stream[consumed + 2] << 8 | stream[consumed + 3]);
            ASSERT_TRUE(stream[consumed] != UMSG_VERSION || len > UMSG_MAX_BODY) << "round " << round;
        }
    }
    EXPECT_GT(messages, 2000u);
    EXPECT_GT(failures, 100u);
}

} // namespace
