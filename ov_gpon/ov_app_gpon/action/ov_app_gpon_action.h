// Actions of managers: the creation of a row of sActionTable asks the daemon to do one thing, and the row
// then tells how it went. One row for each shelf, slot and action; to do it again a manager deletes the row
// and creates it anew, a mere write changes nothing.
//
// One action is under way at most. What is short is done within the creation; what moves files is done by a
// thread of its own, which works on its copy of the row and writes the outcome when it is through; copies of
// services to ONUs go on in steps of the loop. An action that is created meanwhile is ignored, and its row
// stays as it was written.
#pragma once

#include <semaphore.h>

#include "mmg_access.h"
#include "sActionTable.h"

using ActionRow = ov_sActionTable_attr_t;

// Whether an action is under way, 1 or 0, guarded by the semaphore; and the application id of the worker's
// accesses, which is 0: they aren't told apart from other callers'.
extern unsigned char gpon_action_busy;
extern sem_t gpon_action_sem;
extern int gpon_action_appid;

// Start-up, in its place of the list. A row that says it is running, from a file of before, has failed.
void ov_app_gpon_action_init();

// A row was created: does what it asks for, or starts that. Always 1. Main loop.
int ov_action_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);

// The worker: its argument is a copy of the row (new ActionRow), which it deletes. Null.
void* action_task(void* taskArg);

// What the log calls an action: " PMUPLOAD "; "UNKNOWN ERROR" for a number that is none.
const char* ov_app_gpon_action_text(int type);
