#include "ov_file_replace.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int write_all(int fd, std::string_view text) {
    while (!text.empty()) {
        ssize_t n = write(fd, text.data(), text.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return errno;
        text.remove_prefix(size_t(n));
    }
    return 0;
}

// Hidden, so that it isn't taken for a file of its own where a directory is listed.
std::string temporary_name(const std::string& path) {
    size_t slash = path.rfind('/');
    size_t base = slash == std::string::npos ? 0 : slash + 1;
    return path.substr(0, base) + "." + path.substr(base) + ".XXXXXX";
}

} // namespace

int ov_file_replace(const std::string& path, std::string_view text, mode_t mode) {
    struct stat old {};
    if (stat(path.c_str(), &old) == 0)
        mode = old.st_mode & 07777;
    std::string temporary = temporary_name(path);
    int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        return errno;
    int rc = write_all(fd, text);
    if (rc == 0 && fchmod(fd, mode) != 0)
        rc = errno;
    if (close(fd) != 0 && rc == 0)
        rc = errno;
    if (rc == 0 && rename(temporary.c_str(), path.c_str()) != 0)
        rc = errno;
    if (rc != 0)
        unlink(temporary.c_str());
    return rc;
}
