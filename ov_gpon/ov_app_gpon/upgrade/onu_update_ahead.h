// What a manager writes to sOnuUpdateAction, ahead of the set (table_snmp_ahead.h), so that nobody waits for
// it on the loop: a commit, activation, abort or clear is told to its card, and the set takes the card's
// answer as if it had just come; for a start the file is copied, and the set is refused if that fails.
//
// A port's actions reach the card in their order: one behind a start whose file is still being copied waits
// for it. A card that isn't there, or has no room for OnuUpdateAction::PATIENCE, is asked by the set itself;
// a copy that takes longer than ONU_UPDATE_COPY_PATIENCE is left to go on behind it, since masters don't wait
// much longer.
//
// Main loop only.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "onu_image_copy.h"
#include "sOnuUpdateTable.h"

inline constexpr std::chrono::seconds ONU_UPDATE_COPY_PATIENCE{4};

// Start-up, behind the registration of the table's callbacks.
void onu_update_ahead_init();

struct OnuUpdateAnswer {
    int result; // of ov_hal_gpon_msg_send
    std::string reason;
};
// What the card has answered to this very action of the set that is being carried out.
std::optional<OnuUpdateAnswer> onu_update_ahead_answer(const ov_sOnuUpdateTable_attr_t& row);
// The copy of the file of this start, if it is over.
std::shared_ptr<OnuImageCopy> onu_update_ahead_copy(const ov_sOnuUpdateTable_attr_t& row);
