#include "ov_error_ring.h"

#include <gtest/gtest.h>

#include "ov_product_log.h"

namespace {

class ErrorRing : public testing::Test {
protected:
    void SetUp() override { ov_error_ring_clear(); }
    void TearDown() override { ov_error_ring_clear(); }
};

TEST_F(ErrorRing, KeepsErrorsAndWorseOnly) {
    ov_error_ring_add(OV_LOG_LVL_WARN, "LIB", "a warning");
    ov_error_ring_add(OV_LOG_LVL_ERROR, "MMG", "an error");
    ov_error_ring_add(OV_LOG_LVL_FATAL, "QOS", "the end");
    EXPECT_EQ(ov_error_ring_counts().errors, 1u);
    EXPECT_EQ(ov_error_ring_counts().fatals, 1u);
    const auto lines = ov_error_ring_lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].module, "MMG");
    EXPECT_EQ(lines[0].text, "an error");
    EXPECT_EQ(lines[1].level, OV_LOG_LVL_FATAL);
}

TEST_F(ErrorRing, ForgetsTheOldestLinesButCountsAll) {
    const size_t total = OV_ERROR_RING_LINES + 3;
    for (size_t i = 0; i < total; ++i)
        ov_error_ring_add(OV_LOG_LVL_ERROR, "LIB", std::to_string(i).c_str());
    const auto lines = ov_error_ring_lines();
    ASSERT_EQ(lines.size(), OV_ERROR_RING_LINES);
    EXPECT_EQ(lines.front().text, "3");
    EXPECT_EQ(lines.back().text, std::to_string(total - 1));
    EXPECT_EQ(ov_error_ring_counts().errors, total);
}

TEST_F(ErrorRing, CutsLongLinesAndTakesNullTexts) {
    ov_error_ring_add(OV_LOG_LVL_ERROR, nullptr, nullptr);
    ov_error_ring_add(OV_LOG_LVL_ERROR, "LIB", std::string(5000, 'x').c_str());
    const auto lines = ov_error_ring_lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].text, "");
    EXPECT_EQ(lines[1].text, std::string(OV_ERROR_RING_TEXT, 'x'));
}

} // namespace
