#include "kavo_cmd_library.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <vector>

#include "kavo_cmd.h"

namespace {

// A command of the library that stays.
struct Kept {
    const char* library;          // as it is installed there
    const char* syntax = nullptr; // as it is to be, with this help; null for as it is
    const char* help = nullptr;
};

constexpr char WRITE_HELP[] = "Print the configuration as commands\n"
                              "To be saved\n"
                              "To be read\n";
constexpr char WRITE_CURRENT_HELP[] = "Print the configuration as commands\n"
                                      "To be read\n"
                                      "Only the object of the current mode\n";
constexpr char WRITE_INTERFACE_HELP[] = "Print the configuration as commands\n"
                                        "To be read\n"
                                        "Only the block of one interface\n"
                                        "Name, such as gpon-olt1/1 or gpon-onu1/1:1\n";

constexpr Kept KEPT[] = {
    {"configure [terminal]"},
    {"disable"},
    {"enable"},
    {"end"},
    {"exit"},
    {"find REGEX..."},
    {"list [permutations]"},
    {"quit"},
    {"show running-config"},
    {"show thread cpu [FILTER]"},
    {"show thread poll"},
    {"show thread timers"},
    {"terminal length (0-512)"},
    {"terminal no length"},
    // Saving is the work of the shell that asks: the library's "memory" would print, and save nothing.
    {"write [<file|memory|terminal>]", "write [<file|terminal>]", WRITE_HELP},
    {"write terminal current", "write terminal current", WRITE_CURRENT_HELP},
    {"write terminal interface IFNAME", "write terminal interface IFNAME", WRITE_INTERFACE_HELP},
};

const Kept* kept_of(const struct cmd_element* command) {
    const auto* const found = std::find_if(std::begin(KEPT), std::end(KEPT), [=](const Kept& kept) {
        return strcmp(kept.library, command->string) == 0;
    });
    return found != std::end(KEPT) ? found : nullptr;
}

/// The command as it is to be. The library keeps pointers to commands up to the end of the process, one for
/// all nodes.
const struct cmd_element* changed(const struct cmd_element* command, const Kept& kept) {
    static struct cmd_element copies[std::size(KEPT)];
    struct cmd_element& copy = copies[&kept - KEPT];
    if (copy.string == nullptr) {
        copy = *command;
        copy.string = kept.syntax;
        copy.doc = kept.help;
    }
    return &copy;
}

std::vector<const struct cmd_element*> library_commands(const struct cmd_node* node) {
    std::vector<const struct cmd_element*> commands;
    for (unsigned i = 0; i < vector_active(node->cmd_vector); i++) {
        const auto* command = static_cast<const struct cmd_element*>(vector_slot(node->cmd_vector, i));
        if (command && !kavo_cmd_is_own(command))
            commands.push_back(command);
    }
    return commands;
}

void keep_listed(enum node_type number, const struct cmd_node* node) {
    std::vector<const struct cmd_element*> fresh;
    for (const auto* command : library_commands(node)) {
        const Kept* const kept = kept_of(command);
        if (kept && !kept->syntax)
            continue;
        uninstall_element(number, command);
        if (kept)
            fresh.push_back(changed(command, *kept));
    }
    vector_compact(node->cmd_vector); // "find" takes no gaps
    for (const auto* command : fresh)
        _install_element(number, command);
}

} // namespace

void kavo_cmd_defer_trees() {
    // Taking a command out of a tree leaves marks of it behind.
    cmd_defer_tree(true);
}

void kavo_cmd_keep_listed() {
    // What goes from VIEW_NODE the library takes from ENABLE_NODE too, so that one comes behind.
    static_assert(VIEW_NODE < ENABLE_NODE);
    for (unsigned i = 0; i < vector_active(cmdvec); i++) {
        auto* const node = static_cast<struct cmd_node*>(vector_slot(cmdvec, i));
        if (!node)
            continue;
        keep_listed(static_cast<enum node_type>(i), node);
        cmd_finalize_node(node);
    }
}
