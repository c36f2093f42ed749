// Actions for a station that moves files over its own connection, into and out of two directories of its own:
// they prepare a file for it, or take one that it has put there. Worker's thread, or any but the loop's; 0 or
// a code.
#pragma once

// Nothing is prepared for these.
int action_prepare_pmdata();
int action_prepare_logfile();
int action_prepare_diagfile();
// The configuration as a pack in the upload directory.
int action_prepare_config();
// Has the controller ask for the table to be saved, and waits until it is: 0, or 101001 after two seconds.
int action_prepare_mibtable(const char* mib_table_name);

// Whether a load of the download directory is whole. 0, or -1 behind a log line.
int ov_upgrade_olt_load_check(const char* loadname);
// Take a load of this system, one of ONUs, a configuration.
int action_get_olt_upgrade_file(const char* loadname);
int action_get_onu_upgrade_file(const char* loadname);
int action_get_config_file(const char* filename);
