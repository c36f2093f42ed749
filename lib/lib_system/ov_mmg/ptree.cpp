#include "ptree.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "row_slab.h"

namespace {

constexpr bool HOST_IS_LITTLE_ENDIAN = std::endian::native == std::endian::little;

enum WalkState { WALK_LEFT = 1, WALK_RIGHT = 2, WALK_CLIMB = 3 };

// ---- keys ---------------------------------------------------------------------------------------

inline unsigned key_bit(const unsigned char* key, int bit) {
    return (key[bit >> 3] >> (7 - (bit & 7))) & 1u;
}

// Value of the bit that a node tests; the root tests none and is left by its left link.
inline unsigned bit_at(const P_NODE* node, const unsigned char* key) {
    return node->bit < 0 ? 0 : key_bit(key, node->bit);
}

inline P_NODE** link_for(P_NODE* node, const unsigned char* key) {
    return bit_at(node, key) != 0 ? &node->right : &node->left;
}

inline bool is_up_link(const P_NODE* from, const P_NODE* to) {
    return to->bit <= from->bit;
}

template <typename Word>
inline Word load_big_endian(const unsigned char* p) {
    Word word;
    std::memcpy(&word, p, sizeof(word));
    if constexpr (!HOST_IS_LITTLE_ENDIAN)
        return word;
    else if constexpr (sizeof(Word) == 8)
        return __builtin_bswap64(word);
    else
        return __builtin_bswap32(word);
}

// Number of the first bit in which two keys differ, or -1 for equal keys.
inline int first_difference(const unsigned char* a, const unsigned char* b, int size) {
    int i = 0;
    for (; i + 8 <= size; i += 8) {
        uint64_t diff = load_big_endian<uint64_t>(a + i) ^ load_big_endian<uint64_t>(b + i);
        if (diff != 0)
            return i * 8 + std::countl_zero(diff);
    }
    if (i + 4 <= size) {
        uint32_t diff = load_big_endian<uint32_t>(a + i) ^ load_big_endian<uint32_t>(b + i);
        if (diff != 0)
            return i * 8 + std::countl_zero(diff);
        i += 4;
    }
    for (; i < size; ++i) {
        auto diff = static_cast<unsigned char>(a[i] ^ b[i]);
        if (diff != 0)
            return i * 8 + std::countl_zero(diff);
    }
    return -1;
}

inline bool holds(const P_NODE* node, const unsigned char* key, int size) {
    return node != nullptr && (node->key_info == key || first_difference(node->key_info, key, size) < 0);
}

void write_key_image(const P_PARAMS& params, const void* row, unsigned char* image) {
    const auto* in = static_cast<const unsigned char*>(row);
    auto size = static_cast<size_t>(params.key_size);
    size_t at = 0;
    for (; at + 4 <= size; at += 4) {
        uint32_t word;
        std::memcpy(&word, in + at, 4);
        if (HOST_IS_LITTLE_ENDIAN && (params.byte_words >> (at / 4) & 1) == 0)
            word = __builtin_bswap32(word);
        std::memcpy(image + at, &word, 4);
    }
    std::copy(in + at, in + size, image + at);
}

// The key image of a caller's row.
class KeyImage {
public:
    KeyImage(const PTREE* tree, const void* row) { write_key_image(tree->params, row, bytes_); }
    const unsigned char* get() const { return bytes_; }

private:
    alignas(8) unsigned char bytes_[PTREE_MAX_KEY_SIZE];
};

// ---- the trie -----------------------------------------------------------------------------------

unsigned char* zero_key(const PTREE* tree) {
    return reinterpret_cast<unsigned char*>(tree->lexical_state.stack + tree->lexical_stack_size);
}

void point_root_at_zero_key(PTREE* tree) {
    tree->root_node.key_info = zero_key(tree);
    std::memset(tree->root_node.key_info, 0, static_cast<size_t>(tree->params.key_size));
}

// Rows that were added in key order, as a table file is read, lie in memory in key order. A link that leads
// 8 to 15 rows away then opens on a subtree of 7 rows to each side: fetch them all at once instead of one
// after the other on the way down. Elsewhere this fetches lines in vain now and then, and harms nothing.
inline void prefetch_subtree(const P_NODE* from, const P_NODE* to, intptr_t stride) {
    auto at = reinterpret_cast<intptr_t>(to);
    intptr_t distance = std::abs(at - reinterpret_cast<intptr_t>(from));
    if (distance < 8 * stride || distance >= 16 * stride)
        return;
    for (intptr_t row = 1; row <= 7; ++row) {
        __builtin_prefetch(reinterpret_cast<const void*>(at - row * stride));
        __builtin_prefetch(reinterpret_cast<const void*>(at + row * stride));
    }
}

// Follows the key's bits until an up-link; the node reached holds the only key that can match. Nearly all
// of its time is waiting for memory, so both children are asked for before the bit is looked at.
inline P_NODE* search(PTREE* tree, const unsigned char* key) {
    auto stride = static_cast<intptr_t>(tree->rows->stride());
    P_NODE* node = tree->root_node.left;
    int bit = -1;
    while (node->bit > bit) {
        bit = node->bit;
        P_NODE* left = node->left;
        P_NODE* right = node->right;
        __builtin_prefetch(left);
        __builtin_prefetch(right);
        P_NODE* next = key_bit(key, bit) != 0 ? right : left;
        prefetch_subtree(node, next, stride);
        node = next;
    }
    return node;
}

// A change of the links: what walkers remember of them no longer holds. Wraps around.
inline void advance_sequence(PTREE* tree) {
    tree->sequence = static_cast<int>(static_cast<unsigned>(tree->sequence) + 1u);
}

inline bool is_held(const PTREE* tree, const P_NODE* node) {
    return node != &tree->root_node || tree->root_in_used != 0;
}

// Where a key stands or would stand: the node that holds it, or null and the first bit in which it differs
// from the nearest key (-1 for the zero key, which has no links).
struct Place {
    P_NODE* held;
    int differs;
};

Place place_of(PTREE* tree, const unsigned char* key) {
    P_NODE* nearest = search(tree, key);
    const int differs = first_difference(nearest->key_info, key, tree->params.key_size);
    return {differs < 0 && is_held(tree, nearest) ? nearest : nullptr, differs};
}

// Links a node whose key isn't held; `differs` is that of its place.
void link_in(PTREE* tree, P_NODE* node, int differs) {
    const unsigned char* key = node->key_info;
    if (differs < 0) {
        tree->root_node.key_info = node->key_info;
        tree->root_in_used = 1;
        tree->root_act = node;
        return;
    }
    P_NODE* parent = &tree->root_node;
    P_NODE** link = link_for(parent, key);
    while (!is_up_link(parent, *link) && (*link)->bit < differs) {
        parent = *link;
        link = link_for(parent, key);
    }
    bool on_right = key_bit(key, differs) != 0;
    node->bit = differs;
    node->left = on_right ? *link : node;
    node->right = on_right ? node : *link;
    *link = node;
    advance_sequence(tree);
}

// ---- the walker ---------------------------------------------------------------------------------

void LexicalInit(PTREE* tree) {
    PTREE_LEXICAL_STATE& walk = tree->lexical_state;
    walk.node = &tree->root_node;
    walk.state = WALK_LEFT;
    walk.stack_current = walk.stack;
    walk.stack_last = walk.stack + tree->lexical_stack_size - 1;
}

bool lexical_push(PTREE_LEXICAL_STATE& walk, int state_on_return) {
    if (walk.stack_current > walk.stack_last)
        return false;
    walk.stack_current->node = walk.node;
    walk.stack_current->state = state_on_return;
    ++walk.stack_current;
    return true;
}

// The next node in order, or null at the end. The root is met first, and once more at the very end.
P_NODE* LexicalWalkIterate(PTREE_LEXICAL_STATE& walk) {
    for (;;) {
        if (walk.state == WALK_CLIMB) {
            if (walk.stack_current == walk.stack)
                return nullptr;
            --walk.stack_current;
            walk.node = walk.stack_current->node;
            walk.state = walk.stack_current->state;
            continue;
        }
        bool left = walk.state == WALK_LEFT;
        P_NODE* next = left ? walk.node->left : walk.node->right;
        int after = left ? WALK_RIGHT : WALK_CLIMB;
        if (is_up_link(walk.node, next)) {
            walk.state = after;
            return next;
        }
        if (!lexical_push(walk, after))
            return nullptr;
        walk.node = next;
        walk.state = WALK_LEFT;
    }
}

P_NODE* lexical_next_row(PTREE* tree) {
    P_NODE* node;
    do {
        node = LexicalWalkIterate(tree->lexical_state);
    } while (node == &tree->root_node);
    return node;
}

// Puts the walker where the next step gives the first key above `key`: at the link where the key leaves
// the trie. All keys behind that link agree with each other up to the bit in which they differ from
// `key`, so they are all above it or all below it.
void lexical_seek(PTREE* tree, const unsigned char* key) {
    int differs = first_difference(search(tree, key)->key_info, key, tree->params.key_size);
    int limit = differs < 0 ? std::numeric_limits<int>::max() : differs;
    bool behind_is_above = differs >= 0 && key_bit(key, differs) == 0;

    LexicalInit(tree);
    PTREE_LEXICAL_STATE& walk = tree->lexical_state;
    for (;;) {
        bool left = bit_at(walk.node, key) == 0;
        P_NODE* next = left ? walk.node->left : walk.node->right;
        int after = left ? WALK_RIGHT : WALK_CLIMB;
        if (is_up_link(walk.node, next) || next->bit >= limit) {
            int here = left ? WALK_LEFT : WALK_RIGHT;
            walk.state = behind_is_above ? here : after;
            return;
        }
        if (!lexical_push(walk, after))
            return;
        walk.node = next;
    }
}

// ---- rows ---------------------------------------------------------------------------------------

inline void* row_of(const PTREE* tree, P_NODE* node) {
    if (node == &tree->root_node)
        node = tree->root_act;
    return node == nullptr ? nullptr : reinterpret_cast<char*>(node) + sizeof(P_NODE);
}

// Bytes that a stored row takes, its key image included.
size_t block_size(const P_PARAMS& params) {
    size_t image = HOST_IS_LITTLE_ENDIAN ? static_cast<size_t>(params.key_size) : 0;
    return sizeof(P_NODE) + static_cast<size_t>(params.info_size) + image;
}

void print_row_message(const char* text) {
    std::fputs(text, stdout);
    std::fflush(stdout);
}

} // namespace

int PTreeInit(PTREE* tree, P_PARAMS* params) {
    constexpr int MAX_INFO_SIZE = std::numeric_limits<int>::max() - int{sizeof(P_NODE)} - PTREE_MAX_KEY_SIZE;
    if (tree == nullptr || params == nullptr)
        return 0;
    if (params->key_size < 1 || params->key_size > PTREE_MAX_KEY_SIZE)
        return 0;
    if (params->info_size < 0 || params->info_size > MAX_INFO_SIZE)
        return 0;
    params->node_size = params->info_size + int{sizeof(P_NODE)};

    auto stack_size = static_cast<unsigned>(params->key_size) * 8;
    void* stack = std::calloc(1, stack_size * sizeof(PTREE_LEXICAL_STACK) + params->key_size);
    auto* rows = new (std::nothrow) RowSlab(block_size(*params));
    if (stack == nullptr || rows == nullptr) {
        std::free(stack);
        delete rows;
        return 0;
    }

    *tree = PTREE{};
    tree->params = *params;
    tree->rows = rows;
    tree->lexical_stack_size = stack_size;
    tree->lexical_state.stack = static_cast<PTREE_LEXICAL_STACK*>(stack);
    LexicalInit(tree);
    tree->root_node.bit = -1;
    tree->root_node.left = &tree->root_node;
    tree->root_node.right = &tree->root_node;
    point_root_at_zero_key(tree);
    return 1;
}

void PTreeClear(PTREE* tree) {
    if (tree == nullptr || tree->lexical_state.stack == nullptr)
        return;
    tree->root_node.left = &tree->root_node;
    tree->root_node.right = &tree->root_node;
    point_root_at_zero_key(tree);
    advance_sequence(tree);
    tree->lexical_state.last_node = nullptr;
    tree->last_found = nullptr;
    tree->root_in_used = 0;
    tree->root_act = nullptr;
}

void PTreeDestroy(PTREE* tree) {
    if (tree == nullptr || tree->lexical_state.stack == nullptr)
        return;
    PTreeClear(tree);
    std::free(tree->lexical_state.stack);
    delete tree->rows;
    *tree = PTREE{};
}

int PTreeAdd(PTREE* tree, P_NODE* node) {
    if (node == nullptr || node->key_info == nullptr)
        return 0;
    const Place place = place_of(tree, node->key_info);
    if (place.held != nullptr)
        return 0;
    link_in(tree, node, place.differs);
    return 1;
}

int PTreeDelete(PTREE* tree, P_NODE* node) {
    if (node == nullptr || node->key_info == nullptr)
        return 0;
    const unsigned char* key = node->key_info;

    // The downward link that leads to the node.
    P_NODE* above = &tree->root_node;
    P_NODE** to_node = link_for(above, key);
    while (*to_node != node) {
        if (is_up_link(above, *to_node))
            return 0;
        above = *to_node;
        to_node = link_for(above, key);
    }
    if (is_up_link(above, node))
        return 0;

    // The node `last` with the up-link back to the node, and the link that leads to `last`.
    P_NODE* last = node;
    P_NODE** to_last = to_node;
    P_NODE** back = link_for(last, key);
    while (*back != node) {
        if (is_up_link(last, *back))
            return 0;
        to_last = back;
        last = *back;
        back = link_for(last, key);
    }

    advance_sequence(tree);
    tree->lexical_state.last_node = nullptr;
    tree->last_found = nullptr;
    // `last` moves into the node's place. The order of these writes also serves the cases that `last` is
    // the node itself or its child, where some of the links are the same.
    P_NODE* others = back == &last->left ? last->right : last->left;
    last->bit = node->bit;
    *to_node = last;
    *to_last = others;
    last->left = node->left;
    last->right = node->right;
    return 1;
}

P_NODE* PTreeGet(PTREE* tree, const unsigned char* key) {
    int size = tree->params.key_size;
    if (holds(tree->lexical_state.last_node, key, size))
        return tree->lexical_state.last_node;
    if (holds(tree->last_found, key, size))
        return tree->last_found;
    P_NODE* node = search(tree, key);
    if (!is_held(tree, node) || !holds(node, key, size))
        return nullptr;
    if (node != &tree->root_node)
        tree->last_found = node;
    return node;
}

P_NODE* PTreeGetFuzzy(PTREE* tree, const unsigned char* key) {
    P_NODE* node = search(tree, key);
    return is_held(tree, node) ? node : nullptr;
}

P_NODE* PTreeGetNext(PTREE* tree, const unsigned char* key) {
    PTREE_LEXICAL_STATE& walk = tree->lexical_state;
    if (key == nullptr) {
        if (tree->root_in_used != 0)
            return &tree->root_node;
        LexicalInit(tree);
    } else if (walk.sequence != tree->sequence || !holds(walk.last_node, key, tree->params.key_size)) {
        lexical_seek(tree, key);
    }
    walk.last_node = lexical_next_row(tree);
    walk.sequence = tree->sequence;
    return walk.last_node;
}

int PTreeSizeGet(const PTREE* tree) {
    return tree->params.node_size;
}

void* PTreeNodeAdd(PTREE* tree, const void* udata) {
    bool existed = false;
    void* row = PTreeNodeGetOrAdd(tree, udata, &existed);
    return existed ? nullptr : row;
}

void* PTreeNodeGetOrAdd(PTREE* tree, const void* udata, bool* existed) {
    *existed = false;
    if (udata == nullptr)
        return nullptr;
    const KeyImage key(tree, udata);
    const Place place = place_of(tree, key.get());
    *existed = place.held != nullptr;
    if (*existed)
        return row_of(tree, place.held);
    if (tree->max_entries > 0 && tree->num_entries >= tree->max_entries)
        return nullptr;
    if (tree->params.info_size < tree->params.key_size)
        return nullptr;
    void* block = tree->rows->allocate();
    if (block == nullptr)
        return nullptr;

    auto* node = new (block) P_NODE{};
    char* row = static_cast<char*>(block) + sizeof(P_NODE);
    std::memcpy(row, udata, static_cast<size_t>(tree->params.info_size));
    node->key_info = reinterpret_cast<unsigned char*>(row);
    if (HOST_IS_LITTLE_ENDIAN) {
        node->key_info += tree->params.info_size;
        std::memcpy(node->key_info, key.get(), static_cast<size_t>(tree->params.key_size));
    }
    link_in(tree, node, place.differs);
    ++tree->num_entries;
    if (place.differs >= 0)
        tree->last_found = node; // a new row is looked up at once
    return row;
}

void PTreeNodeDelete(PTREE* tree, const void* udata) {
    if (udata == nullptr)
        return;
    KeyImage key(tree, udata);
    P_NODE* node = PTreeGet(tree, key.get());
    if (node == nullptr) {
        print_row_message("PTreeGet Not found.\r");
        return;
    }
    --tree->num_entries;
    if (node == &tree->root_node) {
        node = tree->root_act;
        tree->root_act = nullptr;
        tree->root_in_used = 0;
        point_root_at_zero_key(tree);
    } else if (PTreeDelete(tree, node) == 0) {
        // The trie is damaged and may still lead to the node: its memory must stay.
        print_row_message("PTreeNodeDelete failed.\r");
        return;
    }
    tree->rows->release(node);
}

void* PTreeNodeGet(PTREE* tree, const void* key) {
    if (key == nullptr)
        return nullptr;
    return row_of(tree, PTreeGet(tree, KeyImage(tree, key).get()));
}

void* PTreeNodeGetFuzzy(PTREE* tree, const void* key) {
    if (key == nullptr)
        return nullptr;
    return row_of(tree, PTreeGetFuzzy(tree, KeyImage(tree, key).get()));
}

void* PTreeNodeGetNext(PTREE* tree, const void* key) {
    if (key == nullptr)
        return row_of(tree, PTreeGetNext(tree, nullptr));
    return row_of(tree, PTreeGetNext(tree, KeyImage(tree, key).get()));
}

void* PTreeNodeGetNextOf(PTREE* tree, const void* stored) {
    const auto* node = reinterpret_cast<const P_NODE*>(static_cast<const char*>(stored) - sizeof(P_NODE));
    return row_of(tree, PTreeGetNext(tree, node->key_info));
}
