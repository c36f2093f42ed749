#include "libovra.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr char DEFAULT_LOG_FILE[] = "/tmp/product/gpon.log";
constexpr int APPLICATION_ID = 111;
constexpr size_t MAX_COMMAND = 1024; // bytes of a formatted command line, with its terminator
constexpr uint32_t NO_MEMORY = 101002;

struct LevelName {
    int level;
    std::string_view name;
};
constexpr int LEVEL_FATAL = 120;
constexpr std::array<LevelName, 6> LEVEL_NAMES = {{
    {20, "debug"},
    {40, "info"},
    {60, "notice"},
    {80, "warning"},
    {100, "error"},
    {LEVEL_FATAL, "fatal"},
}};

const char* or_dash(const char* text) {
    return text != nullptr && *text != '\0' ? text : "-";
}

iovec piece(std::string_view text) {
    return {const_cast<char*>(text.data()), text.size()};
}

} // namespace

// ---- log ---------------------------------------------------------------------------------------

namespace {

// The log file, kept open from line to line. It may be moved away at any time: the first line of every tick
// of the kernel's clock (1 to 10 ms) looks whether it still stands under its name. The variable that names it
// may change from line to line.
class LogFile {
public:
    void write(std::span<iovec> parts) {
        const std::lock_guard lock(mutex_);
        if (!is_current() && !reopen())
            return;
        ssize_t ignored = writev(fd_, parts.data(), int(parts.size())); // nowhere to report a full disk to
        (void)ignored;
    }

private:
    static const char* wanted_path() {
        const char* path = getenv("OV_LOG_FILE");
        return path != nullptr && *path != '\0' ? path : DEFAULT_LOG_FILE;
    }
    bool is_current() {
        if (fd_ < 0 || path_ != wanted_path())
            return false;
        timespec tick{};
        clock_gettime(CLOCK_MONOTONIC_COARSE, &tick);
        if (tick.tv_sec == looked_.tv_sec && tick.tv_nsec == looked_.tv_nsec)
            return true;
        looked_ = tick;
        struct stat there {};
        return stat(path_.c_str(), &there) == 0 && there.st_ino == inode_ && there.st_dev == device_;
    }
    bool reopen() {
        if (fd_ >= 0)
            close(fd_);
        path_ = wanted_path();
        fd_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0644);
        struct stat made {};
        if (fd_ < 0 || fstat(fd_, &made) != 0)
            return false;
        inode_ = made.st_ino;
        device_ = made.st_dev;
        return true;
    }

    std::mutex mutex_;
    std::string path_;
    int fd_ = -1;
    ino_t inode_ = 0;
    dev_t device_ = 0;
    timespec looked_{};
};

// A time to the second, "2026-02-07 06:28:15", in local time. Made once a second in each thread: a line costs
// no look at the time zone.
std::string_view text_of_second(time_t second) {
    struct Made {
        time_t second = -1;
        size_t size = 0;
        std::array<char, 32> text{};
    };
    thread_local Made made;
    if (made.second != second) {
        tm local{};
        localtime_r(&second, &local);
        made.size = strftime(made.text.data(), made.text.size(), "%F %T", &local);
        made.second = second;
    }
    return {made.text.data(), made.size};
}

std::string_view level_name(int level) {
    const auto* found = std::find_if(LEVEL_NAMES.begin(), LEVEL_NAMES.end(),
                                     [level](const LevelName& known) { return known.level == level; });
    return found != LEVEL_NAMES.end() ? found->name : "-";
}

// What stands in front of a line's text, and the text if it is short; longer names are cut.
class LineStart {
public:
    LineStart& add(std::string_view part) {
        const size_t count = std::min(part.size(), room());
        memcpy(bytes_.data() + size_, part.data(), count);
        size_ += count;
        return *this;
    }
    LineStart& add(int number) {
        std::array<char, 12> digits{};
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        return add(std::string_view(digits.data(), size_t(end - digits.data())));
    }
    // The time with milliseconds.
    LineStart& add(const timespec& now) {
        const auto msec = static_cast<int>(now.tv_nsec / 1'000'000);
        const std::array<char, 4> digits = {'.', digit(msec / 100), digit(msec / 10), digit(msec)};
        return add(text_of_second(now.tv_sec)).add(std::string_view(digits.data(), digits.size()));
    }
    bool has_room_for(size_t count) const { return count <= room(); }
    std::string_view text() const { return {bytes_.data(), size_}; }

private:
    static char digit(int number) { return static_cast<char>('0' + number % 10); }
    size_t room() const { return bytes_.size() - size_; }

    std::array<char, 511>
        bytes_; // NOLINT(cppcoreguidelines-pro-type-member-init): filled as far as size_ tells
    size_t size_ = 0;
};

} // namespace

void ov_log_util(const char* lib, int level, const char* module, const char* file, int line, const char* func,
                 const char* text) {
    static LogFile& log_file = *new LogFile; // threads log to the very end of the process

    const char* tag = module != nullptr && *module != '\0' ? module : lib;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    LineStart start;
    start.add(now)
        .add(" ")
        .add(level_name(level))
        .add("/")
        .add(level)
        .add(" [")
        .add(or_dash(tag))
        .add("] ")
        .add(or_dash(file))
        .add(":")
        .add(line);
    start.add(" ").add(or_dash(func)).add(": ");

    std::string_view body = text != nullptr ? text : "";
    if (body.ends_with('\n'))
        body.remove_suffix(1);

    if (start.has_room_for(body.size() + 1)) {
        std::array<iovec, 1> whole = {piece(start.add(body).add("\n").text())};
        log_file.write(whole);
        return;
    }
    std::array<iovec, 3> parts = {piece(start.text()), piece(body), piece("\n")};
    log_file.write(parts);
}

void ov_raise_except(const char* expression, const char* file, int line, const char* func) {
    char text[1024];
    snprintf(text, sizeof text, "Assertion `%s' failed", expression != nullptr ? expression : "");
    ov_log_util(nullptr, LEVEL_FATAL, "LIB", file, line, func, text);
}

int ov_get_app_id() {
    return APPLICATION_ID;
}

int ov_ipc_client_is_initialized() {
    return 0;
}

// ---- shell commands ----------------------------------------------------------------------------

int ov_sys_and_result(const char* cmd, char* buf, size_t len) {
    if (buf != nullptr && len > 0)
        buf[0] = '\0';
    if (cmd == nullptr)
        return -1;

    FILE* pipe = popen(cmd, "re");
    if (pipe == nullptr)
        return -1;

    // All output is read, also what doesn't fit: a command that can't write would end by SIGPIPE.
    const size_t room = buf != nullptr ? len : 0;
    std::string output;
    std::array<char, 4096> chunk{};
    size_t got = 0;
    while ((got = fread(chunk.data(), 1, chunk.size(), pipe)) > 0)
        output.append(chunk.data(), std::min(got, room - output.size()));

    int status = pclose(pipe);
    if (output.ends_with('\n'))
        output.pop_back();
    if (room > 0) {
        size_t count = std::min(output.size(), room - 1);
        memcpy(buf, output.data(), count);
        buf[count] = '\0';
    }
    return status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int ov_sys_and_result_with_var(char* buf, size_t len, const char* fmt, ...) {
    std::array<char, MAX_COMMAND> cmd{};
    va_list args;
    va_start(args, fmt);
    int size = vsnprintf(cmd.data(), cmd.size(), fmt, args);
    va_end(args);
    if (size < 0 || size_t(size) >= cmd.size()) {
        if (buf != nullptr && len > 0)
            buf[0] = '\0';
        return -1;
    }
    return ov_sys_and_result(cmd.data(), buf, len);
}

// ---- time --------------------------------------------------------------------------------------

struct ov_timing_t {
    using Clock = std::chrono::steady_clock;
    Clock::time_point start;
    Clock::time_point stop;
    bool started = false;
    bool running = false;
};

ov_timing_t* ov_timing_new() {
    return new (std::nothrow) ov_timing_t;
}

void ov_timing_start(ov_timing_t* timing) {
    if (timing == nullptr)
        return;
    timing->start = ov_timing_t::Clock::now();
    timing->started = timing->running = true;
}

void ov_timing_stop(ov_timing_t* timing) {
    if (timing == nullptr || !timing->running)
        return;
    timing->stop = ov_timing_t::Clock::now();
    timing->running = false;
}

uint64_t ov_timing_get_inter(const ov_timing_t* timing) {
    if (timing == nullptr || !timing->started)
        return 0;
    auto end = timing->running ? ov_timing_t::Clock::now() : timing->stop;
    return uint64_t(std::chrono::duration_cast<std::chrono::microseconds>(end - timing->start).count());
}

void ov_timing_destroy(ov_timing_t* timing) {
    delete timing;
}

// ---- lock files, memory, threads ---------------------------------------------------------------

int ov_lockfile_already_running(const char* path) {
    if (path == nullptr)
        return EINVAL;
    // Not passed on to programs that the daemon runs: they would hold the lock after its end.
    int fd = open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY, 0644);
    if (fd < 0)
        return errno;
    if (flock(fd, LOCK_EX | LOCK_NB) == 0)
        return OV_LOCKFILE_TAKEN; // the descriptor stays open, and with it the lock
    int error = errno;
    close(fd);
    return error == EWOULDBLOCK ? int(OV_LOCKFILE_RUNNING) : error;
}

void* ov_calloc_mem(size_t count, size_t size) {
    return calloc(count, size);
}

void ov_free_mem(void* memory) {
    free(memory);
}

int ov_thread_create(void* (*fn)(void*), void* arg) {
    if (fn == nullptr)
        return EINVAL;
    pthread_attr_t attr;
    int rc = pthread_attr_init(&attr);
    if (rc != 0)
        return rc;
    pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
    pthread_t id{};
    rc = pthread_create(&id, &attr, fn, arg);
    pthread_attr_destroy(&attr);
    return rc;
}

// ---- list --------------------------------------------------------------------------------------

struct ov_list_t {
    int (*compare)(const void*, const void*) = nullptr;
    std::vector<void*> items; // in the order of compare, equal ones in the order they came
};

ov_list_t* ov_list_new(int (*compare)(const void*, const void*)) {
    auto* list = new (std::nothrow) ov_list_t;
    if (list != nullptr)
        list->compare = compare;
    return list;
}

int ov_list_add(ov_list_t* list, void* data) {
    if (list == nullptr)
        return int(NO_MEMORY);
    auto at = list->items.end();
    if (list->compare != nullptr)
        at = std::upper_bound(list->items.begin(), list->items.end(), data,
                              [list](const void* a, const void* b) { return list->compare(a, b) < 0; });
    try {
        list->items.insert(at, data);
    } catch (const std::bad_alloc&) {
        return int(NO_MEMORY);
    }
    return 0;
}

int ov_list_remove(ov_list_t* list, void* data) {
    if (list == nullptr)
        return 0;
    // By the pointer itself: the element may have changed since it was added.
    auto at = std::find(list->items.begin(), list->items.end(), data);
    if (at == list->items.end())
        return 0;
    list->items.erase(at);
    return 1;
}

void* ov_list_find(const ov_list_t* list, const void* key) {
    if (list == nullptr)
        return nullptr;
    if (list->compare == nullptr) {
        auto at = std::find(list->items.begin(), list->items.end(), key);
        return at != list->items.end() ? *at : nullptr;
    }
    auto at = std::lower_bound(list->items.begin(), list->items.end(), key,
                               [list](const void* a, const void* b) { return list->compare(a, b) < 0; });
    return at != list->items.end() && list->compare(*at, key) == 0 ? *at : nullptr;
}

size_t ov_list_count(const ov_list_t* list) {
    return list != nullptr ? list->items.size() : 0;
}

void* ov_list_at(const ov_list_t* list, size_t position) {
    return list != nullptr && position < list->items.size() ? list->items[position] : nullptr;
}

void ov_list_destroy(ov_list_t* list) {
    delete list;
}
