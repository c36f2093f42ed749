#include "table_file_io.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr size_t kBufferSize = size_t{256} * 1024;
constexpr mode_t kFileMode = 0666; // as fopen makes files

int open_file(const char* path, int flags) {
    int fd;
    do {
        fd = open(path, flags | O_RDWR | O_CLOEXEC, kFileMode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

} // namespace

TableFile::TableFile(const char* path, Mode mode) : fd_(-1) {
    if (mode == OPEN_OR_CREATE)
        fd_ = open_file(path, 0);
    if (fd_ < 0)
        fd_ = open_file(path, O_CREAT | O_TRUNC);
}

TableFile::~TableFile() {
    if (fd_ >= 0)
        close(fd_);
}

// ---- reading -------------------------------------------------------------------------------------

TableFileReader::TableFileReader(const TableFile& file) : fd_(file.fd()), buffer_(kBufferSize) {}

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
        if (searched >= kLineSize) {
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
    line = line.substr(0, kLineSize - 1);
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
    ssize_t got;
    do {
        got = read(fd_, buffer_.data() + end_, buffer_.size() - end_);
    } while (got < 0 && errno == EINTR);
    if (got < 0)
        error_ = errno;
    if (got <= 0) {
        at_end_ = true;
        return false;
    }
    end_ += static_cast<size_t>(got);
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

TableFileWriter::TableFileWriter(const TableFile& file) : fd_(file.fd()), buffer_(kBufferSize) {}

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
    const char* at = buffer_.data();
    while (used_ > 0 && error_ == 0) {
        ssize_t written = write(fd_, at, used_);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            error_ = written < 0 ? errno : EIO;
            break;
        }
        at += written;
        used_ -= static_cast<size_t>(written);
    }
    used_ = 0;
}
