// How services behind an ONU are repeated on a partner port, and how they go.
#include "../../support/test_clock.h"
#include "../support/service_chassis.h"

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr int VLAN = OV_GPON_RM_SERVICE_VLAN;
constexpr int VLAN_COS = OV_GPON_RM_SERVICE_VLAN_COS;
constexpr int VLAN_UNI = OV_GPON_RM_SERVICE_VLAN_UNI;
constexpr int VLAN_COS_UNI = OV_GPON_RM_SERVICE_VLAN_COS_UNI;

// ---- protection groups ------------------------------------------------------------------------------------

TEST(RmServicePair, IsNotToBeWrittenOnAProtectingPort) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(service(1)), 0);
        chassis.forget_messages();
        make_group(OTHER_PORT, PORT, true);
        EXPECT_EQ(add(service(2, {.vlan = 2})), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(edit(service(1), SERVICE_COLUMNS), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(del(service(1)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(),
                    Contains("ov_rmservice_table_set_check_callback failed").Times(3));
        EXPECT_THAT(all_of<Service>(), SizeIs(1));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(RmServicePair, IsRepeatedOnThePartner) {
    run([](AppChassis& chassis) {
        make_mirrored_group<SYNC_RMONU_SERVICE>();
        TestClock clock;
        EXPECT_EQ(add(service(1)), 0);
        chassis.card_answers(SERVICE_MESSAGE, OV_GPON_RET_NOT_SUPPORT);
        EXPECT_EQ(edit(service(1), SERVICE_COLUMNS), 0);
        EXPECT_EQ(del(service(1)), 0);
        clock.advance(std::chrono::seconds(1));
        EXPECT_THAT(repeated(),
                    ElementsAre("11 action 1 on port 5", "11 action 3 on port 5", "11 action 2 on port 5"));
    });
}

// What the partner's writer does: past the checks, with all that follows.
TEST(RmServicePair, ComesToAProtectingPortByItsWriter) {
    run([](AppChassis& chassis) {
        make_group(OTHER_PORT, PORT, true);
        Service row = service(1);
        row.sRmServiceTableRowStatus = OVRA_CREATEANDGO;
        MIB_Flags_t columns = SERVICE_COLUMNS;
        mib_flag_set(columns, service_column::sRmServiceTableRowStatus);
        EXPECT_TRUE(mib_access(MIB_SET_N, row, columns));
        EXPECT_THAT(sent(chassis), ElementsAre("913 create", "934 create"));
        EXPECT_THAT(all_of<FilterLimit>(), SizeIs(1));
        EXPECT_TRUE(mib_access(MIB_DEL_N, row, columns));
        EXPECT_THAT(all_of<FilterLimit>(), IsEmpty());
        EXPECT_THAT(all_of<FilterMode>(), IsEmpty());
    });
}

// ---- how they go ------------------------------------------------------------------------------------------

TEST(RmServiceLife, GoesWithItsOnuInFrontOfIt) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), 0);
        ASSERT_EQ(add(service(1, {VLAN, 1, 10})), 0);
        ASSERT_EQ(add(service(2, {VLAN, 1, 20})), 0);
        ASSERT_EQ(add(service(1, {VLAN, 1, 10}, 8)), 0);
        chassis.forget_messages();
        EXPECT_EQ(delete_onu(), 0);
        const auto all = sent(chassis);
        EXPECT_THAT(all, ElementsAre("934 delete", "913 delete", "934 delete", "913 delete", "903 delete"));
        EXPECT_THAT(all_of<Service>(), SizeIs(1));
        EXPECT_NE(find_row(service(1, {}, 8)), nullptr);
    });
}

TEST(RmServiceLife, OneThatCannotGoKeepsTheOnu) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(service(3, {VLAN_UNI, 1, 10, 0, ETH, 2})), 0);
        chassis.card_answers(SERVICE_MESSAGE, 1009);
        EXPECT_EQ(delete_onu(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(),
                    Contains("can't delete rmservice!\nonuid:7, serviceid:3,cardid:1, porttype:0, "
                             "portid:2,servicetype:3"));
        EXPECT_THAT(chassis.hal.log.lines(), Contains("iterate delete rmservice fail"));
        EXPECT_NE(stored_onu(ONU), nullptr);
        EXPECT_NE(find_row(service(3)), nullptr);
        chassis.card_answers(SERVICE_MESSAGE, 0);
        EXPECT_EQ(delete_onu(), 0);
        EXPECT_THAT(all_of<Service>(), IsEmpty());
    });
}

TEST(RmServiceLife, GoesWithItsProfile) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        put_template_gem(chassis);
        ASSERT_EQ(add(template_service(1, {VLAN, 1, 10})), 0);
        ASSERT_EQ(add(template_service(2, {VLAN, 1, 20})), 0);
        ASSERT_EQ(add(service(1)), 0);
        chassis.forget_messages();
        EXPECT_EQ(ov_gpon_onu_service_profile_del(PROFILE), 0);
        EXPECT_THAT(all_of<Service>(), SizeIs(1));
        EXPECT_THAT(all_of<FilterMode>(), SizeIs(1));
        EXPECT_THAT(chassis.messages_of(SERVICE_MESSAGE), SizeIs(2));
    });
}

TEST(RmServiceLife, OneThatCannotGoKeepsTheProfile) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add_profile(), 0);
        put_template_gem(chassis);
        ASSERT_EQ(add(template_service(1)), 0);
        chassis.card_answers(SERVICE_MESSAGE, 1009);
        EXPECT_NE(ov_gpon_onu_service_profile_del(PROFILE), 0);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("iterate delete rmservice fail"));
        EXPECT_NE(find_row(template_service(1)), nullptr);
    });
}

TEST(RmServiceLife, OfAnOnuGoesWhenItsConfigurationIsTakenAway) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(service(1, {VLAN, 1, 10})), 0);
        ASSERT_EQ(add(service(2, {VLAN, 1, 20})), 0);
        const Onu onu = onu_at(ONU);
        EXPECT_EQ(ov_rmservice_table_iterate_del(&onu), 1);
        EXPECT_THAT(all_of<Service>(), IsEmpty());
        EXPECT_NE(stored_onu(ONU), nullptr);
        EXPECT_EQ(ov_rmservice_table_iterate_del(&onu), 1); // none left
        ASSERT_EQ(add(service(1)), 0);
        chassis.card_answers(SERVICE_MESSAGE, 1009);
        EXPECT_EQ(ov_rmservice_table_iterate_del(&onu), 0);
    });
}

TEST(RmServiceLife, OthersOfTheSameFlowGoInTheTableAlone) {
    run([](AppChassis& chassis) {
        // of service 2: same kind of UNI and VLAN have 1, 4 and 5
        ASSERT_EQ(new_onu(6, "ABCD00000006").add(), 0);
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), 0);
        const Traffic flow = {VLAN_COS_UNI, 1, 10, 0, ETH, 1};
        const auto with = [&flow](int cos, int vlan = 10, int kind = ETH) {
            Traffic other = flow;
            other.cos = cos;
            other.vlan = vlan;
            other.kind = kind;
            return other;
        };
        ASSERT_EQ(add(service(1, with(1))), 0);
        ASSERT_EQ(add(service(2, with(2))), 0);
        ASSERT_EQ(add(service(3, with(3, 11))), 0);
        ASSERT_EQ(add(service(4, with(4))), 0);
        ASSERT_EQ(add(service(5, with(5))), 0);
        ASSERT_EQ(add(service(6, with(6, 10, VEIP))), 0);
        ASSERT_EQ(add(service(1, with(1), 6)), 0);
        ASSERT_EQ(add(service(1, with(1), 8)), 0);
        chassis.forget_messages();
        ov_rmservice_table_iterate_del_in_same_flow(find_row(service(2)));
        std::vector<std::pair<int, mib_ulong>> left;
        for (const Service& row : all_rows<Service>())
            left.emplace_back(row.onuId, row.rmServiceID);
        EXPECT_THAT(left, ElementsAre(std::pair(6, 1u), std::pair(7, 2u), std::pair(7, 3u), std::pair(7, 6u),
                                      std::pair(8, 1u)));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(RmServiceLife, OneOfTheSameFlowThatHasToStayIsTold) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(service(1, {VLAN_COS, 1, 10, 1})), 0);
        ASSERT_EQ(add(service(2, {VLAN_COS, 1, 10, 2})), 0);
        make_group(OTHER_PORT, PORT, true);
        ov_rmservice_table_iterate_del_in_same_flow(find_row(service(2)));
        EXPECT_THAT(all_of<Service>(), SizeIs(2));
        EXPECT_THAT(chassis.hal.log.lines(),
                    Contains(testing::StartsWith("can't delete rmservice sliently!\nonuid:7, serviceid:1,")));
    });
}

} // namespace
