#include "row_slab.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr size_t CACHE_LINE = 64;
constexpr size_t PAGE = 4096;
constexpr size_t HUGE_PAGE = size_t{2} << 20;
constexpr size_t GROWTH = 8; // below a huge page, an open chunk is at most 1/8 of what is held already

#ifndef MADV_COLLAPSE
#define MADV_COLLAPSE 25 // Linux 6.1; older kernels refuse it
#endif

constexpr size_t round_up(size_t n, size_t unit) {
    return (n + unit - 1) / unit * unit;
}

void* map_anonymous(size_t size) {
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}

// A huge page's worth of address space on its natural boundary: map twice as much and cut the ends off.
void* map_huge_aligned() {
    char* memory = static_cast<char*>(map_anonymous(2 * HUGE_PAGE));
    if (memory == nullptr)
        return nullptr;
    size_t head = (HUGE_PAGE - reinterpret_cast<uintptr_t>(memory) % HUGE_PAGE) % HUGE_PAGE;
    if (head != 0)
        munmap(memory, head);
    munmap(memory + head + HUGE_PAGE, HUGE_PAGE - head);
    return memory + head;
}

} // namespace

RowSlab::RowSlab(size_t block_size) : block_size_(round_up(std::max(block_size, sizeof(FreeBlock)), 8)) {}

#if defined(__SANITIZE_ADDRESS__)

RowSlab::~RowSlab() {
    for (void* block : separate_)
        std::free(block);
}

void* RowSlab::allocate() noexcept {
    void* block = std::malloc(block_size_);
    if (block == nullptr)
        return nullptr;
    reserved_ += block_size_;
    separate_.insert(block);
    return block;
}

void RowSlab::release(void* block) noexcept {
    if (separate_.erase(block) == 0)
        std::abort(); // a block of another slab, or released twice
    reserved_ -= block_size_;
    std::free(block);
}

#else

RowSlab::~RowSlab() {
    for (const Chunk& chunk : chunks_)
        munmap(chunk.memory, chunk.size);
}

void* RowSlab::allocate() noexcept {
    if (free_ != nullptr) {
        FreeBlock* block = free_;
        free_ = block->next;
        return block;
    }
    if (static_cast<size_t>(open_end_ - open_begin_) < block_size_ && !open_chunk())
        return nullptr;
    void* block = open_begin_;
    open_begin_ += block_size_;
    return block;
}

void RowSlab::release(void* block) noexcept {
    auto* freed = static_cast<FreeBlock*>(block);
    freed->next = free_;
    free_ = freed;
}

#endif

bool RowSlab::open_chunk() {
    close_chunk();
    // Blocks of 128 or 256 bytes would all begin in the same few sets of the cache: chunks start on
    // different lines.
    size_t offset = chunks_.size() % 4 * CACHE_LINE;
    size_t wanted = reserved_ >= HUGE_PAGE ? HUGE_PAGE : std::max(reserved_ / GROWTH, 4 * block_size_);
    size_t size = round_up(std::max(wanted, offset + block_size_), PAGE);
    void* memory = size == HUGE_PAGE ? map_huge_aligned() : map_anonymous(size);
    if (memory == nullptr)
        return false;
    chunks_.push_back({memory, size});
    reserved_ += size;
    open_begin_ = static_cast<char*>(memory) + offset;
    open_end_ = static_cast<char*>(memory) + size;
    return true;
}

void RowSlab::close_chunk() {
    if (chunks_.empty() || chunks_.back().size != HUGE_PAGE)
        return;
    // Both are wishes: without huge pages everything works, only slower. The second makes it happen now
    // instead of whenever the kernel's own scan comes by.
    madvise(chunks_.back().memory, HUGE_PAGE, MADV_HUGEPAGE);
    madvise(chunks_.back().memory, HUGE_PAGE, MADV_COLLAPSE);
}
