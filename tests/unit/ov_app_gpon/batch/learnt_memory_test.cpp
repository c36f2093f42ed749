// What is remembered of learnt ONUs.
#include "learn_chassis.h"

using namespace learn_test;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

gpon_learnt_onu_t learnt(int n, LearnOutcome outcome = LearnOutcome::REFUSED) {
    gpon_learnt_onu_t onu;
    onu.onu = onu_ifindex(SLOT, 1 + n % 16, static_cast<uint32_t>(1 + n % 128));
    onu.sn = sn_text(n);
    onu.outcome = outcome;
    return onu;
}

TEST(LearntMemory, ForgetsWhoWasSilentLongest) {
    for (int n = 0; n < int{OV_GPON_LEARNT_MAX}; ++n)
        ov_app_gpon_onu_learnt_note(learnt(n));
    ov_app_gpon_onu_learnt_note(learnt(0)); // heard of again
    ov_app_gpon_onu_learnt_note(learnt(9999));
    const auto all = ov_app_gpon_onus_learnt(0, 0);
    ASSERT_THAT(all, SizeIs(OV_GPON_LEARNT_MAX));
    EXPECT_EQ(all.front().sn, sn_text(2)); // 1 is gone
    EXPECT_EQ(all[all.size() - 2].sn, sn_text(0));
    EXPECT_EQ(all[all.size() - 2].reports, 2u);
    EXPECT_EQ(all.back().sn, sn_text(9999));
    EXPECT_THAT(ov_app_gpon_onus_learnt(SLOT, 0), SizeIs(OV_GPON_LEARNT_MAX));
    EXPECT_THAT(ov_app_gpon_onus_learnt(SLOT + 1, 0), IsEmpty());
    EXPECT_THAT(ov_app_gpon_onus_learnt(SLOT, 5), SizeIs(OV_GPON_LEARNT_MAX / 16));
}

TEST(LearntMemory, EachRuleAndOutcomeHasItsWord) {
    EXPECT_EQ(ov_app_gpon_learn_rule_text(LearnRule::NONE, 0), "-");
    EXPECT_EQ(ov_app_gpon_learn_rule_text(LearnRule::MODEL, 4), "model 4");
    EXPECT_EQ(ov_app_gpon_learn_rule_text(LearnRule::VENDOR, 1), "vendor 1");
    EXPECT_EQ(ov_app_gpon_learn_rule_text(LearnRule::DEFAULT, 0), "default");
    EXPECT_STREQ(ov_app_gpon_learn_outcome_text(LearnOutcome::PLAIN), "no profile");
    EXPECT_STREQ(ov_app_gpon_learn_outcome_text(LearnOutcome::COPY_FAILED), "copy failed");
    EXPECT_STREQ(ov_app_gpon_learn_outcome_text(LearnOutcome::REFUSED), "refused");
}

} // namespace
