// Rows that managers have made and not activated yet: they stand for nothing, and their activation is their
// creation.
#include "../support/onu_chassis.h"

#include "../support/provisioning_chassis.h"
#include "ov_app_gpon_bwtype.h"
#include "sBWProfileTable.h"

using namespace provisioning;
using onu_test::onu_at;
using onu_test::Request;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Onu = ov_sOnuTable_attr_t;
using Bandwidths = ov_sBWProfileTable_attr_t;
namespace onu_column = sOnuTable_column;

constexpr const char* SN = "ABCD0012ff78";
constexpr const char* SAME_SN = "ABCD0012FF78";

template <typename Row>
int32_t& status_of(Row& row) {
    char* bytes = reinterpret_cast<char*>(&row);
    return *reinterpret_cast<int32_t*>(bytes + table_of<Row>::module().desc().row_status->offset);
}

template <typename Row>
bool set_status(Row row, int32_t status, MIB_Flags_t columns = {}) {
    status_of(row) = status;
    mib_flag_set(columns, table_of<Row>::module().desc().row_status->number);
    return mib_access(MIB_SET, row, columns);
}
template <typename Row>
bool make_waiting(const Row& row, const MIB_Flags_t& columns) {
    return set_status(row, OVRA_CREATEANDWAIT, columns);
}
template <typename Row>
bool activate(const Row& row) {
    return set_status(row, OVRA_ACTIVE);
}

void put_type(const AppChassis& chassis) {
    onu_test::put_type(chassis, "HG-1", 78);
}
Request new_onu(int id, const char* sn) {
    return onu_test::new_onu(id, sn);
}

TEST(WaitingRow, IsStoredAndNotFound) {
    provisioning::run([](AppChassis& chassis) {
        ASSERT_TRUE(make_waiting(tcont(1), TCONT_COLUMNS));
        EXPECT_EQ(find_row(tcont(1)), nullptr);
        ASSERT_NE(find_stored_row(tcont(1)), nullptr);
        EXPECT_EQ(ov_app_gpon_tcont_exist_check(&const_cast<Tcont&>(*find_stored_row(tcont(1)))), 0);
        EXPECT_EQ(held_of(PORT), (Held{0, 0, 0, 0}));
        EXPECT_THAT(chassis.messages(), IsEmpty());
        EXPECT_TRUE(activate(tcont(1)));
        EXPECT_NE(find_row(tcont(1)), nullptr);
        EXPECT_EQ(held_of(PORT), (Held{1, 0, 300, 100}));
        EXPECT_THAT(sent(chassis), ElementsAre(Sent(TCONT, CREATE)));
    });
}

TEST(WaitingRow, IsNothingToReferTo) {
    provisioning::run([](AppChassis& chassis) {
        ASSERT_TRUE(make_waiting(tcont(1), TCONT_COLUMNS));
        EXPECT_NE(add(gem(1, 1)), 0);
        EXPECT_TRUE(logged(chassis, "tcont id 1 is not exist"));
        ASSERT_TRUE(activate(tcont(1)));
        ASSERT_TRUE(make_waiting(gem(1, 1), GEM_COLUMNS));
        EXPECT_NE(add(service_port(1, 1)), 0);
        EXPECT_TRUE(logged(chassis, "Config service port[1], gemport[1] not exist"));
        ASSERT_TRUE(activate(gem(1, 1)));
        EXPECT_EQ(add(service_port(1, 1)), 0);
    });
}

TEST(WaitingRow, OwnsNothing) {
    provisioning::run([](AppChassis& chassis) {
        put_type(chassis);
        const Request onu = new_onu(8, SN);
        ASSERT_TRUE(make_waiting(onu.row, onu.columns));
        EXPECT_NE(add(tcont(1, "small", SLOT, PORT, 8)), 0);
        EXPECT_TRUE(logged(chassis, "onu id 8 is not exist"));
        ov_sOnuSrvProfileTable_attr_t profile = {};
        profile.onuSrvProfileId = 6;
        ASSERT_TRUE(make_waiting(profile, {}));
        EXPECT_NE(add(template_tcont(1, "small", 6)), 0);
        EXPECT_TRUE(logged(chassis, "multi-srvprofile id 6 is not exist"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(WaitingRow, KeepsNothingFromGoing) {
    provisioning::run([](AppChassis& /*chassis*/) {
        ASSERT_EQ(add(tcont(1)), 0);
        ASSERT_TRUE(make_waiting(gem(1, 1), GEM_COLUMNS));
        EXPECT_EQ(del(tcont(1)), 0);
        EXPECT_FALSE(activate(gem(1, 1))); // what it referred to has gone
        EXPECT_NE(find_stored_row(gem(1, 1)), nullptr);
    });
}

TEST(WaitingRow, GoesWithItsOnu) {
    provisioning::run([](AppChassis& chassis) {
        put_type(chassis);
        ASSERT_EQ(new_onu(8, SN).add(), 0);
        ASSERT_TRUE(make_waiting(tcont(1, "small", SLOT, PORT, 8), TCONT_COLUMNS));
        ASSERT_TRUE(make_waiting(gem(1, 1, SLOT, PORT, 8), GEM_COLUMNS));
        ASSERT_TRUE(make_waiting(service_port(1, 1, SLOT, PORT, 8), SERVICE_PORT_COLUMNS));
        chassis.forget_messages();
        Onu onu = onu_at(8);
        EXPECT_EQ(ov_app_gpon_onu_del(&onu), 0);
        EXPECT_EQ(find_stored_row(tcont(1, "small", SLOT, PORT, 8)), nullptr);
        EXPECT_EQ(find_stored_row(gem(1, 1, SLOT, PORT, 8)), nullptr);
        EXPECT_EQ(find_stored_row(service_port(1, 1, SLOT, PORT, 8)), nullptr);
        EXPECT_THAT(sent(chassis), ElementsAre(Sent(OV_HAL_MSG_GPON_ONU, DELETE)));
    });
}

TEST(WaitingRow, OfAServiceProfileIsCountedForNoOnu) {
    provisioning::run([](AppChassis& chassis) {
        put_type(chassis);
        ASSERT_EQ(add(template_tcont(1)), 0);
        ASSERT_TRUE(make_waiting(template_tcont(2), TCONT_COLUMNS));
        ASSERT_TRUE(make_waiting(template_gem(1, 1), GEM_COLUMNS));
        ov_sOnuSrvProfileTable_attr_t named = {};
        named.onuSrvProfileId = PROFILE;
        set_text(named.sOnuTypeProfileName, "HG-1");
        ASSERT_TRUE(
            mib_access(MIB_SET_S_N, named, columns_of(sOnuSrvProfileTable_column::sOnuTypeProfileName)));
        ASSERT_EQ(new_onu(8, SN).templet(PROFILE).add(), 0);
        EXPECT_EQ(held_of(PORT), (Held{1, 0, 300, 100}));
        EXPECT_FALSE(activate(template_tcont(2))); // an ONU has the profile
        EXPECT_TRUE(logged(chassis, "multi-srvprofile id 5bind 1 times"));
    });
}

TEST(WaitingRow, OfAServiceProfileCountsForItsBandwidthFromItsActivationOn) {
    provisioning::run([](AppChassis& chassis) {
        put_bandwidth(chassis, "fixed", 800000, 0);
        ASSERT_TRUE(make_waiting(template_tcont(1, "fixed"), TCONT_COLUMNS));
        ASSERT_EQ(add(template_tcont(2, "fixed")), 0);
        EXPECT_FALSE(activate(template_tcont(1, "fixed")));
        EXPECT_TRUE(logged(chassis, "config bw is over max bw"));
        ASSERT_EQ(del(template_tcont(2)), 0);
        EXPECT_TRUE(activate(template_tcont(1, "fixed")));
    });
}

TEST(WaitingRow, IsNoProfile) {
    provisioning::run([](AppChassis& chassis) {
        Bandwidths gold = {};
        gold.bwProfileId = 9;
        set_text(gold.sBWProfileTableBwProfileName, "gold");
        const MIB_Flags_t name = columns_of(sBWProfileTable_column::sBWProfileTableBwProfileName);
        ASSERT_TRUE(make_waiting(gold, name));
        EXPECT_NE(add(tcont(1, "gold")), 0);
        // Its name is free, and is taken when it becomes one.
        Bandwidths other = gold;
        other.bwProfileId = 10;
        EXPECT_TRUE(set_status(other, OVRA_CREATEANDGO, name));
        EXPECT_EQ(add(tcont(1, "gold")), 0);
        EXPECT_FALSE(activate(gold));
        EXPECT_TRUE(logged(chassis, "same bwprofile name exist before 10:gold"));
    });
}

TEST(WaitingRow, TakesNoPlaceOfTheProfilesThatThereMayBe) {
    provisioning::run([](AppChassis& /*chassis*/) {
        const auto profile = [](unsigned id) {
            Bandwidths row = {};
            row.bwProfileId = id;
            snprintf(row.sBWProfileTableBwProfileName, sizeof row.sBWProfileTableBwProfileName, "bw%u", id);
            return row;
        };
        const MIB_Flags_t name = columns_of(sBWProfileTable_column::sBWProfileTableBwProfileName);
        ASSERT_TRUE(make_waiting(profile(1), name));
        unsigned made = 3; // of the chassis
        for (unsigned id = 2; made < 256; ++id, ++made)
            ASSERT_TRUE(set_status(profile(id), OVRA_CREATEANDGO, name)) << id;
        EXPECT_FALSE(set_status(profile(1000), OVRA_CREATEANDGO, name));
        EXPECT_FALSE(activate(profile(1)));
        Bandwidths last = profile(2);
        ASSERT_TRUE(mib_access(MIB_DEL, last));
        EXPECT_TRUE(activate(profile(1)));
    });
}

// ---- ONUs -------------------------------------------------------------------------------------------------

TEST(WaitingOnu, KeepsNoSerialNumberAndIsCheckedAtItsActivation) {
    provisioning::run([](AppChassis& chassis) {
        put_type(chassis);
        for (const int id : {1, 2}) {
            const Request onu = new_onu(id, id == 1 ? SN : SAME_SN);
            ASSERT_TRUE(make_waiting(onu.row, onu.columns));
        }
        const Request bad = new_onu(3, "ABCD1234567");
        ASSERT_TRUE(make_waiting(bad.row, bad.columns));
        EXPECT_TRUE(activate(onu_at(1)));
        EXPECT_FALSE(activate(onu_at(2)));
        EXPECT_TRUE(logged(chassis, "the onu sn have created in this pon port"));
        EXPECT_FALSE(activate(onu_at(3)));
        EXPECT_TRUE(logged(chassis, "illegal data: ABCD1234567"));
        EXPECT_THAT(sent(chassis), ElementsAre(Sent(OV_HAL_MSG_GPON_ONU, CREATE)));
        EXPECT_STREQ(find_row(onu_at(1))->sOnuTableSn, SN);
    });
}

TEST(WaitingOnu, WithAnUnknownServiceProfileStaysWaiting) {
    provisioning::run([](AppChassis& chassis) {
        put_type(chassis);
        Request onu = new_onu(1, SN);
        onu.row.sOnuTableSrvProfileId = 99;
        ASSERT_TRUE(make_waiting(onu.row, onu.with(onu_column::sOnuTableSrvProfileId).columns));
        EXPECT_FALSE(activate(onu_at(1)));
        EXPECT_TRUE(logged(chassis, "the onu srv profile did not exist"));
        EXPECT_THAT(chassis.messages(), IsEmpty());
    });
}

TEST(WaitingOnu, TellsTheCardEveryColumnAtItsActivation) {
    provisioning::run([](AppChassis& chassis) {
        put_type(chassis);
        const Request onu = new_onu(1, SN);
        ASSERT_TRUE(make_waiting(onu.row, onu.columns));
        ASSERT_TRUE(activate(onu_at(1)));
        ASSERT_THAT(chassis.messages(), SizeIs(1));
        const uint32_t named =
            1u << OV_GPON_ONU_ATTR_INDEX_authAttr | 1u << OV_GPON_ONU_ATTR_INDEX_typeProfile;
        EXPECT_EQ(chassis.messages().front().mask & named, named);
    });
}

TEST(WaitingOnu, OfAWorkingPortReachesThePartnerWhole) {
    provisioning::run([](AppChassis& chassis) {
        put_type(chassis);
        onu_test::make_group(PORT, PORT + 1, true);
        Request onu = new_onu(1, SN);
        set_text(onu.row.sOnuTableSplitterNumber, "12");
        ASSERT_TRUE(make_waiting(onu.row, onu.with(onu_column::sOnuTableSplitterNumber).columns));
        EXPECT_EQ(find_stored_row(onu_at(1, PORT + 1)), nullptr);
        ASSERT_TRUE(activate(onu_at(1)));
        const Onu* pair = find_row(onu_at(1, PORT + 1));
        ASSERT_NE(pair, nullptr);
        EXPECT_STREQ(pair->sOnuTableSn, SN);
        EXPECT_STREQ(pair->sOnuTableSplitterNumber, "12");
        EXPECT_STREQ(pair->sOnuTableOnuTypeProfileName, "HG-1");
    });
}

// A request names what it changes; the partner's row is that of the working port all the same.
TEST(NewOnu, OfAWorkingPortReachesThePartnerWithTheColumnsThatTheRequestDidntName) {
    provisioning::run([](AppChassis& chassis) {
        put_type(chassis);
        onu_test::make_group(PORT, PORT + 1, true);
        Onu waiting = onu_at(1);
        set_text(waiting.sOnuTableOnuTypeProfileName, "HG-1");
        set_text(waiting.sOnuTablePw, "secret");
        ASSERT_TRUE(make_waiting(
            waiting, columns_of(onu_column::sOnuTableOnuTypeProfileName, onu_column::sOnuTablePw)));
        waiting.sOnuTableUpFec = 1;
        ASSERT_TRUE(set_status(waiting, OVRA_ACTIVE, columns_of(onu_column::sOnuTableUpFec)));
        const Onu* pair = find_row(onu_at(1, PORT + 1));
        ASSERT_NE(pair, nullptr);
        EXPECT_EQ(pair->sOnuTableUpFec, 1);
        EXPECT_STREQ(pair->sOnuTablePw, "secret");
    });
}

TEST(WaitingOnu, IsNobodysOnTheCard) {
    provisioning::run([](AppChassis& chassis) {
        put_type(chassis);
        const Request onu = new_onu(1, SN);
        ASSERT_TRUE(make_waiting(onu.row, onu.columns));
        ov_gpon_trap_onu_state_attr_t state = {};
        state.onuIfindex = onu_ifindex_of(onu.row);
        state.states = SONUTABLEONUSTATE_OPERATIONAL;
        ov_app_gpon_onu_state_update(&state);
        EXPECT_EQ(find_stored_row(onu_at(1))->sOnuTableOnuState, 0);
    });
}

} // namespace
