// What stands behind an ONU, as text and as JSON: what the card was told, and what came of it.
#pragma once

#include <string>
#include <vector>

#include "card.h"

// Lines under headings; a heading without anything below it isn't there.
std::vector<std::string> home_lines(const Card& card, const Onu& onu);
// Members of a JSON object, a line each, without the braces around them.
std::vector<std::string> home_json(const Card& card, const Onu& onu);
