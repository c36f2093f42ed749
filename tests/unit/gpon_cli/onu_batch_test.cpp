// Service profiles copied to many ONUs by command.
#include "onu_fixture.h"

#include "../kavo/frr_shell.h"
#include "app_loop.h"
#include "ov_app_gpon_onusrv_batch_config.h"
#include "sRmServiceTable.h"
#include "sRmUniVlanTable.h"
#include "sRmWanTable.h"

#include "../support/test_clock.h"

using namespace std::chrono_literals;

namespace {

using Tcont = ov_sTcontTable_attr_t;
using Gem = ov_sGemTable_attr_t;
using ServicePort = ov_servicePortTable_attr_t;
using Service = ov_sRmServiceTable_attr_t;

constexpr int PROFILE = 5;

class OnuBatch : public OnuCli {
protected:
    OnuBatch() {
        app_loop_set(frr_master());
        add_bandwidth("small");
        add_profile(PROFILE, "homes", "KLM-618");
        for (int id = 7; id <= 9; ++id)
            set(add_onu(1, 2, id).sOnuTableOnuTypeProfileName, "KLM-618");
        for (int id = 7; id <= 9; ++id)
            const_cast<ov_sOnuTable_attr_t*>(find_row(onu_key<ov_sOnuTable_attr_t>(1, 2, id)))
                ->sOnuTableOnuTypeProfileId = BKDRHash("KLM-618", 7);
    }

    static Tcont& add_tcont(int id) {
        auto& row = *active(sTcontTable_createEntry(1, 31, 15, PROFILE, id));
        set(row.sTcontTableBwProfileName, "small");
        return row;
    }
    static Gem& add_gemport(int id, unsigned tcont = 1) {
        auto& row = *active(sGemTable_createEntry(1, 31, 15, PROFILE, id));
        row.sGemTableTcontID = tcont;
        return row;
    }
    static ServicePort& add_service_port(int id, int gem = 1) {
        auto& row = *active(servicePortTable_createEntry(1, 31, 15, PROFILE, id));
        row.servicePortGemId = gem;
        return row;
    }
    static Service& add_service(int id, int vlan) {
        auto& row = *active(sRmServiceTable_createEntry(1, 31, 15, PROFILE, id));
        row.sRmServiceTableRmServiceType = SRMSERVICETABLERMSERVICETYPE_VLAN;
        row.sRmServiceTableGemId = 1;
        row.sRmServiceTableVlanId = vlan;
        return row;
    }
    template <typename Row>
    static size_t rows_of_onu(int onu) {
        return rows_copied(onu_key<Row>(1, 2, onu), INDEX_TO_ONU).size();
    }
    // Enough that a copy to 128 ONUs takes many steps.
    static void fill_port_and_profile() {
        for (int id = 1; id <= 128; ++id)
            set(add_onu(1, 2, id).sOnuTableOnuTypeProfileName, "KLM-618");
        add_tcont(1);
        add_gemport(1);
        for (int id = 1; id <= 14; ++id)
            add_service_port(id);
        for (int id = 1; id <= 128; ++id)
            const_cast<ov_sOnuTable_attr_t*>(find_row(onu_key<ov_sOnuTable_attr_t>(1, 2, id)))
                ->sOnuTableOnuTypeProfileId = BKDRHash("KLM-618", 7);
    }
};

CLI_TEST(OnuBatch, CopiesAndSaysNothing) {
    add_tcont(1);
    add_gemport(1);
    add_service_port(1);
    EXPECT_EQ(run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu 7 8-9"), "");
    for (const int id : {7, 8, 9})
        EXPECT_EQ(rows_of_onu<ServicePort>(id), 1u) << id;
}

CLI_TEST(OnuBatch, AProfileWithoutRowsCopiesNothing) {
    EXPECT_EQ(run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu 7"), "");
}

CLI_TEST(OnuBatch, WordsThatAreNoOnusAreRefusedBeforeAnythingIsDone) {
    add_tcont(1);
    for (const char* word : {"0", "129", "9-7", "7-129", "7,8", "x", "-", "7-"}) {
        const std::string words = std::string("7 ") + word;
        EXPECT_EQ(run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu " + words, KAVO_CLI_BAD_INPUT),
                  "% Invalid onu id or range!\n");
        EXPECT_EQ(run(port_, "no multi-onusrv " + words, KAVO_CLI_BAD_INPUT), "% Invalid onu id or range!\n");
    }
    EXPECT_EQ(rows_of_onu<Tcont>(7), 0u);
}

CLI_TEST(OnuBatch, AMissingProfileIsRefused) {
    EXPECT_EQ(run(port_, "multi-onusrv-cfg onu-srvprofile 6 onu 7", KAVO_CLI_BAD_INPUT),
              "% onu-srv-profile id not exist\n");
}

CLI_TEST(OnuBatch, MissingOnusAndThoseOfAnotherTypeAreTold) {
    add_tcont(1);
    set(add_onu(1, 2, 10).sOnuTableOnuTypeProfileName, "OTHER");
    EXPECT_EQ(run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu 6-7 10 128", KAVO_CLI_FAILED),
              "Onu 6 not exist\nOnu 128 not exist\nOnu 10 type is wrong \n");
    EXPECT_EQ(rows_of_onu<Tcont>(7), 1u);
    EXPECT_EQ(rows_of_onu<Tcont>(10), 0u);
}

CLI_TEST(OnuBatch, AnOnuThatWaitsIsNotThere) {
    const_cast<ov_sOnuTable_attr_t*>(find_row(onu_key<ov_sOnuTable_attr_t>(1, 2, 8)))->sOnuTableRowStatus =
        OVRA_NOTINSERVICE;
    EXPECT_EQ(run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu 8", KAVO_CLI_FAILED), "Onu 8 not exist\n");
}

CLI_TEST(OnuBatch, WhatFailsIsToldForEachOnu) {
    add_tcont(1).sTcontTableBwProfileName[0] = 'x';
    EXPECT_EQ(run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu 7-8", KAVO_CLI_FAILED),
              "Config onu 7 tcont failed \nConfig onu 8 tcont failed \n");
    remove_all<Tcont>();
    add_gemport(1);
    EXPECT_EQ(run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu 7", KAVO_CLI_FAILED),
              "Config onu 7 gem failed \n");
    remove_all<Gem>();
    add_service_port(1);
    EXPECT_EQ(run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu 7", KAVO_CLI_FAILED),
              "Config onu 7 service-port failed \n");
    remove_all<ServicePort>();
    add_service(1, 46);
    add_service(2, 46);
    EXPECT_EQ(run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu 7", KAVO_CLI_FAILED),
              "Config onu 7 remote service failed \n");
    remove_all<Service>();
    active(sRmUniVlanTable_createEntry(1, 31, 15, PROFILE, 1, 0, 1))->sRmUniVlanTablePvid = 46;
    EXPECT_EQ(run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu 7", KAVO_CLI_FAILED),
              "Config onu 7 remote uni failed \n");
}

CLI_TEST(OnuBatch, OtherFailuresHaveNoTextButAReason) {
    active(sRmWanTable_createEntry(1, 31, 15, PROFILE, 1))->sRmWanVlan = 46;
    active(sRmWanTable_createEntry(1, 2, 2, 1, 1));
    active(sRmWanTable_createEntry(1, 1, 2, 7, 1)); // ONU 7 has one with that number
    EXPECT_EQ(run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu 7", KAVO_CLI_FAILED), "");
    EXPECT_THAT(log_.lines(), testing::Contains(testing::HasSubstr(
                                  "1 ONUs have not all of the profile; the first: wan 1 is there already")));
}

// ---- sessions ---------------------------------------------------------------------------------------------

constexpr char LINE[] = "multi-onusrv-cfg onu-srvprofile 5 onu 1-128";
const std::vector<std::string> TO_THE_PORT = {"configure terminal", "interface gpon-olt1/2"};

CLI_TEST(OnuBatch, AnotherOperatorIsAnsweredBetweenTheSteps) {
    add_interface("gpon-olt1/2");
    fill_port_and_profile();
    FrrShell shell, other;
    for (const auto& line : TO_THE_PORT)
        shell.ask(line);
    shell.send_lines({LINE});
    EXPECT_EQ(other.ask("enable"), (std::vector<std::string>{"0:"}));
    EXPECT_LT(rows_of_onu<ServicePort>(128), 14u);
    EXPECT_EQ(shell.answers(1), (std::vector<std::string>{"0:"}));
    EXPECT_EQ(rows_of_onu<ServicePort>(128), 14u);
}

CLI_TEST(OnuBatch, ASecondOperatorsCopyComesBehind) {
    add_interface("gpon-olt1/2");
    fill_port_and_profile();
    FrrShell shell, other;
    for (const auto& line : TO_THE_PORT) {
        shell.ask(line);
        other.ask(line);
    }
    shell.send_lines({LINE});
    other.send_lines({"multi-onusrv-cfg onu-srvprofile 5 onu 128"});
    EXPECT_EQ(shell.answers(1), (std::vector<std::string>{"0:"}));
    EXPECT_EQ(other.answers(1), (std::vector<std::string>{"1:Config onu 128 tcont failed \n"}));
}

CLI_TEST(OnuBatch, TheCopyOfASessionThatClosesGoesOn) {
    add_interface("gpon-olt1/2");
    fill_port_and_profile();
    {
        FrrShell shell;
        for (const auto& line : TO_THE_PORT)
            shell.ask(line);
        shell.send_lines({LINE});
        EXPECT_TRUE(frr_run_until([] { return rows_of_onu<Tcont>(1) == 1; }));
        close(std::exchange(shell.fd, -1));
    }
    EXPECT_TRUE(frr_run_until([] { return rows_of_onu<ServicePort>(128) == 14; }));
    FrrShell next; // may lie where the closed one lay
    EXPECT_EQ(next.ask("enable"), (std::vector<std::string>{"0:"}));
}

CLI_TEST(OnuBatch, TheReasonIsKeptForTheSession) {
    add_interface("gpon-olt1/2");
    fill_port_and_profile();
    add_tcont(2).sTcontTableBwProfileName[0] = 'x';
    FrrShell shell;
    for (const auto& line : TO_THE_PORT)
        shell.ask(line);
    const std::string answer = shell.ask(LINE).at(0);
    EXPECT_THAT(answer, testing::StartsWith("1:Config onu 1 tcont failed \nConfig onu 2 tcont failed \n"));
    EXPECT_THAT(shell.ask("do show refusal").at(0),
                testing::HasSubstr("128 ONUs have not all of the profile; the first: no bandwidth profile "
                                   "\"xmall\""));
}

// ---- delete -----------------------------------------------------------------------------------------------

CLI_TEST(OnuBatch, ServicesAreTakenAwayAndTheOnusStay) {
    add_tcont(1);
    add_gemport(1);
    run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu 7-9");
    TestClock clock;
    EXPECT_EQ(run(port_, "no multi-onusrv 7 9"), "");
    EXPECT_EQ(rows_of_onu<Tcont>(7), 1u);
    clock.advance(4s);
    EXPECT_EQ(rows_of_onu<Tcont>(7), 0u);
    EXPECT_EQ(rows_of_onu<Tcont>(8), 1u);
    EXPECT_EQ(rows_of_onu<Tcont>(9), 0u);
    EXPECT_NE(find_row(onu_key<ov_sOnuTable_attr_t>(1, 2, 7)), nullptr);
}

CLI_TEST(OnuBatch, OnusThatAreNotThereLeaveTheOthersToBeTakenAway) {
    add_tcont(1);
    run(port_, "multi-onusrv-cfg onu-srvprofile 5 onu 7");
    TestClock clock;
    EXPECT_EQ(run(port_, "no multi-onusrv 6-7", KAVO_CLI_FAILED), "Onu 6 not exist\n");
    EXPECT_EQ(run(port_, "no multi-onusrv 128", KAVO_CLI_FAILED), "Onu 128 not exist\n");
    clock.advance(4s);
    EXPECT_EQ(rows_of_onu<Tcont>(7), 0u);
}

} // namespace
