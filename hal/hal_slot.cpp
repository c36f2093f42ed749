#include "hal_slot.h"

#include "hal_outbox.h"
#include "ov_product.h"
#include "ov_product_log.h"

int g_agent_slot_exited[OV_SLOT_MAX] = {};

namespace {

// The flag of a slot; null for a number that isn't one.
int* active_flag(unsigned short slot_id) {
    return slot_id >= 1 && slot_id <= OV_SLOT_MAX ? &g_agent_slot_exited[slot_id - 1] : nullptr;
}

bool has_agent(unsigned short slot_id) {
    return ov_product_is_slot_sc(slot_id) || ov_product_is_slot_lc(slot_id) || ov_product_is_slot_1u();
}

} // namespace

void hal_slot_active_flag_set(const char* func_name, int line, unsigned short slot_id) {
    int* flag = active_flag(slot_id);
    if (!flag || !has_agent(slot_id))
        return;
    *flag = 1;
    OV_LOG_NOTICE("LIB", "%s line %d active slot %d message channel.", func_name, line, slot_id);
}

void hal_slot_active_flag_clear(const char* func_name, int line, unsigned short slot_id) {
    if (!active_flag(slot_id))
        return;
    ov_slot_active_flag_clear(slot_id);
    OV_LOG_NOTICE("LIB", "%s line %d deactive slot %d message channel.", func_name, line, slot_id);
}

unsigned int hal_slot_active_flag_check(unsigned short slot_id) {
    const int* flag = active_flag(slot_id);
    return flag && *flag ? 1 : 0;
}

void ov_slot_active_flag_clear(unsigned short slot_id) {
    int* flag = active_flag(slot_id);
    if (!flag || !*flag)
        return;
    *flag = 0;
    OV_LOG_NOTICE("LIB", "slot %d changes to deactive", slot_id);
    hal_outbox_clear(slot_id);
}
