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

// Prints the ONUs in scope for which `wanted` holds, those of a port when `named`. As in every list the
// heading comes first, whatever becomes of the name.
template <typename Wanted>
int show_states(CliCall& call, Scope scope, bool named, Wanted wanted) {
    const kavo_table_t table(call.vty, STATE_COLUMNS);
    print_state_head(table);
    if (named && !gpon_cli_narrow_to_port(call, scope))
        return KAVO_CLI_BAD_INPUT;
    return show_rows_of_ports<Onu>(call.vty, table, scope, [=](const Onu& row) {
        const bool is_shown = (scope.onu == Scope::ANY || row.onuId == scope.onu) && wanted(row);
        if (is_shown)
            print_state(table, row);
        return is_shown;
    });
}

bool all_of_them(const Onu& /*row*/) {
    return true;
}

int ov_gpon_olt_show_onu_state_cli(CliCall& call) {
    Scope scope = gpon_cli_scope_of(call.vty);
    scope.onu = call.words.number_or("onu", scope.onu);
    return show_states(call, scope, false, all_of_them);
}

int ov_gpon_olt_show_int_onu_id_state_cli(CliCall& call) {
    Scope scope;
    scope.onu = call.words.number_or("onu", scope.onu);
    return show_states(call, scope, true, all_of_them);
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

int ov_gpon_olt_show_onu_filter_cli(CliCall& call) {
    const std::string keyword = call.words.text("filter");
    const std::string part = call.words.text("STR");
    return show_states(call, gpon_cli_scope_of(call.vty), false,
                       [=](const Onu& row) { return contains(filtered_text(row, keyword.c_str()), part); });
}

// ---- ONUs that aren't configured ------------------------------------------------------------------------

constexpr kavo_column_t UNKNOWN_COLUMNS[] = {
    {"slot", 10}, {"port", 10}, {"serial number", -20, nullptr, 1}, {"registered as", 0, nullptr, 1}};

void ov_gpon_cli_dump_uncfg_onu_head(const kavo_table_t& table) {
    table.line("%s", "");
    table.heading();
}

int ov_gpon_show_uncfg_onu_cli(CliCall& call) {
    Scope scope = gpon_cli_scope_of(call.vty);
    const kavo_table_t table(call.vty, UNKNOWN_COLUMNS);
    ov_gpon_cli_dump_uncfg_onu_head(table);
    if (call.words.has("IFNAME") && !gpon_cli_narrow_to_port(call, scope))
        return KAVO_CLI_BAD_INPUT;
    return show_rows_of_ports<UnknownOnu>(call.vty, table, scope, [table](const UnknownOnu& row) {
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

int ov_gpon_olt_show_onu_history_cli(CliCall& call) {
    const kavo_table_t table(call.vty, HISTORY_COLUMNS, {.trimmed = true});
    table.line("%s", "");
    table.heading();
    return show_rows_of_ports<History>(call.vty, table, gpon_cli_scope_of(call.vty),
                                       [table](const History& row) {
                                           print_history(table, row);
                                           return true;
                                       });
}

// ---- readings -------------------------------------------------------------------------------------------

// Fetches one reading of an ONU from its card. 0, or the result of a failure, behind a line.
int fetch(const CliCall& call, const Scope& scope, unsigned column, Readings& row) {
    row = onu_key<Readings>(scope.slot, scope.port, scope.onu);
    if (find_row(onu_key<Onu>(row)) == nullptr) {
        ov_refusal_because("no ONU %d", scope.onu);
        call.line("%%Onu %d not exist", scope.onu);
        return KAVO_CLI_BAD_INPUT;
    }
    if (!mib_access(MIB_GET, row, gpon_cli_columns({column})))
        return call.fail("%%Failed to get port info %s");
    return 0;
}

void print_reading(struct vty* vty, const Readings& row, const char* heading, const kavo_cell_t& value) {
    const kavo_column_t columns[] = {{"onu", -10}, {heading, 10}};
    const kavo_table_t table(vty, columns);
    table.line("%s", "");
    table.heading();
    table.row({place(row), value});
}

template <typename Number>
int show_reading(CliCall& call, const Scope& scope, unsigned column, Number Readings::*value,
                 const char* heading) {
    Readings row;
    if (const int refusal = fetch(call, scope, column, row); refusal != 0)
        return refusal;
    print_reading(call.vty, row, heading, row.*value);
    return 0;
}

int ov_distance_onu_show_cli(CliCall& call) {
    Scope scope;
    if (!gpon_cli_narrow_to_port(call, scope))
        return KAVO_CLI_BAD_INPUT;
    scope.onu = call.words.number("onu");
    return show_reading(call, scope, sOnuExtendInfoTable_column::sOnuExtendInfoPhysicalDistance,
                        &Readings::sOnuExtendInfoPhysicalDistance, "distance");
}

int ov_show_gpon_olt_module_rxpower_cli(CliCall& call) {
    Scope scope = gpon_cli_scope_of(call.vty);
    scope.onu = call.words.number("onuid");
    return show_reading(call, scope, sOnuExtendInfoTable_column::sOnuExtendInfoOltRxPower,
                        &Readings::sOnuExtendInfoOltRxPower, "rx power");
}

const kavo_cmd_t onu_show_cmds[] = {
#include "commands/onu_show.def"
};

} // namespace

void gpon_onu_show_cli_init() {
    kavo_cmd_install(onu_show_cmds);
}
