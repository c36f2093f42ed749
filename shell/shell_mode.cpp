#include "shell_mode.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "kavo_if.h"
#include "kavo_vty_object.h"

namespace {

using Words = std::vector<std::string>;

bool is_number(const std::string& word) {
    return !word.empty() &&
           std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// The name of "interface NAME" in full, as the daemon extends it ("gp1/1").
std::string full_name(const std::string& name) {
    char extended[UIF_NAME_SIZE];
    const char* const full = uif_extend_ifname(extended, name.c_str());
    return full ? full : name;
}

/// The node of "interface NAME", by the name as typed and in full; nothing for one that the daemon accepts
/// and doesn't enter.
std::optional<enum node_type> node_of_interface(const std::string& typed, const std::string& full) {
    if (typed.starts_with("vlanif"))
        return std::nullopt;
    return typed.starts_with("trunk") ? IF_TRUNK_NODE : kavo_node_of_interface(full);
}

std::string joined(const Words& words) {
    std::string line;
    for (const auto& word : words)
        line += (line.empty() ? "" : " ") + word;
    return line;
}

bool is_short_for(const std::string& word, std::string_view keyword) {
    return !word.empty() && keyword.starts_with(word);
}

} // namespace

enum node_type shell_parent_node(enum node_type node) {
    static constexpr std::pair<enum node_type, enum node_type> PARENTS[] = {
#define NODE(record, number, name, parent, writer) {number, parent},
#define RESERVED_NODE(record, number, name)
#include "commands/nodes.def"
#undef NODE
#undef RESERVED_NODE
        {CONFIG_NODE, ENABLE_NODE},
        {ENABLE_NODE, VIEW_NODE},
        {VIEW_NODE, VIEW_NODE},
    };
    const auto* const found = std::find_if(std::begin(PARENTS), std::end(PARENTS),
                                           [=](const auto& line) { return line.first == node; });
    return found != std::end(PARENTS) ? found->second : CONFIG_NODE;
}

std::vector<std::string> shell_words(const std::string& line) {
    constexpr char BLANKS[] = " \t\n\v\f\r";
    Words words;
    size_t at = line.find_first_not_of(BLANKS);
    if (at == line.npos || line[at] == '!' || line[at] == '#')
        return words;
    while (at != line.npos) {
        const auto end = std::min(line.find_first_of(BLANKS, at), line.size());
        words.push_back(line.substr(at, end - at));
        at = line.find_first_not_of(BLANKS, end);
    }
    return words;
}

ShellMode::ShellMode(Understand understand_given) : understand_(std::move(understand_given)) {
    restart();
}

void ShellMode::restart() {
    places_ = {{VIEW_NODE, "", ""}};
    is_over_ = false;
}

std::string ShellMode::prompt() const {
    const auto& here = places_.back();
    if (here.node == VIEW_NODE)
        return "gpon> ";
    return here.label.empty() ? "gpon# " : "gpon(" + here.label + ")# ";
}

const std::optional<Understood>& ShellMode::understood_in(enum node_type node,
                                                          const std::string& line) const {
    if (!last_ || last_->node != node || last_->line != line)
        last_ = Memory{node, line, understand_ ? understand_(node, line) : std::nullopt};
    return last_->understood;
}

bool ShellMode::knows_in(enum node_type node, const std::string& line) const {
    return understood_in(node, line).has_value();
}

bool ShellMode::knows(const std::string& line) const {
    return knows_in(node(), line);
}

Understood ShellMode::read(const std::string& line) const {
    if (const auto& understood = understood_in(node(), line))
        return *understood;
    return {node(), shell_words(line)};
}

std::optional<ShellMode::Place> ShellMode::place_entered(const Understood& understood) {
    const auto& words = understood.words;
    const std::string line = joined(words);
    if (words.empty())
        return std::nullopt;
    if (words[0] == "configure" && words.size() <= 2)
        return Place{CONFIG_NODE, "config", line};
    if (words[0] == "gpon" && words.size() == 1)
        return Place{GPON_NODE, "gpon", line};
    if (words[0] == "vlan" && words.size() == 2 && is_number(words[1]))
        return Place{VLAN_NODE, line, line};
    if (words[0] == "onu-srvprofile" && words.size() == 5)
        return Place{ONU_SRV_PROFILE_NODE, words[0] + " " + words[2], line};
    if (words[0] == "interface" && words.size() == 2) {
        const auto name = full_name(words[1]);
        if (const auto entered = node_of_interface(words[1], name))
            return Place{*entered, name, line};
    }
    return std::nullopt;
}

bool ShellMode::enters_block(const std::string& line) const {
    auto place = place_entered(read(line));
    for (const auto other : {CONFIG_NODE, GPON_NODE}) {
        if (knows(line))
            break;
        if (const auto& understood = understood_in(other, line)) {
            place = place_entered(*understood);
            break;
        }
    }
    return place && place->node != CONFIG_NODE;
}

bool ShellMode::leaves(const std::string& line) const {
    const auto words = read(line).words;
    if (words.size() != 1)
        return false;
    return words[0] == "exit" || words[0] == "quit" ||
           (!understand_ && (is_short_for(words[0], "exit") || is_short_for(words[0], "quit")));
}

bool ShellMode::ends(const std::string& line) const {
    const auto words = read(line).words;
    return words.size() == 1 && words[0] == "end" && node() != ENABLE_NODE && node() != VIEW_NODE;
}

bool ShellMode::may_move(const std::string& line) const {
    if (shell_words(line).empty())
        return false;
    if (!knows(line))
        return true;
    const auto understood = read(line);
    const auto& word = understood.words[0];
    return place_entered(understood) || leaves(line) || ends(line) || word == "enable" || word == "disable";
}

void ShellMode::climb_to(enum node_type node) {
    const auto found =
        std::find_if(places_.begin(), places_.end(), [=](const Place& place) { return place.node == node; });
    if (found != places_.end())
        places_.erase(found + 1, places_.end());
}

void ShellMode::enter(Place place) {
    climb_to(shell_parent_node(place.node));
    places_.push_back(std::move(place));
}

/// Follow a line that succeeded.
void ShellMode::move(const Understood& understood) {
    const auto& words = understood.words;
    if (words.empty())
        return;
    const bool outside = node() == VIEW_NODE || node() == ENABLE_NODE;
    if (words.size() == 1 && (words[0] == "enable" || words[0] == "disable")) {
        places_.front().node = words[0] == "enable" ? ENABLE_NODE : VIEW_NODE;
    } else if (words.size() == 1 && (words[0] == "exit" || words[0] == "quit")) {
        is_over_ = places_.size() == 1;
        if (!is_over_)
            places_.pop_back();
    } else if (words.size() == 1 && words[0] == "end" && !outside) {
        places_.resize(1);
    } else if (auto place = place_entered(understood)) {
        enter(std::move(*place));
    }
}

void ShellMode::answered(const std::string& line, int result) {
    // A command of a node above leaves the session where it is, unless it enters a node.
    auto understood = read(line);
    if (result != CMD_SUCCESS || understood.words.empty() || understood.words[0] == "do")
        return;
    if (leaves(line))
        understood.words = {"exit"};
    move(understood);
}

std::vector<std::string> ShellMode::way_here() const {
    Words lines;
    if (places_.front().node == ENABLE_NODE)
        lines.emplace_back("enable");
    for (size_t i = 1; i < places_.size(); i++)
        lines.push_back(places_[i].line);
    return lines;
}
