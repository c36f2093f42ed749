// What the words of "remote wan" and "remote wifi" say of their rows.
#pragma once

#include "cli_row_forms.h"

// WAN connections: rows of sRmWanTable.
const CliRowForms& gpon_rm_wan_forms();
// Wireless networks: rows of sRmWifiTable.
const CliRowForms& gpon_rm_wifi_forms();
