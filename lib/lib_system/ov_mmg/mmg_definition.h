// The table registry: the numbers and names of all tables of the platform, and which changes matter to the
// save task and the sync hooks.
//
// A table becomes known at its first look-up. Identities are filled in the order of first look-up, with one
// oddity that is relied on by what lists them: index 0 doubles as the mark of a free place, so the next new
// table takes the place of SPON, and SPON enters again behind it at its own next look-up. An MIBDID is
// therefore fetched at each use and never kept.
//
// Any thread. A look-up of a known table takes no lock. What a thread has fetched stays what it was for that
// thread when another one enters a table: an identity of SPON whose place is taken meanwhile still stands for
// SPON in all functions of the store, until the thread fetches SPON anew. The fields of an entry are read
// with mmg_table_did_read and mmg_table_index, which know of this; who reads them directly sees the place as
// it is now.
#pragma once

// Table indexes by name. ARPCONFIGSCALARS (152) has a number and no row: looking it up gives null.
enum MIB_TABLE_INDEX : int {
#define MMG_TABLE(name, index, save, sync) name = (index),
#define MMG_TABLE_REPEATED(name, index, repeated) name = (index),
#include "mmg_table_list.def"
    TABLE_INDEX_MAX = 202,
};

// Places of the arrays that are indexed by table. MibAccessHandle admits one index more than the registry
// ever holds, so they have that one place too.
inline constexpr int MIB_TABLE_SLOTS = TABLE_INDEX_MAX + 2;

// The identity of a table.
typedef struct MIBDid_t {
    int index;
    char if_trigger_save;   // 1: a change raises the changed flags
    char if_trigger_sync;   // 1: MibCallSync calls the table's sync hook
    const char* table_name; // null in a place that was never filled
} MIBDid_t;

typedef MIBDid_t* MIBDID;

// The known tables. Filled from the start without gaps; for the registry, which others read through.
extern MIBDid_t _sDid_Array[MIB_TABLE_SLOTS];

// Enters a table under an index; does nothing when the index is known. When all places are taken, writes
// "failed to register table %s-id %d" to standard error. The name must live as long as the process.
void mmg_table_did_register(int tableIndex, const char* tableName, int save_flag, int sync_flag);
// Enters a table of the fixed list; an index that isn't in the list does nothing.
void mmg_table_register_tableIndex(int tableIndex);
// The identity of a table, entered first if need be. Null for an index that is neither in the list nor
// registered.
MIBDID mmg_table_did_getbyindex(int tableIndex);
// What an identity stands for, as this thread fetched it; index -1 for null.
MIBDid_t mmg_table_did_read(const MIBDid_t* did);
int mmg_table_index(const MIBDid_t* did);
// The table that stands in a place of the registry now, counted from 0; without a name for none.
MIBDid_t mmg_table_did_at(int place);
// The name of a table, entered first if need be, or "not register".
const char* mmg_table_name_getbyindex(int tableIndex);

// Debug switches of the store, off at start: entry and exit of its functions, and details.
int mmg_get_debug_function_flag();
void mmg_set_debug_function_flag(int flag);
int mmg_get_debug_info_flag();
void mmg_set_debug_info_flag(int flag);
