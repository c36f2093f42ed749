#include "pm_pass.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "ov_clock.h"
#include "ovra_mutex.h"

namespace {

constexpr size_t INDEX_TO_CARD = 2; // shelf and slot

OvraMutexGuard lock_of(const PmFamily& family) {
    return OvraMutexGuard(getMutex(family.module().did()));
}

} // namespace

// ---- rows -------------------------------------------------------------------------------------------------

CardPipeline::Key PmPass::key_of(const void* row) const {
    Key key = {};
    std::memcpy(key.data(), row, family_.module().desc().key_size);
    return key;
}

void* PmPass::stored_row(const Key& key) const {
    Key at = key;
    return row_get(family_.module().did(), at.data());
}

// The row of a card behind the one that was asked last, which may have gone; null at the end.
const void* PmPass::next_row(const Card& card) const {
    const TableModule& table = family_.module();
    if (!card.begun)
        return table.first_row_under(card.at.data(), INDEX_TO_CARD);
    const void* row = table.row_at_or_above(card.at.data(), table.desc().index.size());
    if (row != nullptr && key_of(row) == card.at)
        return table.next_row_under(row, INDEX_TO_CARD);
    const bool is_of_card =
        row != nullptr && std::memcmp(row, card.at.data(), INDEX_TO_CARD * sizeof card.at[0]) == 0;
    return is_of_card ? row : nullptr;
}

void PmPass::find_cards() {
    cards_.clear();
    const TableModule& table = family_.module();
    Key from = {};
    while (const void* row = table.row_at_or_above(from.data(), INDEX_TO_CARD)) {
        Card card;
        std::memcpy(card.at.data(), row, INDEX_TO_CARD * sizeof card.at[0]);
        cards_.push_back(card);
        from = card.at;
        if (++from[1] == 0 && ++from[0] == 0)
            return;
    }
}

const PmPass::Card* PmPass::card_of(const void* row) const {
    const auto card = std::find_if(cards_.begin(), cards_.end(), [row](const Card& each) {
        return std::memcmp(row, each.at.data(), INDEX_TO_CARD * sizeof each.at[0]) == 0;
    });
    return card != cards_.end() ? &*card : nullptr;
}

bool PmPass::has_asked(const void* row) const {
    if (!running())
        return false;
    const Card* card = card_of(row);
    return card != nullptr && card->begun && key_of(row) <= card->at;
}

void PmPass::note_new_row(const void* row) {
    if (!running())
        return;
    forget(key_of(row));
    made_.insert(key_of(row));
}

// ---- the pass ---------------------------------------------------------------------------------------------

void PmPass::begin() {
    once_more_ = running();
    if (once_more_)
        return;
    began_ = pm_now();
    began_at_ = ov_mono_now();
    record_ = {.began = ov_wall_time(), .passes = record_.passes + 1};
    made_.clear();
    {
        const auto lock = lock_of(family_);
        find_cards();
    }
    start(cards_.size());
}

void PmPass::miss(void* row) {
    ++record_.missed;
    pm_mark_unavailable(family_, row);
    pm_stamp_stop(family_, row, pm_now());
}

CardPipeline::Next PmPass::ask(size_t lane, Place& place) {
    const auto lock = lock_of(family_);
    Card& card = cards_[lane];
    const void* row = next_row(card);
    if (row == nullptr)
        return Next::END;
    place.key = key_of(row);
    const HalRequest sent = family_.reading.source->request(family_.reading, row, true, on_reply, &place);
    if (sent == HalRequest::NO_ROOM)
        return Next::NO_ROOM;
    card.at = place.key;
    card.begun = true;
    if (sent == HalRequest::SENT)
        return Next::ASKED;
    miss(stored_row(place.key));
    return Next::DONE;
}

CardPipeline::Next PmPass::skip(size_t lane) {
    const auto lock = lock_of(family_);
    Card& card = cards_[lane];
    const void* row = next_row(card);
    if (row == nullptr)
        return Next::END;
    card.at = key_of(row);
    card.begun = true;
    miss(stored_row(card.at));
    return Next::DONE;
}

void PmPass::take(const Place& place, unsigned result, const hal_nlmsghdr* reply) {
    const auto lock = lock_of(family_);
    void* row = stored_row(place.key);
    if (row == nullptr)
        return;
    made_.erase(place.key);
    if (result != KAVO_OK || reply == nullptr) {
        miss(row);
        return;
    }
    ++record_.answered;
    pm_take_record(family_, family_.reading.source->record_in(reply), row);
    if (family_.reading.source->clear != nullptr)
        family_.reading.source->clear(row);
}

void PmPass::end() {
    {
        const auto lock = lock_of(family_);
        const MIBDID table = family_.module().did();
        family_.save();
        for (void* row = get_table_head(table); row != nullptr; row = row_getNext(table, row))
            if (!made_.contains(key_of(row)))
                pm_stamp_start(family_, row,
                               family_.interval_start == PmIntervalStart::PASS ? began_ : pm_now());
    }
    record_.ended = ov_wall_time();
    record_.took_ms = static_cast<uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(ov_mono_now() - began_at_).count());
    if (once_more_)
        begin();
}
