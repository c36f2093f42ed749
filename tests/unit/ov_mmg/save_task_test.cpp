#include "mmg_mib_save_task.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "../ov_common/private_root.h"
#include "../support/log_tap.h"
#include "../support/temp_dir.h"
#include "mmg_access.h"

namespace {

int g_saves;
void count_save() {
    ++g_saves;
}

void clear_registry() {
    for (mmg_save_func_cb& entry : g_mmg_table_save_task_array)
        entry = {};
    g_saves = 0;
}

const std::string FLAG = "/tmp/product/saveflag.someTable";

// The product's paths are fixed: each test has a file system of its own.
#define SAVE_TEST(name, ...)                                                                                 \
    TEST(SaveTask, name) {                                                                                   \
        private_root::run([] {                                                                               \
            clear_registry();                                                                                \
            LogTap log;                                                                                      \
            __VA_ARGS__                                                                                      \
        });                                                                                                  \
    }

// Makes the platform answer that the system is up (0) or still coming up (1).
void set_platform(int exit_code) {
    std::filesystem::create_directories("/tmp/bin");
    private_root::write_file("/tmp/bin/ov_env_get",
                             exit_code == 0 ? "#!/bin/sh\n[ $1 = OV_APP_FLAG_SYS_OPSTATUS ] && echo 1\n"
                                            : "#!/bin/sh\necho 0\n");
    chmod("/tmp/bin/ov_env_get", 0755);
    setenv("PATH", (std::string("/tmp/bin:") + getenv("PATH")).c_str(), 1);
}

void change_table(int index) {
    MibChangedFlagSet(mmg_table_did_getbyindex(index));
}

// ---- the registry --------------------------------------------------------------------------------------

SAVE_TEST(ARegisteredTableIsSavedByNameAndItsFlagCleared, {
    mmg_table_save_task_add_table("someTable", count_save);
    EXPECT_EQ(private_root::read_file(FLAG), "0\n");
    mmg_table_save_flag_set("someTable", 1);
    EXPECT_EQ(mmg_table_save_immediate("someTable"), 0);
    EXPECT_EQ(g_saves, 1);
    EXPECT_EQ(private_root::read_file(FLAG), "0\n");
    EXPECT_EQ(log.texts().back(), "saved /var/run/product/mibdata//someTable.mib");
    EXPECT_EQ(log.lines().back().level, OV_LOG_LVL_INFO);
})

SAVE_TEST(TheSavedMessageNamesTheDirectoryOfTheEnvironment, {
    setenv(MMG_MIB_DATA_DIR_ENV, "/tmp/elsewhere", 1);
    mmg_table_save_task_add_table("someTable", count_save);
    mmg_table_save_immediate("someTable");
    EXPECT_EQ(log.texts().back(), "saved /tmp/elsewhere/someTable.mib");
})

SAVE_TEST(AnUnknownTableIsRefusedSilently, {
    mmg_table_save_task_add_table("someTable", count_save);
    EXPECT_EQ(mmg_table_save_immediate("someTabl"), -1);
    EXPECT_EQ(mmg_table_save_immediate("SOMETABLE"), -1);
    EXPECT_EQ(mmg_table_save_immediate(""), -1);
    EXPECT_EQ(mmg_table_save_immediate(nullptr), -1);
    EXPECT_EQ(g_saves, 0);
    EXPECT_TRUE(log.lines().empty());
})

SAVE_TEST(TheHundredAndFirstTableIsntEntered, {
    for (int i = 1; i <= 101; ++i)
        mmg_table_save_task_add_table(("table" + std::to_string(i)).c_str(), count_save);
    EXPECT_EQ(mmg_table_save_immediate("table100"), 0);
    EXPECT_EQ(mmg_table_save_immediate("table101"), -1);
    EXPECT_EQ(g_saves, 1);
    EXPECT_FALSE(std::filesystem::exists("/tmp/product/saveflag.table101"));
})

SAVE_TEST(ANameIsKeptUpTo127Characters, {
    std::string name(127, 'n');
    mmg_table_save_task_add_table((name + "nn").c_str(), count_save);
    EXPECT_EQ(g_mmg_table_save_task_array[0].table_name, name);
    EXPECT_EQ(mmg_table_save_immediate(name.c_str()), 0);
})

SAVE_TEST(ATableWhoseChangesDontCountCanBeSavedByName, {
    ASSERT_EQ(mmg_table_did_getbyindex(SONUINIT)->if_trigger_save, 0);
    mmg_table_save_task_add_table("sOnuInitTable", count_save);
    MibChangedGlobalFlagGet();
    change_table(SONUINIT);
    EXPECT_EQ(MibChangedGlobalFlagGet(), 0);
    EXPECT_EQ(mmg_table_save_immediate("sOnuInitTable"), 0);
})

// ---- flag files ---------------------------------------------------------------------------------------

SAVE_TEST(AFlagIsSetReadAndCleared, {
    EXPECT_EQ(mmg_table_save_flag_get("someTable"), 0) << "no file yet";
    mmg_table_save_flag_set("someTable", 1);
    EXPECT_EQ(private_root::read_file(FLAG), "1\n");
    EXPECT_EQ(log.lines(), (std::vector<LogLine>{
                               {OV_LOG_LVL_INFO, "MMG", "set /tmp/product/saveflag.someTable value 1"}}));
    EXPECT_EQ(mmg_table_save_flag_get("someTable"), 1);
    mmg_table_save_flag_clear("someTable");
    EXPECT_EQ(mmg_table_save_flag_get("someTable"), 0);
    EXPECT_EQ(private_root::read_file(FLAG), "0\n");
    EXPECT_EQ(log.lines().size(), 1u) << "clearing isn't logged";
})

SAVE_TEST(AFlagFileWrittenByTheShellIsRead, {
    mmg_table_save_flag_clear("someTable");
    EXPECT_EQ(system("echo 12 > /tmp/product/saveflag.someTable"), 0);
    EXPECT_EQ(mmg_table_save_flag_get("someTable"), 12);
    private_root::write_file(FLAG, "");
    EXPECT_EQ(mmg_table_save_flag_get("someTable"), 0);
    private_root::write_file(FLAG, "no number");
    EXPECT_EQ(mmg_table_save_flag_get("someTable"), 0);
})

SAVE_TEST(ANameThatNoTableHasTouchesNoFile, {
    for (const char* name : {"../x", "a b", "$(touch /tmp/ran)", ";touch /tmp/ran", "-n", ""}) {
        mmg_table_save_flag_set(name, 1);
        EXPECT_EQ(mmg_table_save_flag_get(name), 0) << name;
    }
    EXPECT_FALSE(std::filesystem::exists("/tmp/ran"));
    EXPECT_FALSE(std::filesystem::exists("/tmp/product"));
    mmg_table_save_flag_set(nullptr, 1);
    EXPECT_EQ(mmg_table_save_flag_get(nullptr), 0);
})

// ---- relocation ----------------------------------------------------------------------------------------

SAVE_TEST(RelocationCopiesFromTheRunDirectoryWhateverTheEnvironmentSays, {
    std::filesystem::create_directories("/var/run/product/mibdata");
    std::filesystem::create_directories("/tmp/new");
    private_root::write_file("/var/run/product/mibdata/someTable.mib", "content");
    setenv(MMG_MIB_DATA_DIR_ENV, "/tmp/elsewhere", 1);
    EXPECT_EQ(mmb_relocate_mib_table("someTable", "/tmp/new"), 0);
    EXPECT_EQ(private_root::read_file("/tmp/new/someTable.mib"), "content");
})

SAVE_TEST(ARelocationThatFailsAnswersTheSame, {
    testing::internal::CaptureStderr(); // cp's own words
    EXPECT_EQ(mmb_relocate_mib_table("absent", "/tmp"), 0);
    EXPECT_EQ(mmb_relocate_mib_table("someTable", "/tmp/absent"), 0);
    EXPECT_EQ(mmb_relocate_mib_table("x;touch /tmp/ran", "/tmp;touch /tmp/ran"), 0);
    EXPECT_EQ(mmb_relocate_mib_table(nullptr, nullptr), 0);
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(std::filesystem::exists("/tmp/ran"));
})

// ---- the cycle ---------------------------------------------------------------------------------------

SAVE_TEST(AChangeSetsThePlatformsMarkOncePerCycle, {
    set_platform(0);
    setenv(MMG_MIB_SAVE_MARK_ENV, "/tmp/mark", 1);
    MibChangedGlobalFlagGet();
    mmg_mib_save_cycle_task(0, nullptr);
    EXPECT_FALSE(std::filesystem::exists("/tmp/mark")) << "nothing has changed";
    change_table(STCONT);
    change_table(SONU);
    mmg_mib_save_cycle_task(0, nullptr);
    EXPECT_EQ(private_root::read_file("/tmp/mark"), "1\n");
    EXPECT_EQ(MibChangedGlobalFlagGet(), 0);
    EXPECT_EQ(MibChangedTableFlagGet(mmg_table_did_getbyindex(STCONT)), 0);
    std::filesystem::remove("/tmp/mark");
    mmg_mib_save_cycle_task(0, nullptr);
    EXPECT_FALSE(std::filesystem::exists("/tmp/mark"));
})

SAVE_TEST(ATableWithoutTheSaveMarkNeverSetsThePlatforms, {
    set_platform(0);
    setenv(MMG_MIB_SAVE_MARK_ENV, "/tmp/mark", 1);
    change_table(SONUINIT);
    mmg_mib_save_cycle_task(0, nullptr);
    EXPECT_FALSE(std::filesystem::exists("/tmp/mark"));
})

SAVE_TEST(WhileTheSystemComesUpTheFlagsAreClearedAndNoMarkIsWritten, {
    set_platform(1);
    setenv(MMG_MIB_SAVE_MARK_ENV, "/tmp/mark", 1);
    change_table(STCONT);
    EXPECT_EQ(MibChangedGlobalFlagGet(), 1);
    mmg_mib_save_cycle_task(0, nullptr);
    EXPECT_EQ(MibChangedGlobalFlagGet(), 0);
    EXPECT_FALSE(std::filesystem::exists("/tmp/mark"));
})

SAVE_TEST(AMissingNameOfTheMarkIsLogged, {
    set_platform(0);
    unsetenv(MMG_MIB_SAVE_MARK_ENV);
    mmg_mib_set_mib_save_env();
    EXPECT_EQ(log.texts(),
              std::vector<std::string>{"pid " + std::to_string(getpid()) +
                                       " can't get the env variable OV_PDT_RUN_FILE_MIBAVE_FLAG"});
    EXPECT_EQ(log.lines().back().level, OV_LOG_LVL_ERROR);
})

struct Alarm {
    unsigned when;
    unsigned flags;
    mmg_alarm_callback callback;
    void* argument;
};
std::vector<Alarm> g_alarms;
unsigned g_alarm_answer;

unsigned register_alarm(unsigned when, unsigned flags, mmg_alarm_callback callback, void* argument) {
    g_alarms.push_back({when, flags, callback, argument});
    return g_alarm_answer;
}

SAVE_TEST(TheCycleIsARepeatingAlarmOfSixSeconds, {
    g_alarm_answer = 1;
    mmg_set_alarm_register(register_alarm);
    mmg_mib_save_task_init();
    ASSERT_EQ(g_alarms.size(), 1u);
    EXPECT_EQ(g_alarms[0].when, 6u);
    EXPECT_EQ(g_alarms[0].flags, 1u);
    EXPECT_EQ(g_alarms[0].callback, mmg_mib_save_cycle_task);
    EXPECT_EQ(g_alarms[0].argument, nullptr);
    EXPECT_TRUE(log.lines().empty());
    mmg_set_debug_info_flag(1);
    mmg_mib_save_task_init();
    EXPECT_EQ(log.texts().back(), "register a 6 s timer task for saving task ok");
})

SAVE_TEST(AnAlarmThatCantBeRegisteredIsLogged, {
    mmg_mib_save_task_init();
    g_alarm_answer = 0;
    mmg_set_alarm_register(register_alarm);
    mmg_mib_save_task_init();
    EXPECT_EQ(log.texts(), std::vector<std::string>(2, "register a 6 s timer task for saving task fail"));
})

// ---- replication ----------------------------------------------------------------------------------------

sem_t g_synced;
std::string g_synced_path;
int note_sync(const char* path) {
    g_synced_path = path;
    sem_post(&g_synced);
    return 0;
}

SAVE_TEST(TheSyncTaskTransfersTheRunDirectoryWheneverItIsAsked, {
    sem_init(&mibdatasave_sem, 0, 0);
    sem_init(&g_synced, 0, 0);
    mmg_set_backup_sync(note_sync);
    EXPECT_EQ(start_mib_sync(), 0);
    EXPECT_EQ(log.texts().back().find("mibdata_sync_task thread created "), 0u);
    for (int i = 0; i < 2; ++i) {
        sem_post(&mibdatasave_sem);
        sem_wait(&g_synced);
    }
    EXPECT_EQ(g_synced_path, "/var/run/product/mibdata");
})

} // namespace
