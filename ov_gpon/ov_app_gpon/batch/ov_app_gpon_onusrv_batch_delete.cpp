// Services of many ONUs taken away, in ticks of a second: each holds the loop for 32 positions only.
#include "ov_app_gpon_onusrv_batch_config.h"

#include <algorithm>
#include <array>

#include "app_loop.h"
#include "app_rows.h"
#include "kavo_frr.h"
#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"
#include "ov_product_log.h"

namespace {

constexpr int POSITIONS_IN_TICK = 32;
constexpr int NONE = -1;

struct ov_batch_cfg_del_para_t {
    ov_ifindex_t ifindex;
    std::array<char, OV_BATCH_ONU_MAX> onuFlag;
    int nextIndex; // NONE: no delete is under way
};
// There is one delete at a time.
ov_batch_cfg_del_para_t g_batch_del_para = {.ifindex = 0, .onuFlag = {}, .nextIndex = NONE};
struct thread* g_next_tick = nullptr;

int on_tick(struct thread* /*timer*/) {
    ov_gpon_multi_onu_service_delete_devide();
    return 0;
}

void arm_next_tick() {
    kavo_add_timer(app_loop(), on_tick, nullptr, 1, &g_next_tick);
}

// What refers to something goes in front of it.
void delete_services(ov_sOnuTable_attr_t onu) {
    OV_LOG_INFO("MMG", "onu %d/%d/%d:%d delete", onu.shelfID, onu.slotID, onu.portID, onu.onuId);
    ov_rmunivlan_table_del_init(&onu);
    ov_rmservice_table_iterate_del(&onu);
    ov_service_port_table_iterate_del(&onu);
    ov_gemport_table_iterate_del(&onu);
    ov_tcont_table_iterate_del(&onu);
}

void delete_services_at(int position) {
    if (g_batch_del_para.onuFlag[static_cast<size_t>(position)] != OV_BATCH_ONU_CONFIG)
        return;
    auto onu = onu_key_of_ifindex<ov_sOnuTable_attr_t>(g_batch_del_para.ifindex);
    onu.shelfID = GPON_SHELF;
    onu.onuId = position + 1;
    delete_services(onu);
}

} // namespace

void ov_gpon_multi_onu_service_delete(ov_ifindex_t ifindex, ov_batch_onu_flags_in_t onuId) {
    g_batch_del_para.ifindex = ifindex;
    std::copy(onuId.begin(), onuId.end(), g_batch_del_para.onuFlag.begin());
    g_batch_del_para.nextIndex = 0;
    kavo_cancel_timer(&g_next_tick);
    arm_next_tick();
}

int ov_gpon_multi_onu_service_delete_devide() {
    const int first = g_batch_del_para.nextIndex;
    if (first < 0)
        return OV_GPON_RET_BAD_PARAM;
    const int end = first + POSITIONS_IN_TICK;
    for (int position = first; position < end; ++position)
        delete_services_at(position);
    const bool more = end < static_cast<int>(OV_BATCH_ONU_MAX);
    g_batch_del_para.nextIndex = more ? end : NONE;
    if (more)
        arm_next_tick();
    return OV_GPON_RET_OK;
}
