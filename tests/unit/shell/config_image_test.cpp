#include "config_image.h"

#include <gtest/gtest.h>
#include <sstream>

#include "shell_tree.h"

namespace {

constexpr char RUNNING[] = "gpon\n"
                           " profile bandwidth a fixed 250\n"
                           "!\n"
                           "onu-srvprofile profile-id 1 onu-type A\n"
                           " name x\n"
                           "!\n"
                           "interface gpon-olt1/1\n"
                           " onu 1 type A sn ABCD00000001\n"
                           "interface gpon-olt1/2\n"
                           "!\n"
                           "interface gpon-onu1/1:1\n"
                           " name y\n"
                           "!\n";

ConfigImage::Changes changes_by(const std::string& file) {
    std::istringstream lines(file);
    return ConfigImage(RUNNING, test_understand).changes_by(lines, test_understand);
}

TEST(ConfigImage, TheSameConfigurationChangesNothing) {
    const auto changes = changes_by(RUNNING);
    EXPECT_TRUE(changes.lines.empty());
    EXPECT_EQ(changes.same, 4u);
}

TEST(ConfigImage, ALineThatIsNewIsAChangeInItsPlace) {
    const auto changes = changes_by("interface gpon-onu1/1:1\n name y\n tcont 1 profile a\n!\n");
    ASSERT_EQ(changes.lines.size(), 1u);
    EXPECT_EQ(changes.lines[0].line.place, "gpon(gpon-onu1/1:1)# ");
    EXPECT_EQ(changes.lines[0].line.line, "tcont 1 profile a");
    EXPECT_TRUE(changes.lines[0].known);
    EXPECT_EQ(changes.same, 1u);
}

TEST(ConfigImage, TheSameLineInAnotherPlaceIsAChange) {
    EXPECT_EQ(changes_by("interface gpon-onu1/1:2\n name y\n").lines.size(), 1u);
    EXPECT_EQ(changes_by("interface gpon-olt1/2\n onu 1 type A sn ABCD00000001\n").lines.size(), 1u);
}

TEST(ConfigImage, ShortFormsAreTheSameLine) {
    EXPECT_TRUE(changes_by("int gp1/1\n  onu 1 ty A sn   ABCD00000001\n").lines.empty());
    EXPECT_TRUE(changes_by("gpon\nprof band a fixed 250\n").lines.empty());
}

TEST(ConfigImage, ALineThatIsNoCommandIsToldSo) {
    const auto changes = changes_by("interface gpon-olt1/1\n nonsense\n");
    ASSERT_EQ(changes.lines.size(), 1u);
    EXPECT_FALSE(changes.lines[0].known);
}

} // namespace
