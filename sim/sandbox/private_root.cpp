#include "private_root.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "report.h"

namespace {

// While the root is being built, the machine's root stands under OLD and the new one under NEW.
const std::string OLD = "/oldroot";
const std::string NEW = "/newroot";

struct FreshPlace {
    const char* path;
    const char* mode;
    bool only_if_present; // a place inside a directory of the machine: nothing may be created there
};

// Each is a file system of its own, as on the target, so that a rename across two of them fails here too.
constexpr FreshPlace FRESH_PLACES[] = {
    {"/run", "mode=0755", false},          {"/tmp", "mode=1777", false},
    {"/app", "mode=0755", false},          {"/flash", "mode=0755", false},
    {"/home/nms", "mode=0755", false},     {"/var/run", "mode=0755", true},
    {"/var/agentx", "mode=0755", false},   {"/dev/shm", "mode=1777", true},
    {"/var/lib/snmp", "mode=0755", false},
};

// Built entry by entry: they hold places that the machine needn't have.
constexpr const char* MIRRORED[] = {"/home", "/var", "/var/lib"};

bool is_fresh(const std::string& path) {
    return std::any_of(std::begin(FRESH_PLACES), std::end(FRESH_PLACES),
                       [&](const FreshPlace& p) { return path == p.path; });
}

bool is_mirrored(const std::string& path) {
    return std::find(std::begin(MIRRORED), std::end(MIRRORED), path) != std::end(MIRRORED);
}

// Whether path lies strictly below dir.
bool is_below(const std::string& path, const std::string& dir) {
    return path.size() > dir.size() + 1 && path.compare(0, dir.size(), dir) == 0 && path[dir.size()] == '/';
}

void make_dir(const std::string& path) {
    if (mkdir(path.c_str(), 0755) != 0 && errno != EEXIST)
        fail_errno("can't make %s", path.c_str());
}

void make_dirs(const std::string& path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        make_dir(path.substr(0, slash));
    make_dir(path);
}

void make_file(const std::string& path) {
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        fail_errno("can't make %s", path.c_str());
    close(fd);
}

void mount_tmpfs(const std::string& path, const char* options) {
    if (mount("tmpfs", path.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, options) != 0)
        fail_errno("can't mount a tmpfs on %s", path.c_str());
}

bool bind_over(const std::string& from, const std::string& to) {
    return mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

void copy_symlink(const std::string& from, const std::string& to) {
    char target[PATH_MAX];
    ssize_t len = readlink(from.c_str(), target, sizeof target - 1);
    if (len < 0)
        fail_errno("can't read the link %s", from.c_str());
    target[len] = '\0';
    if (symlink(target, to.c_str()) != 0)
        fail_errno("can't make the link %s", to.c_str());
}

void mirror_directory(const std::string& path);

// Makes one entry of the machine visible at the same path. An entry that can't be bound (a file system
// that refuses its own root user, a socket) is left empty: the daemon needs none of them.
void mirror_entry(const std::string& path) {
    const std::string from = OLD + path;
    const std::string to = NEW + path;
    struct stat st {};
    if (lstat(from.c_str(), &st) != 0)
        return;
    if (is_mirrored(path)) {
        mirror_directory(path);
    } else if (is_fresh(path) && !S_ISLNK(st.st_mode)) {
        make_dir(to); // its tmpfs is mounted at the end
    } else if (S_ISLNK(st.st_mode)) {
        if (!is_fresh(path) || path == "/var/run")
            copy_symlink(from, to);
    } else if (S_ISDIR(st.st_mode)) {
        make_dir(to);
        bind_over(from, to);
    } else {
        make_file(to);
        bind_over(from, to);
    }
}

void mirror_directory(const std::string& path) {
    make_dir(NEW + path);
    std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir((OLD + path).c_str()), closedir);
    if (!dir)
        return;
    while (const dirent* entry = readdir(dir.get())) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        const std::string child = (path == "/" ? "" : path) + "/" + std::string(name);
        if (child != "/proc")
            mirror_entry(child);
    }
}

void mount_fresh_places() {
    for (const FreshPlace& place : FRESH_PLACES) {
        const std::string path = NEW + place.path;
        struct stat st {};
        if (place.only_if_present) {
            if (lstat(path.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
                continue;
        } else {
            make_dirs(path);
        }
        mount_tmpfs(path, place.mode);
    }
}

// Empty when path can be kept (or is visible anyway), else why not.
std::string keep(const std::string& path) {
    bool covered = false;
    for (const FreshPlace& place : FRESH_PLACES) {
        if (path == place.path || path == "/" || is_below(place.path, path))
            return "it would uncover " + std::string(place.path);
        covered = covered || is_below(path, place.path);
    }
    struct stat st {};
    if (stat((OLD + path).c_str(), &st) != 0)
        return "it doesn't exist";
    if (!covered)
        return {};
    if (S_ISDIR(st.st_mode)) {
        make_dirs(NEW + path);
    } else {
        make_dirs(NEW + path.substr(0, path.rfind('/')));
        make_file(NEW + path);
    }
    return bind_over(OLD + path, NEW + path) ? std::string() : "it can't be bound";
}

void pivot(const char* new_root, const char* put_old) {
    if (syscall(SYS_pivot_root, new_root, put_old) != 0)
        fail_errno("can't change the root (pivot_root)");
}

// The machine's root moves to OLD on a tmpfs that nobody else sees, so that both trees can be named.
void set_machine_aside() {
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        fail_errno("can't make the mounts private");
    mount_tmpfs("/tmp", "mode=0755");
    if (chdir("/tmp") != 0)
        fail_errno("can't enter the new root");
    make_dir("oldroot");
    make_dir("newroot");
    pivot(".", "oldroot");
    if (chdir("/") != 0)
        fail_errno("can't enter the new root");
    mount_tmpfs(NEW, "mode=0755");
}

void mount_proc() {
    make_dir(NEW + "/proc");
    if (mount("proc", (NEW + "/proc").c_str(), "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0)
        fail_errno(
            "can't mount a /proc for the new pid namespace (the machine may hide parts of its own /proc)");
}

void drop_machine() {
    if (chdir(NEW.c_str()) != 0)
        fail_errno("can't enter the new root");
    pivot(".", ".");
    if (umount2(".", MNT_DETACH) != 0)
        fail_errno("can't detach the machine's root");
    if (chdir("/") != 0)
        fail_errno("can't enter the new root");
}

} // namespace

void enter_private_root(const KeptDirs& kept) {
    const mode_t mask = umask(0);
    set_machine_aside();
    mirror_directory("/");
    mount_fresh_places();
    mount_proc();
    for (const std::string& path : kept.wanted)
        keep(path);
    for (const std::string& path : kept.required) {
        if (std::string why = keep(path); !why.empty())
            fail("--bind %s: %s", path.c_str(), why.c_str());
    }
    drop_machine();
    umask(mask);
}
