// Threshold profiles of a family of counters as data, and what the three tables have in common: the profile
// of a new system, adding, changing and removing profiles, and the look at a row of counters.
//
// In a profile's table a threshold and its bit of the mask have the same number, and the counter's column is
// three lower: threshold 4 and bit 4 belong to the first counter.
//
// Main loop only.
#pragma once

#include <cstddef>
#include <cstdint>

#include "mmg_access.h"
#include "ov_ifindex.h"
#include "pm_family.h"
#include "table_module.h"

class ov_util_ini_file;

inline constexpr unsigned PM_THR_FIRST_BIT = 4;
inline constexpr unsigned PM_THR_COUNTER_OF_BIT = 3; // less than the bit

struct PmThrFamily {
    TableModule& (*module)();
    int* appid;
    const PmFamily* counters;                // whose rows refer to the profiles
    unsigned last_bit;                       // PM_THR_FIRST_BIT to this one
    unsigned code_of_bit;                    // the code of a bit's alarm is so much more
    ov_ifindex_t (*source)(const void* row); // of the alarms of a row of counters
    const char* add_failure;
    const char* set_failure;
    const char* del_failure;
};
extern const PmThrFamily PON_PM_THR;
extern const PmThrFamily ONU_PM_THR;
extern const PmThrFamily GEM_PM_THR;

// Makes the profile of the settings file in `row`, all but its row status.
void pm_thr_read_default(const PmThrFamily& family, const ov_util_ini_file& file, void* row);

// Enters the profile of the settings file (`row`) in a table without rows; else nothing, not even an
// application id. Start-up.
void pm_thr_init(const PmThrFamily& family, void* row);

// 0, or OV_GPON_RET_BAD_PARAM behind a log line: a missing argument, an id that is there already, a profile
// that a row of counters refers to, or the table refused.
int pm_thr_add(const PmThrFamily& family, void* attr, MIB_Flags_t* flag);
int pm_thr_edit(const PmThrFamily& family, void* attr, MIB_Flags_t* flag);
int pm_thr_del(const PmThrFamily& family, void* attr);

// Looks at each counter of a row by the profile that the row refers to: an alarm stands for each that is
// enabled and has reached its threshold, and for no other. Nothing without that profile. 0.
int pm_thr_check(const PmThrFamily& family, const void* row);
