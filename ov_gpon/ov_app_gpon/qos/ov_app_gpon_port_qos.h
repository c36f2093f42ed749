// QoS of a port: the model of its scheduler and the profiles bound to it. Uplink ports have their rows in
// portQosTable, PON ports in ponPortQosTable.
//
// An object is there from the day its port appears. Edits change the record alone and note what has changed
// (sflag); ov_app_port_qos_set hands it on. What a card refuses is as it was before.
//
// Main loop only. Functions answer OV_QOS_RET; a null object is OV_QOS_ERR.
#pragma once

#include "mmg_access.h"
#include "ov_app_gpon_qos_codes.h"
#include "ov_app_gpon_qos_list.h"
#include "ov_types.h"

// What may change: bits of sflag, in the order in which cards are told.
enum ov_app_port_qos_attr_e : unsigned {
    OV_APP_PORT_QOS_MODEL = 0,
    OV_APP_PORT_QOS_COSQ_MAP = 1,
    OV_APP_PORT_QOS_SCHED = 2,
    OV_APP_PORT_QOS_TRAFFIC = 3,
    OV_APP_PORT_QOS_COS_TO_COS = 4,
};

// Each value has its former twin: what the card has, until it has taken the new one.
struct ov_app_port_qos_s {
    ov_ifindex_t ifindex; // kind PORT_TYPE_GE, PORT_TYPE_XE or PORT_TYPE_GPON
    uint32_t qos_model;   // ov_qos_sched_model_e
    uint32_t qos_model_old;
    uint32_t cosq_map_profile_id;
    uint32_t cosq_map_profile_id_old;
    uint32_t qos_sched_profile_id;
    uint32_t qos_sched_profile_id_old;
    uint32_t qos_traffic_profile_id;
    uint32_t qos_traffic_profile_id_old;
    uint32_t cos_to_cos_profile_id[QOS_LINKS]; // uplink, downlink
    uint32_t cos_to_cos_profile_id_old[QOS_LINKS];
    uint32_t sflag; // what has changed since a card was told: 1 << OV_APP_PORT_QOS_*
};
extern QosList<ov_app_port_qos_s> g_port_qos_list;

// A new object with defaults, the caller's until ov_app_port_qos_add has taken it; null without memory.
ov_app_port_qos_s* ov_app_port_qos_new();
void ov_app_port_qos_destroy(ov_app_port_qos_s*);
// OV_QOS_ERR for an object that has been added. A PON port gets the model that the product starts with.
int ov_app_port_qos_edit_ifindex(ov_app_port_qos_s*, ov_ifindex_t ifindex);
// OV_QOS_ERR for what isn't a model; OV_QOS_NOT_SUPPORT for the simple one on a PON port of a product
// without.
int ov_app_port_qos_edit_sched_mode(ov_app_port_qos_s*, int32_t model);
// The kind's ..._NOT_IN_USE for a profile that isn't there; 0 always is.
int ov_app_port_qos_edit_qos_sched_profile(ov_app_port_qos_s*, uint32_t id);
int ov_app_port_qos_edit_qos_traffic_profile(ov_app_port_qos_s*, uint32_t id);
int ov_app_port_qos_edit_cosq_map_profile(ov_app_port_qos_s*, uint32_t id);
int ov_app_port_qos_edit_cos_to_cos_profile(ov_app_port_qos_s*, uint32_t id, qos_link_e link);
// No profile is bound any more, and the card is taken to know. The model stays.
int ov_app_port_qos_edit_all_def(ov_app_port_qos_s*);
ov_ifindex_t ov_app_port_qos_get_ifindex(const ov_app_port_qos_s*);
int32_t ov_app_port_qos_get_sched_mode(const ov_app_port_qos_s*);
uint32_t ov_app_port_qos_get_qos_sched_profile(const ov_app_port_qos_s*);
uint32_t ov_app_port_qos_get_qos_traffic_profile(const ov_app_port_qos_s*);
uint32_t ov_app_port_qos_get_cosq_map_profile(const ov_app_port_qos_s*);
uint32_t ov_app_port_qos_get_cos_to_cos_profile(const ov_app_port_qos_s*, qos_link_e link);

// Adds the object to the copies of `flag`, and with SYNC_APP takes it over; on any other answer than
// OV_QOS_OK it stays the caller's. A row that is there already counts as added: the object takes its values.
// The card is told what differs from the defaults. OV_PORT_QOS_IN_USE when the port has an object.
int ov_app_port_qos_add(ov_app_port_qos_s*, uint32_t flag);
// Takes the object out of the copies of `flag` and, if that is of the application's, ends it. With SYNC_HAL
// its profiles are free of it. OV_PORT_QOS_NO_IN_USE for one that isn't held, or null.
int ov_app_port_qos_del(ov_app_port_qos_s*, uint32_t flag);
// Hands what has changed to the copies of `flag`: one message for each attribute, waiting for the card. At
// the first that it refuses, that attribute and those behind it are as before, those in front of it stay, no
// row is written, and the answer is OV_QOS_HAL_FAIL. A change of the model tells the controller; one to
// hierarchy takes every profile off the port, one to simple tells the card its ONUs again.
int ov_app_port_qos_set(ov_app_port_qos_s*, uint32_t flag);
// The object of a port; null for none. It stays the module's.
ov_app_port_qos_s* ov_app_find_port_qos_by_ifindex(ov_ifindex_t ifindex);
// The scheduler model of a port (ov_qos_sched_model_e). 0; another value when the port has no object.
int ov_app_qos_port_model_get_by_ifindex(ov_ifindex_t ifindex, int* model);

// ---- tables -----------------------------------------------------------------------------------------------

// May the row become so? 1 passes.
int ov_port_qos_mib_data_check(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_pon_port_qos_mib_data_check(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_port_qos_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_pon_port_qos_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);

// ---- replay -----------------------------------------------------------------------------------------------

// Tells the card in `slot` what its ports have beside the defaults, without waiting for it. OV_QOS_OK.
int ov_app_port_qos_config_restore(int slot);
