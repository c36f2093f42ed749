// The transport of messages to and from the agents on the line cards. Event loop's thread.
#pragma once

#include <cstdint>

struct thread_master;

// Number of this daemon's module on the transport.
inline constexpr unsigned HAL_GPON = 1035;

// Takes one received message: its type, the payload behind the header, and the message's length. 0 for
// success.
typedef unsigned (*hal_recv_handle)(unsigned type, void* buf, unsigned len);

// Opens the transport of a module and arms its receive timer. Ends the process with status 1 when that
// can't be done.
void hal_init(unsigned module, struct thread_master* master, hal_recv_handle recv);

// Takes one message off the asynchronous queue and hands it to `filter`. Returns 0, the handler's error,
// or KAVO_EMPTY (101005) when nothing waits.
unsigned hal_recv(hal_recv_handle filter);

// Prepares the mirroring of messages to the standby control card. 0 or KAVO_ERR.
int init_hal_backup();
