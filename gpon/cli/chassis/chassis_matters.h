// What of a chassis an operator on call should look at: a line for each matter, in his words, with the
// command that tells more. No lines: the chassis is well. Subscribers switch their ONUs off, so an ONU that
// isn't in operation is no matter by itself; a port with several ONUs of which none is in operation is one.
//
// Event loop's thread.
#pragma once

#include <string>
#include <vector>

#include "chassis_count.h"

std::vector<std::string> chassis_matters(const ChassisCount& count);
