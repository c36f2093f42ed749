// Saving of table files: on request of the controller, and the six-second save mark.
#pragma once

// Starts the six-second cycle; the last step of the start-up lists. Main thread.
void mmg_mib_save_task_init();

// Saves a table's file now. Returns 0, or -1 for a table that isn't registered for saving. Main thread.
int mmg_table_save_immediate(const char* table_name);
