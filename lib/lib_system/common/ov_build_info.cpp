#include "ov_build_info.h"

// The build system may define both; these stand in for a compilation without it.
#ifndef GPON_VERSION
#define GPON_VERSION "6.1"
#endif
#ifndef GPON_BUILD_TYPE
#ifdef __OPTIMIZE__
#define GPON_BUILD_TYPE "optimised"
#else
#define GPON_BUILD_TYPE "debug"
#endif
#endif

#ifdef __SANITIZE_ADDRESS__
#define GPON_BUILD_SANITIZER ", AddressSanitizer"
#else
#define GPON_BUILD_SANITIZER ""
#endif

#ifdef __clang__
#define GPON_COMPILER __VERSION__ // names itself
#else
#define GPON_COMPILER "gcc " __VERSION__
#endif

const char* ov_build_version() {
    return GPON_VERSION;
}

const char* ov_build_type() {
    return GPON_BUILD_TYPE GPON_BUILD_SANITIZER;
}

const char* ov_build_compiler() {
    return GPON_COMPILER;
}
