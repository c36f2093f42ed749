// What the processor's saved context tells of a crash: x86-64, PowerPC, and nothing elsewhere. Called in
// signal handlers; `context` may be null.
#pragma once

#include <cstdint>
#include <ucontext.h>

// The instruction that the thread stood at, and its stack pointer. 0 when unknown.
uintptr_t crash_register_pc(const ucontext_t* context);
uintptr_t crash_register_sp(const ucontext_t* context);

// The frames from that instruction on: itself and the addresses that its callers will return to, `limit`
// at most. Follows the saved frame pointers (the program is built with them), as if the thread had just
// entered a function: after a jump to a wild address this is what names the culprit. Reads nothing that
// isn't there. Returns how many there are.
int crash_walk_frames(const ucontext_t* context, void** addresses, int limit);

// Writes all registers, and what the processor says of the exception if the signal comes from one: behind any
// other signal the context holds the number of an older exception or of none, which is that of another.
void crash_print_registers(int fd, const ucontext_t* context, bool exception);
