// The TR-069 client of an ONU (sRmTr069MgmtTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rm_tr069_mgmt_init();
