#include "uclient.h"

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <memory>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "libovra.h"
#include "msg_gather.h"
#include "ov_clock.h"
#include "ov_product.h"
#include "ov_product_log.h"

uclient_s* uclient = nullptr;

namespace {

std::string program_name;
int debug_flag = 0;
std::atomic<unsigned> last_seqnr{0};

constexpr int ASYNC_BACKLOG = 5;
constexpr unsigned LAST_SEQNR = 0x7FFFFFFF;

// A descriptor that closes itself unless it is released.
class Fd {
public:
    explicit Fd(int fd = -1) : fd_(fd) {}
    ~Fd() {
        if (fd_ >= 0)
            close(fd_);
    }
    Fd(Fd&& other) noexcept : fd_(other.release()) {}
    Fd& operator=(Fd&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    int get() const { return fd_; }
    bool ok() const { return fd_ >= 0; }
    int release() { return std::exchange(fd_, -1); }

private:
    int fd_;
};

sockaddr_in controller_address(unsigned short port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    inet_pton(AF_INET, ov_product_get_sc_internal_ip_addr(), &address.sin_addr);
    return address;
}

const sockaddr* generic(const sockaddr_in& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

// A TCP socket that may take an address which an earlier run still holds. Not inherited by the programs
// that the daemon runs.
Fd reusable_socket(const char* creation_error) {
    Fd fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd.ok()) {
        OV_LOG_ERROR("LIB", "%s", creation_error);
        return fd;
    }
    const int on = 1;
    if (setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) < 0) {
        OV_LOG_ERROR("LIB", "uclient_connect: SO_REUSEADDR failed");
        return Fd();
    }
    return fd;
}

Fd listen_async(unsigned short dstport, unsigned short syncport) {
    Fd fd = reusable_socket("uclient_connect: creating async socket failed");
    if (!fd.ok())
        return fd;
    const auto port = static_cast<unsigned short>(syncport + 1);
    const sockaddr_in address = controller_address(port);
    if (bind(fd.get(), generic(address), sizeof(address)) < 0) {
        OV_LOG_ERROR("LIB",
                     "uclient_connect: bind async socket [dstport %d syncport %d async port %d ] failed",
                     dstport, syncport, port);
        return Fd();
    }
    if (listen(fd.get(), ASYNC_BACKLOG) < 0) {
        OV_LOG_ERROR("LIB", "uclient_connect: listen: %s", strerror(errno));
        return Fd();
    }
    return fd;
}

// connect(), which a signal interrupts without ending the attempt.
int connect_fully(int fd, const sockaddr_in& address) {
    if (connect(fd, generic(address), sizeof(address)) == 0)
        return 0;
    if (errno != EINTR)
        return -1;
    pollfd waiting = {.fd = fd, .events = POLLOUT, .revents = 0};
    while (poll(&waiting, 1, -1) < 0)
        if (errno != EINTR)
            return -1;
    int error = 0;
    socklen_t size = sizeof(error);
    getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size);
    errno = error;
    return error ? -1 : 0;
}

Fd connect_sync(unsigned short dstport, unsigned short syncport) {
    Fd fd = reusable_socket("uclient_connect: creating sync socket failed");
    if (!fd.ok())
        return fd;
    const sockaddr_in own = controller_address(syncport == UCLIENT_SYNC_ONLY_PORT ? 0 : syncport);
    if (bind(fd.get(), generic(own), sizeof(own)) < 0) {
        OV_LOG_ERROR("LIB", "uclient_connect: bind sync socket failed: %d %s", errno, strerror(errno));
        return Fd();
    }
    if (connect_fully(fd.get(), controller_address(dstport)) < 0) {
        OV_LOG_ERROR("LIB", "uclient_connect: sync connect failed:  %d %s", errno, strerror(errno));
        return Fd();
    }
    return fd;
}

Fd accept_async(int server) {
    int fd;
    do
        fd = accept4(server, nullptr, nullptr, SOCK_CLOEXEC);
    while (fd < 0 && errno == EINTR);
    if (fd < 0)
        OV_LOG_ERROR("LIB", "uclient_connect: accept async failed");
    return Fd(fd);
}

void debug_print(const char* what, const msg* m) {
    if (!debug_flag)
        return;
    OV_LOG_DEBUG("LIB", "%s: %s", program_name.c_str(), what);
    msg_print(m);
}

} // namespace

uclient_s* uclient_connect(const char* pgname, unsigned int /*ip*/, unsigned short dstport,
                           unsigned short syncport) {
    program_name = pgname ? pgname : "";
    const bool with_events = syncport != UCLIENT_SYNC_ONLY_PORT;
    const bool with_sync = dstport == UCLIENT_CONTROLLER_PORT || dstport == UCLIENT_CONTROLLER_PORT_ALT;
    Fd server;
    Fd sync;
    Fd async;

    if (with_events && !(server = listen_async(dstport, syncport)).ok())
        return nullptr;
    if (with_sync && !(sync = connect_sync(dstport, syncport)).ok())
        return nullptr;
    if (with_sync && with_events && !(async = accept_async(server.get())).ok())
        return nullptr;

    if (with_events) // whoever connects later may have gone again by the time of accept()
        fcntl(server.get(), F_SETFL, fcntl(server.get(), F_GETFL) | O_NONBLOCK);

    auto client = std::make_unique<uclient_s>(); // all slots empty
    client->fd_sync = sync.release();
    client->fd_async = async.release();
    client->async_server_sock = server.release();
    return client.release();
}

int uclient_close(uclient_s* client) {
    if (!client)
        return -1;
    const std::unique_ptr<uclient_s> owned(client);
    const Fd sync(client->fd_sync);
    const Fd async(client->fd_async);
    const Fd server(client->async_server_sock);
    return 0;
}

void uclient_register_callback(uclient_s* client, int (*if_new)(umsg_if_t*), int (*if_del)(umsg_if_t*)) {
    client->if_new = if_new;
    client->if_del = if_del;
}

namespace {

struct MsgFree {
    void operator()(msg* m) const { msg_free(m); }
};
using MsgPtr = std::unique_ptr<msg, MsgFree>;

// The result of a request from the message that came for it.
int take_reply(const msg* answer, unsigned seqnr, msg_reply* reply) {
    if (answer->hdr.msgtype != UMSG_REPLY) {
        OV_LOG_ERROR("LIB", "uclient_send: message type %d is not a reply, seq [%u]", answer->hdr.msgtype,
                     seqnr);
        ov_raise_except("msg->hdr.msgtype == UMSG_REPLY", __FILE_NAME__, __LINE__, __func__);
        return UCLIENT_BAD_TYPE;
    }
    if (msg_get_seq(answer) != seqnr) {
        OV_LOG_ERROR("LIB", "uclient_send: reply seq [%u] for request seq [%u]", msg_get_seq(answer), seqnr);
        ov_raise_except("msg_get_seq (msg) == seqnr", __FILE_NAME__, __LINE__, __func__);
        return UCLIENT_BAD_SEQUENCE;
    }
    const auto head = msg_reply_head_parse(msg_body(answer));
    if (!head || (reply && !msg_reply_parse(msg_body(answer), reply))) {
        OV_LOG_ERROR("LIB", "uclient_send: bad length of reply, seq [%u] body %zu", seqnr,
                     msg_body(answer).size());
        return UCLIENT_BAD_LENGTH;
    }
    return static_cast<int>(head->errcode);
}

} // namespace

int uclient_send(uclient_s* client, msg* msg, msg_reply* reply) {
    const MsgPtr request(msg);
    if (!client || !request)
        return UCLIENT_NO_CLIENT;
    const unsigned seqnr = msg_get_seq(msg);
    debug_print("send", msg);
    if (msg_write(client->fd_sync, msg) < 0) {
        OV_LOG_ERROR("LIB", "failed to send seq [%d] msgtype[%d] uclient->fd_sync [%d]",
                     static_cast<int>(seqnr), msg->hdr.msgtype, client->fd_sync);
        return UCLIENT_SEND_FAILED;
    }
    const MsgPtr answer(msg_read(client->fd_sync));
    if (!answer)
        return UCLIENT_NO_REPLY;
    debug_print("reply", answer.get());
    return take_reply(answer.get(), seqnr, reply);
}

int uclient_send_request(uclient_s* client, msg* msg, msg_reply* reply) {
    return uclient_send(client, msg, reply);
}

unsigned uclient_seqnr_after(unsigned seqnr) {
    return seqnr >= LAST_SEQNR ? 1 : seqnr + 1;
}

unsigned uclient_get_seqnr() {
    unsigned last = last_seqnr.load();
    while (!last_seqnr.compare_exchange_weak(last, uclient_seqnr_after(last)))
        ;
    return uclient_seqnr_after(last);
}

int uclient_debug_flag_get() {
    return debug_flag;
}

void uclient_debug_flag_set(int flag) {
    debug_flag = flag;
}

namespace {

// Messages in the making, by their connection's descriptor; only connections that have sent half of one are
// here.
std::map<int, msg_gather> half_messages;

} // namespace

int uclient_handle_async(uclient_s* client, int fd) {
    const auto kept = half_messages.try_emplace(fd).first;
    bool failed = false;
    const MsgPtr event(msg_gather_read(&kept->second, fd, ov_mono_now(), &failed));
    if (kept->second.have == 0 || failed)
        half_messages.erase(kept);
    if (event) {
        debug_print("event", event.get());
        uclient_msghandle(client, event.get(), fd);
    }
    return failed ? -1 : 0;
}

long uclient_async_left_msec(int fd) {
    const auto kept = half_messages.find(fd);
    if (kept == half_messages.end())
        return -1;
    return static_cast<long>(msg_gather_left(&kept->second, ov_mono_now()).count());
}

void uclient_close_async(int fd) {
    half_messages.erase(fd);
    close(fd);
}

// ---- interface list ------------------------------------------------------------------------------

uif_t* uclient_new_if(const umsg_if_t* event) {
    uif_t* uif = uif_create_by_ifindex(event->ifindex);
    if (!uif)
        return nullptr;
    uif->flags = event->flags; // the high word becomes 0
    const size_t len = strnlen(event->onu_sn, sizeof(uif->onu_sn) - 1);
    std::memset(uif->onu_sn, 0, sizeof(uif->onu_sn));
    std::memcpy(uif->onu_sn, event->onu_sn, len);
    return uif;
}

uif_t* uclient_if_status(const umsg_if_t* event) {
    uif_t* uif = uif_lookup_by_index(event->ifindex);
    if (!uif)
        return nullptr;
    uif->flags = event->flags;
    uif->speed = event->speed;
    uif->duplex = event->duplex;
    return uif;
}

void uclient_del_if(ov_ifindex_t ifindex) {
    uif_delete(uif_lookup_by_index(ifindex));
}
