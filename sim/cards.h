// The line cards of the chassis.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "card.h"
#include "env_store.h"

class Cards {
public:
    Cards(EventLoop& loop, Records& records, const EnvStore& env)
        : env_(env), sender_(loop), shelf_{loop, records, sender_, board_, records_per_second_, capture_} {}
    Cards(const Cards&) = delete;
    Cards& operator=(const Cards&) = delete;

    // Plugs a card in. False, with the reason in error, for a slot that has one.
    bool add(uint32_t slot, std::string& error);
    // Takes it out, its ONUs with it.
    bool remove(uint32_t slot);
    // Null for an empty slot.
    Card* find(uint32_t slot);
    const std::map<uint32_t, std::unique_ptr<Card>>& all() const { return cards_; }

    // Slot of the daemon's board, to which events go: what a request said last, before the first one the
    // environment value PDT_INFO_CARD_SLOTID, or 1.
    uint32_t board();
    void set_board(uint32_t slot) { board_ = slot; }
    void set_records_per_second(uint32_t limit) { records_per_second_ = limit; }
    const IpcSender& sender() const { return sender_; }
    Capture& capture() { return capture_; }

private:
    const EnvStore& env_;
    IpcSender sender_;
    uint32_t board_ = 0; // 0: not known yet
    uint32_t records_per_second_ = 500;
    Capture capture_;
    CardShelf shelf_;
    std::map<uint32_t, std::unique_ptr<Card>> cards_;
};
