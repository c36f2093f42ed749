// Commands that set one column of the session's object to a number. Which ones there are, and all that they
// say, stands in a file of settings for each kind of object (port_settings.def, onu_settings.def), one macro
// line per setting:
//
//   SETTING(handler, column, value, failure, result, line)
//
//   handler   the function that runs the command
//   column    what it sets
//   value     where the number comes from: SWITCH, a keyword (enable or disable); NUMBER(least, most), the
//             first argument, in the range of its command, NUMBER(least, most, step) when the command takes
//             only every step-th; ONE; ZERO
//   failure   what a failure prints
//   result    what it answers
//   line      what saves it, with %s for the keyword or %d for the number; empty when the value is a
//             default or another setting has the line
//
// The order is that of the saved lines. The object's module makes handlers and a table of it:
//
//   int set_column(struct vty* vty, const ColumnSetting& setting, const char** argv) {...}
//   #define SETTING COLUMN_SETTING_HANDLER
//   #include "port_settings.def"
//   #undef SETTING
//   #define SETTING COLUMN_SETTING_ENTRY
//   constexpr const ColumnSetting* settings[] = {
//   #include "port_settings.def"
//   };
//   #undef SETTING
//
// with `column` as the name of the namespace of its table's column numbers. Main thread.
#pragma once

#include "ov_types.h"
#include "table_desc.h"

struct cmd_element;
struct vty;

struct ColumnSettingValue {
    enum class From { SWITCH, NUMBER, ONE, ZERO };
    From from;
    mib_long least; // that the command can give
    mib_long most;
    mib_long step; // from one to the next
};

namespace column_setting_values {
inline constexpr ColumnSettingValue SWITCH = {ColumnSettingValue::From::SWITCH, 0, 1, 1};
inline constexpr ColumnSettingValue ONE = {ColumnSettingValue::From::ONE, 1, 1, 1};
inline constexpr ColumnSettingValue ZERO = {ColumnSettingValue::From::ZERO, 0, 0, 1};
constexpr ColumnSettingValue NUMBER(mib_long least, mib_long most, mib_long step = 1) {
    return {ColumnSettingValue::From::NUMBER, least, most, step};
}
} // namespace column_setting_values

struct ColumnSetting {
    unsigned column;
    ColumnSettingValue value;
    const char* failure;
    int result;
    const char* line;
};

// Writes the setting's number into a record of the table; argv are the command's arguments.
void column_setting_put(const ColumnSetting& setting, const TableDesc& table, void* row, const char** argv);

// Prints the line that saves the setting, unless the row has the column's default or a number that the
// command can't give (managers can write some). Returns the number of lines.
int column_setting_print(struct vty* vty, const ColumnSetting& setting, const TableDesc& table,
                         const void* row);

#define COLUMN_SETTING_HANDLER(handler, column_name, value, failure, result, line)                           \
    constexpr ColumnSetting handler##_setting = {column::column_name, column_setting_values::value, failure, \
                                                 result, line};                                              \
    int handler(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {            \
        return set_column(vty, handler##_setting, argv);                                                     \
    }
#define COLUMN_SETTING_ENTRY(handler, column_name, value, failure, result, line) &handler##_setting,
