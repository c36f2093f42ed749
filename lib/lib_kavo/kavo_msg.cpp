#include "kavo_msg.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

#include <frr/config.h>

#include <frr/zebra.h>

#include <frr/stream.h>

#include "ov_product_log.h"

msg* msg_new(u_char msgtype, const void* msgbody, unsigned seqnum, unsigned short msglen) {
    if (msglen > UMSG_MAX_BODY || (msglen > 0 && !msgbody))
        return nullptr;
    auto m = std::make_unique<msg>();
    m->next = nullptr;
    m->hdr = {.version = UMSG_VERSION, .msgtype = msgtype, .msglen = htons(msglen), .msgseq = htonl(seqnum)};
    m->s = stream_new(std::max<size_t>(msglen, 1)); // a stream of no bytes isn't allowed
    if (msglen > 0)
        stream_put(m->s, msgbody, msglen);
    return m.release();
}

msg* msg_dup(const msg* m) {
    if (!m)
        return nullptr;
    const auto body = msg_body(m);
    return msg_new(m->hdr.msgtype, body.data(), msg_get_seq(m), static_cast<unsigned short>(body.size()));
}

void msg_free(msg* m) {
    if (!m)
        return;
    stream_free(m->s);
    std::unique_ptr<msg> owned(m);
}

void msg_print(const msg* m) {
    OV_LOG_DEBUG("LIB", "msg version %d type %d len %d seq %u", m->hdr.version, m->hdr.msgtype,
                 ntohs(m->hdr.msglen), msg_get_seq(m));
}

void msg_set_seq(msg* m, unsigned seqnum) {
    m->hdr.msgseq = htonl(seqnum);
}

unsigned msg_get_seq(const msg* m) {
    return ntohl(m->hdr.msgseq);
}

std::span<const uint8_t> msg_body(const msg* m) {
    return {STREAM_DATA(m->s), stream_get_endp(m->s)};
}

msg* new_msg_reply(unsigned seqnr, unsigned rc, const void* data, unsigned len) {
    std::array<uint8_t, UMSG_MAX_BODY> body;
    const umsg_reply_head_t head = {.errcode = rc, .len = len};
    if (len > body.size() - sizeof(head) || (len > 0 && !data))
        return nullptr;
    std::memcpy(body.data(), &head, sizeof(head));
    if (len > 0)
        std::memcpy(body.data() + sizeof(head), data, len);
    return msg_new(UMSG_REPLY, body.data(), seqnr, static_cast<unsigned short>(sizeof(head) + len));
}

ssize_t readn(int fd, void* buf, size_t len) {
    auto* bytes = static_cast<uint8_t*>(buf);
    size_t done = 0;
    while (done < len) {
        const ssize_t n = read(fd, bytes + done, len - done);
        if (n == 0)
            break;
        if (n < 0 && errno != EINTR)
            return -1;
        done += n > 0 ? static_cast<size_t>(n) : 0;
    }
    return static_cast<ssize_t>(done);
}

ssize_t writen(int fd, const void* buf, size_t len) {
    const auto* bytes = static_cast<const uint8_t*>(buf);
    size_t done = 0;
    while (done < len) {
        // A closed peer is an error to report, never a SIGPIPE. Only pipes and files take the second call.
        ssize_t n = send(fd, bytes + done, len - done, MSG_NOSIGNAL);
        if (n < 0 && errno == ENOTSOCK)
            n = write(fd, bytes + done, len - done);
        if (n == 0)
            break;
        if (n < 0 && errno != EINTR)
            return -1;
        done += n > 0 ? static_cast<size_t>(n) : 0;
    }
    return static_cast<ssize_t>(done);
}

namespace {

// Reads and tests the header; logs what is wrong with it.
bool read_header(int fd, apimsghdr* hdr) {
    std::array<uint8_t, UMSG_HEADER_SIZE> bytes;
    const ssize_t n = readn(fd, bytes.data(), bytes.size());
    if (n < 0) {
        OV_LOG_ERROR("LIB", "msg_read: readn %s", strerror(errno));
        return false;
    }
    if (n == 0) {
        OV_LOG_ERROR("LIB", "msg_read: Connection closed by peer fd [%d] ", fd);
        return false;
    }
    return msg_header_ok({bytes.data(), static_cast<size_t>(n)}, hdr);
}

} // namespace

msg* msg_read(int fd) {
    apimsghdr hdr;
    if (!read_header(fd, &hdr))
        return nullptr;
    std::array<uint8_t, UMSG_MAX_BODY> body;
    const uint16_t len = ntohs(hdr.msglen);
    if (readn(fd, body.data(), len) != len) {
        OV_LOG_ERROR("LIB", "msg_read: Cannot read message body!");
        return nullptr;
    }
    return msg_new(hdr.msgtype, body.data(), ntohl(hdr.msgseq), len);
}

int msg_write(int fd, const msg* m) {
    std::array<uint8_t, UMSG_HEADER_SIZE + UMSG_MAX_BODY> frame;
    const auto body = msg_body(m);
    std::memcpy(frame.data(), &m->hdr, UMSG_HEADER_SIZE);
    std::copy(body.begin(), body.end(), frame.begin() + UMSG_HEADER_SIZE);
    const size_t len = UMSG_HEADER_SIZE + body.size();

    const ssize_t n = writen(fd, frame.data(), len);
    if (n < 0) {
        OV_LOG_ERROR("LIB", "msg_write: writen %s", strerror(errno));
        return -1;
    }
    if (static_cast<size_t>(n) != len) {
        OV_LOG_ERROR("LIB", "msg_write: Cannot write API message");
        return -1;
    }
    return 0;
}

msg_header_error msg_header_parse(std::span<const uint8_t> bytes, apimsghdr* hdr) {
    if (bytes.size() < UMSG_HEADER_SIZE)
        return msg_header_error::TOO_SHORT;
    std::memcpy(hdr, bytes.data(), UMSG_HEADER_SIZE);
    if (hdr->version != UMSG_VERSION)
        return msg_header_error::BAD_VERSION;
    if (ntohs(hdr->msglen) > UMSG_MAX_BODY)
        return msg_header_error::TOO_LONG;
    return msg_header_error::NONE;
}

bool msg_header_ok(std::span<const uint8_t> bytes, apimsghdr* hdr) {
    switch (msg_header_parse(bytes, hdr)) {
    case msg_header_error::NONE:
        return true;
    case msg_header_error::TOO_SHORT:
        OV_LOG_ERROR("LIB", "msg_read: Cannot read message header!");
        return false;
    case msg_header_error::BAD_VERSION:
        OV_LOG_ERROR("LIB", "msg_read: API protocol version mismatch");
        return false;
    case msg_header_error::TOO_LONG:
        OV_LOG_ERROR("LIB", "msg_read: length is too long");
        return false;
    }
    return false;
}

std::optional<uint32_t> umsg_switch_slot_parse(std::span<const uint8_t> body) {
    static_assert(offsetof(umsg_card_t, slot_id) == 0);
    return umsg_body_parse<uint32_t>(body);
}

std::optional<umsg_reply_head_t> msg_reply_head_parse(std::span<const uint8_t> body) {
    return umsg_body_parse<umsg_reply_head_t>(body);
}

bool msg_reply_parse(std::span<const uint8_t> body, msg_reply* reply) {
    const auto head = msg_reply_head_parse(body);
    if (!head || head->len > MSG_REPLY_MAX_DATA || head->len > body.size() - sizeof(*head))
        return false;
    reply->errcode = head->errcode;
    reply->len = head->len;
    std::memcpy(reply->data, body.data() + sizeof(*head), head->len);
    reply->data[head->len] = '\0';
    return true;
}

msg_fifo* msg_fifo_new() {
    return std::make_unique<msg_fifo>().release();
}

void msg_fifo_push(msg_fifo* fifo, msg* m) {
    m->next = nullptr;
    if (fifo->tail)
        fifo->tail->next = m;
    else
        fifo->head = m;
    fifo->tail = m;
    fifo->count++;
}

msg* msg_fifo_pop(msg_fifo* fifo) {
    msg* m = fifo->head;
    if (!m)
        return nullptr;
    fifo->head = m->next;
    if (!fifo->head)
        fifo->tail = nullptr;
    m->next = nullptr;
    fifo->count--;
    return m;
}

msg* msg_fifo_head(const msg_fifo* fifo) {
    return fifo->head;
}

void msg_fifo_flush(msg_fifo* fifo) {
    while (msg* m = msg_fifo_pop(fifo))
        msg_free(m);
}

void msg_fifo_free(msg_fifo* fifo) {
    if (!fifo)
        return;
    msg_fifo_flush(fifo);
    std::unique_ptr<msg_fifo> owned(fifo);
}
