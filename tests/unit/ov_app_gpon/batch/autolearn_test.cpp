// ONUs that provision themselves: the row that a report makes, and what refuses it.
#include "learn_chassis.h"

#include "ov_app_gpon_port.h"

using namespace learn_test;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

std::vector<std::string> lines(const AppChassis& chassis) {
    return chassis.hal.log.lines();
}

std::string rule_of(const gpon_learnt_onu_t& onu) {
    return ov_app_gpon_learn_rule_text(onu.rule, onu.slot);
}

// ---- the row ----------------------------------------------------------------------------------------------

TEST(Autolearn, WithoutAutoFlowTheOnuIsAPlainOne) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) {
            port.sPonTableAutoFlow = SPONTABLEAUTOFLOW_DISABLE;
            port.sPonTableSrvProfileID = 5;
        });
        receive(report_of({.onu = 3, .sn = "ABCD\x00\x12\xff\x78"s}));
        const Onu* onu = stored_onu(3);
        ASSERT_NE(onu, nullptr);
        EXPECT_STREQ(onu->sOnuTableOnuName, "gpon-onu3/4:3");
        EXPECT_STREQ(onu->sOnuTableSn, "ABCD0012ff78");
        EXPECT_EQ(onu->sOnuTableAuthMode, OV_GPON_ONU_AUTH_MODE_SN);
        EXPECT_STREQ(onu->sOnuTableOnuTypeProfileName, DEFAULT_TYPE);
        EXPECT_EQ(onu->sOnuTableOnuTypeProfileId, mib_ulong{TYPE_ID + 1});
        EXPECT_EQ(onu->sOnuTableIfIndex, onu_ifindex(SLOT, PORT, 3));
        EXPECT_EQ(onu->sOnuTableConfigMode, SONUTABLECONFIGMODE_MANUALLY);
        EXPECT_EQ(onu->sOnuTableSrvProfileId, 0u);
        EXPECT_EQ(onu->sOnuTableOnuState, SONUTABLEONUSTATE_ADDED);
        EXPECT_EQ(onu->sOnuTableRowStatus, OVRA_ACTIVE);
        ASSERT_THAT(chassis.messages_of(ONU_MESSAGE), SizeIs(1));
        const auto told = chassis.messages_of(ONU_MESSAGE)[0].record<ov_gpon_onu_attr_t>();
        EXPECT_EQ(told.authAttr.mode, OV_GPON_ONU_AUTH_MODE_SN);
        EXPECT_EQ(memcmp(told.authAttr.sn, "ABCD\x00\x12\xff\x78", 8), 0);
        ASSERT_THAT(remembered(), SizeIs(1));
        EXPECT_EQ(remembered()[0].outcome, LearnOutcome::PLAIN);
        EXPECT_EQ(remembered()[0].profile, 0u);
        EXPECT_THAT(lines(chassis),
                    Contains(HasSubstr("gpon-onu3/4:3 is learnt: serial number ABCD0012ff78")));
    });
}

TEST(Autolearn, BoundOnuHasTheProfileAndItsType) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableSrvProfileID = 6; });
        EXPECT_EQ(learn({}), OV_GPON_RET_OK);
        const Onu* onu = stored_onu(1);
        ASSERT_NE(onu, nullptr);
        EXPECT_EQ(onu->sOnuTableConfigMode, SONUTABLECONFIGMODE_TEMPLET);
        EXPECT_EQ(onu->sOnuTableSrvProfileId, 6u);
        EXPECT_STREQ(onu->sOnuTableOnuTypeProfileName, "HG-1");
        EXPECT_EQ(onu->sOnuTableOnuTypeProfileId, mib_ulong{TYPE_ID});
        ASSERT_THAT(remembered(), SizeIs(1));
        EXPECT_EQ(remembered()[0].outcome, LearnOutcome::BOUND);
        EXPECT_EQ(rule_of(remembered()[0]), "default");
    });
}

TEST(Autolearn, CopiedOnuStaysInManualMode) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) {
            port.sPonTableHguSrvProfile = 7;
            port.sPonTableAutoFlowConfigOnuNode = COPY;
        });
        EXPECT_EQ(learn({.kind = 3}), OV_GPON_RET_OK);
        const Onu* onu = stored_onu(1);
        ASSERT_NE(onu, nullptr);
        EXPECT_EQ(onu->sOnuTableConfigMode, SONUTABLECONFIGMODE_MANUALLY);
        EXPECT_EQ(onu->sOnuTableSrvProfileId, 7u);
        EXPECT_EQ(remembered().at(0).outcome, LearnOutcome::COPIED);
        EXPECT_EQ(rule_of(remembered()[0]), "hgu");
        EXPECT_TRUE(remembered()[0].is_hgu);
    });
}

// The switch to copy means nothing while auto flow is off.
TEST(Autolearn, NothingIsCopiedWithoutAutoFlow) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) {
            port.sPonTableAutoFlow = SPONTABLEAUTOFLOW_DISABLE;
            port.sPonTableAutoFlowConfigOnuNode = COPY;
            port.sPonTableSrvProfileID = 5;
        });
        EXPECT_EQ(learn({}), OV_GPON_RET_OK);
        ASSERT_NE(stored_onu(1), nullptr);
        EXPECT_EQ(stored_onu(1)->sOnuTableSrvProfileId, 0u);
        EXPECT_EQ(remembered().at(0).outcome, LearnOutcome::PLAIN);
    });
}

TEST(Autolearn, WhatTheCardCallsTheTypeIsOverwritten) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableSrvProfileID = 5; });
        Report report = report_of({});
        EXPECT_EQ(ov_app_gpon_autolearn_onu_add(&report), OV_GPON_RET_OK);
        EXPECT_STREQ(report.profile, DEFAULT_TYPE);
    });
}

TEST(Autolearn, OnlyTheCardsCreateIsTaken) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableSrvProfileID = 5; });
        for (const int action : {0, 2, 3, 4, 5})
            receive(report_of({}), action);
        EXPECT_EQ(stored_onu(1), nullptr);
        EXPECT_THAT(remembered(), IsEmpty());
    });
}

// ---- refusals ---------------------------------------------------------------------------------------------

TEST(Autolearn, NoReportIsRefused) {
    on_chassis([](AppChassis& chassis) {
        EXPECT_EQ(ov_app_gpon_autolearn_onu_add(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(lines(chassis), ElementsAre("null pointer"));
    });
}

TEST(Autolearn, ReportOfAProtectingPortIsDroppedWithoutAWord) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableSrvProfileID = 5; });
        put_learning_port(
            chassis, [](Port& port) { port.sPonTableSrvProfileID = 5; }, OTHER_PORT);
        make_group(PORT, OTHER_PORT, true);
        LogCapture::clear();
        EXPECT_EQ(learn({.port = OTHER_PORT}), 1003);
        EXPECT_THAT(lines(chassis), IsEmpty());
        EXPECT_EQ(stored_onu(1, OTHER_PORT), nullptr);
        EXPECT_EQ(remembered(OTHER_PORT).at(0).reason, "the port protects another one and follows it");
    });
}

TEST(Autolearn, OnuOfAWorkingPortIsMadeOnItsPartnerToo) {
    on_chassis([](AppChassis& chassis) {
        for (const int port : {PORT, OTHER_PORT})
            put_learning_port(
                chassis, [](Port& row) { row.sPonTableSrvProfileID = 5; }, port);
        make_group(PORT, OTHER_PORT, true);
        EXPECT_EQ(learn({.onu = 2}), OV_GPON_RET_OK);
        ASSERT_NE(stored_onu(2), nullptr);
        ASSERT_NE(stored_onu(2, OTHER_PORT), nullptr);
        EXPECT_STREQ(stored_onu(2, OTHER_PORT)->sOnuTableOnuName, "gpon-onu3/5:2");
        EXPECT_EQ(stored_onu(2, OTHER_PORT)->sOnuTableSrvProfileId, 5u);
    });
}

TEST(Autolearn, NumberAbove128IsNone) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableSrvProfileID = 5; });
        EXPECT_EQ(learn({.onu = 129}), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(lines(chassis), ElementsAre("wrong onuId or wrong onuTypeName",
                                                HasSubstr("refused: learn: -: ONU numbers are 1 to 128")));
        EXPECT_EQ(learn({.onu = 128}), OV_GPON_RET_OK);
        EXPECT_EQ(learn({.onu = 256, .sn = sn_bytes(9)}), OV_GPON_RET_BAD_PARAM);
        EXPECT_NE(stored_onu(128), nullptr);
    });
}

TEST(Autolearn, DefaultTypeMustBeThere) {
    app_chassis::run([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableAutoFlow = 0; });
        EXPECT_EQ(learn({}), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(lines(chassis), Contains("the onutype profile did not exist"));
        EXPECT_EQ(remembered().at(0).reason, "no ONU type \"KLM-618\"");
    });
}

TEST(Autolearn, PortMustHaveARow) {
    on_chassis([](AppChassis& chassis) {
        EXPECT_EQ(learn({}), OV_GPON_RET_FAIL);
        EXPECT_THAT(lines(chassis), Contains(HasSubstr(" MIB get pon table failed")));
        Report report = report_of({});
        EXPECT_EQ(ov_app_gpon_onu_traffic_autolearn(onu_ifindex(SLOT, PORT, 1), 5, &report),
                  OV_GPON_RET_FAIL);
        EXPECT_EQ(stored_onu(1), nullptr);
    });
}

TEST(Autolearn, PortWithoutAProfileForItRefuses) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableSfuSrvProfile = 5; });
        EXPECT_EQ(learn({.kind = 1}), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(lines(chassis), Contains("the onu srv profile did not exist"));
        EXPECT_EQ(stored_onu(1), nullptr);
        EXPECT_EQ(remembered().at(0).outcome, LearnOutcome::REFUSED);
        EXPECT_EQ(remembered()[0].reason, "the port has no service profile for such an ONU");
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(Autolearn, ProfileThatHasGoneRefuses) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { put_model(port, 1, "HOME-4", 77); });
        EXPECT_EQ(learn({}), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(lines(chassis), Contains("the onu srv profile did not exist"));
        EXPECT_EQ(remembered().at(0).reason, "no service profile 77");
        EXPECT_EQ(rule_of(remembered()[0]), "model 1");
        EXPECT_EQ(stored_onu(1), nullptr);
    });
}

TEST(Autolearn, CardThatRefusesLeavesNoRow) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableSrvProfileID = 5; });
        chassis.card_answers(ONU_MESSAGE, 1005);
        EXPECT_EQ(learn({}), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(lines(chassis), Contains("mib auto learn add error for onu table"));
        EXPECT_EQ(stored_onu(1), nullptr);
        EXPECT_THAT(remembered().at(0).reason, HasSubstr("1005"));
        chassis.card_answers(ONU_MESSAGE, 0);
        EXPECT_EQ(learn({}), OV_GPON_RET_OK);
        ASSERT_THAT(remembered(), SizeIs(1));
        EXPECT_EQ(remembered()[0].outcome, LearnOutcome::BOUND);
        EXPECT_EQ(remembered()[0].reports, 2u);
        EXPECT_EQ(remembered()[0].reason, "");
    });
}

// ---- the same ONU again -----------------------------------------------------------------------------------

TEST(Autolearn, OnuThatIsReportedTwiceStaysAsItIs) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableSrvProfileID = 5; });
        ASSERT_EQ(learn({}), OV_GPON_RET_OK);
        const Onu before = *stored_onu(1);
        chassis.forget_messages();
        EXPECT_EQ(learn({}), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(learn({.onu = 2}), OV_GPON_RET_BAD_PARAM); // under another number
        EXPECT_EQ(memcmp(stored_onu(1), &before, sizeof before), 0);
        EXPECT_EQ(stored_onu(2), nullptr);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        ASSERT_THAT(remembered(), SizeIs(1));
        EXPECT_EQ(remembered()[0].outcome, LearnOutcome::BOUND);
        EXPECT_EQ(remembered()[0].reports, 3u);
    });
}

TEST(Autolearn, NumberThatIsTakenIsNotOverwritten) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableSrvProfileID = 5; });
        ASSERT_EQ(learn({}), OV_GPON_RET_OK);
        EXPECT_EQ(learn({.sn = sn_bytes(2)}), OV_GPON_RET_BAD_PARAM);
        EXPECT_STREQ(stored_onu(1)->sOnuTableSn, "ABCD00000001");
        ASSERT_THAT(remembered(), SizeIs(2));
        EXPECT_EQ(remembered()[1].outcome, LearnOutcome::REFUSED);
        EXPECT_EQ(remembered()[1].reason, "exists already");
    });
}

TEST(Autolearn, OnuOnTwoPortsIsProvisionedOnBoth) {
    on_chassis([](AppChassis& chassis) {
        for (const int port : {PORT, OTHER_PORT})
            put_learning_port(
                chassis, [](Port& row) { row.sPonTableSrvProfileID = 5; }, port);
        EXPECT_EQ(learn({}), OV_GPON_RET_OK);
        EXPECT_EQ(learn({.port = OTHER_PORT}), OV_GPON_RET_OK);
        EXPECT_STREQ(stored_onu(1)->sOnuTableSn, stored_onu(1, OTHER_PORT)->sOnuTableSn);
        EXPECT_THAT(remembered(0), SizeIs(2));
    });
}

TEST(Autolearn, OnuThatWasDeletedIsLearntAnew) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableSrvProfileID = 5; });
        ASSERT_EQ(learn({}), OV_GPON_RET_OK);
        ASSERT_EQ(delete_onu(1), OV_GPON_RET_OK);
        EXPECT_EQ(learn({.onu = 9}), OV_GPON_RET_OK);
        EXPECT_NE(stored_onu(9), nullptr);
        ASSERT_THAT(remembered(), SizeIs(1));
        EXPECT_EQ(remembered()[0].onu, onu_ifindex(SLOT, PORT, 9));
    });
}

TEST(Autolearn, FullPortOfReports) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableSrvProfileID = 5; });
        for (int onu = 1; onu <= 128; ++onu)
            receive(report_of({.onu = onu, .sn = sn_bytes(onu)}));
        for (int onu = 1; onu <= 128; ++onu) {
            ASSERT_NE(stored_onu(onu), nullptr) << onu;
            EXPECT_EQ(stored_onu(onu)->sOnuTableSn, sn_text(onu));
        }
        EXPECT_THAT(remembered(), SizeIs(128));
    });
}

TEST(Autolearn, TextsOfAReportCanNotUpsetATerminal) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port& port) { port.sPonTableSrvProfileID = 5; });
        EXPECT_EQ(learn({.model = "a\n\x1b[2Jmodel-without-end-at-all", .vendor = "\x07\x07\x07\x07\x07"}),
                  OV_GPON_RET_OK);
        EXPECT_EQ(remembered().at(0).model, "a??[2Jmodel-without-e");
        EXPECT_EQ(remembered()[0].vendor, "?????");
        for (const std::string& line : lines(chassis))
            EXPECT_THAT(line, Not(HasSubstr("\x1b")));
    });
}

// ---- the port's settings ----------------------------------------------------------------------------------

TEST(Autolearn, PortTakesOnlyProfilesThatThereAre) {
    on_chassis([](AppChassis& chassis) {
        put_learning_port(chassis, [](Port&) {});
        using namespace sPonTable_column;
        const auto write = [&](unsigned column, const std::function<void(Port&)>& fill) {
            auto row = port_key<Port>(SLOT, PORT);
            fill(row);
            MIB_Flags_t columns = columns_of(column);
            return ov_app_gpon_port_edit(&row, &columns);
        };
        const auto kinds = [](int profile) {
            return
                [profile](Port& row) { row.sPonTableSfuSrvProfile = row.sPonTableHguSrvProfile = profile; };
        };
        for (const unsigned column : {sPonTableSfuSrvProfile, sPonTableHguSrvProfile}) {
            EXPECT_EQ(write(column, kinds(77)), OV_GPON_RET_BAD_PARAM);
            EXPECT_EQ(write(column, kinds(5)), OV_GPON_RET_OK);
            EXPECT_EQ(write(column, kinds(0)), OV_GPON_RET_OK);
        }
        const auto model = [](Port& row) { put_model(row, 2, "M", 77); };
        const auto no_model = [](Port& row) { put_model(row, 2, "", 77); }; // of no name: not in use
        const auto vendor = [](Port& row) { put_vendor(row, 4, "WXYZ", 77); };
        const auto no_profile = [](Port& row) { put_vendor(row, 4, "WXYZ", 0); };
        EXPECT_EQ(write(sPonTableModelSrvProfileName, model), OV_GPON_RET_OK);
        EXPECT_EQ(write(sPonTableModelSrvProfile, no_model), OV_GPON_RET_BAD_PARAM); // the name is stored
        EXPECT_EQ(write(sPonTableModelSrvProfileName, no_model), OV_GPON_RET_OK);
        EXPECT_EQ(write(sPonTableModelSrvProfile, model), OV_GPON_RET_OK);
        EXPECT_EQ(write(sPonTableVendorSrvProfileName, vendor), OV_GPON_RET_OK);
        EXPECT_EQ(write(sPonTableVendorSrvProfile, vendor), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(write(sPonTableVendorSrvProfile, no_profile), OV_GPON_RET_OK);
    });
}

} // namespace
