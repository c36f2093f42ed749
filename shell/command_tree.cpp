#include "command_tree.h"

#include <frr/command_match.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <utility>

#include "kavo_cmd_library.h"

namespace {

struct StrvecFree {
    void operator()(vector words) const { cmd_free_strvec(words); }
};
using Strvec = std::unique_ptr<_vector, StrvecFree>;

struct VectorOnlyFree {
    void operator()(vector words) const { vector_free(words); }
};
using TokenVector = std::unique_ptr<_vector, VectorOnlyFree>;

/// The daemon's nodes, each with the library's default commands ("exit", "end", "write ..."), and the
/// library's own for developers.
constexpr std::pair<enum node_type, const char*> NODES[] = {
#define NODE(record, number, name, parent, writer) {number, name},
#define RESERVED_NODE(record, number, name)
#include "commands/nodes.def"
#undef NODE
#undef RESERVED_NODE
    {DEBUG_NODE, "debug"},
};

void install_nodes() {
    // The library keeps them.
    static struct cmd_node records[std::size(NODES)];
    for (size_t i = 0; i < std::size(NODES); i++) {
        const auto [number, name] = NODES[i];
        records[i].name = name;
        records[i].node = number;
        records[i].parent_node = shell_parent_node(number);
        records[i].prompt = "";
        install_node(&records[i]);
        install_default(number);
    }
}

/// The node with its commands in order; null if the library doesn't have it. A node's commands are
/// put in order when it is first asked for.
struct cmd_node* ready_node(enum node_type node) {
    auto* const record = static_cast<struct cmd_node*>(vector_lookup(cmdvec, node));
    if (record)
        cmd_finalize_node(record);
    return record;
}

bool ends_in_blank(const std::string& text) {
    return text.empty() || isspace(static_cast<unsigned char>(text.back()));
}

/// The words before the cursor and the one under it, which may be empty.
Strvec words_to_cursor(const std::string& text) {
    Strvec words(cmd_make_strvec(text.c_str()));
    if (!words)
        words.reset(vector_init(1));
    if (ends_in_blank(text))
        vector_set(words.get(), nullptr);
    return words;
}

std::vector<std::string> full_words(const struct list& tokens) {
    std::vector<std::string> words;
    for (const auto* node = tokens.head; node; node = node->next) {
        const auto* token = static_cast<const struct cmd_token*>(node->data);
        words.emplace_back(token->type == WORD_TKN || !token->arg ? token->text : token->arg);
    }
    return words;
}

/// Match words against the commands of one node.
enum matcher_rv match(enum node_type node, vector words, std::vector<std::string>& full) {
    const auto* const record = ready_node(node);
    if (!record)
        return MATCHER_NO_MATCH;
    struct list* tokens = nullptr;
    const struct cmd_element* element = nullptr;
    const auto result = command_match(record->cmdgraph, words, &tokens, &element);
    if (result == MATCHER_OK)
        full = full_words(*tokens);
    if (tokens)
        list_delete(&tokens);
    return result;
}

bool outside_configuration(enum node_type node) {
    return node <= CONFIG_NODE;
}

/// What the library has to say in one node.
std::vector<CommandHelp> describe_in(enum node_type node, vector words) {
    if (!ready_node(node) || !ready_node(ENABLE_NODE)) // ENABLE_NODE for "do"
        return {};
    static struct vty session;
    session.node = node;
    int status = 0;
    const TokenVector tokens(cmd_describe_command(words, &session, &status));
    std::vector<CommandHelp> lines;
    for (unsigned i = 0; tokens && i < vector_active(tokens.get()); i++) {
        const auto* token = static_cast<const struct cmd_token*>(vector_slot(tokens.get(), i));
        if (token && token->text && token->text[0])
            lines.push_back({token->text, token->desc ? token->desc : "", token->type == WORD_TKN});
    }
    return lines;
}

/// Where the words of a line begin.
std::vector<size_t> word_offsets(const std::string& line) {
    std::vector<size_t> offsets;
    for (size_t at = line.find_first_not_of(" \t"); at != line.npos; at = line.find_first_not_of(" \t", at)) {
        offsets.push_back(at);
        at = std::min(line.find_first_of(" \t", at), line.size());
    }
    return offsets;
}

/// Does a word mean one of these only?
bool decides(const std::vector<CommandHelp>& fitting, const std::string& word) {
    return fitting.size() == 1 || std::any_of(fitting.begin(), fitting.end(), [&](const CommandHelp& line) {
               return !line.keyword || line.word == word;
           });
}

} // namespace

CommandTree::CommandTree(std::span<const kavo_cmd_t> commands) {
    kavo_cmd_defer_trees();
    cmd_init(1);
    vty_init(thread_master_create("gponsh"), false);
    install_nodes();
    kavo_cmd_install(commands);
    kavo_cmd_install(shell_commands());
    kavo_cmd_keep_listed();
}

std::optional<Understood> CommandTree::understand(enum node_type node, const std::string& line) const {
    const auto typed = shell_words(line);
    if (typed.empty())
        return Understood{node, {}};
    if (typed.size() > 1 && typed[0] == "do" && node >= CONFIG_NODE) {
        auto done = understand(ENABLE_NODE, line.substr(line.find("do") + 2));
        if (done)
            done->words.insert(done->words.begin(), "do");
        return done ? std::optional(Understood{node, done->words}) : std::nullopt;
    }

    // A NUL would end the line for the library, and what is left may mean something else, or nothing at all.
    const Strvec words(line.find('\0') == line.npos ? cmd_make_strvec(line.c_str()) : nullptr);
    if (!words)
        return std::nullopt;
    for (std::vector<std::string> full;; node = shell_parent_node(node)) {
        const auto result = match(node, words.get(), full);
        if (result == MATCHER_OK)
            return Understood{node, full};
        if (result != MATCHER_NO_MATCH || outside_configuration(node))
            return std::nullopt;
    }
}

std::vector<CommandHelp> CommandTree::describe(enum node_type node, const std::string& text) const {
    const auto words = words_to_cursor(text);
    for (;; node = shell_parent_node(node)) {
        auto lines = describe_in(node, words.get());
        if (!lines.empty() || outside_configuration(node))
            return lines;
    }
}

std::vector<std::string> CommandTree::complete(enum node_type node, const std::string& text) const {
    std::vector<std::string> keywords;
    for (auto& line : describe(node, text)) {
        if (line.keyword)
            keywords.push_back(std::move(line.word));
    }
    return keywords;
}

std::optional<CommandTree::Trouble> CommandTree::find_trouble(enum node_type node,
                                                              const std::string& line) const {
    if (understand(node, line))
        return std::nullopt;
    std::optional<Trouble> doubtful;
    for (const size_t at : word_offsets(line)) {
        const auto end = std::min(line.find_first_of(" \t", at), line.size());
        const auto fitting = describe(node, line.substr(0, end));
        if (fitting.empty())
            return Trouble{at, {}};
        if (!doubtful && !decides(fitting, line.substr(at, end - at)))
            doubtful = Trouble{at, complete(node, line.substr(0, end))};
    }
    return doubtful;
}
