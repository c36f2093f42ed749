// The one shape of a get callback that asks a card: which columns live there, whether the card is asked at
// all, the request, and what its answer or its refusal means.
//
//     static constexpr GetCallback<ov_sPonTable_attr_t, ov_gpon_port_attr_t> CALLBACK = {
//         .message = OV_HAL_MSG_GPON_PORT,
//         .map = &pon_port_map,
//         .columns = READ_COLUMNS,
//         .address = address_port,
//         .failure = "failed to get pon port info",
//     };
//     return run_get_callback(CALLBACK, row, column_flag);
//
// All of it runs on the main loop, in the chain of an access, and waits for the card.
#pragma once

#include "app_card_answer.h"
#include "app_columns.h"
#include "app_message_map.h"
#include "ov_hal_gpon_msg.h"
#include "ov_product_log.h"

// Whether the card is asked, and what becomes of the row when it isn't.
enum class Asked : uint8_t {
    YES,
    NO,   // the row answers with what it has stored
    ZERO, // the columns read as those of a record of zeros
};

// What of an answer goes into the row.
enum class Taken : uint8_t {
    ASKED, // the columns that were asked for, of those that live on the card
    WHOLE, // all that the map's lines read, whichever column made the card be asked
};

template <typename Row, typename Record>
struct GetCallback {
    const char* tag = "MMG"; // of its log lines
    int message = 0;         // OV_HAL_MSG_GPON_*
    const MessageMap<Row, Record>* map = nullptr;
    MIB_Flags_t columns = {}; // that live on the card; it is asked when one of them is read
    // Whether the object answers, such as an ONU that is in operation; null: always.
    Asked (*asked)(const Row& row) = nullptr;
    // Writes into a zeroed record which object is meant; null: the map's lines of no column do.
    void (*address)(const Row& row, Record& record) = nullptr;
    // The request's mask: the bits of the columns that are read, or these bits alone.
    bool masked_by_columns = true;
    ov_bmp_t mask = 0;
    Taken taken = Taken::ASKED;
    NotSupported not_supported = NotSupported::ACCEPT;
    const char* failure = nullptr; // logged when the card failed
};

// Asks the card of the row about these columns: its result, and its answer in a zeroed record.
template <typename Row, typename Record>
int ask_card(const GetCallback<Row, Record>& callback, const Row& row, const MIB_Flags_t& columns,
             Record& record) {
    if (callback.address)
        callback.address(row, record);
    else
        callback.map->encode_address(&row, &record);
    const ov_bmp_t mask = callback.masked_by_columns ? callback.map->get_mask(columns) : callback.mask;
    return ov_hal_gpon_msg_send(callback.message, OV_HAL_GPON_MSG_ACTION_GET, &record, mask, 1);
}

template <typename Row, typename Record>
int run_get_callback(const GetCallback<Row, Record>& callback, void* read_row, const MIB_Flags_t& columns) {
    const MIB_Flags_t read = columns_in(columns, callback.columns);
    if (!any_column(read))
        return SET_ACCEPTED;
    Row& row = *static_cast<Row*>(read_row);
    const Asked asked = callback.asked ? callback.asked(row) : Asked::YES;
    if (asked == Asked::NO)
        return SET_ACCEPTED;
    Record record = {};
    if (asked == Asked::YES) {
        const CardAnswer answer = card_answer(ask_card(callback, row, columns, record),
                                              callback.not_supported, callback.tag, "get which not support");
        if (answer == CardAnswer::NOT_SUPPORTED)
            return SET_ACCEPTED;
        if (answer == CardAnswer::FAILED) {
            OV_LOG_ERROR(callback.tag, "%s", callback.failure);
            return SET_REFUSED;
        }
    }
    callback.map->decode(&record, &row, callback.taken == Taken::WHOLE ? mibDefFlags : read);
    return SET_ACCEPTED;
}
