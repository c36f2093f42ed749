// Buffered reading of lines and writing of a table file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

#include <sys/types.h>

// The system calls that change files. Tests put others in their place, which fail or end the process.
struct table_file_calls_t {
    int (*open)(const char* path, int flags, mode_t mode);
    int (*fallocate)(int fd, int mode, off_t offset, off_t length);
    ssize_t (*write)(int fd, const void* data, size_t size);
    int (*ftruncate)(int fd, off_t length);
    int (*unlink)(const char* path);
};
extern table_file_calls_t table_file_calls;

// Writes all of it at the file's position; 0 or an errno.
int table_file_write(int fd, const char* data, size_t size);

// An open file, closed with the object.
class TableFile {
public:
    enum Mode {
        OPEN_OR_CREATE, // "r+", and "w+" if that fails
        TRUNCATE,       // "w+"
        EXISTING,       // "r+"
        IN_PLACE,       // "r+" that makes a missing file
    };
    TableFile(const char* path, Mode mode);
    ~TableFile();
    TableFile(const TableFile&) = delete;
    TableFile& operator=(const TableFile&) = delete;

    // False with the reason in errno when the file couldn't be opened.
    bool is_open() const { return fd_ >= 0; }
    int fd() const { return fd_; }

private:
    int fd_;
};

class TableFileReader {
public:
    static constexpr size_t LINE_SIZE = 16384; // longest line, with its line feed or a terminator

    // Reads up to `limit` bytes from the file's position.
    explicit TableFileReader(const TableFile& file, uint64_t limit = std::numeric_limits<uint64_t>::max());

    // The next line without its line feed, valid until the next call; false at the end of the file or after
    // an error. A line ends for good at a NUL and at LINE_SIZE - 1 characters: the rest is passed over.
    bool next_line(std::string_view& line);
    // The errno of what ended the reading, 0 for the end of the file.
    int error() const { return error_; }
    // Of all bytes that were read so far: two readings of one content that lines were taken from alike have
    // the same. It is for telling a file from a changed one, and no protection against whoever means it to
    // look alike.
    uint64_t checksum() const { return checksum_; }

private:
    bool fill();
    void skip_rest();

    int fd_;
    uint64_t left_; // bytes that may still be read
    int error_ = 0;
    uint64_t checksum_ = 0;
    bool at_end_ = false;
    bool skipping_ = false; // the last line was handed out before its line feed was seen
    std::vector<char> buffer_;
    size_t begin_ = 0; // unread part of the buffer
    size_t end_ = 0;
};

class TableFileWriter {
public:
    explicit TableFileWriter(const TableFile& file);

    // Room for `size` characters, up to 64 kB; advance() then says how many were written there.
    char* reserve(size_t size);
    void advance(size_t size) { used_ += size; }
    // Writes what is left and closes nothing. False when anything couldn't be written.
    bool finish();
    // The errno of the first write that failed, 0 for none. After it nothing more is written.
    int error() const { return error_; }

private:
    void flush();

    int fd_;
    int error_ = 0;
    std::vector<char> buffer_;
    size_t used_ = 0;
};
