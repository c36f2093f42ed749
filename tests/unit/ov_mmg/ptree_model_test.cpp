// Random sequences of operations on a tree and on a std::map, which must agree at each step.
#include "ptree.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

class Model {
public:
    Model(int key_size, unsigned seed) : key_size_(key_size), random_(seed) {
        P_PARAMS params;
        params.key_size = key_size;
        params.info_size = key_size + 8;
        EXPECT_EQ(PTreeInit(&tree_, &params), 1);
    }
    ~Model() { PTreeDestroy(&tree_); }
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    void run(int steps) {
        for (int step = 0; step < steps && !testing::Test::HasFatalFailure(); ++step) {
            SCOPED_TRACE(step);
            one_step();
            ASSERT_EQ(tree_.num_entries, int(map_.size()));
        }
        compare_full_walk();
    }

private:
    // A row as the caller has it, in the host's byte order, whose key image is `image`.
    Bytes row_of(const Bytes& image, uint64_t value) const {
        Bytes row(image);
        for (size_t word = 0; word + 4 <= image.size(); word += 4) {
            uint32_t column = uint32_t{image[word]} << 24 | uint32_t{image[word + 1]} << 16 |
                              uint32_t{image[word + 2]} << 8 | image[word + 3];
            std::memcpy(&row[word], &column, 4);
        }
        row.resize(image.size() + 8);
        std::memcpy(&row[image.size()], &value, 8);
        return row;
    }

    // Keys are dense enough to meet often, and often zero in most places.
    Bytes random_key() {
        Bytes key(static_cast<size_t>(key_size_), 0);
        unsigned shape = random_() % 8;
        if (shape == 0)
            return key;
        size_t places = shape < 4 ? 1 : shape < 7 ? 2 : key.size();
        for (size_t i = 0; i < places; ++i)
            key[random_() % key.size()] =
                static_cast<unsigned char>(random_() % 3 == 0 ? random_() : random_() % 4);
        return key;
    }

    Bytes held_or_random_key() {
        if (map_.empty() || random_() % 3 == 0)
            return random_key();
        auto it = map_.lower_bound(random_key());
        return it == map_.end() ? map_.begin()->first : it->first;
    }

    std::optional<uint64_t> value_at(const void* row) const {
        if (row == nullptr)
            return std::nullopt;
        uint64_t value;
        std::memcpy(&value, static_cast<const unsigned char*>(row) + key_size_, 8);
        return value;
    }

    static std::optional<uint64_t> value_of(std::map<Bytes, uint64_t>::iterator it,
                                            const std::map<Bytes, uint64_t>& map) {
        return it == map.end() ? std::nullopt : std::optional(it->second);
    }

    void one_step() {
        unsigned choice = random_() % 100;
        if (choice < 35)
            add(random_key());
        else if (choice < 55)
            remove(held_or_random_key());
        else if (choice < 70)
            compare_get(held_or_random_key());
        else if (choice < 85)
            compare_next(held_or_random_key());
        else if (choice < 99)
            continue_walk();
        else if (random_() % 20 == 0)
            clear();
    }

    void add(const Bytes& key) {
        uint64_t value = ++last_value_;
        auto [held, is_new] = map_.emplace(key, value);
        if (random_() % 2 == 0) {
            ASSERT_EQ(PTreeNodeAdd(&tree_, row_of(key, value).data()) != nullptr, is_new);
            return;
        }
        bool existed = is_new;
        const void* row = PTreeNodeGetOrAdd(&tree_, row_of(key, value).data(), &existed);
        ASSERT_EQ(existed, !is_new);
        ASSERT_EQ(value_at(row), held->second);
        ASSERT_EQ(PTreeNodeGet(&tree_, row_of(key, 0).data()), row);
    }

    void remove(const Bytes& key) {
        if (map_.erase(key) != 0)
            PTreeNodeDelete(&tree_, row_of(key, 0).data());
        else
            ASSERT_EQ(PTreeNodeGet(&tree_, row_of(key, 0).data()), nullptr);
    }

    void compare_get(const Bytes& key) {
        ASSERT_EQ(value_at(PTreeNodeGet(&tree_, row_of(key, 0).data())), value_of(map_.find(key), map_));
    }

    void compare_next(const Bytes& key) {
        ASSERT_EQ(value_at(PTreeNodeGetNext(&tree_, row_of(key, 0).data())),
                  value_of(map_.upper_bound(key), map_));
        if (const void* stored = PTreeNodeGet(&tree_, row_of(key, 0).data())) {
            ASSERT_EQ(value_at(PTreeNodeGetNextOf(&tree_, stored)), value_of(map_.upper_bound(key), map_));
        }
    }

    // A few steps of one of two walks, which other operations come between.
    void continue_walk() {
        auto& at = walks_[random_() % walks_.size()];
        for (unsigned steps = random_() % 5; steps > 0; --steps) {
            auto wanted = at ? map_.upper_bound(*at) : map_.begin();
            Bytes row = at ? row_of(*at, 0) : Bytes{};
            void* found = PTreeNodeGetNext(&tree_, at ? row.data() : nullptr);
            ASSERT_EQ(value_at(found), value_of(wanted, map_));
            at = wanted == map_.end() ? std::nullopt : std::optional(wanted->first);
        }
    }

    void clear() {
        PTreeClear(&tree_);
        tree_.num_entries = 0;
        map_.clear();
    }

    void compare_full_walk() {
        void* row = PTreeNodeGetNext(&tree_, nullptr);
        for (auto& [key, value] : map_) {
            ASSERT_EQ(value_at(row), value);
            row = PTreeNodeGetNext(&tree_, row);
        }
        ASSERT_EQ(row, nullptr);
    }

    int key_size_;
    std::mt19937 random_;
    PTREE tree_;
    std::map<Bytes, uint64_t> map_;
    std::array<std::optional<Bytes>, 2> walks_;
    uint64_t last_value_ = 0;
};

class PtreeModel : public testing::TestWithParam<int> {};

TEST_P(PtreeModel, AgreesWithAMapOverRandomOperations) {
    for (unsigned seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE(seed);
        Model(GetParam(), seed).run(2500);
    }
}

INSTANTIATE_TEST_SUITE_P(KeySizes, PtreeModel,
                         testing::Values(1, 2, 3, 4, 7, 8, 12, 16, 20, 28, 32, 255, 256));

} // namespace
