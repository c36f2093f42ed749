// Facts of the product and of this board, from the platform's environment store (the shell tool
// "ov_env_get"). Any thread. A query that runs the tool takes milliseconds; those that are asked often keep
// their answer.
#pragma once

#include <cstdint>

// Shelf types (PDT_INFO_SHELF_TYPE); unset or unknown is the single board.
enum OV_SHELF_TYPE : uint32_t {
    OV_SHELF_TYPE_LC6 = 51,    // six line cards
    OV_SHELF_TYPE_SINGLE = 52, // one board, control and line card at once
    OV_SHELF_TYPE_LC14 = 53,   // fourteen line cards
};
enum OV_PRODUCT_TYPE : uint32_t { OV_PRODUCT_TYPE_UNIT = 1, OV_PRODUCT_TYPE_CHASSIS = 2 };

// Enterprise number of a product that doesn't state its own.
inline constexpr uint32_t OV_DEFAULT_ENTERPRISE_ID = 47281;

// Whether the controller is up: the environment value mono_ready holds 1. Asked anew at each call.
bool ov_product_mono_ready_flag_get();
// Whether the system has finished starting; false while the configuration is replayed. Asked anew.
bool ov_product_sys_oper_status_get();
// Whether a switch-over is being recovered: the first character of the file that the environment value
// OV_APP_FLAG_FILE_HA_RECOVERY names is 1. The file is read at each call; its name is kept once known and
// asked for at most once a second until then, since every message to a card passes here.
bool ov_product_ha_recoverying_flag_get();

// What the runs of ov_env_get for values have cost since the start (the flags asked above aren't in it):
// start-up makes one for each value of ov_product_info.h, at a millisecond or more each.
struct ov_product_env_cost {
    uint32_t lookups;
    uint64_t usec;
};
ov_product_env_cost ov_product_env_cost_get();
// For tests only: forgets every answer, so that the next query asks the platform again.
void ov_product_deinit();

uint32_t ov_product_enterprise_id_get(); // PDT_INFO_ENTERPRISE_ID, 24 bits, or the built-in number
uint32_t ov_product_get_shelf_type();
uint32_t ov_product_get_product_type();
uint32_t ov_product_shelf_id_get();
uint32_t ov_product_slot_id_get();         // this board's slot
uint32_t ov_product_get_mate_sc_slot_id(); // 0: no mate; asked anew
int ov_product_get_standby_sc_supported();
// 1: this board is the active control card, as a single board always is. The environment value "active",
// asked anew.
int ov_product_sc_active_flag_get();

// Role of a slot by the shelf type; slot 0 means this board for the first two.
bool ov_product_is_slot_lc(uint32_t slotid);
bool ov_product_is_slot_sc(uint32_t slotid);
bool ov_product_is_slot_uplink(uint32_t slotid);
bool ov_product_is_slot_1u(); // the shelf is a single board
bool ov_product_if_slot_contain_pon_port(uint32_t slotid);

// This board's address on the inner network, as text: where the controller listens. The environment value
// "qcx9_self" on a chassis' control card, kept once it is known; the loopback address otherwise.
const char* ov_product_get_sc_internal_ip_addr();

// Files and directories of the platform, from its environment variables; null when not declared.
const char* ov_product_pdt_ini_file();
const char* ov_product_pm_ini_file();
const char* ov_product_onu_version_path_get();

// Texts of the product; "" when not set. Valid for the life of the process.
const char* ov_product_get_sysinfo_product_vender();
const char* ov_product_get_sysinfo_product_name();
const char* ov_product_sn_get();
