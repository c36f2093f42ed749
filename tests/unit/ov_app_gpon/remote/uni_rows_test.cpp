// The rows of UNIs: as many as the type of an ONU, or of a service profile, has ports; and with it they go.
#include "../support/remote_chassis.h"
#include "app_card_answer.h"
#include "ov_app_gpon_rmunistatus.h"
#include "ov_app_gpon_rmunivlan.h"

using namespace remote_test;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Status = ov_sRmUniStatusTable_attr_t;
using Vlan = ov_sRmUniVlanTable_attr_t;

TEST(UniRows, AreThoseOfTheOnusType) {
    run(
        [](AppChassis& chassis) {
            // card/kind/port; video counts its cards by its ports
            EXPECT_THAT(unis_of<Status>(), ElementsAre("1/0/1", "1/0/2", "1/1/1", "1/2/1", "1/3/1", "1/3/2",
                                                       "2/0/1", "2/0/2", "2/1/1", "2/3/1", "2/3/2"));
            EXPECT_THAT(unis_of<Vlan>(),
                        ElementsAre("1/0/1", "1/0/2", "1/1/1", "1/2/1", "2/0/1", "2/0/2", "2/1/1"));
            const auto* status = find_row(uni<Status>(ETH, 1));
            ASSERT_NE(status, nullptr);
            EXPECT_EQ(status->sRmUniStatusTableAdminState, 1);
            EXPECT_EQ(status->sRmUniStatusMaxFrameSize, 2000u);
            EXPECT_EQ(status->sRmUniStatusTableBridgedOrIpInd, 2);
            EXPECT_EQ(find_row(uni<Vlan>(ETH, 1))->sRmUniVlanTableVlanMode, 1);
            EXPECT_THAT(chassis.messages(), IsEmpty());
        },
        {.cards = 2, .eth = 2, .pots = 1, .video = 2});
}

TEST(UniRows, NoCardIsToldOfThem) {
    run([](AppChassis& chassis) {
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), OV_GPON_RET_OK);
        ASSERT_EQ(delete_onu(8), OV_GPON_RET_OK);
        for (const CardMessage& message : chassis.messages())
            EXPECT_EQ(message.type, ONU_MESSAGE);
    });
}

TEST(UniRows, GoWithTheOnuAndLeaveThoseOfOthers) {
    run([](AppChassis& /*chassis*/) {
        const auto status = all_of<Status>();
        const auto vlan = all_of<Vlan>();
        ASSERT_EQ(new_onu(6, "ABCD00000006").add(), OV_GPON_RET_OK);
        ASSERT_EQ(new_onu(8, "ABCD00000008").add(), OV_GPON_RET_OK);
        EXPECT_THAT(all_of<Status>(), SizeIs(3 * status.size()));
        EXPECT_EQ(delete_onu(6), OV_GPON_RET_OK);
        EXPECT_EQ(delete_onu(8), OV_GPON_RET_OK);
        EXPECT_THAT(all_of<Status>(), ElementsAreArray(status));
        EXPECT_THAT(all_of<Vlan>(), ElementsAreArray(vlan));
        EXPECT_EQ(delete_onu(), OV_GPON_RET_OK);
        EXPECT_THAT(all_of<Status>(), IsEmpty());
        EXPECT_THAT(all_of<Vlan>(), IsEmpty());
    });
}

TEST(UniRows, OfAnOnuThatAManagerMadeGoByItsTypesName) {
    run([](AppChassis& /*chassis*/) {
        Request request = new_onu(8, "ABCD00000008");
        request.row.sOnuTableRowStatus = OVRA_CREATEANDGO;
        request.with(onu_column::sOnuTableRowStatus); // without the type's id
        ASSERT_TRUE(mib_access(MIB_SET, request.row, request.columns));
        EXPECT_THAT(unis_of<Status>(8), ElementsAre("1/0/1", "1/0/2", "1/1/1", "1/2/1"));
        EXPECT_THAT(unis_of<Vlan>(8), ElementsAre("1/0/1", "1/0/2", "1/1/1", "1/2/1"));
    });
}

// A row that waits and then comes into service is one that is made.
template <typename Row>
void make_waiting_and_activate(Row row, int32_t Row::*status, MIB_Flags_t columns, unsigned status_column) {
    mib_flag_set(columns, status_column);
    row.*status = OVRA_CREATEANDWAIT;
    ASSERT_TRUE(mib_access(MIB_SET, row, columns));
    EXPECT_THAT(unis_of<Vlan>(8), IsEmpty());
    row.*status = OVRA_ACTIVE;
    ASSERT_TRUE(mib_access(MIB_SET, row, columns_of(status_column)));
}

TEST(UniRows, OfAnOnuThatWaitsComeWithItsActivation) {
    run([](AppChassis& /*chassis*/) {
        const Request request = new_onu(8, "ABCD00000008");
        make_waiting_and_activate(request.row, &Onu::sOnuTableRowStatus, request.columns,
                                  onu_column::sOnuTableRowStatus);
        EXPECT_THAT(unis_of<Status>(8), SizeIs(4));
        EXPECT_THAT(unis_of<Vlan>(8), SizeIs(4));
        EXPECT_EQ(delete_onu(8), OV_GPON_RET_OK);
        EXPECT_THAT(unis_of<Vlan>(8), IsEmpty());
    });
}

TEST(UniRows, OfAProfileThatWaitsComeWithItsActivation) {
    run([](AppChassis& /*chassis*/) {
        using Profile = ov_sOnuSrvProfileTable_attr_t;
        Profile profile = {};
        profile.onuSrvProfileId = PROFILE;
        set_text(profile.sOnuTypeProfileName, "HG-1");
        make_waiting_and_activate(profile, &Profile::sOnuSrvProfileRowStatus,
                                  columns_of(sOnuSrvProfileTable_column::sOnuTypeProfileName),
                                  sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus);
        EXPECT_THAT(template_unis_of<Status>(), SizeIs(4));
        EXPECT_THAT(template_unis_of<Vlan>(), SizeIs(4));
    });
}

TEST(UniRows, OfATypeWithoutPortsAreTheVirtualOneAlone) {
    run([](AppChassis& /*chassis*/) { EXPECT_THAT(unis_of<Status>(), ElementsAre("1/2/1")); },
        {.cards = 0, .eth = -1, .pots = 0, .video = -3});
}

// What the callbacks on the ONU's table make of an ONU that comes with this type.
void expect_no_rows_of(mib_ulong id, const char* name) {
    Onu onu = onu_at(8);
    onu.sOnuTableOnuTypeProfileId = id;
    set_text(onu.sOnuTableOnuTypeProfileName, name);
    onu.sOnuTableRowStatus = OVRA_CREATEANDGO;
    EXPECT_EQ(ov_unistatus_onutable_set_callback(did_of<Onu>(), &onu, mibDefFlags), SET_REFUSED);
    EXPECT_EQ(ov_univlan_onutable_set_callback(did_of<Onu>(), &onu, mibDefFlags), SET_REFUSED);
    EXPECT_THAT(unis_of<Status>(8), IsEmpty());
    EXPECT_THAT(unis_of<Vlan>(8), IsEmpty());
}

TEST(UniRows, OfATypeThatIsNotThereRefuseTheOnu) {
    run([](AppChassis& chassis) {
        expect_no_rows_of(0, "nobody");
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't get onutype id base on name").Times(2));
    });
}

TEST(UniRows, OfATypeIdThatIsNotThereRefuseTheOnu) {
    run([](AppChassis& chassis) {
        expect_no_rows_of(99, "HG-1");
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't add ONUPORTTYPE_ETH_UNI")); // of UNI status
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't get onutype id"));          // of UNI VLAN
    });
}

TEST(UniRows, OfATypeWithMorePortsThanAnOnuCanHaveRefuseTheOnu) {
    run([](AppChassis& chassis) {
        const auto before = all_of<Status>();
        put_type_with(chassis, {.cards = 1, .eth = 1, .pots = 1, .video = 1000000}, "HG-2", 78);
        EXPECT_EQ(new_onu(8, "ABCD00000008").type("HG-2").add(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't add ONUPORTTYPE_VIDEO_UNI"));
        EXPECT_THAT(all_of<Status>(), SizeIs(before.size() + 3)); // what came before it stays
        EXPECT_EQ(find_stored_row(onu_at(8)), nullptr);
    });
}

// One row of each kind is in the way; what was made before it stays, and the ONU doesn't come.
template <typename Row>
void expect_refused_by(int kind, const char* text) {
    run(
        [&](AppChassis& chassis) {
            chassis.put_row<Row>([](Row&) {}, 1, SLOT, PORT, 8, 1, kind, 1);
            EXPECT_EQ(new_onu(8, "ABCD00000008").add(), OV_GPON_RET_BAD_PARAM);
            EXPECT_THAT(chassis.hal.log.lines(), Contains(text)) << kind;
            EXPECT_EQ(find_stored_row(onu_at(8)), nullptr) << kind;
        },
        {.cards = 1, .eth = 1, .pots = 1, .video = 1});
}

TEST(UniRows, ARowThatCannotComeRefusesTheOnu) {
    expect_refused_by<Vlan>(ETH, "can't add ONUPORTTYPE_ETH_UNI");
    expect_refused_by<Vlan>(POTS, "can't add ONUPORTTYPE_POTS");
    expect_refused_by<Vlan>(VEIP, "can't add ONUPORTTYPE_VEIP");
    expect_refused_by<Status>(ETH, "can't add ONUPORTTYPE_ETH_UNI");
    expect_refused_by<Status>(POTS, "can't add ONUPORTTYPE_ETH_UNI");
    expect_refused_by<Status>(VEIP, "can't add ONUPORTTYPE_ETH_UNI");
    expect_refused_by<Status>(VIDEO, "can't add ONUPORTTYPE_VIDEO_UNI");
}

int refuse_deletes(MIBDID did, void* row, MIB_Flags_t /*flags*/) {
    return MibRowStatusGet(did, row) == MODE_DEL ? SET_REFUSED : SET_ACCEPTED;
}

template <typename Row>
void expect_kept_by(const char* text) {
    run([&](AppChassis& chassis) {
        MibRegisterCallback(did_of<Row>(), CALLBACK_SET, "keeps", 1, refuse_deletes, mibDefFlags);
        EXPECT_EQ(delete_onu(), OV_GPON_RET_BAD_PARAM);
        EXPECT_THAT(chassis.hal.log.lines(), Contains(text));
        EXPECT_NE(find_row(onu_at(ONU)), nullptr);
        EXPECT_THAT(unis_of<Row>(), SizeIs(4));
    });
}

TEST(UniRows, ARowThatCannotGoKeepsTheOnu) {
    expect_kept_by<Status>("iterate delete unistatus fail");
    expect_kept_by<Vlan>("iterate delete univlan fail");
}

TEST(UniRows, OfAServiceProfileComeAndGoWithIt) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(add_profile(), OV_GPON_RET_OK);
        EXPECT_THAT(template_unis_of<Status>(), ElementsAre("1/0/1", "1/0/2", "1/1/1", "1/2/1"));
        EXPECT_THAT(template_unis_of<Vlan>(), ElementsAre("1/0/1", "1/0/2", "1/1/1", "1/2/1"));
        EXPECT_EQ(ov_gpon_onu_service_profile_del(PROFILE), OV_GPON_RET_OK);
        EXPECT_THAT(template_unis_of<Status>(), IsEmpty());
        EXPECT_THAT(template_unis_of<Vlan>(), IsEmpty());
        EXPECT_THAT(unis_of<Status>(), SizeIs(4));
        for (const CardMessage& message : chassis.messages())
            EXPECT_EQ(message.type, 965); // the profile's end
    });
}

TEST(UniRows, OfAProfileWhoseTypeIsNotThereRefuseIt) {
    run([](AppChassis& chassis) {
        EXPECT_EQ(add_profile(PROFILE, "nobody"), OV_GPON_RET_FAIL);
        EXPECT_THAT(chassis.hal.log.lines(), Contains("can't get onutype id base on name"));
        EXPECT_THAT(all_of<ov_sOnuSrvProfileTable_attr_t>(), IsEmpty());
        EXPECT_THAT(template_unis_of<Status>(), IsEmpty());
        EXPECT_THAT(template_unis_of<Vlan>(), IsEmpty());
    });
}

TEST(UniRows, OfATemplatesOnuAreItsTypesToo) {
    run([](AppChassis& /*chassis*/) {
        ASSERT_EQ(add_profile(), OV_GPON_RET_OK);
        ASSERT_EQ(new_onu(8, "ABCD00000008").templet(PROFILE).add(), OV_GPON_RET_OK);
        EXPECT_THAT(unis_of<Status>(8), SizeIs(4));
        EXPECT_THAT(unis_of<Vlan>(8), SizeIs(4));
        EXPECT_EQ(delete_onu(8), OV_GPON_RET_OK);
        EXPECT_THAT(unis_of<Vlan>(8), IsEmpty());
    });
}

} // namespace
