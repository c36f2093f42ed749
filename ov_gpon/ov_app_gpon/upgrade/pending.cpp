// Firmware upgrade, which isn't there yet. They stand in their place in the start-up list and do nothing.
#include "ov_app_gpon_onu_update.h"

void ov_app_gpon_pon_onu_update_init() {
    // TODO: callbacks of sOnuUpdateTable
}
void ov_app_gpon_onu_update_status_init() {
    // TODO: callbacks of sOnuUpdStatusTable
}
