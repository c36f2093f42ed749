// The byte order of the daemon's machine. The controller's messages have their bodies in it, and so has the
// heartbeat its process id: daemon and controller are on one board. (The messages of line cards are
// big-endian everywhere.)
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

namespace daemon_order {

// This machine's until set, once, before the chassis starts: --byte-order.
void set(std::endian order);
bool is_foreign();

// A number from the one order to the other; its own inverse.
template <typename T>
T swapped_if_foreign(T value) {
    if (!is_foreign())
        return value;
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    for (size_t i = 0; i < sizeof(T) / 2; i++)
        std::swap(bytes[i], bytes[sizeof(T) - 1 - i]);
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

// A number of the daemon's at any address.
template <typename T>
T load(const void* at) {
    T value;
    std::memcpy(&value, at, sizeof(T));
    return swapped_if_foreign(value);
}

template <typename T>
void store(T value, void* at) {
    value = swapped_if_foreign(value);
    std::memcpy(at, &value, sizeof(T));
}

} // namespace daemon_order
