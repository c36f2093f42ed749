#include "sTableInit.h"

#include "app_modules.h"
#include "mmg_mib_save_task.h"
#include "ov_app_gpon_bwtype.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_rm_traffic.h"
#include "ov_product_log.h"
#include "table_modules.h"

namespace {

constexpr ov_init_step_t TABLE_INITS[] = {
#define OV_TABLE_INIT(function) {#function, function},
#include "table_init_list.def"
#undef OV_TABLE_INIT
};
static_assert(std::size(TABLE_INITS) == 65);

constexpr ov_init_step_t APP_INITS[] = {
#define OV_APP_INIT(function) {#function, function},
#include "app_init_list.def"
#undef OV_APP_INIT
};
static_assert(std::size(APP_INITS) == 60);

void run_list(std::span<const ov_init_step_t> list) {
    for (const ov_init_step_t& step : list) {
        OV_LOG_DEBUG("LIB", "%s", step.name);
        step.init();
    }
}

} // namespace

std::span<const ov_init_step_t> ov_table_init_list() {
    return TABLE_INITS;
}

std::span<const ov_init_step_t> ov_app_init_list() {
    return APP_INITS;
}

void init_ovra_snmp_set() {
    run_list(ov_table_init_list());
    run_list(ov_app_init_list());
    mmg_mib_save_task_init();
}

void init_ovra_gpon_table_default_set() {
    ov_app_gpon_bwtype_add_default();
    ov_app_gpon_rm_traffic_add_default();
    ov_app_gpon_profile_onutype_add_default();
}
