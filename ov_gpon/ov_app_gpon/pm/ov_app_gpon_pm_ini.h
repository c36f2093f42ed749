// The settings file of performance monitoring (an ini file): the threshold profiles that a new system begins
// with. Sections [threshold] and [tcaenable], keys as the columns of the three tables, 0 for those that are
// missing.
//
// Main loop only.
#pragma once

#include "gemPmThrTable.h"
#include "onuPmThrTable.h"
#include "ponPmThrTable.h"

// Reads the file, the first time that it is called. Without a file that can be read the profiles are all
// zeros: no id, no name. Start-up: its place of the list, and in front of the thresholds' modules.
void ov_app_gpon_pm_ini_init();

// The profile of the file, but for its row status.
void get_ponpm_thr_default(ov_ponPmThrTable_attr_t* row);
void get_onupm_thr_default(ov_onuPmThrTable_attr_t* row);
void get_gempm_thr_default(ov_gemPmThrTable_attr_t* row);
