// The copy that stands beside a table file while the file is written.
//
// A table file is written in place, so a process that ends half-way leaves half a file. The new content
// therefore stands whole in a copy ("sTcontTable.mib.new") before the file is touched, and the copy goes
// when the file is done. It holds the lines of the file and one more, "#" and the number of those lines:
// without that line it isn't whole. What moves or packs table files takes "*.mib" and never meets it.
//
// This covers the end of the process, at any instant. Nothing is forced to the disk: the files lie in the
// platform's run directory, which doesn't outlive the system's own end.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "table_file_io.h"

// Where the copy of a table file stands.
std::string table_copy_path(const char* path);

// The last line of a copy.
std::string table_copy_end(uint64_t lines);

// The size in bytes of the content in a copy, without the last line; nothing if the copy isn't whole.
std::optional<uint64_t> table_copy_content(const TableFile& copy);

enum class CopyResult {
    DONE,
    UNTOUCHED, // the file is as it was
    BROKEN,    // the file holds part of the content
};
// Writes the content of a copy, which is `size` bytes long, into a table's file. The file's room is reserved
// before it is touched, so a full disk leaves it as it was. For anything but DONE, errno says why.
CopyResult table_copy_write(const TableFile& copy, uint64_t size, const char* path);
