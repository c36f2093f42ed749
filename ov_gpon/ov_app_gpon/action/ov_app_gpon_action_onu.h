// Actions on a range of ONUs of a port. Which ONUs are meant is said by a list of flags, entry `onuId - 1`
// for each (ov_app_gpon_onusrv_batch_config.h). Main loop.
#pragma once

#include "ov_app_gpon_onusrv_batch_config.h"
#include "ov_ifindex.h"

// Flags the ONUs of a list such as "1-8,17" as asked for. 0, or -1 behind a log line for a piece that is
// neither an id nor a range; those in front of it are flagged then.
int ov_app_onu_range_parse(const char* onuRange, ov_batch_onu_flags_t onuFlag);
// Says of each ONU asked for whether it is to be configured from a profile of this ONU type, is of another
// type, or isn't there: one that its card has never reported isn't.
void ov_gpon_multi_onu_add_state_check(ov_ifindex_t ifindex, ov_batch_onu_flags_t onuFlag,
                                       const char* onuTypeProfileName);
// Marks each ONU asked for that is there as to be configured. 0 if all are, else -1.
int ov_gpon_onu_state_check(ov_ifindex_t ifindex, ov_batch_onu_flags_t onuFlag);
