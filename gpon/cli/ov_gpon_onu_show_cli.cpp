// What is shown of ONUs: those that are configured, those that aren't, their past and their readings.
#include <algorithm>
#include <cctype>
#include <string>

#include "gpon_cli_scope.h"
#include "gpon_stepped_show.h"
#include "kavo_cmd_rows.h"
#include "kavo_if.h"
#include "kavo_table.h"
#include "onu_auth_forms.h"
#include "ov_gpon_onu_cli.h"
#include "ov_local_time.h"
#include "ov_refusal.h"
#include "sOnuExtendInfoTable.h"
#include "sOnuHistoryTable.h"
#include "sOnuInitTable.h"
#include "table_value_name.h"

namespace {

using Onu = ov_sOnuTable_attr_t;
using UnknownOnu = ov_sOnuInitTable_attr_t;
using History = ov_sOnuHistoryTable_attr_t;
using Readings = ov_sOnuExtendInfoTable_attr_t;
using Scope = gpon_cli_scope_t;

// Shows the rows of the ports in scope in steps: `print` gives whether one counts. Behind them their number.
// Costs by the rows of the port when there is just one.
template <typename Row, typename Print>
int show_rows_of_ports(struct vty* vty, const kavo_table_t& table, const Scope& scope, Print print) {
    return gpon_show_rows(vty, port_key<Row>(scope.slot, scope.port),
                          scope.port == Scope::ANY ? 1 : INDEX_TO_PORT, print,
                          [table](int count) { table.line("total %d", count); });
}

// ---- words and texts ------------------------------------------------------------------------------------

// The name of a number of an enumeration, the number itself for any other.
std::string value_name(unsigned column, mib_long value) {
    return table_value_text(table_desc_sOnuTable.column(static_cast<int>(column))->names, value);
}

template <typename Row>
std::string place(const Row& row) {
    return std::to_string(row.slotID) + "/" + std::to_string(row.portID) + ":" + std::to_string(row.onuId);
}

// "sn:ABCD01234567 pw:secret", of those that are given.
class Labelled {
public:
    Labelled& add(const char* label, const char* text) {
        if (*text != '\0')
            text_ += (text_.empty() ? "" : " ") + (label + (":" + gpon_cli_shown(text)));
        return *this;
    }
    const char* text() const { return text_.c_str(); }

private:
    std::string text_;
};

// ---- states ---------------------------------------------------------------------------------------------

constexpr kavo_column_t STATE_COLUMNS[] = {{"onu", -10},  {"state", -12},    {"onu type", -18},
                                           {"auth", -10}, {"known by", -45}, {"version", -15},
                                           {"name", -12}};
constexpr size_t STATE_WIDTH = 127;

void print_state_head(const kavo_table_t& table) {
    table.line("%s", "");
    table.heading();
    table.line("%s", std::string(STATE_WIDTH, '-').c_str());
}

void print_state(const kavo_table_t& table, const Onu& row) {
    using namespace sOnuTable_column;
    Labelled known_by;
    if (const OnuAuthForm* form = onu_auth_form_of(row.sOnuTableAuthMode); form != nullptr) {
        known_by.add(form->keyword, row.*form->first.text);
        if (form->second.column != 0)
            known_by.add("pw", row.*form->second.text);
    }
    table.row({place(row), value_name(sOnuTableOnuState, row.sOnuTableOnuState),
               gpon_cli_shown(row.sOnuTableOnuTypeProfileName),
               value_name(sOnuTableAuthMode, row.sOnuTableAuthMode), known_by.text(),
               gpon_cli_shown(row.sOnuTableOnuActVersion), gpon_cli_shown(row.sOnuTableOnuName)});
}

// Prints the ONUs in scope for which `wanted` holds, those of a port when there is a name. As in every list
// the heading comes first, whatever becomes of the name.
template <typename Wanted>
int show_states(struct vty* vty, Scope scope, const char* port_name, Wanted wanted) {
    const kavo_table_t table(vty, STATE_COLUMNS);
    print_state_head(table);
    if (port_name != nullptr && !gpon_cli_narrow_to_port(vty, port_name, scope))
        return KAVO_CLI_BAD_INPUT;
    return show_rows_of_ports<Onu>(vty, table, scope, [=](const Onu& row) {
        const bool is_shown = (scope.onu == Scope::ANY || row.onuId == scope.onu) && wanted(row);
        if (is_shown)
            print_state(table, row);
        return is_shown;
    });
}

bool all_of_them(const Onu& /*row*/) {
    return true;
}

// [<1-128>]
int ov_gpon_olt_show_onu_state_cli(struct cmd_element* /*self*/, struct vty* vty, int argc,
                                   const char** argv) {
    Scope scope = gpon_cli_scope_of(vty);
    if (argc > 0)
        scope.onu = gpon_cli_number(argv[0]);
    return show_states(vty, scope, nullptr, all_of_them);
}

// IFNAME [<1-128>]
int ov_gpon_olt_show_int_onu_id_state_cli(struct cmd_element* /*self*/, struct vty* vty, int argc,
                                          const char** argv) {
    Scope scope;
    if (argc > 1)
        scope.onu = gpon_cli_number(argv[1]);
    return show_states(vty, scope, argv[0], all_of_them);
}

// ---- ONUs with a text -----------------------------------------------------------------------------------

// Labels on ONUs have their serial numbers in capital or in small letters.
bool contains(std::string_view text, std::string_view part) {
    const auto same = [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); };
    return std::search(text.begin(), text.end(), part.begin(), part.end(), same) != text.end();
}

// The text that a keyword of "show onu filter" asks for.
const char* filtered_text(const Onu& row, const char* keyword) {
    switch (keyword[0]) {
    case 's':
        return row.sOnuTableSn;
    case 'l':
        return row.sOnuTableLoid;
    case 'n':
        return row.sOnuTableOnuName;
    default:
        return row.sOnuTableAuthMode == SONUTABLEAUTHMODE_LOIDPW ? row.sOnuTableLoidPw : row.sOnuTablePw;
    }
}

// (sn|pwd|loid|name) STR
int ov_gpon_olt_show_onu_filter_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                    const char** argv) {
    return show_states(vty, gpon_cli_scope_of(vty), nullptr,
                       [keyword = std::string(argv[0]), part = std::string(argv[1])](const Onu& row) {
                           return contains(filtered_text(row, keyword.c_str()), part);
                       });
}

// ---- ONUs that aren't configured ------------------------------------------------------------------------

constexpr kavo_column_t UNKNOWN_COLUMNS[] = {
    {"slot", 10}, {"port", 10}, {"serial number", -20, nullptr, 1}, {"registered as", 0, nullptr, 1}};

void ov_gpon_cli_dump_uncfg_onu_head(const kavo_table_t& table) {
    table.line("%s", "");
    table.heading();
}

// [IFNAME]
int ov_gpon_show_uncfg_onu_cli(struct cmd_element* /*self*/, struct vty* vty, int argc, const char** argv) {
    Scope scope = gpon_cli_scope_of(vty);
    const kavo_table_t table(vty, UNKNOWN_COLUMNS);
    ov_gpon_cli_dump_uncfg_onu_head(table);
    if (argc > 0 && !gpon_cli_narrow_to_port(vty, argv[0], scope))
        return KAVO_CLI_BAD_INPUT;
    return show_rows_of_ports<UnknownOnu>(vty, table, scope, [table](const UnknownOnu& row) {
        Labelled details;
        details.add("pw", row.sOnuInitTablePw)
            .add("loid", row.sOnuInitTableLoid)
            .add("loid-pw", row.sOnuInitTableLoidPw)
            .add("model", row.sOnuInitTableEqptId);
        table.row({row.slotID, row.portID, gpon_cli_shown(row.sOnuInitTableSn), details.text()});
        return true;
    });
}

// ---- history --------------------------------------------------------------------------------------------

constexpr int TIME_WIDTH = -static_cast<int>(sizeof("2036-02-07 06:28:15") - 1);
constexpr kavo_column_t HISTORY_COLUMNS[] = {
    {"onu", -10},          {"on 1", TIME_WIDTH}, {"off 1", TIME_WIDTH}, {"on 2", TIME_WIDTH},
    {"off 2", TIME_WIDTH}, {"on 3", TIME_WIDTH}, {"off 3", TIME_WIDTH}, {"on 4", TIME_WIDTH},
    {"off 4", TIME_WIDTH}, {"on 5", TIME_WIDTH}, {"off 5", TIME_WIDTH}};

void print_history(const kavo_table_t& table, const History& row) {
    table.row({place(row), ov_local_time_text(row.sOnuHistoryAuthTime1),
               ov_local_time_text(row.sOnuHistoryOffTime1), ov_local_time_text(row.sOnuHistoryAuthTime2),
               ov_local_time_text(row.sOnuHistoryOffTime2), ov_local_time_text(row.sOnuHistoryAuthTime3),
               ov_local_time_text(row.sOnuHistoryOffTime3), ov_local_time_text(row.sOnuHistoryAuthTime4),
               ov_local_time_text(row.sOnuHistoryOffTime4), ov_local_time_text(row.sOnuHistoryAuthTime5),
               ov_local_time_text(row.sOnuHistoryOffTime5)});
}

int ov_gpon_olt_show_onu_history_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                     const char** /*argv*/) {
    const kavo_table_t table(vty, HISTORY_COLUMNS, {.trimmed = true});
    table.line("%s", "");
    table.heading();
    return show_rows_of_ports<History>(vty, table, gpon_cli_scope_of(vty), [table](const History& row) {
        print_history(table, row);
        return true;
    });
}

// ---- readings -------------------------------------------------------------------------------------------

// Fetches one reading of an ONU from its card. 0, or the result of a failure, behind a line.
int fetch(struct vty* vty, const Scope& scope, unsigned column, Readings& row) {
    row = onu_key<Readings>(scope.slot, scope.port, scope.onu);
    if (find_row(onu_key<Onu>(row)) == nullptr) {
        ov_refusal_because("no ONU %d", scope.onu);
        vty_out(vty, "%%Onu %d not exist%s", scope.onu, kavo_newline(vty));
        return KAVO_CLI_BAD_INPUT;
    }
    if (!mib_access(MIB_GET, row, gpon_cli_columns({column})))
        return gpon_cli_fail(vty, "%%Failed to get port info %s");
    return 0;
}

void print_reading(struct vty* vty, const Readings& row, const char* heading, const kavo_cell_t& value) {
    const kavo_column_t columns[] = {{"onu", -10}, {heading, 10}};
    const kavo_table_t table(vty, columns);
    table.line("%s", "");
    table.heading();
    table.row({place(row), value});
}

// IFNAME <1-128>
int ov_distance_onu_show_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    Scope scope;
    if (!gpon_cli_narrow_to_port(vty, argv[0], scope))
        return KAVO_CLI_BAD_INPUT;
    scope.onu = gpon_cli_number(argv[1]);
    Readings row;
    if (const int refusal =
            fetch(vty, scope, sOnuExtendInfoTable_column::sOnuExtendInfoPhysicalDistance, row);
        refusal != 0)
        return refusal;
    print_reading(vty, row, "distance", row.sOnuExtendInfoPhysicalDistance);
    return 0;
}

// <1-128>
int ov_show_gpon_olt_module_rxpower_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                        const char** argv) {
    Scope scope = gpon_cli_scope_of(vty);
    scope.onu = gpon_cli_number(argv[0]);
    Readings row;
    if (const int refusal = fetch(vty, scope, sOnuExtendInfoTable_column::sOnuExtendInfoOltRxPower, row);
        refusal != 0)
        return refusal;
    print_reading(vty, row, "rx power", row.sOnuExtendInfoOltRxPower);
    return 0;
}

const kavo_cmd_t onu_show_cmds[] = {
#include "commands/onu_show.def"
};

} // namespace

void gpon_onu_show_cli_init() {
    kavo_cmd_install(onu_show_cmds);
}
