// What this program is, what it was built from, and since when it runs: the one place that tells. No paths
// and no host names: the texts go into reports.
#pragma once

#include <ctime>

const char* ov_build_product();  // "gpon"
const char* ov_build_version();  // "6.1"
const char* ov_build_type();     // the build system's name for it, such as "RelWithDebInfo"
const char* ov_build_compiler(); // name and version
const char* ov_build_time();     // "2026-02-28 17:05:59 UTC"; "unknown" before main() tells it
const char* ov_build_commit();   // short hash, with "+" for a changed tree; or "unknown"

// When the process was loaded, in seconds since 1970.
time_t ov_process_start_time();

// Known only when a program is linked. Texts are kept as pointers.
struct ov_build_facts_t {
    const char* time;
    const char* commit;
};
// First in main().
void ov_build_set_facts(const ov_build_facts_t& facts);
