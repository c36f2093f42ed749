#include "mmg_definition.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <iterator>
#include <mutex>

namespace {

constexpr MIBDid_t TABLE_LIST[] = {
#define MMG_TABLE(name, index, save, sync) {name, save, sync, #name},
#define MMG_TABLE_REPEATED(name, index, repeated) {repeated, 0, 0, #repeated},
#include "mmg_table_list.def"
};

// Where each index was last seen in _sDid_Array. Only a hint: SPON moves.
std::atomic<int> g_place[MIB_TABLE_SLOTS];

// Held by who enters a table. Look-ups of known tables take no lock: all reading and writing of entries that
// other threads may read is by the atomic forms below.
std::mutex g_registry_mutex;

// The entry that was SPON's when this thread last looked SPON up. When another thread gives the entry to a
// new table, it goes on to mean SPON here.
thread_local const MIBDid_t* t_spon = nullptr;

std::atomic<int> g_debug_function{0};
std::atomic<int> g_debug_info{0};

template <typename Field>
Field load(const Field& field) {
    return std::atomic_ref(const_cast<Field&>(field)).load(std::memory_order_acquire);
}

template <typename Field>
void store(Field& field, Field value) {
    std::atomic_ref(field).store(value, std::memory_order_release);
}

MIBDid_t read_entry(const MIBDid_t& did) {
    return {load(did.index), load(did.if_trigger_save), load(did.if_trigger_sync), load(did.table_name)};
}

bool has_place(int index) {
    return index >= 0 && index < MIB_TABLE_SLOTS;
}

bool is_table(const MIBDid_t& did, int index) {
    return load(did.index) == index && load(did.table_name) != nullptr;
}

const MIBDid_t* find_in_list(int index) {
    const auto* row = std::find_if(std::begin(TABLE_LIST), std::end(TABLE_LIST),
                                   [index](const MIBDid_t& did) { return did.index == index; });
    return row == std::end(TABLE_LIST) ? nullptr : row;
}

MIBDID find_known(int index) {
    if (has_place(index)) {
        MIBDID seen = &_sDid_Array[g_place[index].load(std::memory_order_relaxed)];
        if (is_table(*seen, index))
            return seen;
    }
    auto* known = std::find_if(std::begin(_sDid_Array), std::end(_sDid_Array),
                               [index](const MIBDid_t& did) { return is_table(did, index); });
    return known == std::end(_sDid_Array) ? nullptr : known;
}

// Enters a table; the mutex is held.
void enter(const MIBDid_t& table) {
    auto* end = _sDid_Array + TABLE_INDEX_MAX + 1;
    auto* place = std::find_if(_sDid_Array, end, [&table](const MIBDid_t& did) {
        return did.index == 0 || did.index == table.index;
    });
    if (place == end) {
        std::fprintf(stderr, "failed to register table %s-id %d", table.table_name, table.index);
        return;
    }
    if (place->index != 0)
        return;
    if (place == t_spon)
        t_spon = nullptr; // this thread's own doing
    // Without a name it is no table: who reads meanwhile sees the one before, none, or the new one.
    store(place->table_name, static_cast<const char*>(nullptr));
    store(place->if_trigger_save, table.if_trigger_save);
    store(place->if_trigger_sync, table.if_trigger_sync);
    store(place->index, table.index);
    store(place->table_name, table.table_name);
    if (has_place(table.index))
        g_place[table.index].store(static_cast<int>(place - _sDid_Array), std::memory_order_relaxed);
}

// What this thread takes the entry for from now on.
MIBDID fetched(MIBDID did, int index) {
    if (index == SPON)
        t_spon = did;
    else if (did == t_spon)
        t_spon = nullptr;
    return did;
}

} // namespace

MIBDid_t _sDid_Array[MIB_TABLE_SLOTS];

void mmg_table_did_register(int tableIndex, const char* tableName, int save_flag, int sync_flag) {
    const std::lock_guard lock(g_registry_mutex);
    enter({tableIndex, static_cast<char>(save_flag), static_cast<char>(sync_flag), tableName});
}

void mmg_table_register_tableIndex(int tableIndex) {
    const std::lock_guard lock(g_registry_mutex);
    if (const MIBDid_t* row = find_in_list(tableIndex))
        enter(*row);
}

MIBDID mmg_table_did_getbyindex(int tableIndex) {
    if (MIBDID known = find_known(tableIndex))
        return fetched(known, tableIndex);
    const std::lock_guard lock(g_registry_mutex);
    if (const MIBDid_t* row = find_in_list(tableIndex))
        enter(*row);
    return fetched(find_known(tableIndex), tableIndex);
}

MIBDid_t mmg_table_did_read(const MIBDid_t* did) {
    if (did == nullptr)
        return {-1, 0, 0, nullptr};
    if (did == t_spon)
        return *find_in_list(SPON);
    return read_entry(*did);
}

MIBDid_t mmg_table_did_at(int place) {
    return place >= 0 && place <= TABLE_INDEX_MAX ? read_entry(_sDid_Array[place]) : MIBDid_t{};
}

int mmg_table_index(const MIBDid_t* did) {
    if (did == nullptr)
        return -1;
    return did == t_spon ? int{SPON} : load(did->index);
}

const char* mmg_table_name_getbyindex(int tableIndex) {
    const MIBDID did = mmg_table_did_getbyindex(tableIndex);
    return did == nullptr ? "not register" : mmg_table_did_read(did).table_name;
}

int mmg_get_debug_function_flag() {
    return g_debug_function.load(std::memory_order_relaxed);
}

void mmg_set_debug_function_flag(int flag) {
    g_debug_function.store(flag, std::memory_order_relaxed);
}

int mmg_get_debug_info_flag() {
    return g_debug_info.load(std::memory_order_relaxed);
}

void mmg_set_debug_info_flag(int flag) {
    g_debug_info.store(flag, std::memory_order_relaxed);
}
