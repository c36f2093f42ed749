// What an ONU that is up refuses of what its card was told for it: UNIs that it hasn't, settings that a UNI
// of that kind hasn't, and what its home hasn't (home_rules.h). Nobody carries out a command for an ONU that
// isn't up.
#pragma once

#include <optional>

#include "card_frame.h"
#include "onu.h"

// Nothing when the ONU, if there is one, takes it.
std::optional<CardRefusal> check_onu_rules(const CardRequest& request, const CardObjects& objects,
                                           const Onus& onus);

// Where the record of a request says that its UNI is; nothing for one that is of no UNI.
std::optional<UniPosition> uni_of(const CardMessage& message, std::span<const uint8_t> record);
