// What the daemon tells the controller about the interfaces it makes: ONUs, protection groups, ONU states.
//
// Each function sends one request with sequence number 0 and blocks until the controller has answered.
// They give the controller's result (0 for success), a negative UCLIENT_RESULT, or OV_GPON_RET_BAD_PARAM.
// Event loop's thread only.
#pragma once

#include "ov_types.h"

// Announces an interface and enters it into the local list, whatever the controller answers: the command
// line knows it from then on. `onu_sn` is the serial number as text (31 characters count), or null.
int ov_app_gpon_new_if(ov_ifindex_t ifindex, const char* onu_sn);
// Withdraws an ONU, a PON port or an XE port and takes it out of the local list; any other kind is
// refused without a message.
int ov_app_gpon_del_if(ov_ifindex_t ifindex);

// Announces and withdraws a protection group of two PON ports.
int ov_app_gpon_new_ppgroup_if(ov_ifindex_t workPon, ov_ifindex_t protectPon);
int ov_app_gpon_del_ppgroup_if(ov_ifindex_t workPon, ov_ifindex_t protectPon);

// Reports an ONU's state. `sn` is the serial number's 8 bytes (4 of vendor code, 4 binary), or null.
int ov_gpon_onu_status_notify(ov_ifindex_t onuIfindex, int status, const unsigned char* sn);
