// The syntaxes of all commands, for those who write commands as a saved configuration has them.
#pragma once

#include <span>

// Valid for good. Any thread.
std::span<const char* const> gpon_command_syntaxes();
