// Firmware files of ONUs: the directory that holds them, and where line cards fetch them. Any thread.
#pragma once

#include <string>

// The directory of the files, without a slash behind it: the declared one (ov_product_onu_version_path_get),
// or "/app/appload/onu".
std::string ov_product_onu_image_dir();
// A file there.
std::string ov_product_onu_image_path(const std::string& name);
// Whether it is there.
bool ov_product_onu_image_exists(const std::string& name);

// Copies a file of the directory to /tmp, from where the cards take it ("cp -f"), and waits for that. 0, or
// OV_GPON_RET_NO_RESOURCE when it isn't there, couldn't be copied, or has a name that no file may have here
// (ov_command_word_ok).
int ov_product_onuupdate_mibdata_convert_to_hal(const char* version);
