#include "text_files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr time_t HOUR = 3600;
constexpr size_t SPECIAL_MOST = 1 << 20;

class OpenFile {
public:
    explicit OpenFile(const std::string& path)
        : fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
    ~OpenFile() {
        if (fd_ >= 0)
            close(fd_);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

// False with errno set.
bool read_from(int fd, off_t begin, size_t most, std::string& text) {
    text.resize(most);
    size_t done = 0;
    while (done < most) {
        const ssize_t got = pread(fd, text.data() + done, most - done, begin + static_cast<off_t>(done));
        if (got < 0 && errno != EINTR)
            return false;
        if (got == 0)
            break;
        done += static_cast<size_t>(std::max<ssize_t>(got, 0));
    }
    text.resize(done);
    return true;
}

// The time at the beginning of a line of the log; -1 if there is none.
time_t time_of(std::string_view line) {
    constexpr size_t LENGTH = sizeof "2026-11-22 05:30:41" - 1;
    const std::string head(line.substr(0, LENGTH));
    tm local{};
    if (std::sscanf(head.c_str(), "%4d-%2d-%2d %2d:%2d:%2d", &local.tm_year, &local.tm_mon, &local.tm_mday,
                    &local.tm_hour, &local.tm_min, &local.tm_sec) != 6)
        return -1;
    local.tm_year -= 1900;
    local.tm_mon -= 1;
    local.tm_isdst = -1;
    return mktime(&local);
}

// The end of a file, as it is.
std::optional<FileText> read_end(const std::string& path, size_t most, std::string& why) {
    const OpenFile file(path);
    struct stat facts {};
    if (file.get() < 0 || fstat(file.get(), &facts) != 0) {
        why = std::strerror(errno);
        return std::nullopt;
    }
    if (!S_ISREG(facts.st_mode)) {
        why = "not a file";
        return std::nullopt;
    }
    FileText made;
    const auto size = static_cast<size_t>(facts.st_size);
    made.cut = size > most;
    if (!read_from(file.get(), made.cut ? facts.st_size - static_cast<off_t>(most) : 0, most, made.text)) {
        why = std::strerror(errno);
        return std::nullopt;
    }
    return made;
}

void begin_with_a_line(FileText& file) {
    if (file.cut)
        file.text.erase(0, std::min(file.text.find('\n'), file.text.size() - 1) + 1);
}

} // namespace

std::optional<FileText> read_text_file(const std::string& path, size_t most, std::string& why) {
    auto made = read_end(path, most, why);
    if (made && made->text.find('\0') != std::string::npos) {
        why = "not a text";
        return std::nullopt;
    }
    if (made)
        begin_with_a_line(*made);
    return made;
}

std::optional<FileText> read_log_file(const std::string& path, size_t most, std::string& why) {
    auto made = read_end(path, most, why);
    if (!made)
        return made;
    const auto rest = std::ranges::unique(made->text, [](char a, char b) { return a == '\0' && b == '\0'; });
    made->text.erase(rest.begin(), rest.end());
    std::ranges::replace(made->text, '\0', '\n');
    begin_with_a_line(*made);
    return made;
}

std::string read_special_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text(SPECIAL_MOST, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(file.gcount()));
    std::ranges::replace(text, '\0', ' ');
    return text;
}

std::string_view last_hour_of(std::string_view log) {
    time_t last = -1;
    size_t begin = log.size();
    for (size_t end = log.size(); end > 0;) {
        const size_t at = end < 2 ? 0 : log.rfind('\n', end - 2) + 1; // 0 for the first line
        const time_t when = time_of(log.substr(at, end - at));
        last = last == -1 ? when : last;
        if (when != -1 && when < last - HOUR)
            break;
        if (when != -1)
            begin = at;
        end = at;
    }
    return log.substr(begin);
}
