// What a platform tells of the product in its environment store, for a simulated one.
#pragma once

#include <span>

struct ProductFact {
    const char* name;
    const char* value;
};

std::span<const ProductFact> product_facts();
