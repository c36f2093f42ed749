// What a line card measures: counters, optics, versions, states. What isn't counted or told is plausible, not
// real: a value with a little noise.
#pragma once

#include <cstdint>
#include <map>
#include <span>

#include "card_frame.h"
#include "card_objects.h"
#include "onu.h"
#include "pm_traffic.h"
#include "readings.h"

class CardValues {
public:
    CardValues(const CardObjects& objects, const Onus& onus, PmFlows& flows)
        : objects_(objects), onus_(onus), flows_(flows) {}

    // Fills the answer to a read. record comes with the keys of the request, over what the card holds. An ONU
    // that has to be asked and doesn't answer gives a return code that isn't 0.
    uint32_t fill(const CardRequest& request, std::span<uint8_t> record);
    // What somebody has set of the optical modules is forgotten.
    void restart();
    // What somebody has set of the optical module of a PON port.
    SetReadings& module(uint32_t index) { return modules_[index]; }

private:
    void fill_unis(const CardRequest& request, const Onu& onu, std::span<uint8_t> record) const;
    void fill_counters(uint16_t number, std::span<uint8_t> record);
    void fill_port_counters(uint16_t number, std::span<uint8_t> record);

    const CardObjects& objects_;
    const Onus& onus_;
    PmFlows& flows_;
    std::map<uint32_t, SetReadings> modules_; // by index of the port
};
