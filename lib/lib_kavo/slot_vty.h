// The command "show slot info".
#pragma once

#include <cstdint>
#include <string>

struct vty;

// Installs the command on the view, enable, config and debug nodes. Main thread, at start.
void slot_vty_init();

// Who knows whether a card has had its whole configuration: 1 or 0. Without that no card is "being set up".
void slot_vty_set_replay_query(int (*is_replayed)(int slot));

// Prints the shelf and one line for each slot: its role, the card in it, the marks of how far the card is,
// and its state in words: "in service", "being set up", "away since" a time, "not yet up".
void slot_vty_dump_all(struct vty* vty);
// Those words for one slot, "-" for a slot without a card that can be talked to.
std::string slot_vty_state_text(uint32_t slot);
