// Firmware of ONUs: what is to be loaded where (sOnuUpdateTable) and how far it is (sOnuUpdStatusTable).
#pragma once

// Start-up, in their places of the list.
void ov_app_gpon_pon_onu_update_init();
void ov_app_gpon_onu_update_status_init();
