#include "ov_app_gpon_config_restore.h"

#include <memory>
#include <new>
#include <span>

#include "app_loop.h"
#include "app_stage.h"
#include "app_text.h"
#include "mono_api.h"
#include "ov_app_gpon_config_restore_tables.h"
#include "ov_app_gpon_qinq.h"
#include "ov_app_gpon_qos.h"
#include "ov_app_gpon_restore_record.h"
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

// ---- the stages --------------------------------------------------------------------------------------

#define RECOVERY_STAGE(timer, ...) int timer(struct thread* thread);
#include "config_restore_stages.def"
#undef RECOVERY_STAGE

#define RECOVERY_STAGE(timer, ...)                                                                           \
    {timer, [](void* sync) { app_add_timer_msec(timer, sync, STAGE_PAUSE_MSEC); }},
constexpr ChainStage STAGES[] = {
#include "config_restore_stages.def"
};
#undef RECOVERY_STAGE

// A timer function: replays, logs the text with the seconds, and arms the next one.
#define RECOVERY_STAGE(timer, number, text, ...)                                                             \
    int timer(struct thread* thread) {                                                                       \
        static constexpr RestoreStep STEPS[] = {__VA_ARGS__};                                                \
        const int slot = slot_of_chain(thread);                                                              \
        const double seconds = run_steps(STEPS, slot);                                                       \
        OV_LOG_INFO("recovery", "slot %d stage " number ": " text, slot, seconds);                           \
        if (!arm_next_stage(STAGES, timer, THREAD_ARG(thread)))                                              \
            finish_chain(thread);                                                                            \
        return 0;                                                                                            \
    }
#include "config_restore_stages.def"
#undef RECOVERY_STAGE

// ---- the priorities ----------------------------------------------------------------------------------

int start_chain(const umsg_cfg_sync_t& sync) {
    auto* copy = new (std::nothrow) umsg_cfg_sync_t(sync);
    if (copy == nullptr)
        return KAVO_MEMORY;
    ov_app_gpon_restore_note_begin(static_cast<int>(sync.slotid));
    STAGES[0].arm(copy);
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
    set_text(record.vendorName, ov_product_get_sysinfo_product_vender());
    set_text(record.eqptSn, ov_product_sn_get());
    set_text(record.eqptName, ov_product_get_sysinfo_product_name());
    const int result =
        ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_CONF_SYNC_END, OV_HAL_GPON_MSG_ACTION_SET, &record, 0, 1);
    if (result == OV_GPON_RET_OK)
        OV_LOG_INFO("recovery", "set sync finish success");
    else if (result == OV_GPON_RET_NOT_SUPPORT)
        OV_LOG_WARN("recovery", "set sync finish  which not support");
    else
        OV_LOG_ERROR("recovery", "sync finish set error");
    ov_app_gpon_restore_note_end(slot, result == OV_GPON_RET_OK || result == OV_GPON_RET_NOT_SUPPORT);
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
