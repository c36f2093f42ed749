// A message is sent without a heap allocation.
#include <gmock/gmock.h>

#include <cstdlib>
#include <new>

#include "../support/hal_chassis.h"

namespace {
thread_local bool counting = false;
thread_local unsigned allocations = 0;
} // namespace

// Not inlined: the compiler would see malloc() on one side of a pair and the operator on the other.
#define CALLED __attribute__((noinline))

CALLED void* operator new(size_t size) {
    if (counting)
        ++allocations;
    if (void* memory = malloc(size))
        return memory;
    throw std::bad_alloc();
}
CALLED void* operator new(size_t size, const std::nothrow_t&) noexcept {
    if (counting)
        ++allocations;
    return malloc(size);
}
CALLED void operator delete(void* memory) noexcept {
    free(memory);
}
CALLED void operator delete(void* memory, size_t) noexcept {
    free(memory);
}

namespace {

TEST(HalAlloc, SendsWithAndWithoutReplyAllocateNothing) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        HalChassis::activate(3);
        HalChassis::wait_for_answers(120); // a card that gets no processor in time costs log lines
        unsigned failed = 0;
        hal_msg_t msg = test_message(908, 3, 200);
        ASSERT_EQ(hal_send(&msg.hdr), 0u); // what is looked up once has been
        counting = true;
        for (int n = 0; n < 100; n++) {
            msg.hdr.nlmsg_pid = n % 2 ? 3 : 0;
            failed += hal_send(&msg.hdr) != 0;
            failed += hal_send_async(&msg.hdr) != 0;
        }
        counting = false;
        EXPECT_EQ(failed, 0u);
        EXPECT_EQ(allocations, 0u);
        counting = true;
        operator delete(operator new(1)); // a new expression could be left out by the compiler
        counting = false;
        EXPECT_EQ(allocations, 1u); // it does count
    });
}

} // namespace
