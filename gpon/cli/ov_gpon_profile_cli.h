// The commands of profiles: ONU types, bandwidth, traffic, limits of optical readings, and the service
// profiles of ONUs. Each init
// installs its theme; main thread, at start, behind the nodes.
#pragma once

void gpon_profile_cli_init();
void gpon_onu_rssi_cli_init();
void gpon_srvprofile_cli_init();
