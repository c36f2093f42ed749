// For sets and maps of vectors of numbers.
#pragma once

#include <algorithm>

// The vector's own < is wrong on big-endian hosts: libstdc++ 12 compares the numbers as bytes.
struct VectorLess {
    template <typename Vector>
    bool operator()(const Vector& a, const Vector& b) const {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
    }
};
