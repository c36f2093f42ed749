#pragma once

// Between the operator's line and the daemon: what is asked for a line with a tail, and what is made of the
// answer.

#include <string>

#include "line_tail.h"
#include "vty_client.h"

/// The line for the daemon.
std::string line_for_daemon(const LineTail& tail);

/// The answer as the operator wants it. One without a table, where JSON was wanted, becomes a refusal.
VtyReply shown_answer(const LineTail& tail, const VtyReply& reply);

/// What stands above each turn of a repeated command: when, what, and how it ends.
std::string repeat_heading(const LineTail& tail);
