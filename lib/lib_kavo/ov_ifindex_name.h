// Names of interface indexes, one pair of functions for each profile. Users of names call
// ov_gen_ifname_by_ifindex and ov_ifindex_gen_by_name (ov_ifindex.h), which find the pair.
#pragma once

#include <cstdint>

#include "ov_ifindex.h"

// Text prefix of a kind; "invalid" for those above 14.
const char* ov_port_type_text(uint16_t port_type);

// The kind of a name: the first whose prefix stands in front of something; PORT_TYPE_MAX when there is
// none. Never PORT_TYPE_MGMT, whose prefix is that of PORT_TYPE_ETH.
uint16_t ov_port_type_of_name(const char* name);

// The index of a name whose kind is known: the text behind the kind's prefix (which isn't looked at) is
// read up to where it departs from the name's form, and what is missing keeps its default: shelf 1, slot
// 1, all others 0. OV_IFINDEX_INVALID for a null or empty name ("ifname str is NULL.") and for one that
// isn't longer than the prefix. Numbers are decimal with an optional sign; beyond 32 bits they count as
// the nearest that fits, and all are then cut to their field.
ov_ifindex_t ov_ifindex_gen_by_logic_portname(uint16_t port_type, const char* name);
ov_ifindex_t ov_ifindex_gen_by_physic_portname(uint16_t port_type, const char* name);
ov_ifindex_t ov_ifindex_gen_by_physic_subportname(uint16_t port_type, const char* name);
ov_ifindex_t ov_ifindex_gen_by_gpon_onugem_name(uint16_t port_type, const char* name);
ov_ifindex_t ov_ifindex_gen_by_gpon_onusrv_name(uint16_t port_type, const char* name);
ov_ifindex_t ov_ifindex_gen_by_gpon_onuuni_name(uint16_t port_type, const char* name);

// The name of an index, cut to max_len - 2 characters. Returns the buffer, or null for a null buffer
// ("ifname str is NULL."), a max_len below 2, and, in the last three, an index of another kind.
char* ov_ifindex_gen_logic_portname(ov_ifindex_t ifindex, char* name, uint32_t max_len);
char* ov_ifindex_gen_physic_portname(ov_ifindex_t ifindex, char* name, uint32_t max_len);
char* ov_ifindex_gen_physic_subportname(ov_ifindex_t ifindex, char* name, uint32_t max_len);
char* ov_ifindex_gen_gpon_onugem_name(ov_ifindex_t ifindex, char* name, uint32_t max_len);
char* ov_ifindex_gen_gpon_onusrv_name(ov_ifindex_t ifindex, char* name, uint32_t max_len);
char* ov_ifindex_gen_gpon_onuuni_name(ov_ifindex_t ifindex, char* name, uint32_t max_len);
