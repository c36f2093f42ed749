// Firmware of ONUs: what is to be done where (sOnuUpdateTable, a row for each PON port) and how far it is
// (sOnuUpdStatusTable, a row for each ONU).
//
// The image goes from the card to the ONU over OMCI (ITU-T G.988 software image), which is the driver's work.
// The daemon puts the file where the card fetches it and says which ONUs are meant; the states of the
// upgrades belong to the driver, and the status rows hold what it said last. An ONU that isn't in operation
// isn't asked: its row keeps its last values.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "ovralist.h"
#include "sOnuUpdStatusTable.h"
#include "sOnuUpdateTable.h"

extern int gpon_onuupd_appid;
extern int gpon_onuupdstatus_appid;
extern const MessageMap<ov_sOnuUpdateTable_attr_t, ov_gpon_onu_update_attr_t> onu_update_map;
extern const MessageMap<ov_sOnuUpdStatusTable_attr_t, ov_gpon_onu_update_status_attr_t> onu_update_status_map;
extern const MessageMap<ov_sOnuUpdStatusTable_attr_t, ov_gpon_onu_update_info_attr_t> onu_update_images_map;

// Whether the cards commit what they have loaded, and activate what they have committed, without being told:
// 1 or 0, as they were told last.
extern int g_onu_upgrade_cfg_auto_commit;
extern int g_onu_upgrade_cfg_auto_active;

// Start-up, in their places of the list.
void ov_app_gpon_pon_onu_update_init();
void ov_app_gpon_onu_update_status_init();

// ---- the door of the commands --------------------------------------------------------------------------

// Writes these columns of a port's row; one with sOnuUpdateAction is carried out by its card, an edit without
// callback by nobody. 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_pon_onu_update_edit(ov_sOnuUpdateTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_pon_onu_update_edit_no_callback(ov_sOnuUpdateTable_attr_t* attr, MIB_Flags_t* flag);

// Whether a start on the port was accepted whose file is still being copied: the card is told behind that.
bool ov_app_gpon_pon_onu_update_is_late(const ov_sOnuUpdateTable_attr_t& port);

// ---- told to the cards, without waiting for their answers
// -------------------------------------------------- 0, or the code of the transport.

// A file (versionName) is gone from the directory of firmware; to every card. OV_GPON_RET_BAD_PARAM for null.
int ov_app_gpon_onu_version_delete(ov_gpon_onu_update_attr_t* shal_attr);
// The ONUs of a port may, or may not any more, fetch a file from a server. OV_GPON_RET_BAD_PARAM for null.
int ov_app_gpon_onu_network_upgrade_set(ov_gpon_onu_network_upgrade_attr_t* attr);
// Switches of every card, 1 or 0: its debug output of upgrades, and the two above.
int ov_app_gpon_onu_upgrade_debug_set(int dbg_flag);
int ov_app_gpon_onu_upgrade_auto_commit_set(int auto_commit);
int ov_app_gpon_onu_upgrade_auto_active_set(int auto_acive);

// ---- ONUs by what they are loading ---------------------------------------------------------------------

// Lists the ONUs that were, when they were last read, at an upgrade with the file `filename`, in the state
// onuUpdateStatus (SONUUPDSTATUSCURRSTATUS_*) unless that is 0: a row of sOnuUpdateTable for each port, in
// the table's order, with the bits of its ONUs. Gives the number of ONUs, or OV_GPON_RET_NO_MEM; the list,
// which has been initialised, owns its rows.
int ov_app_gpon_get_onu_update_task_list(const char* filename, ovralist_t* update_port_list,
                                         int onuUpdateStatus);
// Takes all rows out of such a list.
void ov_app_gpon_release_onu_update_task_list(ovralist_t* onuUpdateList);

// ---- callbacks -------------------------------------------------------------------------------------------

// The message of a port's row, as a whole; a start puts the file where the card fetches it, and only a start
// names it. 0, or OV_GPON_RET_NO_RESOURCE when the file couldn't be put there.
int sonuupdate_mib_data_convert_to_hal(const ov_sOnuUpdateTable_attr_t* mib, ov_gpon_onu_update_attr_t* hal);
// Carries out a written action; a start doesn't wait for the card. Its file is copied by a thread: one that
// takes longer than a moment, and for which there is room, is accepted and goes out behind the copy.
int ov_pon_onu_update_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// Rows come and go with their ports, and with their ONUs.
int ov_pon_onu_update_table_pontable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_pon_onuupd_status_table_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// Reads the ONU, while it is in operation: with sOnuUpdStatusVerName how far its upgrade is, with
// sOnuUpdInfoProCode its two images.
int ov_pon_onu_update_status_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
