// Why isn't this ONU up? Its present state in the operator's words, since when, and what took it down last:
// from its row, its history and alarms, its note (ov_app_gpon_onu_note.h), its port and card, and the ONUs
// that wait unconfigured. Costs a few look-ups, however many ONUs there are. Main loop only.
#pragma once

#include <cstdint>
#include <string>

#include "ov_app_gpon_onu_note.h"

enum class OnuNow : uint8_t {
    OPERATIONAL,
    COMING_UP,    // authenticated, not yet in service
    ROW_WAITS,    // the row isn't active: no card knows of it
    CARD_AWAY,    // no line card in service in its slot
    CARD_SETUP,   // the card is still given its configuration
    DEACTIVATED,  // by an operator
    DISABLED,     // by its administrative state
    PORT_DOWN,    // its PON port is switched off
    BAD_PASSWORD, // it is there, with another password than configured
    NOT_ADMITTED, // it is there, and its card lists it as unconfigured
    ELSEWHERE,    // it is there, on another PON port
    NEVER_SEEN,   // it has not been up since it was configured
    OFF,          // it was up
};

struct gpon_onu_why_t {
    OnuNow now;
    mib_ulong since; // seconds of local time; 0 when nobody knows
    OnuReason last;
    mib_ulong last_at;
    std::string detail; // what else helps to find the cause; "" for nothing
};

// In words, such as "never seen".
const char* ov_app_gpon_onu_now_text(OnuNow now);

gpon_onu_why_t ov_app_gpon_onu_why(const ov_sOnuTable_attr_t& onu);
