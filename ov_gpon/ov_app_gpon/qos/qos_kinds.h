// What the modules of this room share, and nobody else needs.
#pragma once

#include "ov_app_gpon_qos.h"
#include "qos_profile.h"

// ---- start, in this order: the default profiles, then a record for each row that has none
// ------------------

void qos_sched_profile_add_default();
void qos_cosq_map_profile_add_defaults();
void qos_traffic_profile_add_default();
void qos_cos_to_cos_profile_add_default();

void qos_sched_profile_adopt_rows();
void qos_cosq_map_profile_adopt_rows();
void qos_traffic_profile_adopt_rows();
void qos_cos_to_cos_profile_adopt_rows();
