#include "refusal_text.h"

#include <algorithm>
#include <span>

#include "kavo_frr.h"
#include "shell_mode.h"

namespace {

/// "(1-8)".
bool is_range(const std::string& word) {
    return word.size() > 4 && word.front() == '(' && word.back() == ')' && word.find('-', 2) != word.npos;
}

/// "(1-8)" as "1 to 8", "<cr>" as the end of the line, others as they are.
std::string expected_text(const std::string& word) {
    if (word == "<cr>")
        return "the end of the line";
    if (!is_range(word))
        return word;
    const auto dash = word.find('-', 2);
    return word.substr(1, dash - 1) + " to " + word.substr(dash + 1, word.size() - dash - 2);
}

bool is_number(const std::string& word) {
    return !word.empty() &&
           std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// "a", "a or b", "a, b or c".
std::string listed(const std::vector<std::string>& words) {
    std::string text;
    for (size_t i = 0; i < words.size(); i++)
        text += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    return text;
}

std::string joined(std::span<const std::string> words) {
    std::string text;
    for (const auto& word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

/// The end of a text from its last keyword on: numbers and names say nothing without it.
std::string from_last_keyword(const CommandTree& tree, enum node_type node, const std::string& text) {
    const auto words = shell_words(text);
    const std::span all(words);
    for (size_t count = words.size(); count > 0; count--)
        if (!tree.complete(node, joined(all.first(count))).empty())
            return joined(all.subspan(count - 1));
    return joined(all);
}

/// What may stand behind a text that is understood so far, where something else does. A number that doesn't
/// fit is told the numbers that do.
std::string hint_behind(const CommandTree& tree, enum node_type node, const std::string& text,
                        const std::string& typed) {
    auto lines = tree.describe(node, text);
    const auto takes_no_number = [](const CommandHelp& line) { return !is_range(line.word); };
    if (is_number(typed) && !std::all_of(lines.begin(), lines.end(), takes_no_number))
        std::erase_if(lines, takes_no_number);
    std::vector<std::string> expected;
    for (const auto& line : lines) {
        const auto word = expected_text(line.word);
        if (std::find(expected.begin(), expected.end(), word) == expected.end())
            expected.push_back(word);
    }
    const auto label = from_last_keyword(tree, node, text);
    return expected.empty() || label.empty() ? "" : label + ": " + listed(expected);
}

/// How the modes of the daemon are called, and how one gets there.
struct ModeWords {
    enum node_type node;
    const char* words;
};
constexpr ModeWords MODES[] = {
    {ENABLE_NODE, "the enable mode (do ...)"},
    {CONFIG_NODE, "the configuration (configure terminal)"},
    {GPON_NODE, "gpon (gpon)"},
    {IF_GPON_NODE, "a PON port (interface gpon-olt1/1)"},
    {GPON_ONU_NODE, "an ONU (interface gpon-onu1/1:1)"},
    {ONU_SRV_PROFILE_NODE, "a service profile (onu-srvprofile ...)"},
    {IF_NODE, "an uplink port (interface ...)"},
};

/// The modes that have a command which this one hasn't: whoever stands on the wrong one is told the way.
std::string modes_that_take(const CommandTree& tree, const std::string& line) {
    std::vector<std::string> modes;
    for (const auto& mode : MODES)
        if (const auto understood = tree.understand(mode.node, line);
            understood && understood->node == mode.node)
            modes.emplace_back(mode.words);
    return modes.empty() ? "" : "typed on " + listed(modes);
}

/// A reason that says no more than the text above it.
bool repeats(const std::string& reason, const std::string& text) {
    const auto begin = text.find_first_not_of("% ");
    const auto end = text.find_last_not_of(" \r\n");
    return begin != text.npos && reason.substr(0, reason.rfind(" (")) == text.substr(begin, end + 1 - begin);
}

} // namespace

std::string refusal_hint(const CommandTree& tree, enum node_type node, const std::string& line, int result) {
    if (result == CMD_ERR_INCOMPLETE)
        return hint_behind(tree, node, line + " ", "");
    if (result != CMD_ERR_NO_MATCH)
        return "";
    const auto trouble = tree.find_trouble(node, line);
    if (!trouble || !trouble->candidates.empty())
        return "";
    if (const auto modes = modes_that_take(tree, line); !modes.empty())
        return modes;
    const auto typed = shell_words(line.substr(trouble->offset));
    return hint_behind(tree, node, line.substr(0, trouble->offset), typed.empty() ? "" : typed.front());
}

std::string refusal_second_line(const CommandTree& tree, enum node_type node, const std::string& line,
                                const VtyReply& reply) {
    const auto text = reply.reason.empty() ? refusal_hint(tree, node, line, reply.result) : reply.reason;
    if (text.empty() || repeats(text, reply.text))
        return "";
    return (reply.text.empty() || reply.text.ends_with('\n') ? "  " : "\n  ") + text + "\n";
}
