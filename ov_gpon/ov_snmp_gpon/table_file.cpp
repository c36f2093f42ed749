// Table files: one row per line, each field followed by the unit separator, in key order.
//
// Reading keeps to what files in the field rely on: a line with too few fields leaves the other columns as
// the line before had them, what is too long is cut, and what can't be a number changes nothing.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "mmg_mib_save_task.h"
#include "ov_product_log.h"
#include "table_field.h"
#include "table_file_io.h"
#include "table_module.h"

namespace {

constexpr char kFieldEnd = 0x1F; // ASCII unit separator
constexpr size_t kPathLimit = 200;
constexpr size_t kFieldSlot = 2048; // bytes of one field with its terminator
constexpr char kLogTag[] = "MMG";

// Takes the next field off the line. The last one may lack its end; nothing behind the last end is no field.
bool next_field(std::string_view& line, std::string_view& field) {
    if (line.empty())
        return false;
    const void* end = std::memchr(line.data(), kFieldEnd, line.size());
    size_t length =
        end == nullptr ? line.size() : static_cast<size_t>(static_cast<const char*>(end) - line.data());
    field = line.substr(0, std::min(length, kFieldSlot - 1));
    line.remove_prefix(std::min(length + 1, line.size()));
    return true;
}

void read_columns(std::string_view& line, std::span<const ColumnDesc> columns, void* row) {
    std::string_view field;
    for (const ColumnDesc& column : columns) {
        if (!next_field(line, field))
            return;
        table_field_read(field, column, row);
    }
}

char* write_columns(char* to, std::span<const ColumnDesc> columns, const void* row) {
    for (const ColumnDesc& column : columns) {
        to = table_field_write(to, column, row);
        *to++ = kFieldEnd;
    }
    return to;
}

size_t longest_line(const TableDesc& desc) {
    size_t length = 1;
    for (const ColumnDesc& column : desc.index)
        length += table_field_max(column) + 1;
    for (const ColumnDesc& column : desc.columns)
        length += table_field_max(column) + 1;
    return length;
}

} // namespace

// Sets the path; false for one that is too long, which then is empty.
bool TableModule::find_path() {
    std::string path = mmg_mib_data_dir();
    if (path != MMG_MIB_DATA_DIR)
        path += "/";
    path += name();
    path += ".mib";
    path_.fill('\0');
    if (path.size() >= kPathLimit) {
        OV_LOG_ERROR(kLogTag, "the path of %s.mib is too long", name());
        return false;
    }
    path.copy(path_.data(), path_.size() - 1);
    return true;
}

void TableModule::load() {
    mmg_make_mib_data_dir();
    if (!find_path())
        return;
    TableFile file(path(), TableFile::OPEN_OR_CREATE);
    if (!file.is_open())
        return;
    const MIBDID table = did();
    std::vector<std::byte> row(desc_.entry_size);
    TableFileReader reader(file);
    for (std::string_view line; reader.next_line(line);) {
        if (line.empty())
            continue;
        read_columns(line, desc_.index, row.data());
        read_columns(line, desc_.columns, row.data());
        row_add_buffered(table, row.data());
    }
    std::fflush(stdout);
    ++generation_;
    if (reader.error() != 0)
        OV_LOG_ERROR(kLogTag, "reading %s failed: %s", path(), std::strerror(reader.error()));
}

void TableModule::save_file() {
    if (path_.front() == '\0')
        return;
    // The store's walk is no business of two threads at once, and rows must not go away under it.
    OvraMutexGuard lock(getMutex(did()));
    TableFile file(path(), TableFile::TRUNCATE);
    if (!file.is_open()) {
        OV_LOG_ERROR(kLogTag, "opening %s for saving failed: %s", path(), std::strerror(errno));
        return;
    }
    const MIBDID table = did();
    const size_t room = longest_line(desc_);
    TableFileWriter writer(file);
    for (void* row = get_table_head(table); row != nullptr && writer.error() == 0;
         row = row_getNext(table, row)) {
        char* begin = writer.reserve(room);
        char* end = write_columns(begin, desc_.index, row);
        end = write_columns(end, desc_.columns, row);
        *end++ = '\n';
        writer.advance(static_cast<size_t>(end - begin));
    }
    if (!writer.finish())
        OV_LOG_ERROR(kLogTag, "saving %s failed: %s", path(), std::strerror(writer.error()));
}

void TableModule::save_if_changed() {
    if (!changed_)
        return;
    save_file();
    changed_ = false;
    OV_LOG_INFO(kLogTag, "saving changed table %s", name());
}
