#include "row_slab.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

namespace {

TEST(RowSlab, BlocksAreAlignedAndApart) {
    RowSlab slab(29);
    std::set<char*> blocks;
    for (int i = 0; i < 10000; ++i) {
        auto* block = static_cast<char*>(slab.allocate());
        ASSERT_NE(block, nullptr);
        ASSERT_EQ(reinterpret_cast<uintptr_t>(block) % 8, 0u);
        std::memset(block, i & 0xFF, 29);
        blocks.insert(block);
    }
    ASSERT_EQ(blocks.size(), 10000u);
    for (auto it = blocks.begin(), next = std::next(it); next != blocks.end(); ++it, ++next)
        ASSERT_GE(*next - *it, 29);
}

TEST(RowSlab, AReleasedBlockIsHandedOutBeforeNewMemory) {
    RowSlab slab(64);
    std::vector<void*> blocks;
    for (int i = 0; i < 1000; ++i)
        blocks.push_back(slab.allocate());
    size_t reserved = slab.reserved_bytes();
    for (void* block : blocks)
        slab.release(block);
    for (int i = 0; i < 1000; ++i)
        slab.allocate();
    EXPECT_EQ(slab.reserved_bytes(), reserved);
}

TEST(RowSlab, BlocksGreaterThanAChunkWork) {
    RowSlab slab(5u << 20);
    auto* one = static_cast<char*>(slab.allocate());
    auto* two = static_cast<char*>(slab.allocate());
    ASSERT_NE(one, nullptr);
    ASSERT_NE(two, nullptr);
    std::memset(one, 1, 5u << 20);
    std::memset(two, 2, 5u << 20);
    EXPECT_EQ(one[0], 1);
    EXPECT_EQ(one[(5u << 20) - 1], 1);
}

// A row of 84 bytes with a key of 28 may cost 64 bytes more than itself: 60 of header and image, and the
// rest for the allocator.
TEST(RowSlab, ManyRowsCostLittleMoreThanTheirBlocks) {
    constexpr size_t block = 32 + 84 + 28;
    RowSlab slab(block);
    constexpr size_t rows = 200000;
    for (size_t i = 0; i < rows; ++i)
        ASSERT_NE(slab.allocate(), nullptr);
    EXPECT_LT(slab.reserved_bytes(), rows * block + (size_t{3} << 20));
}

} // namespace
