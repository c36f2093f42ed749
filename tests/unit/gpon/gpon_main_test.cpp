#include "gpon_main.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <sys/socket.h>
#include <unistd.h>

#include "hal_sock.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "uclient.h"

#include "../kavo/frr_fixture.h"
#include "../support/frames.h"
#include "../support/log_capture.h"

using testing::Contains;
using testing::ContainsRegex;

namespace {

// The handlers with a socket pair in the place of the controller, run by the real event loop.
class GponMain : public testing::Test {
protected:
    GponMain() {
        master = frr_master();
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair_), 0);
        uclient = &client_;
    }
    ~GponMain() override {
        thread_cancel_event(frr_master(), &client_);
        thread_cancel_event(frr_master(), nullptr);
        uclient = nullptr;
        close(pair_[0]);
        close(pair_[1]);
    }

    int ours() const { return pair_[0]; }
    int controllers() const { return pair_[1]; }
    void close_controllers() {
        close(pair_[1]);
        pair_[1] = -1;
    }

    // Runs the next due event.
    static void run_one() {
        struct thread event;
        ASSERT_NE(thread_fetch(frr_master(), &event), nullptr);
        thread_call(&event);
    }

    LogCapture log_;
    uclient_s client_ = {};
    int pair_[2] = {-1, -1};
};

std::vector<std::string> hosts;
int note_host(umsg_host_t* host) {
    hosts.emplace_back(host->name);
    return 0;
}

Bytes host_frame(const char* name) {
    umsg_host_t host = {};
    snprintf(host.name, sizeof host.name, "%s", name);
    return frame(UMSG_HOST, 0, bytes_of(host));
}

TEST_F(GponMain, ReadDispatchesOneMessageAndArmsItselfAgain) {
    hosts.clear();
    client_.host = note_host;
    kavo_add_read(master, gpon_read, &client_, ours(), nullptr);
    for (const char* name : {"olt1", "olt2"})
        write_all(controllers(), host_frame(name));
    run_one();
    EXPECT_EQ(hosts, std::vector<std::string>{"olt1"});
    run_one();
    EXPECT_EQ(hosts, (std::vector<std::string>{"olt1", "olt2"}));
}

TEST_F(GponMain, HalfAMessageWaitsForItsRestWhileTheLoopGoesOn) {
    hosts.clear();
    client_.host = note_host;
    int other[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, other), 0);
    for (const int fd : {ours(), other[0]})
        kavo_add_read(master, gpon_read, &client_, fd, nullptr);
    const Bytes slow = host_frame("slow");
    write_all(controllers(), {slow.begin(), slow.begin() + 5});
    write_all(other[1], host_frame("quick"));
    ASSERT_TRUE(frr_run_until([] { return hosts.size() == 1; }));
    EXPECT_EQ(hosts, std::vector<std::string>{"quick"});
    for (auto byte = slow.begin() + 5; byte != slow.end(); ++byte) {
        write_all(controllers(), {byte, byte + 1});
        run_one();
    }
    EXPECT_EQ(hosts, (std::vector<std::string>{"quick", "slow"}));
    write_all(other[1], host_frame("again"));
    ASSERT_TRUE(frr_run_until([] { return hosts.size() == 3; }));
    close(other[1]);
    ASSERT_TRUE(frr_run_until([&] { return fcntl(other[0], F_GETFD) == -1; }));
}

TEST_F(GponMain, AMessageThatIsNeverWholeEndsItsConnection) {
    const Bytes slow = host_frame("slow");
    write_all(controllers(), {slow.begin(), slow.begin() + 20});
    kavo_add_read(master, gpon_read, &client_, ours(), nullptr);
    run_one();
    FrrSession session(ENABLE_NODE);
    session.run("show thread timers");
    const std::string text = session.output();
    EXPECT_THAT(text, ContainsRegex("gpon_half_message.*(00:00:0[45]|[45]\\.)")) << text;
    struct thread event; // the timer's end, and bytes that trickle on
    while (fcntl(ours(), F_GETFD) != -1 && thread_fetch(frr_master(), &event) != nullptr)
        thread_call(&event);
    EXPECT_THAT(log_.lines(), Contains("msg_read: Cannot read message body!"));
    EXPECT_THAT(log_.lines(), Contains("Connection closed, exiting..."));
    pair_[0] = -1;
}

TEST_F(GponMain, APeerThatFloodsHasItsTurnWithTheOthers) {
    hosts.clear();
    client_.host = note_host;
    int other[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, other), 0);
    for (int n = 0; n < 100; n++)
        write_all(controllers(), host_frame("flood"));
    write_all(other[1], host_frame("quick"));
    for (const int fd : {ours(), other[0]})
        kavo_add_read(master, gpon_read, &client_, fd, nullptr);
    ASSERT_TRUE(frr_run_until([] { return !hosts.empty() && hosts.back() == "quick"; }));
    EXPECT_LE(hosts.size(), 3u);
    close(other[1]);
    ASSERT_TRUE(frr_run_until([&] { return fcntl(other[0], F_GETFD) == -1; }));
}

TEST_F(GponMain, ReadOfAClosedConnectionClosesOursAndIsNotArmedAgain) {
    close_controllers();
    kavo_add_read(master, gpon_read, &client_, ours(), nullptr);
    run_one();
    EXPECT_THAT(log_.lines(), Contains("Connection closed, exiting..."));
    EXPECT_EQ(fcntl(ours(), F_GETFD), -1);
    pair_[0] = -1;
}

TEST_F(GponMain, HeartbeatTimerArmsItselfForFifteenSeconds) {
    struct thread now = {};
    gpon_heartbeat_timer(&now);
    // The loop's only timer is the next heartbeat.
    FrrSession session(ENABLE_NODE);
    session.run("show thread timers");
    const std::string text = session.output();
    EXPECT_THAT(text, ContainsRegex("gpon_heartbeat_timer.*(00:00:15|00:00:14|1[45]\\.)")) << text;
}

TEST_F(GponMain, NetlinkReceiveReportsAnEmptyQueueAsFailure) {
    char byte = 0;
    ASSERT_EQ(write(controllers(), &byte, 1), 1);
    struct thread event = {};
    event.u.fd = ours();
    EXPECT_EQ(gpon_nl_receive(&event), -1);
}

// A body as a card sends it: the message's head and the record behind it.
template <typename Record>
std::string event_body(int32_t action, const Record& record) {
    ov_hal_gpon_msg_head_t head = {};
    head.action = action;
    std::string body(sizeof head + sizeof record, '\0');
    memcpy(body.data(), &head, sizeof head);
    memcpy(body.data() + sizeof head, &record, sizeof record);
    body.resize(body.size() + sizeof(hal_nlmsghdr)); // cards count the frame's header too
    return body;
}

TEST(GponNlMsg, HandsAnEventOnWithItsTypeBodyAndLength) {
    LogCapture log;
    ov_gpon_trap_onu_state_attr_t event = {};
    event.onuIfindex = 4711;
    std::string body = event_body(OV_HAL_GPON_MSG_ACTION_SET, event);
    const auto length = static_cast<unsigned>(body.size());
    EXPECT_EQ(gpon_nl_msg(OV_HAL_MSG_GPON_ONUSTATES_TRAP, body.data(), length), 0u);
    EXPECT_THAT(log.lines(), Contains(testing::HasSubstr("4711")));

    LogCapture::clear();
    EXPECT_EQ(gpon_nl_msg(OV_HAL_MSG_GPON_ONUSTATES_TRAP, body.data(), 20), 0u) << "too short for its record";
    EXPECT_EQ(gpon_nl_msg(0, body.data(), length), 0u) << "no event";
    EXPECT_EQ(gpon_nl_msg(OV_HAL_MSG_GPON_ONUSTATES_TRAP, nullptr, 0), 0u);
    EXPECT_THAT(log.lines(), testing::Not(Contains(testing::HasSubstr("4711"))));
}

TEST(GponSignals, TableHoldsFourRowsThatStandReady) {
    ASSERT_EQ(gpon_signals.size(), 4u);
    EXPECT_EQ(gpon_signals[0].signal, SIGHUP);
    EXPECT_EQ(gpon_signals[1].signal, SIGUSR1);
    EXPECT_EQ(gpon_signals[2].signal, SIGINT);
    EXPECT_EQ(gpon_signals[3].signal, SIGTERM);
    EXPECT_EQ(gpon_signals[2].handler, gpon_signals[3].handler);
    LogCapture log;
    gpon_signals[0].handler();
    EXPECT_THAT(log.lines(), Contains("SIGHUP received"));
}

TEST(GponSignals, IntAndTermEndTheProcessWithStatusZeroAfterALogLine) {
    for (const size_t row : {2u, 3u}) {
        LogCapture log;
        EXPECT_EXIT(
            {
                uclient = nullptr;
                gpon_signals[row].handler();
            },
            testing::ExitedWithCode(0), "");
        EXPECT_THAT(log.file_text(), testing::EndsWith("Terminating on signal\n"));
    }
}

TEST(GponSignals, TheEndLetsGoOfTheController) {
    EXPECT_EXIT(
        {
            int sync[2];
            int async[2];
            if (pipe(sync) != 0 || pipe(async) != 0)
                abort();
            uclient_s client = {};
            client.fd_sync = sync[0];
            client.fd_async = async[0];
            uclient = &client;
            // What stands in the end of the process sees both closed.
            static int left[2];
            left[0] = sync[0];
            left[1] = async[0];
            atexit([] {
                const bool open = fcntl(left[0], F_GETFD) != -1 || fcntl(left[1], F_GETFD) != -1;
                _exit(open ? 3 : 0);
            });
            gpon_signals[3].handler();
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
