// AVL tree of pointers, with an optional pool of nodes; for interfaces and other objects in memory.
//
// The tree orders what it is given by the caller's compare function and owns its nodes only, never what
// they point at. Equal keys may stand in it side by side. A node stays where it is until its own entry is
// deleted, whatever happens to others. No locks: one thread at a time.
//
// Cost: insert, delete and look-up O(log n), a step of any walk O(1) on average. With a pool nothing is
// allocated after avl_create. Memory is libfrr's (types AVLTREE_TREE and AVLTREE_NODE; a pool counts as
// one node), whose allocator ends the process when there is none left.
#pragma once

// Negative, 0 or positive as `data`, the key looked for, sorts before, with or behind the entry `info`.
typedef int (*avl_compare)(void* data, void* info);
// Called for each entry; a negative answer ends the walk.
typedef int (*avl_visit)(void* info, void* data);
typedef void (*avl_data_free)(void* info);

struct avl_node_s {
    avl_node_s* left;
    avl_node_s* right; // the next free node while in the free list
    avl_node_s* parent;
    int balance; // height of the right subtree minus height of the left: -1, 0 or 1
    int rank;    // 1 plus the number of nodes in the left subtree
    int flag;    // 1: this is its parent's right child
    void* info;  // what was inserted
};

struct avl_tree_s {
    int max_nodes; // 0: no limit, nodes are allocated one at a time
    avl_compare compare;
    char* data; // the pool
    avl_node_s* root;
    avl_node_s* free_list;
    int count; // nodes in use
};

// Makes an empty tree and, with max_nodes above 0, its pool. 0, or -1 for a null argument or a max_nodes
// that is negative or beyond what can be addressed; then *tree is left alone.
int avl_create(avl_tree_s** tree, int max_nodes, avl_compare compare);

// Enters `data`; behind an equal one in look-up order, before it in sorted order. 0, or -1 when the pool
// is used up or `tree` is null; then the tree is as before.
int avl_insert(avl_tree_s* tree, void* data);

// Takes out the entry that avl_lookup would find. 0, also when there is none; -1 for a null tree.
int avl_delete(avl_tree_s* tree, void* data);

// The node of an equal entry, of several the one nearest the root; null when absent. `data` may be
// anything that the tree's compare takes as a key.
avl_node_s* avl_lookup(const avl_tree_s* tree, void* data);

// Preorder: the root (null if empty), then left child, right child, or up to the next right sibling.
avl_node_s* avl_top(const avl_tree_s* tree);
avl_node_s* avl_next(const avl_node_s* node);

// Sorted order; null behind the last.
avl_node_s* avl_top_sort(const avl_tree_s* tree);
avl_node_s* avl_next_sort(const avl_node_s* node);
// The same in one function: the first node for null, else the successor.
avl_node_s* avl_getnext(const avl_tree_s* tree, const avl_node_s* node);

// Visits the entries in sorted order; fn must not change the tree. 0, or the first negative answer.
int avl_tree_traverse(const avl_tree_s* tree, avl_visit fn, void* data);

int avl_get_tree_size(const avl_tree_s* tree);

// Frees nodes and tree; null does nothing. The entries are the caller's.
void avl_finish(avl_tree_s* tree);
// The same, but hands each entry to `data_free` (null: none) first, in sorted order.
void avl_tree_free(avl_tree_s* tree, avl_data_free data_free);
