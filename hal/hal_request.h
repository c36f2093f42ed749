// Requests to the cards whose replies the event loop takes as they come: hal_send without the wait, for work
// that has much to ask.
//
// Any number may be under way, to one card and to many; a reply finds its request by the id that the named
// IPC gave it, whatever the order. They go out under the name of hal_send: a reply that comes while one waits
// is put aside for the loop.
//
// A request goes behind the one-way messages that wait for its card: while there are any, and while the card
// has no room, it isn't sent (NO_ROOM), and the caller tries again in a moment. One that comes back later
// because there was no room (TIPC) is sent again by itself. Each has as long as a hal_send has, 12 seconds.
// One whose slot goes inactive fails within HAL_REQUEST_LOOK_MSEC.
//
// Event loop's thread only.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hal_msg.h"

struct thread_master;

inline constexpr long HAL_REQUEST_LOOK_MSEC = 200; // between two looks for what can't be answered any more

// Takes what became of a request, once, from the event loop and never from within hal_request: `result` as
// hal_send returns it; `reply` the message with the card's answer over it as far as that can be used, valid
// for the call, null when the card didn't answer in time or is gone. Why it failed is stated in the door that
// is open meanwhile (OvRefusal::current()).
typedef void (*hal_reply_handle)(void* context, unsigned result, const hal_nlmsghdr* reply);

enum class HalRequest : uint8_t {
    SENT,    // the handler will be called
    NO_ROOM, // not sent: try again later
    FAILED,  // not sent, and no use: the slot isn't active or isn't one, nobody has its name, a bad length
};

// Sends a message to the card of the slot in nlmsg_pid; it stays the caller's. While the board recovers
// nothing goes out, and the handler gets the message itself with result 0, as hal_send would leave it.
HalRequest hal_request(const hal_nlmsghdr* nlhdr, hal_reply_handle handle, void* context);

// Requests whose handler is still to be called.
size_t hal_requests_under_way();

// What the transport finds instead of an awaited reply, or on its way: a reply, or a request that came back.
// Passed over if it is nobody's. The handler is called later.
struct ipc_header;
void hal_request_notice_reply(const ipc_header& header, const void* msg, size_t size);
bool hal_request_is_under_way(const ipc_header& header);
void hal_request_notice_returned(const ipc_header& header);

// Takes the loop; null for a program without one, in which every request fails.
void hal_request_init(struct thread_master* master);
