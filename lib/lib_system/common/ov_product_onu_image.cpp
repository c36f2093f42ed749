#include "ov_product_onu_image.h"

#include <string>

#include "ov_command.h"
#include "ov_file.h"
#include "ov_product_place.h"
#include "ov_types.h"

namespace {

constexpr const char* CARDS_DIR = "/tmp/";

std::string path_of(const char* version) {
    return ov_product_onu_version_dir() + "/" + version;
}

} // namespace

bool ov_product_onu_image_exists(const char* version) {
    return ov_command_word_ok(version) && ov_file_is_regular(path_of(version));
}

int ov_product_onuupdate_mibdata_convert_to_hal(const char* version) {
    const std::string path = path_of(version);
    if (!ov_command_word_ok(version) ||
        ov_command_run({"cp", "-f", path.c_str(), CARDS_DIR}, {.quiet = true}) != 0)
        return OV_GPON_RET_NO_RESOURCE;
    return OV_GPON_RET_OK;
}
