#include "cards.h"

#include "text.h"

bool Cards::add(uint32_t slot, std::string& error) {
    if (cards_.contains(slot)) {
        error = format("slot %u has a card", slot);
        return false;
    }
    auto card = std::make_unique<Card>(shelf_, slot);
    if (!card->open(error))
        return false;
    cards_[slot] = std::move(card);
    board();
    return true;
}

bool Cards::remove(uint32_t slot) {
    return cards_.erase(slot) != 0;
}

Card* Cards::find(uint32_t slot) {
    const auto it = cards_.find(slot);
    return it == cards_.end() ? nullptr : it->second.get();
}

uint32_t Cards::board() {
    if (board_ == 0) {
        const auto slot = env_.get("PDT_INFO_CARD_SLOTID");
        board_ = slot ? parse_u32(*slot).value_or(1) : 1;
    }
    return board_;
}
