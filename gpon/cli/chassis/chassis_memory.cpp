#include "chassis_memory.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <unistd.h>

uint64_t process_resident_bytes() {
    struct Close {
        void operator()(FILE* file) const { fclose(file); }
    };
    const std::unique_ptr<FILE, Close> file(fopen("/proc/self/statm", "re"));
    unsigned long long size = 0;
    unsigned long long resident = 0;
    if (file == nullptr || fscanf(file.get(), "%llu %llu", &size, &resident) != 2)
        return 0;
    return resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

std::vector<ChassisTableMemory> chassis_tables_by_memory() {
    std::vector<ChassisTableMemory> tables;
    for (const TableModule* table : table_module_list()) {
        if (!table->registered())
            continue;
        if (const mmg_table_memory_t memory = table->memory(); memory.rows != 0)
            tables.push_back({table, memory});
    }
    std::stable_sort(tables.begin(), tables.end(),
                     [](const auto& a, const auto& b) { return a.bytes() > b.bytes(); });
    return tables;
}
