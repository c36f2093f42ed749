// The daemon's list of interfaces: one record per port or ONU that the controller or the daemon made.
//
// Records live in an AVL tree keyed by ifindex with room for 30720, allocated once, so that interfaces
// that come and go don't allocate. A record is owned by the list and valid until uif_delete. Event
// loop's thread only.
#pragma once

#include <cstdint>

#include "ov_ifindex.h"
#include "ov_types.h"

struct avl_tree_s;

inline constexpr int UIF_MAX = 30720;
inline constexpr int UIF_NAME_SIZE = 20;

// Bits of uif_t::flags, the host's IFF_UP and IFF_RUNNING.
enum : uint64_t { UIF_FLAG_UP = 0x1, UIF_FLAG_RUNNING = 0x40 };

struct uif_t {
    ov_ifindex_t ifindex; // first: a command node's object is read through it
    char name[UIF_NAME_SIZE];
    uint64_t flags;
    uint32_t speed;
    uint32_t duplex;
    char onu_sn[32]; // at most 31 characters
};

extern struct avl_tree_s* g_uif_avl;

// Makes the tree; called once at start, later calls do nothing. 0, or -1 without memory. Until then
// nothing is found and nothing can be made.
int uif_init();
// For tests only: frees all records and the tree, so that uif_init starts afresh.
void uif_deinit();
// For avl_create: orders records by ifindex.
int uif_cmp_func(void* data, void* info);

// The record of an index, made when there is none yet, with the name of ov_gen_ifname_by_ifindex. Null
// when the list is full or the index has no name.
uif_t* uif_create_by_ifindex(ov_ifindex_t ifindex);
// The same by name; null for a name that doesn't parse.
uif_t* uif_create_by_name(const char* name);

// Look-ups; null when absent.
uif_t* uif_lookup_by_index(ov_ifindex_t ifindex);
uif_t* uif_lookup_by_name(const char* name);
uif_t* uif_lookup_by_name_len(const char* name, uint32_t len);
// Looks the name up as typed, extended to its canonical form (gp1/1 finds gpon-olt1/1).
uif_t* uif_get_by_name(const char* name);
// The same, giving the index, or OV_IFINDEX_INVALID when there is no such interface.
ov_ifindex_t uif_get_ifindex_by_name(const char* name);
// The name of an index in the list, "unknown" for one that isn't.
const char* uif_ifindex_to_name(ov_ifindex_t ifindex);

// Takes the record out and clears it; null does nothing. It may be used for another PON port or ONU; that of
// any other port stays clear until the port is back, since a session may stand on it.
void uif_delete(uif_t* uif);

bool uif_is_up(const uif_t* uif);
bool uif_is_running(const uif_t* uif);

// The uplink port at a position: the XE port or else the GE port that the list has there; null without.
uif_t* uif_get_uplink_port_by_phy_info(uint8_t shelf, uint8_t slot, uint16_t port);

// The canonical form of a name as typed at the command line, into a buffer of 20 bytes (UIF_NAME_SIZE).
// Returns the buffer, or null when the name is shorter than 4 or longer than 20 characters, isn't a
// port, trunk, PON port or ONU, or has a canonical form that the buffer can't hold.
char* uif_extend_ifname(char* extend_name, const char* name);
// The forms that it tries, by the name's first letters; without the test of the length.
// f1/1, fe1/1 give fe1/1, likewise ge and xe; what stands behind the two numbers is kept.
char* if_extend_physics_port(char* extend_name, const char* name);
// Any beginning of "trunk" and a number from 1 to 16: t3 gives trunk3.
char* if_extend_trunk(char* extend_name, const char* name);
// Any beginning of "gpon-olt" and exactly "S/P", or of "gpon-onu" and "S/P:O": gp1/1 gives gpon-olt1/1.
char* if_extend_gpon(char* extend_name, const char* name);

// Slot of the card whose agent serves the object; logs "not suport type %d" and gives 0 for kinds that no
// agent serves.
uint32_t uif_get_agt_slotid_by_ifindex(ov_ifindex_t ifindex);

// Role of a PON port in its protection group. The answers come from the protection module, installed by
// main; without it a port is in no group.
struct uif_pon_protect_queries {
    bool (*is_member)(ov_ifindex_t);
    ov_ifindex_t (*pair_port)(ov_ifindex_t); // OV_IFINDEX_INVALID without a partner
    bool (*is_protect)(ov_ifindex_t);
    bool (*is_work)(ov_ifindex_t);
};
void uif_set_pon_protect_queries(const uif_pon_protect_queries* queries);
bool uif_is_pon_protect_group_member(ov_ifindex_t ifindex);
ov_ifindex_t uif_get_pon_protect_group_pair_port(ov_ifindex_t ifindex);
bool uif_is_pon_protect_group_member_protect_pon(ov_ifindex_t ifindex);
bool uif_is_pon_protect_group_member_work_pon(ov_ifindex_t ifindex);
