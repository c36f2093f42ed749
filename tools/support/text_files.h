// Files read for a support bundle, none of them longer than is good for it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

struct FileText {
    std::string text;
    bool cut = false; // only the end of the file
};

// The last `most` bytes of a regular file, from the beginning of a line on if it is longer. Nothing, with the
// reason in why, if it can't be read or isn't text (it has NULs).
std::optional<FileText> read_text_file(const std::string& path, size_t most, std::string& why);

// The same of a file that is written line by line: NULs, which a power cut leaves where a block of it was to
// be, end a line.
std::optional<FileText> read_log_file(const std::string& path, size_t most, std::string& why);

// The same of a file whose size isn't known (/proc), its first bytes; NULs become blanks. Empty if it can't
// be read.
std::string read_special_file(const std::string& path);

// The lines of the daemon's log that are at most an hour older than its last one. Empty if no line begins
// with a time.
std::string_view last_hour_of(std::string_view log);
