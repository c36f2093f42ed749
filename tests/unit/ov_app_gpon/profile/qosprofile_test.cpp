// Schedulers of PON ports: what sets them apart from other profiles by name (named_profile_test.cpp).
#include "../support/profile_tables.h"
#include "sPonTable.h"

using namespace profile_test;
using testing::Contains;

namespace {

using T = QosProfiles;
using Row = T::Row;
namespace column = sQosProfileTable_column;

void put_port_with(AppChassis& chassis, mib_ulong id) {
    chassis.put_row<ov_sPonTable_attr_t>([id](auto& row) { row.sPonTableQosPorfileID = id; }, GPON_SHELF,
                                         AppChassis::SLOT, 4);
}

TEST(QosProfile, AFreeProfileCanBeChanged) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_TRUE(T::manager_creates(42, T::profile("voice", 1)));
        put_port_with(chassis, 43);
        Row row = T::key(42);
        row.sQosProfileTableWeightOfQ8 = 2;
        EXPECT_TRUE(mib_access(MIB_SET, row, columns_of(column::sQosProfileTableWeightOfQ8)));
        EXPECT_EQ(T::stored(42)->sQosProfileTableWeightOfQ8, 2);
    });
}

// The test of use runs on a change, not on a removal.
TEST(QosProfile, AProfileOfAPortCannotBeChangedAndCanBeRemoved) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(T::add(T::profile("voice", 1)), 0);
        const mib_ulong id = hash_of("voice");
        put_port_with(chassis, id);
        Row row = T::key(id);
        row.sQosProfileTableWeightOfQ8 = 2;
        EXPECT_FALSE(mib_access(MIB_SET, row, columns_of(column::sQosProfileTableWeightOfQ8)));
        EXPECT_THAT(log_of(chassis),
                    Contains(with_id("this qosprofile is using in pon table! qosProfileID:", id)));
        EXPECT_EQ(T::stored(id)->sQosProfileTableWeightOfQ8, 1);
        row = T::key(id);
        row.sQosProfileTableRowStatus = OVRA_DESTROY;
        EXPECT_TRUE(mib_access(MIB_SET, row, columns_of(column::sQosProfileTableRowStatus)));
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

TEST(QosProfile, TheCheckGoesByModesNotByActions) {
    app_chassis::run([](AppChassis& chassis) {
        put_port_with(chassis, 42);
        Row row = T::profile("");
        row.qosProfileID = 42;
        EXPECT_EQ(ov_app_gpon_qosprofile_check(&row, MODE_CRE, mibDefFlags), 0);
        EXPECT_EQ(ov_app_gpon_qosprofile_check(&row, MODE_CHG, mibDefFlags), 0);
        EXPECT_EQ(ov_app_gpon_qosprofile_check(&row, MODE_DEL, mibDefFlags), 1);
        EXPECT_EQ(ov_app_gpon_qosprofile_check(&row, MODE_IDLE, mibDefFlags), 1);
    });
}

} // namespace
