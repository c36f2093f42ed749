// Threshold profiles of counters (ponPmThrTable, onuPmThrTable, gemPmThrTable), and whether a row of counters
// has crossed one. What a profile is: pm_thr_family.h.
//
// Nobody asks for the check: each read of counters leaves it out, and tcaAlarmTable stays empty.
//
// Main loop only.
#pragma once

#include "gemPmTable.h"
#include "gemPmThrTable.h"
#include "mmg_access.h"
#include "onuPmTable.h"
#include "onuPmThrTable.h"
#include "ponPmTable.h"
#include "ponPmThrTable.h"

// Start-up, in their places of the list: the profile of the settings file, in a table without rows.
void ov_app_gpon_pm_pon_thr_init();
void ov_app_gpon_pm_onu_thr_init();
void ov_app_gpon_pm_gem_thr_init();

// A profile, with the columns that are meant. 0, or OV_GPON_RET_BAD_PARAM: an argument is missing, the id is
// there already, the profile is used, or the table refused.
int ov_app_gpon_pm_pon_thr_add(ov_ponPmThrTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_pm_pon_thr_edit(ov_ponPmThrTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_pm_pon_thr_del(ov_ponPmThrTable_attr_t* attr);
int ov_app_gpon_pm_onu_thr_add(ov_onuPmThrTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_pm_onu_thr_edit(ov_onuPmThrTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_pm_onu_thr_del(ov_onuPmThrTable_attr_t* attr);
int ov_app_gpon_pm_gem_thr_add(ov_gemPmThrTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_pm_gem_thr_edit(ov_gemPmThrTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_pm_gem_thr_del(ov_gemPmThrTable_attr_t* attr);

// Raises and takes back the alarms of a row of counters by the profile that it refers to. 0.
int check_alarm_for_pon_pm(ov_ponPmTable_attr_t* ponpm);
int check_alarm_for_onu_pm(ov_onuPmTable_attr_t* onupm);
int check_alarm_for_gem_pm(ov_gemPmTable_attr_t* gempm);
