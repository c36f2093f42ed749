// The one shape of a set callback that programs a card: mode, check, early answers, convert, send, and what
// follows from the card's answer. A module states its steps as data, so that the order can be read at the
// call:
//
//     static const SetCallback<ov_sTcontTable_attr_t, ov_gpon_tcont_attr_t> callback = {
//         .message = OV_HAL_MSG_GPON_TCONT,
//         .check = tcont_admits,
//         .before_send = tcont_before_send,
//         .convert = stcont_mib_data_convert_to_hal,
//         .done = tcont_follow,
//         .not_supported = tcont_follow,
//         .undo = tcont_give_back,
//         .failure = "set tcont to hal error",
//     };
//     return run_set_callback(callback, did, row, column_flag);
//
// All of it runs on the main loop, in the chain of an access; the send waits for the card.
#pragma once

#include <cstdint>
#include <iterator>
#include <optional>

#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_types.h"

// What a set callback answers. Anything but 1 ends the chain and refuses the row.
inline constexpr int SET_ACCEPTED = 1;
inline constexpr int SET_REFUSED = 0;

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
    Row& row;                   // as it will be committed; a step may complete it
    const MIB_Flags_t& columns; // that the access means
    ov_hal_gpon_msg_action_t action;

    bool has(unsigned column) const { return mib_flag_is_set(columns, column); }
    bool creates() const { return action == OV_HAL_GPON_MSG_ACTION_CREATE; }
    bool deletes() const { return action == OV_HAL_GPON_MSG_ACTION_DELETE; }
    bool sets() const { return action == OV_HAL_GPON_MSG_ACTION_SET; }
};

// The steps, in their order. Those that a module doesn't have stay null.
template <typename Row, typename Record>
struct SetCallback {
    int message = 0; // OV_HAL_MSG_GPON_*
    // Fills what the row must have whatever follows, such as its interface index. Before the mode is looked
    // at.
    void (*prepare)(Row& row) = nullptr;
    // May the row become so? Reserves and releases. False refuses.
    bool (*check)(RowChange<Row>& change) = nullptr;
    // A value ends the callback with it: nothing goes to the card.
    std::optional<int> (*before_send)(RowChange<Row>& change) = nullptr;
    // Fills the record and the mask of attributes, both zeroed: the encoder that a card's restore uses too.
    void (*convert)(Row* mib, Record* hal, const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) = nullptr;
    // Writes the record to the debug log, while the messages to the cards are being debugged.
    void (*dump)(const Record* hal) = nullptr;
    // The callback's answer when the card has taken the message.
    int (*done)(RowChange<Row>& change) = nullptr;
    // The same when the card doesn't support it, behind a warning; without this step the row is accepted.
    int (*not_supported)(RowChange<Row>& change) = nullptr;
    // Takes back what the check reserved or released, when the card refused or couldn't be asked.
    void (*undo)(RowChange<Row>& change) = nullptr;
    // Logged behind that.
    const char* failure = nullptr;
    // The card must support it: its "not supported" is a failure like any other.
    bool must_support = false;
};

// A module's check of a row as the step of its set callback: .check = passes<ov_app_gpon_tcont_check>. It
// answers 1 for a row that may become so.
template <auto check, typename Row>
bool passes(RowChange<Row>& change) {
    return check(&change.row, change.action, change.columns) == 1;
}

// The steps on a row, in their order, up to the callback's answer.
template <typename Row, typename Record>
int run_set_steps(const SetCallback<Row, Record>& callback, MIBDID did, Row& row,
                  const MIB_Flags_t& columns) {
    if (callback.prepare)
        callback.prepare(row);
    const auto action = hal_action_of(MibRowStatusGet(did, &row));
    if (!action)
        return SET_ACCEPTED;
    RowChange<Row> change{row, columns, *action};
    if (callback.check && !callback.check(change))
        return SET_REFUSED;
    if (callback.before_send)
        if (const auto answer = callback.before_send(change))
            return *answer;

    Record record = {};
    ov_bmp_t mask = 0;
    callback.convert(&row, &record, columns, &mask);
    if (callback.dump && g_gpon_ipc_msg_debug_flag != 0)
        callback.dump(&record);
    const int result = ov_hal_gpon_msg_send(callback.message, *action, &record, mask, 1);
    if (result == OV_GPON_RET_OK)
        return callback.done ? callback.done(change) : SET_ACCEPTED;
    if (result == OV_GPON_RET_NOT_SUPPORT && !callback.must_support) {
        OV_LOG_WARN("MMG", "set to which not support");
        return callback.not_supported ? callback.not_supported(change) : SET_ACCEPTED;
    }
    if (result == OV_GPON_RET_NOT_SUPPORT)
        ov_refusal_because("the card doesn't support it");
    ov_refusal_because("the card wasn't told: message %d ended with code %d", callback.message, result);
    if (callback.undo)
        callback.undo(change);
    OV_LOG_ERROR("MMG", "%s", callback.failure);
    return SET_REFUSED;
}

// A row that is refused leaves as it came, without what the steps filled in (ids of names, cleared texts):
// for a manager's request it is the stored row, and the undo of that request knows only the columns it named.
template <typename Row, typename Record>
int run_set_callback(const SetCallback<Row, Record>& callback, MIBDID did, void* pending,
                     const MIB_Flags_t& columns) {
    Row& row = *static_cast<Row*>(pending);
    const Row before = row;
    const int answer = run_set_steps(callback, did, row, columns);
    if (answer != SET_ACCEPTED)
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

// All columns but these.
template <typename... Column>
constexpr MIB_Flags_t columns_but(Column... column) {
    MIB_Flags_t columns = mibDefFlags;
    (mib_flag_clear(columns, column), ...);
    return columns;
}
// Those of `columns` that are in `wanted` too.
constexpr MIB_Flags_t columns_in(const MIB_Flags_t& columns, const MIB_Flags_t& wanted) {
    MIB_Flags_t common = {};
    for (size_t word = 0; word < std::size(common.flags); ++word)
        common.flags[word] = columns.flags[word] & wanted.flags[word];
    return common;
}

// These columns.
template <typename... Column>
constexpr MIB_Flags_t columns_of(Column... column) {
    MIB_Flags_t columns = {};
    (mib_flag_set(columns, column), ...);
    return columns;
}
