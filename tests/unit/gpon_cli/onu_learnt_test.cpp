// "show onu learned".
#include "onu_fixture.h"

#include <ctime>
#include <functional>

#include "ov_app_gpon_onu_learnt.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

class OnuLearntCli : public OnuCli {
protected:
    OnuLearntCli() {
        for (const char* name : {"gpon-olt1/2", "gpon-olt14/16"})
            add_interface(name);
    }
    static void learn(int slot, int port, unsigned onu, const char* sn,
                      const std::function<void(gpon_learnt_onu_t&)>& fill) {
        gpon_learnt_onu_t learnt;
        learnt.onu = onu_ifindex(slot, port, onu);
        learnt.sn = sn;
        learnt.model = "HOME-4";
        learnt.vendor = "SIMA";
        fill(learnt);
        ov_app_gpon_onu_learnt_note(learnt);
    }
    static void learn_three() {
        learn(1, 2, 1, "ABCD00000001", [](auto& onu) {
            onu.rule = LearnRule::MODEL;
            onu.slot = 2;
            onu.profile = 5;
            onu.outcome = LearnOutcome::COPIED;
        });
        learn(1, 2, 2, "ABCD00000002", [](auto& onu) {
            onu.rule = LearnRule::HGU;
            onu.profile = 6;
            onu.is_hgu = true;
            onu.outcome = LearnOutcome::COPY_FAILED;
            onu.reason = "no GEM port left";
        });
        learn(14, 16, 128, "ABCD00000003",
              [](auto& onu) { onu.reason = "the port has no service profile for such an ONU"; });
    }

    FrrSession enable_{ENABLE_NODE};
    FrrSession config_{CONFIG_NODE};
};

CLI_TEST(OnuLearntCli, OneLineForAnOnuWithRuleAndResult) {
    learn_three();
    const std::string text = run(enable_, "show onu learned");
    EXPECT_THAT(
        text,
        HasSubstr("\nonu        serial number    kind model                vendor rule     profile at  "));
    EXPECT_THAT(
        text, HasSubstr("\n1/2:1      ABCD00000001     sfu  HOME-4               SIMA   model 2        5 "));
    EXPECT_THAT(
        text,
        HasSubstr(
            "  copied\n1/2:2      ABCD00000002     hgu  HOME-4               SIMA   hgu            6 "));
    EXPECT_THAT(text, HasSubstr("  copy failed: no GEM port left\n14/16:128  ABCD00000003     sfu  HOME-4"));
    EXPECT_THAT(text, HasSubstr("SIMA   -              - "));
    EXPECT_THAT(text,
                EndsWith("  refused: the port has no service profile for such an ONU\ntotal 3, refused 1\n"));
}

CLI_TEST(OnuLearntCli, OfAPortOnlyItsOwn) {
    learn_three();
    const std::string text = run(config_, "show interface gpon-olt14/16 onu learned");
    EXPECT_THAT(text, AllOf(HasSubstr("ABCD00000003"), Not(HasSubstr("ABCD00000001")),
                            EndsWith("total 1, refused 1\n")));
    EXPECT_THAT(run(config_, "show interface gpon-olt1/2 onu learned refused"),
                AllOf(HasSubstr("ABCD00000002"), EndsWith("total 1, refused 0\n")));
    EXPECT_THAT(run(config_, "show interface gpon-olt9/9 onu learned", KAVO_CLI_BAD_INPUT),
                HasSubstr("gpon-olt9/9 is not a PON port"));
}

CLI_TEST(OnuLearntCli, RefusedOnesAlone) {
    learn_three();
    EXPECT_THAT(run(enable_, "show onu learned refused"),
                AllOf(Not(HasSubstr("ABCD00000001")), HasSubstr("ABCD00000002"), HasSubstr("ABCD00000003"),
                      EndsWith("total 2, refused 1\n")));
}

CLI_TEST(OnuLearntCli, SumsByRuleAndProfile) {
    learn_three();
    learn(1, 2, 4, "ABCD00000004", [](auto& onu) {
        onu.rule = LearnRule::MODEL;
        onu.slot = 2;
        onu.profile = 5;
        onu.outcome = LearnOutcome::BOUND;
    });
    const std::string text = run(enable_, "show onu learned summary");
    EXPECT_THAT(text, HasSubstr("\nrule     profile   onus refused last at\n"));
    EXPECT_THAT(text, HasSubstr("\n-              -      0       1 "));
    EXPECT_THAT(text, HasSubstr("\nhgu            6      1       0 "));
    EXPECT_THAT(text, HasSubstr("\nmodel 2        5      2       0 "));
    EXPECT_THAT(text, EndsWith("\ntotal 4, refused 1\n"));
}

CLI_TEST(OnuLearntCli, ManyArePrintedWhole) {
    for (unsigned n = 1; n <= 600; ++n)
        learn(1, 2, 1 + n % 128, ("ABCD" + std::to_string(10000000 + n)).c_str(), [](auto&) {});
    EXPECT_THAT(run(enable_, "show onu learned"), EndsWith("\ntotal 600, refused 600\n"));
}

} // namespace
