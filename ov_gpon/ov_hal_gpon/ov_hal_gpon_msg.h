// GPON messages to the line cards: the catalogue (ov_hal_gpon_msg_catalogue.def) and the one way out.
//
// A record is a big-endian struct of fixed size; this layer knows its size and which card it is for, not what
// it means. Event loop's thread; a send with a reply holds it up for as long as the card takes, at most 12
// seconds a card.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "hal_msg.h"
#include "hal_request.h"

enum ov_hal_gpon_msg_action_t : int32_t {
    OV_HAL_GPON_MSG_ACTION_CREATE = 1,
    OV_HAL_GPON_MSG_ACTION_DELETE = 2,      // the keys of the record count
    OV_HAL_GPON_MSG_ACTION_SET = 3,         // the mask tells which attributes count
    OV_HAL_GPON_MSG_ACTION_GET = 4,         // what the card holds; the answer comes back in the record
    OV_HAL_GPON_MSG_ACTION_GET_CURRENT = 5, // a live reading or counter, likewise
    OV_HAL_GPON_MSG_ACTION_MAX = 6,
};

// Bit N stands for the attribute with index N of a record (OV_GPON_*_ATTR_INDEX_*).
typedef int32_t ov_bmp_t;

enum ov_hal_gpon_msg_type_t : int {
    OV_HAL_MSG_GPON_BASE = 900,
#define OV_HAL_GPON_MSG(name, value, size, dest, offset, padding) name = (value),
#include "ov_hal_gpon_msg_catalogue.def"
#undef OV_HAL_GPON_MSG
    OV_HAL_MSG_GPON_MAX = 968,
};

// Which card a message goes to.
enum class ov_hal_gpon_msg_dest_t : uint8_t {
    INDEX_AT,       // slot of the interface index at an offset of the record
    INDEX_OR_ALL,   // the same, but a template object (slot 31) goes to every card
    WORD_AT,        // the word at an offset is the slot
    EVERY_CARD,     // without a look at the record
    THIS_BOARD,     // this board's own slot
    DRIVER_COMMAND, // sent by ov_hal_gpon_drv_msg_send only
    REFUSED,        // never sent
    RECEIVED_ONLY,  // comes from the cards
};

struct ov_hal_gpon_msg_desc_t {
    int type;
    uint16_t size; // of the record, in bytes
    ov_hal_gpon_msg_dest_t dest;
    uint16_t offset; // of the word that the destination comes from
    std::string_view name;
    bool name_ends_in_tabs;
};
// The catalogue's entry of a type; null for a number without one.
const ov_hal_gpon_msg_desc_t* ov_hal_gpon_msg_desc_get(unsigned type);
// The type's name for a log line, padded to 43 characters (two end in tabs instead); "unknown" for others.
const char* ov_hal_gpon_msg_name_get(unsigned type);

// Head of a message's payload; the record follows.
struct ov_hal_gpon_msg_head_t {
    big_int32_at action; // ov_hal_gpon_msg_action_t
    big_int32_at mask;   // ov_bmp_t
};
static_assert(sizeof(ov_hal_gpon_msg_head_t) == 8 && offsetof(ov_hal_gpon_msg_head_t, mask) == 4);

// Switches the debug lines of this layer.
extern int g_gpon_ipc_msg_debug_flag;

// Sends a record to its card, or to every active card. `attr` is copied; with `needReply` the call waits for
// the card, and on a get or get-current the answer overwrites `attr`, which stays as it was on failure.
// Without `needReply` the message is handed to the transport and that is all. Returns OV_GPON_RET_OK;
// OV_GPON_RET_BAD_PARAM for a null record or a type that isn't sent; OV_GPON_RET_FAIL for a get to a card
// that isn't there; OV_GPON_RET_NOT_SUPPORT when the card said so; or the transport's error. Anything but a
// get to an absent card is OV_GPON_RET_OK: the card is told when it is back.
int ov_hal_gpon_msg_send(int msgtype, ov_hal_gpon_msg_action_t action, void* attr, ov_bmp_t mask,
                         int needReply);

// The same for a get or get-current without waiting (hal_request.h): `handle` gets what became of it, and
// finds the record of the card in the reply. FAILED for what ov_hal_gpon_msg_send refuses, or a record that
// goes to more than one card.
HalRequest ov_hal_gpon_msg_request(int msgtype, ov_hal_gpon_msg_action_t action, const void* attr,
                                   ov_bmp_t mask, hal_reply_handle handle, void* context);
// The record in a message.
const void* ov_hal_gpon_msg_record(const hal_nlmsghdr* nlhdr);

// Sends a text command to the driver, on a single board only (elsewhere nothing happens: OV_GPON_RET_OK).
// The text goes without its terminator for the type OV_HAL_MSG_GPON_DRV_CMD and with it for any other; the
// type on the wire is always that one. OV_GPON_RET_FAIL for null, for a length (so counted) outside 1 to
// 2048, or when it can't be sent.
int ov_hal_gpon_drv_msg_send(int msgtype, char* msg);

// Sends a 16-byte limit record, with reply, to the slot of the interface index in its first word. It has no
// action and no mask. OV_GPON_RET_BAD_PARAM for null, else as the transport answers.
int ov_hal_gpon_msg_cfg_limit(void* data);

// With the debug switch on, logs a received message's type and the two words of its payload's head.
void ov_hal_gpon_msg_dump(unsigned type, void* nlh_data);
