#include "column_settings.h"

#include <string>

#include "gpon_cli.h"
#include "kavo_cmd.h"
#include "table_record.h"

namespace {

using From = ColumnSettingValue::From;

const ColumnDesc& column_of(const ColumnSetting& setting, const TableDesc& table) {
    return *table.column(static_cast<int>(setting.column));
}

mib_long value_of(const ColumnSettingValue& value, const char** argv) {
    switch (value.from) {
    case From::SWITCH:
        return gpon_cli_is_enable(argv[0]) ? 1 : 0;
    case From::NUMBER:
        return gpon_cli_number(argv[0]);
    default:
        return value.least;
    }
}

std::string word_of(const ColumnSettingValue& value, mib_long number) {
    if (value.from == From::SWITCH)
        return number != 0 ? "enable" : "disable";
    return std::to_string(number);
}

// Whether the command can give this number.
bool can_be_typed(const ColumnSettingValue& value, mib_long number) {
    return number >= value.least && number <= value.most && (number - value.least) % value.step == 0;
}

} // namespace

void column_setting_put(const ColumnSetting& setting, const TableDesc& table, void* row, const char** argv) {
    record_put(row, column_of(setting, table).offset, value_of(setting.value, argv));
}

int column_setting_print(struct vty* vty, const ColumnSetting& setting, const TableDesc& table,
                         const void* row) {
    const ColumnDesc& desc = column_of(setting, table);
    const auto number = record_get<mib_long>(row, desc.offset);
    if (setting.line[0] == '\0' || number == desc.dflt || !can_be_typed(setting.value, number))
        return 0;
    std::string line = setting.line;
    if (const size_t place = line.find('%'); place != std::string::npos)
        line.replace(place, 2, word_of(setting.value, number));
    vty_out(vty, "%s%s", line.c_str(), kavo_newline(vty));
    return 1;
}
