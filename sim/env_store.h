// The platform's environment store: one file per name, read by the shell tool ov_env_get.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class EnvStore {
public:
    // The directory is $OV_ENV_DIR, or /var/run/product/env.
    EnvStore();

    // Letters, digits and '_': a name is a file name.
    static bool is_name(std::string_view name);

    // The file holds the value alone. It is replaced as a whole, so a reader never sees half of it. Makes the
    // directory when it isn't there. False, with the reason in error.
    bool put(const std::string& name, const std::string& value, std::string& error) const;
    std::optional<std::string> get(const std::string& name) const;
    // False when it wasn't set.
    bool remove(const std::string& name) const;
    // All values, by name.
    std::vector<std::pair<std::string, std::string>> all() const;

    const std::string& directory() const { return directory_; }

private:
    std::string directory_;
};
