#include "ov_app_gpon_qinq_id.h"

#include <bit>

#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_refusal.h"

namespace {

constexpr unsigned SLOTS = 19; // up to 18
constexpr unsigned PORTS = 16;
constexpr unsigned ONUS = 128;

// A bit for each id, by slot, port - 1 and ONU - 1.
struct IdBitmaps {
    uint32_t pon_qinqId_bitmap[SLOTS][PORTS];
    uint32_t onu_qinqId_bitmap[SLOTS][PORTS][ONUS];
};

IdBitmaps& bitmaps() {
    static IdBitmaps cleared = {};
    return cleared;
}

// Where the ids of an interface are counted.
struct Place {
    uint16_t type;
    unsigned slot;
    unsigned port;
    unsigned onu; // 0 for a port

    explicit Place(ov_ifindex_t ifindex) : type(ov_ifindex_get_port_type(ifindex)), slot(0), port(0), onu(0) {
        if (type != PORT_TYPE_GPON && type != PORT_TYPE_GONU)
            return;
        slot = ov_ifindex_get_slot_id(ifindex);
        port = ov_ifindex_get_port_id(ifindex);
        onu = type == PORT_TYPE_GONU ? ov_ifindex_get_subport_id(ifindex) : 0;
    }
    bool is_port_of_a_card() const {
        return slot < SLOTS && port >= 1 && port <= PORTS && ov_product_if_slot_contain_pon_port(slot);
    }
    // Null where no rules can be.
    uint32_t* word() const {
        if (type == PORT_TYPE_GPON && is_port_of_a_card())
            return &bitmaps().pon_qinqId_bitmap[slot][port - 1];
        if (type == PORT_TYPE_GONU && is_port_of_a_card() && onu >= 1 && onu <= ONUS)
            return &bitmaps().onu_qinqId_bitmap[slot][port - 1][onu - 1];
        return nullptr;
    }
};

void log_assign_fail(const Place& place) {
    if (place.type == PORT_TYPE_GPON)
        OV_LOG_ERROR("QINQ", " ov_app_gpon_qinq_assign_id fail: slotid[%d] ponid[%d].",
                     static_cast<int>(place.slot), static_cast<int>(place.port));
    if (place.type == PORT_TYPE_GONU)
        OV_LOG_ERROR("QINQ", " ov_app_gpon_qinq_assign_id fail: slotid[%d] ponid[%d] onuid[%d].",
                     static_cast<int>(place.slot), static_cast<int>(place.port), static_cast<int>(place.onu));
}

void log_release_fail(const Place& place) {
    if (place.type == PORT_TYPE_GPON)
        OV_LOG_ERROR("QINQ", " ov_app_gpon_qinq_release_id fail: slotid[%d] ponid[%d].",
                     static_cast<int>(place.slot), static_cast<int>(place.port));
    if (place.type == PORT_TYPE_GONU)
        OV_LOG_ERROR("QINQ", " ov_app_gpon_qinq_release_id fail: slotid[%d] ponid[%d] onuid[%d].",
                     static_cast<int>(place.slot), static_cast<int>(place.port), static_cast<int>(place.onu));
}

// 0 for an id that is none.
uint32_t bit_of(uint16_t id) {
    return id >= 1 && id <= OV_GPON_QINQ_RULES_MAX ? 1u << (id - 1) : 0;
}

} // namespace

int ov_app_gpon_qinq_assign_id(ov_ifindex_t ifindex, uint16_t* id) {
    const Place place(ifindex);
    uint32_t* const word = place.word();
    if (word == nullptr) {
        ov_refusal_because("index %#x is no place of a PON port or an ONU", ifindex);
        log_assign_fail(place);
        return OV_GPON_RET_FAIL;
    }
    const auto bit = static_cast<unsigned>(std::countr_one(*word));
    if (bit == OV_GPON_QINQ_RULES_MAX) {
        ov_refusal_because("an interface has at most %u QinQ rules", OV_GPON_QINQ_RULES_MAX);
        return OV_GPON_RET_NO_RESOURCE;
    }
    *word |= 1u << bit;
    *id = static_cast<uint16_t>(bit + 1);
    return OV_GPON_RET_OK;
}

int ov_app_gpon_qinq_release_id(ov_ifindex_t ifindex, uint16_t id) {
    const Place place(ifindex);
    uint32_t* const word = place.word();
    if (word == nullptr) {
        log_release_fail(place);
        return OV_GPON_RET_FAIL;
    }
    *word &= ~bit_of(id);
    return OV_GPON_RET_OK;
}

bool ov_app_gpon_qinq_id_is_taken(ov_ifindex_t ifindex, uint16_t id) {
    const uint32_t* const word = Place(ifindex).word();
    return word != nullptr && (*word & bit_of(id)) != 0;
}
