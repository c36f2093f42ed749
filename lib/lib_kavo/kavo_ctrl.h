// The application control of this daemon: its operator's actions.
//
// An operator sets an action's key in /tmp/product/action.<name> to 1 and sends SIGUSR2; the action then
// prints to standard output, on the event loop's thread:
//   dump_startup_info   what runs here: name, pid, start time, command line, version, build
//   dump_slot_info      the shelf and its slots
//   dump_cmd_all        every command of every node
//   dump_error_info     how many error lines the log took, and the last of them
#pragma once

// Starts application control under that name with the four actions. Call it once, after the command line
// is set up. A failure is logged; the daemon runs without actions then.
void kavo_ctrl_init(const char* name);

// Register one action each, in app_ctrl_init's order. For kavo_ctrl_init.
void app_add_action_dump_startup_info();
void app_add_action_dump_slot_info();
void app_add_action_dump_cmd_all();
void app_add_action_dump_error_info();
