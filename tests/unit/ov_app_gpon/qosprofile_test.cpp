#include "ov_app_gpon_qosprofile.h"

#include "app_set_callback.h"
#include "profile_support.h"

using namespace profile_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Row = ov_sQosProfileTable_attr_t;
namespace column = sQosProfileTable_column;

Row profile(const std::string& name, int weight = 0) {
    Row row = {};
    put_text(row.sQosProfileTableQueueName, name);
    row.sQosProfileTableWeightOfQ8 = weight;
    return row;
}

int add(Row row, MIB_Flags_t columns = mibDefFlags) {
    return ov_app_gpon_qosprofile_add(&row, &columns);
}
bool manager_creates(mib_ulong id, Row row) {
    row.qosProfileID = id;
    row.sQosProfileTableRowStatus = OVRA_CREATEANDGO;
    return mib_access(MIB_SET, row);
}
Row key_of(mib_ulong id) {
    Row key = {};
    key.qosProfileID = id;
    return key;
}
void put_port_with(AppChassis& chassis, mib_ulong id) {
    chassis.put_row<ov_sPonTable_attr_t>([id](auto& row) { row.sPonTableQosPorfileID = id; }, GPON_SHELF,
                                         AppChassis::SLOT, 4);
}

TEST(QosProfile, AddMakesARowAndTellsNoCard) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(add(profile("voice", 60)), 0);
        const Row* row = find_row(key_of(hash_of("voice")));
        ASSERT_NE(row, nullptr);
        EXPECT_STREQ(row->sQosProfileTableQueueName, "voice");
        EXPECT_EQ(row->sQosProfileTableWeightOfQ8, 60);
        EXPECT_EQ(row->sQosProfileTableRowStatus, OVRA_ACTIVE);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(QosProfile, AddNeedsARowAMaskAndAName) {
    app_chassis::run([](AppChassis& chassis) {
        Row row = profile("voice");
        MIB_Flags_t columns = mibDefFlags;
        EXPECT_EQ(ov_app_gpon_qosprofile_add(nullptr, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("null pointer"));
        EXPECT_EQ(ov_app_gpon_qosprofile_add(&row, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("null pointer"));
        EXPECT_EQ(ov_app_gpon_qosprofile_del(nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("null pointer"));
        columns = columns_but(column::sQosProfileTableQueueName);
        EXPECT_EQ(ov_app_gpon_qosprofile_add(&row, &columns), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), ElementsAre("missing parameter"));
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

TEST(QosProfile, AnEmptyNameIsRefused) {
    app_chassis::run([](AppChassis& chassis) {
        EXPECT_EQ(add(profile("")), OV_GPON_RET_BAD_PARAM);
        const auto log = log_of(chassis);
        EXPECT_THAT(log, Contains("qosprofile name is empty"));
        EXPECT_THAT(log, Contains("mib add error for qos_profile table"));
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

TEST(QosProfile, ANameCanBeAddedOnce) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("voice", 1)), 0);
        EXPECT_EQ(add(profile("voice", 2)), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis), Contains(with_id("qosprofile was exist ", hash_of("voice"), "voice")));
        EXPECT_EQ(find_row(key_of(hash_of("voice")))->sQosProfileTableWeightOfQ8, 1);
    });
}

TEST(QosProfile, ANameUnderAnotherIdIsRefused) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_TRUE(manager_creates(42, profile("voice")));
        for (const mib_ulong id : {41u, 43u}) {
            EXPECT_FALSE(manager_creates(id, profile("voice")));
            EXPECT_THAT(log_of(chassis), Contains("same qosprofile name exist before 42:voice"));
            EXPECT_EQ(find_row(key_of(id)), nullptr);
        }
    });
}

TEST(QosProfile, DelRemovesByName) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("voice")), 0);
        Row row = profile("voice");
        EXPECT_EQ(ov_app_gpon_qosprofile_del(&row), 0);
        EXPECT_EQ(rows_of<Row>(), 0);
        EXPECT_EQ(ov_app_gpon_qosprofile_del(&row), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(log_of(chassis),
                    Contains(with_id("qosprofile did not exist ", hash_of("voice"), "voice")));
    });
}

TEST(QosProfile, AFreeProfileCanBeChanged) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_TRUE(manager_creates(42, profile("voice", 1)));
        put_port_with(chassis, 43);
        Row row = key_of(42);
        row.sQosProfileTableWeightOfQ8 = 2;
        EXPECT_TRUE(mib_access(MIB_SET, row, columns_of(column::sQosProfileTableWeightOfQ8)));
        EXPECT_EQ(find_row(key_of(42))->sQosProfileTableWeightOfQ8, 2);
    });
}

// The test of use runs on a change, not on a removal.
TEST(QosProfile, AProfileOfAPortCannotBeChangedAndCanBeRemoved) {
    app_chassis::run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile("voice", 1)), 0);
        const mib_ulong id = hash_of("voice");
        put_port_with(chassis, id);
        Row row = key_of(id);
        row.sQosProfileTableWeightOfQ8 = 2;
        EXPECT_FALSE(mib_access(MIB_SET, row, columns_of(column::sQosProfileTableWeightOfQ8)));
        EXPECT_THAT(log_of(chassis),
                    Contains(with_id("this qosprofile is using in pon table! qosProfileID:", id)));
        EXPECT_EQ(find_row(key_of(id))->sQosProfileTableWeightOfQ8, 1);
        row = key_of(id);
        row.sQosProfileTableRowStatus = OVRA_DESTROY;
        EXPECT_TRUE(mib_access(MIB_SET, row, columns_of(column::sQosProfileTableRowStatus)));
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

TEST(QosProfile, TheCheckGoesByModesNotByActions) {
    app_chassis::run([](AppChassis& chassis) {
        put_port_with(chassis, 42);
        Row row = profile("");
        row.qosProfileID = 42;
        EXPECT_EQ(ov_app_gpon_qosprofile_check(&row, MODE_CRE, mibDefFlags), 0);
        EXPECT_EQ(ov_app_gpon_qosprofile_check(&row, MODE_CHG, mibDefFlags), 0);
        EXPECT_EQ(ov_app_gpon_qosprofile_check(&row, MODE_DEL, mibDefFlags), 1);
        EXPECT_EQ(ov_app_gpon_qosprofile_check(&row, MODE_IDLE, mibDefFlags), 1);
    });
}

TEST(QosProfile, IdsByName) {
    app_chassis::run([](AppChassis& /*chassis*/) {
        ASSERT_EQ(add(profile("voice")), 0);
        ASSERT_TRUE(manager_creates(42, profile("video")));
        mib_ulong id = 77;
        EXPECT_EQ(ov_app_gpon_qosprofile_getId("data", &id), 0);
        EXPECT_EQ(ov_app_gpon_qosprofile_getId(nullptr, &id), 0);
        EXPECT_EQ(id, 77u);
        EXPECT_EQ(ov_app_gpon_qosprofile_getId("voice", &id), 1);
        EXPECT_EQ(id, hash_of("voice"));
        EXPECT_EQ(ov_app_gpon_qosprofile_getId("video", &id), 1);
        EXPECT_EQ(id, 42u);
        MIB_Flags_t columns = mibDefFlags;
        Row row = profile("voice", 9);
        EXPECT_EQ(ov_app_gpon_qosprofile_edit(&row, &columns), 0);
        EXPECT_EQ(find_row(key_of(hash_of("voice")))->sQosProfileTableWeightOfQ8, 0);
    });
}

} // namespace
