// What optics read: usual values, and those that somebody has set.
#include "readings.h"

#include <gtest/gtest.h>

namespace {

constexpr uint32_t INDEX = 0x4C400000;

int32_t value_of(uint16_t message, const char* field, const SetReadings& set) {
    for (const Reading& reading : readings_of(message, INDEX, set))
        if (reading.field == field)
            return reading.value;
    ADD_FAILURE() << "no " << field;
    return 0;
}

TEST(Readings, AreUsualUntilTheyAreSet) {
    EXPECT_NEAR(value_of(933, "temp", {}), 4000, 30);
    EXPECT_EQ(value_of(932, "temp_high", {}), 7500);
    EXPECT_TRUE(readings_of(904, INDEX, {}).empty());
    SetReadings set;
    set[{933, "temp"}] = {.value = -5};
    EXPECT_EQ(value_of(933, "temp", set), -5);
    EXPECT_NEAR(value_of(933, "vcc", set), 3300, 10);
    EXPECT_NEAR(value_of(929, "temperature", set), 4500, 30); // another message
}

TEST(Readings, DriftFromWhereTheyWereSet) {
    const auto now = std::chrono::steady_clock::now();
    SetReadings set;
    set[{933, "temp"}] = {.value = 100, .drift = 50, .since = now - std::chrono::seconds(10)};
    set[{933, "bias"}] = {.value = 100, .drift = -50, .since = now - std::chrono::seconds(10)};
    EXPECT_GE(value_of(933, "temp", set), 600);
    EXPECT_LE(value_of(933, "bias", set), -400);
    set[{933, "vcc"}] = {.value = INT32_MAX, .drift = INT32_MAX, .since = now - std::chrono::hours(1)};
    set[{933, "txPwr"}] = {.value = INT32_MIN, .drift = INT32_MIN, .since = now - std::chrono::hours(1)};
    EXPECT_EQ(value_of(933, "vcc", set), INT32_MAX);
    EXPECT_EQ(value_of(933, "txPwr", set), INT32_MIN);
}

} // namespace
