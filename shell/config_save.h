#pragma once

// Saving the configuration, which is the work of the platform's shell: the daemon keeps no file of it.

#include <functional>
#include <optional>
#include <string>

#include "vty_client.h"

/// Does a line ask for it? "write memory", "copy running-config startup-config", shortened or behind "do"
/// too.
bool asks_to_save(const std::string& line);

/// Runs a line and gives the daemon's answer; nothing if the operator gave it up.
using RunLine = std::function<std::optional<VtyReply>(const std::string& line)>;

/// Keep the daemon's configuration in the configuration file, the one before it in the same name with ".bak",
/// and have the platform's save-tables, if there is one on PATH, see to the tables. The file is the
/// environment value OV_ENV_CONFIG_FILE, or /flash/gpon.conf; it is replaced in one step, so that whatever
/// happens there is a whole one.
/// The daemon is asked whether the tables' files were written.
/// @return     as an answer of the daemon's: what was saved, or why not with result 1; nothing if given up
std::optional<VtyReply> save_configuration(const RunLine& run);

/// The same for a text and a file: 0 or an errno.
int keep_configuration(const std::string& path, const std::string& text);
