// What a service manager is told, over a real datagram socket.
#include "service_manager.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <gmock/gmock.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

// The manager, on an abstract name of this process.
class Manager {
public:
    Manager() : name_("@gpon-notify-test-" + std::to_string(getpid())) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        memcpy(address.sun_path + 1, name_.data() + 1, name_.size() - 1);
        EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&address),
                       static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name_.size())),
                  0);
    }
    ~Manager() { close(fd_); }
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;

    const std::string& name() const { return name_; }
    std::string receive() const {
        char text[256];
        const ssize_t size = recv(fd_, text, sizeof text, 0);
        return size < 0 ? "nothing" : std::string(text, static_cast<size_t>(size));
    }

private:
    std::string name_;
    int fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
};

class ServiceManager : public testing::Test {
protected:
    void SetUp() override { forget(); }
    void TearDown() override { forget(); }
    static void forget() {
        for (const char* name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"})
            unsetenv(name);
    }
    static std::chrono::milliseconds interval(const char* usec) {
        setenv("WATCHDOG_USEC", usec, 1);
        return service_watchdog_interval();
    }
};

TEST_F(ServiceManager, HearsWhatItIsTold) {
    const Manager manager;
    setenv("NOTIFY_SOCKET", manager.name().c_str(), 1);
    EXPECT_TRUE(service_manager_tell("READY=1\nSTATUS=In service"));
    EXPECT_EQ(manager.receive(), "READY=1\nSTATUS=In service");
}

TEST_F(ServiceManager, IsToldNothingUnlessItAsks) {
    const Manager manager;
    EXPECT_FALSE(service_manager_tell("READY=1"));
    EXPECT_EQ(manager.receive(), "nothing");
}

TEST_F(ServiceManager, ThatIsNotThereStopsNobody) {
    for (const std::string& name : {std::string("/nowhere/notify"), std::string("relative"), std::string("@"),
                                    std::string(), "/" + std::string(200, 'x')}) {
        setenv("NOTIFY_SOCKET", name.c_str(), 1);
        EXPECT_FALSE(service_manager_tell("READY=1")) << name;
    }
}

TEST_F(ServiceManager, IsGivenSignsOfLifeAtHalfItsInterval) {
    EXPECT_EQ(interval("180000000"), 90s);
    EXPECT_EQ(interval("3000"), 1ms);
    EXPECT_EQ(interval("1"), 1ms);
    EXPECT_EQ(interval("18446744073709551615"), 1h);
}

TEST_F(ServiceManager, WatchesNobodyUnlessItSaysSo) {
    EXPECT_EQ(service_watchdog_interval(), 0ms);
    for (const char* usec : {"", "0", "-1", "ten", "10 seconds", "18446744073709551616"})
        EXPECT_EQ(interval(usec), 0ms) << usec;
}

TEST_F(ServiceManager, WatchesTheProcessThatItNames) {
    setenv("WATCHDOG_PID", std::to_string(getpid()).c_str(), 1);
    EXPECT_EQ(interval("2000000"), 1s);
    setenv("WATCHDOG_PID", std::to_string(getppid()).c_str(), 1);
    EXPECT_EQ(interval("2000000"), 0ms);
}

} // namespace
