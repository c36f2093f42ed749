// What is shown of ONUs: those that are configured, those that aren't, their past and their readings.
#include <algorithm>
#include <cctype>
#include <string>

#include "gpon_cli_scope.h"
#include "gpon_stepped_show.h"
#include "kavo_cmd_rows.h"
#include "kavo_if.h"
#include "onu_auth_forms.h"
#include "ov_gpon_onu_cli.h"
#include "sOnuExtendInfoTable.h"
#include "sOnuHistoryTable.h"
#include "sOnuInitTable.h"

namespace {

using Onu = ov_sOnuTable_attr_t;
using UnknownOnu = ov_sOnuInitTable_attr_t;
using History = ov_sOnuHistoryTable_attr_t;
using Readings = ov_sOnuExtendInfoTable_attr_t;
using Scope = gpon_cli_scope_t;

// Shows the rows of the ports in scope in steps: `print` gives whether one counts. Behind them their number.
// Costs by the rows of the port when there is just one.
template <typename Row, typename Print>
int show_rows_of_ports(struct vty* vty, const Scope& scope, Print print) {
    Row key = {};
    key.shelfID = GPON_CLI_SHELF;
    key.slotID = scope.slot;
    key.portID = scope.port;
    return gpon_show_rows(vty, key, scope.port == Scope::ANY ? 1 : INDEX_TO_PORT, print,
                          [vty](int count) { vty_out(vty, "total %d%s", count, kavo_newline(vty)); });
}

// ---- words and texts ------------------------------------------------------------------------------------

// The name of a number of an enumeration, the number itself for any other.
std::string value_name(unsigned column, mib_long value) {
    for (const ColName& named : table_desc_sOnuTable.column(static_cast<int>(column))->names)
        if (named.value == value)
            return named.name;
    return std::to_string(value);
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

constexpr char STATE_FORMAT[] = "%-10s %-12s %-18s %-10s %-45s %-15s %-12s%s";
constexpr size_t STATE_WIDTH = 127;

void print_state_head(struct vty* vty, const char* nl) {
    vty_out(vty, "%s", nl);
    vty_out(vty, STATE_FORMAT, "onu", "state", "onu type", "auth", "known by", "version", "name", nl);
    vty_out(vty, "%s%s", std::string(STATE_WIDTH, '-').c_str(), nl);
}

void print_state(struct vty* vty, const Onu& row, const char* nl) {
    using namespace sOnuTable_column;
    Labelled known_by;
    if (const OnuAuthForm* form = onu_auth_form_of(row.sOnuTableAuthMode); form != nullptr) {
        known_by.add(form->keyword, row.*form->first.text);
        if (form->second.column != 0)
            known_by.add("pw", row.*form->second.text);
    }
    vty_out(
        vty, STATE_FORMAT, place(row).c_str(), value_name(sOnuTableOnuState, row.sOnuTableOnuState).c_str(),
        gpon_cli_shown(row.sOnuTableOnuTypeProfileName).c_str(),
        value_name(sOnuTableAuthMode, row.sOnuTableAuthMode).c_str(), known_by.text(),
        gpon_cli_shown(row.sOnuTableOnuActVersion).c_str(), gpon_cli_shown(row.sOnuTableOnuName).c_str(), nl);
}

// Prints the ONUs in scope for which `wanted` holds, those of a port when there is a name. As in every list
// the heading comes first, whatever becomes of the name.
template <typename Wanted>
int show_states(struct vty* vty, Scope scope, const char* port_name, Wanted wanted) {
    const char* nl = kavo_newline(vty);
    print_state_head(vty, nl);
    if (port_name != nullptr && !gpon_cli_narrow_to_port(vty, port_name, scope))
        return KAVO_CLI_BAD_INPUT;
    return show_rows_of_ports<Onu>(vty, scope, [=](const Onu& row) {
        const bool is_shown = (scope.onu == Scope::ANY || row.onuId == scope.onu) && wanted(row);
        if (is_shown)
            print_state(vty, row, nl);
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

constexpr char UNKNOWN_FORMAT[] = "%10s %10s  %-20s  %s%s";

void ov_gpon_cli_dump_uncfg_onu_head(struct vty* vty, const char* nl) {
    vty_out(vty, "%s", nl);
    vty_out(vty, UNKNOWN_FORMAT, "slot", "port", "serial number", "registered as", nl);
}

// [IFNAME]
int ov_gpon_show_uncfg_onu_cli(struct cmd_element* /*self*/, struct vty* vty, int argc, const char** argv) {
    Scope scope = gpon_cli_scope_of(vty);
    const char* nl = kavo_newline(vty);
    ov_gpon_cli_dump_uncfg_onu_head(vty, nl);
    if (argc > 0 && !gpon_cli_narrow_to_port(vty, argv[0], scope))
        return KAVO_CLI_BAD_INPUT;
    return show_rows_of_ports<UnknownOnu>(vty, scope, [vty, nl](const UnknownOnu& row) {
        Labelled details;
        details.add("pw", row.sOnuInitTablePw)
            .add("loid", row.sOnuInitTableLoid)
            .add("loid-pw", row.sOnuInitTableLoidPw)
            .add("model", row.sOnuInitTableEqptId);
        vty_out(vty, UNKNOWN_FORMAT, std::to_string(row.slotID).c_str(), std::to_string(row.portID).c_str(),
                gpon_cli_shown(row.sOnuInitTableSn).c_str(), details.text(), nl);
        return true;
    });
}

// ---- history --------------------------------------------------------------------------------------------

constexpr size_t PLACE_WIDTH = 10;
constexpr size_t TIME_WIDTH = GPON_CLI_TIME_WIDTH;

// Without the blanks at its end.
void print_trimmed(struct vty* vty, const std::string& line, const char* nl) {
    vty_out(vty, "%s%s", line.substr(0, line.find_last_not_of(' ') + 1).c_str(), nl);
}

void print_history_head(struct vty* vty, const char* nl) {
    std::string line = "onu";
    line.resize(PLACE_WIDTH, ' ');
    for (const char* period : {"1", "2", "3", "4", "5"})
        for (const char* what : {"on ", "off "}) {
            std::string heading = std::string(what) + period;
            heading.resize(TIME_WIDTH, ' ');
            line += " " + heading;
        }
    vty_out(vty, "%s", nl);
    print_trimmed(vty, line, nl);
}

void print_history(struct vty* vty, const History& row, const char* nl) {
    std::string line = place(row);
    line.resize(std::max(line.size(), PLACE_WIDTH), ' ');
    for (const mib_ulong time : {row.sOnuHistoryAuthTime1, row.sOnuHistoryOffTime1, row.sOnuHistoryAuthTime2,
                                 row.sOnuHistoryOffTime2, row.sOnuHistoryAuthTime3, row.sOnuHistoryOffTime3,
                                 row.sOnuHistoryAuthTime4, row.sOnuHistoryOffTime4, row.sOnuHistoryAuthTime5,
                                 row.sOnuHistoryOffTime5}) {
        std::string text = gpon_cli_time(time);
        text.resize(TIME_WIDTH, ' ');
        line += " " + text;
    }
    print_trimmed(vty, line, nl);
}

int ov_gpon_olt_show_onu_history_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                     const char** /*argv*/) {
    const char* nl = kavo_newline(vty);
    print_history_head(vty, nl);
    return show_rows_of_ports<History>(vty, gpon_cli_scope_of(vty), [vty, nl](const History& row) {
        print_history(vty, row, nl);
        return true;
    });
}

// ---- readings -------------------------------------------------------------------------------------------

// Fetches one reading of an ONU from its card. 0, or the result of a failure, behind a line.
int fetch(struct vty* vty, const Scope& scope, unsigned column, Readings& row) {
    row = {};
    row.shelfID = GPON_CLI_SHELF;
    row.slotID = scope.slot;
    row.portID = scope.port;
    row.onuId = scope.onu;
    if (find_row(onu_key<Onu>(row)) == nullptr) {
        vty_out(vty, "%%Onu %d not exist%s", scope.onu, kavo_newline(vty));
        return KAVO_CLI_BAD_INPUT;
    }
    if (!mib_access(MIB_GET, row, gpon_cli_columns({column})))
        return gpon_cli_fail(vty, "%%Failed to get port info %s");
    return 0;
}

void print_reading(struct vty* vty, const Readings& row, const char* heading, const std::string& value) {
    const char* nl = kavo_newline(vty);
    vty_out(vty, "%s%-10s %10s%s%-10s %10s%s", nl, "onu", heading, nl, place(row).c_str(), value.c_str(), nl);
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
    print_reading(vty, row, "distance", std::to_string(row.sOnuExtendInfoPhysicalDistance));
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
    print_reading(vty, row, "rx power", std::to_string(row.sOnuExtendInfoOltRxPower));
    return 0;
}

const kavo_cmd_t onu_show_cmds[] = {
#include "commands/onu_show.def"
};

} // namespace

void gpon_onu_show_cli_init() {
    kavo_cmd_install(onu_show_cmds);
}
