#include "ov_file.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

#include "ov_command.h"

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::minutes LIMIT(5); // of bringing one file from disk to disk

bool is_directory(const std::string& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

// Beside the target, so that the last step is a rename; hidden, so that it isn't taken for a file of its own
// where the directory is listed.
std::string name_on_the_way(const std::string& target) {
    const size_t base = target.rfind('/') + 1; // 0 without a slash
    return target.substr(0, base) + "." + target.substr(base) + ".new";
}

int bring(const char* program, const std::string& from, const std::string& to) {
    const std::string target = is_directory(to) ? to + "/" + ov_file_bare_name(from) : to;
    const std::string way = name_on_the_way(target);
    unlink(way.c_str()); // of one that was killed
    const int status = ov_command_run({program, from.c_str(), way.c_str()}, {.quiet = true, .limit = LIMIT});
    if (status == 0 && rename(way.c_str(), target.c_str()) == 0)
        return 0;
    unlink(way.c_str());
    return -1;
}

} // namespace

bool is_file_exist(const char* path) {
    return path != nullptr && access(path, F_OK) == 0;
}

bool ov_file_is_regular(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

void strip_path(const char* path, char* name) {
    const char* slash = std::strrchr(path, '/');
    const char* bare = slash != nullptr ? slash + 1 : path;
    std::memmove(name, bare, std::strlen(bare) + 1);
}

std::string ov_file_bare_name(const std::string& path) {
    return path.substr(path.rfind('/') + 1); // from the start without a slash
}

int ov_file_move(const std::string& from, const std::string& to) {
    return bring("mv", from, to);
}

int ov_file_copy(const std::string& from, const std::string& to) {
    return bring("cp", from, to);
}

int ov_directory_make(const std::string& path) {
    std::error_code error;
    fs::create_directories(path, error);
    return is_directory(path) ? 0 : -1;
}

int ov_directory_empty(const std::string& path) {
    std::error_code error;
    int result = 0;
    for (fs::directory_iterator entry(path, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code kept;
        fs::remove_all(entry->path(), kept);
        result = kept ? -1 : result;
    }
    return error ? -1 : result;
}
