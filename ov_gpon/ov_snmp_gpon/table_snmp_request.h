// Requests of the agent library as the table code sees them: column, row key, row.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "table_module.h"

// The index values of a row as the head of a record holds them.
using SnmpRowKey = std::array<uint32_t, TableModule::MAX_INDEX_COLUMNS>;

// The column that managers can read under this number: a column, or an index column that is readable; null
// for none. Numbers come from outside.
const ColumnDesc* snmp_readable_column(const TableDesc& desc, unsigned number);

// The key that a request names; false when its index isn't one of the table's: too short, too long, or with
// a number that no 32 bits hold.
bool snmp_row_key(const TableDesc& desc, const netsnmp_table_request_info& info, SnmpRowKey& key);

// The stored row that a request names, or null.
void* snmp_find_row(const TableModule& module, const netsnmp_table_request_info& info);

// The variable behind a place in a table: behind what stands in `column` below the first `given` numbers of
// an index, of which `key` holds as many as it has room for. A place needn't be a variable's; with 0 given it
// is the beginning of the column. Returns the row, and its column in `column`; null at the end of the table.
void* snmp_next_variable(const TableModule& module, unsigned& column, SnmpRowKey& key, size_t given);

// Whether callbacks fill in rows that are read; and a run of theirs on a copy of this row, for these columns.
// What they filled in is kept, whatever their result: live data replaces the stored. The row's key isn't
// theirs to change. They may remove rows, this one too.
bool snmp_has_get_chain(const TableModule& module);
void snmp_refresh_row(TableModule& module, const void* row, const MIB_Flags_t& columns);

// Attaches a row (or, with null, none) to a request, in place of what was attached before.
void snmp_attach_row(netsnmp_request_info* request, void* row);
// A row was removed: no request shall have it any more.
void snmp_detach_row(netsnmp_request_info* requests, const void* row);

// The phases of SET (table_snmp_set.cpp) and MODE_GET (table_snmp_get.cpp) of table_snmp_in_handler.
void snmp_serve_get(TableModule& module, netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests);
void snmp_serve_set(TableModule& module, netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests);

// The row finder.
netsnmp_node_handler table_snmp_find;

// A request that has been refused, or answered, or that leads out of the table, is passed over by all that
// comes behind.
inline bool snmp_is_done(const netsnmp_request_info* request) {
    return request->processed != 0;
}

// The type of an index column for the library.
inline u_char snmp_index_type(const ColumnDesc& column) {
    return column.type == ColType::INT ? ASN_INTEGER : ASN_UNSIGNED;
}
