#include "ov_build_info.h"

#include "ov_clock.h"

// The build system may define these; what follows stands in for a compilation without it.
#ifndef GPON_VERSION
#define GPON_VERSION "6.1"
#endif
#ifndef GPON_PRODUCT
#define GPON_PRODUCT "gpon"
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
#elif defined(__SANITIZE_THREAD__)
#define GPON_BUILD_SANITIZER ", ThreadSanitizer"
#else
#define GPON_BUILD_SANITIZER ""
#endif

#ifdef __clang__
#define GPON_COMPILER __VERSION__ // names itself
#else
#define GPON_COMPILER "gcc " __VERSION__
#endif

namespace {
ov_build_facts_t build_facts = {.time = "unknown", .commit = "unknown"};
const time_t start_time = ov_wall_time();
} // namespace

const char* ov_build_product() {
    return GPON_PRODUCT;
}

const char* ov_build_version() {
    return GPON_VERSION;
}

const char* ov_build_type() {
    return GPON_BUILD_TYPE GPON_BUILD_SANITIZER;
}

const char* ov_build_compiler() {
    return GPON_COMPILER;
}

const char* ov_build_time() {
    return build_facts.time;
}

const char* ov_build_commit() {
    return build_facts.commit;
}

time_t ov_process_start_time() {
    return start_time;
}

void ov_build_set_facts(const ov_build_facts_t& facts) {
    build_facts = facts;
}
