#include "../support/batch_chassis.h"

#include "../../support/test_clock.h"

using namespace batch_test;
using namespace std::chrono_literals;

namespace {

// ONU 7 and others of port 4 have T-CONT, GEM port, two service ports, two services and a UNI in mode
// "access".
void give_services(AppChassis& chassis, const std::vector<int>& others) {
    for (const int id : others)
        put_onus(id, id);
    fill_traffic(chassis);
    fill_services(chassis);
    Flags flags = flags_of(others);
    flags[ONU - 1] = OV_BATCH_ONU_CONFIG;
    ASSERT_THAT(copy_to(flags), IsEmpty());
    chassis.forget_messages();
    LogCapture::clear();
}

bool has_services(int onu) {
    return rows_of_onu<Tcont>(onu) + rows_of_onu<Gem>(onu) + rows_of_onu<ServicePort>(onu) +
               rows_of_onu<Service>(onu) >
           0;
}

TEST(BatchDelete, TakesAllServicesInOrderAndLeavesTheOnu) {
    run_with_profile([](AppChassis& chassis) {
        TestClock clock;
        give_services(chassis, {8});
        ov_gpon_multi_onu_service_delete(PON, flags_of({ONU}));
        clock.advance(999ms);
        EXPECT_TRUE(has_services(ONU));
        clock.advance(1ms);
        EXPECT_FALSE(has_services(ONU));
        EXPECT_TRUE(has_services(8));
        EXPECT_NE(stored_onu(ONU), nullptr);
        EXPECT_TRUE(provisioning::logged(chassis, "onu 1/3/4:7 delete"));
        EXPECT_FALSE(provisioning::logged(chassis, "onu 1/3/4:8 delete"));
        const auto vlan = *find_row(uni<UniVlan>(ETH, 1));
        EXPECT_EQ(vlan.sRmUniVlanTableVlanMode, SRMUNIVLANTABLEVLANMODE_DISCARD);
        EXPECT_EQ(vlan.sRmUniVlanTablePvid, 0);
        std::vector<int> types;
        for (const CardMessage& message : chassis.messages())
            if (message.type != FILTER_MESSAGE)
                types.push_back(message.type);
        EXPECT_THAT(types, ElementsAre(913, 913, 910, 910, 909, 908));
        EXPECT_EQ(provisioning::held_of(PORT), (provisioning::Held{1, 1, 300, 100}));
    });
}

TEST(BatchDelete, FourTicksOfASecond) {
    run_with_profile([](AppChassis& chassis) {
        TestClock clock;
        give_services(chassis, {1, 32, 33, 96, 97, 128});
        ov_gpon_multi_onu_service_delete(PON, flags_from(1, 128));
        const std::vector<std::vector<int>> gone = {{1, 7, 32}, {33}, {96}, {97, 128}};
        for (const auto& onus : gone) {
            for (const int id : onus)
                EXPECT_TRUE(has_services(id)) << id;
            EXPECT_EQ(clock.run_next(), 1000);
            for (const int id : onus)
                EXPECT_FALSE(has_services(id)) << id;
        }
        EXPECT_EQ(clock.armed(), 0u);
        EXPECT_EQ(ov_gpon_multi_onu_service_delete_devide(), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(provisioning::held_of(PORT), provisioning::Held{});
    });
}

TEST(BatchDelete, NoneIsUnderWayAtTheStart) {
    run_with_profile([](AppChassis& /*chassis*/) {
        EXPECT_EQ(ov_gpon_multi_onu_service_delete_devide(), OV_GPON_RET_BAD_PARAM);
    });
}

TEST(BatchDelete, ASecondOneReplacesTheListAndBeginsWithOnuOne) {
    run_with_profile([](AppChassis& chassis) {
        TestClock clock;
        give_services(chassis, {1, 40, 128});
        ov_gpon_multi_onu_service_delete(PON, flags_of({40, 128}));
        clock.advance(1s); // positions 0 to 31
        ov_gpon_multi_onu_service_delete(PON, flags_of({1, 128}));
        clock.advance(1s);
        EXPECT_FALSE(has_services(1));
        clock.advance(2s);
        EXPECT_TRUE(has_services(40));
        EXPECT_TRUE(has_services(128));
        clock.advance(1s);
        EXPECT_TRUE(has_services(40));
        EXPECT_FALSE(has_services(128));
        EXPECT_EQ(clock.armed(), 0u);
    });
}

TEST(BatchDelete, OnlyOnusToBeConfiguredAreMeant) {
    run_with_profile([](AppChassis& chassis) {
        TestClock clock;
        give_services(chassis, {8});
        Flags flags = flags_of({ONU}, OV_BATCH_ONU_ASKED);
        flags[7] = OV_BATCH_ONU_NOT_THERE;
        ov_gpon_multi_onu_service_delete(PON, flags);
        clock.advance(5s);
        EXPECT_TRUE(has_services(ONU));
        EXPECT_TRUE(has_services(8));
    });
}

TEST(BatchDelete, ACardThatRefusesKeepsTheRowsInItsWay) {
    run_with_profile([](AppChassis& chassis) {
        TestClock clock;
        give_services(chassis, {});
        chassis.card_answers(909, 1009);
        ov_gpon_multi_onu_service_delete(PON, flags_of({ONU, 9}));
        clock.advance(5s);
        EXPECT_EQ(rows_of_onu<ServicePort>(), 0u);
        EXPECT_EQ(rows_of_onu<Gem>(), 1u);
        EXPECT_EQ(rows_of_onu<Tcont>(), 1u);
        EXPECT_TRUE(provisioning::logged(chassis, "del gemport fail onuid: 7, gem id: 1"));
    });
}

TEST(BatchDelete, AnOnuThatGoesMeanwhileIsPassedOver) {
    run_with_profile([](AppChassis& chassis) {
        TestClock clock;
        give_services(chassis, {40});
        ov_gpon_multi_onu_service_delete(PON, flags_of({ONU, 40}));
        clock.advance(1s);
        ASSERT_EQ(delete_onu(40), OV_GPON_RET_OK);
        clock.advance(5s);
        EXPECT_EQ(provisioning::held_of(PORT), provisioning::Held{});
    });
}

} // namespace
