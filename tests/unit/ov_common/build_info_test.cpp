#include "ov_build_info.h"

#include <gmock/gmock.h>

#include <fstream>

#include <unistd.h>

namespace {

TEST(BuildInfo, TheProductHasItsNameAndVersion) {
    EXPECT_STREQ(ov_build_product(), "gpon");
    EXPECT_STREQ(ov_build_version(), "6.1");
}

TEST(BuildInfo, TimeAndCommitAreUnknownUntilTheProgramTellsThem) {
    EXPECT_STREQ(ov_build_time(), "unknown");
    EXPECT_STREQ(ov_build_commit(), "unknown");
    ov_build_set_facts({.time = "2026-02-28 17:05:59 UTC", .commit = "0123456789+"});
    EXPECT_STREQ(ov_build_time(), "2026-02-28 17:05:59 UTC");
    EXPECT_STREQ(ov_build_commit(), "0123456789+");
    ov_build_set_facts({.time = "unknown", .commit = "unknown"});
}

// Seconds since the boot at which the kernel made this process.
double made_at() {
    std::ifstream stat("/proc/self/stat");
    std::string text;
    std::getline(stat, text);
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string field;
    for (int n = 3; n <= 22; n++) // the 22nd of the line; the name was the second
        fields >> field;
    return std::stod(field) / double(sysconf(_SC_CLK_TCK));
}

TEST(BuildInfo, TheStartTimeIsWhenTheProcessWasMade) {
    timespec boot = {};
    clock_gettime(CLOCK_BOOTTIME, &boot);
    const double age = double(boot.tv_sec) - made_at();
    EXPECT_NEAR(double(time(nullptr) - ov_process_start_time()), age, 5.0);
}

} // namespace
