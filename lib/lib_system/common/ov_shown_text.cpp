#include "ov_shown_text.h"

#include <algorithm>
#include <iterator>

namespace {

// RFC 3629, section 4: what may stand behind a first byte. Surrogates and forms that are longer than needed
// are left out, and so are U+0080 to U+009F, which are control characters.
struct Form {
    unsigned char first_least, first_most, second_least, second_most;
    size_t length;
};
constexpr Form FORMS[] = {
    {0xc2, 0xc2, 0xa0, 0xbf, 2}, {0xc3, 0xdf, 0x80, 0xbf, 2}, {0xe0, 0xe0, 0xa0, 0xbf, 3},
    {0xe1, 0xec, 0x80, 0xbf, 3}, {0xed, 0xed, 0x80, 0x9f, 3}, {0xee, 0xef, 0x80, 0xbf, 3},
    {0xf0, 0xf0, 0x90, 0xbf, 4}, {0xf1, 0xf3, 0x80, 0xbf, 4}, {0xf4, 0xf4, 0x80, 0x8f, 4},
};

unsigned char byte_at(std::string_view text, size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

bool is_shown_ascii(char c) {
    return c >= ' ' && c <= '~';
}

bool is_continuation(char c) {
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

bool fits(const Form& form, std::string_view text) {
    const unsigned char first = byte_at(text, 0);
    const unsigned char second = byte_at(text, 1);
    if (first < form.first_least || first > form.first_most || second < form.second_least ||
        second > form.second_most || text.size() < form.length)
        return false;
    const std::string_view rest = text.substr(2, form.length - 2);
    return std::all_of(rest.begin(), rest.end(), is_continuation);
}

} // namespace

size_t ov_shown_length(std::string_view text) {
    const unsigned char first = byte_at(text, 0);
    if (first < 0x80)
        return is_shown_ascii(static_cast<char>(first)) ? 1 : 0;
    const auto* const form =
        std::find_if(std::begin(FORMS), std::end(FORMS), [=](const Form& each) { return fits(each, text); });
    return form != std::end(FORMS) ? form->length : 0;
}

bool ov_is_shown(std::string_view text) {
    if (std::all_of(text.begin(), text.end(),
                    is_shown_ascii)) // nearly all are: a saved configuration asks often
        return true;
    while (!text.empty()) {
        const size_t length = ov_shown_length(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string ov_shown_text(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const size_t length = ov_shown_length(text);
        shown += length == 0 ? std::string_view("?") : text.substr(0, length);
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return shown;
}

size_t ov_shown_width(std::string_view text) {
    size_t width = 0;
    for (; !text.empty(); ++width)
        text.remove_prefix(std::max<size_t>(ov_shown_length(text), 1));
    return width;
}

std::string_view ov_shown_beginning(std::string_view text, size_t places) {
    size_t end = 0;
    for (; places > 0 && end < text.size(); --places)
        end += std::max<size_t>(ov_shown_length(text.substr(end)), 1);
    return text.substr(0, end);
}
