// Actions on a port's ONUs that take their time: the copy of a start's file, and the card's answer.
#include <chrono>
#include <thread>

#include "hal_request.h"
#include "hal_slot.h"
#include "onu_update_action.h"
#include "ov_product_onu_image.h"
#include "table_snmp_ahead.h"
#include "upgrade_chassis.h"

using namespace upgrade_test;
using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// ---- the file of a start ---------------------------------------------------------------------------------

// A "cp" in front of the system's that waits for /tmp/go, and notes that it ran.
void put_slow_copy() {
    std::filesystem::create_directories("/tmp/bin");
    ASSERT_TRUE(private_root::write_file("/tmp/bin/cp", "#!/bin/sh\n"
                                                        "echo begun >>/tmp/copies\n"
                                                        "until [ -e /tmp/go ]; do sleep 0.01; done\n"
                                                        "exec /bin/cp \"$@\"\n"));
    std::filesystem::permissions("/tmp/bin/cp", std::filesystem::perms::all);
    setenv("PATH", (std::string("/tmp/bin:") + getenv("PATH")).c_str(), 1);
}
void let_copies_go() {
    ASSERT_TRUE(private_root::write_file("/tmp/go", ""));
}
// Each on a line of its own.
int copies_begun() {
    const std::string lines = private_root::read_file("/tmp/copies");
    return static_cast<int>(std::count(lines.begin(), lines.end(), '\n'));
}

TEST(OnuImageCopies, AStartWhoseFileTakesLongGoesOutBehindTheCopy) {
    with_onu([](AppChassis& chassis) {
        put_slow_copy();
        put_image("big.bin", "big");
        EXPECT_EQ(act(SONUUPDATEACTION_START, "big.bin"), OV_GPON_RET_OK);
        EXPECT_TRUE(ov_app_gpon_pon_onu_update_is_late(UPDATE));
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_START);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        let_copies_go();
        ASSERT_TRUE(file_is_there());
        const auto told = chassis.messages(1);
        ASSERT_THAT(told, SizeIs(1));
        EXPECT_FALSE(told[0].wants_reply);
        EXPECT_EQ(named_in(told[0].record<UpdateRecord>()), "big.bin");
        EXPECT_EQ(told[0].record<UpdateRecord>().onuMask[0], 1 << 6);
        EXPECT_EQ(private_root::read_file("/tmp/big.bin"), "big");
    });
}

TEST(OnuImageCopies, WhatFollowsALateStartOnItsPortFollowsItOnTheWay) {
    with_onu([](AppChassis& chassis) {
        put_slow_copy();
        put_image("big.bin", "big");
        EXPECT_EQ(act(SONUUPDATEACTION_START, "big.bin"), OV_GPON_RET_OK);
        EXPECT_TRUE(ov_app_gpon_pon_onu_update_is_late(UPDATE));
        let_copies_go();
        EXPECT_EQ(act(SONUUPDATEACTION_ABORT), OV_GPON_RET_OK);
        const auto told = chassis.messages(2);
        ASSERT_THAT(told, SizeIs(2));
        EXPECT_EQ(told[0].record<UpdateRecord>().updAct, SONUUPDATEACTION_START);
        EXPECT_EQ(told[1].record<UpdateRecord>().updAct, SONUUPDATEACTION_ABORT);
    });
}

TEST(OnuImageCopies, ALateCopyThatFailsTellsNobody) {
    with_onu([](AppChassis& chassis) {
        put_slow_copy();
        put_image("big.bin", "big");
        EXPECT_EQ(act(SONUUPDATEACTION_START, "big.bin"), OV_GPON_RET_OK);
        std::filesystem::remove(std::string(DIRECTORY) + "/big.bin");
        let_copies_go();
        ASSERT_TRUE(file_is_there());
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set onu update action to hal error"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// However long the copy needs to find that out.
TEST(OnuImageCopies, AStartWithoutItsFileIsRefused) {
    with_onu([](AppChassis& chassis) {
        put_slow_copy();
        put_image("a");
        std::thread later([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            let_copies_go();
        });
        EXPECT_EQ(act(SONUUPDATEACTION_START, "absent.bin"), OV_GPON_RET_BAD_PARAM);
        EXPECT_FALSE(ov_app_gpon_pon_onu_update_is_late(UPDATE));
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_NONE);
        EXPECT_FALSE(ov_product_onu_image_has_room("absent.bin"));
        EXPECT_FALSE(ov_product_onu_image_has_room("../onu/a"));
        EXPECT_TRUE(ov_product_onu_image_has_room("a"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        later.join();
    });
}

TEST(OnuImageCopies, ACopyThatStandsIsntMadeAgain) {
    with_onu([](AppChassis& chassis) {
        put_slow_copy();
        let_copies_go();
        const auto start = [] { EXPECT_EQ(act(SONUUPDATEACTION_START, "a.bin"), OV_GPON_RET_OK); };
        const auto copies = [&](int begun, const char* text) {
            start();
            ASSERT_TRUE(file_is_there());
            EXPECT_EQ(copies_begun(), begun);
            EXPECT_EQ(private_root::read_file("/tmp/a.bin"), text);
        };
        put_image("a.bin", "one");
        copies(1, "one");
        copies(1, "one");
        put_image("a.bin", "two"); // as long as the other
        copies(2, "two");
        ASSERT_TRUE(private_root::write_file("/tmp/a.bin", "bad"));
        copies(3, "two");
        std::filesystem::remove("/tmp/a.bin"); // a card has taken it
        copies(4, "two");
        EXPECT_THAT(chassis.messages(5), SizeIs(5));
    });
}

// ---- actions in steps -------------------------------------------------------------------------------------

std::shared_ptr<OnuUpdateAction> begin(mib_long action, const char* file = "") {
    Update row = UPDATE;
    row.sOnuUpdateOnuMask[0] = 1 << 6;
    row.sOnuUpdateAction = action;
    set_text(row.sOnuUpdateVersionName, file);
    MIB_Flags_t columns = columns_of(update_column::sOnuUpdateOnuMask, update_column::sOnuUpdateAction);
    if (action == SONUUPDATEACTION_START)
        mib_flag_set(columns, update_column::sOnuUpdateVersionName);
    return OnuUpdateAction::begin(row, columns);
}
int end_of(const std::shared_ptr<OnuUpdateAction>& action) {
    EXPECT_TRUE(loop_until([&] { return action->go_on(); }));
    return action->result();
}

TEST(OnuUpdateSteps, TellTheCardAsAWriteDoes) {
    with_onu([](AppChassis& chassis) {
        EXPECT_EQ(act(SONUUPDATEACTION_COMMIT), OV_GPON_RET_OK);
        const auto action = begin(SONUUPDATEACTION_COMMIT);
        EXPECT_EQ(end_of(action), OV_GPON_RET_OK);
        const auto told = chassis.messages(2);
        ASSERT_THAT(told, SizeIs(2));
        EXPECT_EQ(told[0].bytes, told[1].bytes);
        EXPECT_TRUE(told[1].wants_reply);
        EXPECT_EQ(told[1].action, told[0].action);
        EXPECT_EQ(told[1].mask, told[0].mask);
    });
}

TEST(OnuUpdateSteps, TheRowIsWrittenWhenTheCardHasAnswered) {
    with_onu([](AppChassis& /*chassis*/) {
        auto action = begin(SONUUPDATEACTION_COMMIT);
        EXPECT_FALSE(action->go_on());
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_NONE);
        action.reset(); // nobody waits any more
        EXPECT_TRUE(loop_until([] { return find_row(UPDATE)->sOnuUpdateAction == SONUUPDATEACTION_COMMIT; }));
    });
}

TEST(OnuUpdateSteps, ARefusalLeavesTheRowAndSaysWhy) {
    with_onu([](AppChassis& chassis) {
        chassis.card_answers(UPDATE_MESSAGE, 1009);
        OvRefusal door("vty");
        EXPECT_EQ(end_of(begin(SONUUPDATEACTION_COMMIT)), OV_GPON_RET_BAD_PARAM);
        EXPECT_STREQ(door.notes().reason.data(),
                     "the card in slot 3 refused with code 1009: its driver failed");
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set onu update action to hal error"));
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_NONE);
        chassis.card_answers(UPDATE_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(end_of(begin(SONUUPDATEACTION_COMMIT)), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_COMMIT);
    });
}

TEST(OnuUpdateSteps, ACardThatIsAwayIsToldLater) {
    with_onu([](AppChassis& chassis) {
        hal_slot_active_flag_clear("test", 0, SLOT);
        EXPECT_EQ(end_of(begin(SONUUPDATEACTION_COMMIT)), OV_GPON_RET_OK);
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_COMMIT);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuUpdateSteps, AStartWaitsForItsFileAndNotForTheCard) {
    with_onu([](AppChassis& chassis) {
        put_slow_copy();
        put_image("big.bin", "big");
        chassis.card_answers(UPDATE_MESSAGE, 1009);
        const auto action = begin(SONUUPDATEACTION_START, "big.bin");
        EXPECT_FALSE(action->go_on());
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_NONE);
        let_copies_go();
        EXPECT_EQ(end_of(action), OV_GPON_RET_OK);
        EXPECT_EQ(named_in(chassis.messages(1)[0].record<UpdateRecord>()), "big.bin");
        EXPECT_EQ(copies_begun(), 1);
        EXPECT_EQ(end_of(begin(SONUUPDATEACTION_START, "absent.bin")), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.messages(), SizeIs(1));
    });
}

TEST(OnuUpdateSteps, AStepBehindALateStartWaitsForIt) {
    with_onu([](AppChassis& chassis) {
        put_slow_copy();
        put_image("big.bin", "big");
        EXPECT_EQ(act(SONUUPDATEACTION_START, "big.bin"), OV_GPON_RET_OK);
        const auto action = begin(SONUUPDATEACTION_ABORT);
        EXPECT_FALSE(action->go_on());
        EXPECT_THAT(chassis.messages(), IsEmpty());
        let_copies_go();
        EXPECT_EQ(end_of(action), OV_GPON_RET_OK);
        const auto told = chassis.messages(2);
        EXPECT_EQ(told[0].record<UpdateRecord>().updAct, SONUUPDATEACTION_START);
        EXPECT_EQ(told[1].record<UpdateRecord>().updAct, SONUUPDATEACTION_ABORT);
    });
}

TEST(OnuUpdateSteps, AStartBehindALateStartWaitsForItsFile) {
    with_onu([](AppChassis& chassis) {
        put_image("small.bin", "small");
        EXPECT_EQ(ov_product_onuupdate_mibdata_convert_to_hal("small.bin"), OV_GPON_RET_OK);
        put_slow_copy();
        put_image("big.bin", "big");
        EXPECT_EQ(act(SONUUPDATEACTION_START, "big.bin"), OV_GPON_RET_OK);
        const auto action = begin(SONUUPDATEACTION_START, "small.bin");
        EXPECT_FALSE(action->go_on());
        EXPECT_THAT(chassis.messages(), IsEmpty());
        let_copies_go();
        EXPECT_EQ(end_of(action), OV_GPON_RET_OK);
        const auto told = chassis.messages(2);
        ASSERT_THAT(told, SizeIs(2));
        EXPECT_EQ(named_in(told[0].record<UpdateRecord>()), "big.bin");
        EXPECT_EQ(named_in(told[1].record<UpdateRecord>()), "small.bin");
    });
}

TEST(OnuUpdateSteps, ARowThatRefusesWhatItsCardTookSaysWhy) {
    with_onu([](AppChassis& /*chassis*/) {
        OvRefusal door("vty");
        const auto action = begin(SONUUPDATEACTION_COMMIT);
        Update gone = UPDATE; // the port goes meanwhile
        ASSERT_TRUE(mib_access(MIB_DEL_S_N, gone));
        EXPECT_EQ(end_of(action), OV_GPON_RET_BAD_PARAM);
        EXPECT_STRNE(door.notes().reason.data(), "");
    });
}

// ---- what managers write ----------------------------------------------------------------------------------

// What a TestSet of this action leaves, and the CommitSet behind it: whether it is held.
bool commit_is_held(mib_long action, const char* file = "") {
    Update row = *find_row(UPDATE);
    row.sOnuUpdateOnuMask[0] = 1 << 6;
    row.sOnuUpdateAction = action;
    set_text(row.sOnuUpdateVersionName, file);
    const auto* bytes = reinterpret_cast<const char*>(&row);
    snmp_ahead_keep(table_of<Update>::module(), {bytes, bytes + sizeof row},
                    columns_of(update_column::sOnuUpdateOnuMask, update_column::sOnuUpdateAction));
    return snmp_ahead_begin();
}
// Once it goes on.
int carry_out(mib_long action, const char* file = "") {
    EXPECT_TRUE(loop_until([] { return !snmp_ahead_begin(); }));
    const int result = act(action, file);
    snmp_ahead_end(table_of<Update>::module());
    return result;
}

TEST(OnuUpdateOfAManager, ItsCardIsAskedAheadAndItsAnswerIsTheSets) {
    with_onu([](AppChassis& chassis) {
        ASSERT_TRUE(commit_is_held(SONUUPDATEACTION_COMMIT));
        EXPECT_EQ(carry_out(SONUUPDATEACTION_COMMIT), OV_GPON_RET_OK);
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_COMMIT);
        ASSERT_THAT(chassis.messages(1), SizeIs(1));
        EXPECT_EQ(act(SONUUPDATEACTION_COMMIT), OV_GPON_RET_OK); // of somebody else
        const auto told = chassis.messages(2);
        EXPECT_EQ(told[0].bytes, told[1].bytes);
        EXPECT_EQ(told[0].action, told[1].action);

        chassis.card_answers(UPDATE_MESSAGE, 1009);
        ASSERT_TRUE(commit_is_held(SONUUPDATEACTION_ACTIVE));
        OvRefusal door("snmp");
        EXPECT_EQ(carry_out(SONUUPDATEACTION_ACTIVE), OV_GPON_RET_BAD_PARAM);
        EXPECT_STREQ(door.notes().reason.data(),
                     "the card in slot 3 refused with code 1009: its driver failed");
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set onu update action to hal error"));
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_COMMIT);
        EXPECT_THAT(chassis.messages(3), SizeIs(3));

        chassis.card_answers(UPDATE_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        ASSERT_TRUE(commit_is_held(SONUUPDATEACTION_ABORT));
        EXPECT_EQ(carry_out(SONUUPDATEACTION_ABORT), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
    });
}

TEST(OnuUpdateOfAManager, AnAnswerBehindTheEndOfItsSetIsNobodys) {
    with_onu([](AppChassis& chassis) {
        ASSERT_TRUE(commit_is_held(SONUUPDATEACTION_COMMIT));
        snmp_ahead_end(table_of<Update>::module());
        EXPECT_TRUE(loop_until([] { return hal_requests_under_way() == 0; }));
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_NONE);
        EXPECT_EQ(act(SONUUPDATEACTION_COMMIT), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.messages(2), SizeIs(2));
    });
}

TEST(OnuUpdateOfAManager, ACardThatIsAwayIsLeftToTheSet) {
    with_onu([](AppChassis& /*chassis*/) {
        hal_slot_active_flag_clear("test", 0, SLOT);
        EXPECT_FALSE(commit_is_held(SONUUPDATEACTION_COMMIT));
        snmp_ahead_end(table_of<Update>::module());
    });
}

TEST(OnuUpdateOfAManager, AStartIsHeldForItsFileAndRefusedWithoutIt) {
    with_onu([](AppChassis& chassis) {
        put_slow_copy();
        put_image("big.bin", "big");
        ASSERT_TRUE(commit_is_held(SONUUPDATEACTION_START, "big.bin"));
        let_copies_go();
        EXPECT_EQ(carry_out(SONUUPDATEACTION_START, "big.bin"), OV_GPON_RET_OK);
        EXPECT_EQ(named_in(chassis.messages(1)[0].record<UpdateRecord>()), "big.bin");
        EXPECT_EQ(copies_begun(), 1);
        ASSERT_TRUE(commit_is_held(SONUUPDATEACTION_START, "absent.bin"));
        EXPECT_EQ(carry_out(SONUUPDATEACTION_START, "absent.bin"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.messages(), SizeIs(1));
    });
}

TEST(OnuUpdateOfAManager, AStepBehindALateStartIsHeldForIt) {
    with_onu([](AppChassis& chassis) {
        put_slow_copy();
        put_image("big.bin", "big");
        EXPECT_EQ(act(SONUUPDATEACTION_START, "big.bin"), OV_GPON_RET_OK);
        ASSERT_TRUE(commit_is_held(SONUUPDATEACTION_ABORT));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        let_copies_go();
        EXPECT_EQ(carry_out(SONUUPDATEACTION_ABORT), OV_GPON_RET_OK);
        const auto told = chassis.messages(2);
        EXPECT_EQ(told[0].record<UpdateRecord>().updAct, SONUUPDATEACTION_START);
        EXPECT_EQ(told[1].record<UpdateRecord>().updAct, SONUUPDATEACTION_ABORT);
        EXPECT_THAT(chassis.messages(), SizeIs(2));
    });
}

} // namespace
