#pragma once

// The second line under a refusal: why, in the daemon's words, or what the line should have had where the
// daemon didn't understand it.

#include <string>

#include "command_tree.h"
#include "vty_client.h"

/// What the first word that isn't understood could have been, given the words before it: "tcont: 1 to 8",
/// "modify 3: loid, pw or sn". Of a command that stands on other modes only, which ones: "typed on gpon
/// (gpon)". Empty for a line that is understood, or that no mode knows and whose first word already isn't.
std::string refusal_hint(const CommandTree& tree, enum node_type node, const std::string& line, int result);

/// The line that stands under the daemon's text, with its end; empty for none, also where it would say the
/// same.
/// @param node  where the line was typed
std::string refusal_second_line(const CommandTree& tree, enum node_type node, const std::string& line,
                                const VtyReply& reply);
