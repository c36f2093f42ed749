#include "ov_app_gpon_config_restore.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <span>

#include "app_loop.h"
#include "app_stage.h"
#include "mono_api.h"
#include "ov_app_gpon_config_restore_tables.h"
#include "ov_app_gpon_pending.h"
#include "ov_app_gpon_qos.h"
#include "ov_gpon.h"
#include "ov_hal_gpon_records.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_util_ini_cfg.h"

int g_config_restore_debug = 0;

void init_config_restore_debug() {
    g_config_restore_debug =
        ov_util_ini_cfg_get_int(ov_product_pdt_ini_file(), "gpon", "configRestoreDebug", 0);
}

namespace {

constexpr long STAGE_PAUSE_MSEC = 1000;

void report_done(const umsg_cfg_sync_t& sync) {
    mono_api_cfg_recovery_notify_result("gpon", sync.slotid, sync.cfg_prio, 0);
}

// ---- what the stages replay --------------------------------------------------------------------------

// One table, or what a module keeps beside its tables.
struct RestoreStep {
    const RestoreTable* table;
    ov_hal_gpon_msg_action_t action;
    int (*restore)(int slot) = nullptr;
};

constexpr RestoreStep create(const RestoreTable& table) {
    return {&table, OV_HAL_GPON_MSG_ACTION_CREATE};
}
constexpr RestoreStep set(const RestoreTable& table) {
    return {&table, OV_HAL_GPON_MSG_ACTION_SET};
}
constexpr RestoreStep call(int (*restore)(int slot)) {
    return {nullptr, OV_HAL_GPON_MSG_ACTION_CREATE, restore};
}

constexpr RestoreStep PROFILES[] = {
    create(ov_app_gpon_config_restore_onu_type),
    create(ov_app_gpon_config_restore_bw_type),
    create(ov_app_gpon_config_restore_onu_rssi),
    create(ov_app_gpon_config_restore_rm_traffic),
    create(ov_app_gpon_config_restore_onusrvprofile_tcont),
    create(ov_app_gpon_config_restore_onusrvprofile_gemport),
    create(ov_app_gpon_config_restore_onusrvprofile_srvport),
    create(ov_app_gpon_config_restore_onusrvprofile_rmservice),
    set(ov_app_gpon_config_restore_onusrvprofile_rmunivlan),
    create(ov_app_gpon_config_restore_onusrvprofile_iphost),
    set(ov_app_gpon_config_restore_onusrvprofile_voip_cfg),
    create(ov_app_gpon_config_restore_onusrvprofile_voip_sip_agent),
    set(ov_app_gpon_config_restore_onusrvprofile_onuqos),
};
constexpr RestoreStep PON_PORTS[] = {
    create(ov_app_gpon_config_restore_pon),         set(ov_app_gpon_config_restore_pon),
    call(ov_app_qos_sched_profile_restore_config),  call(ov_app_qos_traffic_profile_restore_config),
    call(ov_app_cos_to_cos_profile_restore_config), call(ov_app_cosq_mapping_profile_restore_config),
};
constexpr RestoreStep PON_PORT_QOS[] = {
    call(ov_app_port_qos_config_restore),
    create(ov_app_gpon_config_restore_pon_protect),
};
constexpr RestoreStep ONUS[] = {
    create(ov_app_gpon_config_restore_onu),
    set(ov_app_gpon_config_restore_onu),
};
constexpr RestoreStep TCONTS[] = {
    create(ov_app_gpon_config_restore_tcont),
};
constexpr RestoreStep GEMPORTS[] = {
    create(ov_app_gpon_config_restore_gemport),
    set(ov_app_gpon_config_restore_gemport),
};
constexpr RestoreStep SERVICE_PORTS[] = {
    create(ov_app_gpon_config_restore_srvport),
    set(ov_app_gpon_config_restore_srvport),
};
constexpr RestoreStep MULTICAST_VLANS[] = {
    create(ov_app_gpon_config_restore_mcast_vlan), // belong to no card: nothing goes out
};
constexpr RestoreStep REMOTE_ONUS[] = {
    set(ov_app_gpon_config_restore_rm_uni_status),
    create(ov_app_gpon_config_restore_rm_iphost),
    set(ov_app_gpon_config_restore_rm_tr069),
    set(ov_app_gpon_config_restore_rm_queue_schedule),
};
constexpr RestoreStep REMOTE_SERVICES[] = {
    create(ov_app_gpon_config_restore_rm_service),
};
constexpr RestoreStep REMOTE_UNI_VLANS[] = {
    set(ov_app_gpon_config_restore_rm_uni_vlan),
};
constexpr RestoreStep REMOTE_MULTICAST[] = {
    set(ov_app_gpon_config_restore_rm_mcast),
};
constexpr RestoreStep REMOTE_WAN_WIFI[] = {
    create(ov_app_gpon_config_restore_rm_wan),
    create(ov_app_gpon_config_restore_rm_wifi),
};
constexpr RestoreStep REMOTE_VOIP[] = {
    set(ov_app_gpon_config_restore_rm_voip_cfg),
    create(ov_app_gpon_config_restore_rm_voip_sip_agent),
    set(ov_app_gpon_config_restore_rm_voip_sip_user),
};
// No optical thresholds, in spite of the stage's name: the card's own hold until the operator sets them.
constexpr RestoreStep REMOTE_MAC_FILTERS[] = {
    set(ov_app_gpon_config_restore_rm_macfilter_mode),
    create(ov_app_gpon_config_restore_rm_macfilter_static),
    set(ov_app_gpon_config_restore_rm_macfilter_dynamic),
};
constexpr RestoreStep REMOTE_POE[] = {
    set(ov_app_gpon_config_restore_rm_uni_poe),
    set(ov_app_gpon_config_restore_rm_onu_poe),
};

// Seconds that it took.
double run_steps(std::span<const RestoreStep> steps, int slot) {
    StageClock clock;
    for (const RestoreStep& step : steps) {
        if (step.table != nullptr)
            (*step.table)(slot, step.action);
        else
            step.restore(slot);
    }
    return clock.stop();
}

int slot_of_chain(const struct thread* thread) {
    return static_cast<int>(static_cast<const umsg_cfg_sync_t*>(THREAD_ARG(thread))->slotid);
}

// The chain can't fail: what it sent was never waited for.
void finish_chain(struct thread* thread) {
    const std::unique_ptr<umsg_cfg_sync_t> sync(static_cast<umsg_cfg_sync_t*>(THREAD_ARG(thread)));
    OV_LOG_INFO("recovery", "finished pon config restore for slot %d", static_cast<int>(sync->slotid));
    report_done(*sync);
}

} // namespace

// ---- the stages --------------------------------------------------------------------------------------

#define RUN_STAGE(number, steps, text)                                                                       \
    const int slot = slot_of_chain(thread);                                                                  \
    const double seconds = run_steps(steps, slot);                                                           \
    OV_LOG_INFO("recovery", "slot %d stage " number ": " text, slot, seconds)

// A timer function: replays, logs the text with the seconds, and arms the next one.
#define RECOVERY_STAGE(timer, number, steps, text, next)                                                     \
    int timer(struct thread* thread) {                                                                       \
        RUN_STAGE(number, steps, text);                                                                      \
        app_add_timer_msec(next, THREAD_ARG(thread), STAGE_PAUSE_MSEC);                                      \
        return 0;                                                                                            \
    }

RECOVERY_STAGE(ov_app_gpon_slot_recovery_profile_timer, "1", PROFILES,
               "finish restore gpon profile using %f s", ov_app_gpon_slot_recovery_pon_port_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_pon_port_timer, "2", PON_PORTS,
               "finish restore gpon port configuration using %f s",
               ov_app_gpon_slot_recovery_pon_port_qos_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_pon_port_qos_timer, "2.5", PON_PORT_QOS,
               "finish restore gpon port qos configuration using %f s",
               ov_app_gpon_slot_recovery_pon_onu_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_pon_onu_timer, "3", ONUS,
               "finish gpon onu create and set configuration using %f s",
               ov_app_gpon_slot_recovery_pon_onu_tcont_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_pon_onu_tcont_timer, "4", TCONTS,
               "finish gpon onu tcont configuration using %f s", ov_app_gpon_slot_recovery_pon_onu_gem_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_pon_onu_gem_timer, "5", GEMPORTS,
               "finish restore gpon onu gem configuration using %f s",
               ov_app_gpon_slot_recovery_pon_onu_srv_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_pon_onu_srv_timer, "6", SERVICE_PORTS,
               "finish restore gpon onu srv configuration using %f s",
               ov_app_gpon_slot_recovery_pon_onu_mcast_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_pon_onu_mcast_timer, "7", MULTICAST_VLANS,
               "finish restore gpon onu mcast configuration using %f s",
               ov_app_gpon_slot_recovery_remote_onu_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_remote_onu_timer, "8", REMOTE_ONUS,
               "finish restore remote onu uni-status&iphost&tr069 configuration using %f s",
               ov_app_gpon_slot_recovery_remote_onu_srv_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_remote_onu_srv_timer, "9", REMOTE_SERVICES,
               "finish restore remote onu service configuration using %f s",
               ov_app_gpon_slot_recovery_remote_onu_univlan_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_remote_onu_univlan_timer, "10", REMOTE_UNI_VLANS,
               "finish restore remote onu uni-vlan configuration using %f s",
               ov_app_gpon_slot_recovery_remote_onu_mcast_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_remote_onu_mcast_timer, "11", REMOTE_MULTICAST,
               "finish restore remote onu mcast configuration using %f s",
               ov_app_gpon_slot_recovery_remote_onu_wan_wifi_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_remote_onu_wan_wifi_timer, "12", REMOTE_WAN_WIFI,
               "finish restore remote onu wan&wifi using %f s",
               ov_app_gpon_slot_recovery_remote_onu_voip_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_remote_onu_voip_timer, "13", REMOTE_VOIP,
               "finish restore remote onu wan&wifi using %f s", // the words of stage 12
               ov_app_gpon_slot_recovery_remote_onu_macfileter_threshold_timer)
RECOVERY_STAGE(ov_app_gpon_slot_recovery_remote_onu_macfileter_threshold_timer, "14", REMOTE_MAC_FILTERS,
               "finish restore remote onu macfilter&threshold  configuration using %f s",
               ov_app_gpon_slot_recovery_remote_onu_poe_uni_poe_timer)

int ov_app_gpon_slot_recovery_remote_onu_poe_uni_poe_timer(struct thread* thread) {
    RUN_STAGE("15", REMOTE_POE, "finish restore remote unipoe using %f s");
    finish_chain(thread);
    return 0;
}

// ---- the priorities ----------------------------------------------------------------------------------

namespace {

int start_chain(const umsg_cfg_sync_t& sync) {
    auto* copy = new (std::nothrow) umsg_cfg_sync_t(sync);
    if (copy == nullptr)
        return KAVO_MEMORY;
    app_add_timer_msec(ov_app_gpon_slot_recovery_profile_timer, copy, STAGE_PAUSE_MSEC);
    return KAVO_OK;
}

bool is_served(uint32_t slot) {
    return ov_product_is_slot_sc(slot) || ov_product_is_slot_lc(slot) || ov_product_is_slot_1u();
}

} // namespace

int ov_app_gpon_config_restore_start_callback(umsg_cfg_sync_t* sync) {
    if (!is_served(sync->slotid)) {
        report_done(*sync);
        return KAVO_PARAM;
    }
    const int slot = static_cast<int>(sync->slotid);
    int result = KAVO_OK;
    switch (sync->cfg_prio) {
    case REC_SEQ_PON:
        return start_chain(*sync); // reports at its end
    case REC_SEQ_QOS:
        ov_app_onu_qos_config_restore(slot);
        break;
    case REC_SEQ_QINQ:
        ov_app_gpon_qinq_config_restore(slot);
        result = ov_app_gpon_sync_end(slot);
        break;
    default:
        return KAVO_OK;
    }
    report_done(*sync);
    return result;
}

// ---- the end of the sync -----------------------------------------------------------------------------

namespace {

constexpr int SINGLE_UNIT_SLOT = 1;
constexpr int SYNC_END_SLOT_MAX = 17;

template <size_t N>
void copy_text(char (&to)[N], const char* from) {
    std::memcpy(to, from, strnlen(from, N - 1)); // the rest is zeros
}

} // namespace

int ov_app_gpon_sync_end(int slot) {
    if (ov_product_get_product_type() == OV_PRODUCT_TYPE_CHASSIS &&
        !ov_product_is_slot_lc(static_cast<uint32_t>(slot))) {
        OV_LOG_INFO("recovery", "No need to recover slot id %d", slot);
        return OV_GPON_RET_OK;
    }
    if (ov_product_get_product_type() == OV_PRODUCT_TYPE_UNIT && slot != SINGLE_UNIT_SLOT) {
        OV_LOG_ERROR("recovery", "Wrong slot id %d", slot);
        return OV_GPON_RET_BAD_PARAM;
    }
    ov_gpon_cfg_sync_end_attr_t record = {};
    record.slotid = slot;
    copy_text(record.vendorName, ov_product_get_sysinfo_product_vender());
    copy_text(record.eqptSn, ov_product_sn_get());
    copy_text(record.eqptName, ov_product_get_sysinfo_product_name());
    const int result =
        ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_CONF_SYNC_END, OV_HAL_GPON_MSG_ACTION_SET, &record, 0, 1);
    if (result == OV_GPON_RET_OK)
        OV_LOG_INFO("recovery", "set sync finish success");
    else if (result == OV_GPON_RET_NOT_SUPPORT)
        OV_LOG_WARN("recovery", "set sync finish  which not support");
    else
        OV_LOG_ERROR("recovery", "sync finish set error");
    if (slot >= 1 && slot <= SYNC_END_SLOT_MAX)
        ov_startup_gpon_config_sync_end_set(slot, 1);
    return result;
}

int ov_app_gpon_trap_status_sync_callback(uint32_t /*slot_id*/) {
    big_int32_at nothing = {};
    const int result =
        ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_TRAP_SYNC, OV_HAL_GPON_MSG_ACTION_SET, &nothing, 0, 0);
    if (result == OV_GPON_RET_OK)
        OV_LOG_INFO("recovery", "set trap sync success");
    else if (result == OV_GPON_RET_NOT_SUPPORT)
        OV_LOG_WARN("recovery", "set to which not support");
    else
        OV_LOG_ERROR("recovery", "config restore error");
    return result;
}
