// Copies of service profiles, which aren't there yet.
#include "ov_app_gpon_onusrv_batch_config.h"
#include "ov_types.h"

ov_batch_cfg_rtn_t ov_gpon_multi_onu_service_config(ov_ifindex_t /*ifindex*/, ov_batch_onu_flags_t /*onuId*/,
                                                    mib_ulong /*profileId*/) {
    // TODO: the copy
    return {};
}

void ov_gpon_multi_onu_service_config_start(ov_ifindex_t /*ifindex*/, ov_batch_onu_flags_in_t /*onuId*/,
                                            mib_ulong /*profileId*/, ov_batch_cfg_done_t done) {
    done({}); // TODO: the copy in steps
}

void ov_gpon_multi_onu_service_delete(ov_ifindex_t /*ifindex*/, ov_batch_onu_flags_in_t /*onuId*/) {
    // TODO: the delete in four ticks
}

int ov_gpon_multi_onu_service_delete_devide() {
    return OV_GPON_RET_BAD_PARAM; // TODO: none is ever under way yet
}
