#pragma once

// What an operator sees at a terminal while the daemon works on a line that takes its time: what it has
// printed so far, and for how long it has been at work. The line goes again when the answer comes, which has
// all of the text:
//
//   Getting file from 10.0.0.1, please wait... 12 s

#include <string>
#include <string_view>

/// The line for the text of an answer so far, which may be longer than a terminal is wide; "" for none.
std::string wait_line(std::string_view so_far, unsigned seconds);
