// QoS of a service port: its COS-to-COS profiles. Its copy in the tables are two columns of servicePortTable.
// The one kind of QoS object that is numerous, hence a tree bounded by the chassis.
//
// Main loop only. Functions answer OV_QOS_RET.
#pragma once

#include "ov_app_gpon_qos_codes.h"
#include "ov_types.h"

struct avl_tree_s;

// `index` is the service port's interface index (kind PORT_TYPE_GPON_SERVPORT).
struct ov_app_service_port_qos_s {
    ov_ifindex_t index;
    uint32_t cos_to_cos_profile_id[QOS_LINKS];
    uint32_t cos_to_cos_profile_id_old[QOS_LINKS];
    uint32_t cosq_map;
    uint32_t sflag; // what has changed, a bit for each attribute index
};

// A new object with defaults, the caller's until ov_app_service_port_qos_add has taken it; null without
// memory.
ov_app_service_port_qos_s* ov_app_service_port_qos_new();
void ov_app_service_port_qos_destroy(ov_app_service_port_qos_s*);
int ov_app_service_port_qos_edit_index(ov_app_service_port_qos_s*, ov_ifindex_t index);
int ov_app_service_port_qos_edit_cos_to_cos(ov_app_service_port_qos_s*, uint32_t profile_id, qos_link_e link);
// Adds the object to the copies of `flag` and takes it over; on any other answer than 0 it stays the
// caller's. At most qos_servport_get_max_count() are held.
int ov_app_service_port_qos_add(ov_app_service_port_qos_s*, uint32_t flag);
// Takes the object out of the copies of `flag` and, if that is of the application's, ends it.
int ov_app_service_port_qos_del(ov_app_service_port_qos_s*, uint32_t flag);
// Hands what has changed to the copies of `flag`.
int ov_app_service_port_qos_set(ov_app_service_port_qos_s*, uint32_t flag);
// The object with this index; null for none. It stays the module's.
ov_app_service_port_qos_s* ov_app_find_service_port_qos_by_ifindex(ov_ifindex_t ifindex);
// How many objects there can be: by shelf type.
unsigned qos_servport_get_max_count();

// The objects, in the order of qos_servport_compare: by index.
extern avl_tree_s* g_service_port_qos_avl_entry;
int qos_servport_compare(void* data, void* info);
// Start-up, when the tables are loaded: the tree, and an object for each row of a service port that has none.
// Cards aren't told.
void ov_app_service_port_qos_init();
