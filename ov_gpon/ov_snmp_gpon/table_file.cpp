// Table files: one row per line, each field followed by the unit separator, in key order.
//
// Reading keeps to what files in the field rely on: a line with too few fields leaves the other columns as
// the line before had them, what is too long is cut, and what can't be a number changes nothing.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

#include <unistd.h>

#include "mmg_mib_save_task.h"
#include "ov_clock.h"
#include "ov_product_log.h"
#include "table_field.h"
#include "table_file_copy.h"
#include "table_file_io.h"
#include "table_file_loaded.h"
#include "table_module.h"

namespace {

constexpr char FIELD_END = 0x1F; // ASCII unit separator
constexpr size_t PATH_LIMIT = 200;
constexpr size_t FIELD_SLOT = 2048; // bytes of one field with its terminator
constexpr char LOG_TAG[] = "MMG";

// Takes the next field off the line. The last one may lack its end; nothing behind the last end is no field.
bool next_field(std::string_view& line, std::string_view& field) {
    if (line.empty())
        return false;
    const void* end = std::memchr(line.data(), FIELD_END, line.size());
    size_t length =
        end == nullptr ? line.size() : static_cast<size_t>(static_cast<const char*>(end) - line.data());
    field = line.substr(0, std::min(length, FIELD_SLOT - 1));
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
        *to++ = FIELD_END;
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
    if (path.size() >= PATH_LIMIT) {
        OV_LOG_ERROR(LOG_TAG, "the path of %s.mib is too long", name());
        return false;
    }
    path.copy(path_.data(), path_.size() - 1);
    return true;
}

void TableModule::load() {
    mmg_make_mib_data_dir();
    OvraMutexGuard lock(getMutex(did()));
    if (!find_path())
        return;
    find_cut_off_save();
    find_set_aside_file();
    if (copy_is_needed_) {
        const TableFile copy(table_copy_path(path()).c_str(), TableFile::EXISTING);
        add_rows(copy, table_copy_content(copy).value_or(0));
    } else {
        add_rows(TableFile(path(), TableFile::OPEN_OR_CREATE), std::numeric_limits<uint64_t>::max());
    }
}

void TableModule::add_rows(const TableFile& file, uint64_t size) {
    if (!file.is_open() || table_loaded_tell_again(did(), file, size))
        return;
    const MIBDID table = did();
    std::vector<std::byte> row(desc_.entry_size);
    TableFileReader reader(file, size);
    for (std::string_view line; reader.next_line(line);) {
        if (line.empty())
            continue;
        read_columns(line, desc_.index, row.data());
        read_columns(line, desc_.columns, row.data());
        row_add_buffered(table, row.data());
    }
    std::fflush(stdout);
    ++generation_;
    table_loaded_note(table, reader.checksum());
    if (reader.error() != 0)
        OV_LOG_ERROR(LOG_TAG, "reading %s failed: %s", path(), std::strerror(reader.error()));
}

// ---- saving --------------------------------------------------------------------------------------

void TableModule::save_file() {
    if (path_.front() == '\0')
        return;
    ++saves_;
    // The store's walk is no business of two threads at once, and rows must not go away under it.
    OvraMutexGuard lock(getMutex(did()));
    const ov_mono_time_t began = ov_mono_now();
    save_record_.last_failed = !write_file();
    ++(save_record_.last_failed ? save_record_.failed : save_record_.done);
    save_record_.last_at = ov_wall_time();
    save_record_.last_us = static_cast<uint32_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(ov_mono_now() - began).count());
}

TableSaves TableModule::save_record() const {
    OvraMutexGuard lock(getMutex(did()));
    return save_record_;
}

// False, behind a line in the log, if the file isn't what the table is.
bool TableModule::write_file() {
    if (!finish_cut_off_save())
        return false;
    const std::string copy_path = table_copy_path(path());
    const TableFile copy(copy_path.c_str(), TableFile::TRUNCATE);
    if (!copy.is_open()) {
        OV_LOG_ERROR(LOG_TAG, "opening %s for saving failed: %s", copy_path.c_str(), std::strerror(errno));
        return false;
    }
    TableFileWriter writer(copy);
    const uint64_t size = write_rows(writer);
    if (writer.finish())
        return write_file_from(copy, size);
    OV_LOG_ERROR(LOG_TAG, "saving %s failed: %s", path(), std::strerror(writer.error()));
    table_file_calls.unlink(copy_path.c_str());
    return false;
}

// Looks for what a save that was cut off has left beside the file, and takes it if it is whole.
void TableModule::find_cut_off_save() {
    const std::string copy_path = table_copy_path(path());
    const TableFile copy(copy_path.c_str(), TableFile::EXISTING);
    copy_is_needed_ = copy.is_open() && table_copy_content(copy);
    if (copy_is_needed_) {
        OV_LOG_WARN(LOG_TAG, "the last save of %s was cut off, its content is taken from %s", path(),
                    copy_path.c_str());
        finish_cut_off_save();
    } else if (copy.is_open()) {
        OV_LOG_WARN(LOG_TAG, "the last save of %s was cut off before the file was touched", path());
        table_file_calls.unlink(copy_path.c_str());
    }
}

// An upload of the table sets the file aside while it writes a fresh one (ov_app_gpon_action_transfer.h). If
// it was cut off then, the file that stands now is as good, unless there is none.
void TableModule::find_set_aside_file() const {
    const std::string aside = path_.data() + std::string(".bak");
    if (access(path(), F_OK) != 0 && rename(aside.c_str(), path()) == 0)
        OV_LOG_WARN(LOG_TAG, "an upload of %s was cut off, the file is back", path());
}

// Writes the file from a copy that is better than the file. False if that can't be done: the copy must not be
// written over then.
bool TableModule::finish_cut_off_save() {
    if (!copy_is_needed_)
        return true;
    const TableFile copy(table_copy_path(path()).c_str(), TableFile::EXISTING);
    const auto size = copy.is_open() ? table_copy_content(copy) : std::nullopt;
    copy_is_needed_ = size.has_value(); // unless somebody has taken it away
    return !size || write_file_from(copy, *size);
}

// Writes the table and the last line of a copy; the size of what stands before that line.
uint64_t TableModule::write_rows(TableFileWriter& writer) const {
    const MIBDID table = did();
    const size_t room = longest_line(desc_);
    uint64_t lines = 0; // more than rows if there are line feeds in texts
    uint64_t size = 0;
    for (void* row = get_table_head(table); row != nullptr && writer.error() == 0;
         row = row_getNext(table, row)) {
        char* begin = writer.reserve(room);
        char* end = write_columns(begin, desc_.index, row);
        end = write_columns(end, desc_.columns, row);
        *end++ = '\n';
        lines += static_cast<uint64_t>(std::count(begin, end, '\n'));
        size += static_cast<uint64_t>(end - begin);
        writer.advance(static_cast<size_t>(end - begin));
    }
    const std::string last = table_copy_end(lines);
    writer.advance(last.copy(writer.reserve(last.size()), last.size()));
    return size;
}

// Writes the file from a copy with this size, which then goes, unless it is better than the file is now.
// False, with a line in the log, if the file couldn't be written.
bool TableModule::write_file_from(const TableFile& copy, uint64_t size) {
    const CopyResult result = table_copy_write(copy, size, path());
    if (result != CopyResult::DONE)
        OV_LOG_ERROR(LOG_TAG, "saving %s failed: %s", path(), std::strerror(errno));
    copy_is_needed_ = result == CopyResult::BROKEN || (result == CopyResult::UNTOUCHED && copy_is_needed_);
    if (!copy_is_needed_)
        table_file_calls.unlink(table_copy_path(path()).c_str());
    return result == CopyResult::DONE;
}

void TableModule::save_if_changed() {
    if (!changed_.exchange(false))
        return;
    save_file();
    OV_LOG_INFO(LOG_TAG, "saving changed table %s", name());
}
