// Columns of shows line up whatever stands in them: every table is filled with rows whose names are as long
// and whose numbers are as great as they can be, every show that prints a table is run, and no heading and no
// value may be wider than its column, but in the last one.
#include "onu_fixture.h"

#include <algorithm>
#include <set>

#include "kavo_loop.h"
#include "kavo_table.h"
#include "ov_clock.h"
#include "ov_refused_ring.h"
#include "ov_slot.h"

namespace {

// ---- rows at their limits ---------------------------------------------------------------------------------

constexpr int64_t GREATEST_TIME = 4294967295; // what an unsigned column of seconds can say

// The value of an enumeration with the longest name.
int64_t longest_named(const ColumnDesc& column) {
    return std::max_element(
               column.names.begin(), column.names.end(),
               [](const ColName& a, const ColName& b) { return strlen(a.name) < strlen(b.name); })
        ->value;
}

// What the application takes where the column itself takes anything.
constexpr std::pair<const char*, int64_t> TAKEN[] = {{"shelfID", 1},
                                                     {"slotID", 14},
                                                     {"portID", 16},
                                                     {"onuId", 128},
                                                     {"servicePortId", 32},
                                                     {"servicePortGemId", 128},
                                                     {"servicePortVlan", 4095},
                                                     {"servicePortSvlan", 4095},
                                                     {"servicePortUserVlan", 4095},
                                                     {"servicePortMacLimit", 4095},
                                                     {"servicePortQueue", 7},
                                                     {"servicePortCosQueueMappingProfileId", 7},
                                                     {"onuSrvProfileId", 128},
                                                     {"ppGroupId", 16}};

int64_t greatest(const ColumnDesc& column, int64_t otherwise) {
    for (const auto& [name, number] : TAKEN)
        if (strcmp(column.name, name) == 0)
            return number;
    if (!column.names.empty())
        return longest_named(column);
    return column.max != 0 ? std::min(column.max, otherwise) : otherwise;
}

template <typename Number>
void put(void* row, const ColumnDesc& column, Number value) {
    memcpy(static_cast<char*>(row) + column.offset, &value, sizeof value);
}

void fill(void* row, const ColumnDesc& column) {
    char* place = static_cast<char*>(row) + column.offset;
    switch (column.type) {
    case ColType::TEXT:
        memset(place, 0, column.size);
        memset(place, 'W', column.limit - 1u);
        break;
    case ColType::COUNTER64:
        put(row, column, UINT64_MAX);
        break;
    case ColType::INT:
        put(row, column, static_cast<int32_t>(greatest(column, INT32_MAX)));
        break;
    case ColType::UINT:
        put(row, column, static_cast<uint32_t>(greatest(column, GREATEST_TIME)));
        break;
    case ColType::ROWSTATUS:
        put(row, column, int32_t{OVRA_ACTIVE});
        break;
    default:
        break;
    }
}

void fill_table(TableModule& table) {
    std::vector<std::byte> key(table.desc().entry_size);
    std::vector<uint32_t> index;
    for (const ColumnDesc& column : table.desc().index)
        index.push_back(static_cast<uint32_t>(greatest(column, INT32_MAX)));
    table.set_index(key.data(), index);
    void* row = table.create_entry(key.data());
    ASSERT_NE(row, nullptr) << table.name();
    for (const ColumnDesc& column : table.desc().columns)
        fill(row, column);
    table.mark_changed();
}

// ---- what is printed --------------------------------------------------------------------------------------

// Headings whose form operators' scripts know, widths included: "show onu status" and "show onu unconfig".
bool is_fixed(std::span<const kavo_column_t> columns) {
    const std::string first = columns.front().name;
    const std::string last = columns.back().name;
    return (first == "onu" && columns.size() == 7 && std::string(columns[4].name) == "known by") ||
           (first == "slot" && last == "registered as");
}

std::set<std::string> g_seen;    // tables with a row, by their headings
std::set<std::string> g_shifted; // "HEADING: VALUE"

void watch(std::span<const kavo_column_t> columns, std::span<const kavo_cell_t> cells) {
    std::string headings;
    for (const kavo_column_t& column : columns)
        headings += (headings.empty() ? "" : "|") + std::string(column.name);
    const bool is_heading = cells[0].text() == columns[0].name;
    if (!is_heading)
        g_seen.insert(headings);
    if (is_fixed(columns))
        return;
    for (size_t i = 0; i + 1 < std::min(columns.size(), cells.size()); ++i)
        if (cells[i].text().size() > static_cast<size_t>(std::abs(columns[i].width)))
            g_shifted.insert(headings + ": " + columns[i].name + ": " + cells[i].text());
}

// ---- the shows --------------------------------------------------------------------------------------------

// The words of a syntax as a line that asks for what has been filled; "" for one that can't be asked here.
std::string line_of(const std::string& syntax) {
    const std::pair<const char*, const char*> values[] = {{"IFNAME", "gpon-onu14/16:128"},
                                                          {"ETHUNI", "eth_1/1"},
                                                          {"POTS", "pots_1/1"},
                                                          {"STR", "W"},
                                                          {"TABLE", "STCONT"}};
    std::string line;
    for (const kavo_cmd_word_t& word : kavo_cmd_parse(syntax)) {
        const std::string& first = word.alternatives.front();
        const kavo_cmd_alternative_t is = kavo_cmd_alternative(first);
        std::string text = first;
        if (is.kind == kavo_cmd_alternative_t::RANGE)
            text = std::to_string(is.most);
        for (const auto& [name, value] : values)
            if (first == name)
                text = value;
        if (!word.optional)
            line += (line.empty() ? "" : " ") + text;
    }
    return line;
}

#define NODES(...)
#define GPON_CMD(handler, nodes, syntax, help) syntax,
const char* const syntaxes[] = {
#include "commands/all.def"
};
#undef GPON_CMD
#undef NODES

class TableLimits : public OnuCli {
protected:
    TableLimits() {
        setenv("TZ", "UTC", 1);
        tzset();
        for (const char* name : {"gpon-olt14/16", "gpon-onu14/16:128"})
            add_interface(name);
        ov_slot_create(14, 65535, 1);
        ov_slot_set_connected(14, 1);
        for (TableModule* table : table_module_list())
            if (table->registered())
                fill_table(*table);
        ov_refused_t refused;
        refused.at = GREATEST_TIME;
        refused.door = "controller";
        refused.who = "onu-srvprofile 128";
        refused.what = refused.reason = std::string(300, 'W');
        ov_refused_add(refused);
        kavo_table_set_watch(watch);
    }
    ~TableLimits() { kavo_table_set_watch(nullptr); }

    static void ask(int node, const char* object, const std::string& line) {
        FrrSession session(node);
        if (object != nullptr)
            stand_on(session, node, object);
        session.run(line);
    }
    static void ask_everywhere(const std::string& line) {
        ask(ENABLE_NODE, nullptr, line);
        ask(CONFIG_NODE, nullptr, line);
        ask(GPON_NODE, nullptr, line);
        ask(IF_GPON_NODE, "gpon-olt14/16", line);
        ask(GPON_ONU_NODE, "gpon-onu14/16:128", line);
    }
};

CLI_TEST(TableLimits, NoValueAndNoHeadingIsWiderThanItsColumn) {
    g_seen.clear();
    g_shifted.clear();
    for (const char* syntax : syntaxes) {
        const std::string line = line_of(syntax);
        if (line.starts_with("show ") || line.starts_with("dump "))
            ask_everywhere(line);
    }
    EXPECT_THAT(g_shifted, testing::IsEmpty());
    // The rows were there: of these tables, among others.
    for (const char* first :
         {"onu|state|", "source|severity|", "onu type|", "bandwidth profile|", "traffic profile|",
          "group|name|", "slot|type|state|", "table|rows|", "number|at|door|", "onu|now|"})
        EXPECT_TRUE(std::any_of(g_seen.begin(), g_seen.end(), [&](const auto& seen) {
            return seen.starts_with(first);
        })) << first;
    EXPECT_GE(g_seen.size(), 15u) << testing::PrintToString(g_seen);
}

} // namespace
