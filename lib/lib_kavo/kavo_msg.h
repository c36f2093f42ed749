// Messages between the daemon and the system controller: in memory, on a connection, and their bodies.
//
// Numbers and records of the bodies are in umsg.h. A message is owned by whoever holds the pointer and is
// freed with msg_free. The functions keep no state and may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <sys/types.h>

#include "umsg.h"

struct stream;

struct msg {
    msg* next;     // in a msg_fifo
    apimsghdr hdr; // as on the wire: msglen and msgseq in network order
    stream* s;     // the body
};

struct msg_fifo {
    unsigned count;
    msg* head;
    msg* tail;
};

// A reply as the caller of a request sees it. Data of up to 4095 bytes, with a terminating zero behind it.
struct msg_reply {
    uint32_t errcode;
    uint32_t len;
    char data[4096];
};
inline constexpr uint32_t MSG_REPLY_MAX_DATA = sizeof(msg_reply::data) - 1;

// ---- messages ------------------------------------------------------------------------------------

// A new message with a copy of `msglen` body bytes. Null when msglen is above UMSG_MAX_BODY, or when there
// is a length but no body.
msg* msg_new(u_char msgtype, const void* msgbody, unsigned seqnum, unsigned short msglen);
msg* msg_dup(const msg*);
void msg_free(msg*);        // null does nothing
void msg_print(const msg*); // the header, to the log at debug level
void msg_set_seq(msg*, unsigned seqnum);
unsigned msg_get_seq(const msg*);
// The body's bytes; valid until msg_free.
std::span<const uint8_t> msg_body(const msg*);

// A UMSG_REPLY with the result and `len` bytes of data. Null when head and data exceed UMSG_MAX_BODY.
msg* new_msg_reply(unsigned seqnr, unsigned rc, const void* data, unsigned len);

// ---- connection ----------------------------------------------------------------------------------

// Read or write exactly `len` bytes, resuming after a signal. Both give the bytes done (readn fewer at
// the end of the connection), or -1 with errno set.
ssize_t readn(int fd, void* buf, size_t len);
ssize_t writen(int fd, const void* buf, size_t len);

// Reads one message and blocks until it is there. Null, with a line in the log, when the connection
// ended or what came isn't a message; the connection is then of no further use.
msg* msg_read(int fd);
// Writes header and body in one piece. 0, or -1 with a line in the log. The message stays the caller's.
int msg_write(int fd, const msg*);

// ---- parsing of outside bytes --------------------------------------------------------------------

enum class msg_header_error { NONE, TOO_SHORT, BAD_VERSION, TOO_LONG };
// Copies the header out of `bytes` and tests it; *hdr is valid only with `none`.
msg_header_error msg_header_parse(std::span<const uint8_t> bytes, apimsghdr* hdr);
// The same, with a line in the log about what is wrong.
bool msg_header_ok(std::span<const uint8_t> bytes, apimsghdr* hdr);

// Cut texts at their field's end, so that a record from outside can be read as C strings.
inline void umsg_terminate_texts(umsg_if_t& r) {
    r.name[sizeof(r.name) - 1] = '\0';
    r.onu_sn[sizeof(r.onu_sn) - 1] = '\0';
}
inline void umsg_terminate_texts(umsg_ip_t& r) {
    r.ifname[sizeof(r.ifname) - 1] = '\0';
}
inline void umsg_terminate_texts(umsg_host_t& r) {
    r.name[sizeof(r.name) - 1] = '\0';
}
inline void umsg_terminate_texts(umsg_cfg_sync_t& r) {
    r.appName[sizeof(r.appName) - 1] = '\0';
}
inline void umsg_terminate_texts(umsg_snmp_save_req_t& r) {
    r.tablename[sizeof(r.tablename) - 1] = '\0';
}
template <typename Record>
void umsg_terminate_texts(Record&) {} // records without text

// The record that a body holds, its texts terminated; bytes behind the record are passed over. Nothing
// when the body is shorter than the record.
template <typename Record>
std::optional<Record> umsg_body_parse(std::span<const uint8_t> body) {
    if (body.size() < sizeof(Record))
        return std::nullopt;
    Record record;
    std::memcpy(&record, body.data(), sizeof(record));
    umsg_terminate_texts(record);
    return record;
}

// The slot of a switch-over message: a umsg_card_t, or its slot number alone.
std::optional<uint32_t> umsg_switch_slot_parse(std::span<const uint8_t> body);

// The head of a reply's body; nothing when the body is shorter.
std::optional<umsg_reply_head_t> msg_reply_head_parse(std::span<const uint8_t> body);
// Fills *reply from a reply's body. False when the body has no head, its data would not fit, or its
// length field claims more than the body holds; *reply is then unchanged.
bool msg_reply_parse(std::span<const uint8_t> body, msg_reply* reply);

// ---- queue ---------------------------------------------------------------------------------------

msg_fifo* msg_fifo_new();
void msg_fifo_push(msg_fifo*, msg*); // takes the message
msg* msg_fifo_pop(msg_fifo*);        // gives the oldest back to the caller; null when empty
msg* msg_fifo_head(const msg_fifo*); // the oldest, still the queue's; null when empty
void msg_fifo_flush(msg_fifo*);      // frees every message
void msg_fifo_free(msg_fifo*);       // frees the messages and the queue; null does nothing
