// A family of performance counters as data, and the engine that all five have in common: rows that come and
// go with a switch of their owner, reads that refresh them, and the quarter-hour's pass over the table.
//
// A row mirrors what its object counts since the card's counters were last cleared. The pass at the end of an
// interval reads and clears; the counters of the interval stay in the row, and in the table's file, until the
// next read replaces them. Nothing is added up here.
//
// Main loop only.
#pragma once

#include <cstddef>
#include <cstdint>

#include "mmg_access.h"
#include "pm_counters.h"
#include "table_module.h"

class PmPass;

// The columns behind the counters: places in the row.
struct PmClosing {
    uint16_t profile; // of thresholds
    uint16_t start;   // seconds, start of the interval
    uint16_t stop;    // seconds, time of the last read
    uint16_t valid;   // PmValid
    uint16_t status;
};
// Names `Row` of the place where it stands.
#define PM_CLOSING(profile_column, start_column, stop_column, valid_column, status_column)                   \
    PmClosing {                                                                                              \
        .profile = offsetof(Row, profile_column), .start = offsetof(Row, start_column),                      \
        .stop = offsetof(Row, stop_column), .valid = offsetof(Row, valid_column),                            \
        .status = offsetof(Row, status_column)                                                               \
    }
enum class PmValid : mib_long { UNKNOWN = 0, NOT_AVAILABLE = 1, AVAILABLE = 2 };

// What the rows belong to. Its index columns are those of the family's rows.
struct PmOwner {
    int table;              // registry index
    unsigned enable_column; // 1 switches the counters on
    uint16_t enable;        // its place in the owner's row
    unsigned status_column;
};

// From which time on the next interval counts.
enum class PmIntervalStart : uint8_t {
    PASS,  // when the pass began
    STAMP, // when each row is stamped, behind the save
};

struct PmFamily {
    const char* application; // of its callbacks
    int* appid;
    int table; // registry index
    TableModule& (*module)();
    void (*save)(); // writes the table's file at once
    PmClosing closing;
    PmReading reading;
    PmIntervalStart interval_start;
    int (*check_alarm)(void* row);
    const char* read_failure; // logged by a read of the table
    PmOwner owner;
    int add;                 // operation that makes a row
    const char* add_failure; // logged when it can't be made; null: nothing
    MIB_callback_ptr get;    // callbacks of the family's table and of its owner's
    MIB_callback_ptr set;
    const char* get_failure; // logged when they can't be registered
    const char* set_failure;
    PmPass& (*pass)();
};

// Takes the application id and registers the callbacks. Start-up.
void pm_family_init(const PmFamily& family);

// Reads the counters of a row's object into the row, with `clean` the card begins at 0 again. Sets stop stamp
// and validity; with `check` the thresholds are looked at. 0, or the code of the failure: the counters stay
// and the row says that its data isn't available.
int pm_read(const PmFamily& family, void* row, bool clean, bool check);
// What a failed read says in a row.
void pm_mark_unavailable(const PmFamily& family, void* row);
// What a good one brings, out of the card's record.
void pm_take_record(const PmFamily& family, const void* record, void* row);
// The seconds that stamps are made of.
uint32_t pm_now();
void pm_stamp_start(const PmFamily& family, void* row, uint32_t seconds);
void pm_stamp_stop(const PmFamily& family, void* row, uint32_t seconds);

// The get callback on the family's table.
int pm_get_callback(const PmFamily& family, void* row);
// The set callback on the owner's table; always SET_ACCEPTED.
int pm_owner_callback(const PmFamily& family, MIBDID did, void* owner, const MIB_Flags_t& columns);

// Makes the row of an owner's object, with a read that clears, or removes it. One that is there, or isn't,
// stays so. False, behind a log line, if the table refused.
bool pm_add_row(const PmFamily& family, const void* owner);
bool pm_remove_row(const PmFamily& family, const void* owner);
