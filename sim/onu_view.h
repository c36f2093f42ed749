// An ONU with its UNIs, as lines of "key=value" or as one JSON document.
#pragma once

#include <string>
#include <vector>

#include "card.h"

std::vector<std::string> onu_details(const Card& card, const Onu& onu);
std::vector<std::string> onu_details_json(const Card& card, const Onu& onu);
