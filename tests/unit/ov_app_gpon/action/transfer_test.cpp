// What the actions with a TFTP server run, and what they leave behind.
#include "action_chassis.h"

#include "ov_app_gpon_action_transfer.h"
#include "table_list.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr char MIBS[] = "/var/run/product/mibdata/";
const std::vector<std::string> SERVER_AND_FILE = {"10.0.0.1", "69", "dir.x"};

size_t entries(const std::string& directory) {
    return static_cast<size_t>(
        std::distance(std::filesystem::directory_iterator(directory), std::filesystem::directory_iterator()));
}

// ---- counters ----------------------------------------------------------------------------------------

TEST(UploadCounters, SendsSixFiles) {
    action_chassis::run([](ActionChassis& chassis) {
        ActionChassis::write(std::string(MIBS) + "ponPmTable.mib", "counts");
        chassis.create(SACTIONTYPE_PMUPLOAD, {"10.0.0.1", "6969", "east"});
        EXPECT_THAT(
            chassis.calls(),
            ElementsAre("tftp -l /var/run/product/mibdata/sRmUniPmTable.mib -r east_UNI -p 10.0.0.1 6969",
                        "tftp -l /var/run/product/mibdata/ponPmTable.mib -r east_PON -p 10.0.0.1 6969",
                        "tftp -l /var/run/product/mibdata/onuPmTable.mib -r east_ONU -p 10.0.0.1 6969",
                        "tftp -l /var/run/product/mibdata/gemPmTable.mib -r east_GEM -p 10.0.0.1 6969",
                        "tftp -l /var/run/product/mibdata/ponnniPmTable.mib -r east_NNI -p 10.0.0.1 6969",
                        "tftp -l /var/run/product/mibdata/uplinkPmTable.mib -r east_ULK -p 10.0.0.1 6969"));
        EXPECT_EQ(ActionChassis::served("east_PON"), "counts");
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_PMUPLOAD), SACTIONSTATUS_SUCCESS);
    });
}

TEST(UploadCounters, TheFirstFailureEndsItAndTheLogSaysBoth) {
    action_chassis::run([](ActionChassis& chassis) {
        ActionChassis::refuse("east_ONU");
        chassis.create(SACTIONTYPE_PMUPLOAD, {"10.0.0.1", "69", "east"});
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_PMUPLOAD), SACTIONSTATUS_FAIL);
        EXPECT_EQ(chassis.calls().size(), 3u);
        EXPECT_TRUE(ActionChassis::exists("/tmp/served/east_PON"));
        EXPECT_THAT(chassis.log(),
                    ElementsAre(HasSubstr("create entry"),
                                "Failed to upload tftp -l /var/run/product/mibdata/onuPmTable.mib -r "
                                "east_ONU -p 10.0.0.1 69 ",
                                "upload_pm onuPmTable.mib fail", "execute olt_snmp_action_pmupload fail",
                                "execute olt_snmp_action_pmupload success",
                                "exec command 1: PMUPLOAD  failure",
                                StartsWith("refused: action: sActionTable PMUPLOAD: Failed to upload")));
    });
}

// ---- configuration -----------------------------------------------------------------------------------

TEST(DownloadConfig, ReplacesTheFileAndKeepsTheOldOne) {
    action_chassis::run([](ActionChassis& chassis) {
        ActionChassis::serve("dir.x", "new");
        chassis.create(SACTIONTYPE_CONFIGDOWNLOAD, SERVER_AND_FILE);
        EXPECT_THAT(chassis.calls(), ElementsAre("tftp -r dir.x -l /tmp/gpon.conf -g 10.0.0.1 69"));
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_CONFIGDOWNLOAD), SACTIONSTATUS_SUCCESS);
        EXPECT_EQ(ActionChassis::read("/flash/gpon.conf"), "new");
        EXPECT_EQ(ActionChassis::read("/flash/gpon.conf.bak"), "old");
        EXPECT_EQ(entries("/flash"), 2u);
        EXPECT_FALSE(ActionChassis::exists("/tmp/gpon.conf"));
    });
}

TEST(DownloadConfig, WhatCameInPartReplacesNothing) {
    action_chassis::run([](ActionChassis& chassis) {
        ActionChassis::refuse("dir.x");
        chassis.create(SACTIONTYPE_CONFIGDOWNLOAD, SERVER_AND_FILE);
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_CONFIGDOWNLOAD), SACTIONSTATUS_FAIL);
        EXPECT_THAT(chassis.log(), Contains("Can't get the new config file"));
        EXPECT_EQ(ActionChassis::read("/flash/gpon.conf"), "old");
        EXPECT_FALSE(ActionChassis::exists("/tmp/gpon.conf"));
    });
}

TEST(DownloadConfig, WithoutAnOldFileItOnlyWarns) {
    action_chassis::run([](ActionChassis& chassis) {
        std::filesystem::remove("/flash/gpon.conf");
        ActionChassis::serve("dir.x", "new");
        chassis.create(SACTIONTYPE_CONFIGDOWNLOAD, SERVER_AND_FILE);
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_CONFIGDOWNLOAD), SACTIONSTATUS_SUCCESS);
        EXPECT_THAT(chassis.log(), Contains("can't cp temp config file:/flash/gpon.conf to backup config "
                                            "file:/flash/gpon.conf.bak"));
        EXPECT_EQ(ActionChassis::read("/flash/gpon.conf"), "new");
    });
}

TEST(UploadConfig, AFileThatCantBeSentIsAFailure) {
    action_chassis::run([](ActionChassis& chassis) {
        setenv("OV_ENV_CONFIG_FILE", "/flash/elsewhere.conf", 1);
        chassis.create(SACTIONTYPE_CONFIGUPLOAD, SERVER_AND_FILE);
        EXPECT_THAT(chassis.calls(), ElementsAre("tftp -l /flash/elsewhere.conf -r dir.x -p 10.0.0.1 69"));
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_CONFIGUPLOAD), SACTIONSTATUS_FAIL);
        EXPECT_THAT(chassis.log(), Contains("Can't put the new config file"));
    });
}

// ---- loads -------------------------------------------------------------------------------------------

void serve_load() {
    ActionChassis::serve("load.bin", "load");
    ActionChassis::serve("load.bin.md5", "digest");
}

int upgrade(const ActionChassis& chassis, const char* path = "load.bin") {
    chassis.create(SACTIONTYPE_UPGRADE, {"10.0.0.1", "69", path});
    return ActionChassis::outcome(SACTIONTYPE_UPGRADE);
}

TEST(Upgrade, PutsLoadAndDigestIntoTheOtherBootDirectory) {
    action_chassis::run([](ActionChassis& chassis) {
        serve_load();
        std::filesystem::create_directories("/app/appload/1/sub");
        ActionChassis::write("/app/appload/1/previous", "x");
        EXPECT_EQ(upgrade(chassis), SACTIONSTATUS_SUCCESS);
        EXPECT_THAT(chassis.calls(),
                    ElementsAre("tftp -r load.bin -l /tmp/load.bin -g 10.0.0.1 69",
                                "tftp -r load.bin.md5 -l /tmp/load.bin.md5 -g 10.0.0.1 69",
                                "ov_check_file /tmp/load.bin", "ov_env_put fresh_load_path /app/appload/1",
                                "ov_env_put fresh_load_name load.bin"));
        EXPECT_EQ(ActionChassis::read("/app/appload/1/load.bin"), "load");
        EXPECT_EQ(ActionChassis::read("/app/appload/1/load.bin.md5"), "digest");
        EXPECT_EQ(entries("/app/appload/1"), 2u);
        EXPECT_FALSE(ActionChassis::exists("/tmp/load.bin"));
        EXPECT_THAT(chassis.log(), Contains("execute olt_snmp_action_upgrade success"));
    });
}

TEST(Upgrade, TheDirectoryThatIsInUseStaysAsItIs) {
    action_chassis::run([](ActionChassis& chassis) {
        serve_load();
        chassis.hal.set("boot_flag", "1");
        std::filesystem::create_directories("/app/appload/1");
        ActionChassis::write("/app/appload/1/running", "x");
        EXPECT_EQ(upgrade(chassis), SACTIONSTATUS_SUCCESS);
        EXPECT_EQ(ActionChassis::read("/app/appload/0/load.bin"), "load");
        EXPECT_EQ(entries("/app/appload/1"), 1u);
    });
}

TEST(Upgrade, AFileInADirectoryOfTheServerIsStagedUnderItsName) {
    action_chassis::run([](ActionChassis& chassis) {
        std::filesystem::create_directories("/tmp/served/loads");
        ActionChassis::serve("loads/load.bin", "load");
        ActionChassis::serve("loads/load.bin.md5", "digest");
        EXPECT_EQ(upgrade(chassis, "loads/load.bin"), SACTIONSTATUS_SUCCESS);
        EXPECT_THAT(chassis.calls(), Contains("tftp -r loads/load.bin -l /tmp/load.bin -g 10.0.0.1 69"));
        EXPECT_EQ(ActionChassis::read("/app/appload/1/load.bin"), "load");
    });
}

TEST(Upgrade, WithoutLoadDigestOrGoodCheckNothingIsTouched) {
    action_chassis::run([](ActionChassis& chassis) {
        std::filesystem::create_directories("/app/appload/1");
        ActionChassis::write("/app/appload/1/previous", "x");
        const auto fails = [&chassis] {
            EXPECT_EQ(upgrade(chassis), SACTIONSTATUS_FAIL);
            EXPECT_TRUE(ActionChassis::exists("/app/appload/1/previous"));
            EXPECT_FALSE(ActionChassis::exists("/tmp/load.bin"));
            EXPECT_FALSE(ActionChassis::exists("/tmp/load.bin.md5"));
            EXPECT_THAT(chassis.log(), Contains("execute olt_snmp_action_upgrade failed"));
        };
        fails();
        ActionChassis::serve("load.bin", "load");
        fails();
        EXPECT_THAT(chassis.log(), Contains("missing md5 file load.bin.md5"));
        serve_load();
        ActionChassis::write("/tmp/bad_digest", "");
        fails();
    });
}

TEST(Upgrade, EmptiesNoDirectoryThatIsNotItsOwn) {
    action_chassis::run([](ActionChassis& chassis) {
        serve_load();
        ActionChassis::write("/app/kept", "x");
        for (const char* directory :
             {"", "/", "//", "/app/..", "appload", "/app/appload/0", "/app/appload/../appload/0/"}) {
            setenv("OV_ENV_BOOT_DIR_1", directory, 1);
            EXPECT_EQ(upgrade(chassis), SACTIONSTATUS_FAIL) << directory;
            EXPECT_TRUE(ActionChassis::exists("/app/kept"));
            EXPECT_THAT(chassis.log(), Contains("Failed to upgrade load ip 10.0.0.1 port 69 file load.bin"));
        }
    });
}

TEST(Upgrade, NamesThatAreNoFileAreRefused) {
    action_chassis::run([](ActionChassis& chassis) {
        for (const char* path : {"a/", ".", "a/.", "/", "dir/-x"}) {
            EXPECT_EQ(upgrade(chassis, path), SACTIONSTATUS_FAIL) << path;
            EXPECT_THAT(chassis.calls(), IsEmpty()) << path;
        }
    });
}

// ---- firmware of ONUs --------------------------------------------------------------------------------

int fetch(const ActionChassis& chassis, const char* path) {
    chassis.create(SACTIONTYPE_ONUUPGRADE, {"10.0.0.1", "69", path});
    return ActionChassis::outcome(SACTIONTYPE_ONUUPGRADE);
}

std::string version(const std::string& name) {
    return std::string(ActionChassis::VERSIONS) + "/" + name;
}

TEST(FetchOnuVersion, PutsTheFileBesideTheOthers) {
    action_chassis::run([](ActionChassis& chassis) {
        ActionChassis::serve("v1.bin", "firmware");
        EXPECT_EQ(fetch(chassis, "v1.bin"), SACTIONSTATUS_SUCCESS);
        EXPECT_THAT(chassis.calls(), ElementsAre("tftp -r v1.bin -l /tmp/v1.bin -g 10.0.0.1 69"));
        EXPECT_EQ(ActionChassis::read(version("v1.bin")), "firmware");
        EXPECT_EQ(fetch(chassis, "v1.bin"), SACTIONSTATUS_FAIL) << "it is there";
        EXPECT_THAT(chassis.calls(), IsEmpty());
        EXPECT_EQ(fetch(chassis, "none.bin"), SACTIONSTATUS_FAIL);
        EXPECT_EQ(entries(ActionChassis::VERSIONS), 1u);
    });
}

TEST(FetchOnuVersion, SixFilesAreTheMost) {
    action_chassis::run([](ActionChassis& chassis) {
        for (int n = 1; n <= 5; ++n)
            ActionChassis::write(version("v" + std::to_string(n)), "x");
        ActionChassis::serve("v6", "x");
        ActionChassis::serve("v7", "x");
        EXPECT_EQ(fetch(chassis, "v6"), SACTIONSTATUS_SUCCESS);
        EXPECT_EQ(fetch(chassis, "v7"), SACTIONSTATUS_FAIL);
        EXPECT_THAT(chassis.log(), Contains("maximum onu file number reached"));
        EXPECT_THAT(chassis.calls(), IsEmpty());
    });
}

// ---- diagnostics -------------------------------------------------------------------------------------

TEST(SendDiagnostics, PacksConfigurationCrashFilesAndLogs) {
    action_chassis::run([](ActionChassis& chassis) {
        std::filesystem::create_directories("/app/crash");
        std::filesystem::create_directories("/tmp/product");
        ActionChassis::write("/app/crash/CRASH.LOG", "crash");
        ActionChassis::write("/tmp/product/gpon.log", "log");
        chassis.create(SACTIONTYPE_GETDIAGDATA, {"10.0.0.1", "69", "east"});
        EXPECT_THAT(chassis.calls(), ElementsAre("tftp -l /tmp/logs.tar.gz -r east.tar.gz -p 10.0.0.1 69"));
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_GETDIAGDATA), SACTIONSTATUS_SUCCESS);
        for (const char* left : {"/tmp/logs.tar.gz", "/tmp/tmplog", "/app/tmplog"})
            EXPECT_FALSE(ActionChassis::exists(left)) << left;
        ASSERT_EQ(std::system("mkdir /tmp/got && tar -xzf /tmp/served/east.tar.gz -C /tmp/got"), 0); // NOLINT
        EXPECT_EQ(ActionChassis::read("/tmp/got/tmplog/gpon.conf"), "old");
        EXPECT_EQ(ActionChassis::read("/tmp/got/tmplog/crash/CRASH.LOG"), "crash");
        EXPECT_THAT(ActionChassis::read("/tmp/got/tmplog/log/gpon.log"), HasSubstr("log"));
    });
}

TEST(SendDiagnostics, LeavesNothingWhenTheServerRefuses) {
    action_chassis::run([](ActionChassis& chassis) {
        ActionChassis::refuse("east.tar.gz");
        chassis.create(SACTIONTYPE_GETDIAGDATA, {"10.0.0.1", "69", "east"});
        EXPECT_EQ(chassis.outcome(SACTIONTYPE_GETDIAGDATA), SACTIONSTATUS_FAIL);
        for (const char* left : {"/tmp/logs.tar.gz", "/tmp/tmplog", "/app/tmplog"})
            EXPECT_FALSE(ActionChassis::exists(left)) << left;
    });
}

// ---- tables ------------------------------------------------------------------------------------------

TEST(UploadTableCodes, NameFiftySixTablesThatThereAre) {
    for (long code = 1000; code <= 1055; ++code) {
        const char* name = ov_app_gpon_action_table_name(code);
        ASSERT_NE(name, nullptr) << code;
        EXPECT_NE(table_desc_find(name), nullptr) << name;
    }
    for (long code : {-1L, 0L, 999L, 1056L, 2000L})
        EXPECT_EQ(ov_app_gpon_action_table_name(code), nullptr) << code;
    EXPECT_STREQ(ov_app_gpon_action_table_name(1000), "sPonTable");
    EXPECT_STREQ(ov_app_gpon_action_table_name(1026), "portProtectTable");
    EXPECT_STREQ(ov_app_gpon_action_table_name(1038), "aclGroupTable");
    EXPECT_STREQ(ov_app_gpon_action_table_name(1052), "aclTrafficStatTable");
    EXPECT_STREQ(ov_app_gpon_action_table_name(1055), "sRmOnuOptThresholdTable");
}

int upload(const ActionChassis& chassis, const char* code) {
    chassis.create(SACTIONTYPE_TABLEUPLOAD, {"10.0.0.1", "69", "snapshot", code});
    return ActionChassis::outcome(SACTIONTYPE_TABLEUPLOAD);
}

TEST(UploadTable, SendsTheTableAsItIsAndLeavesItsFile) {
    action_chassis::run([](ActionChassis& chassis) {
        chassis.put_port(4);
        const std::string file = std::string(MIBS) + "sPonTable.mib";
        ActionChassis::write(file, "stored before");
        EXPECT_EQ(upload(chassis, "1000"), SACTIONSTATUS_SUCCESS);
        EXPECT_THAT(chassis.calls(), ElementsAre("tftp -l /tmp/sPonTable.mib -r snapshot -p 10.0.0.1 69"));
        EXPECT_THAT(ActionChassis::served("snapshot"), testing::StartsWith("1\x1F"
                                                                           "3\x1F"
                                                                           "4\x1F"));
        EXPECT_EQ(ActionChassis::read(file), "stored before");
        EXPECT_FALSE(ActionChassis::exists(file + ".bak"));
        EXPECT_FALSE(ActionChassis::exists("/tmp/sPonTable.mib"));
    });
}

TEST(UploadTable, EachTableOfTheSystemCanBeSent) {
    action_chassis::run([](ActionChassis& chassis) {
        for (int code = 1000; code <= 1055; ++code) {
            const bool dormant = code >= 1038 && code <= 1052;
            EXPECT_EQ(upload(chassis, std::to_string(code).c_str()),
                      dormant ? SACTIONSTATUS_FAIL : SACTIONSTATUS_SUCCESS)
                << code;
        }
    });
}

TEST(UploadTable, AWrongCodeIsRefusedByTheWorker) {
    action_chassis::run([](ActionChassis& chassis) {
        EXPECT_EQ(upload(chassis, ""), SACTIONSTATUS_FAIL);
        EXPECT_THAT(chassis.log(), Contains("lack of parameter!"));
        EXPECT_EQ(chassis.row_status(SACTIONTYPE_TABLEUPLOAD), OVRA_ACTIVE);
        for (const char* code : {"1056", "999", "x", "1000x", "-1", "99999999999999999999"}) {
            EXPECT_EQ(upload(chassis, code), SACTIONSTATUS_FAIL) << code;
            EXPECT_THAT(chassis.log(), Contains("wrong table index!")) << code;
            EXPECT_THAT(chassis.calls(), IsEmpty()) << code;
        }
    });
}

// "mv" that fails on its way to the staging place, as on a full disk.
TEST(UploadTable, ADiskThatIsFullLeavesTheFileAsItWas) {
    action_chassis::run([](ActionChassis& chassis) {
        const std::string file = std::string(MIBS) + "sPonTable.mib";
        ActionChassis::write(file, "stored before");
        ActionChassis::make_tool("mv", "case $2 in /tmp/*) exit 1 ;; esac\nexec /bin/mv \"$@\"");
        EXPECT_EQ(upload(chassis, "1000"), SACTIONSTATUS_FAIL);
        EXPECT_EQ(ActionChassis::read(file), "stored before");
        EXPECT_THAT(chassis.calls(), Not(Contains(HasSubstr("tftp"))));
    });
}

TEST(UploadTable, WhatSomebodySavesMeanwhileIsNotLost) {
    action_chassis::run([](ActionChassis& chassis) {
        chassis.put_port(4);
        const std::string file = std::string(MIBS) + "sPonTable.mib";
        ActionChassis::write(file, "stored before");
        // The worker stands in its last move until the table has been saved.
        ActionChassis::make_tool(
            "mv", "case $1 in *.bak) touch /tmp/there; while [ ! -e /tmp/on ]; do sleep 0.01; done ;; esac\n"
                  "exec /bin/mv \"$@\"");
        EXPECT_TRUE(ActionChassis::begin(SACTIONTYPE_TABLEUPLOAD, {"10.0.0.1", "69", "snapshot", "1000"}));
        EXPECT_TRUE(loop_until([] { return ActionChassis::exists("/tmp/there"); }));
        table_of<ov_sPonTable_attr_t>::module().save_file();
        ActionChassis::write("/tmp/on", "");
        EXPECT_TRUE(loop_until([] { return !ActionChassis::is_busy(); }));
        EXPECT_EQ(ActionChassis::read(file), ActionChassis::served("snapshot"));
    });
}

TEST(UploadTable, AFileThatWasSetAsideComesBackWithTheNextStart) {
    action_chassis::run([](ActionChassis& chassis) {
        chassis.put_port(4);
        TableModule& table = table_of<ov_sPonTable_attr_t>::module();
        table.save_file();
        const std::string file = table.path();
        const std::string content = ActionChassis::read(file);
        std::filesystem::rename(file, file + ".bak");
        table.load();
        EXPECT_EQ(ActionChassis::read(file), content);
        EXPECT_FALSE(ActionChassis::exists(file + ".bak"));
        EXPECT_THAT(chassis.log(), Contains("an upload of " + file + " was cut off, the file is back"));
    });
}

} // namespace
