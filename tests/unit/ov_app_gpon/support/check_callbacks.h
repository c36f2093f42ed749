// What a test has happen while a write is checked.
#pragma once

#include "../../support/app_chassis.h"
#include "app_set_callback.h"

namespace app_chassis {

// Every checked write of the table (a registry index) is refused.
inline void refuse_writes_of(int table) {
    const CallbackRegistration app = {"refuser", 1, "the refuser isn't registered"};
    app.add(
        table, CALLBACK_CHECK, [](MIBDID, void*, MIB_Flags_t) { return 0; }, mibDefFlags);
}

// The card leaves between the check of a write and the message about it, and the daemon knows.
inline void take_card_out_at_writes_of(int table) {
    const CallbackRegistration app = {"leaver", 1, "the leaver isn't registered"};
    app.add(
        table, CALLBACK_CHECK,
        [](MIBDID, void*, MIB_Flags_t) {
            hal_slot_active_flag_clear("test", 0, AppChassis::SLOT);
            return 1;
        },
        mibDefFlags);
}

} // namespace app_chassis
