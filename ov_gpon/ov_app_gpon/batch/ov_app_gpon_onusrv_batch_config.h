// A service profile reaches ONUs in two ways: they are bound to it (sOnuTableConfigMode), and their card
// applies it; or its rows are copied to them, and are theirs from then on. This is the copy, to any ONUs of a
// PON port, and the way back: their services are taken away.
//
// Which ONUs is said by a list of flags, entry `onuId - 1` for each. It is prepared by whoever asks: by the
// commands, by managers' actions (ov_app_onu_range_parse, ov_gpon_multi_onu_add_state_check and
// ov_gpon_onu_state_check of their room), by learning with one flag that it sets itself.
//
// Main loop only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include "ov_gpon_config_error.h"
#include "ov_ifindex.h"
#include "ov_types.h"

inline constexpr size_t OV_BATCH_ONU_MAX = 128; // ONUs of a PON port

// A flag of the list.
enum ov_batch_onu_flag_e : char {
    OV_BATCH_ONU_NOT_ASKED = 0,
    OV_BATCH_ONU_ASKED = 1,
    OV_BATCH_ONU_CONFIG = 2,     // it is to be configured, or its services are to go
    OV_BATCH_ONU_WRONG_TYPE = 3, // its ONU type isn't that of the profile
    OV_BATCH_ONU_FAILED = 4,     // a row was refused in this run: it gets no more of them
    OV_BATCH_ONU_NOT_THERE = 5,
};

// What became of a copy: an ov_gpon_config_error_t for each ONU, entry `onuId - 1`.
struct ov_batch_cfg_rtn_t {
    uint8_t errorCode[OV_BATCH_ONU_MAX];
};
static_assert(sizeof(ov_batch_cfg_rtn_t) == OV_BATCH_ONU_MAX);

using ov_batch_onu_flags_t = std::span<char, OV_BATCH_ONU_MAX>;
using ov_batch_onu_flags_in_t = std::span<const char, OV_BATCH_ONU_MAX>;
using ov_batch_cfg_done_t = std::function<void(const ov_batch_cfg_rtn_t&)>;

// ---- copy -------------------------------------------------------------------------------------------------

// Copies the rows of a service profile to the ONUs with flag OV_BATCH_ONU_CONFIG on the port of an interface
// index, by the ordinary ways of the tables: table by table, row by row, ONU by ONU. An ONU that refuses a
// row gets flag OV_BATCH_ONU_FAILED and its code, and no further rows; what it has got by then stays. ONUs of
// a wrong type and those that aren't there get their code with the first row that is copied to the others: a
// profile without rows copies nothing and reports no error.
//
// All at once: the loop stands still for as long as the cards need. For one ONU, or a few.
ov_batch_cfg_rtn_t ov_gpon_multi_onu_service_config(ov_ifindex_t ifindex, ov_batch_onu_flags_t onuId,
                                                    mib_ulong profileId);

// The same in steps, between which the loop serves others: the result is that of a copy in one go, from the
// profile as it stands when the copy begins. One that is started while another runs begins when that is
// through. `done` is called once, from a step and never from within this call.
void ov_gpon_multi_onu_service_config_start(ov_ifindex_t ifindex, ov_batch_onu_flags_in_t onuId,
                                            mib_ulong profileId, ov_batch_cfg_done_t done);

// Why the first ONU that refused a row did, as "REASON (ROW)", empty when none has: of the copy whose `done`
// is running, else of the last one in one go.
const char* ov_gpon_multi_onu_service_config_refusal();

// Works on the copies that have been started, for about as long as one step does: for a session that has
// nothing better to do than to wait for its own.
void ov_gpon_multi_onu_service_config_go_on();

// ---- delete -----------------------------------------------------------------------------------------------

// Takes the services of the ONUs with flag OV_BATCH_ONU_CONFIG away: UNI VLANs back to their default, remote
// services, service ports, GEM ports and T-CONTs removed; the ONUs themselves stay. It begins a second later
// and goes on with 32 positions a second. Only the log tells what can't be removed. One that is still under
// way is given up for the new list, which begins with ONU 1.
void ov_gpon_multi_onu_service_delete(ov_ifindex_t ifindex, ov_batch_onu_flags_in_t onuId);

// The next 32 positions: the handler of the timer. 0, or OV_GPON_RET_BAD_PARAM when no delete is under way.
int ov_gpon_multi_onu_service_delete_devide();
