// What a chassis has, counted: ONUs by port and state, those that wait unconfigured, and the alarms that
// stand. Nothing keeps these sums; they are made by a walk over the rows, in steps of some hundred rows
// (gpon_stepped_show.h), so that a full chassis holds nobody up.
//
//     auto count = std::make_shared<ChassisCount>();
//     return gpon_run_in_steps(vty, [count] { return count->step(); }, [count] { ...; return 0; });
//
// Event loop's thread.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <utility>

#include "gpon_stepped_show.h"
#include "sActiveAlarmTable.h"
#include "sOnuInitTable.h"
#include "sOnuTable.h"
#include "sPonTable.h"

inline constexpr size_t ONU_STATES = 4;       // values of sOnuTableOnuState, SONUTABLEONUSTATE_*
inline constexpr size_t ALARM_SEVERITIES = 6; // values of sActiveAlarmTableAlarmSeverity

// A state or severity in words: "operational", "critical".
const char* chassis_onu_state_word(size_t state);
const char* chassis_severity_word(size_t severity);

struct PonPortCount {
    std::array<uint32_t, ONU_STATES> onus = {}; // that are provisioned and don't wait for a manager
    uint32_t unconfigured = 0;                  // that have light and aren't provisioned

    uint32_t all() const;
    uint32_t operational() const { return onus[SONUTABLEONUSTATE_OPERATIONAL]; }
    PonPortCount& operator+=(const PonPortCount& other);
};

class ChassisCount {
public:
    // Counts on; false when all has been counted.
    bool step();

    using Place = std::pair<int32_t, int32_t>; // slot and port
    // Ports that are there, and those that have ONUs only.
    const std::map<Place, PonPortCount>& ports() const { return ports_; }
    PonPortCount card(int32_t slot) const;
    PonPortCount chassis() const;
    size_t ports_of(int32_t slot) const;
    const std::array<uint32_t, ALARM_SEVERITIES>& alarms() const { return alarms_; }

private:
    void count_alarm(const ov_sActiveAlarmTable_attr_t& alarm);

    gpon_row_steps<ov_sPonTable_attr_t> port_rows_{{}, 0};
    gpon_row_steps<ov_sOnuTable_attr_t> onu_rows_{{}, 0};
    gpon_row_steps<ov_sOnuInitTable_attr_t, WalkedRows::STORED> unconfigured_rows_{{}, 0};
    gpon_row_steps<ov_sActiveAlarmTable_attr_t> alarm_rows_{{}, 0};
    int phase_ = 0;
    std::map<Place, PonPortCount> ports_;
    std::array<uint32_t, ALARM_SEVERITIES> alarms_ = {};
};
