#include "gpon_cli.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "kavo_cmd.h"
#include "ov_refusal.h"

mib_long gpon_cli_number(const char* word) {
    return static_cast<mib_long>(strtol(word, nullptr, 10));
}

MIB_Flags_t gpon_cli_columns(std::initializer_list<unsigned> columns) {
    MIB_Flags_t flags = {};
    for (const unsigned column : columns)
        mib_flag_set(flags, column);
    return flags;
}

std::string gpon_cli_shown(const char* text) {
    std::string copy = text;
    std::replace_if(
        copy.begin(), copy.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return copy;
}

namespace {

// A line without its percent sign and line end.
std::string gpon_cli_plain(const std::string& line) {
    const size_t first = line.find_first_not_of("% ");
    const size_t last = line.find_last_not_of("\r\n ");
    return first <= last && last != line.npos ? line.substr(first, last - first + 1) : "";
}

} // namespace

int gpon_cli_fail(struct vty* vty, const char* text, int result) {
    std::string line;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view two = rest.substr(0, 2);
        const bool special = two == "%%" || two == "%s";
        if (two == "%s")
            line += kavo_newline(vty);
        else
            line += rest.front();
        rest.remove_prefix(special ? 2 : 1);
    }
    vty_out(vty, "%s", line.c_str());
    ov_refusal_note_error(gpon_cli_plain(line).c_str());
    return result;
}

int gpon_cli_fail_name(struct vty* vty, const char* text, size_t longest) {
    ov_refusal_because("a name has at most %zu characters", longest);
    return gpon_cli_fail(vty, text);
}
