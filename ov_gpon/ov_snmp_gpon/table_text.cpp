// Rows as text for logs and people.
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

#include <arpa/inet.h>

#include "mmg_text.h"
#include "table_module.h"
#include "table_record.h"

namespace {

const char* row_status_text(int32_t status) {
    static constexpr const char* WORDS[] = {
        " NONEXISTENT ", " ACTIVE ",        " NOTINSERVICE ", " NOTREADY ",
        " CREATEANDGO ", " CREATEANDWAIT ", " DESTROY ",
    };
    if (status < 0 || static_cast<size_t>(status) >= std::size(WORDS))
        return "UNKNOWN Rowstatus";
    return WORDS[status];
}

std::string address_text(in_addr_t address) {
    char text[INET_ADDRSTRLEN] = "";
    in_addr in{.s_addr = address};
    inet_ntop(AF_INET, &in, text, sizeof(text));
    return text;
}

std::string hex_text(const ColumnDesc& column, const void* row) {
    std::string text(2 * size_t{column.limit} + 1, '\0');
    hex_to_str(text.data(), record_bytes(row) + column.offset, column.limit);
    text.pop_back();
    return text;
}

void append_line(std::string& text, const ColumnDesc& column, const void* row) {
    constexpr size_t LABEL_WIDTH = 30;
    std::string label = column.name;
    label.resize(std::max(label.size(), LABEL_WIDTH), ' ');
    text += label + ":" + TableModule::log_text(column, row) + "\n";
}

} // namespace

std::string TableModule::column_text(const ColumnDesc& column, const void* row) {
    switch (column.type) {
    case ColType::INT:
        return std::to_string(record_get<int32_t>(row, column.offset));
    case ColType::UINT:
        return std::to_string(record_get<uint32_t>(row, column.offset));
    case ColType::COUNTER64:
        return std::to_string(record_get<uint64_t>(row, column.offset));
    case ColType::IPADDR:
        return address_text(record_get<in_addr_t>(row, column.offset));
    case ColType::TEXT:
        return {record_bytes(row) + column.offset, text_length(column, row)};
    case ColType::BIN:
        return hex_text(column, row);
    case ColType::ROWSTATUS:
        return row_status_text(record_get<int32_t>(row, column.offset));
    }
    return {};
}

std::string TableModule::log_text(const ColumnDesc& column, const void* row) {
    return column.secret ? "***" : column_text(column, row);
}

char* TableModule::index_string(const void* entry, char* index_info, int length) const {
    static char null_entry[] = "NULL";
    if (entry == nullptr)
        return null_entry;
    if (index_info == nullptr || length <= 0)
        return index_info;
    // Without the heap: a line like this goes out for each row that is made.
    char* at = index_info;
    char* const end = index_info + length - 1;
    auto add = [&](std::string_view text) { at += text.copy(at, static_cast<size_t>(end - at)); };
    add("entry [");
    for (const ColumnDesc& column : desc_.index) {
        char number[16];
        // Unsigned ones too print signed, here and in no other place: logs have always shown them so.
        const auto printed =
            std::to_chars(number, number + sizeof number, record_get<int32_t>(entry, column.offset));
        add(column.name);
        add(":");
        add({number, static_cast<size_t>(printed.ptr - number)});
        add(" ");
    }
    add("]");
    *at = '\0';
    return index_info;
}

std::string TableModule::dump_text(const void* row) const {
    if (row == nullptr)
        return {};
    const std::string title =
        std::string("************************") + name() + " Dump**********************";
    std::string text = "\n" + title + "\n";
    for (const ColumnDesc& column : desc_.index)
        append_line(text, column, row);
    for (const ColumnDesc& column : desc_.columns)
        append_line(text, column, row);
    return text + title + "\n";
}

void TableModule::dump(const void* row) const {
    std::string text = dump_text(row);
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}
