// What the benchmarks of the store share: the rows they use, their command line, and the collection of
// results for a compact table.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <string>
#include <vector>

// A row of the size of a T-CONT's.
inline constexpr int ROW_SIZE = 84;

template <int KeySize>
using Columns = std::array<uint32_t, KeySize / 4>;

template <int KeySize>
struct Row {
    Columns<KeySize> key;
    std::array<uint8_t, ROW_SIZE - KeySize> columns;
};

// The n-th index of a chassis that is filled slot by slot: shelf 1, 14 slots, 16 ports, 128 ONUs and
// under each ONU as many objects as it takes; shorter keys have that many more in their last column. The
// last column is even, so that the odd numbers between are absent keys.
template <int KeySize>
Columns<KeySize> index_of(int n, int rows) {
    constexpr int columns = KeySize / 4;
    constexpr std::array<int, 4> shelf_dims = {1, 14, 16, 128};
    constexpr int fixed = std::min(columns - 1, 4);
    std::array<int, columns> dims;
    dims.fill(1);
    int places = 1;
    for (int c = 0; c < fixed; ++c)
        places *= dims[c] = shelf_dims[c];
    dims[columns - 1] = std::max(4, (rows + places - 1) / places);
    Columns<KeySize> key;
    for (int c = columns - 1; c >= 0; --c) {
        key[c] = static_cast<uint32_t>(n % dims[c]) + 1;
        n /= dims[c];
    }
    key[columns - 1] *= 2;
    return key;
}

// Takes our own options out of the command line.
inline bool take_option(int& argc, char** argv, const char* option) {
    char** end = argv + argc;
    char** found =
        std::find_if(argv + 1, end, [&](const char* word) { return std::strcmp(word, option) == 0; });
    if (found == end)
        return false;
    std::rotate(found, found + 1, end);
    --argc;
    return true;
}

// Collects the best CPU time of each benchmark over its repetitions: on a shared machine the best is what
// the code costs, and the rest is what the neighbours do.
class BestTimes : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration)
                continue;
            // The benchmarks with a clock of their own report it as real time.
            bool own_clock = run.run_name.time_type == "manual_time";
            double time = own_clock ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
            std::string name = run.run_name.function_name;
            auto [best, is_new] = nanoseconds_.emplace(name, std::numeric_limits<double>::infinity());
            best->second = std::min(best->second, time / run.counters.at("ops"));
            auto bytes = run.counters.find("bytes_per_row");
            if (bytes != run.counters.end())
                bytes_[name] = bytes->second;
        }
    }

protected:
    // Nanoseconds per operation, and bytes per row where measured; 0 for what didn't run.
    double time(const std::string& name) const { return value(nanoseconds_, name); }
    double bytes(const std::string& name) const { return value(bytes_, name); }

private:
    static double value(const std::map<std::string, double>& values, const std::string& name) {
        auto it = values.find(name);
        return it == values.end() ? 0 : it->second;
    }
    std::map<std::string, double> nanoseconds_;
    std::map<std::string, double> bytes_;
};
