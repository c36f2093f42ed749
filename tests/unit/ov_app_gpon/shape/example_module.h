// The module of the example table, as the developer's guide has it: rows that follow their ONU, a read and a
// write that go to the card.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "sExampleTable.h"

extern int gpon_example_appid;
extern const MessageMap<ov_sExampleTable_attr_t, ov_gpon_rmuni_attr_t> example_map;
extern const RestoreTable ov_app_gpon_config_restore_example;

// Start-up, in its place of the list.
void ov_app_gpon_example_init();

// A change to the card; on a working port it is repeated on the partner.
int ov_example_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// Rows of a protecting port are nobody's to write.
int ov_example_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// The link state, live, while the ONU is in operation.
int ov_example_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// A row comes and goes with its ONU.
int ov_example_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
