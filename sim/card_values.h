// What a line card measures: counters that grow, optics, versions, states. Plausible, not real: a value is
// made from the object's index and the time that the card runs.
#pragma once

#include <cstdint>
#include <map>
#include <span>

#include "card_frame.h"
#include "card_objects.h"
#include "onu.h"
#include "readings.h"

class CardValues {
public:
    CardValues(const CardObjects& objects, const Onus& onus) : objects_(objects), onus_(onus) {}

    // Fills the answer to a read. record comes with the keys of the request, over what the card holds. An ONU
    // that has to be asked and doesn't answer gives a return code that isn't 0.
    uint32_t fill(const CardRequest& request, std::span<uint8_t> record);
    // All counters, or those of a port, start at 0 again.
    void restart();
    void clear_port(uint32_t index);
    // What somebody has set of the optical module of a PON port.
    SetReadings& module(uint32_t index) { return modules_[index]; }

private:
    void fill_unis(const CardRequest& request, const Onu& onu, std::span<uint8_t> record) const;
    void fill_counters(const CardMessage& message, std::span<uint8_t> record);
    uint64_t counted(uint32_t number, std::span<uint8_t> record);
    void fill_plain_counters(const CardMessage& message, std::span<uint8_t> record);

    const CardObjects& objects_;
    const Onus& onus_;
    Onus::Clock::time_point start_ = Onus::Clock::now();
    // When the counters of a message and index were read and cleared.
    std::map<std::pair<uint32_t, uint32_t>, Onus::Clock::time_point> cleared_;
    std::map<uint32_t, SetReadings> modules_; // by index of the port
};
