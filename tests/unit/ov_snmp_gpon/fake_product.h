// The product's facts for a test that runs in a private root.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include <sys/stat.h>

#include "../ov_common/private_root.h"

// Makes the platform's environment tool a shell script of this body; $1 is the name that is asked for.
inline void fake_product(const std::string& body) {
    std::filesystem::create_directories("/tmp/bin");
    private_root::write_file("/tmp/bin/ov_env_get", "#!/bin/sh\n" + body + "\n");
    chmod("/tmp/bin/ov_env_get", 0755);
    setenv("PATH", (std::string("/tmp/bin:") + getenv("PATH")).c_str(), 1);
}
