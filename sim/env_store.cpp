#include "env_store.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

EnvStore::EnvStore() {
    const char* dir = std::getenv("OV_ENV_DIR");
    directory_ = dir && *dir ? dir : "/var/run/product/env";
}

bool EnvStore::is_name(std::string_view name) {
    return !name.empty() && name.size() <= 128 && std::all_of(name.begin(), name.end(), [](char c) {
        return c == '_' || std::isalnum(static_cast<unsigned char>(c));
    });
}

bool EnvStore::put(const std::string& name, const std::string& value, std::string& error) const {
    std::error_code code;
    fs::create_directories(directory_, code);
    const std::string path = directory_ + "/" + name;
    const std::string fresh = directory_ + "/." + name + ".new"; // not a name: readers pass over it
    std::ofstream file(fresh, std::ios::binary | std::ios::trunc);
    file << value;
    file.close();
    if (!file) {
        error = "environment store: can't write " + path;
        return false;
    }
    fs::rename(fresh, path, code);
    if (code)
        error = "environment store: " + path + ": " + code.message();
    return !code;
}

std::optional<std::string> EnvStore::get(const std::string& name) const {
    std::ifstream file(directory_ + "/" + name, std::ios::binary);
    if (!file)
        return {};
    std::string value((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    while (value.ends_with('\n')) // as the tool's own writer leaves it
        value.pop_back();
    return value;
}

bool EnvStore::remove(const std::string& name) const {
    std::error_code code;
    return fs::remove(directory_ + "/" + name, code);
}

std::vector<std::pair<std::string, std::string>> EnvStore::all() const {
    std::vector<std::pair<std::string, std::string>> values;
    std::error_code code;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory_, code)) {
        const std::string name = entry.path().filename();
        if (!is_name(name))
            continue;
        if (auto value = get(name))
            values.emplace_back(name, std::move(*value));
    }
    std::sort(values.begin(), values.end());
    return values;
}
