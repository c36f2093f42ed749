#include "ov_product_onu_image.h"

#include <array>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include <sys/stat.h>
#include <sys/statvfs.h>

#include "ov_command.h"
#include "ov_file.h"
#include "ov_product_place.h"
#include "ov_types.h"

namespace {

constexpr const char* CARDS_DIR = "/tmp/";

std::string path_of(const char* version) {
    return ov_product_onu_version_dir() + "/" + version;
}
std::string copy_of(const char* version) {
    return CARDS_DIR + ov_file_bare_name(version);
}

// What tells one state of a file from another: any write moves its times.
using FileState = std::array<int64_t, 7>;

std::optional<FileState> state_of(const std::string& path) {
    struct stat file {};
    if (stat(path.c_str(), &file) != 0 || !S_ISREG(file.st_mode))
        return std::nullopt;
    return FileState{static_cast<int64_t>(file.st_dev),
                     static_cast<int64_t>(file.st_ino),
                     file.st_size,
                     file.st_mtim.tv_sec,
                     file.st_mtim.tv_nsec,
                     file.st_ctim.tv_sec,
                     file.st_ctim.tv_nsec};
}

// A file and its copy, both as they stood behind the copy.
struct Copied {
    FileState file;
    FileState copy;
    bool operator==(const Copied&) const = default;
};

std::optional<Copied> copied_now(const char* version) {
    const auto file = state_of(path_of(version));
    const auto copy = state_of(copy_of(version));
    return file && copy && (*file)[2] == (*copy)[2] ? std::optional(Copied{*file, *copy}) : std::nullopt;
}

// The copies that this process has made, by the name of the file.
class Copies {
public:
    bool has(const char* version) {
        const std::lock_guard lock(mutex_);
        const auto known = copies_.find(version);
        return known != copies_.end() && copied_now(version) == known->second;
    }
    void add(const char* version, const FileState& file) {
        const std::lock_guard lock(mutex_);
        if (copies_.size() >= size_t{OV_ONU_VERSION_MAX})
            copies_.clear();
        const auto now = copied_now(version);
        if (now && now->file == file) // nobody has written it meanwhile
            copies_.insert_or_assign(version, *now);
    }

private:
    std::mutex mutex_;
    std::map<std::string, Copied> copies_;
};
Copies& copies() {
    static auto& all = *new Copies;
    return all;
}

} // namespace

bool ov_product_onu_image_exists(const char* version) {
    return ov_command_word_ok(version) && ov_file_is_regular(path_of(version));
}

bool ov_product_onu_image_is_copied(const char* version) {
    return ov_command_word_ok(version) && copies().has(version);
}

bool ov_product_onu_image_has_room(const char* version) {
    struct stat file {};
    struct stat there {};
    struct statvfs system {};
    if (!ov_command_word_ok(version) || stat(path_of(version).c_str(), &file) != 0 ||
        statvfs(CARDS_DIR, &system) != 0)
        return false;
    const off_t given_back = stat(copy_of(version).c_str(), &there) == 0 ? there.st_size : 0;
    const uint64_t room = uint64_t{system.f_bavail} * system.f_frsize + static_cast<uint64_t>(given_back);
    return room >= static_cast<uint64_t>(file.st_size);
}

int ov_product_onuupdate_mibdata_convert_to_hal(const char* version) {
    if (ov_product_onu_image_is_copied(version))
        return OV_GPON_RET_OK;
    if (!ov_command_word_ok(version))
        return OV_GPON_RET_NO_RESOURCE;
    const std::string path = path_of(version);
    const auto file = state_of(path);
    if (ov_command_run({"cp", "-f", path.c_str(), CARDS_DIR}, {.quiet = true}) != 0)
        return OV_GPON_RET_NO_RESOURCE;
    if (file)
        copies().add(version, *file);
    return OV_GPON_RET_OK;
}
