// What stands behind ONUs, on a chassis that fills up: the rows of UNIs that come and go with each ONU, the
// ticks of the task that fetches their counters, services with their filters, a home with all that can be set
// there beside its bare round trips, and the replay of all that to a card that comes up beside as many bare
// sends. See README.md.
//
//   remote_bench [SLOTS]     fills SLOTS (14) cards, 2048 ONUs each
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include "bench_application.h"
#include "hal_outbox.h"
#include "ov_app_gpon_config_restore_tables.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_rmunipm_task.h"
#include "ov_app_gpon_rmunistatus.h"
#include "ov_app_gpon_rmunivlan.h"
#include "remote_home.h"
#include "sRmUniPmTable.h"

namespace {

using namespace bench_application;
using Status = ov_sRmUniStatusTable_attr_t;
using Vlan = ov_sRmUniVlanTable_attr_t;
using SipUser = ov_sRmVoipSipUserDataTable_attr_t;
using UniPoe = ov_sRmUniPoeTable_attr_t;

void print_blocks(const char* what, const std::vector<double>& blocks) {
    printf("%-8s per ONU: first %d %.1f us, last %d %.1f us (%.2f), best %.1f us\n", what, BLOCK,
           blocks.front(), BLOCK, blocks.back(), blocks.back() / blocks.front(),
           *std::min_element(blocks.begin(), blocks.end()));
}

void put_in_operation(int slot, int port, int onu) {
    auto row = row_of<ov_sOnuTable_attr_t>(slot, port, onu);
    row.sOnuTableOnuState = SONUTABLEONUSTATE_OPERATIONAL;
    mib_access(MIB_SET_S_N, row, columns(sOnuTable_column::sOnuTableOnuState));
}

// ---- counters ---------------------------------------------------------------------------------------------

// Those of as many UNIs as may be, a few ONUs of each port.
void switch_counters_on(int cards) {
    int left = OV_GPON_RMUNI_PM_MAX + 1;
    for (const Status& uni : rows_copied(Status{}, 0)) {
        if (left == 0)
            break;
        if (uni.onuId > 1 + OV_GPON_RMUNI_PM_MAX / (cards * PORTS * 6))
            continue;
        Status row = uni;
        row.sRmUniStatusTablePmEnable = 1;
        MIB_Flags_t flags = columns(sRmUniStatusTable_column::sRmUniStatusTablePmEnable);
        check(ov_app_gpon_rmunistatus_edit(&row, &flags), "counters", row.slotID, row.portID, row.onuId);
        put_in_operation(row.slotID, row.portID, row.onuId);
        --left;
    }
}

double usec_of(const std::function<void()>& act) {
    const auto began = Clock::now();
    act();
    return usec_since(began);
}

void measure_counters(int cards) {
    switch_counters_on(cards);
    const double begin = usec_of([] { rm_uni_pm_900s_cycle_task(1, nullptr); });
    std::vector<double> ticks;
    while (get_row_num(mmg_table_did_getbyindex(SRMUNIPMPON)) != 0)
        ticks.push_back(usec_of([] { rm_uni_pm_onu_task(0, nullptr); }));
    const double save = usec_of([] { rm_uni_pm_onu_task(0, nullptr); });
    printf("counters of %d UNIs: begin of a cycle %.0f us, %zu ticks of %.0f us at most, the last with the "
           "table's file %.0f us\n",
           MibNumberGet(mmg_table_did_getbyindex(SRMUNIPM)), begin, ticks.size(),
           ticks.empty() ? 0 : *std::max_element(ticks.begin(), ticks.end()), save);
}

// ---- services ---------------------------------------------------------------------------------------------

constexpr int SERVICES = 4; // of an ONU, each of a VLAN

void add_services(int slot, int port, int onu) {
    for (int id = 1; id <= SERVICES; ++id) {
        auto row = row_of<ov_sRmServiceTable_attr_t>(slot, port, onu);
        row.rmServiceID = static_cast<mib_ulong>(id);
        row.sRmServiceTableRmServiceType = OV_GPON_RM_SERVICE_VLAN;
        row.sRmServiceTableGemId = 1;
        row.sRmServiceTableVlanId = 100 + id;
        MIB_Flags_t flags = columns(sRmServiceTable_column::sRmServiceTableRmServiceType,
                                    sRmServiceTable_column::sRmServiceTableGemId,
                                    sRmServiceTable_column::sRmServiceTableVlanId);
        check(ov_app_gpon_rmservice_add(&row, &flags), "service", slot, port, onu);
    }
}

void delete_services(int slot, int port, int onu) {
    const auto row = row_of<ov_sOnuTable_attr_t>(slot, port, onu);
    check(ov_rmservice_table_iterate_del(&row) == 1 ? OV_GPON_RET_OK : OV_GPON_RET_FAIL, "no service", slot,
          port, onu);
}

// ---- homes ------------------------------------------------------------------------------------------------

// Microseconds for each home of a port.
double homes_of_port(int slot, int port, bool bare, int& rows) {
    const double usec = usec_of([&] {
        for (int onu = 1; onu <= ONUS; ++onu) {
            RemoteHome home = {.slot = slot, .port = port, .onu = onu, .bare = bare};
            home.write_all();
            rows = home.rows;
        }
    });
    return usec / ONUS;
}

// Best of some ports each, by turns.
void measure_homes(int slot) {
    int rows = 0;
    double doors = 0;
    double bare = 0;
    for (int port = 1; port <= PORTS; ++port) {
        const double a = homes_of_port(slot, port, false, rows);
        const double b = homes_of_port(slot, port, true, rows);
        doors = port == 1 ? a : std::min(doors, a);
        bare = port == 1 ? b : std::min(bare, b);
    }
    printf("a home of %d rows: %.0f us, bare %.0f us (%.2f)\n", rows, doors, bare, doors / bare);
}

// ---- replay -----------------------------------------------------------------------------------------------

template <typename Row>
void change_all(int slot, const std::function<void(Row&)>& change) {
    for (Row& row : rows_copied(slot_key<Row>(slot), INDEX_TO_SLOT)) {
        change(row);
        mib_access(MIB_SET_S_N, row);
    }
}

// Until the card has read everything: a request goes behind it.
void wait_for_card(int slot) {
    ov_gpon_rmonu_capa_attr_t record = {};
    record.onuIfindex = onu_ifindex(slot, 1, 1);
    hal_outbox_drain(static_cast<unsigned>(slot), Clock::now() + std::chrono::seconds(10));
    ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_RMONU_CAPA, OV_HAL_GPON_MSG_ACTION_GET, &record, 0, 1);
}

// The same messages from memory, in the same order and with the same masks.
template <typename Row, typename Record>
double bare_sends(int slot, int message, const MessageMap<Row, Record>& map,
                  ov_hal_gpon_msg_action_t action) {
    struct Message {
        Record record;
        ov_bmp_t mask;
    };
    std::vector<Message> messages;
    for (const Row& row : rows_under(slot_key<Row>(slot), INDEX_TO_SLOT)) {
        Message& made = messages.emplace_back();
        map.encode(&row, &made.record);
        made.mask = action == OV_HAL_GPON_MSG_ACTION_SET ? map.replay_mask(&row) : 0;
    }
    return usec_of([&] {
        for (Message& each : messages)
            ov_hal_gpon_msg_send(message, action, &each.record, each.mask, 0);
        wait_for_card(slot);
    });
}

// Best of some turns each, by turns: where a turn falls on a busy machine is luck.
template <typename Row, typename Record>
void measure_replay(const char* what, int slot, const RestoreTable& table, int message,
                    const MessageMap<Row, Record>& map,
                    ov_hal_gpon_msg_action_t action = OV_HAL_GPON_MSG_ACTION_SET) {
    constexpr int TURNS = 5;
    double replay = 0;
    double bare = 0;
    for (int turn = 0; turn < TURNS; ++turn) {
        const double a = usec_of([&] {
            table(slot, action);
            wait_for_card(slot);
        });
        const double b = bare_sends(slot, message, map, action);
        replay = turn == 0 ? a : std::min(replay, a);
        bare = turn == 0 ? b : std::min(bare, b);
    }
    const auto rows = rows_copied(slot_key<Row>(slot), INDEX_TO_SLOT).size();
    printf("replay of %s: %zu messages in %.1f ms, bare %.1f ms (%.2f)\n", what, rows, replay / 1000,
           bare / 1000, replay / bare);
}

} // namespace

int main(int argc, char** argv) {
    const int cards = std::clamp(argc > 1 ? atoi(argv[1]) : 14, 1, 14);
    enter_private_place();
    set_up_platform();
    run_on_core(1); // that of the cards
    start_cards(nullptr, cards);
    run_on_core(0);
    start_application(cards);
    print_blocks("add", timed(cards, add_onu));
    printf("rows of UNIs: %d status, %d VLAN\n", MibNumberGet(mmg_table_did_getbyindex(SRMUNISTATUS)),
           MibNumberGet(mmg_table_did_getbyindex(SRMUNIVLAN)));
    measure_counters(cards);
    const int slot = card_slot(0);
    print_blocks("services", timed(cards, add_services));
    printf("rows of services: %d, %d modes, %d limits\n", MibNumberGet(mmg_table_did_getbyindex(SRMSERVICE)),
           MibNumberGet(mmg_table_did_getbyindex(SRMMACFMODE)),
           MibNumberGet(mmg_table_did_getbyindex(SRMMACFD)));
    measure_replay("services", slot, ov_app_gpon_config_restore_rm_service, OV_HAL_MSG_GPON_RM_SERVICE,
                   rmservice_map, OV_HAL_GPON_MSG_ACTION_CREATE);
    print_blocks("without", timed(cards, delete_services));
    measure_homes(slot); // with services of their own
    change_all<Status>(slot, [](Status& row) { row.sRmUniStatusMacLearnCount = 17; });
    change_all<Vlan>(slot, [](Vlan& row) { row.sRmUniVlanTablePvid = 17; });
    change_all<SipUser>(slot, [](SipUser& row) { row.sRmVoipSipUserDataAgentID = 17; });
    change_all<UniPoe>(slot, [](UniPoe& row) { row.sRmUniPoePseLldpReqPow = 17; });
    measure_replay("UNI status", slot, ov_app_gpon_config_restore_rm_uni_status, OV_HAL_MSG_GPON_RM_UNI,
                   unistatus_map);
    measure_replay("UNI VLAN", slot, ov_app_gpon_config_restore_rm_uni_vlan, OV_HAL_MSG_GPON_RM_UNI_VLAN,
                   univlan_map);
    measure_replay("SIP users", slot, ov_app_gpon_config_restore_rm_voip_sip_user,
                   OV_HAL_MSG_GPON_RMONU_VOIP_SIP_USER_DATA, rm_sip_user_map);
    measure_replay("UNI PoE", slot, ov_app_gpon_config_restore_rm_uni_poe, OV_HAL_MSG_GPON_RM_UNI_POE,
                   unipoe_map);
    print_blocks("delete", timed(cards, delete_onu));
    return 0;
}
