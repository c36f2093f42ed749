// What a card refuses of what it is told for the home behind an ONU: names of things that aren't there. The
// card knows its own objects at any time; what the ONU has it hears only from one that is up.
#pragma once

#include <optional>

#include "card_frame.h"
#include "onu.h"

// References to other objects of the card: the GEM port of a service, the service of a MAC filter's rule, the
// agent of a SIP user, the RSSI profile of an ONU; and two services under one number.
std::optional<CardRefusal> check_references(const CardRequest& request, const CardObjects& objects);

// What this ONU, which is up, hasn't: ports and networks that a connection is bound to, networks of its
// radios, a network's settings that are those of the other radio.
std::optional<CardRefusal> check_home(const CardRequest& request, const CardObjects& objects, const Onu& onu);
