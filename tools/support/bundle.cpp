#include "bundle.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "run_program.h"

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds ARCHIVE_LIMIT(600);
constexpr size_t COMPLAINT = 2000; // bytes of what tar says
constexpr mode_t OWNER_ONLY = 0600;

[[noreturn]] void fail(const std::string& path, int error) {
    throw NoBundle(path + ": " + std::strerror(error));
}

} // namespace

// The path is made absolute, since tar takes "a:b" for a file of another machine.
Bundle::Bundle(std::string directory, std::string name)
    : directory_(std::move(directory)), name_(std::move(name)),
      staging_(fs::absolute(directory_) / ("." + name_ + ".XXXXXX")) {
    if (!mkdtemp(staging_.data())) {
        const int error = errno;
        staging_.clear();
        fail(directory_, error);
    }
}

Bundle::~Bundle() {
    std::error_code ignored;
    fs::remove_all(staging_, ignored);
}

void Bundle::write(const std::string& member, std::string_view content) {
    const std::string path = staging_ + "/" + name_ + "/" + member;
    std::error_code error;
    fs::create_directories(fs::path(path).parent_path(), error);
    if (error)
        fail(directory_, error.value());
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, OWNER_ONLY);
    if (fd < 0)
        fail(directory_, errno);
    int problem = 0;
    while (!content.empty() && problem == 0) {
        const ssize_t written = ::write(fd, content.data(), content.size());
        if (written < 0)
            problem = errno == EINTR ? 0 : errno;
        else
            content.remove_prefix(static_cast<size_t>(written));
    }
    if (close(fd) != 0 && problem == 0)
        problem = errno;
    if (problem != 0)
        fail(directory_, problem);
}

void Bundle::add(const std::string& member, std::string_view content, const std::string& about) {
    if (end_asked())
        throw NoBundle("ended");
    write(member, content);
    char size[24];
    std::snprintf(size, sizeof size, "%10zu  ", content.size());
    members_.push_back(size + member + "  " + about + "\n");
}

void Bundle::leave_out(const std::string& member, const std::string& why) {
    left_out_.push_back(member + ": " + why + "\n");
}

std::string Bundle::manifest(const std::string& remarks) const {
    std::string text = remarks + "\nWhat is in it: bytes, file, what it is\n\n";
    for (const auto& line : members_)
        text += line;
    text += "\nWhat isn't, and why\n\n";
    for (const auto& line : left_out_)
        text += line;
    return left_out_.empty() ? text + "nothing\n" : text;
}

std::string Bundle::finish(const std::string& remarks) {
    write("MANIFEST", manifest(remarks));
    // In the directory that is nobody else's: in /tmp others could have made the file before.
    const std::string unfinished = staging_ + "/archive";
    const auto packed =
        run_program({"tar", "-czf", unfinished, "-C", staging_, name_}, ARCHIVE_LIMIT, COMPLAINT);
    if (end_asked())
        throw NoBundle("ended");
    if (!packed.trouble.empty())
        throw NoBundle(directory_ + ": " + packed.trouble + "\n" + packed.output);
    const std::string path = directory_ + "/" + name_ + ".tar.gz";
    chmod(unfinished.c_str(), OWNER_ONLY);
    if (rename(unfinished.c_str(), path.c_str()) != 0)
        fail(path, errno);
    return path;
}
