// MibAccessHandle against the bare row store: what a silent read costs beyond the look-up and the copy of
// the row. See README.md.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench_rows.h"
#include "mmg_access.h"

namespace {

constexpr int KEY_SIZE = 20;
constexpr std::array ROW_COUNTS = {1000, 10000, 100000, 1000000};

using TableRow = Row<KEY_SIZE>;

// ---- a table module that does what all do for a read ------------------------------------------------

MIBDID table_did() {
    return mmg_table_did_getbyindex(STCONT);
}

char access_start(MibHandler*, int type, void* row, MIB_Flags_t) {
    void* stored = row_get(table_did(), row);
    if (stored == nullptr || type != MIB_GET)
        return 0;
    std::memcpy(row, stored, sizeof(TableRow));
    return 1;
}

// A read ends with storing the buffer back: get callbacks may have refreshed it.
void access_finish(MibHandler*, char result, int, void* row, MIB_Flags_t) {
    if (result == 0)
        return;
    if (void* stored = row_get(table_did(), row))
        std::memcpy(stored, row, sizeof(TableRow));
}

int answer_one(MIBDID, void*, MIB_Flags_t) {
    return 1;
}

// ---- what is measured ---------------------------------------------------------------------------------

// The table filled with this many rows; random keys of it.
const std::vector<Columns<KEY_SIZE>>& filled_table(int rows) {
    static std::vector<Columns<KEY_SIZE>> keys;
    if (static_cast<int>(keys.size()) == rows)
        return keys;
    static MibHandler handler;
    MibHandler_ctor(&handler);
    handler.mibAccessStart = access_start;
    handler.mibAccessFinish = access_finish;
    ovraMib_RegisterSnmpHanlder(table_did(), nullptr, &handler, KEY_SIZE, sizeof(TableRow));
    MibRegisterCallback(table_did(), CALLBACK_GET, "bench", 1, answer_one, mibDefFlags);
    keys.clear();
    for (int n = 0; n < rows; ++n) {
        TableRow row{};
        row.key = index_of<KEY_SIZE>(n, rows);
        row_add(table_did(), &row);
        keys.push_back(row.key);
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937(12345));
    return keys;
}

void bare_get_and_copy(TableRow& row) {
    void* stored = row_get(table_did(), &row);
    std::memcpy(&row, stored, sizeof(row));
}

template <int Type>
void access(TableRow& row) {
    MibAccessHandle(Type, 0, table_did(), &row, mibDefFlags, 0);
}

struct Measurement {
    const char* name;
    void (*run)(TableRow& row);
};

constexpr std::array MEASUREMENTS = {
    Measurement{"row_get+copy", bare_get_and_copy},
    Measurement{"MIB_GET_S", access<MIB_GET_S>},
    Measurement{"MIB_GET", access<MIB_GET>},
};

void measure(benchmark::State& state, int rows, void (*run)(TableRow&)) {
    const auto& keys = filled_table(rows);
    size_t i = 0;
    TableRow row{};
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores)
        row.key = keys[i];
        run(row);
        benchmark::DoNotOptimize(row);
        if (++i == keys.size())
            i = 0;
    }
    state.counters["ops"] = 1;
}

std::string benchmark_name(const Measurement& measurement, int rows) {
    return std::string(measurement.name) + "/rows:" + std::to_string(rows);
}

class RatioTable : public BestTimes {
public:
    void Finalize() override {
        std::printf("ns per read of a row with a %d-byte key (times the bare look-up and copy)\n", KEY_SIZE);
        std::printf("%8s", "rows");
        for (const Measurement& measurement : MEASUREMENTS)
            std::printf(" %16s", measurement.name);
        std::printf("\n");
        for (int rows : ROW_COUNTS) {
            std::printf("%8d", rows);
            double bare = time(benchmark_name(MEASUREMENTS[0], rows));
            for (const Measurement& measurement : MEASUREMENTS) {
                double ns = time(benchmark_name(measurement, rows));
                std::printf(" %8.1f (%5.2f)", ns, ns / bare);
            }
            std::printf("\n");
        }
    }
};

} // namespace

int main(int argc, char** argv) {
    bool table = take_option(argc, argv, "--table");
    for (int rows : ROW_COUNTS)
        for (const Measurement& measurement : MEASUREMENTS)
            benchmark::RegisterBenchmark(
                benchmark_name(measurement, rows).c_str(),
                [rows, run = measurement.run](benchmark::State& state) { measure(state, rows, run); });
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioTable ratios;
    if (table)
        benchmark::RunSpecifiedBenchmarks(&ratios);
    else
        benchmark::RunSpecifiedBenchmarks();
    return 0;
}
