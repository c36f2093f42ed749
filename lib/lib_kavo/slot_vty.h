// The command "show slot info".
#pragma once

struct vty;

// Installs the command on the view, enable, config and debug nodes. Main thread, at start.
void slot_vty_init();

// Prints the shelf and one line for each slot: its role, the card in it, and how far the card is.
void slot_vty_dump_all(struct vty* vty);
