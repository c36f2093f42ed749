// Ini files, on iniparser. Keys and sections are case-insensitive, as iniparser treats them.
#pragma once

#include <memory>
#include <string>

// The integer at [section] key (decimal, 0x and leading-0 octal forms as iniparser reads them). A missing
// or unreadable file, section, key, or a value that isn't a number gives `dflt`. `path` may be null.
int ov_util_ini_cfg_get_int(const char* path, const char* section, const char* key, int dflt);

// The text at [section] key, or `dflt`.
std::string ov_util_ini_cfg_get_str(const char* path, const char* section, const char* key,
                                    const std::string& dflt);

// Sets [section] key to value and writes the file anew (through a temporary file and a rename, so that
// a reader never sees half a file), creating file and section when missing. Returns 0, or an errno.
// Section and key must be non-empty and without '[', ']', ':', '=' and line ends (EINVAL); the value must
// be a line that the file can hold (EINVAL) and not too long for one (EMSGSIZE). A file that stands there
// but isn't an ini file is left alone (EBADMSG). Comments in the file are not kept.
int ov_util_ini_cfg_set_val(const char* path, const char* section, const char* key, const char* value);

// A file that is read once for many keys.
class ov_util_ini_file {
public:
    explicit ov_util_ini_file(const char* path); // may be null
    ~ov_util_ini_file();
    ov_util_ini_file(const ov_util_ini_file&) = delete;
    ov_util_ini_file& operator=(const ov_util_ini_file&) = delete;

    // Whether the file is there and an ini file.
    bool is_loaded() const;
    // The integer at [section] key as iniparser_getint gives it: the number that the value begins with, 0 for
    // one that doesn't, the nearest of 32 bits for one that is too large. `dflt` for a missing key.
    int get_int(const char* section, const char* key, int dflt) const;

private:
    struct Content;
    std::unique_ptr<Content> content_;
};
