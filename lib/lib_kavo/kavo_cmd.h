#pragma once

// Commands declared in tables and installed by one routine.
//
// A command's syntax is declared in the system's own grammar:
//
//   word             a keyword; may be abbreviated by the operator
//   NAME             a variable word (at least two capitals), A.B.C.D an IPv4 address
//   <1-128>          a number in a range
//   (a|b|<1-8>|N)    a choice of keywords, ranges and variable words; blanks inside don't count
//   (a|b|)           the same, and may be left out (a command without it comes first in its table)
//   .WORD            one or more words up to the end of the line
//
// It is translated into the library's grammar, in which these are word, NAME, (1-128),
// <a|b|(1-8)|N>, [a|b] and WORD... . A handler gets a CliCall (cli_call.h), from which it reads the
// variable words by name (cli_words.h tells the rule): what was typed for a variable word, a number or
// a tail, and of a choice the keyword in full, however short the operator typed it.

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kavo_frr.h"

class CliCall;

/// A command's handler. Returns 0 for success; any other value is a failure: the operator's shell sees
/// just that it failed, kavo_cmd_last_result() the value, and one line in the log tells why, which the
/// session can ask for too (kavo_refusal.h).
using kavo_cmd_handler_t = int(CliCall& call);

/// Nodes that a command stands on; what is not filled in doesn't count.
using kavo_cmd_nodes_t = std::array<enum node_type, 9>;

/// One row of a command table. The texts must stay valid.
struct kavo_cmd_t {
    kavo_cmd_nodes_t nodes;
    /// In the grammar above.
    const char* syntax;
    /// What "?" shows: one line for each word, ended by '\n'. A choice has either one line for
    /// all its alternatives or one for each of them.
    const char* help;
    kavo_cmd_handler_t* handler;
    /// Neither "?" nor "list" shows it.
    bool hidden = false;
    /// What a handler of many commands works by; the handler's own.
    const void* description = nullptr;
};

/// Install a table's commands, in its order. A command that is wrong in itself (bad syntax, no
/// handler) or stands on a node that isn't installed is logged at error level and left out.
/// Returns the number of commands installed. The library must be initialised (cmd_init).
int kavo_cmd_install(std::span<const kavo_cmd_t> table);

/// Can a handler read a name (cli_words.h) in one of its installed commands?
bool kavo_cmd_has_name(const kavo_cmd_handler_t* handler, std::string_view name);

/// Is a command that the library knows one of a table?
bool kavo_cmd_is_own(const struct cmd_element* command);

/// What the handler that ran last returned, or 0 if none ran yet. The library itself is told
/// only CMD_SUCCESS or CMD_WARNING: it would try the command again on the parent nodes after any
/// value that it doesn't know.
int kavo_cmd_last_result();

/// The command whose handler runs, for those who tell of it (CliWords::told); "" when none does.
std::string kavo_cmd_running_text();

/// The line end for the terminal: "\r\n" on a terminal connection (type VTY_TERM, 0), "\n" on any
/// other. Every line that a command prints ends with it.
const char* kavo_newline(const struct vty* vty);

/// One word of a command's syntax.
struct kavo_cmd_word_t {
    enum Kind { KEYWORD, VARIABLE, CHOICE, TAIL };
    Kind kind;
    bool optional;
    /// In the library's grammar, one for each alternative ("enable", "(1-8)", "NAME").
    std::vector<std::string> alternatives;
    /// Where it stands in the declared syntax.
    size_t begin = 0;
    size_t end = 0;
};

/// What one alternative of a word is.
struct kavo_cmd_alternative_t {
    enum kind_t { KEYWORD, VARIABLE, RANGE };
    kind_t kind;
    int64_t least = 0; // of a range
    int64_t most = 0;
};
kavo_cmd_alternative_t kavo_cmd_alternative(std::string_view alternative);

/// Take a syntax string apart. Returns no words if it is not in the grammar above.
std::vector<kavo_cmd_word_t> kavo_cmd_parse(const std::string& syntax);

/// The same command in the library's grammar.
std::string kavo_cmd_translate(const std::vector<kavo_cmd_word_t>& words);
