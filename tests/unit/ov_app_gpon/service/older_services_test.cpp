// The older service table, which nothing follows, and multicast VLANs.
#include "../support/provisioning_chassis.h"

#include "ov_app_gpon_service.h"
#include "ov_app_gpon_vlan.h"

using namespace provisioning;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Service = ov_sServiceTable_attr_t;
using Mcast = ov_sMcastVlanTable_attr_t;

Service service(unsigned id, int onu = ONU) {
    auto row = row_at<Service>(SLOT, PORT, onu);
    row.serviceID = id;
    return row;
}
Mcast mcast(int id, int vlan) {
    Mcast row = {};
    row.shelfID = 1;
    row.multicastID = id;
    row.sMcastVlanTableMulticasVlanID = vlan;
    row.sMcastVlanTableRowStatus = OVRA_CREATEANDGO;
    return row;
}

TEST(OlderServices, TheTableTakesRowsAndNothingFollows) {
    provisioning::run([](AppChassis& chassis) {
        Service row = service(3, 99); // not even an ONU is asked for
        MIB_Flags_t columns = columns_of(sServiceTable_column::sServiceTableGemID);
        ASSERT_EQ(ov_app_gpon_service_add(&row, &columns), 0);
        EXPECT_EQ(find_row(row)->sServiceTableIfIndex,
                  ov_ifindex_gen_by_extendinfo(PORT_TYPE_GPON_SERVPORT, 1, SLOT, 0, PORT, 99, 3, 0, 0));
        row = service(3, 99);
        row.sServiceTableGemID = 9;
        columns = columns_of(sServiceTable_column::sServiceTableGemID);
        EXPECT_EQ(ov_app_gpon_service_edit(&row, &columns), 0);
        EXPECT_EQ(find_row(row)->sServiceTableGemID, 9u);
        EXPECT_EQ(ov_app_gpon_service_del(&row), 0);
        EXPECT_EQ(ov_app_gpon_service_edit(&row, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "mib set error for service table"));
        EXPECT_EQ(ov_app_gpon_service_edit(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "null pointer"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_EQ(held().srvPortCnt, 0);
    });
}

TEST(OlderServices, WithItsCallbacksARowWouldCountAsAServicePort) {
    provisioning::run([](AppChassis& chassis) {
        ov_app_gpon_service_init();
        Service row = service(3);
        row.sServiceTableGemID = 9;
        row.sServiceTablecTagO = 100;
        MIB_Flags_t columns = columns_of(4u, 5u);
        ASSERT_EQ(ov_app_gpon_service_add(&row, &columns), 0);
        const auto messages = chassis.messages(1);
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].type, 910);
        EXPECT_EQ(messages[0].action, CREATE);
        const auto record = messages[0].record<ov_gpon_servport_attr_t>();
        EXPECT_EQ(record.gemIfndex, gemport_ifindex(row, 9));
        EXPECT_EQ(record.vlan, 100);
        EXPECT_EQ(held().srvPortCnt, 1);
        chassis.card_answers(910, 1);
        EXPECT_EQ(ov_app_gpon_service_del(&row), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(held().srvPortCnt, 1);
        Service other = service(4);
        EXPECT_EQ(ov_app_gpon_service_add(&other, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(held().srvPortCnt, 1);
        chassis.card_answers(910, 0);
        EXPECT_EQ(ov_app_gpon_service_del(&row), 0);
        EXPECT_EQ(held().srvPortCnt, 0);
        other = service(4, 99);
        EXPECT_EQ(ov_app_gpon_service_add(&other, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_TRUE(logged(chassis, "onu id 99 is not exist"));
    });
}

TEST(McastVlan, ARowGoesToTheCards) {
    provisioning::run([](AppChassis& chassis) {
        Mcast row = mcast(2, 500);
        const unsigned char mac[6] = {1, 0, 0x5e, 1, 2, 3};
        std::copy_n(mac, 6, row.sMcastVlanTableMulticasMacAdd);
        row.sMcastVlanTableRouterPortIndex = 0x12345678;
        ASSERT_TRUE(mib_access(MIB_SET, row, columns_of(2u, 3u, 4u, 5u, 6u, 7u)));
        const auto messages = chassis.messages(1);
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].type, 919);
        EXPECT_EQ(messages[0].action, CREATE);
        EXPECT_EQ(messages[0].mask, 1u << 1 | 1u << 2 | 1u << 3 | 1u << 4);
        wire::Bytes expected(16);
        wire::put16(expected, 0, 2);
        wire::put16(expected, 2, 500);
        std::copy_n(mac, 6, expected.begin() + 4);
        wire::put32(expected, 12, 0x12345678);
        EXPECT_EQ(record_bytes<ov_gpon_mcast_vlan_attr_t>(messages[0]), expected);
        row = mcast(2, 501);
        EXPECT_TRUE(mib_access(MIB_SET, row, columns_of(2u)));
        EXPECT_TRUE(mib_access(MIB_DEL, row));
        EXPECT_THAT(sent(chassis), ElementsAre(Sent(919, CREATE), Sent(919, SET), Sent(919, DELETE)));
    });
}

TEST(McastVlan, TheCardsAnswerDecides) {
    provisioning::run([](AppChassis& chassis) {
        chassis.card_answers(919, 1);
        Mcast row = mcast(2, 500);
        EXPECT_FALSE(mib_access(MIB_SET, row, columns_of(2u, 7u)));
        EXPECT_TRUE(logged(chassis, "set vlan to hal error"));
        EXPECT_FALSE(exists(row));
        chassis.card_answers(919, OV_GPON_RET_NOT_SUPPORT);
        row = mcast(2, 500);
        EXPECT_TRUE(mib_access(MIB_SET, row, columns_of(2u, 7u)));
        EXPECT_TRUE(exists(row));
    });
}

} // namespace
