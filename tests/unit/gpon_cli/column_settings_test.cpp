// The settings of the data files agree with their commands: what their lines save can be typed, and nothing
// beyond their ranges can.
#include "cli_fixture.h"

#include <algorithm>
#include <vector>

#include "column_settings.h"
#include "table_record.h"

namespace {

#define SETTING(handler, column_name, value, failure, result, line)                                          \
    {column::column_name, column_setting_values::value, failure, result, line},
namespace column = sPonTable_column;
const ColumnSetting port_settings[] = {
#include "port_settings.def"
};
namespace onu {
namespace column = sOnuTable_column;
const ColumnSetting settings[] = {
#include "onu_settings.def"
};
} // namespace onu
#undef SETTING

using From = ColumnSettingValue::From;

class ColumnSettings : public Cli {
protected:
    // What is printed for a row that has this number in the setting's column.
    template <typename Row>
    static std::string saved(const ColumnSetting& setting, const TableDesc& table, mib_long number) {
        Row row = {};
        record_put(&row, table.column(static_cast<int>(setting.column))->offset, number);
        FrrSession session(CONFIG_NODE);
        const int lines = column_setting_print(session.vty, setting, table, &row);
        const std::string text = session.output();
        EXPECT_EQ(lines, text.empty() ? 0 : 1);
        return text;
    }

    static std::vector<mib_long> refused_numbers(const ColumnSettingValue& value) {
        std::vector<mib_long> numbers = {value.least - 1, value.most + 1};
        if (value.step > 1)
            numbers.insert(numbers.end(), {value.least + 1, value.most - 1});
        return numbers;
    }

    template <typename Row>
    static void check(const ColumnSetting& setting, const TableDesc& table, FrrSession& session) {
        const std::string line = setting.line;
        const auto& value = setting.value;
        if (line.empty())
            return;
        const int64_t dflt = table.column(static_cast<int>(setting.column))->dflt;
        for (const mib_long number :
             {value.least, std::max(value.least, value.most - value.step), value.most}) {
            const std::string text = saved<Row>(setting, table, number);
            EXPECT_EQ(text.empty(), number == dflt) << line << number;
            if (text.empty())
                continue;
            EXPECT_EQ(session.run(text.substr(0, text.find('\n'))), CMD_SUCCESS) << text;
        }
        for (const mib_long number : refused_numbers(value)) {
            EXPECT_EQ(saved<Row>(setting, table, number), "") << line << number;
            if (value.from != From::NUMBER)
                continue;
            std::string typed = line;
            typed.replace(typed.find("%d"), 2, std::to_string(number));
            EXPECT_EQ(session.run(typed), CMD_ERR_NO_MATCH) << typed;
        }
    }
};

TEST_F(ColumnSettings, OfAPortAreSavedInTheRangeOfTheirCommands) {
    FrrSession session(IF_GPON_NODE);
    stand_on(session, IF_GPON_NODE, "gpon-olt1/1");
    for (const ColumnSetting& setting : port_settings)
        check<ov_sPonTable_attr_t>(setting, table_desc_sPonTable, session);
    EXPECT_THAT(app.calls, testing::Each("port_edit"));
    EXPECT_FALSE(app.calls.empty());
}

TEST_F(ColumnSettings, OfAnOnuAreSavedInTheRangeOfTheirCommands) {
    FrrSession session(GPON_ONU_NODE);
    add_onu(1, 1, 1);
    stand_on(session, GPON_ONU_NODE, "gpon-onu1/1:1");
    for (const ColumnSetting& setting : onu::settings)
        check<ov_sOnuTable_attr_t>(setting, table_desc_sOnuTable, session);
    EXPECT_THAT(app.calls, testing::Each("onu_edit"));
    EXPECT_FALSE(app.calls.empty());
}

} // namespace
