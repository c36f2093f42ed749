// Actions that move a file to or from a TFTP server. They wait for it: worker's thread, or any but the
// loop's.
#pragma once

#include <string>

#include "ov_app_gpon_action.h"

// Where the table files lie, with the name of one.
std::string action_mib_file(const std::string& name);

// Sends one file of counters as PREFIX and suffix. 0, or 1 behind a log line.
int upload_pm(const ActionRow* pmib_attr, const char* mib_file_name, const char* suffix);

// Sends a fresh snapshot of a table; the stored file stays as it is. 0 or 1.
//
// The table's file is set aside ("X.mib.bak") for as long as it takes to write the table and to move what was
// written to the staging place. A process that ends meanwhile leaves it there, and the table's next load puts
// it back.
int upload_table(const ActionRow* pmib_attr);

// The table of a code in parameter 4, 1000 and on; null for another number.
const char* ov_app_gpon_action_table_name(long code);
