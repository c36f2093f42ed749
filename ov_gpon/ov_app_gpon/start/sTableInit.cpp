#include "sTableInit.h"

#include "app_modules.h"
#include "mmg_mib_save_task.h"
#include "ov_app_gpon_bwtype.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_rm_traffic.h"
#include "ov_product_log.h"
#include "table_modules.h"

namespace {

constexpr ov_init_step_t table_inits[] = {
#define OV_TABLE_INIT(function) {#function, function},
#include "table_init_list.def"
#undef OV_TABLE_INIT
};
static_assert(std::size(table_inits) == 65);

constexpr ov_init_step_t app_inits[] = {
#define OV_APP_INIT(function) {#function, function},
#include "app_init_list.def"
#undef OV_APP_INIT
};
static_assert(std::size(app_inits) == 60);

void run_list(std::span<const ov_init_step_t> list) {
    for (const ov_init_step_t& step : list) {
        OV_LOG_DEBUG("LIB", "%s", step.name);
        step.init();
    }
}

} // namespace

std::span<const ov_init_step_t> ov_table_init_list() {
    return table_inits;
}

std::span<const ov_init_step_t> ov_app_init_list() {
    return app_inits;
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
