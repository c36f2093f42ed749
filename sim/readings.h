// What optics read: of the modules of PON ports (message 933, their thresholds in 932), of ONUs (929), and
// what a port receives of an ONU (903). A reading goes up and down a little around its usual value, until
// somebody sets it: then it stays there, or drifts from there on.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

// A reading that somebody has set.
struct SetReading {
    int32_t value = 0;
    int32_t drift = 0; // in a second
    std::chrono::steady_clock::time_point since = std::chrono::steady_clock::now();
};
// By message and field of its record. Those of one port, or of one ONU.
using SetReadings = std::map<std::pair<uint16_t, std::string>, SetReading>;

struct Reading {
    std::string field; // of the message's record
    int32_t value;
};
// The readings that a message brings, for the object with this index.
std::vector<Reading> readings_of(uint16_t message, uint32_t index, const SetReadings& set);

// A number made of two, which looks like any; the same for the same two.
uint32_t mixed(uint32_t a, uint32_t b);
