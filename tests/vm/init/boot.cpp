#include "boot.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char* PORT_NAME = "agent";
constexpr const char* HOST = "/host"; // the host's root, in the first root directory

struct FreshPlace {
    const char* path;
    const char* type;
    const char* options;
};
constexpr FreshPlace FRESH[] = {
    {"/proc", "proc", ""},          {"/sys", "sysfs", ""},          {"/dev", "devtmpfs", "mode=0755"},
    {"/tmp", "tmpfs", "mode=1777"}, {"/run", "tmpfs", "mode=0755"},
};
constexpr FreshPlace FRESH_IN_DEV[] = {
    {"/dev/pts", "devpts", "newinstance,ptmxmode=0666,mode=0620"},
    {"/dev/shm", "tmpfs", "mode=1777"},
};

void must(bool done, const std::string& what) {
    if (!done)
        give_up(what.c_str());
}

void mount_fresh(const FreshPlace& place) {
    must(mount(place.type, place.path, place.type, 0, place.options) == 0, place.path);
}

std::string boot_option(const std::string& name) {
    std::ifstream file("/proc/cmdline");
    std::string word;
    while (file >> word)
        if (word.starts_with(name + "="))
            return word.substr(name.size() + 1);
    return {};
}

void load_modules() {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator("/modules"))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files) {
        const int fd = open(file.c_str(), O_RDONLY | O_CLOEXEC);
        must(fd >= 0 && syscall(SYS_finit_module, fd, "", 0) == 0, file);
        close(fd);
    }
}

void mount_host() {
    mkdir(HOST, 0755);
    must(mount("host", HOST, "9p", MS_RDONLY, "trans=virtio,version=9p2000.L,msize=524288,cache=loose") == 0,
         "the host's files");
}

void enter_host() {
    must(chdir(HOST) == 0 && mount(".", "/", nullptr, MS_MOVE, nullptr) == 0 && chroot(".") == 0 &&
             chdir("/") == 0,
         "the new root directory");
}

// Directories are opened before a fresh one covers them.
struct Kept {
    std::string path;
    int fd;
};

std::vector<Kept> open_kept(const std::string& list) {
    std::vector<Kept> kept;
    std::istringstream words(list);
    for (std::string path; std::getline(words, path, ':');)
        kept.push_back({path, open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)});
    return kept;
}

void show_kept(const std::vector<Kept>& kept) {
    for (const Kept& dir : kept) {
        if (fs::exists(dir.path))
            continue;
        fs::create_directories(dir.path);
        const std::string from = "/proc/self/fd/" + std::to_string(dir.fd);
        must(mount(from.c_str(), dir.path.c_str(), nullptr, MS_BIND, nullptr) == 0, dir.path);
    }
}

// /bin/sh is what it leads to; the tools come first in PATH.
void use_busybox(const std::string& program) {
    if (program.empty())
        return;
    const std::string shell = fs::canonical("/bin/sh");
    must(mount(program.c_str(), shell.c_str(), nullptr, MS_BIND, nullptr) == 0, shell);
}

void loopback_up() {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq loopback = {};
    std::memcpy(loopback.ifr_name, "lo", 3);
    loopback.ifr_flags = IFF_UP | IFF_RUNNING;
    must(ioctl(fd, SIOCSIFFLAGS, &loopback) == 0, "the loopback interface");
    close(fd);
}

// Not every machine that is played has a clock that goes on while it is off.
void set_clock(const std::string& seconds) {
    const timespec now = {.tv_sec = std::strtoll(seconds.c_str(), nullptr, 10), .tv_nsec = 0};
    if (now.tv_sec > 0)
        must(clock_settime(CLOCK_REALTIME, &now) == 0, "the clock");
}

void write_file(const char* path, const char* text) {
    std::ofstream(path) << text;
}

} // namespace

void give_up(const char* what) {
    std::fprintf(stderr, "vm: %s: %s\n", what, std::strerror(errno));
    sync();
    reboot(RB_AUTOBOOT);
    _exit(1);
}

void boot() {
    mount_fresh({"/proc", "proc", ""});
    const std::string keep = boot_option("gpon.keep");
    const std::string busybox = boot_option("gpon.busybox");
    const std::string clock = boot_option("gpon.clock");
    load_modules();
    mount_host();
    enter_host();
    const std::vector<Kept> kept = open_kept(keep);
    for (const FreshPlace& place : FRESH)
        mount_fresh(place);
    for (const FreshPlace& place : FRESH_IN_DEV) {
        mkdir(place.path, 0755);
        mount_fresh(place);
    }
    unlink("/dev/ptmx");
    must(symlink("pts/ptmx", "/dev/ptmx") == 0, "/dev/ptmx");
    symlink("/proc/self/fd", "/dev/fd");
    show_kept(kept);
    use_busybox(busybox);
    loopback_up();
    set_clock(clock);
    write_file("/proc/sys/kernel/core_pattern", "core");
    sethostname("vm", 2);
}

int open_agent_port() {
    for (const auto& entry : fs::directory_iterator("/sys/class/virtio-ports")) {
        std::string name;
        std::ifstream(entry.path() / "name") >> name;
        if (name == PORT_NAME)
            return open(("/dev/" + entry.path().filename().string()).c_str(),
                        O_RDWR | O_CLOEXEC | O_NONBLOCK);
    }
    errno = ENODEV;
    return -1;
}
