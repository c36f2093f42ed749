#include "table_file_io.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr size_t BUFFER_SIZE = size_t{256} * 1024;
constexpr mode_t FILE_MODE = 0666; // as fopen makes files

int open_file(const char* path, int flags) {
    int fd;
    do {
        fd = table_file_calls.open(path, flags | O_RDWR | O_CLOEXEC, FILE_MODE);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

// Words of eight bytes, as the machine has them, and what is left in a last one.
uint64_t add_to_checksum(uint64_t checksum, const char* data, size_t size) {
    constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15; // odd, its bits evenly spread (2^64 by the golden ratio)
    for (size_t at = 0; at < size; at += sizeof(uint64_t)) {
        uint64_t word = 0;
        std::memcpy(&word, data + at, std::min(sizeof word, size - at));
        checksum = (std::rotl(checksum, 29) ^ word) * FACTOR;
    }
    return checksum + size;
}

int open_call(const char* path, int flags, mode_t mode) {
    return open(path, flags, mode);
}

} // namespace

table_file_calls_t table_file_calls = {open_call, fallocate, write, ftruncate, unlink};

int table_file_write(int fd, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t written = table_file_calls.write(fd, data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return written < 0 ? errno : EIO;
        data += written;
        size -= static_cast<size_t>(written);
    }
    return 0;
}

TableFile::TableFile(const char* path, Mode mode) : fd_(-1) {
    if (mode == IN_PLACE)
        fd_ = open_file(path, O_CREAT);
    else if (mode != TRUNCATE)
        fd_ = open_file(path, 0);
    if (mode == TRUNCATE || (mode == OPEN_OR_CREATE && fd_ < 0))
        fd_ = open_file(path, O_CREAT | O_TRUNC);
}

TableFile::~TableFile() {
    const int reason = errno; // of what failed before
    if (fd_ >= 0)
        close(fd_);
    errno = reason;
}

// ---- reading -------------------------------------------------------------------------------------

TableFileReader::TableFileReader(const TableFile& file, uint64_t limit)
    : fd_(file.fd()), left_(limit), buffer_(BUFFER_SIZE) {}

bool TableFileReader::next_line(std::string_view& line) {
    if (skipping_)
        skip_rest();
    size_t searched = 0;
    while (true) {
        const char* start = buffer_.data() + begin_;
        const void* feed = std::memchr(start + searched, '\n', end_ - begin_ - searched);
        if (feed != nullptr) {
            auto length = static_cast<size_t>(static_cast<const char*>(feed) - start);
            line = {start, length};
            begin_ += length + 1;
            break;
        }
        searched = end_ - begin_;
        if (searched >= LINE_SIZE) {
            line = {start, searched};
            begin_ = end_;
            skipping_ = true;
            break;
        }
        if (!fill()) {
            line = {buffer_.data() + begin_, end_ - begin_};
            begin_ = end_;
            if (line.empty())
                return false;
            break;
        }
    }
    line = line.substr(0, LINE_SIZE - 1);
    line = line.substr(0, line.find('\0'));
    return true;
}

// Reads more behind the unread part; false at the end.
bool TableFileReader::fill() {
    if (at_end_)
        return false;
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    const auto wanted = static_cast<size_t>(std::min<uint64_t>(buffer_.size() - end_, left_));
    ssize_t got;
    do {
        got = read(fd_, buffer_.data() + end_, wanted);
    } while (got < 0 && errno == EINTR);
    if (got < 0)
        error_ = errno;
    if (got <= 0) {
        at_end_ = true;
        return false;
    }
    checksum_ = add_to_checksum(checksum_, buffer_.data() + end_, static_cast<size_t>(got));
    end_ += static_cast<size_t>(got);
    left_ -= static_cast<uint64_t>(got);
    return true;
}

void TableFileReader::skip_rest() {
    skipping_ = false;
    while (true) {
        const char* start = buffer_.data() + begin_;
        if (const void* feed = std::memchr(start, '\n', end_ - begin_)) {
            begin_ += static_cast<size_t>(static_cast<const char*>(feed) - start) + 1;
            return;
        }
        begin_ = end_;
        if (!fill())
            return;
    }
}

// ---- writing -------------------------------------------------------------------------------------

TableFileWriter::TableFileWriter(const TableFile& file) : fd_(file.fd()), buffer_(BUFFER_SIZE) {}

char* TableFileWriter::reserve(size_t size) {
    if (buffer_.size() - used_ < size)
        flush();
    return buffer_.data() + used_;
}

bool TableFileWriter::finish() {
    flush();
    return error_ == 0;
}

void TableFileWriter::flush() {
    if (error_ == 0)
        error_ = table_file_write(fd_, buffer_.data(), used_);
    used_ = 0;
}
