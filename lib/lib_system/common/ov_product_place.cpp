#include "ov_product_place.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "ov_command.h"
#include "ov_product.h"
#include "ov_product_info.h"
#include "ov_system.h"

namespace {

constexpr char BOOT_FLAG[] = "boot_flag";
constexpr char DEFAULT_ONU_VERSION_DIR[] = "/app/appload/onu";
constexpr std::chrono::seconds ENV_PUT_LIMIT(5);

struct Place {
    const char* variable;
    const char* path;
};
constexpr Place CONFIG_FILE = {"OV_ENV_CONFIG_FILE", "/flash/gpon.conf"};
constexpr std::array<Place, 2> BOOT_DIRS = {{
    {"OV_ENV_BOOT_DIR_0", "/app/appload/0"},
    {"OV_ENV_BOOT_DIR_1", "/app/appload/1"},
}};

std::string path_of(const Place& place) {
    const char* moved = getenv(place.variable);
    return moved != nullptr ? moved : place.path;
}

bool boots_from_second() {
    std::array<char, OV_PRODUCT_INFO_TEXT_SIZE> flag{};
    ov_product_env_lookup(BOOT_FLAG, flag.data(), flag.size());
    return std::string_view(flag.data()) == "1";
}

// As the system sees it, whatever dots, slashes and links it is written with.
std::filesystem::path real(const std::string& path) {
    std::error_code error;
    const auto place = std::filesystem::weakly_canonical(path, error).lexically_normal();
    return place.has_filename() ? place : place.parent_path(); // without a slash behind it
}

} // namespace

std::string ov_product_config_file() {
    const std::string moved = path_of(CONFIG_FILE);
    return moved.empty() ? CONFIG_FILE.path : moved;
}

std::string ov_product_config_backup_file() {
    return ov_product_config_file() + ".bak";
}

std::string ov_product_onu_version_dir() {
    const char* path = ov_product_onu_version_path_get();
    return path != nullptr ? path : DEFAULT_ONU_VERSION_DIR;
}

int ov_product_onu_version_count() {
    std::array<char, 16> count{};
    const std::string line = "ls " + ov_product_onu_version_dir() + " | sort | wc -l";
    if (get_system_output(line.c_str(), count.data(), static_cast<int>(count.size()) - 1) <= 0)
        return 0;
    return static_cast<int>(strtol(count.data(), nullptr, 10));
}

std::string ov_product_alternate_boot_dir() {
    const bool second = boots_from_second();
    const std::string used = path_of(BOOT_DIRS[second ? 1 : 0]);
    const std::string alternate = path_of(BOOT_DIRS[second ? 0 : 1]);
    const std::filesystem::path place = real(alternate);
    const bool may_be_emptied =
        std::filesystem::path(alternate).is_absolute() && place != "/" && place != real(used);
    return may_be_emptied ? alternate : "";
}

int ov_product_switch_bootflag() {
    return ov_product_env_put(BOOT_FLAG, boots_from_second() ? "0" : "1");
}

int ov_product_env_put(const char* name, const char* value) {
    return ov_command_run({"ov_env_put", name, value}, {.quiet = true, .limit = ENV_PUT_LIMIT}) == 0 ? 0 : -1;
}
