#include "onu_read_pass.h"

#include <algorithm>
#include <cstring>

#include "mmg_internal.h"
#include "ov_app_gpon_onu_update.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_rminfo.h"
#include "ov_hal_gpon_msg.h"

namespace {

using Key = CardPipeline::Key;

// Index columns of an ONU.
enum IndexColumn : uint8_t { SHELF, SLOT, PORT, ONU };

OvraMutexGuard lock_of(const OnuReading& reading) {
    return OvraMutexGuard(getMutex(reading.table().did()));
}

Key key_of(const void* row) {
    Key key = {};
    std::memcpy(key.data(), row, INDEX_TO_ONU * sizeof key[0]);
    return key;
}

bool is_asked(const TableModule& table, const void* row) {
    ov_sOnuTable_attr_t onu = {};
    const Key key = key_of(row);
    std::memcpy(&onu, key.data(), INDEX_TO_ONU * sizeof key[0]);
    return table.row_mode(row) != MODE_IDLE && ov_app_gpon_asked_of_onu(onu) == Asked::YES;
}

} // namespace

OnuReadPass& onu_update_status_pass() {
    static const OnuReading reading = {&table_of<ov_sOnuUpdStatusTable_attr_t>::module,
                                       OV_HAL_MSG_GPON_RMONU_UPD_STATUS, &onu_update_status_map};
    static auto& pass = *new OnuReadPass(reading);
    return pass;
}

OnuReadPass& onu_info_pass() {
    static const OnuReading reading = {&table_of<ov_sRmInfoTable_attr_t>::module, OV_HAL_MSG_GPON_RMONU_INFO,
                                       &rminfo_map};
    static auto& pass = *new OnuReadPass(reading);
    return pass;
}

// ---- rows -------------------------------------------------------------------------------------------------

void OnuReadPass::find_cards() {
    cards_.clear();
    Key from = {};
    while (const void* row = reading_.table().row_at_or_above(from.data(), INDEX_TO_ONU)) {
        const Key key = key_of(row);
        cards_.push_back({.at = {key[SHELF], key[SLOT]}});
        from = {key[SHELF], key[SLOT] + 1};
    }
}

// Null at the end of the card.
const void* OnuReadPass::row_behind(const Card& card) const {
    Key next = card.at;
    ++next[ONU];
    const void* row = reading_.table().row_at_or_above(next.data(), INDEX_TO_ONU);
    if (row == nullptr)
        return nullptr;
    const Key key = key_of(row);
    return key[SHELF] == next[SHELF] && key[SLOT] == next[SLOT] ? row : nullptr;
}

// ---- the pass ---------------------------------------------------------------------------------------------

uint64_t OnuReadPass::begin() {
    once_more_ = running();
    if (once_more_)
        return begun_ + 1;
    const uint64_t pass = ++begun_;
    {
        const auto lock = lock_of(reading_);
        find_cards();
    }
    start(cards_.size());
    return pass;
}

HalRequest OnuReadPass::request(const void* row, Place& place) const {
    std::vector<uint8_t> record(reading_.map->record().size);
    reading_.map->encode_address(row, record.data());
    place.key = key_of(row);
    return ov_hal_gpon_msg_request(reading_.message, OV_HAL_GPON_MSG_ACTION_GET, record.data(), 0, on_reply,
                                   &place);
}

CardPipeline::Next OnuReadPass::ask(size_t lane, Place& place) {
    const auto lock = lock_of(reading_);
    Card& card = cards_[lane];
    const void* row = row_behind(card);
    if (row == nullptr)
        return Next::END;
    if (!is_asked(reading_.table(), row)) {
        if (++card.passed % PASSED_AT_ONCE == 0)
            return Next::NO_ROOM;
        card.at = key_of(row);
        return Next::DONE;
    }
    const HalRequest sent = request(row, place);
    if (sent == HalRequest::NO_ROOM)
        return Next::NO_ROOM;
    card.at = place.key;
    return sent == HalRequest::SENT ? Next::ASKED : Next::DONE;
}

CardPipeline::Next OnuReadPass::skip(size_t lane) {
    const auto lock = lock_of(reading_);
    Card& card = cards_[lane];
    const void* row = row_behind(card);
    if (row == nullptr)
        return Next::END;
    card.at = key_of(row);
    return Next::DONE;
}

void OnuReadPass::take(const Place& place, unsigned result, const hal_nlmsghdr* reply) {
    if (result != KAVO_OK || reply == nullptr)
        return;
    const auto lock = lock_of(reading_);
    Key at = place.key;
    if (void* row = row_get(reading_.table().did(), at.data()))
        reading_.map->decode(ov_hal_gpon_msg_record(reply), row, mibDefFlags);
}

void OnuReadPass::end() {
    ended_ = begun_;
    if (once_more_)
        begin();
}
