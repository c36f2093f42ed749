// What this program was built as. No paths and no host names: the texts go into reports.
#pragma once

const char* ov_build_version();  // "6.1"
const char* ov_build_type();     // the build system's name for it, such as "RelWithDebInfo"
const char* ov_build_compiler(); // name and version
