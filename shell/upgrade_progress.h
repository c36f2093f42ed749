#pragma once

// How far upgrades of ONUs are together, as a line behind a show of them that is repeated on a terminal:
//
//   total 128
//   64% sent, 30 of 128 ONUs done, 2 failed
//
// Which shows are of upgrades, their heading says. ONUs without one don't count.

#include "line_tail.h"
#include "vty_client.h"

/// The answer to a turn of a command with that line; as it is if the command isn't repeated, or shows no
/// upgrades.
VtyReply with_upgrade_progress(const LineTail& tail, VtyReply reply);
