#include "msg_gather.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <sys/socket.h>

#include "ov_product_log.h"

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

enum class Filled { WHOLE, NOT_YET, ENDED, BROKEN };

// Reads until the frame has so many bytes or nothing waits any more.
Filled fill(msg_gather& gather, int fd, size_t want, steady_clock::time_point now) {
    while (gather.have < want) {
        const ssize_t n = recv(fd, gather.bytes.data() + gather.have, want - gather.have, MSG_DONTWAIT);
        if (n == 0)
            return Filled::ENDED;
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return errno == EAGAIN || errno == EWOULDBLOCK ? Filled::NOT_YET : Filled::BROKEN;
        if (gather.have == 0)
            gather.began = now;
        gather.have += static_cast<size_t>(n);
    }
    return Filled::WHOLE;
}

bool in_time(const msg_gather& gather, steady_clock::time_point now) {
    return gather.have == 0 || msg_gather_left(&gather, now) > milliseconds::zero();
}

// True when the rest is yet to come; otherwise says why the header is no header.
bool header_may_come(const msg_gather& gather, Filled filled, int fd, steady_clock::time_point now) {
    if (filled == Filled::NOT_YET && in_time(gather, now))
        return true;
    if (filled == Filled::BROKEN)
        OV_LOG_ERROR("LIB", "msg_read: readn %s", strerror(errno));
    else if (filled == Filled::ENDED && gather.have == 0)
        OV_LOG_ERROR("LIB", "msg_read: Connection closed by peer fd [%d] ", fd);
    else
        OV_LOG_ERROR("LIB", "msg_read: Cannot read message header!");
    return false;
}

bool body_may_come(const msg_gather& gather, Filled filled, steady_clock::time_point now) {
    if (filled == Filled::NOT_YET && in_time(gather, now))
        return true;
    OV_LOG_ERROR("LIB", "msg_read: Cannot read message body!");
    return false;
}

bool header_is_sound(msg_gather& gather) {
    return msg_header_ok({gather.bytes.data(), UMSG_HEADER_SIZE}, &gather.hdr);
}

msg* take_message(msg_gather& gather) {
    const uint16_t len = ntohs(gather.hdr.msglen);
    gather.have = 0;
    return msg_new(gather.hdr.msgtype, gather.bytes.data() + UMSG_HEADER_SIZE, ntohl(gather.hdr.msgseq), len);
}

} // namespace

msg* msg_gather_read(msg_gather* gather, int fd, steady_clock::time_point now, bool* failed) {
    *failed = false;
    if (gather->have < UMSG_HEADER_SIZE) {
        const Filled filled = fill(*gather, fd, UMSG_HEADER_SIZE, now);
        if (filled != Filled::WHOLE) {
            *failed = !header_may_come(*gather, filled, fd, now);
            return nullptr;
        }
        if (!header_is_sound(*gather)) {
            *failed = true;
            return nullptr;
        }
    }
    const Filled filled = fill(*gather, fd, UMSG_HEADER_SIZE + ntohs(gather->hdr.msglen), now);
    if (filled == Filled::WHOLE)
        return take_message(*gather);
    *failed = !body_may_come(*gather, filled, now);
    return nullptr;
}

milliseconds msg_gather_left(const msg_gather* gather, steady_clock::time_point now) {
    if (gather->have == 0)
        return MSG_FRAME_TIME;
    const auto left = std::chrono::ceil<milliseconds>(gather->began + MSG_FRAME_TIME - now);
    return std::max(left, milliseconds::zero());
}
