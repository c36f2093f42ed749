// Optics of PON ports, which aren't there yet. They stand in their place in the start-up list and do nothing.
#include "ov_app_gpon_pon_optic.h"
#include "ov_app_gpon_pon_threshold.h"

void ov_app_gpon_pon_optic_init() {
    // TODO: callbacks of sPonOpticTable
}
void ov_app_gpon_pon_threshold_init() {
    // TODO: callbacks of sPonThresholdTable
}
