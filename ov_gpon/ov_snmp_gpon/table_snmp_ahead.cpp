#include "table_snmp_ahead.h"

#include <algorithm>
#include <map>
#include <utility>

#include "agentx_link.h"
#include "ov_loop_thread.h"
#include "table_module.h"

namespace {

std::map<int, SnmpAhead>& aheads() {
    static auto& by_table = *new std::map<int, SnmpAhead>;
    return by_table;
}

enum class State : uint8_t { KEPT, UNDER_WAY, READY, NOTHING_TO_DO };

struct KeptRow {
    int table;
    unsigned number; // of its kind, never twice
    std::vector<char> row;
    MIB_Flags_t columns;
    State state = State::KEPT;
};

// A master has one set at a time: one row for each table that it is about.
std::vector<KeptRow>& kept_rows() {
    static auto& rows = *new std::vector<KeptRow>;
    return rows;
}

bool is_any(State state) {
    return std::any_of(kept_rows().begin(), kept_rows().end(),
                       [state](const KeptRow& kept) { return kept.state == state; });
}

void note_ready(unsigned number) {
    for (KeptRow& kept : kept_rows())
        if (kept.number == number)
            kept.state = State::READY;
    if (!is_any(State::UNDER_WAY))
        agentx_link_go_on();
}

void begin(KeptRow& kept) {
    const auto ready = [number = kept.number] { note_ready(number); };
    const bool has_begun = aheads().at(kept.table).begin(kept.row.data(), kept.columns, ready);
    kept.state = has_begun ? State::UNDER_WAY : State::NOTHING_TO_DO;
}

void end(const KeptRow& kept) {
    if (kept.state == State::UNDER_WAY || kept.state == State::READY)
        aheads().at(kept.table).end(kept.row.data());
}

} // namespace

void snmp_ahead_register(int table, const SnmpAhead& ahead) {
    aheads()[table] = ahead;
    agentx_link_set_hold(snmp_ahead_begin);
}

bool snmp_ahead_is_wanted(const TableModule& module) {
    return aheads().contains(module.desc().registry_index);
}

void snmp_ahead_keep(const TableModule& module, std::vector<char> row, const MIB_Flags_t& columns) {
    static unsigned number = 0;
    snmp_ahead_end(module);
    kept_rows().push_back({module.desc().registry_index, ++number, std::move(row), columns});
}

bool snmp_ahead_begin() {
    ov_assert_on_loop();
    for (KeptRow& kept : kept_rows())
        if (kept.state == State::KEPT)
            begin(kept);
    return is_any(State::UNDER_WAY);
}

void snmp_ahead_end(const TableModule& module) {
    const int table = module.desc().registry_index;
    const auto kept = std::find_if(kept_rows().begin(), kept_rows().end(),
                                   [table](const KeptRow& each) { return each.table == table; });
    if (kept == kept_rows().end())
        return;
    const KeptRow ended = std::move(*kept);
    kept_rows().erase(kept);
    end(ended);
}

void snmp_ahead_end_all() {
    for (const KeptRow& kept : std::exchange(kept_rows(), {}))
        end(kept);
}
