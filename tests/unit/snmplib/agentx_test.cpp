// The agent frame on a real event loop, without a master agent. Each test has a process and a file system of
// its own: the library can be set up only once.
#include "agentx.h"

#include <gmock/gmock.h>

#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <thread>

#include "../kavo/frr_fixture.h"
#include "../ov_common/private_root.h"
#include "../support/log_capture.h"
#include "../support/test_clock.h"
#include "agentx_link.h"

using testing::Contains;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using namespace std::chrono_literals;

namespace {

// A descriptor that the library serves, with a byte to read whenever the test says so.
class ServedDescriptor {
public:
    explicit ServedDescriptor(int at_least = 0) {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        own_ = ends[0];
        served_ = fcntl(ends[1], F_DUPFD, at_least);
        close(ends[1]);
        netsnmp_session session = {};
        snmp_sess_init(&session);
        session.version = SNMP_VERSION_2c;
        auto* transport = static_cast<netsnmp_transport*>(calloc(1, sizeof(netsnmp_transport)));
        transport->sock = served_;
        transport->f_recv = [](netsnmp_transport* t, void* buffer, int size, void** opaque, int* length) {
            *opaque = nullptr;
            *length = 0;
            ++reads;
            return static_cast<int>(read(t->sock, buffer, static_cast<size_t>(size)));
        };
        transport->f_close = [](netsnmp_transport*) { return 0; };
        session_ = snmp_add(&session, transport, nullptr, nullptr);
    }
    int fd() const { return served_; }
    void fill() const { EXPECT_EQ(write(own_, "x", 1), 1); }
    void unregister() { snmp_close(session_); }

    static inline int reads = 0;

private:
    int own_ = -1;
    int served_ = -1;
    netsnmp_session* session_ = nullptr;
};

int fired = 0;
void count(unsigned int /*number*/, void* /*arg*/) {
    ++fired;
}

void in_agent(const std::function<void()>& body) {
    private_root::run([&] {
        const LogCapture log;
        smux_init(frr_master());
        body();
    });
}

void run_one_event() {
    struct thread event;
    ASSERT_NE(thread_fetch(frr_master(), &event), nullptr);
    thread_call(&event);
}

TEST(Agentx, SmuxTrapBeforeSmuxInitReturnsZeroAndSendsNothing) {
    private_root::run([] {
        const oid name[] = {1, 3, 6, 1};
        EXPECT_EQ(smux_trap(nullptr, 0, name, 4, name, 4, nullptr, 0, nullptr, 0, 1), 0);
        EXPECT_EQ(agentx_is_enabled(), 0);
    });
}

TEST(Agentx, WithNoMasterAgentAlarmsStillRunOnTheLoop) {
    in_agent([] {
        ASSERT_NE(snmp_alarm_register(1, SA_REPEAT, count, nullptr), 0u);
        agentx_snmp_update();
        EXPECT_TRUE(frr_run_until([] { return fired == 2; }));
    });
}

TEST(Agentx, AlarmsOfTheDaemonAreTheLibrarysOnTheLoop) {
    in_agent([] {
        static int repeated = 0;
        static int given_back = 0;
        const auto ring = [](unsigned, void* rings) { ++*static_cast<int*>(rings); };
        const timeval soon = {.tv_sec = 0, .tv_usec = 2000};
        const unsigned number = agentx_alarm_register_hr(soon, 0, ring, &given_back);
        EXPECT_NE(agentx_alarm_register_hr(soon, SA_REPEAT, ring, &repeated), 0u);
        EXPECT_NE(agentx_alarm_register(1, 0, count, nullptr), 0u);
        agentx_alarm_unregister(number);
        agentx_snmp_update();
        EXPECT_TRUE(frr_run_until([] { return fired == 1; }));
        EXPECT_GT(repeated, 1);
        EXPECT_EQ(given_back, 0);
    });
}

TEST(Agentx, AlarmsGoByATestsClock) {
    in_agent([] {
        TestClock clock;
        const unsigned quarter_hour = agentx_alarm_register(900, SA_REPEAT, count, nullptr);
        agentx_alarm_register_hr({.tv_sec = 0, .tv_usec = 1500}, 0, count, nullptr);
        clock.advance(1h);
        EXPECT_EQ(fired, 5);
        agentx_alarm_unregister(quarter_hour);
        clock.advance(1h);
        EXPECT_EQ(fired, 5);
    });
}

TEST(Agentx, AlarmsLeaveTheSignalToTheCrashHandler) {
    in_agent([] {
        struct sigaction before = {};
        sigaction(SIGALRM, nullptr, &before);
        snmp_alarm_register(1, 0, count, nullptr);
        struct sigaction after = {};
        sigaction(SIGALRM, nullptr, &after);
        EXPECT_EQ(after.sa_handler, before.sa_handler);
        EXPECT_EQ(after.sa_handler, SIG_DFL);
        EXPECT_EQ(alarm(0), 0u); // none is pending
    });
}

TEST(Agentx, ARequestThatWaitsSkipsTheTimeoutWorkUntilTheNextPass) {
    in_agent([] {
        ServedDescriptor served;
        agentx_snmp_update();
        agentx_set_debug(1);
        snmp_alarm_register_hr({.tv_sec = 0, .tv_usec = 1000}, 0, count, nullptr);
        served.fill();
        // Something else runs first; the loop has found our descriptor readable by then.
        bool ran = false;
        thread_add_event(
            frr_master(), [](struct thread* t) { *static_cast<bool*>(THREAD_ARG(t)) = true; }, &ran, 0,
            nullptr);
        while (agentx_snmp_read_ready() == 0)
            run_one_event();
        usleep(2000); // the alarm is due
        const LogCapture log;
        agentx_snmp_timeout(nullptr);
        EXPECT_EQ(fired, 0);
        EXPECT_THAT(log.lines(), Contains("snmp_read ready, skip snmp_timeout handle!!!"));
        EXPECT_TRUE(frr_run_until([] { return fired == 1; }));
        EXPECT_GE(ServedDescriptor::reads, 1);
    });
}

TEST(Agentx, AfterTheReadEventOfADescriptorHasRunItIsArmedAgainInTheSamePass) {
    in_agent([] {
        ServedDescriptor served;
        agentx_snmp_update();
        for (int round = 1; round <= 3; ++round) {
            served.fill();
            EXPECT_TRUE(frr_run_until([round] { return ServedDescriptor::reads == round; }));
        }
    });
}

TEST(Agentx, AnEventWhoseDescriptorHasBeenReadAlreadyDoesNotWait) {
    in_agent([] {
        ServedDescriptor served;
        struct thread event = {};
        event.u.fd = served.fd();
        EXPECT_EQ(agentx_snmp_read(&event), 0); // would hang in a read
        EXPECT_EQ(ServedDescriptor::reads, 0);
        EXPECT_EQ(agentx_read(&event), 0);
        EXPECT_EQ(ServedDescriptor::reads, 0);
    });
}

TEST(Agentx, ADescriptorThatTheLibraryClosesLosesItsEvent) {
    in_agent([] {
        agentx_set_debug(1);
        ServedDescriptor served;
        const LogCapture log;
        agentx_snmp_update();
        const std::string fd = std::to_string(served.fd());
        EXPECT_THAT(log.lines(), Contains(ContainsRegex("^add new agentx_read, fd " + fd + ", thread 0x")));
        served.unregister();
        agentx_snmp_update();
        EXPECT_THAT(log.lines(), Contains(ContainsRegex("^remove agentx_read, fd " + fd + ", thread 0x")));
        served.fill(); // nobody reads it
        agentx_snmp_update();
        EXPECT_EQ(agentx_snmp_read_ready(), 0);
    });
}

// A connection that is lost and made again within one pass, as the library does.
TEST(Agentx, ADescriptorThatIsClosedAndComesBackWithTheSameNumberIsServed) {
    in_agent([] {
        ServedDescriptor first(200); // the socket pairs take low numbers
        agentx_snmp_update();
        const int fd = first.fd();
        first.unregister();
        close(fd);
        const ServedDescriptor second(fd);
        ASSERT_EQ(second.fd(), fd);
        agentx_snmp_update();
        second.fill();
        EXPECT_TRUE(frr_run_until([] { return ServedDescriptor::reads == 1; }));
        second.fill();
        EXPECT_TRUE(frr_run_until([] { return ServedDescriptor::reads == 2; }));
    });
}

TEST(Agentx, ADescriptorOf1024OrAboveIsNotServedAndSaidOnce) {
    in_agent([] {
        rlimit limit = {};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, 1100);
        if (setrlimit(RLIMIT_NOFILE, &limit) != 0)
            GTEST_SKIP() << "no descriptors of that height";
        ServedDescriptor high(AGENTX_FD_MAX);
        ServedDescriptor low;
        ASSERT_GE(high.fd(), AGENTX_FD_MAX);
        const LogCapture log;
        agentx_snmp_update();
        agentx_snmp_update();
        const auto lines = log.lines();
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                                [](const std::string& line) { return line.find("too high") != line.npos; }),
                  1);
        high.fill();
        low.fill(); // goes on as usual
        EXPECT_TRUE(frr_run_until([] { return ServedDescriptor::reads > 0; }));
    });
}

TEST(Agentx, StartingTheAgentAgainKeepsTheAlarms) {
    in_agent([] {
        snmp_alarm_register(1, 0, count, nullptr);
        snmp_agent_start();
        EXPECT_EQ(agentx_is_enabled(), 1);
        agentx_snmp_update();
        EXPECT_TRUE(frr_run_until([] { return fired == 1; }));
    });
}

TEST(Agentx, AnUpdateFromAnotherThreadIsDoneByTheLoop) {
    in_agent([] {
        ServedDescriptor served;
        served.fill();
        std::thread([] { agentx_snmp_update(); }).join();
        EXPECT_TRUE(frr_run_until([] { return ServedDescriptor::reads > 0; }));
    });
}

TEST(Agentx, ThePersistentStateOfTheLibraryIsNotUsed) {
    private_root::run([] {
        setenv("HOME", "/tmp/home", 1);
        const LogCapture log;
        smux_init(frr_master());
        EXPECT_FALSE(std::filesystem::exists("/tmp/home"));
        EXPECT_FALSE(std::filesystem::exists("/var/lib/snmp"));
        EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("MIB search path"))));
    });
}

} // namespace
