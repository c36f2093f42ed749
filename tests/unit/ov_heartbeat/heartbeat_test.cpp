// Heartbeats over real datagram sockets, in a /tmp of their own.
#include "uds_heartbeat.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "../ov_common/private_root.h"
#include "ov_product_log.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct LogLine {
    int level;
    std::string text;
    bool operator==(const LogLine&) const = default;
};

std::vector<LogLine> g_log;
time_t g_now = 1000000;

time_t test_clock(time_t* /*unused*/) {
    return g_now;
}

void keep_log(int level, const char* /*module*/, const char* text) {
    g_log.push_back({level, text});
}

void with_log(const std::function<void()>& body) {
    private_root::run([&] {
        ov_product_log_set_tap(keep_log);
        hb_uds_set_clock(test_clock);
        body();
    });
}

// The platform's monitor, played by a plain socket.
class Monitor {
public:
    Monitor() : fd_(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        strcpy(address.sun_path, "/tmp/uds_hb.socket"); // NOLINT
        unlink(address.sun_path);
        EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    }
    ~Monitor() { close(fd_); } // the file stays, as after a monitor that died
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    // Bytes of the next datagram, or -1 when there is none.
    ssize_t receive(void* to, size_t size) const { return recv(fd_, to, size, 0); }

    // Datagrams waiting, each checked to be this process's id.
    int heartbeats() const {
        int count = 0;
        char message[64];
        while (true) {
            const ssize_t got = receive(message, sizeof(message));
            if (got < 0)
                return count;
            int32_t pid = 0;
            EXPECT_EQ(got, ssize_t(sizeof(pid)));
            memcpy(&pid, message, sizeof(pid));
            EXPECT_EQ(pid, getpid());
            ++count;
        }
    }

private:
    int fd_;
};

std::string sent_text() {
    char text[100];
    snprintf(text, sizeof(text), "%-10s [pid %5d] send heartbeat message ", "gpon", getpid());
    return text;
}

std::string failed_text(int error) {
    char text[100];
    snprintf(text, sizeof(text), "%-10s [pid %5d] send heartbeat message failed. Ret %d ", "gpon", getpid(),
             error);
    return text;
}

// A client that has sent one heartbeat to a monitor that then died without a trace.
void lose_monitor_with_its_file() {
    {
        const Monitor monitor;
        ASSERT_EQ(hb_uds_task_client("gpon"), getpid());
    }
    unlink(HB_SOCKET_PATH);
    g_log.clear();
}

TEST(Heartbeat, TheClientFormSendsThePidAndLogsAtInfoLevel) {
    with_log([] {
        const Monitor monitor;
        EXPECT_EQ(hb_uds_task("gpon", HB_ROLE_CLIENT), 0) << "the first call opens the socket only";
        EXPECT_EQ(monitor.heartbeats(), 0);
        EXPECT_EQ(hb_uds_task_client("gpon"), getpid());
        EXPECT_EQ(hb_uds_task_client("gpon"), getpid()) << "its caller has the timer";
        EXPECT_EQ(monitor.heartbeats(), 2);
        const LogLine line = {OV_LOG_LVL_INFO, sent_text()};
        EXPECT_THAT(g_log, ElementsAre(line, line));
    });
}

TEST(Heartbeat, TheClientFormOpensTheSocketByItself) {
    with_log([] {
        const Monitor monitor;
        EXPECT_EQ(hb_uds_task_client("gpon"), getpid());
        EXPECT_EQ(monitor.heartbeats(), 1);
    });
}

TEST(Heartbeat, NoMonitorHeartbeatsFailSilentlyWithEconnrefused) {
    with_log([] {
        { const Monitor gone; }
        ASSERT_EQ(access(HB_SOCKET_PATH, F_OK), 0);
        EXPECT_EQ(hb_uds_task_client("gpon"), 0);
        EXPECT_THAT(g_log, IsEmpty());
    });
}

TEST(Heartbeat, EconnrefusedStaysSilentAfterASuccessToo) {
    with_log([] {
        {
            const Monitor monitor;
            ASSERT_EQ(hb_uds_task_client("gpon"), getpid());
        }
        g_log.clear();
        EXPECT_EQ(hb_uds_task_client("gpon"), 0);
        EXPECT_THAT(g_log, IsEmpty());
    });
}

TEST(Heartbeat, AMonitorThatNeverWasIsSilent) {
    with_log([] {
        EXPECT_EQ(hb_uds_task_client("gpon"), 0); // ENOENT, but nothing was ever sent
        EXPECT_THAT(g_log, IsEmpty());
    });
}

TEST(Heartbeat, AFailingSendAfterASuccessIsLoggedWithItsErrno) {
    with_log([] {
        lose_monitor_with_its_file();
        EXPECT_EQ(hb_uds_task_client("gpon"), 0);
        EXPECT_THAT(g_log, ElementsAre(LogLine{OV_LOG_LVL_ERROR, failed_text(ENOENT)}));
    });
}

TEST(Heartbeat, AMonitorThatComesBackGetsHeartbeatsAgain) {
    with_log([] {
        lose_monitor_with_its_file();
        EXPECT_EQ(hb_uds_task_client("gpon"), 0);
        const Monitor monitor;
        EXPECT_EQ(hb_uds_task_client("gpon"), getpid());
        EXPECT_EQ(monitor.heartbeats(), 1);
    });
}

TEST(Heartbeat, AFullMonitorDoesNotBlockTheSender) {
    with_log([] {
        const Monitor monitor;
        int sent = 0;
        while (sent < 100000 && hb_uds_task_client("gpon") != 0)
            ++sent;
        EXPECT_GT(sent, 0);
        EXPECT_LT(sent, 100000) << "the queue never filled";
        EXPECT_EQ(g_log.back(), (LogLine{OV_LOG_LVL_ERROR, failed_text(EAGAIN)}));
        EXPECT_EQ(monitor.heartbeats(), sent);
        EXPECT_EQ(hb_uds_task_client("gpon"), getpid());
    });
}

TEST(Heartbeat, TheOlderClientFormSendsWhen15SecondsHavePassed) {
    with_log([] {
        const Monitor monitor;
        EXPECT_EQ(hb_uds_task("gpon", HB_ROLE_CLIENT), 0);
        g_now += 14;
        EXPECT_EQ(hb_uds_task("gpon", HB_ROLE_CLIENT), 0);
        EXPECT_EQ(monitor.heartbeats(), 0);
        g_now += 1;
        EXPECT_EQ(hb_uds_task("gpon", HB_ROLE_CLIENT), getpid());
        EXPECT_EQ(hb_uds_task("gpon", HB_ROLE_CLIENT), 0);
        EXPECT_EQ(monitor.heartbeats(), 1);
        g_now += 15;
        EXPECT_EQ(hb_uds_task("gpon", HB_ROLE_CLIENT), getpid());
        EXPECT_EQ(monitor.heartbeats(), 1);
    });
}

TEST(Heartbeat, AClockThatWentBackStartsThePeriodAnew) {
    with_log([] {
        const Monitor monitor;
        hb_uds_task("gpon", HB_ROLE_CLIENT);
        g_now -= 3600;
        EXPECT_EQ(hb_uds_task("gpon", HB_ROLE_CLIENT), 0);
        g_now += 14;
        EXPECT_EQ(hb_uds_task("gpon", HB_ROLE_CLIENT), 0);
        g_now += 1;
        EXPECT_EQ(hb_uds_task("gpon", HB_ROLE_CLIENT), getpid());
        EXPECT_EQ(monitor.heartbeats(), 1);
    });
}

TEST(Heartbeat, AnErrorClosesTheOlderFormsSocketAndTheNextCallOpensItAgain) {
    with_log([] {
        hb_uds_task("gpon", HB_ROLE_CLIENT);
        g_now += 15;
        EXPECT_EQ(hb_uds_task("gpon", HB_ROLE_CLIENT), 0); // ENOENT
        const Monitor monitor;
        g_now += 15;
        EXPECT_EQ(hb_uds_task("gpon", HB_ROLE_CLIENT), 0) << "opens";
        EXPECT_EQ(hb_uds_task("gpon", HB_ROLE_CLIENT), getpid()) << "sends";
        EXPECT_EQ(monitor.heartbeats(), 1);
    });
}

TEST(Heartbeat, TheMonitorRoleReplacesAnOldFileAndReadsPids) {
    with_log([] {
        private_root::write_file(HB_SOCKET_PATH, "left over");
        EXPECT_EQ(hb_uds_task("monitor", HB_ROLE_MONITOR), 0);
        EXPECT_EQ(hb_uds_task("monitor", HB_ROLE_MONITOR), 0) << "nothing there, doesn't wait";
        pid_t sender = 0;
        const int status = private_root::run_child([] { hb_uds_task_client("gpon"); });
        EXPECT_EQ(status, 0);
        sender = hb_uds_task("monitor", HB_ROLE_MONITOR);
        EXPECT_GT(sender, 0);
        EXPECT_NE(sender, getpid());
        EXPECT_EQ(g_log.back(), (LogLine{OV_LOG_LVL_INFO, "recv heartbeat: from " + std::to_string(sender)}));
        EXPECT_EQ(hb_uds_task("monitor", HB_ROLE_MONITOR), 0);
    });
}

TEST(Heartbeat, TheMonitorRoleDropsShortMessagesAndReadsTheHeadOfLongOnes) {
    with_log([] {
        hb_uds_task("monitor", HB_ROLE_MONITOR);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        strcpy(address.sun_path, HB_SOCKET_PATH); // NOLINT
        const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
        ASSERT_EQ(connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        ASSERT_EQ(write(fd, "abc", 3), 3);
        ASSERT_EQ(write(fd, "", 0), 0);
        const int32_t words[4] = {4711, 1, 2, 3};
        ASSERT_EQ(write(fd, words, sizeof(words)), ssize_t(sizeof(words)));
        EXPECT_EQ(hb_uds_task("monitor", HB_ROLE_MONITOR), 0);
        EXPECT_EQ(hb_uds_task("monitor", HB_ROLE_MONITOR), 0);
        EXPECT_THAT(g_log, IsEmpty());
        EXPECT_EQ(hb_uds_task("monitor", HB_ROLE_MONITOR), 4711);
        close(fd);
    });
}

TEST(Heartbeat, ASocketThatCannotBeBoundIsLoggedAndTriedAgain) {
    with_log([] {
        ASSERT_EQ(mkdir(HB_SOCKET_PATH, 0700), 0);
        EXPECT_EQ(init_uds_hb(HB_ROLE_MONITOR), EADDRINUSE);
        EXPECT_THAT(g_log, testing::SizeIs(1));
        EXPECT_EQ(hb_uds_task("monitor", HB_ROLE_MONITOR), 0);
        ASSERT_EQ(rmdir(HB_SOCKET_PATH), 0);
        EXPECT_EQ(hb_uds_task("monitor", HB_ROLE_MONITOR), 0) << "opens";
        EXPECT_EQ(private_root::run_child([] { EXPECT_NE(hb_uds_task_client("gpon"), 0); }), 0);
        EXPECT_GT(hb_uds_task("monitor", HB_ROLE_MONITOR), 0);
    });
}

} // namespace
