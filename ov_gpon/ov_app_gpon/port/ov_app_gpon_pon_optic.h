// Optics of PON ports: readings of their modules (sPonOpticTable), a row for each port, which comes and goes
// with it. The values are the card's, as whole numbers of units that only the module knows.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sPonOpticTable.h"
#include "sPonTable.h"

extern int gpon_optic_appid;
extern const MessageMap<ov_sPonOpticTable_attr_t, ov_gpon_pon_optic_attr_t> pon_optic_map;

// Start-up, in its place of the list.
void ov_app_gpon_pon_optic_init();

// Whether the port's light is out of operation (operational state 4 or 5), so that its module has nothing to
// tell. The state is the one that was read last.
bool ov_app_gpon_port_is_out_of_operation(const ov_sPonTable_attr_t& port);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_pon_optic_table_pontable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// Fills all readings from the card when the transmit power is read; those of a port that is disabled or out
// of operation stay as they are. No table has it registered: a walk over the ports of a chassis would ask
// each card for each port, and managers get what is stored.
int ov_pon_optic_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
