#include "ptree.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <array>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <memory>
#include <vector>

namespace {

struct TestRow {
    int32_t shelf;
    int32_t slot;
    int32_t port;
    int32_t value;
};

P_PARAMS params_of(int key_size, int info_size) {
    P_PARAMS params;
    params.key_size = key_size;
    params.info_size = info_size;
    return params;
}

class PtreeRows : public testing::Test {
protected:
    PtreeRows() {
        P_PARAMS params = params_of(12, sizeof(TestRow));
        EXPECT_EQ(PTreeInit(&tree, &params), 1);
    }
    ~PtreeRows() override { PTreeDestroy(&tree); }

    TestRow* add(int shelf, int slot, int port, int value = 0) {
        TestRow row{shelf, slot, port, value};
        return static_cast<TestRow*>(PTreeNodeAdd(&tree, &row));
    }
    TestRow* get(int shelf, int slot, int port) {
        TestRow row{shelf, slot, port, -1};
        return static_cast<TestRow*>(PTreeNodeGet(&tree, &row));
    }
    TestRow* next(int shelf, int slot, int port) {
        TestRow row{shelf, slot, port, -1};
        return static_cast<TestRow*>(PTreeNodeGetNext(&tree, &row));
    }
    TestRow* first() { return static_cast<TestRow*>(PTreeNodeGetNext(&tree, nullptr)); }
    TestRow* after(TestRow* row) { return static_cast<TestRow*>(PTreeNodeGetNext(&tree, row)); }
    void remove(int shelf, int slot, int port) {
        TestRow row{shelf, slot, port, -1};
        PTreeNodeDelete(&tree, &row);
    }
    std::vector<int> values() {
        std::vector<int> all;
        for (TestRow* row = first(); row != nullptr; row = after(row))
            all.push_back(row->value);
        return all;
    }
    P_NODE* node_of(TestRow* row) {
        return reinterpret_cast<P_NODE*>(reinterpret_cast<char*>(row) - sizeof(P_NODE));
    }

    PTREE tree;
};

TEST(PtreeInit, RefusesKeySizesOutside1To256) {
    PTREE tree;
    for (int key_size : {-1, 0, 257, 1000}) {
        P_PARAMS params = params_of(key_size, 2000);
        EXPECT_EQ(PTreeInit(&tree, &params), 0) << key_size;
    }
    for (int key_size : {1, 256}) {
        P_PARAMS params = params_of(key_size, 256);
        EXPECT_EQ(PTreeInit(&tree, &params), 1) << key_size;
        PTreeDestroy(&tree);
    }
}

TEST(PtreeInit, RefusesNullArgumentsAndImpossibleRowSizes) {
    PTREE tree;
    P_PARAMS params = params_of(4, 8);
    EXPECT_EQ(PTreeInit(nullptr, &params), 0);
    EXPECT_EQ(PTreeInit(&tree, nullptr), 0);
    for (int info_size : {-1, std::numeric_limits<int>::max()}) {
        params = params_of(4, info_size);
        EXPECT_EQ(PTreeInit(&tree, &params), 0) << info_size;
    }
}

TEST(PtreeInit, MakesAnEmptyTreeWithARootThatPointsToItself) {
    PTREE tree;
    std::memset(static_cast<void*>(&tree), 0x5A, sizeof(tree));
    P_PARAMS params = params_of(20, 84);
    ASSERT_EQ(PTreeInit(&tree, &params), 1);
    EXPECT_EQ(tree.root_node.bit, -1);
    EXPECT_EQ(tree.root_node.left, &tree.root_node);
    EXPECT_EQ(tree.root_node.right, &tree.root_node);
    EXPECT_EQ(std::vector<unsigned char>(tree.root_node.key_info, tree.root_node.key_info + 20),
              std::vector<unsigned char>(20, 0));
    EXPECT_EQ(tree.sequence, 0);
    EXPECT_EQ(tree.lexical_stack_size, 160u);
    EXPECT_EQ(tree.lexical_state.last_node, nullptr);
    EXPECT_EQ(tree.num_entries, 0);
    EXPECT_EQ(tree.max_entries, 0);
    EXPECT_EQ(tree.root_in_used, 0);
    EXPECT_EQ(tree.root_act, nullptr);
    EXPECT_EQ(params.node_size, int{84 + sizeof(P_NODE)});
    EXPECT_EQ(PTreeSizeGet(&tree), params.node_size);
    PTreeDestroy(&tree);
}

TEST_F(PtreeRows, AnEmptyTreeFindsNothing) {
    EXPECT_EQ(first(), nullptr);
    EXPECT_EQ(get(0, 0, 0), nullptr);
    EXPECT_EQ(get(1, 1, 1), nullptr);
    EXPECT_EQ(next(0, 0, 0), nullptr);
    EXPECT_EQ(next(1, 1, 1), nullptr);
    TestRow key{1, 1, 1, 0};
    EXPECT_EQ(PTreeNodeGetFuzzy(&tree, &key), nullptr);
}

TEST_F(PtreeRows, ARowIsAFullCopyThatDoesNotMove) {
    TestRow* row = add(1, 2, 3, 99);
    ASSERT_NE(row, nullptr);
    for (int port = 4; port < 500; ++port)
        add(1, 2, port, port);
    EXPECT_EQ(get(1, 2, 3), row);
    EXPECT_EQ(row->value, 99);
    EXPECT_EQ(tree.num_entries, 497);
}

TEST_F(PtreeRows, TheKeyImageOfARowIsBigEndian) {
    P_NODE* node = node_of(add(1, 0x01020304, -2));
    EXPECT_EQ(std::vector<unsigned char>(node->key_info, node->key_info + 12),
              (std::vector<unsigned char>{0, 0, 0, 1, 1, 2, 3, 4, 0xFF, 0xFF, 0xFF, 0xFE}));
}

TEST_F(PtreeRows, RowsComeInNumericOrderWithNegativeIndexesLast) {
    int value = 0;
    for (int slot : {256, 1, 65536, 255, -1, 2, 257, std::numeric_limits<int>::min()})
        add(1, slot, 1, ++value);
    add(0x100, 0, 0, 100);
    add(2, 7, 7, 50);
    EXPECT_EQ(values(), (std::vector<int>{2, 6, 4, 1, 7, 3, 8, 5, 50, 100}));
}

TEST_F(PtreeRows, AByteStringColumnIsOrderedByItsBytes) {
    struct NamedRow {
        uint32_t id;
        char name[6]; // the second word and the bytes behind it
    };
    P_PARAMS params = params_of(10, sizeof(NamedRow));
    params.byte_words = 1u << 1;
    PTREE names;
    ASSERT_EQ(PTreeInit(&names, &params), 1);
    std::vector<std::string> wanted;
    for (const char* name : {"zebra", "ant", "bee", "anteat"}) {
        NamedRow row{1, {}};
        std::memcpy(row.name, name, std::min<size_t>(6, std::strlen(name)));
        PTreeNodeAdd(&names, &row);
    }
    for (void* row = PTreeNodeGetNext(&names, nullptr); row; row = PTreeNodeGetNext(&names, row))
        wanted.emplace_back(static_cast<NamedRow*>(row)->name, 3);
    EXPECT_EQ(wanted, (std::vector<std::string>{"ant", "ant", "bee", "zeb"}));
    PTreeDestroy(&names);
}

// ---- the row with the all-zero key ----------------------------------------------------------------

TEST_F(PtreeRows, OneRowWithAnAllZeroKeyIsHeldOutsideTheTrie) {
    int sequence = tree.sequence;
    TestRow* zero = add(0, 0, 0, 7);
    ASSERT_NE(zero, nullptr);
    EXPECT_EQ(get(0, 0, 0), zero);
    EXPECT_EQ(first(), zero);
    EXPECT_EQ(tree.num_entries, 1);
    EXPECT_EQ(after(zero), nullptr);
    EXPECT_EQ(tree.root_in_used, 1);
    EXPECT_EQ(tree.root_act, node_of(zero));
    EXPECT_EQ(tree.root_node.key_info, node_of(zero)->key_info);
    EXPECT_EQ(tree.root_node.left, &tree.root_node);
    EXPECT_EQ(tree.root_node.right, &tree.root_node);
    EXPECT_EQ(tree.sequence, sequence);
}

TEST_F(PtreeRows, TheZeroKeyRowComesAndGoesBesideOthers) {
    add(1, 1, 1, 11);
    add(0, 0, 1, 1);
    EXPECT_EQ(next(0, 0, 0)->value, 1);
    add(0, 0, 0, 7);
    EXPECT_EQ(values(), (std::vector<int>{7, 1, 11}));
    remove(0, 0, 0);
    EXPECT_EQ(tree.root_in_used, 0);
    EXPECT_EQ(tree.root_act, nullptr);
    EXPECT_EQ(get(0, 0, 0), nullptr);
    EXPECT_EQ(values(), (std::vector<int>{1, 11}));
    EXPECT_EQ(tree.num_entries, 2);
    EXPECT_NE(add(0, 0, 0, 8), nullptr);
    EXPECT_EQ(get(0, 0, 0)->value, 8);
}

TEST_F(PtreeRows, TheFirstRowLeavesTheWalkerAloneWhenItIsTheZeroKeyRow) {
    add(0, 0, 0, 1);
    add(1, 1, 1, 2);
    TestRow* last = next(0, 0, 0);
    int sequence = tree.lexical_state.sequence;
    EXPECT_EQ(first()->value, 1);
    EXPECT_EQ(tree.lexical_state.last_node, node_of(last));
    EXPECT_EQ(tree.lexical_state.sequence, sequence);
}

// ---- get-next -------------------------------------------------------------------------------------

TEST_F(PtreeRows, GetNextOfAKeyThatDoesNotExistGivesTheNextGreaterRow) {
    add(1, 1, 5, 15);
    add(1, 2, 1, 21);
    add(1, 4, 9, 49);
    EXPECT_EQ(next(0, 9, 9)->value, 15);
    EXPECT_EQ(next(1, 1, 4)->value, 15);
    EXPECT_EQ(next(1, 1, 6)->value, 21);
    EXPECT_EQ(next(1, 3, 0)->value, 49);
    EXPECT_EQ(next(1, 4, 10), nullptr);
    EXPECT_EQ(next(-1, -1, -1), nullptr);
}

TEST_F(PtreeRows, GetNextAfterDeletingTheRowLastReturnedGivesTheRightSuccessor) {
    for (int port = 1; port <= 40; ++port)
        add(1, 1, port, port);
    TestRow* row = first();
    while (row->value != 20)
        row = after(row);
    remove(1, 1, 20);
    EXPECT_EQ(tree.lexical_state.last_node, nullptr);
    EXPECT_NE(tree.lexical_state.sequence, tree.sequence);
    EXPECT_EQ(next(1, 1, 20)->value, 21);
    EXPECT_EQ(tree.lexical_state.sequence, tree.sequence);
}

TEST_F(PtreeRows, TheWalkerRemembersTheRowItReturnedAndItsSequence) {
    TestRow* one = add(1, 1, 1);
    TestRow* two = add(1, 1, 2);
    EXPECT_EQ(tree.sequence, 2);
    EXPECT_EQ(first(), one);
    EXPECT_EQ(tree.lexical_state.last_node, node_of(one));
    EXPECT_EQ(tree.lexical_state.sequence, 2);
    EXPECT_EQ(next(1, 1, 1), two);
    EXPECT_EQ(tree.lexical_state.last_node, node_of(two));
    EXPECT_EQ(after(two), nullptr);
    EXPECT_EQ(tree.lexical_state.last_node, nullptr);
    EXPECT_EQ(tree.lexical_state.sequence, 2);
}

TEST_F(PtreeRows, AGetNextFromAnyKeyIsContinuedWithoutASearch) {
    for (int port = 1; port <= 100; ++port)
        add(1, 1, port, port);
    TestRow* row = next(1, 1, 50);
    ASSERT_EQ(row->value, 51);
    // With the links out of a searcher's reach, only the walk that stands at row 51 can go on.
    P_NODE* top = tree.root_node.left;
    tree.root_node.left = &tree.root_node;
    EXPECT_EQ(after(row)->value, 52);
    tree.root_node.left = top;
}

TEST_F(PtreeRows, GetAnswersTheWalkersRowWithoutASearch) {
    TestRow* row = add(1, 1, 1, 1);
    add(1, 1, 2, 2);
    ASSERT_EQ(first(), row);
    P_NODE* top = tree.root_node.left;
    tree.root_node.left = &tree.root_node;
    EXPECT_EQ(get(1, 1, 1), row);
    tree.root_node.left = top;
}

TEST_F(PtreeRows, TwoInterleavedWalksBothSeeAllRows) {
    for (int port = 1; port <= 50; ++port)
        add(1, port % 3, port, port);
    std::vector<TestRow*> one, two;
    TestRow* a = first();
    TestRow* b = first();
    while (a != nullptr || b != nullptr) {
        if (a != nullptr) {
            one.push_back(a);
            a = after(a);
        }
        for (int i = 0; i < 2 && b != nullptr; ++i) {
            two.push_back(b);
            b = after(b);
        }
    }
    EXPECT_EQ(one.size(), 50u);
    EXPECT_EQ(one, two);
}

TEST_F(PtreeRows, AnAddBehindTheWalkIsMetByTheWalk) {
    add(1, 1, 1, 1);
    add(1, 1, 3, 3);
    TestRow* row = first();
    add(1, 1, 2, 2);
    EXPECT_EQ(after(row)->value, 2);
}

TEST_F(PtreeRows, TheDeepestTrieIsWalkedToItsEnd) {
    // One row per key bit: each differs from the zero key first in another bit.
    for (int bit = 0; bit < 96; ++bit) {
        std::array<uint32_t, 4> row{};
        row[static_cast<size_t>(bit / 32)] = 1u << (31 - bit % 32);
        row[3] = static_cast<uint32_t>(bit);
        PTreeNodeAdd(&tree, row.data());
    }
    std::vector<int> wanted(96);
    for (int i = 0; i < 96; ++i)
        wanted[static_cast<size_t>(i)] = 95 - i;
    EXPECT_EQ(values(), wanted);
    EXPECT_EQ(next(0, 0, 0)->value, 95);
}

// ---- fuzzy look-up --------------------------------------------------------------------------------

TEST_F(PtreeRows, AFuzzyLookUpReturnsSomeRowForAnyKeyWhoseSearchEndsAtARow) {
    add(1, 1, 1, 11);
    add(1, 2, 1, 21);
    for (TestRow key : {TestRow{1, 1, 1, 0}, {1, 9, 9, 0}, {77, 3, 12, 0}, {-1, -1, -1, 0}}) {
        auto* row = static_cast<TestRow*>(PTreeNodeGetFuzzy(&tree, &key));
        ASSERT_NE(row, nullptr) << key.shelf;
        EXPECT_TRUE(row->value == 11 || row->value == 21);
    }
}

TEST_F(PtreeRows, AFuzzyLookUpThatEndsAtTheRootFindsOnlyAZeroKeyRow) {
    add(1, 1, 1, 11);
    TestRow key{0, 5, 5, 0};
    EXPECT_EQ(PTreeNodeGetFuzzy(&tree, &key), nullptr);
    TestRow* zero = add(0, 0, 0, 7);
    EXPECT_EQ(PTreeNodeGetFuzzy(&tree, &key), zero);
}

// ---- add and delete -------------------------------------------------------------------------------

TEST_F(PtreeRows, ADuplicateKeyIsRefusedAndTheRowStays) {
    for (int shelf : {0, 1}) {
        TestRow* row = add(shelf, 0, 0, 5);
        int entries = tree.num_entries;
        int sequence = tree.sequence;
        EXPECT_EQ(add(shelf, 0, 0, 6), nullptr);
        EXPECT_EQ(tree.num_entries, entries);
        EXPECT_EQ(tree.sequence, sequence);
        EXPECT_EQ(get(shelf, 0, 0), row);
        EXPECT_EQ(row->value, 5);
    }
}

TEST_F(PtreeRows, MaxEntriesLimitsTheRows) {
    tree.max_entries = 2;
    EXPECT_NE(add(1, 1, 1), nullptr);
    EXPECT_NE(add(1, 1, 2), nullptr);
    EXPECT_EQ(add(1, 1, 3), nullptr);
    EXPECT_EQ(tree.num_entries, 2);
    remove(1, 1, 1);
    EXPECT_NE(add(1, 1, 3), nullptr);
}

TEST_F(PtreeRows, DeletingAnAbsentKeyPrintsALine) {
    add(1, 1, 1);
    testing::internal::CaptureStdout();
    remove(1, 1, 2);
    remove(0, 0, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "PTreeGet Not found.\rPTreeGet Not found.\r");
    EXPECT_EQ(tree.num_entries, 1);
}

TEST_F(PtreeRows, AStoredRowCanNameItselfForDeletion) {
    add(1, 1, 1, 1);
    TestRow* row = add(1, 1, 2, 2);
    PTreeNodeDelete(&tree, row);
    EXPECT_EQ(values(), (std::vector<int>{1}));
}

TEST_F(PtreeRows, ARowIsNotFoundAgainAfterItsDeletion) {
    add(1, 1, 1, 1);
    add(1, 1, 2, 2);
    ASSERT_NE(get(1, 1, 1), nullptr); // remembered by the tree
    remove(1, 1, 1);
    EXPECT_EQ(get(1, 1, 1), nullptr);
}

TEST_F(PtreeRows, ClearForgetsTheRowsAndLeavesTheCount) {
    add(0, 0, 0, 1);
    add(1, 1, 1, 2);
    get(1, 1, 1);
    int sequence = tree.sequence;
    PTreeClear(&tree);
    EXPECT_EQ(tree.sequence, sequence + 1);
    EXPECT_EQ(tree.root_in_used, 0);
    EXPECT_EQ(tree.root_act, nullptr);
    EXPECT_EQ(tree.lexical_state.last_node, nullptr);
    EXPECT_EQ(tree.num_entries, 2);
    EXPECT_EQ(tree.root_node.left, &tree.root_node);
    EXPECT_EQ(tree.root_node.right, &tree.root_node);
    EXPECT_EQ(first(), nullptr);
    EXPECT_EQ(get(0, 0, 0), nullptr);
    EXPECT_EQ(get(1, 1, 1), nullptr);
    EXPECT_NE(add(0, 0, 0, 3), nullptr);
    EXPECT_NE(add(1, 1, 1, 4), nullptr);
    EXPECT_EQ(values(), (std::vector<int>{3, 4}));
}

TEST_F(PtreeRows, NullRowsAreNoRows) {
    EXPECT_EQ(PTreeNodeAdd(&tree, nullptr), nullptr);
    EXPECT_EQ(PTreeNodeGet(&tree, nullptr), nullptr);
    EXPECT_EQ(PTreeNodeGetFuzzy(&tree, nullptr), nullptr);
    PTreeNodeDelete(&tree, nullptr);
    EXPECT_EQ(tree.num_entries, 0);
}

TEST_F(PtreeRows, AddingOrGettingTakesAKeyOnlyOnce) {
    TestRow row{1, 2, 3, 7};
    bool existed = true;
    void* stored = PTreeNodeGetOrAdd(&tree, &row, &existed);
    EXPECT_FALSE(existed);
    row.value = 8;
    EXPECT_EQ(PTreeNodeGetOrAdd(&tree, &row, &existed), stored);
    EXPECT_TRUE(existed);
    EXPECT_EQ(get(1, 2, 3)->value, 7);
    EXPECT_EQ(PTreeNodeGetOrAdd(&tree, nullptr, &existed), nullptr);
    EXPECT_FALSE(existed);
}

TEST(Ptree, RowsSmallerThanTheirKeyAreNotStored) {
    P_PARAMS params = params_of(8, 4);
    PTREE tree;
    ASSERT_EQ(PTreeInit(&tree, &params), 1);
    std::array<uint32_t, 2> row{1, 2};
    EXPECT_EQ(PTreeNodeAdd(&tree, row.data()), nullptr);
    PTreeDestroy(&tree);
}

TEST(Ptree, AZeroedTreeCanBeDestroyedAndCleared) {
    PTREE tree;
    PTreeClear(&tree);
    PTreeDestroy(&tree);
    PTreeDestroy(nullptr);
    EXPECT_EQ(tree.rows, nullptr);
}

// ---- nodes ----------------------------------------------------------------------------------------

class PtreeNodes : public testing::Test {
protected:
    PtreeNodes() {
        P_PARAMS params = params_of(1, 1);
        EXPECT_EQ(PTreeInit(&tree, &params), 1);
        for (size_t i = 0; i < 256; ++i) {
            keys[i] = static_cast<unsigned char>(i);
            nodes[i].key_info = &keys[i];
        }
    }
    ~PtreeNodes() override { PTreeDestroy(&tree); }
    P_NODE* get(unsigned char key) { return PTreeGet(&tree, &key); }

    PTREE tree;
    std::array<unsigned char, 256> keys;
    std::array<P_NODE, 256> nodes;
};

TEST_F(PtreeNodes, ANewNodeTestsTheFirstBitInWhichItsKeyDiffers) {
    EXPECT_EQ(PTreeAdd(&tree, &nodes[0x80]), 1); // against the zero key
    EXPECT_EQ(nodes[0x80].bit, 0);
    EXPECT_EQ(nodes[0x80].right, &nodes[0x80]);
    EXPECT_EQ(nodes[0x80].left, &tree.root_node);
    EXPECT_EQ(PTreeAdd(&tree, &nodes[0x81]), 1);
    EXPECT_EQ(nodes[0x81].bit, 7);
    EXPECT_EQ(nodes[0x80].right, &nodes[0x81]);
    EXPECT_EQ(nodes[0x81].left, &nodes[0x80]);
    EXPECT_EQ(nodes[0x81].right, &nodes[0x81]);
    EXPECT_EQ(tree.sequence, 2);
}

TEST_F(PtreeNodes, TheNodeOfTheZeroKeyIsTheRoot) {
    EXPECT_EQ(get(0), nullptr);
    EXPECT_EQ(PTreeAdd(&tree, &nodes[0]), 1);
    EXPECT_EQ(PTreeAdd(&tree, &nodes[0]), 0);
    EXPECT_EQ(get(0), &tree.root_node);
    EXPECT_EQ(PTreeGetNext(&tree, nullptr), &tree.root_node);
    EXPECT_EQ(tree.root_act, &nodes[0]);
}

TEST_F(PtreeNodes, DeletingANodeThatIsNotLinkedFails) {
    EXPECT_EQ(PTreeDelete(&tree, &nodes[5]), 0);
    PTreeAdd(&tree, &nodes[4]);
    PTreeAdd(&tree, &nodes[0]);
    int sequence = tree.sequence;
    EXPECT_EQ(PTreeDelete(&tree, &nodes[5]), 0);
    EXPECT_EQ(PTreeDelete(&tree, &nodes[0]), 0);
    EXPECT_EQ(PTreeDelete(&tree, nullptr), 0);
    EXPECT_EQ(tree.sequence, sequence);
}

TEST_F(PtreeNodes, AllNodesCanBeAddedWalkedAndDeletedInAnyOrder) {
    // Both orders step through all residues, since 37 and 101 are prime to 256.
    for (size_t i = 1; i < 256; ++i)
        ASSERT_EQ(PTreeAdd(&tree, &nodes[i * 37 % 256]), 1) << i;
    P_NODE* node = nullptr;
    for (size_t i = 1; i < 256; ++i) {
        node = PTreeGetNext(&tree, node == nullptr ? nullptr : node->key_info);
        ASSERT_EQ(node, &nodes[i]);
    }
    EXPECT_EQ(PTreeGetNext(&tree, node->key_info), nullptr);
    for (size_t i = 1; i < 256; ++i) {
        P_NODE* gone = &nodes[i * 101 % 256];
        ASSERT_EQ(PTreeDelete(&tree, gone), 1) << i;
        *gone = P_NODE{.bit = -77, .left = nullptr, .right = nullptr, .key_info = nullptr};
        for (size_t j = i + 1; j < 256; ++j) {
            P_NODE* held = &nodes[j * 101 % 256];
            ASSERT_EQ(get(*held->key_info), held) << i << " " << j;
        }
    }
    EXPECT_EQ(tree.root_node.left, &tree.root_node);
}

} // namespace
