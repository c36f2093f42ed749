// What the saved configuration says of QoS, beside its parts (gpon_config_parts.h).
#pragma once

#include <cstdint>

#include "ov_types.h"

// The mapping of classes of service to queues that an ONU has by itself, and has again by "default": that of
// its number of queues, or profile 0 where there is none for it.
uint32_t gpon_qos_own_mapping(ov_ifindex_t onu);
