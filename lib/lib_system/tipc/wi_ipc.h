// Sockets of the named IPC, below registrations and headers: a name is bound, frames go to names, frames that
// couldn't be delivered come back at the send side.
//
// Two carriers: "tipc" (AF_TIPC) and "unix" (Unix datagrams under abstract names, for kernels without TIPC).
// The environment variable OV_IPC_CARRIER chooses; unset means tipc, or unix with one notice in the log when
// the kernel has no TIPC. One frame is one datagram and the same bytes on both.
//
// What goes wrong goes wrong alike on both, as the kernel's TIPC has it, as far as Unix datagrams allow:
//
//                                          tipc                        unix
//   nobody has the name                    back at once, whole         the same
//   its receiver has no room               back, at once or later,     back at once,
//                                          its first 1024 bytes        its first 1024 bytes
//   its receiver dies with it unread       back, later,                lost
//                                          its first 1024 bytes
//   nobody has a name of the range         back at once, once          the same
//   some of the range have no room         back, once for each of      the same
//                                          them; the others have it
//   longer than WI_IPC_MAX_FRAME           EMSGSIZE                    EMSGSIZE
//   longer than the reader's buffer        cut, by how much            cut, by how much
//                                          isn't told                  isn't told
//   a name that is bound                   can be bound again, its     EADDRINUSE
//                                          holders take turns
//   frames that a receiver's queue takes   by their memory: of 1,000   by their number, ten or
//                                          bytes some 1,170            so (net.unix.max_dgram_qlen)
//   frames that wait                       their number                0, or 1 for any number
//
// TIPC's medium importance, which all frames have, doubles a receiver's room. Returned frames that nobody
// takes are dropped in the end, on both.
//
// A send never waits.
//
// Nothing here allocates memory. A registration's send and receive sides may be used by different threads.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

inline constexpr uint32_t WI_IPC_TYPE_BASE = 19000; // type of a name = service id + this

// The largest frame that TIPC carries; the unix carrier refuses longer ones too.
inline constexpr size_t WI_IPC_MAX_FRAME = 66000;
inline constexpr int WI_IPC_SOCKET_BUFFER = 0xa0000; // bytes, each way
// What comes back of a frame that its receiver had no room for, or left unread.
inline constexpr size_t WI_IPC_RETURNED_MAX = 1024;

struct wi_ipc_name {
    uint32_t type;
    uint32_t instance;
};

class WiIpcCarrier;

// The sockets of one registered name.
struct wi_ipc_register_result_st {
    const WiIpcCarrier* carrier = nullptr;
    int rcv_sock = -1; // bound to the name
    int snd_sock = -1; // unbound; TIPC's returned messages arrive here
    // Frames that came back by the answer of the send call itself: a datagram socket pair, so that they
    // can be waited for, peeked at and taken like those that the kernel brings.
    int returned_rd = -1;
    int returned_wr = -1;
    std::atomic<uint32_t> given_back = 0; // frames in there; saves a system call for each send
};

// Where a frame goes that is received: the header apart from the message. A message that stands right behind
// its header is the cheaper one.
struct wi_ipc_frame_buffer {
    std::span<uint8_t> header;
    std::span<uint8_t> message;
};

// Why a frame came back.
enum wi_ipc_why : uint8_t {
    WI_IPC_GONE,    // nobody has the name, or who had it died with the frame unread
    WI_IPC_NO_ROOM, // its receiver is there, but has no room: it is worth trying again
};

// What became of a receive call.
struct wi_ipc_received {
    int error;                    // 0 or an errno; EAGAIN for nothing there
    size_t length;                // bytes of the frame; one more than the buffers hold for one that was cut
    wi_ipc_why why = WI_IPC_GONE; // of a frame that came back
};

// What differs between the carriers. All functions give 0 or an errno.
class WiIpcCarrier {
public:
    virtual ~WiIpcCarrier() = default;
    virtual const char* name() const = 0;
    // Opens rcv_sock, bound, and snd_sock, both close-on-exec.
    virtual int open_sockets(const wi_ipc_name& own, wi_ipc_register_result_st& reg) const = 0;
    // Importance, buffer sizes, and that undeliverable messages come back.
    virtual int set_options(const wi_ipc_register_result_st& reg) const = 0;
    // One datagram to a name, without waiting. A name that nobody has, or whose receiver has no room, is
    // success, and the frame is at the send side, then or later.
    virtual int send(wi_ipc_register_result_st& reg, const wi_ipc_name& to,
                     std::span<const uint8_t> frame) const = 0;
    // One datagram to each instance from low to high that is bound. It comes back once for each receiver that
    // has no room, or once when there is none.
    virtual int send_mcast(wi_ipc_register_result_st& reg, uint32_t type, uint32_t low, uint32_t high,
                           std::span<const uint8_t> frame) const = 0;
    // A returned frame that the kernel brought to the send socket. peek leaves it there.
    virtual wi_ipc_received take_returned(const wi_ipc_register_result_st& reg,
                                          const wi_ipc_frame_buffer& buffer, bool peek) const = 0;
    // A descriptor that polls writable once whoever has the name has room, or has gone; the caller closes it.
    // -1 where only another try can tell, or there is none.
    virtual int watch_room(const wi_ipc_name& to) const = 0;
    // Frames that wait at rcv_sock.
    virtual int queue_depth(const wi_ipc_register_result_st& reg, uint32_t& depth) const = 0;
};

const WiIpcCarrier& wi_ipc_tipc_carrier();
const WiIpcCarrier& wi_ipc_unix_carrier();
// Whether this kernel has TIPC.
bool wi_ipc_have_tipc();
// The carrier by OV_IPC_CARRIER; null with a line in the log for a value that is neither.
const WiIpcCarrier* wi_ipc_choose_carrier();

// Opens the sockets of a name into an empty registration. 0 or an errno (EADDRINUSE: the name is bound, which
// only the unix carrier refuses; EAFNOSUPPORT: no TIPC; EINVAL: no such carrier); on failure nothing stays
// open.
int wi_ipc_register(uint32_t serv_id, uint32_t sub_id, wi_ipc_register_result_st& reg);
// Closes what is open.
void wi_ipc_unregister(wi_ipc_register_result_st& reg);
// Closes `to` and moves the sockets of `from` into it.
void wi_ipc_move(wi_ipc_register_result_st& to, wi_ipc_register_result_st& from);

int wi_ipc_send(wi_ipc_register_result_st& reg, uint32_t serv_id, uint32_t sub_id,
                std::span<const uint8_t> frame);
int wi_ipc_send_mcast(wi_ipc_register_result_st& reg, uint32_t serv_id, uint32_t low, uint32_t high,
                      std::span<const uint8_t> frame);

enum wi_ipc_ready : unsigned { WI_IPC_NOTHING = 0, WI_IPC_RETURNED = 1, WI_IPC_MESSAGE = 2 };
// Waits until a frame is there: a set of wi_ipc_ready, or WI_IPC_NOTHING at the deadline (none: for ever).
// Signals don't end the wait.
unsigned wi_ipc_wait(const wi_ipc_register_result_st& reg,
                     std::optional<std::chrono::steady_clock::time_point> deadline);

// Waits up to WI_IPC_SOON at the receive side alone and takes what comes: one system call where wi_ipc_wait
// and wi_ipc_receive are two. EAGAIN when nothing came, or a signal did.
inline constexpr std::chrono::milliseconds WI_IPC_SOON{20};
wi_ipc_received wi_ipc_receive_soon(const wi_ipc_register_result_st& reg, const wi_ipc_frame_buffer& buffer);

// Take a frame without waiting.
wi_ipc_received wi_ipc_receive(const wi_ipc_register_result_st& reg, const wi_ipc_frame_buffer& buffer);
wi_ipc_received wi_ipc_take_returned(wi_ipc_register_result_st& reg, const wi_ipc_frame_buffer& buffer,
                                     bool peek);

// Puts a frame at the send side as returned. When too many wait there already it is dropped with a line in
// the log.
void wi_ipc_give_back(wi_ipc_register_result_st& reg, std::span<const uint8_t> frame,
                      wi_ipc_why why = WI_IPC_GONE);

// Receives one datagram of a socket; flags as for recvmsg, MSG_DONTWAIT or the socket's own limit bounds the
// wait.
wi_ipc_received wi_ipc_receive_from(int sock, const wi_ipc_frame_buffer& buffer, int flags);
// Sets both socket buffers to WI_IPC_SOCKET_BUFFER, or what the system allows.
int wi_ipc_set_buffers(int sock);
