// What the platform is to do with the whole system: flags in its environment store, which it looks at. Any
// thread; 0, or -1 when the flag couldn't be set.
#pragma once

// The configuration is to be saved (1).
int ov_product_fast_save_flag_set(int value);
// The system is to come up with its default configuration (1).
int ov_product_restore_flag_set(int value);
// The system is to restart (2).
int ov_product_reboot_flag_set(int value);
// The same, with a line in the log of restarts.
int ov_product_reboot();
