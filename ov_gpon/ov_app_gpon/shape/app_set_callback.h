// The one shape of a set callback that programs a card: mode, check, reserve, early answers, send, and what
// follows from the card's answer. A module states its steps as data, so that the order can be read at the
// call:
//
//     static constexpr SetCallback<ov_sTcontTable_attr_t, ov_gpon_tcont_attr_t> CALLBACK = {
//         .message = OV_HAL_MSG_GPON_TCONT,
//         .map = &tcont_map,
//         .check = tcont_admits,
//         .reserve = tcont_reserve,
//         .before_send = tcont_before_send,
//         .follow = tcont_follow,
//         .not_supported = NotSupported::FOLLOW,
//         .give_back = tcont_give_back,
//         .failure = "set tcont to hal error",
//     };
//     return run_set_callback(CALLBACK, did, row, column_flag);
//
// All of it runs on the main loop, in the chain of an access; the send waits for the card unless the module
// says otherwise.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "app_card_answer.h"
#include "app_columns.h"
#include "app_message_map.h"
#include "app_rows.h"
#include "hal_record_dump.h"
#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_types.h"

// The action for the card of a pending row: create 1, delete 2, set 3. Note that change (mode 2) and delete
// (mode 3) swap. None for a mode that asks nothing of a card.
constexpr std::optional<ov_hal_gpon_msg_action_t> hal_action_of(int mode) {
    switch (mode) {
    case MODE_CRE:
        return OV_HAL_GPON_MSG_ACTION_CREATE;
    case MODE_CHG:
        return OV_HAL_GPON_MSG_ACTION_SET;
    case MODE_DEL:
        return OV_HAL_GPON_MSG_ACTION_DELETE;
    default:
        return std::nullopt;
    }
}

// One pending change of a row.
template <typename Row>
struct RowChange {
    Row& row;            // as it will be committed; a step may complete it
    MIB_Flags_t columns; // that the access means; once narrowed, those of them that the card is told
    ov_hal_gpon_msg_action_t action;

    bool has(unsigned column) const { return mib_flag_is_set(columns, column); }
    bool creates() const { return action == OV_HAL_GPON_MSG_ACTION_CREATE; }
    bool deletes() const { return action == OV_HAL_GPON_MSG_ACTION_DELETE; }
    bool sets() const { return action == OV_HAL_GPON_MSG_ACTION_SET; }
};

// The action word that a message carries for each action. Cards expect other words for some messages.
struct ActionWords {
    int32_t create = OV_HAL_GPON_MSG_ACTION_CREATE;
    int32_t remove = OV_HAL_GPON_MSG_ACTION_DELETE;
    int32_t set = OV_HAL_GPON_MSG_ACTION_SET;

    constexpr ov_hal_gpon_msg_action_t of(ov_hal_gpon_msg_action_t action) const {
        const int32_t word = action == OV_HAL_GPON_MSG_ACTION_CREATE   ? create
                             : action == OV_HAL_GPON_MSG_ACTION_DELETE ? remove
                                                                       : set;
        return static_cast<ov_hal_gpon_msg_action_t>(word);
    }
};

// Which changes a card is told at all. Of the others the row is accepted as it is, behind the check; nothing
// else is done.
enum class SentChanges : uint8_t {
    ALL,
    OF_ONUS,       // rows of service profiles stay in the table
    EDITS,         // creates and deletes are the table's own
    EDITS_OF_ONUS, // both
};

// The steps, in their order. Those that a module doesn't have stay null.
template <typename Row, typename Record>
struct SetCallback {
    using Change = RowChange<Row>;

    const char* tag = "MMG"; // of its log lines
    int message = 0;         // OV_HAL_MSG_GPON_*
    // The message of a table that reaches cards by more than one.
    int (*message_of)(const Change& change) = nullptr;
    // The way of its columns to the card; that of a card's replay too.
    const MessageMap<Row, Record>* map = nullptr;
    ActionWords words = {};
    SentChanges sent = SentChanges::ALL;
    // Fills what the row must have whatever follows, such as its interface index. Before the mode is looked
    // at.
    void (*prepare)(Row& row) = nullptr;
    // May the row become so? Takes nothing. False refuses.
    bool (*check)(Change& change) = nullptr;
    // Takes what the row needs, or gives back what it had. False refuses, with nothing taken.
    bool (*reserve)(Change& change) = nullptr;
    // A value ends the callback with it: nothing goes to the card. What was reserved stays so.
    std::optional<int> (*before_send)(Change& change) = nullptr;
    // The columns that the card needs to be told, of those in the change; what follows sees these alone.
    MIB_Flags_t (*narrow)(const Change& change) = nullptr;
    // A mask without bits isn't sent; all goes on as if the card had taken it.
    bool skips_empty_mask = false;
    // The record goes to the debug log, while the messages to the cards are being debugged.
    bool dumps = false;
    // Whether the callback waits for the card's answer; null: always.
    bool (*waits)(const Change& change) = nullptr;
    // What becomes of the row when the card has done it, and only then; in front of the next.
    void (*taken)(Change& change) = nullptr;
    // The callback's answer when the card has taken the message.
    int (*follow)(Change& change) = nullptr;
    NotSupported not_supported = NotSupported::ACCEPT;
    // Takes back what was reserved, or changed in the row, when the card refused or couldn't be asked.
    void (*give_back)(Change& change) = nullptr;
    // Logged behind that.
    const char* failure = nullptr;
    // A refused row leaves as the steps have made it, and not as it came. Only the caller's copy does: what
    // the table has stored is never changed by a write that failed.
    bool keeps_on_refusal = false;
};

// A column with what it held before the access.
template <typename Row>
struct ShadowedColumn {
    unsigned column;
    mib_long Row::*value;
    mib_long Row::*before; // its old_ shadow
};

// The columns of a change without those of `watched` that keep their value.
template <typename Row>
MIB_Flags_t columns_that_change(const RowChange<Row>& change, std::span<const ShadowedColumn<Row>> watched) {
    MIB_Flags_t columns = change.columns;
    for (const ShadowedColumn<Row>& each : watched)
        if (change.row.*each.value == change.row.*each.before)
            mib_flag_clear(columns, each.column);
    return columns;
}

// A module's check of a row as the step of its set callback: .check = passes<ov_app_gpon_tcont_check>. It
// answers 1 for a row that may become so.
template <auto check, typename Row>
bool passes(RowChange<Row>& change) {
    return check(&change.row, change.action, change.columns) == 1;
}

template <typename Row>
constexpr bool is_sent(SentChanges sent, const RowChange<Row>& change) {
    if constexpr (requires { change.row.slotID; })
        if ((sent == SentChanges::OF_ONUS || sent == SentChanges::EDITS_OF_ONUS) &&
            is_template_row(change.row))
            return false;
    return sent == SentChanges::ALL || sent == SentChanges::OF_ONUS || change.sets();
}

// The record of the change to its card: the card's result, or 0 when there was nothing to send.
template <typename Row, typename Record>
int send_change(const SetCallback<Row, Record>& callback, const RowChange<Row>& change, int message) {
    Record record = {};
    callback.map->encode(&change.row, &record);
    const ov_bmp_t mask = callback.map->set_mask(&change.row, change.columns);
    if (mask == 0 && callback.skips_empty_mask)
        return OV_GPON_RET_OK;
    if (callback.dumps && g_gpon_ipc_msg_debug_flag != 0)
        hal_record_log(hal_record_desc_of<Record>(), &record);
    return ov_hal_gpon_msg_send(message, callback.words.of(change.action), &record, mask,
                                callback.waits == nullptr || callback.waits(change) ? 1 : 0);
}

// The steps on a change, in their order, up to the callback's answer.
template <typename Row, typename Record>
int run_set_steps(const SetCallback<Row, Record>& callback, RowChange<Row>& change) {
    if (callback.check && !callback.check(change))
        return SET_REFUSED;
    if (!is_sent(callback.sent, change))
        return SET_ACCEPTED;
    if (callback.reserve && !callback.reserve(change))
        return SET_REFUSED;
    if (callback.before_send)
        if (const auto answer = callback.before_send(change))
            return *answer;
    if (callback.narrow)
        change.columns = callback.narrow(change);

    const int message = callback.message_of ? callback.message_of(change) : callback.message;
    const int result = send_change(callback, change, message);
    const CardAnswer answer =
        card_answer(result, callback.not_supported, callback.tag, "set to which not support");
    if (answer == CardAnswer::FAILED) {
        refuse_for_card(result, message);
        if (callback.give_back)
            callback.give_back(change);
        OV_LOG_ERROR(callback.tag, "%s", callback.failure);
        return SET_REFUSED;
    }
    if (answer == CardAnswer::DONE && callback.taken)
        callback.taken(change);
    const bool follows = answer == CardAnswer::DONE || callback.not_supported == NotSupported::FOLLOW;
    return follows && callback.follow ? callback.follow(change) : SET_ACCEPTED;
}

// A row that is refused leaves as it came, without what the steps filled in (ids of names, cleared texts):
// for a manager's request it is the stored row, and the undo of that request knows only the columns it named.
template <typename Row, typename Record>
int run_set_callback(const SetCallback<Row, Record>& callback, MIBDID did, void* pending,
                     const MIB_Flags_t& columns) {
    Row& row = *static_cast<Row*>(pending);
    const Row before = row;
    if (callback.prepare)
        callback.prepare(row);
    const auto action = hal_action_of(MibRowStatusGet(did, &row));
    if (!action)
        return SET_ACCEPTED;
    RowChange<Row> change{row, columns, *action};
    const int answer = run_set_steps(callback, change);
    if (answer != SET_ACCEPTED && (!callback.keeps_on_refusal || find_stored_row(row) == &row))
        row = before;
    return answer;
}

// Registers a callback for columns of a table and logs `failure` when that can't be done.
struct CallbackRegistration {
    const char* application;
    int appid;
    const char* failure;

    void add(int table_index, int kind, MIB_callback_ptr function, const MIB_Flags_t& columns) const {
        if (MibRegisterCallback(mmg_table_did_getbyindex(table_index), kind, application, appid, function,
                                columns) != 1)
            OV_LOG_ERROR("MMG", "%s", failure);
    }
};
