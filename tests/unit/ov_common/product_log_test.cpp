#include "ov_product_log.h"

#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "../support/log_text.h"
#include "../support/temp_dir.h"

namespace {

class ProductLog : public ::testing::Test {
protected:
    ~ProductLog() override { ov_product_log_set_tap(nullptr); }
    std::string log() const { return without_times(dir_.read("log")); }
    std::vector<std::string> lines() const {
        std::istringstream in(log());
        std::vector<std::string> all;
        for (std::string line; std::getline(in, line);)
            all.push_back(line);
        return all;
    }

    TempDir dir_;
    ScopedEnv env_{"OV_LOG_FILE", dir_.file("log")};
};

TEST_F(ProductLog, FormatsTheText) {
    ov_product_app_log("a.cpp", 5, "f", 1, 12, OV_LOG_LVL_ERROR, "MMG", "row %d of %s", 3, "sOnuTable");
    EXPECT_EQ(log(), "error/100 [MMG] a.cpp:12 f: row 3 of sOnuTable\n");
}

TEST_F(ProductLog, MacroFillsInWhereItStands) {
    int line = __LINE__ + 1;
    OV_LOG_WARN("QOS", "set to which not support");
    EXPECT_EQ(log(), "warning/80 [QOS] product_log_test.cpp:" + std::to_string(line) +
                         " TestBody: set to which not support\n");
}

TEST_F(ProductLog, CutsALineAt10000Bytes) {
    std::string text(20000, 'x');
    OV_LOG_INFO("LIB", "%s", text.c_str());
    std::string line = log();
    size_t start = line.find(": ") + 2;
    EXPECT_EQ(line.substr(start), std::string(9999, 'x') + "\n");
}

TEST_F(ProductLog, LogsToNamedHandlesAndTakesUnknownOnesAsItsOwn) {
    for (const char* lib : {"lib", "halmsg", "ipcmsg", "pondrv", "reboot", "snmpd", "clientcmd", "cmdhistory",
                            "nosuch", static_cast<const char*>(nullptr)})
        ov_product_library_log(1, lib, "a.cpp", 5, "f", 1, 1, OV_LOG_LVL_DEBUG, "HAL", "n %d", 1);
    ASSERT_EQ(lines().size(), 10u);
    for (const std::string& line : lines())
        EXPECT_EQ(line, "debug/20 [HAL] a.cpp:1 f: n 1");
}

TEST_F(ProductLog, NamesTheHandleOfALineWithoutATag) {
    ov_product_library_log(1, "ipcmsg", "a.cpp", 5, "f", 1, 1, OV_LOG_LVL_DEBUG, nullptr, "x");
    ov_product_library_log(1, "nosuch", "a.cpp", 5, "f", 1, 1, OV_LOG_LVL_DEBUG, nullptr, "x");
    EXPECT_EQ(log(), "debug/20 [ipcmsg] a.cpp:1 f: x\ndebug/20 [-] a.cpp:1 f: x\n");
}

TEST_F(ProductLog, DropsALibraryLineWithTheFlagOff) {
    OV_LIB_LOG(0, "halmsg", OV_LOG_LVL_ERROR, "HAL", "no");
    EXPECT_EQ(log(), "");
    OV_LIB_LOG(1, "halmsg", OV_LOG_LVL_ERROR, "HAL", "yes");
    EXPECT_EQ(lines().size(), 1u);
}

TEST_F(ProductLog, HasALogForEachKindOfCommandAndEvent) {
    ov_product_app_cmd_log("app %d", 1);
    ov_product_usr_cmd_log("usr %d", 2);
    ov_product_snmp_cfg_log("cfg %d", 3);
    ov_product_sys_log("sys %d", 4);
    ov_product_reboot_log("boot %d", 5);
    EXPECT_EQ(log(), "info/40 [CMD] -:0 -: app 1\n"
                     "info/40 [CMD] -:0 -: usr 2\n"
                     "info/40 [SNMP] -:0 -: cfg 3\n"
                     "notice/60 [SYS] -:0 -: sys 4\n"
                     "notice/60 [REBOOT] -:0 -: boot 5\n");
}

std::vector<std::string> g_tapped;

TEST_F(ProductLog, ShowsApplicationLinesToTheTap) {
    g_tapped.clear();
    ov_product_log_set_tap([](int level, const char* module, const char* text) {
        g_tapped.push_back(std::to_string(level) + " " + module + " " + text);
    });
    OV_LOG_NOTICE("LIB", "n %d", 1);
    ov_product_log_set_tap(nullptr);
    OV_LOG_NOTICE("LIB", "n %d", 2);
    EXPECT_EQ(g_tapped, std::vector<std::string>{"60 LIB n 1"});
    EXPECT_EQ(lines().size(), 2u); // the log has both
}

void log_lines(int thread, int count, const std::string& body) {
    for (int i = 0; i < count; i++)
        OV_LOG_INFO("LIB", "%d %d %s.", thread, i, body.c_str());
}

TEST_F(ProductLog, WritesWholeLinesFromSeveralThreads) {
    constexpr int THREADS = 4;
    constexpr int LINES = 300;
    auto body = [](int t) { return std::string(size_t(40 + (t * 900)), char('a' + t)); };
    std::vector<std::thread> threads(THREADS);
    for (int t = 0; t < THREADS; t++)
        threads[size_t(t)] = std::thread(log_lines, t, LINES, body(t));
    for (std::thread& thread : threads)
        thread.join();

    std::vector<int> next(THREADS, 0);
    for (const std::string& line : lines()) {
        int t = -1;
        int i = -1;
        size_t text = line.find("log_lines: ");
        ASSERT_NE(text, std::string::npos) << line;
        ASSERT_EQ(sscanf(line.c_str() + text, "log_lines: %d %d ", &t, &i), 2) << line;
        ASSERT_EQ(i, next.at(size_t(t))++);
        ASSERT_TRUE(line.ends_with(" " + body(t) + ".")) << line;
    }
    EXPECT_EQ(next, std::vector<int>(THREADS, LINES));
}

} // namespace
