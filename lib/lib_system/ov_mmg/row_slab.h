// Memory for the rows of one tree: blocks of one size, cut from chunks that are kept until the end.
//
// A block costs its own size rounded up to 8 bytes and nothing else. Chunks grow with the table, from one
// page on; a table above 2 MB takes chunks of 2 MB. The untouched pages of the open chunk take no memory.
// A 2 MB chunk lies on a 2 MB boundary and becomes a huge page once it is full: without that, address
// translation adds half as much again to a look-up among 100,000 rows.
//
// Under AddressSanitizer each block is an allocation of its own, so that use after free is found.
#pragma once

#include <cstddef>
#include <unordered_set>
#include <vector>

class RowSlab {
public:
    explicit RowSlab(size_t block_size);
    ~RowSlab();
    RowSlab(const RowSlab&) = delete;
    RowSlab& operator=(const RowSlab&) = delete;

    // A block aligned to 8 bytes with undefined content, or null without memory.
    void* allocate() noexcept;
    // Takes back a block of this slab, to be handed out next. Its memory is not given back to the system.
    void release(void* block) noexcept;

    // Distance of neighbouring blocks, in bytes.
    size_t stride() const { return block_size_; }
    // Address space held, in bytes: for accounting.
    size_t reserved_bytes() const { return reserved_; }

private:
    struct FreeBlock {
        FreeBlock* next;
    };
    struct Chunk {
        void* memory;
        size_t size;
    };

    bool open_chunk();
    void close_chunk();

    size_t block_size_;
    size_t reserved_ = 0;
    FreeBlock* free_ = nullptr;
    char* open_begin_ = nullptr; // unused part of the last chunk
    char* open_end_ = nullptr;
    std::vector<Chunk> chunks_;
    std::unordered_set<void*> separate_; // the blocks under AddressSanitizer
};
