// What happened to an ONU last: a note for each ONU that something happened to, for the operator who asks why
// it isn't up, and the log's line for each change of its state.
//
// Rows tell how an ONU is, not why: a dying gasp that is over, a card that was pulled, an operator's
// "deactive" are noted when they happen. A note stands until the ONU is deleted; a restart of the daemon
// forgets all.
//
// Notes may be made and read by any thread. The rows handed in are the caller's.
#pragma once

#include <cstdint>

#include "ov_types.h"
#include "sActiveAlarmTable.h"
#include "sOnuTable.h"

enum class OnuReason : uint8_t {
    NONE,           // nothing is known
    WENT_OFF,       // it was up and isn't; why is not known
    LOSS_OF_SIGNAL, // its light has gone
    PORT_DOWN,      // the PON port was switched off
    CARD_AWAY,      // the line card went out of service
    DYING_GASP,     // it said that its power fails
    POWER,          // it reported a failing power supply
    FAILURE,        // it reported that it failed
    SWITCHED_OFF,   // somebody switched it off at the ONU
    DISABLED,       // a manager set the administrative state
    DEACTIVATED,    // an operator's "deactive"
};

struct gpon_onu_note_t {
    OnuReason reason;
    bool stands;  // still the reason; false once the ONU has been up again, or the cause has gone
    mib_ulong at; // seconds of local time
};

// In words, such as "dying gasp"; "-" for NONE.
const char* ov_app_gpon_onu_reason_text(OnuReason reason);
// The reason that an alarm of an ONU stands for, NONE for the others.
OnuReason ov_app_gpon_onu_reason_of_alarm(int32_t code);

// The note of the ONU of a row, reason NONE when there is none.
gpon_onu_note_t ov_app_gpon_onu_note(const ov_sOnuTable_attr_t& onu);

// The ONU's state is about to become `state`; `onu` has the present one. Logs a change, and notes the reason
// of an ONU that goes: what is noted already of this outage, or `reason`, or what its row tells.
void ov_app_gpon_onu_note_state(const ov_sOnuTable_attr_t& onu, mib_long state,
                                OnuReason reason = OnuReason::NONE);
// An alarm was raised or cleared, be it of an ONU or not.
void ov_app_gpon_onu_note_alarm(const sActiveAlarmTable_entry& alarm);
// The card has taken columns sOnuTableActiviate or sOnuTableAdminState of the row.
void ov_app_gpon_onu_note_switch(const ov_sOnuTable_attr_t& onu);
// The ONU's history is about to be cleared: what it tells is noted, unless there is a note.
void ov_app_gpon_onu_note_history(const ov_sOnuTable_attr_t& onu);
// The ONU was made or deleted: whatever happened to one in its place before is another's story.
void ov_app_gpon_onu_note_forget(const ov_sOnuTable_attr_t& onu);
