// A keyed row container: a Patricia trie over the bytes of a row's index columns, with one cached walker
// so that a table can be stepped through at constant cost per row.
//
// Rows. A row is a plain record whose first `key_size` bytes are its index columns in index order. A
// stored row is one block of memory that never moves until the row is deleted:
//
//     P_NODE | row (info_size bytes) | key image (key_size bytes)
//
// Keys. Order of rows is the byte-wise order of key images. The image is the head of the row with each
// 32-bit integer column in big-endian form, so that rows come in numeric order of the index tuple (the
// order of SNMP; negative values behind positive ones). On a big-endian host the head of the row is that
// image already, and no image stands behind the row. `key_info` points at the image in both cases.
// A key column that is a byte string must not be turned: its 32-bit words are named in
// P_PARAMS::byte_words and are compared as they stand, as are the bytes behind the last whole word. Such
// a string starts on a multiple of 4 and is filled with zeros up to its column's size.
//
// Two levels of functions: those that take and give a P_NODE work on key images; the PTreeNode* forms
// take and give rows and do the conversion.
//
// Cost: every function is O(key length), whatever the number of rows; a get-next that continues from the
// row last returned doesn't search at all.
//
// Nothing here locks, and even PTreeGet and PTreeGetNext note in the tree what they returned: all use of
// one tree must be serialised by its table's mutex.
#pragma once

#include <cstdint>

inline constexpr int PTREE_MAX_KEY_SIZE = 256; // bytes

struct P_NODE {
    int bit = 0;                       // number of the key bit tested here (0 is the top bit of byte 0);
                                       // -1 at the root
    P_NODE* left = nullptr;            // link taken on bit value 0
    P_NODE* right = nullptr;           // link taken on bit value 1
    unsigned char* key_info = nullptr; // the key image
};
// A link that doesn't lead to a greater `bit` is an up-link: it leads to the row whose key is sought there.

struct P_PARAMS {
    int key_size = 0;        // bytes of the key, 1 to 256
    int info_size = 0;       // bytes of the row, at least key_size where rows are stored
    int actual_key_size = 0; // not used
    int node_size = 0;       // bytes of header and row; set by PTreeInit
    uint64_t byte_words = 0; // bit n: the n-th 32-bit word of the key belongs to a byte string
};

struct PTREE_LEXICAL_STACK {
    P_NODE* node = nullptr;
    int state = 0;
};

// A walk: an in-order traversal of the links with its own stack. Each row is met through its up-link.
struct PTREE_LEXICAL_STATE {
    P_NODE* node = nullptr;
    int state = 0;               // what is next at `node`: 1 left side, 2 right side, 3 climb
    int sequence = 0;            // the tree's at the time of the last step
    P_NODE* last_node = nullptr; // result of the last step, null at the end
    PTREE_LEXICAL_STACK* stack = nullptr;
    PTREE_LEXICAL_STACK* stack_current = nullptr; // the next free entry
    PTREE_LEXICAL_STACK* stack_last = nullptr;    // the last entry
};

class RowSlab;

// A tree. It points into itself: never copy or move one.
struct PTREE {
    P_NODE root_node;                // sentinel; its key is all zero
    int sequence = 0;                // raised by every change of the links
    unsigned lexical_stack_size = 0; // key_size * 8, the greatest possible depth
    PTREE_LEXICAL_STATE lexical_state;
    P_PARAMS params;
    int num_entries = 0;
    int max_entries = 0;          // 0: no limit
    int root_in_used = 0;         // 1: a row with the all-zero key is held
    P_NODE* root_act = nullptr;   // the node of that row
    P_NODE* last_found = nullptr; // last result of PTreeGet: rows are often looked up twice in a row
    RowSlab* rows = nullptr;      // memory of the stored rows
};

// Makes an empty tree. Returns 1, or 0 for a null argument, a key_size outside 1 to 256, an info_size
// that is negative or too great, or lack of memory.
int PTreeInit(PTREE* tree, P_PARAMS* params);
// Clears the tree and gives its memory back, that of all rows included. A zeroed PTREE is left alone.
void PTreeDestroy(PTREE* tree);
// Forgets all rows. Their memory stays with the tree, and num_entries stays as it is.
void PTreeClear(PTREE* tree);

// Links a node whose key_info the caller has set. Returns 1, or 0 when the key is held already. A node
// with the all-zero key isn't linked: it becomes root_act, and neither links nor sequence change.
int PTreeAdd(PTREE* tree, P_NODE* node);
// Takes a linked node out. Returns 1, or 0 when the node isn't in the trie (the row of the zero key
// never is). The node's memory is untouched.
int PTreeDelete(PTREE* tree, P_NODE* node);
// The node of a key image, or null. For the zero key this is &tree->root_node.
P_NODE* PTreeGet(PTREE* tree, const unsigned char* key);
// The node at which the search for a key image ends: one that agrees with it in the bits tested on the
// way, not the nearest one. Null only when the search ends at the root and no zero-key row is held.
P_NODE* PTreeGetFuzzy(PTREE* tree, const unsigned char* key);
// The node with the smallest key above a key image, which needn't be held; the first node for a null key.
// Null at the end.
P_NODE* PTreeGetNext(PTREE* tree, const unsigned char* key);
// Bytes of header and row, the node_size of the tree.
int PTreeSizeGet(const PTREE* tree);

// Rows. `udata` and `key` are rows (of a key only the index columns are read), which needn't be aligned;
// results are stored rows. A stored row may be passed as a key, also to PTreeNodeDelete.

// Copies a row in and returns the stored row. Null when max_entries is reached, there is no memory, the
// tree has no room for rows (info_size below key_size), or the key is held already.
void* PTreeNodeAdd(PTREE* tree, const void* udata);
// The same in one search for a key that may be held: then the row that holds it, untouched, with *existed.
void* PTreeNodeGetOrAdd(PTREE* tree, const void* udata, bool* existed);
// Deletes by key. Prints "PTreeGet Not found.\r" for an absent key.
void PTreeNodeDelete(PTREE* tree, const void* udata);
void* PTreeNodeGet(PTREE* tree, const void* key);
void* PTreeNodeGetFuzzy(PTREE* tree, const void* key);
void* PTreeNodeGetNext(PTREE* tree, const void* key); // null key: the first row
// The row behind a stored row of this tree. Its key image is there already, so this costs less than the
// above.
void* PTreeNodeGetNextOf(PTREE* tree, const void* stored);
