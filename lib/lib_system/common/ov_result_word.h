// Result numbers in words, for people: the name that a number has in its family (ov_types.h).
#pragma once

#include <cstdint>
#include <string>

// "1003 OV_GPON_RET_BAD_PARAM"; the number alone where it has no name. Any thread.
std::string ov_result_text(int64_t result);
