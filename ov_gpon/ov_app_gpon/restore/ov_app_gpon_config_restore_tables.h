// The tables that a restore replays to a card. Each module hands in its own line (app_restore_line.h).
// Main loop.
#pragma once

#include <cstdint>

#include "app_restore_line.h"
#include "mmg_access.h"

extern const RestoreTable ov_app_gpon_config_restore_onu_type;
extern const RestoreTable ov_app_gpon_config_restore_bw_type;
extern const RestoreTable ov_app_gpon_config_restore_onu_rssi;
extern const RestoreTable ov_app_gpon_config_restore_rm_traffic;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_tcont;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_gemport;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_srvport;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_rmservice;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_rmunivlan;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_iphost;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_voip_cfg;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_voip_sip_agent;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_onuqos;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_wan;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_wifi;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_uni_poe;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_onu_poe;
extern const RestoreTable ov_app_gpon_config_restore_pon;
extern const RestoreTable ov_app_gpon_config_restore_pon_protect;
extern const RestoreTable ov_app_gpon_config_restore_onu;
extern const RestoreTable ov_app_gpon_config_restore_onu_info; // in no stage: ONUs know it themselves
extern const RestoreTable ov_app_gpon_config_restore_tcont;
extern const RestoreTable ov_app_gpon_config_restore_gemport;
extern const RestoreTable ov_app_gpon_config_restore_srvport;
extern const RestoreTable ov_app_gpon_config_restore_mcast_vlan;
extern const RestoreTable ov_app_gpon_config_restore_rm_uni_status;
extern const RestoreTable ov_app_gpon_config_restore_rm_iphost;
extern const RestoreTable ov_app_gpon_config_restore_rm_tr069;
extern const RestoreTable ov_app_gpon_config_restore_rm_queue_schedule;
extern const RestoreTable ov_app_gpon_config_restore_rm_service;
extern const RestoreTable ov_app_gpon_config_restore_rm_uni_vlan;
extern const RestoreTable ov_app_gpon_config_restore_rm_mcast;
extern const RestoreTable ov_app_gpon_config_restore_rm_wan;
extern const RestoreTable ov_app_gpon_config_restore_rm_wifi;
extern const RestoreTable ov_app_gpon_config_restore_rm_voip_cfg;
extern const RestoreTable ov_app_gpon_config_restore_rm_voip_sip_agent;
extern const RestoreTable ov_app_gpon_config_restore_rm_voip_sip_user;
extern const RestoreTable ov_app_gpon_config_restore_rm_macfilter_mode;
extern const RestoreTable ov_app_gpon_config_restore_rm_macfilter_static;
extern const RestoreTable ov_app_gpon_config_restore_rm_macfilter_dynamic;
extern const RestoreTable ov_app_gpon_config_restore_rm_uni_poe;
extern const RestoreTable ov_app_gpon_config_restore_rm_onu_poe;
// In no stage as such: the QoS module replays the rows of ONUs.
extern const RestoreTable ov_app_gpon_config_restore_onuqos;
// In no stage: a card's own thresholds hold until the operator sets them.
extern const RestoreTable ov_app_gpon_config_restore_pon_threshold;
extern const RestoreTable ov_app_gpon_config_restore_rm_onu_threshold;

// A row of the table `did` as the record of `msgType`, in `shal_a` (RESTORE_RECORD_MAX bytes); a profile's
// record is for the card in `dstSlot`. Gives the mask of a set, 0 for any other action. 0 and an untouched
// buffer for a message that isn't replayed from that table.
ov_bmp_t ov_mib_data_convert_to_hal(const void* pmib_a, void* shal_a, int msgType, MIBDID did, int action,
                                    int32_t dstSlot);

// The slot that a row belongs to for a replay: that of its index; `dstSlot`, the slot which is restored, for
// profiles, since they go to every card; the working port's for a protection group; 0 for anything else.
int32_t ov_app_gpon_get_slot_from_mib_attr(MIBDID did, const void* pmib_attr, int msgType, int32_t dstSlot);
