// The time stamp of table rows.
#pragma once

#include <cstdint>

// Seconds since 1970 by way of the local time: mktime(localtime(time())). Any thread.
uint32_t get_local_time();
