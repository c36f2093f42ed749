// Counters that a card keeps, as data: where each stands in the card's answer and in a row, and how they are
// asked for. What every reader of counters is made of.
//
// Main loop; a read waits for the card, a request doesn't.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "hal_port.h"
#include "hal_request.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "ov_ifindex.h"

// A counter of 64 bits: its place in the row, and behind the head of the card's record.
struct PmCounter {
    uint16_t column;
    uint16_t field;
};
// Names `Row` and `Counters` of the place where it stands.
#define PM_COUNTER(column_name, field_name)                                                                  \
    PmCounter {                                                                                              \
        .column = offsetof(Row, column_name), .field = offsetof(Counters, field_name)                        \
    }

// A card's record: 8 bytes that say whose counters they are, then the counters, the longest of 63.
inline constexpr size_t PM_RECORD_HEAD = 8;
struct PmRecord {
    pkt_sta_index index;
    alignas(8) unsigned char counters[63 * sizeof(uint64_t)];
};
static_assert(offsetof(PmRecord, counters) == PM_RECORD_HEAD);
static_assert(sizeof(PmRecord) >= sizeof(hal_msg_stat_t) &&
              offsetof(hal_msg_stat_t, counter) == PM_RECORD_HEAD);

struct PmReading;

// The way to the counters.
struct PmSource {
    // Reads the counters of a row's object into `record`. 0 or the code of the failure.
    int (*read)(const PmReading& reading, const void* row, bool clean, PmRecord& record);
    // The same without waiting.
    HalRequest (*request)(const PmReading& reading, const void* row, bool clean, hal_reply_handle handle,
                          void* context);
    // The record in a reply.
    const void* (*record_in)(const hal_nlmsghdr* reply);
    // What is to be done behind a request that was to clear and has been answered; null: nothing.
    void (*clear)(const void* row);
};
extern const PmSource PM_CARD_RECORDS;    // messages of the GPON catalogue, which read and clear in one
extern const PmSource PM_PORT_STATISTICS; // of network ports: read, and then cleared by a message of its own

struct PmReading {
    const PmSource* source;
    int message;                              // OV_HAL_MSG_GPON_PM_*; 0: port statistics
    ov_ifindex_t (*ifindex)(const void* row); // whose counters; 0: there is no such object
    std::span<const PmCounter> counters;
};

// Copies the counters of a record into a row.
void pm_copy_counters(const PmReading& reading, const void* record, void* row);

// Reads the counters of the row's object into the row, past its table, and sets the card's to 0 with `clean`.
// 0, or the code of the failure and the row stays.
int pm_read_counters(const PmReading& reading, void* row, bool clean);
