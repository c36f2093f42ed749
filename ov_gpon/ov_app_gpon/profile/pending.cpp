// Profiles that aren't there yet.
#include "ov_app_gpon_onu_rssi.h"

void ov_app_gpon_onu_rssi_init() {
    // TODO: callbacks of sOnuRssiProfileTable
}
