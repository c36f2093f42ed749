// The four kinds of QoS profile: schedulers of queues, mappings of COS to queues, limits of queues, mappings
// of COS to COS. Ports, ONUs and service ports name them by id.
//
// A profile lives twice: as a record of the application (g_*_list), which is the working copy, and as a row
// of its table. Cards know it by its id. Nobody edits a profile: it is made, filled and added, and deleted
// when nothing is bound to it. Profile 0 of each kind is always there.
//
// Life of each kind:
//   new      a profile of id 0 and of the values that a row starts with, the caller's; null without memory
//   destroy  ends one that is the caller's; null does nothing
//   edit_*   gives a value to one that is still the caller's
//   get_*    reads a value
//   add      adds it to the copies of `flag`: to all cards, to the table, to the list, and takes it over; on
//            any other answer than OV_QOS_OK it stays the caller's. A row that is there already counts as
//            added, and the profile takes its values.
//   del      takes it out of the copies of `flag`, and ends it with the application's. With SYNC_HAL the
//            answer is the kind's ..._IN_USE while something is bound to it.
//
// Main loop only. Functions answer OV_QOS_RET; a null profile is OV_QOS_ERR.
#pragma once

#include "mmg_access.h"
#include "ov_app_gpon_qos_codes.h"
#include "ov_app_gpon_qos_list.h"

// ---- scheduler: how a port serves its queues (qosSchedulerProfileTable) -----------------------------------

// What commands give as a weight. A manager may give up to 127.
inline constexpr uint32_t OV_QOS_SCHED_PROFILE_WEIGHT_MIN = 0;
inline constexpr uint32_t OV_QOS_SCHED_PROFILE_WEIGHT_MAX = 100;

struct ov_app_qos_sched_profile_s {
    uint32_t id; // 1 to 16
    char name[128 + 1];
    char desc[128 + 1];
    uint32_t mode[OV_QOS_COS_NUM]; // ov_qos_sched_mode_e, by queue
    uint32_t weight[OV_QOS_COS_NUM];
    uint32_t real_mode; // the modes as the row has them: 4 bits each, queue 0 lowest
};
extern QosList<ov_app_qos_sched_profile_s> g_qos_sched_profile_list;

ov_app_qos_sched_profile_s* ov_app_qos_sched_profile_new();
void ov_app_qos_sched_profile_destroy(ov_app_qos_sched_profile_s*);
// OV_QOS_SCHED_PROFILE_INVALID_ID for any id but 1 to 16.
int ov_app_qos_sched_profile_edit_id(ov_app_qos_sched_profile_s*, uint32_t id);
int ov_app_qos_sched_profile_edit_name(ov_app_qos_sched_profile_s*, const char* name); // 128 bytes at most
int ov_app_qos_sched_profile_edit_desc(ov_app_qos_sched_profile_s*, const char* desc); // 128 bytes at most
// The mode of every queue: OV_QOS_SCHED_SP or OV_QOS_SCHED_WRR.
int ov_app_qos_sched_profile_edit_mode(ov_app_qos_sched_profile_s*, ov_qos_sched_mode_e mode);
// The weights of the queues, `num` of them: ..._WEIGHT_INVALID_NUM unless these are 8, ..._INVALID_WEIGHT for
// one above 100; then none is taken.
int ov_app_qos_sched_profile_edit_weight(ov_app_qos_sched_profile_s*, const uint32_t* weight, unsigned num);
uint32_t ov_app_qos_sched_profile_get_id(const ov_app_qos_sched_profile_s*);
const char* ov_app_qos_sched_profile_get_name(const ov_app_qos_sched_profile_s*);
const char* ov_app_qos_sched_profile_get_desc(const ov_app_qos_sched_profile_s*);
// 0 for a queue above 7.
uint32_t ov_app_qos_sched_profile_get_mode(const ov_app_qos_sched_profile_s*, unsigned queue);
uint32_t ov_app_qos_sched_profile_get_weight(const ov_app_qos_sched_profile_s*, unsigned queue);
int ov_app_qos_sched_profile_add(ov_app_qos_sched_profile_s*, uint32_t flag);
int ov_app_qos_sched_profile_del(ov_app_qos_sched_profile_s*, uint32_t flag);
// Null for none. It stays the module's; the same of those below.
ov_app_qos_sched_profile_s* ov_app_find_sched_profile_by_id(uint32_t id);

// ---- mapping of COS to queue (cosQueueMappingProfileTable) ------------------------------------------------

// Ids of operators are 1 to 4. The others are the defaults for ONUs with so many queues: 0 with 8, 5 with 4,
// 6 with 2, 7 with 1.
inline constexpr uint32_t OV_QOS_COSQ_MAP_PROFILE_ID_MAX = 4;

struct ov_app_cosq_map_profile_s {
    uint32_t id;
    char name[65 + 1];
    char desc[129 + 1];
    uint32_t cosq[OV_QOS_COS_NUM]; // the queue of each COS, 0 to 7
};
extern QosList<ov_app_cosq_map_profile_s> g_cosq_map_profile_list;

ov_app_cosq_map_profile_s* ov_app_cosq_map_profile_new();
void ov_app_cosq_map_profile_destroy(ov_app_cosq_map_profile_s*);
// ..._INTERNAL_ID for that of a default, ..._INVALID_ID for any other than 1 to 4.
int ov_app_cosq_map_profile_edit_id(ov_app_cosq_map_profile_s*, uint32_t id);
// That of a default: ..._INVALID_ID for any other than 0, 5, 6, 7.
int ov_app_cosq_map_profile_edit_internal_id(ov_app_cosq_map_profile_s*, uint32_t id);
int ov_app_cosq_map_profile_edit_name(ov_app_cosq_map_profile_s*, const char* name); // 65 bytes at most
int ov_app_cosq_map_profile_edit_desc(ov_app_cosq_map_profile_s*, const char* desc); // 129 bytes at most
// The queues of COS 0 to num - 1: ..._COSQ_NULL, ..._COSQ_TOO_MANY above 8, ..._BAD_NUM for a queue above 7;
// then none is taken.
int ov_app_cosq_map_profile_edit_cosq(ov_app_cosq_map_profile_s*, const uint32_t* cosq, unsigned num);
uint32_t ov_app_cosq_map_profile_get_id(const ov_app_cosq_map_profile_s*);
const char* ov_app_cosq_map_profile_get_name(const ov_app_cosq_map_profile_s*);
const char* ov_app_cosq_map_profile_get_desc(const ov_app_cosq_map_profile_s*);
// OV_QOS_INVALID_QUEUE_NUM for a COS above 7.
uint32_t ov_app_cosq_map_profile_get_cosq(const ov_app_cosq_map_profile_s*, unsigned cos);
// ..._DUPLICATE when another profile, a default too, maps every COS the same.
int ov_app_cosq_mapping_profile_add(ov_app_cosq_map_profile_s*, uint32_t flag);
int ov_app_cosq_mapping_profile_del(ov_app_cosq_map_profile_s*, uint32_t flag);
ov_app_cosq_map_profile_s* ov_app_find_cosq_map_profile_by_id(uint32_t id);

// ---- limits of queues (qosTrafficProfileTable) ------------------------------------------------------------

inline constexpr int32_t OV_QOS_TRAFFIC_BW_MAX = 100000000; // kbit/s
inline constexpr int32_t OV_QOS_TRAFFIC_NO_LIMIT = -1;

struct ov_app_qos_traffic_profile_s {
    uint32_t id; // 1 to 128
    char name[64 + 1];
    char desc[128 + 1];
    int32_t min_bw[OV_QOS_COS_NUM]; // kbit/s, by queue
    int32_t max_bw[OV_QOS_COS_NUM]; // kbit/s, or OV_QOS_TRAFFIC_NO_LIMIT, which is how a minimum of 0 stands
};
extern QosList<ov_app_qos_traffic_profile_s> g_qos_traffic_profile_list;

ov_app_qos_traffic_profile_s* ov_app_qos_traffic_profile_new();
void ov_app_qos_traffic_profile_destroy(ov_app_qos_traffic_profile_s*);
// OV_QOS_TRAFFIC_PROFILE_INVALID_ID above 128.
int ov_app_qos_traffic_profile_edit_id(ov_app_qos_traffic_profile_s*, uint32_t id);
int ov_app_qos_traffic_profile_edit_name(ov_app_qos_traffic_profile_s*, const char* name); // 64 bytes
int ov_app_qos_traffic_profile_edit_desc(ov_app_qos_traffic_profile_s*, const char* desc); // 128 bytes
// Both bandwidths of a queue: 1 to 100000000, the maximum not below the minimum; or 0 and 0, which is without
// a limit, like 0 and -1. OV_QOS_ERR for anything else.
int ov_app_qos_traffic_profile_edit_bw(ov_app_qos_traffic_profile_s*, unsigned queue, int32_t min_bw,
                                       int32_t max_bw);
uint32_t ov_app_qos_traffic_profile_get_id(const ov_app_qos_traffic_profile_s*);
const char* ov_app_qos_traffic_profile_get_name(const ov_app_qos_traffic_profile_s*);
const char* ov_app_qos_traffic_profile_get_desc(const ov_app_qos_traffic_profile_s*);
// 0 for a queue above 7.
int32_t ov_app_qos_traffic_profile_get_min_bw(const ov_app_qos_traffic_profile_s*, unsigned queue);
int32_t ov_app_qos_traffic_profile_get_max_bw(const ov_app_qos_traffic_profile_s*, unsigned queue);
int ov_app_qos_traffic_profile_add(ov_app_qos_traffic_profile_s*, uint32_t flag);
int ov_app_qos_traffic_profile_del(ov_app_qos_traffic_profile_s*, uint32_t flag);
ov_app_qos_traffic_profile_s* ov_app_find_qos_traffic_profile_by_id(uint32_t id);

// ---- mapping of COS to COS (cosToCosProfileTable) ---------------------------------------------------------

struct ov_app_cos_to_cos_map_profile_s {
    uint32_t id; // 1 to 7
    char name[64 + 1];
    char desc[128 + 1];
    uint32_t mapped_cos[OV_QOS_COS_NUM]; // by COS, 0 to 7
};
extern QosList<ov_app_cos_to_cos_map_profile_s> g_cos_to_cos_map_profile_list;

ov_app_cos_to_cos_map_profile_s* ov_app_cos_to_cos_map_profile_new();
void ov_app_cos_to_cos_map_profile_destroy(ov_app_cos_to_cos_map_profile_s*);
// OV_QOS_ERR for any id but 1 to 7.
int ov_app_cos_to_cos_map_profile_edit_id(ov_app_cos_to_cos_map_profile_s*, uint32_t id);
// OV_QOS_ERR for null or above 64 bytes; 128 of the description.
int ov_app_cos_to_cos_map_profile_edit_name(ov_app_cos_to_cos_map_profile_s*, const char* name);
int ov_app_cos_to_cos_map_profile_edit_desc(ov_app_cos_to_cos_map_profile_s*, const char* desc);
// What COS 0 to num - 1 become. OV_QOS_ERR for null, for more than 8, for a COS above 7; then none is taken.
int ov_app_cos_to_cos_map_profile_edit_mapped_cos(ov_app_cos_to_cos_map_profile_s*,
                                                  const uint32_t* mapped_cos, unsigned num);
uint32_t ov_app_cos_to_cos_map_profile_get_id(const ov_app_cos_to_cos_map_profile_s*);
const char* ov_app_cos_to_cos_map_profile_get_name(const ov_app_cos_to_cos_map_profile_s*);
const char* ov_app_cos_to_cos_map_profile_get_desc(const ov_app_cos_to_cos_map_profile_s*);
// `cos` itself above 7.
uint32_t ov_app_cos_to_cos_map_profile_get_mapped_cos(const ov_app_cos_to_cos_map_profile_s*, unsigned cos);
// ..._DUPLICATE when another profile, 0 too, maps every COS the same.
int ov_app_cos_to_cos_mapping_profile_add(ov_app_cos_to_cos_map_profile_s*, uint32_t flag);
int ov_app_cos_to_cos_mapping_profile_del(ov_app_cos_to_cos_map_profile_s*, uint32_t flag);
ov_app_cos_to_cos_map_profile_s* ov_app_find_cos_to_cos_map_profile_by_id(uint32_t id);

// ---- who is bound to them ---------------------------------------------------------------------------------

enum qos_profile_kind_e : unsigned {
    QOS_PROFILE_COSQ_MAP = 0,
    QOS_PROFILE_SCHED = 1,
    QOS_PROFILE_TRAFFIC = 2,
    QOS_PROFILE_COS_TO_COS = 3,
    QOS_PROFILE_KINDS = 4,
};

// How many bindings name a profile, by kind and id. A card has taken each of them. Profile 0 counts up only:
// nobody deletes it.
inline constexpr uint32_t QOS_PROFILE_IDS = OV_QOS_TRAFFIC_PROFILE_NUM + 1;
extern uint32_t g_qos_profile_use_cnt[QOS_PROFILE_KINDS][QOS_PROFILE_IDS];

// ---- tables -----------------------------------------------------------------------------------------------

// May the row become so? 1 passes. The check of traffic writes a queue without bandwidths back as one without
// a limit.
int ov_qos_scheduler_profile_mib_data_check(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_qos_cos_queue_mib_data_check(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_qos_traffic_profile_mib_data_check(MIBDID did, void* row, MIB_Flags_t column_flag);

int ov_qos_scheduler_profile_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_cos_queue_mapping_profile_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_qos_traffic_profile_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_cos_to_cos_profile_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);

// ---- replay -----------------------------------------------------------------------------------------------

// Tell the card in `slot` all profiles of a kind, without waiting for it. OV_QOS_OK.
int ov_app_qos_sched_profile_restore_config(int slot);
int ov_app_cosq_mapping_profile_restore_config(int slot);
int ov_app_qos_traffic_profile_restore_config(int slot);
int ov_app_cos_to_cos_profile_restore_config(int slot);
