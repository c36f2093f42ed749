#include "ov_gpon_rm_items.h"

#include <arpa/inet.h>
#include <array>
#include <cstdint>
#include <cstring>

#include "gpon_cli.h"
#include "table_record.h"
#include "table_value_name.h"

namespace {

constexpr kavo_column_t OF_ONUS[] = {{"onu", -10}, {"item", -24}, {"value", 0}};
constexpr kavo_column_t OF_UNIS[] = {{"uni", -10}, {"item", -24}, {"value", 0}};

// Octets in hexadecimal.
std::string octets(const ColumnDesc& desc, const void* row) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < desc.size; i++) {
        const auto octet = static_cast<uint8_t>(record_bytes(row)[desc.offset + i]);
        text += {DIGITS[octet >> 4], DIGITS[octet & 15]};
    }
    return text;
}

std::string address(const ColumnDesc& desc, const void* row) {
    std::array<char, INET_ADDRSTRLEN> text{};
    return inet_ntop(AF_INET, record_bytes(row) + desc.offset, text.data(), text.size());
}

kavo_cell_t number(const RmItem& item, const ColumnDesc& desc, const void* row) {
    const auto value = record_get<int32_t>(row, desc.offset);
    const auto names = item.words.empty() ? desc.names : item.words;
    if (const char* const name = table_value_name(names, value); name != nullptr)
        return name;
    if (desc.type == ColType::UINT)
        return record_get<uint32_t>(row, desc.offset);
    return value;
}

kavo_cell_t value_of(const RmItem& item, const ColumnDesc& desc, const void* row) {
    if (item.text != nullptr)
        return item.text(row);
    switch (desc.type) {
    case ColType::TEXT:
        return gpon_cli_shown(record_bytes(row) + desc.offset);
    case ColType::BIN:
        return octets(desc, row);
    case ColType::IPADDR:
        return address(desc, row);
    default:
        return number(item, desc, row);
    }
}

} // namespace

RmItems::RmItems(struct vty* vty, const char* things)
    : table_(vty, strcmp(things, "onu") == 0 ? OF_ONUS : OF_UNIS, {.trimmed = true}) {}

void RmItems::begin() const {
    table_.line("%s", "");
    table_.heading();
    table_.rule();
}

void RmItems::print(const std::string& thing, const TableDesc& table, const void* row,
                    std::span<const RmItem> items) const {
    for (const RmItem& item : items)
        print(thing, item.name, value_of(item, *table.column(static_cast<int>(item.column)), row));
}

void RmItems::print(const std::string& thing, const char* name, const kavo_cell_t& value) const {
    table_.row({thing, name, value});
}

void RmItems::total(int count) const {
    table_.line("total %d", count);
}
