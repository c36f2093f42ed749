#include "shown_answer.h"

#include <gtest/gtest.h>

namespace {

LineTail tail_of(const std::string& command, std::vector<LineFilter> filters) {
    return {command, std::move(filters), 0, 0};
}

const std::vector<LineFilter> as_json = {{LineFilter::JSON, ""}};
const std::vector<LineFilter> counted = {{LineFilter::COUNT, ""}};

TEST(ShownAnswer, APlainCommandIsAskedAsItStands) {
    EXPECT_EQ(line_for_daemon(tail_of("show onu status", {})), "show onu status");
    EXPECT_EQ(line_for_daemon(tail_of("show onu status", {{LineFilter::INCLUDE, "x"}})), "show onu status");
}

TEST(ShownAnswer, RowsAreAskedForAsJson) {
    EXPECT_EQ(line_for_daemon(tail_of("show onu status", as_json)), "json show onu status");
    EXPECT_EQ(line_for_daemon(tail_of("do show onu status", as_json)), "do json show onu status");
    EXPECT_EQ(line_for_daemon(tail_of("show onu status", counted)), "json show onu status");
    EXPECT_EQ(line_for_daemon(tail_of("write file", counted)), "write file");
}

TEST(ShownAnswer, RowsBecomeAnArray) {
    const auto tail = tail_of("show x", as_json);
    EXPECT_EQ(shown_answer(tail, {"{\"a\":1}\n{\"a\":2}\n", 0}).text, "[\n {\"a\":1},\n {\"a\":2}\n]\n");
    EXPECT_EQ(shown_answer(tail, {"", 0}).text, "[\n]\n");
}

TEST(ShownAnswer, WhatIsNoTableIsRefusedAsJson) {
    const auto reply = shown_answer(tail_of("show x", as_json), {"text\n", 0});
    EXPECT_NE(reply.result, 0);
    EXPECT_EQ(reply.text, "% \"show x\" shows no table that could be JSON.\n");
}

TEST(ShownAnswer, ARefusalStaysAsItIs) {
    const auto reply = shown_answer(tail_of("show x", as_json), {"% no\n", 3});
    EXPECT_EQ(reply.text, "% no\n");
    EXPECT_EQ(reply.result, 3);
}

TEST(ShownAnswer, RowsAreCountedAndOtherLinesWhereThereAreNone) {
    EXPECT_EQ(shown_answer(tail_of("show x", counted), {"{\"a\":1}\n{\"a\":2}\n", 0}).text, "2\n");
    EXPECT_EQ(shown_answer(tail_of("write file", counted), {"a\n\nb\nc\n", 0}).text, "3\n");
}

} // namespace
