#include "ov_app_gpon_srvprofile.h"

#include "../support/profile_support.h"
#include "app_set_callback.h"
#include "sOnuTable.h"
#include "sOnuTypeProfileTable.h"

using namespace profile_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Row = ov_sOnuSrvProfileTable_attr_t;
namespace column = sOnuSrvProfileTable_column;

constexpr int MSG = 965;

Row profile(mib_ulong id, const std::string& onu_type = "HG8", const std::string& name = "") {
    Row row = {};
    row.onuSrvProfileId = id;
    put_text(row.sOnuTypeProfileName, onu_type);
    put_text(row.onuSrvProfileName, name);
    return row;
}
int add(Row row, MIB_Flags_t columns = columns_of(column::sOnuTypeProfileName)) {
    return ov_app_gpon_onu_srvprofile_add(&row, &columns);
}
const Row* stored(mib_ulong id) {
    return find_row(profile(id));
}

// The types that profiles may be of.
void run(const std::function<void(AppChassis&)>& body) {
    app_chassis::run([&body](AppChassis& chassis) {
        mib_ulong id = 0;
        for (const std::string& name : {std::string("HG8"), std::string("HG9"), std::string(33, 't')})
            chassis.put_row<ov_sOnuTypeProfileTable_attr_t>(
                [&name](auto& type) { put_text(type.onuTypeProfileName, name); }, ++id);
        body(chassis);
    });
}

// ---- adding -----------------------------------------------------------------------------------------------

TEST(SrvProfile, AddMakesARowNamedAsItsId) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(add(profile(17)), 0);
        const Row* row = stored(17);
        ASSERT_NE(row, nullptr);
        EXPECT_STREQ(row->onuSrvProfileName, "17");
        EXPECT_STREQ(row->sOnuTypeProfileName, "HG8");
        EXPECT_EQ(row->sOnuSrvProfileRowStatus, OVRA_ACTIVE);
        EXPECT_EQ(row->sOnuSrvProfileBindCount, 0);
        EXPECT_EQ(row->sOnuSrvProfileInUse, 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(SrvProfile, AGivenNameStays) {
    run([](AppChassis& /*chassis*/) {
        EXPECT_EQ(add(profile(17, "HG8", "homes"),
                      columns_of(column::sOnuTypeProfileName, column::onuSrvProfileName)),
                  0);
        EXPECT_STREQ(stored(17)->onuSrvProfileName, "homes");
    });
}

TEST(SrvProfile, AddNeedsARowAMaskAndAnOnuType) {
    run([](AppChassis& chassis) {
        expect_add_needs(chassis, ov_app_gpon_onu_srvprofile_add, profile(17), column::sOnuTypeProfileName);
    });
}

TEST(SrvProfile, AnIdCanBeAddedOnce) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile(17)), 0);
        EXPECT_EQ(add(profile(17, "HG9")), OV_GPON_RET_FAIL);
        EXPECT_THAT(log_of(chassis), Contains("mib add error for onu srvprofile table"));
        EXPECT_STREQ(stored(17)->sOnuTypeProfileName, "HG8");
    });
}

TEST(SrvProfile, ACreatedRowWithoutANameIsNamedForManagersToo) {
    run([](AppChassis& /*chassis*/) {
        Row row = profile(3);
        row.sOnuSrvProfileRowStatus = OVRA_CREATEANDGO;
        ASSERT_TRUE(mib_access(MIB_SET, row));
        EXPECT_STREQ(stored(3)->onuSrvProfileName, "3");
    });
}

TEST(SrvProfile, IdsAreThoseThatOnusCanHave) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(add(profile(0)), OV_GPON_RET_FAIL);
        EXPECT_EQ(add(profile(129)), OV_GPON_RET_FAIL);
        EXPECT_EQ(add(profile(0xffffffff)), OV_GPON_RET_FAIL);
        EXPECT_EQ(rows_of<Row>(), 0);
        EXPECT_EQ(add(profile(1)), 0);
        EXPECT_EQ(add(profile(128)), 0);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- questions --------------------------------------------------------------------------------------------

TEST(SrvProfile, AnIdTakenByAnotherOnuTypeIsTold) {
    run([](AppChassis& /*chassis*/) {
        ASSERT_EQ(add(profile(17)), 0);
        int exists = -1;
        Row same = profile(17);
        EXPECT_EQ(ov_gpon_onu_srv_profile_exist_check(&same, &exists), 0);
        EXPECT_EQ(exists, 1);
        Row other_type = profile(17, "HG9");
        exists = -1;
        EXPECT_EQ(ov_gpon_onu_srv_profile_exist_check(&other_type, &exists), 1002);
        EXPECT_EQ(exists, 1);
        Row other = profile(18);
        EXPECT_EQ(ov_gpon_onu_srv_profile_exist_check(&other, &exists), 0);
        EXPECT_EQ(exists, 0);
    });
}

TEST(SrvProfile, CheckGivesTheOnuType) {
    run([](AppChassis& /*chassis*/) {
        const std::string longest(33, 't');
        ASSERT_EQ(add(profile(17, longest)), 0);
        char type[34] = "kept";
        EXPECT_EQ(ov_app_gpon_onu_srvprofile_check(18, type), 0);
        EXPECT_STREQ(type, "kept");
        EXPECT_EQ(ov_app_gpon_onu_srvprofile_check(17, type), 1);
        EXPECT_EQ(type, longest);
        EXPECT_EQ(ov_app_gpon_onu_srvprofile_check(17, nullptr), 1);
    });
}

TEST(SrvProfile, OnuTypesThatProfilesNameAreKnown) {
    run([](AppChassis& /*chassis*/) {
        ASSERT_EQ(add(profile(17, "HG8")), 0);
        ASSERT_EQ(add(profile(18, "HG9")), 0);
        EXPECT_EQ(ov_app_gpon_onusrv_bind_onutype_check("HG9"), 1);
        EXPECT_EQ(ov_app_gpon_onusrv_bind_onutype_check("HG"), 0);
        EXPECT_EQ(ov_app_gpon_onusrv_bind_onutype_check(nullptr), 0);
    });
}

TEST(SrvProfile, NamesCanBeLookedUpAndChanged) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile(17)), 0);
        mib_ulong id = 0;
        EXPECT_EQ(ov_app_gpon_onusrvprofile_getId("17", &id), 1);
        EXPECT_EQ(id, 17u);
        EXPECT_EQ(ov_app_gpon_onusrvprofile_setname(17, "homes"), 0);
        EXPECT_STREQ(stored(17)->onuSrvProfileName, "homes");
        EXPECT_STREQ(stored(17)->sOnuTypeProfileName, "HG8");
        id = 0;
        EXPECT_EQ(ov_app_gpon_onusrvprofile_getId("17", &id), 0);
        EXPECT_EQ(ov_app_gpon_onusrvprofile_getId(nullptr, &id), 0);
        EXPECT_EQ(id, 0u);
        EXPECT_EQ(ov_app_gpon_onusrvprofile_getId("homes", &id), 1);
        EXPECT_EQ(id, 17u);
        EXPECT_EQ(ov_app_gpon_onusrvprofile_setname(17, std::string(64, 'x').c_str()), 0);
        EXPECT_EQ(ov_app_gpon_onusrvprofile_setname(17, std::string(65, 'y').c_str()), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(stored(17)->onuSrvProfileName, std::string(64, 'x'));
        EXPECT_EQ(ov_app_gpon_onusrvprofile_setname(17, ""), 0);
        EXPECT_STREQ(stored(17)->onuSrvProfileName, "17");
        EXPECT_EQ(ov_app_gpon_onusrvprofile_setname(18, "none"), OV_GPON_RET_BAD_PARAM);
        EXPECT_EQ(ov_app_gpon_onusrvprofile_setname(17, nullptr), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

// ---- binding ----------------------------------------------------------------------------------------------

TEST(SrvProfile, BoundOnusAreCounted) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile(17)), 0);
        EXPECT_EQ(ov_app_gpon_onu_srvprofile_bindCount(17, 1), 1);
        EXPECT_EQ(ov_app_gpon_onu_srvprofile_bindCount(17, 1), 1);
        EXPECT_EQ(stored(17)->sOnuSrvProfileBindCount, 2);
        EXPECT_EQ(ov_app_gpon_onu_srvprofile_bindCount(17, 0), 1);
        EXPECT_EQ(stored(17)->sOnuSrvProfileBindCount, 1);
        EXPECT_STREQ(stored(17)->onuSrvProfileName, "17");
        log_of(chassis);
        EXPECT_EQ(ov_app_gpon_onu_srvprofile_bindCount(18, 1), 0);
        EXPECT_THAT(log_of(chassis), Contains("mib add error for onu srvprofile table"));
        EXPECT_EQ(stored(18), nullptr);
    });
}

void expect_in_use(AppChassis& chassis, mib_ulong id) {
    EXPECT_EQ(ov_gpon_onu_service_profile_inuse(id), 1);
    EXPECT_EQ(ov_gpon_onu_service_profile_inuse(id + 1), 0);
    EXPECT_EQ(ov_gpon_onu_service_profile_inuse(0), 0);
    EXPECT_EQ(ov_gpon_onu_service_profile_del(id), OV_GPON_RET_BUSY);
    Row row = profile(id);
    EXPECT_FALSE(mib_access(MIB_DEL, row)); // as a manager does it
    EXPECT_NE(stored(id), nullptr);
    EXPECT_THAT(chassis.messages(), IsEmpty());
}

TEST(SrvProfile, AProfileOfAPortStays) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile(17)), 0);
        chassis.put_port(3);
        chassis.put_row<ov_sPonTable_attr_t>([](auto& row) { row.sPonTableSrvProfileID = 17; }, GPON_SHELF,
                                             AppChassis::SLOT, 4);
        expect_in_use(chassis, 17);
    });
}

TEST(SrvProfile, AProfileOfAnOnuStays) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile(17)), 0);
        chassis.put_port(4);
        chassis.put_row<ov_sOnuTable_attr_t>([](auto& row) { row.sOnuTableSrvProfileId = 17; }, 1, 3, 4, 7);
        expect_in_use(chassis, 17);
    });
}

// ---- removing ---------------------------------------------------------------------------------------------

// The action on the wire is 3, which for other messages means a change: cards know it so.
TEST(SrvProfile, RemovalIsToldToEveryCardWithoutWaiting) {
    run([](AppChassis& chassis) {
        FakeCard other(5, FakeCard::be_silent);
        HalChassis::activate(5);
        chassis.card.behave(FakeCard::be_silent);
        chassis.put_row<Row>([](auto&) {}, 0x01020304); // from a file, so that each of its bytes is seen
        EXPECT_EQ(ov_gpon_onu_service_profile_del(0x01020304), 0);
        EXPECT_EQ(stored(0x01020304), nullptr);
        const auto seen = chassis.messages(1);
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].type, MSG);
        EXPECT_EQ(seen[0].action, 3);
        EXPECT_EQ(seen[0].mask, 0u);
        EXPECT_FALSE(seen[0].wants_reply);
        EXPECT_THAT(record_of(seen[0], 4), ElementsAre(1, 2, 3, 4));
        EXPECT_EQ(other.wait_for(1).size(), 1u);
    });
}

TEST(SrvProfile, ManagersRemovalTellsTheCardsToo) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(add(profile(17)), 0);
        Row row = profile(17);
        row.sOnuSrvProfileRowStatus = OVRA_DESTROY;
        EXPECT_TRUE(mib_access(MIB_SET, row, columns_of(column::sOnuSrvProfileRowStatus)));
        EXPECT_EQ(chassis.messages(1).size(), 1u);
        EXPECT_EQ(rows_of<Row>(), 0);
    });
}

TEST(SrvProfile, RemovalOfAnUnknownProfileFails) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(ov_gpon_onu_service_profile_del(17), OV_GPON_RET_FAIL);
        EXPECT_THAT(log_of(chassis), Contains("mib del error for multi srvprofile table"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

} // namespace
