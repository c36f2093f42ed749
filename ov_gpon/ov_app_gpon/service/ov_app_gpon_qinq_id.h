// The ids of QinQ rules, 1 to 32 on each interface: cards know a rule by its interface and its id. For the
// module's own sources.
#pragma once

#include "ov_app_gpon_qinq.h"

// The lowest free id of an interface. 0; OV_GPON_RET_FAIL behind a line for a place where there are no PON
// ports, without one for an interface that is neither a PON port nor an ONU; OV_GPON_RET_NO_RESOURCE when all
// are taken.
int ov_app_gpon_qinq_assign_id(ov_ifindex_t ifindex, uint16_t* id);
// Gives one back; one that isn't taken, or is none, is left alone. 0 or OV_GPON_RET_FAIL, as above.
int ov_app_gpon_qinq_release_id(ov_ifindex_t ifindex, uint16_t id);
// Whether a rule has it.
bool ov_app_gpon_qinq_id_is_taken(ov_ifindex_t ifindex, uint16_t id);
