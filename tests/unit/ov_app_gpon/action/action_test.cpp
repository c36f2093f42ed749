// The life of an action: who may start one, one at a time, and what its row says in the end.
#include "action_chassis.h"

#include "../../support/dice.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr int NO_TYPE = 5;
const std::vector<std::string> SERVER_AND_FILE = {"10.0.0.1", "69", "file"};

// ---- the table of types ------------------------------------------------------------------------------

TEST(ActionTypes, HaveTheirWordsForTheLog) {
    EXPECT_STREQ(ov_app_gpon_action_text(SACTIONTYPE_PMUPLOAD), " PMUPLOAD ");
    EXPECT_STREQ(ov_app_gpon_action_text(61), " SFTPUPLOADPMDADTA ");
    EXPECT_STREQ(ov_app_gpon_action_text(73), " SFTPDOWNLOADONUFIRM ");
    for (int number : {-1, 0, 5, 60, 66, 74, 1000})
        EXPECT_STREQ(ov_app_gpon_action_text(number), "UNKNOWN ERROR") << number;
}

// Each number that managers can name has a line, and each line one way to be carried out.
TEST(ActionTypes, AreThoseOfTheTable) {
    int count = 0;
    for (int number = -10; number < 200; ++number) {
        const ActionType* type = action_type_find(number);
        if (type == nullptr)
            continue;
        ++count;
        EXPECT_NE(type->now == nullptr, type->work == nullptr) << number;
        EXPECT_EQ(type->number, number);
    }
    EXPECT_EQ(count, 24);
}

TEST(ActionTypes, NeedTheseParameters) {
    const auto needed = [](int type) { return action_type_find(type)->required; };
    for (int type : {1, 2, 3, 4, 25, 45, 48, 49})
        EXPECT_EQ(needed(type), action_parameters(1, 2, 3)) << type;
    for (int type : {21, 40, 71, 72, 73})
        EXPECT_EQ(needed(type), action_parameters(1)) << type;
    EXPECT_EQ(needed(50), action_parameters(1, 3));
    for (int type : {10, 20, 30, 46, 47, 61, 62, 63, 64, 65})
        EXPECT_EQ(needed(type), 0u) << type;
}

// ---- the creation ------------------------------------------------------------------------------------

TEST(Action, ANumberWithoutActionSucceedsAndDoesNothing) {
    action_chassis::run([](ActionChassis& chassis) {
        chassis.create(NO_TYPE);
        EXPECT_EQ(chassis.outcome(NO_TYPE), SACTIONSTATUS_SUCCESS);
        EXPECT_EQ(chassis.row_status(NO_TYPE), OVRA_ACTIVE);
        EXPECT_THAT(chassis.log(), Contains("action command 5 finished"));
        EXPECT_THAT(chassis.calls(), IsEmpty());
    });
}

TEST(Action, OnlyACreationStartsOne) {
    action_chassis::run([](ActionChassis& chassis) {
        chassis.create(SACTIONTYPE_CONFIGSAVE);
        EXPECT_THAT(chassis.calls(), ElementsAre("ov_env_put fast_save_flag 1"));
        ActionRow change = ActionChassis::key(SACTIONTYPE_CONFIGSAVE);
        set_text(change.sActionParam1, "x");
        EXPECT_TRUE(mib_access(MIB_SET, change, columns_of(sActionTable_column::sActionParam1)));
        EXPECT_THAT(chassis.calls(), IsEmpty());
        EXPECT_TRUE(mib_access(MIB_DEL, change));
        EXPECT_THAT(chassis.calls(), IsEmpty());
    });
}

TEST(Action, ARowThatWaitedStartsWhenItIsActivated) {
    action_chassis::run([](ActionChassis& chassis) {
        EXPECT_TRUE(ActionChassis::begin(SACTIONTYPE_REBOOT, {}, OVRA_CREATEANDWAIT));
        EXPECT_THAT(chassis.calls(), IsEmpty());
        EXPECT_TRUE(ActionChassis::begin(SACTIONTYPE_REBOOT, {}, OVRA_ACTIVE));
        EXPECT_THAT(chassis.calls(), ElementsAre("ov_env_put reboot_flag 2"));
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_REBOOT), SACTIONSTATUS_SUCCESS);
        EXPECT_EQ(chassis.row_status(SACTIONTYPE_REBOOT), OVRA_ACTIVE);
    });
}

TEST(Action, ASecondOneIsIgnoredWhileOneIsUnderWay) {
    action_chassis::run([](ActionChassis& chassis) {
        ActionChassis::write("/tmp/silent", "");
        setenv("OV_TRANSFER_TIMEOUT", "1000", 1);
        EXPECT_TRUE(ActionChassis::begin(SACTIONTYPE_CONFIGUPLOAD, SERVER_AND_FILE));
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_CONFIGUPLOAD), SACTIONSTATUS_RUNNING);
        LogCapture::clear();
        EXPECT_TRUE(ActionChassis::begin(SACTIONTYPE_REBOOT));
        EXPECT_THAT(chassis.log(), Contains("creation busy"));
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_REBOOT), SACTIONSTATUS_IDLE);
        EXPECT_THAT(chassis.calls(), Not(Contains(HasSubstr("reboot_flag"))));
        EXPECT_TRUE(ActionChassis::is_busy());
    });
}

TEST(Action, AMissingParameterOfATransferEndsItAtOnce) {
    action_chassis::run([](ActionChassis& chassis) {
        for (int type : {1, 2, 3, 4, 25, 45, 48})
            for (size_t missing = 0; missing < 3; ++missing) {
                std::vector<std::string> parameters = SERVER_AND_FILE;
                parameters[missing].clear();
                chassis.create(type, parameters);
                EXPECT_EQ(chassis.outcome(type), SACTIONSTATUS_FAIL) << type;
                EXPECT_EQ(chassis.row_status(type), OVRA_NOTINSERVICE) << type;
                EXPECT_THAT(chassis.log(), Contains("lack of parameter!")) << type;
                EXPECT_THAT(chassis.calls(), IsEmpty()) << type;
                EXPECT_FALSE(ActionChassis::is_busy());
            }
        for (int type : {71, 72, 73}) {
            chassis.create(type);
            EXPECT_EQ(chassis.outcome(type), SACTIONSTATUS_FAIL) << type;
            EXPECT_THAT(chassis.log(), Contains("lack of parameter!")) << type;
        }
    });
}

TEST(Action, AWordThatMayNotStandInACommandLineStartsNothing) {
    action_chassis::run([](ActionChassis& chassis) {
        for (const char* word :
             {"a b", "a\"b", "a'b", "a;b", "`id`", "$(id)", "../a", "a/../b", "-f", "a\nb", "\xC3\xA4"})
            for (size_t place = 0; place < 3; ++place) {
                std::vector<std::string> parameters = SERVER_AND_FILE;
                parameters[place] = word;
                for (int type : {1, 2, 3, 4, 25, 45, 48}) {
                    chassis.create(type, parameters);
                    EXPECT_EQ(chassis.outcome(type), SACTIONSTATUS_FAIL) << word;
                    EXPECT_THAT(chassis.calls(), IsEmpty()) << word;
                }
            }
        EXPECT_EQ(ActionChassis::read("/flash/gpon.conf"), "old");
    });
}

TEST(Action, NamesOfAllSixtyFourBytesAreTaken) {
    action_chassis::run([](ActionChassis& chassis) {
        const std::string name(64, 'n');
        chassis.create(SACTIONTYPE_CONFIGUPLOAD, {std::string(64, 'h'), "69", name});
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_CONFIGUPLOAD), SACTIONSTATUS_SUCCESS);
        EXPECT_EQ(ActionChassis::served(name), "old");
    });
}

// Whatever a manager writes, the action ends, its row tells how, and nothing but the platform's tools is run.
TEST(Action, AnyParametersEndInAnOutcome) {
    action_chassis::run([](ActionChassis& chassis) {
        constexpr char LETTERS[] = "ab19/.-:,%@$`;'\" \\\n\xFF";
        const int types[] = {1, 2, 3, 4, 10, 21, 25, 40, 45, 46, 47, 48, 49, 50, 62, 71, 72, 73, 99};
        ActionChassis::make_tool("tftp", "exit 1");
        Dice dice(1);
        for (int run = 0; run < 400; ++run) {
            std::vector<std::string> parameters(ACTION_PARAMETERS);
            for (std::string& text : parameters)
                for (size_t length = dice.below(dice.below(4) == 0 ? 65 : 6); length > 0; --length)
                    text += LETTERS[dice.below(dice.below(2) == 0 ? 6 : sizeof LETTERS - 1)];
            const int type = types[dice.below(std::size(types))];
            chassis.create(type, parameters);
            ASSERT_THAT(chassis.outcome(type), testing::AnyOf(SACTIONSTATUS_FAIL, SACTIONSTATUS_SUCCESS))
                << type;
        }
        EXPECT_EQ(ActionChassis::read("/flash/gpon.conf"), "old");
    });
}

// ---- the worker --------------------------------------------------------------------------------------

TEST(ActionWorker, EndsWithoutARow) {
    LogCapture log;
    EXPECT_EQ(action_task(nullptr), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre("action_task get arg fail"));
}

TEST(ActionWorker, TellsItsOutcomeInTheLog) {
    action_chassis::run([](ActionChassis& chassis) {
        chassis.create(SACTIONTYPE_CONFIGUPLOAD, SERVER_AND_FILE);
        EXPECT_THAT(chassis.log(), Contains("exec command 2: CONFIGUPLOAD  success"));
        EXPECT_THAT(chassis.log(), Contains("execute olt_snmp_action_configupload success"));
        EXPECT_EQ(chassis.row_status(SACTIONTYPE_CONFIGUPLOAD), OVRA_ACTIVE);
        ActionChassis::refuse("file");
        chassis.create(SACTIONTYPE_CONFIGUPLOAD, SERVER_AND_FILE);
        EXPECT_THAT(chassis.log(), Contains("exec command 2: CONFIGUPLOAD  failure"));
        EXPECT_THAT(chassis.log(), Contains("execute olt_snmp_action_configupload failed"));
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_CONFIGUPLOAD), SACTIONSTATUS_FAIL);
        EXPECT_EQ(chassis.row_status(SACTIONTYPE_CONFIGUPLOAD), OVRA_ACTIVE) << "that of the row";
    });
}

TEST(ActionWorker, WritesNothingIntoARowThatHasGone) {
    action_chassis::run([](ActionChassis& chassis) {
        ActionChassis::write("/tmp/silent", "");
        setenv("OV_TRANSFER_TIMEOUT", "1", 1);
        EXPECT_TRUE(ActionChassis::begin(SACTIONTYPE_CONFIGUPLOAD, SERVER_AND_FILE));
        ActionRow row = ActionChassis::key(SACTIONTYPE_CONFIGUPLOAD);
        EXPECT_TRUE(mib_access(MIB_DEL, row));
        EXPECT_TRUE(loop_until([] { return !ActionChassis::is_busy(); }));
        EXPECT_FALSE(mib_access(MIB_GET_S, row));
        EXPECT_THAT(chassis.log(), Contains("exec command 2: CONFIGUPLOAD  failure"));
    });
}

// A manager's creation is committed behind the callbacks: a worker that is quicker finds it half made.
TEST(ActionWorker, LeavesAStatusThatIsStillBeingMade) {
    action_chassis::run([](ActionChassis& chassis) {
        for (int status : {OVRA_CREATEANDGO, OVRA_CREATEANDWAIT}) {
            auto* row = static_cast<ActionRow*>(
                table_of<ActionRow>::module().create_entry_at(GPON_SHELF, ActionChassis::SLOT, NO_TYPE));
            row->sActionRowStatus = status;
            gpon_action_busy = 1;
            action_task(new ActionRow(*row));
            EXPECT_EQ(chassis.outcome(NO_TYPE), SACTIONSTATUS_SUCCESS);
            EXPECT_EQ(chassis.row_status(NO_TYPE), status);
            EXPECT_FALSE(ActionChassis::is_busy());
        }
    });
}

TEST(ActionWorker, AServerThatSaysNothingIsGivenUp) {
    action_chassis::run([](ActionChassis& chassis) {
        ActionChassis::write("/tmp/silent", "");
        setenv("OV_TRANSFER_TIMEOUT", "1", 1);
        chassis.create(SACTIONTYPE_CONFIGDOWNLOAD, SERVER_AND_FILE);
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_CONFIGDOWNLOAD), SACTIONSTATUS_FAIL);
        EXPECT_EQ(ActionChassis::read("/flash/gpon.conf"), "old");
    });
}

// ---- start-up ----------------------------------------------------------------------------------------

TEST(ActionStart, WhatWasRunningInAFileOfBeforeHasFailed) {
    action_chassis::run([](ActionChassis& chassis) {
        const auto put = [&chassis](int type, int status) {
            chassis.put_row<ActionRow>([status](ActionRow& row) { row.sActionStatus = status; }, GPON_SHELF,
                                       ActionChassis::SLOT, type);
        };
        put(2, SACTIONSTATUS_RUNNING);
        put(3, SACTIONSTATUS_SUCCESS);
        ov_app_gpon_action_init();
        EXPECT_EQ(chassis.outcome(2), SACTIONSTATUS_FAIL);
        EXPECT_EQ(chassis.outcome(3), SACTIONSTATUS_SUCCESS);
    });
}

} // namespace
