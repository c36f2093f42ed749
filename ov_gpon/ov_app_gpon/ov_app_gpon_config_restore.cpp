#include "ov_app_gpon_config_restore.h"

#include "ov_product.h"
#include "ov_types.h"
#include "ov_util_ini_cfg.h"

int g_config_restore_debug = 0;

void init_config_restore_debug() {
    g_config_restore_debug =
        ov_util_ini_cfg_get_int(ov_product_pdt_ini_file(), "gpon", "configRestoreDebug", 0);
}

// TODO: the replay of a card's configuration, stage by stage, and what a card's going leaves to be done.
// There are no rows to replay yet.

int ov_app_gpon_config_restore_start_callback(umsg_cfg_sync_t* /*sync*/) {
    return OV_GPON_RET_OK;
}

int ov_app_gpon_slot_deactive_callback(umsg_card_t* /*card*/) {
    return OV_GPON_RET_OK;
}

int ov_app_gpon_slot_remove_callback(umsg_card_t* /*card*/) {
    return OV_GPON_RET_OK;
}

int ov_app_gpon_trap_status_sync_callback(uint32_t /*slot_id*/) {
    return OV_GPON_RET_OK;
}
