#include "ov_product_onu_image.h"

#include <sys/stat.h>

#include "ov_command.h"
#include "ov_product.h"
#include "ov_types.h"

namespace {
constexpr const char* USUAL_DIR = "/app/appload/onu";
constexpr const char* CARDS_DIR = "/tmp/";
} // namespace

std::string ov_product_onu_image_dir() {
    const char* declared = ov_product_onu_version_path_get();
    return declared != nullptr ? declared : USUAL_DIR;
}

std::string ov_product_onu_image_path(const std::string& name) {
    return ov_product_onu_image_dir() + "/" + name;
}

bool ov_product_onu_image_exists(const std::string& name) {
    struct stat found = {};
    return ov_command_word_ok(name) && stat(ov_product_onu_image_path(name).c_str(), &found) == 0 &&
           S_ISREG(found.st_mode);
}

int ov_product_onuupdate_mibdata_convert_to_hal(const char* version) {
    const std::string path = ov_product_onu_image_path(version);
    if (!ov_command_word_ok(version) || ov_command_run({"cp", "-f", path.c_str(), CARDS_DIR}) != 0)
        return OV_GPON_RET_NO_RESOURCE;
    return OV_GPON_RET_OK;
}
