// When the program was built, and from what.
#pragma once

#include "ov_build_info.h"

extern const ov_build_facts_t build_facts;
