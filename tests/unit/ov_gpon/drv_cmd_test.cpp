// Words for the driver of a single board.
#include <gtest/gtest.h>

#include "../support/hal_chassis.h"
#include "ov_gpon.h"

namespace {

constexpr uint32_t BOARD = 1;

// Texts that the board's driver agent saw, with what stands behind them.
std::string sent_text(FakeCard& board, size_t nth) {
    const auto seen = board.wait_for(nth + 1);
    if (seen.size() <= nth)
        return "nothing";
    const auto& request = seen[nth];
    return {request.begin() + wire::PAYLOAD, request.end()};
}

void run_on_single_board(const std::function<void(FakeCard&)>& body) {
    private_root::run([&] {
        if (unshare(CLONE_NEWNET) != 0)
            _exit(private_root::EXIT_NO_NAMESPACE);
        HalChassis chassis(OV_SHELF_TYPE_SINGLE, BOARD);
        chassis.open();
        FakeCard board(BOARD);
        HalChassis::activate(BOARD);
        body(board);
    });
}

TEST(DriverCommand, WordsAreJoinedByBlanksAndTerminated) {
    run_on_single_board([](FakeCard& board) {
        const char* words[] = {"show", "port", "4"};
        EXPECT_EQ(ov_gpon_drv_cmd_exec(3, words), 0);
        EXPECT_EQ(sent_text(board, 0), std::string("show port 4 ") + '\0');
        EXPECT_EQ(ov_gpon_drv_cmd_exec(0, words), 0);
        EXPECT_EQ(sent_text(board, 1), std::string(1, '\0'));
    });
}

TEST(DriverCommand, TwoHundredFiftyFiveCharactersFit) {
    run_on_single_board([](FakeCard& board) {
        const std::string word(254, 'w');
        const std::string longer(300, 'x');
        const char* words[] = {word.c_str(), "more"};
        EXPECT_EQ(ov_gpon_drv_cmd_exec(2, words), 0);
        EXPECT_EQ(sent_text(board, 0), word + " " + '\0');
        const char* one[] = {longer.c_str()};
        EXPECT_EQ(ov_gpon_drv_cmd_exec(1, one), 0);
        std::string cut(256, 'x');
        cut.replace(254, 2, 1, ' ').push_back('\0');
        EXPECT_EQ(sent_text(board, 1), cut);
        const char* many[] = {longer.c_str(), longer.c_str(), longer.c_str()};
        EXPECT_EQ(ov_gpon_drv_cmd_exec(3, many), 0);
        EXPECT_EQ(sent_text(board, 2), cut);
    });
}

TEST(DriverCommand, AFailureIsPrinted) {
    private_root::run([] {
        HalChassis chassis(OV_SHELF_TYPE_SINGLE, BOARD); // no transport
        testing::internal::CaptureStdout();
        const char* words[] = {"show"};
        EXPECT_EQ(ov_gpon_drv_cmd_exec(1, words), 0);
        const std::string printed = testing::internal::GetCapturedStdout();
        EXPECT_EQ(printed.rfind("Error:  ov_gpon_text.cpp,ov_gpon_drv_cmd_exec,", 0), 0u) << printed;
        EXPECT_EQ(printed.back(), '\n');
    });
}

} // namespace
