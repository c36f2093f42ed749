// What is shown of what lies behind ONUs: counters, information, capability; and the commands to a whole ONU.
#include "remote_fixture.h"

#include <sstream>

#include "../support/test_clock.h"
#include "ov_app_gpon_rmunipm_task.h"

namespace {

using Lines = std::vector<std::string>;

Lines lines(const std::string& text) {
    std::istringstream stream(text);
    Lines all;
    for (std::string line; std::getline(stream, line);)
        all.push_back(line);
    return all;
}

// The value of an item behind its thing, "" when there is no such line.
std::string value(const std::string& text, const std::string& thing, const std::string& item) {
    std::string head = thing;
    head.resize(11, ' ');
    head += item;
    for (const std::string& line : lines(text)) {
        if (!line.starts_with(head) || (line.size() > head.size() && line[head.size()] != ' '))
            continue;
        return line.size() > 36 ? line.substr(36) : "-";
    }
    return "";
}

// ---- counters -------------------------------------------------------------------------------------------

using RemotePm = RemoteCli;

CLI_TEST(RemotePm, OfAUniThatIsNotCountedAreRefused) {
    const std::string text = "%UNI port does not exist or not action enable\n";
    for (const char* line :
         {"show onu remote uni eth_1/1 pm", "show onu remote uni eth_1/1 pm history upstream",
          "show onu remote uni eth_1/1 pm history downstream",
          "show onu remote uni eth_1/1 pm current upstream",
          "show onu remote uni eth_1/1 pm current downstream", "show onu remote uni eth_9/9 pm"})
        EXPECT_EQ(run(far_, line, 104006), text) << line;
    EXPECT_EQ(run(far_port_, "show onu 7 remote uni veip pm", 104006), text);
    EXPECT_EQ(run(far_port_, "show onu 128 remote uni eth_1/1 pm", 104006), text);
    EXPECT_EQ(chassis_.messages().size(), 0u);
}

CLI_TEST(RemotePm, OfTheLastIntervalAreThoseOfTheRow) {
    setenv("TZ", "UTC", 1);
    tzset();
    run(far_, "remote uni eth_1/1 pm enable");
    Pm& row = *uni<Pm>();
    row.sRmUniPmTableDataValid = SRMUNIPMTABLEDATAVALID_AVAILABLE;
    row.sRmUniPmTableSampleTimeStamp = 1000000000;
    row.sRmUniPmTableStartTimeStamp = 999999000;
    row.sRmUniPmTableEndTimeStamp = 999999900;
    row.sRmUniPmTableRxByte = 4294967295u;
    row.sRmUniPmTableRxPkt = 12;
    row.sRmUniPmTableFcsErr = 3;
    row.sRmUniPmTablePkt1024To1518 = 44;
    row.sRmUniPmTablePktLargerThan1518 = 5;
    row.sRmUniPmTableDropEvents = 66;
    chassis_.forget_messages();
    for (const std::string& text :
         {run(far_, "show onu remote uni eth_1/1 pm"), run(far_port_, "show onu 7 remote uni eth_1/1 pm")}) {
        EXPECT_EQ(value(text, "eth_1/1", "data"), "available");
        EXPECT_EQ(value(text, "eth_1/1", "sampled"), "2001-09-09 01:46:40");
        EXPECT_EQ(value(text, "eth_1/1", "from"), "2001-09-09 01:30:00");
        EXPECT_EQ(value(text, "eth_1/1", "to"), "2001-09-09 01:45:00");
        EXPECT_EQ(value(text, "eth_1/1", "rx bytes"), "4294967295");
        EXPECT_EQ(value(text, "eth_1/1", "fcs errors"), "3");
        EXPECT_EQ(value(text, "eth_1/1", "packets above 1518"), "5");
        EXPECT_EQ(lines(text).size(), 3u + 4u + 19u);
    }
    for (const char* way : {"upstream", "downstream"}) {
        const std::string text = run(far_, std::string("show onu remote uni eth_1/1 pm history ") + way);
        EXPECT_EQ(value(text, "eth_1/1", "to"), "2001-09-09 01:45:00");
        EXPECT_EQ(value(text, "eth_1/1", "bytes"), "4294967295");
        EXPECT_EQ(value(text, "eth_1/1", "packets"), "12");
        EXPECT_EQ(value(text, "eth_1/1", "packets 1024-1518"), "44");
        EXPECT_EQ(value(text, "eth_1/1", "drop events"), "66");
        EXPECT_EQ(lines(text).size(), 3u + 4u + 14u);
    }
    EXPECT_EQ(chassis_.messages().size(), 0u) << "nobody is asked";
}

CLI_TEST(RemotePm, HaveWhatTheOnuCountedWhenACycleIsOver) {
    run(far_, "remote uni eth_1/1 pm enable");
    std::array<ov_gpon_rmuni_stats_attr_t, RM_UNI_PM_UNIS> records = {};
    records[0].onuIfindex = index_of("gpon-onu3/2:7");
    records[0].uniPos.cardId = 1;
    records[0].uniPos.uniId = 1;
    records[0].rxPkt = 4711;
    chassis_.card_reads(OV_HAL_MSG_GPON_RM_UNI_STATS, records);
    TestClock clock;
    ov_app_gpon_rmunipm_task_init();
    EXPECT_EQ(value(run(far_, "show onu remote uni eth_1/1 pm history upstream"), "eth_1/1", "sampled"), "-");
    clock.advance(std::chrono::seconds(RM_UNI_PM_CYCLE_SECONDS * 2));
    const std::string text = run(far_, "show onu remote uni eth_1/1 pm history upstream");
    EXPECT_EQ(value(text, "eth_1/1", "data"), "available");
    EXPECT_EQ(value(text, "eth_1/1", "packets"), "4711");
    EXPECT_NE(value(text, "eth_1/1", "sampled"), "-");
}

CLI_TEST(RemotePm, ThatRunAreAskedOfTheOnuAndKeptNowhere) {
    run(far_, "remote uni eth_1/1 pm upstream enable");
    run(far_, "remote uni eth_1/1 pm downstream enable");
    ov_gpon_rmuni_stats_attr_t record = {};
    record.rxByte = 1000;
    record.rxPkt = 10;
    record.dropEvents = 7;
    chassis_.card_reads(OV_HAL_MSG_GPON_RM_UNI_STATS_US, record);
    record.rxByte = 2000;
    chassis_.card_reads(OV_HAL_MSG_GPON_RM_UNI_STATS_DS, record);
    chassis_.forget_messages();
    for (const auto& [way, bytes] : {std::pair{"upstream", "1000"}, {"downstream", "2000"}}) {
        const std::string text = run(far_, std::string("show onu remote uni eth_1/1 pm current ") + way);
        EXPECT_EQ(value(text, "eth_1/1", "bytes"), bytes);
        EXPECT_EQ(value(text, "eth_1/1", "packets"), "10");
        EXPECT_EQ(value(text, "eth_1/1", "drop events"), "7");
        EXPECT_EQ(value(text, "eth_1/1", "data"), "");
    }
    const auto asked = chassis_.messages();
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(asked[0].action, OV_HAL_GPON_MSG_ACTION_GET_CURRENT);
    EXPECT_EQ(uni<Pm>(), nullptr);
}

CLI_TEST(RemotePm, ThatRunFailWithTheCard) {
    run(far_, "remote uni eth_1/1 pm upstream enable");
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_UNI_STATS_US, 1009);
    EXPECT_EQ(run(far_, "show onu remote uni eth_1/1 pm current upstream", 104006),
              "%UNI port does not exist or not action enable\n");
    EXPECT_EQ(run(far_, "show onu remote uni eth_1/1 pm current downstream", 104006),
              "%UNI port does not exist or not action enable\n");
}

// ---- information ----------------------------------------------------------------------------------------

class RemoteInfo : public RemoteCli {
protected:
    RemoteInfo() {
        ov_gpon_rmonu_info_attr_t record = {};
        memcpy(record.vendorId, "ABCD", 4);
        memcpy(record.version, "V1.2.3", 6);
        memcpy(record.eqptId, "HOME-4", 6);
        memcpy(record.sn, "ABCD\x01\x02\x03\x04", 8);
        record.PriorityQueue = 64;
        chassis_.card_reads(OV_HAL_MSG_GPON_RMONU_INFO, record);
    }
    size_t asked() const { return chassis_.messages_of(OV_HAL_MSG_GPON_RMONU_INFO).size(); }
    static Lines onus(const std::string& text) {
        Lines found;
        for (const std::string& line : lines(text))
            if (line.find(" read  ") != line.npos)
                found.push_back(line.substr(0, line.find(' ')));
        return found;
    }
    FrrSession enable_{ENABLE_NODE};
};

CLI_TEST(RemoteInfo, IsReadOfAnOnuThatIsUp) {
    const std::string text = run(far_, "show onu remote info");
    EXPECT_EQ(value(text, "3/2:7", "read"), "now");
    EXPECT_EQ(value(text, "3/2:7", "vendor"), "ABCD");
    EXPECT_EQ(value(text, "3/2:7", "model"), "HOME-4");
    EXPECT_EQ(value(text, "3/2:7", "version"), "V1.2.3");
    EXPECT_EQ(value(text, "3/2:7", "serial number"), "ABCD01020304");
    EXPECT_EQ(value(text, "3/2:7", "priority queues"), "64");
    EXPECT_EQ(asked(), 1u);
    for (auto& [session, line] : {std::pair<FrrSession&, const char*>{far_port_, "show onu 7 remote info"},
                                  {enable_, "show interface gpon-olt3/2 onu 7 remote info"},
                                  {config_, "show interface gpon-olt3/2 onu 7 remote info"}})
        EXPECT_EQ(run(session, line), text) << line;
}

CLI_TEST(RemoteInfo, OfAnOnuThatIsOffIsWhatItToldLast) {
    run(far_, "show onu remote info");
    const_cast<ov_sOnuTable_attr_t*>(find_row(onu_key<ov_sOnuTable_attr_t>(3, 2, 7)))->sOnuTableOnuState =
        SONUTABLEONUSTATE_ADDED;
    const size_t before = asked();
    const std::string text = run(far_, "show onu remote info");
    EXPECT_EQ(value(text, "3/2:7", "read"), "earlier");
    EXPECT_EQ(asked(), before);
}

CLI_TEST(RemoteInfo, OfManyIsThatOfThePortOrOfAll) {
    add_operational(8);
    add_onu(1, 2, 7);
    active(sRmInfoTable_createEntry(1, 1, 2, 7));
    EXPECT_EQ(onus(run(far_port_, "show onu remote info")), (Lines{"3/2:7", "3/2:8"}));
    EXPECT_EQ(onus(run(port_, "show onu remote info")), (Lines{"1/2:7"}));
    EXPECT_EQ(onus(run(enable_, "show onu remote info")), (Lines{"1/2:7", "3/2:7", "3/2:8"}));
    EXPECT_EQ(onus(run(config_, "show onu remote info")), (Lines{"1/2:7", "3/2:7", "3/2:8"}));
    const std::string text = run(config_, "show interface gpon-olt3/2 onu remote info");
    EXPECT_EQ(onus(text), (Lines{"3/2:7", "3/2:8"}));
    EXPECT_EQ(lines(text).back(), "total 2");
    EXPECT_EQ(value(run(enable_, "show onu remote info"), "1/2:7", "read"), "earlier");
}

CLI_TEST(RemoteInfo, ACardThatDoesNotTellIsAskedOnce) {
    for (int onu = 8; onu <= 20; onu++)
        add_operational(onu);
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_INFO, 101001);
    const std::string text = run(far_port_, "show onu remote info");
    EXPECT_EQ(onus(text).size(), 14u);
    EXPECT_EQ(value(text, "3/2:20", "read"), "earlier, its card doesn't tell");
    EXPECT_EQ(asked(), 1u);
    EXPECT_EQ(run(far_, "show onu remote info", 104006), "%Failed to get port info \n");
}

CLI_TEST(RemoteInfo, OfWhatIsNotThereIsRefused) {
    EXPECT_EQ(run(far_port_, "show onu 9 remote info", 104001), "%Onu 9 not exist\n");
    EXPECT_EQ(run(enable_, "show interface gpon-olt9/9 onu remote info", 104001),
              "%Invalid PON IFNAME:gpon-olt9/9\n");
    EXPECT_EQ(run(config_, "show interface gpon-onu3/2:7 onu 7 remote info", 104001),
              "%Invalid PON IFNAME:gpon-onu3/2:7\n");
    EXPECT_EQ(far_port_.run("show onu 129 remote info"), CMD_ERR_NO_MATCH);
}

CLI_TEST(RemoteInfo, TellsTheCapability) {
    ov_gpon_rmonu_capa_attr_t record = {};
    record.tcontNum = 8;
    record.ethuniNum = 4;
    record.card1ethuniNum = 4;
    record.queueNumberTcont[0] = 8;
    record.queueNumberTcont[2] = 4;
    memcpy(record.operationId, "\x01\x02\x03\x04", 4);
    chassis_.card_reads(OV_HAL_MSG_GPON_RMONU_CAPA, record);
    const std::string text = run(far_, "show onu remote capability");
    EXPECT_EQ(value(text, "3/2:7", "read"), "now");
    EXPECT_EQ(value(text, "3/2:7", "t-conts"), "8");
    EXPECT_EQ(value(text, "3/2:7", "eth ports of card 1"), "4");
    EXPECT_EQ(value(text, "3/2:7", "queues by t-cont"), "8 0 4");
    EXPECT_EQ(value(text, "3/2:7", "operator id"), "01020304");
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_CAPA, 101001);
    EXPECT_EQ(run(far_, "show onu remote capability", 104006), "%Failed to get port info \n");
}

// ---- commands to the ONU --------------------------------------------------------------------------------

struct OnuCommand {
    const char* line;
    int bit;
    const char* failure;
};
constexpr OnuCommand COMMANDS[] = {
    {"remote onu reboot", OV_GPON_RMONU_INFO_ATTR_INDEX_reboot, "%Failed to set reboot\n"},
    {"remote onu restore", OV_GPON_RMONU_INFO_ATTR_INDEX_mibSync, "%Failed to mib sync\n"},
    {"remote onu restore default", OV_GPON_RMONU_INFO_ATTR_INDEX_restoreDefault,
     "%Failed to restore default\n"},
};

CLI_TEST(RemoteInfo, CommandsActEachTimeAndAreNotSaved) {
    for (const OnuCommand& command : COMMANDS)
        for (int times = 0; times < 2; times++) {
            chassis_.forget_messages();
            EXPECT_EQ(run(far_, command.line), "") << command.line;
            const auto told = chassis_.messages();
            ASSERT_EQ(told.size(), 1u) << command.line;
            EXPECT_EQ(told[0].type, OV_HAL_MSG_GPON_RMONU_INFO);
            EXPECT_EQ(told[0].mask, 1u << command.bit);
        }
    EXPECT_EQ(far_.run("write terminal current"), CMD_SUCCESS);
    EXPECT_EQ(far_.output().find("remote"), std::string::npos);
}

CLI_TEST(RemoteInfo, CommandsThatTheCardRefusesFail) {
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_INFO, 1009);
    for (const OnuCommand& command : COMMANDS)
        EXPECT_EQ(run(far_, command.line, 104006), command.failure) << command.line;
}

} // namespace
