// A library that is loaded in front of a daemon's: time() tells what a file says, so that a test can have a
// quarter of an hour pass in no time. TOLD_TIME_FILE names the file; it holds seconds since 1970. While there
// is none, or it is empty, it is the system's time.

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

time_t real_time() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

time_t told_time() {
    const char* const name = std::getenv("TOLD_TIME_FILE");
    std::FILE* const file = name ? std::fopen(name, "re") : nullptr;
    if (!file)
        return real_time();
    long long seconds = 0;
    const bool is_told = std::fscanf(file, "%lld", &seconds) == 1;
    std::fclose(file);
    return is_told ? static_cast<time_t>(seconds) : real_time();
}

} // namespace

extern "C" time_t time(time_t* result) noexcept {
    const time_t now = told_time();
    if (result)
        *result = now;
    return now;
}
