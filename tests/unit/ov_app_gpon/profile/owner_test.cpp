// Owners of rows: what tables ask of ONUs and of service profiles before their rows may change.
#include "ov_app_gpon_owner.h"

#include "../support/provisioning_chassis.h"

using namespace provisioning;

namespace {

const ov_sOnuTable_attr_t THE_ONU = row_at<ov_sOnuTable_attr_t>(SLOT, PORT, ONU);
const ov_sOnuTable_attr_t NOBODY = row_at<ov_sOnuTable_attr_t>(SLOT, PORT, 99);
const ov_sOnuTable_attr_t THE_PROFILE =
    row_at<ov_sOnuTable_attr_t>(GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, PROFILE);

TEST(Owner, OfAnOnusRowIsThereUnlessTheTableDoesNotAsk) {
    run([](AppChassis& chassis) {
        EXPECT_TRUE(ov_app_gpon_owner_check(THE_ONU));
        EXPECT_FALSE(ov_app_gpon_owner_check(NOBODY));
        EXPECT_TRUE(logged(chassis, "onu id 99 is not exist"));
        EXPECT_TRUE(ov_app_gpon_owner_check(NOBODY, {.onu_exists = false}));
    });
}

TEST(Owner, SetsItselfUnlessTheTableDoesNotAsk) {
    run([](AppChassis& chassis) {
        put_onu(chassis, PORT, 8, true);
        const auto onu = row_at<ov_sOnuTable_attr_t>(SLOT, PORT, 8);
        EXPECT_FALSE(ov_app_gpon_owner_check(onu));
        EXPECT_TRUE(logged(chassis, "onu id 8 is configured by templet"));
        EXPECT_TRUE(ov_app_gpon_owner_check(onu, {.onu_sets_itself = false}));
        EXPECT_FALSE(ov_app_gpon_owner_check(NOBODY, {.onu_sets_itself = false}));
    });
}

TEST(Owner, OfATemplateRowIsFreeUnlessTheTableDoesNotAsk) {
    run([](AppChassis& chassis) {
        EXPECT_TRUE(ov_app_gpon_owner_check(THE_PROFILE));
        bind_service_profile(3);
        EXPECT_FALSE(ov_app_gpon_owner_check(THE_PROFILE));
        EXPECT_TRUE(logged(chassis, "multi-srvprofile id 5bind 3 times"));
        EXPECT_FALSE(ov_app_gpon_owner_check(THE_PROFILE, {.blank_before_bind = true}));
        EXPECT_TRUE(logged(chassis, "multi-srvprofile id 5 bind 3 times"));
        EXPECT_TRUE(ov_app_gpon_owner_check(THE_PROFILE, {.profile_is_free = false}));
    });
}

TEST(Owner, ThatWaitsIsNoneUnlessTheTableSaysSo) {
    run([](AppChassis& chassis) {
        chassis.put_row<ov_sOnuTable_attr_t>([](auto&) {}, 1, SLOT, PORT, 8);
        const auto waiting = row_at<ov_sOnuTable_attr_t>(SLOT, PORT, 8);
        auto row = waiting;
        row.sOnuTableRowStatus = OVRA_NOTINSERVICE;
        ASSERT_TRUE(mib_access(MIB_SET_S_N, row, columns_of(sOnuTable_column::sOnuTableRowStatus)));
        EXPECT_FALSE(ov_app_gpon_owner_check(waiting));
        EXPECT_TRUE(ov_app_gpon_owner_check(waiting, {.waiting_counts = true}));
        EXPECT_FALSE(ov_app_gpon_owner_check(NOBODY, {.waiting_counts = true}));
    });
}

TEST(Owner, OfATemplateRowIsThereInAnyCase) {
    run([](AppChassis& chassis) {
        const auto other = row_at<ov_sOnuTable_attr_t>(GPON_TEMPLATE_SLOT, GPON_TEMPLATE_PORT, 6);
        EXPECT_FALSE(ov_app_gpon_owner_check(other, {.onu_exists = false, .profile_is_free = false}));
        EXPECT_TRUE(logged(chassis, "multi-srvprofile id 6 is not exist"));
    });
}

} // namespace
