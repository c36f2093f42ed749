// Mirroring of messages to the standby control card: what went to the active control card's slot, or to every
// slot, goes once more, without reply, to the mate's, so that the agent there stays in step. Event loop's thread.
#pragma once

#include "hal_msg.h"

// Slots of this board, of the active control card and of its mate; 0 before init_hal_backup found them.
extern int g_self_slot;
extern int g_main_slot_id;
extern int g_backup_slot_id;

// Asks the platform which control card is which; to be called whenever this board becomes active. Does nothing
// on a system without a standby control card. Always 0; a fact that the platform doesn't tell counts as 0.
int init_hal_backup();

// Whether a message is to be mirrored from here. Cheap, allocates nothing.
bool need_to_proceed(const hal_nlmsghdr* nlhdr);

// A copy of a message on its way to the standby card.
struct backup_msg_s {
    hal_nlmsghdr hdr;
    unsigned char payload[HAL_PAYLOAD_MAX];
};

// A copy of the message, cut to HAL_MSG_MAX; null without memory. Freed by ov_backup_msg_destroy.
backup_msg_s* ov_backup_msg_new(const hal_nlmsghdr* nlhdr);
void ov_backup_msg_destroy(backup_msg_s* msg);

// Sends the copy to the standby card's slot. 0 or the transport's error.
unsigned handle_backup_all_async(backup_msg_s* msg);

// Mirrors a message that has gone out, if it has to be. 0 or the error, which is logged.
unsigned hal_backup_async(const hal_nlmsghdr* nlhdr);
