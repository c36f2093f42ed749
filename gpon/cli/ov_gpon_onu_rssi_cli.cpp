#include <array>
#include <charconv>
#include <cstring>
#include <string>
#include <vector>

#include "app_rows.h"
#include "cli_forms.h"
#include "command_syntaxes.h"
#include "gpon_cli.h"
#include "gpon_config_parts.h"
#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "ov_app_gpon_onu_rssi.h"
#include "ov_gpon_profile_cli.h"
#include "ov_product_log.h"
#include "ov_refusal.h"

namespace {

using Row = ov_sOnuRssiProfileTable_attr_t;
using namespace sOnuRssiProfileTable_column;

// ---- what a profile watches --------------------------------------------------------------------------

constexpr size_t LIMITS = 4;
constexpr std::array<const char*, LIMITS> LIMIT_WORDS = {"ALARML", "WARNL", "WARNH", "ALARMH"};

// One limit of a quantity.
struct Limit {
    mib_long Row::*value;
    unsigned column;
};
#define LIMIT(name)                                                                                          \
    { &Row::name, name }

struct Quantity {
    const char* keyword; // of the command that sets it
    const char* name;
    std::array<Limit, LIMITS> limits; // from the lowest to the highest, in the order of the command
};
constexpr Quantity QUANTITIES[] = {
    {"txpwr-threshold",
     "txpwr",
     {{LIMIT(sOnuRssiLowTxpwrAlm), LIMIT(sOnuRssiLowTxpwrWarn), LIMIT(sOnuRssiHighTxpwrWarn),
       LIMIT(sOnuRssiHighTxpwrAlm)}}},
    {"rxpwr-threshold",
     "rxpwr",
     {{LIMIT(sOnuRssiLowRxpwrAlm), LIMIT(sOnuRssiLowRxpwrWarn), LIMIT(sOnuRssiHighRxpwrWarn),
       LIMIT(sOnuRssiHighRxpwrAlm)}}},
    {"bias-threshold",
     "bias",
     {{LIMIT(sOnuRssiLowBiasAlm), LIMIT(sOnuRssiLowBiasWarn), LIMIT(sOnuRssiHighBiasWarn),
       LIMIT(sOnuRssiHighBiasAlm)}}},
    {"vcc-threshold",
     "vcc",
     {{LIMIT(sOnuRssiLowVccAlm), LIMIT(sOnuRssiLowVccWarn), LIMIT(sOnuRssiHighVccWarn),
       LIMIT(sOnuRssiHighVccAlm)}}},
    {"temp-threshold",
     "temp",
     {{LIMIT(sOnuRssiLowTempAlm), LIMIT(sOnuRssiLowTempWarn), LIMIT(sOnuRssiHighTempWarn),
       LIMIT(sOnuRssiHighTempAlm)}}},
};
#undef LIMIT

// ---- setting -----------------------------------------------------------------------------------------

bool read_number(const char* word, mib_long& number) {
    const char* const end = word + std::strlen(word);
    const auto read = std::from_chars(word, end, number);
    return (read.ec == std::errc() && read.ptr == end) ||
           ov_refusal_because("\"%s\" isn't a whole number", word);
}

int set_quantity(const CliCall& call, const Quantity& quantity) {
    Row row = {};
    MIB_Flags_t columns = {};
    row.profileId = call.words.number("onu-rssi");
    for (size_t i = 0; i < LIMITS; ++i) {
        const Limit& limit = quantity.limits[i];
        if (!read_number(call.words.text(LIMIT_WORDS[i]), row.*limit.value))
            return call.fail("%%Invalid parameter %s", KAVO_CLI_BAD_INPUT);
        mib_flag_set(columns, limit.column);
    }
    if (ov_app_gpon_onu_rssi_add(&row, &columns) == OV_GPON_RET_OK)
        return 0;
    return call.fail("onu rssi profile set error,maybe the profile is inuse %s");
}

template <size_t quantity>
int set_quantity_cli(CliCall& call) {
    return set_quantity(call, QUANTITIES[quantity]);
}
constexpr auto* ov_onu_rssi_profile_txpwr_cli = set_quantity_cli<0>;
constexpr auto* ov_onu_rssi_profile_rxpwr_cli = set_quantity_cli<1>;
constexpr auto* ov_onu_rssi_profile_bias_cli = set_quantity_cli<2>;
constexpr auto* ov_onu_rssi_profile_vcc_cli = set_quantity_cli<3>;
constexpr auto* ov_onu_rssi_profile_temp_cli = set_quantity_cli<4>;

int ov_onu_rssi_profile_del_cli(CliCall& call) {
    Row row = {};
    row.profileId = call.words.number("onu-rssi");
    if (ov_app_gpon_onu_rssi_del(&row) == OV_GPON_RET_OK)
        return 0;
    return call.fail_of("%%Failed to delete onu rssi profile %d%s", row.profileId);
}

// ---- showing -----------------------------------------------------------------------------------------

constexpr kavo_column_t COLUMNS[] = {{"rssi profile", -12}, {"threshold", -9},    {"low alarm", 12},
                                     {"low warning", 12},   {"high warning", 12}, {"high alarm", 12}};

void print_profile(const kavo_table_t& table, const Row& row) {
    const std::string name =
        row.profileId == GPON_RSSI_PROFILE_DEFAULT ? "default" : std::to_string(row.profileId);
    for (const Quantity& quantity : QUANTITIES) {
        const auto& limits = quantity.limits;
        table.row({name, quantity.name, row.*limits[0].value, row.*limits[1].value, row.*limits[2].value,
                   row.*limits[3].value});
    }
}

int show_profile(const CliCall& call, mib_long id) {
    Row key = {};
    key.profileId = id;
    const Row* row = find_row(key);
    if (row == nullptr) {
        ov_refusal_because("no RSSI profile %d", id);
        return call.fail("%%Invalid parameter %s", KAVO_CLI_BAD_INPUT);
    }
    const kavo_table_t table(call.vty, COLUMNS);
    table.line("%s", "");
    table.heading();
    print_profile(table, *row);
    return 0;
}

int ov_onu_rssi_profile_show_sig_cli(CliCall& call) {
    return show_profile(call, call.words.number("onu-rssi"));
}

int ov_onu_rssi_profile_show_def_cli(CliCall& call) {
    return show_profile(call, GPON_RSSI_PROFILE_DEFAULT);
}

int ov_onu_rssi_profile_show_all_cli(CliCall& call) {
    const kavo_table_t table(call.vty, COLUMNS);
    int count = 0;
    table.line("%s", "");
    table.heading();
    for (const Row& row : all_rows<Row>()) {
        print_profile(table, row);
        count++;
    }
    table.line("total %d", count);
    return 0;
}

const kavo_cmd_t onu_rssi_cmds[] = {
#include "commands/onu_rssi.def"
};

// ---- the saved configuration -------------------------------------------------------------------------

// The command that sets a quantity of the profile; empty for a profile that no command makes.
std::string line_of(const Row& row, size_t quantity) {
    static const CliForms forms(gpon_command_syntaxes(),
                                {"onu-rssi", "WARNL", "WARNH", "ALARMH", "txpwr-threshold", "rxpwr-threshold",
                                 "bias-threshold", "vcc-threshold", "temp-threshold"});
    const auto& limits = QUANTITIES[quantity].limits;
    std::array<CliValue, 4 + std::size(QUANTITIES)> values = {row.profileId, row.*limits[1].value,
                                                              row.*limits[2].value, row.*limits[3].value};
    values[4 + quantity] = row.*limits[0].value;
    return forms.line(values);
}

bool is_at_default(const Row& row, const Quantity& quantity) {
    for (const Limit& limit : quantity.limits)
        if (row.*limit.value != table_desc_sOnuRssiProfileTable.column(static_cast<int>(limit.column))->dflt)
            return false;
    return true;
}

// The quantities whose commands make the profile: those that aren't at their defaults, or the first one of a
// profile that has nothing else. The default profile is there at every start.
std::vector<size_t> said_quantities(const Row& row) {
    std::vector<size_t> said;
    for (size_t quantity = 0; quantity < std::size(QUANTITIES); ++quantity)
        if (!is_at_default(row, QUANTITIES[quantity]))
            said.push_back(quantity);
    if (said.empty() && row.profileId != GPON_RSSI_PROFILE_DEFAULT)
        said.push_back(0);
    return said;
}

// Prints the lines of a profile. Managers can change the default profile and make others that no command
// makes; a configuration that is saved without one says so in the log.
int print_lines(struct vty* vty, const Row& row) {
    int lines = 0;
    for (const size_t quantity : said_quantities(row)) {
        const std::string line = line_of(row, quantity);
        if (line.empty()) {
            if (vty->write_term_flag == WRITE_TERM_FILE)
                OV_LOG_WARN("LIB", "profile onu-rssi %d is in no saved configuration: no command makes it",
                            row.profileId);
            return 0;
        }
        vty_out(vty, " %s%s", line.c_str(), kavo_newline(vty));
        ++lines;
    }
    return lines;
}

} // namespace

int ov_gpon_cli_onurssi_profile_cfg(struct vty* vty) {
    int lines = 0;
    for (const Row& row : all_rows<Row>())
        lines += print_lines(vty, row);
    return lines;
}

void gpon_onu_rssi_cli_init() {
    kavo_cmd_install(onu_rssi_cmds);
}
