// Table files of a full chassis: both passes of the start-up's loading and a save, against a bare
// getline-and-split of the same files in the same run. Prints one line of ratios per table and for all.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <malloc.h>
#include <unistd.h>

#include "chassis.h"

namespace {

using Clock = std::chrono::steady_clock;

template <typename Work>
double seconds(Work work) {
    auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double resident_megabytes() {
    long size = 0, resident = 0;
    std::unique_ptr<FILE, int (*)(FILE*)> file(fopen("/proc/self/statm", "r"), fclose);
    if (file == nullptr || fscanf(file.get(), "%ld %ld", &size, &resident) != 2)
        return 0;
    return static_cast<double>(resident * sysconf(_SC_PAGESIZE)) / 1e6;
}

// What any program must do to read such a file: lines, and fields in them.
size_t split_only(const std::string& path) {
    FILE* file = fopen(path.c_str(), "r");
    char* line = nullptr;
    size_t room = 0, fields = 0;
    while (getline(&line, &room, file) > 0) {
        char* rest = line;
        while (strsep(&rest, "\x1F") != nullptr)
            ++fields;
    }
    free(line);
    fclose(file);
    return fields;
}

struct Times {
    double rows = 0, split = 0, first = 0, second = 0, save = 0, megabytes = 0, allowed = 0;
    void add(const Times& other) {
        rows += other.rows;
        split += other.split;
        first += other.first;
        second += other.second;
        save += other.save;
        megabytes += other.megabytes;
        allowed += other.allowed;
    }
};

void print(FILE* out, const char* name, const Times& t) {
    auto rate = [&](double time) { return t.rows / time / 1e6; };
    fprintf(out, "%-20s %8.0f %7.2f %7.2f %7.2f %7.2f   %6.2f %6.2f %6.2f %8.3f\n", name, t.rows,
            rate(t.split), rate(t.first), rate(t.second), rate(t.save), t.first / t.split, t.second / t.split,
            t.save / t.split, t.megabytes / t.allowed);
}

Times measure(const chassis::Part& part) {
    Times times;
    TableModule& module = *part.module;
    times.rows = part.rows;
    std::string path = module.path();
    module.initialize_table_data(); // empty again
    malloc_trim(0);
    times.split = seconds([&] { split_only(path); });
    double before = resident_megabytes();
    times.first = seconds([&] { module.load(); });
    malloc_trim(0);
    times.megabytes = resident_megabytes() - before;
    times.allowed = part.rows * (module.desc().entry_size + 64.0) / 1e6;
    if (module.row_count() != part.rows)
        abort();
    times.second = seconds([&] { module.load(); });
    times.save = seconds([&] { module.save_file(); });
    return times;
}

} // namespace

int main() {
    std::string dir = (std::filesystem::temp_directory_path() / "table-bench.XXXXXX").string();
    if (mkdtemp(dir.data()) == nullptr)
        return 1;
    setenv(MMG_MIB_DATA_DIR_ENV, dir.c_str(), 1);
    setenv("OV_LOG_FILE", "/dev/null", 1);

    // The second pass's messages go to a file like a daemon's; the results to the old standard output.
    FILE* out = fdopen(dup(STDOUT_FILENO), "w");
    if (freopen((dir + "/stdout").c_str(), "w", stdout) == nullptr)
        return 1;

    std::vector<chassis::Part> parts = chassis::parts();
    for (const chassis::Part& part : parts) {
        part.module->initialize_table_data();
        part.module->load();
        chassis::fill(part);
        part.module->save_file();
    }
    fprintf(
        out,
        "                              million rows a second           time / split            memory /\n");
    fprintf(
        out,
        "table                    rows   split   first  second    save    first second   save  allowed\n");
    Times sum;
    for (const chassis::Part& part : parts) {
        Times times = measure(part);
        print(out, part.module->name(), times);
        sum.add(times);
    }
    print(out, "all", sum);
    fprintf(out,
            "memory is the growth of the resident set; allowed is the records' size plus 64 bytes a row\n");
    fclose(out);
    std::filesystem::remove_all(dir);
    return 0;
}
