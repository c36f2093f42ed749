// The SNMP side of the tables: what the agent library calls for requests of managers, the same code for all
// tables, driven by their descriptions.
//
// A registered table is a chain of the library's handlers:
//
//     bulk_to_next | read_only    of the library: GETBULK as GETNEXT; notWritable for a table without writing
//     table                       of the library: column number and index out of the object identifier
//     row finder                  table_snmp_find: attaches the row to each request
//     <table>_handler             table_snmp_handler: GET and the phases of SET on those rows
//
// The finder stands where the library's table iterator would: that one walks the whole table for each
// request. It attaches the row under the iterator's name, so that netsnmp_extract_iterator_context gives it.
//
// SET phases of one request are messages of their own, between which the event loop runs: a row may go away
// in between. The finder looks it up anew in each phase. What a phase leaves behind for the next stands in
// the row itself: the old_ shadows hold what an undo brings back.
//
// Event loop's thread; the handlers take the table's mutex.
#pragma once

#include "table_snmp_types.h"

class TableModule;

// Whether the agent library can take registrations. False in programs that have no agent.
bool table_snmp_available();

// The registration of a table, with its handler and the finder, not yet known to the agent; null without
// memory. The caller hands it to table_snmp_register.
netsnmp_handler_registration* table_snmp_create(TableModule& module, netsnmp_node_handler* handler);
// Puts the library's helper with index types and column range in front and makes the table known to the
// agent, which owns the registration from then on. False, with a log line, if the agent refuses; the
// registration is gone then.
bool table_snmp_register(const TableModule& module, netsnmp_handler_registration* registration);

// <table>_handler: runs `work` (<table>_In_Handler) under the table's mutex, with the table marked as
// operated by SNMP for the wording of its logs. Returns what `work` returns.
int table_snmp_handler(TableModule& module, netsnmp_node_handler* work, netsnmp_mib_handler* handler,
                       netsnmp_handler_registration* reginfo, netsnmp_agent_request_info* reqinfo,
                       netsnmp_request_info* requests);
// <table>_In_Handler: serves MODE_GET and the phases of SET; anything else does nothing. Always 0: errors are
// carried by the requests.
int table_snmp_in_handler(TableModule& module, netsnmp_agent_request_info* reqinfo,
                          netsnmp_request_info* requests);

// <table>_get_first_data_point, <table>_get_next_data_point: the steps of a walk in the form of the library's
// table iterator. The loop context is the row that the next step gives, null at the end; the data context is
// the row given now, whose index goes into the chain of variables. Null at the end. The caller holds the
// table's mutex.
netsnmp_variable_list* table_snmp_first_data_point(const TableModule& module, void** loop_context,
                                                   void** data_context, netsnmp_variable_list* index);
netsnmp_variable_list* table_snmp_next_data_point(const TableModule& module, void** loop_context,
                                                  void** data_context, netsnmp_variable_list* index);
