#include "two_nodes.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>
#include <linux/genetlink.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/tipc_netlink.h>
#include <linux/veth.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char* NEAR = "near0";
constexpr const char* FAR = "far0";

// ---- messages of the kernel's interface ----------------------------------------------------------------

class Request {
public:
    template <typename Head>
    Request(uint16_t type, uint16_t flags, const Head& head) {
        put(nlmsghdr{.nlmsg_len = 0,
                     .nlmsg_type = type,
                     .nlmsg_flags = uint16_t(flags | NLM_F_REQUEST | NLM_F_ACK),
                     .nlmsg_seq = 1,
                     .nlmsg_pid = 0});
        put(head);
    }
    template <typename Value>
    void put(const Value& value) {
        append(&value, sizeof(value));
    }
    void attribute(uint16_t type, const void* data, size_t size) {
        put(nlattr{uint16_t(NLA_HDRLEN + size), type});
        append(data, size);
    }
    void text(uint16_t type, const std::string& value) { attribute(type, value.c_str(), value.size() + 1); }
    void word(uint16_t type, uint32_t value) { attribute(type, &value, sizeof(value)); }
    // Attributes up to the close are inside this one.
    size_t open(uint16_t type) {
        put(nlattr{0, uint16_t(type | NLA_F_NESTED)});
        return bytes_.size() - NLA_HDRLEN;
    }
    void close(size_t at) {
        const auto size = uint16_t(bytes_.size() - at);
        std::memcpy(&bytes_[at], &size, sizeof(size));
    }
    const std::vector<uint8_t>& bytes() {
        const auto size = uint32_t(bytes_.size());
        std::memcpy(bytes_.data(), &size, sizeof(size));
        return bytes_;
    }

private:
    void append(const void* data, size_t size) {
        const auto* from = static_cast<const uint8_t*>(data);
        bytes_.insert(bytes_.end(), from, from + size);
        bytes_.resize((bytes_.size() + 3) / 4 * 4);
    }
    std::vector<uint8_t> bytes_;
};

// The first message of the answer.
std::vector<uint8_t> ask(int protocol, Request request) {
    const int sock = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, protocol);
    send(sock, request.bytes().data(), request.bytes().size(), 0);
    std::vector<uint8_t> answer(65536);
    const ssize_t got = recv(sock, answer.data(), answer.size(), 0);
    close(sock);
    answer.resize(got > 0 ? size_t(got) : 0);
    return answer;
}

void expect_done(const std::vector<uint8_t>& answer, const char* what) {
    nlmsgerr error = {};
    ASSERT_GE(answer.size(), sizeof(nlmsghdr) + sizeof(error)) << what;
    std::memcpy(&error, answer.data() + sizeof(nlmsghdr), sizeof(error));
    ASSERT_EQ(error.error, 0) << what << ": " << std::strerror(-error.error);
}

// ---- devices -------------------------------------------------------------------------------------------

void make_pair(pid_t peer) {
    Request request(RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL, ifinfomsg{});
    request.text(IFLA_IFNAME, NEAR);
    const size_t info = request.open(IFLA_LINKINFO);
    request.text(IFLA_INFO_KIND, "veth");
    const size_t data = request.open(IFLA_INFO_DATA);
    const size_t other = request.open(VETH_INFO_PEER);
    request.put(ifinfomsg{});
    request.text(IFLA_IFNAME, FAR);
    request.word(IFLA_NET_NS_PID, uint32_t(peer));
    for (const size_t opened : {other, data, info})
        request.close(opened);
    expect_done(ask(NETLINK_ROUTE, request), "a pair of devices");
}

void set_up(const char* device, bool up) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request = {};
    std::memcpy(request.ifr_name, device, std::strlen(device));
    request.ifr_flags = short(up ? IFF_UP | IFF_RUNNING : 0);
    EXPECT_EQ(ioctl(fd, SIOCSIFFLAGS, &request), 0) << device;
    close(fd);
}

// ---- bearers -------------------------------------------------------------------------------------------

uint16_t tipc_family() {
    Request request(GENL_ID_CTRL, 0, genlmsghdr{.cmd = CTRL_CMD_GETFAMILY, .version = 1, .reserved = 0});
    request.text(CTRL_ATTR_FAMILY_NAME, TIPC_GENL_V2_NAME);
    const std::vector<uint8_t> answer = ask(NETLINK_GENERIC, request);
    for (size_t at = NLMSG_HDRLEN + GENL_HDRLEN; at + NLA_HDRLEN <= answer.size();) {
        nlattr head = {};
        std::memcpy(&head, &answer[at], sizeof(head));
        if (head.nla_type == CTRL_ATTR_FAMILY_ID) {
            uint16_t id = 0;
            std::memcpy(&id, &answer[at + NLA_HDRLEN], sizeof(id));
            return id;
        }
        at += NLA_ALIGN(head.nla_len);
    }
    ADD_FAILURE() << "the kernel has no " << TIPC_GENL_V2_NAME;
    return 0;
}

// A node without an address gets one of the device's.
void use_as_bearer(const std::string& device) {
    Request request(tipc_family(), 0, genlmsghdr{.cmd = TIPC_NL_BEARER_ENABLE, .version = 1, .reserved = 0});
    const size_t bearer = request.open(TIPC_NLA_BEARER);
    request.text(TIPC_NLA_BEARER_NAME, "eth:" + device);
    request.word(TIPC_NLA_BEARER_DOMAIN, 0);
    request.close(bearer);
    expect_done(ask(NETLINK_GENERIC, request), "a bearer");
}

void tell(int fd) {
    EXPECT_EQ(write(fd, "x", 1), 1);
}

void await(int fd) {
    char told = 0;
    EXPECT_EQ(read(fd, &told, 1), 1);
}

} // namespace

OtherNode::OtherNode(const std::function<void()>& body) {
    int apart[2]; // it has its network
    int joined[2];
    EXPECT_EQ(pipe(apart) | pipe(joined), 0);
    pid_ = fork();
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        EXPECT_EQ(unshare(CLONE_NEWNET), 0);
        tell(apart[1]);
        await(joined[0]);
        set_up(FAR, true);
        use_as_bearer(FAR);
        body();
        fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    await(apart[0]);
    make_pair(pid_);
    set_up(NEAR, true);
    use_as_bearer(NEAR);
    tell(joined[1]);
    for (const int fd : {apart[0], apart[1], joined[0], joined[1]})
        close(fd);
}

OtherNode::~OtherNode() {
    if (pid_ <= 0)
        return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

bool OtherNode::ends_well() {
    int status = -1;
    EXPECT_EQ(waitpid(pid_, &status, 0), pid_);
    pid_ = -1;
    return status == 0;
}

void OtherNode::cut() {
    set_up(NEAR, false);
}
