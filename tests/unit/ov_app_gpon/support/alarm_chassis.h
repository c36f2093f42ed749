// The alarm module with its tables, an agent library that notes the notifications, and the board's card, in a
// process of its own.
//
//   alarm_chassis::run([](AlarmChassis& c) { c.event(5, 201, RAISE); c.tick(3); EXPECT_TRUE(c.row(5, 201));
//   });
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "../../support/hal_chassis.h"
#include "agentx.h"
#include "app_modules.h"
#include "mmg_access.h"
#include "mmg_internal.h"
#include "ov_app_gpon_alarm_task.h"
#include "sActiveAlarmTable.h"
#include "sOnuTable.h"
#include "table_module.h"

inline constexpr int32_t RAISE = SACTIVEALARMTABLEALARMSTATE_SET;
inline constexpr int32_t CLEAR = SACTIVEALARMTABLEALARMSTATE_CLEAR;
inline constexpr int32_t PON_LOS = SACTIVEALARMTABLEALARMCODE_OLT_PON_LOS;
inline constexpr int32_t ETH_LOS = SACTIVEALARMTABLEALARMCODE_OLT_ETH_LOS;
inline constexpr int32_t ONU_OFF = SACTIVEALARMTABLEALARMCODE_ONU_OFF;

inline const char LED_ON[] = "Turn on the Fault LED";
inline const char LED_OFF[] = "Turn off the Fault LED";

// What a test looks at in a notification.
struct AlarmNotice {
    uint32_t source;
    int32_t code;
    int32_t state;
    uint32_t stamp;
    int32_t status;

    bool operator==(const AlarmNotice&) const = default;
};
inline void PrintTo(const AlarmNotice& n, std::ostream* out) {
    *out << "source " << n.source << " code " << n.code << " state " << n.state << " stamp " << n.stamp
         << " status " << n.status;
}

class AlarmChassis {
public:
    explicit AlarmChassis(HalChassis& chassis) : board(HalChassis::OWN_SLOT), log_(chassis.log) {
        smux_init(frr_master());
        snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_SEND_TRAP2, note, nullptr);
        initialize_table_sActiveAlarmTable_data();
        initialize_table_sOnuTable_data();
        mib_load_sActiveAlarmTable();
        HalChassis::activate(HalChassis::OWN_SLOT);
        ov_app_gpon_alarm_task_init();
        notices.clear();
        LogCapture::clear();
    }

    static MIBDID did() { return mmg_table_did_getbyindex(SACTIVEALARM); }

    static sActiveAlarmTable_entry alarm(uint32_t source, int32_t code, int32_t state, uint32_t stamp = 0) {
        sActiveAlarmTable_entry row{};
        row.sActiveAlarmTableAlarmSource = source;
        row.sActiveAlarmTableAlarmCode = code;
        row.sActiveAlarmTableAlarmState = state;
        row.sActiveAlarmTableAlarmDTS = stamp;
        return row;
    }
    static void event(uint32_t source, int32_t code, int32_t state, uint32_t stamp = 0) {
        const auto row = alarm(source, code, state, stamp);
        EXPECT_EQ(ov_app_gpon_alarm_eventhandle(&row), 0);
    }
    static void tick(int seconds = 1) {
        for (int n = 0; n < seconds; n++)
            alarm_1s_task();
    }
    // Puts an alarm into the table by way of the cache, and forgets what this said.
    void have_alarm(uint32_t source, int32_t code, uint32_t stamp = 0) {
        event(source, code, RAISE, stamp);
        tick(ALARM_RAISE_HOLD_OFF);
        ASSERT_TRUE(row(source, code));
        notices.clear();
        LogCapture::clear();
    }

    // Without a change of the table.
    static std::optional<sActiveAlarmTable_entry> row(uint32_t source, int32_t code) {
        auto wanted = alarm(source, code, 0);
        const void* stored = row_get(did(), &wanted);
        return stored ? std::optional(*static_cast<const sActiveAlarmTable_entry*>(stored)) : std::nullopt;
    }
    static int rows() { return get_row_num(did()); }

    // As any other part of the daemon would.
    static char access(int type, uint32_t source, int32_t code, int32_t status = OVRA_CREATEANDGO) {
        auto row = alarm(source, code, RAISE);
        row.sActiveAlarmTableRowStatus = status;
        return MibAccessHandle(type, 0, did(), &row, mibDefFlags, 0);
    }

    static size_t cached() {
        size_t count = 0;
        for (const alarm_cache* entry = alarm_cache_head; entry; entry = entry->next)
            count++;
        return count;
    }

    // The lines about the LED so far.
    std::vector<std::string> led() const {
        std::vector<std::string> found;
        for (const std::string& line : log_.lines())
            if (line == LED_ON || line == LED_OFF)
                found.push_back(line);
        return found;
    }
    std::vector<std::string> log() const { return log_.lines(); }

    static std::string path() { return table_module_sActiveAlarmTable().path(); }
    static std::string file() { return private_root::read_file(path()); }

    FakeCard board;
    static inline std::vector<AlarmNotice> notices;

private:
    static int note(int /*major*/, int /*minor*/, void* pdu, void* /*arg*/) {
        std::vector<long> numbers;
        for (auto* v = static_cast<netsnmp_pdu*>(pdu)->variables; v; v = v->next_variable)
            numbers.push_back(v->type == ASN_OCTET_STR || v->type == ASN_OBJECT_ID ? 0 : *v->val.integer);
        if (numbers.size() == 13) // up time, identity, ten columns, time
            notices.push_back({uint32_t(numbers[2]), int32_t(numbers[3]), int32_t(numbers[9]),
                               uint32_t(numbers[10]), int32_t(numbers[11])});
        return 0;
    }

    LogCapture& log_;
};

namespace alarm_chassis {

inline void run(const std::function<void(AlarmChassis&)>& body) {
    hal_chassis::run([&](HalChassis& chassis) {
        AlarmChassis alarms(chassis);
        body(alarms);
    });
}

} // namespace alarm_chassis
