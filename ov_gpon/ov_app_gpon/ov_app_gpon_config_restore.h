// Replay of a card's configuration after it came up, and what else follows slot events. Handlers of the
// control client's slots; event loop's thread.
#pragma once

#include "umsg.h"

// A stage of the replay has been reached for a card. The record is valid for the call only.
int ov_app_gpon_config_restore_start_callback(umsg_cfg_sync_t* sync);
// The message channel to a card went down.
int ov_app_gpon_slot_deactive_callback(umsg_card_t* card);
// A card was taken out.
int ov_app_gpon_slot_remove_callback(umsg_card_t* card);
// This control card has become active: the cards are told where traps go.
int ov_app_gpon_trap_status_sync_callback(uint32_t slot_id);

// Reads "configRestoreDebug" in section "gpon" of the product ini file into g_config_restore_debug; 0 when
// there is no such file or key.
void init_config_restore_debug();
extern int g_config_restore_debug;
