// Which service profile a learnt ONU gets.
#include "learn_chassis.h"

#include "app_learn_rule.h"

using namespace learn_test;

namespace {

// "model 2: 5".
std::string choice(const Port& port, const Seen& seen) {
    const LearnChoice chosen = choose_learn_profile(port, report_of(seen));
    return ov_app_gpon_learn_rule_text(chosen.rule, chosen.slot) + ": " + std::to_string(chosen.profile);
}

TEST(LearnRule, ModelIsLookedAtBeforeTheVendor) {
    Port port = {};
    put_model(port, 2, "HOME-4", 5);
    put_vendor(port, 1, "ABCD", 6);
    port.sPonTableSfuSrvProfile = 7;
    port.sPonTableSrvProfileID = 8;
    EXPECT_EQ(choice(port, {.model = "HOME-4"}), "model 2: 5");
    EXPECT_EQ(choice(port, {.model = "HOME-40"}), "vendor 1: 6");
    EXPECT_EQ(choice(port, {.model = "HOME-"}), "vendor 1: 6");
    EXPECT_EQ(choice(port, {.model = "HOME-5", .vendor = "WXYZ"}), "sfu: 7");
    EXPECT_EQ(choice(port, {.model = "HOME-5", .kind = 1, .vendor = "WXYZ"}), "default: 8");
}

TEST(LearnRule, FirstSlotThatFitsIsTaken) {
    Port port = {};
    put_model(port, 1, "A", 5);
    put_model(port, 3, "B", 6);
    put_model(port, 4, "B", 7);
    EXPECT_EQ(choice(port, {.model = "B"}), "model 3: 6");
    EXPECT_EQ(choice(port, {.model = "A"}), "model 1: 5");
    EXPECT_EQ(choice(port, {.model = "C"}), "-: 0");
}

TEST(LearnRule, TwentyBytesOfAModelAreCompared) {
    const std::string twenty = "12345678901234567890";
    Port port = {};
    put_model(port, 1, twenty, 5);
    put_model(port, 2, "next", 6);
    EXPECT_EQ(choice(port, {.model = twenty}), "model 1: 5");
    EXPECT_EQ(choice(port, {.model = twenty + "1"}), "model 1: 5"); // fills its field, without terminator
    EXPECT_EQ(choice(port, {.model = twenty.substr(0, 19)}), "-: 0");
}

TEST(LearnRule, SlotsWithoutANameAreNotInUse) {
    Port port = {};
    put_model(port, 1, "", 5);
    put_vendor(port, 1, "", 6);
    EXPECT_EQ(choice(port, {.model = "", .vendor = ""}), "-: 0");
}

TEST(LearnRule, SlotWithoutAProfileIsTakenAllTheSame) {
    Port port = {};
    put_model(port, 1, "HOME-4", 0);
    port.sPonTableSrvProfileID = 8;
    EXPECT_EQ(choice(port, {}), "model 1: 0");
}

// Codes stand without an end: one that another follows is compared with both.
TEST(LearnRule, VendorFitsInTheLastSlotThatIsFilled) {
    Port port = {};
    put_vendor(port, 1, "ABCD", 5);
    put_vendor(port, 2, "EFGH", 6);
    EXPECT_EQ(choice(port, {.vendor = "ABCD"}), "-: 0");
    EXPECT_EQ(choice(port, {.vendor = "EFGH"}), "vendor 2: 6");
    put_vendor(port, 3, "IJKL", 7);
    put_vendor(port, 4, "MNOP", 8);
    EXPECT_EQ(choice(port, {.vendor = "EFGH"}), "-: 0");
    EXPECT_EQ(choice(port, {.vendor = "IJKL"}), "-: 0");
    EXPECT_EQ(choice(port, {.vendor = "MNOP"}), "vendor 4: 8");
}

TEST(LearnRule, GapEndsTheVendorInFrontOfIt) {
    Port port = {};
    put_vendor(port, 1, "ABCD", 5);
    put_vendor(port, 3, "EFGH", 6);
    EXPECT_EQ(choice(port, {.vendor = "ABCD"}), "vendor 1: 5");
    EXPECT_EQ(choice(port, {.vendor = "EFGH"}), "vendor 3: 6");
}

TEST(LearnRule, KindDecidesBetweenItsProfileAndTheDefault) {
    Port port = {};
    port.sPonTableHguSrvProfile = 6;
    EXPECT_EQ(choice(port, {.kind = 0}), "-: 0");
    EXPECT_EQ(choice(port, {.kind = 1}), "hgu: 6");
    EXPECT_EQ(choice(port, {.kind = 255}), "hgu: 6");
    port.sPonTableSrvProfileID = 8;
    EXPECT_EQ(choice(port, {.kind = 0}), "default: 8");
}

} // namespace
