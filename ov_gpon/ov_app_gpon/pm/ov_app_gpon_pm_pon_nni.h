// Counters of PON ports towards the switch (ponnniPmTable). What a row is and how it comes about:
// pm_family.h.
//
// Main loop only.
#pragma once

#include "mmg_access.h"
#include "pm_family.h"
#include "ponnniPmTable.h"

extern int gpon_pmnni_appid;
extern const PmFamily NNI_PM;

// Start-up, in its place of the list.
void ov_app_gpon_pm_pon_nni_init();

// Reads what the network side of a PON port counts into a row, past the table; with ifReadClean the card
// begins at 0 again, with ifCheckAlarm the thresholds are looked at. 0, or the code of the failure: the
// counters stay. Waits for the card.
int get_pon_nni_pm_data_from_hal(MIBDID did, ov_ponnniPmTable_attr_t* row, int ifReadClean, int ifCheckAlarm);
// The same for a show: the counters alone.
int ov_get_pon_nni_pm_data_from_hal(ov_ponnniPmTable_attr_t* pmib, int ifReadClean);

// Begins the pass over the table that ends an interval. It goes on by itself.
void get_pon_nni_pm_data_task();

// There are no thresholds for these: 0.
int check_alarm_for_pon_nni_pm(ov_ponnniPmTable_attr_t* nnipm);
// A read of the table brings it up to date.
int pmnni_table_self_get(MIBDID did, void* row, MIB_Flags_t flags);
// A row comes and goes with sPonTableNniPmEnable.
int pmnni_table_pon_set(MIBDID did, void* row, MIB_Flags_t flags);
