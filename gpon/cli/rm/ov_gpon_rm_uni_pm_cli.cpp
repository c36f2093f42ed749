// Counters of an ONU's UNIs: switched on and off, those of the last interval, and those that run.
#include "cli_command_rows.h"
#include "cli_objects.h"
#include "ov_app_gpon_rmunipm.h"
#include "ov_gpon_rm_cli.h"
#include "ov_local_time.h"
#include "sRmUniPmTable.h"
#include "sRmUniStatusTable.h"

namespace {

using namespace cli_objects;
using namespace sRmUniStatusTable_column;
using namespace sRmUniPmTable_column;
using Status = ov_sRmUniStatusTable_attr_t;
using Pm = ov_sRmUniPmTable_attr_t;

// ---- what is shown --------------------------------------------------------------------------------------

template <mib_ulong Pm::*time>
std::string time_text(const void* row) {
    return ov_local_time_text(static_cast<const Pm*>(row)->*time);
}

// When the counters were fetched, and the interval that they are of.
constexpr RmItem INTERVAL[] = {
    {"data", sRmUniPmTableDataValid},
    {"sampled", sRmUniPmTableSampleTimeStamp, {}, time_text<&Pm::sRmUniPmTableSampleTimeStamp>},
    {"from", sRmUniPmTableStartTimeStamp, {}, time_text<&Pm::sRmUniPmTableStartTimeStamp>},
    {"to", sRmUniPmTableEndTimeStamp, {}, time_text<&Pm::sRmUniPmTableEndTimeStamp>},
};

constexpr RmItem ALL_COUNTERS[] = {
    {"fcs errors", sRmUniPmTableFcsErr},
    {"tx collisions", sRmUniPmTableTxCollision},
    {"frames too long", sRmUniPmTableFrmTooLong},
    {"rx buffer overflows", sRmUniPmTableRxBufOverflow},
    {"tx buffer overflows", sRmUniPmTableTxBufOverflow},
    {"alignment errors", sRmUniPmTableAlignmentErr},
    {"pppoe drops", sRmUniPmTablePppoeDrop},
    {"rx bytes", sRmUniPmTableRxByte},
    {"rx packets", sRmUniPmTableRxPkt},
    {"broadcast packets", sRmUniPmTableBcPkt},
    {"multicast packets", sRmUniPmTableMcPkt},
    {"packets below 64", sRmUniPmTablePktLessThan64},
    {"packets 64", sRmUniPmTablePkt64},
    {"packets 65-127", sRmUniPmTablePkt65To127},
    {"packets 128-255", sRmUniPmTablePkt128To255},
    {"packets 256-511", sRmUniPmTablePkt256To511},
    {"packets 512-1023", sRmUniPmTablePkt512To1023},
    {"packets 1024-1518", sRmUniPmTablePkt1024To1518},
    {"packets above 1518", sRmUniPmTablePktLargerThan1518},
};

// Those of one direction.
constexpr RmItem COUNTERS[] = {
    {"bytes", sRmUniPmTableRxByte},
    {"packets", sRmUniPmTableRxPkt},
    {"broadcast packets", sRmUniPmTableBcPkt},
    {"multicast packets", sRmUniPmTableMcPkt},
    {"packets 64", sRmUniPmTablePkt64},
    {"packets 65-127", sRmUniPmTablePkt65To127},
    {"packets 128-255", sRmUniPmTablePkt128To255},
    {"packets 256-511", sRmUniPmTablePkt256To511},
    {"packets 512-1023", sRmUniPmTablePkt512To1023},
    {"packets 1024-1518", sRmUniPmTablePkt1024To1518},
    {"crc errors", sRmUniPmTableCrcErr},
    {"undersize packets", sRmUniPmTableUndersizePkts},
    {"oversize packets", sRmUniPmTableOversizePkts},
    {"drop events", sRmUniPmTableDropEvents},
};

void print(const CliCall& call, const Pm& row, std::span<const RmItem> interval,
           std::span<const RmItem> counters) {
    const RmItems items(call.vty, "uni");
    items.begin();
    items.print(gpon_rm_uni_word(row), table_desc_sRmUniPmTable, &row, interval);
    items.print(gpon_rm_uni_word(row), table_desc_sRmUniPmTable, &row, counters);
}

// ---- the last interval ----------------------------------------------------------------------------------

int no_counters(const CliCall& call) {
    return call.fail("%%UNI port does not exist or not action enable%s");
}

// The row of a UNI of an ONU, which is there while its counters are fetched.
int show_row(const CliCall& call, Pm key, std::span<const RmItem> counters) {
    if (const int refusal = gpon_rm_put_uni(call, "ETHUNI", key); refusal != 0)
        return refusal;
    const Pm* row = find_row(key);
    if (row == nullptr) {
        ov_refusal_because("no counters are fetched of UNI %s", call.words.text("ETHUNI"));
        return no_counters(call);
    }
    print(call, *row, INTERVAL, counters);
    return 0;
}

int ov_show_gpon_onu_rm_uni_pm_cli(CliCall& call) {
    Pm key = gpon_cli_onu_key<Pm>(call.vty);
    key.onuId = call.words.number_or("onu", key.onuId);
    return show_row(call, key, ALL_COUNTERS);
}

int show_history(CliCall& call) {
    return show_row(call, gpon_cli_onu_key<Pm>(call.vty), COUNTERS);
}
constexpr auto* ov_show_gpon_onu_rm_uni_pm_us_cli = show_history;
constexpr auto* ov_show_gpon_onu_rm_uni_pm_ds_cli = show_history;

// ---- those that run -------------------------------------------------------------------------------------

// Whether the ONU counts in a direction.
bool counts(const Pm& uni, mib_long Status::*direction) {
    const Status* status = find_row(gpon_rm_key_of_uni<Status>(uni));
    return status != nullptr && (status->sRmUniStatusTablePmEnable == 1 || status->*direction == 1);
}

// Asks the ONU by way of its card.
int show_current(const CliCall& call, mib_long Status::*direction,
                 int (*fetch)(Pm*, ov_hal_gpon_msg_action_t)) {
    Pm row;
    if (const int refusal = gpon_rm_uni_key(call, "ETHUNI", row); refusal != 0)
        return refusal;
    if (!counts(row, direction)) {
        ov_refusal_because("the ONU doesn't count at UNI %s", call.words.text("ETHUNI"));
        return no_counters(call);
    }
    if (fetch(&row, OV_HAL_GPON_MSG_ACTION_GET_CURRENT) != OV_GPON_RET_OK)
        return no_counters(call);
    print(call, row, {}, COUNTERS);
    return 0;
}

int ov_show_gpon_onu_rm_uni_pm_current_us_cli(CliCall& call) {
    return show_current(call, &Status::sRmUniStatusTableUpStreamPmEnable, ov_get_uni_pm_us_data_from_hal);
}

int ov_show_gpon_onu_rm_uni_pm_current_ds_cli(CliCall& call) {
    return show_current(call, &Status::sRmUniStatusTableDownStreamPmEnable, ov_get_uni_pm_ds_data_from_hal);
}

const CliCommand rm_uni_pm_cmds[] = {
#include "commands/rm_uni_pm.def"
};

} // namespace

void gpon_rm_uni_pm_cli_init() {
    cli_install(rm_uni_pm_cmds);
}
