// The QoS objects of service ports.
#include "../support/provisioning_chassis.h"

#include "avltree.h"

using namespace provisioning;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Qos = ov_app_service_port_qos_s;

ov_ifindex_t index_of(int id) {
    return service_port_ifindex(service_port(id, 9));
}
Qos* made(int id) {
    Qos* qos = ov_app_service_port_qos_new();
    EXPECT_EQ(ov_app_service_port_qos_edit_index(qos, index_of(id)), OV_QOS_OK);
    return qos;
}
void put_service_port(const AppChassis& chassis, int id, unsigned uplink, unsigned downlink) {
    chassis.put_row<ServicePort>(
        [&](ServicePort& row) {
            row.servicePortUplinkCosToCosProfileId = uplink;
            row.servicePortDownlinkCosToCosProfileId = downlink;
        },
        1, SLOT, PORT, ONU, id);
}

TEST(ServicePortQos, ItsNumberIsBoundByTheShelf) {
    const std::map<uint32_t, unsigned> counts = {
        {OV_SHELF_TYPE_LC6, 49152}, {OV_SHELF_TYPE_SINGLE, 8192}, {OV_SHELF_TYPE_LC14, 114688}};
    for (const auto& [shelf, count] : counts)
        app_chassis::run(
            [&](AppChassis&) {
                EXPECT_EQ(qos_servport_get_max_count(), count);
                EXPECT_EQ(g_service_port_qos_avl_entry->max_nodes, int(count));
            },
            shelf);
}

TEST(ServicePortQos, NoMoreThanTheBoundAreHeld) {
    app_chassis::run(
        [](AppChassis&) {
            const unsigned most = qos_servport_get_max_count();
            for (unsigned n = 0; n <= most; ++n) {
                Qos* qos = ov_app_service_port_qos_new();
                ov_app_service_port_qos_edit_index(qos, n + 1);
                const int expected = n < most ? OV_QOS_OK : OV_QOS_ERR;
                ASSERT_EQ(ov_app_service_port_qos_add(qos, SYNC_APP), expected) << n;
                if (expected != OV_QOS_OK)
                    ov_app_service_port_qos_destroy(qos);
            }
            EXPECT_EQ(ov_app_find_service_port_qos_by_ifindex(most + 1), nullptr);
            ASSERT_NE(ov_app_find_service_port_qos_by_ifindex(1), nullptr);
        },
        OV_SHELF_TYPE_SINGLE);
}

TEST(ServicePortQos, ObjectsAreFoundByTheirIndexAndOrderedAsUnsigned) {
    provisioning::run([](AppChassis&) {
        Qos low = {};
        Qos high = {};
        low.index = 1;
        high.index = 0x80000000u;
        EXPECT_LT(qos_servport_compare(&low, &high), 0);
        EXPECT_GT(qos_servport_compare(&high, &low), 0);
        EXPECT_EQ(qos_servport_compare(&low, &low), 0);

        Qos* qos = made(1);
        EXPECT_EQ(qos->cos_to_cos_profile_id[QOS_UP_LINK], 0u);
        EXPECT_EQ(qos->cos_to_cos_profile_id[QOS_DOWN_LINK], 8u);
        EXPECT_EQ(ov_app_service_port_qos_set(qos, SYNC_HAL), OV_QOS_SERVICE_PORT_NOT_IN_USE);
        EXPECT_EQ(ov_app_service_port_qos_del(qos, SYNC_APP), OV_QOS_SERVICE_PORT_NOT_IN_USE);
        ASSERT_EQ(ov_app_service_port_qos_add(qos, SYNC_APP), OV_QOS_OK);
        EXPECT_EQ(ov_app_find_service_port_qos_by_ifindex(index_of(1)), qos);
        EXPECT_EQ(ov_app_service_port_qos_edit_index(qos, index_of(2)), OV_QOS_ERR);
        Qos* other = made(1);
        EXPECT_EQ(ov_app_service_port_qos_add(other, SYNC_APP), OV_QOS_SERVICE_PORT_IN_USE);
        EXPECT_EQ(ov_app_service_port_qos_del(other, SYNC_APP), OV_QOS_SERVICE_PORT_NOT_IN_USE);
        ov_app_service_port_qos_destroy(other);
        EXPECT_EQ(ov_app_service_port_qos_del(qos, SYNC_EVERY_COPY), OV_QOS_OK);
        EXPECT_EQ(ov_app_find_service_port_qos_by_ifindex(index_of(1)), nullptr);
    });
}

TEST(ServicePortQos, NothingIsDoneWithoutAnObject) {
    provisioning::run([](AppChassis&) {
        EXPECT_EQ(ov_app_service_port_qos_edit_index(nullptr, 1), OV_QOS_ERR);
        EXPECT_EQ(ov_app_service_port_qos_edit_cos_to_cos(nullptr, 0, QOS_UP_LINK), OV_QOS_ERR);
        EXPECT_EQ(ov_app_service_port_qos_add(nullptr, SYNC_APP), OV_QOS_ERR);
        EXPECT_EQ(ov_app_service_port_qos_set(nullptr, SYNC_HAL), OV_QOS_SERVICE_PORT_NOT_IN_USE);
        EXPECT_EQ(ov_app_service_port_qos_del(nullptr, SYNC_APP), OV_QOS_SERVICE_PORT_NOT_IN_USE);
    });
}

TEST(ServicePortQos, ASetGoesToTheCopiesThatAreMeant) {
    provisioning::run([](AppChassis& chassis) {
        put_cos_to_cos(chassis, 3);
        put_service_port(chassis, 1, 0, 0);
        Qos* qos = made(1);
        ASSERT_EQ(ov_app_service_port_qos_add(qos, SYNC_EVERY_COPY), OV_QOS_OK);
        EXPECT_THAT(chassis.messages(), IsEmpty()); // a card starts with the defaults
        ASSERT_EQ(ov_app_service_port_qos_edit_cos_to_cos(qos, 3, QOS_UP_LINK), OV_QOS_OK);
        EXPECT_EQ(qos->sflag, 1u << 12);
        EXPECT_EQ(ov_app_service_port_qos_set(qos, SYNC_HAL), OV_QOS_OK);
        EXPECT_EQ(qos->sflag, 0u);
        EXPECT_EQ(find_row(service_port(1, 9))->servicePortUplinkCosToCosProfileId, 0u);
        const auto messages = chassis.messages(1);
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].type, 910);
        EXPECT_EQ(messages[0].action, SET);
        EXPECT_EQ(messages[0].mask, 1u << 12);
        EXPECT_TRUE(messages[0].wants_reply);
        EXPECT_EQ(ov_app_service_port_qos_set(qos, SYNC_MIB), OV_QOS_OK);
        EXPECT_EQ(find_row(service_port(1, 9))->servicePortUplinkCosToCosProfileId, 3u);
        EXPECT_EQ(find_row(service_port(1, 9))->servicePortDownlinkCosToCosProfileId, 8u);
        EXPECT_EQ(chassis.messages().size(), 1u);
    });
}

TEST(ServicePortQos, WhatTheCardRefusesIsRolledBack) {
    provisioning::run([](AppChassis& chassis) {
        for (const int id : {3, 4})
            put_cos_to_cos(chassis, id);
        Qos* qos = made(1);
        ASSERT_EQ(ov_app_service_port_qos_add(qos, SYNC_APP), OV_QOS_OK);
        ASSERT_EQ(ov_app_service_port_qos_edit_cos_to_cos(qos, 3, QOS_UP_LINK), OV_QOS_OK);
        ASSERT_EQ(ov_app_service_port_qos_set(qos, SYNC_HAL), OV_QOS_OK);
        chassis.card_answers(910, 1);
        ASSERT_EQ(ov_app_service_port_qos_edit_cos_to_cos(qos, 4, QOS_UP_LINK), OV_QOS_OK);
        EXPECT_EQ(ov_app_service_port_qos_set(qos, SYNC_HAL), OV_QOS_HAL_FAIL);
        EXPECT_TRUE(logged(chassis, "SYNC_HAL failed"));
        EXPECT_EQ(qos->cos_to_cos_profile_id[QOS_UP_LINK], 3u);
        EXPECT_EQ(qos->sflag, 0u);
        // without a row the copy there can't be made
        EXPECT_EQ(ov_app_service_port_qos_set(qos, SYNC_MIB), OV_QOS_MIB_FAIL);
        EXPECT_TRUE(logged(chassis, "SYNC_MIB failed"));
        Qos* other = made(2);
        EXPECT_EQ(ov_app_service_port_qos_add(other, SYNC_MIB | SYNC_APP), OV_QOS_MIB_FAIL);
        ov_app_service_port_qos_destroy(other);
        // nor an object with values that the card doesn't take
        put_service_port(chassis, 2, 3, 0);
        other = made(2);
        EXPECT_EQ(ov_app_service_port_qos_add(other, SYNC_EVERY_COPY), OV_QOS_HAL_FAIL);
        EXPECT_EQ(ov_app_find_service_port_qos_by_ifindex(index_of(2)), nullptr);
        ov_app_service_port_qos_destroy(other);
    });
}

TEST(ServicePortQos, AnObjectTakesTheValuesOfItsRow) {
    provisioning::run([](AppChassis& chassis) {
        put_cos_to_cos(chassis, 3);
        put_service_port(chassis, 1, 3, 3);
        put_service_port(chassis, 2, 5, 0); // no such profile
        for (const int id : {1, 2})
            ASSERT_EQ(ov_app_service_port_qos_add(made(id), SYNC_MIB | SYNC_APP), OV_QOS_OK);
        const Qos* first = ov_app_find_service_port_qos_by_ifindex(index_of(1));
        EXPECT_EQ(first->cos_to_cos_profile_id[QOS_UP_LINK], 3u);
        EXPECT_EQ(first->cos_to_cos_profile_id[QOS_DOWN_LINK], 3u);
        EXPECT_EQ(ov_app_find_service_port_qos_by_ifindex(index_of(2))->cos_to_cos_profile_id[0], 0u);
    });
}

TEST(ServicePortQos, RowsThatWereLoadedHaveTheirObjects) {
    provisioning::run([](AppChassis& chassis) {
        put_cos_to_cos(chassis, 3);
        put_service_port(chassis, 1, 3, 0);
        put_service_port(chassis, 128, 0, 0);
        chassis.put_row<ServicePort>([](ServicePort&) {}, 1, 31, 15, PROFILE, 1);
        ov_app_service_port_qos_init();
        ov_app_service_port_qos_init();
        EXPECT_EQ(avl_get_tree_size(g_service_port_qos_avl_entry), 2);
        EXPECT_EQ(ov_app_find_service_port_qos_by_ifindex(index_of(1))->cos_to_cos_profile_id[0], 3u);
        EXPECT_EQ(ov_app_find_service_port_qos_by_ifindex(index_of(1))->sflag, 0u);
        EXPECT_NE(ov_app_find_service_port_qos_by_ifindex(index_of(128)), nullptr);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

} // namespace
