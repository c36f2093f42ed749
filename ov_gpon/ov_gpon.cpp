#include "ov_gpon.h"

#include <climits>
#include <cstdlib>

#include "ov_product_log.h"
#include "ov_refusal.h"
#include "ov_slot.h"

ov_gpon_const_value_t g_gponConstVal = {};
ov_gpon_cnt_limit_t g_pon_cnt_limit = {};
ov_gpon_cnt_limit_t* g_gponCntLimit = nullptr;

namespace {

constexpr int MAX_SLOT = 18;
constexpr int MAX_SRVPROFILES = 128;

int GPON_APP_SYNC_END[MAX_SLOT] = {};

// The count travels as one byte in all that is kept per card.
int card_count() {
    return static_cast<uint8_t>(ov_slot_get_max_lc_num());
}

// A counter of a card, and its limit.
struct Resource {
    int32_t& used;
    int32_t limit;
};

Resource resource_of(ov_gpon_attr_index_t type, int slot_idx, int port_idx) {
    ov_gpon_cnt_limit_t& card = g_gponCntLimit[slot_idx];
    switch (type) {
    case TCONT_LIMIT_INDEX:
        return {card.tcontCnt[port_idx], g_gponConstVal.tcontMaxCnt};
    case GEM_LIMIT_INDEX:
        return {card.gemCnt[port_idx], g_gponConstVal.gemMaxCnt};
    case SRVPORT_LIMIT_INDEX:
        return {card.srvPortCnt, g_gponConstVal.srvPortMaxCnt};
    case BW_LIMIT_INDEX:
        return {card.usedFixBandwidth[port_idx], g_gponConstVal.usMaxFixBw};
    default:
        return {card.usedMaxBandwidth[port_idx], g_gponConstVal.usMaxBw};
    }
}

// The counter as an operator knows it.
const char* resource_text(ov_gpon_attr_index_t type) {
    switch (type) {
    case TCONT_LIMIT_INDEX:
        return "T-CONTs of the PON port";
    case GEM_LIMIT_INDEX:
        return "GEM ports of the PON port";
    case SRVPORT_LIMIT_INDEX:
        return "service ports of the card";
    case BW_LIMIT_INDEX:
        return "kbit/s of fixed bandwidth of the PON port";
    default:
        return "kbit/s of fixed and assured bandwidth of the PON port";
    }
}

void log_over_limit(ov_gpon_attr_index_t type, int sum, int limit) {
    switch (type) {
    case TCONT_LIMIT_INDEX:
        OV_LOG_ERROR("LIB", "tcont count[%d] over limit %d", sum, limit);
        break;
    case GEM_LIMIT_INDEX:
        OV_LOG_ERROR("LIB", "gem count[%d] over limit %d", sum, limit);
        break;
    case SRVPORT_LIMIT_INDEX:
        OV_LOG_ERROR("LIB", "service port count[%d] over limit %d", sum, limit);
        break;
    case BW_LIMIT_INDEX:
        OV_LOG_ERROR("LIB", "bandwidth fix[%d] over limit %d", sum, limit);
        break;
    default:
        OV_LOG_ERROR("LIB", "bandwidth max[%d] over limit %d", sum, limit);
    }
}

void log_released_too_much(ov_gpon_attr_index_t type, int count, int slot_idx, int port_idx, int used) {
    switch (type) {
    case TCONT_LIMIT_INDEX:
        OV_LOG_ERROR("LIB", "tcont num %d over g_gponCntLimit[%d].tcontCnt[%d] %d", count, slot_idx, port_idx,
                     used);
        break;
    case GEM_LIMIT_INDEX:
        OV_LOG_ERROR("LIB", "gem num %d over g_gponCntLimit[%d].gemCnt[%d] %d", count, slot_idx, port_idx,
                     used);
        break;
    case SRVPORT_LIMIT_INDEX:
        OV_LOG_ERROR("LIB", "service port num %d over g_gponCntLimit[%d].srvPortCnt %d", count, slot_idx,
                     used);
        break;
    case BW_LIMIT_INDEX:
        // "Banwidth": scripts of the field look for the line as it has always been
        OV_LOG_ERROR("LIB", "bandwidth %d over g_gponCntLimit[%d].usedFixBanwidth[%d] %d", count, slot_idx,
                     port_idx, used);
        break;
    default:
        OV_LOG_ERROR("LIB", "bandwidth %d over g_gponCntLimit[%d].usedMaxBandwidth[%d] %d", count, slot_idx,
                     port_idx, used);
    }
}

// A user's number as an index.
int zero_based(int number) {
    return number > INT_MIN ? number - 1 : number;
}

bool on_chassis(int slot_idx, int port_idx) {
    if (g_gponCntLimit && port_idx >= 0 && port_idx < static_cast<int>(OV_GPON_PORTS_PER_CARD) &&
        slot_idx >= 0 && slot_idx < card_count())
        return true;
    ov_refusal_because("the chassis has no port %d/%d", slot_idx + 1, port_idx + 1);
    OV_LOG_ERROR("LIB", "wrong parameter slot %d port %d", slot_idx, port_idx);
    return false;
}

// Why there is no such counter; 0 when there is.
int resource_error(ov_gpon_attr_index_t type, int slot_idx, int port_idx) {
    if (!on_chassis(slot_idx, port_idx))
        return KAVO_PARAM;
    return static_cast<unsigned>(type) <= USMAXBW_LIMIT_INDEX ? KAVO_OK : KAVO_ERR;
}

} // namespace

void ov_gpon_const_val_init() {
    g_gponConstVal = {.tcontMaxCnt = 512,
                      .gemMaxCnt = 1024,
                      .srvPortMaxCnt = 8000,
                      .usMinBw = 0,
                      .usMaxBw = 1200000,
                      .usMaxFixBw = 800000,
                      .dsMaxBw = 0};
    const int cards = card_count();
    free(g_gponCntLimit);
    g_gponCntLimit =
        static_cast<ov_gpon_cnt_limit_t*>(calloc(static_cast<size_t>(cards), sizeof(ov_gpon_cnt_limit_t)));
    if (g_gponCntLimit == nullptr)
        OV_LOG_ERROR("LIB", "no memory for the counters of %d cards", cards);
}

int ov_gpon_resource_reserve(ov_gpon_attr_index_t type, int slot, int port, int count) {
    const int slot_idx = zero_based(slot);
    const int port_idx = zero_based(port);
    if (const int error = resource_error(type, slot_idx, port_idx))
        return error;
    const Resource resource = resource_of(type, slot_idx, port_idx);
    const int64_t sum = int64_t{resource.used} + count;
    if (sum > resource.limit) {
        ov_refusal_because("%d of %d %s are taken, %d more aren't left", resource.used, resource.limit,
                           resource_text(type), count);
        log_over_limit(type, static_cast<int>(sum), resource.limit);
        return KAVO_ERR;
    }
    resource.used = static_cast<int32_t>(sum);
    return KAVO_OK;
}

int ov_gpon_resource_release(ov_gpon_attr_index_t type, int slot, int port, int count) {
    const int slot_idx = zero_based(slot);
    const int port_idx = zero_based(port);
    if (const int error = resource_error(type, slot_idx, port_idx))
        return error;
    const Resource resource = resource_of(type, slot_idx, port_idx);
    if (resource.used < count) {
        ov_refusal_because("only %d %s are counted as taken, not %d", resource.used, resource_text(type),
                           count);
        log_released_too_much(type, count, slot_idx, port_idx, resource.used);
        return KAVO_ERR;
    }
    resource.used = static_cast<int32_t>(int64_t{resource.used} - count);
    return KAVO_OK;
}

int ov_gpon_maxslot_get() {
    return MAX_SLOT;
}

int ov_gpon_maxpon_get() {
    return OV_GPON_PORTS_PER_CARD;
}

int ov_gpon_max_srvpofile_num() {
    return MAX_SRVPROFILES;
}

int ov_startup_gpon_config_sync_end_check(int slotid) {
    return slotid >= 1 && slotid <= MAX_SLOT ? GPON_APP_SYNC_END[slotid - 1] : 0;
}

void ov_startup_gpon_config_sync_end_set(int slotid, int flag) {
    if (slotid >= 1 && slotid <= MAX_SLOT)
        GPON_APP_SYNC_END[slotid - 1] = flag;
}
