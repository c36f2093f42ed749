// Capabilities of an ONU, as it reports them (sRmOnuCapaTable). One row per ONU, which comes and goes with
// it; to be read, never written.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sOnuTable.h"
#include "sRmOnuCapaTable.h"

extern int gpon_rmcapa_appid;
extern const MessageMap<ov_sRmOnuCapaTable_attr_t, ov_gpon_rmonu_capa_attr_t> rmcapa_map;

// Start-up, in its place of the list.
void ov_app_gpon_rmcapa_init();

// The row of an ONU: adds it when it isn't there, removes it when it is. 1, or 0 behind a log line.
char ov_rmcapa_table_add(const ov_sOnuTable_attr_t* onu);
char ov_rmcapa_table_del(const ov_sOnuTable_attr_t* onu);

// 1 while the row's ONU is in operation and can be asked.
char ov_rmcapa_check(const ov_sRmOnuCapaTable_attr_t* row);
// What an ONU has answered as columns of the row.
void srmcapa_hal_data_convert_to_mib(const ov_gpon_rmonu_capa_attr_t* hal, ov_sRmOnuCapaTable_attr_t* mib);
// Reads the ONU, while it is in operation.
int ov_rmcapa_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rmcapa_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
