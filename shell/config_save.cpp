#include "config_save.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sstream>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "ov_product_info.h"
#include "shell_mode.h"

namespace {

constexpr char DEFAULT_FILE[] = "/flash/gpon.conf";
constexpr int NO_PROGRAM = 127; // the system shell's

bool is_short_for(const std::string& word, std::string_view keyword) {
    return keyword.starts_with(word);
}

std::string configuration_file() {
    std::array<char, 256> path = {};
    const bool known = ov_product_env_lookup("OV_ENV_CONFIG_FILE", path.data(), path.size());
    return known && path[0] != '\0' ? path.data() : DEFAULT_FILE;
}

int write_whole(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(fd, text.data(), text.size());
        if (written < 0 && errno != EINTR)
            return errno;
        if (written > 0)
            text.remove_prefix(static_cast<size_t>(written));
    }
    return fsync(fd) != 0 ? errno : 0;
}

int write_file(const std::string& path, const std::string& text) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0640);
    if (fd < 0)
        return errno;
    const int error = write_whole(fd, text);
    return close(fd) != 0 && error == 0 ? errno : error;
}

/// A second name for a file, in place of what had that name. Nothing if there is no such file.
int give_second_name(const std::string& path, const std::string& name) {
    const std::string fresh = name + ".new";
    unlink(fresh.c_str());
    if (link(path.c_str(), fresh.c_str()) != 0)
        return errno == ENOENT ? 0 : errno;
    const int error = rename(fresh.c_str(), name.c_str()) != 0 ? errno : 0;
    unlink(fresh.c_str()); // still there if both were names of the file already
    return error;
}

void flush_directory_of(const std::string& path) {
    const int fd = open(path.substr(0, path.rfind('/') + 1).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    fsync(fd);
    close(fd);
}

/// Runs the platform's program; its exit status, and what it printed.
int save_tables(std::string& said) {
    FILE* const program =
        popen("save-tables 2>&1 </dev/null", "re"); // NOLINT(cert-env33-c): the command is constant
    if (!program)
        return NO_PROGRAM;
    std::array<char, 512> piece = {};
    for (size_t got; (got = fread(piece.data(), 1, piece.size(), program)) > 0;)
        said.append(piece.data(), got);
    const int status = pclose(program);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

/// The tables whose last save failed, as the daemon tells them: whoever asked it for the saves may know only
/// that it has tried. None of a daemon that can't tell.
std::vector<std::string> unsaved_tables(const RunLine& run) {
    constexpr std::string_view TABLE = "{\"table\":\"";
    const auto answer = run("json show chassis saves");
    std::vector<std::string> names;
    std::istringstream lines(answer && answer->result == 0 ? answer->text : "");
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(TABLE) && line.find("\"result\":\"failed\"") != line.npos)
            names.push_back(line.substr(TABLE.size(), line.find('"', TABLE.size()) - TABLE.size()));
    return names;
}

/// "sOnuTable", "sOnuTable and 3 more".
std::string shortened(const std::vector<std::string>& names) {
    return names.front() + (names.size() > 1 ? " and " + std::to_string(names.size() - 1) + " more" : "");
}

VtyReply tables_saved(const std::string& told, const RunLine& run) {
    std::string said;
    const int status = save_tables(said);
    if (!said.ends_with('\n'))
        said += '\n';
    if (status == NO_PROGRAM)
        return {told + "The tables aren't written: this platform has no save-tables.\n", 0};
    if (status != 0)
        return {told + "% The tables aren't saved: " + said, 1};
    if (const auto unsaved = unsaved_tables(run); !unsaved.empty())
        return {told + "% The tables aren't saved: the files of " + shortened(unsaved) +
                    " couldn't be written (show chassis saves, and the log says why)\n",
                1};
    return {told + said, 0};
}

} // namespace

bool asks_to_save(const std::string& line) {
    auto words = shell_words(line);
    if (words.size() > 2 && words[0] == "do")
        words.erase(words.begin());
    if (words.size() == 2)
        return is_short_for(words[0], "write") && is_short_for(words[1], "memory");
    return words.size() == 3 && is_short_for(words[0], "copy") && is_short_for(words[1], "running-config") &&
           is_short_for(words[2], "startup-config");
}

int keep_configuration(const std::string& path, const std::string& text) {
    const std::string fresh = path + ".new";
    int error = write_file(fresh, text);
    if (error == 0)
        error = give_second_name(path, path + ".bak");
    if (error == 0 && rename(fresh.c_str(), path.c_str()) != 0)
        error = errno;
    if (error != 0)
        unlink(fresh.c_str());
    else
        flush_directory_of(path);
    return error;
}

std::optional<VtyReply> save_configuration(const RunLine& run) {
    auto configuration = run("write file");
    if (!configuration || configuration->result != 0)
        return configuration;
    const std::string path = configuration_file();
    if (const int error = keep_configuration(path, configuration->text))
        return VtyReply{"% The configuration isn't saved: " + path + ": " + strerror(error) + "\n", 1};
    const auto lines = std::count(configuration->text.begin(), configuration->text.end(), '\n');
    return tables_saved("The configuration is saved: " + path + ", " + std::to_string(lines) + " lines.\n",
                        run);
}
