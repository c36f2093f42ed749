#include <cstdlib>
#include <gtest/gtest.h>

#include "line_editor.h"
#include "pager.h"

namespace {

std::string line_of(size_t width, const char* end) {
    std::string line(width, 'x');
    line += end;
    return line;
}

TEST(Pager, LineTakesAsManyRowsAsItNeeds) {
    EXPECT_EQ(Pager::rows_of("\n", 80), 1u);
    EXPECT_EQ(Pager::rows_of(line_of(80, "\n"), 80), 1u);
    EXPECT_EQ(Pager::rows_of(line_of(81, "\r\n"), 80), 2u);
    EXPECT_EQ(Pager::rows_of(std::string(161, 'x'), 80), 3u);
}

TEST(Pager, TabsAndCharactersOfSeveralBytesCountByWhatTheyTake) {
    EXPECT_EQ(Pager::rows_of("\tx", 8), 2u);
    EXPECT_EQ(Pager::rows_of("\t", 8), 1u);
    EXPECT_EQ(Pager::rows_of("äöüß", 4), 1u);
}

TEST(Pager, NothingIsHeldBackWithoutATerminal) {
    std::string text;
    for (int i = 0; i < 1000; i++)
        text += "line\n";
    testing::internal::CaptureStdout();
    Pager(false).show(text);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), text);
}

TEST(LineEditor, HelpStandsInColumns) {
    EXPECT_EQ(LineEditor::help_text(
                  {{"<cr>", "", false}, {"downstream", "Towards the ONUs", true}, {"x", "X", true}}),
              "  <cr>\n"
              "  downstream  Towards the ONUs\n"
              "  x           X\n");
}

TEST(LineEditor, HistoryStandsInTheUsersStateDirectory) {
    setenv("HOME", "/home/someone", 1);
    unsetenv("XDG_STATE_HOME");
    EXPECT_EQ(LineEditor::history_path(), "/home/someone/.local/state/gponsh/history");
    setenv("XDG_STATE_HOME", "/var/state", 1);
    EXPECT_EQ(LineEditor::history_path(), "/var/state/gponsh/history");
    setenv("XDG_STATE_HOME", "relative", 1);
    EXPECT_EQ(LineEditor::history_path(), "/home/someone/.local/state/gponsh/history");
    unsetenv("HOME");
    EXPECT_EQ(LineEditor::history_path(), "");
}

} // namespace
