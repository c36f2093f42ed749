#include "heartbeat_monitor.h"

#include <poll.h>
#include <sys/socket.h>

#include "byte_order.h"
#include "text.h"
#include "unix_socket.h"

bool HeartbeatMonitor::start(std::string& error) {
    if (fd_)
        return true;
    fd_ = bind_unix_socket(PATH, SOCK_DGRAM, error);
    if (!fd_) {
        error = "heartbeat monitor: " + error;
        return false;
    }
    loop_.watch(fd_.get(), POLLIN, [this](short) { receive(); });
    return true;
}

void HeartbeatMonitor::stop() {
    if (!fd_)
        return;
    loop_.unwatch(fd_.get());
    fd_.reset();
    unlink(PATH);
}

void HeartbeatMonitor::receive() {
    uint8_t buffer[64];
    const ssize_t got = recv(fd_.get(), buffer, sizeof buffer, MSG_DONTWAIT | MSG_TRUNC);
    if (got < 0)
        return;
    uint32_t pid = 0;
    if (got != sizeof pid) {
        records_.add("refused", {{"reason", "heartbeat-size"}, {"len", std::to_string(got)}});
        return;
    }
    pid = daemon_order::load<uint32_t>(buffer);
    const Record& record = records_.add("heartbeat", {{"pid", std::to_string(pid)}});
    if (lives_.size() >= MAX_PIDS && !lives_.contains(pid))
        return;
    Life& life = lives_[pid];
    ++life.count;
    life.last = record.time;
}
