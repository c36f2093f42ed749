// Optics of PON ports, which aren't there yet. They stand in their place in the start-up list and do nothing.
#include "app_restore_line.h"
#include "ov_app_gpon_pon_optic.h"
#include "ov_app_gpon_pon_threshold.h"

void ov_app_gpon_pon_optic_init() {
    // TODO: callbacks of sPonOpticTable
}
void ov_app_gpon_pon_threshold_init() {
    // TODO: callbacks of sPonThresholdTable
}

// A replay to a card brings nothing of it.
RESTORE_LATER(pon_threshold, SPONTHRESHOLD,
              OV_HAL_MSG_GPON_PON_MODULE_THRESHOLD) // TODO: its map, ov_pon_ponthreshold_table_attr_mask_get
