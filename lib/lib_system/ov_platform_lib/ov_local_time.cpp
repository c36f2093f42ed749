#include "ov_local_time.h"

#include "ov_clock.h"

uint32_t get_local_time() {
    const time_t now = ov_wall_time();
    tm local{};
    localtime_r(&now, &local);
    return static_cast<uint32_t>(mktime(&local));
}

std::string ov_local_time_text(time_t time) {
    char text[sizeof("2036-02-07 06:28:15")] = "-";
    tm local{};
    if (time != 0 && localtime_r(&time, &local) != nullptr)
        strftime(text, sizeof text, "%F %T", &local);
    return text;
}
