// GPON messages to and from the line cards. Event loop's thread.
#pragma once

// Takes a message of a line card: its type, the body, the message's length in bytes. Always 0: a message
// that nobody wants, or that is too short, is dropped.
unsigned ov_hal_gpon_msg_recv(unsigned type, void* buf, unsigned len);
