// What a create, set or delete does to a card's objects.
#pragma once

#include "card_frame.h"
#include "card_objects.h"

// Of a request that isn't refused. True if the card held the object before.
bool change_objects(CardObjects& objects, const CardRequest& request);
