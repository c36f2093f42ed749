// Optics of PON ports: readings (sPonOpticTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_pon_optic_init();
