#include "env_store.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "../ov_file_replace.h"

namespace {

constexpr char DEFAULT_DIR[] = "/var/run/product/env";
constexpr size_t MAX_NAME = 128;

std::string directory() {
    const char* dir = getenv("OV_ENV_DIR");
    return dir != nullptr && *dir != '\0' ? dir : DEFAULT_DIR;
}

bool is_alphanumeric(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

} // namespace

bool env_store_is_name(const std::string& name) {
    if (name.empty() || name.size() > MAX_NAME || name.front() == '.' || name.front() == '-')
        return false;
    return std::all_of(name.begin(), name.end(),
                       [](char c) { return is_alphanumeric(c) || c == '_' || c == '-' || c == '.'; });
}

std::optional<std::string> env_store_get(const std::string& name) {
    if (!env_store_is_name(name))
        return std::nullopt;
    std::string path = directory() + "/" + name;
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return std::nullopt;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::string value{std::istreambuf_iterator<char>(in), {}};
    if (value.ends_with('\n'))
        value.pop_back();
    return value;
}

int env_store_put(const std::string& name, const std::string& value) {
    if (!env_store_is_name(name))
        return EINVAL;
    std::string dir = directory();
    std::error_code error;
    std::filesystem::create_directories(dir, error);
    if (error)
        return error.value();
    return ov_file_replace(dir + "/" + name, value + "\n");
}
