// The time stamp of table rows.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

// Seconds since 1970 by way of the local time: mktime(localtime(time())). Any thread.
uint32_t get_local_time();

// A time as "2036-02-07 06:28:15", local time; "-" for 0, which is none. Any thread.
std::string ov_local_time_text(time_t time);
