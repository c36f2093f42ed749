// The shared block of the crash mutex, in a /dev/shm of its own.
#include "krum_shm.h"

#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include "private_root.h"

namespace {

constexpr char BLOCK_FILE[] = "/dev/shm/krum_shm";

krum_shm_info_t new_info() {
    return {.name = "/krum_shm", .mutex = nullptr, .shared = false};
}

int init(krum_shm_info_t& info) {
    return Krum_shm_init(info, 24, 130);
}

// Takes and gives back the mutex, to see that it works.
void expect_usable(const krum_shm_info_t& info) {
    ASSERT_NE(info.mutex, nullptr);
    EXPECT_EQ(pthread_mutex_trylock(info.mutex), 0);
    EXPECT_EQ(pthread_mutex_unlock(info.mutex), 0);
}

void damage_block(const std::string& content) {
    private_root::write_file(BLOCK_FILE, content);
    chmod(BLOCK_FILE, 0600);
}

TEST(KrumShm, ANewBlockIsSharedAndThisUsersAlone) {
    private_root::run([] {
        krum_shm_info_t info = new_info();
        EXPECT_EQ(init(info), 0);
        EXPECT_TRUE(info.shared);
        expect_usable(info);
        struct stat status = {};
        ASSERT_EQ(stat(BLOCK_FILE, &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600u);
    });
}

TEST(KrumShm, TheMutexExcludesOtherProcesses) {
    private_root::run([] {
        krum_shm_info_t info = new_info();
        ASSERT_EQ(init(info), 0);
        ASSERT_EQ(pthread_mutex_lock(info.mutex), 0);
        EXPECT_EQ(private_root::run_child([] {
                      krum_shm_info_t other = new_info();
                      EXPECT_EQ(init(other), 0);
                      EXPECT_TRUE(other.shared);
                      EXPECT_EQ(pthread_mutex_trylock(other.mutex), EBUSY);
                  }),
                  0);
    });
}

TEST(KrumShm, AMutexWhoseOwnerWasKilledCanBeTakenOver) {
    private_root::run([] {
        private_root::run_child([] {
            krum_shm_info_t info = new_info();
            init(info);
            pthread_mutex_lock(info.mutex);
            kill(getpid(), SIGKILL);
        });
        krum_shm_info_t info = new_info();
        ASSERT_EQ(init(info), 0);
        EXPECT_TRUE(info.shared);
        EXPECT_EQ(pthread_mutex_trylock(info.mutex), EOWNERDEAD);
        EXPECT_EQ(pthread_mutex_consistent(info.mutex), 0);
        EXPECT_EQ(pthread_mutex_unlock(info.mutex), 0);
    });
}

TEST(KrumShm, ASecondInitKeepsTheMutex) {
    private_root::run([] {
        krum_shm_info_t info = new_info();
        ASSERT_EQ(init(info), 0);
        pthread_mutex_t* mutex = info.mutex;
        EXPECT_EQ(init(info), 0);
        EXPECT_EQ(info.mutex, mutex);
    });
}

TEST(KrumShm, ADamagedBlockIsMadeAnew) {
    private_root::run([] {
        for (const std::string& content :
             {std::string(), std::string(3, 'x'), std::string(4096, '\0'), std::string(4096, '\xff')}) {
            damage_block(content);
            krum_shm_info_t info = new_info();
            EXPECT_EQ(init(info), 0);
            EXPECT_TRUE(info.shared);
            expect_usable(info);
        }
    });
}

TEST(KrumShm, ABlockWithASoundHeadAndADamagedMutexIsMadeAnew) {
    private_root::run([] {
        krum_shm_info_t info = new_info();
        ASSERT_EQ(init(info), 0);
        const std::string whole = private_root::read_file(BLOCK_FILE);
        const size_t head = 16; // four words in front of the mutex
        damage_block(whole.substr(0, head) + std::string(whole.size() - head, '\x5a'));
        krum_shm_info_t next = new_info();
        EXPECT_EQ(init(next), 0);
        EXPECT_TRUE(next.shared);
        expect_usable(next);
    });
}

TEST(KrumShm, ABlockWithAnotherKeyIsMadeAnew) {
    private_root::run([] {
        krum_shm_info_t info = new_info();
        ASSERT_EQ(Krum_shm_init(info, 24, 131), 0);
        krum_shm_info_t next = new_info();
        EXPECT_EQ(init(next), 0);
        EXPECT_TRUE(next.shared);
        EXPECT_NE(next.mutex, info.mutex);
    });
}

TEST(KrumShm, ABlockThatOthersMayWriteIsNotTrusted) {
    private_root::run([] {
        krum_shm_info_t info = new_info();
        ASSERT_EQ(init(info), 0);
        ASSERT_EQ(chmod(BLOCK_FILE, 0666), 0);
        krum_shm_info_t next = new_info();
        EXPECT_EQ(init(next), 0);
        struct stat status = {};
        ASSERT_EQ(stat(BLOCK_FILE, &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600u);
    });
}

TEST(KrumShm, WithoutSharedMemoryTheMutexIsPrivate) {
    private_root::run([] {
        ASSERT_EQ(mkdir(BLOCK_FILE, 0700), 0); // can neither be opened nor unlinked as a file
        krum_shm_info_t info = new_info();
        EXPECT_NE(init(info), 0);
        EXPECT_FALSE(info.shared);
        expect_usable(info);
    });
}

} // namespace
