#include "kavo_frr.h"

#include <csignal>
#include <cstdio>
#include <string>

namespace {
constexpr size_t PROTO_NAME_SIZE = 256; // of the library's arrays, whose declarations don't tell

// The node for developers' commands; the library has its number and leaves the rest to the daemon.
void install_debug_node() {
    static struct cmd_node debug_node = {};
    debug_node.name = "debug";
    debug_node.node = DEBUG_NODE;
    debug_node.prompt = "";
    install_node(&debug_node);
    install_default(DEBUG_NODE);
}
} // namespace

void openzlog(const char* progname, zlog_proto_t protocol, int syslog_flags, int facility) {
    const char* const name = protocol == ZLOG_GPON ? "GPON" : "NONE";
    zlog_init(progname, name, 0, static_cast<uid_t>(-1), static_cast<gid_t>(-1));

    // syslog keeps the pointer
    static std::string ident;
    ident = progname;
    openlog(ident.c_str(), syslog_flags, facility);
    zlog_syslog_set_facility(facility);
    zlog_syslog_set_prio_min(LOG_DEBUG);
}

void vty_init(struct thread_master* master, const char* name) {
    signal(SIGPIPE, SIG_IGN);
    snprintf(frr_protoname, PROTO_NAME_SIZE, "%s", name);
    snprintf(frr_protonameinst, PROTO_NAME_SIZE, "%s", name);
    vty_init(master, false);
    nb_init(master, nullptr, 0, false);
    install_debug_node();
}
