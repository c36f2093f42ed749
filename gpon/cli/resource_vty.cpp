#include "resource_vty.h"

#include "kavo_cmd.h"
#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "ov_gpon.h"
#include "ov_slot.h"

namespace {

constexpr kavo_column_t COLUMNS[] = {{"slot", -6},         {"port", -5},          {"tconts", 8},
                                     {"gemports", 8},      {"service-ports", 13}, {"fixed-bw", 13},
                                     {"fixed+assured", 14}};

// One line per card that holds service ports, and one per PON port that holds anything else.
int show_gpon_resources(CliCall& call) {
    const kavo_table_t table(call.vty, COLUMNS);
    table.heading();
    table.row({"limit", "", g_gponConstVal.tcontMaxCnt, g_gponConstVal.gemMaxCnt,
               g_gponConstVal.srvPortMaxCnt, g_gponConstVal.usMaxFixBw, g_gponConstVal.usMaxBw});
    const unsigned cards = g_gponCntLimit ? static_cast<uint8_t>(ov_slot_get_max_lc_num()) : 0;
    for (unsigned slot = 0; slot < cards; ++slot) {
        const ov_gpon_cnt_limit_t& card = g_gponCntLimit[slot];
        if (card.srvPortCnt != 0)
            table.row({slot + 1, "all", "", "", card.srvPortCnt});
        for (unsigned port = 0; port < OV_GPON_PORTS_PER_CARD; ++port)
            if (card.tcontCnt[port] != 0 || card.gemCnt[port] != 0 || card.usedFixBandwidth[port] != 0 ||
                card.usedMaxBandwidth[port] != 0)
                table.row({slot + 1, port + 1, card.tcontCnt[port], card.gemCnt[port], "",
                           card.usedFixBandwidth[port], card.usedMaxBandwidth[port]});
    }
    return 0;
}

const kavo_cmd_t resource_cmds[] = {
#include "commands/resource.def"
};

} // namespace

void resource_vty_init() {
    kavo_cmd_install(resource_cmds);
}
