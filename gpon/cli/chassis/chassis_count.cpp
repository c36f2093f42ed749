#include "chassis_count.h"

#include <numeric>

#include "table_value_name.h"

namespace {

const char* word_of(const TableDesc& table, unsigned column, size_t value) {
    const char* word =
        table_value_name(table.column(static_cast<int>(column))->names, static_cast<int32_t>(value));
    return word != nullptr ? word : "-";
}

} // namespace

const char* chassis_onu_state_word(size_t state) {
    return word_of(table_desc_sOnuTable, sOnuTable_column::sOnuTableOnuState, state);
}

const char* chassis_severity_word(size_t severity) {
    return word_of(table_desc_sActiveAlarmTable, sActiveAlarmTable_column::sActiveAlarmTableAlarmSeverity,
                   severity);
}

uint32_t PonPortCount::all() const {
    return std::accumulate(onus.begin(), onus.end(), 0u);
}

PonPortCount& PonPortCount::operator+=(const PonPortCount& other) {
    for (size_t state = 0; state < ONU_STATES; ++state)
        onus[state] += other.onus[state];
    unconfigured += other.unconfigured;
    return *this;
}

void ChassisCount::count_alarm(const ov_sActiveAlarmTable_attr_t& alarm) {
    const auto severity = static_cast<uint32_t>(alarm.sActiveAlarmTableAlarmSeverity);
    if (severity < ALARM_SEVERITIES)
        ++alarms_[severity];
}

bool ChassisCount::step() {
    bool more = false;
    switch (phase_) {
    case 0:
        more = port_rows_.step([this](const auto& port) { ports_[{port.slotID, port.portID}]; });
        break;
    case 1:
        more = onu_rows_.step([this](const auto& onu) {
            const auto state = static_cast<uint32_t>(onu.sOnuTableOnuState);
            ++ports_[{onu.slotID, onu.portID}].onus[state < ONU_STATES ? state : 0];
        });
        break;
    case 2:
        more = unconfigured_rows_.step([this](const auto& onu) {
            ++ports_[{onu.slotID, onu.portID}].unconfigured;
        });
        break;
    default:
        return alarm_rows_.step([this](const auto& alarm) { count_alarm(alarm); });
    }
    phase_ += more ? 0 : 1;
    return true;
}

PonPortCount ChassisCount::card(int32_t slot) const {
    PonPortCount sum;
    for (auto port = ports_.lower_bound({slot, 0}); port != ports_.end() && port->first.first == slot; ++port)
        sum += port->second;
    return sum;
}

size_t ChassisCount::ports_of(int32_t slot) const {
    return static_cast<size_t>(
        std::distance(ports_.lower_bound({slot, 0}), ports_.lower_bound({slot + 1, 0})));
}

PonPortCount ChassisCount::chassis() const {
    PonPortCount sum;
    for (const auto& [place, port] : ports_)
        sum += port;
    return sum;
}
