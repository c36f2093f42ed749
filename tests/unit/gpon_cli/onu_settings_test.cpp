// Settings of one ONU, its T-CONTs, GEM ports and service ports: what each command asks of the application.
#include "onu_fixture.h"

#include "table_record.h"

namespace {

class OnuSettings : public OnuCli {
protected:
    OnuSettings() {
        add_port(1, 2);
        add_onu(1, 2, 7);
        add_profile(5, "five", "KLM-618");
        add_traffic("car1");
        add_traffic("car2");
    }

    // A GEM port for service ports, and a service port.
    static void add_gem(int slot = 1, int port = 2, int onu = 7) {
        add_tcont(1, slot, port, onu);
        active(sGemTable_createEntry(1, slot, port, onu, 1))->sGemTableTcontID = 1;
    }
    static void add_service_port(int slot = 1, int port = 2, int onu = 7) {
        active(servicePortTable_createEntry(1, slot, port, onu, 1))->servicePortGemId = 1;
    }
    static void add_tcont(unsigned id, int slot = 1, int port = 2, int onu = 7) {
        add_bandwidth("gold");
        set(active(sTcontTable_createEntry(1, slot, port, onu, id))->sTcontTableBwProfileName, "gold");
    }
};

struct Number {
    const char* line;
    unsigned column;
    mib_long value;
    const char* failure;
};

CLI_TEST(OnuSettings, EachWritesItsColumn) {
    const Number numbers[] = {
        {"active", 10, 1, "%Failed to active onu\n"},
        {"deactive", 10, 0, "%Failed to deactive onu\n"},
        {"onu-rssi-profile 1", 22, 1, "%Failed to add onu rssi profile\n"},
        {"onu-rssi-profile 32", 22, 32, "%Failed to add onu rssi profile\n"},
        {"onu-rssi-profile default", 22, 0, "%Failed to config default onu rssi profile\n"},
        {"fec upstream enable", 18, 1, "%Failed to set fec upstream\n"},
        {"fec upstream d", 18, 0, "%Failed to set fec upstream\n"},
        {"pm enable", 19, 1, "%Failed to set onu pm  \n"},
        {"pm disable", 19, 0, "%Failed to set onu pm  \n"},
    };
    for (const Number& number : numbers) {
        app = {};
        EXPECT_EQ(run(onu_, number.line), "");
        EXPECT_EQ(app.calls, Calls{"onu_edit"});
        EXPECT_EQ(app.columns, Columns{number.column}) << number.line;
        EXPECT_EQ(record_get<mib_long>(&app.onu,
                                       table_desc_sOnuTable.column(static_cast<int>(number.column))->offset),
                  number.value)
            << number.line;
        EXPECT_EQ(std::tie(app.onu.shelfID, app.onu.slotID, app.onu.portID, app.onu.onuId),
                  std::make_tuple(1, 1, 2, 7));
        app.refuses = true;
        EXPECT_EQ(run(onu_, number.line, 104006), number.failure);
    }
}

CLI_TEST(OnuSettings, NamesAndSplittersHaveUpTo32Characters) {
    const std::string longest(32, 'n');
    run(onu_, "name " + longest);
    EXPECT_EQ(app.onu.sOnuTableOnuName, longest);
    EXPECT_EQ(app.columns, Columns{3});
    run(onu_, "splitter " + longest);
    EXPECT_EQ(app.onu.sOnuTableSplitterNumber, longest);
    EXPECT_EQ(app.columns, Columns{16});
    app.calls.clear();
    EXPECT_EQ(run(onu_, "name n" + longest, 104006), "%Bad name length\n");
    EXPECT_EQ(run(onu_, "splitter n" + longest, 104006), "%Bad SplitterNumber length\n");
    EXPECT_EQ(app.calls, Calls{});
    run(onu_, "no name");
    EXPECT_STREQ(app.onu.sOnuTableOnuName, "gpon-onu1/2:7");
    run(onu_, "no splitter");
    EXPECT_STREQ(app.onu.sOnuTableSplitterNumber, "");
    EXPECT_EQ(app.columns, Columns{16});
    app.refuses = true;
    EXPECT_EQ(run(onu_, "name x", 104006), "%Failed to set onu name\n");
    EXPECT_EQ(run(onu_, "no name", 104006), "%Failed to no onu name\n");
    EXPECT_EQ(run(onu_, "splitter x", 104006), "%Failed to set onu SplitterNumber\n");
    EXPECT_EQ(run(onu_, "no splitter", 104006), "%Failed to no onu SplitterNumber\n");
}

CLI_TEST(OnuSettings, ATcontHasAProfileAndPerhapsAName) {
    add_bandwidth(std::string(64, 'p').c_str());
    add_bandwidth("gold");
    for (FrrSession* session : {&onu_, &profile_}) {
        run(*session, "tcont 8 profile " + std::string(64, 'p'));
        EXPECT_THAT(app.columns, written({5}));
        EXPECT_EQ(app.tcont.sTcontTableBwProfileName, std::string(64, 'p'));
        run(*session, "tcont 1 profile gold name " + std::string(32, 'n'));
        EXPECT_THAT(app.columns, written({3, 5}));
        EXPECT_EQ(app.tcont.sTcontTableTcontName, std::string(32, 'n'));
        EXPECT_EQ(app.tcont.tcontId, 1u);
        run(*session, "no tcont 8");
        EXPECT_EQ(app.tcont.tcontId, 8u);
    }
    EXPECT_EQ(app.tcont.slotID, 31); // the last was of the service profile
    EXPECT_EQ(app.tcont.portID, 15);
    EXPECT_EQ(app.tcont.onuId, 5);
    EXPECT_EQ(app.calls,
              (Calls{"tcont_add", "tcont_add", "tcont_del", "tcont_add", "tcont_add", "tcont_del"}));
    app = {};
    EXPECT_EQ(run(onu_, "tcont 2 profile " + std::string(65, 'p'), 104006), "%Bad profile name length\n");
    EXPECT_EQ(run(onu_, "tcont 2 profile p name " + std::string(33, 'n'), 104006), "%Bad name length\n");
    EXPECT_EQ(app.calls, Calls{});
    app.refuses = true;
    EXPECT_EQ(run(onu_, "tcont 3 profile p", 104006), "%Failed to create tcont:3\n");
    EXPECT_EQ(run(onu_, "no tcont 3", 104006), "%Failed to delete tcont:3\n");
}

struct Gem {
    const char* words;
    Columns columns;
    const char* name;
    unsigned queue;
    const char* up;
    const char* down;
};
const Gem gems[] = {
    {"", {5}, "", 0, "", ""},
    {" name hsi", {4, 5}, "hsi", 0, "", ""},
    {" queue 8", {5, 12}, "", 8, "", ""},
    {" name hsi queue 1", {4, 5, 12}, "hsi", 1, "", ""},
    {" gem-car car1", {5, 13}, "", 0, "car1", ""},
    {" gem-car-ds car2", {5, 14}, "", 0, "", "car2"},
    {" gem-car car1 gem-car-ds car2", {5, 13, 14}, "", 0, "car1", "car2"},
    {" name hsi gem-car car1", {4, 5, 13}, "hsi", 0, "car1", ""},
    {" name hsi gem-car-ds car2", {4, 5, 14}, "hsi", 0, "", "car2"},
    {" name hsi gem-car car1 gem-car-ds car2", {4, 5, 13, 14}, "hsi", 0, "car1", "car2"},
};

CLI_TEST(OnuSettings, EachFormOfAGemPortWritesWhatItsWordsName) {
    add_tcont(8);
    add_tcont(8, 31, 15, 5);
    for (FrrSession* session : {&onu_, &profile_})
        for (const Gem& gem : gems) {
            EXPECT_EQ(run(*session, std::string("gemport 30 tcont 8") + gem.words), "");
            EXPECT_EQ(app.calls.back(), "gemport_add");
            EXPECT_THAT(app.columns, written(gem.columns)) << gem.words;
            EXPECT_EQ(app.gem.gemID, 30u);
            EXPECT_EQ(app.gem.sGemTableTcontID, 8u);
            EXPECT_STREQ(app.gem.sGemTableGemName, gem.name);
            EXPECT_EQ(app.gem.sGemTableUpQueueMapID, gem.queue);
            EXPECT_STREQ(app.gem.sGemTableUpTrafficName, gem.up);
            EXPECT_STREQ(app.gem.sGemTableDownTrafficName, gem.down);
            run(*session, "no gemport 30");
        }
}

CLI_TEST(OnuSettings, AGemPortIsRefusedByItsWords) {
    EXPECT_EQ(run(onu_, "gemport 1 tcont 1 name " + std::string(33, 'n'), 104006), "%Bad GEM name length\n");
    EXPECT_EQ(run(onu_, "gemport 1 tcont 1 gem-car none", 104001), "%No profile name \n");
    EXPECT_EQ(run(onu_, "gemport 1 tcont 1 gem-car car1 gem-car-ds none", 104001), "%No profile name \n");
    EXPECT_EQ(run(onu_, "gemport 1 tcont 1 gem-car car" + std::string(30, 'p'), 104006),
              "%Too long length of profile name\n");
    EXPECT_EQ(app.calls, Calls{});
    app.refuses = true;
    EXPECT_EQ(run(onu_, "gemport 1 tcont 1", 104006), "%Faild to add GEM: 1\n");
    EXPECT_EQ(run(onu_, "no gemport 30", 104006), "%Faild to delete GEM: 30\n");
}

CLI_TEST(OnuSettings, EncryptionAndRecordingOfAGemPortAreSwitched) {
    add_gem();
    run(onu_, "gemport 1 encryption  enable");
    EXPECT_EQ(app.columns, Columns{10});
    EXPECT_EQ(app.gem.sGemTableIfEnableEncryption, 1);
    run(onu_, "gemport 1 pm enable");
    EXPECT_EQ(app.columns, Columns{11});
    EXPECT_EQ(app.gem.sGemTablePmEnable, 1);
    app.refuses = true;
    EXPECT_EQ(run(onu_, "gemport 1 encryption dis", 104006), "%Failed to set gemport encryption disable\n");
    EXPECT_EQ(run(onu_, "gemport 1 pm disable", 104006), "%Failed to set gemport pm \n");
    EXPECT_EQ(app.gem.sGemTablePmEnable, 0);
}

struct Service {
    const char* words;
    std::map<unsigned, mib_long> columns;
};
const Service services[] = {
    {"", {{2, 1}, {7, 8}}},
    {" user-vlan 4094 transparent", {{2, 1}, {5, 4094}, {7, 1}}},
    {" user-vlan 10 vlan 100", {{2, 1}, {3, 100}, {5, 10}, {7, 2}}},
    {" user-vlan 10 vlan 100 priority 0", {{2, 1}, {3, 100}, {5, 10}, {7, 2}, {8, 0}, {10, 2}}},
    {" user-vlan 10 vlan 100 svlan 200 priority 7",
     {{2, 1}, {3, 100}, {4, 200}, {5, 10}, {7, 3}, {9, 7}, {11, 2}}},
    {" user-vlan 10 vlan 100 svlan 200 priority copy",
     {{2, 1}, {3, 100}, {4, 200}, {5, 10}, {7, 3}, {11, 1}}},
    {" user-vlan 10 vlan 100 priority 4 svlan 200 priority 5",
     {{2, 1}, {3, 100}, {4, 200}, {5, 10}, {7, 3}, {8, 4}, {9, 5}, {10, 2}, {11, 2}}},
    {" user-vlan 10 vlan 100 priority 4 svlan 200 priority copy",
     {{2, 1}, {3, 100}, {4, 200}, {5, 10}, {7, 3}, {8, 4}, {10, 2}, {11, 1}}},
    {" user-vlan untagged vlan-add 100", {{2, 1}, {3, 100}, {7, 5}}},
    {" user-vlan tagged vlan-add 100", {{2, 1}, {3, 100}, {7, 6}}},
    {" user-vlan all vlan-add 100", {{2, 1}, {3, 100}, {7, 7}}},
    {" user-vlan all vlan-add 100 priority 6", {{2, 1}, {3, 100}, {7, 7}, {8, 6}, {10, 2}}},
};

CLI_TEST(OnuSettings, EachFormOfAServicePortWritesWhatItsWordsName) {
    add_gem();
    add_gem(31, 15, 5);
    for (FrrSession* session : {&onu_, &profile_})
        for (const Service& service : services) {
            EXPECT_EQ(run(*session, std::string("service-port 32 gemport 1") + service.words), "");
            EXPECT_EQ(app.calls.back(), "service_port_add");
            Columns columns;
            for (const auto& [column, value] : service.columns) {
                columns.push_back(column);
                EXPECT_EQ(record_get<mib_long>(
                              &app.service_port,
                              table_desc_servicePortTable.column(static_cast<int>(column))->offset),
                          value)
                    << service.words << ", column " << column;
            }
            EXPECT_THAT(app.columns, written(columns)) << service.words;
            run(*session, "no service-port 32");
        }
}

CLI_TEST(OnuSettings, AServicePortNeedsItsGemPort) {
    EXPECT_EQ(run(onu_, "service-port 1 gemport 1", 104001), "%Could not find gemport: 1\n");
    add_gem();
    EXPECT_EQ(run(onu_, "service-port 1 gemport 2", 104001), "%Could not find gemport: 2\n");
    EXPECT_EQ(run(profile_, "service-port 1 gemport 1", 104001), "%Could not find gemport: 1\n");
    app.refuses = true;
    EXPECT_EQ(run(onu_, "service-port 1 gemport 1", 104006), "%Could not assign service port: 1\n");
}

CLI_TEST(OnuSettings, AServicePortThatIsThereIsChanged) {
    for (const char* line : {"service-port 1 mac-limit 0", "service-port 1 mac-move enable",
                             "service-port 1 queue 1", "no service-port 1"})
        EXPECT_EQ(run(onu_, line, 104001), "%Could not find service port: 1\n") << line;
    EXPECT_EQ(app.calls, Calls{});
    add_gem();
    add_service_port();
    run(onu_, "service-port 1 mac-limit 4095");
    EXPECT_EQ(app.columns, Columns{19});
    EXPECT_EQ(app.service_port.servicePortMacLimit, 4095);
    run(onu_, "service-port 1 mac-move disable");
    EXPECT_EQ(app.columns, Columns{18});
    EXPECT_EQ(app.service_port.servicePortMacmove, 0);
    run(onu_, "service-port 1 mac-move enable");
    EXPECT_EQ(app.service_port.servicePortMacmove, 1);
    run(onu_, "service-port 1 queue 7");
    EXPECT_EQ(app.columns, (Columns{12, 14}));
    EXPECT_EQ(app.service_port.servicePortQueue, 7);
    EXPECT_EQ(app.service_port.servicePortQueueSelectMode, 1);
    run(onu_, "service-port 1 queue default");
    EXPECT_EQ(app.service_port.servicePortQueue, 0);
    EXPECT_EQ(app.service_port.servicePortQueueSelectMode, 1);
    app.refuses = true;
    for (const char* line : {"service-port 1 mac-limit 0", "service-port 1 mac-move enable",
                             "service-port 1 queue 1", "no service-port 1"})
        EXPECT_EQ(run(onu_, line, 104006), "%Could not set service port: 1\n") << line;
}

CLI_TEST(OnuSettings, WhatIsOfAnOnuAloneIsNoCommandOfAProfile) {
    for (const char* line :
         {"active", "deactive", "name x", "no name", "splitter x", "no splitter", "fec upstream enable",
          "pm enable", "onu-rssi-profile 1", "service-port 1 queue 1", "qos-onu-weight 1"})
        EXPECT_EQ(profile_.run(line), CMD_ERR_NO_MATCH) << line;
    EXPECT_EQ(app.calls, Calls{});
}

CLI_TEST(OnuSettings, QualityOfServiceIsRefusedWithoutItsModule) {
    add_interface("gpon-onu1/2:7");
    add_interface("gpon-olt1/2");
    EXPECT_EQ(run(onu_, "qos-onu-bandwidth min 0 max 10000000", 104006), "%Failed to set bandwidth\n");
    EXPECT_EQ(run(profile_, "qos-onu-bandwidth min 1 max 2", 104006), "%Failed to set bandwidth\n");
    const std::string no_profile = "%Failed to edit oun qos profile,the profile dont exist:";
    EXPECT_EQ(run(onu_, "qos-onu-weight 127", 104006), no_profile + "127\n");
    EXPECT_EQ(run(onu_, "qos-onu-weight default", 104006), no_profile + "1\n");
    for (const char* line : {"show qos-onu-bandwidth interface ", "show qos-onu-weight interface "}) {
        EXPECT_EQ(run(onu_, std::string(line) + "none", 104001), "%Invalid IFNAME: none\n");
        EXPECT_EQ(run(onu_, std::string(line) + "gpon-olt1/2", 104001),
                  "%Interface gpon-olt1/2 is not onu\n");
        EXPECT_EQ(run(onu_, std::string(line) + "gpon-onu1/2:7", 104006), "%Failed to get port info \n");
    }
}

} // namespace
