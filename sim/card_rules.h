// What a line card may be asked to do: the rules between a well-formed request and the card's objects.
#pragma once

#include <optional>

#include "card_frame.h"
#include "card_objects.h"

// Why the card on this slot refuses the request; nothing when it doesn't. request.message isn't null.
std::optional<CardRefusal> check_card_rules(const CardRequest& request, uint32_t slot,
                                            const CardObjects& objects);

// Whether the ONU has the GEM port with this index: one that the card was told, or, when it is bound to a
// service profile, any.
bool has_gem_port(const CardObjects& objects, uint32_t index);

// Whether the object is a template (slot 31), which every card gets.
bool is_template(const CardRequest& request);
