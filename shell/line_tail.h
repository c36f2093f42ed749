#pragma once

// What an operator may put behind a command that shows something, and what the shell does with it:
//
//   show onu status | include gpon-onu1/1     lines with a text
//   show onu status | exclude operational     lines without it
//   show onu status | include added | count   how many lines there are; "| count" alone counts a table's rows
//   show onu status | json                    the table as JSON, one object a row
//   show onu status repeat 5                  again every 5 seconds, until Ctrl-C
//   show onu status repeat 5 3                three times
//
// The daemon sees the command alone, or asks for its rows as JSON. A "|" counts only as a word of its own in
// a line that begins with "show", "write", "list" or "find"; everywhere else it is part of a text.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// What is done with the lines of an answer.
struct LineFilter {
    enum Kind { INCLUDE, EXCLUDE, COUNT, JSON } kind;
    std::string text; // of INCLUDE and EXCLUDE: looked for as it stands, capital or small letters
};

/// A line, taken apart.
struct LineTail {
    std::string command; // what the daemon gets
    std::vector<LineFilter> filters;
    unsigned seconds = 0; // between two runs; 0: the command runs once
    unsigned times = 0;   // of these; 0: until Ctrl-C

    /// Is the table wanted as JSON?
    bool json() const;
};

/// Is it, or does it begin, a line whose output a tail can follow?
bool takes_tail(const std::string& line);

/// Take a line apart. The second alternative says what is wrong with its tail, as a line for the operator.
/// @param is_command  does the daemon know this line as it stands? Such a line has no "repeat".
std::variant<LineTail, std::string> take_tail(const std::string& line, bool is_command);

/// The text that is left of an answer. JSON takes part in nothing here: the daemon made it.
std::string filtered(std::string_view text, const std::vector<LineFilter>& filters);

/// What can stand behind the last "|" of an unfinished line: nothing if it has none that counts.
std::optional<std::vector<std::pair<std::string, std::string>>> tail_help(const std::string& text);
