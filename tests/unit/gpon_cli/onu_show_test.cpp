// What is shown of ONUs.
#include "onu_fixture.h"

#include <ctime>
#include <sstream>

namespace {

class OnuShow : public OnuCli {
protected:
    OnuShow() {
        for (const char* name : {"gpon-olt1/2", "gpon-olt14/16", "gpon-onu1/2:7"})
            add_interface(name);
    }
    static std::vector<std::string> lines(const std::string& text) {
        std::vector<std::string> all;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);)
            all.push_back(line);
        return all;
    }
    // The places ("1/2:7") of the ONUs that a command shows.
    static std::vector<std::string> onus(FrrSession& session, const std::string& line) {
        std::vector<std::string> places;
        for (const std::string& shown : lines(run(session, line)))
            if (isdigit(shown[0]) != 0)
                places.push_back(shown.substr(0, shown.find(' ')));
        return places;
    }
    static ov_sOnuTable_attr_t& add_full_onu(int slot, int port, int onu) {
        auto& row = add_onu(slot, port, onu);
        row.sOnuTableAuthMode = SONUTABLEAUTHMODE_LOIDPW;
        row.sOnuTableOnuState = SONUTABLEONUSTATE_OPERATIONAL;
        set(row.sOnuTableLoid, "123456789012345678901234");
        set(row.sOnuTableLoidPw, "123456789012");
        set(row.sOnuTableOnuTypeProfileName, "KLM-618");
        set(row.sOnuTableOnuActVersion, "V12345678901234");
        set(row.sOnuTableOnuName, "gpon-onu14/16:128");
        return row;
    }
    FrrSession enable_{ENABLE_NODE};
    FrrSession config_{CONFIG_NODE};
};
using Places = std::vector<std::string>;

CLI_TEST(OnuShow, StatesStandBelowTheirHeadings) {
    add_full_onu(14, 16, 128);
    EXPECT_EQ(run(enable_, "show onu status"),
              "\n"
              "onu        state        onu type           auth       known by                                "
              "      version         name        \n" +
                  std::string(127, '-') +
                  "\n"
                  "14/16:128  operational  KLM-618            loidpw     loid:123456789012345678901234 "
                  "pw:123456789012 V12345678901234 gpon-onu14/16:128\n"
                  "total 1\n");
}

CLI_TEST(OnuShow, StatesAndAuthenticationsAreShownAsWordsAndNumbersWithoutOne) {
    const char* states[] = {"init", "added", "authpass", "operational", "4"};
    const char* auths[] = {"sn", "pw", "snpw", "loid", "6"};
    for (int i = 0; i < 5; i++) {
        auto& row = add_onu(1, 2, i + 1);
        row.sOnuTableOnuState = i;
        row.sOnuTableAuthMode = i < 4 ? i + 1 : 6;
    }
    const auto shown = lines(run(port_, "show onu status"));
    ASSERT_EQ(shown.size(), 9u);
    for (size_t i = 0; i < 5; i++) {
        EXPECT_THAT(shown[3 + i], testing::HasSubstr(std::string(" ") + states[i] + " "));
        EXPECT_THAT(shown[3 + i], testing::HasSubstr(std::string(" ") + auths[i] + " "));
    }
    EXPECT_EQ(shown.back(), "total 5");
}

CLI_TEST(OnuShow, ATextThatWouldUpsetATerminalIsShownWithoutThat) {
    set(add_full_onu(1, 2, 1).sOnuTableOnuName, "a\x1b[2J\nb");
    EXPECT_THAT(run(port_, "show onu status"), testing::HasSubstr(" a?[2J?b"));
}

CLI_TEST(OnuShow, APortShowsItsOwnOnusAndOtherNodesAll) {
    add_onu(1, 1, 7);
    add_onu(1, 2, 7);
    add_onu(1, 2, 128);
    add_onu(14, 16, 7);
    const Places all = {"1/1:7", "1/2:7", "1/2:128", "14/16:7"};
    for (FrrSession* session : {&enable_, &config_, &onu_})
        EXPECT_EQ(onus(*session, "show onu status"), all);
    EXPECT_EQ(onus(port_, "show onu status"), (Places{"1/2:7", "1/2:128"}));
    EXPECT_EQ(onus(port_, "show onu 128 status"), (Places{"1/2:128"}));
    EXPECT_EQ(onus(port_, "show onu 1 status"), Places{});
    EXPECT_EQ(onus(config_, "show onu 7 status"), (Places{"1/1:7", "1/2:7", "14/16:7"}));
    EXPECT_EQ(onus(port_, "show interface gpon-olt14/16 onu status"), (Places{"14/16:7"}));
    EXPECT_EQ(onus(enable_, "show interface gpon-olt1/2 onu 7 status"), (Places{"1/2:7"}));
    EXPECT_EQ(onus(enable_, "show interface gpon-olt1/2 onu 8 status"), Places{});
    EXPECT_EQ(onus(config_, "show interface gpon-olt1/2 onu status"), (Places{"1/2:7", "1/2:128"}));
    EXPECT_EQ(enable_.run("show onu 7 status"), CMD_ERR_NO_MATCH);
    EXPECT_EQ(port_.run("show onu 129 status"), CMD_ERR_NO_MATCH);
}

CLI_TEST(OnuShow, ANameThatIsNoPonPortIsRefused) {
    for (const char* name : {"gpon-olt3/3", "gpon-onu1/2:7", "nonsense"})
        for (const char* what : {"onu status", "onu unconfig", "onu 1 status"}) {
            const std::string text = run(port_, std::string("show interface ") + name + " " + what, 104001);
            EXPECT_TRUE(text.starts_with("\nonu  ") || text.starts_with("\n      slot"))
                << "the heading first";
            EXPECT_TRUE(text.ends_with(std::string("\n% ") + name + " is not a PON port\n")) << text;
        }
}

CLI_TEST(OnuShow, AFilterLooksForATextInAColumn) {
    set(add_onu(1, 1, 1).sOnuTableSn, "ABCD000000ff");
    set(add_onu(1, 1, 2).sOnuTablePw, "secret");
    set(add_onu(1, 2, 3).sOnuTableLoid, "Customer");
    set(add_onu(1, 2, 4).sOnuTableOnuName, "House-7");
    auto& loid_pw = add_onu(1, 2, 5);
    loid_pw.sOnuTableAuthMode = SONUTABLEAUTHMODE_LOIDPW;
    set(loid_pw.sOnuTableLoidPw, "secret");
    EXPECT_EQ(onus(enable_, "show onu filter sn ABCD000000FF"), (Places{"1/1:1"}));
    EXPECT_EQ(onus(config_, "show onu filter sn 00ff"), (Places{"1/1:1"}));
    EXPECT_EQ(onus(config_, "show onu filter pwd secret"), (Places{"1/1:2", "1/2:5"}));
    EXPECT_EQ(onus(port_, "show onu filter pwd secret"), (Places{"1/2:5"}));
    EXPECT_EQ(onus(port_, "show onu filter loid stom"), (Places{"1/2:3"}));
    EXPECT_EQ(onus(port_, "show onu filter name house-7"), (Places{"1/2:4"}));
    EXPECT_EQ(onus(port_, "show onu filter name house-77"), Places{});
    EXPECT_EQ(onus(port_, "show onu filter sn ABCD"), Places{});
}

CLI_TEST(OnuShow, OnusThatAreNotConfiguredAreListedWithWhatTheyRegisteredAs) {
    auto& row = *active(sOnuInitTable_createEntry(1, 1, 2, 1));
    set(row.sOnuInitTableSn, "ABCD000000ff");
    set(row.sOnuInitTableLoid, "customer");
    set(row.sOnuInitTableEqptId, "KLM-618");
    set(active(sOnuInitTable_createEntry(1, 14, 16, 200))->sOnuInitTableSn, "ABCD00000001");
    const std::string head = "\n      slot       port  serial number         registered as\n";
    const std::string first = "         1          2  ABCD000000ff          loid:customer model:KLM-618\n";
    const std::string second = "        14         16  ABCD00000001          \n";
    EXPECT_EQ(run(enable_, "show onu unconfig"), head + first + second + "total 2\n");
    EXPECT_EQ(run(port_, "show onu unconfig"), head + first + "total 1\n");
    EXPECT_EQ(run(port_, "show interface gpon-olt14/16 onu unconfig"), head + second + "total 1\n");
}

CLI_TEST(OnuShow, HistoryIsOneLineForAnOnu) {
    setenv("TZ", "UTC", 1);
    tzset();
    auto& row = *active(sOnuHistoryTable_createEntry(1, 1, 2, 128));
    row.sOnuHistoryAuthTime1 = 86400;
    row.sOnuHistoryAuthTime2 = 1000000000;
    row.sOnuHistoryOffTime2 = 4294967295u;
    active(sOnuHistoryTable_createEntry(1, 14, 16, 1));
    const auto shown = lines(run(port_, "show onu history"));
    ASSERT_EQ(shown.size(), 4u);
    EXPECT_EQ(shown[3], "total 1");
    const std::pair<const char*, const char*> columns[] = {
        {"onu ", "1/2:128"},
        {"on 1", "1970-01-02 00:00:00"},
        {"off 1", "-"},
        {"on 2", "2001-09-09 01:46:40"},
        {"off 2", "2106-02-07 06:28:15"},
        {"off 5", "-"},
    };
    for (const auto& [heading, value] : columns)
        EXPECT_EQ(shown[2].compare(shown[1].find(heading), strlen(value), value), 0) << heading;
    EXPECT_EQ(onus(enable_, "show onu history"), (Places{"1/2:128", "14/16:1"}));
}

CLI_TEST(OnuShow, ReadingsOfAnOnu) {
    EXPECT_EQ(run(config_, "show distance gpon-olt1/2 onu 7", 104001), "%Onu 7 not exist\n");
    EXPECT_EQ(run(port_, "show optical module rxpower onuid 128", 104001), "%Onu 128 not exist\n");
    EXPECT_EQ(run(config_, "show distance gpon-onu1/2:7 onu 7", 104001),
              "% gpon-onu1/2:7 is not a PON port\n");
    add_onu(1, 2, 7);
    EXPECT_EQ(run(config_, "show distance gpon-olt1/2 onu 7", 104006), "%Failed to get port info \n");
    active(sOnuExtendInfoTable_createEntry(1, 3, 2, 7));
    add_onu(3, 2, 7).sOnuTableOnuState = SONUTABLEONUSTATE_OPERATIONAL;
    add_interface("gpon-olt3/2");
    ov_gpon_onu_attr_t record = {};
    record.phyDistance = 4000000000u;
    record.oltRxPw = -2150;
    chassis_.card_reads(OV_HAL_MSG_GPON_ONU, record);
    stand_on(port_, IF_GPON_NODE, "gpon-olt3/2");
    EXPECT_EQ(run(config_, "show distance gpon-olt3/2 onu 7"),
              "\nonu          distance\n3/2:7      4000000000\n");
    EXPECT_EQ(run(port_, "show optical module rxpower onuid 7"),
              "\nonu          rx power\n3/2:7           -2150\n");
}

CLI_TEST(OnuShow, ServicePortsOfAnOnu) {
    auto& first = *active(servicePortTable_createEntry(1, 1, 2, 7, 1));
    first.servicePortGemId = 30;
    first.servicePortVlanAction = SERVICEPORTVLANACTION_ALLTRANSPARENT;
    auto& second = *active(servicePortTable_createEntry(1, 1, 2, 7, 32));
    second.servicePortGemId = 1;
    second.servicePortUserVlan = 10;
    second.servicePortVlan = 100;
    second.servicePortSvlan = 4094;
    second.servicePortVlanAction = SERVICEPORTVLANACTION_ADD;
    second.servicePortVlanPrioAction = 2;
    second.servicePortVlanPrio = 5;
    second.servicePortQueueSelectMode = 2;
    second.servicePortCosQueueMappingProfileId = 3;
    second.servicePortMacLimit = 4095;
    second.servicePortMacmove = 0;
    active(servicePortTable_createEntry(1, 1, 2, 8, 1));
    EXPECT_EQ(run(config_, "show service-port interface gpon-onu1/2:7"),
              "\n"
              "port  gem user-vlan action          vlan priority svlan priority queue  mac-limit mac-move\n"
              "1      30         0 alltransparent     0 copy         0 copy     0              0 enable  \n"
              "32      1        10 add              100 5         4094 copy     map 3       4095 disable \n"
              "total 2\n");
    EXPECT_EQ(run(config_, "show service-port interface gpon-onu9/9:9", 104001),
              "%Invalid IFNAME: gpon-onu9/9:9\n");
    EXPECT_EQ(run(config_, "show service-port interface gpon-olt1/2", 104001),
              "%Interface gpon-olt1/2 is not onu\n");
}

} // namespace
