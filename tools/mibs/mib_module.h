// The text of a MIB module (SMIv2, RFC 2578 to 2580).
#pragma once

#include <string>

#include "mib_tree.h"

// Throws MibError when texts and descriptions don't go together.
std::string mib_module(const MibTree& tree, const ModuleText& module);
