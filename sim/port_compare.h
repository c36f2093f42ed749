// What a card holds for two of its PON ports, compared: those of a protection group must be equal.
#pragma once

#include <string>
#include <vector>

#include "card_objects.h"

// A line for each object that only one of them has, or that differs, with its fields. Names that are made of
// an object's place are equal when both are.
std::vector<std::string> compare_ports(const CardObjects& objects, uint32_t first, uint32_t second);
