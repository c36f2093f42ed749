#include "krum_shm.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uint32_t KRUM_MAGIC = 0x4b72756d;

struct krum_block_t {
    std::atomic<uint32_t> magic; // written last: the block is complete
    uint32_t size;
    uint32_t key;
    uint32_t reserved;
    pthread_mutex_t mutex;
};
static_assert(std::atomic<uint32_t>::is_always_lock_free);

class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() {
        if (fd_ >= 0)
            close(fd_);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

int init_mutex(pthread_mutex_t* mutex, int shared) {
    pthread_mutexattr_t attributes;
    int error = pthread_mutexattr_init(&attributes);
    if (error != 0)
        return error;
    error = pthread_mutexattr_setpshared(&attributes, shared);
    if (error == 0)
        error = pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    if (error == 0)
        error = pthread_mutex_init(mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return error;
}

using MutexImage = std::array<uintptr_t, sizeof(pthread_mutex_t) / sizeof(uintptr_t)>;
static_assert(sizeof(MutexImage) == sizeof(pthread_mutex_t));

MutexImage image_of(const pthread_mutex_t& mutex) {
    MutexImage image;
    memcpy(image.data(), &mutex, sizeof(image));
    return image;
}

// Whether the words that make a mutex what it is, those that don't change when it is taken, are those of
// a mutex of ours. The C library ends the process when it meets a mutex of an unknown kind.
bool is_our_mutex(const pthread_mutex_t& found) {
    pthread_mutex_t reference;
    memset(&reference, 0, sizeof(reference));
    if (init_mutex(&reference, PTHREAD_PROCESS_SHARED) != 0)
        return false;
    const MutexImage free_image = image_of(reference);
    pthread_mutex_lock(&reference);
    const MutexImage taken_image = image_of(reference);
    pthread_mutex_unlock(&reference);
    pthread_mutex_destroy(&reference);

    const MutexImage found_image = image_of(found);
    for (size_t i = 0; i < free_image.size(); ++i) {
        if (free_image[i] == taken_image[i] && free_image[i] != found_image[i])
            return false;
    }
    return true;
}

krum_block_t* map_block(int fd) {
    void* memory = mmap(nullptr, sizeof(krum_block_t), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return memory != MAP_FAILED ? static_cast<krum_block_t*>(memory) : nullptr;
}

// Another process may be making the block right now: give it a moment.
bool wait_for_magic(const krum_block_t& block) {
    for (int i = 0; i < 50; ++i) {
        if (block.magic.load(std::memory_order_acquire) == KRUM_MAGIC)
            return true;
        usleep(1000);
    }
    return false;
}

// The block that exists, or null with `error` set: EBADMSG for a damaged one.
krum_block_t* open_block(const char* name, uint32_t size, uint32_t key, int& error) {
    const FileDescriptor fd(shm_open(name, O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0));
    struct stat status = {};
    if (fd.get() < 0 || fstat(fd.get(), &status) != 0) {
        error = errno;
        return nullptr;
    }
    error = EBADMSG;
    if (status.st_uid != geteuid() || (status.st_mode & 0077) != 0)
        return nullptr;
    // A maker sets the size before anything else.
    if (status.st_size < off_t(sizeof(krum_block_t))) {
        usleep(10000);
        if (fstat(fd.get(), &status) != 0 || status.st_size < off_t(sizeof(krum_block_t)))
            return nullptr;
    }
    krum_block_t* block = map_block(fd.get());
    if (block == nullptr) {
        error = errno;
        return nullptr;
    }
    if (wait_for_magic(*block) && block->size == size && block->key == key && is_our_mutex(block->mutex)) {
        error = 0;
        return block;
    }
    munmap(block, sizeof(*block));
    return nullptr;
}

// A new block, or null with `error` set: EEXIST when there is one.
krum_block_t* make_block(const char* name, uint32_t size, uint32_t key, int& error) {
    const FileDescriptor fd(shm_open(name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    // posix_fallocate, not ftruncate: a full file system must show here, not as a bus error later.
    error = fd.get() < 0 ? errno : posix_fallocate(fd.get(), 0, sizeof(krum_block_t));
    if (fd.get() < 0)
        return nullptr;
    krum_block_t* block = error == 0 ? map_block(fd.get()) : nullptr;
    if (error == 0)
        error = block == nullptr ? errno : init_mutex(&block->mutex, PTHREAD_PROCESS_SHARED);
    if (error != 0) {
        if (block != nullptr)
            munmap(block, sizeof(*block));
        shm_unlink(name);
        return nullptr;
    }
    block->size = size;
    block->key = key;
    block->magic.store(KRUM_MAGIC, std::memory_order_release);
    return block;
}

krum_block_t* shared_block(const char* name, uint32_t size, uint32_t key, int& error) {
    for (int attempt = 0; attempt < 3; ++attempt) {
        krum_block_t* block = open_block(name, size, key, error);
        if (block != nullptr)
            return block;
        if (error == EBADMSG && shm_unlink(name) != 0 && errno != ENOENT)
            return nullptr;
        if (error != EBADMSG && error != ENOENT)
            return nullptr;
        block = make_block(name, size, key, error);
        if (block != nullptr || error != EEXIST) // EEXIST: another process was faster
            return block;
    }
    return nullptr;
}

} // namespace

int Krum_shm_init(krum_shm_info_t& info, uint32_t size, uint32_t key) {
    if (info.mutex != nullptr)
        return 0;
    size = std::max<uint32_t>(size, sizeof(pthread_mutex_t));
    int error = 0;
    krum_block_t* block = shared_block(info.name, size, key, error);
    if (block != nullptr) {
        info.mutex = &block->mutex;
        info.shared = true;
        return 0;
    }
    static pthread_mutex_t private_mutex;
    info.shared = false;
    if (init_mutex(&private_mutex, PTHREAD_PROCESS_PRIVATE) == 0)
        info.mutex = &private_mutex;
    return error;
}
