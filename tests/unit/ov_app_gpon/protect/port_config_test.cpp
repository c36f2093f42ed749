// A port's configuration as a whole: copied, cleared.
#include "protect_chassis.h"

#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rmonupoe.h"
#include "ov_app_gpon_rmunistatus.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_app_gpon_rmwan.h"
#include "ov_app_gpon_rmwifi.h"

using namespace protect_test;

namespace {

namespace port_column = sPonTable_column;

int copy_ports() {
    return ov_app_gpon_port_config_copy(index_of(WORK), index_of(PROTECT));
}

// ---- the port's row ---------------------------------------------------------------------------------------

TEST(PortCopy, BringsTheSettingsOfThePort) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        const auto set =
            columns_of(port_column::sPonTableAutoFind, port_column::sPonTableAutoLearn,
                       port_column::sPonTableMaxLogicDistance, port_column::sPonTableDsFec,
                       port_column::sPonTableKeyExchangeCtrl, port_column::sPonTableKeyExchangeInterval);
        ASSERT_EQ(edit_port(WORK, set,
                            [](Port& row) {
                                row.sPonTableAutoLearn = 1;
                                row.sPonTableMaxLogicDistance = 40;
                                row.sPonTableDsFec = 1;
                                row.sPonTableKeyExchangeCtrl = 1;
                                row.sPonTableKeyExchangeInterval = 5000;
                            }),
                  OV_GPON_RET_OK);
        chassis.forget_messages();
        EXPECT_EQ(copy_ports(), 0);
        const Port& copy = stored_port(PROTECT);
        EXPECT_EQ(copy.sPonTableAutoFind, 0);
        EXPECT_EQ(copy.sPonTableAutoLearn, 1);
        EXPECT_EQ(copy.sPonTableMaxLogicDistance, 40);
        EXPECT_EQ(copy.sPonTableDsFec, 1);
        EXPECT_EQ(copy.sPonTableKeyExchangeCtrl, 1);
        EXPECT_EQ(copy.sPonTableKeyExchangeInterval, 5000);
        EXPECT_EQ(copy.sPonTableIfIndex, index_of(PROTECT));
        EXPECT_EQ(chassis.messages().size(), 1u); // one write
    });
}

TEST(PortCopy, OfAPortAtItsDefaultsSendsNothing) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        EXPECT_EQ(copy_ports(), 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PortCopy, OfAPortThatLetsItsOnusReachEachOtherDoesnt) {
    on_two_ports([](AppChassis&, TestClock&) {
        for (const int port : {WORK, PROTECT})
            ASSERT_EQ(edit_port(port, columns_of(port_column::sPonTablePortProtect), [](Port&) {}),
                      OV_GPON_RET_OK);
        EXPECT_EQ(copy_ports(), 0);
        EXPECT_EQ(stored_port(WORK).sPonTablePortProtect, 0);
        EXPECT_EQ(stored_port(PROTECT).sPonTablePortProtect, 1);
    });
}

TEST(PortCopy, LeavesTheOtherSettingsOfThePort) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        chassis.put_row<Port>(
            [](Port& row) {
                row.sPonTableAutoFlow = 1;
                row.sPonTableSrvProfileID = 3;
                row.sPonTableHguSrvProfile = 4;
                row.sPonTableSilenceOnuTime = 60;
            },
            GPON_SHELF, SLOT, 8);
        chassis.put_row<ov_sOnuSrvProfileTable_attr_t>([](auto&) {}, 3);
        EXPECT_EQ(ov_app_gpon_port_config_copy(index_of(8), index_of(PROTECT)), 0);
        EXPECT_EQ(stored_port(PROTECT).sPonTableAutoFlow, 1);
        EXPECT_EQ(stored_port(PROTECT).sPonTableSrvProfileID, 3);
        EXPECT_EQ(stored_port(PROTECT).sPonTableHguSrvProfile, 0);
        EXPECT_EQ(stored_port(PROTECT).sPonTableSilenceOnuTime, 0);
    });
}

// ---- ONUs and what they have ------------------------------------------------------------------------------

TEST(PortCopy, BringsTheOnusWithTheirServices) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        add_whole_onu(1);
        add_whole_onu(128);
        Request edit(1, WORK);
        edit.row.sOnuTableUpFec = 1;
        ASSERT_EQ(edit.with(onu_column::sOnuTableUpFec).edit(), OV_GPON_RET_OK);
        LogCapture::clear();
        EXPECT_EQ(copy_ports(), 0);
        EXPECT_EQ(times_logged(chassis, "failed"), 0u);
        EXPECT_EQ(rows_of<Onu>(PROTECT), rows_of<Onu>(WORK));
        EXPECT_EQ(rows_of<Tcont>(PROTECT), rows_of<Tcont>(WORK));
        EXPECT_EQ(rows_of<Gem>(PROTECT), rows_of<Gem>(WORK));
        EXPECT_EQ(rows_of<ServicePort>(PROTECT), rows_of<ServicePort>(WORK));
        EXPECT_EQ(rows_of<Service>(PROTECT), rows_of<Service>(WORK));
        EXPECT_EQ(rows_of<Onu>(PROTECT).size(), 2u);
        EXPECT_EQ(stored_onu(1, PROTECT)->sOnuTableUpFec, 1);
        // named by their place
        EXPECT_STREQ(stored_onu(1, PROTECT)->sOnuTableOnuName, "gpon-onu3/5:1");
        EXPECT_EQ(stored_onu(1, PROTECT)->sOnuTableIfIndex, onu_ifindex(SLOT, PROTECT, 1));
        // what they take is counted on their own port
        EXPECT_EQ(counters().tcontCnt[PROTECT - 1], counters().tcontCnt[WORK - 1]);
        EXPECT_EQ(counters().gemCnt[PROTECT - 1], 2);
    });
}

TEST(PortCopy, KeepsNamesThatSomebodyGave) {
    on_two_ports([](AppChassis&, TestClock&) {
        auto request = new_onu(3, "ABCD00000003", WORK);
        set_text(request.row.sOnuTableOnuName, "house 3");
        ASSERT_EQ(request.with(onu_column::sOnuTableOnuName).add(), OV_GPON_RET_OK);
        EXPECT_EQ(copy_ports(), 0);
        EXPECT_STREQ(stored_onu(3, PROTECT)->sOnuTableOnuName, "house 3");
    });
}

TEST(PortCopy, OfARecordedGemPortIsEncryptedAndNotRecorded) {
    struct {
        int encrypted, recorded, copy;
    } const cases[] = {{0, 0, 0}, {0, 1, 1}, {1, 0, 1}, {1, 1, 1}};
    for (const auto& each : cases)
        on_two_ports([&](AppChassis&, TestClock&) {
            SCOPED_TRACE(testing::Message() << each.encrypted << each.recorded);
            add_whole_onu();
            ASSERT_EQ(edit_gem(sGemTable_column::sGemTableIfEnableEncryption,
                               &Gem::sGemTableIfEnableEncryption, each.encrypted),
                      OV_GPON_RET_OK);
            ASSERT_EQ(edit_gem(sGemTable_column::sGemTablePmEnable, &Gem::sGemTablePmEnable, each.recorded),
                      OV_GPON_RET_OK);
            EXPECT_EQ(copy_ports(), 0);
            const Gem* copy = stored(gem_key(1, ONU, PROTECT));
            ASSERT_NE(copy, nullptr);
            EXPECT_EQ(copy->sGemTableIfEnableEncryption, each.copy);
            EXPECT_EQ(copy->sGemTablePmEnable, 0);
        });
}

TEST(PortCopy, GoesOnBehindAnOnuThatCantBeAdded) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        for (const int onu : {1, 2, 3})
            add_whole_onu(onu);
        // The port has an ONU with the serial number of ONU 2.
        ASSERT_EQ(new_onu(9, "ABCD00000002", PROTECT).add(), OV_GPON_RET_OK);
        LogCapture::clear();
        EXPECT_EQ(copy_ports(), 0);
        EXPECT_NE(stored_onu(1, PROTECT), nullptr);
        EXPECT_EQ(stored_onu(2, PROTECT), nullptr);
        EXPECT_NE(stored_onu(3, PROTECT), nullptr);
        char text[160];
        snprintf(text, sizeof text,
                 "ov_app_gpon_port_config_copy_for_sOnutable from 0x%x to 0x%x failed, onuid [2] add",
                 index_of(WORK), index_of(PROTECT));
        EXPECT_THAT(logged(chassis), Contains(text));
        EXPECT_NE(stored(gem_key(1, 3, PROTECT)), nullptr);
        EXPECT_EQ(stored(gem_key(1, 2, PROTECT)), nullptr);
    });
}

TEST(PortCopy, GoesOnWhicheverMessageTheCardRefuses) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        add_whole_onu(1);
        add_whole_onu(2);
        for (const int message : {903, 905, 906, 907, 913}) {
            chassis.card_answers(message, OV_GPON_RET_FAIL);
            EXPECT_EQ(copy_ports(), 0) << message;
            chassis.card_answers(message, OV_GPON_RET_OK);
            EXPECT_EQ(ov_app_gpon_port_config_clear(index_of(PROTECT)), 0);
            EXPECT_THAT(rows_of<Onu>(PROTECT), IsEmpty()) << message;
            EXPECT_EQ(counters().gemCnt[PROTECT - 1], 0) << message;
            EXPECT_EQ(counters().tcontCnt[PROTECT - 1], 0) << message;
        }
        EXPECT_EQ(rows_of<Onu>(WORK).size(), 2u);
    });
}

TEST(PortCopy, BringsWhatStandsBehindTheOnu) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        add_whole_onu();
        auto uni_status = uni<ov_sRmUniStatusTable_attr_t>(ETH, 1);
        uni_status.sRmUniStatusMaxFrameSize = 1600;
        MIB_Flags_t columns = columns_of(sRmUniStatusTable_column::sRmUniStatusMaxFrameSize);
        ASSERT_EQ(ov_app_gpon_rmunistatus_edit(&uni_status, &columns), OV_GPON_RET_OK);
        auto vlan = uni<ov_sRmUniVlanTable_attr_t>(ETH, 1);
        vlan.sRmUniVlanTableVlanMode = SRMUNIVLANTABLEVLANMODE_HYBRID;
        vlan.sRmUniVlanTablePvid = 77;
        columns = columns_of(sRmUniVlanTable_column::sRmUniVlanTableVlanMode,
                             sRmUniVlanTable_column::sRmUniVlanTablePvid);
        ASSERT_EQ(ov_app_gpon_rmunivlan_edit(&vlan, &columns), OV_GPON_RET_OK);
        auto host = of_onu<ov_sRmIPHostTable_attr_t>();
        host.sRmIPHostVlanId = 7;
        columns = columns_of(sRmIPHostTable_column::sRmIPHostVlanId);
        ASSERT_EQ(ov_app_gpon_rm_iphost_add(&host, &columns), OV_GPON_RET_OK);
        auto wan = of_onu<ov_sRmWanTable_attr_t>();
        wan.sRmWanIndex = 2;
        columns = {};
        ASSERT_EQ(ov_app_gpon_rm_wan_add(&wan, &columns, 1), OV_GPON_RET_OK);
        auto wifi = of_onu<ov_sRmWifiTable_attr_t>();
        wifi.sRmWifiIndex = 1;
        set_text(wifi.sRmWifiName, "home");
        columns = columns_of(sRmWifiTable_column::sRmWifiName);
        ASSERT_EQ(ov_app_gpon_rm_wifi_add(&wifi, &columns, 1), OV_GPON_RET_OK);
        auto poe = of_onu<ov_sRmOnuPoeTable_attr_t>();
        poe.sRmOnuPoeUsageThr = 50;
        columns = columns_of(sRmOnuPoeTable_column::sRmOnuPoeUsageThr);
        ASSERT_EQ(ov_app_gpon_rmonupoe_edit(&poe, &columns), OV_GPON_RET_OK);
        LogCapture::clear();

        EXPECT_EQ(copy_ports(), 0);
        EXPECT_EQ(times_logged(chassis, "failed"), 0u);
        EXPECT_EQ(rows_of<ov_sRmUniStatusTable_attr_t>(PROTECT), rows_of<ov_sRmUniStatusTable_attr_t>(WORK));
        EXPECT_EQ(rows_of<ov_sRmUniVlanTable_attr_t>(PROTECT), rows_of<ov_sRmUniVlanTable_attr_t>(WORK));
        EXPECT_EQ(rows_of<ov_sRmIPHostTable_attr_t>(PROTECT), rows_of<ov_sRmIPHostTable_attr_t>(WORK));
        EXPECT_EQ(rows_of<ov_sRmWanTable_attr_t>(PROTECT), rows_of<ov_sRmWanTable_attr_t>(WORK));
        EXPECT_EQ(rows_of<ov_sRmWifiTable_attr_t>(PROTECT), rows_of<ov_sRmWifiTable_attr_t>(WORK));
        EXPECT_EQ(rows_of<ov_sRmWifiTable_attr_t>(PROTECT).size(), 1u);
        EXPECT_EQ(stored(uni<ov_sRmUniStatusTable_attr_t>(ETH, 1, 1, ONU, PROTECT))->sRmUniStatusMaxFrameSize,
                  1600u);
        // power stays with the port, unless somebody asks for it
        EXPECT_EQ(stored(of_onu<ov_sRmOnuPoeTable_attr_t>(PROTECT))->sRmOnuPoeUsageThr, 0);
        ov_app_gpon_port_config_copy_for_sRmOnuPoeTable(index_of(WORK), index_of(PROTECT));
        EXPECT_EQ(stored(of_onu<ov_sRmOnuPoeTable_attr_t>(PROTECT))->sRmOnuPoeUsageThr, 50);
    });
}

TEST(PortCopy, ToAPortThatProtectsAnotherIsRefusedRowByRow) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        ASSERT_EQ(add_onu(1, 6), OV_GPON_RET_OK);
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        chassis.forget_messages();
        EXPECT_EQ(ov_app_gpon_port_config_copy(index_of(6), index_of(PROTECT)), 0);
        EXPECT_THAT(rows_of<Onu>(PROTECT), IsEmpty());
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(PortCopy, ToItselfChangesNothingOfItsOnus) {
    on_two_ports([](AppChassis&, TestClock&) {
        add_whole_onu();
        const auto before = rows_of<Onu>(WORK);
        EXPECT_EQ(ov_app_gpon_port_config_copy(index_of(WORK), index_of(WORK)), 0);
        EXPECT_EQ(rows_of<Onu>(WORK), before);
        EXPECT_EQ(ov_app_gpon_port_config_copy(0, 0), 0);
    });
}

TEST(PortCopy, InStepsIsTheSame) {
    on_two_ports([](AppChassis&, TestClock& clock) {
        for (int onu = 1; onu <= 5; ++onu)
            add_whole_onu(onu);
        int done = 0;
        ov_app_gpon_port_config_copy_start(index_of(WORK), index_of(PROTECT), [&done] { ++done; });
        ov_app_gpon_port_config_copy_start(index_of(WORK), index_of(6), [&done] { done += 10; });
        EXPECT_EQ(done, 0);
        EXPECT_THAT(rows_of<Onu>(PROTECT), IsEmpty());
        while (clock.armed() > 0)
            clock.run_next();
        EXPECT_EQ(done, 11);
        EXPECT_EQ(rows_of<Service>(PROTECT), rows_of<Service>(WORK));
        EXPECT_EQ(rows_of<Service>(6), rows_of<Service>(WORK));
        EXPECT_EQ(rows_of<Service>(6).size(), 5u);
    });
}

// ---- clear ------------------------------------------------------------------------------------------------

TEST(PortClear, PutsThePortBackAndRemovesItsOnus) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        chassis.put_row<Port>(
            [](Port& row) {
                row.sPonTableAutoFind = 0;
                row.sPonTableAutoLearn = 1;
                row.sPonTableMaxLogicDistance = 60;
                row.sPonTableDsFec = 1;
                row.sPonTableKeyExchangeCtrl = 1;
                row.sPonTableKeyExchangeInterval = 2000;
                row.sPonTablePortProtect = 0;
                row.sPonTableQosPorfileID = 7;
                set_text(row.sPonTableQosProfileName, "gold");
                row.sPonTablePmEnable = 1;
                row.sPonTableNniPmEnable = 1;
            },
            GPON_SHELF, SLOT, 8);
        chassis.forget_messages();
        EXPECT_EQ(ov_app_gpon_port_config_clear(index_of(8)), 0);
        const Port& row = stored_port(8);
        EXPECT_EQ(row.sPonTableAutoFind, 1);
        EXPECT_EQ(row.sPonTableAutoLearn, 0);
        EXPECT_EQ(row.sPonTableMaxLogicDistance, 20);
        EXPECT_EQ(row.sPonTableDsFec, 0);
        EXPECT_EQ(row.sPonTableKeyExchangeCtrl, 0);
        EXPECT_EQ(row.sPonTableKeyExchangeInterval, 10000);
        EXPECT_EQ(row.sPonTablePortProtect, 0); // stays
        EXPECT_EQ(row.sPonTableQosPorfileID, 0u);
        EXPECT_STREQ(row.sPonTableQosProfileName, "0");
        EXPECT_EQ(row.sPonTablePmEnable, 0);
        EXPECT_EQ(row.sPonTableNniPmEnable, 0);
        // the recording switches are the daemon's: one write reached the card
        const auto sent = chassis.messages();
        ASSERT_EQ(sent.size(), 1u);
        EXPECT_EQ(sent[0].type, 901);
        EXPECT_NE(sent[0].mask & (1u << 14), 0u); // switching between the ONUs, as it was
    });
}

TEST(PortClear, RemovesEveryOnuAndWhatItHas) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        add_whole_onu(1);
        add_whole_onu(2);
        add_whole_onu(1, PROTECT);
        EXPECT_EQ(ov_app_gpon_port_config_clear(index_of(WORK)), 0);
        EXPECT_THAT(rows_of<Onu>(WORK), IsEmpty());
        EXPECT_THAT(rows_of<Tcont>(WORK), IsEmpty());
        EXPECT_THAT(rows_of<ServicePort>(WORK), IsEmpty());
        EXPECT_THAT(rows_of<Service>(WORK), IsEmpty());
        EXPECT_EQ(rows_of<Onu>(PROTECT).size(), 1u);
        // an ONU that has to stay
        ASSERT_EQ(add_onu(5), OV_GPON_RET_OK);
        ASSERT_EQ(add_onu(6), OV_GPON_RET_OK);
        chassis.card_answers(903, OV_GPON_RET_FAIL);
        EXPECT_EQ(ov_app_gpon_port_config_clear(index_of(WORK)), 0);
        EXPECT_THAT(logged(chassis), Contains("del failed onuid: 5"));
        EXPECT_THAT(logged(chassis), Contains("del failed onuid: 6"));
        EXPECT_EQ(rows_of<Onu>(WORK).size(), 2u);
    });
}

TEST(PortClear, IsRefusedForPortsOfAGroupAndForWhatIsNoPort) {
    on_two_ports([](AppChassis&, TestClock&) {
        ASSERT_EQ(add_onu(), OV_GPON_RET_OK);
        ASSERT_EQ(add_group(), OV_GPON_RET_OK);
        for (const ov_ifindex_t port : {index_of(WORK), index_of(PROTECT), ov_ifindex_t{0},
                                        onu_ifindex(SLOT, WORK, ONU), OV_IFINDEX_INVALID})
            EXPECT_EQ(ov_app_gpon_port_config_clear(port), OV_GPON_RET_FAIL) << port;
        EXPECT_NE(stored_onu(ONU, WORK), nullptr);
        EXPECT_EQ(ov_app_gpon_port_config_clear(index_of(15)), 0); // without a row
    });
}

TEST(PortClear, InStepsIsTheSame) {
    on_two_ports([](AppChassis&, TestClock& clock) {
        for (const int onu : {1, 2, 3})
            add_whole_onu(onu);
        bool done = false;
        EXPECT_EQ(ov_app_gpon_port_config_clear_start(index_of(WORK), [&done] { done = true; }),
                  OV_GPON_RET_OK);
        EXPECT_EQ(rows_of<Onu>(WORK).size(), 3u);
        while (clock.armed() > 0)
            clock.run_next();
        EXPECT_TRUE(done);
        EXPECT_THAT(rows_of<Onu>(WORK), IsEmpty());
        EXPECT_THAT(rows_of<Service>(WORK), IsEmpty());
        EXPECT_EQ(ov_app_gpon_port_config_clear_start(0, [] { FAIL(); }), OV_GPON_RET_FAIL);
        EXPECT_EQ(clock.armed(), 0u);
    });
}

TEST(PortClear, TellsOfAWriteThatIsRefused) {
    on_two_ports([](AppChassis& chassis, TestClock&) {
        ASSERT_EQ(edit_port(WORK, columns_of(port_column::sPonTableDsFec, port_column::sPonTableAutoFind),
                            [](Port& row) { row.sPonTableDsFec = 1; }),
                  OV_GPON_RET_OK);
        chassis.card_answers(901, OV_GPON_RET_FAIL);
        EXPECT_EQ(ov_app_gpon_port_config_clear(index_of(WORK)), 0);
        char text[160];
        snprintf(text, sizeof text,
                 "ov_app_gpon_port_config_clear_for_sPontable for 0x%x failed,  set cnt %d", index_of(WORK),
                 2);
        EXPECT_THAT(logged(chassis), Contains(text));
        EXPECT_EQ(stored_port(WORK).sPonTableDsFec, 1);
    });
}

} // namespace
