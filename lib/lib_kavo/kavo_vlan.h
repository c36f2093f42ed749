// The daemon's list of VLANs and of the ports' membership in them.
//
// VLAN ids run from 1 to 4094 (IEEE 802.1Q; 0 and 4095 are reserved), VLAN 1 always exists. A port's
// membership is kept in the record that the controller sends and takes (umsg_vlan_port_t). Every function
// takes any number for an id: outside the range there is no VLAN. Event loop's thread only.
//
// Results: KAVO_OK, KAVO_PARAM (null, or an id that can't be), KAVO_ERR (no such VLAN or port),
// KAVO_MEMORY. A call that fails changes nothing.
#pragma once

#include <cstdint>

#include "ov_types.h"
#include "umsg.h"

inline constexpr uint32_t UVLAN_MIN = 1;
inline constexpr uint32_t UVLAN_MAX = 4094;
inline constexpr uint16_t UVLAN_DEFAULT = 1;
inline constexpr int UVLAN_NAME_SIZE = 33; // bytes, with the terminator

// A VLAN; owned by the list and valid until _uvlan_del.
struct uvlan_entry_t {
    uint16_t vid;
    char name[UVLAN_NAME_SIZE]; // "vlan<id>" until vlan_set_entry gives another
};

// ---- sets of VLANs -----------------------------------------------------------------------------

// Puts a VLAN into the set or takes it out; false for an id out of range, which no set holds.
bool uvlan_set_add(uvlan_t* set, uint32_t vid);
bool uvlan_set_remove(uvlan_t* set, uint32_t vid);
bool uvlan_set_has(const uvlan_t* set, uint32_t vid);

// ---- VLANs -------------------------------------------------------------------------------------

// Empties the list and creates VLAN 1. KAVO_OK or KAVO_MEMORY.
uint32_t uvlan_init();
// The VLAN, made when there is none yet; null for an id out of range or without memory.
uvlan_entry_t* uvlan_create(uint32_t vid);
// The VLAN, or null.
uvlan_entry_t* vlan_get_entry(uint32_t vid);
// Takes over the entry's name (cut to 32 characters; empty is the name it is born with) for its VLAN,
// which is made when there is none yet.
uint32_t vlan_set_entry(const uvlan_entry_t* entry);
// The VLAN's name, "unknown" for one that doesn't exist.
const char* uvlan_get_name(uint32_t vid);
// Sets aside the lowest id that is neither a VLAN nor set aside, for a VLAN to be created; 0 when there is
// none. uvlan_create of the id, or _uvlan_del, ends the reservation.
uint16_t vlan_prealloc_vid();
// Deletes the VLAN: ports leave it, and those that had it as their own fall back to VLAN 1. VLAN 1 stays
// (KAVO_PARAM).
uint32_t _uvlan_del(uint32_t vid);

// ---- ports -------------------------------------------------------------------------------------

// Makes the record of a port: a member of no VLAN, its own VLAN (pvid) 1. A port that is there stays as it
// is.
uint32_t uvlan_port_add(ov_ifindex_t ifindex);
// The port joins, or leaves, every VLAN of the record's set; with linking it takes over the record's tag
// (its frames carry VLAN tags). All VLANs of a set to join must exist.
uint32_t uvlan_port_link(const umsg_vlan_port_t* link);
uint32_t uvlan_port_unlink(const umsg_vlan_port_t* link);
// The port leaves all VLANs and its record goes. An unknown port is KAVO_OK.
uint32_t uvlan_port_deinit(ov_ifindex_t ifindex);
// Whether the port is a member of the VLAN.
bool uvlan_is_in_port(ov_ifindex_t ifindex, uint32_t vid);
// Sets the VLAN of the port's untagged frames; the VLAN must exist.
uint32_t uvlan_set_pvid(ov_ifindex_t ifindex, uint32_t vid);
// The port's record, valid until uvlan_port_deinit; null for an unknown port.
const umsg_vlan_port_t* uvlan_port_get(ov_ifindex_t ifindex);

// ---- command line ------------------------------------------------------------------------------

// Parses one word of a VLAN list: an id, or two joined by '-' of which the first isn't the greater. 1 with
// the first and last id in *min and *max, or 0, which leaves them alone.
int vlan_range_match(const char* range, uint16_t* min, uint16_t* max);
