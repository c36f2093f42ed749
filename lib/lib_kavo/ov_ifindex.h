// The interface index: the packed 32-bit identity of every port and GPON object.
//
//   bits  31..27  26     25..21  20..19  18..15  14..7     6..0
//   field kind    shelf  slot    card    port    subport   extend1 (kind 13: 2 + 2 + 3 bits)
//
// A kind selects a profile, the profile gives the widths of the fields, and the same get and set
// routines serve all kinds. Fields that users count from 1 are stored from 0. Values are masked to
// their field without any error: port 17 is port 1, ONU 257 is ONU 1, shelf 2 is shelf 0.
//
// No locks, no allocation; the getters are table look-ups with shifts and run from any thread. Only the
// two functions with static buffers belong to the event loop's thread.
#pragma once

#include <cstdint>

#include "ov_types.h"

enum : uint16_t {
    PORT_TYPE_FABRIC = 0,
    PORT_TYPE_FE = 1,
    PORT_TYPE_GE = 2,
    PORT_TYPE_XE = 3,
    PORT_TYPE_CE = 4,
    PORT_TYPE_TRUNK = 5,
    PORT_TYPE_VLANIF = 6,
    PORT_TYPE_LO = 7,
    PORT_TYPE_ETH = 8,
    PORT_TYPE_GPON = 9,
    PORT_TYPE_GONU = 10,
    PORT_TYPE_GEMPORT = 11,
    PORT_TYPE_GPON_SERVPORT = 12,
    PORT_TYPE_GPON_ONU_UNI = 13,
    PORT_TYPE_MGMT = 14,
    PORT_TYPE_MAX = 15,
};

enum ov_ifindex_profile_type : uint8_t {
    OV_IFIDX_PROFILE_INVALID = 0,
    OV_IFIDX_PROFILE_LOGIC = 1,
    OV_IFIDX_PROFILE_PHY_PORT = 2,
    OV_IFIDX_PROFILE_PHY_SUBPORT = 3,
    OV_IFIDX_PROFILE_PON_ONU_GEM = 4,
    OV_IFIDX_PROFILE_PON_ONU_SRVPORT = 5,
    OV_IFIDX_PROFILE_PON_ONU_UNI = 6,
    OV_IFIDX_PROFILE_MAX = 7,
};

// Kinds of UNI in the extend2 field of a PORT_TYPE_GPON_ONU_UNI index.
enum : uint16_t { OV_UNI_ETH = 0, OV_UNI_POTS = 1, OV_UNI_VEIP = 2, OV_UNI_VIDEO = 3 };

// Text prefix of each kind; row 15 is "invalid".
extern const char* const g_port_type_str[16];

typedef ov_ifindex_t (*PFUN_GEN_IFINDEX_BY_NAME)(uint16_t port_type, const char* name);
typedef char* (*PFUN_GEN_NAME_BY_IFIDEX)(ov_ifindex_t ifindex, char* name, uint32_t max_len);

// One row of the profile table. bits_* are widths in bits, 0 for a field the profile doesn't have; a set
// *_0_used flag means that the field is counted from 1 and stored from 0.
struct ov_ifindex_profile {
    uint8_t profileid;
    uint8_t bits_type;
    uint8_t bits_field1; // shelf
    uint8_t bits_field2; // slot
    uint8_t bits_field3; // card
    uint8_t bits_field4; // port
    uint8_t bits_field5; // subport, or the logic id
    uint8_t bits_field6; // extend1
    uint8_t bits_field7; // extend2
    uint8_t bits_field8; // extend3
    uint8_t field1_0_used;
    uint8_t field2_0_used;
    uint8_t field3_0_used;
    uint8_t field4_0_used;
    uint8_t field5_0_used;
    uint8_t field6_0_used;
    uint8_t field7_0_used;
    uint8_t field8_0_used;
    PFUN_GEN_IFINDEX_BY_NAME pf_gen_ifindex_by_name; // null: names of this profile can't be parsed
    PFUN_GEN_NAME_BY_IFIDEX pf_gen_name_by_ifindex;  // null: the profile has no names
};
extern const ov_ifindex_profile g_ov_ifindex_profile_table[OV_IFIDX_PROFILE_MAX];

// ---- generators: none validates its arguments --------------------------------------------------

// Profile number of a kind; OV_IFIDX_PROFILE_INVALID for anything above 14.
ov_ifindex_profile_type _get_ifidx_profile(uint16_t port_type);

// Kind and 16-bit id OR-ed together; an id of 32768 or more spills into the port field.
ov_ifindex_t ov_ifindex_gen_by_vlan_id(uint16_t vlanid);
ov_ifindex_t ov_ifindex_gen_by_trunk_id(uint16_t trunkid);
ov_ifindex_t ov_ifindex_gen_by_loopback_id(uint16_t loopback);

// Kind and logic id through the profile, masked to 15 bits.
ov_ifindex_t ov_ifindex_gen_by_logicinfo(uint16_t iftype, uint16_t logic_port);

// Users' numbers, from 1 where the field counts from 1.
ov_ifindex_t ov_ifindex_gen_by_phyinfo(uint16_t iftype, uint8_t shelf, uint8_t slot, uint8_t card,
                                       uint16_t port, uint16_t subport);
ov_ifindex_t ov_ifindex_gen_by_extendinfo(uint16_t iftype, uint8_t shelf, uint8_t slot, uint8_t card,
                                          uint16_t port, uint16_t subport, uint16_t extend1, uint16_t extend2,
                                          uint16_t extend3);

// Set further fields of an existing index by XOR: the fields to be set must be 0 in the source, and the
// kinds of source and iftype combine. For other daemons of the platform; this one calls neither.
ov_ifindex_t ov_ifindex_gen_by_subport_id(uint16_t iftype, ov_ifindex_t port_ifindex, uint16_t subport);
ov_ifindex_t ov_ifindex_gen_by_subport_extendid(uint16_t iftype, ov_ifindex_t subport_ifindex,
                                                uint16_t extend1, uint16_t extend2, uint16_t extend3);

// ---- getters: a field the profile doesn't have logs an error and reads 0 -------------------------

uint16_t ov_ifindex_get_port_type(ov_ifindex_t ifindex);
uint32_t ov_ifindex_get_shelf_id(ov_ifindex_t ifindex);
uint32_t ov_ifindex_get_slot_id(ov_ifindex_t ifindex);
uint32_t ov_ifindex_get_card_id(ov_ifindex_t ifindex);
uint32_t ov_ifindex_get_port_id(ov_ifindex_t ifindex);
uint32_t ov_ifindex_get_subport_id(ov_ifindex_t ifindex);
uint32_t ov_ifindex_get_extend1_id(ov_ifindex_t ifindex);
uint32_t ov_ifindex_get_extend2_id(ov_ifindex_t ifindex);
uint32_t ov_ifindex_get_extend3_id(ov_ifindex_t ifindex);

// The subport field, cut to 16 bits.
uint16_t ov_ifindex_get_vlan_id(ov_ifindex_t ifindex);
uint16_t ov_ifindex_get_trunk_id(ov_ifindex_t ifindex);
uint16_t ov_ifindex_get_loopback_id(ov_ifindex_t ifindex);
uint16_t ov_ifindex_get_eth_id(ov_ifindex_t ifindex);
uint16_t ov_ifindex_get_fabric_port_id(ov_ifindex_t ifindex);

// The low-level pair. A length of 0 reads 0 or sets nothing; above 32 prints "bad filed_len %d" to
// standard output and does the same. Setting XORs, as the two subport generators rely on.
uint32_t _get_int32_field(uint32_t index, uint8_t field_len, uint8_t field_offset);
uint32_t _set_int32_field(uint32_t index, uint32_t newvalue, uint8_t field_len, uint8_t field_offset);

// ---- names ---------------------------------------------------------------------------------------

// Writes the name into ifname (size name_len; the longest result has name_len - 2 characters). Returns
// the buffer, or null for a null buffer, a name_len below 2, or a kind without names.
char* ov_gen_ifname_by_ifindex(ov_ifindex_t ifindex, char* ifname, uint32_t name_len);
// The same into one static buffer of 20 bytes, valid until the next call; null where the above is null.
char* ov_get_ifname_by_ifindex(ov_ifindex_t ifindex);
// The index of a name of any kind, or OV_IFINDEX_INVALID. Numbers missing from the text keep their
// default (shelf 1, slot 1, all others 0).
ov_ifindex_t ov_ifindex_gen_by_name(const char* ifname);
// All fields as text, for debugging, in one static buffer of 8192 bytes.
const char* ov_get_detail_by_ifindex(ov_ifindex_t ifindex);
