// ONUs and what they have, written as commands and typed again.
#include "onu_fixture.h"

#include "gpon_config_parts.h"
#include "ov_app_gpon_bwtype.h"
#include "ov_slot.h"
#include "sRmInfoTable.h"
#include "sRmMulticastTable.h"
#include "sRmOnuCapaTable.h"
#include "sRmOnuOptThresholdTable.h"
#include "sRmOnuPoeTable.h"
#include "sRmOnuQosPriorityQueueScheduleTable.h"
#include "sRmTr069MgmtTable.h"
#include "sRmUniPoeTable.h"
#include "sRmUniStatusTable.h"
#include "sRmUniVlanTable.h"
#include "sRmVoipConfigDataTable.h"
#include "sRmVoipLineStatusTable.h"
#include "sRmVoipSipUserDataTable.h"

#include <random>
#include <sstream>

namespace {

class OnuWriter : public OnuCli {
protected:
    OnuWriter() {
        add_port(1, 2);
        add_interface("gpon-olt1/2");
        add_traffic("car-up");
    }
    // Whether a line is logged when the configuration is saved.
    static void save() {
        FrrSession session(ENABLE_NODE);
        EXPECT_EQ(session.run("write file"), CMD_SUCCESS);
    }
    bool logged(const std::string& text) const {
        for (const std::string& line : log_.lines())
            if (line.find(text) != std::string::npos)
                return true;
        return false;
    }
    static ov_sOnuTable_attr_t& onu_by_password(int number, const char* password = "pw") {
        auto& row = add_onu(1, 2, number);
        row.sOnuTableAuthMode = SONUTABLEAUTHMODE_PW;
        set(row.sOnuTablePw, password);
        char name[34];
        snprintf(name, sizeof(name), "gpon-onu1/2:%d", number);
        set(row.sOnuTableOnuName, name);
        return row;
    }
    static ov_sTcontTable_attr_t& tcont(unsigned id, const char* profile = "default", int onu = 7) {
        auto& row = *active(sTcontTable_createEntry(1, onu == 7 ? 1 : 31, onu == 7 ? 2 : 15, onu, id));
        row.sTcontTableRowStatus = OVRA_ACTIVE;
        set(row.sTcontTableBwProfileName, profile);
        return row;
    }
    static ov_sGemTable_attr_t& gem(unsigned id, unsigned tcont, int onu = 7) {
        auto& row = *active(sGemTable_createEntry(1, onu == 7 ? 1 : 31, onu == 7 ? 2 : 15, onu, id));
        row.sGemTableRowStatus = OVRA_ACTIVE;
        row.sGemTableTcontID = tcont;
        return row;
    }
    static ov_servicePortTable_attr_t& service_port(int id, int gem, int onu = 7) {
        auto& row = *active(servicePortTable_createEntry(1, onu == 7 ? 1 : 31, onu == 7 ? 2 : 15, onu, id));
        row.servicePortRowStatus = OVRA_ACTIVE;
        row.servicePortGemId = gem;
        row.servicePortVlanAction = SERVICEPORTVLANACTION_ALLTRANSPARENT;
        return row;
    }
};

// ---- ONUs -----------------------------------------------------------------------------------------------

CLI_TEST(OnuWriter, APortHasALineForEachOfItsOnusInOrder) {
    add_profile(9, "nine", "KLM-618");
    onu_by_password(128);
    auto& sn = add_onu(1, 2, 1);
    set(sn.sOnuTableSn, "ABCD00000001");
    set(sn.sOnuTablePw, "learned"); // the ONU told it
    auto& both = add_onu(1, 2, 2);
    both.sOnuTableAuthMode = SONUTABLEAUTHMODE_SNPW;
    both.sOnuTableConfigMode = SONUTABLECONFIGMODE_TEMPLET;
    both.sOnuTableSrvProfileId = 9;
    set(both.sOnuTableSn, "ABCD00000002");
    set(both.sOnuTablePw, "1234567890");
    auto& loid = add_onu(1, 2, 3);
    loid.sOnuTableAuthMode = SONUTABLEAUTHMODE_LOIDPW;
    set(loid.sOnuTableLoid, "123456789012345678901234");
    set(loid.sOnuTableLoidPw, "123456789012");
    set(add_onu(1, 3, 4).sOnuTableSn, "ABCD00000004"); // of another port
    EXPECT_EQ(port_block(), " onu 1 type KLM-618 sn ABCD00000001\n"
                            " onu 2 profile nine sn ABCD00000002 pw 1234567890\n"
                            " onu 3 type KLM-618 loid 123456789012345678901234 pw 123456789012\n"
                            " onu 128 type KLM-618 pw pw\n");
}

// Typed in front of them, a port that learns would take them in under other numbers.
CLI_TEST(OnuWriter, APortLearnsBehindItsOnus) {
    auto& port = const_cast<ov_sPonTable_attr_t&>(*find_row(port_key<ov_sPonTable_attr_t>(1, 2)));
    port.sPonTableAutoLearn = 1;
    port.sPonTableDsFec = 1;
    onu_by_password(3);
    EXPECT_EQ(port_block(), " fec downstream  enable\n"
                            " onu 3 type KLM-618 pw pw\n"
                            " onu auto-authentication enable\n");
}

CLI_TEST(OnuWriter, AnOnuThatNoCommandMakesHasNoLineAndTheLogSaysSo) {
    add_profile(9, "two words", "KLM-618");
    onu_by_password(1, "two words");
    onu_by_password(2, "");
    onu_by_password(3, "12345678901"); // a manager may give 32 characters
    onu_by_password(4, "ab|");         // behind "| " stands an output filter
    set(onu_by_password(5).sOnuTableOnuTypeProfileName, "two words");
    onu_by_password(6).sOnuTableAuthMode = 0;
    // without the password it would be let in by its serial number alone
    auto& both = onu_by_password(7, "pass word");
    both.sOnuTableAuthMode = SONUTABLEAUTHMODE_SNPW;
    set(both.sOnuTableSn, "ABCD00000007");
    for (const int number : {8, 9}) {
        auto& bound = onu_by_password(number);
        bound.sOnuTableConfigMode = SONUTABLECONFIGMODE_TEMPLET;
        bound.sOnuTableSrvProfileId = static_cast<mib_ulong>(number); // 8 isn't there
    }
    onu_by_password(129);
    EXPECT_EQ(port_block(), "");
    EXPECT_FALSE(logged("is in no saved configuration"));
    save();
    for (const int number : {1, 2, 3, 4, 5, 6, 7, 8, 9, 129})
        EXPECT_TRUE(logged("gpon-onu1/2:" + std::to_string(number) + " onu " + std::to_string(number) +
                           " is in no saved configuration: no command makes it"))
            << number;
}

CLI_TEST(OnuWriter, AnOnuAtItsDefaultsHasOnlyItsHead) {
    onu_by_password(7);
    EXPECT_EQ(onu_block(), "");
}

CLI_TEST(OnuWriter, EachSettingOfAnOnuIsWritten) {
    auto& onu = onu_by_password(7);
    set(onu.sOnuTableOnuName, "house-7");
    set(onu.sOnuTableSplitterNumber, "3");
    onu.sOnuTableUpFec = 1;
    onu.sOnuTableRssiProfileId = 32;
    onu.sOnuTablePmEnable = 1;
    onu.sOnuTableActiviate = 0;
    EXPECT_EQ(onu_block(), " name house-7\n"
                           " splitter 3\n"
                           " fec upstream enable\n"
                           " onu-rssi-profile 32\n"
                           " pm enable\n"
                           " deactive\n");
}

CLI_TEST(OnuWriter, ASettingThatCannotBeTypedIsLeftOut) {
    auto& onu = onu_by_password(7);
    set(onu.sOnuTableOnuName, "house 7");
    set(onu.sOnuTableSplitterNumber, "123456789012345678901234567890123"); // 33
    onu.sOnuTableRssiProfileId = 33;
    EXPECT_EQ(onu_block(), "");
    set(onu.sOnuTableOnuName, "");
    EXPECT_EQ(onu_block(), "");
}

// ---- what an ONU has ------------------------------------------------------------------------------------

CLI_TEST(OnuWriter, TcontsGemPortsAndServicePortsComeInThisOrder) {
    onu_by_password(7);
    service_port(1, 30);
    gem(30, 8);
    set(tcont(8, "gold").sTcontTableTcontName, "data");
    tcont(1);
    EXPECT_EQ(onu_block(), " tcont 1 profile default\n"
                           " tcont 8 profile gold name data\n"
                           " gemport 30 tcont 8\n"
                           " service-port 1 gemport 30\n");
}

CLI_TEST(OnuWriter, EachFormOfAGemPortIsWritten) {
    onu_by_password(7);
    tcont(1);
    gem(1, 1);
    set(gem(2, 1).sGemTableGemName, "hsi");
    gem(3, 1).sGemTableUpQueueMapID = 8;
    auto& named = gem(4, 1);
    set(named.sGemTableGemName, "hsi");
    named.sGemTableUpQueueMapID = 1;
    set(gem(5, 1).sGemTableUpTrafficName, "car1");
    set(gem(6, 1).sGemTableDownTrafficName, "car2");
    auto& full = gem(7, 1);
    set(full.sGemTableGemName, "hsi");
    set(full.sGemTableUpTrafficName, "car1");
    set(full.sGemTableDownTrafficName, "car2");
    full.sGemTableIfEnableEncryption = 1;
    full.sGemTablePmEnable = 1;
    EXPECT_EQ(onu_block(), " tcont 1 profile default\n"
                           " gemport 1 tcont 1\n"
                           " gemport 2 tcont 1 name hsi\n"
                           " gemport 3 tcont 1 queue 8\n"
                           " gemport 4 tcont 1 name hsi queue 1\n"
                           " gemport 5 tcont 1 gem-car car1\n"
                           " gemport 6 tcont 1 gem-car-ds car2\n"
                           " gemport 7 tcont 1 name hsi gem-car car1 gem-car-ds car2\n"
                           " gemport 7 encryption  enable\n"
                           " gemport 7 pm enable\n");
}

CLI_TEST(OnuWriter, WhatNoFormMakesIsLeftOutWithAllThatRestsOnIt) {
    onu_by_password(7);
    tcont(1, "two words"); // no such word
    gem(1, 1);             // rests on it
    service_port(1, 1);    // and on that
    tcont(9);              // beyond the command's numbers
    gem(9, 9);
    tcont(2);
    gem(31, 2);
    auto& limited = gem(2, 2); // a queue and limits
    limited.sGemTableUpQueueMapID = 1;
    set(limited.sGemTableUpTrafficName, "car");
    gem(3, 2).sGemTableUpQueueMapID = 9;
    set(gem(4, 2).sGemTableDownTrafficName, "two words");
    set(gem(5, 2).sGemTableGemName, "two words"); // a label just goes
    service_port(33, 5);
    service_port(2, 5).servicePortVlanAction = SERVICEPORTVLANACTION_ADDINNER;
    service_port(3, 5).servicePortVlanAction = 0;
    service_port(4, 6); // no such GEM port
    EXPECT_EQ(onu_block(), " tcont 2 profile default\n gemport 5 tcont 2\n");
    save();
    for (const char* what :
         {"tcont 1", "gemport 1", "service-port 1", "tcont 9", "gemport 9", "gemport 31", "gemport 2",
          "gemport 3", "gemport 4", "service-port 33", "service-port 2", "service-port 3", "service-port 4"})
        EXPECT_TRUE(logged(std::string("gpon-onu1/2:7 ") + what +
                           " is in no saved configuration: no command makes it"))
            << what;
}

CLI_TEST(OnuWriter, ServicePortsWithVlansBeyondTheCommandsAreLeftOut) {
    onu_by_password(7);
    tcont(1);
    gem(1, 1);
    using Change = void (*)(ov_servicePortTable_attr_t&);
    const Change changes[] = {
        [](auto& row) { row.servicePortUserVlan = 0; },
        [](auto& row) { row.servicePortUserVlan = 4095; },
        [](auto& row) { row.servicePortVlan = 0; },
        [](auto& row) { row.servicePortSvlan = 4095; },
        [](auto& row) { row.servicePortVlanPrioAction = 3; },
        [](auto& row) { row.servicePortSvlanPrioAction = 3; },
        [](auto& row) { row.servicePortVlanPrio = 8; },
    };
    for (const Change change : changes) {
        auto& row = service_port(1, 1);
        row.servicePortVlanAction = SERVICEPORTVLANACTION_ADD;
        row.servicePortUserVlan = 10;
        row.servicePortVlan = 100;
        row.servicePortSvlan = 200;
        row.servicePortVlanPrioAction = 2;
        EXPECT_THAT(onu_block(),
                    testing::EndsWith(" service-port 1 gemport 1 user-vlan 10 vlan 100 priority 0"
                                      " svlan 200 priority copy\n"));
        change(row);
        EXPECT_EQ(onu_block(), " tcont 1 profile default\n gemport 1 tcont 1\n");
        servicePortTable_removeEntry(&row);
    }
}

CLI_TEST(OnuWriter, SettingsOfAServicePortAreWrittenAndTheQueueOfATemplateIsNot) {
    onu_by_password(7);
    add_profile(5, "five", "KLM-618");
    for (const int owner : {7, 5}) {
        tcont(1, "default", owner);
        gem(1, 1, owner);
        auto& row = service_port(1, 1, owner);
        row.servicePortMacLimit = 4095;
        row.servicePortMacmove = 0;
        row.servicePortQueue = 7;
    }
    const std::string rows = " tcont 1 profile default\n"
                             " gemport 1 tcont 1\n"
                             " service-port 1 gemport 1\n"
                             " service-port 1 mac-limit 4095\n"
                             " service-port 1 mac-move disable\n";
    EXPECT_EQ(onu_block(), rows + " service-port 1 queue 7\n");
    FrrSession session(ENABLE_NODE);
    session.run("write terminal");
    EXPECT_THAT(session.output(),
                testing::HasSubstr("onu-srvprofile profile-id 5 onu-type KLM-618\n profile-name five\n" +
                                   rows + "!\n"));
}

// ---- and typed again ------------------------------------------------------------------------------------

// Rows as a manager makes them, with whatever it likes, in their tables.
class RandomRows : public OnuWriter {
    int number(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }
    bool sometimes() { return number(0, 3) == 0; }
    // Mostly a word, of all characters there are.
    std::string text(int longest) {
        std::string made(static_cast<size_t>(number(0, longest)), ' ');
        const bool odd = number(0, 9) == 0;
        for (char& c : made)
            c = static_cast<char>(odd ? number(1, 255) : number('!', '{'));
        return made;
    }
    template <size_t Size>
    void fill(char (&field)[Size]) {
        snprintf(field, Size, "%s", text(static_cast<int>(Size) - 1).c_str());
    }
    void make(int onu) {
        auto& row = onu_by_password(onu);
        row.sOnuTableAuthMode = number(0, 6);
        fill(row.sOnuTablePw);
        snprintf(row.sOnuTableSn, sizeof row.sOnuTableSn, "ABCD%08d", onu);
        row.sOnuTablePw[number(0, 10)] = '\0';
        fill(row.sOnuTableLoid);
        row.sOnuTableLoid[number(0, 24)] = '\0';
        fill(row.sOnuTableLoidPw);
        row.sOnuTableLoidPw[number(0, 12)] = '\0';
        if (sometimes())
            fill(row.sOnuTableOnuName);
        fill(row.sOnuTableSplitterNumber);
        row.sOnuTableUpFec = number(0, 1);
        row.sOnuTablePmEnable = number(0, 1);
        row.sOnuTableActiviate = number(0, 1);
        row.sOnuTableRssiProfileId = number(0, 40);
        make_below(1, 2, onu);
    }
    static bool is_bandwidth(const char* name) {
        mib_ulong id = 0;
        return ov_app_gpon_bwtype_getId(name, &id) != 0;
    }
    void make_below(int slot, int port, int onu) {
        for (unsigned id = 1; id <= 9; id++) {
            auto& row = *active(sTcontTable_createEntry(1, slot, port, onu, id));
            row.sTcontTableRowStatus = OVRA_ACTIVE;
            fill(row.sTcontTableTcontName);
            if (sometimes())
                fill(row.sTcontTableBwProfileName);
            else
                set(row.sTcontTableBwProfileName, "gold");
            if (gpon_config_is_word(row.sTcontTableBwProfileName) &&
                !is_bandwidth(row.sTcontTableBwProfileName))
                add_bandwidth(row.sTcontTableBwProfileName);
        }
        for (unsigned id = 1; id <= 31; id += 3) {
            auto& row = *active(sGemTable_createEntry(1, slot, port, onu, id));
            row.sGemTableRowStatus = OVRA_ACTIVE;
            row.sGemTableTcontID = static_cast<mib_ulong>(number(0, 10));
            fill(row.sGemTableGemName);
            if (sometimes())
                row.sGemTableUpQueueMapID = static_cast<mib_ulong>(number(0, 9));
            if (sometimes())
                set(row.sGemTableUpTrafficName, "car-up");
            if (sometimes())
                set(row.sGemTableDownTrafficName, "car down");
            row.sGemTableIfEnableEncryption = number(0, 1);
            row.sGemTablePmEnable = number(0, 1);
        }
        for (int id = 1; id <= 33; id++) {
            auto& row = *active(servicePortTable_createEntry(1, slot, port, onu, id));
            row.servicePortRowStatus = OVRA_ACTIVE;
            row.servicePortGemId = number(0, 11) * 3 + 1;
            row.servicePortVlanAction = number(0, 9);
            row.servicePortUserVlan = number(0, 20) == 0 ? number(-1, 0) : number(1, 4095);
            row.servicePortVlan = number(1, 4095);
            row.servicePortSvlan = number(1, 4095);
            row.servicePortVlanPrio = number(0, 7);
            row.servicePortSvlanPrio = number(0, 7);
            row.servicePortVlanPrioAction = number(1, 2);
            row.servicePortSvlanPrioAction = number(1, 3);
            row.servicePortQueue = number(0, 7);
            row.servicePortQueueSelectMode = number(1, 2);
            row.servicePortMacLimit = number(0, 4095);
            row.servicePortMacmove = number(0, 1);
        }
    }
    static std::string write() {
        FrrSession session(ENABLE_NODE);
        EXPECT_EQ(session.run("write terminal"), CMD_SUCCESS);
        return session.output();
    }
    // As an operator would, with all that they have.
    static void delete_onus() {
        FrrSession port(IF_GPON_NODE);
        stand_on(port, IF_GPON_NODE, "gpon-olt1/2");
        for (const auto& onu : rows_copied(ov_sOnuTable_attr_t{}, 0))
            run(port, "no onu " + std::to_string(onu.onuId));
    }
    // The tables that hold what is written, past all callbacks.
    static void clear() {
        remove_all<ov_sBWProfileTable_attr_t>();
        remove_all<ov_sRmTrafficProfileTable_attr_t>();
        remove_all<ov_sOnuSrvProfileTable_attr_t>();
        remove_all<ov_sOnuTable_attr_t>();
        remove_all<ov_sTcontTable_attr_t>();
        remove_all<ov_sGemTable_attr_t>();
        remove_all<ov_servicePortTable_attr_t>();
        remove_all<ov_sOnuHistoryTable_attr_t>();
        remove_all<ov_sOnuExtendInfoTable_attr_t>();
        remove_all<ov_sRmInfoTable_attr_t>();
        remove_all<ov_sRmOnuCapaTable_attr_t>();
        remove_all<ov_sRmUniStatusTable_attr_t>();
        remove_all<ov_sRmUniVlanTable_attr_t>();
        remove_all<ov_sRmVoipConfigDataTable_attr_t>();
        remove_all<ov_sRmVoipSipUserDataTable_attr_t>();
        remove_all<ov_sRmVoipLineStatusTable_attr_t>();
        remove_all<ov_sRmTr069MgmtTable_attr_t>();
        remove_all<ov_sRmOnuQosPriorityQueueScheduleTable_attr_t>();
        remove_all<ov_sRmUniPoeTable_attr_t>();
        remove_all<ov_sRmOnuPoeTable_attr_t>();
        remove_all<ov_sRmOnuOptThresholdTable_attr_t>();
        remove_all<ov_sRmMulticastTable_attr_t>();
        for (uint32_t slot = 0; slot < ov_slot_get_max_lc_num(); slot++)
            g_gponCntLimit[slot] = {};
    }
    // Types a configuration; blocks of ONUs that it has no line for are passed over, as the shell does.
    static void type(const std::string& text) {
        std::istringstream lines(text);
        FrrSession session(CONFIG_NODE);
        bool passed_over = false;
        for (std::string line; std::getline(lines, line);) {
            if (line[0] != ' ')
                passed_over = line.starts_with("interface gpon-onu") && !known(line);
            if (passed_over)
                continue;
            EXPECT_EQ(session.run(line), CMD_SUCCESS) << line << "\n" << session.output();
        }
    }
    static bool known(const std::string& head) {
        const std::string name = head.substr(strlen("interface "));
        const auto key = onu_key_of_ifindex<ov_sOnuTable_attr_t>(index_of(name.c_str()));
        if (find_row(key) == nullptr)
            return false;
        add_interface(name.c_str());
        return true;
    }
    // The blocks of the ONUs that are there.
    static std::string of_known_onus(const std::string& text) {
        std::istringstream lines(text);
        std::string kept;
        bool passed_over = false;
        for (std::string line; std::getline(lines, line);) {
            if (line[0] != ' ')
                passed_over = line.starts_with("interface gpon-onu") && !known(line);
            if (!passed_over)
                kept += line + "\n";
        }
        return kept;
    }

    std::mt19937 random_;

public:
    explicit RandomRows(unsigned seed) : random_(seed) {}

    void what_is_written_makes_the_same() {
        add_profile(5, "five", "KLM-618");
        add_bandwidth("gold").sBWProfileTableMaxBw = 250;
        for (int onu = 1; onu <= 128; onu += 9)
            make(onu);
        make_below(31, 15, 5);
        const std::string first = write();
        EXPECT_GT(std::count(first.begin(), first.end(), '\n'), 100);
        clear();
        type(first);
        const std::string second = write();
        EXPECT_EQ(second, of_known_onus(first));
        // From here on nothing is lost any more, and the rows are the same too.
        std::vector<ov_servicePortTable_attr_t> ports;
        for (const auto& row : all_rows<ov_servicePortTable_attr_t>())
            ports.push_back(row);
        delete_onus();
        clear();
        type(second);
        EXPECT_EQ(write(), second);
        size_t i = 0;
        for (const auto& row : all_rows<ov_servicePortTable_attr_t>()) {
            ASSERT_LT(i, ports.size());
            EXPECT_EQ(memcmp(&row, &ports[i], sizeof(row)), 0);
            i++;
        }
        EXPECT_EQ(i, ports.size());
    }
};

class Seeds : public testing::TestWithParam<unsigned> {};

TEST_P(Seeds, WhatIsWrittenMakesTheSameAndIsWrittenTheSame) {
    app_chassis::run([](AppChassis& made) {
        cli_test::chassis = &made;
        RandomRows(GetParam()).what_is_written_makes_the_same();
    });
}
INSTANTIATE_TEST_SUITE_P(OnuWriter, Seeds, testing::Range(1u, 9u));

} // namespace
