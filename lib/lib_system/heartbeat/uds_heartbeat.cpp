#include "uds_heartbeat.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "ov_product_log.h"

namespace {

struct hb_socket_t {
    int fd = -1;
    bool ready = false;
};

hb_socket_t hb_sockets[2]; // by role
bool hb_sent_once = false; // a heartbeat has gone out since the start
time_t hb_last_time = 0;   // the client's last heartbeat, or the first opening of its socket
time_t (*hb_clock)(time_t*) = time;

sockaddr_un hb_address() {
    sockaddr_un address = {};
    static_assert(sizeof(HB_SOCKET_PATH) <= sizeof(address.sun_path));
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, HB_SOCKET_PATH, sizeof(HB_SOCKET_PATH));
    return address;
}

void hb_close(hb_socket_t& socket) {
    if (socket.fd >= 0)
        close(socket.fd);
    socket = {};
}

pid_t hb_send(const char* appName) {
    hb_socket_t& client = hb_sockets[HB_ROLE_CLIENT];
    const char* name = appName != nullptr ? appName : "";
    const sockaddr_un address = hb_address();
    const int32_t pid = getpid();
    const ssize_t sent = sendto(client.fd, &pid, sizeof(pid), MSG_DONTWAIT,
                                reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    if (sent == ssize_t(sizeof(pid))) {
        hb_sent_once = true;
        OV_LOG_INFO("LIB", "%-10s [pid %5d] send heartbeat message ", name, pid);
        return pid;
    }
    const int error = errno;
    if (error == ECONNREFUSED)
        return 0;
    if (hb_sent_once)
        OV_LOG_ERROR("LIB", "%-10s [pid %5d] send heartbeat message failed. Ret %d ", name, pid, error);
    hb_close(client);
    return 0;
}

pid_t hb_client_turn(const char* appName) {
    const time_t now = hb_clock(nullptr);
    if (now < hb_last_time) // the clock went back
        hb_last_time = now;
    if (now - hb_last_time < HB_PERIOD)
        return 0;
    hb_last_time = now;
    return hb_send(appName);
}

pid_t hb_monitor_turn() {
    hb_socket_t& monitor = hb_sockets[HB_ROLE_MONITOR];
    char message[10];
    const ssize_t received = recv(monitor.fd, message, sizeof(message), MSG_DONTWAIT);
    if (received < 0) {
        if (errno != EAGAIN && errno != EINTR)
            hb_close(monitor);
        return 0;
    }
    uint32_t pid = 0;
    if (received < ssize_t(sizeof(pid)))
        return 0;
    memcpy(&pid, message, sizeof(pid));
    OV_LOG_INFO("LIB", "recv heartbeat: from %u", pid);
    return pid_t(pid);
}

} // namespace

int init_uds_hb(ENUM_HB_ROLE role) {
    hb_socket_t& own = hb_sockets[role == HB_ROLE_MONITOR ? HB_ROLE_MONITOR : HB_ROLE_CLIENT];
    if (own.ready)
        return 0;
    own.fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    int error = own.fd < 0 ? errno : 0;
    if (error == 0 && role == HB_ROLE_MONITOR) {
        unlink(HB_SOCKET_PATH);
        const sockaddr_un address = hb_address();
        if (bind(own.fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
            error = errno;
    }
    if (error != 0) {
        OV_LOG_ERROR("LIB", "heartbeat socket can't be opened: %s", strerror(error));
        hb_close(own);
        return error;
    }
    own.ready = true;
    if (role == HB_ROLE_CLIENT && hb_last_time == 0)
        hb_last_time = hb_clock(nullptr);
    return 0;
}

pid_t hb_uds_task(const char* appName, ENUM_HB_ROLE role) {
    if (role != HB_ROLE_MONITOR && role != HB_ROLE_CLIENT)
        return 0;
    if (!hb_sockets[role].ready) {
        init_uds_hb(role);
        return 0;
    }
    return role == HB_ROLE_MONITOR ? hb_monitor_turn() : hb_client_turn(appName);
}

pid_t hb_uds_task_client(const char* appName) {
    if (init_uds_hb(HB_ROLE_CLIENT) != 0)
        return 0;
    const pid_t sent = hb_send(appName);
    if (sent != 0)
        hb_last_time = hb_clock(nullptr);
    return sent;
}

void hb_uds_set_clock(time_t (*clock)(time_t*)) {
    hb_clock = clock != nullptr ? clock : time;
}
