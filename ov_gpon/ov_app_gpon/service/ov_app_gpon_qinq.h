// QinQ rules: a service VLAN that the card adds to matching upstream traffic (IEEE 802.1ad), by PON port or
// by ONU.
//
// A rule lives in three places: the application's list, of which cards are told again and which a saved
// configuration consists of; the row in smartQinqTable; and the card. It is in all three or in none, but for
// two cases: after a row that couldn't be written the card keeps a rule that the application has forgotten,
// and so it does after a delete that it refused. Managers don't see the table and no file holds it.
//
// A port and its ONUs exclude each other: while one of them has rules, the other can't have any.
//
// Event loop's thread. What is sent waits for the card.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "ov_ifindex.h"
#include "ov_types.h"

// Bits of a rule's opflag: by what it tells the frames that it is for.
enum : unsigned {
    OV_GPON_ONU_QINQ_OP_PORT_ALL = 1, // in no rule; asks for all of an interface to be deleted
    OV_GPON_ONU_QINQ_OP_PORT_TSP =
        2, // all that comes; an interface has one such rule, and no other behind it
    OV_GPON_ONU_QINQ_OP_USERVLAN = 3,
    OV_GPON_ONU_QINQ_OP_USERVLAN_RANGE = 4, // on PON ports only
    OV_GPON_ONU_QINQ_OP_ETHTYPE = 5,
    OV_GPON_ONU_QINQ_OP_COS = 6,
    OV_GPON_ONU_QINQ_OP_MAX = 7,
};
constexpr uint16_t ov_gpon_qinq_op(unsigned bit) {
    return static_cast<uint16_t>(1u << bit);
}
// Whether a rule has a bit.
inline bool ov_gpon_qinq_has(const ov_gpon_qinq_attr_t& rule, unsigned bit) {
    return (rule.opflag & ov_gpon_qinq_op(bit)) != 0;
}

inline constexpr unsigned OV_GPON_QINQ_RULES_MAX = 32;    // of an interface; ids run from 1 to it
inline constexpr uint16_t OV_GPON_QINQ_SVLANCOS_COPY = 8; // the service tag takes the user tag's priority

// Which of the three places a call is for. Only QINQ_SYNC_MIB is looked at: the other two always run.
enum ov_app_qinq_sync_flag_t : int {
    QINQ_SYNC_MIB = 1,
    QINQ_SYNC_HAL = 2,
    QINQ_SYNC_APP = 4,
    QINQ_SYNC_ALL = 7,
};

// Start-up, in its place of the list.
void ov_app_gpon_qinq_init();

// Adds a rule, whose qinqId it fills in. 0; OV_GPON_RET_BAD_PARAM for a null record or an opflag that no rule
// can have; OV_GPON_RET_EXISTED for a rule that is there; OV_GPON_RET_FAIL when another rule is in its way,
// on an interface that can't have rules, or when card or table refused; OV_GPON_RET_NO_RESOURCE for the 33rd
// of an interface.
int ov_app_gpon_qinq_add(ov_gpon_qinq_attr_t* attr, ov_app_qinq_sync_flag_t flag);
// Deletes the rule that has the same criteria, or with OV_GPON_ONU_QINQ_OP_PORT_ALL those of the interface
// one by one until one fails. A rule that is there goes in any case. 0; OV_GPON_RET_BAD_PARAM; the codes of
// what failed, joined bit by bit; OV_GPON_RET_NOT_FOUND.
int ov_app_gpon_qinq_del(ov_gpon_qinq_attr_t* attr, ov_app_qinq_sync_flag_t flag);

// Removes all rules of a PON port, or of an ONU. 0, or the codes of what failed, joined bit by bit.
int ov_app_gpon_port_qinq_del(ov_ifindex_t ifindex);
int ov_app_gpon_onu_qinq_del(ov_ifindex_t ifindex);

// Replays the rules of a slot to its card, up to the first that fails. 0 or that one's OV_GPON_RET_*.
int ov_app_gpon_qinq_config_restore(int slot_id);

// The number of an ether type's name, 0 for "any"; the text's number, cut to 16 bits, for any other.
uint16_t ov_gpon_qinq_ethtype_parser(const char* typeStr);

// The rules of an interface in the order in which they were added.
std::vector<ov_gpon_qinq_attr_t> ov_app_gpon_qinq_rules_of(ov_ifindex_t ifindex);
// The first interface with rules that isn't below `ifindex`: PON ports come first, then ONUs. None when there
// is no more.
std::optional<ov_ifindex_t> ov_app_gpon_qinq_interface_from(ov_ifindex_t ifindex);

// With a deleted ONU its rules go; a failure keeps the ONU.
int ov_app_gpon_onu_qinq_on_onu_table_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
