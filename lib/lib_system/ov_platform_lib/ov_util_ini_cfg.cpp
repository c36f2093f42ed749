#include "ov_util_ini_cfg.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <iniparser/iniparser.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t MAX_LINE = 1000; // iniparser refuses a file with a line of 1023 characters or more

struct DictionaryDeleter {
    void operator()(dictionary* d) const { iniparser_freedict(d); }
};
using Dictionary = std::unique_ptr<dictionary, DictionaryDeleter>;

// iniparser reports what it can't read to standard error, once per line.
int drop_message(const char* /*format*/, ...) { // NOLINT(cert-dcl50-cpp): iniparser's type
    return 0;
}

// Null for a file that is absent, unreadable or malformed.
Dictionary load(const char* path) {
    static const bool silenced = (iniparser_set_error_callback(drop_message), true);
    (void)silenced;
    return Dictionary(path != nullptr ? iniparser_load(path) : nullptr);
}

std::optional<std::string> lookup(const char* path, const char* section, const char* key) {
    if (section == nullptr || key == nullptr)
        return std::nullopt;
    Dictionary ini = load(path);
    if (!ini)
        return std::nullopt;
    std::string name = std::string(section) + ":" + key;
    if (name.size() > MAX_LINE)
        return std::nullopt;
    const char* value = iniparser_getstring(ini.get(), name.c_str(), nullptr);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

bool is_space(char c) {
    return isspace(static_cast<unsigned char>(c)) != 0;
}

// Whether a text can stand as a section or key name in the file.
bool is_name(const char* text) {
    std::string_view name = text != nullptr ? text : "";
    return !name.empty() && name.find_first_of("[]:=\r\n") == std::string_view::npos && name.front() != '#' &&
           name.front() != ';' && !is_space(name.front()) && !is_space(name.back());
}

// The value as it must be written to be read back; nothing when the file format can't carry it.
std::optional<std::string> quoted(std::string_view value) {
    if (value.find_first_of("\r\n") != std::string_view::npos)
        return std::nullopt;
    if (value.empty() || value.find('"') == std::string_view::npos)
        return "\"" + std::string(value) + "\"";
    if (value.find('\'') == std::string_view::npos)
        return "'" + std::string(value) + "'";
    bool plain = value.front() != '"' && value.front() != '\'' && !is_space(value.front()) &&
                 !is_space(value.back()) && value.back() != '\\' &&
                 value.find_first_of(";#") == std::string_view::npos;
    return plain ? std::optional<std::string>(value) : std::nullopt;
}

// The section a dictionary entry stands in: the longest section name that leads it. Empty for a key in
// front of the first section.
std::string_view section_of(const std::vector<std::string_view>& sections, std::string_view entry) {
    std::string_view best;
    for (std::string_view section : sections) {
        if (section.size() > best.size() && entry.size() > section.size() && entry.starts_with(section) &&
            entry[section.size()] == ':')
            best = section;
    }
    return best;
}

// The whole dictionary as the text of an ini file. iniparser's own dump writes values unquoted, so that
// one with ';' or outer spaces would not come back as it was.
std::string render(const dictionary& ini) {
    std::vector<std::string_view> sections = {""};
    std::vector<int> keys;
    for (int i = 0; i < ini.size; i++) {
        if (ini.key[i] == nullptr)
            continue;
        if (ini.val[i] == nullptr)
            sections.emplace_back(ini.key[i]);
        else
            keys.push_back(i);
    }

    std::string text;
    for (std::string_view section : sections) {
        if (!section.empty())
            text.append("[").append(section).append("]\n");
        for (int i : keys) {
            std::string_view entry = ini.key[i];
            if (section_of(sections, entry) != section)
                continue;
            std::string value = quoted(ini.val[i]).value_or(ini.val[i]);
            text.append(entry.substr(section.size() + 1)).append(" = ").append(value).append("\n");
        }
    }
    return text;
}

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

// Puts the text in the place of the file in one step; permissions of an existing file are kept.
int replace_file(const std::string& path, std::string_view text) {
    struct stat old {};
    mode_t mode = stat(path.c_str(), &old) == 0 ? old.st_mode & 07777 : 0644;
    std::string temporary = path + ".XXXXXX";
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

} // namespace

int ov_util_ini_cfg_get_int(const char* path, const char* section, const char* key, int dflt) {
    std::optional<std::string> text = lookup(path, section, key);
    if (!text || text->empty())
        return dflt;
    char* end = nullptr;
    errno = 0;
    long long value = strtoll(text->c_str(), &end, 0);
    if (errno != 0 || end == text->c_str() || *end != '\0' || value < INT_MIN || value > INT_MAX)
        return dflt;
    return int(value);
}

std::string ov_util_ini_cfg_get_str(const char* path, const char* section, const char* key,
                                    const std::string& dflt) {
    return lookup(path, section, key).value_or(dflt);
}

int ov_util_ini_cfg_set_val(const char* path, const char* section, const char* key, const char* value) {
    if (path == nullptr || *path == '\0' || value == nullptr || !is_name(section) || !is_name(key))
        return EINVAL;
    if (!quoted(value))
        return EINVAL;
    if (strlen(section) + strlen(key) + strlen(value) + 8 > MAX_LINE)
        return EMSGSIZE;

    Dictionary ini = load(path);
    if (!ini) {
        if (access(path, F_OK) == 0)
            return access(path, R_OK) == 0 ? EBADMSG : errno; // what can't be read must not be lost
        ini.reset(dictionary_new(0));
    }
    std::string name = std::string(section) + ":" + key;
    if (!ini || iniparser_set(ini.get(), section, nullptr) != 0 ||
        iniparser_set(ini.get(), name.c_str(), value) != 0)
        return ENOMEM;
    return replace_file(path, render(*ini));
}
