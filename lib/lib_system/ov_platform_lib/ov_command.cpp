#include "ov_command.h"

#include <algorithm>
#include <cerrno>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool is_word_character(char c) {
    bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    bool digit = c >= '0' && c <= '9';
    return letter || digit || std::string_view("._-/:@+,=%").find(c) != std::string_view::npos;
}

bool has_parent_element(std::string_view path) {
    while (true) {
        size_t slash = path.find('/');
        if (path.substr(0, slash) == "..")
            return true;
        if (slash == std::string_view::npos)
            return false;
        path.remove_prefix(slash + 1);
    }
}

} // namespace

bool ov_command_word_ok(std::string_view word) {
    if (word.empty() || word.front() == '-')
        return false;
    return std::all_of(word.begin(), word.end(), is_word_character) && !has_parent_element(word);
}

int ov_command_run(std::initializer_list<const char*> argv) {
    std::vector<char*> args;
    for (const char* word : argv)
        args.push_back(const_cast<char*>(word)); // posix_spawn doesn't write to them
    args.push_back(nullptr);

    pid_t child = 0;
    if (args.front() == nullptr ||
        posix_spawnp(&child, args.front(), nullptr, nullptr, args.data(), environ) != 0)
        return -1;
    int status = 0;
    pid_t ended;
    do {
        ended = waitpid(child, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
