// A line card's state as one JSON document, for tests to compare.
#pragma once

#include <string>
#include <vector>

#include "card.h"

// Lines that together are the document; only objects of this message when it isn't null.
std::vector<std::string> card_json(const Card& card, const CardMessage* only);
// The same state in a few words.
std::vector<std::string> card_summary(const Card& card);
// "serial=ABCD12345678 port=gpon-olt1/3 state=operational ..."
std::string onu_line(const Onu& onu);
