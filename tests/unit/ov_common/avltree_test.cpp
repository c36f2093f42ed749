#include "avltree.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ov_memtype.h"

DECLARE_MTYPE(AVLTREE_TREE);
DECLARE_MTYPE(AVLTREE_NODE);

namespace {

struct Entry {
    int key;
    int id;
};

int compare_entries(void* data, void* info) {
    const int left = static_cast<Entry*>(data)->key;
    const int right = static_cast<Entry*>(info)->key;
    return (left > right) - (left < right);
}

Entry* entry_of(const avl_node_s* node) {
    return static_cast<Entry*>(node->info);
}

struct Shape {
    int nodes;
    int height;
};

// Asserts what every node promises about its surroundings; gives size and height.
Shape check_subtree(const avl_node_s* node, const avl_node_s* parent, int flag) {
    if (node == nullptr)
        return {0, 0};
    EXPECT_EQ(node->parent, parent);
    EXPECT_EQ(node->flag, flag);
    const Shape left = check_subtree(node->left, node, 0);
    const Shape right = check_subtree(node->right, node, 1);
    EXPECT_EQ(node->rank, left.nodes + 1);
    EXPECT_EQ(node->balance, right.height - left.height);
    EXPECT_LE(std::abs(node->balance), 1);
    return {left.nodes + right.nodes + 1, std::max(left.height, right.height) + 1};
}

void check_tree(const avl_tree_s* tree) {
    const Shape shape = check_subtree(tree->root, nullptr, 0);
    EXPECT_EQ(shape.nodes, avl_get_tree_size(tree));
}

std::vector<int> sorted_keys(const avl_tree_s* tree) {
    std::vector<int> keys;
    for (avl_node_s* node = avl_top_sort(tree); node != nullptr; node = avl_next_sort(node))
        keys.push_back(entry_of(node)->key);
    return keys;
}

void preorder(const avl_node_s* node, std::vector<const avl_node_s*>& out) {
    if (node == nullptr)
        return;
    out.push_back(node);
    preorder(node->left, out);
    preorder(node->right, out);
}

class AvlTree : public ::testing::Test {
protected:
    void SetUp() override { make(0); }
    void TearDown() override { avl_finish(tree); }

    void make(int max_nodes) {
        avl_finish(tree);
        tree = nullptr;
        ASSERT_EQ(avl_create(&tree, max_nodes, compare_entries), 0);
    }
    void insert_all(std::vector<Entry>& entries) {
        for (Entry& entry : entries)
            ASSERT_EQ(avl_insert(tree, &entry), 0);
    }

    avl_tree_s* tree = nullptr;
};

// ---- creation ----------------------------------------------------------------------------------------

TEST_F(AvlTree, CreateRefusesNullArgumentsAndImpossibleSizes) {
    avl_tree_s* other = nullptr;
    EXPECT_EQ(avl_create(nullptr, 4, compare_entries), -1);
    EXPECT_EQ(avl_create(&other, 4, nullptr), -1);
    EXPECT_EQ(avl_create(&other, -1, compare_entries), -1);
    EXPECT_EQ(other, nullptr);
}

TEST_F(AvlTree, EmptyTreeHasNoNodes) {
    EXPECT_EQ(avl_get_tree_size(tree), 0);
    EXPECT_EQ(avl_top(tree), nullptr);
    EXPECT_EQ(avl_top_sort(tree), nullptr);
    EXPECT_EQ(avl_getnext(tree, nullptr), nullptr);
    Entry key{1, 0};
    EXPECT_EQ(avl_lookup(tree, &key), nullptr);
}

TEST_F(AvlTree, NullTreeIsAnswered) {
    Entry key{1, 0};
    EXPECT_EQ(avl_insert(nullptr, &key), -1);
    EXPECT_EQ(avl_delete(nullptr, &key), -1);
    EXPECT_EQ(avl_lookup(nullptr, &key), nullptr);
    EXPECT_EQ(avl_top(nullptr), nullptr);
    EXPECT_EQ(avl_top_sort(nullptr), nullptr);
    EXPECT_EQ(avl_next(nullptr), nullptr);
    EXPECT_EQ(avl_next_sort(nullptr), nullptr);
    EXPECT_EQ(avl_get_tree_size(nullptr), 0);
    EXPECT_EQ(avl_tree_traverse(
                  nullptr, [](void*, void*) { return -1; }, nullptr),
              0);
    avl_finish(nullptr);
    avl_tree_free(nullptr, nullptr);
}

// ---- pool --------------------------------------------------------------------------------------------

TEST_F(AvlTree, PoolIsChainedThroughRightWithLeftCleared) {
    make(4);
    int free_nodes = 0;
    for (avl_node_s* node = tree->free_list; node != nullptr; node = node->right) {
        EXPECT_EQ(node->left, nullptr);
        free_nodes++;
    }
    EXPECT_EQ(free_nodes, 4);
    EXPECT_EQ(reinterpret_cast<char*>(tree->free_list), tree->data);
}

TEST_F(AvlTree, InsertIntoAUsedUpPoolGivesMinus1AndChangesNothing) {
    make(3);
    std::vector<Entry> entries = {{2, 0}, {1, 0}, {3, 0}};
    insert_all(entries);
    Entry extra{0, 0};
    EXPECT_EQ(avl_insert(tree, &extra), -1);
    EXPECT_EQ(avl_get_tree_size(tree), 3);
    EXPECT_EQ(sorted_keys(tree), (std::vector<int>{1, 2, 3}));
    check_tree(tree);
}

TEST_F(AvlTree, DeletedNodesOfAPoolAreUsedAgain) {
    make(2);
    std::vector<Entry> entries = {{1, 0}, {2, 0}, {3, 0}};
    ASSERT_EQ(avl_insert(tree, &entries[0]), 0);
    ASSERT_EQ(avl_insert(tree, &entries[1]), 0);
    ASSERT_EQ(avl_delete(tree, &entries[0]), 0);
    EXPECT_EQ(avl_insert(tree, &entries[2]), 0);
    EXPECT_EQ(sorted_keys(tree), (std::vector<int>{2, 3}));
}

TEST_F(AvlTree, PoolIsOneAllocationOfTheNodeType) {
    const size_t trees = mtype_stats_alloc(MTYPE_AVLTREE_TREE);
    const size_t nodes = mtype_stats_alloc(MTYPE_AVLTREE_NODE);
    avl_tree_s* pooled = nullptr;
    ASSERT_EQ(avl_create(&pooled, 1000, compare_entries), 0);
    EXPECT_EQ(mtype_stats_alloc(MTYPE_AVLTREE_TREE), trees + 1);
    EXPECT_EQ(mtype_stats_alloc(MTYPE_AVLTREE_NODE), nodes + 1);

    Entry entry{1, 0};
    ASSERT_EQ(avl_insert(pooled, &entry), 0);
    EXPECT_EQ(mtype_stats_alloc(MTYPE_AVLTREE_NODE), nodes + 1);
    avl_finish(pooled);
    EXPECT_EQ(mtype_stats_alloc(MTYPE_AVLTREE_TREE), trees);
    EXPECT_EQ(mtype_stats_alloc(MTYPE_AVLTREE_NODE), nodes);
}

TEST_F(AvlTree, WithoutAPoolNodesAreAllocatedOneByOneAndKeptForReuse) {
    const size_t nodes = mtype_stats_alloc(MTYPE_AVLTREE_NODE);
    std::vector<Entry> entries = {{1, 0}, {2, 0}};
    insert_all(entries);
    EXPECT_EQ(mtype_stats_alloc(MTYPE_AVLTREE_NODE), nodes + 2);
    ASSERT_EQ(avl_delete(tree, &entries[0]), 0);
    EXPECT_EQ(mtype_stats_alloc(MTYPE_AVLTREE_NODE), nodes + 2);
    ASSERT_EQ(avl_insert(tree, &entries[0]), 0);
    EXPECT_EQ(mtype_stats_alloc(MTYPE_AVLTREE_NODE), nodes + 2);
    avl_finish(tree);
    tree = nullptr;
    EXPECT_EQ(mtype_stats_alloc(MTYPE_AVLTREE_NODE), nodes);
}

TEST_F(AvlTree, MemoryTypesStandInTheMemoryReport) {
    std::vector<std::string> names;
    qmem_walk(
        [](void* arg, memgroup*, memtype* type) {
            if (type != nullptr)
                static_cast<std::vector<std::string>*>(arg)->push_back(type->name);
            return 0;
        },
        &names);
    EXPECT_NE(std::find(names.begin(), names.end(), "AVL tree"), names.end());
    EXPECT_NE(std::find(names.begin(), names.end(), "AVL tree node"), names.end());
}

// ---- order and duplicates ----------------------------------------------------------------------------

TEST_F(AvlTree, InsertOfADuplicateSucceedsAndTheSizeGrowsByOne) {
    std::vector<Entry> entries = {{5, 1}, {5, 2}};
    ASSERT_EQ(avl_insert(tree, &entries[0]), 0);
    ASSERT_EQ(avl_get_tree_size(tree), 1);
    EXPECT_EQ(avl_insert(tree, &entries[1]), 0);
    EXPECT_EQ(avl_get_tree_size(tree), 2);
}

TEST_F(AvlTree, DuplicateGoesLeftOfItsTwinAndLookupFindsTheOneNearestTheRoot) {
    std::vector<Entry> entries = {{5, 1}, {5, 2}, {5, 3}};
    ASSERT_EQ(avl_insert(tree, &entries[0]), 0);
    ASSERT_EQ(avl_insert(tree, &entries[1]), 0);
    EXPECT_EQ(entry_of(avl_top_sort(tree))->id, 2);
    Entry key{5, 0};
    EXPECT_EQ(entry_of(avl_lookup(tree, &key))->id, 1);

    ASSERT_EQ(avl_insert(tree, &entries[2]), 0); // turns the chain: 2 becomes the root
    EXPECT_EQ(avl_lookup(tree, &key), avl_top(tree));
    EXPECT_EQ(entry_of(avl_top(tree))->id, 2);
    check_tree(tree);
}

TEST_F(AvlTree, DeleteOfAnAbsentKeyGives0) {
    Entry entry{1, 0};
    Entry absent{2, 0};
    ASSERT_EQ(avl_insert(tree, &entry), 0);
    EXPECT_EQ(avl_delete(tree, &absent), 0);
    EXPECT_EQ(avl_get_tree_size(tree), 1);
}

TEST_F(AvlTree, NodesStayWhereTheyAreWhenOthersAreDeleted) {
    std::vector<Entry> entries;
    for (int key = 0; key < 64; key++)
        entries.push_back({key, key});
    insert_all(entries);
    std::map<int, avl_node_s*> where;
    for (Entry& entry : entries)
        where[entry.key] = avl_lookup(tree, &entry);
    for (int key = 31; key < 64; key += 3) {
        ASSERT_EQ(avl_delete(tree, &entries[size_t(key)]), 0);
        where.erase(key);
        for (const auto& [other, node] : where)
            ASSERT_EQ(avl_lookup(tree, &entries[size_t(other)]), node);
    }
}

// ---- walks -------------------------------------------------------------------------------------------

TEST_F(AvlTree, NextIsPreorderFromTheRoot) {
    std::mt19937 random(7);
    std::vector<Entry> entries;
    for (int i = 0; i < 200; i++)
        entries.push_back({int(random() % 1000), i});
    insert_all(entries);

    std::vector<const avl_node_s*> expected;
    preorder(tree->root, expected);
    std::vector<const avl_node_s*> walked;
    for (avl_node_s* node = avl_top(tree); node != nullptr; node = avl_next(node))
        walked.push_back(node);
    EXPECT_EQ(walked, expected);
    EXPECT_EQ(avl_top(tree), tree->root);
}

TEST_F(AvlTree, GetnextStartsAtTheLeftmostAndGoesInOrder) {
    std::vector<Entry> entries = {{4, 0}, {2, 0}, {6, 0}, {1, 0}, {3, 0}, {5, 0}, {7, 0}};
    insert_all(entries);
    std::vector<int> keys;
    for (avl_node_s* node = avl_getnext(tree, nullptr); node != nullptr; node = avl_getnext(tree, node))
        keys.push_back(entry_of(node)->key);
    EXPECT_EQ(keys, (std::vector<int>{1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(AvlTree, TraverseVisitsInOrderAndStopsAtANegativeAnswer) {
    std::vector<Entry> entries = {{3, 0}, {1, 0}, {2, 0}, {4, 0}};
    insert_all(entries);
    struct Visits {
        std::vector<int> keys;
        int stop_at;
    };
    auto visit = [](void* info, void* data) {
        auto* visits = static_cast<Visits*>(data);
        visits->keys.push_back(static_cast<Entry*>(info)->key);
        return visits->keys.back() == visits->stop_at ? -17 : 1;
    };
    Visits all{{}, 0};
    EXPECT_EQ(avl_tree_traverse(tree, visit, &all), 0);
    EXPECT_EQ(all.keys, (std::vector<int>{1, 2, 3, 4}));
    Visits some{{}, 3};
    EXPECT_EQ(avl_tree_traverse(tree, visit, &some), -17);
    EXPECT_EQ(some.keys, (std::vector<int>{1, 2, 3}));
}

TEST_F(AvlTree, TreeFreeHandsEachEntryToTheCallersFunction) {
    static std::vector<int> freed;
    freed.clear();
    std::vector<Entry> entries = {{2, 0}, {1, 0}, {3, 0}};
    insert_all(entries);
    avl_tree_free(tree, [](void* info) { freed.push_back(static_cast<Entry*>(info)->key); });
    tree = nullptr;
    EXPECT_EQ(freed, (std::vector<int>{1, 2, 3}));
}

// ---- against a model ---------------------------------------------------------------------------------

// Random inserts and deletes, with few keys (many duplicates) or many, with and without a pool.
class AvlAgainstMultimap : public ::testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(AvlAgainstMultimap, KeepsOrderRanksBalancesParentsAndFlagsThroughRandomChanges) {
    const auto [keys, pool] = GetParam();
    avl_tree_s* tree = nullptr;
    ASSERT_EQ(avl_create(&tree, pool, compare_entries), 0);
    std::mt19937 random(unsigned(keys * 31 + pool));
    std::vector<Entry> storage(6000);
    std::multimap<int, Entry*> model;

    for (size_t step = 0; step < storage.size(); step++) {
        Entry& entry = storage[step];
        entry = {int(random() % unsigned(keys)), int(step)};
        const bool growing = (step / 500) % 2 == 0;
        if (random() % 3 != 0 ? growing : !growing) {
            const bool full = pool > 0 && int(model.size()) == pool;
            ASSERT_EQ(avl_insert(tree, &entry), full ? -1 : 0);
            if (!full)
                model.emplace(entry.key, &entry);
        } else {
            const avl_node_s* found = avl_lookup(tree, &entry);
            ASSERT_EQ(found != nullptr, model.contains(entry.key));
            const int id = found != nullptr ? entry_of(found)->id : -1;
            ASSERT_EQ(avl_delete(tree, &entry), 0);
            auto range = model.equal_range(entry.key);
            auto gone = std::find_if(range.first, range.second, [id](auto& e) { return e.second->id == id; });
            if (gone != range.second)
                model.erase(gone);
        }
        check_tree(tree);
        ASSERT_EQ(size_t(avl_get_tree_size(tree)), model.size());
        if (step % 50 == 0) {
            std::vector<int> expected;
            std::transform(model.begin(), model.end(), std::back_inserter(expected),
                           [](auto& e) { return e.first; });
            ASSERT_EQ(sorted_keys(tree), expected);
        }
        if (::testing::Test::HasFailure())
            break;
    }
    avl_finish(tree);
}

INSTANTIATE_TEST_SUITE_P(KeysAndPools, AvlAgainstMultimap,
                         ::testing::Values(std::tuple{5, 0}, std::tuple{100, 0}, std::tuple{1000000, 0},
                                           std::tuple{100, 64}, std::tuple{1000000, 300}));

} // namespace
