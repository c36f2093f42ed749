#include "mmg_definition.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <iterator>

namespace {

constexpr MIBDid_t kTableList[] = {
#define MMG_TABLE(name, index, save, sync) {name, save, sync, #name},
#define MMG_TABLE_REPEATED(name, index, repeated) {repeated, 0, 0, #repeated},
#include "mmg_table_list.def"
};

// Where each index was last seen in _sDid_Array. Only a hint: SPON moves.
int g_place[MIB_TABLE_SLOTS];

std::atomic<int> g_debug_function{0};
std::atomic<int> g_debug_info{0};

bool has_place(int index) {
    return index >= 0 && index < MIB_TABLE_SLOTS;
}

bool is_table(const MIBDid_t& did, int index) {
    return did.index == index && did.table_name != nullptr;
}

MIBDID find_known(int index) {
    if (has_place(index) && is_table(_sDid_Array[g_place[index]], index))
        return &_sDid_Array[g_place[index]];
    auto* known = std::find_if(std::begin(_sDid_Array), std::end(_sDid_Array),
                               [index](const MIBDid_t& did) { return is_table(did, index); });
    return known == std::end(_sDid_Array) ? nullptr : known;
}

} // namespace

MIBDid_t _sDid_Array[MIB_TABLE_SLOTS];

void mmg_table_did_register(int tableIndex, const char* tableName, int save_flag, int sync_flag) {
    auto* end = _sDid_Array + TABLE_INDEX_MAX + 1;
    auto* place = std::find_if(_sDid_Array, end, [tableIndex](const MIBDid_t& did) {
        return did.index == 0 || did.index == tableIndex;
    });
    if (place == end) {
        std::fprintf(stderr, "failed to register table %s-id %d", tableName, tableIndex);
        return;
    }
    if (place->index != 0)
        return;
    *place = {tableIndex, static_cast<char>(save_flag), static_cast<char>(sync_flag), tableName};
    if (has_place(tableIndex))
        g_place[tableIndex] = static_cast<int>(place - _sDid_Array);
}

void mmg_table_register_tableIndex(int tableIndex) {
    const auto* row = std::find_if(std::begin(kTableList), std::end(kTableList),
                                   [tableIndex](const MIBDid_t& did) { return did.index == tableIndex; });
    if (row != std::end(kTableList))
        mmg_table_did_register(row->index, row->table_name, row->if_trigger_save, row->if_trigger_sync);
}

MIBDID mmg_table_did_getbyindex(int tableIndex) {
    if (MIBDID known = find_known(tableIndex))
        return known;
    mmg_table_register_tableIndex(tableIndex);
    return find_known(tableIndex);
}

const char* mmg_table_name_getbyindex(int tableIndex) {
    MIBDID did = mmg_table_did_getbyindex(tableIndex);
    return did == nullptr ? "not register" : did->table_name;
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
