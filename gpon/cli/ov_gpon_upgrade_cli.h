// Firmware of ONUs by command: the themes' inits, and what their files share. Main thread.
#pragma once

#include <cstddef>
#include <string_view>

#include "sOnuUpdateTable.h"

class CliCall;

// Upgrades in their steps; shows of how far they are.
void gpon_upgrade_cli_init();

// Longest words: a file's name, an equipment id, a version as ONUs report it.
inline constexpr size_t UPGRADE_FILE_MAX = 63;
inline constexpr size_t UPGRADE_EQPTID_MAX = 20;
inline constexpr size_t UPGRADE_VERSION_MAX = 14;

// A word of the command that may be this long. False behind the text, and the reason, when it is longer.
bool gpon_upgrade_word_fits(const CliCall& call, const char* name, size_t longest, const char* too_long);
// The port that IFNAME names, with the ONUs of the ranges. False behind a line.
bool gpon_upgrade_onus_of(const CliCall& call, ov_sOnuUpdateTable_attr_t& port);

// Shows and files, for the theme's table of commands.
int ov_show_remote_onu_upgrade_status_version_cli(CliCall& call);
int ov_show_remote_onu_upgrade_status_all_cli(CliCall& call);
int ov_show_remote_onu_upgrade_status_eqptid_cli(CliCall& call);
int ov_show_remote_onu_upgrade_status_cli(CliCall& call);
int ov_show_remote_onu_img_info_cli(CliCall& call);
int upgrade_onu_cli(CliCall& call);
int delete_onu_versions_cli(CliCall& call);
