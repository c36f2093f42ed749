// Replacing a file in one step.
#pragma once

#include <string>
#include <string_view>

#include <sys/types.h>

// Writes the text to a temporary file beside `path` and renames it, so that a reader sees the old file or
// the new one and never a part. An existing file keeps its permissions, a new one gets `mode`. Returns 0
// or an errno; on failure the old file stands as it was and nothing is left over.
int ov_file_replace(const std::string& path, std::string_view text, mode_t mode = 0644);
