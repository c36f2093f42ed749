#include "crashHandlerUtils.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

char krum_root[CRASH_PATH_SIZE / 2] = "";
std::atomic<int> next_instance{0};

bool is_plain_path(const char* path) {
    return path[0] == '/' &&
           path[strspn(path, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                             "._-/")] == '\0';
}

bool write_all(int fd, const char* data, size_t length) {
    while (length > 0) {
        const ssize_t written = write(fd, data, length);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        data += written;
        length -= size_t(written);
    }
    return true;
}

void form_instance_path(char* path, const char* root, int instance) {
    snprintf(path, CRASH_PATH_SIZE, "%s/tmp/%s%02d.%s", root, "crash", instance, "log");
}

// Appends the report file to `destination`; closes nothing.
bool copy_report(const char* report, int destination) {
    const int source = open(report, O_RDONLY | O_CLOEXEC);
    if (source < 0)
        return false;
    const bool copied = crash_copy(source, destination);
    close(source);
    return copied && fsync(destination) == 0;
}

bool copy_to(const char* report, const char* path, int flags) {
    const int destination = open(path, O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | flags, 0640);
    if (destination < 0)
        return false;
    const bool copied = copy_report(report, destination);
    return close(destination) == 0 && copied;
}

// The note is a link that points to the report: made in one call, and never followed.
void form_note_path(char* path) {
    snprintf(path, CRASH_PATH_SIZE, "%s%slast.%s", crash_root(), CRASH_ARCHIVE_DIR,
             program_invocation_short_name);
}

void append_to_crash_log(const char* report) {
    char log[CRASH_PATH_SIZE];
    char old_log[CRASH_PATH_SIZE];
    snprintf(log, sizeof(log), "%s%s%s", crash_root(), CRASH_ARCHIVE_DIR, CRASH_ARCHIVE_LOG);
    snprintf(old_log, sizeof(old_log), "%s%s%s.1", crash_root(), CRASH_ARCHIVE_DIR, CRASH_ARCHIVE_LOG);
    struct stat status = {};
    if (stat(log, &status) == 0 && status.st_size > CRASH_ARCHIVE_LOG_MAX)
        rename(log, old_log);
    copy_to(report, log, O_APPEND);
}

} // namespace

crash_thread_t& crash_this_thread() {
    static thread_local crash_thread_t self = {.crashes = 0,
                                               .fd = -1,
                                               .instance = -1,
                                               .holds_mutex = false,
                                               .next_section = 0,
                                               .first = {},
                                               .file = ""};
    return self;
}

void crash_read_root() {
    const char* root = getenv("KRUMROOT");
    const bool usable = root != nullptr && is_plain_path(root) && strlen(root) < sizeof(krum_root);
    snprintf(krum_root, sizeof(krum_root), "%s", usable ? root : "");
}

const char* crash_root() {
    return krum_root;
}

void crash_printf(int fd, const char* format, ...) {
    char text[512];
    va_list args;
    va_start(args, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start stands right above
    const int length = vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    if (length > 0)
        write_all(fd, text, size_t(length) < sizeof(text) ? size_t(length) : sizeof(text) - 1);
}

bool crash_copy(int source, int destination, size_t limit) {
    char buffer[512];
    while (limit > 0) {
        const ssize_t got = read(source, buffer, limit < sizeof(buffer) ? limit : sizeof(buffer));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got == 0;
        if (!write_all(destination, buffer, size_t(got)))
            return false;
        limit -= size_t(got);
    }
    return true;
}

bool crash_read_memory(uintptr_t address, void* to, size_t length) {
    const iovec local = {to, length};
    const iovec remote = {reinterpret_cast<void*>(address), length};
    return process_vm_readv(getpid(), &local, 1, &remote, 1, 0) == ssize_t(length);
}

void crashOpenCrashFile(crash_thread_t& self) {
    char name[16] = "";
    prctl(PR_GET_NAME, name);
    crash_printf(STDOUT_FILENO, "Generating crash output for thread %d(%s) ...\n", gettid(), name);
    if (self.instance >= 0) {
        crash_printf(STDOUT_FILENO, "Double CRASH same thread %s\n", name);
        return;
    }
    const int instance = next_instance.fetch_add(1) % 100;
    form_instance_path(self.file, crash_root(), instance);
    crash_printf(STDOUT_FILENO, "Saving crash log to %s ...\n", self.file);
    // A file of its own: what lies there under this name, a link perhaps, goes first.
    unlink(self.file);
    self.fd = open(self.file, O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0640);
    if (self.fd < 0)
        self.fd = STDERR_FILENO;
    self.instance = instance;
}

void crashArchiveCrashFile(const crash_thread_t& self, char* saved) {
    snprintf(saved, CRASH_PATH_SIZE, "%s", self.file);
    if (self.fd == STDERR_FILENO)
        return;
    char archive[CRASH_PATH_SIZE];
    snprintf(archive, sizeof(archive), "%s%s%s%02d.%s", crash_root(), CRASH_ARCHIVE_DIR, "crash",
             self.instance, "log");
    if (copy_to(self.file, archive, O_TRUNC))
        snprintf(saved, CRASH_PATH_SIZE, "%s", archive);
    append_to_crash_log(self.file);
}

void crash_leave_note(const char* saved) {
    char note[CRASH_PATH_SIZE];
    form_note_path(note);
    unlink(note);
    // Without it the next start says nothing of the crash; the report is there all the same.
    [[maybe_unused]] const int result = symlink(saved, note);
}

bool crash_take_note(char* saved) {
    char note[CRASH_PATH_SIZE];
    form_note_path(note);
    const ssize_t length = readlink(note, saved, CRASH_PATH_SIZE - 1);
    saved[length > 0 ? length : 0] = '\0';
    unlink(note);
    return length > 0;
}
