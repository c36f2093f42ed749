#include "ov_app_gpon_pm_cycle.h"

#include <array>
#include <ctime>

#include "agentx.h"
#include "ov_app_gpon_pm_gem.h"
#include "ov_app_gpon_pm_onu.h"
#include "ov_app_gpon_pm_pon.h"
#include "ov_app_gpon_pm_pon_nni.h"
#include "ov_app_gpon_pm_ui.h"
#include "ov_clock.h"
#include "ov_product_log.h"

namespace {

constexpr int INTERVAL_MINUTES = 15;

// The passes by their slot.
constexpr std::array<void (*)(), 5> PASSES = {get_pon_pm_data_task, get_onu_pm_data_task,
                                              get_gem_pm_data_task, get_pon_nni_pm_data_task,
                                              get_ui_pm_data_task};

} // namespace

constinit const std::array<PmFamilyName, 5> ov_app_gpon_pm_families = {
    {{"pon", &PON_PM}, {"onu", &ONU_PM}, {"gem", &GEM_PM}, {"nni", &NNI_PM}, {"uplink", &UPLINK_PM}}};

void pm_5s_cycle_task(unsigned int /*clientreg*/, void* /*clientarg*/) {
    const time_t now = ov_wall_time();
    tm utc = {};
    gmtime_r(&now, &utc);
    const size_t slot = static_cast<size_t>(utc.tm_sec) / PM_TICK_SECONDS;
    if (utc.tm_min % INTERVAL_MINUTES == 0 && slot < PASSES.size())
        PASSES[slot]();
}

void ov_app_gpon_pm_cycle_init() {
    if (agentx_alarm_register(PM_TICK_SECONDS, SA_REPEAT, pm_5s_cycle_task, nullptr) == 0)
        OV_LOG_ERROR("MMG", "register a %d s timer task for check olt pm fail", int{PM_TICK_SECONDS});
    agentx_snmp_update(); // the loop has to wake up for it
}
