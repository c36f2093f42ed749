#include "ov_msg_queue.h"
#include "ov_msg_queue_calls.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

namespace {

class MsgQueue : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(ov_msgq_create(&queue, 3, 50000), OV_MSGQ_OK); }
    void TearDown() override {
        ov_msgq_calls = {sem_init, clock_gettime, malloc};
        ov_msgq_destroy(queue);
    }
    int put(const char* text) { return ov_msgq_enqueue(queue, text, int(strlen(text))); }
    std::string take() {
        const int rc = ov_msgq_dequeue(queue, buf.data());
        return rc < 0 ? "rc " + std::to_string(rc) : std::string(buf.data(), size_t(rc));
    }
    ov_msg_queue_t queue = nullptr;
    std::array<char, OV_MSGQ_MAX_ENTRY> buf = {};
};

} // namespace

TEST_F(MsgQueue, GivesCopiesInTheOrderOfArrival) {
    char text[] = "one";
    EXPECT_EQ(put(text), 0);
    text[0] = 'X';
    EXPECT_EQ(put("two"), 0);
    EXPECT_EQ(ov_msgq_count(queue), 2);
    EXPECT_EQ(take(), "one");
    EXPECT_EQ(take(), "two");
    EXPECT_EQ(put(""), 0);
    EXPECT_EQ(take(), "");
}

TEST_F(MsgQueue, DequeueOfAnEmptyQueueReturnsMinusOneAtOnce) {
    sem_wait(&queue->semlock);                         // not even the lock is waited for
    EXPECT_EQ(ov_msgq_dequeue(queue, buf.data()), -1); // waiting for it would give -6
    sem_post(&queue->semlock);
}

TEST_F(MsgQueue, IsFullAtItsTotal) {
    EXPECT_EQ(put("1"), 0);
    EXPECT_EQ(put("2"), 0);
    EXPECT_EQ(put("3"), 0);
    EXPECT_EQ(put("4"), -4);
    EXPECT_EQ(take(), "1");
    EXPECT_EQ(put("5"), 0);
    EXPECT_EQ(take(), "2");
}

TEST_F(MsgQueue, LockThatIsHeldTimesOut) {
    EXPECT_EQ(put("1"), 0);
    sem_wait(&queue->semlock);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(put("2"), -6);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    EXPECT_EQ(ov_msgq_dequeue(queue, buf.data()), -6);
    sem_post(&queue->semlock);
    EXPECT_EQ(take(), "1");
}

TEST_F(MsgQueue, TimeoutZeroIsASecondAndMinusOneWaitsForEver) {
    ov_msg_queue_t other = nullptr;
    ASSERT_EQ(ov_msgq_create(&other, 1, 0), 0);
    EXPECT_EQ(other->sem_timeout, 1000000);
    ov_msgq_destroy(other);
    ASSERT_EQ(ov_msgq_create(&other, 1, -1), 0);
    sem_wait(&other->semlock);
    std::thread late([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        sem_post(&other->semlock);
    });
    EXPECT_EQ(ov_msgq_enqueue(other, "x", 1), 0);
    late.join();
    ov_msgq_destroy(other);
}

TEST_F(MsgQueue, RefusesNullAndLengthsThatNoReaderHasRoomFor) {
    const std::array<char, OV_MSGQ_MAX_ENTRY + 1> big = {};
    EXPECT_EQ(ov_msgq_enqueue(nullptr, "x", 1), -3);
    EXPECT_EQ(ov_msgq_enqueue(queue, nullptr, 1), -3);
    EXPECT_EQ(ov_msgq_enqueue(queue, "x", -1), -3);
    EXPECT_EQ(ov_msgq_enqueue(queue, big.data(), OV_MSGQ_MAX_ENTRY + 1), -3);
    EXPECT_EQ(ov_msgq_enqueue(queue, big.data(), OV_MSGQ_MAX_ENTRY), 0);
    EXPECT_EQ(ov_msgq_dequeue(nullptr, buf.data()), -3);
    EXPECT_EQ(ov_msgq_dequeue(queue, nullptr), -3);
    EXPECT_EQ(ov_msgq_enqueue_envelope(queue, "x", 1, nullptr), -3);
    EXPECT_EQ(ov_msgq_dequeue_envelope(queue, buf.data(), nullptr), -3);
    EXPECT_EQ(ov_msgq_create(nullptr, 1, 0), -3);
    ov_msg_queue_t other = queue;
    EXPECT_EQ(ov_msgq_create(&other, 1, -2), -3);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(ov_msgq_count(nullptr), 0);
    ov_msgq_destroy(nullptr);
}

TEST_F(MsgQueue, EnvelopesTravelBesideTheMessage) {
    std::array<uint8_t, OV_MSGQ_ENVELOPE_SIZE> in;
    in.fill(0x42);
    std::array<uint8_t, OV_MSGQ_ENVELOPE_SIZE> out = {};
    EXPECT_EQ(ov_msgq_enqueue_envelope(queue, "abc", 3, in.data()), 0);
    EXPECT_EQ(put("def"), 0);
    EXPECT_EQ(ov_msgq_dequeue_envelope(queue, buf.data(), out.data()), 3);
    EXPECT_EQ(out, in);
    EXPECT_EQ(ov_msgq_dequeue_envelope(queue, buf.data(), out.data()), 3);
    EXPECT_EQ(out, (std::array<uint8_t, OV_MSGQ_ENVELOPE_SIZE>{}));
}

TEST_F(MsgQueue, EachFailureOfTheSystemHasItsResult) {
    EXPECT_EQ(put("1"), 0);
    ov_msg_queue_t other = nullptr;
    ov_msgq_calls.sem_init = [](sem_t*, int, unsigned) { return -1; };
    EXPECT_EQ(ov_msgq_create(&other, 1, 0), -5);
    ov_msgq_calls.allocate = [](size_t) -> void* { return nullptr; };
    EXPECT_EQ(put("2"), -2);
    EXPECT_EQ(ov_msgq_create(&other, 1, 0), -2);
    ov_msgq_calls = {sem_init, [](clockid_t, timespec*) { return -1; }, malloc};
    EXPECT_EQ(put("2"), -8);
    EXPECT_EQ(ov_msgq_dequeue(queue, buf.data()), -8);
    // A time that can't be is what a semaphore refuses.
    ov_msgq_calls.clock_gettime = [](clockid_t, timespec* now) {
        *now = {0, -2000000000};
        return 0;
    };
    sem_wait(&queue->semlock);
    EXPECT_EQ(put("2"), -7);
    sem_post(&queue->semlock);
    ov_msgq_calls.clock_gettime = clock_gettime;
    EXPECT_EQ(ov_msgq_count(queue), 1);
    EXPECT_EQ(take(), "1");
}

TEST_F(MsgQueue, DestroyFreesWhatIsLeft) { // the leak check of the sanitizer build looks
    ov_msg_queue_t other = nullptr;
    ASSERT_EQ(ov_msgq_create(&other, 1000, 0), 0);
    for (int i = 0; i < 1000; i++)
        ASSERT_EQ(ov_msgq_enqueue(other, &i, sizeof(i)), 0);
    ov_msgq_destroy(other);
}

TEST_F(MsgQueue, ThreadsLoseNothing) {
    ov_msg_queue_t shared = nullptr;
    ASSERT_EQ(ov_msgq_create(&shared, 40960, -1), 0);
    std::thread writer([&] {
        for (int i = 0; i < 40960; i++)
            EXPECT_EQ(ov_msgq_enqueue(shared, &i, sizeof(i)), 0);
    });
    int expected = 0;
    while (expected < 40960) {
        if (ov_msgq_dequeue(shared, buf.data()) < 0)
            continue;
        int got = -1;
        memcpy(&got, buf.data(), sizeof(got));
        ASSERT_EQ(got, expected++);
    }
    writer.join();
    ov_msgq_destroy(shared);
}
