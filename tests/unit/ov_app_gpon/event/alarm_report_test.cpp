// The cards' reports as events.
#include "ov_app_gpon_wn_trap.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <ctime>

#include "../../support/log_capture.h"
#include "../support/alarm_chassis.h"
#include "ov_app_gpon_trap.h"
#include "ov_hal_gpon_msg.h"
#include "ov_local_time.h"

namespace {

ov_gpon_wanning_trap_t example() {
    ov_gpon_wanning_trap_t trap{};
    trap.AlarmTableAlarmSource = 0x54210580;
    trap.AlarmTableAlarmCode = -7;
    trap.AlarmTableAlarmSourceType = SACTIVEALARMTABLEALARMSOURCETYPE_ONU;
    std::copy_n("GPON", 4, trap.AlarmTableSystemType);
    trap.AlarmTableAlarmSeverity = SACTIVEALARMTABLEALARMSEVERITY_MAJOR;
    trap.AlarmTableAlarmType = SACTIVEALARMTABLEALARMTYPE_EQUIPMENT;
    std::copy_n("fibre", 5, trap.AlarmTableAlarmProbableCause);
    trap.AlarmTableAlarmState = RAISE;
    return trap;
}

TEST(AlarmReport, BecomesARowWithTheCardsColumnsAndTheTime) {
    const auto trap = example();
    sActiveAlarmTable_entry row{};
    const auto before = uint32_t(time(nullptr));
    ov_wn_trap_hal_data_convert_to_mib(&row, &trap);
    EXPECT_EQ(row.sActiveAlarmTableAlarmSource, 0x54210580u);
    EXPECT_EQ(row.sActiveAlarmTableAlarmCode, -7);
    EXPECT_EQ(row.sActiveAlarmTableAlarmSourceType, 6);
    EXPECT_STREQ(row.sActiveAlarmTableSystemType, "GPON");
    EXPECT_EQ(row.sActiveAlarmTableAlarmSeverity, 3);
    EXPECT_EQ(row.sActiveAlarmTableAlarmType, 3);
    EXPECT_STREQ(row.sActiveAlarmTableAlarmProbableCause, "fibre");
    EXPECT_EQ(row.sActiveAlarmTableAlarmState, 1);
    EXPECT_GE(row.sActiveAlarmTableAlarmDTS, before);
    EXPECT_LE(row.sActiveAlarmTableAlarmDTS, uint32_t(time(nullptr)));
    EXPECT_EQ(row.sActiveAlarmTableRowStatus, 0);
}

TEST(AlarmReport, TextsThatFillTheirFieldsAreTakenWhole) {
    auto trap = example();
    std::fill(std::begin(trap.AlarmTableSystemType), std::end(trap.AlarmTableSystemType), 'x');
    std::fill(std::begin(trap.AlarmTableAlarmProbableCause), std::end(trap.AlarmTableAlarmProbableCause),
              'y');
    sActiveAlarmTable_entry row;
    std::fill_n(reinterpret_cast<char*>(&row), sizeof row, 'z');
    ov_wn_trap_hal_data_convert_to_mib(&row, &trap);
    EXPECT_EQ(std::string(row.sActiveAlarmTableSystemType), std::string(32, 'x'));
    EXPECT_EQ(std::string(row.sActiveAlarmTableAlarmProbableCause), std::string(32, 'y'));
}

TEST(AlarmReport, IsTakenFromTheBodyOfTheMessage) {
    alarm_chassis::run([](AlarmChassis& c) {
        const auto trap = example();
        std::string body(8, '\0');
        body[3] = char(OV_HAL_GPON_MSG_ACTION_SET);
        body.append(reinterpret_cast<const char*>(&trap), sizeof trap);
        EXPECT_EQ(ov_hal_gpon_msg_recv(OV_HAL_MSG_GPON_WN_TRAP, body.data(), unsigned(16 + body.size())), 0u);
        EXPECT_EQ(c.cached(), 1u);
        c.tick(3);
        EXPECT_TRUE(c.row(0x54210580, -7));
    });
}

TEST(AlarmReport, AlwaysAnswersZero) {
    const LogCapture log;
    auto trap = example();
    trap.AlarmTableAlarmState = 77;
    EXPECT_EQ(ov_app_gpon_wn_trap_set_by_lowlayer(&trap), 0);
    EXPECT_EQ(ov_app_gpon_wn_trap_set_by_lowlayer(nullptr), 0);
    ov_app_gpon_alarm_cachelist_clear();
}

TEST(AlarmReport, LocalTimeIsSecondsOfTheEpoch) {
    const auto before = uint32_t(time(nullptr));
    const uint32_t now = get_local_time();
    EXPECT_GE(now, before);
    EXPECT_LE(now, uint32_t(time(nullptr)));
}

} // namespace
