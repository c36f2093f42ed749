#include "mmg_internal.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "mmg_row_message.h"
#include "row_slab.h"

PTREE data_Tree[MIB_TABLE_SLOTS];

namespace {

// The table's tree, or null when it has none.
PTREE* tree_of(MIBDID did) {
    const int index = mmg_table_index(did);
    if (index < 0 || index >= MIB_TABLE_SLOTS)
        return nullptr;
    PTREE* tree = &data_Tree[index];
    return tree->rows == nullptr ? nullptr : tree;
}

// The carriage return alone keeps such lines from scrolling a console; flushed, since other processes may
// write to the same stream.
void print_row_message(const char* text) {
    std::fputs(text, stdout);
    std::fflush(stdout);
}

constexpr char ROW_EXISTED[] = "row_add fail: the row existed\r";

struct AddedRow {
    void* stored;
    bool existed;
};

AddedRow add_row(MIBDID did, void* row) {
    PTREE* tree = tree_of(did);
    if (tree == nullptr || row == nullptr)
        return {nullptr, false};
    AddedRow added{};
    added.stored = PTreeNodeGetOrAdd(tree, row, &added.existed);
    return added;
}

} // namespace

char data_Init(MIBDID did, int key_size, int info_size) {
    const int index = mmg_table_index(did);
    if (index >= 0 && index < MIB_TABLE_SLOTS) {
        PTREE* tree = &data_Tree[index];
        PTreeDestroy(tree);
        P_PARAMS params;
        params.key_size = key_size;
        params.info_size = info_size;
        if (info_size >= key_size && PTreeInit(tree, &params) != 0)
            return 1;
    }
    print_row_message("failed patricia tree create\r");
    return 0;
}

int get_row_num(MIBDID did) {
    PTREE* tree = tree_of(did);
    return tree == nullptr ? 0 : tree->num_entries;
}

mmg_table_memory_t get_table_memory(MIBDID did) {
    const PTREE* tree = tree_of(did);
    if (tree == nullptr || tree->rows == nullptr)
        return {};
    const auto record = static_cast<unsigned>(tree->params.info_size);
    return {.rows = static_cast<unsigned>(tree->num_entries),
            .record = record,
            .index = static_cast<unsigned>(tree->rows->stride()) - record,
            .reserved = tree->rows->reserved_bytes()};
}

unsigned get_row_changes(MIBDID did) {
    PTREE* tree = tree_of(did);
    return tree == nullptr ? 0 : static_cast<unsigned>(tree->sequence);
}

void* get_table_head(MIBDID did) {
    return row_getNext(did, nullptr);
}

void* row_add(MIBDID did, void* row) {
    auto [stored, existed] = add_row(did, row);
    if (existed)
        print_row_message(ROW_EXISTED);
    return stored;
}

void* row_add_buffered(MIBDID did, void* row) {
    auto [stored, existed] = add_row(did, row);
    if (existed)
        std::fputs(ROW_EXISTED, stdout);
    return stored;
}

void row_tell_existed(unsigned rows) {
    for (unsigned row = 0; row < rows; ++row)
        std::fputs(ROW_EXISTED, stdout);
    std::fflush(stdout);
}

char row_del(MIBDID did, void* row) {
    PTREE* tree = tree_of(did);
    if (tree == nullptr || row == nullptr)
        return 0;
    if (PTreeNodeGet(tree, row) == nullptr) {
        print_row_message("row_del fail: the row not exist\r");
        return 0;
    }
    PTreeNodeDelete(tree, row);
    return 1;
}

char row_update(MIBDID did, void* row) {
    PTREE* tree = tree_of(did);
    if (tree == nullptr || row == nullptr)
        return 0;
    void* stored = PTreeNodeGet(tree, row);
    if (stored == nullptr) {
        print_row_message("row_update fail: the row not exist\r");
        return 0;
    }
    if (stored != row)
        std::memcpy(stored, row, static_cast<size_t>(tree->params.info_size));
    return 1;
}

void* row_get(MIBDID did, void* row) {
    PTREE* tree = tree_of(did);
    return tree == nullptr || row == nullptr ? nullptr : PTreeNodeGet(tree, row);
}

void* row_get_fuzzy(MIBDID did, void* row) {
    PTREE* tree = tree_of(did);
    return tree == nullptr || row == nullptr ? nullptr : PTreeNodeGetFuzzy(tree, row);
}

void* row_getNext(MIBDID did, void* row) {
    PTREE* tree = tree_of(did);
    return tree == nullptr ? nullptr : PTreeNodeGetNext(tree, row);
}

void* row_next_of(MIBDID did, const void* stored) {
    PTREE* tree = tree_of(did);
    return tree == nullptr || stored == nullptr ? nullptr : PTreeNodeGetNextOf(tree, stored);
}

void row_expect_next(MIBDID did, const void* stored, int rows) {
    constexpr uintptr_t CACHE_LINE = 64;
    PTREE* tree = tree_of(did);
    if (tree == nullptr || stored == nullptr)
        return;
    const uintptr_t stride = tree->rows->stride();
    auto at = reinterpret_cast<uintptr_t>(stored) - sizeof(P_NODE);
    for (int row = 1; row < rows; ++row) {
        at += stride;
        // The end of the row in front, where its key image is, and this one's header and index columns.
        __builtin_prefetch(reinterpret_cast<const void*>(at));
        __builtin_prefetch(reinterpret_cast<const void*>(at + CACHE_LINE));
    }
}
