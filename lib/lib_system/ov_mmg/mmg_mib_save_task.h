// Saving of table files on request, and the six-second cycle that tells the platform of changes.
//
// Table files are snapshots: a change to a table doesn't rewrite its file. It raises the changed flags
// (mmg_access.h); the cycle turns these into the platform's mark that the configuration has changed, and
// whoever wants a file up to date asks for it by the table's name.
#pragma once

#include <semaphore.h>

typedef void (*MIBTABLE_SAVE_FUNC)();

// Where the table files lie, and the flag files of requested saves ("saveflag.<table>").
inline constexpr char MMG_MIB_DATA_DIR[] = "/var/run/product/mibdata/";
inline constexpr char MMG_SAVE_FLAG_DIR[] = "/tmp/product";
// The environment variable that moves the table files, and the one that names the platform's mark.
inline constexpr char MMG_MIB_DATA_DIR_ENV[] = "OV_PDT_RUN_MIB_DATA_DIR";
inline constexpr char MMG_MIB_SAVE_MARK_ENV[] = "OV_PDT_RUN_FILE_MIBAVE_FLAG";

inline constexpr int MMG_SAVE_TABLES_MAX = 100;
inline constexpr unsigned MMG_SAVE_CYCLE_SECONDS = 6;

// One table of the save registry; an empty name marks a free place.
struct mmg_save_func_cb {
    char table_name[128];
    MIBTABLE_SAVE_FUNC save_function;
};
extern mmg_save_func_cb g_mmg_table_save_task_array[MMG_SAVE_TABLES_MAX];

// Enters a table and its save function, and clears its flag file. The name is kept up to 127 characters.
// Does nothing when all places are taken. Start-up, main thread.
void mmg_table_save_task_add_table(const char* table_name, MIBTABLE_SAVE_FUNC save_func);
// Saves a table's file now and clears its flag file. Returns 0, or -1 for a table that isn't registered.
// Main thread.
int mmg_table_save_immediate(const char* table_name);

// The flag file of a table: 1 while a requested save is pending, else 0. A name with characters that no
// table has is refused: nothing is written, and it reads as 0. Any thread.
void mmg_table_save_flag_set(const char* table_name, int flag_value);
int mmg_table_save_flag_get(const char* table_name);
void mmg_table_save_flag_clear(const char* table_name);

// Copies a table's file into a directory, from MMG_MIB_DATA_DIR even when the files have been moved.
// Returns 0, whatever became of the copy. Any thread.
int mmb_relocate_mib_table(const char* mib_table_name, const char* new_path);

// The directory of the table files, with the environment variable if that is set; no final slash is added
// or taken away.
const char* mmg_mib_data_dir();
// Makes the directory of the table files if it isn't there.
void mmg_make_mib_data_dir();

// Starts the six-second cycle; the last step of the start-up lists. Main thread.
void mmg_mib_save_task_init();
// One turn of the cycle: if a table has changed, clears the changed flags and sets the platform's mark. The
// arguments are those of an alarm of the SNMP library and aren't used. Main thread.
void mmg_mib_save_cycle_task(unsigned int clientreg, void* clientarg);
// Writes 1 into the platform's mark, unless the system is still coming up.
void mmg_mib_set_mib_save_env();

// Replication of the table files to the other control card. Only the platform's equipment manager does it;
// in this daemon the branch that starts it is never taken.
int start_mib_sync(); // 0, or -1 when the thread can't be created
void* mibdata_sync_task(void* arg);
extern sem_t mibdatasave_sem; // posted for each transfer that is wanted

// How the cycle gets its alarm: snmp_alarm_register of the SNMP library or something of the same contract
// (a repeating call every `when` seconds if `flags` is SA_REPEAT, 1; the result is 0 on failure). The main
// program installs it before mmg_mib_save_task_init; without one that fails.
typedef void (*mmg_alarm_callback)(unsigned int clientreg, void* clientarg);
typedef unsigned int (*mmg_alarm_register_fn)(unsigned int when, unsigned int flags,
                                              mmg_alarm_callback callback, void* clientarg);
void mmg_set_alarm_register(mmg_alarm_register_fn register_fn);

// The transfer of a directory to the other control card; negative results are failures.
typedef int (*mmg_backup_sync_fn)(const char* path);
void mmg_set_backup_sync(mmg_backup_sync_fn sync_fn);
