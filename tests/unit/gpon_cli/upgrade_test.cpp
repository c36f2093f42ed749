// Firmware of ONUs by command: "cpe ...", "onu upgrade ...", files, and shows of how far it is.
#include "onu_fixture.h"

#include <algorithm>
#include <filesystem>

#include "app_text.h"
#include "gpon_cli.h"
#include "ov_app_gpon_onu_update.h"
#include "sOnuUpdStatusTable.h"
#include "sOnuUpdateTable.h"
#include "sRmInfoTable.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace {

using Update = ov_sOnuUpdateTable_attr_t;
using UpdateRecord = ov_gpon_onu_update_attr_t;
using Network = ov_gpon_onu_network_upgrade_attr_t;
constexpr char DIRECTORY[] = "/app/appload/onu";
constexpr int UPDATE_MESSAGE = 930;

// Ports 2 and 4 of slot 3 with ONUs 7 and 9, all in operation.
class Upgrade : public OnuCli {
protected:
    Upgrade() {
        for (const char* name : {"gpon-olt3/2", "gpon-olt3/4", "gpon-onu3/2:7", "xe3/1"})
            add_interface(name);
        for (const int port : {2, 4}) {
            add_port(3, port);
            active(sOnuUpdateTable_createEntry(1, 3, port));
            for (const int onu : {7, 9}) {
                add_onu(3, port, onu).sOnuTableOnuState = SONUTABLEONUSTATE_OPERATIONAL;
                active(sOnuUpdStatusTable_createEntry(1, 3, port, onu));
                active(sRmInfoTable_createEntry(1, 3, port, onu));
            }
        }
        std::filesystem::create_directories(DIRECTORY);
        g_onu_upgrade_cfg_auto_commit = g_onu_upgrade_cfg_auto_active = 0;
        chassis_.forget_messages();
    }

    std::string enable(const std::string& line, int result = 0) { return run(enable_, line, result); }
    static void put_file(const std::string& name) {
        ASSERT_TRUE(private_root::write_file(std::string(DIRECTORY) + "/" + name, "image"));
    }
    static Update port(int number) { return *find_row(port_key<Update>(3, number)); }

    // What cards say of every ONU.
    void cards_report(const char* file, int state) {
        ov_gpon_onu_update_status_attr_t record = {};
        set_text(record.verName, file);
        record.verSize = 200;
        record.transmitted = 50;
        record.status = state;
        chassis_.card_reads(OV_HAL_MSG_GPON_RMONU_UPD_STATUS, record);
    }
    void onus_report(const char* model) {
        ov_gpon_rmonu_info_attr_t record = {};
        set_text(record.eqptId, model);
        chassis_.card_reads(OV_HAL_MSG_GPON_RMONU_INFO, record);
    }
    // "port 2: action 1 onus 7 9 file", for each port that was told.
    std::vector<std::string> told(size_t at_least = 0) {
        std::vector<std::string> texts;
        for (const CardMessage& message : chassis_.messages(at_least)) {
            if (message.type != UPDATE_MESSAGE)
                continue;
            const auto record = message.record<UpdateRecord>();
            std::string text = "port " + std::to_string(ov_ifindex_get_port_id(record.ifindex)) +
                               ": action " + std::to_string(record.updAct) + " onus";
            for (int onu = 1; onu <= 128; ++onu)
                if ((record.onuMask[(onu - 1) >> 3] >> ((onu - 1) & 7) & 1) != 0)
                    text += " " + std::to_string(onu);
            texts.push_back(text + (record.versionName[0] != 0 ? std::string(" ") + record.versionName : ""));
        }
        return texts;
    }

    AppChassis& chassis_ = *cli_test::chassis;
    FrrSession enable_{ENABLE_NODE};
};

// ---- by port and range --------------------------------------------------------------------------------

CLI_TEST(Upgrade, ByPortAndRange) {
    put_file("new.bin");
    EXPECT_EQ(enable("cpe update new.bin gpon-olt3/2 onu-range 7 9-10"), "");
    EXPECT_THAT(told(1), ElementsAre("port 2: action 1 onus 7 9 10 new.bin"));
    EXPECT_STREQ(port(2).sOnuUpdateVersionName, "new.bin");
    EXPECT_TRUE(private_root::read_file("/tmp/new.bin") == "image");
    chassis_.forget_messages();
    EXPECT_EQ(enable("cpe commit gpon-olt3/2 onu-range 7"), "");
    EXPECT_EQ(enable("cpe activate gpon-olt3/2 onu-range 1-128"), "");
    EXPECT_EQ(enable("cpe abort gpon-olt3/4 onu-range 9"), "");
    EXPECT_THAT(told(), ElementsAre("port 2: action 3 onus 7", StartsWith("port 2: action 2 onus 1 2 3"),
                                    "port 4: action 4 onus 9"));
    EXPECT_STREQ(port(2).sOnuUpdateVersionName, "new.bin"); // what it is all about
}

CLI_TEST(Upgrade, WhatIsWrongWithALineIsSaidBeforeAnyoneIsTold) {
    put_file("new.bin");
    EXPECT_EQ(enable("cpe update new.bin xe3/1 onu-range 7", 104001), "% xe3/1 is not a PON port\n");
    EXPECT_EQ(enable("cpe update new.bin gpon-onu3/2:7 onu-range 7", 104001),
              "% gpon-onu3/2:7 is not a PON port\n");
    EXPECT_EQ(enable("cpe update old.bin gpon-olt3/2 onu-range 7", 104001),
              "%Failed to get filenme old.bin\n");
    for (const char* range : {"0", "129", "7-3", "1234-1235", "x", "7,9"})
        EXPECT_EQ(enable(std::string("cpe commit gpon-olt3/2 onu-range ") + range, 104001),
                  "% Invalid onu id or range!\n")
            << range;
    EXPECT_EQ(enable("cpe update " + std::string(64, 'f') + " gpon-olt3/2 onu-range 7", 104001),
              "%version file name string too long \n");
    EXPECT_THAT(told(), IsEmpty());
}

CLI_TEST(Upgrade, NamesThatAShellWouldTakeApartAreNoFiles) {
    for (const char* name : {"a;id", "$(id)", "`id`", "../onu/a", "-a", "a'b", "a*"})
        EXPECT_EQ(enable(std::string("cpe update ") + name + " gpon-olt3/2 onu-range 7", 104001),
                  std::string("%Failed to get filenme ") + name + "\n");
    EXPECT_THAT(told(), IsEmpty());
}

CLI_TEST(Upgrade, AFileNameOf63CharactersIsTaken) {
    const std::string name(63, 'f');
    put_file(name);
    EXPECT_EQ(enable("cpe update " + name + " gpon-olt3/2 onu-range 7"), "");
    EXPECT_THAT(told(1), ElementsAre("port 2: action 1 onus 7 " + name));
}

CLI_TEST(Upgrade, EachStepHasItsOwnFailure) {
    chassis_.card_answers(UPDATE_MESSAGE, 1009);
    EXPECT_EQ(enable("cpe commit gpon-olt3/2 onu-range 7", 104006), "%Failed to commit onu version \n");
    EXPECT_EQ(enable("cpe activate gpon-olt3/2 onu-range 7", 104006), "%Failed to activate onu verison \n");
    EXPECT_EQ(enable("cpe abort gpon-olt3/2 onu-range 7", 104006), "%Failed to Abort onu update Process \n");
    EXPECT_EQ(port(2).sOnuUpdateAction, SONUUPDATEACTION_NONE);
}

// ---- by equipment id ----------------------------------------------------------------------------------

CLI_TEST(Upgrade, ByEquipmentId) {
    put_file("new.bin");
    onus_report("HG8");
    ov_sOnuTable_attr_t up_to_date = onu_key<ov_sOnuTable_attr_t>(3, 2, 9);
    set_text(up_to_date.sOnuTableOnuActVersion, "V2");
    ASSERT_TRUE(
        mib_access(MIB_SET_S_N, up_to_date, gpon_cli_columns({sOnuTable_column::sOnuTableOnuActVersion})));
    EXPECT_EQ(enable("cpe update file new.bin version V2 eqptid HG8"),
              "%Collection 3 ONU eqptid HG8 need update to V2 \n");
    EXPECT_THAT(told(6), ElementsAre("port 2: action 1 onus 7 new.bin", "port 4: action 1 onus 7 9 new.bin"));
}

CLI_TEST(Upgrade, OnusThatAreOfNoSuchModelAreNone) {
    onus_report("HG8");
    EXPECT_EQ(enable("cpe update file new.bin version V2 eqptid HG9", 104006), "%No matched onu found \n");
    EXPECT_THAT(told(), IsEmpty());
}

CLI_TEST(Upgrade, AMissingFileFailsOnEachPort) {
    onus_report("HG8");
    EXPECT_EQ(enable("cpe update file no.bin version V2 eqptid HG8", 104006),
              "%Collection 4 ONU eqptid HG8 need update to V2 \n"
              "%Failed to upgrade onu \n%Failed to upgrade onu \n");
    EXPECT_THAT(told(), IsEmpty());
}

CLI_TEST(Upgrade, WordsHaveTheirLengths) {
    const auto line = [](int file, int version, int model) {
        return "cpe update file " + std::string(size_t(file), 'f') + " version " +
               std::string(size_t(version), 'v') + " eqptid " + std::string(size_t(model), 'm');
    };
    EXPECT_EQ(enable(line(63, 14, 21), 104001), "%eqptid string too long\n");
    EXPECT_EQ(enable(line(63, 15, 20), 104001), "%version string too long\n");
    EXPECT_EQ(enable(line(64, 14, 20), 104001), "%version file name string too long \n");
    EXPECT_EQ(enable(line(63, 14, 20), 104006), "%No matched onu found \n");
}

// ---- by file ------------------------------------------------------------------------------------------

CLI_TEST(Upgrade, ByFileGoesToThoseThatAreReady) {
    cards_report("new.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
    EXPECT_EQ(enable("cpe activate file new.bin"), "%Collection 0 ONU version new.bin commited success \n");
    EXPECT_EQ(enable("cpe commit file old.bin"), "%Collection 0 ONU version old.bin commited success \n");
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_EQ(enable("cpe commit file new.bin"), "%Collection 4 ONU version new.bin commited success \n");
    EXPECT_THAT(told(), ElementsAre("port 2: action 3 onus 7 9", "port 4: action 3 onus 7 9"));
    chassis_.forget_messages();
    cards_report("new.bin", SONUUPDSTATUSCURRSTATUS_COMMITOK);
    EXPECT_EQ(enable("cpe activate file new.bin"), "%Collection 4 ONU version new.bin commited success \n");
    EXPECT_THAT(told(), ElementsAre("port 2: action 2 onus 7 9", "port 4: action 2 onus 7 9"));
}

CLI_TEST(Upgrade, ACardThatRefusesDoesNotStopTheOthers) {
    cards_report("new.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
    chassis_.card_answers(UPDATE_MESSAGE, 1009);
    EXPECT_EQ(enable("cpe commit file new.bin", 104006),
              "%Collection 4 ONU version new.bin commited success \n"
              "%Failed to commit onu \n%Failed to commit onu \n");
    EXPECT_THAT(told(), SizeIs(2));
    cards_report("new.bin", SONUUPDSTATUSCURRSTATUS_COMMITOK);
    EXPECT_THAT(enable("cpe activate file new.bin", 104006), HasSubstr("%Failed to active onu \n"));
}

CLI_TEST(Upgrade, AbortAndClearGoByTheRowsOfPorts) {
    put_file("new.bin");
    EXPECT_EQ(enable("cpe abort file new.bin", 104006), "%Failed to active onu \n");
    EXPECT_EQ(enable("cpe clear file new.bin", 104006), "%Failed to clear cpe update info \n");
    EXPECT_EQ(enable("cpe update new.bin gpon-olt3/4 onu-range 9"), "");
    EXPECT_THAT(told(1), SizeIs(1));
    chassis_.forget_messages();
    EXPECT_EQ(enable("cpe abort file new.bin"), "");
    EXPECT_EQ(port(4).sOnuUpdateAction, SONUUPDATEACTION_ABORT);
    EXPECT_EQ(enable("cpe clear file new.bin"), "");
    EXPECT_EQ(port(4).sOnuUpdateAction, SONUUPDATEACTION_NONE);
    EXPECT_THAT(told(), ElementsAre("port 4: action 4 onus 9", "port 4: action 0 onus 9"));
    chassis_.card_answers(UPDATE_MESSAGE, 1009);
    EXPECT_EQ(enable("cpe abort file new.bin", 104006), "%Failed to active onu \n");
    EXPECT_EQ(enable("cpe clear file new.bin", 104006), "%Failed to clear cpe onu update info \n");
}

// ---- by themselves, and from a server -----------------------------------------------------------------

CLI_TEST(Upgrade, ModesAreToldWhenTheyChange) {
    EXPECT_EQ(enable("cpe update mode auto-commit disable auto-active disable"), "");
    EXPECT_EQ(enable("cpe update mode auto-commit enable auto-active disable"),
              "%  enable cpe update automatical commit\n");
    EXPECT_EQ(enable("cpe update mode auto-commit disable auto-active enable"),
              "% disable cpe update automatical commit\n%  enable cpe update automatical active\n");
    std::vector<std::pair<uint32_t, uint32_t>> switches;
    for (const CardMessage& message : chassis_.messages(3))
        switches.emplace_back(wire::get32(message.bytes, 0), wire::get32(message.bytes, 4));
    EXPECT_THAT(switches, ElementsAre(std::pair(2u, 1u), std::pair(2u, 0u), std::pair(3u, 1u)));
    EXPECT_EQ(g_onu_upgrade_cfg_auto_commit, 0);
    EXPECT_EQ(g_onu_upgrade_cfg_auto_active, 1);
}

CLI_TEST(Upgrade, DebugOutputOfTheCardsIsSwitched) {
    FrrSession config(CONFIG_NODE);
    EXPECT_EQ(run(config, "debug agent onu upgrade"), "");
    EXPECT_EQ(run(config, "no debug agent onu upgrade"), "");
    const auto messages = chassis_.messages(2);
    ASSERT_THAT(messages, SizeIs(2));
    EXPECT_EQ(messages[0].type, 966);
    EXPECT_EQ(wire::get32(messages[0].bytes, 0), 1u);
    EXPECT_EQ(wire::get32(messages[0].bytes, 4), 1u);
    EXPECT_EQ(wire::get32(messages[1].bytes, 4), 0u);
}

const std::string FROM_SERVER = "file a.bin size 4711 version V2 eqptid HG8 serverip 10.0.0.1 ";

CLI_TEST(Upgrade, FromAServerToOnePort) {
    EXPECT_EQ(enable("onu upgrade enable " + FROM_SERVER + "gpon-olt3/2 onu-range 1 9"), "");
    EXPECT_EQ(enable("onu upgrade disable " + FROM_SERVER + "gpon-olt3/4"), "");
    const auto messages = chassis_.messages(2);
    ASSERT_THAT(messages, SizeIs(2));
    const auto some = messages[0].record<Network>();
    EXPECT_EQ(messages[0].type, 967);
    EXPECT_FALSE(messages[0].wants_reply);
    EXPECT_EQ(ov_ifindex_get_port_id(some.ifindex), 2u);
    EXPECT_EQ(some.onuMask[0], 1);
    EXPECT_EQ(some.onuMask[1], 1);
    EXPECT_EQ(some.enable, 1);
    EXPECT_EQ(some.serverip, 0x0a000001u);
    EXPECT_EQ(some.filesize, 4711u);
    EXPECT_EQ(text_in(reinterpret_cast<const char(&)[24]>(some.filename)), "a.bin");
    EXPECT_EQ(text_in(reinterpret_cast<const char(&)[24]>(some.fileVer)), "V2");
    EXPECT_EQ(text_in(reinterpret_cast<const char(&)[20]>(some.eqptid)), "HG8");
    const auto all = messages[1].record<Network>();
    EXPECT_EQ(all.enable, 0);
    EXPECT_TRUE(std::all_of(std::begin(all.onuMask), std::end(all.onuMask), [](int b) { return b == 255; }));
}

CLI_TEST(Upgrade, FromAServerToAllPorts) {
    EXPECT_EQ(enable("onu upgrade enable " + FROM_SERVER + "onu-all"), "");
    const auto messages = chassis_.messages(2);
    ASSERT_THAT(messages, SizeIs(2));
    EXPECT_EQ(ov_ifindex_get_port_id(messages[0].record<Network>().ifindex), 2u);
    EXPECT_EQ(ov_ifindex_get_port_id(messages[1].record<Network>().ifindex), 4u);
    EXPECT_EQ(messages[1].record<Network>().onuMask[15], 255);
}

CLI_TEST(Upgrade, FromAServerSaysWhatIsWrongAndSucceeds) {
    const auto line = [](int file, int version, int model, const char* server = "10.0.0.1") {
        return "onu upgrade enable file " + std::string(size_t(file), 'f') + " size 1 version " +
               std::string(size_t(version), 'v') + " eqptid " + std::string(size_t(model), 'm') +
               " serverip " + server + " onu-all";
    };
    EXPECT_EQ(enable(line(24, 25, 20)), "%version string too long \n");
    EXPECT_EQ(enable(line(25, 24, 20)), "%version file name string too long \n");
    EXPECT_EQ(enable(line(24, 24, 21)), "%eqptid string too long\n");
    EXPECT_EQ(enable(line(24, 24, 20, "0.0.0.0")), "%Inconsistent server ip address\n");
    EXPECT_EQ(enable("onu upgrade enable " + FROM_SERVER + "gpon-olt3/2 onu-range 0"),
              "% Invalid onu id or range!\n");
    EXPECT_EQ(enable("onu upgrade enable " + FROM_SERVER + "xe3/1"), "% xe3/1 is not a PON port\n");
    EXPECT_THAT(chassis_.messages(), IsEmpty());
    EXPECT_EQ(enable(line(24, 24, 20)), "");
    const auto full = chassis_.messages(2).at(0).record<Network>();
    EXPECT_EQ(full.filename[23], 'f');
    EXPECT_EQ(full.fileVer[23], 'v');
    EXPECT_EQ(full.eqptid[19], 'm');
}

// ---- shows --------------------------------------------------------------------------------------------

CLI_TEST(Upgrade, StatesOfAllOnus) {
    cards_report("new.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADING);
    const std::string shown = enable("show cpe update-status all");
    EXPECT_THAT(shown, StartsWith("\nonu        file "));
    EXPECT_THAT(shown, HasSubstr("\n3/2:7      new.bin" + std::string(56, ' ') +
                                 "        200         50      25  DOWNLOADING\n"));
    EXPECT_THAT(shown, testing::EndsWith("\ntotal 4\n"));
    EXPECT_THAT(chassis_.messages_of(OV_HAL_MSG_GPON_RMONU_UPD_STATUS), SizeIs(4));
}

CLI_TEST(Upgrade, StatesByFileAndByModel) {
    cards_report("new.bin", SONUUPDSTATUSCURRSTATUS_DOWNLOADSUC);
    onus_report("HG8");
    EXPECT_THAT(enable("show cpe update-status file new.bin"), HasSubstr("\ntotal 4\n"));
    EXPECT_THAT(enable("show cpe update-status file old.bin"), HasSubstr("\ntotal 0\n"));
    EXPECT_THAT(enable("show cpe update-status eqptid HG8"), HasSubstr("\ntotal 4\n"));
    EXPECT_THAT(enable("show cpe update-status eqptid HG9"), HasSubstr("\ntotal 0\n"));
}

CLI_TEST(Upgrade, EachStateHasItsText) {
    const char* const texts[] = {"NULL",          "DOWNLOAD",       "DOWNLOADING", "ONUWRITING",
                                 "DOWNLOADSUC",   "COMMIT",         "COMMITOK",    "COMMITFAIL",
                                 "ACTIVE",        "ACTIVEOK",       "ACTIVEFAIL",  "DOWNLOADFAIL",
                                 "DOWNLOADABORT", "DOWNLOADWAITING"};
    for (int state = 0; state < 14; ++state) {
        cards_report("new.bin", state);
        EXPECT_THAT(enable("show cpe update-status gpon-olt3/2 onuid 7"),
                    HasSubstr(std::string("  ") + texts[state] + "\n"));
    }
    for (const int state : {-1, 14, 1000}) {
        cards_report("new.bin", state);
        EXPECT_THAT(enable("show cpe update-status gpon-olt3/2 onuid 7"), HasSubstr(" UNKNOWN ERROR\n"));
    }
}

CLI_TEST(Upgrade, TheTwoImages) {
    ov_gpon_onu_update_info_attr_t record = {};
    set_text(record.product_code, "HG8");
    set_text(record.region1_Name, "V1");
    set_text(record.region2_Name, "V2");
    record.region1_isvalid = record.region2_isvalid = record.region1_isactive = record.region2_iscommit = 1;
    chassis_.card_reads(OV_HAL_MSG_GPON_RMONU_IMG_INFO, record);
    const std::string shown = enable("show cpe information gpon-olt3/2 onuid 7");
    EXPECT_THAT(shown,
                HasSubstr("3/2:7      HG8                            0 V1             yes   yes    no\n"));
    EXPECT_THAT(shown,
                HasSubstr("3/2:7      HG8                            1 V2             yes   no     yes\n"));
}

CLI_TEST(Upgrade, WhatCannotBeReadIsSaid) {
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_UPD_STATUS, 1009);
    chassis_.card_answers(OV_HAL_MSG_GPON_RMONU_IMG_INFO, 1009);
    EXPECT_EQ(enable("show cpe update-status gpon-olt3/2 onuid 7", 104006),
              "%Fail to get onu update status\n");
    EXPECT_EQ(enable("show cpe information gpon-olt3/2 onuid 7", 104006),
              "%Fail to get onu cpe information\n");
    EXPECT_EQ(enable("show cpe information gpon-olt3/2 onuid 8", 104006),
              "%Fail to get onu cpe information\n");
    EXPECT_EQ(enable("show cpe information xe3/1 onuid 8", 104001), "% xe3/1 is not a PON port\n");
}

// ---- files --------------------------------------------------------------------------------------------

CLI_TEST(Upgrade, AFileThatIsThereIsNotFetched) {
    put_file("new.bin");
    EXPECT_EQ(enable("tftp onuversion 127.0.0.1 new.bin", 104001), "onu version new.bin have existed.\n");
    EXPECT_EQ(enable("tftp onuversion 127.0.0.1 dir/new.bin", 104001),
              "onu version dir/new.bin have existed.\n");
}

CLI_TEST(Upgrade, ThereAreSixFilesAtMost) {
    for (int n = 0; n < 6; ++n)
        put_file("file" + std::to_string(n));
    EXPECT_EQ(enable("tftp onuversion 127.0.0.1 new.bin", 104001), "Maximum version number reached.\n");
}

CLI_TEST(Upgrade, WhatCannotBeFetchedIsSaid) {
    for (int n = 0; n < 5; ++n)
        put_file("file" + std::to_string(n));
    setenv("OV_TRANSFER_TIMEOUT", "1", 1);
    for (const char* name : {"new.bin", "a;id", "-a", "../a"})
        EXPECT_EQ(enable(std::string("tftp onuversion 127.0.0.1 ") + name, 104006),
                  "Getting file from 127.0.0.1, please wait...\nCan't upgrade\n");
    EXPECT_EQ(enable("tftp onuversion 127.0.0.1 " + std::string(64, 'f'), 104001),
              "%version file name string too long \n");
}

CLI_TEST(Upgrade, ADeletedFileIsToldToEveryCard) {
    put_file("old.bin");
    EXPECT_EQ(enable("delete onuversion old.bin"), "");
    EXPECT_FALSE(std::filesystem::exists(std::string(DIRECTORY) + "/old.bin"));
    const auto messages = chassis_.messages(1);
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0].type, 957);
    EXPECT_STREQ(messages[0].record<UpdateRecord>().versionName, "old.bin");
    for (const char* name : {"old.bin", "../../../tmp", "-rf", "a;b"})
        EXPECT_EQ(enable(std::string("delete onuversion ") + name, 104006), "Can't delete\n");
}

} // namespace
