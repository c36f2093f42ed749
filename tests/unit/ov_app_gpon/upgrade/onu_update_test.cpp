// The rows of ports: what an action tells the card, and the file that it takes.
#include "hal_request.h"
#include "hal_slot.h"
#include "onu_update_action.h"
#include "ov_app_gpon_port.h"
#include "ov_product_onu_image.h"
#include "table_snmp_ahead.h"
#include "upgrade_chassis.h"

using namespace upgrade_test;
using testing::Contains;
using testing::Each;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

std::string text_of(const char* field, size_t size) {
    return {field, strnlen(field, size)};
}
std::string named_in(const UpdateRecord& record) {
    return text_of(record.versionName, sizeof record.versionName);
}

// ---- the rows' life ---------------------------------------------------------------------------------------

TEST(OnuUpdateRows, ComeAndGoWithTheirPorts) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        ov_sPonTable_attr_t port = port_key<ov_sPonTable_attr_t>(SLOT, 2);
        MIB_Flags_t columns = columns_of(sPonTable_column::sPonTableAdminState);
        ASSERT_EQ(ov_app_gpon_port_add(&port, &columns), OV_GPON_RET_OK);
        EXPECT_NE(find_row(port_key<Update>(SLOT, 2)), nullptr);
        ASSERT_EQ(ov_app_gpon_port_del(&port), OV_GPON_RET_OK);
        EXPECT_THAT(all_of<Update>(), IsEmpty());
    });
}

TEST(OnuUpdateRows, AWriteWithoutRowOrColumnsIsRefused) {
    with_onu([](AppChassis& chassis) {
        Update row = UPDATE;
        MIB_Flags_t columns = columns_of(update_column::sOnuUpdateAction);
        EXPECT_EQ(ov_app_gpon_pon_onu_update_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_pon_onu_update_edit(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_pon_onu_update_edit_no_callback(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("null pointer").Times(3));
        row.portID = 9;
        EXPECT_EQ(ov_app_gpon_pon_onu_update_edit(&row, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("mib set error for pon_onu_update table"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuUpdateRows, AWriteWithoutCallbackReachesTheTableAlone) {
    with_onu([](AppChassis& chassis) {
        Update row = UPDATE;
        row.sOnuUpdateAction = SONUUPDATEACTION_COMMIT;
        MIB_Flags_t columns = columns_of(update_column::sOnuUpdateAction);
        EXPECT_EQ(ov_app_gpon_pon_onu_update_edit_no_callback(&row, &columns), OV_GPON_RET_OK);
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_COMMIT);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- actions ----------------------------------------------------------------------------------------------

TEST(OnuUpdateActions, AStartNamesTheFileAndDoesNotWait) {
    with_onu([](AppChassis& chassis) {
        put_image("onu-2.bin", "two");
        chassis.card_answers(UPDATE_MESSAGE, 1009); // nobody waits to hear it
        EXPECT_EQ(act(SONUUPDATEACTION_START, "onu-2.bin", {1, 9, 128}), OV_GPON_RET_OK);
        const auto told = chassis.messages(1);
        ASSERT_THAT(told, SizeIs(1));
        EXPECT_EQ(told[0].type, UPDATE_MESSAGE);
        EXPECT_EQ(told[0].action, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_EQ(told[0].mask, 0u);
        EXPECT_FALSE(told[0].wants_reply);
        const auto record = told[0].record<UpdateRecord>();
        EXPECT_EQ(record.ifindex, port_ifindex(PORT_TYPE_GPON, SLOT, PORT));
        EXPECT_EQ(record.updAct, SONUUPDATEACTION_START);
        EXPECT_EQ(named_in(record), "onu-2.bin");
        EXPECT_THAT(record.onuMask, ElementsAreArray({1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x80}));
        EXPECT_EQ(private_root::read_file("/tmp/onu-2.bin"), "two");
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_START);
    });
}

TEST(OnuUpdateActions, TheOthersNameNoFileAndWait) {
    with_onu([](AppChassis& chassis) {
        for (const mib_long action : {SONUUPDATEACTION_NONE, SONUUPDATEACTION_ACTIVE, SONUUPDATEACTION_COMMIT,
                                      SONUUPDATEACTION_ABORT})
            EXPECT_EQ(act(action, "onu-2.bin"), OV_GPON_RET_OK); // there is no such file
        const auto told = chassis.messages_of(UPDATE_MESSAGE);
        ASSERT_THAT(told, SizeIs(4));
        const mib_long sent[] = {0, 2, 3, 4};
        for (size_t n = 0; n < 4; ++n) {
            EXPECT_TRUE(told[n].wants_reply);
            EXPECT_EQ(told[n].record<UpdateRecord>().updAct, sent[n]);
            EXPECT_THAT(told[n].record<UpdateRecord>().versionName, Each(0));
            EXPECT_EQ(told[n].record<UpdateRecord>().onuMask[0], 1 << 6);
        }
        EXPECT_FALSE(std::filesystem::exists("/tmp/onu-2.bin"));
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_ABORT);
    });
}

TEST(OnuUpdateActions, AMissingFileRefusesAndLeavesTheRow) {
    with_onu([](AppChassis& chassis) {
        EXPECT_EQ(act(SONUUPDATEACTION_START, "absent.bin"), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_NONE);
        EXPECT_STREQ(find_row(UPDATE)->sOnuUpdateVersionName, "");
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateOnuMask[0], 0);
    });
}

TEST(OnuUpdateActions, NamesThatAShellWouldTakeApartReachNone) {
    with_onu([](AppChassis& chassis) {
        put_image("a");
        for (const char* name : {"", "a b", "a;touch /tmp/done", "`touch /tmp/done`", "$(touch /tmp/done)",
                                 "../onu/a", "-a", "a\n", "a'", "a\"", "\xc3\xa4", "a*"}) {
            EXPECT_EQ(act(SONUUPDATEACTION_START, name), OV_GPON_RET_BAD_PARAM) << name;
            EXPECT_EQ(ov_product_onuupdate_mibdata_convert_to_hal(name), OV_GPON_RET_NO_RESOURCE) << name;
            EXPECT_FALSE(ov_product_onu_image_exists(name)) << name;
        }
        EXPECT_FALSE(std::filesystem::exists("/tmp/done"));
        EXPECT_FALSE(std::filesystem::exists("/tmp/a"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(act(SONUUPDATEACTION_START, "a"), OV_GPON_RET_OK);
    });
}

TEST(OnuUpdateActions, ANameOf64CharactersGoesOutWhole) {
    with_onu([](AppChassis& chassis) {
        const std::string name(64, 'n');
        put_image(name);
        EXPECT_EQ(act(SONUUPDATEACTION_START, name.c_str()), OV_GPON_RET_OK);
        EXPECT_EQ(named_in(chassis.messages(1)[0].record<UpdateRecord>()), name);
    });
}

TEST(OnuUpdateActions, ACardThatRefusesLeavesTheRow) {
    with_onu([](AppChassis& chassis) {
        chassis.card_answers(UPDATE_MESSAGE, 1009);
        EXPECT_EQ(act(SONUUPDATEACTION_COMMIT), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set onu update action to hal error"));
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_NONE);
    });
}

TEST(OnuUpdateActions, ACardThatDoesNotKnowUpgradesAcceptsTheRow) {
    with_onu([](AppChassis& chassis) {
        chassis.card_answers(UPDATE_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(act(SONUUPDATEACTION_COMMIT), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set to which not support"));
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_COMMIT);
    });
}

TEST(OnuUpdateActions, AnEditWithoutTheActionTellsNobody) {
    with_onu([](AppChassis& chassis) {
        Update row = UPDATE;
        set_text(row.sOnuUpdateVersionName, "onu-2.bin");
        row.sOnuUpdateAction = SONUUPDATEACTION_START;
        MIB_Flags_t columns = columns_of(update_column::sOnuUpdateVersionName);
        EXPECT_EQ(ov_app_gpon_pon_onu_update_edit(&row, &columns), OV_GPON_RET_OK);
        EXPECT_STREQ(find_row(UPDATE)->sOnuUpdateVersionName, "onu-2.bin");
        EXPECT_EQ(find_row(UPDATE)->sOnuUpdateAction, SONUUPDATEACTION_NONE);
        EXPECT_EQ(ov_pon_onu_update_table_set_callback(did_of<Update>(), &row, columns), SET_ACCEPTED);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuUpdateActions, TheRecordOfARowIsWholeAndSaysWhetherTheFileIsThere) {
    with_onu([](AppChassis& /*chassis*/) {
        Update row = UPDATE;
        row.sOnuUpdateAction = SONUUPDATEACTION_START;
        set_text(row.sOnuUpdateVersionName, "one");
        UpdateRecord record;
        std::memset(static_cast<void*>(&record), 0xff, sizeof record);
        EXPECT_EQ(sonuupdate_mib_data_convert_to_hal(&row, &record), OV_GPON_RET_NO_RESOURCE);
        EXPECT_EQ(named_in(record), "one");
        EXPECT_EQ(record.versionName[sizeof record.versionName - 1], 0);
        EXPECT_THAT(record.onuMask, Each(0));
        put_image("one");
        EXPECT_EQ(sonuupdate_mib_data_convert_to_hal(&row, &record), OV_GPON_RET_OK);
    });
}

// ---- files that take their time ---------------------------------------------------------------------------

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
        ASSERT_TRUE(loop_until([] { return !ov_app_gpon_pon_onu_update_is_late(UPDATE); }));
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
        ASSERT_TRUE(loop_until([] { return !ov_app_gpon_pon_onu_update_is_late(UPDATE); }));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("set onu update action to hal error"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuImageCopies, ACopyThatStandsIsntMadeAgain) {
    with_onu([](AppChassis& chassis) {
        put_slow_copy();
        let_copies_go();
        const auto start = [] { EXPECT_EQ(act(SONUUPDATEACTION_START, "a.bin"), OV_GPON_RET_OK); };
        const auto copies = [&](int begun, const char* text) {
            start();
            ASSERT_TRUE(loop_until([] { return !ov_app_gpon_pon_onu_update_is_late(UPDATE); }));
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

// ---- what managers write
// ------------------------------------------------------------------------------------

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

// ---- what else cards are told -----------------------------------------------------------------------------

// Which switch, and its value.
std::pair<uint32_t, uint32_t> switched(const CardMessage& message) {
    return {wire::get32(message.bytes, 0), wire::get32(message.bytes, 4)};
}

TEST(OnuUpgradeMessages, TellEveryCardWithoutWaiting) {
    with_onu([](AppChassis& chassis) {
        UpdateRecord gone = {};
        set_text(gone.versionName, "old.bin");
        EXPECT_EQ(ov_app_gpon_onu_version_delete(&gone), OV_GPON_RET_OK);
        EXPECT_EQ(ov_app_gpon_onu_upgrade_debug_set(1), OV_GPON_RET_OK);
        EXPECT_EQ(ov_app_gpon_onu_upgrade_auto_commit_set(1), OV_GPON_RET_OK);
        EXPECT_EQ(ov_app_gpon_onu_upgrade_auto_active_set(0), OV_GPON_RET_OK);
        const auto told = chassis.messages(4);
        ASSERT_THAT(told, SizeIs(4));
        for (const CardMessage& message : told) {
            EXPECT_EQ(message.action, OV_HAL_GPON_MSG_ACTION_SET);
            EXPECT_EQ(message.mask, 0u);
            EXPECT_FALSE(message.wants_reply);
        }
        EXPECT_EQ(told[0].type, 957);
        EXPECT_EQ(named_in(told[0].record<UpdateRecord>()), "old.bin");
        EXPECT_EQ(told[1].type, 966);
        EXPECT_EQ(switched(told[1]), std::pair(1u, 1u));
        EXPECT_EQ(switched(told[2]), std::pair(2u, 1u));
        EXPECT_EQ(switched(told[3]), std::pair(3u, 0u));
    });
}

TEST(OnuUpgradeMessages, ANetworkUpgradeGoesToTheCardOfItsPort) {
    with_onu([](AppChassis& chassis) {
        ov_gpon_onu_network_upgrade_attr_t record = {};
        record.ifindex = port_ifindex(PORT_TYPE_GPON, SLOT, PORT);
        record.serverip = 0x0a000001;
        EXPECT_EQ(ov_app_gpon_onu_network_upgrade_set(&record), OV_GPON_RET_OK);
        const auto told = chassis.messages(1);
        EXPECT_EQ(told[0].type, 967);
        EXPECT_FALSE(told[0].wants_reply);
        EXPECT_EQ(std::vector<int>(told[0].bytes.begin() + 20, told[0].bytes.begin() + 24),
                  (std::vector<int>{10, 0, 0, 1}));
    });
}

TEST(OnuUpgradeMessages, NothingIsNothingToTell) {
    with_onu([](AppChassis& chassis) {
        EXPECT_EQ(ov_app_gpon_onu_version_delete(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_onu_network_upgrade_set(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

} // namespace
