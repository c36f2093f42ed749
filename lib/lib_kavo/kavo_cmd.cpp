#include "kavo_cmd.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <optional>
#include <set>
#include <string_view>

#include "kavo_loop.h"
#include "kavo_refusal.h"
#include "ov_loop_thread.h"
#include "ov_refusal.h"

namespace {

using Words = std::vector<kavo_cmd_word_t>;

int last_result = 0;

/// A command as the library keeps it (for good: there is no uninstalling), and ours behind it.
struct Installed : cmd_element {
    Words words;
    kavo_cmd_handler_t* handler;
    std::string syntax_text;
    std::string help_text;
};

// --- the grammar -----------------------------------------------------------------------------

bool is_capital(char c) {
    return c >= 'A' && c <= 'Z';
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_alnum(char c) {
    return is_capital(c) || is_digit(c) || (c >= 'a' && c <= 'z');
}

/// Does word hold only characters for which ok() is true?
template <typename Test>
bool all(std::string_view word, Test ok) {
    return std::all_of(word.begin(), word.end(), ok);
}

/// "ETHUNI", "MMMM-MMMM": what the library takes for a variable word, given that it starts one.
bool is_variable(std::string_view word) {
    const auto ok = [](char c) { return is_capital(c) || is_digit(c) || strchr("-_:", c); };
    return word == "A.B.C.D" || (word.size() >= 2 && is_capital(word[0]) && all(word, ok));
}

/// "max_distance", "802.11b/g": a dot or slash only before a letter or digit.
bool is_keyword(std::string_view word) {
    if (word.empty() || !is_alnum(word[0]))
        return false;
    for (size_t i = 1; i < word.size(); i++) {
        const bool inner = (word[i] == '.' || word[i] == '/') && i + 1 < word.size() && is_alnum(word[i + 1]);
        if (!is_alnum(word[i]) && word[i] != '-' && word[i] != '_' && word[i] != '+' && !inner)
            return false;
    }
    return true;
}

/// "<1-128>" to "(1-128)".
std::optional<std::string> translate_range(std::string_view word) {
    if (word.size() < 5 || word.front() != '<' || word.back() != '>')
        return std::nullopt;
    const auto inside = word.substr(1, word.size() - 2);
    const auto dash = inside.find('-', 1);
    if (dash == inside.npos)
        return std::nullopt;

    const auto low = inside.substr(0, dash), high = inside.substr(dash + 1);
    const auto number = [](std::string_view n) { return !n.empty() && n.size() <= 18 && all(n, is_digit); };
    if (!number(low) || !number(high) || std::stoll(std::string(low)) > std::stoll(std::string(high)))
        return std::nullopt;
    return "(" + std::string(inside) + ")";
}

/// One alternative of a choice, or a word that stands alone.
std::optional<std::string> translate_single(std::string_view word) {
    if (is_variable(word) || is_keyword(word))
        return std::string(word);
    return translate_range(word);
}

std::string_view trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == text.npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// What stands between the parentheses of a choice.
std::optional<kavo_cmd_word_t> parse_choice(std::string_view inside) {
    kavo_cmd_word_t word{kavo_cmd_word_t::CHOICE, false, {}};
    for (size_t start = 0; start <= inside.size();) {
        const auto end = std::min(inside.find('|', start), inside.size());
        const auto piece = trim(inside.substr(start, end - start));
        const bool last = end == inside.size();
        if (piece.empty() && last && !word.alternatives.empty()) {
            word.optional = true;
            break;
        }
        auto alternative = translate_single(piece);
        if (!alternative)
            return std::nullopt;
        word.alternatives.push_back(std::move(*alternative));
        start = end + 1;
    }
    return word;
}

std::optional<kavo_cmd_word_t> parse_word(std::string_view text) {
    if (text.front() == '(')
        return text.back() == ')' ? parse_choice(text.substr(1, text.size() - 2)) : std::nullopt;

    const bool tail = text.front() == '.';
    if (tail)
        text.remove_prefix(1);
    auto single = translate_single(text);
    const bool variable = single && (is_variable(*single) || single->front() == '(');
    if (!single || (tail && !variable))
        return std::nullopt;

    const auto kind = tail       ? kavo_cmd_word_t::TAIL
                      : variable ? kavo_cmd_word_t::VARIABLE
                                 : kavo_cmd_word_t::KEYWORD;
    return kavo_cmd_word_t{kind, false, {std::move(*single)}};
}

/// Cut the next word off the front of rest; a choice is one word, blanks and all.
std::string_view next_word(std::string_view& rest) {
    rest = trim(rest);
    size_t end = std::min(rest.find_first_of(" \t"), rest.size());
    if (!rest.empty() && rest.front() == '(')
        end = std::min(rest.find(')'), rest.size() - 1) + 1;
    const auto word = rest.substr(0, end);
    rest.remove_prefix(end);
    return word;
}

// --- help ------------------------------------------------------------------------------------

std::vector<std::string> split_lines(const char* text) {
    std::vector<std::string> lines;
    for (std::string_view rest = text; !rest.empty();) {
        const auto end = std::min(rest.find('\n'), rest.size());
        lines.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return lines;
}

/// The library wants a line for each alternative: repeat a choice's line if there is only one
/// line per word, and make up what is missing.
std::string complete_help(const Words& words, const char* help) {
    const auto lines = split_lines(help ? help : "");
    const bool per_word = lines.size() <= words.size();

    std::string complete;
    size_t line = 0;
    for (const auto& word : words) {
        for (size_t i = 0; i < word.alternatives.size(); i++) {
            complete += line < lines.size() ? lines[line] : word.alternatives[i];
            complete += '\n';
            if (!per_word)
                line++;
        }
        if (per_word)
            line++;
    }
    return complete;
}

// --- running ---------------------------------------------------------------------------------

bool is_one_of(const kavo_cmd_word_t& word, const struct cmd_token* token) {
    return std::find(word.alternatives.begin(), word.alternatives.end(), token->text) !=
           word.alternatives.end();
}

/// A keyword in full; anything else as it was typed.
const char* argument_of(const struct cmd_token* token) {
    return token->type == WORD_TKN ? token->text : token->arg;
}

/// Pick the variable words out of the library's tokens, of which there is one per typed word.
std::vector<const char*> arguments_of(const Words& words, std::span<struct cmd_token* const> tokens) {
    std::vector<const char*> arguments;
    size_t next = 0;
    for (const auto& word : words) {
        if (next == tokens.size())
            break;
        if (word.optional && !is_one_of(word, tokens[next]))
            continue;
        const size_t count = word.kind == kavo_cmd_word_t::TAIL ? tokens.size() - next : 1;
        for (size_t i = 0; i < count; i++, next++) {
            if (word.kind != kavo_cmd_word_t::KEYWORD)
                arguments.push_back(argument_of(tokens[next]));
        }
    }
    return arguments;
}

/// What the library calls for each of our commands.
int run_command(const struct cmd_element* self, struct vty* vty, int argc, struct cmd_token* argv[]) {
    ov_assert_on_loop();
    // Allocated as an Installed and not const there.
    auto* command = const_cast<Installed*>(static_cast<const Installed*>(self));
    auto arguments = arguments_of(command->words, {argv, static_cast<size_t>(argc)});
    const int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);

    if (OvRefusal::current() != nullptr) { // run by another command, which tells of a refusal
        last_result = command->handler(command, vty, count, arguments.data());
    } else {
        OvRefusal request("vty");
        kavo_loop_doing(command->name);
        last_result = command->handler(command, vty, count, arguments.data());
        if (last_result != 0)
            kavo_refusal_keep(vty, request.refuse(kavo_refusal_object(vty).c_str(), nullptr));
    }
    return last_result == 0 ? CMD_SUCCESS : CMD_WARNING;
}

// --- installing ------------------------------------------------------------------------------

std::span<const enum node_type> nodes_of(const kavo_cmd_t& row) {
    // AUTH_NODE, 0, is where an operator isn't even logged in: no command stands there.
    const auto* end = std::find(std::begin(row.nodes), std::end(row.nodes), AUTH_NODE);
    return {std::begin(row.nodes), end};
}

bool nodes_are_installed(const kavo_cmd_t& row) {
    const auto nodes = nodes_of(row);
    return !nodes.empty() && std::all_of(nodes.begin(), nodes.end(), [](enum node_type n) {
        return vector_lookup(cmdvec, n) != nullptr;
    });
}

/// The commands that stand on each node, in the library's grammar.
std::set<std::pair<enum node_type, std::string>>& installed_syntaxes() {
    static std::set<std::pair<enum node_type, std::string>> syntaxes;
    return syntaxes;
}

/// "debug snmp (detail|)" beside "debug snmp": the library would call the short line ambiguous, so
/// the word that could be left out can't be where the short form is a command of its own.
void settle_short_form(const kavo_cmd_t& row, Words& words) {
    if (words.empty() || !words.back().optional)
        return;
    const auto short_form = kavo_cmd_translate({words.begin(), words.end() - 1});
    for (const auto node : nodes_of(row)) {
        if (installed_syntaxes().contains({node, short_form}))
            words.back().optional = false;
    }
}

/// The command as the library wants it; null if its row is wrong.
Installed* make_command(const kavo_cmd_t& row) {
    // The library keeps pointers to them up to the end of the process.
    static auto& commands = *new std::deque<Installed>;

    Words words = kavo_cmd_parse(row.syntax);
    if (words.empty() || !row.handler)
        return nullptr;
    settle_short_form(row, words);

    auto& command = commands.emplace_back();
    command.words = std::move(words);
    command.handler = row.handler;
    command.syntax_text = kavo_cmd_translate(command.words);
    command.help_text = complete_help(command.words, row.help);
    command.string = command.syntax_text.c_str();
    command.doc = command.help_text.c_str();
    command.name = row.syntax;
    command.func = run_command;
    command.attr = row.hidden ? CMD_ATTR_HIDDEN : 0;
    return &command;
}

bool install(const kavo_cmd_t& row) {
    const Installed* const command = nodes_are_installed(row) ? make_command(row) : nullptr;
    if (!command) {
        zlog_err("command \"%s\" can't be installed", row.syntax);
        return false;
    }
    const auto nodes = nodes_of(row);
    const bool on_view = std::find(nodes.begin(), nodes.end(), VIEW_NODE) != nodes.end();
    for (const auto node : nodes) {
        installed_syntaxes().emplace(node, command->syntax_text);
        // What stands on VIEW_NODE the library puts on ENABLE_NODE by itself.
        if (!(on_view && node == ENABLE_NODE))
            _install_element(node, command);
    }
    return true;
}

} // namespace

std::vector<kavo_cmd_word_t> kavo_cmd_parse(const std::string& syntax) {
    Words words;
    std::string_view rest = syntax;
    for (auto text = next_word(rest); !text.empty(); text = next_word(rest)) {
        auto word = parse_word(text);
        const bool behind_tail = !words.empty() && words.back().kind == kavo_cmd_word_t::TAIL;
        if (!word || behind_tail)
            return {};
        words.push_back(std::move(*word));
    }
    return words;
}

std::string kavo_cmd_translate(const std::vector<kavo_cmd_word_t>& words) {
    std::string syntax;
    for (const auto& word : words) {
        std::string alternatives;
        for (const auto& alternative : word.alternatives)
            alternatives += (alternatives.empty() ? "" : "|") + alternative;

        if (!syntax.empty())
            syntax += ' ';
        if (word.optional)
            syntax += "[" + alternatives + "]";
        else if (word.alternatives.size() > 1)
            syntax += "<" + alternatives + ">";
        else
            syntax += alternatives;
        if (word.kind == kavo_cmd_word_t::TAIL)
            syntax += "...";
    }
    return syntax;
}

int kavo_cmd_install(std::span<const kavo_cmd_t> table) {
    return static_cast<int>(std::count_if(table.begin(), table.end(), install));
}

bool kavo_cmd_is_own(const struct cmd_element* command) {
    return command->func == run_command;
}

int kavo_cmd_last_result() {
    return last_result;
}

const char* kavo_newline(const struct vty* vty) {
    return vty->type == vty::VTY_TERM ? "\r\n" : "\n";
}
