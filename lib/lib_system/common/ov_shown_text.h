// Texts of people in front of a terminal: tables hold bytes of no particular character set, and what isn't
// printable would upset a terminal. ASCII and UTF-8 (RFC 3629) are shown, everything else isn't.
//
// All of it is safe from any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The bytes of the character that a text begins with, 1 to 4; 0 for a control character, for bytes that are
// no well-formed UTF-8, and for an empty text.
size_t ov_shown_length(std::string_view text);

// Whether all of a text can be shown.
bool ov_is_shown(std::string_view text);

// The text with '?' for each byte that can't be shown.
std::string ov_shown_text(std::string_view text);

// The characters of a text that take so many places at most.
std::string_view ov_shown_beginning(std::string_view text, size_t places);

// The places that a text takes on a terminal: one for each character, and for each byte that isn't one.
size_t ov_shown_width(std::string_view text);
