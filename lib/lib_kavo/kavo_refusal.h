// Why commands were refused, for the session that typed them. What a refused command prints is fixed, so the
// reason goes another way: a session that was told "no" can ask with "show refusal" afterwards. Event loop's
// thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kavo_frr.h"
#include "ov_refusal.h"

// A session's command was refused with a handler's result: writes the line of its door, and keeps the reason
// for the session. The oldest of all sessions goes when there are more than enough. `command` is the line
// without its secrets (CliWords::told).
void kavo_refusal_tell(const struct vty* vty, OvRefusal& door, const std::string& command, int result);
// The same for a line that the session has sent before: its number is that of kavo_refusal_line_number.
void kavo_refusal_tell(const struct vty* vty, OvRefusal& door, const std::string& command, int result,
                       uint32_t line);

// What the session's commands work on, as an operator calls it: "gpon-onu1/1:1", "onu-srvprofile 3", "gpon";
// empty for the nodes without an object.
std::string kavo_refusal_object(const struct vty* vty);

// The number by which "show refusal" tells which line it speaks of: of the line as it was sent (FNV-1a, 32
// bits).
uint32_t kavo_refusal_line_number(std::string_view line);

// The hidden commands "show refusal" and "show refusal numbered": one line for each of the session's refusals
// since it last asked, in their order, "NUMBER REASON" with the line's number as eight hexadecimal digits,
// and with "numbered" behind that the number by which "show refused" knows it, in decimal: "NUMBER SHOWN
// REASON". A shell may thus send many lines ahead of their answers, and ask when it likes.
void kavo_refusal_vty_init();
