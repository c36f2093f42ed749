#include "ov_local_time.h"

#include <ctime>

uint32_t get_local_time() {
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    return static_cast<uint32_t>(mktime(&local));
}
