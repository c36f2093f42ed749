#include "table_file_loaded.h"

#include <map>
#include <string_view>

#include <unistd.h>

#include "mmg_internal.h"
#include "mmg_row_message.h"

namespace {

struct Loaded {
    uint64_t checksum = 0;
    unsigned changes = 0; // of the table's rows
    int rows = 0;
    bool operator==(const Loaded&) const = default;
};

// By registry index; tables are loaded at start alone.
std::map<int, Loaded> g_loaded;

Loaded table_with(MIBDID table, uint64_t checksum) {
    return {checksum, get_row_changes(table), get_row_num(table)};
}

} // namespace

void table_loaded_note(MIBDID table, uint64_t checksum) {
    g_loaded[table->index] = table_with(table, checksum);
}

void table_loaded_forget(MIBDID table) {
    g_loaded.erase(table->index);
}

bool table_loaded_tell_again(MIBDID table, const TableFile& file, uint64_t size) {
    const auto loaded = g_loaded.find(table->index);
    if (loaded == g_loaded.end() || loaded->second.rows == 0 ||
        loaded->second != table_with(table, loaded->second.checksum))
        return false;
    TableFileReader reader(file, size);
    unsigned lines = 0;
    for (std::string_view line; reader.next_line(line);)
        lines += line.empty() ? 0 : 1;
    if (reader.error() == 0 && reader.checksum() == loaded->second.checksum) {
        row_tell_existed(lines);
        return true;
    }
    lseek(file.fd(), 0, SEEK_SET);
    return false;
}
