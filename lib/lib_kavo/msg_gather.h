// A message in the making: what has come of a frame on a connection of the controller, taken as it comes.
//
// msg_read waits until its message is whole, which is right for a reply that was asked for. Nobody asked for
// an event, and whoever connects may send half of one: its bytes are kept here until the rest comes, and
// nobody waits. Each connection has one of its own. No lock: one thread at a time.
#pragma once

#include <array>
#include <chrono>

#include "kavo_msg.h"

// The time that a frame has from its first byte to its last.
inline constexpr std::chrono::milliseconds MSG_FRAME_TIME{5000};

struct msg_gather {
    size_t have = 0;                             // bytes of the frame so far
    std::chrono::steady_clock::time_point began; // when the first of them came
    apimsghdr hdr;                               // valid once they are all there
    std::array<uint8_t, UMSG_HEADER_SIZE + UMSG_MAX_BODY> bytes;
};

// Takes what waits on the connection, up to the end of one frame; what stands behind it stays there. Never
// blocks. Gives the message once its frame is whole, the caller's, with the gatherer empty again. Null with
// *failed false: not yet. Null with *failed true, and a line in the log: the connection ended, what came
// isn't a frame, or its time was over at `now` and it still wasn't whole; the connection is of no further
// use.
msg* msg_gather_read(msg_gather* gather, int fd, std::chrono::steady_clock::time_point now, bool* failed);

// How much of its time the frame in the making has left, not below 0; the whole of it when there is none.
std::chrono::milliseconds msg_gather_left(const msg_gather* gather,
                                          std::chrono::steady_clock::time_point now);
