// The copy that comes ahead of a new protection group, in steps between which the loop serves others: the
// same for an operator's group and for a manager's.
//
// From begin to end, what is written on the working port is repeated on the other one, neither port can get
// into another group, and nobody else can make a group of that id.
//
// Main loop only.
#pragma once

#include <functional>

#include "portProtectTable.h"

// For a group that may be made. `copied` is called from a step, once, unless the end comes first. False, with
// the reason stated, if a group of that id is being copied already.
bool protect_group_copy_begin(const ov_portProtectTable_attr_t& group, std::function<void()> copied);
// The group has been made, or won't be: then the copy ends where it is, and the protecting port is cleared,
// in steps too. `done` is called behind that, or within this call where there is nothing to clear. Does
// nothing for a group that isn't being copied.
void protect_group_copy_end(const ov_portProtectTable_attr_t& group, std::function<void()> done);

// All is copied, for this id and these ports, and the group can be made.
bool protect_group_copy_is_over(const ov_portProtectTable_attr_t& group);
