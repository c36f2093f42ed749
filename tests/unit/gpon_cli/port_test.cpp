// Settings of a PON port.
#include "cli_fixture.h"

#include "ov_types.h"
#include "table_record.h"

namespace {

class Port : public Cli {
protected:
    Port() {
        stand_on(session_, IF_GPON_NODE, "gpon-olt3/16");
        row_ = &add_port(3, 16);
        add_profile(9, "nine", "KLM-618");
        add_profile(128, "last", "KLM-618");
    }
    int run(const std::string& line) { return session_.run(line); }
    void card_is_at(int stage) {
        ov_gpon_port_attr_t record = {};
        record.rogueOnuDetectState = static_cast<uint32_t>(stage);
        chassis_.card_reads(OV_HAL_MSG_GPON_PORT, record);
    }

    FrrSession session_{IF_GPON_NODE};
    ov_sPonTable_attr_t* row_;
};

// What one command writes.
struct Setting {
    const char* line;
    Columns columns;
    std::vector<mib_long> values;
    const char* failure;
    int result = 104006;
};
const Setting settings[] = {
    {"fec downstream enable", {15}, {1}, "%Failed to set ds fec\n"},
    {"fec downstream  e", {15}, {1}, "%Failed to set ds fec\n"},
    {"fec downstream disable", {15}, {0}, "%Failed to set ds fec\n"},
    {"aes encryption key_exchange enable", {16}, {1}, "%Failed to set aes encryption\n"},
    {"aes encryption key_exchange disable", {16}, {0}, "%Failed to set aes encryption\n"},
    {"aes encryption key_exchange interval 1000", {17}, {1000}, "%Failed to set aes encryption time\n"},
    {"aes encryption key_exchange interval 1000000", {17}, {1000000}, "%Failed to set aes encryption time\n"},
    {"onu max_distance 20", {14}, {20}, "%Failed to set onu logical distance\n"},
    {"onu max_distance 60", {14}, {60}, "%Failed to set onu logical distance\n"},
    {"onu auto-discovery disable", {22}, {0}, "%Failed to set onu auto discovery\n"},
    {"onu auto-discovery enable", {22}, {1}, "%Failed to set onu auto discovery\n"},
    {"rogue-onu-detect enable", {26}, {1}, "%Failed to set rogue onu detect function\n"},
    {"rogue-onu-detect disable", {26}, {0}, "%Failed to set rogue onu detect function\n"},
    {"uncfg-onu silence enable 60", {29}, {60}, "%Failed to set uncfg-onu silence\n"},
    {"uncfg-onu silence enable 360", {29}, {360}, "%Failed to set uncfg-onu silence\n"},
    {"uncfg-onu silence disable", {29}, {0}, "%Failed to set uncfg-onu silence\n"},
    {"scb max-bandwidth 2", {9}, {2}, "%Failed to set scb port downstream max bandwitch\n"},
    {"scb max-bandwidth 2500000", {9}, {2500000}, "%Failed to set scb port downstream max bandwitch\n"},
    {"no scb max-bandwidth", {9}, {0}, "%Failed to no scb port downstream max bandwitch\n"},
    {"pm protocol enable", {18}, {1}, "%Failed to set pm \n"},
    {"pm protocol disable", {18}, {0}, "%Failed to set pm \n"},
    {"pm data enable", {19}, {1}, "%Failed to set pm \n"},
    {"switch-port protected disable", {21}, {0}, "%Failed to set switch-port protected \n"},
    {"switch-port protected enable", {21}, {1}, "%Failed to set switch-port protected \n"},
    {"mib-data-sync disable", {30}, {0}, "%Failed to set mib-data-sync \n", 0},
    {"mib-data-sync enable", {30}, {1}, "%Failed to set mib-data-sync \n", 0},
    {"onu auto-authentication disable", {20}, {0}, "%Failed to set onu auto authentication\n"},
    {"onu auto-authentication enable", {20, 23}, {1, 0}, "%Failed to set onu auto authentication\n"},
    {"onu auto-authentication enable auto-flow disable",
     {20, 23},
     {1, 0},
     "%Failed to set onu auto authentication\n"},
    {"onu auto-authentication enable auto-flow enable def-srv-profile nine",
     {20, 23, 28, 35},
     {1, 1, 9, 0},
     "%Failed to set onu auto authentication\n"},
    {"onu auto-authentication enable auto-flow enable def-srv-profile last configure_onu_node enable",
     {20, 23, 28, 35},
     {1, 1, 128, 1},
     "%Failed to set onu auto authentication\n"},
    {"onu-auto-flow sfu srv-profile nine", {25}, {9}, "%Failed to set onu auto flow\n"},
    {"onu-auto-flow hgu srv-profile last", {24}, {128}, "%Failed to set onu auto flow\n"},
    {"no onu-auto-flow sfu", {25}, {0}, "%Failed to del onu auto flow profile\n"},
    {"no onu-auto-flow hgu", {24}, {0}, "%Failed to del onu auto flow profile\n"},
};

std::vector<mib_long> values_of(const ov_sPonTable_attr_t& row, const Columns& columns) {
    std::vector<mib_long> values;
    for (const unsigned column : columns)
        values.push_back(
            record_get<mib_long>(&row, table_desc_sPonTable.column(static_cast<int>(column))->offset));
    return values;
}

CLI_TEST(Port, EachSettingWritesItsColumnsOfItsPort) {
    for (const Setting& setting : settings) {
        app = {};
        const bool schedules = std::string_view(setting.line).find("scb") != std::string_view::npos;
        // a port has no hierarchical scheduler, which the limit belongs to
        EXPECT_EQ(run(setting.line), schedules ? CMD_WARNING : CMD_SUCCESS) << setting.line;
        EXPECT_EQ(app.calls, (Calls{"port_edit"})) << setting.line;
        EXPECT_EQ(app.port.shelfID, 1);
        EXPECT_EQ(app.port.slotID, 3);
        EXPECT_EQ(app.port.portID, 16);
        EXPECT_EQ(app.columns, setting.columns) << setting.line;
        EXPECT_EQ(values_of(app.port, setting.columns), setting.values) << setting.line;
        EXPECT_EQ(session_.output(), schedules ? setting.failure : "") << setting.line;
    }
}

// "mib-data-sync" says that it failed and succeeds all the same.
CLI_TEST(Port, EachSettingTellsThatItWasRefused) {
    app.refuses = true;
    for (const Setting& setting : settings) {
        EXPECT_EQ(run(setting.line), setting.result == 0 ? CMD_SUCCESS : CMD_WARNING) << setting.line;
        EXPECT_EQ(kavo_cmd_last_result(), setting.result) << setting.line;
        EXPECT_EQ(session_.output(), setting.failure) << setting.line;
        EXPECT_EQ(session_.vty->node, IF_GPON_NODE);
    }
}

// The parser makes the keyword full, so that one letter decides.
CLI_TEST(Port, AShortKeywordIsAsGoodAsTheFullOne) {
    EXPECT_EQ(run("fec downstream e"), CMD_SUCCESS);
    EXPECT_EQ(app.port.sPonTableDsFec, 1);
    EXPECT_EQ(run("fec do d"), CMD_SUCCESS);
    EXPECT_EQ(app.port.sPonTableDsFec, 0);
    EXPECT_EQ(run("fec downstream ex"), CMD_ERR_NO_MATCH);
    EXPECT_EQ(app.calls, (Calls{"port_edit", "port_edit"}));
}

CLI_TEST(Port, ValuesOutOfRangeAreUnknownCommands) {
    for (const char* line :
         {"aes encryption key_exchange interval 999", "aes encryption key_exchange interval 1000001",
          "onu max_distance 10", "onu max_distance 70", "uncfg-onu silence enable 59",
          "uncfg-onu silence enable 361", "scb max-bandwidth 1", "scb max-bandwidth 2500001",
          "onu-auto-flow model 0 X srv-profile nine", "onu-auto-flow model 5 X srv-profile nine",
          "no onu-auto-flow vendor 5", "pm both enable"})
        EXPECT_EQ(run(line), CMD_ERR_NO_MATCH) << line;
    EXPECT_TRUE(app.calls.empty());
}

CLI_TEST(Port, AnUnknownServiceProfileIsRefusedBeforeAnythingIsTried) {
    row_->sPonTableAutoFlow = 1;
    for (const char* line : {"onu auto-authentication enable auto-flow enable def-srv-profile none",
                             "onu-auto-flow sfu srv-profile none", "onu-auto-flow hgu srv-profile none",
                             "onu-auto-flow vendor 1 ABCD srv-profile none"}) {
        EXPECT_EQ(run(line), CMD_WARNING) << line;
        EXPECT_EQ(kavo_cmd_last_result(), 104001);
        EXPECT_EQ(session_.output(), "%Onu srv profile not exist\n");
    }
    EXPECT_TRUE(app.calls.empty());
}

CLI_TEST(Port, TheLegacyFormOfAutoFlowPointsToTheNewOne) {
    for (const char* line : {"onu auto-flow enable", "onu auto-flow disable"}) {
        EXPECT_EQ(run(line), CMD_SUCCESS);
        EXPECT_EQ(session_.output(), "% legacy command for upgrade. please try new command!!\n");
    }
    EXPECT_TRUE(app.calls.empty());
}

// ---- vendors and models ------------------------------------------------------------------------------

CLI_TEST(Port, AVendorIsPutIntoItsSlotAndTheOthersStay) {
    row_->sPonTableAutoFlow = 1;
    memcpy(row_->sPonTableVendorSrvProfileName, "AAAA", 4);
    row_->sPonTableVendorSrvProfile[0] = 9;
    EXPECT_EQ(run("onu-auto-flow vendor 4 MRVO srv-profile last"), CMD_SUCCESS);
    EXPECT_EQ(app.columns, (Columns{33, 34}));
    EXPECT_EQ(memcmp(app.port.sPonTableVendorSrvProfileName, "AAAA\0\0\0\0\0\0\0\0MRVO", 16), 0);
    EXPECT_EQ(memcmp(app.port.sPonTableVendorSrvProfile, "\x09\0\0\x80", 4), 0);
}

CLI_TEST(Port, AModelOf20BytesFillsItsSlot) {
    row_->sPonTableAutoFlow = 1;
    EXPECT_EQ(run("onu-auto-flow model 2 12345678901234567890 srv-profile nine"), CMD_SUCCESS);
    EXPECT_EQ(app.columns, (Columns{31, 32}));
    const std::string names(reinterpret_cast<const char*>(app.port.sPonTableModelSrvProfileName), 80);
    EXPECT_EQ(names, std::string(20, '\0') + "12345678901234567890" + std::string(40, '\0'));
    EXPECT_EQ(memcmp(app.port.sPonTableModelSrvProfile, "\0\x09\0\0", 4), 0);
}

CLI_TEST(Port, ASlotThatCantBeFilledIsRefused) {
    memcpy(row_->sPonTableVendorSrvProfileName, "AAAA", 4);
    memcpy(row_->sPonTableModelSrvProfileName + 20, "M2", 2);
    const struct {
        const char* words;
        int auto_flow;
        const char* text;
    } cases[] = {
        {"vendor 2 MRVO", 0, "%wrong operation, please enable auto flow firstly\n"},
        {"model 2 X", 0, "%wrong operation, please enable auto flow firstly\n"},
        {"vendor 2 MRV", 1, "%Invalid vendor name,must be 4 bytes\n"},
        {"vendor 2 MRVOO", 1, "%Invalid vendor name,must be 4 bytes\n"},
        {"model 1 123456789012345678901", 1, "%Invalid model name, length cannot exceed 20 bytes\n"},
        {"vendor 1 MRVO", 1, "%Vendor profile has existed\n"},
        {"vendor 2 AAAA", 1, "%Vendor profile has existed\n"},
        {"model 2 X", 1, "%Model profile has existed\n"},
        {"model 3 M2", 1, "%Model profile has existed\n"},
    };
    for (const auto& c : cases) {
        row_->sPonTableAutoFlow = c.auto_flow;
        EXPECT_EQ(run(std::string("onu-auto-flow ") + c.words + " srv-profile nine"), CMD_WARNING) << c.words;
        EXPECT_EQ(kavo_cmd_last_result(), 104001);
        EXPECT_EQ(session_.output(), c.text);
    }
    EXPECT_TRUE(app.calls.empty());
}

CLI_TEST(Port, ASlotIsEmptied) {
    memset(row_->sPonTableModelSrvProfileName, 'm', 80);
    memset(row_->sPonTableModelSrvProfile, 9, 4);
    EXPECT_EQ(run("no onu-auto-flow model 3"), CMD_SUCCESS);
    EXPECT_EQ(app.columns, (Columns{31, 32}));
    const std::string names(reinterpret_cast<const char*>(app.port.sPonTableModelSrvProfileName), 80);
    EXPECT_EQ(names, std::string(40, 'm') + std::string(20, '\0') + std::string(20, 'm'));
    EXPECT_EQ(memcmp(app.port.sPonTableModelSrvProfile, "\x09\x09\0\x09", 4), 0);
}

CLI_TEST(Port, AVanishedPortIsNoEndOfTheDaemon) {
    sPonTable_removeEntry(row_);
    row_ = nullptr;
    EXPECT_EQ(run("onu-auto-flow vendor 2 MRVO srv-profile nine"), CMD_WARNING);
    EXPECT_EQ(run("no onu-auto-flow vendor 2"), CMD_WARNING);
    EXPECT_EQ(run("show rogue-onu-detect-state"), CMD_WARNING);
    EXPECT_EQ(session_.output(), "%wrong operation, please enable auto flow firstly\n"
                                 "%Failed to del onu auto flow profile\n"
                                 "%Failed to get port info \n");
}

// ---- rogue ONUs --------------------------------------------------------------------------------------

CLI_TEST(Port, RogueStagesAreShownAndThoseWithoutATextAreNot) {
    const char* const texts[] = {
        " STAGE1 Rogue onu detect start\n",
        " STAGE2 Rogue onu detecting\n",
        " STAGE3 Rogue onu detecting\n",
        " STAGE4 Rogue onu detect complete\n",
        " STAGE5 Have unconfig rogue onu\n",
        "",
        " STAGE7 Stop rogue onu detect rudely\n",
        "",
        "",
        "", // no such stage
    };
    for (int stage = 0; stage < 10; stage++) {
        card_is_at(stage);
        EXPECT_EQ(run("show rogue-onu-detect-state"), CMD_SUCCESS);
        EXPECT_EQ(session_.output(), texts[stage]) << stage;
    }
    card_is_at(-1);
    EXPECT_EQ(run("show rogue-onu-detect-state"), CMD_SUCCESS);
    EXPECT_EQ(session_.output(), "");
}

} // namespace
