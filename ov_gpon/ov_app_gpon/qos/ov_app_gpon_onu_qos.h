// QoS of an ONU at its PON port: profiles, bandwidth and weight (onuQosTable). A service profile has such an
// object too, under slot 31, port 15 and its id.
//
// An object comes and goes with its ONU or profile. Edits change the record alone and note what has changed
// (sflag); ov_app_onu_qos_set hands it on. What a card refuses is as it was before, but for the mapping.
//
// Main loop only. Functions answer OV_QOS_RET; a null object is OV_QOS_ERR.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "onuQosTable.h"
#include "ov_app_gpon_qos_codes.h"
#include "ov_app_gpon_qos_list.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "ov_types.h"

struct ov_app_cosq_map_profile_s;

// Each value has its former twin: what the card has, until it has taken the new one.
struct ov_app_onu_qos_s {
    ov_ifindex_t ifindex; // kind PORT_TYPE_GONU
    uint32_t qos_sched_profile_id;
    uint32_t qos_sched_profile_id_old;
    uint32_t qos_traffic_profile_id;
    uint32_t qos_traffic_profile_id_old;
    uint32_t cosq_profile_id; // downlink; 8 for an ONU whose number of queues has no default mapping
    uint32_t cosq_profile_id_old;
    uint32_t cos_to_cos_profile_id[QOS_LINKS]; // uplink (neither row nor card have it), downlink
    uint32_t cos_to_cos_profile_id_old[QOS_LINKS];
    uint32_t max_bw; // kbit/s, 0: no limit
    uint32_t max_bw_old;
    uint32_t min_bw; // kbit/s
    uint32_t min_bw_old;
    uint32_t weight;
    uint32_t weight_old;
    uint32_t sflag; // what has changed since a card was told: 1 << OV_GPON_ONU_QOS_ATTR_INDEX_*
};
extern QosList<ov_app_onu_qos_s> g_onu_qos_list;

// A new object, all 0 but the weight of 1, the caller's until ov_app_onu_qos_add has taken it; null without
// memory.
ov_app_onu_qos_s* ov_app_onu_qos_new();
void ov_app_onu_qos_destroy(ov_app_onu_qos_s*);
// OV_QOS_ERR for an object that has been added.
int ov_app_onu_qos_edit_ifindex(ov_app_onu_qos_s*, ov_ifindex_t ifindex);
// The kind's ..._NOT_IN_USE for a profile that isn't there; 0 always is.
int ov_app_onu_qos_edit_sched_profile(ov_app_onu_qos_s*, uint32_t id);
int ov_app_onu_qos_edit_traffic_profile(ov_app_onu_qos_s*, uint32_t id);
int ov_app_onu_qos_edit_cos_to_cos_profile(ov_app_onu_qos_s*, uint32_t id, qos_link_e link);
// The same; the default of the ONU is taken too. Whether the ONU has the queues is the caller's to ask
// (ov_check_legal_cosq_map_for_onu).
int ov_app_onu_qos_edit_cosq_map_profile(ov_app_onu_qos_s*, uint32_t id);
int ov_app_onu_qos_edit_bw(ov_app_onu_qos_s*, uint32_t min_bw, uint32_t max_bw); // kbit/s
int ov_app_onu_qos_edit_weight(ov_app_onu_qos_s*, uint32_t weight);
// What an ONU starts with, by its index: no profiles but the default mapping for its queues, no bandwidths,
// weight 1. The card is taken to know.
int ov_app_onu_qos_edit_all_def(ov_app_onu_qos_s*);
ov_ifindex_t ov_app_onu_qos_get_ifindex(const ov_app_onu_qos_s*);
uint32_t ov_app_onu_qos_get_sched_profile(const ov_app_onu_qos_s*);
uint32_t ov_app_onu_qos_get_traffic_profile(const ov_app_onu_qos_s*);
uint32_t ov_app_onu_qos_get_cosq_map_profile(const ov_app_onu_qos_s*);
uint32_t ov_app_onu_qos_get_cos_to_cos_profile(const ov_app_onu_qos_s*, qos_link_e link);
uint32_t ov_app_onu_qos_get_max_bw(const ov_app_onu_qos_s*);
uint32_t ov_app_onu_qos_get_min_bw(const ov_app_onu_qos_s*);
uint32_t ov_app_onu_qos_get_weight(const ov_app_onu_qos_s*);

// Adds the object to the copies of `flag`, and with SYNC_APP takes it over; on any other answer than
// OV_QOS_OK it stays the caller's. A row that is there already counts as added: the object takes its values.
// OV_ONU_QOS_IN_USE when the ONU has an object.
int ov_app_onu_qos_add(ov_app_onu_qos_s*, uint32_t flag);
// Takes the object out of the copies of `flag` and, if that is of the application's, ends it. With SYNC_HAL
// its profiles are free of it; the card isn't told. OV_ONU_QOS_NOT_IN_USE for one that isn't held, or null.
int ov_app_onu_qos_del(ov_app_onu_qos_s*, uint32_t flag);
// Hands what has changed to the copies of `flag`, in one message that waits for the card. OV_QOS_HAL_FAIL
// when it refuses: the object is as before, but for the mapping, and nothing else is written. OV_QOS_MIB_FAIL
// when the row couldn't be written, which the card has by then. OV_ONU_QOS_NOT_IN_USE for an object that
// isn't held, or null.
int ov_app_onu_qos_set(ov_app_onu_qos_s*, uint32_t flag);
// The object of an ONU, or of a service profile; null for none. It stays the module's.
ov_app_onu_qos_s* ov_app_find_onu_qos_by_ifindex(ov_ifindex_t ifindex);

// ---- queues of ONUs ---------------------------------------------------------------------------------------

// Queues of an ONU type, both ways; of an ONU or service profile by its type. OV_QOS_OK; OV_QOS_ERR when
// there is no such thing, and then the queues are OV_QOS_INVALID_QUEUE_NUM.
struct ov_onu_queue_num_s {
    unsigned up;
    unsigned down;
};
int ov_get_onu_queue_num_by_onu_type_name(const char* name, ov_onu_queue_num_s* queue);
int ov_get_onu_queue_num_by_onu_ifindex(ov_ifindex_t ifindex, ov_onu_queue_num_s* queue);
// Does the ONU have every queue of the mapping? 0: it does, or `dir` is 0 (uplink). 1: it doesn't.
int ov_check_legal_cosq_map_for_onu(const ov_app_cosq_map_profile_s* profile, ov_ifindex_t ifindex, int dir);
// The default mapping for the upstream queues of an ONU: 0 for 8, 5 for 4, 6 for 2, 7 for 1, 8 for any other
// number. OV_QOS_OK.
int ov_app_onu_cosq_defId(ov_ifindex_t ifindex, uint32_t* defId);

// ---- tables -----------------------------------------------------------------------------------------------

// The values of a row that differ from the object's become the object's, as changes. False when one can't be,
// and then nothing has changed.
bool ov_onu_qos_mib_to_app(const ov_onuQosTable_attr_t& row, ov_app_onu_qos_s& onu);
// May the row become so? 1 passes.
int ov_onu_qos_mib_data_check(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_onu_qos_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_app_gpon_onu_qos_on_onu_table_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_onu_qos_onu_srvprofile_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);

// ---- replay -----------------------------------------------------------------------------------------------

// Tells the card in `slot` what its ONUs and service ports have beside the defaults, without waiting for it.
// OV_QOS_OK.
int ov_app_onu_qos_config_restore(int slot);
// How the columns of its table reach the card.
extern const MessageMap<ov_onuQosTable_attr_t, ov_gpon_onu_qos_attr_t> onu_qos_map;
// Which attributes a replay's set brings for a row of the table: those whose columns differ from what the
// create has given the card, as the lines of the table's map say (app_message_map.h).
ov_bmp_t ov_onu_qos_table_attr_mask_get(const void* row);
