#include "table_file_copy.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t BLOCK = size_t{256} * 1024;
constexpr size_t END_MAX = 32; // more than the last line ever takes

// Reads a part of a file; false if it isn't there or can't be read.
bool read_part(int fd, char* to, size_t size, uint64_t at) {
    while (size > 0) {
        const ssize_t got = pread(fd, to, size, static_cast<off_t>(at));
        if (got < 0 && errno == EINTR)
            continue;
        if (got == 0)
            errno = EIO; // it has become shorter
        if (got <= 0)
            return false;
        to += got;
        size -= static_cast<size_t>(got);
        at += static_cast<uint64_t>(got);
    }
    return true;
}

// Reads the beginning of a file block by block; false as soon as that or the visit fails.
template <typename Visit>
bool for_each_block(int fd, uint64_t size, Visit visit) {
    std::vector<char> block(static_cast<size_t>(std::min<uint64_t>(size, BLOCK)));
    for (uint64_t at = 0; at < size;) {
        const auto part = static_cast<size_t>(std::min<uint64_t>(size - at, block.size()));
        if (!read_part(fd, block.data(), part, at) || !visit(std::string_view(block.data(), part)))
            return false;
        at += part;
    }
    return true;
}

std::optional<uint64_t> count_lines(int fd, uint64_t size) {
    uint64_t lines = 0;
    const bool read = for_each_block(fd, size, [&](std::string_view block) {
        lines += static_cast<uint64_t>(std::count(block.begin(), block.end(), '\n'));
        return true;
    });
    return read ? std::optional(lines) : std::nullopt;
}

// The number in a last line of the form "#12\n".
std::optional<uint64_t> number_of_end(std::string_view line) {
    if (line.size() < 3 || line.front() != '#' || line.back() != '\n')
        return std::nullopt;
    const char* const end = line.data() + line.size() - 1;
    uint64_t number = 0;
    const auto [stop, error] = std::from_chars(line.data() + 1, end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

// Keeps room for the file on the disk, without changing it; 0 or an errno. A file system that can't is taken
// as it is.
int reserve(int fd, uint64_t size) {
    int error = 0;
    do {
        const bool done = size == 0 || table_file_calls.fallocate(fd, FALLOC_FL_KEEP_SIZE, 0,
                                                                  static_cast<off_t>(size)) == 0;
        error = done ? 0 : errno;
    } while (error == EINTR);
    return error == EOPNOTSUPP || error == ENOSYS || error == ENODEV ? 0 : error;
}

} // namespace

std::string table_copy_path(const char* path) {
    return std::string(path) + ".new";
}

std::string table_copy_end(uint64_t lines) {
    return "#" + std::to_string(lines) + "\n";
}

std::optional<uint64_t> table_copy_content(const TableFile& copy) {
    struct stat status {};
    if (fstat(copy.fd(), &status) != 0 || status.st_size <= 0)
        return std::nullopt;
    const auto size = static_cast<uint64_t>(status.st_size);
    std::array<char, END_MAX> bytes{};
    const auto part = static_cast<size_t>(std::min<uint64_t>(size, bytes.size()));
    if (!read_part(copy.fd(), bytes.data(), part, size - part))
        return std::nullopt;
    std::string_view end(bytes.data(), part);
    if (const size_t feed = end.substr(0, part - 1).rfind('\n'); feed != std::string_view::npos)
        end.remove_prefix(feed + 1);
    const std::optional<uint64_t> lines = number_of_end(end);
    const uint64_t content = size - end.size();
    if (!lines || count_lines(copy.fd(), content) != lines)
        return std::nullopt;
    return content;
}

CopyResult table_copy_write(const TableFile& copy, uint64_t size, const char* path) {
    const TableFile file(path, TableFile::IN_PLACE);
    if (!file.is_open())
        return CopyResult::UNTOUCHED;
    if (const int error = reserve(file.fd(), size)) {
        errno = error;
        return CopyResult::UNTOUCHED;
    }
    const bool written = for_each_block(copy.fd(), size, [&file](std::string_view block) {
        errno = table_file_write(file.fd(), block.data(), block.size());
        return errno == 0;
    });
    // What the file had more than this goes last: until then no room of it is given up.
    if (!written || table_file_calls.ftruncate(file.fd(), static_cast<off_t>(size)) != 0)
        return CopyResult::BROKEN;
    return CopyResult::DONE;
}
