// The QinQ rules of a card: what it refuses, and when it forgets them.
#pragma once

#include <optional>

#include "card_frame.h"
#include "card_objects.h"

// Whether a message is about such a rule. The bit of its mask says whether the rule comes or goes.
bool is_qinq(const CardMessage& message);
bool is_qinq_delete(const CardRequest& request);

// Nothing for a rule that the card takes: it has the right action and mask, an id from 1 to 32, and no other
// rule of the interface has that id. Who tells it the same again is a replay.
std::optional<CardRefusal> check_qinq(const CardRequest& request, const CardObjects& objects);

// Forgets the rules of a PON port and of its ONUs: whoever creates the port tells all anew.
void forget_qinq_of_port(CardObjects& objects, uint32_t port_index);
