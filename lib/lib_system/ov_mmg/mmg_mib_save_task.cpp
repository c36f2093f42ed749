#include "mmg_mib_save_task.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include "libovra.h"
#include "mmg_access_internal.h"
#include "ov_command.h"
#include "ov_loop_thread.h"
#include "ov_product.h"
#include "ovra_thread.h"

mmg_save_func_cb g_mmg_table_save_task_array[MMG_SAVE_TABLES_MAX];
sem_t mibdatasave_sem;

namespace {

constexpr int EQUIPMENT_MANAGER_APP_ID = 113;
constexpr unsigned ALARM_REPEAT = 1; // SA_REPEAT of the SNMP library
constexpr unsigned SYNC_STACK = 0x20000;
constexpr unsigned SYNC_RETRY_SECONDS = 5;
constexpr char SYNC_DIR[] = "/var/run/product/mibdata";

mmg_alarm_register_fn g_alarm_register = nullptr;
mmg_backup_sync_fn g_backup_sync = nullptr;

bool is_directory(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

void make_directory(const char* path) {
    if (!is_directory(path) && ov_command_word_ok(path))
        ov_command_run({"mkdir", "-p", path});
}

// What "echo VALUE > PATH" does.
bool write_number(const char* path, int value) {
    FILE* file = std::fopen(path, "we");
    if (file == nullptr)
        return false;
    std::fprintf(file, "%d\n", value);
    return std::fclose(file) == 0;
}

// Path of a table's flag file, empty for a name that no table has.
std::string flag_path(const char* table_name) {
    if (table_name == nullptr || !ov_command_word_ok(table_name))
        return {};
    return std::string(MMG_SAVE_FLAG_DIR) + "/saveflag." + table_name;
}

mmg_save_func_cb* find_entry(const char* table_name) {
    for (mmg_save_func_cb& entry : g_mmg_table_save_task_array) {
        if (std::strcmp(entry.table_name, table_name) == 0)
            return &entry;
    }
    return nullptr;
}

} // namespace

const char* mmg_mib_data_dir() {
    const char* dir = std::getenv(MMG_MIB_DATA_DIR_ENV);
    return dir != nullptr && *dir != '\0' ? dir : MMG_MIB_DATA_DIR;
}

void mmg_make_mib_data_dir() {
    make_directory(mmg_mib_data_dir());
}

// ---- the registry --------------------------------------------------------------------------------

void mmg_table_save_task_add_table(const char* table_name, MIBTABLE_SAVE_FUNC save_func) {
    if (table_name == nullptr || *table_name == '\0' || save_func == nullptr)
        return;
    mmg_save_func_cb* entry = find_entry("");
    if (entry == nullptr)
        return;
    std::snprintf(entry->table_name, sizeof(entry->table_name), "%s", table_name);
    entry->save_function = save_func;
    mmg_table_save_flag_clear(table_name);
}

int mmg_table_save_immediate(const char* table_name) {
    ov_assert_on_loop();
    if (table_name == nullptr || *table_name == '\0')
        return -1;
    mmg_save_func_cb* entry = find_entry(table_name);
    if (entry == nullptr)
        return -1;
    entry->save_function();
    mmg_table_save_flag_clear(table_name);
    OV_LOG_INFO(MMG_LOG_TAG, "saved %s/%s.mib", mmg_mib_data_dir(), table_name);
    return 0;
}

// ---- flag files ----------------------------------------------------------------------------------

void mmg_table_save_flag_set(const char* table_name, int flag_value) {
    std::string path = flag_path(table_name);
    if (path.empty())
        return;
    make_directory(MMG_SAVE_FLAG_DIR);
    write_number(path.c_str(), flag_value);
    if (flag_value != 0)
        OV_LOG_INFO(MMG_LOG_TAG, "set %s/saveflag.%s value %d", MMG_SAVE_FLAG_DIR, table_name, flag_value);
}

int mmg_table_save_flag_get(const char* table_name) {
    std::string path = flag_path(table_name);
    FILE* file = path.empty() ? nullptr : std::fopen(path.c_str(), "re");
    if (file == nullptr)
        return 0;
    char text[128] = "";
    size_t length = std::fread(text, 1, sizeof(text) - 1, file);
    std::fclose(file);
    text[length] = '\0';
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

void mmg_table_save_flag_clear(const char* table_name) {
    mmg_table_save_flag_set(table_name, 0);
}

int mmb_relocate_mib_table(const char* mib_table_name, const char* new_path) {
    if (mib_table_name == nullptr || new_path == nullptr)
        return 0;
    std::string source = std::string(MMG_MIB_DATA_DIR) + "/" + mib_table_name + ".mib";
    std::string target = std::string(new_path) + "/";
    if (ov_command_word_ok(mib_table_name) && ov_command_word_ok(new_path))
        ov_command_run({"cp", "-f", source.c_str(), target.c_str()});
    return 0;
}

// ---- the cycle -----------------------------------------------------------------------------------

void mmg_set_alarm_register(mmg_alarm_register_fn register_fn) {
    g_alarm_register = register_fn;
}

void mmg_mib_save_task_init() {
    // The equipment manager runs this code too; only it replicates the files.
    if (ov_ipc_client_is_initialized() == 0 && ov_get_app_id() == EQUIPMENT_MANAGER_APP_ID) {
        sem_init(&mibdatasave_sem, 0, 0);
        if (ov_product_get_standby_sc_supported() != 0)
            start_mib_sync();
    }
    constexpr int SECONDS = int{MMG_SAVE_CYCLE_SECONDS};
    unsigned alarm = g_alarm_register == nullptr ? 0
                                                 : g_alarm_register(MMG_SAVE_CYCLE_SECONDS, ALARM_REPEAT,
                                                                    mmg_mib_save_cycle_task, nullptr);
    if (alarm == 0)
        OV_LOG_ERROR(MMG_LOG_TAG, "register a %d s timer task for saving task fail", SECONDS);
    else
        MMG_INFO_LOG("register a %d s timer task for saving task ok", SECONDS);
}

void mmg_mib_save_cycle_task(unsigned int /*clientreg*/, void* /*clientarg*/) {
    if (MibChangedGlobalFlagGet() == 0)
        return;
    MibChangedFlagClear();
    mmg_mib_set_mib_save_env();
    if (ov_get_app_id() == EQUIPMENT_MANAGER_APP_ID)
        sem_post(&mibdatasave_sem);
}

void mmg_mib_set_mib_save_env() {
    // Start-up and restore change tables too, and mean no change of the configuration.
    if (!ov_product_sys_oper_status_get())
        return;
    const char* path = std::getenv(MMG_MIB_SAVE_MARK_ENV);
    if (path == nullptr || *path == '\0') {
        OV_LOG_ERROR(MMG_LOG_TAG, "pid %d can't get the env variable %s", static_cast<int>(getpid()),
                     MMG_MIB_SAVE_MARK_ENV);
        return;
    }
    write_number(path, 1);
    MMG_INFO_LOG("pid %d, set the save flag to %s", static_cast<int>(getpid()), path);
}

// ---- replication ---------------------------------------------------------------------------------

void mmg_set_backup_sync(mmg_backup_sync_fn sync_fn) {
    g_backup_sync = sync_fn;
}

void* mibdata_sync_task(void* /*arg*/) {
    while (true) {
        if (sem_wait(&mibdatasave_sem) != 0)
            continue;
        if (g_backup_sync != nullptr && g_backup_sync(SYNC_DIR) < 0) {
            OV_LOG_ERROR("OV_BACKUP", "mmg_mib_save_cycle_task failed");
            sleep(SYNC_RETRY_SECONDS);
        }
    }
    return nullptr;
}

int start_mib_sync() {
    pthread_t thread{};
    if (Ovra_ThreadCreate("mibdata_sync_task", 0, SYNC_STACK, mibdata_sync_task, nullptr, &thread) != 0)
        return -1;
    OV_LOG_INFO(MMG_LOG_TAG, "mibdata_sync_task thread created %lu", static_cast<unsigned long>(thread));
    return 0;
}
