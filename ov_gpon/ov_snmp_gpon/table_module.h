// The engine behind every table module: one TableModule per table, driven by the table's description.
//
// A module owns its table's registration, the hooks that MibAccessHandle runs around the callback chains,
// queries, and the table file. Rows are plain records (see table_desc.h) behind void pointers; the functions
// with the table's own names and types (sTcontTable_createEntry, ...) are thin forwards to its TableModule:
//
//     static TableModule module(sTcontTable_desc, {mib_save_sTcontTable_backdoor, sTcontTable_Meter,
//                                                  sTcontTable_Comparator});
//
// Unless said otherwise a member function is called under the table's mutex, or on the main thread during
// start-up. Modules live as long as the process.
#pragma once

#include <array>
#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <span>
#include <string>
#include <vector>

#include "mmg_access.h"
#include "mmg_internal.h"
#include "mmg_mib_save_task.h"
#include "mmg_text.h"
#include "ovralist.h"
#include "table_desc.h"
#include "table_snmp_types.h"

class TableFile;
class TableFileWriter;
class TableModule;

// The module of a record type: table_of<ov_sTcontTable_attr_t>::module().
template <typename Row>
struct table_of;

// The class object of a table. The hooks get its first member and find the module behind it.
struct TableModuleClass {
    MibHandler handler;
    TableModule* module;
};

// Functions of a table that are handed on as plain function pointers.
struct TableFunctions {
    MIBTABLE_SAVE_FUNC save_backdoor;        // mib_save_<table>_backdoor
    element_meter meter;                     // <table>_Meter
    element_comparator comparator;           // <table>_Comparator
    netsnmp_node_handler* handler = nullptr; // <table>_handler; null keeps the table from the agent
    void (*send_trap)(void* row) = nullptr;  // <table>_Send_Trap; called behind each change of a row
};

// The saves of a table's file since the start.
struct TableSaves {
    unsigned done = 0;
    unsigned failed = 0;
    time_t last_at = 0;       // of either kind, at its end: wall clock, seconds; 0 for none yet
    bool last_failed = false; // the file is that of an earlier save
    uint32_t last_us = 0;     // how long it took, microseconds
};

class TableModule {
public:
    static constexpr size_t MAX_INDEX_COLUMNS = 8;
    static constexpr size_t MAX_INDEX_TEXT = 640; // longest index text of a log line, with its terminator

    // Keeps references to both; enters itself in table_module_list(). Nothing is registered yet.
    TableModule(const TableDesc& desc, const TableFunctions& functions);
    TableModule(const TableModule&) = delete;
    TableModule& operator=(const TableModule&) = delete;

    // ---- life (table_module.cpp) ------------------------------------------------------------------

    // init_<table>: OID, registration, load, entry in the save registry, and the load once more: its rows
    // are all there already, so it only prints a line for each.
    void init();
    // init_<table>_oid: puts the product's enterprise number into the table's OID.
    void init_oid();
    // initialize_table_<table>: registers the table with the store and, in a program that has one, with the
    // agent, and loads its file.
    void initialize_table();
    // initialize_table_<table>_data: the store side alone. An empty table; rows that it had are gone.
    void initialize_table_data();

    // <table>Class_new: a class object of this table, null without memory. It lives as long as the process.
    TableModuleClass* class_new();
    // <table>Class_ctor: fills in the hooks.
    void class_ctor(TableModuleClass* object);

    const TableDesc& desc() const { return desc_; }
    const char* name() const { return desc_.name; }
    // The table's identity, which must be fetched at each use.
    MIBDID did() const { return mmg_table_did_getbyindex(desc_.registry_index); }
    // <table>_oid.
    std::span<const oid> table_oid() const { return oid_; }
    // Whether managers can't write to the table yet: an application module is to act on its rows, and none
    // has registered callbacks on it.
    bool awaits_module() const;
    // Whether the table has been registered.
    bool registered() const { return class_ != nullptr; }

    // ---- rows (table_module.cpp) ------------------------------------------------------------------

    // <table>_SetIndex: writes the index columns of a record. Values are as many as there are index columns;
    // signed ones pass as their 32 bits.
    void set_index(void* entry, std::span<const uint32_t> index) const;
    // <table>_createEntry: makes a row with the default in every column (and its shadow), row status 0, and
    // returns the stored row; null without memory. A row that exists is returned as it is. Logs "create".
    // The key is the head of any record of the table.
    void* create_entry(const void* key);
    // The same from the index values: create_entry_at(shelfID, slotID, ...).
    template <std::integral... Index>
    void* create_entry_at(Index... index) {
        std::array<uint32_t, sizeof...(Index)> values{static_cast<uint32_t>(index)...};
        return create_entry_from(values);
    }
    template <std::integral... Index>
    void set_index_at(void* entry, Index... index) const {
        std::array<uint32_t, sizeof...(Index)> values{static_cast<uint32_t>(index)...};
        set_index(entry, values);
    }
    // <table>_removeEntry: deletes the row with this key. Logs "remove".
    void remove_entry(void* entry);

    // ---- text (table_text.cpp) --------------------------------------------------------------------

    // <table>_get_index_string: "entry [shelfID:1 slotID:2 ]", cut to length - 1 characters, in index_info,
    // which is returned; "NULL" for a null entry.
    char* index_string(const void* entry, char* index_info, int length) const;
    // <table>_Dump: the row on standard output; nothing for null.
    void dump(const void* row) const;
    // The same text.
    std::string dump_text(const void* row) const;
    // The value of a column, index columns included: numbers in decimal, addresses dotted, binaries in hex.
    static std::string column_text(const ColumnDesc& column, const void* row);
    // The same for logs and dumps: a secret is "***", whatever it is.
    static std::string log_text(const ColumnDesc& column, const void* row);

    // ---- hooks (table_hooks.cpp) ------------------------------------------------------------------

    // <table>Class_mibAccessStart: makes `row` the complete row that the operation reads or would write; 0
    // refuses. A changed column has its old value in its shadow. A created row is in the table from here on.
    char access_start(int type, void* row, const MIB_Flags_t& flags);
    // <table>Class_mibAccessFinish: commits `row`, or takes a created row back if `result` is 0.
    void access_finish(char result, int type, void* row, const MIB_Flags_t& flags);
    // <table>_Send_Trap: called behind each change of a row, by the hooks and by the handler of managers'
    // requests. The row is read only.
    void send_trap(void* row) const;
    // <table>Class_GetRowStatus: the ROW_MODE of a row.
    int row_mode(const void* row) const;
    // Whether a row that waited becomes active by this write.
    bool is_activation(const void* row) const;

    // ---- queries (table_query.cpp) ----------------------------------------------------------------

    // <table>_CompareIndex: 0 equal, -1 when entry1 is the greater, 1 when it is the smaller. Signed columns
    // compare signed. Any thread.
    int compare_index(const void* entry1, const void* entry2) const;
    // <table>_ComparePartIndex: the same on the index columns that have their bit (0 for the first) in flag.
    int compare_part_index(const void* entry1, const void* entry2, int flag) const;
    // <table>_Meter.
    size_t meter() const { return desc_.entry_size; }
    // <table>Class_QBC: the number of rows that agree with `row` on the index columns in index_flag (or for
    // which private_compare answers 0). If if_return_result is set, `result` (an initialised list) gets
    // copies of them, sorted by sort_compare or the index. Costs by matches when index_flag chooses leading
    // index columns, else by rows. Takes the table's mutex; any thread.
    int query_by_condition(void* row, int index_flag, int if_return_result, ovralist_t* result,
                           element_comparator sort_compare, Mib_Index_Compare_Ptr private_compare);

    // ---- rows in place (table_query.cpp) ------------------------------------------------------------

    // The stored row of a key, null for none. The key is the head of any record of the table.
    const void* find_row(const void* key) const;
    // The first stored row that agrees with `key` on the first `leading` index columns, and the one behind a
    // row so found; null at the end. Costs by key length, whatever the table's size. With `leading` 0 all
    // rows are walked, and the key may be null. A row must not be deleted before the step behind it.
    const void* first_row_under(const void* key, size_t leading) const;
    const void* next_row_under(const void* row, size_t leading) const;
    // The first stored row whose key isn't below that of `key`, of which the first `columns` index columns
    // count and the rest is zeros; null at the end.
    const void* row_at_or_above(const void* key, size_t columns) const;
    // Raised by every change of the table: what is derived from its rows is good as long as this stands.
    // 64 bits wide, so that it never comes round, and therefore under the table's mutex like the rows.
    uint64_t generation() const { return generation_; }

    // ---- file (table_file.cpp) --------------------------------------------------------------------

    // mib_load_<table>: finds the file's path, makes the directory, and adds the file's rows. Rows that are
    // there already stay as they are, with a line on standard output each. Runs no callback. If the last save
    // was cut off when its content was whole (table_file_copy.h), the file is first written anew from it.
    // Takes the table's mutex; start-up.
    void load();
    // mib_save_<table>_internal: rewrites the file in place, behind a copy of the new content. Does nothing
    // before the first load. Failures are logged; one of a full disk leaves the file as it was. Takes the
    // table's mutex; any thread.
    void save_file();
    // How often that has been asked for, failures included: whoever sets the file aside for a while sees by
    // it whether somebody has saved the table meanwhile. Any thread.
    unsigned saves() const { return saves_; }
    // What became of them. Takes the table's mutex; any thread.
    TableSaves save_record() const;
    // mib_save_<table>: notes that the table has changed. No file is written.
    void mark_changed() {
        changed_.store(true, std::memory_order_relaxed);
        ++generation_;
    }
    // mib_save_<table>_changed: save_file() if the table has been marked; clears the mark.
    void save_if_changed();
    bool changed() const { return changed_; }
    // The file's path; empty before the first load.
    const char* path() const { return path_.data(); }

    // ---- answers to managers ----------------------------------------------------------------------

    // Which text columns of which rows hold bytes and not a text: a GET answers them as a whole, zeros
    // included. Start-up.
    using WholeText = bool (*)(const ColumnDesc& text, const void* row);
    void set_whole_text(WholeText is_whole) { is_whole_text_ = is_whole; }
    bool is_whole_text(const ColumnDesc& text, const void* row) const {
        return is_whole_text_ != nullptr && is_whole_text_(text, row);
    }

    // ---- inspection: any thread -------------------------------------------------------------------

    int row_count() const;
    mmg_table_memory_t memory() const;
    // The dump of the row with these index values, empty when there is none or their number is wrong.
    std::string row_text(std::span<const uint32_t> index) const;

private:
    static MIB_Flags_t find_missing_columns(const TableDesc& desc);

    void register_with_store();
    void* create_entry_from(std::span<const uint32_t> index);
    void* add_default_row();
    const char* owner_word() const; // who works on the table, for the log
    void copy_row(void* to, const void* from) const;

    char read_row(void* row, const void* found) const;
    char start_on_stored(int type, void* row, void* stored, const MIB_Flags_t& flags);
    char start_on_absent(int type, void* row, const MIB_Flags_t& flags);
    char start_blank_row(void* row, int32_t status);
    char start_filled_row(void* row, const MIB_Flags_t& flags);
    char merge(void* row, const void* stored, const MIB_Flags_t& flags) const;

    void finish_blank_row(char result, void* row, int32_t old_status, int32_t status);
    void finish_set_of_status(char result, void* row);
    void store_row(void* row);
    void commit(void* row);
    void commit_delete(void* row);

    void* first_at_or_above(std::array<uint32_t, MAX_INDEX_COLUMNS> key) const;
    template <typename Visit>
    void visit_all(Visit visit) const;
    template <typename Visit>
    void visit_matches(const void* row, int index_flag, Visit visit) const;

    bool find_path();
    bool write_file();
    void add_rows(const TableFile& file, uint64_t size);
    void find_cut_off_save();
    void find_set_aside_file() const;
    bool finish_cut_off_save();
    uint64_t write_rows(TableFileWriter& writer) const;
    bool write_file_from(const TableFile& copy, uint64_t size);

    const TableDesc& desc_;
    TableFunctions functions_;
    TableModuleClass* class_ = nullptr;
    netsnmp_handler_registration* registration_ =
        nullptr; // the agent's; null for a table that it doesn't know
    std::vector<oid> oid_;
    std::vector<std::byte> default_row_; // a blank record: defaults in columns and shadows
    MIB_Flags_t missing_columns_{};
    std::array<char, 256> path_{};
    bool copy_is_needed_ = false; // beside the file stands a copy that is better
    std::atomic<bool> changed_ = false;
    std::atomic<unsigned> saves_ = 0;
    TableSaves save_record_; // under the table's mutex
    WholeText is_whole_text_ = nullptr;
    uint64_t generation_ = 0;
};

// All table modules of the program that have been used, in order of their registry index. Any thread.
std::vector<TableModule*> table_module_list();
// The module of a table, by name ("sTcontTable") or registry index; null for one that has none. Any thread.
TableModule* table_module_find(const char* name);
TableModule* table_module_find(int registry_index);
