// One alarm event with few and with many events waiting, and one tick in which so many alarms enter and leave
// the table. See README.md.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>

#include "mmg_internal.h"
#include "ov_app_gpon_alarm_task.h"
#include "table_module.h"

namespace {

constexpr int32_t RAISE = SACTIVEALARMTABLEALARMSTATE_SET;
constexpr int32_t CLEAR = SACTIVEALARMTABLEALARMSTATE_CLEAR;

sActiveAlarmTable_entry alarm_of(uint32_t source, int32_t state) {
    sActiveAlarmTable_entry row{};
    row.sActiveAlarmTableAlarmSource = 0x54000000u + (source << 7);
    row.sActiveAlarmTableAlarmCode = SACTIVEALARMTABLEALARMCODE_ONU_OFF;
    row.sActiveAlarmTableAlarmState = state;
    return row;
}

void report(uint32_t first, uint32_t count, int32_t state) {
    for (uint32_t n = first; n < first + count; ++n) {
        const auto row = alarm_of(n, state);
        ov_app_gpon_alarm_eventhandle(&row);
    }
}

void empty_table() {
    ov_app_gpon_alarm_cachelist_clear();
    initialize_table_sActiveAlarmTable_data();
}

// An alarm that is repeated: it is found.
void repeated(benchmark::State& state) {
    const auto waiting = static_cast<uint32_t>(state.range(0));
    empty_table();
    report(0, waiting, RAISE);
    uint32_t n = 0;
    for (auto _ : state) {
        n = (n + 7919) % waiting;
        report(n, 1, RAISE);
    }
}

// A raise and its clear: nothing is found, an entry is made; it is found and goes.
void cancelled(benchmark::State& state) {
    const auto waiting = static_cast<uint32_t>(state.range(0));
    empty_table();
    report(0, waiting, RAISE);
    for (auto _ : state) {
        report(waiting + 1, 1, RAISE);
        report(waiting + 1, 1, CLEAR);
    }
}

// Per alarm: a row that is made in one tick and deleted in another, each with the look at the LED.
void tick(benchmark::State& state) {
    const auto alarms = static_cast<uint32_t>(state.range(0));
    empty_table();
    for (auto _ : state) {
        report(0, alarms, 0); // a state without hold-off time
        alarm_1s_task();
        if (get_row_num(mmg_table_did_getbyindex(SACTIVEALARM)) != static_cast<int>(alarms))
            state.SkipWithError("the alarms should stand");
        report(0, alarms, CLEAR);
        for (int second = 0; second < ALARM_CLEAR_HOLD_OFF; ++second)
            alarm_1s_task();
    }
    state.SetItemsProcessed(state.iterations() * alarms);
}

BENCHMARK(repeated)->Name("event, repeated")->Arg(10)->Arg(10000);
BENCHMARK(cancelled)->Name("event, raise and clear")->Arg(10)->Arg(10000);
BENCHMARK(tick)->Name("tick, in and out")->Arg(10)->Arg(10000)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    setenv("OV_LOG_FILE", "/dev/null", 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
