#include "ov_clock.h"
#include "ov_local_time.h"

#include <gtest/gtest.h>

#include <thread>

using namespace std::chrono_literals;

namespace {

timespec set_wall = {};
ov_mono_time_t set_mono;

constexpr ov_clock_source_t SOURCE = {.wall = [] { return set_wall; }, .mono = [] { return set_mono; }};

class Clock : public testing::Test {
protected:
    Clock() {
        set_wall = {.tv_sec = 1'000'000'000, .tv_nsec = 5};
        set_mono = ov_mono_time_t(77s);
        ov_clock_set_source(&SOURCE);
    }
    ~Clock() override { ov_clock_set_source(nullptr); }
};

TEST_F(Clock, ShowsTheTimeThatWasSet) {
    EXPECT_EQ(ov_wall_time(), 1'000'000'000);
    EXPECT_EQ(ov_wall_now().tv_nsec, 5);
    EXPECT_EQ(ov_mono_now(), ov_mono_time_t(77s));
    set_mono += 15min;
    EXPECT_EQ(ov_mono_now(), ov_mono_time_t(77s + 15min));
}

TEST_F(Clock, TimeStampsOfRowsGoByIt) {
    EXPECT_EQ(get_local_time(), 1'000'000'000u);
    set_wall.tv_sec -= 3600;
    EXPECT_EQ(get_local_time(), 1'000'000'000u - 3600);
}

TEST_F(Clock, AnotherThreadSeesTheSameTime) {
    time_t seen = 0;
    std::thread([&seen] { seen = ov_wall_time(); }).join();
    EXPECT_EQ(seen, 1'000'000'000);
}

TEST_F(Clock, WaitsInTheKernelGoByTheRealTime) {
    const auto before = std::chrono::steady_clock::now();
    const auto shown = ov_wait_now();
    EXPECT_GE(shown, before);
    EXPECT_LE(shown, std::chrono::steady_clock::now());
}

TEST_F(Clock, IsTheSystemsAgainWhenTheSourceIsTakenAway) {
    ov_clock_set_source(nullptr);
    EXPECT_NEAR(static_cast<double>(ov_wall_time()), static_cast<double>(time(nullptr)), 2);
    EXPECT_NEAR(static_cast<double>(ov_wall_now().tv_sec), static_cast<double>(time(nullptr)), 2);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_GE(ov_mono_now(), before);
}

} // namespace
