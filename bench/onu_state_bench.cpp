// Reports of ONU states: what one costs the event loop, by the number of ONUs of the chassis.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include "chassis.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_onu_history.h"
#include "ov_app_gpon_trap.h"
#include "sOnuHistoryTable.h"

namespace {

constexpr int STEP = 8191; // from one reported ONU to the next, coprime to their number
constexpr std::array STATES = {SONUTABLEONUSTATE_AUTHPASS, SONUTABLEONUSTATE_OPERATIONAL,
                               SONUTABLEONUSTATE_ADDED};

void fill_tables(int onus) {
    for (TableModule* table : {&table_module_sOnuTable(), &table_module_sOnuHistoryTable()}) {
        table->initialize_table_data();
        chassis::fill({table, onus});
    }
    ov_app_gpon_onu_history_init();
    ov_app_gpon_onu_init();
}

ov_gpon_trap_onu_state_attr_t report_of(int onus, int n) {
    ov_sOnuTable_attr_t key = {};
    chassis::set_index(table_module_sOnuTable().desc(), onus, n, &key);
    ov_gpon_trap_onu_state_attr_t report = {};
    report.onuIfindex = onu_ifindex_of(key);
    std::memcpy(report.onuVersion, "V1.2.3", 6);
    std::memcpy(report.sn, "ABCD\x01\x02\x03\x04", 8);
    std::memcpy(report.pw, "secret", 6);
    return report;
}

// Hands reports to `take` and checks that the last has reached its row.
template <typename Take>
void run(benchmark::State& state, Take take) {
    const auto onus = static_cast<int>(state.range(0));
    fill_tables(onus);
    int n = 0;
    size_t round = 0;
    ov_gpon_trap_onu_state_attr_t report = {};
    for ([[maybe_unused]] auto _ : state) {
        n = (n + STEP) % onus;
        report = report_of(onus, n);
        report.states = static_cast<uint8_t>(STATES[round++ % STATES.size()]);
        take(report);
    }
    const auto* row = find_row(onu_key_of_ifindex<ov_sOnuTable_attr_t>(report.onuIfindex));
    if (row == nullptr || row->sOnuTableOnuState != report.states)
        state.SkipWithError("the report was not applied");
}

void Apply(benchmark::State& state) {
    run(state, [](ov_gpon_trap_onu_state_attr_t& report) {
        ov_app_gpon_onu_state_update(&report);
        ov_app_gpon_onu_state_historytable_update(&report);
    });
}

void Receive(benchmark::State& state) {
    setenv("OV_LOG_FILE", "/dev/null", 1);
    run(state, [](const ov_gpon_trap_onu_state_attr_t& report) {
        std::array<unsigned char, sizeof(ov_hal_gpon_msg_head_t) + sizeof report> body = {
            0, 0, 0, OV_HAL_GPON_MSG_ACTION_SET};
        std::memcpy(body.data() + sizeof(ov_hal_gpon_msg_head_t), &report, sizeof report);
        ov_hal_gpon_msg_recv(OV_HAL_MSG_GPON_ONUSTATES_TRAP, body.data(), sizeof(hal_nlmsghdr) + body.size());
    });
}

BENCHMARK(Apply)->Arg(128)->Arg(chassis::ONUS)->Unit(benchmark::kMicrosecond);
BENCHMARK(Receive)->Arg(128)->Arg(chassis::ONUS)->Unit(benchmark::kMicrosecond);

} // namespace
