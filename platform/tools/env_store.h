// The environment store behind ov_env_get and ov_env_put: one file per name in the directory of the
// environment variable OV_ENV_DIR, or "/var/run/product/env". A file holds the value and a line feed.
#pragma once

#include <optional>
#include <string>

// Names are file names: up to 128 letters, digits, '_', '-' and '.', the first a letter, digit or '_'.
bool env_store_is_name(const std::string& name);
// The value, or nothing when the name isn't set (or isn't one).
std::optional<std::string> env_store_get(const std::string& name);
// Sets it, creating the directory when missing; readers see the old value or the new one. 0 or an errno.
int env_store_put(const std::string& name, const std::string& value);
