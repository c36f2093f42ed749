#include "onu_update_pass.h"

#include <cstring>

#include "app_rows.h"
#include "mmg_internal.h"
#include "ov_app_gpon_onu_update.h"
#include "ov_app_gpon_owner.h"
#include "ov_hal_gpon_msg.h"

namespace {

using Row = ov_sOnuUpdStatusTable_attr_t;

OvraMutexGuard lock() {
    return OvraMutexGuard(getMutex(did_of<Row>()));
}

// The first row of a card behind this index, which may have gone; null at the end.
const Row* row_behind(const Row& at) {
    const TableModule& table = table_of<Row>::module();
    Row next = at;
    ++next.onuId;
    const auto* row = static_cast<const Row*>(table.row_at_or_above(&next, INDEX_TO_ONU));
    return row != nullptr && row->shelfID == at.shelfID && row->slotID == at.slotID ? row : nullptr;
}

bool is_asked(const Row& row) {
    return is_in_service(row) && ov_app_gpon_asked_of_onu(row) == Asked::YES;
}

} // namespace

OnuUpdatePass& onu_update_pass() {
    static auto& pass = *new OnuUpdatePass;
    return pass;
}

void OnuUpdatePass::find_cards() {
    cards_.clear();
    const TableModule& table = table_of<Row>::module();
    Row from = {};
    while (const auto* row = static_cast<const Row*>(table.row_at_or_above(&from, INDEX_TO_ONU))) {
        Card card;
        card.at.shelfID = from.shelfID = row->shelfID;
        card.at.slotID = from.slotID = row->slotID;
        cards_.push_back(card);
        ++from.slotID;
    }
}

uint64_t OnuUpdatePass::begin() {
    once_more_ = running();
    if (once_more_)
        return begun_ + 1;
    const uint64_t pass = ++begun_;
    {
        const auto held = lock();
        find_cards();
    }
    start(cards_.size());
    return pass;
}

CardPipeline::Next OnuUpdatePass::ask(size_t lane, Place& place) {
    const auto held = lock();
    Card& card = cards_[lane];
    const Row* row = row_behind(card.at);
    if (row == nullptr)
        return Next::END;
    if (!is_asked(*row)) {
        if (++card.passed % PASSED_AT_ONCE == 0)
            return Next::NO_ROOM;
        card.at = onu_key<Row>(*row);
        return Next::DONE;
    }
    ov_gpon_onu_update_status_attr_t record = {};
    onu_update_status_map.encode_address(row, &record);
    std::memcpy(place.key.data(), row, INDEX_TO_ONU * sizeof place.key[0]);
    const HalRequest sent = ov_hal_gpon_msg_request(OV_HAL_MSG_GPON_RMONU_UPD_STATUS,
                                                    OV_HAL_GPON_MSG_ACTION_GET, &record, 0, on_reply, &place);
    if (sent == HalRequest::NO_ROOM)
        return Next::NO_ROOM;
    card.at = onu_key<Row>(*row);
    return sent == HalRequest::SENT ? Next::ASKED : Next::DONE;
}

CardPipeline::Next OnuUpdatePass::skip(size_t lane) {
    const auto held = lock();
    Card& card = cards_[lane];
    const Row* row = row_behind(card.at);
    if (row == nullptr)
        return Next::END;
    card.at = onu_key<Row>(*row);
    return Next::DONE;
}

void OnuUpdatePass::take(const Place& place, unsigned result, const hal_nlmsghdr* reply) {
    if (result != KAVO_OK || reply == nullptr)
        return;
    const auto held = lock();
    Key at = place.key;
    if (void* row = row_get(did_of<Row>(), at.data()))
        onu_update_status_map.decode(ov_hal_gpon_msg_record(reply), row, mibDefFlags);
}

void OnuUpdatePass::end() {
    ended_ = begun_;
    if (once_more_)
        begin();
}
