// QoS of ports, ONUs and service ports. An object lives twice: as a record of the application, which is the
// working copy, and as columns of a table row.
//
// Main loop only. Functions answer OV_QOS_*.
#pragma once

#include <cstdint>

#include "ov_hal_gpon_msg.h"
#include "ov_types.h"

struct avl_tree_s;

enum OV_QOS_RET : int {
    OV_QOS_OK = 0,
    OV_QOS_ERR = 1,
    OV_QOS_NOT_SUPPORT = 2,
    OV_QOS_MIB_FAIL = 3,
    OV_QOS_HAL_FAIL = 4,
    OV_QOS_SERVICE_PORT_IN_USE = 40,
    OV_QOS_SERVICE_PORT_NOT_IN_USE = 41,
};

// Which copies of a QoS object a call is about.
enum ov_sync_flag_t : uint32_t { SYNC_MIB = 1, SYNC_HAL = 2, SYNC_APP = 4 };
inline constexpr uint32_t SYNC_EVERY_COPY = SYNC_MIB | SYNC_HAL | SYNC_APP;

enum qos_link_e : unsigned { QOS_UP_LINK = 0, QOS_DOWN_LINK = 1, QOS_LINKS = 2 };

inline constexpr uint32_t OV_QOS_COS_TO_COS_PROFILE_INVALID = 8;

// Start-up, in its place of the list.
void ov_app_gpon_qos_init();

// Gates the debug lines of the QoS modules.
extern int g_gpon_qos_debug_flag;

// ---- a port -----------------------------------------------------------------------------------------------

enum ov_qos_sched_model_e : int32_t { OV_QOS_SCHED_SIMPLE = 1, OV_QOS_SCHED_HIERARCHY = 2 };

struct ov_app_port_qos_s {
    ov_ifindex_t ifindex;
};

// A new object with defaults, the caller's until ov_app_port_qos_add has taken it; null without memory.
ov_app_port_qos_s* ov_app_port_qos_new();
void ov_app_port_qos_destroy(ov_app_port_qos_s*);
int ov_app_port_qos_edit_ifindex(ov_app_port_qos_s*, ov_ifindex_t ifindex);
// Adds the object to the copies of `flag` and takes it over; on any other answer than 0 it stays the
// caller's.
int ov_app_port_qos_add(ov_app_port_qos_s*, uint32_t flag);
// Takes the object out of the copies of `flag` and, if that is of the application's, ends it.
int ov_app_port_qos_del(ov_app_port_qos_s*, uint32_t flag);
// The object of a port; null for none. It stays the module's.
ov_app_port_qos_s* ov_app_find_port_qos_by_ifindex(ov_ifindex_t ifindex);
// The scheduler model of a port (ov_qos_sched_model_e). 0; another value when the port has no object.
int ov_app_qos_port_model_get_by_ifindex(ov_ifindex_t ifindex, int* model);

// ---- a service port ---------------------------------------------------------------------------------------

// A service port's COS-to-COS profiles. `index` is its interface index (kind PORT_TYPE_GPON_SERVPORT).
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

// ---- replay to a card that came up ------------------------------------------------------------------------

int ov_app_qos_sched_profile_restore_config(int slot);
int ov_app_qos_traffic_profile_restore_config(int slot);
int ov_app_cos_to_cos_profile_restore_config(int slot);
int ov_app_cosq_mapping_profile_restore_config(int slot);
int ov_app_port_qos_config_restore(int slot);
int ov_app_onu_qos_config_restore(int slot);
// Which attributes a replay's set brings for a row of the table: those whose columns differ from what the
// create has given the card, as the lines of the table's map say (app_message_map.h).
ov_bmp_t ov_onu_qos_table_attr_mask_get(const void* row);
