#pragma once

// libfrr for the tests of this program. It can be set up only once in a process, and neither
// nodes nor commands can be taken out again: tests share one set-up and stand on nodes of their own.

#include <map>
#include <string>

#include "kavo_frr.h"

/// The event loop of all tests, with the library's basic nodes and commands set up.
inline struct thread_master* frr_master() {
    static struct thread_master* const master = [] {
        struct thread_master* made = thread_master_create("unit");
        cmd_defer_tree(true);
        cmd_init(1);
        vty_init(made, "unit");
        return made;
    }();
    return master;
}

/// Install a node below CONFIG_NODE with the library's default commands; a second call for a node
/// only changes its writer.
inline void frr_install_node(enum node_type number, int (*writer)(struct vty*) = nullptr) {
    static auto& nodes = *new std::map<enum node_type, struct cmd_node>; // the library keeps pointers
    frr_master();
    const bool known = nodes.count(number) != 0;
    struct cmd_node& node = nodes[number];
    node.config_write = writer;
    if (known)
        return;
    node.name = "unit test";
    node.node = number;
    node.parent_node = CONFIG_NODE;
    node.prompt = "";
    install_node(&node);
    install_default(number);
}

/// A terminal session without a connection, whose output is collected.
class FrrSession {
public:
    explicit FrrSession(int node, bool terminal = false) {
        frr_master();
        vty = vty_new();
        vty->type = terminal ? vty::VTY_TERM : vty::VTY_SHELL_SERV;
        vty->node = node;
    }
    ~FrrSession() { vty_close(vty); }
    FrrSession(const FrrSession&) = delete;
    FrrSession& operator=(const FrrSession&) = delete;

    /// Run one line; the library's result code.
    int run(const std::string& line) { return cmd_execute(vty, line.c_str(), nullptr, 0); }

    /// What was printed since the last call.
    std::string output() {
        char* text = buffer_getstr(vty->obuf);
        std::string copy = text;
        XFREE(MTYPE_TMP, text);
        buffer_reset(vty->obuf);
        return copy;
    }

    struct vty* vty;
};

/// Run events of the loop until done() holds; false if it didn't within a minute.
template <typename Done>
bool frr_run_until(Done done) {
    bool expired = false;
    struct thread* guard = nullptr;
    thread_add_timer(
        frr_master(), [](struct thread* t) { *static_cast<bool*>(THREAD_ARG(t)) = true; }, &expired, 60,
        &guard);
    struct thread event;
    while (!done() && !expired && thread_fetch(frr_master(), &event))
        thread_call(&event);
    thread_cancel(&guard);
    return !expired;
}
