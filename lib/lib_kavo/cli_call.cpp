#include "cli_call.h"

#include <cstdarg>
#include <string>

#include "kavo_frr.h"
#include "ov_refusal.h"

namespace {

// A line without its percent sign and line end.
std::string plain(const std::string& line) {
    const size_t first = line.find_first_not_of("% ");
    const size_t last = line.find_last_not_of("\r\n ");
    return first <= last && last != line.npos ? line.substr(first, last - first + 1) : "";
}

// A text of a table as it is printed.
std::string printed(std::string_view text, const char* newline) {
    std::string line;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view two = rest.substr(0, 2);
        const bool special = two == "%%" || two == "%s";
        if (two == "%s")
            line += newline;
        else
            line += rest.front();
        rest.remove_prefix(special ? 2 : 1);
    }
    return line;
}

} // namespace

void CliCall::out(const char* format, ...) const {
    va_list arguments;
    va_start(arguments, format);
    char* text = vasprintfrr(MTYPE_TMP, format, arguments);
    va_end(arguments);
    vty_out(vty, "%s", text);
    XFREE(MTYPE_TMP, text);
}

void CliCall::line(const char* format, ...) const {
    va_list arguments;
    va_start(arguments, format);
    char* text = vasprintfrr(MTYPE_TMP, format, arguments);
    va_end(arguments);
    vty_out(vty, "%s%s", text, kavo_newline(vty));
    XFREE(MTYPE_TMP, text);
}

int CliCall::fail(const char* text, int result) const {
    const std::string line = printed(text, kavo_newline(vty));
    vty_out(vty, "%s", line.c_str());
    ov_refusal_note_error(plain(line).c_str());
    return result;
}

// Of the first "%d" or "%u", which that of a percent sign, "%%u", isn't.
static size_t place_of_number(std::string_view text) {
    for (size_t at = text.find('%'); at != text.npos && at + 1 < text.size(); at = text.find('%', at + 2))
        if (text[at + 1] == 'd' || text[at + 1] == 'u')
            return at;
    return text.npos;
}

int CliCall::fail_of(const char* text, int64_t number, int result) const {
    std::string numbered = text;
    if (const size_t place = place_of_number(numbered); place != std::string::npos)
        numbered.replace(place, 2, std::to_string(number));
    return fail(numbered.c_str(), result);
}

int CliCall::fail_name(const char* text, size_t longest) const {
    ov_refusal_because("a name has at most %zu characters", longest);
    return fail(text);
}
