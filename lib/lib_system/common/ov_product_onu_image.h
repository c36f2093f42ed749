// Firmware files of ONUs on their way to the line cards. Any thread; waits for the copy.
#pragma once

#include <cstdint>

// Copies a file of the directory of firmware files to /tmp, from where the cards take it ("cp -f"). 0, or
// OV_GPON_RET_NO_RESOURCE when it isn't there, couldn't be copied, or has a name that no file may have here
// (ov_command_word_ok). A copy that this process has made is as good as a new one as long as nobody has
// touched it or the file: an upgrade of many ports copies once.
int ov_product_onuupdate_mibdata_convert_to_hal(const char* version);
// Whether such a copy stands, so that the call above has nothing to do.
bool ov_product_onu_image_is_copied(const char* version);
// Whether the file is there and /tmp has room for it, so that its copy can be expected to succeed.
bool ov_product_onu_image_has_room(const char* version);
// Whether a file of such a name is in the directory.
bool ov_product_onu_image_exists(const char* version);
