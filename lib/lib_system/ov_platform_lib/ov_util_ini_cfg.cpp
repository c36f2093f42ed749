#include "ov_util_ini_cfg.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include <iniparser/iniparser.h>
#include <unistd.h>

#include "ov_file_replace.h"

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

// Whether a line that begins with this key gives it back.
bool is_line_start(std::string_view key) {
    return !key.empty() && !is_space(key.front()) && key.find_first_of("#;") != 0 &&
           key.find('=') == std::string_view::npos;
}

// The section under which to write a dictionary entry ("section:key"). Names with colons can leave a
// choice; all are looked up alike, but not each may leave a key that can stand in the file.
std::string_view section_of(const std::vector<std::string_view>& sections, std::string_view entry) {
    std::string_view best;
    for (std::string_view section : sections) {
        if (entry.size() <= section.size() || !entry.starts_with(section) || entry[section.size()] != ':')
            continue;
        best = section;
        if (is_line_start(entry.substr(section.size() + 1)))
            break;
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
        if (ini.val[i] != nullptr)
            keys.push_back(i);
        else if (*ini.key[i] != '\0') // "[]" is what stands in front of the first section
            sections.emplace_back(ini.key[i]);
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
    return ov_file_replace(path, render(*ini));
}

// ---- ov_util_ini_file -------------------------------------------------------------------------------------

struct ov_util_ini_file::Content {
    Dictionary dictionary;
};

ov_util_ini_file::ov_util_ini_file(const char* path) : content_(new Content{load(path)}) {}
ov_util_ini_file::~ov_util_ini_file() = default;

bool ov_util_ini_file::is_loaded() const {
    return content_->dictionary != nullptr;
}

int ov_util_ini_file::get_int(const char* section, const char* key, int dflt) const {
    const std::string name = std::string(section) + ":" + key;
    const char* text =
        is_loaded() ? iniparser_getstring(content_->dictionary.get(), name.c_str(), nullptr) : nullptr;
    // iniparser's own conversion cuts a number that an int doesn't hold, differently by platform
    return text != nullptr ? int(std::clamp<long long>(strtoll(text, nullptr, 0), INT_MIN, INT_MAX)) : dflt;
}
