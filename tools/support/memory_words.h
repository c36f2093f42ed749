// The words of memory that a crash report prints: what stood on the stack may have been a password.
#pragma once

#include <string>
#include <string_view>

// The text of a crash report; in its lines of memory ("0x7ffd3a10: 00000000 70617373 ...") the words with
// four characters of text one behind the other are stars. Addresses and numbers stay, but for the few that
// look so.
std::string blank_memory_words(std::string_view report);
