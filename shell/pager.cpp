#include "pager.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <string_view>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace {

struct SizeOnScreen {
    size_t rows;
    size_t columns;
};

SizeOnScreen terminal_size() {
    struct winsize size {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0)
        return {24, 80};
    return {size.ws_row, size.ws_col};
}

std::vector<std::string_view> lines_of(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return lines;
}

void print(std::string_view text) {
    fwrite(text.data(), 1, text.size(), stdout);
}

/// Keys one by one and unseen, until it goes out of scope.
class RawKeys {
public:
    RawKeys() {
        tcgetattr(STDIN_FILENO, &before_);
        struct termios raw = before_;
        raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG);
        raw.c_cc[VMIN] = 1;
        raw.c_cc[VTIME] = 0;
        tcsetattr(STDIN_FILENO, TCSADRAIN, &raw);
    }
    ~RawKeys() { tcsetattr(STDIN_FILENO, TCSADRAIN, &before_); }
    RawKeys(const RawKeys&) = delete;
    RawKeys& operator=(const RawKeys&) = delete;

private:
    struct termios before_ {};
};

enum class More { PAGE, LINE, QUIT };

constexpr char CTRL_C = 3;

/// Ask how to go on. A terminal that is gone counts as q.
More ask_for_more() {
    constexpr char QUESTION[] = "--More-- (Space: page, Enter: line, q: quit)";
    const RawKeys keys;
    print(QUESTION);
    fflush(stdout);
    for (char key = 0;;) {
        if (read(STDIN_FILENO, &key, 1) != 1)
            key = 'q';
        const bool quit = key == 'q' || key == 'Q' || key == CTRL_C;
        const bool line = key == '\r' || key == '\n';
        if (!quit && !line && key != ' ')
            continue;
        print("\r" + std::string(sizeof(QUESTION) - 1, ' ') + "\r");
        return quit ? More::QUIT : line ? More::LINE : More::PAGE;
    }
}

bool is_continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

} // namespace

size_t Pager::rows_of(std::string_view line, size_t columns) {
    size_t width = 0;
    for (const char byte : line) {
        if (byte == '\t')
            width = (width / 8 + 1) * 8;
        else if (static_cast<unsigned char>(byte) >= ' ' && !is_continuation(byte))
            width++;
    }
    return width == 0 ? 1 : (width + columns - 1) / columns;
}

bool Pager::show_with_program(const std::string& text) const {
    const char* const program = getenv("PAGER");
    if (!program || !*program)
        return false;
    fflush(stdout);
    // The operator's own setting, run as other programs run it.
    FILE* const out = popen(program, "w"); // NOLINT(cert-env33-c)
    if (!out)
        return false;
    // It may end before it has read all.
    const auto before = signal(SIGPIPE, SIG_IGN);
    fwrite(text.data(), 1, text.size(), out);
    pclose(out);
    signal(SIGPIPE, before);
    return true;
}

void Pager::show(const std::string& text) const {
    const auto size = terminal_size();
    const size_t page = length_ ? static_cast<size_t>(*length_) : size.rows;
    const auto lines = lines_of(text);
    size_t rows = 0;
    for (const auto line : lines)
        rows += rows_of(line, size.columns);
    if (!on_terminal_ || page == 0 || rows < page) {
        print(text);
        fflush(stdout);
        return;
    }
    if (show_with_program(text))
        return;

    const size_t full = std::max<size_t>(page - 1, 1); // the question takes a row
    size_t left = full;
    for (size_t i = 0; i < lines.size(); i++) {
        const size_t needed = rows_of(lines[i], size.columns);
        if (left < needed && left < full) {
            const auto more = ask_for_more();
            if (more == More::QUIT) {
                printf("(%zu of %zu lines not shown)\n", lines.size() - i, lines.size());
                break;
            }
            left = more == More::PAGE ? full : needed;
        }
        print(lines[i]);
        left -= std::min(left, needed);
    }
    fflush(stdout);
}
