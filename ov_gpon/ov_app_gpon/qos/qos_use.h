// Who is bound to a profile: the use counters, and whether a profile is there to be bound.
#pragma once

#include "ov_app_gpon_qos_profile.h"
#include "ov_types.h"

// 0 for an id that isn't counted: one above 128.
uint32_t qos_profile_use_count(qos_profile_kind_e kind, uint32_t id);
// One more binding of a profile, one fewer; never below 0.
void qos_profile_use(qos_profile_kind_e kind, uint32_t id);
void qos_profile_leave(qos_profile_kind_e kind, uint32_t id);

// OV_QOS_OK when there is such a profile, or the id is 0; else the kind's ..._NOT_IN_USE, and a reason is
// stated.
int qos_profile_must_exist(qos_profile_kind_e kind, uint32_t id);

// Whether a row may name this profile: an id of its kind, which is there. Logs one that isn't.
bool qos_row_may_name(qos_profile_kind_e kind, mib_long id);
