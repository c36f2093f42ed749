// UNIs of an ONU by command: what they are called, what each command sets, and what it refuses.
#include "remote_fixture.h"

#include "rm/ov_gpon_rm_uni_word.h"

namespace {

using namespace sRmUniStatusTable_column;
using RemoteUni = RemoteCli;

// ---- words ----------------------------------------------------------------------------------------------

CLI_TEST(RemoteUni, WordsStandForUnis) {
    const struct {
        const char* word;
        int type;
        uint32_t card;
        uint32_t port;
    } words[] = {{"eth_1/2", 0, 1, 2},     {"pots_2/1", 1, 2, 1}, {"veip", 2, 1, 1},
                 {"video_3/12", 3, 3, 12}, {"iphost", 4, 1, 1},   {"eth_0/0", 0, 0, 0}};
    for (const auto& one : words) {
        ov_gpon_rmuni_type_t type{};
        uint32_t card = 99;
        uint32_t port = 99;
        EXPECT_EQ(ov_gpon_rm_uni_pos_parse(far_.vty, one.word, &type, &card, &port), 0) << one.word;
        EXPECT_EQ(std::tuple(static_cast<int>(type), card, port), std::tuple(one.type, one.card, one.port));
        EXPECT_STREQ(ov_gpon_rm_cli_uni_pos_str(card, port, type), one.word);
    }
    EXPECT_STREQ(ov_gpon_rm_cli_uni_pos_str(2, 1, 2), "") << "no word stands for a second veip";
    EXPECT_STREQ(ov_gpon_rm_cli_uni_pos_str(1, 1, 5), "");
}

CLI_TEST(RemoteUni, AWordOfNoFormIsRefusedByItsKind) {
    const std::pair<const char*, const char*> words[] = {
        {"eth_1", "ETHUNI"},        {"eth_", "ETHUNI"},           {"eth_1/", "ETHUNI"},
        {"eth_a/1", "ETHUNI"},      {"eth_1/1x", "ETHUNI"},       {"eth_-1/1", "ETHUNI"},
        {"eth_1:1", "ETHUNI"},      {"eth_1/1/1", "ETHUNI"},      {"eth_99999999999/1", "ETHUNI"},
        {"video_1", "VIDEO"},       {"pots_x/1", "POTS"},         {"lan1", "ONU interface"},
        {"veip1", "ONU interface"}, {"ETH_1/1", "ONU interface"}, {"%s%n", "ONU interface"},
        {"eth", "ONU interface"}};
    for (const auto& [word, kind] : words)
        for (const char* command :
             {"remote uni %s enable", "remote uni %s pm enable", "remote uni %s vlan-mode transparent",
              "show onu remote uni %s param", "show onu remote uni %s pm", "show onu remote video %s",
              "remote video %s state lock", "show onu remote uni %s pm current upstream"}) {
            std::string line = command;
            line.replace(line.find("%s"), 2, word);
            EXPECT_EQ(run(far_, line, 104006), std::string("%Bad format ") + kind + " " + word + "\n")
                << line;
        }
    EXPECT_EQ(chassis_.messages_of(OV_HAL_MSG_GPON_RM_UNI).size(), 0u);
}

// ---- settings -------------------------------------------------------------------------------------------

struct UniSetting {
    const char* line;
    unsigned column;
    int32_t value;
    int bit; // of the attribute that the card is told
    const char* failure;
};
constexpr UniSetting SETTINGS[] = {
    {"remote uni eth_1/1 disable", sRmUniStatusTableAdminState, 0, OV_GPON_RMUNI_ATTR_INDEX_adminStatus,
     "%Failed to set eth_1/1 disable\n"},
    {"remote uni pots_1/1 disable", sRmUniStatusTableAdminState, 0, OV_GPON_RMUNI_ATTR_INDEX_adminStatus,
     "%Failed to set pots_1/1 disable\n"},
    {"remote loop_detect uni eth_1/1 enable", sRmUniStatusLoopDetectEnable, 1,
     OV_GPON_RMUNI_ATTR_INDEX_loopDetect, "%Failed to set eth_1/1 enable\n"},
    {"remote uni eth_1/1 mac-limit 255", sRmUniStatusMacLearnCount, 255, OV_GPON_RMUNI_ATTR_INDEX_macLrnCount,
     "%Failed to set eth_1/1 mac-limit\n"},
    {"remote uni veip mac-limit 1", sRmUniStatusMacLearnCount, 1, OV_GPON_RMUNI_ATTR_INDEX_macLrnCount,
     "%Failed to set veip mac-limit\n"},
    {"remote uni eth_1/1 auto-detection half-auto", sRmUniStatusAutoDetectionConfiguration, 0x14,
     OV_GPON_RMUNI_ATTR_INDEX_autoDetection, "%Failed to set eth_1/1 auto-detection\n"},
    {"remote uni eth_1/1 auto-detection auto-100", sRmUniStatusAutoDetectionConfiguration, 0x30,
     OV_GPON_RMUNI_ATTR_INDEX_autoDetection, "%Failed to set eth_1/1 auto-detection\n"},
    {"remote uni eth_1/1 max-frame 64", sRmUniStatusMaxFrameSize, 64, OV_GPON_RMUNI_ATTR_INDEX_maxFrameSize,
     "%Failed to set eth_1/1 max-frame\n"},
    {"remote uni eth_1/1 pppoe-filter enable", sRmUniStatusTablePppoeFilterEnable, 1,
     OV_GPON_RMUNI_ATTR_INDEX_pppoeFiltetEnabled, "%Failed to set eth_1/1 pppoe-filter\n"},
    {"remote uni eth_1/1 ethernet-interface ip-router", sRmUniStatusTableBridgedOrIpInd, 1,
     OV_GPON_RMUNI_ATTR_INDEX_bridgedOrIpInd, "%Failed to set eth_1/1 ethernet-interface\n"},
    {"remote uni eth_1/1 power-control enable", sRmUniStatusTablePowerControlEnable, 1,
     OV_GPON_RMUNI_ATTR_INDEX_powerControl, "%Failed to set eth_1/1 power-control\n"},
    {"remote uni eth_1/1 dot1x enable", sRmUniStatusTableDot1xEnable, 1,
     OV_GPON_RMUNI_ATTR_INDEX_dot1xEnabled, "%Failed to set eth_1/1 dot1x enable\n"},
    {"remote uni eth_1/1 dot1x action-register unauth", sRmUniStatusTableDot1xActionRegister, 2,
     OV_GPON_RMUNI_ATTR_INDEX_dot1xActRegister, "%Failed to set eth_1/1 dot1x action register\n"},
    {"remote video video_1/1 state lock", sRmUniStatusVideoAdminEnable, 1,
     OV_GPON_RMUNI_ATTR_INDEX_videoState, "%Failed to set video state\n"},
    {"remote uni eth_1/2 pm enable", sRmUniStatusTablePmEnable, 1, OV_GPON_RMUNI_ATTR_INDEX_pmEnabled,
     "%Failed to set eth_1/2 pm\n"},
    {"remote uni veip pm enable", sRmUniStatusTablePmEnable, 1, OV_GPON_RMUNI_ATTR_INDEX_pmEnabled,
     "%Failed to set veip pm\n"},
    {"remote uni eth_1/1 pm upstream enable", sRmUniStatusTableUpStreamPmEnable, 1,
     OV_GPON_RMUNI_ATTR_INDEX_usPmEnabled, "%Failed to set eth_1/1 pm\n"},
    {"remote uni eth_1/1 pm downstream enable", sRmUniStatusTableDownStreamPmEnable, 1,
     OV_GPON_RMUNI_ATTR_INDEX_dsPmEnabled, "%Failed to set eth_1/1 pm\n"},
};

// The stored value of the UNI that a line is about.
template <typename Row>
int32_t stored(const Row* row, const TableDesc& table, unsigned column) {
    int32_t value = -1;
    if (row != nullptr)
        memcpy(&value, reinterpret_cast<const char*>(row) + table.column(static_cast<int>(column))->offset,
               sizeof value);
    return value;
}

class RemoteUniSettings : public RemoteCli {
protected:
    static Status* row_of(const std::string& line) {
        if (line.find("pots_") != line.npos)
            return uni<Status>(POTS);
        if (line.find("veip") != line.npos)
            return uni<Status>(VEIP);
        if (line.find("video_") != line.npos)
            return uni<Status>(VIDEO);
        return uni<Status>(ETH, line.find("eth_1/2") != line.npos ? 2 : 1);
    }
    static int32_t value_of(const UniSetting& setting) {
        return stored(row_of(setting.line), table_desc_sRmUniStatusTable, setting.column);
    }
};

CLI_TEST(RemoteUniSettings, ReachTheRowAndTheCard) {
    for (const UniSetting& setting : SETTINGS) {
        chassis_.forget_messages();
        EXPECT_EQ(run(far_, setting.line), "") << setting.line;
        EXPECT_EQ(value_of(setting), setting.value) << setting.line;
        const auto told = chassis_.messages_of(OV_HAL_MSG_GPON_RM_UNI);
        ASSERT_EQ(told.size(), 1u) << setting.line;
        EXPECT_EQ(told[0].action, OV_HAL_GPON_MSG_ACTION_SET);
        EXPECT_EQ(told[0].mask, 1u << setting.bit) << setting.line;
    }
}

CLI_TEST(RemoteUniSettings, AreRefusedWithTheirOwnTextsAndStayAsTheyWere) {
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_UNI, 101001);
    for (const UniSetting& setting : SETTINGS) {
        const int32_t before = value_of(setting);
        EXPECT_EQ(run(far_, setting.line, 104006), setting.failure) << setting.line;
        EXPECT_EQ(value_of(setting), before) << setting.line;
    }
}

CLI_TEST(RemoteUniSettings, AUniThatTheOnuHasNotIsRefused) {
    EXPECT_EQ(run(far_, "remote uni eth_9/9 max-frame 100", 104006), "%Failed to set eth_9/9 max-frame\n");
    EXPECT_EQ(run(far_, "remote uni eth_1/3 enable", 104006), "%Failed to set eth_1/3 enable\n");
    EXPECT_EQ(run(far_, "remote uni iphost mac-limit 3", 104006), "%Failed to set iphost mac-limit\n");
    EXPECT_EQ(run(far_, "remote video video_2/1 state lock", 104006), "%Failed to set video state\n");
    EXPECT_EQ(run(far_, "remote uni eth_1/3 vlan-mode transparent", 104006), "%Failed to set VLAN  mode\n");
    EXPECT_EQ(run(far_, "show onu remote uni eth_1/3 param", 104006), "%Failed to get uni status\n");
    EXPECT_EQ(run(far_, "show onu remote video video_1/2", 104006), "%Failed to get video status\n");
    EXPECT_EQ(uni<Status>(ETH, 3), nullptr);
    EXPECT_EQ(chassis_.messages_of(OV_HAL_MSG_GPON_RM_UNI).size(), 0u);
}

CLI_TEST(RemoteUniSettings, BeyondTheirLimitsAreNoCommands) {
    for (const char* line : {"remote uni eth_1/1 max-frame 63",
                             "remote uni eth_1/1 max-frame 2001",
                             "remote uni eth_1/1 max-frame -1",
                             "remote uni eth_1/1 mac-limit 256",
                             "remote uni eth_1/1 on",
                             "remote uni eth_1/1 auto-detection full-10000",
                             "remote uni eth_1/1 auto-detection",
                             "remote uni eth_1/1 ethernet-interface routed",
                             "remote uni eth_1/1 pppoe-filter yes",
                             "remote uni eth_1/1 power-control 1",
                             "remote uni eth_1/1 dot1x",
                             "remote uni eth_1/1 dot1x action-register none",
                             "remote video video_1/1 state open",
                             "remote loop_detect uni eth_1/1",
                             "remote uni eth_1/1 pm upstream",
                             "remote uni eth_1/1 pm sideways enable",
                             "remote uni eth_1/1 vlan-mode access pvlan 0",
                             "remote uni eth_1/1 vlan-mode access pvlan 4095",
                             "remote uni eth_1/1 vlan-mode access pvlan 1 priority 8",
                             "remote uni eth_1/1 vlan-mode tunnel",
                             "remote uni eth_1/1 vlan-mode trunk tag",
                             "remote uni eth_1/1 vlan-mode hybrid pvlan 1",
                             "remote uni eth_1/1 vlan-mode xlate",
                             "remote onu",
                             "remote onu explode",
                             "remote onu restore factory",
                             "show onu remote uni eth_1/1 pm history",
                             "show onu remote uni eth_1/1 pm now upstream",
                             "show onu remote"})
        EXPECT_NE(far_.run(line), CMD_SUCCESS) << line;
    EXPECT_EQ(chassis_.messages_of(OV_HAL_MSG_GPON_RM_UNI).size(), 0u);
}

CLI_TEST(RemoteUniSettings, StandOnOnusOnly) {
    for (const UniSetting& setting : SETTINGS)
        EXPECT_NE(profile_.run(setting.line), CMD_SUCCESS) << setting.line;
    for (const char* line : {"remote onu reboot", "show onu remote capability"})
        EXPECT_NE(profile_.run(line), CMD_SUCCESS) << line;
}

CLI_TEST(RemoteUniSettings, AValueThatIsSetAlreadyIsTaken) {
    EXPECT_EQ(run(far_, "remote uni eth_1/1 pm enable"), "");
    EXPECT_NE(uni<Pm>(), nullptr);
    EXPECT_EQ(run(far_, "remote uni eth_1/1 pm enable"), "");
    EXPECT_EQ(run(far_, "remote uni eth_1/1 pm disable"), "");
    EXPECT_EQ(uni<Pm>(), nullptr) << "the counters' row goes with the switch";
}

CLI_TEST(RemoteUniSettings, WhatACardDoesNotSupportIsKept) {
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_UNI, 1008);
    EXPECT_EQ(run(far_, "remote uni pots_1/1 max-frame 100"), "");
    EXPECT_EQ(uni<Status>(POTS)->sRmUniStatusMaxFrameSize, 100u);
}

// ---- what is shown --------------------------------------------------------------------------------------

std::string line_with(const std::string& text, const std::string& item) {
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = text.find('\n', begin);
        const std::string line = text.substr(begin, end - begin);
        if (line.find(" " + item + " ") != line.npos || line.ends_with(" " + item))
            return line;
        begin = end + 1;
    }
    return "no line with " + item + " in\n" + text;
}
std::string shown(const char* uni, const std::string& item, const std::string& value) {
    std::string line = uni;
    line.resize(11, ' ');
    line += item;
    line.resize(36, ' ');
    line += value;
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

CLI_TEST(RemoteUniSettings, AreShownWithVlansAndLink) {
    for (const char* line :
         {"remote uni eth_1/1 auto-detection full-100", "remote uni eth_1/1 max-frame 1522",
          "remote loop_detect uni eth_1/1 enable", "remote uni eth_1/1 dot1x action-register auth",
          "remote uni eth_1/1 vlan-mode hybrid pvlan 100 priority 3 tag 200 300-301"})
        EXPECT_EQ(run(far_, line), "") << line;
    ov_gpon_rmuni_attr_t record = {};
    record.linkstauts = 1;
    chassis_.card_reads(OV_HAL_MSG_GPON_RM_UNI, record);
    const std::string text = run(far_, "show onu remote uni eth_1/1 param");
    EXPECT_TRUE(text.starts_with("\nuni        item                     value\n---")) << text;
    const std::pair<const char*, const char*> items[] = {{"admin state", "enable"},
                                                         {"link", "up"},
                                                         {"auto-detection", "full-100"},
                                                         {"max-frame", "1522"},
                                                         {"mac-limit", "0"},
                                                         {"loop_detect", "enable"},
                                                         {"pppoe-filter", "disable"},
                                                         {"ethernet-interface", "default"},
                                                         {"power-control", "disable"},
                                                         {"dot1x", "disable"},
                                                         {"dot1x action-register", "auth"},
                                                         {"multicast", "disable"},
                                                         {"pm", "disable"},
                                                         {"pm upstream", "disable"},
                                                         {"vlan-mode", "hybrid"},
                                                         {"pvlan", "100"},
                                                         {"priority", "3"},
                                                         {"tag", "200 300 301"}};
    for (const auto& [item, value] : items)
        EXPECT_EQ(line_with(text, item), shown("eth_1/1", item, value));
    EXPECT_EQ(line_with(text, "xlate"), "eth_1/1    xlate");
}

CLI_TEST(RemoteUniSettings, OfVideoAreShown) {
    run(far_, "remote video video_1/1 state lock");
    const std::string text = run(far_, "show onu remote video video_1/1");
    EXPECT_EQ(line_with(text, "state"), shown("video_1/1", "state", "lock"));
    EXPECT_EQ(line_with(text, "link"), shown("video_1/1", "link", "down"));
}

CLI_TEST(RemoteUniSettings, ACardThatDoesNotTellTheLinkFailsTheShow) {
    chassis_.card_answers(OV_HAL_MSG_GPON_RM_UNI, 101001);
    EXPECT_EQ(run(far_, "show onu remote uni eth_1/1 param", 104006), "%Failed to get uni status\n");
    EXPECT_EQ(run(far_, "show onu remote video video_1/1", 104006), "%Failed to get video status\n");
}

} // namespace
