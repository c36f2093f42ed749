#include "records.h"

#include <gtest/gtest.h>

namespace {

Pattern pattern_of(const Words& words) {
    Pattern pattern;
    std::string error;
    EXPECT_TRUE(Pattern::parse(words, pattern, error)) << error;
    return pattern;
}

TEST(Records, KeepTheirNumberWhenOldOnesAreDropped) {
    Records records;
    for (size_t i = 0; i < Records::LIMIT + 10; ++i)
        records.add("note", {});
    EXPECT_EQ(records.all().size(), Records::LIMIT);
    EXPECT_EQ(records.dropped(), 10u);
    EXPECT_EQ(records.all().front().id, 11u);
    EXPECT_EQ(records.last_id(), Records::LIMIT + 10);
}

TEST(Records, ALineHasEveryValueInOrder) {
    Records records;
    const std::string line = records.add("note", {{"text", "a b"}, {"empty", ""}}).line();
    EXPECT_EQ(line.substr(0, 10), "id=1 time=");
    EXPECT_NE(line.find(" kind=note text=a%20b empty="), std::string::npos);
}

TEST(Pattern, AllTermsMustMatch) {
    Records records;
    const Record& record =
        records.add("request", {{"type", "UMSG_NEW_IF"}, {"seq", "7"}, {"port", "gpon-olt1/1"}});
    EXPECT_TRUE(pattern_of({}).matches(record));
    EXPECT_TRUE(pattern_of({"kind=req*", "seq=0x7"}).matches(record));
    EXPECT_TRUE(pattern_of({"type=new-if", "port=gpon-olt?/1"}).matches(record));
    EXPECT_FALSE(pattern_of({"kind=request", "seq=8"}).matches(record));
    EXPECT_FALSE(pattern_of({"none=*"}).matches(record));
}

TEST(Pattern, RefusesAWordWithoutKey) {
    Pattern pattern;
    std::string error;
    EXPECT_FALSE(Pattern::parse(Words{"=x"}, pattern, error));
    EXPECT_FALSE(Pattern::parse(Words{"kind"}, pattern, error));
    EXPECT_EQ(error, "not KEY=PATTERN: \"kind\"");
}

} // namespace
