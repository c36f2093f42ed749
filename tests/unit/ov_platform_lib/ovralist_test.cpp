#include "ovralist.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Row {
    int32_t key = 0;
    int32_t serial = 0; // tells rows of equal key apart
    bool operator==(const Row&) const = default;
};

int g_compared = 0;

// The list's sign: positive when the first is the smaller.
int by_key(const void* a, const void* b) {
    g_compared++;
    int32_t x = static_cast<const Row*>(a)->key;
    int32_t y = static_cast<const Row*>(b)->key;
    return x == y ? 0 : (x > y ? -1 : 1);
}

size_t row_size(const void* /*row*/) {
    return sizeof(Row);
}

std::vector<Row> rows_of(ovralist_t& list) {
    std::vector<Row> rows;
    EXPECT_EQ(ovralist_iterator_start(&list), 1);
    while (ovralist_iterator_hasnext(&list) != 0)
        rows.push_back(*static_cast<Row*>(ovralist_iterator_next(&list)));
    EXPECT_EQ(ovralist_iterator_stop(&list), 1);
    return rows;
}

std::vector<int32_t> keys_of(ovralist_t& list) {
    std::vector<int32_t> keys;
    for (const Row& row : rows_of(list))
        keys.push_back(row.key);
    return keys;
}

// A list that keeps copies, ordered by key.
struct CopyList : ovralist_t {
    CopyList() {
        EXPECT_EQ(ovralist_init(this), 1);
        EXPECT_EQ(ovralist_attributes_copy(this, row_size, 1), 1);
        EXPECT_EQ(ovralist_attributes_comparator(this, by_key), 1);
    }
    CopyList(std::initializer_list<int32_t> keys) : CopyList() {
        for (int32_t key : keys)
            add({key, 0});
    }
    void add(Row row) { EXPECT_EQ(ovralist_append(this, &row), 1); }
};

// Links in both directions, count and middle agree.
void expect_sound(const ovralist_t& list) {
    size_t n = 0;
    const ovralist_entry_t* at = &list.head;
    for (; at->next != nullptr; at = at->next, n++)
        ASSERT_EQ(at->next->prev, at);
    ASSERT_EQ(at, &list.tail);
    ASSERT_EQ(n - 1, list.numels);
    const ovralist_entry_t* mid = &list.head;
    if (list.numels > 0) {
        mid = list.head.next;
        for (size_t i = 0; i < (list.numels - 1) / 2; i++)
            mid = mid->next;
    }
    ASSERT_EQ(list.mid, mid);
}

TEST(Ovralist, KeepsPointersUnlessToldToCopy) {
    ovralist_t list;
    ovralist_init(&list);
    Row row{1, 0};
    EXPECT_EQ(ovralist_append(&list, &row), 1);
    EXPECT_EQ(ovralist_findpos(&list, 0)->data, &row);
    EXPECT_EQ(ovralist_append(&list, nullptr), 1);
    EXPECT_EQ(ovralist_findpos(&list, 1)->data, nullptr);
    ovralist_destroy(&list);
}

TEST(Ovralist, CopiesElementsAndOwnsTheCopies) {
    CopyList list;
    Row row{1, 0};
    ovralist_append(&list, &row);
    row.key = 2;
    EXPECT_EQ(keys_of(list), (std::vector<int32_t>{1}));
    EXPECT_EQ(ovralist_append(&list, nullptr), -1);
    EXPECT_EQ(ovralist_size(&list), 1u);
}

TEST(Ovralist, FreesOnlyWhatItCopied) {
    ovralist_t list;
    Row borrowed{1, 0};
    ovralist_append(&list, &borrowed);
    EXPECT_EQ(ovralist_attributes_copy(&list, nullptr, 1), -1);
    EXPECT_EQ(ovralist_attributes_copy(&list, row_size, 1), 1);
    ovralist_append(&list, &borrowed);
    EXPECT_NE(ovralist_findpos(&list, 1)->data, &borrowed);
    EXPECT_EQ(ovralist_attributes_copy(&list, nullptr, 0), 1);
    ovralist_append(&list, &borrowed);
    EXPECT_EQ(ovralist_findpos(&list, 2)->data, &borrowed);
    EXPECT_EQ(ovralist_clear(&list), 1);
    EXPECT_EQ(borrowed.key, 1);
}

TEST(Ovralist, ExtractGivesTheCopyToTheCaller) {
    CopyList list{1, 2, 3};
    std::unique_ptr<void, decltype(&free)> row(ovralist_extract_at(&list, 1), free);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(static_cast<Row*>(row.get())->key, 2);
    EXPECT_EQ(keys_of(list), (std::vector<int32_t>{1, 3}));
}

TEST(Ovralist, RefusesPositionsOutOfRange) {
    CopyList list{1, 2};
    Row row{9, 0};
    EXPECT_EQ(ovralist_insert_at(&list, &row, 3), -1);
    EXPECT_EQ(ovralist_insert_at(&list, &row, SIZE_MAX), -1);
    EXPECT_EQ(ovralist_delete_at(&list, 2), -1);
    EXPECT_EQ(ovralist_extract_at(&list, 2), nullptr);
    EXPECT_EQ(ovralist_findpos(&list, 2), nullptr);
    EXPECT_EQ(keys_of(list), (std::vector<int32_t>{1, 2}));
    EXPECT_EQ(ovralist_insert_at(&list, &row, 2), 1); // behind the last
    EXPECT_EQ(keys_of(list), (std::vector<int32_t>{1, 2, 9}));
}

TEST(Ovralist, ToleratesNull) {
    EXPECT_EQ(ovralist_init(nullptr), -1);
    ovralist_destroy(nullptr);
    EXPECT_EQ(ovralist_clear(nullptr), -1);
    EXPECT_EQ(ovralist_append(nullptr, nullptr), -1);
    EXPECT_EQ(ovralist_delete_at(nullptr, 0), -1);
    EXPECT_EQ(ovralist_extract_at(nullptr, 0), nullptr);
    EXPECT_EQ(ovralist_locate(nullptr, nullptr), -1);
    EXPECT_EQ(ovralist_sort(nullptr, 1), -1);
    EXPECT_EQ(ovralist_size(nullptr), 0u);
    EXPECT_EQ(ovralist_iterator_start(nullptr), -1);
    EXPECT_EQ(ovralist_iterator_hasnext(nullptr), 0);
    EXPECT_EQ(ovralist_iterator_next(nullptr), nullptr);
    EXPECT_EQ(ovralist_iterator_stop(nullptr), -1);
    EXPECT_EQ(ovralist_attributes_copy(nullptr, row_size, 1), -1);
    EXPECT_EQ(ovralist_attributes_comparator(nullptr, by_key), -1);
}

TEST(Ovralist, LocatesByComparatorOrByPointer) {
    CopyList list{5, 7, 7};
    Row seven{7, 99};
    Row eight{8, 0};
    EXPECT_EQ(ovralist_locate(&list, &seven), 1);
    EXPECT_EQ(ovralist_locate(&list, &eight), -1);
    ovralist_attributes_comparator(&list, nullptr);
    EXPECT_EQ(ovralist_locate(&list, &seven), -1);
    EXPECT_EQ(ovralist_locate(&list, ovralist_findpos(&list, 2)->data), 2);
}

TEST(Ovralist, InitAndDestroyTakeElementsAndAttributesAway) {
    CopyList list{1, 2};
    ovralist_destroy(&list);
    EXPECT_EQ(ovralist_size(&list), 0u);
    EXPECT_EQ(ovralist_sort(&list, 1), -1); // no comparator any more
    Row row{1, 0};
    ovralist_append(&list, &row);
    EXPECT_EQ(ovralist_findpos(&list, 0)->data, &row); // nor copies
    EXPECT_EQ(ovralist_init(&list), 1);
    EXPECT_EQ(ovralist_size(&list), 0u);
}

TEST(Ovralist, ClearKeepsTheAttributes) {
    CopyList list{2, 1};
    ovralist_clear(&list);
    expect_sound(list);
    list.add({4, 0});
    list.add({3, 0});
    EXPECT_EQ(ovralist_sort(&list, 1), 1);
    EXPECT_EQ(keys_of(list), (std::vector<int32_t>{3, 4}));
}

// ---- sorting -----------------------------------------------------------------------------------

TEST(Ovralist, SortsSmallestFirstUpwardsAndGreatestFirstDownwards) {
    CopyList list{3, -1, 2};
    EXPECT_EQ(ovralist_sort(&list, 1), 1);
    EXPECT_EQ(keys_of(list), (std::vector<int32_t>{-1, 2, 3}));
    EXPECT_EQ(ovralist_sort(&list, -1), 1);
    EXPECT_EQ(keys_of(list), (std::vector<int32_t>{3, 2, -1}));
    EXPECT_EQ(ovralist_sort(&list, 0), -1);
    EXPECT_EQ(ovralist_sort(&list, 2), -1);
    EXPECT_EQ(keys_of(list), (std::vector<int32_t>{3, 2, -1}));
}

TEST(Ovralist, SortingKeepsEqualElementsInTheirOrder) {
    std::mt19937 random(3);
    for (int size : {0, 1, 2, 3, 7, 8, 9, 100, 1000}) {
        for (int direction : {1, -1}) {
            CopyList list;
            std::vector<Row> model;
            for (int i = 0; i < size; i++) {
                Row row{int32_t(random() % 20), i};
                list.add(row);
                model.push_back(row);
            }
            std::stable_sort(model.begin(), model.end(), [direction](const Row& a, const Row& b) {
                return direction > 0 ? a.key < b.key : a.key > b.key;
            });
            EXPECT_EQ(ovralist_sort(&list, direction), 1);
            expect_sound(list);
            ASSERT_EQ(rows_of(list), model) << size << " " << direction;
        }
    }
}

TEST(Ovralist, SortsInNLogNComparisons) {
    std::mt19937 random(5);
    constexpr int N = 1 << 15;
    CopyList list;
    for (int i = 0; i < N; i++)
        list.add({int32_t(random()), i});
    g_compared = 0;
    ovralist_sort(&list, 1);
    EXPECT_LE(g_compared, N * 16);
    g_compared = 0;
    ovralist_sort(&list, 1); // in order already
    EXPECT_LT(g_compared, N);
}

// ---- iterator ----------------------------------------------------------------------------------

TEST(Ovralist, HasOneIteratorSession) {
    CopyList list{1, 2};
    EXPECT_EQ(ovralist_iterator_hasnext(&list), 0);
    EXPECT_EQ(ovralist_iterator_next(&list), nullptr);
    EXPECT_EQ(ovralist_iterator_stop(&list), -1);
    EXPECT_EQ(ovralist_iterator_start(&list), 1);
    EXPECT_EQ(static_cast<Row*>(ovralist_iterator_next(&list))->key, 1);
    EXPECT_EQ(ovralist_iterator_start(&list), -1); // refused, and the session goes on
    EXPECT_EQ(static_cast<Row*>(ovralist_iterator_next(&list))->key, 2);
    EXPECT_EQ(ovralist_iterator_hasnext(&list), 0);
    EXPECT_EQ(ovralist_iterator_next(&list), nullptr);
    EXPECT_EQ(ovralist_iterator_stop(&list), 1);
    EXPECT_EQ(keys_of(list), (std::vector<int32_t>{1, 2}));
}

TEST(Ovralist, IteratorSurvivesDeletions) {
    CopyList list{1, 2, 3, 4};
    ovralist_iterator_start(&list);
    ovralist_iterator_next(&list);
    ovralist_delete_at(&list, 0); // the one just given
    ovralist_delete_at(&list, 0); // the one to come
    EXPECT_EQ(static_cast<Row*>(ovralist_iterator_next(&list))->key, 3);
    ovralist_delete_at(&list, 1);
    EXPECT_EQ(ovralist_iterator_hasnext(&list), 0);
    ovralist_iterator_stop(&list);
    expect_sound(list);
}

TEST(Ovralist, SortingAndClearingEndTheSession) {
    CopyList list{2, 1};
    ovralist_iterator_start(&list);
    ovralist_sort(&list, 1);
    EXPECT_EQ(ovralist_iterator_hasnext(&list), 0);
    EXPECT_EQ(ovralist_iterator_start(&list), 1);
    ovralist_clear(&list);
    EXPECT_EQ(ovralist_iterator_next(&list), nullptr);
    EXPECT_EQ(ovralist_iterator_start(&list), 1);
}

// ---- against a model ---------------------------------------------------------------------------

class OvralistModel : public ::testing::TestWithParam<unsigned> {
protected:
    void step() {
        size_t n = model_.size();
        size_t at = random_() % (n + 2); // now and then out of range
        Row row{int32_t(random_() % 30), serial_++};
        // Lists grow and shrink in long waves, so that all sizes come up.
        switch (random_() % (n > 60 ? 12 : 8)) {
        case 0:
        case 1:
            ASSERT_EQ(ovralist_append(&list_, &row), 1);
            model_.push_back(row);
            break;
        case 2:
        case 3:
            insert(row, at);
            break;
        case 4:
            ASSERT_EQ(ovralist_locate(&list_, &row), located(row));
            break;
        case 5:
            find(at);
            break;
        case 6:
            extract(at);
            break;
        case 7:
            if (random_() % 20 == 0)
                sort();
            break;
        default:
            erase(at);
        }
    }
    void insert(Row row, size_t at) {
        ASSERT_EQ(ovralist_insert_at(&list_, &row, at), at <= model_.size() ? 1 : -1);
        if (at <= model_.size())
            model_.insert(model_.begin() + ptrdiff_t(at), row);
    }
    void erase(size_t at) {
        ASSERT_EQ(ovralist_delete_at(&list_, at), at < model_.size() ? 1 : -1);
        if (at < model_.size())
            model_.erase(model_.begin() + ptrdiff_t(at));
    }
    void extract(size_t at) {
        std::unique_ptr<void, decltype(&free)> row(ovralist_extract_at(&list_, at), free);
        ASSERT_EQ(row != nullptr, at < model_.size());
        if (row == nullptr)
            return;
        ASSERT_EQ(*static_cast<Row*>(row.get()), model_[at]);
        model_.erase(model_.begin() + ptrdiff_t(at));
    }
    void find(size_t at) {
        ovralist_entry_t* entry = ovralist_findpos(&list_, at);
        ASSERT_EQ(entry != nullptr, at < model_.size());
        if (entry != nullptr) {
            ASSERT_EQ(*static_cast<Row*>(entry->data), model_[at]);
        }
    }
    ptrdiff_t located(Row row) const {
        auto at =
            std::find_if(model_.begin(), model_.end(), [row](const Row& r) { return r.key == row.key; });
        return at != model_.end() ? at - model_.begin() : -1;
    }
    void sort() {
        ASSERT_EQ(ovralist_sort(&list_, 1), 1);
        std::stable_sort(model_.begin(), model_.end(),
                         [](const Row& a, const Row& b) { return a.key < b.key; });
    }

    std::mt19937 random_{GetParam()};
    CopyList list_;
    std::vector<Row> model_;
    int32_t serial_ = 0;
};

TEST_P(OvralistModel, BehavesLikeAVector) {
    for (int i = 0; i < 4000; i++) {
        ASSERT_NO_FATAL_FAILURE(step());
        ASSERT_NO_FATAL_FAILURE(expect_sound(list_));
        ASSERT_EQ(ovralist_size(&list_), model_.size());
        if (i % 16 == 0) {
            ASSERT_EQ(rows_of(list_), model_);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, OvralistModel, ::testing::Range(1u, 9u));

} // namespace
