// System limits of the GPON service and the counters of what each line card holds.
#pragma once

#include <cstdint>

// Limits of a PON port and of a line card.
struct ov_gpon_const_value_t {
    int32_t tcontMaxCnt;   // T-CONTs a PON port may hold
    int32_t gemMaxCnt;     // GEM ports a PON port may hold
    int32_t srvPortMaxCnt; // service ports a line card may hold
    int32_t usMinBw;       // never set
    int32_t usMaxBw;       // upstream maximum bandwidth budget of a PON port, kbit/s
    int32_t usMaxFixBw;    // upstream fixed bandwidth budget of a PON port, kbit/s
    int32_t dsMaxBw;       // never set
};

inline constexpr unsigned OV_GPON_PORTS_PER_CARD = 16;

// What one line card holds; arrays are indexed by PON port, from 0.
struct ov_gpon_cnt_limit_t {
    int32_t tcontCnt[OV_GPON_PORTS_PER_CARD];
    int32_t gemCnt[OV_GPON_PORTS_PER_CARD];
    int32_t srvPortCnt;
    int32_t usedFixBandwidth[OV_GPON_PORTS_PER_CARD];
    int32_t usedMaxBandwidth[OV_GPON_PORTS_PER_CARD];
};

extern ov_gpon_const_value_t g_gponConstVal;
extern ov_gpon_cnt_limit_t g_pon_cnt_limit; // spare
extern ov_gpon_cnt_limit_t*
    g_gponCntLimit; // one per line card, ov_slot_get_max_lc_num() of them; never freed

// Fills the limits and makes the zeroed counters, once, before any table callback can run. Main thread; the
// slots must be known. Without memory g_gponCntLimit stays null and the start fails at its first use.
void ov_gpon_const_val_init();
