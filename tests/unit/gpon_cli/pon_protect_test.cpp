// Protection groups, copy and clear of a port.
#include "cli_fixture.h"

#include "app_loop.h"
#include "gpon_config_parts.h"
#include "ov_app_gpon_pon_protect.h"
#include "ov_app_gpon_pon_role.h"

using testing::HasSubstr;

namespace {

using Group = ov_portProtectTable_attr_t;

class Protection : public Cli {
protected:
    Protection() {
        for (const char* name : {"gpon-olt3/1", "gpon-olt3/2", "gpon-olt1/1", "gpon-onu3/1:1"})
            add_interface(name);
        for (const int port : {1, 2})
            add_port(3, port);
        add_port(1, 1);
        ov_startup_gpon_config_sync_end_set(3, 1);
        app_loop_set(frr_master());
    }
    int run(const std::string& line) { return session_.run(line); }
    // What the session printed since it was asked last.
    std::string output() { return session_.output(); }
    static const Group* group(int id) {
        Group key = {};
        key.ppGroupId = id;
        return find_row(key);
    }
    static constexpr char ADD[] =
        "protectgroup 3 name north workpon gpon-olt3/1 protectpon gpon-olt3/2 typeB";

    FrrSession session_{GPON_NODE};
};

CLI_TEST(Protection, GroupIsMadeSwitchedShownAndEnded) {
    EXPECT_EQ(run(ADD), CMD_SUCCESS);
    ASSERT_NE(group(3), nullptr);
    EXPECT_STREQ(group(3)->ppGroupName, "north");
    EXPECT_EQ(group(3)->ppWorkPonIfindex, static_cast<mib_long>(index_of("gpon-olt3/1")));
    EXPECT_EQ(group(3)->ppProtectPonIfindex, static_cast<mib_long>(index_of("gpon-olt3/2")));
    EXPECT_EQ(output(), "");
    EXPECT_EQ(run("protectgroup 3 switchover p2w"), CMD_SUCCESS); // to the protecting port
    EXPECT_EQ(group(3)->ppExternalCommand, PPEXTERNALCOMMAND_MSP);
    EXPECT_EQ(group(3)->ppActivePort, group(3)->ppProtectPonIfindex);
    EXPECT_EQ(run("show protectgroup 3"), CMD_SUCCESS);
    EXPECT_EQ(output(),
              "\ngroup name                                                            working       state   "
              "       protecting    state          in service    command request type\n" +
                  std::string(163, '-') +
                  "\n3     north                                                           gpon-olt3/1   "
                  "normal         gpon-olt3/2   normal         gpon-olt3/2   msp     no      typeb\n");
    EXPECT_EQ(run("protectgroup 3 switchover w2p"), CMD_SUCCESS);
    EXPECT_EQ(group(3)->ppExternalCommand, PPEXTERNALCOMMAND_MSW);
    EXPECT_EQ(group(3)->ppActivePort, group(3)->ppWorkPonIfindex);
    EXPECT_EQ(run("no protectgroup 3"), CMD_SUCCESS);
    EXPECT_EQ(group(3), nullptr);
    EXPECT_EQ(output(), "");
}

CLI_TEST(Protection, FailuresAreTold) {
    EXPECT_NE(run("no protectgroup 3"), CMD_SUCCESS);
    EXPECT_THAT(output(), HasSubstr("Failed to del gpon protect group\n"));
    EXPECT_NE(run("protectgroup 3 switchover p2w"), CMD_SUCCESS);
    EXPECT_THAT(output(), HasSubstr("Failed to switchover gpon protect group\n"));
    EXPECT_NE(run("show protectgroup 3"), CMD_SUCCESS);
    EXPECT_THAT(output(), HasSubstr("%No protect group 3\n"));
    const std::string head = "protectgroup 3 name ";
    const struct {
        std::string line;
        const char* text;
    } refused[] = {
        {head + "n workpon gpon-olt3/1 protectpon gpon-olt3/1 typeB", "Failed to add gpon protect group\n"},
        {head + "n workpon gpon-olt3/1 protectpon gpon-olt1/1 typeB", "Failed to add gpon protect group\n"},
        {head + std::string(64, 'n') + " workpon gpon-olt3/1 protectpon gpon-olt3/2 typeB",
         "Failed to add gpon protect group\n"},
        {head + "n workpon nowhere protectpon gpon-olt3/2 typeB", "%Invalid IFNAME: nowhere\n"},
        {head + "n workpon gpon-olt3/1 protectpon gpon-onu3/1:1 typeB",
         "%Interface gpon-onu3/1:1 is not PON\n"},
    };
    for (const auto& [line, text] : refused) {
        EXPECT_NE(run(line), CMD_SUCCESS) << line;
        EXPECT_THAT(output(), HasSubstr(text)) << line;
        EXPECT_EQ(group(3), nullptr) << line;
    }
    for (const char* line : {"protectgroup 0 switchover p2w", "protectgroup 17 switchover p2w",
                             "protectgroup 1 name n workpon gpon-olt3/1 protectpon gpon-olt3/2"})
        EXPECT_NE(run(line), CMD_SUCCESS) << line;
}

CLI_TEST(Protection, IsSaved) {
    EXPECT_EQ(ov_gpon_cli_pon_protect_cfg_write(session_.vty), 0);
    ASSERT_EQ(run(ADD), CMD_SUCCESS);
    EXPECT_EQ(ov_gpon_cli_pon_protect_cfg_write(session_.vty), 1);
    EXPECT_EQ(output(), std::string(" ") + ADD + "\n");
    // one that only a manager can have made
    auto& row = *active(portProtectTable_createEntry(99));
    row.ppWorkPonIfindex = row.ppProtectPonIfindex = 0;
    EXPECT_EQ(ov_gpon_cli_pon_protect_cfg_write(session_.vty), 1);
}

CLI_TEST(Protection, ConfigurationOfAPortIsCopiedAndCleared) {
    add_onutype("HG-1");
    FrrSession port(IF_GPON_NODE);
    stand_on(port, IF_GPON_NODE, "gpon-olt3/1");
    ASSERT_EQ(port.run("onu 1 type HG-1 sn ABCD00000001"), CMD_SUCCESS);
    EXPECT_EQ(run("copy config src gpon-olt3/1 dst gpon-olt3/2"), CMD_SUCCESS);
    EXPECT_EQ(output(), "");
    EXPECT_NE(find_row(onu_key<ov_sOnuTable_attr_t>(3, 2, 1)), nullptr);
    EXPECT_EQ(run("clear config gpon-olt3/2"), CMD_SUCCESS);
    EXPECT_EQ(find_row(onu_key<ov_sOnuTable_attr_t>(3, 2, 1)), nullptr);
    EXPECT_NE(find_row(onu_key<ov_sOnuTable_attr_t>(3, 1, 1)), nullptr);
    ASSERT_EQ(run(ADD), CMD_SUCCESS);
    EXPECT_NE(run("clear config gpon-olt3/1"), CMD_SUCCESS); // of a group
    output();
    for (const char* line : {"clear config nowhere", "copy config src nowhere dst gpon-olt3/1",
                             "copy config src gpon-olt3/1 dst nowhere"}) {
        EXPECT_NE(run(line), CMD_SUCCESS) << line;
        EXPECT_THAT(output(), HasSubstr("%Invalid IFNAME: nowhere\n")) << line;
    }
    for (const char* line : {"clear config gpon-onu3/1:1", "copy config src gpon-onu3/1:1 dst gpon-olt3/1"}) {
        EXPECT_NE(run(line), CMD_SUCCESS) << line;
        EXPECT_THAT(output(), HasSubstr("%Interface gpon-onu3/1:1 is not PON\n")) << line;
    }
}

} // namespace
