// A signal that comes while the connection to the controller is being made.
#include "uclient.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "../support/log_capture.h"
#include "../support/private_net.h"
#include "../support/test_shelf.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr unsigned short MONO_PORT = UCLIENT_CONTROLLER_PORT;

std::atomic<int> signals{0};

// The number of the system call in which a thread waits, -1 for one that runs.
long call_of(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/syscall");
    long number = -1;
    return file >> number ? number : -1;
}

// Sends a signal to a thread as soon as it waits in this call, and waits until it is waiting again.
void interrupt(pid_t thread, long call) {
    while (call_of(thread) != call)
        sched_yield();
    const int before = signals;
    syscall(SYS_tgkill, getpid(), thread, SIGUSR1);
    while (signals == before)
        sched_yield();
}

// A controller whose queue of connections is full: who connects waits until there is room.
class BusyController {
public:
    BusyController() : listener_(socket(AF_INET, SOCK_STREAM, 0)), first_(socket(AF_INET, SOCK_STREAM, 0)) {
        const int on = 1;
        setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(MONO_PORT);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const auto* generic = reinterpret_cast<const sockaddr*>(&address);
        EXPECT_EQ(bind(listener_, generic, sizeof address), 0);
        EXPECT_EQ(listen(listener_, 0), 0);
        EXPECT_EQ(connect(first_, generic, sizeof address), 0);
    }
    void make_room() const { EXPECT_GE(accept(listener_, nullptr, nullptr), 0); }
    void go_away() const { EXPECT_EQ(close(listener_), 0); }

private:
    int listener_;
    int first_;
};

// Connects while a signal interrupts the call itself and the wait behind it; then `end` decides.
template <typename End>
uclient_s* connect_interrupted(const BusyController& controller, End end) {
    struct sigaction action = {};
    action.sa_handler = [](int) { ++signals; }; // without SA_RESTART
    sigaction(SIGUSR1, &action, nullptr);
    const pid_t caller = gettid();
    std::thread other([&] {
        interrupt(caller, SYS_connect);
        interrupt(caller, SYS_poll);
        (controller.*end)();
    });
    uclient_s* client = uclient_connect("tool", 0, MONO_PORT, UCLIENT_SYNC_ONLY_PORT);
    other.join();
    return client;
}

class UclientSignal : public testing::Test {
protected:
    void SetUp() override {
        if (call_of(gettid()) == -1 && access("/proc/self/syscall", R_OK) != 0)
            GTEST_SKIP() << "the system doesn't tell in which call a thread waits";
    }
    TestShelf shelf{OV_SHELF_TYPE_SINGLE}; // its inner address is the loopback's
    LogCapture log;
};

TEST_F(UclientSignal, DoesNotEndTheAttempt) {
    private_net::run([&] {
        const BusyController controller;
        uclient_s* client = connect_interrupted(controller, &BusyController::make_room);
        EXPECT_NE(client, nullptr);
        EXPECT_EQ(signals, 2);
        EXPECT_THAT(log.lines(), IsEmpty());
        uclient_close(client);
    });
}

TEST_F(UclientSignal, LeavesTheReasonOfAFailure) {
    private_net::run([&] {
        const BusyController controller;
        EXPECT_EQ(connect_interrupted(controller, &BusyController::go_away), nullptr);
        EXPECT_EQ(signals, 2);
        EXPECT_THAT(log.lines(), ElementsAre("uclient_connect: sync connect failed:  " +
                                             std::to_string(ECONNREFUSED) + " " + strerror(ECONNREFUSED)));
    });
}

} // namespace
