#include "spaces.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "report.h"

namespace {

struct Space {
    const char* name; // its name below /proc/PID/ns
    const char* what;
    int flag;
};

// In the order in which they must be joined: the user namespace gives the rights for the others, and
// after the mount namespace the machine's /proc is out of sight.
constexpr Space SPACES[] = {
    {"user", "user", CLONE_NEWUSER},  {"ipc", "IPC", CLONE_NEWIPC},  {"net", "network", CLONE_NEWNET},
    {"pid", "process", CLONE_NEWPID}, {"mnt", "mount", CLONE_NEWNS},
};
constexpr int ALL_BUT_USER = CLONE_NEWIPC | CLONE_NEWNET | CLONE_NEWPID | CLONE_NEWNS;

pid_t raw_fork(int flags) {
    return static_cast<pid_t>(syscall(SYS_clone, static_cast<unsigned long>(flags | SIGCHLD), 0, 0, 0, 0));
}

// Tries one namespace alone, in a child; 0 or the errno of the refusal.
int try_space(int flag) {
    pid_t pid = fork();
    if (pid == 0)
        _exit(unshare(flag | (geteuid() == 0 ? 0 : CLONE_NEWUSER)) == 0 ? 0 : errno);
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
        return ECHILD;
    return WEXITSTATUS(status);
}

const char* hint(int error) {
    switch (error) {
    case EPERM:
        return "not permitted (a container without CAP_SYS_ADMIN, or unprivileged user namespaces switched "
               "off)";
    case ENOSPC:
        return "limit reached (see /proc/sys/user/max_*_namespaces)";
    case EINVAL:
        return "not in this kernel";
    default:
        return std::strerror(error);
    }
}

[[noreturn]] void explain_refusal() {
    const int error = errno;
    report("can't make namespaces: %s", hint(error));
    for (const Space& space : SPACES) {
        if (int refusal = try_space(space.flag); refusal != 0)
            report("  %s namespace: %s", space.what, hint(refusal));
    }
    _exit(SANDBOX_FAILED);
}

void write_proc(pid_t pid, const char* name, const std::string& text) {
    const std::string path = "/proc/" + std::to_string(pid) + "/" + name;
    int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        fail_errno("can't write %s", path.c_str());
    close(fd);
}

std::string space_path(const std::string& pid, const Space& space) {
    return "/proc/" + pid + "/ns/" + space.name;
}

} // namespace

pid_t fork_into_new_spaces(bool& user_space) {
    user_space = geteuid() != 0;
    pid_t pid = raw_fork(ALL_BUT_USER | (user_space ? CLONE_NEWUSER : 0));
    if (pid < 0 && errno == EPERM && !user_space) { // root of a container, without the right
        user_space = true;
        pid = raw_fork(ALL_BUT_USER | CLONE_NEWUSER);
    }
    if (pid < 0)
        explain_refusal();
    return pid;
}

void map_ids(pid_t child) {
    write_proc(child, "setgroups", "deny");
    write_proc(child, "uid_map", "0 " + std::to_string(geteuid()) + " 1");
    write_proc(child, "gid_map", "0 " + std::to_string(getegid()) + " 1");
}

void raise_loopback() {
    int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        fail_errno("can't make a socket");
    ifreq request{};
    std::snprintf(request.ifr_name, sizeof request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    if (ioctl(fd, SIOCSIFFLAGS, &request) != 0)
        fail_errno("can't bring the loopback interface up");
    close(fd);
}

void join_spaces_of(pid_t pid) {
    int fds[std::size(SPACES)];
    bool joins_user = false;
    for (size_t i = 0; i < std::size(SPACES); ++i) {
        const std::string path = space_path(std::to_string(pid), SPACES[i]);
        fds[i] = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat theirs {};
        struct stat ours {};
        if (fds[i] < 0 || fstat(fds[i], &theirs) != 0 ||
            stat(space_path("self", SPACES[i]).c_str(), &ours) != 0)
            fail_errno("can't enter process %d", pid);
        if (theirs.st_ino != ours.st_ino)
            continue;
        if (SPACES[i].flag != CLONE_NEWUSER)
            fail("process %d is not in a sandbox", pid);
        close(fds[i]);
        fds[i] = -1;
    }
    for (size_t i = 0; i < std::size(SPACES); ++i) {
        if (fds[i] < 0)
            continue;
        if (setns(fds[i], SPACES[i].flag) != 0)
            fail_errno("can't join the %s namespace of process %d", SPACES[i].what, pid);
        joins_user = joins_user || SPACES[i].flag == CLONE_NEWUSER;
        close(fds[i]);
    }
    if (joins_user && (setresgid(0, 0, 0) != 0 || setresuid(0, 0, 0) != 0))
        fail_errno("can't become root of the sandbox");
}
