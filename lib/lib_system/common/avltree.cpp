#include "avltree.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "ov_memtype.h"

OV_DEFINE_MGROUP(AVLTREE, "AVL trees");
OV_DEFINE_MTYPE(AVLTREE, AVLTREE_TREE, "AVL tree");
OV_DEFINE_MTYPE(AVLTREE, AVLTREE_NODE, "AVL tree node");

namespace {

// ---- nodes and their pool --------------------------------------------------------------------------

void free_list_push(avl_tree_s* tree, avl_node_s* node) {
    *node = {};
    node->right = tree->free_list;
    tree->free_list = node;
}

avl_node_s* node_take(avl_tree_s* tree) {
    avl_node_s* node = tree->free_list;
    if (node != nullptr)
        tree->free_list = node->right;
    else if (tree->max_nodes == 0)
        node = static_cast<avl_node_s*>(XCALLOC(MTYPE_AVLTREE_NODE, sizeof(avl_node_s)));
    else
        return nullptr;

    *node = {};
    node->rank = 1;
    tree->count++;
    return node;
}

void node_give_back(avl_tree_s* tree, avl_node_s* node) {
    free_list_push(tree, node);
    tree->count--;
}

void pool_create(avl_tree_s* tree) {
    size_t nodes = size_t(tree->max_nodes);
    auto* pool = static_cast<avl_node_s*>(XCALLOC(MTYPE_AVLTREE_NODE, nodes * sizeof(avl_node_s)));
    tree->data = reinterpret_cast<char*>(pool);
    for (size_t i = nodes; i > 0; i--)
        free_list_push(tree, &pool[i - 1]);
}

// ---- links -------------------------------------------------------------------------------------------

// The link that leads to the node: its parent's, or the tree's root.
avl_node_s*& link_to(avl_tree_s* tree, const avl_node_s* node) {
    if (node->parent == nullptr)
        return tree->root;
    return node->flag != 0 ? node->parent->right : node->parent->left;
}

void attach(avl_node_s*& link, avl_node_s* child, avl_node_s* parent, int flag) {
    link = child;
    if (child == nullptr)
        return;
    child->parent = parent;
    child->flag = flag;
}

// Puts `successor` (null: nothing) where `node` hangs.
void replace(avl_tree_s* tree, const avl_node_s* node, avl_node_s* successor) {
    attach(link_to(tree, node), successor, node->parent, node->flag);
}

// ---- rotations ---------------------------------------------------------------------------------------

avl_node_s* rotate_left(avl_tree_s* tree, avl_node_s* node) {
    avl_node_s* top = node->right;
    replace(tree, node, top);
    attach(node->right, top->left, node, 1);
    attach(top->left, node, top, 0);
    top->rank += node->rank;
    node->balance -= 1 + std::max(top->balance, 0);
    top->balance -= 1 - std::min(node->balance, 0);
    return top;
}

avl_node_s* rotate_right(avl_tree_s* tree, avl_node_s* node) {
    avl_node_s* top = node->left;
    replace(tree, node, top);
    attach(node->left, top->right, node, 0);
    attach(top->right, node, top, 1);
    node->rank -= top->rank;
    node->balance += 1 - std::min(top->balance, 0);
    top->balance += 1 + std::max(node->balance, 0);
    return top;
}

// Mends a node whose balance has come to +-2 by a single or double rotation; gives the new top.
avl_node_s* _avl_rotate(avl_tree_s* tree, avl_node_s* node) {
    if (node->balance > 0) {
        if (node->right->balance < 0)
            rotate_right(tree, node->right);
        return rotate_left(tree, node);
    }
    if (node->left->balance > 0)
        rotate_left(tree, node->left);
    return rotate_right(tree, node);
}

// ---- balance after a change --------------------------------------------------------------------------

// `node` is a new leaf: its side of each ancestor has grown until a balance of 0 or a rotation.
void rebalance_grown(avl_tree_s* tree, const avl_node_s* node) {
    for (avl_node_s* parent = node->parent; parent != nullptr; node = parent, parent = node->parent) {
        parent->balance += node->flag != 0 ? 1 : -1;
        if (parent->balance == 0)
            return;
        if (parent->balance > 1 || parent->balance < -1) {
            _avl_rotate(tree, parent);
            return;
        }
    }
}

// One side of `node` (flag 1: the right) has become lower by one.
void rebalance_shrunk(avl_tree_s* tree, avl_node_s* node, int flag) {
    while (node != nullptr) {
        node->balance += flag != 0 ? -1 : 1;
        if (node->balance > 1 || node->balance < -1)
            node = _avl_rotate(tree, node);
        if (node->balance != 0)
            return; // still as high as before
        flag = node->flag;
        node = node->parent;
    }
}

// One node has gone from below `node`'s side `flag`: the ranks above count one less where it stood left.
void ranks_shrunk(avl_node_s* node, int flag) {
    for (; node != nullptr; flag = node->flag, node = node->parent) {
        if (flag == 0)
            node->rank--;
    }
}

avl_node_s* leftmost(avl_node_s* node) {
    while (node != nullptr && node->left != nullptr)
        node = node->left;
    return node;
}

// Takes the node out of the tree; all others stay where they are in memory.
void unlink_node(avl_tree_s* tree, avl_node_s* node) {
    avl_node_s* shrunk = node->parent;
    int flag = node->flag;

    if (node->left == nullptr || node->right == nullptr) {
        ranks_shrunk(shrunk, flag);
        replace(tree, node, node->left != nullptr ? node->left : node->right);
    } else {
        // The successor, which has no left child, takes the node's place.
        avl_node_s* successor = leftmost(node->right);
        ranks_shrunk(successor->parent, successor->flag);
        shrunk = successor->parent != node ? successor->parent : successor;
        flag = successor->flag;
        replace(tree, successor, successor->right);
        replace(tree, node, successor);
        attach(successor->left, node->left, successor, 0);
        attach(successor->right, node->right, successor, 1);
        successor->balance = node->balance;
        successor->rank = node->rank;
    }
    rebalance_shrunk(tree, shrunk, flag);
}

int traverse(const avl_node_s* node, avl_visit fn, void* data) {
    if (node == nullptr)
        return 0;
    if (int rc = traverse(node->left, fn, data); rc < 0)
        return rc;
    if (int rc = fn(node->info, data); rc < 0)
        return rc;
    return traverse(node->right, fn, data);
}

// Gives back nodes that were allocated one at a time.
void free_subtree(avl_node_s* node) {
    if (node == nullptr)
        return;
    free_subtree(node->left);
    free_subtree(node->right);
    XFREE(MTYPE_AVLTREE_NODE, node);
}

void free_list_free(avl_node_s* node) {
    while (node != nullptr) {
        avl_node_s* next = node->right;
        XFREE(MTYPE_AVLTREE_NODE, node);
        node = next;
    }
}

} // namespace

// ---- public -------------------------------------------------------------------------------------------

int avl_create(avl_tree_s** tree, int max_nodes, avl_compare compare) {
    if (tree == nullptr || compare == nullptr || max_nodes < 0 ||
        size_t(max_nodes) > PTRDIFF_MAX / sizeof(avl_node_s))
        return -1;
    auto* made = static_cast<avl_tree_s*>(XCALLOC(MTYPE_AVLTREE_TREE, sizeof(avl_tree_s)));
    made->max_nodes = max_nodes;
    made->compare = compare;
    if (max_nodes > 0)
        pool_create(made);
    *tree = made;
    return 0;
}

int avl_insert(avl_tree_s* tree, void* data) {
    // The node comes first: the ranks on the way down may only change when there is one.
    avl_node_s* node = tree != nullptr ? node_take(tree) : nullptr;
    if (node == nullptr)
        return -1;
    node->info = data;

    avl_node_s* parent = nullptr;
    avl_node_s** link = &tree->root;
    while (*link != nullptr) {
        parent = *link;
        node->flag = tree->compare(data, parent->info) > 0 ? 1 : 0;
        if (node->flag == 0)
            parent->rank++;
        link = node->flag != 0 ? &parent->right : &parent->left;
    }
    attach(*link, node, parent, node->flag);
    rebalance_grown(tree, node);
    return 0;
}

int avl_delete(avl_tree_s* tree, void* data) {
    if (tree == nullptr)
        return -1;
    avl_node_s* node = avl_lookup(tree, data);
    if (node == nullptr)
        return 0;
    unlink_node(tree, node);
    node_give_back(tree, node);
    return 0;
}

avl_node_s* avl_lookup(const avl_tree_s* tree, void* data) {
    avl_node_s* node = tree != nullptr ? tree->root : nullptr;
    while (node != nullptr) {
        int order = tree->compare(data, node->info);
        if (order == 0)
            break;
        node = order > 0 ? node->right : node->left;
    }
    return node;
}

avl_node_s* avl_top(const avl_tree_s* tree) {
    return tree != nullptr ? tree->root : nullptr;
}

avl_node_s* avl_next(const avl_node_s* node) {
    if (node == nullptr)
        return nullptr;
    if (node->left != nullptr)
        return node->left;
    if (node->right != nullptr)
        return node->right;
    for (; node->parent != nullptr; node = node->parent) {
        if (node->flag == 0 && node->parent->right != nullptr)
            return node->parent->right;
    }
    return nullptr;
}

avl_node_s* avl_top_sort(const avl_tree_s* tree) {
    return tree != nullptr ? leftmost(tree->root) : nullptr;
}

avl_node_s* avl_next_sort(const avl_node_s* node) {
    if (node == nullptr)
        return nullptr;
    if (node->right != nullptr)
        return leftmost(node->right);
    while (node->flag != 0)
        node = node->parent;
    return node->parent;
}

avl_node_s* avl_getnext(const avl_tree_s* tree, const avl_node_s* node) {
    return node != nullptr ? avl_next_sort(node) : avl_top_sort(tree);
}

int avl_tree_traverse(const avl_tree_s* tree, avl_visit fn, void* data) {
    if (tree == nullptr || fn == nullptr)
        return 0;
    return traverse(tree->root, fn, data);
}

int avl_get_tree_size(const avl_tree_s* tree) {
    return tree != nullptr ? tree->count : 0;
}

void avl_finish(avl_tree_s* tree) {
    if (tree == nullptr)
        return;
    if (tree->data != nullptr) {
        XFREE(MTYPE_AVLTREE_NODE, tree->data);
    } else {
        free_subtree(tree->root);
        free_list_free(tree->free_list);
    }
    XFREE(MTYPE_AVLTREE_TREE, tree);
}

void avl_tree_free(avl_tree_s* tree, avl_data_free data_free) {
    if (tree == nullptr)
        return;
    if (data_free != nullptr) {
        for (avl_node_s* node = avl_top_sort(tree); node != nullptr; node = avl_next_sort(node))
            data_free(node->info);
    }
    avl_finish(tree);
}
