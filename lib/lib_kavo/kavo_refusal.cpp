#include "kavo_refusal.h"

#include <deque>
#include <string_view>
#include <sys/stat.h>

#include "cli_call.h"
#include "kavo_trunk.h"
#include "kavo_vty_object.h"
#include "ov_ifindex.h"
#include "ov_result_word.h"

namespace {

// A shell that sends lines ahead asks at the first refusal that it reads.
constexpr size_t KEPT_MAX = 512;

// A connection, told from a later one that gets the same descriptor.
struct Session {
    int fd;
    ino_t inode;
    bool operator==(const Session&) const = default;
};

struct Kept {
    Session session;
    uint32_t line;
    uint32_t number; // of "show refused"
    std::string reason;
};

std::deque<Kept>& kept() {
    static std::deque<Kept> refusals;
    return refusals;
}

Session session_of(const struct vty* vty) {
    struct stat status = {};
    if (vty->fd < 0 || fstat(vty->fd, &status) != 0)
        return {-1, 0};
    return {vty->fd, status.st_ino};
}

int show(const CliCall& call, bool numbered) {
    const Session session = session_of(call.vty);
    for (const Kept& refusal : kept()) {
        if (refusal.session != session)
            continue;
        const std::string number = numbered ? std::to_string(refusal.number) + " " : "";
        call.line("%08x %s%s", refusal.line, number.c_str(), refusal.reason.c_str());
    }
    std::erase_if(kept(), [&](const Kept& refusal) { return refusal.session == session; });
    return 0;
}

int show_refusal(CliCall& call) {
    return show(call, false);
}
int show_refusal_numbered(CliCall& call) {
    return show(call, true);
}

const kavo_cmd_t refusal_cmds[] = {
    {{VIEW_NODE, CONFIG_NODE},
     "show refusal",
     "Show running system information\nWhy this session's last commands were refused\n",
     show_refusal,
     true},
    {{VIEW_NODE, CONFIG_NODE},
     "show refusal numbered",
     "Show running system information\nWhy this session's last commands were refused\n"
     "With their numbers for show refused\n",
     show_refusal_numbered,
     true},
};

void keep(const struct vty* vty, uint32_t line, uint32_t number, const char* reason) {
    const Session session = session_of(vty);
    if (session.fd < 0)
        return;
    if (kept().size() == KEPT_MAX)
        kept().pop_front();
    kept().push_back({session, line, number, reason});
}

} // namespace

void kavo_refusal_tell(const struct vty* vty, OvRefusal& door, const std::string& command, int result) {
    kavo_refusal_tell(vty, door, command, result,
                      kavo_refusal_line_number(vty->buf != nullptr ? vty->buf : ""));
}

void kavo_refusal_tell(const struct vty* vty, OvRefusal& door, const std::string& command, int result,
                       uint32_t line) {
    const std::string object = kavo_refusal_object(vty);
    const char* reason = door.refuse(object.c_str(), nullptr,
                                     {.what = command, .result = ov_result_text(result), .object = object});
    keep(vty, line, door.number(), reason);
}

std::string kavo_refusal_object(const struct vty* vty) {
    if (vty->node == GPON_NODE)
        return "gpon";
    if (vty->node == IF_TRUNK_NODE && vty->index != nullptr)
        return static_cast<const trunk_t*>(vty->index)->name;
    const bool has_index =
        vty->node == IF_GPON_NODE || vty->node == GPON_ONU_NODE || vty->node == ONU_SRV_PROFILE_NODE;
    ov_ifindex_t ifindex = 0;
    if ((!has_index && vty->node != IF_NODE) || ov_get_ifindex_from_vtysh(vty, &ifindex) != 0)
        return "";
    if (vty->node == ONU_SRV_PROFILE_NODE)
        return "onu-srvprofile " + std::to_string(ov_ifindex_get_subport_id(ifindex));
    const char* name = ov_get_ifname_by_ifindex(ifindex);
    return name != nullptr ? name : "";
}

uint32_t kavo_refusal_line_number(std::string_view line) {
    uint32_t number = 2166136261u;
    for (const char c : line)
        number = (number ^ static_cast<unsigned char>(c)) * 16777619u;
    return number;
}

void kavo_refusal_vty_init() {
    kavo_cmd_install(refusal_cmds);
}
