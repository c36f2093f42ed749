// The one door to the tables for application code, commands and SNMP handlers.
//
// MibAccessHandle runs one operation on one row under the table's mutex: the table module's first hook, the
// callback chains that application modules registered for the columns concerned, and the module's second
// hook, which commits the row or takes the change back. This is how a write becomes a check, a reservation,
// a message to the hardware, and only then a changed row.
//
// A module of the application layer starts with AssignAppId and one MibRegisterCallback per table and kind.
//
// Threads. Registering tables and setting their roles is for the start, on the main thread. After it every
// function here may be called from any thread, and so may all that it reaches below the application layer:
// registry, rows, table modules, their files, the changed flags, the log, notifications.
//
// The application's callbacks run on the thread that makes the access. They hold the mutex of each table
// whose access is under way and no other, while what they keep (counters of resources, look-ups, caches,
// what was sent to a card) belongs to the main thread. So another thread than the main one
//  - reads with the _S codes, or the codes of tables that have no get callback,
//  - writes with _S_N, or with _S where the table has no check callback (the action table is such a one),
//  - doesn't look at stored rows by pointer, but copies them, as MibAccessHandle does.
// Mutexes of two tables are taken in the order of a cascade: a thread that holds one and works on another
// table without being inside a callback may stop itself and the main thread for good.
// A callback that is about to run on another thread is told of (ov_loop_thread.h).
#pragma once

#include "mmg_definition.h"
#include "mmg_internal.h"
#include "ovra_mutex.h"

// Types of other libraries that only pass through.
typedef struct netsnmp_handler_registration_s netsnmp_handler_registration;
struct ovralist_t;
// Orders two list elements: 0 equal, negative if the first is the greater, positive if it is the smaller.
typedef int (*element_comparator)(const void* element1, const void* element2);

// ---- columns -------------------------------------------------------------------------------------

// A set of columns: the column with SNMP number n is bit n (word n / 32, mask 1 << n % 32), up to 127.
typedef struct MIB_Flags_t {
    unsigned int flags[4];
} MIB_Flags_t;

inline constexpr unsigned MIB_FLAGS_COLUMNS = 128;
// Every column.
inline constexpr MIB_Flags_t mibDefFlags = {{0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu}};

// One column in a set. Numbers above 127 are in no set.
constexpr void mib_flag_set(MIB_Flags_t& set, unsigned column) {
    if (column < MIB_FLAGS_COLUMNS)
        set.flags[column >> 5] |= 1u << (column & 31);
}
constexpr void mib_flag_clear(MIB_Flags_t& set, unsigned column) {
    if (column < MIB_FLAGS_COLUMNS)
        set.flags[column >> 5] &= ~(1u << (column & 31));
}
constexpr bool mib_flag_is_set(const MIB_Flags_t& set, unsigned column) {
    return column < MIB_FLAGS_COLUMNS && (set.flags[column >> 5] >> (column & 31) & 1u) != 0;
}

// ---- numbers -------------------------------------------------------------------------------------

enum MIB_RESULT { MIB_FAIL = 0, MIB_OK = 1 };

// Operations. For a write, _S runs the check chain only, _N the set chain only, _S_N neither; the row is
// written in each case. For a read, _S leaves the get chain out.
enum MIB_OPERATION : int {
    MIB_GET = 1,
    MIB_GET_S = 2,
    MIB_GET_FUZZY = 3,
    MIB_GET_FUZZY_S = 4,
    MIB_GETFIRST = 5,
    MIB_GETFIRST_S = 6,
    MIB_GETNEXT = 7,
    MIB_GETNEXT_S = 8,
    MIB_CREATEGO = 9, // a blank row that is active; MIB_SET with a row status of create makes a filled one
    MIB_CREATEGO_S = 10,
    MIB_CREATEGO_N = 11,
    MIB_CREATEGO_S_N = 12,
    MIB_CREATEWAIT = 13,
    MIB_CREATEWAIT_S = 14,
    MIB_CREATEWAIT_N = 15,
    MIB_CREATEWAIT_S_N = 16,
    MIB_ADD = 17,   // not served
    MIB_ADD_S = 18, // not served
    MIB_SET = 19,
    MIB_SET_S = 20,
    MIB_SET_N = 21,
    MIB_SET_S_N = 22,
    MIB_DEL = 23,
    MIB_DEL_S = 24,
    MIB_DEL_N = 25,
    MIB_DEL_S_N = 26,
    MIB_LOCAL_GETNEXT = 27, // not served
};

// Kinds of callback.
enum MIB_CALLBACK_TYPE { CALLBACK_GET = 1, CALLBACK_SET = 2, CALLBACK_CHECK = 3 };

// Row status, with the values of RowStatus (RFC 2579).
enum OVRA_ROWSTATUS {
    OVRA_NONEXISTENT = 0,
    OVRA_ACTIVE = 1,
    OVRA_NOTINSERVICE = 2,
    OVRA_NOTREADY = 3,
    OVRA_CREATEANDGO = 4,
    OVRA_CREATEANDWAIT = 5,
    OVRA_DESTROY = 6,
};

// What a pending row means to the hardware: make it, change it, remove it, or nothing.
typedef enum ROW_MODE {
    MODE_CRE = 1,
    MODE_CHG = 2,
    MODE_DEL = 3,
    MODE_IDLE = 4,
    MODE_ILLEGAL = 5,
} ROW_MODE;

typedef enum app_role {
    ROLE_UNDEFINED = 0,
    ROLE_STANDALONE = 1,
    ROLE_MANAGER = 2,
    ROLE_AGENT = 3,
    ROLE_MAX = 4,
} app_role;

// ---- table modules -------------------------------------------------------------------------------

// Compares two rows on the index columns that a flag chooses; 0 for a match.
typedef int (*Mib_Index_Compare_Ptr)(void* row1, void* row2, int flag);

// What a table module does. A module's class embeds this as its first member. The hooks see only the base
// codes MIB_GET, MIB_GET_FUZZY, MIB_GETFIRST, MIB_GETNEXT, MIB_CREATEGO, MIB_CREATEWAIT, MIB_SET, MIB_DEL,
// and run under the table's mutex. Any slot may be null.
typedef struct MibHandler {
    // Prepares the row, for a write up to its complete future form; 0 refuses the operation.
    char (*mibAccessStart)(MibHandler* handler, int type, void* row, MIB_Flags_t flags);
    // Commits the row if `result` is 1, takes the preparation back if it is 0.
    void (*mibAccessFinish)(MibHandler* handler, char result, int type, void* row, MIB_Flags_t flags);
    void (*mibSave)(MibHandler* handler);
    void (*mibSetDefRow)(MibHandler* handler, void* row);
    // The ROW_MODE of a row.
    int (*mibGetRowStatus)(MibHandler* handler, void* row);
    int (*mibQBC)(MibHandler* handler, void* row, int index_flag, int if_return_result, ovralist_t* result,
                  element_comparator sort_compare, Mib_Index_Compare_Ptr private_compare);
    // Whether a pending row is one that waited and becomes active: the creation that was put off. 1 or 0.
    int (*mibIsActivation)(MibHandler* handler, const void* row);
} MibHandler;

// Clears all slots.
void MibHandler_ctor(MibHandler* handler);

// Answers 1 to go on; anything else stops the chain and fails the operation. It may call MibAccessHandle on
// this or another table, and may register and unregister callbacks.
typedef int (*MIB_callback_ptr)(MIBDID did, void* row, MIB_Flags_t flags);

struct acb {
    int appId;
    char appName[31];
    MIB_Flags_t appFlags; // columns whose access concerns the application
    char appBusy;         // not used
};

// One callback of a chain.
struct MIB_callback {
    MIB_callback* prev;
    MIB_callback* next;
    MIB_callback_ptr callback;
    acb app;
};

typedef int (*mib_sync_handler_ptr)(ROW_MODE mode, MIBDID did, void* row, MIB_Flags_t flags);

// The control record of a table, in the order in which other modules know it.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
typedef struct table_control_t {
    netsnmp_handler_registration* reg; // null for a table without SNMP side
    MibHandler* dataOper;              // null until the table is registered
    MIBDID tbl_did;                    // set by the first MibRegisterCallback
    ovra_mutex_t* pmutex;
    void* table;     // first row at registration time; not used afterwards
    int struct_size; // bytes of a row
    MIB_callback* callback_get;
    MIB_callback* callback_set;
    MIB_callback* callback_check;
    app_role role;
    mib_sync_handler_ptr syncPtr;
    int operOwner; // 1 while the table's SNMP handler runs
    int logflag;   // reserved
} table_control_t;

extern table_control_t table_cntl[MIB_TABLE_SLOTS];

// Registers a table; called once by its module's initialiser, with the module's operations (which live on)
// and the sizes of key and row. handlerReg may be null. Gives the table a mutex, empty chains and an empty
// tree. Null for a bad identity.
table_control_t* ovraMib_RegisterSnmpHanlder(MIBDID did, netsnmp_handler_registration* handlerReg,
                                             MibHandler* dataOper, int key_size, int struct_size);
// Sets role and sync hook; 1, or 0 after logging "wrong role try to register for mib:%d".
char ovraMib_ParamSet(MIBDID did, app_role role, mib_sync_handler_ptr synPtr);

// Row size, role, number of rows (which takes the table's mutex).
int MibGetTableStructSize(MIBDID did);
app_role MibGetTableOwnerRole(MIBDID did);
int MibNumberGet(MIBDID did);

// Whether the table's SNMP handler is at work (1) or something else (0): the wording of row logs.
int getOpOwner(MIBDID did);
void setOpOwnerSnmp(MIBDID did);
void clearOpOwnerSnmp(MIBDID did);

// ---- access --------------------------------------------------------------------------------------

// Runs one operation of MIB_OPERATION. `row` is the caller's buffer of a full entry record: in it go index
// and new values, in it comes the result. `flags` names the columns that the call means. `appid` and `slot`
// have no effect. Returns MIB_OK or MIB_FAIL. Any thread, within the bounds that stand above; holds the
// table's mutex throughout, so a callback must not wait for another thread that may want the same table.
char MibAccessHandle(int type, int appid, MIBDID did, void* row, MIB_Flags_t flags, int slot);

// The ROW_MODE of a row, MODE_ILLEGAL for a table without module.
int MibRowStatusGet(MIBDID did, void* row);

// Forwarders to slots that a module may leave empty: they do nothing then, and MibQBC returns -1.
void MibSave(MIBDID did);
void MibSefDefRow(MIBDID did, void* row);
int MibQBC(MIBDID did, void* row, int index_flag, int if_return_result, ovralist_t* result,
           element_comparator sort_compare, Mib_Index_Compare_Ptr private_compare);

// Offers a change to the table's sync hook; 0 if the hook answers anything but 0, else 1.
int MibCallSync(MIBDID did, void* row, MIB_Flags_t flags);

// What a change of row status asks for: 1 create, 2 destroy, 3 change, 4 nothing.
int GetRowActionFromRowstatus(int oldRowStatus, int newRowStatus);

// ---- callback chains -----------------------------------------------------------------------------

// Adds a callback of kind `type` for the columns in `flags`, to run before those registered earlier. `name`
// is kept up to 30 characters. Returns 1; 0 for a bad kind, a table without module, a function that is in
// this chain already, or lack of memory.
char MibRegisterCallback(MIBDID did, int type, const char* name, int appid, MIB_callback_ptr fptr,
                         MIB_Flags_t flags);
// Takes a callback out; an unknown one is ignored. It may be running: its chain goes on behind it.
void MibUnRegisterCallback(MIBDID did, int type, MIB_callback_ptr fptr);

// Runs one chain for a row: 1, or 0 after logging which callback refused. Callbacks that ran before are
// not undone. The set chain is passed over (and counts as run) for a row whose mode asks for nothing; when
// it succeeds it raises the table's changed flag. While a waiting row becomes active, the callbacks of the
// check and the set chain get every column, whatever `flags` says: this is the row's creation, and what it
// was given while it waited has been seen by nobody. The caller holds the table's mutex.
char Run_MibCallbackFunc(int appid, MIBDID did, int type, void* row, MIB_Flags_t flags);

// 1 if the sets have a column in common, else 0.
char MibFlagsCheck(MIB_Flags_t flags_setpartial, MIB_Flags_t flags_callback);
// Diagnostic, for use before a registration: 1, with a log line, if a callback for these columns would get
// into the way of one that is registered.
char IfMibFlagsConflict(MIBDID did, int appid, int type, MIB_Flags_t flags);

// ---- changed flags -------------------------------------------------------------------------------

// Which tables changed since the flags were last cleared, for tables with if_trigger_save. Any thread.
typedef struct table_change_flag_t {
    ovra_mutex_t* pmutex; // always the innermost lock
    char global_flag;
    char table_flag[MIB_TABLE_SLOTS];
} table_change_flag_t;

extern table_change_flag_t global_change_flag;

void MIibChangedFlagInit();
void MibChangedFlagSet(MIBDID did);
// Clears one table's flag, and the global one when no table of the indexes 0 to 201 has its flag set.
void MibChangedOneFlagClear(MIBDID did);
void MibChangedFlagClear();
char MibChangedTableFlagGet(MIBDID did);
char MibChangedGlobalFlagGet();

// ---- application ids and table mutexes -----------------------------------------------------------
// Any thread.

// The lowest free id from 1 to 127, or 0 if none is left.
int AssignAppId();
// Logs "wrong appid %d, can't be released!" for an id outside 1 to 127.
void ReleaseAppId(int appid);

// A recursive mutex from the pool of 128, or null if none is left.
ovra_mutex_t* AssignMutex();
// Gives it back; a mutex that isn't of the pool is ignored.
void ReleaseMutex(ovra_mutex_t* mutex);
// The table's mutex, or null for a table that isn't registered.
ovra_mutex_t* getMutex(MIBDID did);
