// The configuration as it is written, and as it is read again.
#include "cli_fixture.h"

#include <ctime>
#include <sstream>

#include "gpon_config_writer.h"

using testing::HasSubstr;

namespace {

class Writer : public Cli {
protected:
    static std::string write(const char* form = "write terminal", int node = ENABLE_NODE,
                             const char* object = nullptr) {
        FrrSession session(node);
        if (object != nullptr)
            kavo_vty_set_index(session.vty, index_of(object));
        EXPECT_EQ(session.run(form), CMD_SUCCESS) << form;
        return session.output();
    }
    // Makes a card's ports and ONUs.
    static void fill_slot(int slot) {
        for (int port = 1; port <= 16; port++) {
            add_port(slot, port).sPonTableDsFec = 1;
            for (int onu = 1; onu <= 128; onu++)
                add_onu(slot, port, onu);
        }
    }
};

CLI_TEST(Writer, AnEmptySystemHasTheHeadOfTheProfiles) {
    EXPECT_EQ(write(), "gpon\n!\n");
    EXPECT_EQ(write("write file"), "gpon\n!\n");
}

CLI_TEST(Writer, BlocksComeInTheOrderOfTheNodes) {
    add_profile(5, "five", "KLM-618");
    add_port(1, 2);
    add_onu(1, 2, 7);
    add_bandwidth("gold", 4);
    EXPECT_EQ(write(), "gpon\n"
                       " profile bandwidth gold maximum 503\n"
                       "!\n"
                       "onu-srvprofile profile-id 5 onu-type KLM-618\n"
                       " profile-name five\n"
                       "!\n"
                       "interface gpon-olt1/2\n"
                       "!\n"
                       "interface gpon-onu1/2:7\n"
                       "!\n");
}

CLI_TEST(Writer, LinesEndAsTheTerminalWantsIt) {
    add_bandwidth("gold", 4);
    FrrSession terminal(GPON_NODE, true);
    terminal.run("write terminal current");
    EXPECT_EQ(terminal.output(), "gpon\r\n profile bandwidth gold maximum 503\r\n!\r\n");
}

CLI_TEST(Writer, BandwidthProfilesAreWrittenInTheFormOfTheirType) {
    add_bandwidth("a", 1);
    add_bandwidth("b", 2);
    add_bandwidth("c", 3);
    add_bandwidth("d", 4);
    add_bandwidth("e", 5);
    add_bandwidth("no-type", 0);
    add_bandwidth("default", 4);
    EXPECT_EQ(write("write terminal current", GPON_NODE),
              "gpon\n"
              " profile bandwidth a fixed 251\n"
              " profile bandwidth b assured 252\n"
              " profile bandwidth c assured 252 maximum 503\n"
              " profile bandwidth d maximum 503\n"
              " profile bandwidth e fixed 251 assured 252 maximum 503\n"
              "!\n");
}

CLI_TEST(Writer, OnuTypesAreWrittenInTheShortestFormThatSaysAll) {
    add_onutype("a");
    add_onutype("b").sOnuTypeProfileTableDwnQueueNum = 4;
    add_onutype("c").sOnuTypeProfileTableCardNum = 3;
    auto& d = add_onutype("d");
    d.sOnuTypeProfileTableCardNum = 3;
    d.sOnuTypeProfileTableUpQueueNum = 1;
    add_onutype("e").sOnuTypeProfileTableVideoNum = 2;
    add_onutype("f").sOnuTypeProfileTableIsDefaultProfile = 1;
    EXPECT_EQ(write("write terminal current", GPON_NODE),
              "gpon\n"
              " profile onutype a eth 4 pots 2\n"
              " profile onutype b eth 4 pots 2 down-queue 4 up-queue 8\n"
              " profile onutype c eth 4 pots 2 card 3\n"
              " profile onutype d eth 4 pots 2 card 3 down-queue 8 up-queue 1\n"
              " profile onutype e eth 4 pots 2 card 1 video 2 down-queue 8 up-queue 8\n"
              "!\n");
}

CLI_TEST(Writer, TrafficProfilesAreWrittenButTheDefaultOne) {
    for (const char* name : {"default", "car"}) {
        auto& row = *active(sRmTrafficProfileTable_createEntry(static_cast<mib_ulong>(name[0])));
        snprintf(row.sRmTrafficProfileName, 33, "%s", name);
        row.sRmTrafficProfileCIR = 64;
        row.sRmTrafficProfileCBS = 2000;
        row.sRmTrafficProfilePIR = 10240000;
        row.sRmTrafficProfilePBS = 2001;
    }
    EXPECT_EQ(write("write terminal current", GPON_NODE),
              "gpon\n profile traffic car cir 64 cbs 2000 pir 10240000 pbs 2001\n!\n");
}

// What is left out: a replay ends the block at the first line that is refused.
CLI_TEST(Writer, AProfileThatNoCommandMakesHasNoLineAndTheLogSaysSo) {
    using Bandwidth = ov_sBWProfileTable_attr_t;
    const struct {
        int type;
        mib_long Bandwidth::*field;
        std::initializer_list<mib_long> bad;
    } bandwidths[] = {
        {1, &Bandwidth::sBWProfileTableFixBw, {0, 249, 800001, -1}},
        {2, &Bandwidth::sBWProfileTableAssBw, {249, 1200001}},
        {3, &Bandwidth::sBWProfileTableAssBw, {249, 504, 1200001}},
        {3, &Bandwidth::sBWProfileTableMaxBw, {251, 1200001}},
        {4, &Bandwidth::sBWProfileTableMaxBw, {0, 249, 1200001}},
        {5, &Bandwidth::sBWProfileTableFixBw, {249, 252}},
        {5, &Bandwidth::sBWProfileTableAssBw, {249, 253}},
        {5, &Bandwidth::sBWProfileTableMaxBw, {502, 1200001}},
    };
    for (const auto& b : bandwidths)
        for (const mib_long value : b.bad) {
            auto& row = add_bandwidth("bad", b.type);
            row.*b.field = value;
            EXPECT_EQ(write("write terminal current", GPON_NODE), "gpon\n!\n") << b.type << " " << value;
            sBWProfileTable_removeEntry(&row);
        }
    EXPECT_THAT(log_.lines(), testing::Not(testing::Contains(HasSubstr("is in no saved configuration"))));

    add_bandwidth("bad", 0);
    add_bandwidth("a2345678901234567890123456789012345678901234567890123456789012345", 4); // 65
    add_onutype("wide").sOnuTypeProfileTableEthNum = 25;
    add_onutype("none").sOnuTypeProfileTableEthNum = 0;
    add_onutype("phones").sOnuTypeProfileTablePotsNum = 3;
    add_onutype("cards").sOnuTypeProfileTableCardNum = 0;
    add_onutype("videos").sOnuTypeProfileTableVideoNum = 3;
    add_onutype("down").sOnuTypeProfileTableDwnQueueNum = 3;
    add_onutype("up").sOnuTypeProfileTableUpQueueNum = 9;
    EXPECT_EQ(write("write file"), "gpon\n!\n");
    for (const char* what : {"bandwidth bad", "onutype wide", "onutype none", "onutype phones",
                             "onutype cards", "onutype videos", "onutype down", "onutype up"})
        EXPECT_THAT(log_.lines(), testing::Contains(HasSubstr(std::string("profile ") + what +
                                                              " is in no saved configuration")))
            << what;
}

CLI_TEST(Writer, ATrafficProfileThatNoCommandMakesHasNoLine) {
    using Traffic = ov_sRmTrafficProfileTable_attr_t;
    auto& row = *active(sRmTrafficProfileTable_createEntry(1));
    snprintf(row.sRmTrafficProfileName, 33, "car");
    const struct {
        mib_ulong Traffic::*field;
        std::initializer_list<mib_ulong> bad;
    } cases[] = {
        {&Traffic::sRmTrafficProfileCIR, {0, 63, 65, 10240001}}, // 65: above the peak rate
        {&Traffic::sRmTrafficProfileCBS, {1999, 10240001}},
        {&Traffic::sRmTrafficProfilePIR, {63, 10240001, 4000000000u}},
        {&Traffic::sRmTrafficProfilePBS, {1999, 10240001}},
    };
    for (const auto& c : cases)
        for (const mib_ulong value : c.bad) {
            row.sRmTrafficProfileCIR = row.sRmTrafficProfilePIR = 64;
            row.sRmTrafficProfileCBS = row.sRmTrafficProfilePBS = 2000;
            EXPECT_EQ(write("write terminal current", GPON_NODE),
                      "gpon\n profile traffic car cir 64 cbs 2000 pir 64 pbs 2000\n!\n");
            row.*c.field = value;
            EXPECT_EQ(write("write terminal current", GPON_NODE), "gpon\n!\n") << value;
        }
}

// A manager may write any text; replayed, this one would be two commands.
CLI_TEST(Writer, ATextThatIsNoWordIsNotWritten) {
    add_bandwidth("evil\n no onu 1", 4);
    add_bandwidth("two words", 4);
    add_bandwidth("", 4);
    add_onutype("gr\xfcn");
    add_profile(5, "a b", "KLM-618");
    add_profile(6, "six", "K\nreboot");
    add_profile(7, "seven", "a-type-of-thirty-three-characters"); // one more than the command takes
    EXPECT_EQ(write(), "gpon\n!\nonu-srvprofile profile-id 5 onu-type KLM-618\n!\n");
}

// "| " starts an output filter; a bar elsewhere is a character like any other, which operators may type.
CLI_TEST(Writer, ABarInANameIsWrittenUnlessItWouldStartAFilter) {
    add_bandwidth("up|down", 4);
    add_bandwidth("up|", 4);
    add_bandwidth("|", 4);
    EXPECT_EQ(write("write terminal current", GPON_NODE),
              "gpon\n profile bandwidth up|down maximum 503\n!\n");
}

CLI_TEST(Writer, ANameInUtf8IsWrittenAsItWasTyped) {
    add_bandwidth("T\u00fcr-\u20ac", 4);
    EXPECT_EQ(write("write terminal current", GPON_NODE),
              "gpon\n profile bandwidth T\u00fcr-\u20ac maximum 503\n!\n");
}

CLI_TEST(Writer, AProfileCalledByItsIdHasNoNameToWrite) {
    add_profile(5, "5", "KLM-618");
    EXPECT_EQ(write(), "gpon\n!\nonu-srvprofile profile-id 5 onu-type KLM-618\n!\n");
}

CLI_TEST(Writer, APortAtItsDefaultsHasOnlyItsHead) {
    add_port(1, 1);
    EXPECT_EQ(write(), "gpon\n!\ninterface gpon-olt1/1\n!\n");
}

CLI_TEST(Writer, EachSettingOfAPortIsWritten) {
    add_profile(9, "nine", "KLM-618");
    auto& port = add_port(1, 1);
    port.sPonTableAutoLearn = 1;
    port.sPonTableAutoFlow = 1;
    port.sPonTableSrvProfileID = 9;
    port.sPonTableAutoFlowConfigOnuNode = 1;
    port.sPonTableSfuSrvProfile = 9;
    port.sPonTableHguSrvProfile = 9;
    memcpy(port.sPonTableVendorSrvProfileName + 4, "MRVO", 4);
    port.sPonTableVendorSrvProfile[1] = 9;
    memcpy(port.sPonTableModelSrvProfileName + 60, "12345678901234567890", 20);
    port.sPonTableModelSrvProfile[3] = 9;
    port.sPonTableSilenceOnuTime = 60;
    port.sPonTableRogueOnuDetect = 1;
    port.sPonTableAutoFind = 0;
    port.sPonTableDsFec = 1;
    port.sPonTableKeyExchangeCtrl = 1;
    port.sPonTableKeyExchangeInterval = 1000;
    port.sPonTableMaxLogicDistance = 60;
    make_hierarchical("gpon-olt1/1");
    port.sPonTableScbMaxBW = 2500000;
    port.sPonTablePmEnable = 1;
    port.sPonTableNniPmEnable = 1;
    port.sPonTablePortProtect = 0;
    port.sPonTableMibDataSync = 0;
    EXPECT_EQ(
        write("write terminal current", IF_GPON_NODE, "gpon-olt1/1"),
        "interface gpon-olt1/1\n"
        " uncfg-onu silence enable 60\n"
        " rogue-onu-detect enable\n"
        " onu auto-discovery disable\n"
        " fec downstream  enable\n"
        " aes encryption key_exchange enable\n"
        " aes encryption key_exchange interval 1000\n"
        " onu max_distance 60\n"
        " scb max-bandwidth 2500000\n"
        " pm protocol enable\n"
        " pm data enable\n"
        " switch-port protected disable\n"
        " mib-data-sync disable\n"
        " onu auto-authentication enable auto-flow enable def-srv-profile nine configure_onu_node enable\n"
        " onu-auto-flow sfu srv-profile nine\n"
        " onu-auto-flow hgu srv-profile nine\n"
        " onu-auto-flow vendor 2 MRVO srv-profile nine\n"
        " onu-auto-flow model 4 12345678901234567890 srv-profile nine\n"
        "!\n");
}

// A replay stops a block at the first line that is refused, so there must be none.
CLI_TEST(Writer, ASettingOfAPortThatCannotBeTypedIsLeftOut) {
    auto& port = add_port(1, 1);
    make_hierarchical("gpon-olt1/1");
    port.sPonTableKeyExchangeInterval = 0;
    const std::string head = "interface gpon-olt1/1\n";
    for (const mib_long silence : {-1, 1, 59, 361}) {
        port.sPonTableSilenceOnuTime = silence;
        EXPECT_EQ(write("write terminal current", IF_GPON_NODE, "gpon-olt1/1"), head + "!\n") << silence;
    }
    port.sPonTableMaxLogicDistance = 35; // a manager may
    port.sPonTableSilenceOnuTime = 360;
    for (const mib_ulong bandwidth : {1u, 2500001u, 0xFFFFFFFFu}) {
        port.sPonTableScbMaxBW = bandwidth;
        EXPECT_EQ(write("write terminal current", IF_GPON_NODE, "gpon-olt1/1"),
                  head + " uncfg-onu silence enable 360\n!\n")
            << bandwidth;
    }
}

CLI_TEST(Writer, SlotsOfAPortThatCannotBeTypedAreLeftOut) {
    add_profile(9, "nine", "KLM-618");
    auto& port = add_port(1, 1);
    memset(port.sPonTableVendorSrvProfile, 9, 4);
    memset(port.sPonTableModelSrvProfile, 9, 4);
    memcpy(port.sPonTableVendorSrvProfileName, "MRV\0MRVOMRVO\0\0\0\0", 16); // short, good, twice, none
    memcpy(port.sPonTableModelSrvProfileName, "a b", 3);
    memcpy(port.sPonTableModelSrvProfileName + 20, "M", 1);
    port.sPonTableAutoLearn = port.sPonTableAutoFlow = 1;
    const std::string head = "interface gpon-olt1/1\n onu auto-authentication enable";
    // nothing switches auto flow on
    EXPECT_EQ(write("write terminal current", IF_GPON_NODE, "gpon-olt1/1"), head + "\n!\n");
    port.sPonTableSrvProfileID = 9;
    EXPECT_EQ(write("write terminal current", IF_GPON_NODE, "gpon-olt1/1"),
              head + " auto-flow enable def-srv-profile nine\n"
                     " onu-auto-flow vendor 2 MRVO srv-profile nine\n"
                     " onu-auto-flow model 2 M srv-profile nine\n"
                     "!\n");
}

CLI_TEST(Writer, AutoFlowOfAPortThatLearnsNothingIsWrittenToo) {
    add_profile(9, "nine", "KLM-618");
    auto& port = add_port(1, 1);
    port.sPonTableAutoFlow = 1;
    port.sPonTableSrvProfileID = 9;
    EXPECT_EQ(write("write terminal current", IF_GPON_NODE, "gpon-olt1/1"),
              "interface gpon-olt1/1\n"
              " onu auto-authentication enable auto-flow enable def-srv-profile nine\n"
              " onu auto-authentication disable\n"
              "!\n");
}

// Nothing was switched on for it, so nothing needs to be switched off again.
CLI_TEST(Writer, AProfileOfAKindOfOnuLeavesTheLearningAtItsDefault) {
    add_profile(9, "nine", "KLM-618");
    add_port(1, 1).sPonTableHguSrvProfile = 9;
    EXPECT_EQ(write("write terminal current", IF_GPON_NODE, "gpon-olt1/1"),
              "interface gpon-olt1/1\n"
              " onu-auto-flow hgu srv-profile nine\n"
              "!\n");
}

// Every line that is written is a command of the node that it is written for.
// Replaying a saved configuration would activate it.
CLI_TEST(Writer, ARowThatWaitsIsNotWritten) {
    add_port(1, 1);
    add_onu(1, 1, 7);
    auto& waiting = add_onu(1, 1, 8);
    waiting.sOnuTableRowStatus = OVRA_NOTINSERVICE;
    add_profile(5, "home", "type");
    add_profile(6, "waits", "type").sOnuSrvProfileRowStatus = OVRA_NOTINSERVICE;
    const std::string text = write();
    EXPECT_THAT(text, testing::HasSubstr("gpon-onu1/1:7"));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("gpon-onu1/1:8")));
    EXPECT_THAT(text, testing::HasSubstr("profile-id 5"));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("profile-id 6")));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("waits")));
}

CLI_TEST(Writer, WhatIsWrittenCanBeTyped) {
    add_interface("gpon-olt1/1");
    add_profile(9, "nine", "KLM-618");
    auto& port = add_port(1, 1);
    port.sPonTableAutoLearn = port.sPonTableAutoFlow = 1;
    port.sPonTableSrvProfileID = port.sPonTableSfuSrvProfile = 9;
    port.sPonTableDsFec = port.sPonTableKeyExchangeCtrl = port.sPonTablePmEnable = 1;
    port.sPonTableKeyExchangeInterval = 5000;
    port.sPonTableMaxLogicDistance = 30;
    for (int type = 1; type <= 5; type++)
        add_bandwidth(("bw" + std::to_string(type)).c_str(), type);
    add_onutype("a").sOnuTypeProfileTableVideoNum = 1;

    const std::string first = write();
    remove_all<ov_sBWProfileTable_attr_t>();
    remove_all<ov_sOnuTypeProfileTable_attr_t>();
    remove_all<ov_sOnuSrvProfileTable_attr_t>();
    remove_all<ov_sPonTable_attr_t>();
    add_onutype("KLM-618").sOnuTypeProfileTableIsDefaultProfile = 1;
    add_port(1, 1);
    std::istringstream lines(first);
    FrrSession session(CONFIG_NODE);
    for (std::string line; std::getline(lines, line);)
        EXPECT_EQ(session.run(line), CMD_SUCCESS) << line;
    EXPECT_EQ(session.output(), "");
    EXPECT_EQ(session.vty->node, IF_GPON_NODE);
    EXPECT_EQ(std::count(app.calls.begin(), app.calls.end(), "port_edit"), 7);
    EXPECT_EQ(write(), first);
}

// ---- one object --------------------------------------------------------------------------------------

CLI_TEST(Writer, OneInterfaceIsWrittenWithTheHeadOfTheProfiles) {
    add_profile(5, "five", "KLM-618");
    add_bandwidth("gold", 4);
    for (int port = 1; port <= 3; port++) {
        add_port(1, port).sPonTableDsFec = 1;
        add_onu(1, port, 1);
    }
    EXPECT_EQ(write("write terminal interface gpon-olt1/2"),
              "gpon\n!\ninterface gpon-olt1/2\n fec downstream  enable\n!\n");
    EXPECT_EQ(write("write terminal interface gpon-onu1/2:1"), "gpon\n!\ninterface gpon-onu1/2:1\n!\n");
    EXPECT_EQ(write("write terminal interface gpon-olt1/4"), "% Interface[gpon-olt1/4] not exist\n");
}

CLI_TEST(Writer, TheNameOfTheInterfaceMayBeShortened) {
    for (int port = 1; port <= 2; port++) {
        add_port(1, port);
        add_onu(1, port, 1);
    }
    EXPECT_EQ(write("write terminal interface gp1/2"), "gpon\n!\ninterface gpon-olt1/2\n!\n");
    EXPECT_EQ(write("write terminal interface gp1/2:1"), "gpon\n!\ninterface gpon-onu1/2:1\n!\n");
}

CLI_TEST(Writer, ANameThatNoInterfaceHasIsToldAsSuch) {
    add_port(1, 2);
    add_onu(1, 2, 1);
    for (const auto& [typed, name] :
         {std::pair("gp1/3", "gpon-olt1/3"), std::pair("gp1/2:2", "gpon-onu1/2:2"),
          std::pair("gp1/2:1:1", "gp1/2:1:1"), std::pair("g", "g"), std::pair("xe1/2", "xe1/2"),
          std::pair("gpon-olt1/2x", "gpon-olt1/2x")})
        EXPECT_EQ(write((std::string("write terminal interface ") + typed).c_str()),
                  std::string("% Interface[") + name + "] not exist\n");
    add_interface("xe1/3");
    EXPECT_EQ(write("write terminal interface xe1/3"), "gpon\n!\n");
}

CLI_TEST(Writer, TheCurrentObjectIsWrittenAlone) {
    add_profile(5, "five", "KLM-618");
    add_profile(6, "six", "KLM-618");
    for (int port = 1; port <= 3; port++) {
        add_port(1, port);
        add_onu(1, port, 128);
    }
    EXPECT_EQ(write("write terminal current", IF_GPON_NODE, "gpon-olt1/3"), "interface gpon-olt1/3\n!\n");
    EXPECT_EQ(write("write terminal current", GPON_ONU_NODE, "gpon-onu1/1:128"),
              "interface gpon-onu1/1:128\n!\n");
    FrrSession session(ONU_SRV_PROFILE_NODE);
    kavo_vty_set_index(session.vty, ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, 31, 0, 15, 6));
    EXPECT_EQ(session.run("write terminal current"), CMD_SUCCESS);
    EXPECT_EQ(session.output(), "onu-srvprofile profile-id 6 onu-type KLM-618\n profile-name six\n!\n");
    EXPECT_EQ(write("write terminal current", IF_GPON_NODE, "gpon-olt2/1"), "");
    EXPECT_EQ(write("write terminal current", CONFIG_NODE), "");
}

// ---- a full chassis ----------------------------------------------------------------------------------

// In seconds of the processor, which don't grow when the machine is busy with others.
template <typename Work>
double processor_time_of(Work work) {
    const std::clock_t began = std::clock();
    work();
    return double(std::clock() - began) / CLOCKS_PER_SEC;
}

CLI_TEST(Writer, AFullChassisIsWrittenInLinearTime) {
    fill_slot(1);
    const double one = processor_time_of([] { write(); });
    for (int slot = 2; slot <= 14; slot++)
        fill_slot(slot);
    std::string text;
    const double all = processor_time_of([&text] { text = write(); });
    const auto lines = std::count(text.begin(), text.end(), '\n');
    EXPECT_EQ(lines, 2 + 2 * 14 * 16 + 1 + 14 * 16 * 128 + 1);
    testing::Test::RecordProperty("lines_a_second", static_cast<int>(static_cast<double>(lines) / all));
    EXPECT_LT(all, 5 * 14 * one + 1); // and not 14 times 14
    EXPECT_THAT(write("write terminal interface gpon-onu14/16:128"),
                HasSubstr("interface gpon-onu14/16:128\n"));
}

// ---- in steps ----------------------------------------------------------------------------------------

class WriterInSteps : public Writer {
protected:
    WriterInSteps() {
        session_.vty->cfg_node = GPON_ONU_NODE;
        session_.vty->write_term_flag = WRITE_TERM_ALL;
    }
    bool more() const { return session_.vty->write_term_more; }
    // What one call of a writer printed.
    std::string step(int (*writer)(struct vty*) = ov_gpon_cli_onu_cfg) {
        const int lines = writer(session_.vty);
        std::string text = session_.output();
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), lines);
        return text;
    }
    std::string rest(int (*writer)(struct vty*) = ov_gpon_cli_onu_cfg) {
        std::string text;
        while (more())
            text += step(writer);
        return text;
    }
    static void add_onus(int ports) {
        for (int port = 1; port <= ports; port++)
            for (int onu = 1; onu <= 128; onu++)
                add_onu(1, port, onu);
    }
    static void remove_onu(int port, int onu) {
        ov_sOnuTable_attr_t key = {};
        table_of<ov_sOnuTable_attr_t>::module().set_index_at(&key, 1, 1, port, onu);
        sOnuTable_removeEntry(&key);
    }
    static std::string head(int port, int onu) {
        return "interface gpon-onu1/" + std::to_string(port) + ":" + std::to_string(onu) + "\n";
    }

    FrrSession session_{ENABLE_NODE};
};

CLI_TEST(WriterInSteps, TheyMakeTheWholeTable) {
    add_onus(16);
    const std::string first = step();
    EXPECT_TRUE(more());
    EXPECT_LE(std::count(first.begin(), first.end(), '\n'), 1000);
    std::string all = first + rest();
    for (int port = 1; port <= 16; port++)
        for (int onu = 1; onu <= 128; onu++) {
            ASSERT_EQ(all.substr(0, head(port, onu).size()), head(port, onu));
            all.erase(0, head(port, onu).size());
        }
    EXPECT_EQ(all, "");
}

CLI_TEST(WriterInSteps, ASmallTableIsOne) {
    add_onus(1);
    step();
    EXPECT_FALSE(more());
}

CLI_TEST(WriterInSteps, PortsAndServiceProfilesGoOnToo) {
    for (int port = 1; port <= 1200; port++)
        add_port(1, port);
    std::string ports = step(ov_gpon_cli_pon_port_cfg);
    EXPECT_TRUE(more());
    ports += rest(ov_gpon_cli_pon_port_cfg);
    EXPECT_EQ(std::count(ports.begin(), ports.end(), '\n'), 1200);
    EXPECT_EQ(ports.substr(ports.rfind("interface")), "interface gpon-olt1/1200\n");

    for (unsigned id = 1; id <= 1200; id++)
        add_profile(id, "", "KLM-618");
    memset(session_.vty->write_term_at, 0, sizeof(session_.vty->write_term_at));
    session_.vty->cfg_node = ONU_SRV_PROFILE_NODE;
    std::string profiles = step();
    EXPECT_TRUE(more());
    profiles += rest();
    EXPECT_EQ(std::count(profiles.begin(), profiles.end(), '\n'), 1200);
}

// Objects that aren't asked for cost time, too.
CLI_TEST(WriterInSteps, OneInterfaceIsLookedForInSteps) {
    add_onus(16);
    session_.vty->write_term_flag = WRITE_TERM_INTERFACE;
    snprintf(session_.vty->write_term_info, sizeof(session_.vty->write_term_info),
             "interface gpon-onu1/16:128");
    EXPECT_EQ(step(), "");
    EXPECT_TRUE(more());
    EXPECT_EQ(rest(), head(16, 128));
}

CLI_TEST(WriterInSteps, ObjectsMayGoAndComeBetweenThem) {
    add_onus(16);
    const std::string first = step();
    ASSERT_TRUE(more());
    int port = 0, onu = 0; // the last that was printed
    ASSERT_EQ(sscanf(first.c_str() + first.rfind("interface"), "interface gpon-onu1/%d:%d", &port, &onu), 2);
    ASSERT_LT(onu, 120);
    remove_onu(port, onu);     // printed
    remove_onu(port, onu + 1); // to be printed next
    remove_onu(port, onu + 2);
    remove_onu(16, 128);
    remove_onu(1, 1);
    add_onu(1, 1, 1);
    add_onu(1, 17, 5);
    const std::string text = rest();
    EXPECT_EQ(text.substr(0, text.find('\n') + 1), head(port, onu + 3));
    EXPECT_THAT(text, testing::EndsWith(head(16, 127) + head(17, 5)));
    const std::string both = first + text;
    EXPECT_EQ(std::count(both.begin(), both.end(), '\n'), 16 * 128 - 3 + 1);
}

CLI_TEST(WriterInSteps, ATableThatIsEmptiedBetweenThemIsThrough) {
    add_onus(16);
    step();
    ASSERT_TRUE(more());
    remove_all<ov_sOnuTable_attr_t>();
    EXPECT_EQ(step(), "");
    EXPECT_FALSE(more());
}

} // namespace
