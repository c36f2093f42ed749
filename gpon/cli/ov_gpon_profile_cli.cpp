#include "ov_gpon_profile_cli.h"

#include <cstring>

#include "app_rows.h"
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

int bad_name_length(struct vty* vty, size_t longest) {
    return gpon_cli_fail_name(vty, "%%Bad profile name length%s", longest);
}

// ---- traffic -----------------------------------------------------------------------------------------

// NAME cir N cbs N pir N pbs N
int ov_traffice_profile_add_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                const char** argv) {
    using namespace sRmTrafficProfileTable_column;
    ov_sRmTrafficProfileTable_attr_t row = {};
    if (!gpon_cli_copy_word(row.sRmTrafficProfileName, argv[0], GPON_CLI_SHORT_NAME_MAX))
        return bad_name_length(vty, GPON_CLI_SHORT_NAME_MAX);
    row.sRmTrafficProfileCIR = static_cast<mib_ulong>(gpon_cli_number(argv[1]));
    row.sRmTrafficProfileCBS = static_cast<mib_ulong>(gpon_cli_number(argv[2]));
    row.sRmTrafficProfilePIR = static_cast<mib_ulong>(gpon_cli_number(argv[3]));
    row.sRmTrafficProfilePBS = static_cast<mib_ulong>(gpon_cli_number(argv[4]));
    if (row.sRmTrafficProfilePIR < row.sRmTrafficProfileCIR) {
        ov_refusal_because("pir %s is less than cir %s", argv[3], argv[1]);
        return gpon_cli_fail(vty, "%%Wrong parameter(pir >= cir)%s", KAVO_CLI_BAD_INPUT);
    }
    MIB_Flags_t flags = gpon_cli_columns({sRmTrafficProfileName, sRmTrafficProfileCIR, sRmTrafficProfileCBS,
                                          sRmTrafficProfilePIR, sRmTrafficProfilePBS});
    if (ov_app_gpon_rm_traffic_add(&row, &flags) == OV_GPON_RET_OK)
        return 0;
    vty_out(vty, "%%Failed to add bandwidth profile %s%s", argv[0], kavo_newline(vty)); // its old wording
    return KAVO_CLI_FAILED;
}

int ov_traffic_profile_del_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                               const char** argv) {
    ov_sRmTrafficProfileTable_attr_t row = {};
    if (!gpon_cli_copy_word(row.sRmTrafficProfileName, argv[0], GPON_CLI_SHORT_NAME_MAX))
        return bad_name_length(vty, GPON_CLI_SHORT_NAME_MAX);
    if (ov_app_gpon_rm_traffic_del(&row) == OV_GPON_RET_OK)
        return 0;
    vty_out(vty, "%%Failed to delete traffic profile %s%s", argv[0], kavo_newline(vty));
    return KAVO_CLI_FAILED;
}

constexpr kavo_column_t TRAFFIC_COLUMNS[] = {
    {"traffic profile", -33}, {"cir", 10}, {"cbs", 10}, {"pir", 10}, {"pbs", 10}};

int ov_show_onu_traffic_profile_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                    const char** /*argv*/) {
    return show_profiles<ov_sRmTrafficProfileTable_attr_t>(
        vty, TRAFFIC_COLUMNS, [](const kavo_table_t& table, const auto& row) {
            table.row({gpon_cli_shown(row.sRmTrafficProfileName), row.sRmTrafficProfileCIR,
                       row.sRmTrafficProfileCBS, row.sRmTrafficProfilePIR, row.sRmTrafficProfilePBS});
        });
}

// ---- bandwidth ---------------------------------------------------------------------------------------

// The forms of the command, told by the words behind the name: "fixed F" has one, "(assured|maximum) N" a
// keyword and a number, "assured A maximum M" two, "fixed F assured A maximum M" three. Amounts that a form
// doesn't name are 0.
void fill_bandwidth(ov_sBWProfileTable_attr_t& row, int argc, const char** argv) {
    const char* const* word = argv + 1;
    if (argc == 2) {
        row.sBWProfileTableType = SBWPROFILETABLETYPE_TYPE1;
        row.sBWProfileTableFixBw = gpon_cli_number(word[0]);
    } else if (argc == 3 && word[0][0] == 'a') {
        row.sBWProfileTableType = SBWPROFILETABLETYPE_TYPE2;
        row.sBWProfileTableAssBw = gpon_cli_number(word[1]);
    } else if (argc == 3 && word[0][0] == 'm') {
        row.sBWProfileTableType = SBWPROFILETABLETYPE_TYPE4;
        row.sBWProfileTableMaxBw = gpon_cli_number(word[1]);
    } else if (argc == 3) {
        row.sBWProfileTableType = SBWPROFILETABLETYPE_TYPE3;
        row.sBWProfileTableAssBw = gpon_cli_number(word[0]);
        row.sBWProfileTableMaxBw = gpon_cli_number(word[1]);
    } else if (argc == 4) {
        row.sBWProfileTableType = SBWPROFILETABLETYPE_TYPE5;
        row.sBWProfileTableFixBw = gpon_cli_number(word[0]);
        row.sBWProfileTableAssBw = gpon_cli_number(word[1]);
        row.sBWProfileTableMaxBw = gpon_cli_number(word[2]);
    }
}

int ov_bw_profile_add_cli(struct cmd_element* /*self*/, struct vty* vty, int argc, const char** argv) {
    using namespace sBWProfileTable_column;
    ov_sBWProfileTable_attr_t row = {};
    if (!gpon_cli_copy_word(row.sBWProfileTableBwProfileName, argv[0], GPON_CLI_PROFILE_NAME_MAX))
        return bad_name_length(vty, GPON_CLI_PROFILE_NAME_MAX);
    fill_bandwidth(row, argc, argv);
    if (row.sBWProfileTableType == 0)
        return gpon_cli_fail(vty, "%%Bad parameter%s", KAVO_CLI_BAD_INPUT);
    MIB_Flags_t flags = gpon_cli_columns({sBWProfileTableBwProfileName, sBWProfileTableType,
                                          sBWProfileTableFixBw, sBWProfileTableAssBw, sBWProfileTableMaxBw});
    if (ov_app_gpon_bwtype_add(&row, &flags) == OV_GPON_RET_OK)
        return 0;
    vty_out(vty, "%%Failed to add bandwidth profile %s%s", argv[0], kavo_newline(vty));
    return KAVO_CLI_FAILED;
}

int ov_bw_profile_del_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    ov_sBWProfileTable_attr_t row = {};
    if (!gpon_cli_copy_word(row.sBWProfileTableBwProfileName, argv[0], GPON_CLI_PROFILE_NAME_MAX))
        return bad_name_length(vty, GPON_CLI_PROFILE_NAME_MAX);
    if (ov_app_gpon_bwtype_del(&row) == OV_GPON_RET_OK)
        return 0;
    vty_out(vty, "%%Failed to delete bandwidth profile %s%s", argv[0], kavo_newline(vty));
    return KAVO_CLI_FAILED;
}

constexpr kavo_column_t BANDWIDTH_COLUMNS[] = {
    {"bandwidth profile", -64}, {"type", 4}, {"fixed", 10}, {"assured", 10}, {"maximum", 10}};

int ov_show_onu_bandwidth_profile_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                      const char** /*argv*/) {
    return show_profiles<ov_sBWProfileTable_attr_t>(
        vty, BANDWIDTH_COLUMNS, [](const kavo_table_t& table, const auto& row) {
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

// NAME eth N pots N [card N [video N]] [down-queue N up-queue N]; the queues are the last two words of 5, 6
// and 7.
void fill_onutype(ov_sOnuTypeProfileTable_attr_t& row, int argc, const char** argv) {
    row.sOnuTypeProfileTableCardNum = CARDS;
    row.sOnuTypeProfileTableTcontNum = TCONTS;
    row.sOnuTypeProfileTableGemPortNum = GEM_PORTS;
    row.sOnuTypeProfileTableUpQueueNum = QUEUES;
    row.sOnuTypeProfileTableDwnQueueNum = QUEUES;
    row.sOnuTypeProfileTableEthNum = gpon_cli_number(argv[1]);
    row.sOnuTypeProfileTablePotsNum = gpon_cli_number(argv[2]);
    row.sOnuTypeProfileTableHostNum = row.sOnuTypeProfileTablePotsNum;
    if (argc == 4 || argc >= 6)
        row.sOnuTypeProfileTableCardNum = gpon_cli_number(argv[3]);
    if (argc == 7)
        row.sOnuTypeProfileTableVideoNum = gpon_cli_number(argv[4]);
    if (argc >= 5) {
        row.sOnuTypeProfileTableDwnQueueNum = gpon_cli_number(argv[argc - 2]);
        row.sOnuTypeProfileTableUpQueueNum = gpon_cli_number(argv[argc - 1]);
    }
}

int ov_onutype_profile_add_cli(struct cmd_element* /*self*/, struct vty* vty, int argc, const char** argv) {
    using namespace sOnuTypeProfileTable_column;
    ov_sOnuTypeProfileTable_attr_t row = {};
    if (!gpon_cli_copy_word(row.onuTypeProfileName, argv[0], GPON_CLI_SHORT_NAME_MAX))
        return bad_name_length(vty, GPON_CLI_SHORT_NAME_MAX);
    fill_onutype(row, argc, argv);
    MIB_Flags_t flags = gpon_cli_columns(
        {onuTypeProfileName, sOnuTypeProfileTableIsDefaultProfile, sOnuTypeProfileTableCardNum,
         sOnuTypeProfileTableTcontNum, sOnuTypeProfileTableGemPortNum, sOnuTypeProfileTableUpQueueNum,
         sOnuTypeProfileTableDwnQueueNum, sOnuTypeProfileTableHostNum, sOnuTypeProfileTableEthNum,
         sOnuTypeProfileTablePotsNum, sOnuTypeProfileTableVideoNum});
    if (ov_app_gpon_onutype_add(&row, &flags) == OV_GPON_RET_OK)
        return 0;
    vty_out(vty, "%%Failed to add onutype profile %s%s", argv[0], kavo_newline(vty));
    return KAVO_CLI_FAILED;
}

int ov_onutype_profile_del_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                               const char** argv) {
    ov_sOnuTypeProfileTable_attr_t row = {};
    if (!gpon_cli_copy_word(row.onuTypeProfileName, argv[0], GPON_CLI_SHORT_NAME_MAX))
        return bad_name_length(vty, GPON_CLI_SHORT_NAME_MAX);
    if (ov_app_gpon_onutype_del(&row) == OV_GPON_RET_OK)
        return 0;
    vty_out(vty, "%%Failed to delete onutype profile %s%s", argv[0], kavo_newline(vty));
    return KAVO_CLI_FAILED;
}

constexpr kavo_column_t ONU_TYPE_COLUMNS[] = {{"onu type", -33}, {"eth", 5},   {"pots", 5},
                                              {"card", 5},       {"video", 5}, {"down-queue", 10},
                                              {"up-queue", 8}};

int ov_show_onu_type_profile_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                 const char** /*argv*/) {
    return show_profiles<ov_sOnuTypeProfileTable_attr_t>(
        vty, ONU_TYPE_COLUMNS, [](const kavo_table_t& table, const auto& row) {
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
bool in_range(mib_long number, mib_long least, mib_long most) {
    return number >= least && number <= most;
}

bool can_be_typed(const ov_sBWProfileTable_attr_t& row) {
    const bool fixed = in_range(row.sBWProfileTableFixBw, 250, 800000);
    const bool assured = in_range(row.sBWProfileTableAssBw, 250, 1200000);
    const bool maximum = in_range(row.sBWProfileTableMaxBw, 250, 1200000);
    switch (row.sBWProfileTableType) {
    case SBWPROFILETABLETYPE_TYPE1:
        return fixed;
    case SBWPROFILETABLETYPE_TYPE2:
        return assured;
    case SBWPROFILETABLETYPE_TYPE3:
        return assured && maximum && row.sBWProfileTableAssBw <= row.sBWProfileTableMaxBw;
    case SBWPROFILETABLETYPE_TYPE4:
        return maximum;
    case SBWPROFILETABLETYPE_TYPE5:
        return fixed && assured && maximum &&
               row.sBWProfileTableFixBw + row.sBWProfileTableAssBw <= row.sBWProfileTableMaxBw;
    default:
        return false;
    }
}

bool can_be_typed(const ov_sRmTrafficProfileTable_attr_t& row) {
    constexpr mib_long MOST = 10240000;
    const auto rate = [](mib_ulong value) { return in_range(static_cast<mib_long>(value), 64, MOST); };
    const auto burst = [](mib_ulong value) { return in_range(static_cast<mib_long>(value), 2000, MOST); };
    return rate(row.sRmTrafficProfileCIR) && burst(row.sRmTrafficProfileCBS) &&
           rate(row.sRmTrafficProfilePIR) && burst(row.sRmTrafficProfilePBS) &&
           row.sRmTrafficProfilePIR >= row.sRmTrafficProfileCIR;
}

bool can_be_typed(const ov_sOnuTypeProfileTable_attr_t& row) {
    const mib_long down = row.sOnuTypeProfileTableDwnQueueNum;
    return in_range(row.sOnuTypeProfileTableEthNum, 1, 24) &&
           in_range(row.sOnuTypeProfileTablePotsNum, 0, 2) &&
           in_range(row.sOnuTypeProfileTableCardNum, 1, 4) &&
           in_range(row.sOnuTypeProfileTableVideoNum, 0, 2) &&
           (down == 1 || down == 2 || down == 4 || down == 8) &&
           in_range(row.sOnuTypeProfileTableUpQueueNum, 1, 8);
}

// Whether the profile has a line. A configuration that is saved without it says so in the log.
template <typename Row>
bool is_saved(const struct vty* vty, const Row& row, const char* kind, const char* name, size_t longest) {
    if (gpon_config_is_name(name, longest) && can_be_typed(row))
        return true;
    if (vty->write_term_flag == WRITE_TERM_FILE)
        OV_LOG_WARN("LIB", "profile %s %s is in no saved configuration: no command makes it", kind,
                    gpon_cli_shown(name).c_str());
    return false;
}

// The words of each form are those of the type.
void print_bandwidth(struct vty* vty, const ov_sBWProfileTable_attr_t& row) {
    const mib_long type = row.sBWProfileTableType;
    vty_out(vty, " profile bandwidth %s", row.sBWProfileTableBwProfileName);
    if (type == SBWPROFILETABLETYPE_TYPE1 || type == SBWPROFILETABLETYPE_TYPE5)
        vty_out(vty, " fixed %d", row.sBWProfileTableFixBw);
    if (type != SBWPROFILETABLETYPE_TYPE1 && type != SBWPROFILETABLETYPE_TYPE4)
        vty_out(vty, " assured %d", row.sBWProfileTableAssBw);
    if (type >= SBWPROFILETABLETYPE_TYPE3)
        vty_out(vty, " maximum %d", row.sBWProfileTableMaxBw);
    vty_out(vty, "%s", kavo_newline(vty));
}

// The shortest form that says all.
void print_onutype(struct vty* vty, const ov_sOnuTypeProfileTable_attr_t& row) {
    const bool video = row.sOnuTypeProfileTableVideoNum != 0;
    const bool card = video || row.sOnuTypeProfileTableCardNum != CARDS;
    const bool queues = video || row.sOnuTypeProfileTableDwnQueueNum != QUEUES ||
                        row.sOnuTypeProfileTableUpQueueNum != QUEUES;
    vty_out(vty, " profile onutype %s eth %d pots %d", row.onuTypeProfileName, row.sOnuTypeProfileTableEthNum,
            row.sOnuTypeProfileTablePotsNum);
    if (card)
        vty_out(vty, " card %d", row.sOnuTypeProfileTableCardNum);
    if (video)
        vty_out(vty, " video %d", row.sOnuTypeProfileTableVideoNum);
    if (queues)
        vty_out(vty, " down-queue %d up-queue %d", row.sOnuTypeProfileTableDwnQueueNum,
                row.sOnuTypeProfileTableUpQueueNum);
    vty_out(vty, "%s", kavo_newline(vty));
}

// The default profiles are there at every start, and refuse to be made again.
bool is_default(const char* name) {
    return strcmp(name, DEFAULT_PROFILE) == 0;
}

} // namespace

int ov_gpon_cli_onutype_profile_cfg(struct vty* vty) {
    int lines = 0;
    for (const auto& row : all_rows<ov_sOnuTypeProfileTable_attr_t>()) {
        if (row.sOnuTypeProfileTableIsDefaultProfile != 0 ||
            !is_saved(vty, row, "onutype", row.onuTypeProfileName, GPON_CLI_SHORT_NAME_MAX))
            continue;
        print_onutype(vty, row);
        lines++;
    }
    return lines;
}

int ov_gpon_cli_bw_profile_cfg(struct vty* vty) {
    int lines = 0;
    for (const auto& row : all_rows<ov_sBWProfileTable_attr_t>()) {
        const char* name = row.sBWProfileTableBwProfileName;
        if (is_default(name) || !is_saved(vty, row, "bandwidth", name, GPON_CLI_PROFILE_NAME_MAX))
            continue;
        print_bandwidth(vty, row);
        lines++;
    }
    return lines;
}

int ov_gpon_cli_traffic_profile_cfg(struct vty* vty) {
    int lines = 0;
    for (const auto& row : all_rows<ov_sRmTrafficProfileTable_attr_t>()) {
        const char* name = row.sRmTrafficProfileName;
        if (is_default(name) || !is_saved(vty, row, "traffic", name, GPON_CLI_SHORT_NAME_MAX))
            continue;
        vty_out(vty, " profile traffic %s cir %u cbs %u pir %u pbs %u%s", name, row.sRmTrafficProfileCIR,
                row.sRmTrafficProfileCBS, row.sRmTrafficProfilePIR, row.sRmTrafficProfilePBS,
                kavo_newline(vty));
        lines++;
    }
    return lines;
}

void gpon_profile_cli_init() {
    kavo_cmd_install(profile_cmds);
}
