// Replay of a card's configuration after it came up, and what else follows slot events. Handlers of the
// control client's slots; event loop's thread.
//
// A line card keeps nothing over a restart. When one comes up, the controller asks at three priorities. At
// the first, all tables are replayed in stages (config_restore_stages.def), a second apart, so that the
// loop stays free between them; at the last, the card is told that its configuration is complete. No stage
// waits for an answer of the card, and every priority is reported as done.
#pragma once

#include "ov_types.h"
#include "umsg.h"

// ---- slot events -------------------------------------------------------------------------------------
// They answer KAVO_OK, KAVO_PARAM for a slot that isn't served, KAVO_MEMORY, or what is said below. The
// records are valid for the call only.

// A priority (REC_SEQ_*) of a card's replay has been reached. Control cards, line cards and the single board
// are served; for any other slot the priority is reported as done at once. Priorities that aren't ours are
// neither served nor reported. REC_SEQ_QINQ answers as ov_app_gpon_sync_end.
int ov_app_gpon_config_restore_start_callback(umsg_cfg_sync_t* sync);
// The message channel to a card went down: its ONUs are out of service (state 1, no version, no history), its
// unconfigured ONUs are gone, and its configuration sync counts as not ended. Line cards only.
int ov_app_gpon_slot_deactive_callback(umsg_card_t* card);
// A card was taken out. The rows of a line card are deleted in stages
// (config_restore_remove_stages.def); for control and uplink cards the QoS of the uplink ports is. A
// card of a type without known ports is refused, with all its rows left.
int ov_app_gpon_slot_remove_callback(umsg_card_t* card);
// This control card has become active: every card is asked to report its alarms and the states of its ONUs
// again, whatever the slot. Answers as ov_hal_gpon_msg_send.
int ov_app_gpon_trap_status_sync_callback(uint32_t slot_id);

// ---- parts of it -------------------------------------------------------------------------------------

// Tells a card that its configuration is complete, and waits for its answer, whatever that is: from then on
// ov_startup_gpon_config_sync_end_check is 1 for slots 1 to 17. OV_GPON_RET_OK without a message for a slot
// of a chassis that isn't a line card's; OV_GPON_RET_BAD_PARAM for any slot but 1 of a single unit; else the
// answer.
int ov_app_gpon_sync_end(int slot);
// Takes every ONU of a PON port that was shut down out of service (state 1), and deletes its unconfigured
// ONUs.
void ov_app_gpon_pon_shutdown_deactive_onu(ov_ifindex_t ifIndex);
// PON ports of a card by its type; -1 for an unknown type.
int get_portNum_by_cardtype(uint16_t card_type);

// Reads "configRestoreDebug" in section "gpon" of the product ini file into g_config_restore_debug; 0 when
// there is no such file or key. Not 0: the number of messages of each table is logged.
void init_config_restore_debug();
extern int g_config_restore_debug;
