// Alarm events that wait for the end of their hold-off time: a doubly linked list, the newest first, with an
// index by source and code beside it. Event loop's thread.
#pragma once

#include <cstdint>

#include "sActiveAlarmTable.h"

// Hold-off times in seconds.
inline constexpr int32_t ALARM_RAISE_HOLD_OFF = 3;
inline constexpr int32_t ALARM_CLEAR_HOLD_OFF = 10;

typedef struct alarm_cache_s {
    int32_t expired;                           // 1 once the time is over
    int32_t timeout;                           // hold-off in seconds, from the event's state
    int32_t timeleft;                          // seconds left
    struct sActiveAlarmTable_entry* alarmdata; // the event's row, owned
    struct alarm_cache_s* next;
    struct alarm_cache_s* prev;
} alarm_cache;

// The newest entry, null when nothing waits.
extern alarm_cache* alarm_cache_head;

// The entry with the row's source and code; null for none, or for a null row.
alarm_cache* ov_app_gpon_alarm_cachelist_find(const sActiveAlarmTable_entry* pentry);

// Puts a copy of the row at the head, its hold-off time chosen by its state: 0 seconds for one that is
// neither set nor clear. Null for a null row, or when there is no memory, which is printed on standard
// output. At most one entry of a source and code may be in the list.
alarm_cache* ov_app_gpon_alarm_cachelist_insert(const sActiveAlarmTable_entry* pentry);

// Takes an entry out of the list; the caller has it from then on. -1 for null or an entry that isn't in it.
int ov_app_gpon_alarm_cachelist_remove(alarm_cache* entry);

// Frees an entry that isn't in the list, with its row. Null is fine.
void ov_app_gpon_alarm_cache_free(alarm_cache* entry);

// Forgets all entries.
void ov_app_gpon_alarm_cachelist_clear();

// 0 when source and code are equal, or both rows are null; else -1.
int ov_app_gpon_alarm_alarmtableentry_equals(const sActiveAlarmTable_entry* first,
                                             const sActiveAlarmTable_entry* second);

// Prints the list to standard output, for diagnosis.
void ov_app_gpon_alarm_cachelist_show();
