// Events of the cards on their way to the application modules.
#include "ov_app_gpon_trap.h"

#include <gmock/gmock.h>

#include <memory>

#include "../../support/log_capture.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "ov_ifindex.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct Event {
    unsigned type;
    size_t record;
    std::vector<int> actions;
    const char* text; // of the line that it leaves
};
const std::vector<Event> EVENTS = {
    {922, 88, {1, 2}, " unconfig ONU: ifindex = "},
    {923, 88, {3}, "!!!!!!!!New Wn trap : AlarmTableAlarmSourceType = "},
    {927, 44, {3}, "!!!!!!!!New ONU state: "},
    {938, 72, {1}, "!!!!!!!!autolearn  ONU: ifindex = "},
    {953, 8, {3}, "!!!!!!!!New TRAP FOR pon switchover to new active pon: "},
};

// A body in memory of exactly its size, so that a read past it is found out.
struct Body {
    Body(int action, const std::string& record) : size(8 + record.size()), bytes(new char[size]()) {
        bytes[3] = char(action);
        std::copy(record.begin(), record.end(), bytes.get() + 8);
    }
    unsigned len() const { return unsigned(16 + size); }
    unsigned send(unsigned type) { return ov_hal_gpon_msg_recv(type, bytes.get(), len()); }

    size_t size;
    std::unique_ptr<char[]> bytes;
};

// The lines of the events themselves: there are no tables here that could take them.
std::vector<std::string> event_lines(const LogCapture& log) {
    std::vector<std::string> lines = log.lines();
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("!!!!!!!!"); });
    return lines;
}

template <typename Record>
std::string bytes_of_record(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

TEST(GponTrap, EachEventIsTakenWithItsActionsOnly) {
    LogCapture log;
    for (const Event& event : EVENTS)
        for (int action = 0; action <= 6; action++) {
            SCOPED_TRACE(event.type * 10 + unsigned(action));
            LogCapture::clear();
            EXPECT_EQ(Body(action, std::string(event.record, '\0')).send(event.type), 0u);
            const bool wanted = std::count(event.actions.begin(), event.actions.end(), action) != 0;
            EXPECT_EQ(event_lines(log).size(), wanted ? 1u : 0u);
            if (wanted) {
                EXPECT_THAT(event_lines(log), ElementsAre(HasSubstr(event.text)));
            }
        }
}

TEST(GponTrap, BodyShorterThanItsRecordIsDroppedWithoutAWord) {
    LogCapture log;
    for (const Event& event : EVENTS)
        for (const size_t missing : {size_t{1}, event.record})
            EXPECT_EQ(Body(event.actions[0], std::string(event.record - missing, '\0')).send(event.type), 0u);
    for (const Event& event : EVENTS)
        for (const unsigned len : {0u, 15u, 16u, 23u}) {
            char nothing = 0;
            EXPECT_EQ(ov_hal_gpon_msg_recv(event.type, &nothing, len), 0u);
            EXPECT_EQ(ov_hal_gpon_msg_recv(event.type, nullptr, len), 0u);
        }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(GponTrap, LongerBodyIsTaken) {
    LogCapture log;
    EXPECT_EQ(Body(3, std::string(44 + 16, '\0')).send(927), 0u);
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST(GponTrap, OtherTypesAreIgnored) {
    LogCapture log;
    g_gpon_ipc_msg_debug_flag = 1;
    for (const unsigned type : {0u, 921u, 960u, 968u, 0xFFFFFFFFu})
        EXPECT_EQ(Body(3, std::string(200, '\0')).send(type), 0u);
    EXPECT_THAT(log.lines(), IsEmpty());
    for (const unsigned type : {930u, 959u}) // in the range: shown and dropped
        EXPECT_EQ(Body(3, std::string(200, '\0')).send(type), 0u);
    g_gpon_ipc_msg_debug_flag = 0;
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("HAL GPON MSG recv type:OV_HAL_MSG_GPON_RMONU_UPDATE"),
                                         HasSubstr("HAL GPON MSG recv type:unknown")));
}

TEST(GponTrap, UnconfiguredOnuIsNamedInTheLog) {
    LogCapture log;
    ov_gpon_uncfg_onu_attr_t onu{};
    onu.ponIfindex = 1234;
    onu.index = 7;
    std::copy_n("ABCD\x01\x02\x03\x04", 8, onu.sn);
    Body(1, bytes_of_record(onu)).send(922);
    Body(2, bytes_of_record(onu)).send(922);
    EXPECT_THAT(event_lines(log),
                ElementsAre("!!!!!!!!New unconfig ONU: ifindex = 1234, tmpOnuId=7, sn=ABCD01020304\n",
                            "!!!!!!!!Del unconfig ONU: ifindex = 1234, tmpOnuId=7, sn=ABCD01020304\n"));
}

TEST(GponTrap, OnuStateIsNamedInTheLog) {
    LogCapture log;
    const char* const names[] = {" INIT ", " ADDED ", " AUTHPASS ", " OPERATIONAL ", "UNKNOWN ERROR"};
    for (uint8_t state = 0; state < 5; state++) {
        LogCapture::clear();
        ov_gpon_trap_onu_state_attr_t attr{};
        attr.states = state;
        Body(3, bytes_of_record(attr)).send(927);
        EXPECT_THAT(event_lines(log), ElementsAre(HasSubstr(names[state])));
    }
}

TEST(GponTrap, TextsThatFillTheirFieldsAreReadToItsEnd) {
    LogCapture log;
    ov_gpon_wanning_trap_t trap{};
    trap.AlarmTableAlarmState = 1;
    std::fill(std::begin(trap.AlarmTableSystemType), std::end(trap.AlarmTableSystemType), 'x');
    Body(3, bytes_of_record(trap)).send(923);
    EXPECT_THAT(log.lines(), ElementsAre("!!!!!!!!New Wn trap : AlarmTableAlarmSourceType = 0, "
                                         "AlarmTableAlarmSeverity=0, AlarmTableSystemType=" +
                                         std::string(32, 'x') + " AlarmTableAlarmState=1\r\n"));
}

TEST(GponTrap, SwitchOfAProtectionPairNamesTheNewActivePort) {
    LogCapture log;
    ov_gpon_pon_protect_group_attr_t group{};
    group.ActivePonIfindex = ov_ifindex_gen_by_phyinfo(9, 1, 5, 0, 11, 0);
    Body(3, bytes_of_record(group)).send(953);
    EXPECT_THAT(log.lines(), ElementsAre("!!!!!!!!New TRAP FOR pon switchover to new active pon: ponid = 11, "
                                         "slotid = 5 \n"));
}

} // namespace
