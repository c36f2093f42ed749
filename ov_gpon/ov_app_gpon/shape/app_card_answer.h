// What a card's answer to a request means to the callback that asked: one place for all modules.
//
// A card answers 0 when it has done what it was told, 1008 (OV_GPON_RET_NOT_SUPPORT) when it has no such
// thing, and any other code when it failed or couldn't be asked. What "not supported" is to a table is the
// table's to say. Main loop.
#pragma once

#include <cstdint>

#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_types.h"

// What a set, get or check callback answers. Anything but 1 ends the chain and refuses the row.
inline constexpr int SET_ACCEPTED = 1;
inline constexpr int SET_REFUSED = 0;

enum class CardAnswer : uint8_t { DONE, NOT_SUPPORTED, FAILED };

// What a callback makes of "not supported".
enum class NotSupported : uint8_t {
    ACCEPT, // a warning, and the row is accepted as it is
    FOLLOW, // a warning, and all goes on as if the card had done it
    REFUSE, // a failure like any other
};

// Judges a result of ov_hal_gpon_msg_send. `unsupported` is the warning's text, logged under `tag`; a failure
// is logged by the caller, who may have to take something back first.
inline CardAnswer card_answer(int result, NotSupported meaning, const char* tag, const char* unsupported) {
    if (result == OV_GPON_RET_OK)
        return CardAnswer::DONE;
    if (result != OV_GPON_RET_NOT_SUPPORT || meaning == NotSupported::REFUSE)
        return CardAnswer::FAILED;
    OV_LOG_WARN(tag, "%s", unsupported);
    return CardAnswer::NOT_SUPPORTED;
}

// States why a write failed that the card should have carried out.
inline void refuse_for_card(int result, int message) {
    if (result == OV_GPON_RET_NOT_SUPPORT)
        ov_refusal_because("the card doesn't support it");
    ov_refusal_because("the card wasn't told: message %d ended with code %d", message, result);
}
