// What all of the GPON application shares: the limits of a line card and the counters that keep it inside
// them, and the conversions between texts and values.
//
// The counters live in memory only: they are neither saved nor recounted from the tables, so whoever makes or
// removes a row keeps them in step, on the ways back from a failed message too. Main loop only, without
// locks.
#pragma once

#include <cstdint>

#include "ov_types.h"

// ---- limits and counters ----------------------------------------------------------------------------------

// Limits of a PON port and of a line card. Bandwidths are in the unit of the bandwidth profiles (kbit/s).
struct ov_gpon_const_value_t {
    int32_t tcontMaxCnt;   // T-CONTs a PON port may hold
    int32_t gemMaxCnt;     // GEM ports a PON port may hold
    int32_t srvPortMaxCnt; // service ports a line card may hold
    int32_t usMinBw;       // never set
    int32_t usMaxBw;       // sum of assured and fixed bandwidth on a PON port
    int32_t usMaxFixBw;    // sum of fixed bandwidth on a PON port
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

// Which counter. Note that "BW" is the fixed bandwidth, and "USMAXBW" the sum of assured and fixed.
enum ov_gpon_attr_index_t : int {
    TCONT_LIMIT_INDEX = 0,
    GEM_LIMIT_INDEX = 1,
    SRVPORT_LIMIT_INDEX = 2, // of the card, whatever the port
    BW_LIMIT_INDEX = 3,
    USMAXBW_LIMIT_INDEX = 4,
};

// Takes `count` objects (or an amount of bandwidth) of a PON port, and gives them back. slot and port are
// users' numbers, from 1. KAVO_OK; KAVO_PARAM for a slot or port outside the chassis; KAVO_ERR for another
// counter, when the limit would be exceeded, or when less is held than is given back. A failure changes
// nothing.
int ov_gpon_resource_reserve(ov_gpon_attr_index_t type, int slot, int port, int count);
int ov_gpon_resource_release(ov_gpon_attr_index_t type, int slot, int port, int count);

// ---- numbers of the system ------------------------------------------------------------------------------

int ov_gpon_maxslot_get();       // 18
int ov_gpon_maxpon_get();        // 16, PON ports of a slot
int ov_gpon_max_srvpofile_num(); // 128, service profiles

// Whether a card's configuration sync has ended: 1 or 0. Slots outside 1 to 18 read 0 and can't be set.
int ov_startup_gpon_config_sync_end_check(int slotid);
void ov_startup_gpon_config_sync_end_set(int slotid, int flag);

// ---- serial numbers (ITU-T G.984.3: four characters of vendor code, four binary bytes) ---------------

inline constexpr int OV_GPON_SN_BYTES = 8;
inline constexpr int OV_GPON_SN_TEXT = 12;

// From its text of exactly 12 characters, the last eight hexadecimal, to 8 bytes. 0 or OV_GPON_RET_BAD_PARAM.
int ov_gpon_onu_sn_string_to_bytes(const char* s, unsigned char* sn);
// To its text, hexadecimal in lower case; `string` has room for 13 bytes. Always 0.
int ov_gpon_onu_sn_bytes_to_string(const unsigned char* sn, char* string);
// The same in one static buffer, valid until the next call.
char* ov_gpon_onu_sn_string(const unsigned char* sn);
// Is the text a serial number: 12 characters, the last eight hexadecimal?
bool ov_gpon_onu_sn_is_legal(const char* s);
// Do two texts name one ONU? Serial numbers are compared by their bytes: hexadecimal digits in any case.
// Texts that are none are compared as they stand.
bool ov_gpon_onu_sn_is_same(const char* a, const char* b);

// "01 ff " and so on in one static buffer, valid until the next call; empty for more than 64 bytes.
char* ov_gpon_bytes_to_hexstr(const char* bytes, int size);

// ---- words of commands -------------------------------------------------------------------------------

// An ONU id, or two joined by '-', of 1 to 128 in order. Numbers are cut to 8 bits first, so that 257 is ONU
// 1, and behind the '-' three characters count. 1, or 0 for anything else.
int onuid_range_match(const char* range, unsigned char* min, unsigned char* max);

// Texts of values for the show commands. Static, but that of an upgrade status above 13, which is its number
// in a static buffer.
const char* ov_gpon_onu_type_str(int onutype);
const char* ov_gpon_onu_trafficeMagOption_str(int option);
const char* ov_gpon_omcc_version_str(int omccVersion);
const char* ov_gpon_update_status_convert_to_string(int upd_status);

// Name of the brand's default ONU type; asked for once.
const char* ov_gpon_default_onutype_get();

// Hands words, joined by blanks, to the card's driver; what doesn't fit 255 characters is left out. Always 0;
// a failure is printed to standard output.
int ov_gpon_drv_cmd_exec(int argc, const char** argv);
