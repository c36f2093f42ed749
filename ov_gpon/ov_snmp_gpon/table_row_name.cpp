#include "table_row_name.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "table_record.h"

namespace {

constexpr int32_t TEMPLATE_SLOT =
    31; // where the rows of service profiles stand, with the profile's id for the ONU

// What index columns are called, where it isn't the column's own name.
struct IndexWord {
    std::string_view column;
    const char* word;
};
constexpr IndexWord INDEX_WORDS[] = {
    {"tcontId", "T-CONT"},
    {"gemID", "GEM port"},
    {"servicePortId", "service port"},
    {"serviceID", "service"},
    {"onuSrvProfileId", "onu-srvprofile"},
    {"onuCardID", "card"},
    {"onuPortType", "type"},
    {"onuPortID", "port"},
    {"rmServiceID", "service"},
    {"rmSmfsId", "rule"},
    {"sRmUniPoeOnuCardID", "card"},
    {"sRmUniPoeOnuPortType", "type"},
    {"sRmUniPoeOnuPortID", "port"},
    {"sRmWanIndex", "WAN"},
    {"sRmWifiIndex", "Wi-Fi"},
    {"sRmVoipSipAgentConfigAgentID", "SIP agent"},
    {"sRmVoipSipUserDataCardType", "type"},
    {"sRmVoipSipUserDataPortID", "port"},
    {"sRmVoipSipUserDataCardID", "card"},
    {"sRmVoipLineStatusCardType", "type"},
    {"sRmVoipLineStatusPortID", "port"},
    {"sRmVoipLineStatusCardID", "card"},
};

std::string word_of(const ColumnDesc& column) {
    for (const IndexWord& each : INDEX_WORDS)
        if (each.column == column.name)
            return each.word;
    return column.name;
}

std::string number_text(const ColumnDesc& column, const void* key) {
    return TableModule::column_text(column, key);
}

bool begins_with(const TableDesc& desc, std::initializer_list<std::string_view> columns) {
    return desc.index.size() >= columns.size() &&
           std::equal(columns.begin(), columns.end(), desc.index.begin(),
                      [](std::string_view name, const ColumnDesc& column) { return name == column.name; });
}

// The port or ONU that the first index columns name, and how many they are.
struct Place {
    std::string text;
    size_t columns;
};

Place place_of(const TableDesc& desc, const void* key) {
    if (!begins_with(desc, {"shelfID", "slotID", "portID"}))
        return {"", 0};
    const std::string port = number_text(desc.index[1], key) + "/" + number_text(desc.index[2], key);
    if (!begins_with(desc, {"shelfID", "slotID", "portID", "onuId"}))
        return {" gpon-olt" + port, 3};
    const std::string onu = number_text(desc.index[3], key);
    if (record_get<int32_t>(key, desc.index[1].offset) == TEMPLATE_SLOT)
        return {" onu-srvprofile " + onu, 4};
    return {" gpon-onu" + port + ":" + onu, 4};
}

std::string name_by_index(const TableModule& module, const void* key) {
    const TableDesc& desc = module.desc();
    const Place place = place_of(desc, key);
    std::string text = module.name() + place.text;
    for (const ColumnDesc& column : desc.index.subspan(place.columns))
        text += " " + word_of(column) + " " + number_text(column, key);
    return text;
}

// The column that names a profile: its first text, where one number is the whole index.
const ColumnDesc* profile_name_column(const TableDesc& desc) {
    if (desc.index.size() != 1)
        return nullptr;
    for (const ColumnDesc& column : desc.columns)
        if (column.type == ColType::TEXT && std::string_view(column.name).ends_with("Name"))
            return &column;
    return nullptr;
}

} // namespace

std::string table_key_name(const TableModule& module, const void* key) {
    return name_by_index(module, key);
}

std::string table_row_name(const TableModule& module, const void* row) {
    const ColumnDesc* column = profile_name_column(module.desc());
    const std::string name = column != nullptr ? TableModule::column_text(*column, row) : "";
    return name.empty() ? name_by_index(module, row) : std::string(module.name()) + " " + name;
}

void table_row_name(int registry_index, const void* row, char* text, size_t size) {
    const TableModule* module = table_module_find(registry_index);
    snprintf(text, size, "%s", module != nullptr ? table_row_name(*module, row).c_str() : "");
}
