#include "counter_rates.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

std::string table(const std::string& rows) {
    return "\n"
           "port       counter       value\n"
           "------------------------------\n" +
           rows;
}

class Rates : public testing::Test {
protected:
    // The rows of the next turn, which comes so much later, behind heading and rule.
    std::string turn(std::chrono::milliseconds later, const std::string& text,
                     const std::string& command = "show statistic x data clear disable") {
        now_ += later;
        const auto shown = rates_.rated({command, {}, 5, 0}, {text, 0}, now_).text;
        const auto rule = shown.rfind("---\n");
        return rule == shown.npos ? shown : shown.substr(rule + 4);
    }

    CounterRates rates_;
    CounterRates::Clock::time_point now_{};
};

TEST_F(Rates, StandBehindTheCounters) {
    EXPECT_EQ(rates_.rated({"show x", {}, 5, 0}, {table("1/1        rx bytes           10\n"), 0}, now_).text,
              "\n"
              "port       counter       value       per second\n"
              "-----------------------------------------------\n"
              "1/1        rx bytes           10                -\n");
    EXPECT_EQ(turn(5s, table("1/1        rx bytes          110\n")),
              "1/1        rx bytes          110             20.0\n");
    EXPECT_EQ(turn(2500ms, table("1/1        rx bytes          111\n")),
              "1/1        rx bytes          111              0.4\n");
    EXPECT_EQ(turn(1s, table("1/1        rx bytes          111\n")),
              "1/1        rx bytes          111              0.0\n");
}

TEST_F(Rates, AreOfEachCounterByItsNameAndObject) {
    turn(0s, table("1/1  rx bytes  1\n1/1  tx bytes  1\n1/2  rx bytes  1\n"));
    EXPECT_EQ(turn(1s, table("1/1  rx bytes  3\n1/1  tx bytes  11\n1/2  rx bytes  101\n1/3  rx bytes  9\n")),
              "1/1  rx bytes  3              2.0\n"
              "1/1  tx bytes  11             10.0\n"
              "1/2  rx bytes  101            100.0\n"
              "1/3  rx bytes  9                -\n");
}

TEST_F(Rates, OfCountersThatBeganAgainAreOfWhatCameSince) {
    turn(0s, table("1/1  rx bytes  1000\n"));
    EXPECT_EQ(turn(2s, table("1/1  rx bytes  10\n")), "1/1  rx bytes  10              5.0\n");
}

TEST_F(Rates, OfCountersThatEachShowClearsAreOfTheWholeValue) {
    for (const char* command : {"show statistic x data clear enable", "show stat x data c e"}) {
        turn(0s, table("1/1  rx bytes  1000\n"), command);
        EXPECT_EQ(turn(2s, table("1/1  rx bytes  1000\n"), command),
                  "1/1  rx bytes  1000            500.0\n");
    }
}

TEST_F(Rates, OfLargeCountersAreNotCut) {
    turn(0s, table("1/1  rx bytes  0\n"));
    EXPECT_EQ(turn(1s, table("1/1  rx bytes  18446744073709551615\n")),
              "1/1  rx bytes  18446744073709551615 18446744073709551616.0\n");
}

TEST_F(Rates, AreNotMadeOfOtherThings) {
    const std::string slots = "slot  value\n1  2\n";
    EXPECT_EQ(turn(0s, slots), slots);
    EXPECT_EQ(turn(1s, slots), slots);
    const std::string json = "{\"counter\":\"rx bytes\",\"value\":1}\n";
    EXPECT_EQ(turn(1s, json), json);
    EXPECT_EQ(turn(1s, table("1/1  rx bytes  none\n")), "1/1  rx bytes  none\n");
    const auto once = rates_.rated({"show x", {}, 0, 0}, {table("1/1  rx bytes  1\n"), 0}, now_);
    EXPECT_EQ(once.text, table("1/1  rx bytes  1\n"));
    EXPECT_EQ(rates_.rated({"show x", {}, 5, 0}, {"% no counter value\n", 3}, now_).text,
              "% no counter value\n");
}

} // namespace
