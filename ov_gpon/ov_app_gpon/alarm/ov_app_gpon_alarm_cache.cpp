#include "ov_app_gpon_alarm_cache.h"

#include <cstdio>
#include <new>
#include <unordered_map>
#include <utility>

alarm_cache* alarm_cache_head = nullptr;

namespace {

// Source and code in one number.
using Key = uint64_t;
Key key_of(const sActiveAlarmTable_entry& row) {
    return uint64_t{row.sActiveAlarmTableAlarmSource} << 32 |
           static_cast<uint32_t>(row.sActiveAlarmTableAlarmCode);
}

// Cards number their sources upwards and use few codes: mixed, so that they spread over the buckets.
struct KeyHash {
    size_t operator()(Key key) const {
        key ^= key >> 29;
        key *= 0xbf58476d1ce4e5b9u;
        return static_cast<size_t>(key ^ key >> 32);
    }
};
using Index = std::unordered_map<Key, alarm_cache*, KeyHash>;

Index& cache_index() {
    static auto& index = *new Index; // never destroyed: the list isn't either
    return index;
}

int32_t hold_off_of(int32_t state) {
    switch (state) {
    case SACTIVEALARMTABLEALARMSTATE_SET:
        return ALARM_RAISE_HOLD_OFF;
    case SACTIVEALARMTABLEALARMSTATE_CLEAR:
        return ALARM_CLEAR_HOLD_OFF;
    default:
        return 0;
    }
}

// An entry, not yet in the list, or null.
alarm_cache* make_entry(const sActiveAlarmTable_entry& row) {
    auto* entry = new (std::nothrow) alarm_cache{};
    if (entry == nullptr)
        return nullptr;
    entry->alarmdata = new (std::nothrow) sActiveAlarmTable_entry(row);
    if (entry->alarmdata == nullptr) {
        ov_app_gpon_alarm_cache_free(entry);
        return nullptr;
    }
    entry->timeout = hold_off_of(row.sActiveAlarmTableAlarmState);
    entry->timeleft = entry->timeout;
    return entry;
}

bool enter_into_index(alarm_cache* entry) {
    try {
        return cache_index().emplace(key_of(*entry->alarmdata), entry).second;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void link_at_head(alarm_cache* entry) {
    entry->next = alarm_cache_head;
    if (alarm_cache_head != nullptr)
        alarm_cache_head->prev = entry;
    alarm_cache_head = entry;
}

void unlink(alarm_cache* entry) {
    (entry->prev != nullptr ? entry->prev->next : alarm_cache_head) = entry->next;
    if (entry->next != nullptr)
        entry->next->prev = entry->prev;
    entry->next = nullptr;
    entry->prev = nullptr;
}

} // namespace

alarm_cache* ov_app_gpon_alarm_cachelist_find(const sActiveAlarmTable_entry* pentry) {
    if (pentry == nullptr)
        return nullptr;
    const auto found = cache_index().find(key_of(*pentry));
    return found == cache_index().end() ? nullptr : found->second;
}

alarm_cache* ov_app_gpon_alarm_cachelist_insert(const sActiveAlarmTable_entry* pentry) {
    if (pentry == nullptr)
        return nullptr;
    alarm_cache* entry = make_entry(*pentry);
    if (entry == nullptr || !enter_into_index(entry)) {
        std::printf("%s(%d): calloc error! \n", __func__, __LINE__);
        std::fflush(stdout);
        ov_app_gpon_alarm_cache_free(entry);
        return nullptr;
    }
    link_at_head(entry);
    return entry;
}

int ov_app_gpon_alarm_cachelist_remove(alarm_cache* entry) {
    if (entry == nullptr || entry->alarmdata == nullptr)
        return -1;
    const auto found = cache_index().find(key_of(*entry->alarmdata));
    if (found == cache_index().end() || found->second != entry)
        return -1;
    cache_index().erase(found);
    unlink(entry);
    return 0;
}

void ov_app_gpon_alarm_cache_free(alarm_cache* entry) {
    if (entry == nullptr)
        return;
    delete entry->alarmdata;
    delete entry;
}

void ov_app_gpon_alarm_cachelist_clear() {
    alarm_cache* entry = std::exchange(alarm_cache_head, nullptr);
    while (entry != nullptr)
        ov_app_gpon_alarm_cache_free(std::exchange(entry, entry->next));
    cache_index().clear();
}

int ov_app_gpon_alarm_alarmtableentry_equals(const sActiveAlarmTable_entry* first,
                                             const sActiveAlarmTable_entry* second) {
    if (first == nullptr || second == nullptr)
        return first == second ? 0 : -1;
    return key_of(*first) == key_of(*second) ? 0 : -1;
}

void ov_app_gpon_alarm_cachelist_show() {
    for (const alarm_cache* entry = alarm_cache_head; entry != nullptr; entry = entry->next)
        std::printf(
            "source %u code %d state %d timeout %d timeleft %d expired %d\r\n",
            entry->alarmdata->sActiveAlarmTableAlarmSource, entry->alarmdata->sActiveAlarmTableAlarmCode,
            entry->alarmdata->sActiveAlarmTableAlarmState, entry->timeout, entry->timeleft, entry->expired);
    std::fflush(stdout);
}
