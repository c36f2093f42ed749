#include "ov_gpon_profile_cli.h"

#include <cstring>

#include "app_rows.h"
#include "cli_forms.h"
#include "command_syntaxes.h"
#include "gpon_cli.h"
#include "gpon_config_parts.h"
#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "ov_app_gpon_bwtype.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_rm_traffic.h"
#include "ov_gpon_onu_config.h"
#include "ov_product_log.h"
#include "ov_refusal.h"

namespace {

// All rows of a table, and how many they are.
template <typename Row, typename Show>
int show_profiles(struct vty* vty, std::span<const kavo_column_t> columns, Show show) {
    const kavo_table_t table(vty, columns);
    int count = 0;
    table.line("%s", "");
    table.heading();
    for (const Row& row : all_rows<Row>()) {
        show(table, row);
        count++;
    }
    table.line("total %d", count);
    return 0;
}

constexpr char DEFAULT_PROFILE[] = "default"; // of bandwidth and traffic, there from the start

// The name of a profile out of a command, behind the word for its kind; 0, or the result of a refusal.
template <size_t Size>
int take_name(const CliCall& call, const char* kind, char (&field)[Size], size_t longest) {
    if (gpon_cli_copy_word(field, call.words.text(kind), longest))
        return 0;
    return call.fail_name("%%Bad profile name length%s", longest);
}

// The end of a command that adds or deletes a profile: 0, or the failure's line, "Failed to add KIND profile
// NAME".
int answer(const CliCall& call, int rtn, const char* verb, const char* kind, const char* name) {
    if (rtn == OV_GPON_RET_OK)
        return 0;
    call.line("%%Failed to %s %s profile %s", verb, kind, name);
    return KAVO_CLI_FAILED;
}

// ---- traffic -----------------------------------------------------------------------------------------

int ov_traffice_profile_add_cli(CliCall& call) {
    using namespace sRmTrafficProfileTable_column;
    ov_sRmTrafficProfileTable_attr_t row = {};
    if (const int refusal = take_name(call, "traffic", row.sRmTrafficProfileName, GPON_CLI_SHORT_NAME_MAX))
        return refusal;
    row.sRmTrafficProfileCIR = call.words.number<mib_ulong>("cir");
    row.sRmTrafficProfileCBS = call.words.number<mib_ulong>("cbs");
    row.sRmTrafficProfilePIR = call.words.number<mib_ulong>("pir");
    row.sRmTrafficProfilePBS = call.words.number<mib_ulong>("pbs");
    if (row.sRmTrafficProfilePIR < row.sRmTrafficProfileCIR) {
        ov_refusal_because("pir %s is less than cir %s", call.words.text("pir"), call.words.text("cir"));
        return call.fail("%%Wrong parameter(pir >= cir)%s", KAVO_CLI_BAD_INPUT);
    }
    MIB_Flags_t flags = gpon_cli_columns({sRmTrafficProfileName, sRmTrafficProfileCIR, sRmTrafficProfileCBS,
                                          sRmTrafficProfilePIR, sRmTrafficProfilePBS});
    // its old wording
    return answer(call, ov_app_gpon_rm_traffic_add(&row, &flags), "add", "bandwidth",
                  call.words.text("traffic"));
}

int ov_traffic_profile_del_cli(CliCall& call) {
    ov_sRmTrafficProfileTable_attr_t row = {};
    if (const int refusal = take_name(call, "traffic", row.sRmTrafficProfileName, GPON_CLI_SHORT_NAME_MAX))
        return refusal;
    return answer(call, ov_app_gpon_rm_traffic_del(&row), "delete", "traffic", call.words.text("traffic"));
}

constexpr kavo_column_t TRAFFIC_COLUMNS[] = {
    {"traffic profile", -33}, {"cir", 10}, {"cbs", 10}, {"pir", 10}, {"pbs", 10}};

int ov_show_onu_traffic_profile_cli(CliCall& call) {
    return show_profiles<ov_sRmTrafficProfileTable_attr_t>(
        call.vty, TRAFFIC_COLUMNS, [](const kavo_table_t& table, const auto& row) {
            table.row({gpon_cli_shown(row.sRmTrafficProfileName), row.sRmTrafficProfileCIR,
                       row.sRmTrafficProfileCBS, row.sRmTrafficProfilePIR, row.sRmTrafficProfilePBS});
        });
}

// ---- bandwidth ---------------------------------------------------------------------------------------

// The type is told by the amounts that are named; those that aren't are 0.
mib_long bandwidth_type(const CliWords& words) {
    if (words.has("fixed"))
        return words.has("assured") ? SBWPROFILETABLETYPE_TYPE5 : SBWPROFILETABLETYPE_TYPE1;
    if (words.has("maximum"))
        return words.has("assured") ? SBWPROFILETABLETYPE_TYPE3 : SBWPROFILETABLETYPE_TYPE4;
    return SBWPROFILETABLETYPE_TYPE2;
}

int ov_bw_profile_add_cli(CliCall& call) {
    using namespace sBWProfileTable_column;
    ov_sBWProfileTable_attr_t row = {};
    if (const int refusal =
            take_name(call, "bandwidth", row.sBWProfileTableBwProfileName, GPON_CLI_PROFILE_NAME_MAX))
        return refusal;
    row.sBWProfileTableType = bandwidth_type(call.words);
    row.sBWProfileTableFixBw = call.words.number_or("fixed", 0);
    row.sBWProfileTableAssBw = call.words.number_or("assured", 0);
    row.sBWProfileTableMaxBw = call.words.number_or("maximum", 0);
    MIB_Flags_t flags = gpon_cli_columns({sBWProfileTableBwProfileName, sBWProfileTableType,
                                          sBWProfileTableFixBw, sBWProfileTableAssBw, sBWProfileTableMaxBw});
    return answer(call, ov_app_gpon_bwtype_add(&row, &flags), "add", "bandwidth",
                  call.words.text("bandwidth"));
}

int ov_bw_profile_del_cli(CliCall& call) {
    ov_sBWProfileTable_attr_t row = {};
    if (const int refusal =
            take_name(call, "bandwidth", row.sBWProfileTableBwProfileName, GPON_CLI_PROFILE_NAME_MAX))
        return refusal;
    return answer(call, ov_app_gpon_bwtype_del(&row), "delete", "bandwidth", call.words.text("bandwidth"));
}

constexpr kavo_column_t BANDWIDTH_COLUMNS[] = {
    {"bandwidth profile", -64}, {"type", 4}, {"fixed", 10}, {"assured", 10}, {"maximum", 10}};

int ov_show_onu_bandwidth_profile_cli(CliCall& call) {
    return show_profiles<ov_sBWProfileTable_attr_t>(
        call.vty, BANDWIDTH_COLUMNS, [](const kavo_table_t& table, const auto& row) {
            table.row({gpon_cli_shown(row.sBWProfileTableBwProfileName), row.sBWProfileTableType,
                       row.sBWProfileTableFixBw, row.sBWProfileTableAssBw, row.sBWProfileTableMaxBw});
        });
}

// ---- ONU types ---------------------------------------------------------------------------------------

// What a type has beside what its command names.
constexpr mib_long CARDS = 1;
constexpr mib_long TCONTS = 8;
constexpr mib_long GEM_PORTS = 32;
constexpr mib_long QUEUES = 8;

int ov_onutype_profile_add_cli(CliCall& call) {
    using namespace sOnuTypeProfileTable_column;
    ov_sOnuTypeProfileTable_attr_t row = {};
    if (const int refusal = take_name(call, "onutype", row.onuTypeProfileName, GPON_CLI_SHORT_NAME_MAX))
        return refusal;
    row.sOnuTypeProfileTableCardNum = call.words.number_or("card", CARDS);
    row.sOnuTypeProfileTableTcontNum = TCONTS;
    row.sOnuTypeProfileTableGemPortNum = GEM_PORTS;
    row.sOnuTypeProfileTableUpQueueNum = call.words.number_or("up-queue", QUEUES);
    row.sOnuTypeProfileTableDwnQueueNum = call.words.number_or("down-queue", QUEUES);
    row.sOnuTypeProfileTableEthNum = call.words.number("eth");
    row.sOnuTypeProfileTablePotsNum = call.words.number("pots");
    row.sOnuTypeProfileTableHostNum = row.sOnuTypeProfileTablePotsNum;
    row.sOnuTypeProfileTableVideoNum = call.words.number_or("video", 0);
    MIB_Flags_t flags = gpon_cli_columns(
        {onuTypeProfileName, sOnuTypeProfileTableIsDefaultProfile, sOnuTypeProfileTableCardNum,
         sOnuTypeProfileTableTcontNum, sOnuTypeProfileTableGemPortNum, sOnuTypeProfileTableUpQueueNum,
         sOnuTypeProfileTableDwnQueueNum, sOnuTypeProfileTableHostNum, sOnuTypeProfileTableEthNum,
         sOnuTypeProfileTablePotsNum, sOnuTypeProfileTableVideoNum});
    return answer(call, ov_app_gpon_onutype_add(&row, &flags), "add", "onutype", call.words.text("onutype"));
}

int ov_onutype_profile_del_cli(CliCall& call) {
    ov_sOnuTypeProfileTable_attr_t row = {};
    if (const int refusal = take_name(call, "onutype", row.onuTypeProfileName, GPON_CLI_SHORT_NAME_MAX))
        return refusal;
    return answer(call, ov_app_gpon_onutype_del(&row), "delete", "onutype", call.words.text("onutype"));
}

constexpr kavo_column_t ONU_TYPE_COLUMNS[] = {{"onu type", -33}, {"eth", 10},   {"pots", 10},
                                              {"card", 10},      {"video", 10}, {"down-queue", 10},
                                              {"up-queue", 10}};

int ov_show_onu_type_profile_cli(CliCall& call) {
    return show_profiles<ov_sOnuTypeProfileTable_attr_t>(
        call.vty, ONU_TYPE_COLUMNS, [](const kavo_table_t& table, const auto& row) {
            table.row({gpon_cli_shown(row.onuTypeProfileName), row.sOnuTypeProfileTableEthNum,
                       row.sOnuTypeProfileTablePotsNum, row.sOnuTypeProfileTableCardNum,
                       row.sOnuTypeProfileTableVideoNum, row.sOnuTypeProfileTableDwnQueueNum,
                       row.sOnuTypeProfileTableUpQueueNum});
        });
}

const kavo_cmd_t profile_cmds[] = {
#include "commands/profile.def"
};

// ---- the saved configuration -------------------------------------------------------------------------

// A manager can make profiles that no command can. They have no line, since the replay of a block ends at the
// first one that is refused.
std::string line_of(const ov_sBWProfileTable_attr_t& row) {
    static const CliForms forms(gpon_command_syntaxes(), {"bandwidth", "fixed", "assured", "maximum"});
    const char* const name = row.sBWProfileTableBwProfileName;
    const mib_long fixed = row.sBWProfileTableFixBw;
    const mib_long assured = row.sBWProfileTableAssBw;
    const mib_long maximum = row.sBWProfileTableMaxBw;
    switch (row.sBWProfileTableType) {
    case SBWPROFILETABLETYPE_TYPE1:
        return forms.line({name, fixed, {}, {}});
    case SBWPROFILETABLETYPE_TYPE2:
        return forms.line({name, {}, assured, {}});
    case SBWPROFILETABLETYPE_TYPE3:
        return assured <= maximum ? forms.line({name, {}, assured, maximum}) : "";
    case SBWPROFILETABLETYPE_TYPE4:
        return forms.line({name, {}, {}, maximum});
    case SBWPROFILETABLETYPE_TYPE5:
        return int64_t{fixed} + assured <= maximum ? forms.line({name, fixed, assured, maximum}) : "";
    default:
        return "";
    }
}

std::string line_of(const ov_sRmTrafficProfileTable_attr_t& row) {
    static const CliForms forms(gpon_command_syntaxes(), {"traffic", "cir", "cbs", "pir", "pbs"});
    if (row.sRmTrafficProfilePIR < row.sRmTrafficProfileCIR)
        return "";
    return forms.line({row.sRmTrafficProfileName, row.sRmTrafficProfileCIR, row.sRmTrafficProfileCBS,
                       row.sRmTrafficProfilePIR, row.sRmTrafficProfilePBS});
}

// The shortest form that says all.
std::string line_of(const ov_sOnuTypeProfileTable_attr_t& row) {
    static const CliForms forms(gpon_command_syntaxes(),
                                {"onutype", "eth", "pots", "card", "video", "down-queue", "up-queue"});
    const mib_long down = row.sOnuTypeProfileTableDwnQueueNum;
    const mib_long up = row.sOnuTypeProfileTableUpQueueNum;
    const bool video = row.sOnuTypeProfileTableVideoNum != 0;
    const bool card = video || row.sOnuTypeProfileTableCardNum != CARDS;
    const bool queues = video || down != QUEUES || up != QUEUES;
    const auto if_said = [](bool said, mib_long number) { return said ? CliValue(number) : CliValue(); };
    return forms.line({row.onuTypeProfileName, row.sOnuTypeProfileTableEthNum,
                       row.sOnuTypeProfileTablePotsNum, if_said(card, row.sOnuTypeProfileTableCardNum),
                       if_said(video, row.sOnuTypeProfileTableVideoNum), if_said(queues, down),
                       if_said(queues, up)});
}

// Prints the profile's line. A configuration that is saved without it says so in the log.
template <typename Row>
int print_profile(struct vty* vty, const Row& row, const char* kind, const char* name, size_t longest) {
    const std::string line = gpon_config_is_name(name, longest) ? line_of(row) : "";
    if (!line.empty()) {
        vty_out(vty, " %s%s", line.c_str(), kavo_newline(vty));
        return 1;
    }
    if (vty->write_term_flag == WRITE_TERM_FILE)
        OV_LOG_WARN("LIB", "profile %s %s is in no saved configuration: no command makes it", kind,
                    gpon_cli_shown(name).c_str());
    return 0;
}

// The default profiles are there at every start, and refuse to be made again.
bool is_default(const char* name) {
    return strcmp(name, DEFAULT_PROFILE) == 0;
}

} // namespace

int ov_gpon_cli_onutype_profile_cfg(struct vty* vty) {
    int lines = 0;
    for (const auto& row : all_rows<ov_sOnuTypeProfileTable_attr_t>())
        if (row.sOnuTypeProfileTableIsDefaultProfile == 0)
            lines += print_profile(vty, row, "onutype", row.onuTypeProfileName, GPON_CLI_SHORT_NAME_MAX);
    return lines;
}

int ov_gpon_cli_bw_profile_cfg(struct vty* vty) {
    int lines = 0;
    for (const auto& row : all_rows<ov_sBWProfileTable_attr_t>())
        if (const char* name = row.sBWProfileTableBwProfileName; !is_default(name))
            lines += print_profile(vty, row, "bandwidth", name, GPON_CLI_PROFILE_NAME_MAX);
    return lines;
}

int ov_gpon_cli_traffic_profile_cfg(struct vty* vty) {
    int lines = 0;
    for (const auto& row : all_rows<ov_sRmTrafficProfileTable_attr_t>())
        if (const char* name = row.sRmTrafficProfileName; !is_default(name))
            lines += print_profile(vty, row, "traffic", name, GPON_CLI_SHORT_NAME_MAX);
    return lines;
}

void gpon_profile_cli_init() {
    kavo_cmd_install(profile_cmds);
}
