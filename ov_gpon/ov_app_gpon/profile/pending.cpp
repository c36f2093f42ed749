// Profiles that aren't there yet.
#include "app_restore_line.h"
#include "ov_app_gpon_onu_rssi.h"

void ov_app_gpon_onu_rssi_init() {
    // TODO: callbacks of sOnuRssiProfileTable
}

// A replay to a card brings nothing of it.
RESTORE_LATER(onu_rssi, SONURSSIPROFILE, OV_HAL_MSG_GPON_ONU_RSSI) // TODO: map of record 904
