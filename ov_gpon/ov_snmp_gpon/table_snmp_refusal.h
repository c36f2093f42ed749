// What a manager is told of a SET that is refused, and the log: which variable it was, and why.
#pragma once

#include "table_snmp_request.h"

// A phase of SET, behind the door "snmp": when it refuses a variable, one line tells the row and the reason.
// That of a check that refused, or what the error code says of the variable's value.
void snmp_serve_set_telling(TableModule& module, netsnmp_agent_request_info* reqinfo,
                            netsnmp_request_info* requests);

// The application refused the row. All variables get the error, so that the manager is told the first; where
// the check has named the column and the request has it, only that one does, and the manager is told which it
// was.
void snmp_refuse_row(const TableModule& module, netsnmp_agent_request_info* reqinfo,
                     netsnmp_request_info* requests, int error);

// A RowStatus of destroy for a row that isn't there: it asks for nothing and succeeds (RFC 2579, RowStatus).
// A null column is one that managers can't write.
bool snmp_destroys_nothing(const netsnmp_request_info* request, const ColumnDesc* column);
