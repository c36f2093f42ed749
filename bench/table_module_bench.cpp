// The hooks and queries: time and allocations of one MIB_SET, MIB_GET and MIB_GETNEXT, and a query with 16
// matches in small and large tables.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include <atomic>

#include "chassis.h"

extern "C" void* __libc_malloc(size_t size);

namespace {
std::atomic<size_t> g_allocations;
}

// operator new ends here too.
extern "C" void* malloc(size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

namespace {

TableModule& tconts() {
    return table_module_sTcontTable();
}

// T-CONTs in groups of 16 per ONU, that many in all.
void fill_tconts(int rows) {
    tconts().initialize_table_data();
    for (int n = 0; n < rows; ++n) {
        int onu = n / 16;
        std::vector<char> row = chassis::make_row(tconts().desc(), rows, n);
        const uint32_t index[] = {1, onu / 2048 + 1u, onu / 128 % 16 + 1u, onu % 128 + 1u, n % 16 + 1u};
        tconts().set_index(row.data(), index);
        row_add(tconts().did(), row.data());
    }
}

void query(benchmark::State& state) {
    auto rows = static_cast<int>(state.range(0));
    fill_tconts(rows);
    std::vector<char> wanted(tconts().desc().entry_size);
    int onu = 0;
    for (auto _ : state) {
        onu = (onu + 37) % (rows / 16);
        const uint32_t index[] = {1, onu / 2048 + 1u, onu / 128 % 16 + 1u, onu % 128 + 1u, 0};
        tconts().set_index(wanted.data(), index);
        ovralist_t result;
        ovralist_init(&result);
        if (tconts().query_by_condition(wanted.data(), 15, 1, &result, nullptr, nullptr) != 16)
            state.SkipWithError("16 matches expected");
        ovralist_destroy(&result);
    }
}

int accept(MIBDID, void*, MIB_Flags_t) {
    return 1;
}

void access(benchmark::State& state, int type) {
    fill_tconts(200000);
    MIBDID did = tconts().did();
    MibRegisterCallback(did, CALLBACK_CHECK, "check", 1, accept, mibDefFlags);
    MibRegisterCallback(did, CALLBACK_SET, "set", 1, accept, mibDefFlags);
    std::vector<char> row(tconts().desc().entry_size);
    MIB_Flags_t flags{};
    mib_flag_set(flags, 3);
    mib_flag_set(flags, 4);
    int n = 0;
    size_t before = g_allocations;
    for (auto _ : state) {
        n = (n + 611) % 200000;
        int onu = n / 16;
        const uint32_t index[] = {1, onu / 2048 + 1u, onu / 128 % 16 + 1u, onu % 128 + 1u, n % 16 + 1u};
        tconts().set_index(row.data(), index);
        if (MibAccessHandle(type, 0, did, row.data(), flags, 0) != MIB_OK && type != MIB_GETNEXT)
            state.SkipWithError("the row is there");
    }
    state.counters["allocations"] =
        static_cast<double>(g_allocations - before) / static_cast<double>(state.iterations());
}

BENCHMARK(query)->Name("QBC, 16 matches, rows")->Arg(1008)->Arg(200000);
BENCHMARK_CAPTURE(access, MIB_SET, MIB_SET)->Name("MIB_SET");
BENCHMARK_CAPTURE(access, MIB_GET, MIB_GET)->Name("MIB_GET");
BENCHMARK_CAPTURE(access, MIB_GETNEXT, MIB_GETNEXT)->Name("MIB_GETNEXT");

} // namespace

int main(int argc, char** argv) {
    setenv("OV_LOG_FILE", "/dev/null", 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
