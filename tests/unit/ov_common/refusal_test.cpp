#include "ov_refusal.h"

#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "../support/log_tap.h"
#include "ov_refused_ring.h"
#include "ov_result_word.h"
#include "ov_types.h"

namespace {

class Refusal : public testing::Test {
protected:
    LogTap log;
};

TEST_F(Refusal, LeavesOneLineWithDoorRowAndReason) {
    OvRefusal door("vty");
    EXPECT_FALSE(ov_refusal_because("no bandwidth profile \"%s\"", "gold"));
    ov_refusal_at(5, "sTcontTable gpon-onu1/1:1 T-CONT 1");
    EXPECT_STREQ(door.refuse("gpon-onu1/1:1", "failed"),
                 "no bandwidth profile \"gold\" (sTcontTable gpon-onu1/1:1 T-CONT 1)");
    ASSERT_EQ(LogTap::lines().size(), 1u);
    EXPECT_EQ(LogTap::lines()[0],
              (LogLine{OV_LOG_LVL_WARN, "LIB",
                       "refused: vty: sTcontTable gpon-onu1/1:1 T-CONT 1: no bandwidth profile \"gold\""}));
}

TEST_F(Refusal, KeepsTheFirstStatement) {
    OvRefusal door("vty");
    ov_refusal_because_of(3, "the first");
    ov_refusal_because_of(4, "the second");
    ov_refusal_at(1, "inner row");
    ov_refusal_at(2, "outer row");
    EXPECT_EQ(door.notes().column, 3u);
    EXPECT_EQ(door.notes().table, 1);
    EXPECT_STREQ(door.refuse(nullptr, nullptr), "the first (inner row)");
}

TEST_F(Refusal, TakesTheFirstErrorLineWhereNobodyStatedAnything) {
    OvRefusal door("vty");
    OV_LOG_INFO("MMG", "begin");
    OV_LOG_ERROR("MMG", "illega onu index:1.0.1.1:");
    OV_LOG_ERROR("MMG", "mib add error for onu table");
    EXPECT_STREQ(door.refuse("gpon-olt1/1", "failed"), "illega onu index:1.0.1.1: (gpon-olt1/1)");
}

TEST_F(Refusal, TakesTheDoorsOwnWordsLast) {
    EXPECT_STREQ(OvRefusal("vty").refuse("gpon", "Bad parameter"), "Bad parameter (gpon)");
    EXPECT_STREQ(OvRefusal("vty").refuse("", ""), "no reason known");
}

TEST_F(Refusal, ForgetsWhatWasStatedOnTheWayToASuccess) {
    OvRefusal door("vty");
    const OvRefusalMark mark = ov_refusal_mark();
    ov_refusal_because_of(2, "a matter of no consequence");
    ov_refusal_at(1, "row");
    OV_LOG_ERROR("MMG", "noise");
    ov_refusal_forget(mark);
    EXPECT_EQ(door.notes().column, 0u);
    ov_refusal_because("the matter");
    EXPECT_STREQ(door.refuse("gpon", nullptr), "the matter (gpon)");
}

TEST_F(Refusal, ForgetsNothingThatWasStatedBefore) {
    OvRefusal door("vty");
    ov_refusal_because_of(7, "the matter");
    ov_refusal_forget(ov_refusal_mark());
    EXPECT_EQ(door.notes().column, 7u);
    EXPECT_STREQ(door.refuse("gpon", nullptr), "the matter (gpon)");
}

TEST_F(Refusal, GoesToTheInnermostDoor) {
    OvRefusal outer("card", OvRefusal::Kind::EVENT);
    {
        OvRefusal inner("vty");
        ov_refusal_because("within");
        EXPECT_EQ(OvRefusal::current(), &inner);
    }
    EXPECT_EQ(OvRefusal::current(), &outer);
    EXPECT_STREQ(outer.refuse(nullptr, nullptr), "no reason known");
}

TEST_F(Refusal, NeedsAnOpenDoor) {
    EXPECT_FALSE(ov_refusal_because("nobody asks"));
    EXPECT_FALSE(ov_refusal_wants_row());
    ov_refusal_at(1, "row");
    ov_refusal_forget(ov_refusal_mark());
    EXPECT_EQ(OvRefusal::current(), nullptr);
    EXPECT_TRUE(LogTap::lines().empty());
}

TEST_F(Refusal, IsOfItsThread) {
    OvRefusal door("vty");
    std::thread([] {
        EXPECT_EQ(OvRefusal::current(), nullptr);
        EXPECT_EQ(ov_refusal_thread_door(), nullptr);
        ov_refusal_because("of another thread");
    }).join();
    EXPECT_STREQ(door.refuse(nullptr, "own"), "own");
}

TEST_F(Refusal, CutsLongTextsAndKeepsThemOnOneLine) {
    OvRefusal door("snmp");
    ov_refusal_because("no profile \"a\nb\x7f%s\"", std::string(1000, 'x').c_str());
    std::string with_line_end(1000, 'r');
    with_line_end += "\r\n";
    ov_refusal_at(1, with_line_end.c_str());
    const std::string text = door.refuse(nullptr, nullptr);
    EXPECT_EQ(text.find_first_of("\r\n\x7f"), text.npos);
    EXPECT_EQ(text.substr(0, 17), "no profile \"a?b?x");
    EXPECT_LT(text.size(), 512u);
    ASSERT_EQ(LogTap::lines().size(), 1u);
    EXPECT_EQ(LogTap::lines()[0].text.find_first_of("\r\n"), std::string::npos);
}

TEST_F(Refusal, KeepsWhatWasAskedWithItsLogLines) {
    ov_refused_clear();
    OV_LOG_ERROR("MMG", "before");
    {
        OvRefusal door("vty");
        OV_LOG_INFO("MMG", "of no interest");
        OV_LOG_NOTICE("QOS", "a notice");
        OV_LOG_ERROR("MMG", "%s", std::string(1000, 'x').c_str());
        ov_refusal_note_code(OV_GPON_RET_BAD_PARAM);
        ov_refusal_note_code(OV_GPON_RET_BUSY);
        ov_refusal_because("no profile");
        door.refuse("gpon", nullptr,
                    {.what = "tcont 1", .result = "104006 KAVO_CLI_FAILED", .object = "gpon"});
        EXPECT_EQ(door.number(), 1u);
    }
    const auto kept = ov_refused_find(1);
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->door + "|" + kept->who + "|" + kept->what + "|" + kept->result + "|" + kept->row + "|" +
                  kept->reason,
              "vty|gpon|tcont 1|104006 KAVO_CLI_FAILED|gpon|no profile");
    EXPECT_EQ(kept->code, "1003 OV_GPON_RET_BAD_PARAM");
    ASSERT_EQ(kept->lines.size(), 2u);
    EXPECT_EQ(kept->lines[0].text, "a notice");
    EXPECT_EQ(kept->lines[1].text, std::string(OV_REFUSED_LINE_TEXT, 'x'));
    EXPECT_FALSE(ov_refused_find(2));
}

TEST_F(Refusal, KeepsTheLastOfEachDoorAndSoManyLines) {
    ov_refused_clear();
    OvRefusal("vty").refuse("first", nullptr);
    for (size_t i = 0; i < OV_REFUSED_PER_DOOR + 5; ++i) {
        OvRefusal door("card");
        for (size_t line = 0; line < OV_REFUSED_LINES + 3; ++line)
            OV_LOG_WARN("MMG", "line");
        door.refuse("row", nullptr);
    }
    const auto all = ov_refused_list();
    ASSERT_EQ(all.size(), OV_REFUSED_PER_DOOR + 1);
    EXPECT_EQ(all.front().row, "first");
    EXPECT_EQ(all[1].number, 7u);
    EXPECT_EQ(all.back().lines.size(), OV_REFUSED_LINES);
    EXPECT_EQ(all.back().lines_left_out, 3u);
    EXPECT_EQ(ov_refused_counts().at("card"), OV_REFUSED_PER_DOOR + 5);
}

TEST_F(Refusal, TellsResultsByTheirNames) {
    EXPECT_EQ(ov_result_text(OV_ONU_AUTH_ILLEGAL), "1010 OV_ONU_AUTH_ILLEGAL");
    EXPECT_EQ(ov_result_text(KAVO_CLI_BAD_INPUT), "104001 KAVO_CLI_BAD_INPUT");
    EXPECT_EQ(ov_result_text(77), "77");
}

} // namespace
