// The row store against std::map: get, miss, add, delete, get-next in sequence and from an arbitrary key,
// and memory per row. See README.md.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench_rows.h"
#include "ptree.h"

namespace {

// CPU time of this thread, in seconds.
double cpu_seconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

constexpr std::array ROW_COUNTS = {1000, 10000, 100000, 1000000};
bool g_shuffled = false; // rows enter in random order instead of key order

template <int KeySize>
using KeyBytes = std::array<uint8_t, KeySize>;

template <int KeySize>
KeyBytes<KeySize> image_of(const Columns<KeySize>& key) {
    KeyBytes<KeySize> image;
    for (size_t c = 0; c < key.size(); ++c)
        for (int b = 0; b < 4; ++b)
            image[c * 4 + b] = static_cast<uint8_t>(key[c] >> (24 - 8 * b));
    return image;
}

// Memory of the process that is no file's.
long anonymous_bytes() {
    long pages = 0, resident = 0, of_files = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld %ld", &pages, &resident, &of_files) != 3)
            resident = of_files = 0;
        std::fclose(f);
    }
    return (resident - of_files) * sysconf(_SC_PAGESIZE);
}

// ---- the two containers behind one face ---------------------------------------------------------

template <int KeySize>
class TreeStore {
public:
    using Key = Columns<KeySize>;
    static constexpr const char* name = "ptree";
    static Key key_of(const Columns<KeySize>& key) { return key; }

    TreeStore() {
        P_PARAMS params;
        params.key_size = KeySize;
        params.info_size = ROW_SIZE;
        PTreeInit(&tree_, &params);
    }
    ~TreeStore() { PTreeDestroy(&tree_); }
    void add(const Key& key) {
        row_.key = key;
        PTreeNodeAdd(&tree_, &row_);
    }
    void remove(const Key& key) { PTreeNodeDelete(&tree_, key.data()); }
    const void* get(const Key& key) { return PTreeNodeGet(&tree_, key.data()); }
    const void* next(const Key& key) { return PTreeNodeGetNext(&tree_, key.data()); }
    size_t walk() {
        size_t steps = 0;
        for (void* row = PTreeNodeGetNext(&tree_, nullptr); row != nullptr;
             row = PTreeNodeGetNext(&tree_, row))
            ++steps;
        return steps;
    }

private:
    PTREE tree_;
    Row<KeySize> row_{};
};

template <int KeySize>
class MapStore {
public:
    using Key = KeyBytes<KeySize>;
    static constexpr const char* name = "map";
    static Key key_of(const Columns<KeySize>& key) { return image_of<KeySize>(key); }

    void add(const Key& key) { map_.emplace(key, row_); }
    void remove(const Key& key) { map_.erase(key); }
    const void* get(const Key& key) {
        auto it = map_.find(key);
        return it == map_.end() ? nullptr : &it->second;
    }
    const void* next(const Key& key) {
        auto it = map_.upper_bound(key);
        return it == map_.end() ? nullptr : &it->second;
    }
    size_t walk() {
        size_t steps = 0;
        for (auto& entry : map_) {
            benchmark::DoNotOptimize(entry.second);
            ++steps;
        }
        return steps;
    }

private:
    std::map<Key, Row<KeySize>> map_;
    Row<KeySize> row_{};
};

std::function<void()> g_release_filled = [] {};

// A filled container with the keys to ask for. Only one lives at a time: making it is the slow part.
template <typename Store, int KeySize>
struct Filled {
    explicit Filled(int rows) {
        std::mt19937 random(12345);
        for (int n = 0; n < rows; ++n) {
            auto key = index_of<KeySize>(n, rows);
            present.push_back(Store::key_of(key));
            ++key[KeySize / 4 - 1];
            absent.push_back(Store::key_of(key));
        }
        std::vector<typename Store::Key> order = present;
        if (g_shuffled)
            std::shuffle(order.begin(), order.end(), random);
        long before = anonymous_bytes();
        for (const auto& key : order)
            store.add(key);
        bytes_per_row = static_cast<double>(anonymous_bytes() - before) / rows;
        std::shuffle(present.begin(), present.end(), random);
        std::shuffle(absent.begin(), absent.end(), random);
    }

    static Filled& of(int rows) {
        static std::unique_ptr<Filled> current;
        if (!current || static_cast<int>(current->present.size()) != rows) {
            g_release_filled();
            current.reset(new Filled(rows));
            g_release_filled = [] { current.reset(); };
        }
        return *current;
    }

    Store store;
    std::vector<typename Store::Key> present; // in random order
    std::vector<typename Store::Key> absent;
    double bytes_per_row = 0;
};

// ---- what is measured ---------------------------------------------------------------------------

enum Operation { GET, MISS, NEXT_ANY, WALK, DELETE, ADD, OPERATIONS };
constexpr std::array<const char*, OPERATIONS> OPERATION_NAMES = {"get",  "miss",   "next_any",
                                                                 "walk", "delete", "add"};

template <typename Store, typename Call>
void over_keys(benchmark::State& state, const std::vector<typename Store::Key>& keys, Call call) {
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(call(keys[i]));
        if (++i == keys.size())
            i = 0;
    }
    state.counters["ops"] = 1;
}

// Takes a batch of random rows out and puts it back; one of the two is timed.
template <typename Store, int KeySize>
void measure_changes(benchmark::State& state, Filled<Store, KeySize>& filled, bool time_add) {
    size_t batch = std::min<size_t>(filled.present.size() / 10, 5000);
    size_t at = 0;
    for (auto _ : state) {
        auto first = filled.present.begin() + static_cast<long>(at);
        auto last = first + static_cast<long>(batch);
        double begin = cpu_seconds();
        std::for_each(first, last, [&](const auto& key) { filled.store.remove(key); });
        double middle = cpu_seconds();
        std::for_each(first, last, [&](const auto& key) { filled.store.add(key); });
        double end = cpu_seconds();
        state.SetIterationTime(time_add ? end - middle : middle - begin);
        at = at + 2 * batch <= filled.present.size() ? at + batch : 0;
    }
    state.counters["ops"] = static_cast<double>(batch);
}

template <typename Store, int KeySize>
void measure(benchmark::State& state, int rows, Operation operation) {
    auto& filled = Filled<Store, KeySize>::of(rows);
    auto& store = filled.store;
    state.counters["bytes_per_row"] = filled.bytes_per_row;
    switch (operation) {
    case GET:
        return over_keys<Store>(state, filled.present, [&](const auto& key) { return store.get(key); });
    case MISS:
        return over_keys<Store>(state, filled.absent, [&](const auto& key) { return store.get(key); });
    case NEXT_ANY:
        return over_keys<Store>(state, filled.present, [&](const auto& key) { return store.next(key); });
    case WALK:
        for (auto _ : state)
            benchmark::DoNotOptimize(store.walk());
        state.counters["ops"] = rows;
        return;
    case DELETE:
    case ADD:
        return measure_changes<Store, KeySize>(state, filled, operation == ADD);
    case OPERATIONS:
        break;
    }
}

std::string benchmark_name(const std::string& store, int key_size, int rows, int operation) {
    return store + "/key:" + std::to_string(key_size) + "/rows:" + std::to_string(rows) + "/" +
           OPERATION_NAMES[static_cast<size_t>(operation)];
}

template <template <int> class Store, int KeySize>
void register_store(int rows) {
    for (int operation = 0; operation < OPERATIONS; ++operation) {
        auto name = benchmark_name(Store<KeySize>::name, KeySize, rows, operation);
        auto* added = benchmark::RegisterBenchmark(
            name.c_str(), [rows, op = static_cast<Operation>(operation)](benchmark::State& state) {
                measure<Store<KeySize>, KeySize>(state, rows, op);
            });
        if (operation == DELETE || operation == ADD)
            added->UseManualTime();
    }
}

template <int KeySize>
void register_key_size() {
    for (int rows : ROW_COUNTS) {
        register_store<TreeStore, KeySize>(rows);
        register_store<MapStore, KeySize>(rows);
    }
}

constexpr std::array KEY_SIZES = {12, 16, 20, 28};

// ---- the compact table --------------------------------------------------------------------------

class RatioTable : public BestTimes {
public:
    void Finalize() override {
        std::printf(
            "ns per operation of ptree (map's time / ptree's); B/row: memory beyond the %d-byte row\n",
            ROW_SIZE);
        std::printf("%-4s %8s", "key", "rows");
        for (const char* operation : OPERATION_NAMES)
            std::printf(" %16s", operation);
        std::printf(" %9s %7s\n", "next/get", "B/row");
        for (int key_size : KEY_SIZES) {
            for (int rows : ROW_COUNTS)
                if (tree_time(key_size, rows, GET) != 0)
                    print_line(key_size, rows);
            print_growth(key_size);
        }
    }

private:
    double tree_time(int key_size, int rows, int operation) const {
        return time(benchmark_name("ptree", key_size, rows, operation));
    }
    double map_time(int key_size, int rows, int operation) const {
        return time(benchmark_name("map", key_size, rows, operation));
    }

    void print_line(int key_size, int rows) const {
        std::printf("%-4d %8d", key_size, rows);
        for (int operation = 0; operation < OPERATIONS; ++operation) {
            double tree = tree_time(key_size, rows, operation);
            std::printf(" %8.1f (%5.2f)", tree, map_time(key_size, rows, operation) / tree);
        }
        double overhead = bytes(benchmark_name("ptree", key_size, rows, GET)) - ROW_SIZE;
        std::printf(" %9.2f %7.1f\n", tree_time(key_size, rows, NEXT_ANY) / tree_time(key_size, rows, GET),
                    overhead);
    }

    // How much more an operation costs at 1,000,000 rows than at 10,000, and the same of the map.
    void print_growth(int key_size) const {
        if (tree_time(key_size, 10000, GET) == 0 || tree_time(key_size, 1000000, GET) == 0)
            return;
        std::printf("%-4d %8s", key_size, "1M/10k");
        for (int operation = 0; operation < OPERATIONS; ++operation)
            std::printf(" %8.2f (%5.2f)",
                        tree_time(key_size, 1000000, operation) / tree_time(key_size, 10000, operation),
                        map_time(key_size, 1000000, operation) / map_time(key_size, 10000, operation));
        std::printf("\n");
    }
};

} // namespace

int main(int argc, char** argv) {
    g_shuffled = take_option(argc, argv, "--shuffled");
    bool table = take_option(argc, argv, "--table");
    register_key_size<12>();
    register_key_size<16>();
    register_key_size<20>();
    register_key_size<28>();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioTable ratios;
    if (table)
        benchmark::RunSpecifiedBenchmarks(&ratios);
    else
        benchmark::RunSpecifiedBenchmarks();
    g_release_filled();
    return 0;
}
