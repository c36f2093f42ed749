#include <gtest/gtest.h>

#include "line_tail.h"

namespace {

LineTail taken(const std::string& line, bool is_command = false) {
    const auto result = take_tail(line, is_command);
    EXPECT_TRUE(std::holds_alternative<LineTail>(result)) << line;
    return std::holds_alternative<LineTail>(result) ? std::get<LineTail>(result) : LineTail{};
}

bool refused(const std::string& line) {
    return std::holds_alternative<std::string>(take_tail(line, false));
}

TEST(LineTail, APlainLineStaysAsItIs) {
    const auto tail = taken("show onu status");
    EXPECT_EQ(tail.command, "show onu status");
    EXPECT_TRUE(tail.filters.empty());
    EXPECT_EQ(tail.seconds, 0u);
}

TEST(LineTail, FiltersStandBehindABar) {
    const auto tail = taken("show onu status | include gpon-onu1/1 x | count");
    EXPECT_EQ(tail.command, "show onu status");
    ASSERT_EQ(tail.filters.size(), 2u);
    EXPECT_EQ(tail.filters[0].kind, LineFilter::INCLUDE);
    EXPECT_EQ(tail.filters[0].text, "gpon-onu1/1 x");
    EXPECT_EQ(tail.filters[1].kind, LineFilter::COUNT);
}

TEST(LineTail, AFilterMayBeShort) {
    EXPECT_EQ(taken("do sh onu status | i x").filters.at(0).kind, LineFilter::INCLUDE);
    EXPECT_TRUE(taken("show onu status | j").json());
}

TEST(LineTail, ABarInAnotherCommandIsText) {
    EXPECT_EQ(taken("name a | count").command, "name a | count");
    EXPECT_EQ(taken("show onu filter name a|b").command, "show onu filter name a|b");
}

TEST(LineTail, AFilterThatIsNoneIsRefused) {
    EXPECT_TRUE(refused("show onu status |"));
    EXPECT_TRUE(refused("show onu status | sort"));
    EXPECT_TRUE(refused("show onu status | include"));
    EXPECT_TRUE(refused("show onu status | count 3"));
    EXPECT_TRUE(refused("show onu status | include x | json"));
    EXPECT_TRUE(refused("show onu status | json | count"));
}

TEST(LineTail, RepeatTakesSecondsAndPerhapsHowOften) {
    auto tail = taken("show onu status repeat 5");
    EXPECT_EQ(tail.command, "show onu status");
    EXPECT_EQ(tail.seconds, 5u);
    EXPECT_EQ(tail.times, 0u);
    tail = taken("show onu status repeat 2 3 | count");
    EXPECT_EQ(tail.command, "show onu status");
    EXPECT_EQ(tail.seconds, 2u);
    EXPECT_EQ(tail.times, 3u);
    EXPECT_EQ(tail.filters.size(), 1u);
}

TEST(LineTail, RepeatOutOfRangeIsRefused) {
    for (const char* end :
         {"repeat", "repeat 0", "repeat 86401", "repeat x", "repeat 1 0", "repeat -1", "repeat 1x"})
        EXPECT_TRUE(refused(std::string("show onu status ") + end)) << end;
}

TEST(LineTail, ACommandOfTheDaemonsKeepsItsWords) {
    EXPECT_EQ(taken("show onu filter name repeat", true).command, "show onu filter name repeat");
    EXPECT_EQ(taken("show onu filter name repeat 5", true).command, "show onu filter name repeat 5");
}

TEST(Filtered, KeepsOrDropsLinesWhateverTheCase) {
    EXPECT_EQ(filtered("One\r\ntwo\r\nthree", {{LineFilter::INCLUDE, "ONE"}}), "One\r\n");
    EXPECT_EQ(filtered("One\ntwo\nthree", {{LineFilter::EXCLUDE, "o"}}), "three");
    EXPECT_EQ(filtered("a.c\nabc\n", {{LineFilter::INCLUDE, "a.c"}}), "a.c\n");
    EXPECT_EQ(filtered("", {{LineFilter::INCLUDE, "x"}}), "");
}

TEST(Filtered, CountsLinesThatHoldSomething) {
    EXPECT_EQ(filtered("\nhead\na\nb\n\n", {{LineFilter::COUNT, ""}}), "3\n");
    EXPECT_EQ(filtered("a1\nb\na2\n", {{LineFilter::INCLUDE, "a"}, {LineFilter::COUNT, ""}}), "2\n");
    EXPECT_EQ(filtered("", {{LineFilter::COUNT, ""}}), "0\n");
}

TEST(TailHelp, TellsTheFilters) {
    EXPECT_FALSE(tail_help("show onu status "));
    EXPECT_FALSE(tail_help("name x | "));
    EXPECT_EQ(tail_help("show onu status | ")->size(), 4u);
    EXPECT_EQ(tail_help("show onu status |")->size(), 4u);
    ASSERT_EQ(tail_help("show onu status | inc")->size(), 1u);
    EXPECT_EQ(tail_help("show onu status | include x | c")->at(0).first, "count");
    EXPECT_TRUE(tail_help("show onu status | zz")->empty());
}

} // namespace
