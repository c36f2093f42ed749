// Learnt ONUs that get the rows of a service profile as their own, and the fixed flow.
#include "learn_chassis.h"

#include "ov_app_gpon_gemport.h"
#include "ov_app_gpon_onu_why.h"
#include "ov_app_gpon_onusrv_batch_config.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_app_gpon_service_port.h"
#include "ov_app_gpon_tcont.h"

using namespace learn_test;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using Tcont = ov_sTcontTable_attr_t;
using Gem = ov_sGemTable_attr_t;
using ServicePort = ov_servicePortTable_attr_t;
using RmService = ov_sRmServiceTable_attr_t;
using UniVlan = ov_sRmUniVlanTable_attr_t;

constexpr int GEM_MESSAGE = OV_HAL_MSG_GPON_GEMPORT;

template <typename Row>
size_t rows_of(int onu, int port = PORT) {
    return rows_copied(onu_key<Row>(SLOT, port, onu), INDEX_TO_ONU).size();
}

// Service profile 7: two T-CONTs, three GEM ports in the first.
void fill_profile() {
    for (unsigned id = 1; id <= 2; ++id) {
        auto tcont = template_key<Tcont>(7);
        tcont.tcontId = id;
        set_text(tcont.sTcontTableBwProfileName, "small");
        MIB_Flags_t columns = columns_of(sTcontTable_column::sTcontTableBwProfileName);
        ASSERT_EQ(ov_app_gpon_tcont_add(&tcont, &columns, 1), OV_GPON_RET_OK);
    }
    for (unsigned id = 1; id <= 3; ++id) {
        auto gem = template_key<Gem>(7);
        gem.gemID = id;
        gem.sGemTableTcontID = 1;
        MIB_Flags_t columns = columns_of(sGemTable_column::sGemTableTcontID);
        ASSERT_EQ(ov_app_gpon_gemport_add(&gem, &columns, 1), OV_GPON_RET_OK);
    }
}

// With that profile, and a port that copies it.
void with_profile(const std::function<void(AppChassis&)>& body) {
    on_chassis([&](AppChassis& chassis) {
        put_bandwidth(chassis, "small", 3, 100, 200);
        put_bandwidth(chassis, "default", 4, 0, 0);
        put_learning_port(chassis, [](Port& port) {
            port.sPonTableSrvProfileID = 7;
            port.sPonTableAutoFlowConfigOnuNode = COPY;
        });
        fill_profile();
        chassis.forget_messages();
        LogCapture::clear();
        body(chassis);
    });
}

TEST(LearntCopy, OnuHasTheRowsAsItsOwn) {
    with_profile([](AppChassis& chassis) {
        receive(report_of({.onu = 9, .model = "HOME-4", .kind = 1, .vendor = "WXYZ"}));
        EXPECT_EQ(rows_of<Tcont>(9), 2u);
        EXPECT_EQ(rows_of<Gem>(9), 3u);
        EXPECT_EQ(chassis.messages_of(GEM_MESSAGE).size(), 3u);
        const auto lines = chassis.hal.log.lines();
        EXPECT_THAT(lines, Contains(HasSubstr("shelf[1] slot[3] port[4] onu[9] auto-flow[1] onuType[1] "
                                              "vendorId[WXYZ] eqptId[HOME-4]")));
        EXPECT_THAT(lines, Contains(HasSubstr("profileId=7")));
        EXPECT_EQ(remembered().at(0).outcome, LearnOutcome::COPIED);
    });
}

TEST(LearntCopy, OtherOnusOfThePortGetNothing) {
    with_profile([](AppChassis& /*chassis*/) {
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), OV_GPON_RET_OK);
        EXPECT_EQ(learn({.onu = 9}), OV_GPON_RET_OK);
        EXPECT_EQ(rows_of<Tcont>(8), 0u);
        EXPECT_EQ(rows_of<Tcont>(9), 2u);
    });
}

TEST(LearntCopy, OnuStaysWithWhatItGotWhenARowIsRefused) {
    with_profile([](AppChassis& chassis) {
        chassis.card_answers(GEM_MESSAGE, 1005);
        EXPECT_EQ(learn({}), OV_GPON_RET_OK);
        ASSERT_NE(stored_onu(1), nullptr);
        EXPECT_EQ(rows_of<Tcont>(1), 2u);
        EXPECT_EQ(rows_of<Gem>(1), 0u);
        const auto lines = chassis.hal.log.lines();
        EXPECT_THAT(lines, Contains(HasSubstr("Config onu[1] srv-profile[7] failed errorCode=2")));
        EXPECT_THAT(lines, Contains("onu traffic auto learn failed"));
        EXPECT_EQ(remembered().at(0).outcome, LearnOutcome::COPY_FAILED);
        EXPECT_THAT(remembered()[0].reason, AllOf(HasSubstr("1005"), HasSubstr("GEM port 1")));
        const auto why = ov_app_gpon_onu_why(*stored_onu(1));
        EXPECT_THAT(why.detail, HasSubstr("learnt with a part of service profile 7: "));

        chassis.card_answers(GEM_MESSAGE, 0); // reported again, it is not tried again
        EXPECT_EQ(learn({}), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(rows_of<Gem>(1), 0u);
        EXPECT_EQ(remembered().at(0).outcome, LearnOutcome::COPY_FAILED);
        ASSERT_EQ(delete_onu(1), OV_GPON_RET_OK);
        EXPECT_EQ(learn({}), OV_GPON_RET_OK);
        EXPECT_EQ(rows_of<Gem>(1), 3u);
        EXPECT_EQ(ov_app_gpon_onu_why(*stored_onu(1)).detail.find("learnt"), std::string::npos);
    });
}

TEST(LearntCopy, ReportInTheMiddleOfItsOwnProvisioningWaitsAndIsRefused) {
    with_profile([](AppChassis& /*chassis*/) {
        for (int times = 0; times < 3; ++times)
            receive(report_of({.onu = 1 + times}));
        EXPECT_EQ(rows_of<Gem>(1), 3u);
        EXPECT_EQ(stored_onu(2), nullptr);
        EXPECT_EQ(stored_onu(3), nullptr);
        EXPECT_EQ(remembered().size(), 1u);
    });
}

TEST(LearntCopy, SilentCardLeavesTheOnuOut) {
    with_profile([](AppChassis& chassis) {
        chassis.card_falls_silent();
        EXPECT_EQ(learn({}), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(stored_onu(1), nullptr);
        EXPECT_EQ(remembered().at(0).outcome, LearnOutcome::REFUSED);
    });
}

TEST(LearntCopy, EmptyProfileCopiesNothingAndFailsNothing) {
    with_profile([](AppChassis& chassis) {
        put_learning_port(
            chassis,
            [](Port& port) {
                port.sPonTableSrvProfileID = 8;
                port.sPonTableAutoFlowConfigOnuNode = COPY;
            },
            OTHER_PORT);
        EXPECT_EQ(learn({.port = OTHER_PORT}), OV_GPON_RET_OK);
        EXPECT_EQ(rows_of<Tcont>(1, OTHER_PORT), 0u);
        EXPECT_EQ(remembered(OTHER_PORT).at(0).outcome, LearnOutcome::COPIED);
    });
}

TEST(LearntCopy, PortWithoutAutoFlowCopiesNothing) {
    with_profile([](AppChassis& chassis) {
        put_learning_port(
            chassis, [](Port& port) { port.sPonTableAutoFlow = SPONTABLEAUTOFLOW_DISABLE; }, OTHER_PORT);
        ASSERT_EQ(new_onu(1, "ABCD00000001", OTHER_PORT).add(), OV_GPON_RET_OK);
        Report report = report_of({});
        EXPECT_EQ(ov_app_gpon_onu_traffic_autolearn(onu_ifindex(SLOT, OTHER_PORT, 1), 7, &report),
                  OV_GPON_RET_OK);
        EXPECT_EQ(rows_of<Tcont>(1, OTHER_PORT), 0u);
    });
}

// ---- two thousand at once ---------------------------------------------------------------------------------

TEST(LearntCopy, AllOnusOfACardAtOnce) {
    with_profile([](AppChassis& /*chassis*/) {
        for (int port = 1; port <= 16; ++port)
            if (port != PORT)
                table_of<Port>::module().create_entry_at(1, SLOT, port);
        for (int port = 1; port <= 16; ++port) {
            auto* row = const_cast<Port*>(find_stored_row(port_key<Port>(SLOT, port)));
            *row = *find_stored_row(port_key<Port>(SLOT, PORT));
            row->portID = port;
        }
        for (int n = 0; n < 2048; ++n)
            receive(report_of({.onu = 1 + n % 128, .sn = sn_bytes(n), .port = 1 + n / 128}));
        int onus = 0;
        for (int port = 1; port <= 16; ++port)
            for (int onu = 1; onu <= 128; ++onu)
                onus += stored_onu(onu, port) != nullptr ? 1 : 0;
        EXPECT_EQ(remembered(0).size(), 2048u);
        EXPECT_EQ(onus, 2048);
    });
}

// ---- the fixed flow ---------------------------------------------------------------------------------------

TEST(FixedFlow, EachStepStandsOnTheOneBefore) {
    with_profile([](AppChassis& /*chassis*/) {
        const ov_ifindex_t onu = onu_ifindex(SLOT, PORT, 1);
        const auto steps = {ov_app_gpon_tcont_autolearn_add, ov_app_gpon_gem_autolearn_add,
                            ov_app_gpon_service_autolearn_add, ov_app_gpon_rm_service_autolearn_add,
                            ov_app_gpon_uni_vlan_autolearn_set};
        for (const auto step : steps)
            EXPECT_EQ(step(onu), OV_GPON_RET_FAIL); // no such ONU
        ASSERT_EQ(new_onu(1, "ABCD00000001").type(DEFAULT_TYPE).add(), OV_GPON_RET_OK);
        EXPECT_EQ(ov_app_gpon_gem_autolearn_add(onu), OV_GPON_RET_FAIL); // no T-CONT yet
        for (const auto step : steps)
            EXPECT_EQ(step(onu), OV_GPON_RET_OK);
        const auto tconts = rows_copied(onu_key<Tcont>(SLOT, PORT, 1), INDEX_TO_ONU);
        ASSERT_EQ(tconts.size(), 1u);
        EXPECT_STREQ(tconts[0].sTcontTableBwProfileName, "default");
        EXPECT_EQ(tconts[0].tcontId, 1u);
        const auto gems = rows_copied(onu_key<Gem>(SLOT, PORT, 1), INDEX_TO_ONU);
        ASSERT_EQ(gems.size(), 1u);
        EXPECT_EQ(gems[0].sGemTableTcontID, 1u);
        const auto ports = rows_copied(onu_key<ServicePort>(SLOT, PORT, 1), INDEX_TO_ONU);
        ASSERT_EQ(ports.size(), 1u);
        EXPECT_EQ(ports[0].servicePortVlanAction, 8);
        const auto services = rows_copied(onu_key<RmService>(SLOT, PORT, 1), INDEX_TO_ONU);
        ASSERT_EQ(services.size(), 1u);
        EXPECT_EQ(services[0].sRmServiceTableRmServiceType, 5);
        int transparent = 0;
        for (const auto& vlan : rows_copied(onu_key<UniVlan>(SLOT, PORT, 1), INDEX_TO_ONU))
            transparent += vlan.sRmUniVlanTableVlanMode == 5 ? 1 : 0;
        EXPECT_EQ(transparent, 4);
    });
}

} // namespace
