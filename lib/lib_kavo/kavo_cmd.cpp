#include "kavo_cmd.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <set>
#include <string_view>

#include "cli_call.h"
#include "kavo_loop.h"
#include "kavo_refusal.h"
#include "ov_loop_thread.h"
#include "ov_refusal.h"

namespace {

using Words = std::vector<kavo_cmd_word_t>;

int last_result = 0;
const CliCall* running_call = nullptr;

/// A command as the library keeps it (for good: there is no uninstalling), and ours behind it.
struct Installed : cmd_element {
    kavo_cmd_t row;
    Words words;
    std::string syntax_text;
    std::string help_text;
};

std::deque<Installed>& installed_commands() {
    // The library keeps pointers to them up to the end of the process.
    static auto& commands = *new std::deque<Installed>;
    return commands;
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

/// A token as a word of the line.
CliWords::Word word_of(const kavo_cmd_word_t& word, const struct cmd_token* token) {
    const bool fixed = word.kind == kavo_cmd_word_t::KEYWORD;
    const char* keyword = token->type == WORD_TKN ? token->text : nullptr;
    return {&word, keyword, fixed ? nullptr : keyword != nullptr ? keyword : token->arg, token->arg};
}

/// The line in the words of the syntax; the library has a token for each typed word.
CliWords words_of(const Installed& command, std::span<struct cmd_token* const> tokens) {
    std::vector<CliWords::Word> line;
    line.reserve(tokens.size());
    for (const auto& word : command.words) {
        if (line.size() == tokens.size())
            break;
        if (word.optional && !is_one_of(word, tokens[line.size()]))
            continue;
        do
            line.push_back(word_of(word, tokens[line.size()]));
        while (word.kind == kavo_cmd_word_t::TAIL && line.size() < tokens.size());
    }
    return {command.row, std::move(line)};
}

/// What the library calls for each of our commands.
int run_command(const struct cmd_element* self, struct vty* vty, int argc, struct cmd_token* argv[]) {
    ov_assert_on_loop();
    const auto& command = *static_cast<const Installed*>(self);
    CliCall call(vty, command.row, words_of(command, {argv, static_cast<size_t>(argc)}));

    if (OvRefusal::current() != nullptr) { // run by another command, which tells of a refusal
        last_result = command.row.handler(call);
    } else {
        OvRefusal request("vty");
        kavo_loop_doing(command.name);
        running_call = &call;
        last_result = command.row.handler(call);
        running_call = nullptr;
        if (last_result != 0)
            kavo_refusal_tell(vty, request, call.words.told(), last_result);
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
    Words words = kavo_cmd_parse(row.syntax);
    if (words.empty() || !row.handler)
        return nullptr;
    settle_short_form(row, words);

    auto& command = installed_commands().emplace_back();
    command.row = row;
    command.words = std::move(words);
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

int kavo_cmd_install(std::span<const kavo_cmd_t> table) {
    return static_cast<int>(std::count_if(table.begin(), table.end(), install));
}

bool kavo_cmd_has_name(const kavo_cmd_handler_t* handler, std::string_view name) {
    const auto& commands = installed_commands();
    return std::any_of(commands.begin(), commands.end(), [=](const Installed& command) {
        return command.row.handler == handler && cli_has_name(command.words, name);
    });
}

bool kavo_cmd_is_own(const struct cmd_element* command) {
    return command->func == run_command;
}

std::string kavo_cmd_running_text() {
    return running_call != nullptr ? running_call->words.told() : "";
}

int kavo_cmd_last_result() {
    return last_result;
}

const char* kavo_newline(const struct vty* vty) {
    return vty->type == vty::VTY_TERM ? "\r\n" : "\n";
}
