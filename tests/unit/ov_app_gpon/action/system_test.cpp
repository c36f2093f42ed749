// Actions that are done within the creation, and those for a station that moves the files itself.
#include "action_chassis.h"

#include "../support/onu_chassis.h"
#include "mmg_definition.h"
#include "mmg_mib_save_task.h"
#include "ov_app_gpon_action_station.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string version(const std::string& name) {
    return std::string(ActionChassis::VERSIONS) + "/" + name;
}

// ---- the system --------------------------------------------------------------------------------------

TEST(SystemActions, SetTheirFlags) {
    struct Case {
        int type;
        const char* call;
    };
    action_chassis::run([](ActionChassis& chassis) {
        for (const Case& each : {Case{SACTIONTYPE_CONFIGSAVE, "ov_env_put fast_save_flag 1"},
                                 Case{SACTIONTYPE_CONFIGTODEFAULT, "ov_env_put restore_flag 1"},
                                 Case{SACTIONTYPE_REBOOT, "ov_env_put reboot_flag 2"}}) {
            chassis.create(each.type);
            EXPECT_THAT(chassis.calls(), ElementsAre(each.call));
            EXPECT_EQ(chassis.outcome(each.type), SACTIONSTATUS_SUCCESS);
        }
    });
}

TEST(SystemActions, AFlagThatCantBeSetIsAFailure) {
    action_chassis::run([](ActionChassis& chassis) {
        ActionChassis::write("/tmp/store_is_full", "");
        chassis.create(SACTIONTYPE_REBOOT);
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_REBOOT), SACTIONSTATUS_FAIL);
        EXPECT_EQ(chassis.row_status(SACTIONTYPE_REBOOT), OVRA_NOTINSERVICE);
        EXPECT_FALSE(ActionChassis::is_busy());
    });
}

TEST(DebugLevel, TurnsTheTwoSwitches) {
    struct Case {
        const char* level;
        int info_before;
        int function;
        int info;
    };
    action_chassis::run([](ActionChassis& chassis) {
        for (const Case& each : {Case{"DEBUG", 0, 1, 0}, Case{"DEBUG", 1, 1, 1}, Case{"INF", 0, 0, 1},
                                 Case{"debug", 1, 0, 0}, Case{"x", 1, 0, 0}}) {
            mmg_set_debug_function_flag(0);
            mmg_set_debug_info_flag(each.info_before);
            chassis.create(SACTIONTYPE_APPDEBUGLEVEL, {each.level});
            EXPECT_EQ(mmg_get_debug_function_flag(), each.function) << each.level;
            EXPECT_EQ(mmg_get_debug_info_flag(), each.info) << each.level;
            EXPECT_EQ(chassis.outcome(SACTIONTYPE_APPDEBUGLEVEL), SACTIONSTATUS_SUCCESS);
        }
    });
}

TEST(ClearPort, WhatCantBeClearedIsCalledAMissingParameter) {
    action_chassis::run([](ActionChassis& chassis) {
        onu_test::make_group(4, 5, true);
        for (const char* port : {"0", "17", "x", "-1", "4", "5"}) {
            chassis.create(SACTIONTYPE_GPONCONFIGCLEAR, {port});
            EXPECT_EQ(chassis.outcome(SACTIONTYPE_GPONCONFIGCLEAR), SACTIONSTATUS_FAIL) << port;
            EXPECT_THAT(chassis.log(), Contains("lack of parameter!")) << port;
        }
    });
}

TEST(ClearPort, IsRunningUntilTheLastStep) {
    action_chassis::run([](ActionChassis& chassis) {
        onu_test::put_onu(
            chassis, [](auto& /*onu*/) {}, 1, 4);
        ASSERT_TRUE(ActionChassis::begin(SACTIONTYPE_GPONCONFIGCLEAR, {"4"}));
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_GPONCONFIGCLEAR), SACTIONSTATUS_RUNNING);
        ASSERT_TRUE(loop_until([] { return !ActionChassis::is_busy(); }));
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_GPONCONFIGCLEAR), SACTIONSTATUS_SUCCESS);
        EXPECT_EQ(find_row(onu_key_of_ifindex<ov_sOnuTable_attr_t>(onu_ifindex(ActionChassis::SLOT, 4, 1))),
                  nullptr);
    });
}

// ---- firmware files of ONUs --------------------------------------------------------------------------

TEST(ShowOnuVersions, CountsAllAndNamesFive) {
    action_chassis::run([](ActionChassis& chassis) {
        constexpr int TYPE = SACTIONTYPE_SHOWONUVER;
        for (int n = 8; n >= 1; --n)
            ActionChassis::write(version("v" + std::to_string(n)), "x");
        chassis.create(TYPE);
        EXPECT_EQ(chassis.parameter(TYPE, 1), "8");
        for (int n = 1; n <= 5; ++n)
            EXPECT_EQ(chassis.parameter(TYPE, n + 1), "v" + std::to_string(n));
        EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_SUCCESS);
    });
}

TEST(ShowOnuVersions, TheSixthParameterIsOnlyWrittenByAFifthName) {
    action_chassis::run([](ActionChassis& chassis) {
        constexpr int TYPE = SACTIONTYPE_SHOWONUVER;
        ActionChassis::write(version(std::string(70, 'v')), "x");
        chassis.create(TYPE, {"1", "2", "3", "4", "5", "6"});
        EXPECT_EQ(chassis.parameter(TYPE, 1), "1");
        EXPECT_EQ(chassis.parameter(TYPE, 2), std::string(63, 'v'));
        for (int number : {3, 4, 5})
            EXPECT_EQ(chassis.parameter(TYPE, number), "");
        EXPECT_EQ(chassis.parameter(TYPE, 6), "6");
    });
}

TEST(ShowOnuVersions, ADirectoryThatIsNotThereIsEmpty) {
    action_chassis::run([](ActionChassis& chassis) {
        std::filesystem::remove(ActionChassis::VERSIONS);
        chassis.create(SACTIONTYPE_SHOWONUVER);
        EXPECT_EQ(chassis.parameter(SACTIONTYPE_SHOWONUVER, 1), "0");
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_SHOWONUVER), SACTIONSTATUS_SUCCESS);
    });
}

TEST(DeleteOnuVersions, GoesOnBehindOneThatIsNotThere) {
    action_chassis::run([](ActionChassis& chassis) {
        for (const char* name : {"a", "b", "kept"})
            ActionChassis::write(version(name), "x");
        ActionChassis::write("/app/appload/other", "x");
        chassis.forget_messages();
        chassis.create(SACTIONTYPE_DELONUVER, {"a", "none", "../other", "", "b", "$(touch /tmp/x)"});
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_DELONUVER), SACTIONSTATUS_SUCCESS);
        EXPECT_FALSE(ActionChassis::exists(version("a")));
        EXPECT_FALSE(ActionChassis::exists(version("b")));
        EXPECT_TRUE(ActionChassis::exists(version("kept")));
        EXPECT_TRUE(ActionChassis::exists("/app/appload/other"));
        std::vector<std::string> told;
        for (const CardMessage& message : chassis.messages(2))
            told.emplace_back(message.record<ov_gpon_onu_update_attr_t>().versionName);
        EXPECT_THAT(told, ElementsAre("a", "b"));
    });
}

// ---- for the station ---------------------------------------------------------------------------------

TEST(ForTheStation, SomeArePreparedByDoingNothing) {
    action_chassis::run([](ActionChassis& chassis) {
        for (int type :
             {SACTIONTYPE_SFTPUPLOADPMDADTA, SACTIONTYPE_SFTPUPLOADLOG, SACTIONTYPE_SFTPUPLOADDIAG}) {
            chassis.create(type);
            EXPECT_EQ(chassis.outcome(type), SACTIONSTATUS_SUCCESS);
            EXPECT_EQ(chassis.parameter(type, 6), "");
        }
        EXPECT_THAT(chassis.calls(), IsEmpty());
    });
}

TEST(ForTheStation, TheConfigurationIsPacked) {
    action_chassis::run([](ActionChassis& chassis) {
        constexpr int TYPE = SACTIONTYPE_SFTPUPLOADCONFIG;
        for (int run = 0; run < 2; ++run) {
            chassis.create(TYPE);
            EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_SUCCESS);
        }
        EXPECT_EQ(chassis.parameter(TYPE, 6), "/home/nms/upload/config.tar.gz");
        ASSERT_EQ(std::system("tar -xzf /home/nms/upload/config.tar.gz -C /tmp"), 0); // NOLINT
        EXPECT_EQ(ActionChassis::read("/tmp/gpon.conf"), "old");
        std::filesystem::remove("/flash/gpon.conf");
        chassis.create(TYPE);
        EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_FAIL);
        EXPECT_EQ(chassis.parameter(TYPE, 6), "");
        EXPECT_THAT(chassis.log(), Contains("pack config file to /home/nms/upload/config.tar.gz failed."));
        EXPECT_TRUE(ActionChassis::exists("/home/nms/upload/config.tar.gz")) << "that of before";
    });
}

TEST(ForTheStation, ATableIsSavedByWhoeverAnswersTheFlag) {
    action_chassis::run([](ActionChassis& chassis) {
        constexpr int TYPE = SACTIONTYPE_SFTPUPLOADMIBDATA;
        EXPECT_TRUE(ActionChassis::begin(TYPE, {"sPonTable"}));
        EXPECT_TRUE(loop_until([] { return mmg_table_save_flag_get("sPonTable") != 0; }));
        EXPECT_EQ(mmg_table_save_immediate("sPonTable"), 0);
        EXPECT_TRUE(loop_until([] { return !ActionChassis::is_busy(); }));
        EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_SUCCESS);
        EXPECT_EQ(chassis.parameter(TYPE, 6), "/var/run/product/mibdata/sPonTable.mib");
    });
}

TEST(ForTheStation, ATableThatNobodySavesIsGivenUp) {
    action_chassis::run([](ActionChassis& chassis) {
        chassis.create(SACTIONTYPE_SFTPUPLOADMIBDATA, {"noTable"});
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_SFTPUPLOADMIBDATA), SACTIONSTATUS_FAIL);
        EXPECT_THAT(chassis.log(), Contains("save mib noTable timeout 2000 ms."));
        EXPECT_EQ(chassis.parameter(SACTIONTYPE_SFTPUPLOADMIBDATA, 6), "");
    });
}

TEST(ForTheStation, ANameThatNoTableHasIsToldInTheSixthParameter) {
    action_chassis::run([](ActionChassis& chassis) {
        constexpr int TYPE = SACTIONTYPE_SFTPUPLOADMIBDATA;
        for (const char* name : {"", "a b", "../x", "$(id)"}) {
            chassis.create(TYPE, {name});
            EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_FAIL);
            EXPECT_EQ(chassis.parameter(TYPE, 6), std::string("Inavlid table name ") + name);
            EXPECT_THAT(chassis.calls(), IsEmpty());
        }
        chassis.create(TYPE, {std::string(64, ' ')});
        EXPECT_EQ(chassis.parameter(TYPE, 6).size(), 64u);
    });
}

TEST(FromTheStation, AConfigurationIsTaken) {
    action_chassis::run([](ActionChassis& chassis) {
        constexpr int TYPE = SACTIONTYPE_SFTPDOWNLOADCONFIG;
        ActionChassis::write("/home/nms/download/c", "new");
        chassis.create(TYPE, {"c"});
        EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_SUCCESS);
        EXPECT_EQ(ActionChassis::read("/flash/gpon.conf"), "new");
        EXPECT_EQ(ActionChassis::read("/flash/gpon.conf.bak"), "old");
        EXPECT_FALSE(ActionChassis::exists("/home/nms/download/c"));
        std::filesystem::create_symlink("/flash/gpon.conf.bak", "/home/nms/download/link");
        for (const char* name : {"c", "link", "."}) {
            chassis.create(TYPE, {name});
            EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_FAIL) << name;
            EXPECT_THAT(chassis.log(), Contains("Can't replace the old config file with the new one"));
            EXPECT_THAT(chassis.log(), Contains("download config file by action failed."));
        }
        EXPECT_EQ(ActionChassis::read("/flash/gpon.conf"), "new");
    });
}

TEST(FromTheStation, ALoadIsTakenAndStartedFromNextTime) {
    action_chassis::run([](ActionChassis& chassis) {
        constexpr int TYPE = SACTIONTYPE_SFTPDOWNLOADOLTFIRM;
        ActionChassis::write("/home/nms/download/l", "load");
        ActionChassis::write("/home/nms/download/l.md5", "digest");
        chassis.create(TYPE, {"l"});
        EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_SUCCESS);
        EXPECT_THAT(chassis.calls(), ElementsAre("ov_check_file /home/nms/download/l",
                                                 "ov_env_put fresh_load_path /app/appload/1",
                                                 "ov_env_put fresh_load_name l", "ov_env_put boot_flag 1"));
        EXPECT_EQ(ActionChassis::read("/app/appload/1/l.md5"), "digest");
    });
}

TEST(FromTheStation, ALoadThatIsNotWholeTouchesNothing) {
    action_chassis::run([](ActionChassis& chassis) {
        constexpr int TYPE = SACTIONTYPE_SFTPDOWNLOADOLTFIRM;
        std::filesystem::create_directories("/app/appload/1");
        ActionChassis::write("/app/appload/1/previous", "x");
        chassis.create(TYPE, {"l"});
        EXPECT_THAT(chassis.log(), Contains("olt load file is incorrect."));
        EXPECT_THAT(chassis.log(), Contains("upgrade olt load by action failed."));
        ActionChassis::write("/home/nms/download/l", "load"); // without a digest
        chassis.create(TYPE, {"l"});
        EXPECT_EQ(chassis.outcome(TYPE), SACTIONSTATUS_FAIL);
        EXPECT_TRUE(ActionChassis::exists("/app/appload/1/previous"));
        EXPECT_TRUE(ActionChassis::exists("/home/nms/download/l"));
        EXPECT_FALSE(ActionChassis::exists("/tmp/env/boot_flag"));
    });
}

TEST(FromTheStation, FirmwareOfOnusIsTakenIfItIsNew) {
    action_chassis::run([](ActionChassis& chassis) {
        constexpr int TYPE = SACTIONTYPE_SFTPDOWNLOADONUFIRM;
        const auto take = [&chassis](const char* name) {
            ActionChassis::write(std::string("/home/nms/download/") + name, name);
            chassis.create(TYPE, {name});
            return ActionChassis::outcome(TYPE);
        };
        for (const char* name : {"v1", "v2", "v3", "v4", "v5", "v6"})
            EXPECT_EQ(take(name), SACTIONSTATUS_SUCCESS) << name;
        EXPECT_EQ(ActionChassis::read(version("v6")), "v6");
        EXPECT_EQ(take("v7"), SACTIONSTATUS_FAIL) << "six are the most";
        std::filesystem::remove(version("v6"));
        EXPECT_EQ(take("v1"), SACTIONSTATUS_FAIL) << "it is there";
        EXPECT_THAT(chassis.log(), Contains("upgrade olt load by action failed."));
    });
}

} // namespace
