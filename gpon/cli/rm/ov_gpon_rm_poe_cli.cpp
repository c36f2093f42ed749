// Power over Ethernet of an ONU and of its UNIs.
#include "cli_command_rows.h"
#include "cli_objects.h"
#include "ov_gpon_rm_cli.h"
#include "sRmOnuPoeTable.h"
#include "sRmUniPoeTable.h"

namespace {

using namespace cli_objects;
using namespace sRmUniPoeTable_column;
using namespace sRmOnuPoeTable_column;
using UniPoe = ov_sRmUniPoeTable_attr_t;
using OnuPoe = ov_sRmOnuPoeTable_attr_t;

constexpr ColName POWER_PAIRS[] = {{SRMUNIPOEPOWPAIRS_SIGNAL, "signal"}, {SRMUNIPOEPOWPAIRS_SPARE, "spare"}};
constexpr ColName POWER_PRIORITIES[] = {
    {SRMUNIPOEPOWPRI_CRITICAL, "critical"}, {SRMUNIPOEPOWPRI_HIGH, "high"}, {SRMUNIPOEPOWPRI_LOW, "low"}};

// ---- the wires that carry power -------------------------------------------------------------------------

constexpr mib_long UNCONTROLLED = 0;
constexpr mib_long CONTROLLED = 1;
constexpr ColName ABILITIES[] = {{UNCONTROLLED, "uncontrolled"}, {CONTROLLED, "controlled"}};

// Whether the ONU can choose them; one that isn't up can't be asked, and takes what is stored when it comes.
int can_choose_pairs(const CliCall& call, const void* chosen) {
    UniPoe row = *static_cast<const UniPoe*>(chosen);
    if (find_row(row) == nullptr || !gpon_rm_onu_is_up(row))
        return 0;
    if (!mib_access(MIB_GET, row, gpon_cli_columns({sRmUniPoePowPairsContAbility})))
        return call.fail("%%Failed to get uni poe power pairs control ability%s");
    if (row.sRmUniPoePowPairsContAbility == CONTROLLED)
        return 0;
    ov_refusal_because("the ONU can't choose the wires at UNI %s", call.words.text("ETHUNI"));
    return call.fail_of("%%uni poe power pairs control ability is uncontrolled /\052*ability=%d**\057%s",
                        row.sRmUniPoePowPairsContAbility);
}

// ---- what is shown --------------------------------------------------------------------------------------

// As the standard's MIB for power has them (RFC 3621).
constexpr ColName DETECTION[] = {{0, "-"},     {1, "disabled"}, {2, "searching"},  {3, "delivering"},
                                 {4, "fault"}, {5, "test"},     {6, "other-fault"}};
constexpr ColName SUPPLY[] = {{0, "-"}, {1, "on"}, {2, "off"}, {3, "faulty"}};
constexpr ColName PAIRS_SHOWN[] = {{SRMUNIPOEPOWPAIRS_NOT_SET, "-"}, POWER_PAIRS[0], POWER_PAIRS[1]};
constexpr ColName PRIORITIES_SHOWN[] = {
    {SRMUNIPOEPOWPRI_NOT_SET, "-"}, POWER_PRIORITIES[0], POWER_PRIORITIES[1], POWER_PRIORITIES[2]};

constexpr RmItem OF_UNI[] = {
    {"adminstate", sRmUniPoeAdminState, SWITCH_WORDS},
    {"request_power", sRmUniPoePseLldpReqPow},
    {"powpairs", sRmUniPoePowPairs, PAIRS_SHOWN},
    {"powpairs control", sRmUniPoePowPairsContAbility, ABILITIES},
    {"powpri", sRmUniPoePowPri, PRIORITIES_SHOWN},
    {"detection", sRmUniPoeDetectionSta, DETECTION},
    {"class", sRmUniPoePowClassification},
    {"power consumed", sRmUniPoePseConsumPow},
    {"power allocated", sRmUniPoePseAllocatePow},
    {"signature lost", sRmUniPoeMpsAbsentCount},
    {"invalid signatures", sRmUniPoeInvalidSigCount},
    {"power denied", sRmUniPoePowDeniedCount},
    {"overloads", sRmUniPoeOverLoadCount},
    {"short circuits", sRmUniPoeShortCount},
};

constexpr RmItem OF_ONU[] = {
    {"supply", sRmOnuPoeOperStatus, SUPPLY},   {"nominal power", sRmOnuPoeNominalPoePow},
    {"power consumed", sRmOnuPoePseConsumPow}, {"power allocated", sRmOnuPoePseAllocatePow},
    {"input voltage", sRmOnuPoeInputVoltage},  {"input current", sRmOnuPoeInputCur},
    {"usagethr", sRmOnuPoeUsageThr},           {"arc", sRmOnuPoeArc, SWITCH_WORDS},
    {"extpowavl", sRmOnuPoeExtPowAvl},         {"extbattpowavl", sRmOnuPoeExtBatteryPowAvl},
};

// The row with what the ONU tells. 0, or the result of a refusal, behind its text.
template <typename Row>
int read(const CliCall& call, Row& row, const char* not_up, const char* failure) {
    if (find_row(row) == nullptr) {
        ov_refusal_because("it has no Power over Ethernet");
        return call.fail(failure);
    }
    if (!gpon_rm_onu_is_up(row)) {
        ov_refusal_because("the ONU isn't operational");
        return call.fail(not_up);
    }
    return mib_access(MIB_GET, row) ? 0 : call.fail(failure);
}

int ov_show_rm_gpon_onu_uni_poe_adminstate_cli(CliCall& call) {
    UniPoe row;
    if (const int refusal = gpon_rm_uni_key(call, "ETHUNI", row); refusal != 0)
        return refusal;
    if (const int refusal =
            read(call, row, "%%failed to get onu uni poe , please verify onu is operational! %s",
                 "%%Failed to get uni poe %s");
        refusal != 0)
        return refusal;
    const RmItems items(call.vty, "uni");
    items.begin();
    items.print(gpon_rm_uni_word(row), table_desc_sRmUniPoeTable, &row, OF_UNI);
    return 0;
}

int ov_show_rm_gpon_onu_poe_operstatus_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<OnuPoe>(call.vty);
    if (const int refusal = read(call, row, "%%failed to get onu poe , please verify onu is operational! %s",
                                 "%%failed to get onu poe %s");
        refusal != 0)
        return refusal;
    const RmItems items(call.vty, "onu");
    items.begin();
    items.print(gpon_rm_place(row), table_desc_sRmOnuPoeTable, &row, OF_ONU);
    return 0;
}

const CliCommand rm_poe_cmds[] = {
#include "commands/rm_poe.def"
};

} // namespace

void gpon_rm_poe_cli_init() {
    cli_install(rm_poe_cmds);
}
