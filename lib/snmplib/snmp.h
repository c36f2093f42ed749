// Object identifiers, and the checks that lookup functions of scalar objects and tables begin with. Any
// thread.
#pragma once

#include <netinet/in.h>

#include <cstddef>

#include "snmp_agent_library.h"

// Results of smux_header_generic() and smux_header_table(); those of the library's own functions.
#ifndef MATCH_SUCCEEDED
#define MATCH_SUCCEEDED 0
#define MATCH_FAILED (-1)
#endif

// Negative, 0 or positive as o1 sorts before, with or behind o2 (RFC 2578, 7.1.3: by arcs, the prefix first).
int oid_compare(const oid* o1, int o1_len, const oid* o2, int o2_len);

// Copies size arcs; the areas may overlap. Returns dest.
oid* oid_copy(oid* dest, const oid* src, size_t size);

// Fills in the first len bytes (at most 4) of an address from as many arcs; of each arc the low eight bits.
void oid2in_addr(const oid* from, int len, struct in_addr* addr);
// The first len bytes (at most 4) of an address as arcs.
void oid_copy_addr(oid* to, const struct in_addr* addr, int len);

// For the scalar object v: matches name and *length against v's name with ".0" behind it; exactly for a GET
// (exact 1), from below for a GETNEXT (0). On a match writes the instance's name there, clears *write_method
// and sets *var_len to the size of the library's integer. `name` has room for MAX_OID_LEN arcs.
int smux_header_generic(struct variable* v, oid* name, size_t* length, int exact, size_t* var_len,
                        WriteMethod** write_method);
// For the table column v: matches if name lies below v, or before it for a GETNEXT, and then starts it at v.
int smux_header_table(struct variable* v, oid* name, size_t* length, int exact, size_t* var_len,
                      WriteMethod** write_method);
