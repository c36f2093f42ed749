#include "ovra_mutex.h"

#include <cerrno>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStdout;

TEST(OvraMutex, MayBeTakenAgainByItsOwner) {
    ovra_mutex_t* mutex = Ovra_MutexCreate();
    ASSERT_NE(mutex, nullptr);
    CaptureStdout();
    EXPECT_EQ(Ovra_MutexLock(mutex), 0);
    EXPECT_EQ(Ovra_MutexLock(mutex), 0);
    EXPECT_EQ(Ovra_MutexUnlock(mutex), 0);
    EXPECT_EQ(Ovra_MutexUnlock(mutex), 0);
    EXPECT_EQ(GetCapturedStdout(), "");
    Ovra_MutexDelete(mutex);
}

TEST(OvraMutex, KeepsOtherThreadsOutUntilTheLastUnlock) {
    ovra_mutex_t* mutex = Ovra_MutexCreate();
    auto taken_by_other = [mutex] {
        int rc = -1;
        std::thread([&] {
            rc = pthread_mutex_trylock(mutex);
            if (rc == 0)
                pthread_mutex_unlock(mutex);
        }).join();
        return rc == 0;
    };
    Ovra_MutexLock(mutex);
    Ovra_MutexLock(mutex);
    Ovra_MutexUnlock(mutex);
    EXPECT_FALSE(taken_by_other());
    Ovra_MutexUnlock(mutex);
    EXPECT_TRUE(taken_by_other());
    Ovra_MutexDelete(mutex);
}

TEST(OvraMutex, PrintsAndGoesOnWithoutAMutex) {
    CaptureStdout();
    EXPECT_EQ(Ovra_MutexLock(nullptr), EINVAL);
    EXPECT_EQ(Ovra_MutexUnlock(nullptr), EINVAL);
    EXPECT_EQ(GetCapturedStdout(),
              "Failed to obtain Mutex: Invalid argument\nFailed to obtain Mutex: Invalid argument\n");
    EXPECT_EQ(Ovra_MutexInit(nullptr), EINVAL);
    Ovra_MutexDelete(nullptr);
}

TEST(OvraMutex, PrintsWhenAThreadUnlocksWhatItDoesNotHold) {
    ovra_mutex_t* mutex = Ovra_MutexCreate();
    CaptureStdout();
    EXPECT_EQ(Ovra_MutexUnlock(mutex), EPERM);
    EXPECT_EQ(GetCapturedStdout(), "Failed to obtain Mutex: Operation not permitted\n");
    Ovra_MutexDelete(mutex);
}

TEST(OvraMutex, GuardHoldsItForAScope) {
    ovra_mutex_t mutex;
    ASSERT_EQ(Ovra_MutexInit(&mutex), 0);
    {
        OvraMutexGuard guard(&mutex);
        int rc = 0;
        std::thread([&] { rc = pthread_mutex_trylock(&mutex); }).join();
        EXPECT_EQ(rc, EBUSY);
    }
    EXPECT_EQ(pthread_mutex_trylock(&mutex), 0);
    pthread_mutex_unlock(&mutex);
    pthread_mutex_destroy(&mutex);
}

} // namespace
