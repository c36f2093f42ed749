#include "ov_shown_text.h"

#include <gtest/gtest.h>

namespace {

TEST(ShownText, AsciiAndUtf8AreShown) {
    EXPECT_EQ(ov_shown_text("M\u00fcllers-B\u00fcro \u20ac \U0001F3E0 ~"),
              "M\u00fcllers-B\u00fcro \u20ac \U0001F3E0 ~");
    EXPECT_TRUE(ov_is_shown("T\u00fcr"));
    EXPECT_TRUE(ov_is_shown(""));
}

TEST(ShownText, WhatWouldUpsetATerminalIsNot) {
    EXPECT_EQ(ov_shown_text("a\x1b[2Jb\tc\x7f"), "a?[2Jb?c?");
    EXPECT_EQ(ov_shown_text("\xc2\x9b"), "??"); // U+009B begins a control sequence
    EXPECT_FALSE(ov_is_shown("a\nb"));
}

TEST(ShownText, BytesOfAnotherCharacterSetAreNot) {
    EXPECT_EQ(ov_shown_text("M\xfcller"), "M?ller");
    EXPECT_EQ(ov_shown_text("\xc3"), "?");                // cut
    EXPECT_EQ(ov_shown_text("\xe2\x82"), "??");           // cut
    EXPECT_EQ(ov_shown_text("\xe2\x82x"), "??x");         // cut in the middle
    EXPECT_EQ(ov_shown_text("\xc0\xaf"), "??");           // longer than needed
    EXPECT_EQ(ov_shown_text("\xe0\x80\xaf"), "???");      // longer than needed
    EXPECT_EQ(ov_shown_text("\xed\xa0\x80"), "???");      // a surrogate
    EXPECT_EQ(ov_shown_text("\xf4\x90\x80\x80"), "????"); // behind U+10FFFF
    EXPECT_EQ(ov_shown_text("\xbf"), "?");
}

TEST(ShownText, ACharacterTakesOnePlace) {
    EXPECT_EQ(ov_shown_width("B\u00fcro"), 4u);
    EXPECT_EQ(ov_shown_width("\u20ac5"), 2u);
    EXPECT_EQ(ov_shown_width("M\xfcller\x01"), 7u);
    EXPECT_EQ(ov_shown_beginning("B\u00fcro", 2), "B\u00fc");
    EXPECT_EQ(ov_shown_beginning("B\u00fc", 9), "B\u00fc");
}

} // namespace
