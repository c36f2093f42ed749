#include "mmg_definition.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

// Runs each test with a registry in which no table is known, and puts the old one back.
class Registry : public testing::Test {
protected:
    Registry() : saved_(std::begin(_sDid_Array), std::end(_sDid_Array)) {
        std::fill(std::begin(_sDid_Array), std::end(_sDid_Array), MIBDid_t{});
    }
    ~Registry() override { std::copy(saved_.begin(), saved_.end(), std::begin(_sDid_Array)); }

    static std::vector<std::string> known() {
        std::vector<std::string> names;
        for (const MIBDid_t& did : _sDid_Array)
            if (did.table_name != nullptr)
                names.emplace_back(did.table_name);
        return names;
    }

private:
    std::vector<MIBDid_t> saved_;
};

const std::set<std::string> SAVED_BELOW95 = {"SPON",
                                             "SONU",
                                             "SONUTYPEPROFILE",
                                             "SGEM",
                                             "STCONT",
                                             "SBWPROFILE",
                                             "SSERVICE",
                                             "SMCASTVLAN",
                                             "SRMUNISTATUS",
                                             "SRMFLOW",
                                             "SRMUNIVLAN",
                                             "SRMMULTICAST",
                                             "SQOSPROFILE",
                                             "SGPONTRAPENABLE",
                                             "SRMSERVICE",
                                             "SSERVICEPORT",
                                             "SONUQOS",
                                             "SPORTQOS",
                                             "SPONPORTQOS",
                                             "SQOSSCHEDULERPROFILE",
                                             "SCOSQUEUEMAPPINGPROFILE",
                                             "SQOSTRAFFICPROFILE",
                                             "SQOSCOSTOCOSPROFILE",
                                             "SPORTPROTECT",
                                             "SUPLINKPMACT",
                                             "SRMMACFMODE",
                                             "SRMMACFS",
                                             "SRMMACFD",
                                             "ACLGROUP",
                                             "ACLSTANDARDRULE",
                                             "ACLLINKRULE",
                                             "ACLPACKETFILTER",
                                             "PONACLPACKETFILTER"};

const std::set<std::string> UNSAVED_FROM95 = {"VLANMACFWD",
                                              "IGMPSMCGROUP",
                                              "IGMPSGROUPPORT",
                                              "LAGAGG",
                                              "LAGAGGPORTLIST",
                                              "ONUDHCPRELAYCLIENT",
                                              "ONUDHCPV6RELAYCLIENT",
                                              "DHCPIF",
                                              "DHCPL3RELAYSERVER",
                                              "DHCPV6L3RELAYSERVER",
                                              "IGMPMVLANDYNGROUP",
                                              "IGMPMVLANDYNPORT",
                                              "MLDMVLANDYNGROUP",
                                              "MLDMVLANDYNPORT",
                                              "IFTABLE",
                                              "IFXTABLE",
                                              "IPADDRTABLE",
                                              "IPROUTETABLE",
                                              "SCARDLED",
                                              "SOTNACTION",
                                              "SOTNPMCURRENT15MIN",
                                              "SOTNPMCURRENT24H",
                                              "SOTNPMHISTORY15MIN",
                                              "SOTNPMHISTORY24H",
                                              "SC1P1",
                                              "SYSTEMPERATURE"};

const std::set<std::string> SYNCED = {"PPPOEIASCALARS",
                                      "PPPOEIAIFTABLE",
                                      "PPPOEIAVLANTABLE",
                                      "PPPOEIAPROFILETABLE",
                                      "PPPOEIAPROFILEVARTABLE",
                                      "DHCPPORTTABLE",
                                      "DHCPONUPORTTABLE",
                                      "DHCPONUIPV4BINDINGTABLE",
                                      "DHCPONUIPV6BINDINGTABLE",
                                      "DHCPVLANTABLE",
                                      "DHCPIPSOURCEBINDINGTABLE",
                                      "DHCPOPTIONPROFILETABLE",
                                      "DHCPOPTIONPROFILEVARTABLE",
                                      "SSHELF",
                                      "SFAN",
                                      "SSLOT",
                                      "SPORT",
                                      "SCARDINVENTORY",
                                      "SPLUGGABLE",
                                      "OPTICALTHRESHOLDPROFILE",
                                      "SETYN",
                                      "SPAEPON",
                                      "SOCNSTMN",
                                      "SODUKP",
                                      "SOTUK",
                                      "SOCHOS",
                                      "SSNC",
                                      "SOTNACTION",
                                      "SPPG",
                                      "SOTNPMPENABLE",
                                      "SOTNPMTHRESHOLD",
                                      "SDCN",
                                      "SC1P1"};

TEST_F(Registry, EveryIndexUpTo198But152HasANameAndItsFlags) {
    std::set<std::string> names;
    for (int index = 0; index <= SNTPSERVER; ++index) {
        MIBDID did = mmg_table_did_getbyindex(index);
        if (index == ARPCONFIGSCALARS) {
            EXPECT_EQ(did, nullptr);
            continue;
        }
        ASSERT_NE(did, nullptr) << index;
        std::string name = did->table_name;
        names.insert(name);
        EXPECT_EQ(did->index, index);
        bool saved = index < 95 ? SAVED_BELOW95.count(name) != 0 : UNSAVED_FROM95.count(name) == 0;
        EXPECT_EQ(did->if_trigger_save, saved ? 1 : 0) << name;
        EXPECT_EQ(did->if_trigger_sync, SYNCED.count(name) != 0 ? 1 : 0) << name;
    }
    EXPECT_EQ(names.size(), 198u);
    for (const auto& exceptions : {SAVED_BELOW95, UNSAVED_FROM95, SYNCED})
        for (const std::string& name : exceptions)
            EXPECT_EQ(names.count(name), 1u) << name;
}

TEST_F(Registry, NumbersOfTheTablesThatOthersRelyOn) {
    EXPECT_STREQ(mmg_table_name_getbyindex(0), "SPON");
    EXPECT_STREQ(mmg_table_name_getbyindex(5), "STCONT");
    EXPECT_STREQ(mmg_table_name_getbyindex(25), "SRMUNIPMONU");
    EXPECT_STREQ(mmg_table_name_getbyindex(94), "SRMONUPOE");
    EXPECT_STREQ(mmg_table_name_getbyindex(95), "SIFTABLE");
    EXPECT_STREQ(mmg_table_name_getbyindex(138), "ARPSCALARS");
    EXPECT_STREQ(mmg_table_name_getbyindex(151), "IPSTATICROUTETABLE");
    EXPECT_STREQ(mmg_table_name_getbyindex(153), "ARPSTATICTABLE");
    EXPECT_STREQ(mmg_table_name_getbyindex(198), "SNTPSERVER");
    EXPECT_EQ(TABLE_INDEX_MAX, 202);
}

TEST_F(Registry, IndexesOutsideTheListAreNotFound) {
    for (int index : {152, 199, 200, 201, 202, 203, 204, 1000000, -1}) {
        EXPECT_EQ(mmg_table_did_getbyindex(index), nullptr) << index;
        EXPECT_STREQ(mmg_table_name_getbyindex(index), "not register") << index;
    }
    EXPECT_TRUE(known().empty());
}

TEST_F(Registry, ATableIsKnownFromItsFirstLookUp) {
    mmg_table_did_getbyindex(STCONT);
    mmg_table_name_getbyindex(SGEM);
    mmg_table_did_getbyindex(STCONT);
    EXPECT_EQ(known(), (std::vector<std::string>{"STCONT", "SGEM"}));
}

TEST_F(Registry, EachNewTableTakesThePlaceOfSponWhichEntersAgainBehindIt) {
    MIBDID spon = mmg_table_did_getbyindex(SPON);
    EXPECT_EQ(spon, &_sDid_Array[0]);
    EXPECT_EQ(mmg_table_did_getbyindex(SPON), spon);

    MIBDID onu = mmg_table_did_getbyindex(SONU);
    EXPECT_EQ(onu, &_sDid_Array[0]);
    EXPECT_EQ(known(), (std::vector<std::string>{"SONU"}));

    spon = mmg_table_did_getbyindex(SPON);
    EXPECT_EQ(spon, &_sDid_Array[1]);
    mmg_table_did_getbyindex(SONU); // known: moves nothing
    EXPECT_EQ(known(), (std::vector<std::string>{"SONU", "SPON"}));

    mmg_table_did_getbyindex(SGEM);
    mmg_table_did_getbyindex(STCONT);
    EXPECT_EQ(known(), (std::vector<std::string>{"SONU", "SGEM", "STCONT"}));
    EXPECT_EQ(mmg_table_did_getbyindex(SPON), &_sDid_Array[3]);
    EXPECT_STREQ(mmg_table_name_getbyindex(SPON), "SPON");
}

TEST_F(Registry, ATableOutsideTheListCanBeRegistered) {
    mmg_table_did_register(202, "EXTRA", 1, 1);
    MIBDID did = mmg_table_did_getbyindex(202);
    ASSERT_NE(did, nullptr);
    EXPECT_STREQ(did->table_name, "EXTRA");
    mmg_table_did_register(202, "OTHER", 0, 0);
    EXPECT_STREQ(mmg_table_name_getbyindex(202), "EXTRA");
    EXPECT_EQ(known().size(), 1u);
}

TEST_F(Registry, AFullRegistryRefusesInWords) {
    for (int index = 1; index <= 203; ++index)
        mmg_table_did_register(1000 + index, "FILLER", 0, 0);
    testing::internal::CaptureStderr();
    mmg_table_did_register(5, "STCONT", 1, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "failed to register table STCONT-id 5");
    EXPECT_EQ(known().size(), 203u);
    EXPECT_EQ(_sDid_Array[203].table_name, nullptr);
}

TEST_F(Registry, DebugSwitchesAreOffAndCanBeTurned) {
    EXPECT_EQ(mmg_get_debug_function_flag(), 0);
    EXPECT_EQ(mmg_get_debug_info_flag(), 0);
    mmg_set_debug_function_flag(1);
    EXPECT_EQ(mmg_get_debug_function_flag(), 1);
    EXPECT_EQ(mmg_get_debug_info_flag(), 0);
    mmg_set_debug_function_flag(0);
    mmg_set_debug_info_flag(1);
    EXPECT_EQ(mmg_get_debug_info_flag(), 1);
    mmg_set_debug_info_flag(0);
}

} // namespace
