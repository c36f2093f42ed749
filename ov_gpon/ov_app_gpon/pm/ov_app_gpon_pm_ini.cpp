#include "ov_app_gpon_pm_ini.h"

#include <unistd.h>

#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_util_ini_cfg.h"
#include "pm_thr_family.h"

namespace {

constexpr const char* FALLBACK_FILE = "/tmp/oltpm.ini";

ov_ponPmThrTable_attr_t pon_default;
ov_onuPmThrTable_attr_t onu_default;
ov_gemPmThrTable_attr_t gem_default;

const char* file_name() {
    if (const char* name = ov_product_pm_ini_file())
        return name;
    OV_LOG_NOTICE("MMG", "get pm ini file from env fail!");
    return FALLBACK_FILE;
}

void read_defaults() {
    const char* name = file_name();
    const ov_util_ini_file file(name);
    if (!file.is_loaded()) {
        const bool is_there = access(name, F_OK) == 0; // a system needs none
        OV_APP_LOG(is_there ? OV_LOG_LVL_ERROR : OV_LOG_LVL_NOTICE, "MMG", "cannot parse file: %s!", name);
        return;
    }
    pm_thr_read_default(PON_PM_THR, file, &pon_default);
    pm_thr_read_default(ONU_PM_THR, file, &onu_default);
    pm_thr_read_default(GEM_PM_THR, file, &gem_default);
}

} // namespace

void ov_app_gpon_pm_ini_init() {
    [[maybe_unused]] static const bool read = (read_defaults(), true);
}

void get_ponpm_thr_default(ov_ponPmThrTable_attr_t* row) {
    *row = pon_default;
}
void get_onupm_thr_default(ov_onuPmThrTable_attr_t* row) {
    *row = onu_default;
}
void get_gempm_thr_default(ov_gemPmThrTable_attr_t* row) {
    *row = gem_default;
}
