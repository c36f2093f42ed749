// ONUs on the ports of a protection group.
#include "../support/onu_chassis.h"

#include "uclient.h"

using namespace onu_test;
using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr int WORK = PORT;
constexpr int PAIR = OTHER_PORT;
constexpr const char* SN = "ABCD00000001";

TEST(OnuInGroup, ProtectPortTakesNoChangeFromOutside) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        put_onu(
            chassis, [](Onu&) {}, 2, PAIR);
        make_group(WORK, PAIR, true);
        EXPECT_EQ(new_onu(1, SN, PAIR).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(Request(2, PAIR).with(onu_column::sOnuTableUpFec).edit(), OV_GPON_RET_BAD_PARAM);
        Onu onu = onu_at(2, PAIR);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_BAD_PARAM);
        const auto lines = chassis.hal.log.lines();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "ov_onu_table_set_check_callback failed"), 3);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(new_onu(1, SN, PAIR).add(0), OV_GPON_RET_OK); // a copy passes
    });
}

TEST(OnuInGroup, CountsOnlyOnceTheCardIsInStep) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        make_group(WORK, PAIR, true);
        ov_startup_gpon_config_sync_end_set(AppChassis::SLOT, 0);
        EXPECT_EQ(new_onu(1, SN, PAIR).add(), OV_GPON_RET_OK);
    });
}

TEST(OnuInGroup, NewOnuStandsOnBothPorts) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        make_group(WORK, PAIR, true);
        EXPECT_EQ(new_onu(1, SN, WORK).add(), OV_GPON_RET_OK);
        ASSERT_NE(stored_onu(1, WORK), nullptr);
        ASSERT_NE(stored_onu(1, PAIR), nullptr);
        EXPECT_STREQ(stored_onu(1, PAIR)->sOnuTableSn, SN);
        EXPECT_STREQ(stored_onu(1, PAIR)->sOnuTableOnuName, "gpon-onu3/5:1");
        EXPECT_STREQ(stored_onu(1, WORK)->sOnuTableOnuName, "gpon-onu3/4:1");
        const auto messages = chassis.messages_of(ONU_MESSAGE);
        ASSERT_THAT(messages, SizeIs(2)); // the pair first
        EXPECT_EQ(messages[0].record<ov_gpon_onu_attr_t>().ifindex, onu_ifindex_of(onu_at(1, PAIR)));
        EXPECT_EQ(messages[1].record<ov_gpon_onu_attr_t>().ifindex, onu_ifindex_of(onu_at(1, WORK)));
        for (const int port : {WORK, PAIR})
            EXPECT_NE(uif_lookup_by_index(onu_ifindex_of(onu_at(1, port))), nullptr);

        chassis.forget_messages();
        Onu onu = onu_at(1, WORK);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_OK);
        EXPECT_THAT(chassis.messages_of(ONU_MESSAGE), SizeIs(2));
        for (const int port : {WORK, PAIR}) {
            EXPECT_EQ(stored_onu(1, port), nullptr);
            EXPECT_EQ(uif_lookup_by_index(onu_ifindex_of(onu_at(1, port))), nullptr);
        }
    });
}

TEST(OnuInGroup, PairKeepsANameOfTheOperator) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        make_group(WORK, PAIR, true);
        Request request = new_onu(1, SN, WORK);
        set_text(request.row.sOnuTableOnuName, "cellar");
        EXPECT_EQ(request.with(onu_column::sOnuTableOnuName).add(), OV_GPON_RET_OK);
        EXPECT_STREQ(stored_onu(1, PAIR)->sOnuTableOnuName, "cellar");
    });
}

TEST(OnuInGroup, FailedCopyRefusesTheOnuAndKeepsItsReservation) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        put_bandwidth(chassis, "small", 1, 100, 150);
        chassis.put_row<ov_sOnuSrvProfileTable_attr_t>(
            [](auto& row) { set_text(row.sOnuTypeProfileName, "HG-1"); }, PROFILE);
        chassis.put_row<ov_sTcontTable_attr_t>(
            [](auto& row) { set_text(row.sTcontTableBwProfileName, "small"); }, GPON_SHELF,
            GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, PROFILE, 1);
        put_onu(
            chassis, [](Onu&) {}, 1, PAIR); // in the way
        make_group(WORK, PAIR, true);
        EXPECT_EQ(new_onu(1, SN, WORK).templet(PROFILE).add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("add standby onu failed"));
        EXPECT_EQ(stored_onu(1, WORK), nullptr);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(counters().tcontCnt[WORK - 1], 1);
        EXPECT_EQ(counters().tcontCnt[PAIR - 1], 0);
    });
}

TEST(OnuInGroup, MissingCopyRefusesTheDelete) {
    app_chassis::run([](AppChassis& chassis) {
        put_onu(
            chassis, [](Onu&) {}, 1, WORK);
        make_group(WORK, PAIR, true);
        Onu onu = onu_at(1, WORK);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("del standby onu failed"));
        EXPECT_NE(stored_onu(1, WORK), nullptr);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// Whether the partner's queue takes a change of the working port now.
bool queue_takes(const Onu& onu, int action) {
    return ov_app_pon_protect_group_config_table_sync(
               SYNC_SONU, &onu, sizeof onu, columns_of(onu_column::sOnuTableUpFec), action,
               ov_pon_protect_group_get_pair_port_index(AppChassis::SLOT, WORK)) == 1;
}

TEST(OnuInGroup, ChangeIsAnsweredAsTheQueueOfThePairTakesIt) {
    app_chassis::run([](AppChassis& chassis) {
        put_onu(
            chassis, [](Onu&) {}, 1, WORK);
        make_group(WORK, PAIR, true);
        const bool taken = queue_takes(*stored_onu(1, WORK), OV_HAL_GPON_MSG_ACTION_SET);
        Request request(1, WORK);
        request.row.sOnuTableUpFec = 1;
        EXPECT_EQ(request.with(onu_column::sOnuTableUpFec).edit() == OV_GPON_RET_OK, taken);
        EXPECT_THAT(chassis.messages_of(ONU_MESSAGE), SizeIs(1)); // before the queue is asked
        EXPECT_EQ(stored_onu(1, WORK)->sOnuTableUpFec, taken ? 1 : 0);

        chassis.forget_messages();
        Request credentials(1, WORK);
        EXPECT_EQ(credentials.pw("secret").edit() == OV_GPON_RET_OK, taken);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(OnuInGroup, CredentialsStayWhenThePairCannotFollowAChangeOfTheMode) {
    app_chassis::run([](AppChassis& chassis) {
        chassis.put_port(WORK);
        put_onu(
            chassis, [](Onu& onu) { set_text(onu.sOnuTablePw, "secret"); }, 1, WORK);
        make_group(WORK, PAIR, true);
        const bool taken = queue_takes(*stored_onu(1, WORK), OV_HAL_GPON_MSG_ACTION_SET);
        Onu pending = *stored_onu(1, WORK);
        const int answer =
            ov_onu_table_set_callback(did_of<Onu>(), &pending, columns_of(onu_column::sOnuTableAuthMode));
        EXPECT_EQ(answer == SET_ACCEPTED, taken);
        EXPECT_STREQ(pending.sOnuTablePw, taken ? "" : "secret");
    });
}

TEST(OnuInGroup, OnThePortOutOfServiceAGenuineCreateGoesThroughTheQueue) {
    app_chassis::run([](AppChassis& chassis) {
        put_type(chassis);
        make_group(WORK, PAIR, false);
        const bool taken = queue_takes(onu_at(2, WORK), OV_HAL_GPON_MSG_ACTION_CREATE);
        EXPECT_EQ(new_onu(1, SN, WORK).add() == OV_GPON_RET_OK, taken);
        EXPECT_THAT(chassis.messages_of(ONU_MESSAGE), SizeIs(1)); // no direct copy
    });
}

} // namespace
