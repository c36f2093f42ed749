// What goes with an ONU and with a service profile, and in which order.
#include "../support/provisioning_chassis.h"

using namespace provisioning;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

ov_sOnuTable_attr_t onu_row() {
    return row_at<ov_sOnuTable_attr_t>(SLOT, PORT, ONU);
}
ov_sOnuSrvProfileTable_attr_t profile_row() {
    ov_sOnuSrvProfileTable_attr_t row = {};
    row.onuSrvProfileId = PROFILE;
    return row;
}

void put_one_of_each() {
    ASSERT_EQ(add(tcont(1)), 0);
    ASSERT_EQ(add(gem(9, 1)), 0);
    ASSERT_EQ(add(service_port(3, 9)), 0);
}
void put_one_of_each_in_the_profile() {
    ASSERT_EQ(add(template_tcont(1)), 0);
    ASSERT_EQ(add(template_gem(9, 1)), 0);
    ASSERT_EQ(add(template_service_port(3, 9)), 0);
}
std::vector<Sent> provisioning_messages(const AppChassis& chassis) {
    std::vector<Sent> all;
    for (const Sent& message : sent(chassis))
        if (message.first >= TCONT && message.first <= SERVPORT)
            all.push_back(message);
    return all;
}

TEST(OwnerDelete, ServicePortsGoBeforeGemPortsAndTheseBeforeTconts) {
    provisioning::run([](AppChassis& chassis) {
        put_one_of_each();
        EXPECT_THAT(sent(chassis),
                    ElementsAre(Sent(TCONT, CREATE), Sent(GEM, CREATE), Sent(SERVPORT, CREATE)));
        chassis.forget_messages();
        auto onu = onu_row();
        mib_access(MIB_DEL, onu);
        EXPECT_THAT(provisioning_messages(chassis),
                    ElementsAre(Sent(SERVPORT, DELETE), Sent(GEM, DELETE), Sent(TCONT, DELETE)));
        EXPECT_FALSE(exists(tcont(1)));
        EXPECT_FALSE(exists(gem(9, 1)));
        EXPECT_FALSE(exists(service_port(3, 9)));
        EXPECT_EQ(held_of(PORT), (Held{0, 0, 0, 0}));
        EXPECT_EQ(held().srvPortCnt, 0);
    });
}

TEST(OwnerDelete, ATcontThatCantGoKeepsTheOnu) {
    provisioning::run([](AppChassis& chassis) {
        put_one_of_each();
        chassis.card_answers(GEM, 1);
        auto onu = onu_row();
        EXPECT_FALSE(mib_access(MIB_DEL, onu));
        EXPECT_TRUE(exists(onu_row()));
        EXPECT_TRUE(logged(chassis, "del gemport fail onuid: 7, gem id: 9"));
        EXPECT_TRUE(logged(chassis, "this tcontid:1 is using in gem table! gemid:9"));
        EXPECT_TRUE(logged(chassis, "delete tcont fail! onuid:7, tcontid:1"));
        EXPECT_FALSE(exists(service_port(3, 9))); // what went before stays gone
        EXPECT_EQ(held_of(PORT), (Held{1, 1, 300, 100}));
    });
}

TEST(OwnerDelete, TheRowsOfAServiceProfileGoWithIt) {
    provisioning::run([](AppChassis& chassis) {
        put_one_of_each();
        put_one_of_each_in_the_profile();
        put_service_profile(chassis, 6);
        ASSERT_EQ(add(template_tcont(1, "small", 6)), 0);
        chassis.forget_messages();
        auto profile = profile_row();
        EXPECT_TRUE(mib_access(MIB_DEL, profile));
        EXPECT_THAT(provisioning_messages(chassis),
                    ElementsAre(Sent(SERVPORT, DELETE), Sent(GEM, DELETE), Sent(TCONT, DELETE)));
        EXPECT_FALSE(exists(template_tcont(1)));
        EXPECT_FALSE(exists(template_gem(9, 1)));
        EXPECT_FALSE(exists(template_service_port(3, 9)));
        EXPECT_TRUE(exists(template_tcont(1, "small", 6)));
        EXPECT_TRUE(exists(tcont(1)));
        EXPECT_EQ(held_of(PORT), (Held{1, 1, 300, 100}));
        EXPECT_EQ(held().srvPortCnt, 1);
    });
}

TEST(OwnerDelete, ATcontThatCantGoKeepsTheServiceProfile) {
    provisioning::run([](AppChassis& chassis) {
        put_one_of_each_in_the_profile();
        chassis.card_answers(TCONT, 1);
        auto profile = profile_row();
        EXPECT_FALSE(mib_access(MIB_DEL, profile));
        EXPECT_TRUE(exists(profile_row()));
        EXPECT_TRUE(exists(template_tcont(1)));
        EXPECT_TRUE(logged(chassis, "delete tcont fail! onuid:5, tcontid:1"));
    });
}

TEST(OwnerDelete, AChangeOfTheOwnerTakesNothing) {
    provisioning::run([](AppChassis& chassis) {
        put_one_of_each();
        put_one_of_each_in_the_profile();
        chassis.forget_messages();
        auto onu = onu_row();
        onu.sOnuTableRowStatus = OVRA_ACTIVE;
        onu.old_sOnuTableRowStatus = OVRA_ACTIVE;
        const MIBDID onus = did_of<ov_sOnuTable_attr_t>();
        EXPECT_EQ(ov_service_port_table_on_onu_table_callback(onus, &onu, {}), 1);
        EXPECT_EQ(ov_gemport_table_onu_del_callback(onus, &onu, {}), 1);
        EXPECT_EQ(ov_tcont_table_onu_del_callback(onus, &onu, {}), 1);
        auto profile = profile_row();
        profile.sOnuSrvProfileRowStatus = OVRA_ACTIVE;
        const MIBDID profiles = did_of<ov_sOnuSrvProfileTable_attr_t>();
        EXPECT_EQ(ov_service_port_table_multi_srvprofile_callback(profiles, &profile, {}), 1);
        EXPECT_EQ(ov_gemport_table_multi_srvprofile_del_callback(profiles, &profile, {}), 1);
        EXPECT_EQ(ov_tcont_table_multi_srvprofile_del_callback(profiles, &profile, {}), 1);
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_TRUE(exists(tcont(1)));
        EXPECT_TRUE(exists(template_tcont(1)));
    });
}

} // namespace
