#include "ov_hal_gpon_msg.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include <boost/endian/conversion.hpp>

#include "hal_slot.h"
#include "hal_sock.h"
#include "ov_ifindex.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_types.h"

int g_gpon_ipc_msg_debug_flag = 0;

namespace {

using enum ov_hal_gpon_msg_dest_t;

constexpr bool BLANKS = false;
constexpr bool TABS = true;

constexpr std::array CATALOGUE = {
#define OV_HAL_GPON_MSG(name, value, size, dest, offset, padding)                                            \
    ov_hal_gpon_msg_desc_t{value, size, dest, offset, #name, padding},
#include "ov_hal_gpon_msg_catalogue.def"
#undef OV_HAL_GPON_MSG
};

constexpr size_t RECORD_OFFSET = sizeof(ov_hal_gpon_msg_head_t); // in the payload
// A message's length counts this beside the record: both heads, and 16 spare bytes that the cards expect.
constexpr uint32_t LENGTH_BESIDE_RECORD = 40;

static_assert(std::is_sorted(CATALOGUE.begin(), CATALOGUE.end(),
                             [](const auto& a, const auto& b) { return a.type < b.type; }));
static_assert(std::all_of(CATALOGUE.begin(), CATALOGUE.end(), [](const ov_hal_gpon_msg_desc_t& d) {
    return d.type > OV_HAL_MSG_GPON_BASE && d.type < OV_HAL_MSG_GPON_MAX &&
           d.size + LENGTH_BESIDE_RECORD + 3 <= HAL_MSG_MAX;
}));
// A destination's word lies inside its record.
static_assert(std::all_of(CATALOGUE.begin(), CATALOGUE.end(), [](const ov_hal_gpon_msg_desc_t& d) {
    return (d.dest != INDEX_AT && d.dest != INDEX_OR_ALL && d.dest != WORD_AT) || d.offset + 4 <= d.size;
}));

constexpr size_t NAME_WIDTH = 43;
using NameText = std::array<char, NAME_WIDTH + 1>;

constexpr NameText name_text(const ov_hal_gpon_msg_desc_t& d) {
    NameText text = {};
    auto end = std::copy(d.name.begin(), d.name.end(), text.begin());
    if (d.name_ends_in_tabs)
        std::fill_n(end, 2, '\t');
    else
        std::fill(end, text.end() - 1, ' ');
    return text;
}

constexpr auto NAME_TEXTS = [] {
    std::array<NameText, CATALOGUE.size()> texts = {};
    std::transform(CATALOGUE.begin(), CATALOGUE.end(), texts.begin(), name_text);
    return texts;
}();

// From a type to its place in the catalogue, in one step: every message passes here.
constexpr uint8_t NO_ENTRY = 0xFF;
constexpr auto PLACES = [] {
    std::array<uint8_t, OV_HAL_MSG_GPON_MAX - OV_HAL_MSG_GPON_BASE> places = {};
    places.fill(NO_ENTRY);
    for (size_t n = 0; n < CATALOGUE.size(); ++n)
        places[static_cast<size_t>(CATALOGUE[n].type - OV_HAL_MSG_GPON_BASE)] = static_cast<uint8_t>(n);
    return places;
}();

uint8_t place_of(unsigned type) {
    const unsigned n = type - OV_HAL_MSG_GPON_BASE; // wraps below the base
    return n < PLACES.size() ? PLACES[n] : NO_ENTRY;
}

// Plain HAL message beside the GPON catalogue.
constexpr uint16_t MSG_CFG_LIMIT = 168;
constexpr uint16_t MSG_CFG_LIMIT_FLAGS = 1;
constexpr size_t CFG_LIMIT_SIZE = 16;

uint32_t word_at(const void* record, size_t offset) {
    return boost::endian::load_big_u32(static_cast<const unsigned char*>(record) + offset);
}

uint32_t slot_of_index(uint32_t ifindex) {
    return ov_ifindex_get_slot_id(ifindex);
}

constexpr uint32_t TEMPLATE_SLOT = 31; // where the objects of service profiles stand

// The slot a record goes to, 0 for every card; none for a type that this layer doesn't send.
std::optional<uint32_t> destination_slot(const ov_hal_gpon_msg_desc_t& desc, const void* record) {
    switch (desc.dest) {
    case INDEX_AT:
        return slot_of_index(word_at(record, desc.offset));
    case INDEX_OR_ALL: {
        const uint32_t slot = slot_of_index(word_at(record, desc.offset));
        return slot == TEMPLATE_SLOT ? 0 : slot;
    }
    case WORD_AT:
        return word_at(record, desc.offset);
    case EVERY_CARD:
        return 0;
    case THIS_BOARD:
        return ov_product_slot_id_get();
    case DRIVER_COMMAND:
    case REFUSED:
    case RECEIVED_ONLY:
        break;
    }
    return std::nullopt;
}

bool card_is_absent(uint32_t slot) {
    return slot != 0 &&
           (slot > OV_SLOT_MAX || !hal_slot_active_flag_check(static_cast<unsigned short>(slot)));
}

// Fills a message of any content; what lies behind its length isn't sent.
void fill_message(hal_msg_t& req, const ov_hal_gpon_msg_desc_t& desc, uint32_t slot,
                  ov_hal_gpon_msg_action_t action, ov_bmp_t mask, const void* record) {
    req.hdr = {};
    req.hdr.nlmsg_len = (desc.size + 3u) / 4 * 4 + LENGTH_BESIDE_RECORD;
    req.hdr.nlmsg_type = static_cast<uint16_t>(desc.type);
    req.hdr.nlmsg_pid = slot;
    ov_hal_gpon_msg_head_t head;
    head.action = action;
    head.mask = mask;
    std::memcpy(req.buf, &head, sizeof head);
    std::memcpy(req.buf + RECORD_OFFSET, record, desc.size);
    const size_t filled = sizeof req.hdr + RECORD_OFFSET + desc.size;
    std::memset(req.buf + RECORD_OFFSET + desc.size, 0, req.hdr.nlmsg_len - filled);
}

} // namespace

const ov_hal_gpon_msg_desc_t* ov_hal_gpon_msg_desc_get(unsigned type) {
    const uint8_t place = place_of(type);
    return place != NO_ENTRY ? &CATALOGUE[place] : nullptr;
}

const char* ov_hal_gpon_msg_name_get(unsigned type) {
    const uint8_t place = place_of(type);
    return place != NO_ENTRY ? NAME_TEXTS[place].data() : "unknown";
}

int ov_hal_gpon_msg_send(int msgtype, ov_hal_gpon_msg_action_t action, void* attr, ov_bmp_t mask,
                         int needReply) {
    if (!attr)
        return OV_GPON_RET_BAD_PARAM;
    const auto type = static_cast<unsigned>(msgtype);
    const ov_hal_gpon_msg_desc_t* desc = ov_hal_gpon_msg_desc_get(type);
    if (!desc)
        return OV_GPON_RET_BAD_PARAM;
    const std::optional<uint32_t> slot = destination_slot(*desc, attr);
    if (!slot)
        return OV_GPON_RET_BAD_PARAM;
    const char* name = ov_hal_gpon_msg_name_get(type);
    if (g_gpon_ipc_msg_debug_flag)
        OV_LOG_DEBUG("LIB", "=====> HAL GPON MSG send, type = %s:%u   slotId = %u", name, type, *slot);
    if (action == OV_HAL_GPON_MSG_ACTION_GET && card_is_absent(*slot)) {
        ov_refusal_because("the card in slot %u is away", *slot);
        OV_LOG_INFO("LIB", "=====> HAL GPON MSG card not exist, type = %s:%u   slotId = %u", name, type,
                    *slot);
        return OV_GPON_RET_FAIL;
    }

    hal_msg_t req;
    fill_message(req, *desc, *slot, action, mask, attr);
    const unsigned ret = needReply ? hal_send(&req.hdr) : hal_send_async(&req.hdr);
    if (ret != KAVO_OK) {
        OV_LOG_ERROR("LIB", "=====> HAL GPON MSG return, type = %s:%u   slotId = %u ret: %d", name, type,
                     *slot, static_cast<int>(ret));
        return static_cast<int>(ret);
    }
    if (needReply && (action == OV_HAL_GPON_MSG_ACTION_GET || action == OV_HAL_GPON_MSG_ACTION_GET_CURRENT))
        std::memcpy(attr, req.buf + RECORD_OFFSET, desc->size);
    return OV_GPON_RET_OK;
}

HalRequest ov_hal_gpon_msg_request(int msgtype, ov_hal_gpon_msg_action_t action, const void* attr,
                                   ov_bmp_t mask, hal_reply_handle handle, void* context) {
    const auto type = static_cast<unsigned>(msgtype);
    const ov_hal_gpon_msg_desc_t* desc = ov_hal_gpon_msg_desc_get(type);
    const std::optional<uint32_t> slot = desc && attr ? destination_slot(*desc, attr) : std::nullopt;
    if (!slot || *slot == 0)
        return HalRequest::FAILED;
    if (g_gpon_ipc_msg_debug_flag)
        OV_LOG_DEBUG("LIB", "=====> HAL GPON MSG request, type = %s:%u   slotId = %u",
                     ov_hal_gpon_msg_name_get(type), type, *slot);
    hal_msg_t req;
    fill_message(req, *desc, *slot, action, mask, attr);
    return hal_request(&req.hdr, handle, context);
}

const void* ov_hal_gpon_msg_record(const hal_nlmsghdr* nlhdr) {
    return reinterpret_cast<const unsigned char*>(nlhdr) + sizeof *nlhdr + RECORD_OFFSET;
}

int ov_hal_gpon_drv_msg_send(int msgtype, char* msg) {
    if (!msg)
        return OV_GPON_RET_FAIL;
    const size_t text = strnlen(msg, HAL_PAYLOAD_MAX + 1);
    const size_t len = msgtype == OV_HAL_MSG_GPON_DRV_CMD ? text : text + 1;
    if (len < 1 || len > HAL_PAYLOAD_MAX)
        return OV_GPON_RET_FAIL;
    if (!ov_product_is_slot_1u())
        return OV_GPON_RET_OK;
    hal_msg_t req = {};
    req.hdr.nlmsg_type = OV_HAL_MSG_GPON_DRV_CMD;
    req.hdr.nlmsg_len = static_cast<uint32_t>(len + sizeof(hal_nlmsghdr));
    std::memcpy(req.buf, msg, text);
    return hal_send_async(&req.hdr) == KAVO_OK ? OV_GPON_RET_OK : OV_GPON_RET_FAIL;
}

int ov_hal_gpon_msg_cfg_limit(void* data) {
    if (!data)
        return OV_GPON_RET_BAD_PARAM;
    hal_msg_t req = {};
    req.hdr.nlmsg_type = MSG_CFG_LIMIT;
    req.hdr.nlmsg_flags = MSG_CFG_LIMIT_FLAGS;
    req.hdr.nlmsg_len = static_cast<uint32_t>(CFG_LIMIT_SIZE + sizeof(hal_nlmsghdr));
    req.hdr.nlmsg_pid = slot_of_index(word_at(data, 0));
    std::memcpy(req.buf, data, CFG_LIMIT_SIZE);
    return static_cast<int>(hal_send(&req.hdr));
}

void ov_hal_gpon_msg_dump(unsigned type, void* nlh_data) {
    if (!g_gpon_ipc_msg_debug_flag || !nlh_data)
        return;
    OV_LOG_DEBUG("LIB", "=========== HAL GPON MSG recv type:%s:%u, action %u, mask %u\n",
                 ov_hal_gpon_msg_name_get(type), type, word_at(nlh_data, 0), word_at(nlh_data, 4));
}
