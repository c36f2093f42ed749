#include "ov_gpon.h"

#include <cstdlib>

#include "ov_product_log.h"
#include "ov_slot.h"

ov_gpon_const_value_t g_gponConstVal = {};
ov_gpon_cnt_limit_t g_pon_cnt_limit = {};
ov_gpon_cnt_limit_t* g_gponCntLimit = nullptr;

void ov_gpon_const_val_init() {
    g_gponConstVal = {.tcontMaxCnt = 512,
                      .gemMaxCnt = 1024,
                      .srvPortMaxCnt = 8000,
                      .usMinBw = 0,
                      .usMaxBw = 1200000,
                      .usMaxFixBw = 800000,
                      .dsMaxBw = 0};
    // The count travels as one byte in all that is kept per card.
    const auto cards = static_cast<uint8_t>(ov_slot_get_max_lc_num());
    free(g_gponCntLimit);
    g_gponCntLimit = static_cast<ov_gpon_cnt_limit_t*>(calloc(cards, sizeof(ov_gpon_cnt_limit_t)));
    if (g_gponCntLimit == nullptr)
        OV_LOG_ERROR("LIB", "no memory for the counters of %u cards", unsigned{cards});
}
